// The stock content of the fills: the tiles of the primary tile library and the
// textures of the primary texture library, drawn and chosen here so that the
// shipped files can be rebuilt exactly.
#pragma once

#include <vector>

#include "fills/texture_file.h"
#include "image/dib.h"

namespace ochrel {

inline constexpr int kStockTileCount = 12;
// Tile k of the stock library (24 bits, seamless), or null.
HDIB CreateStockTile(int index);
std::vector<HDIB> StockMatrixTiles();
TextureList StockTextures();

// The fixed time stamp the shipped files carry, so that rebuilding them gives the same bytes.
inline constexpr long kStockStamp = 1767225600;  // 2026-01-01 00:00:00 UTC
inline constexpr char kStockStampText[] = "Thu Jan  1 00:00:00 2026";

}  // namespace ochrel
