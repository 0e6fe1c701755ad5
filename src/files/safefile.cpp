#include "files/safefile.h"

#include <dirent.h>
#include <fcntl.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <ctime>

namespace ochrel {

namespace {

constexpr std::time_t kStaleAge = 60 * 60;  // no save takes an hour

void Split(const std::string& path, std::string* folder, std::string* name) {
  std::string::size_type slash = path.rfind('/');
  *folder = slash == std::string::npos ? std::string(".") : (slash == 0 ? std::string("/") : path.substr(0, slash));
  *name = slash == std::string::npos ? path : path.substr(slash + 1);
}

// A name no other writer is using is found by O_EXCL; this only makes clashes rare.
std::string RandomSuffix() {
  static std::atomic<unsigned> counter{0};
  static const char kAlphabet[] = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789";
  unsigned long long x = static_cast<unsigned long long>(std::chrono::steady_clock::now().time_since_epoch().count()) ^
                         (static_cast<unsigned long long>(counter.fetch_add(1)) * 0x9E3779B97F4A7C15ull) ^
                         static_cast<unsigned long long>(::getpid());
  std::string s(6, 'x');
  for (char& c : s) {
    x ^= x >> 33;
    x *= 0xFF51AFD7ED558CCDull;
    x ^= x >> 29;
    c = kAlphabet[x % 62];
  }
  return s;
}

std::string TemporaryName(const std::string& path) {
  return TemporaryPrefix(path) + "~" + std::to_string(::getpid()) + "." + RandomSuffix();
}

bool AllAlnum(const std::string& s) {
  for (char c : s)
    if (!((c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9'))) return false;
  return true;
}

}  // namespace

std::string TemporaryPrefix(const std::string& path) {
  std::string folder, name;
  Split(path, &folder, &name);
  return (path.find('/') == std::string::npos ? std::string() : folder + "/") + "." + name + ".";
}

SafeFile::SafeFile(const std::string& path) : path_(path) {
  std::string folder, name;
  Split(path, &folder, &name);
  if (name.empty()) return;
  RemoveStaleTemporaries(path);
  struct stat old {};
  const bool replacing = ::stat(path.c_str(), &old) == 0;
  // The kernel applies the umask to a new file's mode; no need to read it.
  fd_ = ::open(folder.c_str(), O_TMPFILE | O_RDWR | O_CLOEXEC, 0666);
  if (fd_ < 0) {
    for (int attempt = 0; attempt < 100 && fd_ < 0; ++attempt) {
      std::string candidate = TemporaryName(path);
      fd_ = ::open(candidate.c_str(), O_CREAT | O_EXCL | O_WRONLY | O_CLOEXEC, 0666);
      if (fd_ >= 0) temp_ = candidate;
      else if (errno != EEXIST) break;
    }
  }
  if (fd_ >= 0 && replacing) ::fchmod(fd_, old.st_mode & 07777);
}

SafeFile::~SafeFile() {
  if (fd_ >= 0) ::close(fd_);
  if (!temp_.empty()) ::unlink(temp_.c_str());
}

bool SafeFile::Write(const void* data, std::size_t size) {
  if (fd_ < 0) return false;
  const char* p = static_cast<const char*>(data);
  while (size > 0) {
    ssize_t n = ::write(fd_, p, size);
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) return false;
    p += n;
    size -= static_cast<std::size_t>(n);
  }
  return true;
}

bool SafeFile::Commit() {
  if (fd_ < 0) return false;
  bool ok = ::fsync(fd_) == 0;
  if (ok && temp_.empty()) {
    // The unnamed file gets a name only for the moment of the rename.
    const std::string self = "/proc/self/fd/" + std::to_string(fd_);
    ok = false;
    for (int attempt = 0; attempt < 100 && !ok; ++attempt) {
      std::string candidate = TemporaryName(path_);
      if (::linkat(AT_FDCWD, self.c_str(), AT_FDCWD, candidate.c_str(), AT_SYMLINK_FOLLOW) == 0 ||
          ::linkat(fd_, "", AT_FDCWD, candidate.c_str(), AT_EMPTY_PATH) == 0) {
        temp_ = candidate;
        ok = true;
      } else if (errno != EEXIST) {
        break;
      }
    }
    // Without /proc (and without the right to link by descriptor) the content
    // is copied into a named temporary file instead.
    for (int attempt = 0; attempt < 100 && !ok; ++attempt) {
      std::string candidate = TemporaryName(path_);
      int named = ::open(candidate.c_str(), O_CREAT | O_EXCL | O_WRONLY | O_CLOEXEC, 0666);
      if (named < 0) {
        if (errno == EEXIST) continue;
        break;
      }
      temp_ = candidate;
      struct stat st {};
      bool copied = ::fstat(fd_, &st) == 0 && ::fchmod(named, st.st_mode & 07777) == 0;
      char buffer[1 << 16];
      for (off_t at = 0; copied;) {
        ssize_t n = ::pread(fd_, buffer, sizeof buffer, at);
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) {
          copied = n == 0;
          break;
        }
        for (ssize_t put = 0; copied && put < n;) {
          ssize_t w = ::write(named, buffer + put, static_cast<std::size_t>(n - put));
          if (w < 0 && errno == EINTR) continue;
          if (w <= 0) copied = false;
          else put += w;
        }
        at += n;
      }
      copied = copied && ::fsync(named) == 0;
      ok = (::close(named) == 0) && copied;
      break;
    }
  }
  ok = ok && ::rename(temp_.c_str(), path_.c_str()) == 0;
  if (ok) temp_.clear();
  ok = (::close(fd_) == 0) && ok;
  fd_ = -1;
  if (!temp_.empty()) {
    ::unlink(temp_.c_str());
    temp_.clear();
  }
  return ok;
}

void RemoveStaleTemporaries(const std::string& path) {
  std::string folder, name;
  Split(path, &folder, &name);
  if (name.empty()) return;
  const std::string prefix = "." + name + ".";
  DIR* dir = ::opendir(folder.c_str());
  if (!dir) return;
  const std::time_t now = std::time(nullptr);
  const pid_t self = ::getpid();
  while (dirent* e = ::readdir(dir)) {
    const std::string entry = e->d_name;
    if (entry.size() <= prefix.size() || entry.compare(0, prefix.size(), prefix) != 0) continue;
    const std::string rest = entry.substr(prefix.size());
    bool ours = false, orphan = false;
    if (rest.size() == 6 && AllAlnum(rest)) {
      ours = true;  // the earlier naming, without a process id
    } else if (rest.size() > 8 && rest[0] == '~') {
      std::string::size_type dot = rest.find('.', 1);
      const std::string digits = dot == std::string::npos ? std::string() : rest.substr(1, dot - 1);
      if (!digits.empty() && digits.size() < 10 && digits.find_first_not_of("0123456789") == std::string::npos &&
          rest.size() - dot - 1 == 6 && AllAlnum(rest.substr(dot + 1))) {
        ours = true;
        const pid_t pid = static_cast<pid_t>(std::stol(digits));
        orphan = pid != self && ::kill(pid, 0) != 0 && errno == ESRCH;
      }
    }
    if (!ours) continue;
    const std::string full = folder + "/" + entry;
    struct stat st {};
    if (::lstat(full.c_str(), &st) != 0 || !S_ISREG(st.st_mode)) continue;
    if (orphan || now - st.st_mtime > kStaleAge) ::unlink(full.c_str());
  }
  ::closedir(dir);
}

}  // namespace ochrel
