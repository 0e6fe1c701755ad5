// Nearest-palette-colour searches with a cache keyed by colour. A search's
// answer depends on the colour alone, so the cache returns exactly what the
// full scan would; it only saves scanning the palette again for each pixel.
#pragma once

#include <cstdint>
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
  NearestColour(const BYTE* palette, int count, Metric metric);
  bool ok() const { return !keys_.empty(); }

  int Find(int r, int g, int b) {
    std::uint32_t key = static_cast<std::uint32_t>(r) | (static_cast<std::uint32_t>(g) << 8) | (static_cast<std::uint32_t>(b) << 16);
    std::uint32_t slot = ((key * 2654435761u) >> (32 - kBits));
    if (keys_[slot] == key) return values_[slot];
    int v = Scan(r, g, b);
    keys_[slot] = key;
    values_[slot] = static_cast<BYTE>(v);
    return v;
  }
  // The full scan, without the cache.
  int Scan(int r, int g, int b) const;

 private:
  static constexpr int kBits = 16;
  int count_;
  Metric metric_;
  int pr_[256], pg_[256], pb_[256];
  std::vector<std::uint32_t> keys_;
  std::vector<BYTE> values_;
};

}  // namespace ochrel
