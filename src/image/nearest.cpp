#include "image/nearest.h"

#include <algorithm>
#include <cstdlib>
#include <new>

#include "image/fastpath.h"

namespace ochrel {

namespace {
// Above this many lookups the cell lists pay for themselves.
constexpr std::size_t kCellPixels = std::size_t{1} << 16;

// BoxDistances for a box of `side` levels a side, for `count` (a multiple of
// 16) entries given by their channels, in blocks of 16 so that it vectorises.
// Of a - p and p - b at most one is positive (a <= b), so their clamped sum
// is the distance to the nearer end.
OCHREL_WIDE_VECTORS
void BoxDistancesOf(int r0, int g0, int b0, int side, const int* cr, const int* cg, const int* cb, int count, int wr,
                    int wg, int wb, int* __restrict least, int* __restrict most) {
  const int last = side - 1;
  auto near = [last](int p, int a) { return std::max(a - p, 0) + std::max(p - (a + last), 0); };
  auto far = [last](int p, int a) { return std::max(std::abs(p - a), std::abs(p - (a + last))); };
  for (int k0 = 0; k0 < count; k0 += 16)
    for (int k = k0; k < k0 + 16; ++k) {
      const int nr = near(cr[k], r0), ng = near(cg[k], g0), nb = near(cb[k], b0);
      const int fr = far(cr[k], r0), fg = far(cg[k], g0), fb = far(cb[k], b0);
      least[k] = wr * nr * nr + wg * ng * ng + wb * nb * nb;
      most[k] = wr * fr * fr + wg * fg * fg + wb * fb * fb;
    }
}

}  // namespace

NearestColour::NearestColour(const BYTE* palette, int count, Metric metric, std::size_t pixels)
    : count_(count < 1     ? 1
             : count > 256 ? 256
                           : count) {
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
  if (pixels >= kCellPixels) BuildCells();
  AllocateCache();
}

NearestColour::NearestColour(const NearestColour& o)
    : count_(o.count_), wr_(o.wr_), wg_(o.wg_), wb_(o.wb_), cells_(o.cells_) {
  std::copy(o.pr_, o.pr_ + 256, pr_);
  std::copy(o.pg_, o.pg_ + 256, pg_);
  std::copy(o.pb_, o.pb_ + 256, pb_);
  std::copy(o.byGreen_, o.byGreen_ + 256, byGreen_);
  std::copy(o.greenOf_, o.greenOf_ + 256, greenOf_);
  AllocateCache();
}

void NearestColour::BuildCells() {
  try {
    auto cells = std::make_shared<Cells>();
    cells->start.resize(4097);
    cells->entries.reserve(4096 * 16);
    alignas(64) int least[256], most[256];
    const int padded = (count_ + 15) & ~15;  // the entries past count_ are zero and not looked at
    for (int cell = 0; cell < 4096; ++cell) {
      BoxDistancesOf((cell >> 8) * 16, ((cell >> 4) & 15) * 16, (cell & 15) * 16, 16, pr_, pg_, pb_, padded, wr_, wg_,
                     wb_, least, most);
      int bound = 0x7FFFFFFF;
      for (int i = 0; i < count_; ++i) bound = std::min(bound, most[i]);
      cells->start[static_cast<std::size_t>(cell)] = static_cast<std::uint32_t>(cells->entries.size());
      // An entry farther than `bound` from the whole cell loses to the entry
      // that achieves it, everywhere in the cell; ties stay in.
      for (int i = 0; i < count_; ++i)
        if (least[i] <= bound) cells->entries.push_back(static_cast<BYTE>(i));
    }
    cells->start[4096] = static_cast<std::uint32_t>(cells->entries.size());
    cells_ = std::move(cells);
  } catch (const std::bad_alloc&) {
    cells_.reset();  // the outward search still answers
  }
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

namespace {

// All 64 colours of a box of 4 levels a side against its candidates, taken
// in index order; a candidate replaces the best only when strictly nearer, so
// the first minimum wins, as in CellSearch. Local arrays, so that the inner
// loop vectorises without alias checks.
OCHREL_WIDE_VECTORS
void FillBoxColours(int r0, int g0, int b0, const BYTE* candidates, int count, const int* pr, const int* pg,
                    const int* pb, int wr, int wg, int wb, BYTE* answers) {
  int best[64], found[64];
  for (int k = 0; k < 64; ++k) best[k] = 0x7FFFFFFF, found[k] = 0;
  for (int c = 0; c < count; ++c) {
    const int i = candidates[c];
    const int red = pr[i] - r0, green = pg[i] - g0, blue = pb[i] - b0;
    for (int k = 0; k < 64; ++k) {
      const int dr = red - (k >> 4), dg = green - ((k >> 2) & 3), db = blue - (k & 3);
      const int d = wr * dr * dr + wg * dg * dg + wb * db * db;
      const bool nearer = d < best[k];
      best[k] = nearer ? d : best[k];
      found[k] = nearer ? i : found[k];
    }
  }
  for (int k = 0; k < 64; ++k) answers[k] = static_cast<BYTE>(found[k]);
}

}  // namespace

int NearestColour::Candidates(int r0, int g0, int b0, int side, BYTE* kept, const BYTE* from, int count) const {
  // The box lies in one cell, and whichever entry is nearest to one of its
  // colours is among that cell's candidates (or those of a box holding it);
  // pruning those by the cell rule on the box keeps it, and keeps the index
  // order, so the first minimum still wins.
  if (!from) {
    const int cell = ((r0 >> 4) << 8) | ((g0 >> 4) << 4) | (b0 >> 4);
    from = cells_->entries.data() + cells_->start[cell];
    count = static_cast<int>(cells_->start[cell + 1] - cells_->start[cell]);
  }
  alignas(64) int cr[256], cg[256], cb[256], least[256], most[256];
  const int padded = (count + 15) & ~15;
  for (int k = 0; k < padded; ++k) {
    const int i = k < count ? from[k] : from[0];
    cr[k] = pr_[i], cg[k] = pg_[i], cb[k] = pb_[i];
  }
  BoxDistancesOf(r0, g0, b0, side, cr, cg, cb, padded, wr_, wg_, wb_, least, most);
  int bound = 0x7FFFFFFF;
  for (int k = 0; k < count; ++k) bound = std::min(bound, most[k]);
  int n = 0;
  for (int k = 0; k < count; ++k)
    if (least[k] <= bound) kept[n++] = from[k];
  return n;
}

void NearestColour::FillBox(int r0, int g0, int b0, BYTE* answers, const BYTE* from, int count) const {
  BYTE kept[256];
  const int n = Candidates(r0, g0, b0, 4, kept, from, count);
  FillBoxColours(r0, g0, b0, kept, n, pr_, pg_, pb_, wr_, wg_, wb_, answers);
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
