#include "image/resample.h"

#include <algorithm>
#include <climits>
#include <cstdint>
#include <cmath>
#include <cstring>
#include <vector>

#if defined(__GNUC__) && defined(__x86_64__)
#include <immintrin.h>
#endif

#include "image/fastpath.h"
#include "image/parallel.h"
#include "image/progress.h"

namespace ochrel {

HDIB CreateDibLike(const BITMAPINFOHEADER* s, int width, int height) {
  if (!s) return nullptr;
  BYTE palette[768];
  GetDibPalette(s, palette);
  return CreateDib(width, height, s->biBitCount <= 8 ? palette : nullptr, s->biBitCount);
}

namespace {

// Rows per band when spreading work over the cores; small images stay on one thread.
constexpr int kBand = 32;

// t / k for a sum t of k bytes (t <= 255 k), 2 <= k < 4096, by one multiply:
// with m = ceil(2^32 / k), floor(t m / 2^32) = floor(t / k) because t k < 2^32.
struct ByteSumDivider {
  std::uint64_t m;
  explicit ByteSumDivider(unsigned k) : m(((std::uint64_t{1} << 32) + k - 1) / k) {}
  static bool Fits(unsigned k) { return k >= 2 && k < 4096; }
  unsigned operator()(unsigned t) const { return static_cast<unsigned>((t * m) >> 32); }
};

// Halving a row of 24-bit pixels when every output pixel is the mean of two
// neighbours: floor((a + b) / 2) is what the divider gives for a count of 2.
OCHREL_WIDE_VECTORS
void HalvePairs24(const BYTE* s, BYTE* d, int nw) {
  for (int x = 0; x < nw; ++x)
    for (int c = 0; c < 3; ++c) d[3 * x + c] = static_cast<BYTE>((s[6 * x + c] + s[6 * x + 3 + c]) >> 1);
}

// In blocks of a fixed length, so that the loop vectorises.
OCHREL_WIDE_VECTORS
void HalveRows(const BYTE* __restrict a, const BYTE* __restrict b, BYTE* __restrict d, int n) {
  int i = 0;
  for (; i + 64 <= n; i += 64)
    for (int k = i; k < i + 64; ++k) d[k] = static_cast<BYTE>((a[k] & b[k]) + ((a[k] ^ b[k]) >> 1));
  for (; i < n; ++i) d[i] = static_cast<BYTE>((a[i] & b[i]) + ((a[i] ^ b[i]) >> 1));
}

// Both pair halvings of 24-bit pixels at once, across and then down:
// floor((floor((a + b) / 2) + floor((c + d) / 2)) / 2) for each channel.
void HalveQuarter24Plain(const BYTE* r1, const BYTE* r2, BYTE* d, int x, int nw) {
  for (; x < nw; ++x)
    for (int c = 0; c < 3; ++c) {
      const int top = (r1[6 * x + c] + r1[6 * x + 3 + c]) >> 1, bottom = (r2[6 * x + c] + r2[6 * x + 3 + c]) >> 1;
      d[3 * x + c] = static_cast<BYTE>((top + bottom) >> 1);
    }
}

#if defined(__GNUC__) && defined(__x86_64__)
#define OCHREL_VBMI __attribute__((target("avx512f,avx512bw,avx512vbmi")))
// floor((a + b) / 2) on bytes: (a & b) + ((a ^ b) >> 1).
OCHREL_VBMI inline __m512i MeanBytes(__m512i a, __m512i b) {
  const __m512i halves = _mm512_and_si512(_mm512_srli_epi16(_mm512_xor_si512(a, b), 1), _mm512_set1_epi8(0x7F));
  return _mm512_add_epi8(_mm512_and_si512(a, b), halves);
}

// The pair means of the 16 pixel pairs in the 96 bytes at p: a byte
// permutation picks the left and the right pixel of each pair.
OCHREL_VBMI inline __m512i MeanPairs(const BYTE* p, __m512i left, __m512i right) {
  const __m512i a0 = _mm512_loadu_si512(p), a1 = _mm512_maskz_loadu_epi8(0xFFFFFFFFull, p + 64);
  return MeanBytes(_mm512_permutex2var_epi8(a0, left, a1), _mm512_permutex2var_epi8(a0, right, a1));
}

OCHREL_VBMI void HalveQuarter24Wide(const BYTE* r1, const BYTE* r2, BYTE* d, int nw) {
  alignas(64) BYTE leftIndex[64], rightIndex[64];
  for (int j = 0; j < 64; ++j) {
    leftIndex[j] = static_cast<BYTE>(j < 48 ? (j / 3) * 6 + j % 3 : 0);
    rightIndex[j] = static_cast<BYTE>(j < 48 ? (j / 3) * 6 + j % 3 + 3 : 0);
  }
  const __m512i left = _mm512_load_si512(leftIndex), right = _mm512_load_si512(rightIndex);
  auto sixteen = [&](int x) __attribute__((target("avx512f,avx512bw,avx512vbmi"))) {
    return MeanBytes(MeanPairs(r1 + 6 * x, left, right), MeanPairs(r2 + 6 * x, left, right));
  };
  // Up to the first pixel whose bytes start a cache line (3 x = -d mod 64;
  // 43 is the inverse of 3 mod 64), then 64 pixels as three whole lines
  // streamed past the cache: the output is not read back here, and a line
  // written whole needs no read first.
  const int head = static_cast<int>((0u - reinterpret_cast<std::uintptr_t>(d)) * 43u & 63u);
  int x = 0;
  for (; x + 16 <= nw && (x + 16 <= head || x + 64 > nw); x += 16)
    _mm512_mask_storeu_epi8(d + 3 * x, 0xFFFFFFFFFFFFull, sixteen(x));
  if (x < head) {
    HalveQuarter24Plain(r1, r2, d, x, std::min(head, nw));
    x = std::min(head, nw);
  }
  alignas(64) BYTE join[3][64];
  for (int j = 0; j < 64; ++j) {  // byte j of line k from the 48-byte results a, b (b offset 64)
    join[0][j] = static_cast<BYTE>(j < 48 ? j : 64 + j - 48);
    join[1][j] = static_cast<BYTE>(j < 32 ? 16 + j : 64 + j - 32);
    join[2][j] = static_cast<BYTE>(j < 16 ? 32 + j : 64 + j - 16);
  }
  const __m512i j0 = _mm512_load_si512(join[0]), j1 = _mm512_load_si512(join[1]), j2 = _mm512_load_si512(join[2]);
  bool streamed = false;
  for (; x + 64 <= nw; x += 64) {
    const __m512i a = sixteen(x), b = sixteen(x + 16), c = sixteen(x + 32), e = sixteen(x + 48);
    __m512i* line = reinterpret_cast<__m512i*>(d + 3 * x);
    _mm512_stream_si512(line, _mm512_permutex2var_epi8(a, j0, b));
    _mm512_stream_si512(line + 1, _mm512_permutex2var_epi8(b, j1, c));
    _mm512_stream_si512(line + 2, _mm512_permutex2var_epi8(c, j2, e));
    streamed = true;
  }
  if (streamed) _mm_sfence();
  for (; x + 16 <= nw; x += 16) _mm512_mask_storeu_epi8(d + 3 * x, 0xFFFFFFFFFFFFull, sixteen(x));
  HalveQuarter24Plain(r1, r2, d, x, nw);
}
#endif

bool HalveQuarterAvailable() {
#if defined(__GNUC__) && defined(__x86_64__)
  static const bool have = __builtin_cpu_supports("avx512vbmi") && __builtin_cpu_supports("avx512bw");
  return have && VectorUnit() >= 2;
#else
  return false;
#endif
}

// Rows r1 and r2 hold at least 6 nw bytes.
void HalveQuarter24(const BYTE* r1, const BYTE* r2, BYTE* d, int nw) {
#if defined(__GNUC__) && defined(__x86_64__)
  HalveQuarter24Wide(r1, r2, d, nw);
#else
  HalveQuarter24Plain(r1, r2, d, 0, nw);
#endif
}

OCHREL_WIDE_VECTORS
void DivideSums(const unsigned* sum, int n, std::uint64_t m, BYTE* out) {
  for (int i = 0; i < n; ++i) out[i] = static_cast<BYTE>((sum[i] * m) >> 32);
}

bool ByteDepth(int bits) { return bits == 8 || bits == 24 || bits == 32; }

// New length of an axis, or 0 when it would not be a usable size.
int ScaledLength(int length, int percentage) {
  if (percentage <= 0) return 0;
  long long n = static_cast<long long>(length) * percentage / 100;
  return n > 0 && n <= INT_MAX ? static_cast<int>(n) : 0;
}

// Runs a step that allocates working tables; false if memory ran out, so that
// no exception reaches the caller.
template <class F>
bool Plan(F f) {
  try {
    f();
    return true;
  } catch (...) {
    return false;
  }
}

// ---- Interpolating scale-up ---------------------------------------------------
// The scale-up writes segments that overlap (each segment's first sample
// overwrites the copy the previous step left at its position), so the result
// of every output sample is worked out once per axis; rows are then independent.
struct UpStep {
  int a = 0;       // source index of the left sample (the right one is a + 1)
  int n = -1;      // segment length; 0 means a plain copy of source a, -1 untouched
  int j = 0;       // position in the segment
  int table = -1;  // offset of the step's two 256-entry tables, -1 for none
};

// The two truncated terms of a step as lookup tables, for the short segments
// that any sensible percentage makes; long ones divide.
constexpr int kTabledSegment = 64;

// Sixteen output pixels of a row across whose every byte is its left sample,
// its right one, or the sum of their halves (a term k * v / n with k of 0, n
// or n / 2 is 0, v or v >> 1), all from one 64-byte window of the source row.
struct UpChunk {
  int start = -1;  // the window's first source byte; -1 when the chunk is not of that kind
  std::uint64_t full[2] = {}, half[2] = {}, touched = 0;  // per output byte, left then right
  BYTE index[2][64] = {};                                 // left and right samples in the window
};

struct UpPlan {
  std::vector<UpStep> steps;
  std::vector<BYTE> tables;
  std::vector<UpChunk> chunks;  // empty: no chunk form
  std::size_t sourceBytes = 0;
};

UpPlan PlanScaleUp(int length, int newLength, int percentage, bool copyLast) {
  UpPlan up;
  std::vector<UpStep>& plan = up.steps;
  plan.resize(static_cast<std::size_t>(newLength));
  // The adjusted percentage pushes the last source sample past the end, so
  // that no gap stays at the far side.
  long long P = percentage % 100 ? percentage + percentage / 100 + 1 : percentage + percentage / 100;
  plan[0] = UpStep{0, 0, 0};
  long long prev = 0;
  for (int i = 1; i < length; ++i) {
    long long pos = P * i / 100;
    long long n = pos - prev;
    for (long long j = 0; j < n && prev + j < newLength; ++j)
      plan[static_cast<std::size_t>(prev + j)] = UpStep{i - 1, static_cast<int>(n), static_cast<int>(j)};
    if (pos >= 0 && pos < newLength) plan[static_cast<std::size_t>(pos)] = UpStep{i, 0, 0};
    prev = pos;
  }
  if (copyLast) plan[static_cast<std::size_t>(newLength - 1)] = UpStep{length - 1, 0, 0};

  std::vector<int> offset((kTabledSegment + 1) * kTabledSegment, -1);
  for (UpStep& st : plan) {
    if (st.n <= 0 || st.n > kTabledSegment) continue;
    int& o = offset[static_cast<std::size_t>(st.n * kTabledSegment + st.j)];
    if (o < 0) {
      o = static_cast<int>(up.tables.size());
      for (int v = 0; v < 256; ++v) up.tables.push_back(static_cast<BYTE>((st.n - st.j - 1) * v / st.n));
      for (int v = 0; v < 256; ++v) up.tables.push_back(static_cast<BYTE>((st.j + 1) * v / st.n));
    }
    st.table = o;
  }
  return up;
}

inline int UpValue(const UpStep& s, int a, int b) { return ((s.n - s.j - 1) * a / s.n + (s.j + 1) * b / s.n) & 255; }

// The same value through the step's tables: the two terms never add up to
// more than the larger sample, so no wrap is possible there.
inline int UpValue(const UpStep& s, const BYTE* tables, int a, int b) {
  if (s.table < 0) return UpValue(s, a, b);
  const BYTE* t = tables + s.table;
  return t[a] + t[256 + b];
}

// ---- Averaging scale-down ------------------------------------------------------
struct DownStep {
  int start = 0;
  int count = 0;  // samples actually added (0 gives a zero result)
};

std::vector<DownStep> PlanScaleDown(int length, int newLength, int percentage) {
  std::vector<DownStep> plan(static_cast<std::size_t>(newLength));
  long long start = 0;
  for (int i = 0; i < newLength; ++i) {
    long long end = static_cast<long long>(i + 1) * 100 / percentage;
    long long n = end - start;
    long long k = std::max<long long>(0, std::min<long long>(n, length - start));
    plan[static_cast<std::size_t>(i)] =
        DownStep{static_cast<int>(std::min<long long>(start, length)), static_cast<int>(k)};
    start = end;
  }
  return plan;
}

}  // namespace

namespace {

// One row of the interpolating scale-up across: nw pixels of ch bytes (the
// channel count fixed at compile time, so that the channel loop unrolls).
template <int ch>
void UpAcrossRowOf(const UpPlan& up, int x0, int x1, const BYTE* S, BYTE* D) {
  const BYTE* tables = up.tables.data();
  D += static_cast<std::size_t>(x0) * ch;
  for (int x = x0; x < x1; ++x, D += ch) {
    const UpStep& p = up.steps[static_cast<std::size_t>(x)];
    if (p.n == 0) {
      std::memcpy(D, S + static_cast<std::size_t>(p.a) * ch, static_cast<std::size_t>(ch));
    } else if (p.n > 0) {
      const BYTE* A = S + static_cast<std::size_t>(p.a) * ch;
      if (p.table >= 0) {
        const BYTE* t = tables + p.table;
        for (int c = 0; c < ch; ++c) D[c] = static_cast<BYTE>(t[A[c]] + t[256 + A[c + ch]]);
      } else {
        for (int c = 0; c < ch; ++c) D[c] = static_cast<BYTE>(UpValue(p, A[c], A[c + ch]));
      }
    }
  }
}

void UpAcrossPixels(const UpPlan& up, int ch, int x0, int x1, const BYTE* S, BYTE* D) {
  if (ch == 3) UpAcrossRowOf<3>(up, x0, x1, S, D);
  else if (ch == 1) UpAcrossRowOf<1>(up, x0, x1, S, D);
  else UpAcrossRowOf<4>(up, x0, x1, S, D);
}

constexpr int kUpChunk = 16;

// The chunks of a row of w pixels of ch bytes, where the processor can permute
// bytes; a chunk that does not fit stays with the per-pixel form.
void PlanUpChunks(UpPlan& up, int ch, int w) {
  if (!HalveQuarterAvailable()) return;
  const int nw = static_cast<int>(up.steps.size());
  up.sourceBytes = static_cast<std::size_t>(w) * ch;
  up.chunks.resize(static_cast<std::size_t>((nw + kUpChunk - 1) / kUpChunk));
  for (std::size_t k = 0; k < up.chunks.size(); ++k) {
    UpChunk& c = up.chunks[k];
    const int x0 = static_cast<int>(k) * kUpChunk, x1 = std::min(nw, x0 + kUpChunk);
    int lo = INT_MAX, hi = -1;
    for (int x = x0; x < x1; ++x) {
      const UpStep& p = up.steps[static_cast<std::size_t>(x)];
      if (p.n < 0) continue;
      lo = std::min(lo, p.a * ch);
      hi = std::max(hi, (p.a + (p.n > 0 ? 2 : 1)) * ch - 1);
    }
    bool fits = hi < 0 || hi - lo < 64;
    for (int x = x0; x < x1 && fits; ++x) {
      const UpStep& p = up.steps[static_cast<std::size_t>(x)];
      if (p.n < 0) continue;
      // The two terms' multipliers: a copy is the left sample whole.
      const int k2[2] = {p.n == 0 ? 1 : p.n - p.j - 1, p.n == 0 ? 0 : p.j + 1}, n = p.n == 0 ? 1 : p.n;
      for (int b = 0; b < ch; ++b) {
        const int i = (x - x0) * ch + b;
        c.touched |= 1ull << i;
        for (int t = 0; t < 2; ++t) {
          c.index[t][i] = static_cast<BYTE>((p.a + (p.n > 0 ? t : 0)) * ch + b - lo);
          if (k2[t] == n) c.full[t] |= 1ull << i;
          else if (2 * k2[t] == n) c.half[t] |= 1ull << i;
          else if (k2[t] != 0) fits = false;
        }
      }
    }
    c.start = fits ? std::max(lo, 0) : -1;
    if (hi < 0) c.start = 0;
  }
}

#if defined(__GNUC__) && defined(__x86_64__)
#pragma GCC diagnostic push
// GCC's own headers start the permutes from an undefined vector.
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
OCHREL_VBMI void UpAcrossRowWide(const UpPlan& up, int ch, int nw, const BYTE* S, BYTE* D) {
  const __m512i low7 = _mm512_set1_epi8(0x7f);
  for (std::size_t k = 0; k < up.chunks.size(); ++k) {
    const UpChunk& c = up.chunks[k];
    const int x0 = static_cast<int>(k) * kUpChunk;
    if (c.start < 0) {
      UpAcrossPixels(up, ch, x0, std::min(nw, x0 + kUpChunk), S, D);
      continue;
    }
    // Only the row's own bytes are read.
    const std::size_t left = up.sourceBytes - static_cast<std::size_t>(c.start);
    const __m512i window = _mm512_maskz_loadu_epi8(left >= 64 ? ~0ull : (1ull << left) - 1, S + c.start);
    const __m512i a = _mm512_permutexvar_epi8(_mm512_loadu_si512(c.index[0]), window);
    const __m512i b = _mm512_permutexvar_epi8(_mm512_loadu_si512(c.index[1]), window);
    __m512i u = _mm512_maskz_mov_epi8(c.full[0], a), v = _mm512_maskz_mov_epi8(c.full[1], b);
    u = _mm512_mask_mov_epi8(u, c.half[0], _mm512_and_si512(_mm512_srli_epi16(a, 1), low7));
    v = _mm512_mask_mov_epi8(v, c.half[1], _mm512_and_si512(_mm512_srli_epi16(b, 1), low7));
    // The two terms never add up to more than the larger sample.
    _mm512_mask_storeu_epi8(D + static_cast<std::size_t>(x0) * ch, c.touched, _mm512_add_epi8(u, v));
  }
}
#pragma GCC diagnostic pop
#endif

void UpAcrossRow(const UpPlan& up, int ch, int nw, const BYTE* S, BYTE* D) {
#if defined(__GNUC__) && defined(__x86_64__)
  if (!up.chunks.empty()) {
    UpAcrossRowWide(up, ch, nw, S, D);
    return;
  }
#endif
  UpAcrossPixels(up, ch, 0, nw, S, D);
}

#if defined(__GNUC__) && defined(__x86_64__)
// 64 bytes through a 256-entry table: two 128-entry permutes, chosen by the
// top bit of each index.
OCHREL_VBMI inline __m512i LookUp(const __m512i t[4], __m512i index) {
  const __m512i low = _mm512_permutex2var_epi8(t[0], index, t[1]);
  const __m512i high = _mm512_permutex2var_epi8(t[2], index, t[3]);
  return _mm512_mask_blend_epi8(_mm512_movepi8_mask(index), low, high);
}

OCHREL_VBMI void TwoTablesWide(const BYTE* ta, const BYTE* tb, const BYTE* A, const BYTE* B, BYTE* D, int n) {
  __m512i a[4], b[4];
  for (int k = 0; k < 4; ++k) {
    a[k] = _mm512_loadu_si512(ta + 64 * k);
    b[k] = _mm512_loadu_si512(tb + 64 * k);
  }
  int i = 0;
  for (; i + 64 <= n; i += 64)
    _mm512_storeu_si512(D + i,
                        _mm512_add_epi8(LookUp(a, _mm512_loadu_si512(A + i)), LookUp(b, _mm512_loadu_si512(B + i))));
  for (; i < n; ++i) D[i] = static_cast<BYTE>(ta[A[i]] + tb[B[i]]);
}

OCHREL_VBMI void HalvesWide(const BYTE* A, const BYTE* B, BYTE* D, int n) {
  const __m512i low7 = _mm512_set1_epi8(0x7f);
  for (int i = 0; i < n; i += 64) {
    const __mmask64 m = n - i >= 64 ? ~0ull : (1ull << (n - i)) - 1;
    const __m512i a = _mm512_and_si512(_mm512_srli_epi16(_mm512_maskz_loadu_epi8(m, A + i), 1), low7);
    const __m512i b = _mm512_and_si512(_mm512_srli_epi16(_mm512_maskz_loadu_epi8(m, B + i), 1), low7);
    _mm512_mask_storeu_epi8(D + i, m, _mm512_add_epi8(a, b));
  }
}
#endif

// D[i] = ta[A[i]] + tb[B[i]] (mod 256) over n bytes.
void TwoTables(const BYTE* ta, const BYTE* tb, const BYTE* A, const BYTE* B, BYTE* D, int n) {
#if defined(__GNUC__) && defined(__x86_64__)
  if (FastPaths() && HalveQuarterAvailable()) {
    TwoTablesWide(ta, tb, A, B, D, n);
    return;
  }
#endif
  for (int i = 0; i < n; ++i) D[i] = static_cast<BYTE>(ta[A[i]] + tb[B[i]]);
}

// One output row of the interpolating scale-up down the rows of byte pixels,
// from rows A (the step's row) and B (the one after it) of w pixels.
void UpDownRow(const UpPlan& up, const UpStep& p, int bits, int w, const BYTE* A, const BYTE* B, BYTE* D) {
  const BYTE* tables = up.tables.data();
  if (bits == 8 || bits == 24) {
    const int n = w * (bits / 8);
    if (p.table >= 0 && FastPaths() && p.j + 1 == p.n) {
      std::memcpy(D, B, static_cast<std::size_t>(n));  // 0 * a / n + n * b / n
#if defined(__GNUC__) && defined(__x86_64__)
    } else if (p.table >= 0 && FastPaths() && 2 * (p.n - p.j - 1) == p.n && HalveQuarterAvailable()) {
      HalvesWide(A, B, D, n);  // (a >> 1) + (b >> 1)
#endif
    } else if (p.table >= 0) {
      TwoTables(tables + p.table, tables + p.table + 256, A, B, D, n);
    } else {
      for (int i = 0; i < n; ++i) D[i] = static_cast<BYTE>(UpValue(p, A[i], B[i]));
    }
  } else {
    // Pixel values carry three channels; the fourth byte stays zero.
    for (int x = 0; x < w; ++x, A += 4, B += 4, D += 4)
      for (int c = 0; c < 3; ++c) D[c] = static_cast<BYTE>(UpValue(p, tables, A[c], B[c]));
  }
}

}  // namespace

HDIB ScaleUpHorizontal(const HDIB& image, int percentage) {
  const BITMAPINFOHEADER* s = LockDib(image);
  if (!s || !ByteDepth(s->biBitCount)) return nullptr;
  int w = s->biWidth, h = s->biHeight, nw = ScaledLength(w, percentage);
  if (nw <= 0) return nullptr;
  HDIB out = CreateDibLike(s, nw, h);
  BITMAPINFOHEADER* o = LockDib(out);
  if (!o) return nullptr;
  const int ch = s->biBitCount / 8;
  UpPlan up;
  if (!Plan([&] {
        up = PlanScaleUp(w, nw, percentage, true);
        if (FastPaths()) PlanUpChunks(up, ch, w);
      }))
    return nullptr;
  ParallelBands(h, kBand, [&](int y0, int y1) {
    for (int y = y0; y < y1; ++y) UpAcrossRow(up, ch, nw, DibRow(s, y), DibRow(o, y));
  });
  return out;
}

HDIB ScaleUpVertical(const HDIB& image, int percentage) {
  const BITMAPINFOHEADER* s = LockDib(image);
  if (!s) return nullptr;
  int w = s->biWidth, h = s->biHeight, nh = ScaledLength(h, percentage);
  if (nh <= 0 || w <= 0) return nullptr;
  HDIB out = CreateDibLike(s, w, nh);
  BITMAPINFOHEADER* o = LockDib(out);
  if (!o) return nullptr;
  const int bits = s->biBitCount;
  // True-colour columns end with what the last interpolation left; only the
  // single-value branch copies the last sample.
  const bool trueColour = bits > 8;
  UpPlan up;
  if (!Plan([&] { up = PlanScaleUp(h, nh, percentage, !trueColour); })) return nullptr;
  const std::vector<UpStep>& plan = up.steps;
  const BYTE* tables = up.tables.data();
  ParallelBands(nh, kBand, [&](int y0, int y1) {
    for (int y = y0; y < y1; ++y) {
      const UpStep& p = plan[static_cast<std::size_t>(y)];
      if (p.n < 0) continue;
      if (p.n == 0) {
        std::memcpy(DibRow(o, y), DibRow(s, p.a), DibStride(s));
        continue;
      }
      if (ByteDepth(bits)) {
        UpDownRow(up, p, bits, w, DibRow(s, p.a), DibRow(s, p.a + 1), DibRow(o, y));
      } else {
        for (int x = 0; x < w; ++x) {
          int a = static_cast<int>(GetDibPixel(s, x, p.a)), b = static_cast<int>(GetDibPixel(s, x, p.a + 1));
          PutDibPixel(o, x, y, static_cast<std::uint32_t>(UpValue(p, tables, a, b)));
        }
      }
    }
  });
  return out;
}

HDIB ScaleUp(const HDIB& image, int horizontal, int vertical) {
  const BITMAPINFOHEADER* s = LockDib(image);
  if (!s || !FastPaths() || !ByteDepth(s->biBitCount)) {
    ProgressStage stage(0.0, 0.5);
    HDIB across = ScaleUpHorizontal(image, horizontal);
    if (!across) return nullptr;
    stage.Move(0.5, 1.0);
    return ScaleUpVertical(across, vertical);
  }
  const int w = s->biWidth, h = s->biHeight, bits = s->biBitCount, ch = bits / 8;
  const int nw = ScaledLength(w, horizontal), nh = ScaledLength(h, vertical);
  if (nw <= 0 || nh <= 0) return nullptr;
  HDIB out = CreateDibLike(s, nw, nh);
  BITMAPINFOHEADER* o = LockDib(out);
  if (!o) return nullptr;
  UpPlan across, down;
  if (!Plan([&] {
        across = PlanScaleUp(w, nw, horizontal, true);
        PlanUpChunks(across, ch, w);
        down = PlanScaleUp(h, nh, vertical, bits <= 8);
      }))
    return nullptr;
  // Samples the plan leaves untouched are zero in the wide picture.
  bool gaps = false;
  for (const UpStep& st : across.steps) gaps = gaps || st.n < 0;
  const std::size_t rowBytes = static_cast<std::size_t>(nw) * ch;
  bool failed = false;
  ParallelBands(nh, kBand, [&](int y0, int y1) {
    // Rows of the wide picture, each worked out once and kept while the
    // output rows still read them.
    std::vector<BYTE> buffer;
    if (!Plan([&] { buffer.resize(2 * rowBytes); })) {
      failed = true;
      return;
    }
    int held[2] = {-1, -1};
    auto wide = [&](int row) -> const BYTE* {
      for (int k = 0; k < 2; ++k)
        if (held[k] == row) return buffer.data() + k * rowBytes;
      // Replace the row that is not the one before `row`.
      const int k = held[0] == row - 1 ? 1 : 0;
      BYTE* t = buffer.data() + k * rowBytes;
      if (gaps) std::memset(t, 0, rowBytes);
      UpAcrossRow(across, ch, nw, DibRow(s, row), t);
      held[k] = row;
      return t;
    };
    for (int y = y0; y < y1; ++y) {
      const UpStep& p = down.steps[static_cast<std::size_t>(y)];
      if (p.n < 0) continue;
      if (p.n == 0) {
        std::memcpy(DibRow(o, y), wide(p.a), rowBytes);
        continue;
      }
      const BYTE* A = wide(p.a);
      const BYTE* B = wide(p.a + 1);
      UpDownRow(down, p, bits, nw, A, B, DibRow(o, y));
    }
  });
  if (failed) return nullptr;
  return out;
}

namespace {

// The averaging across a row, for one row at a time.
struct DownAcross {
  int ch = 0, sums = 0, nw = 0;
  bool quick = false, pairs = false;
  std::vector<DownStep> plan;
  std::vector<ByteSumDivider> dividers;

