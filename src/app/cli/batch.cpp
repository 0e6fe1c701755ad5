#include "batch.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <new>
#include <set>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "files/imagefile.h"
#include "image/parallel.h"

namespace fs = std::filesystem;

namespace ochrel::cli {
namespace {

// What a command's usage line says about its arguments: where IN and OUT
// stand among the words before the options, and which options take a value.
// Reading it from the usage line keeps each command in its own file.
struct Shape {
  int in = -1, out = -1, positionals = 0;
  std::set<std::string> valued;
};

Shape ShapeOf(const Command& c) {
  std::vector<std::string> words;
  std::istringstream in(c.usage);
  for (std::string w; in >> w;) {
    std::string bare;
    for (char ch : w)
      if (ch != '[' && ch != ']') bare += ch;
    words.push_back(w[0] == '[' ? "[" + bare : bare);
  }
  Shape s;
  bool leading = true;
  for (std::size_t i = 0; i < words.size(); ++i) {
    std::string w = words[i][0] == '[' ? words[i].substr(1) : words[i];
    if (words[i][0] == '[' || w.rfind("--", 0) == 0 || w == "|") leading = false;
    if (leading) {
      if (w == "IN") s.in = s.positionals;
      if (w == "OUT") s.out = s.positionals;
      ++s.positionals;
    }
    if (w.rfind("--", 0) == 0 && i + 1 < words.size() && words[i + 1][0] != '[') {
      const std::string& next = words[i + 1];
      if (next.rfind("-", 0) != 0 && next != "..." && next != "|") s.valued.insert(w);
    }
  }
  return s;
}

// Splits args into the plain words and the options with their values, in order.
void Split(const Shape& shape, const Args& args, Args* plain, Args* options) {
  for (std::size_t i = 0; i < args.size(); ++i) {
    if (args[i].size() > 2 && args[i].rfind("--", 0) == 0) {
      options->push_back(args[i]);
      if (shape.valued.count(args[i]) && i + 1 < args.size()) options->push_back(args[++i]);
    } else {
      plain->push_back(args[i]);
    }
  }
}

// "png", ".PNG" or "jpeg" to ".png", ".png", ".jpeg"; empty when not an image extension.
std::string FormatExtension(std::string format) {
  if (!format.empty() && format[0] == '.') format.erase(0, 1);
  if (format.empty()) return {};
  std::string ext = "." + format;
  return FindImageFormat(("x" + ext).c_str()) < 0 ? std::string() : ext;
}

bool CopyStream(int from, int to) {
  char buffer[1 << 16];
  for (;;) {
    ssize_t n = read(from, buffer, sizeof buffer);
    if (n == 0) return true;
    if (n < 0) return false;
    for (ssize_t done = 0; done < n;) {
      ssize_t w = write(to, buffer + done, static_cast<std::size_t>(n - done));
      if (w <= 0) return false;
      done += w;
    }
  }
}

// One file's run in a child process, its printing held back so that runs
// side by side don't mix their lines.
struct Job {
  Args args;
  std::string name;
  FILE* out = nullptr;
  FILE* err = nullptr;
};

void Replay(FILE* from, FILE* to) {
  std::fflush(to);
  std::rewind(from);
  CopyStream(fileno(from), fileno(to));
  std::fclose(from);
}

class ProgressBar {
 public:
  explicit ProgressBar(int total) : total_(total), shown_(isatty(STDERR_FILENO) != 0) {}
  void Clear() {
    if (shown_) std::fprintf(stderr, "\r\033[K");
  }
  void Draw(int done) {
    if (!shown_) return;
    const int width = 30, filled = total_ ? done * width / total_ : width;
    std::fprintf(stderr, "\r[%s%s] %d/%d", std::string(filled, '#').c_str(), std::string(width - filled, '.').c_str(),
                 done, total_);
    std::fflush(stderr);
  }

