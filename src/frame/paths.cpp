#include "frame/paths.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <string>
#include <system_error>

#include "frame/settings.h"

#ifndef OCHREL_INSTALL_DATA_DIR
#define OCHREL_INSTALL_DATA_DIR "/usr/local/share/ochrel"
#endif

namespace fs = std::filesystem;

namespace ochrel {
namespace {

// A variable counts only when set to something.
const char* Env(const char* name) {
  const char* v = std::getenv(name);
  return (v && *v) ? v : nullptr;
}

// $override, else $xdg/ochrel when that is absolute (relative values are
// invalid by the XDG rules and ignored), else ~/fallback/ochrel.
fs::path UserFolder(const char* override, const char* xdg, const char* fallback) {
  if (const char* v = Env(override)) return fs::path(v);
  if (const char* v = Env(xdg); v && v[0] == '/') return fs::path(v) / "ochrel";
  if (const char* home = Env("HOME")) return fs::path(home) / fallback / "ochrel";
  return {};
}

void CopyText(char* dest, const std::string& text) {
  std::memset(dest, 0, kSettingTextSize);
  std::memcpy(dest, text.data(), std::min<std::size_t>(text.size(), kSettingTextSize - 1));
}

}  // namespace

fs::path ConfigFolder() { return UserFolder(kConfigDirVariable, "XDG_CONFIG_HOME", ".config"); }

fs::path ConfigFilePath() {
  fs::path folder = ConfigFolder();
  return folder.empty() ? fs::path() : folder / kConfigFileName;
}

fs::path ExecutableFolder() {
  std::error_code ec;
  fs::path exe = fs::read_symlink("/proc/self/exe", ec);
  return ec ? fs::path() : exe.parent_path();
}

fs::path StockDataFolderFor(const fs::path& exeFolder, const fs::path& installed) {
  // A stock folder is recognised by its colour table, which every install has.
  auto stocked = [](const fs::path& p) {
    std::error_code ec;
    return fs::is_regular_file(p / "OCHREL.CCL", ec);
  };
  if (!exeFolder.empty()) {
    // An install moved as a whole (bin/ beside share/), then the build folder,
    // where a data/ link sits beside the programs.
    for (const fs::path& p : {exeFolder / ".." / "share" / "ochrel", exeFolder / "data"})
      if (stocked(p)) return p.lexically_normal();
  }
  return installed;
}

fs::path StockDataFolder() {
  static const fs::path folder = StockDataFolderFor(ExecutableFolder(), fs::path(OCHREL_INSTALL_DATA_DIR));
  return folder;
}

bool StockDataFolderInto(const fs::path& stock, const fs::path& target) {
  std::error_code ec;
  fs::create_directories(target, ec);
  if (!fs::is_directory(target, ec)) return false;
  bool ok = true;
  fs::recursive_directory_iterator it(stock, fs::directory_options::skip_permission_denied, ec);
  if (ec) return true;  // nothing to stock from is not the user's problem
  for (const fs::recursive_directory_iterator end; it != end; it.increment(ec)) {
    if (ec) return false;
    fs::path rel = it->path().lexically_relative(stock);
    fs::path dest = target / rel;
    std::error_code e;
    if (it->is_directory(e)) {
      fs::create_directories(dest, e);
      if (e) ok = false;
    } else if (it->is_regular_file(e) && !fs::exists(fs::symlink_status(dest, e))) {
      // skip_existing guards against a file that appeared since the test.
      fs::copy_file(it->path(), dest, fs::copy_options::skip_existing, e);
      if (e) ok = false;
    }
  }
  return ok;
}

fs::path DataFolder() {
  fs::path folder = UserFolder(kDataDirVariable, "XDG_DATA_HOME", ".local/share");
  if (folder.empty() || !StockDataFolderInto(StockDataFolder(), folder)) {
    std::error_code ec;
    if (folder.empty() || !fs::is_directory(folder, ec)) return StockDataFolder();
  }
  return folder;
}

void ComputeApplicationPath() {
  std::string path = DataFolder().string();
  if (path.empty() || path.back() != '/') path += '/';
  CopyText(ApplicationPath, path);
  if (OpenPath[0] == 0) CopyText(OpenPath, path);
}

}  // namespace ochrel
