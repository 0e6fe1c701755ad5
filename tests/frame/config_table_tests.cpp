// The settings table: the type of every row, the flags, controls and choices
// of the Setup rows, and the reset that tests rely on.
#include <gtest/gtest.h>

#include <cstring>
#include <set>
#include <string>
#include <tuple>
#include <utility>

#include "frame/config.h"

namespace ochrel {
namespace {

// Names, order and compiled-in values are pinned by the byte-exact
// default file in config_tests.
TEST(ConfigTable, RowsAreSoundAndEachHasItsOwnVariable) {
  static_assert(MAXCONFIGITEM == 160);
  ASSERT_EQ(std::size(configitem), static_cast<std::size_t>(MAXCONFIGITEM));
  RestoreDefaultSettings();
  std::set<std::string> names;
  std::set<const void*> seen;  // two rows on one variable would let a load set the wrong one
  for (const CONFIGITEM& item : configitem) {
    SCOPED_TRACE(item.name);
    EXPECT_TRUE(names.insert(item.name).second);
    EXPECT_TRUE(seen.insert(item.number ? static_cast<const void*>(item.number) : item.text).second);
    EXPECT_NE(item.number == nullptr, item.text == nullptr);
    EXPECT_EQ(item.text != nullptr, (item.flags & CI_TEXT) != 0);
    if (item.text)
      for (std::size_t k = std::strlen(item.text); k < kSettingTextSize; ++k) ASSERT_EQ(item.text[k], 0);
    if (item.flags & CI_ONOFF) EXPECT_TRUE(*item.number == 0 || *item.number == 1);
  }
  EXPECT_EQ(FindConfigItem("JPEGQualityFactor")->number, &JPEGQualityFactor);
  EXPECT_EQ(FindConfigItem("jpegqualityfactor"), nullptr);
  EXPECT_EQ(FindConfigItem("JPEGQuality"), nullptr);
}

TEST(ConfigTable, OnlyTheBuildStampsAreWriteOnly) {
  std::set<std::string> writeOnly;
  for (const CONFIGITEM& item : configitem)
    if (item.flags & CI_WRITEONLY) writeOnly.insert(item.name);
  EXPECT_EQ(writeOnly, (std::set<std::string>{"BuildDate", "PatchLevel", "VersionNumber"}));
}

TEST(ConfigTable, SetupControlsFollowTheTable) {
  const char* onOff[] = {"MaximizeBrowser", "ShowStartupWindow", "ShowTipOfTheDay",       "AutoAdjustTaskWindow",
                         "WarnShowManual",  "CreateBackups",     "RevertAfterEyedropper", "UpdateDefaults"};
  const unsigned controls[] = {105, 107, 108, 113, 115, 119, 121, 122};
  for (int i = 0; i < 8; ++i) {
    const CONFIGITEM* item = FindConfigItemByControl(controls[i]);
    ASSERT_NE(item, nullptr) << controls[i];
    EXPECT_STREQ(item->name, onOff[i]);
    EXPECT_EQ(item->flags, CI_ONOFF) << onOff[i];
  }
  int lo = 0, hi = 0, start = 0;
  for (auto [control, name, wantLo, wantHi, wantStart] :
       {std::tuple{114u, "JPEGQualityFactor", 1, 100, 75}, {120u, "NudgeSize", 1, 32, 1}}) {
    const CONFIGITEM* item = FindConfigItemByControl(control);
    ASSERT_NE(item, nullptr) << control;
    EXPECT_STREQ(item->name, name);
    EXPECT_EQ(item->flags, CI_NUMBER | CI_SPIN) << name;
    ASSERT_TRUE(ParseSpinRange(item->spin, &lo, &hi, &start)) << name;
    EXPECT_EQ(std::tuple(lo, hi, start), std::tuple(wantLo, wantHi, wantStart)) << name;
  }
  // The view mode list: eleven zoom steps, index 5 is 100 percent.
  const CONFIGITEM* view = FindConfigItemByControl(103);
  ASSERT_NE(view, nullptr);
  EXPECT_STREQ(view->name, "DefaultViewMode");
  EXPECT_EQ(view->flags, CI_NUMBER | CI_LIST);
  ASSERT_NE(view->choices, nullptr);
  int n = 0;
  while (view->choices[n].text) ++n;
  EXPECT_EQ(n, 11);
  EXPECT_STREQ(view->choices[5].text, "100 percent");
  EXPECT_STREQ(view->choices[10].text, "1600 percent");

  // Every other row has no control, and only spin rows carry a range.
  int withControl = 0;
  for (const CONFIGITEM& item : configitem) {
    if (item.control) ++withControl;
    EXPECT_EQ(item.spin != nullptr, (item.flags & CI_SPIN) != 0) << item.name;
    EXPECT_EQ(item.choices != nullptr, (item.flags & CI_LIST) != 0) << item.name;
  }
  EXPECT_EQ(withControl, 15);  // with the two of recovery (123, 124) and of the undo history (130, 131)
  EXPECT_EQ(FindConfigItemByControl(0), nullptr);
  EXPECT_FALSE(ParseSpinRange("1,2", &lo, &hi, &start));
  EXPECT_FALSE(ParseSpinRange(nullptr, &lo, &hi, &start));
}

TEST(ConfigTable, SetupBindingHelpers) {
  RestoreDefaultSettings();
  const CONFIGITEM& jpeg = *FindConfigItem("JPEGQualityFactor");
  for (auto [value, clamped] : {std::pair{0, 1}, {-50, 1}, {101, 100}, {55, 55}})
    EXPECT_EQ(ClampSpinValue(jpeg, value), clamped);
  EXPECT_EQ(ClampSpinValue(*FindConfigItem("NudgeSize"), 33), 32);
  EXPECT_EQ(ClampSpinValue(*FindConfigItem("LogoDelay"), 123456), 123456);  // no spin, no range

  const CONFIGITEM& view = *FindConfigItem("DefaultViewMode");
  EXPECT_EQ(ConfigChoiceCount(view), 11);
  EXPECT_EQ(ConfigChoiceSelection(view), 5);
  SetConfigChoice(view, 9);
  EXPECT_EQ(DefaultViewMode, 9);
  SetConfigChoice(view, 11);  // past the end: ignored
  SetConfigChoice(view, -1);
  EXPECT_EQ(DefaultViewMode, 9);
  DefaultViewMode = 40;
  EXPECT_EQ(ConfigChoiceSelection(view), -1);
  EXPECT_EQ(ConfigChoiceCount(jpeg), 0);

  // A list whose setting is the record's value rather than its place.
  static const CONFIGCHOICE kinds[] = {{"Fast", 101}, {"Fine", 7}, {"Best", -3}, {nullptr, 0}};
  int setting = 7;
  const CONFIGITEM byValue{"Kind", &setting, nullptr, CI_NUMBER | CI_LIST | CI_LISTVALUE, 900, kinds, nullptr, nullptr};
  EXPECT_EQ(ConfigChoiceSelection(byValue), 1);
  SetConfigChoice(byValue, 2);
  EXPECT_EQ(setting, -3);
  setting = 2;  // an index is no value here
  EXPECT_EQ(ConfigChoiceSelection(byValue), -1);
  RestoreDefaultSettings();
}

TEST(ConfigTable, RestoreDefaultSettingsUndoesEveryChange) {
  RestoreDefaultSettings();
  std::string before;
  for (const CONFIGITEM& item : configitem) before += FormatConfigValue(item) + '\n';
  for (const CONFIGITEM& item : configitem) {
    if (item.number) *item.number = 12345;
    else std::memset(item.text, 'z', kSettingTextSize);  // even the terminator
  }
  RestoreDefaultSettings();
  std::string after;
  for (const CONFIGITEM& item : configitem) after += FormatConfigValue(item) + '\n';
  EXPECT_EQ(before, after);
  EXPECT_EQ(DefaultLineCap, 8704);
  EXPECT_STREQ(ForRent, "This space for rent...");
  EXPECT_EQ(OpenPath[200], 0);
}

}  // namespace
}  // namespace ochrel
