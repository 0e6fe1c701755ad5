// Running ochrel-cli from a test: a scratch folder that also holds the
// program's private configuration and data folders, the exit status and what
// it printed.
#pragma once

#include <sys/wait.h>

#include <cstdlib>
#include <string>

#include "temp_dir.h"

namespace ochrel::clitest {

using Scratch = test::TempDir;
using test::Slurp;

struct CliRun {
  int status;
  std::string out, err;
};

// Quotes one argument for the shell.
inline std::string Q(const std::string& s) {
  std::string q = "'";
  for (char c : s) q += c == '\'' ? std::string("'\\''") : std::string(1, c);
  return q + "'";
}

// Runs the program with the given (shell-quoted) arguments.
inline CliRun Cli(const Scratch& dir, const std::string& args) {
  std::string out = dir / "stdout.txt", err = dir / "stderr.txt";
  std::string cmd = "OCHREL_CONFIG_DIR=" + Q(dir / "config") + " OCHREL_DATA_DIR=" + Q(dir / "data") + " " +
                    Q(OCHREL_CLI) + " " + args + " >" + Q(out) + " 2>" + Q(err);
  int raw = std::system(cmd.c_str());
  return {WIFEXITED(raw) ? WEXITSTATUS(raw) : -1, Slurp(out), Slurp(err)};
}

}  // namespace ochrel::clitest
