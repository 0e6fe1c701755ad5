// Reading and writing OCHREL.INI: the exact written text, the lenient reader,
// the recent-path section, the early start-up read and UpdateDefaults.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "frame/config.h"
#include "frame/paths.h"
#include "frame/recentpaths.h"
#include "temp_dir.h"

namespace fs = std::filesystem;

namespace ochrel {
namespace {

// The file as it must be written from the compiled-in settings, apart from
// the date line and the button bytes, which the test puts in.
std::string DefaultFileText(const std::string& dateLine, const std::string& menuLines) {
  std::string s = test::Slurp(std::string(OCHREL_SOURCE_DIR) + "/tests/frame/config_default.ini");
  s.replace(s.find("<DATE>"), 6, dateLine);
  s.replace(s.find("<BUTTONS>"), 9, std::string(":9235") + '\xBE' + "67");
  return s + menuLines;
}

using test::Spit;

std::vector<std::string> Lines(const std::string& text) {
  std::vector<std::string> out;
  std::stringstream ss(text);
  for (std::string line; std::getline(ss, line);) out.push_back(line);
  return out;
}

std::string AllValues() {
  std::string s;
  for (const CONFIGITEM& item : configitem) s += std::string(item.name) + "=" + FormatConfigValue(item) + "\n";
  return s;
}

class ConfigFile : public ::testing::Test {
 protected:
  void SetUp() override {
    RestoreDefaultSettings();
    ini_ = dir_ / "OCHREL.INI";
    setenv("OCHREL_CONFIG_DIR", (dir_ / "cfg").c_str(), 1);
  }
  void TearDown() override {
    RestoreDefaultSettings();
    unsetenv("OCHREL_CONFIG_DIR");
  }
  // Loads a file made of the given text.
  void Load(const std::string& text) {
    Spit(ini_, text);
    LoadConfigFile(ini_);
  }
  fs::path Touch(const std::string& name) {
    fs::path p = dir_ / name;
    Spit(p, "x");
    return p;
  }
  test::TempDir tmp_;
  fs::path dir_ = tmp_.path, ini_;
};

TEST_F(ConfigFile, WrittenFileMatchesTheFormatByteForByte) {
  fs::path a = Touch("a.png"), b = Touch("b.jpg");
  RecentPaths recent(FileMenuRange);
  ASSERT_TRUE(recent.Add(a.string()));
  ASSERT_TRUE(recent.Add(b.string()));  // b is the newest
  ASSERT_TRUE(SaveConfigFile(ini_, recent));
  std::string text = test::Slurp(ini_);
  std::vector<std::string> lines = Lines(text);
  ASSERT_GT(lines.size(), 4u);
  const std::string& date = lines[3];
  // ";Last updated " and ctime's 24 characters, e.g. "Sun Sep  9 01:46:40 2001".
  ASSERT_EQ(date.size(), 14u + 24u) << date;
  EXPECT_EQ(date.substr(0, 14), ";Last updated ");
  EXPECT_EQ(text, DefaultFileText(date, "MenuItem = " + a.string() + "\nMenuItem = " + b.string() + "\n"));
}

TEST_F(ConfigFile, DateLineHasTheCtimeForm) {
  const char* oldTz = std::getenv("TZ");
  std::string saved = oldTz ? oldTz : "";
  setenv("TZ", "UTC", 1);
  tzset();
  RecentPaths none;
  std::vector<std::string> lines = Lines(FormatConfig(none, 1000000000));
  std::vector<std::string> early = Lines(FormatConfig(none, 86400 * 3 + 5));
  if (oldTz) setenv("TZ", saved.c_str(), 1);
  else unsetenv("TZ");
  tzset();
  ASSERT_GT(lines.size(), 4u);
  EXPECT_EQ(lines[3], ";Last updated Sun Sep  9 01:46:40 2001");
  EXPECT_EQ(early[3], ";Last updated Sun Jan  4 00:00:05 1970");
  // The name line is pinned by the byte-exact default file.
}

TEST_F(ConfigFile, WholeTableRoundTrips) {
  // Give every readable row a value unlike its default, save, reset, load.
  int k = 0;
  for (const CONFIGITEM& item : configitem) {
    ++k;
    if (item.number) *item.number = k * 7919 - 300000;
    else SetConfigValue(item, "value " + std::to_string(k) + " with blanks");
  }
  std::string written = AllValues();
  RecentPaths none;
  ASSERT_TRUE(SaveConfigFile(ini_, none));
  RestoreDefaultSettings();
  LoadConfigFile(ini_);
  for (const CONFIGITEM& item : configitem) {
    if (item.flags & CI_WRITEONLY) continue;  // those keep the build's values
    SCOPED_TRACE(item.name);
    std::string want = written.substr(written.find(std::string("\n") + item.name + "=") + 1);
    want = want.substr(want.find('=') + 1);
    EXPECT_EQ(FormatConfigValue(item), want.substr(0, want.find('\n')));
  }
  EXPECT_EQ(VersionNumber, 64);
  EXPECT_EQ(PatchLevel, 2);
  EXPECT_STREQ(BuildDate, "Jul 31 2002");
}

TEST_F(ConfigFile, ReaderRules) {
  const std::string long400 = "ForRent = " + std::string(400, 'x') + "\n";
  const std::string piece = "ForRent = " + std::string(249, 'y');  // exactly one 259-character piece
  struct {
    std::string text, name, want;
  } cases[] = {
      // Blanks around the equals sign, doubled signs and a missing one don't matter.
      {"JPEGQualityFactor = 33\n", "JPEGQualityFactor", "33"},
      {"JPEGQualityFactor=33\n", "JPEGQualityFactor", "33"},
      {"JPEGQualityFactor   ==  33\n", "JPEGQualityFactor", "33"},
      {"JPEGQualityFactor= 33\r\n", "JPEGQualityFactor", "33"},
      {"JPEGQualityFactor 33\n", "JPEGQualityFactor", "33"},
      {"TextFontExampleString=Hello  world\n", "TextFontExampleString", "Hello  world"},
      {"OpenPath   =   /home/me/\n", "OpenPath", "/home/me/"},
      // A key that is only the start of names sets the first such readable row.
      {"ToolBox = 0\n", "ToolBoxDouble", "0"},
      {"ToolBox = 44\n", "ToolBoxDouble", "44"},
      {"ToolBox = 44\n", "ToolBoxLeft", "0"},
      {"D = 0\n", "DefaultAntialias", "0"},
      {"D = 0\n", "DefaultBlueTolerance", "16"},
      {"FilterS = 3\n", "FilterShadeAzimuth", "3"},
      {"FilterS = 3\n", "FilterShadeElevation", "30"},
      // "Bu" only starts a write-only row before ButtonList: it falls through.
      {"Bu = 123\n", "ButtonList", "123"},
      {"Bu = 123\n", "BuildDate", "Jul 31 2002"},
      // A control character ends a text; an empty one is empty.
      {"ForRent = ab\tcd\n", "ForRent", "ab"},
      {"ForRent = \n", "ForRent", ""},
      {std::string("NudgeSize = 5\0007\n", 16), "NudgeSize", "5"},
      // Lines are read 259 characters at a time; the rest is a line of its own.
      {long400 + "JPEGQualityFactor = 12\n", "ForRent", std::string(249, 'x')},
      {long400 + "JPEGQualityFactor = 12\n", "JPEGQualityFactor", "12"},
      {piece + "NudgeSize = 9\n", "ForRent", std::string(249, 'y')},
      {piece + "NudgeSize = 9\n", "NudgeSize", "9"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.text.substr(0, 40) + " -> " + c.name);
    RestoreDefaultSettings();
    Load(c.text);
    const CONFIGITEM* item = FindConfigItem(c.name);
    ASSERT_NE(item, nullptr);
    EXPECT_EQ(FormatConfigValue(*item), c.want);
  }
  // Write-only rows, keys longer than any name or in the wrong case, sections
  // and empty keys change nothing.
  RestoreDefaultSettings();
  const std::string before = AllValues();
  Load(
      "VersionNumber = 99\nPatchLevel = 7\nBuildDate = Jan 1 2030\nVersion = 5\nBuildD = x\n"
      "ToolBoxDoubleX = 9\ntoolboxdouble = 9\n[Varnwick Studio Paint]\n= 5\n  = 6\n");
  EXPECT_EQ(AllValues(), before);
}

TEST_F(ConfigFile, NumbersReadLeniently) {
  struct {
    const char* text;
    int want;
  } cases[] = {{"4294967295", -1},
               {"4294967296", 0},
               {"99999999999", 1215752191},
               {"-5", -5},
               {"12abc", 12},
               {"abc", 0},
               {"", 0},
               {"+8", 8},
               {"2147483648", INT32_MIN},
               {"007", 7},
               {"1 2", 1},
               {"0x10", 0}};
  for (auto c : cases) {
    SCOPED_TRACE(c.text);
    LogoDelay = 12345;
    Load(std::string("LogoDelay = ") + c.text + "\n");
    EXPECT_EQ(LogoDelay, c.want);
  }
}

TEST_F(ConfigFile, TextsAreZeroedAndCut) {
  std::memset(ForRent, 'q', kSettingTextSize - 1);
  Load("ForRent = short\n");
  EXPECT_STREQ(ForRent, "short");
  for (int k = 5; k < kSettingTextSize; ++k) ASSERT_EQ(ForRent[k], 0) << k;

  // Set from elsewhere, a text is cut at 260 characters.
  SetConfigValue(*FindConfigItem("ForRent"), std::string(400, 'x'));
  EXPECT_EQ(std::strlen(ForRent), 260u);
  EXPECT_EQ(ForRent[260], 0);
  SetConfigValue(*FindConfigItem("ForRent"), std::string("two\nlines"));
  EXPECT_STREQ(ForRent, "two");
}

TEST_F(ConfigFile, MissingOrHostileFileLeavesTheDefaults) {
  std::string defaults = AllValues();
  LoadConfigFile(dir_ / "none" / "OCHREL.INI");
  LoadConfigFile(fs::path());
  LoadConfigFile(dir_);         // a folder, not a file
  LoadConfigFile("/dev/zero");  // endless: must not hang
  ASSERT_EQ(mkfifo((dir_ / "fifo").c_str(), 0600), 0);
  LoadConfigFile(dir_ / "fifo");  // nobody writes: must not block
  EXPECT_EQ(ReadProfileInt(dir_ / "fifo", "Varnwick Studio Paint", "ShowStartupWindow", 4), 4);
  RecentPaths recent;
  LoadMenuConfigFile("/dev/zero", recent);
  EXPECT_TRUE(recent.Items().empty());
  EXPECT_EQ(AllValues(), defaults);

  // Random bytes without any key of the table: nothing changes, nothing breaks.
  std::mt19937 rng(7);
  std::string junk;
  for (int i = 0; i < 200000; ++i) {
    char c = static_cast<char>(rng());
    junk += (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') ? '#' : c;
  }
  Load(junk);
  EXPECT_EQ(AllValues(), defaults);
}

TEST_F(ConfigFile, UnwritableFolderLeavesSettingsInMemory) {
  JPEGQualityFactor = 51;
  RecentPaths none;
  // The configuration folder is a file.
  Spit(dir_ / "blocker", "x");
  EXPECT_FALSE(SaveConfigFile(dir_ / "blocker" / "OCHREL.INI", none));
  // The settings file is a folder.
  fs::create_directories(dir_ / "taken" / "OCHREL.INI");
  EXPECT_FALSE(SaveConfigFile(dir_ / "taken" / "OCHREL.INI", none));
  EXPECT_TRUE(fs::is_directory(dir_ / "taken" / "OCHREL.INI"));
  // No temporary file is left behind.
  int entries = 0;
  for ([[maybe_unused]] const auto& e : fs::directory_iterator(dir_ / "taken")) ++entries;
  EXPECT_EQ(entries, 1);
  EXPECT_FALSE(SaveConfigFile(fs::path(), none));
  EXPECT_EQ(JPEGQualityFactor, 51);
}

TEST_F(ConfigFile, SaveReplacesTheWholeFileAndMakesTheFolder) {
  fs::path deep = dir_ / "new" / "folder" / "OCHREL.INI";
  Spit(dir_ / "old.ini", std::string(100000, 'z'));
  fs::create_directories(deep.parent_path());
  fs::copy_file(dir_ / "old.ini", deep);
  RecentPaths none;
  ASSERT_TRUE(SaveConfigFile(deep, none));
  std::string text = test::Slurp(deep);
  // Nothing of the longer old file is left behind the new text.
  EXPECT_EQ(text.find("zz"), std::string::npos);
  EXPECT_LT(text.size(), 10000u);
  const std::string tail = "[Varnwick Studio PaintItems]\n";
  ASSERT_GT(text.size(), tail.size());
  EXPECT_EQ(text.substr(text.size() - tail.size()), tail);
  ASSERT_TRUE(SaveConfigFile(dir_ / "fresh" / "sub" / "OCHREL.INI", none));
  EXPECT_TRUE(fs::is_regular_file(dir_ / "fresh" / "sub" / "OCHREL.INI"));
}

TEST_F(ConfigFile, RecentListKeepsItsOrderOverSaveAndLoad) {
  std::vector<fs::path> files;
  for (int i = 0; i < 4; ++i) files.push_back(Touch("pic" + std::to_string(i) + ".png"));
  RecentPaths recent(FileMenuRange);
  for (const fs::path& f : files) ASSERT_TRUE(recent.Add(f.string()));
  ASSERT_TRUE(SaveConfigFile(ini_, recent));
  std::string text = test::Slurp(ini_);
  // Oldest first in the file.
  EXPECT_LT(text.find(files[0].string()), text.find(files[3].string()));
  RecentPaths again(FileMenuRange);
  LoadMenuConfigFile(ini_, again);
  EXPECT_EQ(again.Items(), recent.Items());
  EXPECT_EQ(again.Items().front(), files[3].string());
  // The settings reader passes the menu lines by.
  std::string before = AllValues();
  LoadConfigFile(ini_);
  EXPECT_EQ(AllValues(), before);
}

TEST_F(ConfigFile, MenuReaderUsesTheSameRules) {
  fs::path a = Touch("a.png"), b = Touch("B.png");
  // A comment, a file that is not there, a relative path, the start of the key
  // with trailing blanks, and a known path again (it keeps its place).
  const std::string text = "[Varnwick Studio PaintItems]\nMenuItem = " + a.string() + "\n;MenuItem = " + b.string() +
                           "\nMenuItem=" + (dir_ / "gone.png").string() +
                           "\nMenuItem = relative/path.png\nMenu = " + b.string() + "   \nMenuItem = " + a.string() +
                           "\n";
  Spit(ini_, text);
  RecentPaths recent(FileMenuRange);
  LoadMenuConfigFile(ini_, recent);
  EXPECT_EQ(recent.Items(), (std::vector<std::string>{b.string(), a.string()}));
  RecentPaths none(FileMenuRange);
  LoadMenuConfigFile(dir_ / "missing.ini", none);
  EXPECT_TRUE(none.Items().empty());
}

TEST_F(ConfigFile, ProgramCallsUseTheConfigurationFolder) {
  JPEGQualityFactor = 61;
  fs::path file = dir_ / "cfg" / "OCHREL.INI";
  EXPECT_EQ(ConfigFilePath(), file);
  ASSERT_TRUE(SaveConfig());  // makes the folder
  ASSERT_TRUE(fs::is_regular_file(file));
  JPEGQualityFactor = 1;
  LoadConfig();
  EXPECT_EQ(JPEGQualityFactor, 61);
}

TEST_F(ConfigFile, StartupFlagIsReadAheadOfTheConfiguration) {
  fs::path file = dir_ / "cfg" / "OCHREL.INI";
  ShowStartupWindow = 0;
  EXPECT_EQ(ReadStartupWindowFlag(), 1);  // no file: 1
  EXPECT_EQ(ShowStartupWindow, 1);
  fs::create_directories(file.parent_path());
  Spit(file, "[Other]\nShowStartupWindow = 5\n[varnwick studio paint]\nshowstartupwindow = 0\n");
  EXPECT_EQ(ReadStartupWindowFlag(), 0);
  EXPECT_EQ(ShowStartupWindow, 0);
  Spit(file, "[Varnwick Studio Paint]\nShowStartupWindowX = 0\n[Other]\nShowStartupWindow = 0\n");
  EXPECT_EQ(ReadStartupWindowFlag(), 1);
  // As SaveConfig writes it.
  ShowStartupWindow = 0;
  ASSERT_TRUE(SaveConfig());
  ShowStartupWindow = 1;
  EXPECT_EQ(ReadStartupWindowFlag(), 0);
  EXPECT_EQ(ReadProfileInt(file, "Varnwick Studio Paint", "StickyWindowLeft", 3), -1);
  EXPECT_EQ(ReadProfileInt(file, "Varnwick Studio Paint", "NoSuchKey", 3), 3);
  EXPECT_EQ(ReadProfileInt(dir_ / "nothing.ini", "Varnwick Studio Paint", "ShowStartupWindow", 9), 9);
}

TEST_F(ConfigFile, UpdateDefaultsWritesThroughOnlyWhenSet) {
  UpdateDefaults = 0;
  EXPECT_FALSE(UpdateDefault(&DefaultBrushThickness, 40));
  EXPECT_FALSE(UpdateDefault("BrushThickness", 40));
  EXPECT_FALSE(UpdateDefault("TextFontName", "Courier"));
  EXPECT_EQ(DefaultBrushThickness, 16);
  EXPECT_STREQ(DefaultTextFontName, "ARIAL");

  UpdateDefaults = 1;
  EXPECT_TRUE(UpdateDefault(&DefaultBrushThickness, 40));
  EXPECT_EQ(DefaultBrushThickness, 40);
  EXPECT_TRUE(UpdateDefault("GridHorizontal", 12));
  EXPECT_EQ(DefaultGridHorizontal, 12);
  EXPECT_TRUE(UpdateDefault("TextFontName", "Courier"));
  EXPECT_STREQ(DefaultTextFontName, "Courier");
  EXPECT_TRUE(UpdateDefault("TextFontName", std::string(300, 'c')));
  EXPECT_EQ(std::strlen(DefaultTextFontName), 260u);
  // Unknown stems and wrong types are refused.
  EXPECT_FALSE(UpdateDefault("NoSuchThing", 1));
  EXPECT_FALSE(UpdateDefault("TextFontName", 5));
  EXPECT_FALSE(UpdateDefault("BrushThickness", "7"));
  EXPECT_FALSE(UpdateDefault(nullptr, 5));
  EXPECT_EQ(DefaultBrushThickness, 40);
  // The next save carries the new default.
  RecentPaths none;
  ASSERT_TRUE(SaveConfigFile(ini_, none));
  EXPECT_NE(test::Slurp(ini_).find("\nDefaultBrushThickness = 40\n"), std::string::npos);
}

}  // namespace
}  // namespace ochrel
