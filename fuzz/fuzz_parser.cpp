// One of the program's text and library file readers under the fuzzer. The
// readers take a path, so each input is put in a memory file and read through
// /proc/self/fd. Beyond not crashing: a library read, written and read again
// gives the same items, and what was written once is written alike again.
#include <sys/mman.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

#if defined(OCHREL_FUZZ_PARSER_textures)
#include "fills/texture_file.h"
#elif defined(OCHREL_FUZZ_PARSER_tiles)
#include "fills/matrix.h"
#elif defined(OCHREL_FUZZ_PARSER_colours)
#include "frame/colourtable.h"
#elif defined(OCHREL_FUZZ_PARSER_settings)
#include "frame/config.h"
#include "frame/recentpaths.h"
#else
#include "frame/tips.h"
#endif
#include "files/codec.h"
#include "frame/settings.h"

namespace {
int g_input = -1;
std::string g_path, g_scratch;

std::string Slurp(const std::string& path) {
  std::string text;
  if (std::FILE* f = std::fopen(path.c_str(), "rb")) {
    char b[4096];
    std::size_t n;
    while ((n = std::fread(b, 1, sizeof b, f)) > 0) text.append(b, n);
    std::fclose(f);
  }
  return text;
}
}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  g_input = memfd_create("ochrel-fuzz-input", 0);
  if (g_input < 0) std::abort();
  g_path = "/proc/self/fd/" + std::to_string(g_input);
  // In memory where possible: every save flushes to disk.
  char shm[] = "/dev/shm/ochrel-fuzz-XXXXXX", tmp[] = "/tmp/ochrel-fuzz-XXXXXX";
  const char* folder = mkdtemp(shm);
  if (!folder) folder = mkdtemp(tmp);
  if (!folder) std::abort();
  g_scratch = std::string(folder) + "/out";
  static std::string made = folder;
  std::atexit([] {
    std::remove(g_scratch.c_str());
    ::rmdir(made.c_str());
  });
  ochrel::CreateBackups = 0;
  ochrel::SetImagePixelLimit(std::uint64_t{1} << 22);
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (ftruncate(g_input, 0) != 0 || pwrite(g_input, data, size, 0) != static_cast<ssize_t>(size)) std::abort();
  using namespace ochrel;
#if defined(OCHREL_FUZZ_PARSER_textures)
  TextureList list;
  int writeable = 1;
  if (LoadTextureFile(g_path, &list, &writeable) && !list.empty()) {
    if (!SaveTextureFile(g_scratch, list, writeable, "stamp")) std::abort();
    TextureList again;
    if (!LoadTextureFile(g_scratch, &again, &writeable) || again.size() != list.size()) std::abort();
    const std::string first = Slurp(g_scratch);
    if (!SaveTextureFile(g_scratch, again, writeable, "stamp") || Slurp(g_scratch) != first) std::abort();
  }
#elif defined(OCHREL_FUZZ_PARSER_tiles)
  std::vector<HDIB> list;
  int writeable = 1;
  LoadMatrixFile(g_path, &list, &writeable);
  for (const HDIB& tile : list) {
    MATRIX m{};
    m.Tile = DuplicateObject(tile);
    m.Rect = {0, 0, 37, 23};
    HDIB filled = CreateMatrix(&m);
    if (filled && !MatrixTileUsable(tile.get())) std::abort();  // only a sound tile fills
  }
#elif defined(OCHREL_FUZZ_PARSER_colours)
  ColourTable table;
  LoadColourTable(g_path, &table);
  if (!SaveColourTable(g_scratch, table)) std::abort();
  ColourTable again;
  if (!LoadColourTable(g_scratch, &again) || again != table) std::abort();
#elif defined(OCHREL_FUZZ_PARSER_settings)
  LoadConfigFile(g_path);
  RecentPaths recent(10, [](const std::string&) { return true; });
  LoadMenuConfigFile(g_path, recent);
  // What the settings became is written alike after another read.
  const std::string text = FormatConfig(recent, 0);
  if (std::FILE* f = std::fopen(g_scratch.c_str(), "wb")) {
    std::fwrite(text.data(), 1, text.size(), f);
    std::fclose(f);
  }
  LoadConfigFile(g_scratch);
  RecentPaths again(10, [](const std::string&) { return true; });
  LoadMenuConfigFile(g_scratch, again);
  if (FormatConfig(again, 0) != text) std::abort();
#else
  std::string tip;
  TipOfTheDay = 0;
  for (int k = 0; k < 4; ++k) GetTipOfTheDayFrom(g_path, &tip);
#endif
  return 0;
}
