#include <cstdio>
#include <string>

#include "cli.h"
#include "fills/stock.h"
#include "fills/texture_file.h"

namespace ochrel::cli {
namespace {

const char kUsage[] = "FILE | --make-stock FILE";

int RunTextures(const Args& input) {
  static const Command self{"textures", kUsage, "", nullptr};
  Args args = input;
  std::string stock;
  bool missing = false;
  if (TakeOption(args, "--make-stock", &stock, &missing)) {
    if (!args.empty()) return Usage(self);
    // The shipped library: fixed contents and time stamp, protected from changes.
    const int ok = SaveTextureFile(stock, StockTextures(), 0, kStockStampText, SaveOptions{.backups = false});
    if (!ok) return Fail(stock + ": Error writing file");
    return 0;
  }
  if (missing || args.size() != 1) return Usage(self);
  TextureList list;
  int writeable = 0;
  if (!LoadTextureFile(args[0], &list, &writeable))
    return Fail(args[0] + ": There has been an error importing the selected texture file. The file may be damaged.");
  for (const auto& item : list) std::printf("%s\n", item.name.c_str());
  return 0;
}

}  // namespace

OCHREL_CLI_COMMAND("textures", kUsage,
                   "list the textures of a library in list order; --make-stock writes the stock library", RunTextures);

}  // namespace ochrel::cli
