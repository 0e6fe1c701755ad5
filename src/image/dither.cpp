#include "image/dither.h"

#if defined(__GNUC__) && defined(__x86_64__)
#include <immintrin.h>
#endif

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <cstring>
#include <new>
#include <thread>
#include <vector>

#include "image/fastpath.h"
#include "image/nearest.h"
#include "image/parallel.h"
#include "image/progress.h"
#include "image/resample.h"

namespace ochrel {

const BYTE bayerPattern[8][8] = {{0, 32, 8, 40, 2, 34, 10, 42},  {48, 16, 56, 24, 50, 18, 58, 26},
                                 {12, 44, 4, 36, 14, 46, 6, 38}, {60, 28, 52, 20, 62, 30, 54, 22},
                                 {3, 35, 11, 43, 1, 33, 9, 41},  {51, 19, 59, 27, 49, 17, 57, 25},
                                 {15, 47, 7, 39, 13, 45, 5, 37}, {63, 31, 55, 23, 61, 29, 53, 21}};

namespace {

constexpr int kBand = 32;

// Reads stored row y of any depth as red, green, blue triples (through the
// palette below 24 bits).
void ReadRgbRow(const BITMAPINFOHEADER* h, const BYTE* palette, int y, BYTE* out) {
  const BYTE* row = DibBits(h) + DibStride(h) * static_cast<std::size_t>(y);
  const int w = h->biWidth, bits = h->biBitCount;
  switch (bits) {
    case 24:
    case 32: {
      const int bpp = bits / 8;
      for (int x = 0; x < w; ++x, row += bpp, out += 3) {
        out[0] = row[2];
        out[1] = row[1];
        out[2] = row[0];
      }
      return;
    }
    case 8:
      for (int x = 0; x < w; ++x, out += 3) std::memcpy(out, palette + 3 * row[x], 3);
      return;
    case 4:
      for (int x = 0; x < w; ++x, out += 3) {
        int v = (x & 1) ? row[x >> 1] & 15 : row[x >> 1] >> 4;
        std::memcpy(out, palette + 3 * v, 3);
      }
      return;
    case 1:
      for (int x = 0; x < w; ++x, out += 3)
        std::memcpy(out, palette + 3 * ((row[x >> 3] & masktable[x & 7]) ? 1 : 0), 3);
      return;
    default: std::memset(out, 0, static_cast<std::size_t>(w) * 3);
  }
}

inline void PutIndex(BYTE* row, int x, int bits, int v) {
  if (bits == 8) {
    row[x] = static_cast<BYTE>(v);
  } else if (bits == 4) {
    if (x & 1) row[x >> 1] = static_cast<BYTE>((row[x >> 1] & 0xF0) | (v & 15));
    else row[x >> 1] = static_cast<BYTE>((row[x >> 1] & 0x0F) | ((v & 15) << 4));
  } else {
    if (v) row[x >> 3] |= masktable[x & 7];
    else row[x >> 3] &= static_cast<BYTE>(~masktable[x & 7]);
  }
}

inline int Clamp255(int v) { return v < 0 ? 0 : v > 255 ? 255 : v; }

template <class T>
bool Resize(std::vector<T>& v, std::size_t n) {
  try {
    v.assign(n, T{});
    return true;
  } catch (...) {
    return false;
  }
}

#if defined(__GNUC__) && defined(__x86_64__)
#pragma GCC diagnostic push
// GCC's own headers start some conversions from an undefined vector.
#pragma GCC diagnostic ignored "-Wuninitialized"
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#define OCHREL_VBMI __attribute__((target("avx512f,avx512bw,avx512vbmi")))
// The channels of sixteen 24-bit pixels, picked out by a byte permutation,
// and their blocks of 8 levels a side.
OCHREL_VBMI inline __m512i Blocks16(const BYTE* p, __m512i pickR, __m512i pickG, __m512i pickB, __m512i& r, __m512i& g,
                                    __m512i& b) {
  const __m512i px = _mm512_maskz_loadu_epi8(0xFFFFFFFFFFFFull, p);
  b = _mm512_cvtepu8_epi32(_mm512_castsi512_si128(_mm512_permutexvar_epi8(pickB, px)));
  g = _mm512_cvtepu8_epi32(_mm512_castsi512_si128(_mm512_permutexvar_epi8(pickG, px)));
  r = _mm512_cvtepu8_epi32(_mm512_castsi512_si128(_mm512_permutexvar_epi8(pickR, px)));
  return _mm512_or_si512(
      _mm512_or_si512(_mm512_slli_epi32(_mm512_srli_epi32(r, 3), 10), _mm512_slli_epi32(_mm512_srli_epi32(g, 3), 5)),
      _mm512_srli_epi32(b, 3));
}

struct Picks {
  alignas(64) BYTE pick[3][64] = {};
  Picks() {
    for (int i = 0; i < 16; ++i)
      for (int c = 0; c < 3; ++c) pick[2 - c][i] = static_cast<BYTE>(3 * i + c);  // red, green, blue
  }
};

// The blocks of a row of 24-bit pixels into `blocks`, sixteen at a time;
// returns how many pixels it did.
OCHREL_VBMI int RowBlocksWide(const BYTE* row, int w, std::uint32_t* blocks) {
  static const Picks picks;
  const __m512i pickR = _mm512_load_si512(picks.pick[0]), pickG = _mm512_load_si512(picks.pick[1]),
                pickB = _mm512_load_si512(picks.pick[2]);
  int x = 0;
  for (; x + 16 <= w; x += 16) {
    __m512i r, g, b;
    _mm512_storeu_si512(blocks + x, Blocks16(row + 3 * static_cast<std::size_t>(x), pickR, pickG, pickB, r, g, b));
  }
  return x;
}

// 64 bytes through a 256-entry table: two 128-entry permutes, chosen by the
// top bit of each index.
OCHREL_VBMI inline __m512i LookUp(const __m512i t[4], __m512i index) {
  const __m512i low = _mm512_permutex2var_epi8(t[0], index, t[1]);
  const __m512i high = _mm512_permutex2var_epi8(t[2], index, t[3]);
  return _mm512_mask_blend_epi8(_mm512_movepi8_mask(index), low, high);
}

// The sums of three table terms (red, green, blue tables in `terms`) for a row
// of 24-bit pixels into `out`, 64 at a time, as the luminance of the mono
// diffusion and the cube remap use them; the sums must not pass 255. The least
// and greatest value join *lowest and *highest. Returns how many it did.
OCHREL_VBMI int TermSumRowWide(const BYTE* p, int w, const BYTE terms[3][256], BYTE* out, int* lowest, int* highest) {
  __m512i t[3][4];
  for (int c = 0; c < 3; ++c)
    for (int k = 0; k < 4; ++k) t[c][k] = _mm512_loadu_si512(terms[c] + 64 * k);
  // Byte 3 i + c of the 192 bytes is channel c (blue, green, red) of pixel i:
  // the first 128 bytes by one permute, the rest from the third block.
  alignas(64) BYTE first[3][64], second[3][64];
  std::uint64_t late[3] = {0, 0, 0};
  for (int c = 0; c < 3; ++c)
    for (int i = 0; i < 64; ++i) {
      const int at = 3 * i + c;
      first[c][i] = static_cast<BYTE>(at < 128 ? at : 0);
      second[c][i] = static_cast<BYTE>(at < 128 ? 0 : 64 + at - 128);
      if (at >= 128) late[c] |= std::uint64_t{1} << i;
    }
  __m512i least = _mm512_set1_epi8(static_cast<char>(0xFF)), most = _mm512_setzero_si512();
  int x = 0;
  for (; x + 64 <= w; x += 64, p += 192) {
    const __m512i p0 = _mm512_loadu_si512(p), p1 = _mm512_loadu_si512(p + 64), p2 = _mm512_loadu_si512(p + 128);
    __m512i channel[3];
    for (int c = 0; c < 3; ++c) {
      const __m512i low = _mm512_permutex2var_epi8(p0, _mm512_load_si512(first[c]), p1);
      channel[c] = _mm512_mask_permutex2var_epi8(low, late[c], _mm512_load_si512(second[c]), p2);
    }
    const __m512i v =
        _mm512_add_epi8(_mm512_add_epi8(LookUp(t[0], channel[2]), LookUp(t[1], channel[1])), LookUp(t[2], channel[0]));
    _mm512_storeu_si512(out + x, v);
    least = _mm512_min_epu8(least, v);
    most = _mm512_max_epu8(most, v);
  }
  if (x > 0) {
    alignas(64) BYTE a[64], b[64];
    _mm512_store_si512(a, least);
    _mm512_store_si512(b, most);
    for (int i = 0; i < 64; ++i) *lowest = std::min(*lowest, int{a[i]}), *highest = std::max(*highest, int{b[i]});
  }
  return x;
}

// What RemapThroughCells keeps for each block of 8 levels a side: a list of
// at most four entries holding every answer in it, in index order, the last
// repeated to fill four bytes; or, when there is no such list, kMany + (its
// place << 16), with its 512 answers at that place in `many`.
struct BlockAnswers {
  static constexpr std::uint32_t kMany = 0xFF;  // 255 and then 0: never in index order
  const std::uint32_t* sets;
  const BYTE* many;
  const BYTE* channels;  // [3][256]: red, green and blue of the palette entries
  int weight[3];
};

// The distances of sixteen colours to candidate k of their blocks (byte k of
// the candidates' channels sr, sg, sb): each a sum of products of 16-bit
// differences and weighted differences (the weights are at most 4), exact in
// 32 bits.
OCHREL_VBMI inline __m512i Distance(int k, __m512i sr, __m512i sg, __m512i sb, __m512i r, __m512i g, __m512i b,
                                    __m512i weightRG, __m512i weightB) {
  const __m512i byte = _mm512_set1_epi32(0xFF), low16 = _mm512_set1_epi32(0xFFFF);
  const __m512i dr = _mm512_sub_epi32(_mm512_and_si512(_mm512_srli_epi32(sr, 8 * k), byte), r);
  const __m512i dg = _mm512_sub_epi32(_mm512_and_si512(_mm512_srli_epi32(sg, 8 * k), byte), g);
  const __m512i db = _mm512_sub_epi32(_mm512_and_si512(_mm512_srli_epi32(sb, 8 * k), byte), b);
  const __m512i rg = _mm512_or_si512(_mm512_and_si512(dr, low16), _mm512_slli_epi32(dg, 16));
  const __m512i bz = _mm512_and_si512(db, low16);
  return _mm512_add_epi32(_mm512_madd_epi16(rg, _mm512_mullo_epi16(rg, weightRG)),
                          _mm512_madd_epi16(bz, _mm512_mullo_epi16(bz, weightB)));
}

// Candidate k of the blocks `set` replaces `found` where strictly nearer than
// `best`: the first minimum wins.
OCHREL_VBMI inline void Consider(int k, __m512i set, __m512i sr, __m512i sg, __m512i sb, __m512i r, __m512i g,
                                 __m512i b, __m512i weightRG, __m512i weightB, __m512i& best, __m512i& found) {
  const __m512i d = Distance(k, sr, sg, sb, r, g, b, weightRG, weightB);
  const __mmask16 nearer = _mm512_cmplt_epi32_mask(d, best);
  best = _mm512_mask_mov_epi32(best, nearer, d);
  found =
      _mm512_mask_mov_epi32(found, nearer, _mm512_and_si512(_mm512_srli_epi32(set, 8 * k), _mm512_set1_epi32(0xFF)));
}

// The pixel lookups of RemapThroughCells for a row of 24-bit pixels, sixteen
// at a time: the channels picked out by a byte permutation, the block's
// answers gathered, and the nearest of them by the same distance and rule as
// the search (each a sum of products of 16-bit differences, exact in 32
// bits); or the answer gathered from a block's 512. Returns how many pixels it
// did.
OCHREL_VBMI int RemapRowWide(const BYTE* row, int w, const BlockAnswers& t, BYTE* out) {
  static const Picks picks;
  const __m512i pickR = _mm512_load_si512(picks.pick[0]), pickG = _mm512_load_si512(picks.pick[1]),
                pickB = _mm512_load_si512(picks.pick[2]);
  const __m512i seven = _mm512_set1_epi32(7), byte = _mm512_set1_epi32(0xFF), low16 = _mm512_set1_epi32(0xFFFF);
  const __m512i many = _mm512_set1_epi32(BlockAnswers::kMany);
  const __m512i weightRG = _mm512_set1_epi32(t.weight[0] | t.weight[1] << 16), weightB = _mm512_set1_epi32(t.weight[2]);
  __m512i channel[3][4];
  for (int c = 0; c < 3; ++c)
    for (int k = 0; k < 4; ++k) channel[c][k] = _mm512_loadu_si512(t.channels + 256 * c + 64 * k);
  int x = 0;
  if (w < 16) return 0;
  // The next sixteen pixels' answers are gathered before this sixteen's are
  // worked out, so that the gather's wait overlaps the work.
  __m512i r, g, b;
  __m512i set = _mm512_i32gather_epi32(Blocks16(row, pickR, pickG, pickB, r, g, b), t.sets, 4);
  for (; x + 16 <= w; x += 16) {
    const __m512i hereR = r, hereG = g, hereB = b, here = set;
    if (x + 32 <= w)
      set = _mm512_i32gather_epi32(Blocks16(row + 3 * static_cast<std::size_t>(x + 16), pickR, pickG, pickB, r, g, b),
                                   t.sets, 4);
    __m512i found = _mm512_and_si512(here, byte);
    // One answer throughout: the first byte equals the last.
    const __m512i lastOf = _mm512_srli_epi32(here, 24);
    if (_mm512_cmpneq_epi32_mask(found, lastOf)) {
      const __m512i sr = LookUp(channel[0], here), sg = LookUp(channel[1], here), sb = LookUp(channel[2], here);
      __m512i best = Distance(0, sr, sg, sb, hereR, hereG, hereB, weightRG, weightB);
      Consider(1, here, sr, sg, sb, hereR, hereG, hereB, weightRG, weightB, best, found);
      // Two answers at most: bytes 1 to 3 are the same.
      if (_mm512_cmpneq_epi32_mask(_mm512_and_si512(_mm512_srli_epi32(here, 8), byte), lastOf)) {
        Consider(2, here, sr, sg, sb, hereR, hereG, hereB, weightRG, weightB, best, found);
        Consider(3, here, sr, sg, sb, hereR, hereG, hereB, weightRG, weightB, best, found);
      }
      const __mmask16 all = _mm512_cmpeq_epi32_mask(_mm512_and_si512(here, low16), many);
      if (all) {
        const __m512i low = _mm512_or_si512(_mm512_or_si512(_mm512_slli_epi32(_mm512_and_si512(hereR, seven), 6),
                                                            _mm512_slli_epi32(_mm512_and_si512(hereG, seven), 3)),
                                            _mm512_and_si512(hereB, seven));
        const __m512i at = _mm512_or_si512(_mm512_slli_epi32(_mm512_srli_epi32(here, 16), 9), low);
        found = _mm512_mask_i32gather_epi32(found, all, at, t.many, 1);
      }
    }
    _mm_storeu_si128(reinterpret_cast<__m128i*>(out + x), _mm512_cvtepi32_epi8(found));
  }
  return x;
}
#pragma GCC diagnostic pop

bool RemapWideAvailable() {
  static const bool have = __builtin_cpu_supports("avx512vbmi") && __builtin_cpu_supports("avx512bw");
  return have && VectorUnit() >= 2;
}
#else
bool RemapWideAvailable() { return false; }
#endif

// The quick form of the mono diffusion below. Along a row the only thing
// carried from pixel to pixel is the error pushed right, e = error >> 4, one
// of 32 values; so each pixel's bit and e come from a table over (its work
// value, the e pushed into it) holding what the plain steps give. A row's
// pushes from the row before it (in the order the plain loop makes them:
// up[j] takes e(j - 1), then 5 e(j), then 3 e(j + 1)) are applied as each
// pixel is read. Rows go two at a time, the second one pixel behind the
// first, as two independent chains; pairs run on the cores, each behind the
// one above. False when memory runs out.
bool DiffuseMonoQuick(const BYTE* work, int w, int h, const BYTE table[256], int lowest, int highest,
                      BITMAPINFOHEADER* o) {
  const int threshold = (highest + lowest) >> 1;
  // step[value << 5 | (e + 16)]: bit 7 the output bit, bits 0-4 the new e + 16.
  std::vector<BYTE> step;
  std::vector<std::int8_t> before;  // zeros: the e above the first row
  if (!Resize(step, 256 * 32) || !Resize(before, static_cast<std::size_t>(w))) return false;
  for (int value = 0; value < 256; ++value)
    for (int in = -16; in < 16; ++in) {
      const int v = table[Clamp255(value + 7 * in)];
      const int out = v <= threshold ? 0 : 1;
      const int next = (v - (out ? highest : lowest)) >> 4;  // from -16 to 15: v is 1 to 254
      step[static_cast<std::size_t>(value << 5 | (in + 16))] = static_cast<BYTE>(out << 7 | (next + 16));
    }
  const BYTE* st = step.data();
  auto orowOf = [o](int y) { return DibBits(o) + DibStride(o) * static_cast<std::size_t>(y); };
  // One pixel: its bit joins `bits`, written out a byte at a time; returns e.
  auto pixel = [st](int value, unsigned& in, unsigned& bits, BYTE* orow, int x) {
    const unsigned code = st[static_cast<unsigned>(value) << 5 | in];
    in = code & 31;
    bits = bits << 1 | code >> 7;
    if ((x & 7) == 7) orow[x >> 3] = static_cast<BYTE>(bits);
    return static_cast<int>(in) - 16;
  };
  auto flush = [w](unsigned bits, BYTE* orow) {
    if (w & 7) orow[w >> 3] = static_cast<BYTE>(bits << (8 - (w & 7)));
  };
  // Pairs of rows go to the cores as a wavefront: a pair reads the e of the
  // row above it as the pair before it publishes them, a few pixels behind.
  // Each pair's e are kept in its own slot of a ring, and its progress in its
  // own counter, so that the order of the arithmetic is the plain loop's.
  const int pairs = (h + 1) / 2;
  constexpr int kRing = 4, kPublish = 64;
  std::vector<std::int8_t> ring;  // e is -16 to 15; bytes keep the lines passed between cores few
  struct alignas(64) Published {  // a line of its own: each is written by one core, read by another
    std::atomic<int> count{0};
  };
  std::unique_ptr<Published[]> published(new (std::nothrow) Published[static_cast<std::size_t>(pairs)]);
  if (!published || !Resize(ring, static_cast<std::size_t>(kRing) * w)) return false;
  std::atomic<int> nextPair{0};
  std::atomic<bool> abandoned{false};
  auto pair = [&](int p) {
    const int y = 2 * p;
    // The first row has nothing pushed into it: pushes of 0 leave a byte alone.
    const std::int8_t* eUp = p == 0 ? before.data() : ring.data() + static_cast<std::size_t>((p - 1) % kRing) * w;
    std::int8_t* eB = ring.data() + static_cast<std::size_t>(p % kRing) * w;
    int ready = p == 0 ? w : 0;  // how many of eUp can be read
    auto need = [&](int n) {     // waits until the first n of eUp are there
      for (int spins = 0; ready < n; ++spins) {
        ready = published[p - 1].count.load(std::memory_order_acquire);
        if (ready >= n) break;
        if (abandoned.load(std::memory_order_relaxed)) throw WorkStopped();
        if (spins > 256) std::this_thread::yield();
      }
    };
    const BYTE* rowA = work + static_cast<std::size_t>(y) * w;
    BYTE* orowA = orowOf(y);
    unsigned inA = 16, inB = 16, bitsA = 0, bitsB = 0;  // nothing pushed into the first pixel
    auto valueA = [rowA, eUp, w](int x) {
      int u = rowA[x];
      if (x >= 1) u = Clamp255(u + eUp[x - 1]);
      u = Clamp255(u + 5 * eUp[x]);
      if (x >= 1 && x + 1 < w) u = Clamp255(u + 3 * eUp[x + 1]);
      return u;
    };
    need(std::min(w, 2));
    if (y + 1 == h) {
      for (int x0 = 0; x0 < w; x0 += kPublish) {
        const int x1 = std::min(w, x0 + kPublish);
        need(std::min(w, x1 + 1));
        for (int x = x0; x < x1; ++x) pixel(valueA(x), inA, bitsA, orowA, x);
      }
      flush(bitsA, orowA);
      return;
    }
    const BYTE* rowB = rowA + w;
    BYTE* orowB = orowOf(y + 1);
    // e of the first row's pixels x - 2, x - 1 and x, as the loop reaches x.
    int e2 = 0, e1 = 0, e0 = pixel(valueA(0), inA, bitsA, orowA, 0);
    for (int x0 = 1; x0 < w; x0 += kPublish) {
      const int x1 = std::min(w, x0 + kPublish);
      need(std::min(w, x1 + 1));
      for (int x = x0; x < x1; ++x) {
        e2 = e1, e1 = e0;
        e0 = pixel(valueA(x), inA, bitsA, orowA, x);
        const int j = x - 1;  // the second row's pixel; j + 1 < w here
        int u = rowB[j];
        if (j >= 1) u = Clamp255(u + e2);
        u = Clamp255(u + 5 * e1);
        if (j >= 1) u = Clamp255(u + 3 * e0);
        eB[j] = static_cast<std::int8_t>(pixel(u, inB, bitsB, orowB, j));
      }
      published[p].count.store(x1 - 1, std::memory_order_release);
    }
    {
      const int j = w - 1;
      int u = rowB[j];
      if (j >= 1) u = Clamp255(u + e1);
      u = Clamp255(u + 5 * e0);
      eB[j] = static_cast<std::int8_t>(pixel(u, inB, bitsB, orowB, j));
    }
    published[p].count.store(w, std::memory_order_release);
    flush(bitsA, orowA);
    flush(bitsB, orowB);
  };
  // Pairs are claimed in order by running threads only, so the pair waited
  // for is always being worked on; a thread that stops tells the others.
  const ProgressContext caller = t_progress;
  ParallelBands(std::min(HardwareThreads(), pairs), 1, [&](int, int) {
    try {
      for (int p; (p = nextPair.fetch_add(1)) < pairs;) {
        {
          ProgressContextScope report(caller);  // each pair counts, from whichever core
          ReportProgress(2 * p, h);
        }
        pair(p);
      }
    } catch (...) {
      abandoned = true;
      nextPair = pairs;
      throw;
    }
  });
  return true;
}

HDIB DitherMono(const BITMAPINFOHEADER* s, const BYTE* srcPalette, const BYTE* palette, const DitherOptions& options) {
  const int w = s->biWidth, h = s->biHeight;
  BYTE table[256];
  BuildDitherTable(options.contrast, options.brightness, table);
  std::vector<BYTE> work;
  if (!Resize(work, static_cast<std::size_t>(w) * h)) return nullptr;
  HDIB out = CreateDib(w, h, palette, 1);
  BITMAPINFOHEADER* o = LockDib(out);
  if (!o) return nullptr;

  // The work image holds luminance, stored row for stored row.
  int lowest = 255, highest = 0;
  ProgressStage stage(0.0, 0.2);
  {
    std::vector<int> lo(static_cast<std::size_t>(h), 255), hi(static_cast<std::size_t>(h), 0);
    // Quick form for true colour: the separately truncated terms from tables.
    const int step = s->biBitCount / 8;
    const bool terms = FastPaths() && (step == 3 || step == 4);
    int tr[256], tg[256], tb[256];
    for (int v = 0; v < 256; ++v) tr[v] = v * 30 / 100, tg[v] = v * 59 / 100, tb[v] = v * 11 / 100;
    BYTE terms8[3][256];  // red, green, blue; their sum is at most 254
    for (int v = 0; v < 256; ++v)
      terms8[0][v] = static_cast<BYTE>(tr[v]), terms8[1][v] = static_cast<BYTE>(tg[v]),
      terms8[2][v] = static_cast<BYTE>(tb[v]);
    const bool wideTerms = terms && step == 3 && RemapWideAvailable();
    ParallelBands(h, kBand, [&](int y0, int y1) {
      std::vector<BYTE> rgb(static_cast<std::size_t>(w) * 3);
      for (int y = y0; y < y1; ++y) {
        BYTE* wr = &work[static_cast<std::size_t>(y) * w];
        int l = 255, m = 0;
        if (terms) {
          const BYTE* p = DibBits(s) + DibStride(s) * static_cast<std::size_t>(y);
          int x = 0;
#if defined(__GNUC__) && defined(__x86_64__)
          if (wideTerms) {
            x = TermSumRowWide(p, w, terms8, wr, &l, &m);
            p += static_cast<std::size_t>(x) * 3;
          }
#endif
          for (; x < w; ++x, p += step) {
            const int v = tr[p[2]] + tg[p[1]] + tb[p[0]];
            wr[x] = static_cast<BYTE>(v);
            l = std::min(l, v);
            m = std::max(m, v);
          }
          lo[static_cast<std::size_t>(y)] = l;
          hi[static_cast<std::size_t>(y)] = m;
          continue;
        }
        ReadRgbRow(s, srcPalette, y, rgb.data());
        for (int x = 0; x < w; ++x) {
          int v = Luminance(rgb[3 * x], rgb[3 * x + 1], rgb[3 * x + 2]);
          wr[x] = static_cast<BYTE>(v);
          l = std::min(l, v);
          m = std::max(m, v);
        }
        lo[static_cast<std::size_t>(y)] = l;
        hi[static_cast<std::size_t>(y)] = m;
      }
    });
    for (int y = 0; y < h; ++y) {
      lowest = std::min(lowest, lo[static_cast<std::size_t>(y)]);
      highest = std::max(highest, hi[static_cast<std::size_t>(y)]);
    }
  }
  const int threshold = (highest + lowest) >> 1;

  stage.Move(0.2, 1.0);
  if (FastPaths() && DiffuseMonoQuick(work.data(), w, h, table, lowest, highest, o)) return out;
  for (int y = 0; y < h; ++y) {
    ReportProgress(y, h);
    BYTE* cur = &work[static_cast<std::size_t>(y) * w];
    BYTE* up = y + 1 < h ? cur + w : nullptr;
    BYTE* orow = DibBits(o) + DibStride(o) * static_cast<std::size_t>(y);
    for (int x = 0; x < w; ++x) {
      const int v = table[cur[x]];
      int error;
      if (v <= threshold) {
        error = v - lowest;
      } else {
        orow[x >> 3] |= masktable[x & 7];
        error = v - highest;
      }
      const int e = error >> 4;  // shift first, then the weights
      if (up) {
        if (x + 1 < w) up[x + 1] = static_cast<BYTE>(Clamp255(up[x + 1] + e));
        if (x - 1 > 0) up[x - 1] = static_cast<BYTE>(Clamp255(up[x - 1] + 3 * e));
        up[x] = static_cast<BYTE>(Clamp255(up[x] + 5 * e));
      }
      if (x + 1 < w) cur[x + 1] = static_cast<BYTE>(Clamp255(cur[x + 1] + 7 * e));
    }
  }
  return out;
}

HDIB DitherColour(const BITMAPINFOHEADER* s, const BYTE* srcPalette, const BYTE* palette, int bits) {
  const int w = s->biWidth, h = s->biHeight;
  HDIB out = CreateDib(w, h, palette, bits);
  BITMAPINFOHEADER* o = LockDib(out);
  if (!o) return nullptr;
  NearestColour nearest(palette, 1 << bits, NearestColour::kWeighted, static_cast<std::size_t>(w) * h);
  std::vector<int> cur, next;
  std::vector<BYTE> rgb;
  if (!nearest.ok() || !Resize(cur, static_cast<std::size_t>(w) * 3) ||
      !Resize(next, static_cast<std::size_t>(w) * 3) || !Resize(rgb, static_cast<std::size_t>(w) * 3))
    return nullptr;
  for (int y = 0; y < h; ++y) {
    ReportProgress(y, h);
    ReadRgbRow(s, srcPalette, y, rgb.data());
    for (int i = 0; i < 3 * w; ++i) cur[static_cast<std::size_t>(i)] += rgb[static_cast<std::size_t>(i)];
    BYTE* orow = DibBits(o) + DibStride(o) * static_cast<std::size_t>(y);
    const bool below = y + 1 < h;  // the next stored row exists
    int* c = cur.data();
    int* n = next.data();
    for (int x = 0; x < w; ++x) {
      const int r = Clamp255(c[3 * x]), g = Clamp255(c[3 * x + 1]), b = Clamp255(c[3 * x + 2]);
      const int index = nearest.Find(r, g, b);
      PutIndex(orow, x, bits, index);
      const int e[3] = {r - palette[3 * index], g - palette[3 * index + 1], b - palette[3 * index + 2]};
      for (int k = 0; k < 3; ++k) {
        // Multiply first, shift afterwards.
        if (x + 1 < w) c[3 * (x + 1) + k] += (7 * e[k]) >> 4;
        if (x - 1 > 0 && below) n[3 * (x - 1) + k] += (3 * e[k]) >> 4;
        if (x + 1 < w && below) n[3 * (x + 1) + k] += e[k] >> 4;
        if (below) n[3 * x + k] += (5 * e[k]) >> 4;
      }
    }
    cur.swap(next);
    std::fill(next.begin(), next.end(), 0);
  }
  return out;
}

}  // namespace

void BuildDitherTable(int contrast, int brightness, BYTE table[256]) {
  double d = 256 - 2 * contrast;
  if (d < 1) d = 1;
  const double step = 256 / d;
  double value = brightness - contrast;
  for (int i = 0; i < 256; ++i) {
    table[i] = static_cast<BYTE>(value > 254 ? 254 : value >= 1 ? static_cast<int>(value) : 1);
    value += step;
  }
}

HDIB DitherDib(const HDIB& image, const BYTE* palette, int bits, int /*reserved*/, const DitherOptions& options) {
  const BITMAPINFOHEADER* s = LockDib(image);
  if (!s || !palette || s->biBitCount == 1) return nullptr;
  if (bits != 1 && bits != 4 && bits != 8) return nullptr;
  BYTE srcPalette[768];
  GetDibPalette(s, srcPalette);
  return bits == 1 ? DitherMono(s, srcPalette, palette, options) : DitherColour(s, srcPalette, palette, bits);
}

namespace {

// The quick form of the nearest-colour remap of a true-colour image where
// rows cannot be done sixteen pixels at a time: the boxes of 4 levels a side
// that the picture uses are found first, every colour of those boxes is
// answered once (as Find answers it), and the pixels then read their answers
// from that table. False when memory runs out.
bool RemapThroughBoxes(const BITMAPINFOHEADER* s, BITMAPINFOHEADER* o, int bits, const NearestColour& nearest) {
  const int w = s->biWidth, h = s->biHeight, step = s->biBitCount / 8;
  constexpr int kBoxes = 1 << 18;
  auto rowOf = [&](int y) { return DibBits(s) + DibStride(s) * static_cast<std::size_t>(y); };
  auto boxOf = [](const BYTE* p) { return ((p[2] >> 2) << 12) | ((p[1] >> 2) << 6) | (p[0] >> 2); };
  std::vector<int> boxes;
  std::unique_ptr<std::atomic<BYTE>[]> used(new (std::nothrow) std::atomic<BYTE>[kBoxes]);
  if (!used) return false;
  for (int b = 0; b < kBoxes; ++b) used[b].store(0, std::memory_order_relaxed);
  ProgressStage stage(0.0, 0.2);
  ParallelBands(h, kBand, [&](int y0, int y1) {
    for (int y = y0; y < y1; ++y) {
      const BYTE* row = rowOf(y);
      // Looked at before it is set, so that the cores rarely write the same line.
      auto mark = [&](int box) {
        std::atomic<BYTE>& u = used[box];
        if (!u.load(std::memory_order_relaxed)) u.store(1, std::memory_order_relaxed);
      };
      for (int x = 0; x < w; ++x) mark(boxOf(row + static_cast<std::size_t>(x) * step));
    }
  });
  try {
    for (int b = 0; b < kBoxes; ++b)
      if (used[b].load(std::memory_order_relaxed)) boxes.push_back(b);
  } catch (...) {
    return false;
  }
  // Most boxes have one answer throughout: that answer, in a table small
  // enough to stay in the cache. The others hold kMixed + their place among
  // the mixed boxes, whose 64 answers each are kept in `answers`.
  constexpr std::uint32_t kMixed = 256;
  stage.Move(0.2, 0.6);
  std::vector<std::uint32_t> single;
  std::vector<int> mixed;
  if (!Resize(single, kBoxes)) return false;
  ParallelBands(static_cast<int>(boxes.size()), 256, [&](int i0, int i1) {
    BYTE a[64];
    for (int i = i0; i < i1; ++i) {
      const int b = boxes[static_cast<std::size_t>(i)];
      nearest.FillBox((b >> 12) << 2, ((b >> 6) & 63) << 2, (b & 63) << 2, a);
      const bool same = std::all_of(a, a + 64, [&a](BYTE v) { return v == a[0]; });
      single[static_cast<std::size_t>(b)] = same ? a[0] : kMixed;
    }
  });
  try {
    for (int b : boxes)
      if (single[static_cast<std::size_t>(b)] == kMixed) {
        single[static_cast<std::size_t>(b)] = kMixed + static_cast<std::uint32_t>(mixed.size());
        mixed.push_back(b);
      }
  } catch (...) {
    return false;
  }
  std::vector<BYTE> table;
  if (!Resize(table, mixed.size() * 64)) return false;
  BYTE* answers = table.data();
  ParallelBands(static_cast<int>(mixed.size()), 256, [&](int i0, int i1) {
    for (int i = i0; i < i1; ++i) {
      const int b = mixed[static_cast<std::size_t>(i)];
      nearest.FillBox((b >> 12) << 2, ((b >> 6) & 63) << 2, (b & 63) << 2, answers + static_cast<std::size_t>(i) * 64);
    }
  });
  stage.Move(0.6, 1.0);
  ParallelBands(h, kBand, [&](int y0, int y1) {
    for (int y = y0; y < y1; ++y) {
      const BYTE* row = rowOf(y);
      BYTE* orow = DibBits(o) + DibStride(o) * static_cast<std::size_t>(y);
      auto answer = [&](const BYTE* p) {
        const unsigned r = p[2], g = p[1], b = p[0];
        const unsigned box = (r >> 2) << 12 | (g >> 2) << 6 | (b >> 2);
        const std::uint32_t one = single[box];
        if (one < kMixed) return static_cast<BYTE>(one);
        return answers[static_cast<std::size_t>(one - kMixed) << 6 | (r & 3) << 4 | (g & 3) << 2 | (b & 3)];
      };
      if (bits == 8 && step == 3) {
        for (int x = 0; x < w; ++x) orow[x] = answer(row + 3 * static_cast<std::size_t>(x));
        continue;
      }
      for (int x = 0; x < w; ++x) PutIndex(orow, x, bits, answer(row + static_cast<std::size_t>(x) * step));
    }
  });
  return true;
}

#if defined(__GNUC__) && defined(__x86_64__)
// The quick form of the nearest-colour remap of a 24-bit image to 8 bits
// where rows can be done sixteen pixels at a time: the
// blocks of 8 levels a side that the picture uses are found first, and each
// keeps a short list of entries holding every answer in it (as Find answers
// them). The pixels then take the first nearest of their block's list, which
// is what Find gives: the first nearest entry of the whole palette is in the
// list, and any other as near comes after it. False when it does not apply.
bool RemapThroughBlocks(const BITMAPINFOHEADER* s, BITMAPINFOHEADER* o, const BYTE* palette, int entries,
                        const NearestColour& nearest) {
  const int w = s->biWidth, h = s->biHeight;
  constexpr int kBlocks = 1 << 15, kWords = kBlocks / 64;
  constexpr std::uint32_t kMany = BlockAnswers::kMany;
  auto rowOf = [&](int y) { return DibBits(s) + DibStride(s) * static_cast<std::size_t>(y); };
  auto blockOf = [](const BYTE* p) { return ((p[2] >> 3) << 10) | ((p[1] >> 3) << 5) | (p[0] >> 3); };
  // The used blocks, one bit each. Each run of rows marks a byte per block of
  // its own (plain stores, in 32 KB that stay in the nearest cache) and then
  // joins them to the shared bits.
  std::unique_ptr<std::atomic<std::uint64_t>[]> used(new (std::nothrow) std::atomic<std::uint64_t>[kWords]);
  if (!used) return false;
  for (int i = 0; i < kWords; ++i) used[i].store(0, std::memory_order_relaxed);
  ProgressStage stage(0.0, 0.2);
  ParallelBands(h, kBand, [&](int y0, int y1) {
    std::vector<BYTE> mine(kBlocks);
    std::vector<std::uint32_t> rowBlocks(static_cast<std::size_t>(w));
    for (int y = y0; y < y1; ++y) {
      const BYTE* row = rowOf(y);
      int x = RowBlocksWide(row, w, rowBlocks.data());
      for (int i = 0; i < x; ++i) mine[rowBlocks[static_cast<std::size_t>(i)]] = 1;
      for (; x < w; ++x) mine[static_cast<std::size_t>(blockOf(row + 3 * static_cast<std::size_t>(x)))] = 1;
    }
    for (int i = 0; i < kWords; ++i) {
      std::uint64_t bits = 0;
      for (int k = 0; k < 64; ++k) bits |= std::uint64_t{mine[64 * static_cast<std::size_t>(i) + k]} << k;
      if (bits) used[i].fetch_or(bits, std::memory_order_relaxed);
    }
  });
  std::vector<int> blocks;
  try {
    for (int i = 0; i < kWords; ++i)
      for (std::uint64_t m = used[i].load(std::memory_order_relaxed); m; m &= m - 1)
        blocks.push_back(64 * i + __builtin_ctzll(m));
  } catch (...) {
    return false;
  }
  stage.Move(0.2, 0.5);
  std::vector<std::uint32_t> sets;
  if (!Resize(sets, kBlocks)) return false;
  // Three bytes to spare: the wide form reads a word at each answer. The
  // places are taken as the blocks are answered, so their order varies from
  // run to run, but not what they hold.
  std::unique_ptr<BYTE[]> many(new (std::nothrow) BYTE[blocks.size() * 512 + 3]);
  if (!many) return false;
  std::atomic<std::uint32_t> manyCount{0};
  ParallelBands(static_cast<int>(blocks.size()), 64, [&](int i0, int i1) {
    alignas(64) BYTE a[8][64];
    for (int i = i0; i < i1; ++i) {
      const int block = blocks[static_cast<std::size_t>(i)];
      const int r0 = (block >> 10) << 3, g0 = ((block >> 5) & 31) << 3, b0 = (block & 31) << 3;
      // Any list that holds every answer of the block will do, as the pixels
      // take the first nearest of the list: the entries that can be nearest
      // somewhere in the block, then the union of those of its eight boxes of
      // 4 levels, and only then the answers themselves.
      BYTE kept[256], boxKept[8][256];
      const int n = nearest.Candidates(r0, g0, b0, 8, kept);
      auto keep = [&](const BYTE* seen, const BYTE* list, int count) {
        BYTE marked[4];
        if (seen) {  // the list is the marked entries
          BYTE* l = marked;
          count = 0;
          for (int v = 0; v < 256; v += 8) {
            std::uint64_t eight;
            std::memcpy(&eight, seen + v, 8);
            for (int k = 0; eight && k < 8; ++k)
              if (seen[v + k] && count++ < 4) *l++ = static_cast<BYTE>(v + k);
          }
          list = marked;
        }
        if (count > 4) return false;
        std::uint32_t set = 0;
        for (int k = 0; k < 4; ++k) set |= std::uint32_t{list[std::min(k, count - 1)]} << (8 * k);
        sets[static_cast<std::size_t>(block)] = set;
        return true;
      };
      if (keep(nullptr, kept, n)) continue;
      BYTE seen[256] = {};  // plain stores below: none waits on another
      int boxCount[8];
      for (int q = 0; q < 8; ++q) {
        boxCount[q] = nearest.Candidates(r0 + (q & 4), g0 + 2 * (q & 2), b0 + 4 * (q & 1), 4, boxKept[q], kept, n);
        for (int k = 0; k < boxCount[q]; ++k) seen[boxKept[q][k]] = 1;
      }
      if (keep(seen, nullptr, 0)) continue;
      std::memset(seen, 0, sizeof seen);
      for (int q = 0; q < 8; ++q) {
        nearest.FillBox(r0 + (q & 4), g0 + 2 * (q & 2), b0 + 4 * (q & 1), a[q], boxKept[q], boxCount[q]);
        for (int k = 0; k < 64; ++k) seen[a[q][k]] = 1;
      }
      if (keep(seen, nullptr, 0)) continue;
      // Of at most 32768 blocks: the place's top byte is never 255, which
      // would read as a list of one answer.
      const std::uint32_t at = manyCount.fetch_add(1, std::memory_order_relaxed);
      sets[static_cast<std::size_t>(block)] = kMany | at << 16;
      BYTE* m = many.get() + static_cast<std::size_t>(at) * 512;
      for (int q = 0; q < 8; ++q)
        for (int k = 0; k < 64; ++k)
          m[(((q & 4) | (k >> 4)) << 6) | ((((q & 2) << 1) | ((k >> 2) & 3)) << 3) | (((q & 1) << 2) | (k & 3))] =
              a[q][k];
    }
  });
  BlockAnswers t{sets.data(), many.get(), nullptr, {}};
  nearest.Weights(t.weight);
  BYTE channels[3][256];
  for (int i = 0; i < 256; ++i)
    for (int c = 0; c < 3; ++c) channels[c][i] = i < entries ? palette[3 * i + c] : 0;
  t.channels = &channels[0][0];
  stage.Move(0.5, 1.0);
  ParallelBands(h, kBand, [&](int y0, int y1) {
    for (int y = y0; y < y1; ++y) {
      const BYTE* row = rowOf(y);
      BYTE* orow = DibBits(o) + DibStride(o) * static_cast<std::size_t>(y);
      auto answer = [&](const BYTE* p) {
        const int r = p[2], g = p[1], b = p[0];
        const std::uint32_t set = sets[static_cast<std::size_t>((r >> 3) << 10 | (g >> 3) << 5 | (b >> 3))];
        if ((set & 0xFF) == set >> 24) return static_cast<BYTE>(set);  // one answer throughout
        if ((set & 0xFFFF) == kMany)
          return many[static_cast<std::size_t>(set >> 16) << 9 | (r & 7) << 6 | (g & 7) << 3 | (b & 7)];
        int best = 0x7FFFFFFF, found = 0;
        for (int k = 0; k < 4; ++k) {  // in index order: the first minimum wins
          const int i = (set >> (8 * k)) & 0xFF;
          const int dr = channels[0][i] - r, dg = channels[1][i] - g, db = channels[2][i] - b;
          const int d = t.weight[0] * dr * dr + t.weight[1] * dg * dg + t.weight[2] * db * db;
          if (d < best) best = d, found = i;
        }
        return static_cast<BYTE>(found);
      };
      int x = RemapRowWide(row, w, t, orow);
      for (; x < w; ++x) orow[x] = answer(row + 3 * static_cast<std::size_t>(x));
    }
  });
  return true;
}
#endif

// The quick forms of the nearest-colour remap of a true-colour image. False
// when they do not apply.
bool RemapThroughCells(const BITMAPINFOHEADER* s, BITMAPINFOHEADER* o, int bits, const BYTE* palette, int entries,
                       const NearestColour& nearest) {
  if (!FastPaths() || !nearest.hasCells() || bits == 1) return false;
#if defined(__GNUC__) && defined(__x86_64__)
  if (bits == 8 && s->biBitCount == 24 && RemapWideAvailable())
    return RemapThroughBlocks(s, o, palette, entries, nearest);
#else
  (void)palette, (void)entries;
#endif
  return RemapThroughBoxes(s, o, bits, nearest);
}

// A palette of every combination of some red, green and blue levels, indexed
// red over green over blue (the fixed cubes), answers channel by channel: the
// distance is one term per channel, so the nearest entries are those whose
// levels are each nearest, and the first of them in index order has the first
// nearest level of each channel. Entries past the cube must repeat one in it,
// so they never come first. Fills the index parts for each channel value (red,
// green, blue; their sum is an index, below 256); false for any other palette.
bool CubeTerms(const BYTE* palette, int count, BYTE terms[3][256]) {
  auto at = [palette](int i, int c) { return int{palette[3 * i + c]}; };
  int blues = 1, greens = 1;  // entries per green level, per red level
  while (blues < count && at(blues, 0) == at(0, 0) && at(blues, 1) == at(0, 1)) ++blues;
  while (greens < count && at(greens, 0) == at(0, 0)) ++greens;
  if (greens % blues) return false;
  const int perRed = greens;
  auto fits = [&](int i) {
    const int r = i / perRed, g = i % perRed / blues, b = i % blues;
    return at(i, 0) == at(r * perRed, 0) && at(i, 1) == at(g * blues, 1) && at(i, 2) == at(b, 2);
  };
  int reds = 0;
  for (; (reds + 1) * perRed <= count; ++reds) {
    bool all = true;
    for (int i = reds * perRed; all && i < (reds + 1) * perRed; ++i) all = fits(i);
    if (!all) break;
  }
  if (reds == 0) return false;
  const int levels[3] = {reds, perRed / blues, blues}, stride[3] = {perRed, blues, 1};
  for (int c = 0; c < 3; ++c)
    for (int v = 0; v < 256; ++v) {
      int best = 0x7FFFFFFF, index = 0;
      for (int k = 0; k < levels[c]; ++k) {
        const int d = std::abs(at(k * stride[c], c) - v);
        if (d < best) best = d, index = k;
      }
      terms[c][v] = static_cast<BYTE>(index * stride[c]);
    }
  for (int i = reds * perRed; i < count; ++i) {
    const int j = terms[0][at(i, 0)] + terms[1][at(i, 1)] + terms[2][at(i, 2)];
    if (at(j, 0) != at(i, 0) || at(j, 1) != at(i, 1) || at(j, 2) != at(i, 2)) return false;
  }
  return true;
}

// The remap of a true-colour image to a cube palette, by CubeTerms.
void RemapThroughCube(const BITMAPINFOHEADER* s, BITMAPINFOHEADER* o, int bits, const BYTE terms[3][256]) {
  const int w = s->biWidth, step = s->biBitCount / 8;
  const bool wide = bits == 8 && step == 3 && RemapWideAvailable();
  ParallelBands(s->biHeight, kBand, [&](int y0, int y1) {
    for (int y = y0; y < y1; ++y) {
      const BYTE* row = DibBits(s) + DibStride(s) * static_cast<std::size_t>(y);
      BYTE* orow = DibBits(o) + DibStride(o) * static_cast<std::size_t>(y);
      int x = 0;
#if defined(__GNUC__) && defined(__x86_64__)
      int lowest = 255, highest = 0;
      if (wide) x = TermSumRowWide(row, w, terms, orow, &lowest, &highest);
#endif
      for (; x < w; ++x) {
        const BYTE* p = row + static_cast<std::size_t>(x) * step;
        PutIndex(orow, x, bits, terms[0][p[2]] + terms[1][p[1]] + terms[2][p[0]]);
      }
    }
  });
}

}  // namespace

HDIB RemapDib(const HDIB& image, const BYTE* palette, int bits, int /*reserved*/) {
  const BITMAPINFOHEADER* s = LockDib(image);
  if (!s || !palette) return nullptr;
  if (bits != 1 && bits != 4 && bits != 8) return nullptr;
  const int w = s->biWidth, h = s->biHeight, sbits = s->biBitCount;
  const int entries = 1 << bits;
  HDIB out = CreateDib(w, h, palette, bits);
  BITMAPINFOHEADER* o = LockDib(out);
  if (!o) return nullptr;
  BYTE srcPalette[768];
  GetDibPalette(s, srcPalette);
  int translate[256] = {};
  if (sbits <= 8)
    for (int i = 0; i < (1 << sbits); ++i)
      translate[i] =
          FindPaletteColour(srcPalette[3 * i], srcPalette[3 * i + 1], srcPalette[3 * i + 2], palette, entries);
  const int white = FindPaletteColour(255, 255, 255, palette, entries);
  const int black = FindPaletteColour(0, 0, 0, palette, entries);
  // 129, not 128: a luminance of exactly 128 is black.
  int monoOf[256] = {};
  if (sbits <= 8)
    for (int i = 0; i < (1 << sbits); ++i)
      monoOf[i] = Luminance(srcPalette[3 * i], srcPalette[3 * i + 1], srcPalette[3 * i + 2]) < 129 ? 0 : 1;

  bool failed = false;
  if (FastPaths() && sbits > 8 && bits != 1) {
    BYTE terms[3][256];
    if (CubeTerms(palette, entries, terms)) {
      RemapThroughCube(s, o, bits, terms);
      return out;
    }
  }
  std::unique_ptr<NearestColour> shared;
  if (sbits > 8 && bits != 1) {
    shared.reset(new (std::nothrow)
                     NearestColour(palette, entries, NearestColour::kWeighted, static_cast<std::size_t>(w) * h));
    if (!shared || !shared->ok()) return nullptr;
  }
  if (shared && RemapThroughCells(s, o, bits, palette, entries, *shared)) return out;
  ParallelBands(h, kBand, [&](int y0, int y1) {
    std::unique_ptr<NearestColour> nearest;
    if (shared) {
      nearest.reset(new (std::nothrow) NearestColour(*shared));
      if (!nearest || !nearest->ok()) {
        failed = true;
        return;
      }
    }
    for (int y = y0; y < y1; ++y) {
      const BYTE* row = DibBits(s) + DibStride(s) * static_cast<std::size_t>(y);
      BYTE* orow = DibBits(o) + DibStride(o) * static_cast<std::size_t>(y);
      for (int x = 0; x < w; ++x) {
        int v;
        if (sbits == 1) {
          // The source's own two colours aren't looked at.
          bool set = row[x >> 3] & masktable[x & 7];
          v = bits == 1 ? (set ? 1 : 0) : (set ? white : black);
        } else if (sbits <= 8) {
          int p = sbits == 8 ? row[x] : (x & 1) ? row[x >> 1] & 15 : row[x >> 1] >> 4;
          v = bits == 1 ? monoOf[p] : translate[p];
        } else {
          const BYTE* p = row + static_cast<std::size_t>(x) * (sbits / 8);
          v = bits == 1 ? (Luminance(p[2], p[1], p[0]) < 129 ? 0 : 1) : nearest->Find(p[2], p[1], p[0]);
        }
        PutIndex(orow, x, bits, v);
      }
    }
  });
  if (failed) return nullptr;
  return out;
}

namespace {

// The three ordered dithers share the walk: y = 0 at the top, each pixel's
// colour through the source's palette below 24 bits.
template <class Pixel>
HDIB BayerDither(const HDIB& image, int paletteNumber, int bits, Pixel pixel) {
  const BITMAPINFOHEADER* s = LockDib(image);
  if (!s) return nullptr;
  const int w = s->biWidth, h = s->biHeight;
  BYTE palette[768], srcPalette[768];
  GetDefaultPalette(palette, nullptr, paletteNumber);
  GetDibPalette(s, srcPalette);
  HDIB out = CreateDib(w, h, palette, bits);
  BITMAPINFOHEADER* o = LockDib(out);
  if (!o) return nullptr;
  ParallelBands(h, kBand, [&](int y0, int y1) {
    std::vector<BYTE> rgb(static_cast<std::size_t>(w) * 3);
    for (int y = y0; y < y1; ++y) {  // y from the top
      const int stored = h - 1 - y;
      ReadRgbRow(s, srcPalette, stored, rgb.data());
      BYTE* orow = DibBits(o) + DibStride(o) * static_cast<std::size_t>(stored);
      for (int x = 0; x < w; ++x) PutIndex(orow, x, bits, pixel(x, y, rgb[3 * x], rgb[3 * x + 1], rgb[3 * x + 2]));
    }
  });
  return out;
}

}  // namespace

HDIB ConvertToBayerDither2(const HDIB& image) {
  return BayerDither(image, 0, 1, [](int x, int y, int r, int g, int b) {
    return Luminance(r, g, b) <= bayerPattern[y & 7][x & 7] * 4 ? 0 : 1;
  });
}

HDIB ConvertToBayerDither16(const HDIB& image) {
  return BayerDither(image, 2, 4, [](int x, int y, int r, int g, int b) {
    const int t = bayerPattern[y & 7][x & 7] * 4;
    return (r > t ? 1 : 0) | (g > t ? 2 : 0) | (b > t ? 4 : 0);
  });
}

HDIB ConvertToBayerDither256(const HDIB& image) {
  return BayerDither(image, 8, 8, [](int x, int y, int r, int g, int b) {
    // Row and column swapped compared with the other two.
    const int t = bayerPattern[x & 7][y & 7] * 4;
    auto one = [t](int c) { return Clamp255(c - ((c - t) >> 2)); };
    return (one(r) & 0xE0) | ((one(g) >> 3) & 0x1C) | (one(b) >> 6);
  });
}

}  // namespace ochrel
