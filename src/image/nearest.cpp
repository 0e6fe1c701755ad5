#include "image/nearest.h"

#include <new>

namespace ochrel {

NearestColour::NearestColour(const BYTE* palette, int count, Metric metric)
    : count_(count < 1 ? 1 : count > 256 ? 256 : count), metric_(metric) {
  for (int i = 0; i < 256; ++i) {
    pr_[i] = i < count_ && palette ? palette[3 * i] : 0;
    pg_[i] = i < count_ && palette ? palette[3 * i + 1] : 0;
    pb_[i] = i < count_ && palette ? palette[3 * i + 2] : 0;
  }
  try {
    keys_.assign(std::size_t{1} << kBits, 0xFFFFFFFFu);  // no colour has the top byte set
    values_.assign(std::size_t{1} << kBits, 0);
  } catch (const std::bad_alloc&) {
    keys_.clear();
    values_.clear();
  }
}

int NearestColour::Scan(int r, int g, int b) const {
  // The first entry of the smallest distance; an exact match has distance 0,
  // so this is also the first exact match when there is one.
  const int wr = metric_ == kWeighted ? 3 : 1, wg = metric_ == kWeighted ? 4 : 1, wb = metric_ == kWeighted ? 2 : 1;
  int best = 0, bestDistance = 0x7FFFFFFF;
  for (int i = 0; i < count_; ++i) {
    int dr = pr_[i] - r, dg = pg_[i] - g, db = pb_[i] - b;
    int d = wr * dr * dr + wg * dg * dg + wb * db * db;
    if (d < bestDistance) {
      bestDistance = d;
      best = i;
    }
  }
  return best;
}

}  // namespace ochrel
