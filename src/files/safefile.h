// Replacing a file so that nothing is lost and nothing is left behind: the
// new content goes into an unnamed file in the target's folder (O_TMPFILE),
// which gets a name only when it is complete and is at once renamed over the
// target. Where the file system can't make unnamed files, a named temporary
// file takes its place; its name carries our process id, so that a later save
// can tell a leftover of a killed save from the work of a running one.
#pragma once

#include <cstddef>
#include <string>

namespace ochrel {

class SafeFile {
 public:
  // Opens the temporary file beside path. A replaced file's permissions are
  // kept; a new file gets the usual ones (0666 less the umask).
  explicit SafeFile(const std::string& path);
  ~SafeFile();  // without a successful Commit: the temporary file goes, the target stays
  SafeFile(const SafeFile&) = delete;
  SafeFile& operator=(const SafeFile&) = delete;

  bool ok() const { return fd_ >= 0; }
  int fd() const { return fd_; }
  // Writes everything or fails.
  bool Write(const void* data, std::size_t size);
  // Flushes to disk and puts the file in the target's place. False (the
  // target untouched) on any failure.
  bool Commit();

 private:
  std::string path_, temp_;  // temp_ empty while the file has no name
  int fd_ = -1;
};

// Removes our temporary files for path that no running save can own: those
// whose process is gone, and any older than an hour (also those of the
// naming that came before the process id).
void RemoveStaleTemporaries(const std::string& path);

// The name pattern's parts, for tests: ".NAME.~PID.XXXXXX" beside NAME.
std::string TemporaryPrefix(const std::string& path);

}  // namespace ochrel
