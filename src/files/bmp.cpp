// BMP: the file is our own DIB behind a 14-byte header, so the common case is a
// straight copy. Also read: the old 12-byte header, the V4/V5 headers, RLE4,
// RLE8, bit fields, 16- and 32-bit pixels, top-down rows.
#include <algorithm>
#include <cstring>

#include "files/codec.h"

namespace ochrel {

namespace {

constexpr std::uint32_t kRgb = 0, kRle8 = 1, kRle4 = 2, kBitFields = 3, kAlphaBitFields = 6;

struct Mask {
  std::uint32_t mask = 0;
  int shift = 0;
  std::uint32_t max = 0;
  explicit Mask(std::uint32_t m = 0) : mask(m) {
    if (!m) return;
    while (!((m >> shift) & 1)) ++shift;
    max = m >> shift;
    // Only the low contiguous run counts; holes in a mask are nonsense anyway.
    std::uint32_t run = 0;
    while (run < 32 && (max >> run) & 1) ++run;
    max = run >= 32 ? 0xFFFFFFFFu : ((1u << run) - 1);
  }
  BYTE Get(std::uint32_t v) const {
    if (!max) return 0;
    std::uint64_t x = (v >> shift) & max;
    return static_cast<BYTE>((x * 255 + max / 2) / max);
  }
};

// Writes a pixel value of a depth 1, 4 or 8 into a DIB row.
inline void PutIndex(BYTE* row, int x, int bits, unsigned v) {
  if (bits == 8) {
    row[x] = static_cast<BYTE>(v);
  } else if (bits == 4) {
    BYTE& b = row[x >> 1];
    b = (x & 1) ? static_cast<BYTE>((b & 0xF0) | (v & 15)) : static_cast<BYTE>((b & 0x0F) | ((v & 15) << 4));
  } else {
    BYTE& b = row[x >> 3];
    if (v & 1) b |= masktable[x & 7];
    else b &= static_cast<BYTE>(~masktable[x & 7]);
  }
}

}  // namespace

HDIB BmpDecode(ByteSpan data, bool infoOnly) {
  const std::size_t n = data.size();
  const std::uint8_t* p = data.data();
  if (n < 14 + 12 || p[0] != 'B' || p[1] != 'M') return nullptr;
  std::uint32_t offBits = Le32(p + 10);
  std::uint32_t hsize = Le32(p + 14);
  if (hsize < 12 || hsize > n - 14) return nullptr;
  const std::uint8_t* h = p + 14;
  std::int64_t width, height;
  int bits;
  std::uint32_t compression = kRgb, clrUsed = 0;
  bool core = hsize < 16;
  if (core) {
    if (hsize != 12) return nullptr;
    width = Le16(h + 4);
    height = Le16(h + 6);
    if (Le16(h + 8) != 1) return nullptr;  // planes
    bits = Le16(h + 10);
  } else {
    // OS/2 2.x headers may stop anywhere after 16 bytes; missing fields are 0.
    std::uint8_t full[40] = {};
    std::memcpy(full, h, std::min<std::uint32_t>(hsize, 40));
    width = static_cast<std::int32_t>(Le32(full + 4));
    height = static_cast<std::int32_t>(Le32(full + 8));
    if (Le16(full + 12) != 1) return nullptr;  // planes
    bits = Le16(full + 14);
    compression = Le32(full + 16);
    clrUsed = Le32(full + 32);
    // OS/2 2.x uses 3 for its own Huffman scheme and 4 for 24-bit RLE: refuse both.
    if (hsize == 64 && compression >= 3) return nullptr;
  }
  bool topDown = height < 0;
  if (topDown) height = -height;
  if (!ImageSizeAllowed(width, height)) return nullptr;

  std::uint32_t rmask = 0, gmask = 0, bmask = 0, amask = 0;
  std::size_t palettePos = 14 + hsize;
  if (compression == kBitFields || compression == kAlphaBitFields) {
    if (bits != 16 && bits != 32) return nullptr;
    if (hsize >= 52) {
      rmask = Le32(h + 40);
      gmask = Le32(h + 44);
      bmask = Le32(h + 48);
      if (hsize >= 56) amask = Le32(h + 52);
    } else {
      std::size_t count = compression == kAlphaBitFields ? 16 : 12;
      if (palettePos + 12 > n) return nullptr;
      rmask = Le32(p + palettePos);
      gmask = Le32(p + palettePos + 4);
      bmask = Le32(p + palettePos + 8);
      if (compression == kAlphaBitFields && palettePos + 16 <= n) amask = Le32(p + palettePos + 12);
      palettePos += count;
    }
  } else if (bits == 16) {
    rmask = 0x7C00, gmask = 0x03E0, bmask = 0x001F;
  } else if (bits == 32) {
    rmask = 0xFF0000, gmask = 0xFF00, bmask = 0xFF;
  }
  switch (bits) {
    case 1:
    case 2:
    case 4:
    case 8:
    case 16:
    case 24:
    case 32: break;
    default: return nullptr;
  }
  if (compression == kRle8 && bits != 8) return nullptr;
  if (compression == kRle4 && bits != 4) return nullptr;
  if (compression != kRgb && compression != kRle8 && compression != kRle4 && compression != kBitFields &&
      compression != kAlphaBitFields)
    return nullptr;
  if ((compression == kRle4 || compression == kRle8) && topDown) return nullptr;

  // A header that contradicts itself is refused: more colours than the depth
  // can index, or a colour table longer than the file.
  const std::size_t entry = core ? 3 : 4;
  if (bits <= 8 && clrUsed > (1u << bits)) return nullptr;
  if (clrUsed && static_cast<std::uint64_t>(clrUsed) * entry > (palettePos < n ? n - palettePos : 0)) return nullptr;
  if (bits <= 8 && clrUsed && offBits > palettePos && offBits < palettePos + clrUsed * entry) return nullptr;

  // Palette: as many entries as declared (or the full set), as far as the data goes.
  BYTE palette[768] = {};
  if (bits <= 8) {
    std::size_t count = clrUsed ? clrUsed : (1u << bits);
    std::size_t end = offBits > palettePos && offBits <= n ? offBits : n;
    std::size_t avail = end > palettePos ? (end - palettePos) / entry : 0;
    count = std::min(count, avail);
    if (count == 0) return nullptr;
    for (std::size_t i = 0; i < count; ++i) {
      const std::uint8_t* e = p + palettePos + i * entry;
      palette[3 * i] = e[2];
      palette[3 * i + 1] = e[1];
      palette[3 * i + 2] = e[0];
    }
  }
  int outBits = bits <= 8 ? (bits == 2 ? 4 : bits) : 24;
  if (infoOnly) return NewInfo(width, height, outBits, palette);

  if (offBits < palettePos || offBits >= n) return nullptr;
  ByteSpan pix = data.subspan(offBits);
  const int w = static_cast<int>(width), ht = static_cast<int>(height);
  const std::size_t srcStride = ((static_cast<std::size_t>(w) * bits + 31) / 32) * 4;
  if (compression == kRgb || compression == kBitFields || compression == kAlphaBitFields) {
    // Every row must be there; a short last row is tolerated only for its padding.
    std::size_t need = srcStride * static_cast<std::size_t>(ht - 1) + (static_cast<std::size_t>(w) * bits + 7) / 8;
    if (pix.size() < need) return nullptr;
  }
  HDIB out = NewImage(width, height, outBits, palette);
  BITMAPINFOHEADER* dib = LockDib(out);
  if (!dib) return nullptr;
  const std::size_t dstStride = DibStride(dib);

  if (compression == kRle8 || compression == kRle4) {
    // Rows in the file count from the bottom like ours; y here is the file row.
    const std::uint8_t* s = pix.data();
    std::size_t len = pix.size(), i = 0;
    int x = 0, y = 0;
    const bool four = compression == kRle4;
    BYTE* bits0 = DibBits(dib);
    while (i + 1 < len && y < ht) {
      unsigned count = s[i], value = s[i + 1];
      i += 2;
      BYTE* row = bits0 + dstStride * static_cast<std::size_t>(y);
      if (count) {
        for (unsigned k = 0; k < count && x < w; ++k, ++x) {
          unsigned v = four ? ((k & 1) ? (value & 15) : (value >> 4)) : value;
          PutIndex(row, x, outBits, v);
        }
      } else if (value == 0) {
        x = 0;
        ++y;
      } else if (value == 1) {
        break;
      } else if (value == 2) {
        if (i + 1 >= len) break;
        x += s[i];
        y += s[i + 1];
        i += 2;
      } else {
        std::size_t bytes = four ? (value + 1) / 2 : value;
        if (i + bytes > len) return nullptr;
        for (unsigned k = 0; k < value; ++k, ++x) {
          if (x >= w) continue;
          unsigned v = four ? ((k & 1) ? (s[i + k / 2] & 15) : (s[i + k / 2] >> 4)) : s[i + k];
          PutIndex(row, x, outBits, v);
        }
        i += (bytes + 1) & ~std::size_t{1};
      }
    }
    return out;
  }

  for (int fy = 0; fy < ht; ++fy) {
    ReportProgress(fy, ht);
    // File row fy counts from the bottom unless the file is top-down.
    int dibRow = topDown ? ht - 1 - fy : fy;
    const std::uint8_t* src = pix.data() + srcStride * static_cast<std::size_t>(fy);
    BYTE* dst = DibBits(dib) + dstStride * static_cast<std::size_t>(dibRow);
    std::size_t avail = pix.size() - srcStride * static_cast<std::size_t>(fy);
    if (bits == outBits) {
      std::memcpy(dst, src, std::min(dstStride, avail));
      continue;
    }
    if (bits == 2) {
      for (int x = 0; x < w; ++x) PutIndex(dst, x, 4, (src[x >> 2] >> (6 - 2 * (x & 3))) & 3);
      continue;
    }
    if (bits == 32 && rmask == 0xFF0000 && gmask == 0xFF00 && bmask == 0xFF && !amask) {
      for (int x = 0; x < w; ++x) {
        dst[3 * x] = src[4 * x];
        dst[3 * x + 1] = src[4 * x + 1];
        dst[3 * x + 2] = src[4 * x + 2];
      }
      continue;
    }
    // A declared alpha channel is laid over white, as with PNG.
    Mask r(rmask), g(gmask), b(bmask), a(amask);
    for (int x = 0; x < w; ++x) {
      std::uint32_t v = bits == 16 ? Le16(src + 2 * x) : Le32(src + 4 * x);
      unsigned alpha = amask ? a.Get(v) : 255;
      dst[3 * x] = OverWhite(b.Get(v), alpha);
      dst[3 * x + 1] = OverWhite(g.Get(v), alpha);
      dst[3 * x + 2] = OverWhite(r.Get(v), alpha);
    }
  }
  return out;
}

bool BmpEncode(const BITMAPINFOHEADER* image, ByteSink& out) {
  if (!image) return false;
  int bits = image->biBitCount;
  if (bits != 1 && bits != 4 && bits != 8 && bits != 24) return false;
  if (image->biWidth <= 0 || image->biHeight <= 0) return false;
  std::size_t stride = DibStride(image);
  std::uint64_t pixels = static_cast<std::uint64_t>(stride) * static_cast<std::uint64_t>(image->biHeight);
  std::uint64_t palette = DibPaletteSize(bits);
  std::uint64_t total = 14 + 40 + palette + pixels;
  if (total > 0xFFFFFFFFu) return false;
  std::uint8_t head[54] = {};
  head[0] = 'B';
  head[1] = 'M';
  PutLe32(head + 2, static_cast<std::uint32_t>(total));
  PutLe32(head + 10, static_cast<std::uint32_t>(54 + palette));
  PutLe32(head + 14, 40);
  PutLe32(head + 18, static_cast<std::uint32_t>(image->biWidth));
  PutLe32(head + 22, static_cast<std::uint32_t>(image->biHeight));
  PutLe16(head + 26, 1);
  PutLe16(head + 28, static_cast<std::uint32_t>(bits));
  PutLe32(head + 34, static_cast<std::uint32_t>(pixels));
  PutLe32(head + 38, 2835);  // 72 dots per inch
  PutLe32(head + 42, 2835);
  PutLe32(head + 46, bits <= 8 ? (1u << bits) : 0);
  return out.Write(head, 54) && (palette == 0 || out.Write(DibPaletteEntries(image), palette)) &&
         out.Write(DibBits(image), pixels);
}

}  // namespace ochrel
