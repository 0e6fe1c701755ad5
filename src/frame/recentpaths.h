// The list of recently used files at the end of the File menu, newest first.
// Model state only: the menu shows Items(), the configuration store saves and
// restores it.
#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace ochrel {

class RecentPaths {
 public:
  using ExistsFunction = std::function<bool(const std::string&)>;

  // capacity is FileMenuRange in the program; exists decides whether a path
  // names a file (the real file system unless a test says otherwise).
  explicit RecentPaths(std::size_t capacity = 10, ExistsFunction exists = {});

  // Puts a path on top of the list. Refused (false, list unchanged) when the
  // capacity is 0, the path is empty or not absolute, or, after trailing
  // blanks and control characters are stripped, no such file exists. A path
  // already listed, ignoring case, keeps its place and doesn't move up. The
  // oldest entry falls out when the list is full.
  bool Add(std::string_view path);

  const std::vector<std::string>& Items() const { return items_; }
  std::size_t Capacity() const { return capacity_; }
  void Clear() { items_.clear(); }

  // Whether a menu text may stand in the list at all: an absolute path.
  static bool IsListablePath(std::string_view path);

 private:
  std::size_t capacity_;
  ExistsFunction exists_;
  std::vector<std::string> items_;
};

// The program's one list, with FileMenuRange entries.
RecentPaths& RecentPathList();

}  // namespace ochrel
