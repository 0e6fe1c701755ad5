// PNG, read through libpng. Every colour type and depth is read; 16-bit samples are
// cut to 8; transparency is composited onto white, since a bitmap here has no
// alpha and white is the paper. Written: 1/4/8-bit paletted, 8-bit grey, 24-bit.
#include <libdeflate.h>
#include <png.h>
#include <zlib.h>

#include <algorithm>
#include <csetjmp>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "files/codec.h"
#include "image/fastpath.h"
#include "image/parallel.h"
#include "image/progress.h"

namespace ochrel {

namespace {

struct ReadState {
  ByteSpan data;
  std::size_t pos = 0;
};

void ReadData(png_structp png, png_bytep out, png_size_t size) {
  auto* st = static_cast<ReadState*>(png_get_io_ptr(png));
  if (st->data.size() - st->pos < size) png_error(png, "truncated");
  if (!ProgressGoesOn(st->pos, st->data.size())) png_error(png, "stopped");
  std::memcpy(out, st->data.data() + st->pos, size);
  st->pos += size;
}

[[noreturn]] void OnError(png_structp png, png_const_charp) { png_longjmp(png, 1); }
void OnWarning(png_structp, png_const_charp) {}

struct ReadGuard {
  png_structp png = nullptr;
  png_infop info = nullptr;
  ~ReadGuard() { png_destroy_read_struct(&png, &info, nullptr); }
};

}  // namespace

HDIB PngDecode(ByteSpan data, bool infoOnly) {
  if (data.size() < 8 || png_sig_cmp(data.data(), 0, 8) != 0) return nullptr;
  ReadGuard g;
  g.png = png_create_read_struct(PNG_LIBPNG_VER_STRING, nullptr, OnError, OnWarning);
  if (!g.png) return nullptr;
  g.info = png_create_info_struct(g.png);
  if (!g.info) return nullptr;
  ReadState state{data};
  HDIB out;  // declared before setjmp so that a jump frees it on the way out
  std::vector<std::uint8_t> work;
  std::vector<png_bytep> rows;
  if (setjmp(png_jmpbuf(g.png))) return nullptr;
  png_set_read_fn(g.png, &state, ReadData);
  png_set_user_limits(g.png, static_cast<png_uint_32>(kMaxImageSide), static_cast<png_uint_32>(kMaxImageSide));
  png_set_chunk_malloc_max(g.png, 8u << 20);
  png_read_info(g.png, g.info);
  png_uint_32 width = 0, height = 0;
  int depth = 0, colour = 0, interlace = 0;
  png_get_IHDR(g.png, g.info, &width, &height, &depth, &colour, &interlace, nullptr, nullptr);
  if (!ImageSizeAllowed(width, height)) return nullptr;
  const bool trns = png_get_valid(g.png, g.info, PNG_INFO_tRNS);

  BYTE palette[768] = {};
  int outBits = 24;
  bool alpha = false;  // rows come as grey+alpha or BGRA and are composited
  bool twoBit = false;
  if (colour == PNG_COLOR_TYPE_PALETTE) {
    png_colorp plte = nullptr;
    int count = 0;
    if (!png_get_PLTE(g.png, g.info, &plte, &count)) return nullptr;
    png_bytep trans = nullptr;
    int transCount = 0;
    if (trns) png_get_tRNS(g.png, g.info, &trans, &transCount, nullptr);
    for (int i = 0; i < count && i < 256; ++i) {
      unsigned a = i < transCount ? trans[i] : 255;
      palette[3 * i] = OverWhite(plte[i].red, a);
      palette[3 * i + 1] = OverWhite(plte[i].green, a);
      palette[3 * i + 2] = OverWhite(plte[i].blue, a);
    }
    outBits = depth == 1 ? 1 : (depth <= 4 ? 4 : 8);
    twoBit = depth == 2;
  } else if (colour == PNG_COLOR_TYPE_GRAY && depth == 1 && !trns) {
    outBits = 1;
    palette[3] = palette[4] = palette[5] = 255;
  } else if (colour == PNG_COLOR_TYPE_GRAY || colour == PNG_COLOR_TYPE_GRAY_ALPHA) {
    outBits = 8;
    std::memcpy(palette, GreyPalette(), 768);
    if (depth < 8) png_set_expand_gray_1_2_4_to_8(g.png);
    if (trns) png_set_tRNS_to_alpha(g.png);
    alpha = trns || colour == PNG_COLOR_TYPE_GRAY_ALPHA;
  } else {
    png_set_bgr(g.png);
    if (trns) png_set_tRNS_to_alpha(g.png);
    alpha = trns || colour == PNG_COLOR_TYPE_RGB_ALPHA;
  }
  if (infoOnly) return NewInfo(width, height, outBits, palette);
  if (depth == 16) png_set_strip_16(g.png);
  int passes = png_set_interlace_handling(g.png);
  png_read_update_info(g.png, g.info);

  out = NewImage(width, height, outBits, palette);
  BITMAPINFOHEADER* dib = LockDib(out);
  if (!dib) return nullptr;
  const int w = static_cast<int>(width), h = static_cast<int>(height);
  const std::size_t rowBytes = png_get_rowbytes(g.png, g.info);
  const bool direct = !alpha && !twoBit;
  // Rows straight into the bitmap when the layouts agree; otherwise through a
  // work buffer (the whole image when interlaced, one row when not).
  if (direct) {
    if (rowBytes > DibStride(dib)) return nullptr;
    rows.resize(static_cast<std::size_t>(h));
    for (int y = 0; y < h; ++y) rows[static_cast<std::size_t>(y)] = DibRow(dib, y);
    png_read_image(g.png, rows.data());
  } else {
    const bool whole = passes > 1;
    try {
      work.resize(rowBytes * (whole ? static_cast<std::size_t>(h) : 1));
    } catch (...) {
      return nullptr;
    }
    if (whole) {
      rows.resize(static_cast<std::size_t>(h));
      for (int y = 0; y < h; ++y)
        rows[static_cast<std::size_t>(y)] = work.data() + rowBytes * static_cast<std::size_t>(y);
      png_read_image(g.png, rows.data());
    }
    for (int y = 0; y < h; ++y) {
      std::uint8_t* src = work.data() + (whole ? rowBytes * static_cast<std::size_t>(y) : 0);
      if (!whole) png_read_row(g.png, src, nullptr);
      BYTE* dst = DibRow(dib, y);
      if (twoBit) {
        for (int x = 0; x < w; ++x) {
          unsigned v = (src[x >> 2] >> (6 - 2 * (x & 3))) & 3;
          dst[x >> 1] |= static_cast<BYTE>((x & 1) ? v : v << 4);
        }
      } else if (outBits == 8) {
        for (int x = 0; x < w; ++x) dst[x] = OverWhite(src[2 * x], src[2 * x + 1]);
      } else {
        for (int x = 0; x < w; ++x) {
          unsigned a = src[4 * x + 3];
          dst[3 * x] = OverWhite(src[4 * x], a);
          dst[3 * x + 1] = OverWhite(src[4 * x + 1], a);
          dst[3 * x + 2] = OverWhite(src[4 * x + 2], a);
        }
      }
    }
  }
  png_read_end(g.png, nullptr);
  return out;
}

namespace {

// Row filters as libpng chooses them by default: none for paletted and
// sub-byte rows; otherwise the type with the least sum of the filtered bytes
// taken as signed magnitudes, the earlier type winning a tie.
constexpr unsigned Magnitude(std::uint8_t v) { return v < 128 ? v : 256u - v; }

// Writes the four filtered forms of cur (prev is the row above, zeros for the
// first) into cand[0..3] (sub, up, average, Paeth) and adds their sums, with
// the unfiltered row's, to sums. The loop is kept free of branches so that the
// compiler vectorises it (the default cost model at -O2 would not).
__attribute__((optimize("vect-cost-model=dynamic"))) OCHREL_WIDE_VECTORS void FilterSpan(
    const std::uint8_t* __restrict cur, const std::uint8_t* __restrict prev, std::size_t from, std::size_t n,
    std::size_t bpp, std::uint8_t* __restrict c0, std::uint8_t* __restrict c1, std::uint8_t* __restrict c2,
    std::uint8_t* __restrict c3, unsigned sums[5]) {
  unsigned s0 = 0, s1 = 0, s2 = 0, s3 = 0, s4 = 0;
  for (std::size_t i = from; i < n; ++i) {
    int a = cur[i - bpp], b = prev[i], c = prev[i - bpp], v = cur[i];
    int p = a + b - c;
    int pa = p > a ? p - a : a - p, pb = p > b ? p - b : b - p, pc = p > c ? p - c : c - p;
    int paeth = pa <= pb && pa <= pc ? a : (pb <= pc ? b : c);
    std::uint8_t f1 = static_cast<std::uint8_t>(v - a), f2 = static_cast<std::uint8_t>(v - b);
    std::uint8_t f3 = static_cast<std::uint8_t>(v - ((a + b) >> 1)), f4 = static_cast<std::uint8_t>(v - paeth);
    c0[i] = f1, c1[i] = f2, c2[i] = f3, c3[i] = f4;
    s0 += v < 128 ? v : 256 - v, s1 += f1 < 128 ? f1 : 256 - f1, s2 += f2 < 128 ? f2 : 256 - f2;
    s3 += f3 < 128 ? f3 : 256 - f3, s4 += f4 < 128 ? f4 : 256 - f4;
  }
  sums[0] += s0, sums[1] += s1, sums[2] += s2, sums[3] += s3, sums[4] += s4;
}

void FilterCandidates(const std::uint8_t* cur, const std::uint8_t* prev, std::size_t n, std::size_t bpp,
                      std::uint8_t* const cand[4], unsigned sums[5]) {
  for (int f = 0; f < 5; ++f) sums[f] = 0;
  // The first pixel has no left neighbour: a and c are 0, so Paeth is b.
  for (std::size_t i = 0; i < bpp && i < n; ++i) {
    std::uint8_t v = cur[i], b = prev[i];
    std::uint8_t f2 = static_cast<std::uint8_t>(v - b), f3 = static_cast<std::uint8_t>(v - (b >> 1));
    cand[0][i] = v, cand[1][i] = f2, cand[2][i] = f3, cand[3][i] = f2;
    sums[0] += Magnitude(v), sums[1] += Magnitude(v), sums[2] += Magnitude(f2), sums[3] += Magnitude(f3);
    sums[4] += Magnitude(f2);
  }
  if (n > bpp) FilterSpan(cur, prev, bpp, n, bpp, cand[0], cand[1], cand[2], cand[3], sums);
}

void PutBe32(std::uint8_t* p, std::uint32_t v) {
  p[0] = static_cast<std::uint8_t>(v >> 24), p[1] = static_cast<std::uint8_t>(v >> 16);
  p[2] = static_cast<std::uint8_t>(v >> 8), p[3] = static_cast<std::uint8_t>(v);
}

bool PutChunk(ByteSink& out, const char* type, const std::uint8_t* data, std::size_t size) {
  std::uint8_t head[8], tail[4];
  PutBe32(head, static_cast<std::uint32_t>(size));
  std::memcpy(head + 4, type, 4);
  uLong crc = crc32(0, head + 4, 4);
  if (size) crc = crc32_z(crc, data, size);
  PutBe32(tail, static_cast<std::uint32_t>(crc));
  return out.Write(head, 8) && (size == 0 || out.Write(data, size)) && out.Write(tail, 4);
}

}  // namespace

// The file is written here rather than through libpng so that the rows can be
// filtered on all cores and the image data deflated in one quick call; the
// chunks are the ones libpng wrote: IHDR, PLTE when paletted, IDAT, IEND.
bool PngEncode(const BITMAPINFOHEADER* image, ByteSink& out) {
  if (!image || image->biWidth <= 0 || image->biHeight <= 0) return false;
  const int bits = image->biBitCount;
  if (bits != 1 && bits != 4 && bits != 8 && bits != 24) return false;
  const int w = image->biWidth, h = image->biHeight;
  const bool grey = IsGreyDib(image);
  const int colour = bits == 24 ? 2 : (grey ? 0 : 3);
  std::uint8_t ihdr[13];
  PutBe32(ihdr, static_cast<std::uint32_t>(w));
  PutBe32(ihdr + 4, static_cast<std::uint32_t>(h));
  ihdr[8] = static_cast<std::uint8_t>(bits == 24 ? 8 : bits);
  ihdr[9] = static_cast<std::uint8_t>(colour);
  ihdr[10] = ihdr[11] = ihdr[12] = 0;  // deflate, adaptive filters, not interlaced
  static const std::uint8_t kSignature[8] = {137, 80, 78, 71, 13, 10, 26, 10};
  if (!out.Write(kSignature, 8) || !PutChunk(out, "IHDR", ihdr, 13)) return false;
  if (colour == 3) {
    BYTE palette[768];
    int count = GetDibPalette(image, palette);
    if (!PutChunk(out, "PLTE", palette, static_cast<std::size_t>(count) * 3)) return false;
  }

  const std::size_t rowBytes = (static_cast<std::size_t>(w) * static_cast<std::size_t>(bits) + 7) / 8;
  const std::size_t line = rowBytes + 1;
  std::vector<std::uint8_t> raw;
  try {
    raw.resize(line * static_cast<std::size_t>(h));
  } catch (...) {
    return false;
  }
  const bool filtered = colour != 3 && bits >= 8;
  const std::size_t bpp = bits == 24 ? 3 : 1;
  // Filtering reports through the bands; the one deflate call takes the rest of the scale.
  ProgressStage stage(0.0, 0.4);
  ParallelBands(h, 16, [&](int y0, int y1) {
    std::vector<std::uint8_t> cur(filtered ? rowBytes : 0), prev(filtered ? rowBytes : 0), work(4 * rowBytes);
    std::uint8_t* const cand[4] = {work.data(), work.data() + rowBytes, work.data() + 2 * rowBytes,
                                   work.data() + 3 * rowBytes};
    auto rgb = [&](int y, std::uint8_t* to) {  // our rows are blue, green, red
      const BYTE* s = DibRow(image, y);
      if (bpp == 1) return std::memcpy(to, s, rowBytes), void();
      for (int x = 0; x < w; ++x) to[3 * x] = s[3 * x + 2], to[3 * x + 1] = s[3 * x + 1], to[3 * x + 2] = s[3 * x];
    };
    if (filtered && y0 > 0) rgb(y0 - 1, prev.data());
    for (int y = y0; y < y1; ++y) {
      std::uint8_t* dst = raw.data() + line * static_cast<std::size_t>(y);
      if (!filtered) {
        dst[0] = 0;
        std::memcpy(dst + 1, DibRow(image, y), rowBytes);
        continue;
      }
      rgb(y, cur.data());
      unsigned sums[5];
      FilterCandidates(cur.data(), prev.data(), rowBytes, bpp, cand, sums);
      int best = 0;
      for (int f = 1; f < 5; ++f)
        if (sums[f] < sums[best]) best = f;
      dst[0] = static_cast<std::uint8_t>(best);
      std::memcpy(dst + 1, best ? cand[best - 1] : cur.data(), rowBytes);
      cur.swap(prev);
    }
  });

  stage.Move(0.4, 1.0);
  libdeflate_compressor* z = libdeflate_alloc_compressor(6);
  if (!z) return false;
  std::vector<std::uint8_t> packed;
  std::size_t size = 0;
  try {
    packed.resize(libdeflate_zlib_compress_bound(z, raw.size()));
    size = libdeflate_zlib_compress(z, raw.data(), raw.size(), packed.data(), packed.size());
  } catch (...) {}
  libdeflate_free_compressor(z);
  if (size == 0) return false;
  // Chunks of a megabyte keep any one length far from the format's limit.
  constexpr std::size_t kChunk = std::size_t{1} << 20;
  for (std::size_t at = 0; at < size; at += kChunk)
    if (!PutChunk(out, "IDAT", packed.data() + at, std::min(kChunk, size - at))) return false;
  return PutChunk(out, "IEND", nullptr, 0);
}

}  // namespace ochrel
