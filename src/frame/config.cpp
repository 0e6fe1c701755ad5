#include "frame/config.h"

#include "files/safefile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <memory>
#include <system_error>

#include "frame/paths.h"
#include "frame/recentpaths.h"
#include "frame/version.h"

namespace fs = std::filesystem;

namespace ochrel {
namespace {

constexpr const char* kSection = "Varnwick Studio Paint";
constexpr const char* kMenuKey = "MenuItem";
constexpr std::size_t kMaxText = kSettingTextSize - 1;
// Lines are read in pieces of at most this many characters.
constexpr int kLineBuffer = 260;

// The zoom list of a document, by ViewMode index.
const CONFIGCHOICE viewmodechoices[] = {
    {"10 percent", 10},   {"20 percent", 20},     {"25 percent", 25},     {"50 percent", 50},
    {"75 percent", 75},   {"100 percent", 100},   {"200 percent", 200},   {"400 percent", 400},
    {"800 percent", 800}, {"1200 percent", 1200}, {"1600 percent", 1600}, {nullptr, 0},
};

}  // namespace

#define NUMBER(var, flags, control, choices, browse, spin) \
  { #var, &var, nullptr, flags, control, choices, browse, spin }
#define TEXT(var, flags, control, choices, browse, spin) \
  { #var, nullptr, var, flags, control, choices, browse, spin }

// In file order; the Setup page finds its controls here too.
const CONFIGITEM configitem[MAXCONFIGITEM] = {
    NUMBER(AirbrushMotion, CI_NUMBER, 0, nullptr, nullptr, nullptr),
    TEXT(ApplicationPath, CI_TEXT, 0, nullptr, nullptr, nullptr),
    NUMBER(AutoAdjustTaskWindow, CI_ONOFF, 113, nullptr, nullptr, nullptr),
    TEXT(BuildDate, CI_TEXT | CI_WRITEONLY, 0, nullptr, nullptr, nullptr),
    TEXT(ButtonList, CI_TEXT, 0, nullptr, nullptr, nullptr),
    TEXT(ColourTableFile, CI_TEXT, 0, nullptr, nullptr, nullptr),
    NUMBER(ColourToleranceIdentical, CI_ONOFF, 0, nullptr, nullptr, nullptr),
    NUMBER(CreateBackups, CI_ONOFF, 119, nullptr, nullptr, nullptr),
    NUMBER(DefaultAntialias, CI_ONOFF, 0, nullptr, nullptr, nullptr),
    NUMBER(DefaultBlueTolerance, CI_NUMBER, 0, nullptr, nullptr, nullptr),
    NUMBER(DefaultAirBrushFlow, CI_NUMBER, 0, nullptr, nullptr, nullptr),
    NUMBER(DefaultAirBrushShape, CI_NUMBER, 0, nullptr, nullptr, nullptr),
    NUMBER(DefaultAirBrushSoftness, CI_NUMBER, 0, nullptr, nullptr, nullptr),
    NUMBER(DefaultAirBrushThickness, CI_NUMBER, 0, nullptr, nullptr, nullptr),
    NUMBER(DefaultBrushShape, CI_NUMBER, 0, nullptr, nullptr, nullptr),
    NUMBER(DefaultBrushSoftness, CI_NUMBER, 0, nullptr, nullptr, nullptr),
    NUMBER(DefaultBrushThickness, CI_NUMBER, 0, nullptr, nullptr, nullptr),
    NUMBER(DefaultBrushType, CI_NUMBER, 0, nullptr, nullptr, nullptr),
    NUMBER(DefaultDepth, CI_NUMBER, 0, nullptr, nullptr, nullptr),
    NUMBER(DefaultEraserBrushShape, CI_NUMBER, 0, nullptr, nullptr, nullptr),
    NUMBER(DefaultEraserBrushSoftness, CI_NUMBER, 0, nullptr, nullptr, nullptr),
    NUMBER(DefaultEraserBrushThickness, CI_NUMBER, 0, nullptr, nullptr, nullptr),
    NUMBER(DefaultEraserBrushType, CI_NUMBER, 0, nullptr, nullptr, nullptr),
    NUMBER(DefaultFillColour, CI_NUMBER, 0, nullptr, nullptr, nullptr),
    NUMBER(DefaultFillType, CI_NUMBER, 0, nullptr, nullptr, nullptr),
    TEXT(DefaultFilterType, CI_TEXT, 0, nullptr, nullptr, nullptr),
    NUMBER(DefaultFragmentPasteMode, CI_NUMBER, 0, nullptr, nullptr, nullptr),
    NUMBER(DefaultGreenTolerance, CI_NUMBER, 0, nullptr, nullptr, nullptr),
    NUMBER(DefaultGridActive, CI_ONOFF, 0, nullptr, nullptr, nullptr),
    NUMBER(DefaultGridHorizontal, CI_NUMBER, 0, nullptr, nullptr, nullptr),
    NUMBER(DefaultGridShow, CI_ONOFF, 0, nullptr, nullptr, nullptr),
    NUMBER(DefaultGridVertical, CI_NUMBER, 0, nullptr, nullptr, nullptr),
    NUMBER(DefaultHardBrushAngle, CI_NUMBER, 0, nullptr, nullptr, nullptr),
    NUMBER(DefaultHardBrushFlat, CI_NUMBER, 0, nullptr, nullptr, nullptr),
    NUMBER(DefaultHardBrushShape, CI_NUMBER, 0, nullptr, nullptr, nullptr),
    NUMBER(DefaultHardBrushThickness, CI_NUMBER, 0, nullptr, nullptr, nullptr),
    NUMBER(DefaultLineCap, CI_NUMBER, 0, nullptr, nullptr, nullptr),
    NUMBER(DefaultLineThickness, CI_NUMBER, 0, nullptr, nullptr, nullptr),
    NUMBER(DefaultMatchType, CI_NUMBER, 0, nullptr, nullptr, nullptr),
    NUMBER(DefaultNewColour, CI_NUMBER, 0, nullptr, nullptr, nullptr),
    NUMBER(DefaultNewType, CI_NUMBER, 0, nullptr, nullptr, nullptr),
    NUMBER(DefaultOpacity, CI_NUMBER, 0, nullptr, nullptr, nullptr),
    NUMBER(DefaultPaintColour, CI_NUMBER, 0, nullptr, nullptr, nullptr),
    NUMBER(DefaultPaperColour, CI_NUMBER, 0, nullptr, nullptr, nullptr),
    NUMBER(DefaultRedTolerance, CI_NUMBER, 0, nullptr, nullptr, nullptr),
    NUMBER(DefaultReplacerSize, CI_NUMBER, 0, nullptr, nullptr, nullptr),
    NUMBER(DefaultShadow, CI_ONOFF, 0, nullptr, nullptr, nullptr),
    NUMBER(DefaultSolidFillMode, CI_NUMBER, 0, nullptr, nullptr, nullptr),
    NUMBER(DefaultSpraycanFlow, CI_NUMBER, 0, nullptr, nullptr, nullptr),
    NUMBER(DefaultSpraycanThickness, CI_NUMBER, 0, nullptr, nullptr, nullptr),
    NUMBER(DefaultTextFontBold, CI_ONOFF, 0, nullptr, nullptr, nullptr),
    NUMBER(DefaultTextFontCharacterSpace, CI_NUMBER, 0, nullptr, nullptr, nullptr),
    TEXT(DefaultTextFontName, CI_TEXT, 0, nullptr, nullptr, nullptr),
    NUMBER(DefaultTextFontItal, CI_ONOFF, 0, nullptr, nullptr, nullptr),
    NUMBER(DefaultTextFontJust, CI_NUMBER, 0, nullptr, nullptr, nullptr),
    NUMBER(DefaultTextFontLineSpace, CI_NUMBER, 0, nullptr, nullptr, nullptr),
    NUMBER(DefaultTextFontSize, CI_NUMBER, 0, nullptr, nullptr, nullptr),
    NUMBER(DefaultTextFontUnder, CI_ONOFF, 0, nullptr, nullptr, nullptr),
    TEXT(DefaultTextureFileName, CI_TEXT, 0, nullptr, nullptr, nullptr),
    NUMBER(DefaultUndoThickness, CI_NUMBER, 0, nullptr, nullptr, nullptr),
    NUMBER(DefaultUndoShape, CI_NUMBER, 0, nullptr, nullptr, nullptr),
    NUMBER(DefaultUndoType, CI_NUMBER, 0, nullptr, nullptr, nullptr),
    NUMBER(DefaultUndoSoftness, CI_NUMBER, 0, nullptr, nullptr, nullptr),
    NUMBER(DefaultViewMode, CI_NUMBER | CI_LIST, 103, viewmodechoices, nullptr, nullptr),
    NUMBER(DefaultWidth, CI_NUMBER, 0, nullptr, nullptr, nullptr),
    NUMBER(DitherBrightness, CI_NUMBER, 0, nullptr, nullptr, nullptr),
    NUMBER(DitherContrast, CI_NUMBER, 0, nullptr, nullptr, nullptr),
    NUMBER(FillTypeRightClick, CI_ONOFF, 0, nullptr, nullptr, nullptr),
    NUMBER(FilterApplyToDuplicate, CI_ONOFF, 0, nullptr, nullptr, nullptr),
    NUMBER(FilterBlue, CI_NUMBER, 0, nullptr, nullptr, nullptr),
    NUMBER(FilterBrightness, CI_NUMBER, 0, nullptr, nullptr, nullptr),
    NUMBER(FilterContrast, CI_NUMBER, 0, nullptr, nullptr, nullptr),
    NUMBER(FilterEmbossSigma, CI_NUMBER, 0, nullptr, nullptr, nullptr),
    NUMBER(FilterEmbossWidth, CI_NUMBER, 0, nullptr, nullptr, nullptr),
    NUMBER(FilterFlipDirection, CI_NUMBER, 0, nullptr, nullptr, nullptr),
    NUMBER(FilterGaussianRadius, CI_NUMBER, 0, nullptr, nullptr, nullptr),
    NUMBER(FilterGaussianSigma, CI_NUMBER, 0, nullptr, nullptr, nullptr),
    NUMBER(FilterGreen, CI_NUMBER, 0, nullptr, nullptr, nullptr),
    NUMBER(FilterIntensity, CI_NUMBER, 0, nullptr, nullptr, nullptr),
    NUMBER(FilterNoiseColour, CI_ONOFF, 0, nullptr, nullptr, nullptr),
    NUMBER(FilterNoiseLevel, CI_NUMBER, 0, nullptr, nullptr, nullptr),
    NUMBER(FilterNoiseType, CI_NUMBER, 0, nullptr, nullptr, nullptr),
    NUMBER(FilterOilpaintRadius, CI_NUMBER, 0, nullptr, nullptr, nullptr),
    NUMBER(FilterRed, CI_NUMBER, 0, nullptr, nullptr, nullptr),
    NUMBER(FilterRemember, CI_ONOFF, 0, nullptr, nullptr, nullptr),
    NUMBER(FilterResizeInterpolate, CI_ONOFF, 0, nullptr, nullptr, nullptr),
    NUMBER(FilterResizeConstant, CI_ONOFF, 0, nullptr, nullptr, nullptr),
    NUMBER(FilterRotateAngle, CI_NUMBER, 0, nullptr, nullptr, nullptr),
    NUMBER(FilterRotateDirection, CI_NUMBER, 0, nullptr, nullptr, nullptr),
    NUMBER(FilterRotateInterpolate, CI_ONOFF, 0, nullptr, nullptr, nullptr),
    NUMBER(FilterRotatePreserve, CI_ONOFF, 0, nullptr, nullptr, nullptr),
    NUMBER(FilterShadeAzimuth, CI_NUMBER, 0, nullptr, nullptr, nullptr),
    NUMBER(FilterShadeElevation, CI_NUMBER, 0, nullptr, nullptr, nullptr),
    NUMBER(FilterShadeLevel, CI_ONOFF, 0, nullptr, nullptr, nullptr),
    NUMBER(FilterSharpenSigma, CI_NUMBER, 0, nullptr, nullptr, nullptr),
    NUMBER(FilterSharpenWidth, CI_NUMBER, 0, nullptr, nullptr, nullptr),
    NUMBER(FilterSolarizeThreshold, CI_NUMBER, 0, nullptr, nullptr, nullptr),
    NUMBER(FilterSwirlDegrees, CI_NUMBER, 0, nullptr, nullptr, nullptr),
    NUMBER(FilterUnsharpAmount, CI_NUMBER, 0, nullptr, nullptr, nullptr),
    NUMBER(FilterUnsharpThreshold, CI_NUMBER, 0, nullptr, nullptr, nullptr),
    NUMBER(FilterVignetteLevel, CI_NUMBER, 0, nullptr, nullptr, nullptr),
    NUMBER(FilterVignetteOffsetLevel, CI_NUMBER, 0, nullptr, nullptr, nullptr),
    NUMBER(FontListSize, CI_NUMBER, 0, nullptr, nullptr, nullptr),
    NUMBER(FontListSampleSize, CI_NUMBER, 0, nullptr, nullptr, nullptr),
    NUMBER(FloodFillStackSize, CI_NUMBER, 0, nullptr, nullptr, nullptr),
    TEXT(ForRent, CI_TEXT, 0, nullptr, nullptr, nullptr),
    NUMBER(GradientType, CI_NUMBER, 0, nullptr, nullptr, nullptr),
    NUMBER(GradientStartColour, CI_NUMBER, 0, nullptr, nullptr, nullptr),
    NUMBER(GradientEndColour, CI_NUMBER, 0, nullptr, nullptr, nullptr),
    NUMBER(GradientEdgePad, CI_NUMBER, 0, nullptr, nullptr, nullptr),
    NUMBER(GradientCenterX, CI_NUMBER, 0, nullptr, nullptr, nullptr),
    NUMBER(GradientCenterY, CI_NUMBER, 0, nullptr, nullptr, nullptr),
    NUMBER(GradientMidpoint, CI_NUMBER, 0, nullptr, nullptr, nullptr),
    NUMBER(GradientAngle, CI_NUMBER, 0, nullptr, nullptr, nullptr),
    NUMBER(ImageAttributesDirection, CI_NUMBER, 0, nullptr, nullptr, nullptr),
    NUMBER(ImageFileOpenIndex, CI_NUMBER, 0, nullptr, nullptr, nullptr),
    NUMBER(JPEGQualityFactor, CI_NUMBER | CI_SPIN, 114, nullptr, nullptr, "1,100,75"),
    NUMBER(LastTipDate, CI_NUMBER, 0, nullptr, nullptr, nullptr),
    NUMBER(LiveButtons, CI_NUMBER, 0, nullptr, nullptr, nullptr),
    NUMBER(LogoDelay, CI_NUMBER, 0, nullptr, nullptr, nullptr),
    TEXT(MatrixLibrary, CI_TEXT, 0, nullptr, nullptr, nullptr),
    TEXT(MatrixDefaultTile, CI_TEXT, 0, nullptr, nullptr, nullptr),
    NUMBER(MaximizeBrowser, CI_ONOFF, 105, nullptr, nullptr, nullptr),
    TEXT(OpenPath, CI_TEXT, 0, nullptr, nullptr, nullptr),
    NUMBER(NudgeSize, CI_NUMBER | CI_SPIN, 120, nullptr, nullptr, "1,32,1"),
    NUMBER(PatchLevel, CI_NUMBER | CI_WRITEONLY, 0, nullptr, nullptr, nullptr),
    NUMBER(RecoveryActive, CI_ONOFF, 123, nullptr, nullptr, nullptr),
    NUMBER(RecoveryInterval, CI_NUMBER | CI_SPIN, 124, nullptr, nullptr, "10,3600,60"),
    NUMBER(RevertAfterEyedropper, CI_ONOFF, 121, nullptr, nullptr, nullptr),
    NUMBER(SettingsLeft, CI_NUMBER, 0, nullptr, nullptr, nullptr),
    NUMBER(SettingsTop, CI_NUMBER, 0, nullptr, nullptr, nullptr),
    NUMBER(ShadowColor, CI_NUMBER, 0, nullptr, nullptr, nullptr),
    NUMBER(ShadowDirection, CI_NUMBER, 0, nullptr, nullptr, nullptr),
    NUMBER(ShadowOpacity, CI_NUMBER, 0, nullptr, nullptr, nullptr),
    NUMBER(ShadowSoft, CI_NUMBER, 0, nullptr, nullptr, nullptr),
    NUMBER(ShadowType, CI_NUMBER, 0, nullptr, nullptr, nullptr),
    NUMBER(ShadowOffset, CI_NUMBER, 0, nullptr, nullptr, nullptr),
    NUMBER(ShowFileOpenPreview, CI_ONOFF, 0, nullptr, nullptr, nullptr),
    NUMBER(ShowFontNameSamples, CI_ONOFF, 0, nullptr, nullptr, nullptr),
    NUMBER(ShowStartupWindow, CI_ONOFF, 107, nullptr, nullptr, nullptr),
    NUMBER(ShowTipOfTheDay, CI_ONOFF, 108, nullptr, nullptr, nullptr),
    NUMBER(SpraycanMotion, CI_NUMBER, 0, nullptr, nullptr, nullptr),
    NUMBER(StartMaximized, CI_ONOFF, 0, nullptr, nullptr, nullptr),
    NUMBER(StickyWindowBottom, CI_NUMBER, 0, nullptr, nullptr, nullptr),
    NUMBER(StickyWindowLeft, CI_NUMBER, 0, nullptr, nullptr, nullptr),
    NUMBER(StickyWindowRight, CI_NUMBER, 0, nullptr, nullptr, nullptr),
    NUMBER(StickyWindowTop, CI_NUMBER, 0, nullptr, nullptr, nullptr),
    TEXT(TextFontExampleString, CI_TEXT, 0, nullptr, nullptr, nullptr),
    NUMBER(TipOfTheDay, CI_NUMBER, 0, nullptr, nullptr, nullptr),
    NUMBER(ToolBoxDouble, CI_ONOFF, 0, nullptr, nullptr, nullptr),
    NUMBER(ToolBoxLeft, CI_NUMBER, 0, nullptr, nullptr, nullptr),
    NUMBER(ToolBoxTop, CI_NUMBER, 0, nullptr, nullptr, nullptr),
    NUMBER(ToMonoType, CI_NUMBER, 0, nullptr, nullptr, nullptr),
    NUMBER(ToPaletteType, CI_NUMBER, 0, nullptr, nullptr, nullptr),
    NUMBER(UndoMemory, CI_NUMBER | CI_SPIN, 131, nullptr, nullptr, "0,65536,0"),
    NUMBER(UndoSteps, CI_NUMBER | CI_SPIN, 130, nullptr, nullptr, "1,100,1"),
    NUMBER(UpdateDefaults, CI_ONOFF, 122, nullptr, nullptr, nullptr),
    NUMBER(VersionNumber, CI_NUMBER | CI_WRITEONLY, 0, nullptr, nullptr, nullptr),
    NUMBER(WarnNonBeta, CI_ONOFF, 0, nullptr, nullptr, nullptr),
    NUMBER(WarnShowManual, CI_ONOFF, 115, nullptr, nullptr, nullptr),
};

#undef NUMBER
#undef TEXT

namespace {

bool StartsWith(std::string_view s, std::string_view prefix) {
  return s.size() >= prefix.size() && s.compare(0, prefix.size(), prefix) == 0;
}

char AsciiLower(char c) { return (c >= 'A' && c <= 'Z') ? static_cast<char>(c - 'A' + 'a') : c; }

bool EqualIgnoringCase(std::string_view a, std::string_view b) {
  if (a.size() != b.size()) return false;
  for (std::size_t i = 0; i < a.size(); ++i)
    if (AsciiLower(a[i]) != AsciiLower(b[i])) return false;
  return true;
}

std::string_view Trim(std::string_view s) {
  while (!s.empty() && (s.front() == ' ' || s.front() == '\t')) s.remove_prefix(1);
  while (!s.empty() && static_cast<unsigned char>(s.back()) <= 32) s.remove_suffix(1);
  return s;
}

// A decimal number as the file holds it: an optional sign and digits, the
// value wrapping at 32 bits (so 4294967295 is -1). Reading stops at the first
// character that isn't a digit; no digits at all read as 0.
int ReadNumber(std::string_view s) {
  std::size_t i = 0;
  bool negative = false;
  if (i < s.size() && (s[i] == '-' || s[i] == '+')) negative = s[i++] == '-';
  std::uint32_t v = 0;
  for (; i < s.size() && s[i] >= '0' && s[i] <= '9'; ++i) v = v * 10u + static_cast<std::uint32_t>(s[i] - '0');
  if (negative) v = 0u - v;
  return static_cast<int>(v);
}

void StoreText(char* dest, std::string_view text) {
  std::size_t n = 0;
  // A control character would break the line it is written on.
  while (n < text.size() && n < kMaxText && static_cast<unsigned char>(text[n]) >= 32) ++n;
  std::memset(dest, 0, kSettingTextSize);
  std::memcpy(dest, text.data(), n);
}

struct FileCloser {
  void operator()(std::FILE* f) const { std::fclose(f); }
};
using File = std::unique_ptr<std::FILE, FileCloser>;

// Only a regular file is read: a device or a pipe put in the file's place
// would never end or never start.
std::FILE* OpenForReading(const fs::path& file) {
  std::error_code ec;
  if (file.empty() || !fs::is_regular_file(file, ec)) return nullptr;
  return std::fopen(file.c_str(), "r");
}

// Splits one piece of a line into key and value by the reader's rules.
// False for comments and lines without a key.
bool SplitLine(const char* line, std::string_view* key, std::string_view* value) {
  if (line[0] == ';') return false;
  std::size_t end = 0;
  while (static_cast<unsigned char>(line[end]) >= 32) ++end;
  std::string_view s(line, end);
  std::size_t k = 0;
  while (k < s.size() && static_cast<unsigned char>(s[k]) >= 33 && s[k] != '=') ++k;
  if (k == 0) return false;
  *key = s.substr(0, k);
  std::size_t p = k;
  while (p < s.size() && s[p] == ' ') ++p;
  while (p < s.size() && s[p] == '=') ++p;
  while (p < s.size() && s[p] == ' ') ++p;
  *value = s.substr(p);
  return true;
}

// Calls f(key, value) for every line of the file that has a key.
template <typename F>
void ForEachLine(const fs::path& file, F&& f) {
  File in(OpenForReading(file));
  if (!in) return;
  char line[kLineBuffer];
  while (std::fgets(line, sizeof line, in.get())) {
    std::string_view key, value;
    if (SplitLine(line, &key, &value)) f(key, value);
  }
}

// The 24 characters of a ctime() date, "Wed Jun 30 21:49:08 1993", in English
// whatever the locale says.
std::string CtimeText(std::time_t now) {
  static const char* const days[] = {"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};
  static const char* const months[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                       "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
  std::tm tm{};
  if (!localtime_r(&now, &tm) || tm.tm_wday < 0 || tm.tm_wday > 6 || tm.tm_mon < 0 || tm.tm_mon > 11) return {};
  char buf[64];
  std::snprintf(buf, sizeof buf, "%.3s %.3s%3d %.2d:%.2d:%.2d %d", days[tm.tm_wday], months[tm.tm_mon], tm.tm_mday,
                tm.tm_hour, tm.tm_min, tm.tm_sec, 1900 + tm.tm_year);
  return buf;
}

// Writes a temporary file beside the target and renames it into place, so
// that a crash or a full disk never leaves half a file, nor a stray one, behind.
bool ReplaceFile(fs::path file, const std::string& text) {
  std::error_code ec;
  // Keep a link to the file (a shared dotfile, say) a link.
  if (fs::is_symlink(file, ec)) {
    fs::path target = fs::weakly_canonical(file, ec);
    if (!ec) file = target;
  }
  fs::path folder = file.parent_path();
  if (folder.empty()) folder = ".";
  fs::create_directories(folder, ec);
  SafeFile out(file.string());
  return out.Write(text.data(), text.size()) && out.Commit();
}

}  // namespace

const CONFIGITEM* FindConfigItem(std::string_view name) {
  for (const CONFIGITEM& item : configitem)
    if (name == item.name) return &item;
  return nullptr;
}

const CONFIGITEM* FindConfigItemByControl(unsigned control) {
  if (control == 0) return nullptr;
  for (const CONFIGITEM& item : configitem)
    if (item.control == control) return &item;
  return nullptr;
}

const CONFIGITEM* MatchConfigKey(std::string_view key) {
  if (key.empty()) return nullptr;
  for (const CONFIGITEM& item : configitem)
    if (!(item.flags & CI_WRITEONLY) && StartsWith(item.name, key)) return &item;
  return nullptr;
}

bool ParseSpinRange(const char* text, int* lowest, int* highest, int* start) {
  if (!text) return false;
  int a, b, c;
  if (std::sscanf(text, "%d,%d,%d", &a, &b, &c) != 3) return false;
  *lowest = a;
  *highest = b;
  *start = c;
  return true;
}

int ClampSpinValue(const CONFIGITEM& item, int typed) {
  int lo, hi, start;
  if (!(item.flags & CI_SPIN) || !ParseSpinRange(item.spin, &lo, &hi, &start) || lo > hi) return typed;
  return typed < lo ? lo : typed > hi ? hi : typed;
}

int ConfigChoiceCount(const CONFIGITEM& item) {
  int n = 0;
  if (item.choices)
    while (item.choices[n].text) ++n;
  return n;
}

int ConfigChoiceSelection(const CONFIGITEM& item) {
  if (!item.number) return -1;
  int n = ConfigChoiceCount(item);
  if (!(item.flags & CI_LISTVALUE)) return (*item.number >= 0 && *item.number < n) ? *item.number : -1;
  for (int i = 0; i < n; ++i)
    if (item.choices[i].value == *item.number) return i;
  return -1;
}

void SetConfigChoice(const CONFIGITEM& item, int selection) {
  if (!item.number || selection < 0 || selection >= ConfigChoiceCount(item)) return;
  *item.number = (item.flags & CI_LISTVALUE) ? item.choices[selection].value : selection;
}

std::string FormatConfigValue(const CONFIGITEM& item) {
  if (item.text) return std::string(item.text, strnlen(item.text, kMaxText));
  if (item.number) return std::to_string(static_cast<std::uint32_t>(*item.number));
  return {};
}

void SetConfigValue(const CONFIGITEM& item, std::string_view value) {
  if (item.text) StoreText(item.text, value);
  else if (item.number) *item.number = ReadNumber(value);
}

const char* AppName() {
  // The profile name carries the version in its last four characters.
  static const std::string name = [] {
    std::string s = "VarnwickStudioPaintProfessional 0.00";
    return s.substr(0, s.size() - 4) + std::string(kOchrelVersion).substr(0, 4);
  }();
  return name.c_str();
}

std::string FormatConfig(const RecentPaths& recent, std::time_t now) {
  std::string out;
  out.reserve(8192);
  out += ";Varnwick Studio Paint configuration file\n";
  out += ";Edit this at your own risk\n";
  out += ";";
  out += AppName();
  out += "\n";
  char date[64];
  std::snprintf(date, sizeof date, ";Last updated %24.24s\n", CtimeText(now).c_str());
  out += date;
  out += ";\n";
  out += "[";
  out += kSection;
  out += "]\n";
  for (const CONFIGITEM& item : configitem) {
    out += item.name;
    out += " = ";
    out += FormatConfigValue(item);
    out += "\n";
  }
  out += ";----- Menu items ------\n";
  out += "[";
  out += kSection;
  out += "Items]\n";
  // Oldest first: reading puts each path on top, which restores the order.
  const auto& items = recent.Items();
  for (auto it = items.rbegin(); it != items.rend(); ++it) {
    if (!RecentPaths::IsListablePath(*it)) continue;
    out += kMenuKey;
    out += " = ";
    out += *it;
    out += "\n";
  }
  return out;
}

void LoadConfigFile(const fs::path& file) {
  ForEachLine(file, [](std::string_view key, std::string_view value) {
    if (const CONFIGITEM* item = MatchConfigKey(key)) SetConfigValue(*item, value);
  });
}

void LoadMenuConfigFile(const fs::path& file, RecentPaths& recent) {
  ForEachLine(file, [&](std::string_view key, std::string_view value) {
    if (StartsWith(kMenuKey, key)) recent.Add(value.substr(0, kMaxText));
  });
}

bool SaveConfigFile(const fs::path& file, const RecentPaths& recent) {
  if (file.empty()) return false;
  return ReplaceFile(file, FormatConfig(recent, std::time(nullptr)));
}

void LoadConfig() { LoadConfigFile(ConfigFilePath()); }
void LoadMenuConfig() { LoadMenuConfigFile(ConfigFilePath(), RecentPathList()); }
bool SaveConfig() { return SaveConfigFile(ConfigFilePath(), RecentPathList()); }

int ReadProfileInt(const fs::path& file, std::string_view section, std::string_view key, int fallback) {
  File in(OpenForReading(file));
  if (!in) return fallback;
  char line[kLineBuffer];
  bool inSection = false;
  bool lineStart = true;
  while (std::fgets(line, sizeof line, in.get())) {
    // Only the first piece of a long line can hold a key.
    bool atStart = lineStart;
    lineStart = std::strchr(line, '\n') != nullptr;
    if (!atStart) continue;
    std::string_view s = Trim(line);
    if (s.empty() || s.front() == ';') continue;
    if (s.front() == '[') {
      std::size_t close = s.find(']');
      inSection = close != std::string_view::npos && EqualIgnoringCase(Trim(s.substr(1, close - 1)), section);
      continue;
    }
    if (!inSection) continue;
    std::size_t eq = s.find('=');
    if (eq == std::string_view::npos || !EqualIgnoringCase(Trim(s.substr(0, eq)), key)) continue;
    return ReadNumber(Trim(s.substr(eq + 1)));
  }
  return fallback;
}

int ReadStartupWindowFlag() {
  ShowStartupWindow = ReadProfileInt(ConfigFilePath(), kSection, "ShowStartupWindow", 1);
  return ShowStartupWindow;
}

bool UpdateDefault(int* defaultVariable, int value) {
  if (!UpdateDefaults || !defaultVariable) return false;
  *defaultVariable = value;
  return true;
}

namespace {
const CONFIGITEM* FindDefaultItem(std::string_view stem) {
  std::string name = "Default";
  name += stem;
  return FindConfigItem(name);
}
}  // namespace

bool UpdateDefault(std::string_view stem, int value) {
  const CONFIGITEM* item = FindDefaultItem(stem);
  return item && item->number && UpdateDefault(item->number, value);
}

bool UpdateDefault(std::string_view stem, std::string_view text) {
  const CONFIGITEM* item = FindDefaultItem(stem);
  if (!item || !item->text || !UpdateDefaults) return false;
  StoreText(item->text, text);
  return true;
}

}  // namespace ochrel
