// File plumbing shared by the texture and tile libraries: owned stdio files,
// the ".bak" copy, writes through a temporary file.
#pragma once

#include <cstdio>
#include <memory>
#include <string>

#include "files/safefile.h"
#include "image/dib.h"

namespace ochrel::fills {

struct FileCloser {
  void operator()(std::FILE* f) const {
    if (f) std::fclose(f);
  }
};
using File = std::unique_ptr<std::FILE, FileCloser>;

// Replaces path + ".bak" by a copy of path, if path exists. False when the copy failed.
bool MakeBackup(const std::string& path);

// Writes to a temporary file next to the target; Commit renames it into place.
// Destroyed without a successful Commit, it removes the temporary file and the
// old file stays as it was.
class AtomicWriter {
 public:
  AtomicWriter(const std::string& path, const char* mode);
  ~AtomicWriter();
  AtomicWriter(const AtomicWriter&) = delete;
  AtomicWriter& operator=(const AtomicWriter&) = delete;
  explicit operator bool() const { return static_cast<bool>(file_); }
  std::FILE* get() const { return file_.get(); }
  bool Commit();

 private:
  SafeFile out_;
  File file_;
};

// A 24-bit copy of a DIB of any depth (palette applied), or null.
HDIB ToTrueColour(const HDIB& image);

}  // namespace ochrel::fills
