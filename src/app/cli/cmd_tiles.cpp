#include <cstdio>
#include <string>

#include "cli.h"
#include "fills/matrix.h"
#include "fills/stock.h"

namespace ochrel::cli {
namespace {

const char kUsage[] = "FILE | --make-stock FILE";

int RunTiles(const Args& input) {
  static const Command self{"tiles", kUsage, "", nullptr};
  Args args = input;
  std::string stock;
  bool missing = false;
  if (TakeOption(args, "--make-stock", &stock, &missing)) {
    if (!args.empty()) return Usage(self);
    const int ok = SaveMatrixFile(stock, StockMatrixTiles(), 0, kStockStamp, SaveOptions{.backups = false});
    if (!ok) return Fail(stock + ": Error writing file");
    return 0;
  }
  if (missing || args.size() != 1) return Usage(self);
  std::vector<HDIB> tiles;
  int writeable = 0;
  if (!LoadMatrixFile(args[0], &tiles, &writeable))
    return Fail(args[0] + ": There has been an error loading the matrix element file.");
  for (const HDIB& tile : tiles) {
    if (MatrixTileUsable(tile.get())) {
      const BITMAPINFOHEADER* h = LockDib(tile);
      std::printf("%d x %d\n", h->biWidth, h->biHeight);
    } else {
      std::printf("damaged\n");
    }
  }
  return 0;
}

}  // namespace

OCHREL_CLI_COMMAND("tiles", kUsage,
                   "print the size of each tile of a library in file order; --make-stock writes the stock library",
                   RunTiles);

}  // namespace ochrel::cli
