#include "frame/recovery.h"

#include <signal.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <system_error>

#include "files/imagefile.h"
#include "files/safefile.h"
#include "frame/paths.h"

namespace ochrel {

namespace fs = std::filesystem;

namespace {

constexpr const char* kSideExtension = ".recovery";
constexpr const char* kImageExtension = ".png";

// One value to a line: backslashes and line ends escaped.
std::string Escape(const std::string& s) {
  std::string out;
  for (char c : s) {
    if (c == '\\') out += "\\\\";
    else if (c == '\n') out += "\\n";
    else if (c == '\r') out += "\\r";
    else out += c;
  }
  return out;
}

std::string Unescape(const std::string& s) {
  std::string out;
  for (std::size_t i = 0; i < s.size(); ++i) {
    if (s[i] == '\\' && i + 1 < s.size()) {
      char n = s[++i];
      out += n == 'n' ? '\n' : n == 'r' ? '\r' : n;
    } else {
      out += s[i];
    }
  }
  return out;
}

bool Running(long pid) {
  if (pid <= 0) return false;
  if (pid == static_cast<long>(::getpid())) return true;
  return ::kill(static_cast<pid_t>(pid), 0) == 0 || errno == EPERM;
}

}  // namespace

fs::path RecoveryFolder() {
  const char* state = std::getenv("XDG_STATE_HOME");
  if (state && *state) return fs::path(state) / "ochrel" / "recovery";
  fs::path config = ConfigFolder();
  return config.empty() ? fs::path() : config / "recovery";
}

std::string NewRecoveryId() {
  static std::atomic<unsigned> serial{0};
  const auto ms =
      std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::system_clock::now().time_since_epoch())
          .count();
  return std::to_string(::getpid()) + "-" + std::to_string(ms) + "-" + std::to_string(serial.fetch_add(1));
}

bool WriteRecovery(const fs::path& folder, const RecoveryEntry& entry, const HDIB& image) {
  if (folder.empty() || entry.id.empty() || !image) return false;
  std::error_code ec;
  fs::create_directories(folder, ec);
  const std::string picture = (folder / (entry.id + kImageExtension)).string();
  if (!WriteImage(picture.c_str(), image)) return false;
  std::string side = "Pid=" + std::to_string(::getpid()) + "\n";
  side += "HasFile=" + std::string(entry.hasFile ? "1" : "0") + "\n";
  side += "Name=" + Escape(entry.name) + "\n";
  side += "Path=" + Escape(entry.path) + "\n";
  SafeFile out((folder / (entry.id + kSideExtension)).string());
  return out.Write(side.data(), side.size()) && out.Commit();
}

void RemoveRecovery(const fs::path& folder, const std::string& id) {
  if (folder.empty() || id.empty()) return;
  std::error_code ec;
  // The side file first: without it the picture is no copy any more.
  fs::remove(folder / (id + kSideExtension), ec);
  fs::remove(folder / (id + kImageExtension), ec);
}

std::vector<RecoveryEntry> FindRecoveries(const fs::path& folder) {
  std::vector<std::pair<fs::file_time_type, RecoveryEntry>> found;
  std::error_code ec;
  if (folder.empty() || !fs::is_directory(folder, ec)) return {};
  for (const auto& e : fs::directory_iterator(folder, ec)) {
    if (e.path().extension() != kSideExtension) continue;
    RecoveryEntry entry;
    entry.id = e.path().stem().string();
    if (!fs::is_regular_file(folder / (entry.id + kImageExtension), ec)) continue;
    std::ifstream in(e.path());
    std::string line;
    while (std::getline(in, line)) {
      const std::string::size_type eq = line.find('=');
      if (eq == std::string::npos) continue;
      const std::string key = line.substr(0, eq), value = line.substr(eq + 1);
      if (key == "Pid") entry.pid = std::strtol(value.c_str(), nullptr, 10);
      else if (key == "HasFile") entry.hasFile = value == "1";
      else if (key == "Name") entry.name = Unescape(value);
      else if (key == "Path") entry.path = Unescape(value);
    }
    if (Running(entry.pid)) continue;
    found.emplace_back(fs::last_write_time(e.path(), ec), entry);
  }
  std::stable_sort(found.begin(), found.end(), [](const auto& a, const auto& b) { return a.first < b.first; });
  std::vector<RecoveryEntry> out;
  for (auto& f : found) out.push_back(std::move(f.second));
  return out;
}

HDIB LoadRecovery(const fs::path& folder, const RecoveryEntry& entry) {
  if (folder.empty() || entry.id.empty()) return nullptr;
  const std::string picture = (folder / (entry.id + kImageExtension)).string();
  return ReadImageFile(FindImageFormat(picture.c_str()), picture.c_str());
}

}  // namespace ochrel
