#include "image/quantize.h"

#include <cstring>
#include <memory>
#include <new>
#include <utility>

#include "image/progress.h"
#include "image/resample.h"

namespace ochrel {

namespace {

inline int Level(const COLOURCELL* c, int axis) { return c->level[axis]; }

// Membership of the distinct-colour list, answered without a linear search.
// The list never holds more than 256 colours, so a small open-addressed table
// is enough; the answers are those of the search.
class ColourSet {
 public:
  bool Contains(std::uint32_t c) const {
    for (std::uint32_t i = Hash(c);; i = (i + 1) & kMask) {
      if (slot_[i] == kEmpty) return false;
      if (slot_[i] == c) return true;
    }
  }
  void Insert(std::uint32_t c) {
    std::uint32_t i = Hash(c);
    while (slot_[i] != kEmpty) i = (i + 1) & kMask;
    slot_[i] = c;
  }
  void Clear() { std::memset(slot_, 0xFF, sizeof slot_); }

 private:
  static constexpr std::uint32_t kMask = 1023, kEmpty = 0xFFFFFFFFu;
  static std::uint32_t Hash(std::uint32_t c) { return (c * 2654435761u) >> 22; }
  std::uint32_t slot_[1024];
};

}  // namespace

int AddColourToPalette(BYTE* list, COLORREF pixel, int* count, int maximum) {
  if (*count == -1) return -1;
  // The overflow test comes before the search: with a full list the next
  // pixel ends it, whatever its colour.
  if (*count >= maximum) {
    *count = -1;
    return -1;
  }
  int r = GetRValue(pixel), g = GetGValue(pixel), b = GetBValue(pixel);
  for (int i = 0; i < *count; ++i)
    if (list[3 * i] == r && list[3 * i + 1] == g && list[3 * i + 2] == b) return *count;
  list[3 * *count] = static_cast<BYTE>(r);
  list[3 * *count + 1] = static_cast<BYTE>(g);
  list[3 * *count + 2] = static_cast<BYTE>(b);
  return ++*count;
}

void pinsert(COLOURCELL** a, int n, int axis) {
  for (int i = 1; i < n; ++i) {
    COLOURCELL* t = a[i];
    int j = i - 1;
    // Every earlier element that isn't above t moves on, so equal levels end
    // up in reverse order.
    while (j >= 0 && !(Level(a[j], axis) > Level(t, axis))) {
      a[j + 1] = a[j];
      --j;
    }
    a[j + 1] = t;
  }
}

void psort(COLOURCELL** a, int n, int axis) {
  if (n < 8) {
    pinsert(a, n, axis);
    return;
  }
  const int pivot = Level(a[n / 2], axis);
  int i = -1, j = n;
  for (;;) {
    do ++i;
    while (i < n - 1 && Level(a[i], axis) > pivot);
    do --j;
    while (j > 0 && Level(a[j], axis) < pivot);
    if (i >= j) break;
    std::swap(a[i], a[j]);
  }
  if (i <= 0 || i >= n) {  // cannot happen with a middle pivot; never recurse forever
    pinsert(a, n, axis);
    return;
  }
  psort(a, i, axis);
  psort(a + i, n - i, axis);
}

void dividemap(NEWCOLOUR* boxes, int maximum, int* count, COLOURCELL** sortBuffer) {
  while (*count < maximum) {
    // The widest extent of a divisible box; the first box and axis win a tie.
    int best = -1, chosen = -1, axis = 0;
    for (int b = 0; b < *count; ++b)
      for (int k = 0; k < 3; ++k)
        if (boxes[b].Cells > 1 && boxes[b].Extent[k] > best) {
          best = boxes[b].Extent[k];
          chosen = b;
          axis = k;
        }
    if (chosen < 0) break;
    NEWCOLOUR& old = boxes[chosen];

    int n = 0;
    for (COLOURCELL* c = old.First; c && n < old.Cells; c = c->Next) sortBuffer[n++] = c;
    psort(sortBuffer, n, axis);
    for (int i = 0; i + 1 < n; ++i) sortBuffer[i]->Next = sortBuffer[i + 1];
    sortBuffer[n - 1]->Next = nullptr;
    old.First = sortBuffer[0];

    COLOURCELL* w = old.First;
    long long L = w->Count, C = 1, R = old.Pixels / 2 - L;
    for (;;) {
      R -= w->Next->Count;
      if (R < 0) break;
      if (!w->Next->Next) break;
      w = w->Next;
      L += w->Count;
      ++C;
    }
    const int a = w->level[axis], b = w->Next->level[axis];

    NEWCOLOUR& box = boxes[*count];
    box.First = w->Next;
    w->Next = nullptr;
    box.Pixels = L;
    box.Cells = static_cast<std::int32_t>(old.Cells - C);
    std::memcpy(box.Low, old.Low, 3);
    std::memcpy(box.Extent, old.Extent, 3);
    old.Pixels -= L;
    old.Cells = static_cast<std::int32_t>(C);
    box.Extent[axis] = static_cast<BYTE>(box.Low[axis] + box.Extent[axis] - 16 * b);
    box.Low[axis] = static_cast<BYTE>(16 * b);
    old.Extent[axis] = static_cast<BYTE>(16 * a - old.Low[axis]);
    ++*count;
  }
}

int Quantize(int width, int depth, int* colours, BYTE* palette, const HDIB& image) {
  if (!colours || !palette) return 0;
  std::memset(palette, 0, 768);
  const BITMAPINFOHEADER* h = LockDib(image);
  if (!h || width <= 0 || depth <= 0 || width > h->biWidth || depth > h->biHeight) return 0;
  int maximum = *colours;
  if (maximum < 1) return 0;
  if (maximum > 256) maximum = 256;

  std::unique_ptr<COLOURCELL[]> cells(new (std::nothrow) COLOURCELL[4096]);
  std::unique_ptr<NEWCOLOUR[]> boxes(new (std::nothrow) NEWCOLOUR[256]);
  std::unique_ptr<COLOURCELL*[]> sortBuffer(new (std::nothrow) COLOURCELL*[4096]);
  std::unique_ptr<ColourSet> seen(new (std::nothrow) ColourSet);
  if (!cells || !boxes || !sortBuffer || !seen) return 0;
  for (int i = 0; i < 4096; ++i) {
    cells[i] = COLOURCELL{
        {static_cast<BYTE>(i >> 8), static_cast<BYTE>((i >> 4) & 15), static_cast<BYTE>(i & 15)}, 0, 0, nullptr};
  }
  seen->Clear();

  BYTE list[768] = {};
  int count = 0;
  BYTE srcPalette[768];
  GetDibPalette(h, srcPalette);
  const int bits = h->biBitCount;
  std::uint32_t* hist = nullptr;
  std::unique_ptr<std::uint32_t[]> histogram(new (std::nothrow) std::uint32_t[4096]());
  if (!histogram) return 0;
  hist = histogram.get();

  // Bottom row first, as the rows are stored.
  for (int y = 0; y < depth; ++y) {
    ReportProgress(y, depth);
    const BYTE* row = DibBits(h) + DibStride(h) * static_cast<std::size_t>(y);
    for (int x = 0; x < width; ++x) {
      int r, g, b;
      if (bits == 24 || bits == 32) {
        const BYTE* p = row + static_cast<std::size_t>(x) * (bits / 8);
        r = p[2], g = p[1], b = p[0];
      } else {
        int v = bits == 8   ? row[x]
                : bits == 4 ? ((x & 1) ? row[x >> 1] & 15 : row[x >> 1] >> 4)
                            : ((row[x >> 3] & masktable[x & 7]) ? 1 : 0);
        r = srcPalette[3 * v], g = srcPalette[3 * v + 1], b = srcPalette[3 * v + 2];
      }
      ++hist[(r >> 4) * 256 + (g >> 4) * 16 + (b >> 4)];
      if (count != -1) {
        // Same outcome as AddColourToPalette, with the search answered by the set.
        std::uint32_t key = static_cast<std::uint32_t>(RGB(r, g, b));
        if (count >= maximum) {
          count = -1;
        } else if (!seen->Contains(key)) {
          seen->Insert(key);
          list[3 * count] = static_cast<BYTE>(r);
          list[3 * count + 1] = static_cast<BYTE>(g);
          list[3 * count + 2] = static_cast<BYTE>(b);
          ++count;
        }
      }
    }
  }
  for (int i = 0; i < 4096; ++i) cells[i].Count = hist[i];

  if (count != -1) {
    std::memcpy(palette, list, static_cast<std::size_t>(count) * 3);
    *colours = count;
    return 1;
  }

  for (int i = 0; i < 256; ++i) boxes[i] = NEWCOLOUR{{0, 0, 0}, {255, 255, 255}, 0, 0, nullptr};
  COLOURCELL** tail = &boxes[0].First;
  for (int i = 0; i < 4096; ++i)
    if (cells[i].Count) {
      *tail = &cells[i];
      tail = &cells[i].Next;
      ++boxes[0].Cells;
    }
  *tail = nullptr;
  boxes[0].Pixels = static_cast<long long>(width) * depth;

  int boxCount = 1;
  dividemap(boxes.get(), maximum, &boxCount, sortBuffer.get());

  for (int i = boxCount; i < maximum; ++i) std::memset(palette + 3 * i, 0, 3);
  for (int i = 0; i < boxCount; ++i) {
    if (boxes[i].Cells <= 0) continue;
    long long sum[3] = {0, 0, 0};
    for (COLOURCELL* c = boxes[i].First; c; c = c->Next) {
      c->Box = static_cast<BYTE>(i);
      for (int k = 0; k < 3; ++k) sum[k] += c->level[k];
    }
    // The mean of the cells' levels, each cell once however many pixels it holds.
    for (int k = 0; k < 3; ++k) palette[3 * i + k] = static_cast<BYTE>(16 * sum[k] / boxes[i].Cells);
  }
  *colours = boxCount;
  return 1;
}

void SortPalette(BYTE* palette, int count) {
  if (!palette || count < 2) return;
  if (count > 256) count = 256;
  bool swapped = true;
  while (swapped) {
    swapped = false;
    for (int i = 0; i + 1 < count; ++i) {
      BYTE* l = palette + 3 * i;
      BYTE* r = l + 3;
      if (Luminance(l[0], l[1], l[2]) > Luminance(r[0], r[1], r[2])) {
        for (int k = 0; k < 3; ++k) std::swap(l[k], r[k]);
        swapped = true;
      }
    }
  }
}

}  // namespace ochrel
