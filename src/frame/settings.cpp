// The compiled-in values of the program-wide settings. One list gives both the
// variables and the reset, so that the two can never drift apart.
#include "frame/settings.h"

#include <cstring>

namespace ochrel {

// N(name, number) or T(name, text), in the order of the settings file.
// ButtonList is a row of button numbers kept as bytes: 58 57 50 51 53 190 54 55.
#define OCHREL_SETTINGS(N, T)             \
  N(AirbrushMotion, 4)                    \
  T(ApplicationPath, "")                  \
  N(AutoAdjustTaskWindow, 1)              \
  T(BuildDate, "Jul 31 2002")             \
  T(ButtonList,                           \
    ":9235"                               \
    "\xBE"                                \
    "67")                                 \
  T(ColourTableFile, "OCHREL.CCL")        \
  N(ColourToleranceIdentical, 1)          \
  N(CreateBackups, 1)                     \
  N(DefaultAntialias, 1)                  \
  N(DefaultBlueTolerance, 16)             \
  N(DefaultAirBrushFlow, 50)              \
  N(DefaultAirBrushShape, 0)              \
  N(DefaultAirBrushSoftness, 50)          \
  N(DefaultAirBrushThickness, 16)         \
  N(DefaultBrushShape, 0)                 \
  N(DefaultBrushSoftness, 50)             \
  N(DefaultBrushThickness, 16)            \
  N(DefaultBrushType, 0)                  \
  N(DefaultDepth, 600)                    \
  N(DefaultEraserBrushShape, 0)           \
  N(DefaultEraserBrushSoftness, 50)       \
  N(DefaultEraserBrushThickness, 16)      \
  N(DefaultEraserBrushType, 1)            \
  N(DefaultFillColour, 8421504)           \
  N(DefaultFillType, 0)                   \
  T(DefaultFilterType, "")                \
  N(DefaultFragmentPasteMode, 0)          \
  N(DefaultGreenTolerance, 16)            \
  N(DefaultGridActive, 0)                 \
  N(DefaultGridHorizontal, 8)             \
  N(DefaultGridShow, 1)                   \
  N(DefaultGridVertical, 8)               \
  N(DefaultHardBrushAngle, 0)             \
  N(DefaultHardBrushFlat, 0)              \
  N(DefaultHardBrushShape, 0)             \
  N(DefaultHardBrushThickness, 16)        \
  N(DefaultLineCap, 8704)                 \
  N(DefaultLineThickness, 1)              \
  N(DefaultMatchType, 0)                  \
  N(DefaultNewColour, 16777215)           \
  N(DefaultNewType, 0)                    \
  N(DefaultOpacity, 255)                  \
  N(DefaultPaintColour, 0)                \
  N(DefaultPaperColour, 16777215)         \
  N(DefaultRedTolerance, 16)              \
  N(DefaultReplacerSize, 32)              \
  N(DefaultShadow, 0)                     \
  N(DefaultSolidFillMode, 0)              \
  N(DefaultSpraycanFlow, 5)               \
  N(DefaultSpraycanThickness, 32)         \
  N(DefaultTextFontBold, 0)               \
  N(DefaultTextFontCharacterSpace, 100)   \
  T(DefaultTextFontName, "ARIAL")         \
  N(DefaultTextFontItal, 0)               \
  N(DefaultTextFontJust, 0)               \
  N(DefaultTextFontLineSpace, 100)        \
  N(DefaultTextFontSize, 24)              \
  N(DefaultTextFontUnder, 0)              \
  T(DefaultTextureFileName, "Ochrel.FFT") \
  N(DefaultUndoThickness, 16)             \
  N(DefaultUndoShape, 0)                  \
  N(DefaultUndoType, 0)                   \
  N(DefaultUndoSoftness, 50)              \
  N(DefaultViewMode, 5)                   \
  N(DefaultWidth, 800)                    \
  N(DitherBrightness, 25)                 \
  N(DitherContrast, 25)                   \
  N(FillTypeRightClick, 1)                \
  N(FilterApplyToDuplicate, 0)            \
  N(FilterBlue, 128)                      \
  N(FilterBrightness, 128)                \
  N(FilterContrast, 128)                  \
  N(FilterEmbossSigma, 25)                \
  N(FilterEmbossWidth, 5)                 \
  N(FilterFlipDirection, 0)               \
  N(FilterGaussianRadius, 40)             \
  N(FilterGaussianSigma, 50)              \
  N(FilterGreen, 128)                     \
  N(FilterIntensity, 128)                 \
  N(FilterNoiseColour, 0)                 \
  N(FilterNoiseLevel, 16)                 \
  N(FilterNoiseType, 0)                   \
  N(FilterOilpaintRadius, 250)            \
  N(FilterRed, 128)                       \
  N(FilterRemember, 1)                    \
  N(FilterResizeInterpolate, 1)           \
  N(FilterResizeConstant, 1)              \
  N(FilterRotateAngle, 0)                 \
  N(FilterRotateDirection, 0)             \
  N(FilterRotateInterpolate, 1)           \
  N(FilterRotatePreserve, 0)              \
  N(FilterShadeAzimuth, 135)              \
  N(FilterShadeElevation, 30)             \
  N(FilterShadeLevel, 1)                  \
  N(FilterSharpenSigma, 25)               \
  N(FilterSharpenWidth, 5)                \
  N(FilterSolarizeThreshold, 128)         \
  N(FilterSwirlDegrees, 45)               \
  N(FilterUnsharpAmount, 4)               \
  N(FilterUnsharpThreshold, 1)            \
  N(FilterVignetteLevel, 10)              \
  N(FilterVignetteOffsetLevel, 0)         \
  N(FontListSize, 320)                    \
  N(FontListSampleSize, 22)               \
  N(FloodFillStackSize, 4096)             \
  T(ForRent, "This space for rent...")    \
  N(GradientType, 0)                      \
  N(GradientStartColour, 16777215)        \
  N(GradientEndColour, 0)                 \
  N(GradientEdgePad, 0)                   \
  N(GradientCenterX, 0)                   \
  N(GradientCenterY, 0)                   \
  N(GradientMidpoint, 0)                  \
  N(GradientAngle, 0)                     \
  N(ImageAttributesDirection, 200)        \
  N(ImageFileOpenIndex, 1)                \
  N(JPEGQualityFactor, 75)                \
  N(LastTipDate, 0)                       \
  N(LiveButtons, 1)                       \
  N(LogoDelay, 8000)                      \
  T(MatrixLibrary, "Ochrel.MTX")          \
  T(MatrixDefaultTile, "")                \
  N(MaximizeBrowser, 1)                   \
  T(OpenPath, "")                         \
  N(NudgeSize, 1)                         \
  N(PatchLevel, 2)                        \
  N(RecoveryActive, 1)                    \
  N(RecoveryInterval, 60)                 \
  N(RevertAfterEyedropper, 1)             \
  N(SettingsLeft, 0)                      \
  N(SettingsTop, 0)                       \
  N(ShadowColor, 8421504)                 \
  N(ShadowDirection, 7)                   \
  N(ShadowOpacity, 255)                   \
  N(ShadowSoft, 15)                       \
  N(ShadowType, 0)                        \
  N(ShadowOffset, 6)                      \
  N(ShowFileOpenPreview, 1)               \
  N(ShowFontNameSamples, 1)               \
  N(ShowStartupWindow, 1)                 \
  N(ShowTipOfTheDay, 1)                   \
  N(SpraycanMotion, 4)                    \
  N(StartMaximized, 0)                    \
  N(StickyWindowBottom, -1)               \
  N(StickyWindowLeft, -1)                 \
  N(StickyWindowRight, -1)                \
  N(StickyWindowTop, -1)                  \
  T(TextFontExampleString, "AaBbCc")      \
  N(TipOfTheDay, 0)                       \
  N(ToolBoxDouble, 1)                     \
  N(ToolBoxLeft, 0)                       \
  N(ToolBoxTop, 0)                        \
  N(ToMonoType, 101)                      \
  N(ToPaletteType, 101)                   \
  N(UndoMemory, 0)                        \
  N(UndoSteps, 1)                         \
  N(UpdateDefaults, 0)                    \
  N(VersionNumber, 64)                    \
  N(WarnNonBeta, 1)                       \
  N(WarnShowManual, 1)

#define OCHREL_DEFINE_NUMBER(name, value) int name = value;
#define OCHREL_DEFINE_TEXT(name, value) char name[kSettingTextSize] = value;
OCHREL_SETTINGS(OCHREL_DEFINE_NUMBER, OCHREL_DEFINE_TEXT)
#undef OCHREL_DEFINE_NUMBER
#undef OCHREL_DEFINE_TEXT

void RestoreDefaultSettings() {
#define OCHREL_RESET_NUMBER(name, value) name = value;
#define OCHREL_RESET_TEXT(name, value)                                 \
  static_assert(sizeof(value) <= kSettingTextSize, #name " too long"); \
  std::memset(name, 0, kSettingTextSize);                              \
  std::memcpy(name, value, sizeof(value));
  OCHREL_SETTINGS(OCHREL_RESET_NUMBER, OCHREL_RESET_TEXT)
#undef OCHREL_RESET_NUMBER
#undef OCHREL_RESET_TEXT
}

}  // namespace ochrel
