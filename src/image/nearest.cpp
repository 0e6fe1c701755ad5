#include "image/nearest.h"

#include <algorithm>
#include <new>

namespace ochrel {

namespace {
// Above this many lookups a table over all 2^24 colours pays for itself.
constexpr std::size_t kFullTablePixels = std::size_t{1} << 20;
}  // namespace

NearestColour::NearestColour(const BYTE* palette, int count, Metric metric, std::size_t pixels)
    : count_(count < 1 ? 1 : count > 256 ? 256 : count) {
  wr_ = metric == kWeighted ? 3 : 1;
  wg_ = metric == kWeighted ? 4 : 1;
  wb_ = metric == kWeighted ? 2 : 1;
  for (int i = 0; i < 256; ++i) {
    pr_[i] = i < count_ && palette ? palette[3 * i] : 0;
    pg_[i] = i < count_ && palette ? palette[3 * i + 1] : 0;
    pb_[i] = i < count_ && palette ? palette[3 * i + 2] : 0;
    byGreen_[i] = i;
  }
  std::stable_sort(byGreen_, byGreen_ + count_, [this](int a, int b) { return pg_[a] < pg_[b]; });
  for (int i = 0; i < count_; ++i) greenOf_[i] = pg_[byGreen_[i]];
  if (pixels >= kFullTablePixels) {
    HGLOBAL block = MemBlock::Allocate(std::size_t{2} << 24);  // zero: no colour known yet
    if (block) table_ = std::shared_ptr<MemBlock>(std::move(block));
  }
  AllocateCache();
}

NearestColour::NearestColour(const NearestColour& o)
    : count_(o.count_), wr_(o.wr_), wg_(o.wg_), wb_(o.wb_), table_(o.table_) {
  std::copy(o.pr_, o.pr_ + 256, pr_);
  std::copy(o.pg_, o.pg_ + 256, pg_);
  std::copy(o.pb_, o.pb_ + 256, pb_);
  std::copy(o.byGreen_, o.byGreen_ + 256, byGreen_);
  std::copy(o.greenOf_, o.greenOf_ + 256, greenOf_);
  AllocateCache();
}

void NearestColour::AllocateCache() {
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
  int best = 0, bestDistance = 0x7FFFFFFF;
  for (int i = 0; i < count_; ++i) {
    int dr = pr_[i] - r, dg = pg_[i] - g, db = pb_[i] - b;
    int d = wr_ * dr * dr + wg_ * dg * dg + wb_ * db * db;
    if (d < bestDistance) {
      bestDistance = d;
      best = i;
    }
  }
  return best;
}

int NearestColour::Search(int r, int g, int b) const {
  // Walk outward in green from g; a side stops once its green term alone
  // exceeds the best distance. Equal distances keep the lower index, as the
  // scan in index order does.
  int hi = static_cast<int>(std::lower_bound(greenOf_, greenOf_ + count_, g) - greenOf_);
  int lo = hi - 1;
  int best = 0x7FFFFFFF, bestIndex = 0;
  auto visit = [&](int pos) {
    const int i = byGreen_[pos];
    const int dr = pr_[i] - r, dg = pg_[i] - g, db = pb_[i] - b;
    const int d = wr_ * dr * dr + wg_ * dg * dg + wb_ * db * db;
    if (d < best || (d == best && i < bestIndex)) {
      best = d;
      bestIndex = i;
    }
  };
  bool up = hi < count_, down = lo >= 0;
  while (up || down) {
    if (up) {
      const int dg = greenOf_[hi] - g;
      if (wg_ * dg * dg > best) {
        up = false;
      } else {
        visit(hi);
        up = ++hi < count_;
      }
    }
    if (down) {
      const int dg = greenOf_[lo] - g;
      if (wg_ * dg * dg > best) {
        down = false;
      } else {
        visit(lo);
        down = --lo >= 0;
      }
    }
  }
  return bestIndex;
}

}  // namespace ochrel
