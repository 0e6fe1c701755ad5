#include <QGuiApplication>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>
#include <stdexcept>

#include "batch.h"
#include "cli.h"
#include "frame/version.h"

namespace ochrel::cli {

std::vector<Command>& Registry() {
  static std::vector<Command> commands;
  return commands;
}

int Fail(const std::string& message) {
  std::fprintf(stderr, "ochrel-cli: %s\n", message.c_str());
  return 1;
}

int Usage(const Command& c) {
  std::fprintf(stderr, "usage: ochrel-cli %s %s\n", c.name, c.usage);
  return 2;
}

bool TakeOption(Args& args, const std::string& name, std::string* value, bool* missing) {
  for (std::size_t i = 0; i < args.size(); ++i) {
    if (args[i] != name) continue;
    if (i + 1 >= args.size()) {
      if (missing) *missing = true;
      args.erase(args.begin() + static_cast<long>(i));
      return false;
    }
    if (value) *value = args[i + 1];
    args.erase(args.begin() + static_cast<long>(i), args.begin() + static_cast<long>(i) + 2);
    return true;
  }
  return false;
}

std::vector<std::string> TakeRepeated(Args& args, const std::string& name, bool* missing) {
  std::vector<std::string> out;
  std::string v;
  while (TakeOption(args, name, &v, missing)) out.push_back(v);
  return out;
}

bool TakeFlag(Args& args, const std::string& name) {
  auto it = std::find(args.begin(), args.end(), name);
  if (it == args.end()) return false;
  args.erase(it);
  return true;
}

bool ParseInt(const std::string& text, long long* value) {
  if (text.empty()) return false;
  std::size_t i = (text[0] == '-' || text[0] == '+') ? 1 : 0;
  if (i == text.size()) return false;
  for (std::size_t k = i; k < text.size(); ++k)
    if (text[k] < '0' || text[k] > '9') return false;
  errno = 0;
  long long v = std::strtoll(text.c_str(), nullptr, 10);
  if (errno == ERANGE) return false;
  *value = v;
  return true;
}

bool ParseDouble(const std::string& text, double* value) {
  if (text.empty()) return false;
  char* end = nullptr;
  errno = 0;
  double v = std::strtod(text.c_str(), &end);
  if (errno == ERANGE || !end || *end != '\0') return false;
  *value = v;
  return true;
}

namespace {
std::unique_ptr<QGuiApplication> g_app;
int g_argc = 1;
char g_arg0[] = "ochrel-cli";
char* g_argv[] = {g_arg0, nullptr};
}  // namespace

void EnsureGuiApplication() {
  if (QGuiApplication::instance()) return;
  if (!std::getenv("QT_QPA_PLATFORM")) setenv("QT_QPA_PLATFORM", "offscreen", 1);
  g_app = std::make_unique<QGuiApplication>(g_argc, g_argv);
}

namespace {
void PrintHelp() {
  std::printf("ochrel-cli: the Ochrel image engine on files\n\nusage: ochrel-cli COMMAND [ARGS]\n\ncommands:\n");
  auto commands = Registry();
  std::sort(commands.begin(), commands.end(),
            [](const Command& a, const Command& b) { return std::strcmp(a.name, b.name) < 0; });
  for (const auto& c : commands) std::printf("  %-10s %s\n             %s\n", c.name, c.usage, c.summary);
  std::printf(
      "\nCommands that take IN OUT also take several inputs with --out-dir DIR [--format EXT] [--jobs N],\n"
      "and - as IN or OUT for standard input or output with --format EXT.\n");
  std::printf("\nExit status: 0 on success, 1 when the work failed, 2 for a wrong command line.\n");
}

int RunVersion(const Args& args) {
  std::printf("%s\n", kOchrelVersion);
  return 0;
}
}  // namespace

OCHREL_CLI_COMMAND("version", "", "print the version", RunVersion);

}  // namespace ochrel::cli

int main(int argc, char** argv) {
  using namespace ochrel::cli;
  if (argc < 2 || !std::strcmp(argv[1], "--help") || !std::strcmp(argv[1], "-h") || !std::strcmp(argv[1], "help")) {
    PrintHelp();
    return argc < 2 ? 2 : 0;
  }
  if (!std::strcmp(argv[1], "--version")) return RunVersion({});
  for (const auto& c : Registry()) {
    if (std::strcmp(c.name, argv[1]) != 0) continue;
    Args args(argv + 2, argv + argc);
    if (args.size() == 1 && (args[0] == "--help" || args[0] == "-h")) {
      std::printf("usage: ochrel-cli %s %s\n%s\n", c.name, c.usage, c.summary);
      return 0;
    }
    return RunCommand(c, args);
  }
  std::fprintf(stderr, "ochrel-cli: unknown command '%s' (see ochrel-cli --help)\n", argv[1]);
  return 2;
}
