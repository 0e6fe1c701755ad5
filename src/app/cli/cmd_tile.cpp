#include <string>

#include "cli.h"
#include "frame/options.h"
#include "cmd_fills_common.h"
#include "fills/matrix.h"

namespace ochrel::cli {
namespace {

const char kUsage[] = "OUT --size WxH --library FILE --index K";

int RunTile(const Args& input) {
  static const Command self{"tile", kUsage, "", nullptr};
  Args args = input;
  std::string sizeText, library, indexText;
  bool missing = false;
  const bool hasSize = TakeOption(args, "--size", &sizeText, &missing);
  const bool hasLibrary = TakeOption(args, "--library", &library, &missing);
  const bool hasIndex = TakeOption(args, "--index", &indexText, &missing);
  if (missing || args.size() != 1 || !hasSize || !hasLibrary || !hasIndex) return Usage(self);
  const std::string out = args[0];
  int w = 0, h = 0;
  if (!fills::ParseSize(sizeText, &w, &h))
    return Fail("--size takes WxH with each side from 1 to 65535, not '" + sizeText + "'");
  long long index = 0;
  if (!ParseInt(indexText, &index) || index < 0)
    return Fail("--index takes a whole number from 0, not '" + indexText + "'");
  if (auto problem = fills::ImageNameProblem(out); !problem.empty()) return Fail(problem);
  std::vector<HDIB> tiles;
  int writeable = 0;
  if (!LoadMatrixFile(library, &tiles, &writeable))
    return Fail(library + ": There has been an error loading the matrix element file.");
  if (index >= static_cast<long long>(tiles.size()))
    return Fail(library + ": no tile " + indexText + " (the library has " + std::to_string(tiles.size()) + ")");
  MATRIX m;
  m.Tile = std::move(tiles[static_cast<std::size_t>(index)]);
  if (!MatrixTileUsable(m.Tile.get())) return Fail(library + ": tile " + indexText + " is damaged");
  m.Rect = RECT{0, 0, w, h};
  HDIB dib = CreateMatrix(&m);
  if (!dib) return Fail("Memory error");
  if (!WriteImage(out.c_str(), dib, SaveOptionsFromSettings())) return Fail(out + ": " + FileErrorText(FILEERR_WRITE));
  return 0;
}

}  // namespace

OCHREL_CLI_COMMAND("tile", kUsage, "fill a rectangle with the K-th tile (from 0) of a tile library", RunTile);

}  // namespace ochrel::cli
