// Running ochrel-cli from a test: a scratch folder, the program's exit status
// and what it printed.
#pragma once

#include <sys/wait.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

namespace ochrel::clitest {

// A temporary folder that goes away with the test.
struct Scratch {
  std::filesystem::path path;
  Scratch() {
    std::string t = (std::filesystem::temp_directory_path() / "ochrel-cli-XXXXXX").string();
    if (mkdtemp(t.data())) path = t;
  }
  ~Scratch() {
    std::error_code ec;
    std::filesystem::remove_all(path, ec);
  }
  std::string operator/(const std::string& n) const { return (path / n).string(); }
};

struct CliRun {
  int status;
  std::string out, err;
};

inline std::string Slurp(const std::string& p) {
  std::ifstream f(p, std::ios::binary);
  std::stringstream s;
  s << f.rdbuf();
  return s.str();
}

// Runs the program with the given (shell-quoted) arguments.
inline CliRun Cli(const Scratch& dir, const std::string& args) {
  std::string out = dir / "stdout.txt", err = dir / "stderr.txt";
  std::string cmd = std::string("'") + OCHREL_CLI + "' " + args + " >'" + out + "' 2>'" + err + "'";
  int raw = std::system(cmd.c_str());
  return {WIFEXITED(raw) ? WEXITSTATUS(raw) : -1, Slurp(out), Slurp(err)};
}

inline std::string Q(const std::string& s) { return "'" + s + "'"; }

}  // namespace ochrel::clitest