 private:
  int total_;
  bool shown_;
};

int RunJobs(const Command& c, std::vector<Job>& jobs, int workers) {
  std::map<pid_t, std::size_t> running;
  std::vector<std::string> failed;
  std::size_t next = 0;
  int done = 0;
  ProgressBar bar(static_cast<int>(jobs.size()));
  bar.Draw(0);
  std::fflush(stdout);
  while (next < jobs.size() || !running.empty()) {
    while (next < jobs.size() && static_cast<int>(running.size()) < workers) {
      Job& job = jobs[next];
      job.out = std::tmpfile();
      job.err = std::tmpfile();
      pid_t pid = (job.out && job.err) ? fork() : -1;
      if (pid == 0) {
        dup2(fileno(job.out), STDOUT_FILENO);
        dup2(fileno(job.err), STDERR_FILENO);
        int code = RunGuarded(c, job.args);
        std::fflush(stdout);
        std::fflush(stderr);
        _exit(code);
      }
      if (pid < 0) {
        // No process to spare: do this one here.
        bar.Clear();
        if (RunGuarded(c, job.args) != 0) failed.push_back(job.name);
        if (job.out) std::fclose(job.out);
        if (job.err) std::fclose(job.err);
        bar.Draw(++done);
      } else {
        running[pid] = next;
      }
      ++next;
    }
    if (running.empty()) continue;
    int status = 0;
    pid_t pid = waitpid(-1, &status, 0);
    if (pid < 0) break;
    auto it = running.find(pid);
    if (it == running.end()) continue;
    Job& job = jobs[it->second];
    running.erase(it);
    bar.Clear();
    Replay(job.out, stdout);
    Replay(job.err, stderr);
    if (!WIFEXITED(status) || WEXITSTATUS(status) != 0) {
      if (WIFSIGNALED(status)) Fail(job.name + ": stopped by signal " + std::to_string(WTERMSIG(status)));
      failed.push_back(job.name);
    }
    bar.Draw(++done);
  }
  bar.Clear();
  if (failed.empty()) return 0;
  std::string list;
  for (const std::string& f : failed) list += (list.empty() ? "" : ", ") + f;
  return Fail(std::to_string(failed.size()) + " of " + std::to_string(jobs.size()) + " files failed: " + list);
}

// Several inputs into one folder.
int RunBatch(const Command& c, const Shape& shape, const Args& plain, const Args& options, const std::string& dir,
             const std::string& ext, int workers) {
  const int extra = shape.positionals - 2;
  if (shape.in != 0 || shape.out != 1 || static_cast<int>(plain.size()) < 1 + extra) return Usage(c);
  std::error_code ec;
  fs::create_directories(dir, ec);
  if (!fs::is_directory(dir, ec)) return Fail(dir + ": can't make this folder");
  const Args extras(plain.end() - extra, plain.end());
  std::vector<Job> jobs;
  std::set<fs::path> outputs;
  for (auto it = plain.begin(); it != plain.end() - extra; ++it) {
    if (*it == "-") return Fail("- can't be one of several inputs");
    fs::path in(*it);
    fs::path out = fs::path(dir) / in.stem();
    out += ext.empty() ? in.extension() : fs::path(ext);
    if (!outputs.insert(out.lexically_normal()).second)
      return Fail(*it + ": another input also goes to " + out.string());
    Job job;
    job.name = *it;
    job.args = {*it, out.string()};
    job.args.insert(job.args.end(), extras.begin(), extras.end());
    job.args.insert(job.args.end(), options.begin(), options.end());
    jobs.push_back(std::move(job));
  }
  return RunJobs(c, jobs, workers);
}

// One run in which IN or OUT may be "-".
int RunWithStreams(const Command& c, const Shape& shape, Args plain, const Args& options, const std::string& ext) {
  const bool stdIn = shape.in >= 0 && shape.in < static_cast<int>(plain.size()) && plain[shape.in] == "-";
  const bool stdOut = shape.out >= 0 && shape.out < static_cast<int>(plain.size()) && plain[shape.out] == "-";
  char pattern[] = "/tmp/ochrel-cli-XXXXXX";
  if (!mkdtemp(pattern)) return Fail("can't make a temporary folder");
  const fs::path temp(pattern);
  int status = 0;
  if (stdIn) {
    plain[shape.in] = (temp / ("standard input" + ext)).string();
    int fd = open(plain[shape.in].c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    bool ok = fd >= 0 && CopyStream(STDIN_FILENO, fd);
    if (fd >= 0 && close(fd) != 0) ok = false;
    if (!ok) status = Fail("can't read standard input");
  }
  if (stdOut) plain[shape.out] = (temp / ("standard output" + ext)).string();
  if (status == 0) {
    Args args = plain;
    args.insert(args.end(), options.begin(), options.end());
    // The picture owns standard output; anything the command prints goes to standard error.
    std::fflush(stdout);
    int saved = stdOut ? dup(STDOUT_FILENO) : -1;
    if (stdOut) dup2(STDERR_FILENO, STDOUT_FILENO);
    status = RunGuarded(c, args);
    std::fflush(stdout);
    if (saved >= 0) {
      dup2(saved, STDOUT_FILENO);
      close(saved);
    }
    if (status == 0 && stdOut) {
      int fd = open(plain[shape.out].c_str(), O_RDONLY);
      bool ok = fd >= 0 && CopyStream(fd, STDOUT_FILENO);
      if (fd >= 0) close(fd);
      if (!ok) status = Fail("can't write standard output");
    }
  }
  std::error_code ec;
  fs::remove_all(temp, ec);
  return status;
}

}  // namespace

int RunGuarded(const Command& c, const Args& args) {
  try {
    return c.run(args);
  } catch (const std::bad_alloc&) {
    return Fail("Memory error");
  } catch (const std::exception& e) {
    return Fail(e.what());
  }
}

int RunCommand(const Command& c, const Args& given) {
  const Shape shape = ShapeOf(c);
  if (shape.in < 0 && shape.out < 0) return RunGuarded(c, given);
  Args args = given;
  std::string dir, format, jobsText;
  bool missing = false;
  const bool haveDir = TakeOption(args, "--out-dir", &dir, &missing);
  const bool haveFormat = TakeOption(args, "--format", &format, &missing);
  const bool haveJobs = TakeOption(args, "--jobs", &jobsText, &missing);
  if (missing) return Usage(c);
  std::string ext;
  if (haveFormat && (ext = FormatExtension(format)).empty())
    return Fail("--format takes jpg, bmp, pcx, tga or png, not '" + format + "'");
  long long workers = HardwareThreads();
  if (haveJobs && !(ParseInt(jobsText, &workers) && workers >= 1 && workers <= 256))
    return Fail("--jobs takes a whole number from 1 to 256, not '" + jobsText + "'");
  Args plain, options;
  Split(shape, args, &plain, &options);
  if (haveDir) {
    if (shape.in < 0 || shape.out < 0) return Fail(std::string("--out-dir goes with commands that take IN OUT"));
    return RunBatch(c, shape, plain, options, dir, ext, static_cast<int>(workers));
  }
  bool streams = false;
  for (int i : {shape.in, shape.out})
    if (i >= 0 && i < static_cast<int>(plain.size()) && plain[i] == "-") streams = true;
  if (!streams) {
    if (haveFormat) return Fail("--format goes with --out-dir or with - as IN or OUT");
    return RunGuarded(c, given);
  }
  if (!haveFormat) return Fail("- as IN or OUT needs --format");
  return RunWithStreams(c, shape, plain, options, ext);
}

}  // namespace ochrel::cli
