// Matrix fills: a small true-colour tile repeated over the rectangle, and the
// binary tile library.
#pragma once

#include <ctime>
#include <string>
#include <vector>

#include "files/saveoptions.h"
#include "image/dib.h"

namespace ochrel {

struct MATRIX {
  HDIB Tile;  // owned; null when none
  RECT Rect;  // only the size counts
};

// A 24-bit DIB of Rect's size tiled from the top left. Null without a usable tile.
HDIB CreateMatrix(const MATRIX* matrix);
// Empties the record and gives it a tile: the image file tileFile when one is
// named and loads, else the built-in tile. 0 with an empty record on failure.
int CreateDefaultMatrix(MATRIX* matrix, const std::string& tileFile = {});
int DuplicateMatrix(MATRIX* to, const MATRIX* from);
void DestroyMatrix(MATRIX* matrix);

// The built-in tile: 120 by 120, 24 bits.
HDIB CreateBuiltinMatrixTile();

// A tile block whose header describes pixels that lie inside the block.
bool MatrixTileUsable(const MemBlock* block);

// ---- The library file ----------------------------------------------------------
inline constexpr int kMatrixHeaderSize = 1082;
inline constexpr int kMatrixItemHeaderSize = 72;
inline constexpr char kMatrixMagic[9] = "VRNWMTXf";

// 1 on success, also when the file does not exist (list and *writeable then
// unchanged); 0 for a damaged file, keeping the items read before the damage.
int LoadMatrixFile(const std::string& path, std::vector<HDIB>* list, int* writeable);
// Writes every non-null entry. `writeable` 0 protects the file from changes.
// Makes the ".bak" copy first when options.backups is on; writes through a
// temporary file. 0 on failure, the old file untouched.
int SaveMatrixFile(const std::string& path, const std::vector<HDIB>& list, int writeable,
                   std::time_t stamp = std::time(nullptr), const SaveOptions& options = {});
// Appends one tile to the library. 1 also when the file cannot be opened (then
// nothing happens); 0 for a damaged or protected library, which stays as it was.
int AddMatrixElement(const std::string& path, const HDIB& dib);

}  // namespace ochrel
