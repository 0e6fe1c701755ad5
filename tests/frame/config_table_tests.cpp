// The settings table: every row in file order with its type, flags, control
// and compiled-in value, and the reset that tests rely on.
#include <gtest/gtest.h>

#include <cstring>
#include <set>
#include <string>

#include "frame/config.h"

namespace ochrel {
namespace {

struct ExpectedRow {
  const char* name;
  char type;  // b on/off, i number, s text
  int number;
  const char* text;
};

// The rows in the order the file lists them, with their compiled-in values.
const ExpectedRow kRows[] = {
    {"AirbrushMotion", 'i', 4, nullptr},
    {"ApplicationPath", 's', 0, ""},
    {"AutoAdjustTaskWindow", 'b', 1, nullptr},
    {"BuildDate", 's', 0, "Jul 31 2002"},
    {"ButtonList", 's', 0, ":9235\xBE" "67"},
    {"ColourTableFile", 's', 0, "OCHREL.CCL"},
    {"ColourToleranceIdentical", 'b', 1, nullptr},
    {"CreateBackups", 'b', 1, nullptr},
    {"DefaultAntialias", 'b', 1, nullptr},
    {"DefaultBlueTolerance", 'i', 16, nullptr},
    {"DefaultAirBrushFlow", 'i', 50, nullptr},
    {"DefaultAirBrushShape", 'i', 0, nullptr},
    {"DefaultAirBrushSoftness", 'i', 50, nullptr},
    {"DefaultAirBrushThickness", 'i', 16, nullptr},
    {"DefaultBrushShape", 'i', 0, nullptr},
    {"DefaultBrushSoftness", 'i', 50, nullptr},
    {"DefaultBrushThickness", 'i', 16, nullptr},
    {"DefaultBrushType", 'i', 0, nullptr},
    {"DefaultDepth", 'i', 600, nullptr},
    {"DefaultEraserBrushShape", 'i', 0, nullptr},
    {"DefaultEraserBrushSoftness", 'i', 50, nullptr},
    {"DefaultEraserBrushThickness", 'i', 16, nullptr},
    {"DefaultEraserBrushType", 'i', 1, nullptr},
    {"DefaultFillColour", 'i', 8421504, nullptr},
    {"DefaultFillType", 'i', 0, nullptr},
    {"DefaultFilterType", 's', 0, ""},
    {"DefaultFragmentPasteMode", 'i', 0, nullptr},
    {"DefaultGreenTolerance", 'i', 16, nullptr},
    {"DefaultGridActive", 'b', 0, nullptr},
    {"DefaultGridHorizontal", 'i', 8, nullptr},
    {"DefaultGridShow", 'b', 1, nullptr},
    {"DefaultGridVertical", 'i', 8, nullptr},
    {"DefaultHardBrushAngle", 'i', 0, nullptr},
    {"DefaultHardBrushFlat", 'i', 0, nullptr},
    {"DefaultHardBrushShape", 'i', 0, nullptr},
    {"DefaultHardBrushThickness", 'i', 16, nullptr},
    {"DefaultLineCap", 'i', 8704, nullptr},
    {"DefaultLineThickness", 'i', 1, nullptr},
    {"DefaultMatchType", 'i', 0, nullptr},
    {"DefaultNewColour", 'i', 16777215, nullptr},
    {"DefaultNewType", 'i', 0, nullptr},
    {"DefaultOpacity", 'i', 255, nullptr},
    {"DefaultPaintColour", 'i', 0, nullptr},
    {"DefaultPaperColour", 'i', 16777215, nullptr},
    {"DefaultRedTolerance", 'i', 16, nullptr},
    {"DefaultReplacerSize", 'i', 32, nullptr},
    {"DefaultShadow", 'b', 0, nullptr},
    {"DefaultSolidFillMode", 'i', 0, nullptr},
    {"DefaultSpraycanFlow", 'i', 5, nullptr},
    {"DefaultSpraycanThickness", 'i', 32, nullptr},
    {"DefaultTextFontBold", 'b', 0, nullptr},
    {"DefaultTextFontCharacterSpace", 'i', 100, nullptr},
    {"DefaultTextFontName", 's', 0, "ARIAL"},
    {"DefaultTextFontItal", 'b', 0, nullptr},
    {"DefaultTextFontJust", 'i', 0, nullptr},
    {"DefaultTextFontLineSpace", 'i', 100, nullptr},
    {"DefaultTextFontSize", 'i', 24, nullptr},
    {"DefaultTextFontUnder", 'b', 0, nullptr},
    {"DefaultTextureFileName", 's', 0, "Ochrel.FFT"},
    {"DefaultUndoThickness", 'i', 16, nullptr},
    {"DefaultUndoShape", 'i', 0, nullptr},
    {"DefaultUndoType", 'i', 0, nullptr},
    {"DefaultUndoSoftness", 'i', 50, nullptr},
    {"DefaultViewMode", 'i', 5, nullptr},
    {"DefaultWidth", 'i', 800, nullptr},
    {"DitherBrightness", 'i', 25, nullptr},
    {"DitherContrast", 'i', 25, nullptr},
    {"FillTypeRightClick", 'b', 1, nullptr},
    {"FilterApplyToDuplicate", 'b', 0, nullptr},
    {"FilterBlue", 'i', 128, nullptr},
    {"FilterBrightness", 'i', 128, nullptr},
    {"FilterContrast", 'i', 128, nullptr},
    {"FilterEmbossSigma", 'i', 25, nullptr},
    {"FilterEmbossWidth", 'i', 5, nullptr},
    {"FilterFlipDirection", 'i', 0, nullptr},
    {"FilterGaussianRadius", 'i', 40, nullptr},
    {"FilterGaussianSigma", 'i', 50, nullptr},
    {"FilterGreen", 'i', 128, nullptr},
    {"FilterIntensity", 'i', 128, nullptr},
    {"FilterNoiseColour", 'b', 0, nullptr},
    {"FilterNoiseLevel", 'i', 16, nullptr},
    {"FilterNoiseType", 'i', 0, nullptr},
    {"FilterOilpaintRadius", 'i', 250, nullptr},
    {"FilterRed", 'i', 128, nullptr},
    {"FilterRemember", 'b', 1, nullptr},
    {"FilterResizeInterpolate", 'b', 1, nullptr},
    {"FilterResizeConstant", 'b', 1, nullptr},
    {"FilterRotateAngle", 'i', 0, nullptr},
    {"FilterRotateDirection", 'i', 0, nullptr},
    {"FilterRotateInterpolate", 'b', 1, nullptr},
    {"FilterRotatePreserve", 'b', 0, nullptr},
    {"FilterShadeAzimuth", 'i', 135, nullptr},
    {"FilterShadeElevation", 'i', 30, nullptr},
    {"FilterShadeLevel", 'b', 1, nullptr},
    {"FilterSharpenSigma", 'i', 25, nullptr},
    {"FilterSharpenWidth", 'i', 5, nullptr},
    {"FilterSolarizeThreshold", 'i', 128, nullptr},
    {"FilterSwirlDegrees", 'i', 45, nullptr},
    {"FilterUnsharpAmount", 'i', 4, nullptr},
    {"FilterUnsharpThreshold", 'i', 1, nullptr},
    {"FilterVignetteLevel", 'i', 10, nullptr},
    {"FilterVignetteOffsetLevel", 'i', 0, nullptr},
    {"FontListSize", 'i', 320, nullptr},
    {"FontListSampleSize", 'i', 22, nullptr},
    {"FloodFillStackSize", 'i', 4096, nullptr},
    {"ForRent", 's', 0, "This space for rent..."},
    {"GradientType", 'i', 0, nullptr},
    {"GradientStartColour", 'i', 16777215, nullptr},
    {"GradientEndColour", 'i', 0, nullptr},
    {"GradientEdgePad", 'i', 0, nullptr},
    {"GradientCenterX", 'i', 0, nullptr},
    {"GradientCenterY", 'i', 0, nullptr},
    {"GradientMidpoint", 'i', 0, nullptr},
    {"GradientAngle", 'i', 0, nullptr},
    {"ImageAttributesDirection", 'i', 200, nullptr},
    {"ImageFileOpenIndex", 'i', 1, nullptr},
    {"JPEGQualityFactor", 'i', 75, nullptr},
    {"LastTipDate", 'i', 0, nullptr},
    {"LiveButtons", 'i', 1, nullptr},
    {"LogoDelay", 'i', 8000, nullptr},
    {"MatrixLibrary", 's', 0, "Ochrel.MTX"},
    {"MatrixDefaultTile", 's', 0, ""},
    {"MaximizeBrowser", 'b', 1, nullptr},
    {"OpenPath", 's', 0, ""},
    {"NudgeSize", 'i', 1, nullptr},
    {"PatchLevel", 'i', 2, nullptr},
    {"RevertAfterEyedropper", 'b', 1, nullptr},
    {"SettingsLeft", 'i', 0, nullptr},
    {"SettingsTop", 'i', 0, nullptr},
    {"ShadowColor", 'i', 8421504, nullptr},
    {"ShadowDirection", 'i', 7, nullptr},
    {"ShadowOpacity", 'i', 255, nullptr},
    {"ShadowSoft", 'i', 15, nullptr},
    {"ShadowType", 'i', 0, nullptr},
    {"ShadowOffset", 'i', 6, nullptr},
    {"ShowFileOpenPreview", 'b', 1, nullptr},
    {"ShowFontNameSamples", 'b', 1, nullptr},
    {"ShowStartupWindow", 'b', 1, nullptr},
    {"ShowTipOfTheDay", 'b', 1, nullptr},
    {"SpraycanMotion", 'i', 4, nullptr},
    {"StartMaximized", 'b', 0, nullptr},
    {"StickyWindowBottom", 'i', -1, nullptr},
    {"StickyWindowLeft", 'i', -1, nullptr},
    {"StickyWindowRight", 'i', -1, nullptr},
    {"StickyWindowTop", 'i', -1, nullptr},
    {"TextFontExampleString", 's', 0, "AaBbCc"},
    {"TipOfTheDay", 'i', 0, nullptr},
    {"ToolBoxDouble", 'b', 1, nullptr},
    {"ToolBoxLeft", 'i', 0, nullptr},
    {"ToolBoxTop", 'i', 0, nullptr},
    {"ToMonoType", 'i', 101, nullptr},
    {"ToPaletteType", 'i', 101, nullptr},
    {"UpdateDefaults", 'b', 0, nullptr},
    {"VersionNumber", 'i', 64, nullptr},
    {"WarnNonBeta", 'b', 1, nullptr},
    {"WarnShowManual", 'b', 1, nullptr},
};

TEST(ConfigTable, HoldsEveryRowInOrderWithItsTypeAndDefault) {
  static_assert(MAXCONFIGITEM == 156);
  ASSERT_EQ(std::size(kRows), static_cast<std::size_t>(MAXCONFIGITEM));
  ASSERT_EQ(std::size(configitem), static_cast<std::size_t>(MAXCONFIGITEM));
  RestoreDefaultSettings();
  for (int i = 0; i < MAXCONFIGITEM; ++i) {
    const CONFIGITEM& item = configitem[i];
    const ExpectedRow& want = kRows[i];
    SCOPED_TRACE(want.name);
    ASSERT_STREQ(item.name, want.name) << "row " << i;
    unsigned typeFlags = item.flags & (CI_ONOFF | CI_TEXT | CI_NUMBER);
    switch (want.type) {
      case 'b':
        EXPECT_EQ(typeFlags, CI_ONOFF);
        ASSERT_NE(item.number, nullptr);
        EXPECT_EQ(item.text, nullptr);
        EXPECT_EQ(*item.number, want.number);
        break;
      case 'i':
        EXPECT_EQ(typeFlags, CI_NUMBER);
        ASSERT_NE(item.number, nullptr);
        EXPECT_EQ(item.text, nullptr);
        EXPECT_EQ(*item.number, want.number);
        break;
      default:
        EXPECT_EQ(typeFlags, CI_TEXT);
        ASSERT_NE(item.text, nullptr);
        EXPECT_EQ(item.number, nullptr);
        EXPECT_STREQ(item.text, want.text);
        // Texts are zero-filled behind their end.
        for (std::size_t k = std::strlen(want.text); k < kSettingTextSize; ++k) ASSERT_EQ(item.text[k], 0);
    }
  }
}

TEST(ConfigTable, RowsAreBoundToTheProgramVariables) {
  EXPECT_EQ(FindConfigItem("DefaultBrushThickness")->number, &DefaultBrushThickness);
  EXPECT_EQ(FindConfigItem("JPEGQualityFactor")->number, &JPEGQualityFactor);
  EXPECT_EQ(FindConfigItem("StickyWindowBottom")->number, &StickyWindowBottom);
  EXPECT_EQ(FindConfigItem("ButtonList")->text, ButtonList);
  EXPECT_EQ(FindConfigItem("OpenPath")->text, OpenPath);
  EXPECT_EQ(FindConfigItem("WarnShowManual")->number, &WarnShowManual);
  // No two rows share a variable, or a load would set the wrong one.
  std::set<const void*> seen;
  for (const CONFIGITEM& item : configitem) {
    const void* v = item.number ? static_cast<const void*>(item.number) : static_cast<const void*>(item.text);
    EXPECT_TRUE(seen.insert(v).second) << item.name;
  }
  EXPECT_EQ(FindConfigItem("jpegqualityfactor"), nullptr);
  EXPECT_EQ(FindConfigItem("JPEGQuality"), nullptr);
}

TEST(ConfigTable, ButtonListHoldsTheButtonBytes) {
  RestoreDefaultSettings();
  const unsigned char want[] = {58, 57, 50, 51, 53, 190, 54, 55, 0};
  EXPECT_EQ(std::memcmp(ButtonList, want, sizeof want), 0);
}

TEST(ConfigTable, OnlyTheBuildStampsAreWriteOnly) {
  std::set<std::string> writeOnly;
  for (const CONFIGITEM& item : configitem)
    if (item.flags & CI_WRITEONLY) writeOnly.insert(item.name);
  EXPECT_EQ(writeOnly, (std::set<std::string>{"BuildDate", "PatchLevel", "VersionNumber"}));
}

TEST(ConfigTable, SetupControlsFollowTheTable) {
  struct {
    unsigned control;
    const char* name;
  } checks[] = {{113, "AutoAdjustTaskWindow"}, {119, "CreateBackups"},   {121, "RevertAfterEyedropper"},
                {107, "ShowStartupWindow"},    {108, "ShowTipOfTheDay"}, {122, "UpdateDefaults"},
                {115, "WarnShowManual"},       {105, "MaximizeBrowser"}};
  for (auto c : checks) {
    const CONFIGITEM* item = FindConfigItemByControl(c.control);
    ASSERT_NE(item, nullptr) << c.control;
    EXPECT_STREQ(item->name, c.name);
    EXPECT_EQ(item->flags, CI_ONOFF) << c.name;
  }
  int lo = 0, hi = 0, start = 0;
  const CONFIGITEM* jpeg = FindConfigItemByControl(114);
  ASSERT_NE(jpeg, nullptr);
  EXPECT_STREQ(jpeg->name, "JPEGQualityFactor");
  EXPECT_EQ(jpeg->flags, CI_NUMBER | CI_SPIN);
  ASSERT_TRUE(ParseSpinRange(jpeg->spin, &lo, &hi, &start));
  EXPECT_EQ(lo, 1);
  EXPECT_EQ(hi, 100);
  EXPECT_EQ(start, 75);
  const CONFIGITEM* nudge = FindConfigItemByControl(120);
  ASSERT_NE(nudge, nullptr);
  EXPECT_STREQ(nudge->name, "NudgeSize");
  ASSERT_TRUE(ParseSpinRange(nudge->spin, &lo, &hi, &start));
  EXPECT_EQ(lo, 1);
  EXPECT_EQ(hi, 32);
  EXPECT_EQ(start, 1);

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
  EXPECT_EQ(withControl, 11);
  EXPECT_EQ(FindConfigItemByControl(0), nullptr);
  EXPECT_FALSE(ParseSpinRange("1,2", &lo, &hi, &start));
  EXPECT_FALSE(ParseSpinRange(nullptr, &lo, &hi, &start));
}

TEST(ConfigTable, SetupBindingHelpers) {
  RestoreDefaultSettings();
  const CONFIGITEM& jpeg = *FindConfigItem("JPEGQualityFactor");
  EXPECT_EQ(ClampSpinValue(jpeg, 0), 1);
  EXPECT_EQ(ClampSpinValue(jpeg, -50), 1);
  EXPECT_EQ(ClampSpinValue(jpeg, 101), 100);
  EXPECT_EQ(ClampSpinValue(jpeg, 55), 55);
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

TEST(ConfigTable, ConstantsWithoutRows) {
  EXPECT_EQ(FileMenuRange, 10u);
  EXPECT_STREQ(ControlFontName, "Arial");
  EXPECT_EQ(OkToSaveConfig, 1);
  EXPECT_EQ(NormalTextFontSize, 16);
  EXPECT_EQ(SmallTextFontSize, 12);
  for (const char* name : {"FileMenuRange", "ControlFontName", "OkToSaveConfig", "NormalTextFontSize",
                           "SmallTextFontSize"})
    EXPECT_EQ(FindConfigItem(name), nullptr) << name;
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
