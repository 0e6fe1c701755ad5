// ochrel-cli filters: every filter with the settings it reads, their ranges
// and defaults.
#include <cstdio>
#include <cstring>

#include "cli.h"
#include "filters/filterparam.h"

namespace ochrel::cli {
namespace {

int RunFilters(const Args& args);
const Command kFilters{"filters", "", "list the filters with their settings, ranges and defaults", RunFilters};

const char* Types(int flags) {
  static char text[64];
  text[0] = 0;
  const char* names[] = {"true colour", "grey", "paletted", "mono"};
  for (int i = 0; i < 4; ++i)
    if (flags & (1 << i)) {
      if (text[0]) std::snprintf(text + std::strlen(text), sizeof text - std::strlen(text), ", ");
      std::snprintf(text + std::strlen(text), sizeof text - std::strlen(text), "%s", names[i]);
    }
  return text;
}

int RunFilters(const Args& args) {
  if (!args.empty()) return Usage(kFilters);
  for (int i = 0; i < FILTER_COUNT; ++i) {
    std::printf("%s  [%s]\n", filtertype[i].name, Types(filtertype[i].flags));
    for (const char* const* f = filtertype[i].fields; *f; ++f) {
      const FilterSetting* s = FindFilterSetting(*f);
      if (!s) continue;
      char lo[16], hi[16], def[16];
      FormatFilterValue(*s, s->minimum, lo, sizeof lo);
      FormatFilterValue(*s, s->maximum, hi, sizeof hi);
      FormatFilterValue(*s, s->defaultValue, def, sizeof def);
      std::printf("    %-26s %d to %d, default %d%s", s->name, s->minimum, s->maximum, s->defaultValue,
                  s->tenths ? "" : "\n");
      if (s->tenths) std::printf("  (tenths: %s to %s, default %s)\n", lo, hi, def);
    }
  }
  return 0;
}

}  // namespace

OCHREL_CLI_COMMAND(kFilters);

}  // namespace ochrel::cli
