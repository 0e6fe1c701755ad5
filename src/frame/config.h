// The configuration store: one table, `configitem`, binds every program-wide
// setting to its key in OCHREL.INI and to its control on the Setup page. The
// file is read once at start and written whole at close.
#pragma once

#include <ctime>
#include <filesystem>
#include <string>
#include <string_view>

#include "frame/settings.h"

namespace ochrel {

class RecentPaths;

// Values that are no settings: they have no row and never reach the file.
inline constexpr unsigned FileMenuRange = 10;
inline constexpr const char* ControlFontName = "Arial";
inline constexpr int OkToSaveConfig = 1;
inline constexpr int NormalTextFontSize = 16;
inline constexpr int SmallTextFontSize = 12;

inline constexpr int MAXCONFIGITEM = 160;

// Row flags.
enum : unsigned {
  CI_ONOFF = 0x01,       // on/off, stored as a number; a check box in Setup
  CI_TEXT = 0x02,        // text of at most 260 characters
  CI_NUMBER = 0x04,      // number
  CI_USERDATA = 0x08,    // Setup keeps the value in the control's user data
  CI_LIST = 0x10,        // drop-down list from `choices`; the setting is the index
  CI_SPIN = 0x40,        // number with an up-down control (control + 10000)
  CI_WRITEONLY = 0x100,  // written to stamp the file, never read back
  CI_BROWSE = 0x200,     // text with a browse button (control + 15000)
  CI_LISTVALUE = 0x800,  // with CI_LIST: the setting is the chosen record's value
};

// Control numbers of a row's companions on the Setup page.
inline constexpr unsigned kSpinControlOffset = 10000;
inline constexpr unsigned kBrowseControlOffset = 15000;

// One record of a drop-down list; a list ends with a null text.
struct CONFIGCHOICE {
  const char* text;
  int value;
};

// A browse button's handler: gets the current text and may replace it
// (at most 260 characters); false when the user cancelled.
using ConfigBrowseFunction = bool (*)(char* text);

struct CONFIGITEM {
  const char* name;  // the key in the file
  int* number;       // the variable of an on/off or number row, else null
  char* text;        // the 261-byte variable of a text row, else null
  unsigned flags;
  unsigned control;             // Setup control number, 0 for none
  const CONFIGCHOICE* choices;  // CI_LIST rows
  ConfigBrowseFunction browse;  // CI_BROWSE rows
  const char* spin;             // CI_SPIN rows: "lowest,highest,start" for the up-down control
};

extern const CONFIGITEM configitem[MAXCONFIGITEM];

// The row with exactly this name, or null.
const CONFIGITEM* FindConfigItem(std::string_view name);
// The row bound to a Setup control, or null.
const CONFIGITEM* FindConfigItemByControl(unsigned control);
// The first readable row (no CI_WRITEONLY) whose name starts with key: the
// lenient lookup the file reader uses. Null for an empty key or no match.
const CONFIGITEM* MatchConfigKey(std::string_view key);

// A spin row's range text "%d,%d,%d" split into its three numbers.
bool ParseSpinRange(const char* text, int* lowest, int* highest, int* start);

// Setup's view of a row. A spin row clamps what the user typed to its range
// (the value itself when the row has none).
int ClampSpinValue(const CONFIGITEM& item, int typed);
// A list row: the number of records, the record to select for the current
// setting (-1 if none fits) and the setting for a selected record, which is
// the index, or the record's value with CI_LISTVALUE.
int ConfigChoiceCount(const CONFIGITEM& item);
int ConfigChoiceSelection(const CONFIGITEM& item);
void SetConfigChoice(const CONFIGITEM& item, int selection);

// The value as the file holds it: "%u" for numbers and on/off, the text as is.
std::string FormatConfigValue(const CONFIGITEM& item);
// Stores a value given as text the way the file reader does: numbers read
// leniently with 32-bit wraparound, texts cut at the first control character
// and at 260 characters.
void SetConfigValue(const CONFIGITEM& item, std::string_view value);

// The profile name in the file's third line:
// "VarnwickStudioPaintProfessional 2.0a".
const char* AppName();

// The whole file as SaveConfig writes it, with `now` on the date line.
std::string FormatConfig(const RecentPaths& recent, std::time_t now);

// Read the settings (or the recent paths) from a file; a missing or unreadable
// file changes nothing.
void LoadConfigFile(const std::filesystem::path& file);
// Feeds each "MenuItem" path of the file, oldest first, to recent.Add.
void LoadMenuConfigFile(const std::filesystem::path& file, RecentPaths& recent);
// Replaces the file atomically (temporary file in the same folder, then a
// rename), creating the folder if needed. False if it could not be written;
// the old file and the settings in memory stay as they were.
bool SaveConfigFile(const std::filesystem::path& file, const RecentPaths& recent);

// The program's own calls, on OCHREL.INI in the configuration folder and on
// the program's recent-path list.
void LoadConfig();
void LoadMenuConfig();
bool SaveConfig();

// Reads one number from a section of a settings file the quick way, without
// the table: key and section names ignore case, blanks around them are
// dropped. `fallback` when the file, the section or the key is missing.
int ReadProfileInt(const std::filesystem::path& file, std::string_view section, std::string_view key, int fallback);
// The early read of ShowStartupWindow, before the configuration proper:
// stores and returns the value, 1 when the file doesn't say.
int ReadStartupWindowFlag();

// A per-document setting changed: when UpdateDefaults is set the value also
// goes to its Default variable, so that the next document and the next save
// carry it. Returns whether it was written through. Settings that aren't
// per-document are assigned directly, never through here.
bool UpdateDefault(int* defaultVariable, int value);
// The same by the name stem, "BrushThickness" for DefaultBrushThickness;
// false for an unknown stem or a stem of the wrong type.
bool UpdateDefault(std::string_view stem, int value);
bool UpdateDefault(std::string_view stem, std::string_view text);

}  // namespace ochrel
