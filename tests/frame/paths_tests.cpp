// Where the settings file and the data folder live, and how the data folder
// is stocked without touching the user's own files.
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <map>
#include <optional>
#include <string>

#include "frame/paths.h"
#include "frame/settings.h"
#include "temp_dir.h"

namespace fs = std::filesystem;

namespace ochrel {
namespace {

using test::Slurp;
using test::Spit;

class Paths : public ::testing::Test {
 protected:
  static constexpr const char* kVars[] = {"OCHREL_CONFIG_DIR", "OCHREL_DATA_DIR", "XDG_CONFIG_HOME", "XDG_DATA_HOME",
                                          "HOME"};
  void SetUp() override {
    for (const char* v : kVars) {
      const char* old = std::getenv(v);
      saved_[v] = old ? std::optional<std::string>(old) : std::nullopt;
      unsetenv(v);
    }
    RestoreDefaultSettings();
  }
  void TearDown() override {
    for (auto& [name, value] : saved_) {
      if (value) setenv(name.c_str(), value->c_str(), 1);
      else unsetenv(name.c_str());
    }
    RestoreDefaultSettings();
  }
  std::map<std::string, std::optional<std::string>> saved_;
  test::TempDir tmp_;
  fs::path dir_ = tmp_.path;
};

TEST_F(Paths, ConfigFolderOrder) {
  EXPECT_TRUE(ConfigFolder().empty());  // no home at all
  EXPECT_TRUE(ConfigFilePath().empty());
  setenv("HOME", "/home/u", 1);
  EXPECT_EQ(ConfigFilePath(), fs::path("/home/u/.config/ochrel/OCHREL.INI"));
  setenv("XDG_CONFIG_HOME", "relative/ignored", 1);
  EXPECT_EQ(ConfigFolder(), fs::path("/home/u/.config/ochrel"));
  setenv("XDG_CONFIG_HOME", "/xdg/conf", 1);
  EXPECT_EQ(ConfigFolder(), fs::path("/xdg/conf/ochrel"));
  setenv("OCHREL_CONFIG_DIR", "", 1);  // empty counts as unset
  EXPECT_EQ(ConfigFolder(), fs::path("/xdg/conf/ochrel"));
  setenv("OCHREL_CONFIG_DIR", "/tmp/mine", 1);
  EXPECT_EQ(ConfigFilePath(), fs::path("/tmp/mine/OCHREL.INI"));
}

TEST_F(Paths, StockingCopiesMissingFilesOnly) {
  fs::path stock = dir_ / "stock", user = dir_ / "user" / "data";
  Spit(stock / "OCHREL.CCL", "stock colours");
  Spit(stock / "Ochrel.FFT", "stock textures");
  Spit(stock / "html" / "referenc.htm", "help");
  Spit(user / "OCHREL.CCL", "my colours");
  ASSERT_TRUE(StockDataFolderInto(stock, user));
  EXPECT_EQ(Slurp(user / "OCHREL.CCL"), "my colours");
  EXPECT_EQ(Slurp(user / "Ochrel.FFT"), "stock textures");
  EXPECT_EQ(Slurp(user / "html" / "referenc.htm"), "help");
  // The user changes a stocked file and adds a group; a second start keeps both.
  Spit(user / "Ochrel.FFT", "my textures");
  Spit(user / "Mine.FFT", "extra");
  ASSERT_TRUE(StockDataFolderInto(stock, user));
  EXPECT_EQ(Slurp(user / "Ochrel.FFT"), "my textures");
  EXPECT_EQ(Slurp(user / "Mine.FFT"), "extra");
  EXPECT_FALSE(fs::exists(stock / "Mine.FFT"));
  // No stock folder: nothing to copy, not an error.
  EXPECT_TRUE(StockDataFolderInto(dir_ / "absent", dir_ / "other"));
  EXPECT_TRUE(fs::is_directory(dir_ / "other"));
  // A target that can't be a folder fails.
  Spit(dir_ / "plainfile", "x");
  EXPECT_FALSE(StockDataFolderInto(stock, dir_ / "plainfile"));
}

TEST_F(Paths, DataFolderFromTheEnvironment) {
  setenv("OCHREL_DATA_DIR", (dir_ / "data").c_str(), 1);
  EXPECT_EQ(DataFolder(), dir_ / "data");
  EXPECT_TRUE(fs::is_directory(dir_ / "data"));
  // Whatever the source tree ships was copied in.
  std::error_code ec;
  for (const auto& e : fs::recursive_directory_iterator(StockDataFolder(), ec)) {
    if (e.is_regular_file()) {
      EXPECT_TRUE(fs::exists(dir_ / "data" / e.path().lexically_relative(StockDataFolder()))) << e.path();
    }
  }

  unsetenv("OCHREL_DATA_DIR");
  setenv("HOME", dir_.c_str(), 1);
  EXPECT_EQ(DataFolder(), dir_ / ".local/share/ochrel");
  setenv("XDG_DATA_HOME", (dir_ / "xdg").c_str(), 1);
  EXPECT_EQ(DataFolder(), dir_ / "xdg" / "ochrel");
  // A data folder that can't be made falls back to the stock files.
  Spit(dir_ / "blocked", "x");
  setenv("OCHREL_DATA_DIR", (dir_ / "blocked" / "sub").c_str(), 1);
  EXPECT_EQ(DataFolder(), StockDataFolder());
}

TEST_F(Paths, StockDataIsFoundBesideTheProgramFirst) {
  const fs::path installed = dir_ / "prefix" / "share" / "ochrel";
  // Nothing beside the program: the prefix it was built for.
  EXPECT_EQ(StockDataFolderFor(dir_ / "moved" / "bin", installed), installed);
  EXPECT_EQ(StockDataFolderFor({}, installed), installed);
  // A build folder: data/ beside the programs.
  Spit((dir_ / "build" / "data" / "OCHREL.CCL").string(), "c");
  EXPECT_EQ(StockDataFolderFor(dir_ / "build", installed), dir_ / "build" / "data");
  // A moved install wins over a data/ folder, and a folder without the colour table isn't one.
  Spit((dir_ / "moved" / "share" / "ochrel" / "OCHREL.CCL").string(), "c");
  fs::create_directories(dir_ / "moved" / "bin" / "data");
  EXPECT_EQ(StockDataFolderFor(dir_ / "moved" / "bin", installed), dir_ / "moved" / "share" / "ochrel");
  // The program under test runs from the build folder and finds the shipped files.
  EXPECT_TRUE(fs::exists(StockDataFolder() / "OCHREL.CCL"));
}

TEST_F(Paths, ApplicationPathEndsInASeparatorAndSeedsOpenPath) {
  setenv("OCHREL_DATA_DIR", (dir_ / "data").c_str(), 1);
  ComputeApplicationPath();
  std::string want = (dir_ / "data").string() + "/";
  EXPECT_EQ(std::string(ApplicationPath), want);
  EXPECT_EQ(std::string(OpenPath), want);
  // A stored OpenPath stays; ApplicationPath is computed anew whatever was read.
  std::strcpy(OpenPath, "/home/u/pictures/");
  std::strcpy(ApplicationPath, "/stale/");
  ComputeApplicationPath();
  EXPECT_EQ(std::string(ApplicationPath), want);
  EXPECT_STREQ(OpenPath, "/home/u/pictures/");
}

}  // namespace
}  // namespace ochrel
