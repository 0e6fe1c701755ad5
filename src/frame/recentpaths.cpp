#include "frame/recentpaths.h"

#include <algorithm>
#include <filesystem>
#include <system_error>

#include "frame/config.h"

namespace ochrel {
namespace {

bool RegularFileExists(const std::string& path) {
  std::error_code ec;
  return std::filesystem::is_regular_file(path, ec);
}

char AsciiLower(char c) { return (c >= 'A' && c <= 'Z') ? static_cast<char>(c - 'A' + 'a') : c; }

bool EqualIgnoringCase(std::string_view a, std::string_view b) {
  return a.size() == b.size() &&
         std::equal(a.begin(), a.end(), b.begin(), [](char x, char y) { return AsciiLower(x) == AsciiLower(y); });
}

// Trailing characters up to code 32 (blanks, line ends) never belong to a path.
std::string_view StripTrailing(std::string_view s) {
  while (!s.empty() && static_cast<unsigned char>(s.back()) <= 32) s.remove_suffix(1);
  return s;
}

}  // namespace

RecentPaths::RecentPaths(std::size_t capacity, ExistsFunction exists)
    : capacity_(capacity), exists_(exists ? std::move(exists) : ExistsFunction(RegularFileExists)) {}

bool RecentPaths::IsListablePath(std::string_view path) { return !path.empty() && path.front() == '/'; }

bool RecentPaths::Add(std::string_view path) {
  if (capacity_ == 0 || !IsListablePath(path)) return false;
  std::string clean(StripTrailing(path));
  if (!exists_(clean)) return false;
  for (const std::string& known : items_)
    if (EqualIgnoringCase(known, clean)) return false;
  items_.insert(items_.begin(), std::move(clean));
  if (items_.size() > capacity_) items_.resize(capacity_);
  return true;
}

RecentPaths& RecentPathList() {
  static RecentPaths list(FileMenuRange);
  return list;
}

}  // namespace ochrel
