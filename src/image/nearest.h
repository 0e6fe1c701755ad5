// Nearest-palette-colour searches with a cache keyed by colour. A search's
// answer depends on the colour alone, so the cache returns exactly what the
// full scan would; it only saves searching the palette again for each pixel.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "image/dib.h"

namespace ochrel {

class NearestColour {
 public:
  enum Metric {
    kWeighted,   // FindPaletteColour: 3 dr^2 + 4 dg^2 + 2 db^2, first exact match
    kEuclidean,  // plain distance in red, green, blue, lowest index on a tie
  };
  // palette: red, green, blue triples; count entries are searched (1 to 256).
  // `pixels` is how many lookups are coming: many get candidate lists per
  // colour cell (shared by copies of this object, safe across threads).
  NearestColour(const BYTE* palette, int count, Metric metric, std::size_t pixels = 0);
  // A copy for another thread: its own small cache, the same cell lists.
  NearestColour(const NearestColour& other);
  NearestColour& operator=(const NearestColour&) = delete;
  bool ok() const { return !keys_.empty(); }

  int Find(int r, int g, int b) {
    const std::uint32_t key =
        static_cast<std::uint32_t>(r) | (static_cast<std::uint32_t>(g) << 8) | (static_cast<std::uint32_t>(b) << 16);
    // A small cache answers most pixels of a photograph, whose neighbours are
    // alike; the rest scan only the entries that can win in their colour cell.
    const std::uint32_t slot = (key * 2654435761u) >> (32 - kBits);
    if (keys_[slot] == key) return values_[slot];
    const int found = cells_ ? CellSearch(r, g, b) : Search(r, g, b);
    keys_[slot] = key;
    values_[slot] = static_cast<BYTE>(found);
    return found;
  }
  // Whether the cell lists were made (many lookups were announced).
  bool hasCells() const { return cells_ != nullptr; }
  // The weights of red, green and blue in the distance.
  void Weights(int w[3]) const { w[0] = wr_, w[1] = wg_, w[2] = wb_; }
  // The answers for the 64 colours of the box of 4 levels a side at (r0, g0,
  // b0) (multiples of 4), as Find gives them, at (r & 3) << 4 | (g & 3) << 2 |
  // (b & 3); needs the cells.
  // `from` (count entries in index order) may give a list to start from
  // instead of the cell's: one from Candidates for a box holding this one.
  void FillBox(int r0, int g0, int b0, BYTE* answers, const BYTE* from = nullptr, int count = 0) const;
  // The entries that can be nearest to some colour of the box of `side`
  // levels (4, 8 or 16) at (r0, g0, b0) (multiples of `side`), in index
  // order, into `kept`; returns how many. Needs the cells.
  int Candidates(int r0, int g0, int b0, int side, BYTE* kept, const BYTE* from = nullptr, int count = 0) const;
  // The plain scan over the palette in index order.
  int Scan(int r, int g, int b) const;
  // The same answer by a search outward from the colour's green level.
  int Search(int r, int g, int b) const;
  // The same answer from the candidates of the colour's cell (16 levels a side).
  int CellSearch(int r, int g, int b) const {
    const int cell = ((r >> 4) << 8) | ((g >> 4) << 4) | (b >> 4);
    const BYTE* c = cells_->entries.data() + cells_->start[cell];
    const BYTE* end = cells_->entries.data() + cells_->start[cell + 1];
    int best = 0x7FFFFFFF, bestIndex = 0;
    for (; c != end; ++c) {  // candidates in index order: the first minimum wins
      const int i = *c;
      const int dr = pr_[i] - r, dg = pg_[i] - g, db = pb_[i] - b;
      const int d = wr_ * dr * dr + wg_ * dg * dg + wb_ * db * db;
      if (d < best) {
        best = d;
        bestIndex = i;
      }
    }
    return bestIndex;
  }

 private:
  static constexpr int kBits = 14;
  int count_;
  int wr_, wg_, wb_;
  int pr_[256], pg_[256], pb_[256];
  // Entries ordered by green, then index: position -> index.
  int byGreen_[256];
  int greenOf_[256];
  // For each of 4096 colour cells, the entries that can be nearest to some
  // colour in it: all whose least distance to the cell isn't above the
  // smallest greatest distance of any entry. Built once, read by all threads.
  struct Cells {
    std::vector<std::uint32_t> start;  // 4097 offsets
    std::vector<BYTE> entries;
  };
  std::shared_ptr<const Cells> cells_;
  void BuildCells();
  std::vector<std::uint32_t> keys_;
  std::vector<BYTE> values_;
  void AllocateCache();
};

}  // namespace ochrel
