// ochrel-cli config: the settings as the program sees them, through the same
// table, reader and writer.
#include <cstdio>
#include <string>

#include "cli.h"
#include "frame/config.h"
#include "frame/recentpaths.h"

namespace ochrel::cli {
namespace {

int RunConfig(const Args& args);

constexpr const char* kUsage = "write FILE | get NAME";
constexpr const char* kSummary = "write the settings file as the program would, or print one setting";

OCHREL_CLI_COMMAND("config", kUsage, kSummary, RunConfig);

const Command& Self() {
  static const Command c{"config", kUsage, kSummary, RunConfig};
  return c;
}

int RunConfig(const Args& args) {
  if (args.size() != 2) return Usage(Self());
  const std::string& action = args[0];
  if (action == "get") {
    const CONFIGITEM* item = FindConfigItem(args[1]);
    if (!item) return Fail("unknown setting: " + args[1]);
    LoadConfig();
    std::printf("%s\n", FormatConfigValue(*item).c_str());
    return 0;
  }
  if (action == "write") {
    LoadConfig();
    LoadMenuConfig();
    if (!SaveConfigFile(args[1], RecentPathList())) return Fail("cannot write " + args[1]);
    return 0;
  }
  return Usage(Self());
}

}  // namespace
}  // namespace ochrel::cli
