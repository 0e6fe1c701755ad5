// ochrel-cli config: the same table and writer as the program, run as a
// separate process on a private configuration folder.
#include <gtest/gtest.h>
#include <filesystem>
#include <fstream>
#include <string>

#include "frame/config.h"
#include "frame/recentpaths.h"
#include "cli_run.h"

namespace fs = std::filesystem;

namespace ochrel {
namespace {

using namespace clitest;

class ConfigCli : public ::testing::Test {
 protected:
  void SetUp() override {
    cfg_ = dir_.path / "config";
    RestoreDefaultSettings();
  }
  void TearDown() override { RestoreDefaultSettings(); }
  CliRun Cli(const std::string& args) { return clitest::Cli(dir_, args); }
  Scratch dir_;
  fs::path cfg_;
};

// The date line is the only one allowed to differ.
std::string WithoutDate(std::string text) {
  std::size_t start = text.find(";Last updated ");
  if (start == std::string::npos) return text;
  return text.erase(start, text.find('\n', start) - start);
}

TEST_F(ConfigCli, WriteInAFreshFolderGivesTheDefaultFile) {
  CliRun r = Cli("config write " + Q(dir_ / "written.ini"));
  ASSERT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(r.out, "");
  std::string text = Slurp(dir_ / "written.ini");
  RecentPaths none;
  EXPECT_EQ(WithoutDate(text), WithoutDate(FormatConfig(none, 0)));
  EXPECT_FALSE(fs::exists(cfg_ / "OCHREL.INI"));  // writing elsewhere doesn't make one
}

TEST_F(ConfigCli, WriteCarriesWhatTheFolderHolds) {
  fs::create_directories(cfg_);
  fs::path pic = dir_ / "pic.png";
  std::ofstream(pic) << "x";
  std::ofstream(cfg_ / "OCHREL.INI") << ";note\nJPEGQualityFactor=12\nStickyWindowLeft = 30\n"
                                     << "MenuItem = " << pic.string() << "\nMenuItem = /no/such/file\n";
  CliRun r = Cli("config write " + Q(dir_ / "w.ini"));
  ASSERT_EQ(r.status, 0) << r.err;
  std::string text = Slurp(dir_ / "w.ini");
  EXPECT_NE(text.find("\nJPEGQualityFactor = 12\n"), std::string::npos);
  EXPECT_NE(text.find("\nStickyWindowLeft = 30\n"), std::string::npos);
  EXPECT_NE(text.find("\nStickyWindowTop = 4294967295\n"), std::string::npos);
  EXPECT_EQ(text.find(";note"), std::string::npos);
  EXPECT_NE(text.find("[Varnwick Studio PaintItems]\nMenuItem = " + pic.string() + "\n"), std::string::npos);
  EXPECT_EQ(text.find("/no/such/file"), std::string::npos);
}

TEST_F(ConfigCli, GetPrintsTheValueAsTheFileHoldsIt) {
  CliRun r = Cli("config get JPEGQualityFactor");
  ASSERT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(r.out, "75\n");
  EXPECT_EQ(Cli("config get StickyWindowRight").out, "4294967295\n");
  EXPECT_EQ(Cli("config get DefaultTextFontName").out, "ARIAL\n");
  EXPECT_EQ(Cli("config get VersionNumber").out, "64\n");
  fs::create_directories(cfg_);
  std::ofstream(cfg_ / "OCHREL.INI") << "[Varnwick Studio Paint]\nJPEGQualityFactor = 4294967295\nToolBox=0\n";
  EXPECT_EQ(Cli("config get JPEGQualityFactor").out, "4294967295\n");
  EXPECT_EQ(Cli("config get ToolBoxDouble").out, "0\n");
}

}  // namespace
}  // namespace ochrel
