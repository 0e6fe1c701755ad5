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
  // `pixels` is how many lookups are coming: a whole photograph gets a table
  // over every colour (shared by copies of this object, safe across threads),
  // small work a small cache of its own.
  NearestColour(const BYTE* palette, int count, Metric metric, std::size_t pixels = 0);
  // A copy for another thread: its own small cache, the same full table.
  NearestColour(const NearestColour& other);
  NearestColour& operator=(const NearestColour&) = delete;
  bool ok() const { return !keys_.empty(); }

  int Find(int r, int g, int b) {
    const std::uint32_t key = static_cast<std::uint32_t>(r) | (static_cast<std::uint32_t>(g) << 8) |
                              (static_cast<std::uint32_t>(b) << 16);
    // A small cache that stays in the processor's cache answers most pixels
    // of a photograph, whose neighbours are alike; the full table the rest.
    const std::uint32_t slot = (key * 2654435761u) >> (32 - kBits);
    if (keys_[slot] == key) return values_[slot];
    int found;
    if (table_) {
      std::uint16_t* entry = reinterpret_cast<std::uint16_t*>(table_->data()) + key;
      // Every writer stores the same value for a colour, so relaxed order is enough.
      std::uint16_t v = __atomic_load_n(entry, __ATOMIC_RELAXED);
      if (v) {
        found = v - 1;
      } else {
        found = Search(r, g, b);
        __atomic_store_n(entry, static_cast<std::uint16_t>(found + 1), __ATOMIC_RELAXED);
      }
    } else {
      found = Search(r, g, b);
    }
    keys_[slot] = key;
    values_[slot] = static_cast<BYTE>(found);
    return found;
  }
  // The plain scan over the palette in index order.
  int Scan(int r, int g, int b) const;
  // The same answer by a search outward from the colour's green level.
  int Search(int r, int g, int b) const;

 private:
  static constexpr int kBits = 14;
  int count_;
  int wr_, wg_, wb_;
  int pr_[256], pg_[256], pb_[256];
  // Entries ordered by green, then index: position -> index.
  int byGreen_[256];
  int greenOf_[256];
  std::shared_ptr<MemBlock> table_;
  std::vector<std::uint32_t> keys_;
  std::vector<BYTE> values_;
  void AllocateCache();
};

}  // namespace ochrel
