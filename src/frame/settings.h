// The program-wide settings: plain variables with their compiled-in defaults.
// The configuration store (frame/config.h) binds each to its name in the
// settings file. They belong to the program, not to the engine: engine
// functions take what they need as arguments, and frame/options.h builds those
// values from these variables.
#pragma once

namespace ochrel {

// Text settings hold at most 260 characters and a terminating zero.
inline constexpr int kSettingTextSize = 261;

// Puts every setting back to its compiled-in value.
void RestoreDefaultSettings();

extern int AirbrushMotion;
extern char ApplicationPath[kSettingTextSize];
extern int AutoAdjustTaskWindow;
extern char BuildDate[kSettingTextSize];
extern char ButtonList[kSettingTextSize];
extern char ColourTableFile[kSettingTextSize];
extern int ColourToleranceIdentical;
extern int CreateBackups;
extern int DefaultAntialias;
extern int DefaultBlueTolerance;
extern int DefaultAirBrushFlow;
extern int DefaultAirBrushShape;
extern int DefaultAirBrushSoftness;
extern int DefaultAirBrushThickness;
extern int DefaultBrushShape;
extern int DefaultBrushSoftness;
extern int DefaultBrushThickness;
extern int DefaultBrushType;
extern int DefaultDepth;
extern int DefaultEraserBrushShape;
extern int DefaultEraserBrushSoftness;
extern int DefaultEraserBrushThickness;
extern int DefaultEraserBrushType;
extern int DefaultFillColour;
extern int DefaultFillType;
extern char DefaultFilterType[kSettingTextSize];
extern int DefaultFragmentPasteMode;
extern int DefaultGreenTolerance;
extern int DefaultGridActive;
extern int DefaultGridHorizontal;
extern int DefaultGridShow;
extern int DefaultGridVertical;
extern int DefaultHardBrushAngle;
extern int DefaultHardBrushFlat;
extern int DefaultHardBrushShape;
extern int DefaultHardBrushThickness;
extern int DefaultLineCap;
extern int DefaultLineThickness;
extern int DefaultMatchType;
extern int DefaultNewColour;
extern int DefaultNewType;
extern int DefaultOpacity;
extern int DefaultPaintColour;
extern int DefaultPaperColour;
extern int DefaultRedTolerance;
extern int DefaultReplacerSize;
extern int DefaultShadow;
extern int DefaultSolidFillMode;
extern int DefaultSpraycanFlow;
extern int DefaultSpraycanThickness;
extern int DefaultTextFontBold;
extern int DefaultTextFontCharacterSpace;
extern char DefaultTextFontName[kSettingTextSize];
extern int DefaultTextFontItal;
extern int DefaultTextFontJust;
extern int DefaultTextFontLineSpace;
extern int DefaultTextFontSize;
extern int DefaultTextFontUnder;
extern char DefaultTextureFileName[kSettingTextSize];
extern int DefaultUndoThickness;
extern int DefaultUndoShape;
extern int DefaultUndoType;
extern int DefaultUndoSoftness;
extern int DefaultViewMode;
extern int DefaultWidth;
extern int DitherBrightness;
extern int DitherContrast;
extern int FillTypeRightClick;
extern int FilterApplyToDuplicate;
extern int FilterBlue;
extern int FilterBrightness;
extern int FilterContrast;
extern int FilterEmbossSigma;
extern int FilterEmbossWidth;
extern int FilterFlipDirection;
extern int FilterGaussianRadius;
extern int FilterGaussianSigma;
extern int FilterGreen;
extern int FilterIntensity;
extern int FilterNoiseColour;
extern int FilterNoiseLevel;
extern int FilterNoiseType;
extern int FilterOilpaintRadius;
extern int FilterRed;
extern int FilterRemember;
extern int FilterResizeInterpolate;
extern int FilterResizeConstant;
extern int FilterRotateAngle;
extern int FilterRotateDirection;
extern int FilterRotateInterpolate;
extern int FilterRotatePreserve;
extern int FilterShadeAzimuth;
extern int FilterShadeElevation;
extern int FilterShadeLevel;
extern int FilterSharpenSigma;
extern int FilterSharpenWidth;
extern int FilterSolarizeThreshold;
extern int FilterSwirlDegrees;
extern int FilterUnsharpAmount;
extern int FilterUnsharpThreshold;
extern int FilterVignetteLevel;
extern int FilterVignetteOffsetLevel;
extern int FontListSize;
extern int FontListSampleSize;
extern int FloodFillStackSize;
extern char ForRent[kSettingTextSize];
extern int GradientType;
extern int GradientStartColour;
extern int GradientEndColour;
extern int GradientEdgePad;
extern int GradientCenterX;
extern int GradientCenterY;
extern int GradientMidpoint;
extern int GradientAngle;
extern int ImageAttributesDirection;
extern int ImageFileOpenIndex;
extern int JPEGQualityFactor;
extern int LastTipDate;
extern int LiveButtons;
extern int LogoDelay;
extern char MatrixLibrary[kSettingTextSize];
extern char MatrixDefaultTile[kSettingTextSize];
extern int MaximizeBrowser;
extern char OpenPath[kSettingTextSize];
extern int NudgeSize;
extern int PatchLevel;
extern int RevertAfterEyedropper;
// Copies of unsaved pictures for after a crash: on/off, and the quiet time in
// seconds after a change before one is written.
extern int RecoveryActive;
extern int RecoveryInterval;
extern int SettingsLeft;
extern int SettingsTop;
extern int ShadowColor;
extern int ShadowDirection;
extern int ShadowOpacity;
extern int ShadowSoft;
extern int ShadowType;
extern int ShadowOffset;
extern int ShowFileOpenPreview;
extern int ShowFontNameSamples;
extern int ShowStartupWindow;
extern int ShowTipOfTheDay;
extern int SpraycanMotion;
extern int StartMaximized;
extern int StickyWindowBottom;
extern int StickyWindowLeft;
extern int StickyWindowRight;
extern int StickyWindowTop;
extern char TextFontExampleString[kSettingTextSize];
extern int TipOfTheDay;
extern int ToolBoxDouble;
extern int ToolBoxLeft;
extern int ToolBoxTop;
extern int ToMonoType;
extern int ToPaletteType;
extern int UndoSteps;   // 1: one level of Undo; more: a history with Redo
extern int UndoMemory;  // the history's budget in MiB, 0 for the default
extern int UpdateDefaults;
extern int VersionNumber;
extern int WarnNonBeta;
extern int WarnShowManual;

}  // namespace ochrel
