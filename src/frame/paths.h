// Where the program keeps its files on this platform.
//
// Settings: OCHREL.INI in the configuration folder, $OCHREL_CONFIG_DIR if set,
// else $XDG_CONFIG_HOME/ochrel, else ~/.config/ochrel. The folder is made when
// the file is first written.
//
// Application data (colour tables, texture and matrix libraries, the tip file,
// help pages): the data folder, $OCHREL_DATA_DIR if set, else
// $XDG_DATA_HOME/ochrel, else ~/.local/share/ochrel. The stock files that come
// with the program are copied into it on first use, so that the user can add
// and change groups without write access to the installation.
#pragma once

#include <filesystem>

namespace ochrel {

inline constexpr const char* kConfigFileName = "OCHREL.INI";
inline constexpr const char* kConfigDirVariable = "OCHREL_CONFIG_DIR";
inline constexpr const char* kDataDirVariable = "OCHREL_DATA_DIR";

// The folder of OCHREL.INI, or empty if no home can be found.
std::filesystem::path ConfigFolder();
// ConfigFolder() / "OCHREL.INI", or empty.
std::filesystem::path ConfigFilePath();

// The installed stock data files (read-only): found beside the running
// program first, so that a relocated install and the build folder work, then
// under the prefix the program was built for.
std::filesystem::path StockDataFolder();
// The folder of the running program, or empty when it can't be told.
std::filesystem::path ExecutableFolder();
// The lookup behind StockDataFolder, for a given program folder and fallback.
std::filesystem::path StockDataFolderFor(const std::filesystem::path& exeFolder,
                                         const std::filesystem::path& installed);
// The user-writable data folder, made and stocked on demand. Falls back to the
// stock folder when it can't be made, so that reading still works.
std::filesystem::path DataFolder();

// Copies every file under stock into target that target doesn't have yet,
// keeping the layout of subfolders. The user's own files are never
// overwritten. False if target couldn't be made or a copy failed.
bool StockDataFolderInto(const std::filesystem::path& stock, const std::filesystem::path& target);

// Sets ApplicationPath to the data folder with a trailing separator; an empty
// OpenPath takes the same value.
void ComputeApplicationPath();

}  // namespace ochrel