  // False if memory ran out.
  bool Prepare(int bits, int w, int newWidth, int percentage) {
    ch = bits / 8;
    sums = ch == 1 ? 1 : 3;
    nw = newWidth;
    quick = FastPaths();
    return Plan([&] {
      plan = PlanScaleDown(w, nw, percentage);
      pairs = quick && ch == 3;
      if (quick)
        for (std::size_t x = 0; x < plan.size(); ++x) {
          dividers.emplace_back(static_cast<unsigned>(plan[x].count ? plan[x].count : 1));
          pairs = pairs && plan[x].count == 2 && plan[x].start == 2 * static_cast<int>(x);
        }
    });
  }

  void Row(const BYTE* S, BYTE* D) const {
    if (pairs) {
      HalvePairs24(S, D, nw);
      return;
    }
    if (quick && sums == 3) {
      for (int x = 0; x < nw; ++x, D += ch) {
        const DownStep& p = plan[static_cast<std::size_t>(x)];
        const BYTE* q = S + static_cast<std::size_t>(p.start) * ch;
        unsigned t0 = 0, t1 = 0, t2 = 0;
        for (int i = 0; i < p.count; ++i, q += ch) t0 += q[0], t1 += q[1], t2 += q[2];
        const ByteSumDivider& d = dividers[static_cast<std::size_t>(x)];
        if (ByteSumDivider::Fits(static_cast<unsigned>(p.count))) {
          D[0] = static_cast<BYTE>(d(t0)), D[1] = static_cast<BYTE>(d(t1)), D[2] = static_cast<BYTE>(d(t2));
        } else {
          const unsigned div = p.count ? static_cast<unsigned>(p.count) : 1u;
          D[0] = static_cast<BYTE>(t0 / div), D[1] = static_cast<BYTE>(t1 / div), D[2] = static_cast<BYTE>(t2 / div);
        }
      }
      return;
    }
    for (int x = 0; x < nw; ++x, D += ch) {
      const DownStep& p = plan[static_cast<std::size_t>(x)];
      const BYTE* q = S + static_cast<std::size_t>(p.start) * ch;
      int k = p.count;
      unsigned t[3] = {0, 0, 0};
      for (int i = 0; i < k; ++i, q += ch)
        for (int c = 0; c < sums; ++c) t[c] += q[c];
      int div = k ? k : 1;
      for (int c = 0; c < sums; ++c) D[c] = static_cast<BYTE>(t[c] / static_cast<unsigned>(div));
    }
  }
};

// The averaging down the rows of byte pixels: output row D (n bytes) from the
// `count` rows at rows[0..count).
void DownRows(const BYTE* const* rows, int count, int bits, int n, BYTE* D, std::vector<unsigned>& sum) {
  const unsigned div = count ? static_cast<unsigned>(count) : 1u;
  if (FastPaths() && bits != 32 && count == 2) {
    // floor((a + b) / 2) of each pair of rows, as the sum and divider give it.
    HalveRows(rows[0], rows[1], D, n);
    return;
  }
  sum.assign(static_cast<std::size_t>(n), 0u);
  for (int r = 0; r < count; ++r) {
    const BYTE* S = rows[r];
    for (int i = 0; i < n; ++i) sum[static_cast<std::size_t>(i)] += S[i];
  }
  if (FastPaths() && bits != 32 && ByteSumDivider::Fits(div)) {
    DivideSums(sum.data(), n, ByteSumDivider(div).m, D);
    return;
  }
  for (int i = 0; i < n; ++i)
    D[i] = (bits == 32 && (i & 3) == 3) ? 0 : static_cast<BYTE>(sum[static_cast<std::size_t>(i)] / div);
}

}  // namespace

HDIB ScaleDownHorizontal(const HDIB& image, int percentage) {
  const BITMAPINFOHEADER* s = LockDib(image);
  if (!s || !ByteDepth(s->biBitCount)) return nullptr;
  int w = s->biWidth, h = s->biHeight, nw = ScaledLength(w, percentage);
  if (nw <= 0) return nullptr;
  HDIB out = CreateDibLike(s, nw, h);
  BITMAPINFOHEADER* o = LockDib(out);
  if (!o) return nullptr;
  DownAcross across;
  if (!across.Prepare(s->biBitCount, w, nw, percentage)) return nullptr;
  ParallelBands(h, kBand, [&](int y0, int y1) {
    for (int y = y0; y < y1; ++y) across.Row(DibRow(s, y), DibRow(o, y));
  });
  return out;
}

HDIB ScaleDownVertical(const HDIB& image, int percentage) {
  const BITMAPINFOHEADER* s = LockDib(image);
  if (!s) return nullptr;
  int w = s->biWidth, h = s->biHeight, nh = ScaledLength(h, percentage);
  if (nh <= 0 || w <= 0) return nullptr;
  HDIB out = CreateDibLike(s, w, nh);
  BITMAPINFOHEADER* o = LockDib(out);
  if (!o) return nullptr;
  const int bits = s->biBitCount;
  std::vector<DownStep> plan;
  if (!Plan([&] { plan = PlanScaleDown(h, nh, percentage); })) return nullptr;
  ParallelBands(nh, kBand, [&](int y0, int y1) {
    std::vector<unsigned> sum;
    std::vector<const BYTE*> rows;
    for (int y = y0; y < y1; ++y) {
      const DownStep& p = plan[static_cast<std::size_t>(y)];
      const unsigned div = p.count ? static_cast<unsigned>(p.count) : 1u;
      if (ByteDepth(bits)) {
        rows.clear();
        for (int r = 0; r < p.count; ++r) rows.push_back(DibRow(s, p.start + r));
        DownRows(rows.data(), p.count, bits, w * (bits / 8), DibRow(o, y), sum);
      } else {
        for (int x = 0; x < w; ++x) {
          unsigned t = 0;
          for (int r = 0; r < p.count; ++r) t += GetDibPixel(s, x, p.start + r);
          PutDibPixel(o, x, y, t / div);
        }
      }
    }
  });
  return out;
}

HDIB ScaleDown(const HDIB& image, int horizontal, int vertical) {
  const BITMAPINFOHEADER* s = LockDib(image);
  if (!s || !FastPaths() || !ByteDepth(s->biBitCount)) {
    ProgressStage stage(0.0, 0.5);
    HDIB across = ScaleDownHorizontal(image, horizontal);
    if (!across) return nullptr;
    stage.Move(0.5, 1.0);
    return ScaleDownVertical(across, vertical);
  }
  const int w = s->biWidth, h = s->biHeight, bits = s->biBitCount;
  const int nw = ScaledLength(w, horizontal), nh = ScaledLength(h, vertical);
  if (nw <= 0 || nh <= 0) return nullptr;
  BYTE palette[768];
  GetDibPalette(s, palette);
  // Every row is written below, its padding cleared with it.
  HDIB out = CreateDibUncleared(nw, nh, bits <= 8 ? palette : nullptr, bits);
  BITMAPINFOHEADER* o = LockDib(out);
  if (!o) return nullptr;
  const std::size_t stride = DibStride(o);
  DownAcross across;
  std::vector<DownStep> plan;
  if (!across.Prepare(bits, w, nw, horizontal) || !Plan([&] { plan = PlanScaleDown(h, nh, vertical); })) return nullptr;
  const std::size_t rowBytes = static_cast<std::size_t>(nw) * (bits / 8);
  const bool quarter = across.pairs && nw >= 1 && HalveQuarterAvailable();
  bool failed = false;
  ParallelBands(nh, kBand, [&](int y0, int y1) {
    // Each output row from its own source rows, each first averaged across
    // into a row of the narrow picture, exactly as the two passes would.
    std::vector<BYTE> narrow;
    std::vector<unsigned> sum;
    std::vector<const BYTE*> rows;
    for (int y = y0; y < y1; ++y) {
      const DownStep& p = plan[static_cast<std::size_t>(y)];
      std::memset(DibRow(o, y) + rowBytes, 0, stride - rowBytes);
      if (quarter && p.count == 2 && bits == 24) {
        HalveQuarter24(DibRow(s, p.start), DibRow(s, p.start + 1), DibRow(o, y), nw);
        continue;
      }
      if (!Plan([&] { narrow.resize(rowBytes * static_cast<std::size_t>(std::max(p.count, 1))); })) {
        failed = true;
        return;
      }
      rows.clear();
      for (int r = 0; r < p.count; ++r) {
        BYTE* t = narrow.data() + rowBytes * static_cast<std::size_t>(r);
        across.Row(DibRow(s, p.start + r), t);
        rows.push_back(t);
      }
      DownRows(rows.data(), p.count, bits, static_cast<int>(rowBytes), DibRow(o, y), sum);
    }
  });
  if (failed) return nullptr;
  return out;
}

namespace {

// Builds an image of size (nw, nh) whose pixel (X, Y) is the source's pixel at
// map(X, Y), both with y = 0 at the top. Byte depths go by pointer, the packed
// ones pixel by pixel.
template <class Map>
HDIB Remap(const BITMAPINFOHEADER* s, int nw, int nh, Map map) {
  HDIB out = CreateDibLike(s, nw, nh);
  BITMAPINFOHEADER* o = LockDib(out);
  if (!o) return nullptr;
  const int bits = s->biBitCount;
  ParallelBands(nh, kBand, [&](int y0, int y1) {
    for (int Y = y0; Y < y1; ++Y) {
      if (ByteDepth(bits)) {
        const int ch = bits / 8;
        BYTE* D = DibRow(o, Y);
        for (int X = 0; X < nw; ++X, D += ch) {
          auto [x, y] = map(X, Y);
          std::memcpy(D, DibRow(s, y) + static_cast<std::size_t>(x) * ch, static_cast<std::size_t>(ch));
        }
      } else {
        for (int X = 0; X < nw; ++X) {
          auto [x, y] = map(X, Y);
          PutDibPixel(o, X, Y, GetDibPixel(s, x, y));
        }
      }
    }
  });
  return out;
}

struct XY {
  int x, y;
};

}  // namespace

HDIB ResizeNearest(const HDIB& image, int percentage) {
  const BITMAPINFOHEADER* s = LockDib(image);
  if (!s) return nullptr;
  int nw = ScaledLength(s->biWidth, percentage), nh = ScaledLength(s->biHeight, percentage);
  if (nw <= 0 || nh <= 0) return nullptr;
  // The sample positions accumulate the step, as they always have; computing
  // i * step instead would move some of them by one.
  const double step = 1.0 / (percentage * 0.01);
  std::vector<int> X, Y;
  if (!Plan([&] {
        X.resize(static_cast<std::size_t>(nw));
        Y.resize(static_cast<std::size_t>(nh));
      }))
    return nullptr;
  double position = 0.0;
  for (int i = 0; i < nw; ++i, position += step) X[static_cast<std::size_t>(i)] = static_cast<int>(position);
  position = 0.0;
  for (int j = 0; j < nh; ++j, position += step) Y[static_cast<std::size_t>(j)] = static_cast<int>(position);
  // Positions are below the old size except through rounding; keep them inside.
  for (int& v : X) v = std::min(v, s->biWidth - 1);
  for (int& v : Y) v = std::min(v, s->biHeight - 1);
  return Remap(s, nw, nh, [&](int i, int j) {
    return XY{X[static_cast<std::size_t>(i)], Y[static_cast<std::size_t>(j)]};
  });
}

HDIB ResizeDib(const HDIB& image, int percentage) {
  int type = GetImageType(image);
  if (type == IMAGE_NONE) return nullptr;
  if (type != IMAGE_TRUECOLOUR && type != IMAGE_GREY) return ResizeNearest(image, percentage);
  if (percentage < 100) return ScaleDown(image, percentage, percentage);
  if (percentage > 100) return ScaleUp(image, percentage, percentage);
  ProgressStage stage(0.0, 0.5);
  HDIB horizontal = percentage > 100   ? ScaleUpHorizontal(image, percentage)
                    : percentage < 100 ? ScaleDownHorizontal(image, percentage)
                                       : DuplicateObject(image);
  if (!horizontal) return nullptr;
  stage.Move(0.5, 1.0);
  return percentage > 100   ? ScaleUpVertical(horizontal, percentage)
         : percentage < 100 ? ScaleDownVertical(horizontal, percentage)
                            : DuplicateObject(horizontal);
}

HDIB RotateImage90(const HDIB& image) {
  const BITMAPINFOHEADER* s = LockDib(image);
  if (!s) return nullptr;
  int h = s->biHeight;
  return Remap(s, h, s->biWidth, [h](int X, int Y) { return XY{Y, h - 1 - X}; });
}

HDIB RotateImage270(const HDIB& image) {
  const BITMAPINFOHEADER* s = LockDib(image);
  if (!s) return nullptr;
  int w = s->biWidth;
  return Remap(s, s->biHeight, w, [w](int X, int Y) { return XY{w - 1 - Y, X}; });
}

HDIB RotateImage180(const HDIB& image) {
  const BITMAPINFOHEADER* s = LockDib(image);
  if (!s) return nullptr;
  int w = s->biWidth, h = s->biHeight;
  return Remap(s, w, h, [w, h](int X, int Y) { return XY{w - 1 - X, h - 1 - Y}; });
}

HDIB FlipImageHorizontal(const HDIB& image) {
  const BITMAPINFOHEADER* s = LockDib(image);
  if (!s) return nullptr;
  int w = s->biWidth;
  return Remap(s, w, s->biHeight, [w](int X, int Y) { return XY{w - 1 - X, Y}; });
}

HDIB FlipImageVertical(const HDIB& image) {
  const BITMAPINFOHEADER* s = LockDib(image);
  if (!s) return nullptr;
  int h = s->biHeight;
  return Remap(s, s->biWidth, h, [h](int X, int Y) { return XY{X, h - 1 - Y}; });
}

bool RotatedSize(int w, int h, double c, double sn, int* nw, int* nh) {
  const int cx = w / 2, cy = h / 2;
  const double px[4] = {-static_cast<double>(cx), -static_cast<double>(cx), static_cast<double>(w - cx),
                        static_cast<double>(w - cx)};
  const double py[4] = {-static_cast<double>(cy), static_cast<double>(h - cy), -static_cast<double>(cy),
                        static_cast<double>(h - cy)};
  double minx = 0, maxx = 0, miny = 0, maxy = 0;
  for (int k = 0; k < 4; ++k) {
    double x = px[k] * c - py[k] * sn, y = py[k] * c + px[k] * sn;
    if (k == 0 || x < minx) minx = x;
    if (k == 0 || x > maxx) maxx = x;
    if (k == 0 || y < miny) miny = y;
    if (k == 0 || y > maxy) maxy = y;
  }
  double fw = maxx - minx, fh = maxy - miny;
  if (!(fw >= 1.0 && fh >= 1.0 && fw < INT_MAX && fh < INT_MAX)) return false;
  *nw = static_cast<int>(fw);
  *nh = static_cast<int>(fh);
  return true;
}

HDIB FreeRotateImageFilter(const HDIB& image, int angle, int flags, COLORREF background) {
  const BITMAPINFOHEADER* s = LockDib(image);
  if (!s) return nullptr;
  const int type = GetImageType(s);
  if (type != IMAGE_TRUECOLOUR && type != IMAGE_GREY) flags &= ~ROTATE_INTERPOLATE;
  const int w = s->biWidth, h = s->biHeight, bits = s->biBitCount;
  const double radians = angle * kDegreesToRadians;
  const double c = std::cos(radians), sn = std::sin(radians);
  int nw = w, nh = h;
  if (!(flags & ROTATE_KEEPSIZE) && !RotatedSize(w, h, c, sn, &nw, &nh)) return nullptr;
  HDIB out = CreateDibLike(s, nw, nh);
  BITMAPINFOHEADER* o = LockDib(out);
  if (!o) return nullptr;
  // At 8 bits and fewer the background is an index: the colour's luminance + 1.
  std::uint32_t bg = bits <= 8 ? static_cast<std::uint32_t>(Luminance(background) + 1) : background;
  const bool interpolate = flags & ROTATE_INTERPOLATE;
  const int hw = w / 2, hh = h / 2, hnw = nw / 2, hnh = nh / 2;

  // Pixel reads without a call per pixel for the byte depths.
  const BYTE* const base = DibBits(s);
  const std::size_t stride = DibStride(s);
  auto read = [&](int x, int y) -> std::uint32_t {
    if (x < 0 || y < 0 || x >= w || y >= h) return NOPIXEL;
    const BYTE* row = base + stride * static_cast<std::size_t>(h - 1 - y);
    if (bits == 24) {
      const BYTE* p = row + 3 * static_cast<std::size_t>(x);
      return RGB(p[2], p[1], p[0]);
    }
    if (bits == 8) return row[x];
    return GetDibPixel(s, x, y);
  };

  auto channel = [](int A, int B, int C, int D, double fx, double fy) {
    double top = A + (B - A) * fx;
    double bottom = C + (D - C) * fx;
    return static_cast<int>(0.5 + top + (bottom - top) * fy) & 255;
  };

  ParallelBands(nh, kBand, [&](int y0, int y1) {
    for (int y = y0; y < y1; ++y) {
      BYTE* D = DibRow(o, y);
      const double Y = y - hnh;
      for (int x = 0; x < nw; ++x) {
        const double X = x - hnw;
        const double sx = hw + X * c - Y * sn;
        const double sy = hh + Y * c + X * sn;
        // Out-of-range positions only ever fall on the background; keep the
        // conversion defined for them.
        if (!(sx > -2.0 && sx < w + 1.0 && sy > -2.0 && sy < h + 1.0)) {
          PutDibPixel(o, x, y, bg);
          continue;
        }
        const int ix = static_cast<int>(sx), iy = static_cast<int>(sy);
        std::uint32_t A = read(ix, iy);
        if (!interpolate) {
          std::uint32_t v = A == NOPIXEL ? bg : A;
          if (bits == 8) D[x] = static_cast<BYTE>(v);
          else PutDibPixel(o, x, y, v);
          continue;
        }
        const double fx = sx - ix, fy = sy - iy;
        std::uint32_t B, C, Dp;
        if (A == NOPIXEL) {
          A = B = C = Dp = bg;
        } else if (ix + 1 < w && iy + 1 < h) {
          B = read(ix + 1, iy);
          C = read(ix, iy + 1);
          Dp = read(ix + 1, iy + 1);
        } else {
          B = C = Dp = A;
        }
        if (bits <= 8) {
          PutDibPixel(o, x, y,
                      static_cast<std::uint32_t>(channel(static_cast<int>(A), static_cast<int>(B), static_cast<int>(C),
                                                         static_cast<int>(Dp), fx, fy)));
        } else {
          int r = channel(GetRValue(A), GetRValue(B), GetRValue(C), GetRValue(Dp), fx, fy);
          int g = channel(GetGValue(A), GetGValue(B), GetGValue(C), GetGValue(Dp), fx, fy);
          int b = channel(GetBValue(A), GetBValue(B), GetBValue(C), GetBValue(Dp), fx, fy);
          if (bits == 24) {
            BYTE* q = D + 3 * static_cast<std::size_t>(x);
            q[0] = static_cast<BYTE>(b);
            q[1] = static_cast<BYTE>(g);
            q[2] = static_cast<BYTE>(r);
          } else {
            PutDibPixel(o, x, y, RGB(r, g, b));
          }
        }
      }
    }
  });
  return out;
}

HDIB MaskBitmap(const HDIB& image, const HDIB& mask, std::uint32_t colour) {
  const BITMAPINFOHEADER* s = LockDib(image);
  const BITMAPINFOHEADER* m = LockDib(mask);
  if (!s || !m) return nullptr;
  const int w = s->biWidth, h = s->biHeight, bits = s->biBitCount;
  HDIB out = CreateDibLike(s, w, h);
  BITMAPINFOHEADER* o = LockDib(out);
  if (!o) return nullptr;
  ParallelBands(h, kBand, [&](int y0, int y1) {
    for (int y = y0; y < y1; ++y) {
      const bool maskRow = y < m->biHeight && m->biBitCount == 8;
      const BYTE* M = maskRow ? DibRow(m, y) : nullptr;
      auto keep = [&](int x) { return M && x < m->biWidth ? M[x] != 0 : GetDibPixel(m, x, y) != 0; };
      if (ByteDepth(bits)) {
        const int ch = bits / 8;
        const BYTE* S = DibRow(s, y);
        BYTE* D = DibRow(o, y);
        for (int x = 0; x < w; ++x, S += ch, D += ch) {
          if (keep(x)) std::memcpy(D, S, static_cast<std::size_t>(ch));
          else PutDibPixel(o, x, y, colour);
        }
      } else {
        for (int x = 0; x < w; ++x) PutDibPixel(o, x, y, keep(x) ? GetDibPixel(s, x, y) : colour);
      }
    }
  });
  return out;
}

}  // namespace ochrel
