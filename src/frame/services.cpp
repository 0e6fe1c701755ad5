#include "frame/services.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <system_error>

#include "frame/settings.h"

namespace ochrel {

namespace fs = std::filesystem;

std::string formatlong(long long value) {
  bool negative = value < 0;
  unsigned long long v =
      negative ? 0ULL - static_cast<unsigned long long>(value) : static_cast<unsigned long long>(value);
  std::string digits = std::to_string(v), out;
  int n = static_cast<int>(digits.size());
  for (int i = 0; i < n; ++i) {
    out += digits[static_cast<std::size_t>(i)];
    if ((n - i - 1) % 3 == 0 && i != n - 1) out += ',';
  }
  return negative ? "-" + out : out;
}

std::string CleanFileName(const std::string& path) {
  std::string out;
  for (char c : path)
    if (c != '"') out += c;
  if (out.size() > 260) out.resize(260);
  return out;
}

std::string SubtractPath(const std::string& path) {
  auto slash = path.find_last_of('/');
  return slash == std::string::npos ? path : path.substr(slash + 1);
}

std::string FolderOf(const std::string& path) {
  auto slash = path.find_last_of('/');
  return slash == std::string::npos ? std::string() : path.substr(0, slash + 1);
}

std::string GetOpenPath() { return OpenPath; }

void SetOpenPath(const std::string& path) {
  std::string folder = FolderOf(path);
  if (folder.size() > 260) folder.resize(260);
  std::snprintf(OpenPath, sizeof OpenPath, "%s", folder.c_str());
}

std::string AddApplicationPath(const std::string& name) { return std::string(ApplicationPath) + name; }

std::string AddCurrentPath(const std::string& name) { return FolderOf(OpenPath) + SubtractPath(name); }

void GetStickyWindows(RECT frame, bool zoomed, int screenWidth, int screenHeight) {
  if (zoomed) return;
  StickyWindowLeft = std::max(frame.left, 0);
  StickyWindowTop = std::max(frame.top, 0);
  StickyWindowRight = std::min(frame.right, screenWidth);
  StickyWindowBottom = std::min(frame.bottom, screenHeight);
}

bool SetStickyWindows(int screenWidth, int screenHeight, RECT* placement) {
  if (StickyWindowLeft == -1 || StickyWindowTop == -1 || StickyWindowRight == -1 || StickyWindowBottom == -1)
    return false;
  int width = std::max(std::min(StickyWindowRight - StickyWindowLeft, screenWidth - StickyWindowLeft), 620);
  int height = std::max(std::min(StickyWindowBottom - StickyWindowTop, screenHeight - StickyWindowTop), 460);
  int x = std::min(StickyWindowLeft, screenWidth - 620);
  int y = std::min(StickyWindowTop, screenHeight - 460);
  *placement = RECT{x, y, x + width, y + height};
  return true;
}

int DeleteFileToRecycleBin(const std::string& path) {
  std::error_code ec;
  if (!fs::exists(path, ec)) return 1;
  // The freedesktop trash: files/ holds the file, info/ how to restore it.
  const char* dataHome = std::getenv("XDG_DATA_HOME");
  const char* home = std::getenv("HOME");
  fs::path trash = dataHome && *dataHome ? fs::path(dataHome) / "Trash"
                   : home && *home       ? fs::path(home) / ".local/share/Trash"
                                         : fs::path();
  if (!trash.empty()) {
    fs::create_directories(trash / "files", ec);
    fs::create_directories(trash / "info", ec);
    if (!ec) {
      std::string name = fs::path(path).filename().string(), candidate = name;
      for (int n = 1;
           fs::exists(trash / "files" / candidate, ec) || fs::exists(trash / "info" / (candidate + ".trashinfo"), ec);
           ++n)
        candidate = name + "." + std::to_string(n);
      std::ofstream info(trash / "info" / (candidate + ".trashinfo"));
      char when[32] = {};
      std::time_t now = std::time(nullptr);
      std::strftime(when, sizeof when, "%Y-%m-%dT%H:%M:%S", std::localtime(&now));
      info << "[Trash Info]\nPath=" << fs::absolute(path, ec).string() << "\nDeletionDate=" << when << "\n";
      info.close();
      fs::rename(path, trash / "files" / candidate, ec);
      if (!ec) return 0;
      fs::remove(trash / "info" / (candidate + ".trashinfo"), ec);
    }
  }
  return fs::remove(path, ec) ? 0 : 1;
}

}  // namespace ochrel
