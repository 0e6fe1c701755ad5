// ochrel-cli config: the same table and writer as the program, run as a
// separate process on a private configuration folder.
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

#include "frame/config.h"
#include "frame/recentpaths.h"

namespace fs = std::filesystem;

namespace ochrel {
namespace {

struct CliRun {
  int status = -1;
  std::string out, err;
};

std::string ReadAll(const fs::path& p) {
  std::ifstream in(p, std::ios::binary);
  std::stringstream ss;
  ss << in.rdbuf();
  return ss.str();
}

std::string Quote(const std::string& s) {
  std::string q = "'";
  for (char c : s) q += (c == '\'') ? std::string("'\\''") : std::string(1, c);
  return q + "'";
}

class ConfigCli : public ::testing::Test {
 protected:
  void SetUp() override {
    char tmpl[] = "/tmp/ochrel-cli-config-XXXXXX";
    ASSERT_NE(mkdtemp(tmpl), nullptr);
    dir_ = tmpl;
    cfg_ = dir_ / "cfg";
    RestoreDefaultSettings();
  }
  void TearDown() override {
    std::error_code ec;
    fs::remove_all(dir_, ec);
    RestoreDefaultSettings();
  }
  CliRun Cli(const std::string& args) {
    std::string cmd = "OCHREL_CONFIG_DIR=" + Quote(cfg_.string()) + " OCHREL_DATA_DIR=" +
                      Quote((dir_ / "data").string()) + " " + Quote(OCHREL_CLI) + " " + args + " >" +
                      Quote((dir_ / "out").string()) + " 2>" + Quote((dir_ / "err").string());
    CliRun r;
    int raw = std::system(cmd.c_str());
    r.status = WIFEXITED(raw) ? WEXITSTATUS(raw) : -1;
    r.out = ReadAll(dir_ / "out");
    r.err = ReadAll(dir_ / "err");
    return r;
  }
  fs::path dir_, cfg_;
};

// The date line is the only one allowed to differ.
std::string WithoutDate(std::string text) {
  std::size_t start = text.find(";Last updated ");
  if (start == std::string::npos) return text;
  return text.erase(start, text.find('\n', start) - start);
}

TEST_F(ConfigCli, WriteInAFreshFolderGivesTheDefaultFile) {
  CliRun r = Cli("config write " + Quote((dir_ / "written.ini").string()));
  ASSERT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(r.out, "");
  std::string text = ReadAll(dir_ / "written.ini");
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
  CliRun r = Cli("config write " + Quote((dir_ / "w.ini").string()));
  ASSERT_EQ(r.status, 0) << r.err;
  std::string text = ReadAll(dir_ / "w.ini");
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

TEST_F(ConfigCli, BadCommandLines) {
  CliRun r = Cli("config get NoSuchSetting");
  EXPECT_EQ(r.status, 1);
  EXPECT_EQ(r.out, "");
  EXPECT_EQ(r.err, "ochrel-cli: unknown setting: NoSuchSetting\n");
  EXPECT_EQ(Cli("config get ToolBox").status, 1);  // the command wants whole names
  EXPECT_EQ(Cli("config").status, 2);
  EXPECT_EQ(Cli("config get").status, 2);
  EXPECT_EQ(Cli("config read x").status, 2);
  EXPECT_EQ(Cli("config write a b").status, 2);
  // An unwritable target: a clear message, exit 1, nothing made.
  std::ofstream(dir_ / "file") << "x";
  r = Cli("config write " + Quote((dir_ / "file" / "x.ini").string()));
  EXPECT_EQ(r.status, 1);
  EXPECT_NE(r.err.find("ochrel-cli: cannot write "), std::string::npos);
}

}  // namespace
}  // namespace ochrel
