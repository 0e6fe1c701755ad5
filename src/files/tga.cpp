// TGA: colour-mapped (1, 9), true-colour (2, 10) and grey (3, 11) images,
// raw or run-length coded, with the origin at either corner.
//
// We write run-length coded files (types 9, 10, 11), bottom-left origin, with
// packets that never cross a row.
#include <algorithm>
#include <cstring>
#include <memory>
#include <new>
#include <thread>
#include <vector>

#include "files/codec.h"
#include "image/fastpath.h"
#include "image/parallel.h"

#if defined(__GNUC__) && defined(__x86_64__)
#include <immintrin.h>
#endif

namespace ochrel {

namespace {
constexpr std::size_t kHeader = 18;

// Expands one 15/16-bit value (A RRRRR GGGGG BBBBB, little-endian) to B, G, R.
inline void Expand555(std::uint16_t v, BYTE* bgr) {
  unsigned r = (v >> 10) & 31, g = (v >> 5) & 31, b = v & 31;
  bgr[0] = static_cast<BYTE>((b << 3) | (b >> 2));
  bgr[1] = static_cast<BYTE>((g << 3) | (g >> 2));
  bgr[2] = static_cast<BYTE>((r << 3) | (r >> 2));
}

// Emits one row of `count` pixels of `size` bytes as run and raw packets.
void PutRleRow(std::vector<std::uint8_t>& out, const std::uint8_t* px, int count, int size) {
  int i = 0;
  // Byte comparisons in line: a library call per pixel cost more than the coding.
  auto same = [&](int a, int b) {
    const std::uint8_t *p = px + a * size, *q = px + b * size;
    return size == 3 ? p[0] == q[0] && p[1] == q[1] && p[2] == q[2]
                     : std::memcmp(p, q, static_cast<std::size_t>(size)) == 0;
  };
  while (i < count) {
    int run = 1;
    while (i + run < count && run < 128 && same(i, i + run)) ++run;
    if (run >= 2) {
      out.push_back(static_cast<std::uint8_t>(0x80 | (run - 1)));
      out.insert(out.end(), px + i * size, px + (i + 1) * size);
      i += run;
      continue;
    }
    // A raw packet runs until two equal neighbours start a run.
    int raw = 1;
    while (i + raw < count && raw < 128 && !(i + raw + 1 < count && same(i + raw, i + raw + 1))) ++raw;
    out.push_back(static_cast<std::uint8_t>(raw - 1));
    out.insert(out.end(), px + i * size, px + (i + raw) * size);
    i += raw;
  }
}

#if defined(__GNUC__) && defined(__x86_64__)
// Pixel equality of 3-byte pixels 21 at a time: bytes against the bytes one
// pixel on, then every third bit of "three equal bytes in a row". Fills the
// bits of the pixels k < pairs that it reaches with 64-byte loads inside the
// row (bits start cleared) and returns the first pixel it left.
__attribute__((target("avx512f,avx512bw,bmi2"))) int EqualPixelsWide(const std::uint8_t* px, int count,
                                                                     std::uint64_t* equal) {
  int k = 0;
  for (; k + 23 <= count; k += 21) {  // bytes 3k .. 3k + 66 lie in the row
    const std::uint8_t* p = px + 3 * k;
    std::uint64_t m = _mm512_cmpeq_epi8_mask(_mm512_loadu_si512(p), _mm512_loadu_si512(p + 3));
    std::uint64_t bits = _pext_u64(m & (m >> 1) & (m >> 2), 0x1249249249249249ull);  // bits 0, 3, .., 60
    const int word = k >> 6, at = k & 63;
    equal[word] |= bits << at;
    if (at > 43) equal[word + 1] |= bits >> (64 - at);
  }
  return k;
}
bool HaveWideCompare() {
  static const bool have = __builtin_cpu_supports("avx512bw") && __builtin_cpu_supports("bmi2");
  return have;
}
#endif

// The same packets as PutRleRow, from a bit set of "pixel k equals pixel k+1"
// made a word at a time, so that each packet is found with a bit scan; writes
// at most count * (size + 1) + 1 bytes at dst and returns the end.
std::uint8_t* PutRleRowQuick(std::uint8_t* dst, const std::uint8_t* px, int count, int size,
                             std::vector<std::uint64_t>& equal) {
  const int pairs = count - 1;
  equal.assign(static_cast<std::size_t>(count) / 64 + 2, 0);
  int done = 0;
#if defined(__GNUC__) && defined(__x86_64__)
  if (size == 3 && VectorUnit() >= 2 && HaveWideCompare()) done = EqualPixelsWide(px, count, equal.data());
#endif
  for (int base = done & ~63; base < pairs; base += 64) {
    const int end = std::min(pairs, base + 64);
    std::uint64_t word = equal[static_cast<std::size_t>(base) >> 6];
    int k = std::max(base, done);
    if (size == 3) {
      // Eight bytes at pixel k hold pixels k and k+1 in the low 48 bits.
      for (; k < end && k + 2 < count; ++k) {
        std::uint64_t v;
        std::memcpy(&v, px + 3 * k, 8);
        word |= std::uint64_t{((v ^ (v >> 24)) & 0xFFFFFF) == 0} << (k - base);
      }
      for (; k < end; ++k) word |= std::uint64_t{std::memcmp(px + 3 * k, px + 3 * k + 3, 3) == 0} << (k - base);
    } else {
      for (; k < end; ++k) word |= std::uint64_t{px[k] == px[k + 1]} << (k - base);
    }
    equal[static_cast<std::size_t>(base) >> 6] = word;
  }
  // First k >= from below pairs with bit k equal to `set`, else `none`.
  auto next = [&](int from, bool set, int none) {
    for (int at = from; at < pairs;) {
      std::uint64_t word = equal[static_cast<std::size_t>(at) >> 6];
      if (!set) word = ~word;
      word >>= at & 63;
      if (word) return at + __builtin_ctzll(word) < pairs ? at + __builtin_ctzll(word) : none;
      at = (at | 63) + 1;
    }
    return none;
  };
  int i = 0;
  while (i < count) {
    if (i < pairs && (equal[static_cast<std::size_t>(i) >> 6] >> (i & 63) & 1)) {
      int run = std::min(128, next(i, false, pairs) - i + 1);
      *dst++ = static_cast<std::uint8_t>(0x80 | (run - 1));
      std::memcpy(dst, px + i * size, static_cast<std::size_t>(size));
      dst += size;
      i += run;
      continue;
    }
    int raw = std::min({128, count - i, next(i + 1, true, count) - i});
    *dst++ = static_cast<std::uint8_t>(raw - 1);
    std::memcpy(dst, px + i * size, static_cast<std::size_t>(raw) * size);
    dst += static_cast<std::size_t>(raw) * size;
    i += raw;
  }
  return dst;
}
}  // namespace

HDIB TgaDecode(ByteSpan data, bool infoOnly) {
  const std::uint8_t* p = data.data();
  const std::size_t n = data.size();
  if (n < kHeader) return nullptr;
  const int idLength = p[0], mapType = p[1], type = p[2];
  const unsigned mapFirst = Le16(p + 3), mapLength = Le16(p + 5), mapEntry = p[7];
  const std::int64_t width = Le16(p + 12), height = Le16(p + 14);
  const int depth = p[16], descriptor = p[17];
  const bool rle = type >= 9;
  const int base = rle ? type - 8 : type;
  if (mapType > 1 || (type != 1 && type != 2 && type != 3 && type != 9 && type != 10 && type != 11)) return nullptr;
  if (!ImageSizeAllowed(width, height)) return nullptr;
  int outBits;
  if (base == 1) {
    if (mapType != 1 || depth != 8) return nullptr;
    if (mapEntry != 15 && mapEntry != 16 && mapEntry != 24 && mapEntry != 32) return nullptr;
    outBits = 8;
  } else if (base == 2) {
    if (depth != 15 && depth != 16 && depth != 24 && depth != 32) return nullptr;
    outBits = 24;
  } else {
    if (depth != 8 && depth != 16) return nullptr;
    outBits = 8;
  }
  // A header that contradicts itself is refused: a map of an entry size no
  // file uses, a map longer than an 8-bit index reaches, or more attribute
  // (alpha) bits than the pixel has room for.
  if (mapType == 1 && mapEntry != 15 && mapEntry != 16 && mapEntry != 24 && mapEntry != 32) return nullptr;
  if (base == 1 && (mapLength == 0 || mapFirst + mapLength > 256)) return nullptr;
  const int attributeBits = descriptor & 15;
  const int spareBits = base == 1 ? 0 : depth == 32 ? 8 : depth == 16 ? (base == 3 ? 8 : 1) : 0;
  if (attributeBits > spareBits) return nullptr;
  std::size_t pos = kHeader + static_cast<std::size_t>(idLength);
  std::size_t entryBytes = (mapEntry + 7) / 8;
  std::size_t mapBytes = mapType ? static_cast<std::size_t>(mapLength) * entryBytes : 0;
  if (pos > n || n - pos < mapBytes) return nullptr;
  BYTE palette[768] = {};
  if (base == 3) {
    std::memcpy(palette, GreyPalette(), 768);
  } else if (base == 1) {
    for (unsigned i = 0; i < mapLength; ++i) {
      unsigned index = mapFirst + i;
      if (index > 255) break;
      const std::uint8_t* e = p + pos + i * entryBytes;
      BYTE bgr[3];
      if (entryBytes == 2) Expand555(Le16(e), bgr);
      else bgr[0] = e[0], bgr[1] = e[1], bgr[2] = e[2];
      palette[3 * index] = bgr[2];
      palette[3 * index + 1] = bgr[1];
      palette[3 * index + 2] = bgr[0];
    }
  }
  pos += mapBytes;
  if (infoOnly) return NewInfo(width, height, outBits, palette);

  const int w = static_cast<int>(width), h = static_cast<int>(height);
  const std::size_t px = (static_cast<std::size_t>(depth) + 7) / 8;
  const std::size_t rowBytes = px * static_cast<std::size_t>(w);
  if (!rle && (n - pos) / rowBytes < static_cast<std::size_t>(h)) return nullptr;
  // A run packet of 1 + px bytes makes at most 128 pixels: a file too short for
  // the picture its header claims is refused before the picture is made.
  if (rle && static_cast<std::uint64_t>(n - pos) * 128 <
                 static_cast<std::uint64_t>(w) * static_cast<std::uint64_t>(h) * (px + 1))
    return nullptr;
  HDIB out = NewImage(width, height, outBits, palette);
  BITMAPINFOHEADER* dib = LockDib(out);
  if (!dib) return nullptr;
  std::vector<std::uint8_t> line;
  try {
    line.resize(rowBytes);
  } catch (...) {
    return nullptr;
  }
  const bool topFirst = descriptor & 0x20, rightToLeft = descriptor & 0x10;
  // 32-bit pixels with declared alpha bits are laid over white, as with PNG.
  const bool alpha = px == 4 && (descriptor & 15) != 0;
  const std::uint8_t* s = p;
  unsigned packetLeft = 0;
  bool packetRun = false;
  const std::uint8_t* runPixel = nullptr;
  for (int fy = 0; fy < h; ++fy) {
    ReportProgress(fy, h);
    const std::uint8_t* src;
    if (!rle) {
      src = s + pos;
      pos += rowBytes;
    } else {
      // Packets may span rows in older files; keep their state across rows.
      for (int x = 0; x < w;) {
        if (!packetLeft) {
          if (pos >= n) return nullptr;
          std::uint8_t head = s[pos++];
          packetLeft = (head & 0x7Fu) + 1;
          packetRun = head & 0x80;
          if (packetRun) {
            if (n - pos < px) return nullptr;
            runPixel = s + pos;
            pos += px;
          }
        }
        unsigned k = std::min<unsigned>(packetLeft, static_cast<unsigned>(w - x));
        std::uint8_t* dst = line.data() + static_cast<std::size_t>(x) * px;
        if (packetRun) {
          for (unsigned j = 0; j < k; ++j) std::memcpy(dst + j * px, runPixel, px);
        } else {
          if (n - pos < k * px) return nullptr;
          std::memcpy(dst, s + pos, k * px);
          pos += k * px;
        }
        x += static_cast<int>(k);
        packetLeft -= k;
      }
      src = line.data();
    }
    int y = topFirst ? fy : h - 1 - fy;
    BYTE* row = DibRow(dib, y);
    if (!rightToLeft && !alpha && (px == 1 || (px == 3 && outBits == 24))) {
      std::memcpy(row, src, rowBytes);  // already our byte order
      continue;
    }
    for (int fx = 0; fx < w; ++fx) {
      int x = rightToLeft ? w - 1 - fx : fx;
      const std::uint8_t* q = src + static_cast<std::size_t>(fx) * px;
      if (outBits == 8) {
        row[x] = q[0];
      } else if (px == 2) {
        Expand555(Le16(q), row + 3 * x);
      } else if (alpha) {
        row[3 * x] = OverWhite(q[0], q[3]);
        row[3 * x + 1] = OverWhite(q[1], q[3]);
        row[3 * x + 2] = OverWhite(q[2], q[3]);
      } else {
        row[3 * x] = q[0];
        row[3 * x + 1] = q[1];
        row[3 * x + 2] = q[2];
      }
    }
  }
  return out;
}

bool TgaEncode(const BITMAPINFOHEADER* image, ByteSink& out) {
  if (!image || image->biWidth <= 0 || image->biHeight <= 0) return false;
  const int bits = image->biBitCount;
  const int w = image->biWidth, h = image->biHeight;
  if (w > 65535 || h > 65535) return false;
  if (bits != 1 && bits != 4 && bits != 8 && bits != 24) return false;
  const bool grey = IsGreyDib(image);
  std::uint8_t head[kHeader] = {};
  int mapCount = bits <= 8 && !grey ? (1 << bits) : 0;
  head[1] = mapCount ? 1 : 0;
  head[2] = bits == 24 ? 10 : (grey ? 11 : 9);
  PutLe16(head + 5, static_cast<std::uint32_t>(mapCount));
  head[7] = mapCount ? 24 : 0;
  PutLe16(head + 12, static_cast<std::uint32_t>(w));
  PutLe16(head + 14, static_cast<std::uint32_t>(h));
  head[16] = bits == 24 ? 24 : 8;
  head[17] = 0;  // bottom-left origin: our rows go out in memory order
  if (!out.Write(head, kHeader)) return false;
  if (mapCount) {
    // Colour map entries are blue, green, red: our palette entries without the pad byte.
    std::vector<std::uint8_t> map(static_cast<std::size_t>(mapCount) * 3);
    const BYTE* e = DibPaletteEntries(image);
    for (int i = 0; i < mapCount; ++i) std::memcpy(&map[3 * static_cast<std::size_t>(i)], e + 4 * i, 3);
    if (!out.Write(map.data(), map.size())) return false;
  }
  const int size = bits == 24 ? 3 : 1;
  // A row codes to at most a packet head per pixel more than its bytes.
  out.Expect(static_cast<std::size_t>(h) * (static_cast<std::size_t>(w) * (size + 1) + 1));
  std::vector<std::uint8_t> wide(bits < 8 ? static_cast<std::size_t>(w) : 0), coded;
  coded.reserve(static_cast<std::size_t>(w) * size * 2 + 16);
  if (FastPaths() && bits >= 8 && h >= 64) {
    // Rows are coded independently: groups of rows are coded on the cores
    // into their own buffers, and each batch is written out in order by a
    // writer thread while the next one is coded.
    constexpr int kRows = 32, kGroups = 8;
    const std::size_t capacity = static_cast<std::size_t>(kRows) * (static_cast<std::size_t>(w) * (size + 1) + 1);
    struct Coded {
      std::unique_ptr<std::uint8_t[]> data;
      std::size_t size = 0;
    };
    std::vector<Coded> coded(2 * kGroups);
    for (Coded& c : coded) c.data.reset(new (std::nothrow) std::uint8_t[capacity]);
    if (std::any_of(coded.begin(), coded.end(), [](const Coded& c) { return !c.data; })) return false;
    bool failed = false;  // declared before the writer, which joins its thread on the way out
    struct Writer {
      std::thread thread;
      ~Writer() {
        if (thread.joinable()) thread.join();
      }
    } writer;
    for (int top = 0, batch = 0; top < h; top += kRows * kGroups, ++batch) {  // top counts rows in file order
      const int count = std::min(kGroups, (h - top + kRows - 1) / kRows);
      ProgressStage part(double(top) / h, double(top + count * kRows) / h);
      Coded* set = coded.data() + (batch & 1) * kGroups;
      ParallelBands(count, 1, [&](int g0, int g1) {
        std::vector<std::uint64_t> equal;
        for (int g = g0; g < g1; ++g) {
          std::uint8_t* end = set[g].data.get();
          for (int j = top + g * kRows; j < std::min(h, top + (g + 1) * kRows); ++j)
            end = PutRleRowQuick(end, DibRow(image, h - 1 - j), w, size, equal);
          set[g].size = static_cast<std::size_t>(end - set[g].data.get());
        }
      });
      if (writer.thread.joinable()) writer.thread.join();
      if (failed) return false;
      // Into memory the groups are copied in place on the cores, which also
      // share the cost of the fresh pages.
      std::size_t total = 0;
      for (int g = 0; g < count; ++g) total += set[g].size;
      if (std::uint8_t* at = out.Extend(total)) {
        std::size_t offsets[kGroups + 1] = {};
        for (int g = 0; g < count; ++g) offsets[g + 1] = offsets[g] + set[g].size;
        ParallelBands(count, 1, [&](int g0, int g1) {
          for (int g = g0; g < g1; ++g) std::memcpy(at + offsets[g], set[g].data.get(), set[g].size);
        });
        continue;
      }
      writer.thread = std::thread([&out, &failed, set, count] {
        for (int g = 0; g < count && !failed; ++g) failed = !out.Write(set[g].data.get(), set[g].size);
      });
    }
    if (writer.thread.joinable()) writer.thread.join();
    return !failed;
  }
  for (int y = h - 1; y >= 0; --y) {
    ReportProgress(h - 1 - y, h);
    const BYTE* row = DibRow(image, y);
    if (bits < 8) {
      // Files have no depth under 8: each pixel widens to its own byte.
      for (int x = 0; x < w; ++x)
        wide[static_cast<std::size_t>(x)] = bits == 4 ? ((x & 1) ? (row[x >> 1] & 15) : (row[x >> 1] >> 4))
                                                      : ((row[x >> 3] & masktable[x & 7]) ? 1 : 0);
      row = wide.data();
    }
    coded.clear();
    PutRleRow(coded, row, w, size);
    if (!out.Write(coded.data(), coded.size())) return false;
  }
  return true;
}

}  // namespace ochrel
