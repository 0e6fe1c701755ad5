// PCX: a 128-byte header, run-length coded scan lines of one or more planes,
// and for 256 colours a palette behind the pixels.
#include <algorithm>
#include <cstring>
#include <vector>

#include "files/codec.h"

namespace ochrel {

namespace {
constexpr std::size_t kHeader = 128;

// Reads one scan line of `count` bytes; runs may carry over from the previous
// line, as some writers let them. False when the data ends first.
struct RleReader {
  const std::uint8_t* s;
  std::size_t len, pos = kHeader;
  unsigned pendingCount = 0;
  std::uint8_t pendingValue = 0;
  bool compressed = true;
  bool Line(std::uint8_t* out, std::size_t count) {
    if (!compressed) {
      if (len - pos < count) return false;
      std::memcpy(out, s + pos, count);
      pos += count;
      return true;
    }
    std::size_t i = 0;
    while (i < count) {
      if (pendingCount) {
        std::size_t k = std::min<std::size_t>(pendingCount, count - i);
        std::memset(out + i, pendingValue, k);
        i += k;
        pendingCount -= static_cast<unsigned>(k);
        continue;
      }
      if (pos >= len) return false;
      std::uint8_t b = s[pos++];
      if (b >= 0xC0) {
        if (pos >= len) return false;
        pendingCount = b & 0x3F;
        pendingValue = s[pos++];
      } else {
        out[i++] = b;
      }
    }
    return true;
  }
};

void PutRle(std::vector<std::uint8_t>& out, const std::uint8_t* line, std::size_t count) {
  std::size_t i = 0;
  while (i < count) {
    std::uint8_t v = line[i];
    std::size_t run = 1;
    while (i + run < count && run < 63 && line[i + run] == v) ++run;
    if (run > 1 || v >= 0xC0) out.push_back(static_cast<std::uint8_t>(0xC0 | run));
    out.push_back(v);
    i += run;
  }
}
}  // namespace

HDIB PcxDecode(ByteSpan data, bool infoOnly) {
  const std::uint8_t* p = data.data();
  const std::size_t n = data.size();
  if (n < kHeader || p[0] != 0x0A || p[2] > 1) return nullptr;
  if (p[1] == 1 || p[1] > 5) return nullptr;  // no such version
  int bpp = p[3], planes = p[65];
  int xmin = Le16(p + 4), ymin = Le16(p + 6), xmax = Le16(p + 8), ymax = Le16(p + 10);
  std::size_t bpl = Le16(p + 66);
  if (xmax < xmin || ymax < ymin) return nullptr;
  std::int64_t width = xmax - xmin + 1, height = ymax - ymin + 1;
  if (!ImageSizeAllowed(width, height)) return nullptr;
  int outBits;
  if (bpp == 1 && planes == 1) outBits = 1;
  else if ((bpp == 1 && planes >= 2 && planes <= 4) || (bpp == 2 && planes == 1) || (bpp == 4 && planes == 1))
    outBits = 4;
  else if (bpp == 8 && planes == 1) outBits = 8;
  else if (bpp == 8 && (planes == 3 || planes == 4)) outBits = 24;
  else return nullptr;
  if (bpl < (static_cast<std::size_t>(width) * bpp + 7) / 8) return nullptr;

  BYTE palette[768] = {};
  if (outBits == 1) {
    // Most mono files leave the header palette empty: black and white then.
    const std::uint8_t* c = p + 16;
    if (std::memcmp(c, c + 3, 3) == 0) {
      palette[3] = palette[4] = palette[5] = 255;
    } else {
      std::memcpy(palette, c, 6);
    }
  } else if (outBits == 4) {
    std::memcpy(palette, p + 16, 48);
  } else if (outBits == 8) {
    if (n >= kHeader + 769 && p[n - 769] == 0x0C) std::memcpy(palette, p + n - 768, 768);
    else std::memcpy(palette, GreyPalette(), 768);
  }
  if (infoOnly) return NewInfo(width, height, outBits, palette);
  // The data must be able to hold the picture the header claims before any of
  // it is made: raw lines byte for byte, coded ones at most 63 bytes a pair.
  const std::uint64_t lineBytes = static_cast<std::uint64_t>(bpl) * static_cast<std::uint64_t>(planes);
  const std::uint64_t need = lineBytes * static_cast<std::uint64_t>(height);
  const std::uint64_t avail = n - kHeader;
  if (p[2] == 0 ? avail < need : avail * 63 < need * 2) return nullptr;

  const int w = static_cast<int>(width), h = static_cast<int>(height);
  HDIB out = NewImage(width, height, outBits, palette);
  BITMAPINFOHEADER* dib = LockDib(out);
  if (!dib) return nullptr;
  std::vector<std::uint8_t> line;
  try {
    line.resize(bpl * static_cast<std::size_t>(planes));
  } catch (...) {
    return nullptr;
  }
  RleReader rle{p, n};
  rle.compressed = p[2] == 1;
  for (int y = 0; y < h; ++y) {
    ReportProgress(y, h);
    if (!rle.Line(line.data(), line.size())) return nullptr;
    BYTE* row = DibRow(dib, y);
    if (outBits == 1 || (outBits == 8) || (outBits == 4 && bpp == 4)) {
      std::memcpy(row, line.data(), (static_cast<std::size_t>(w) * bpp + 7) / 8);
      if (outBits == 1 && w % 8) row[(w - 1) / 8] &= static_cast<BYTE>(0xFF00 >> (w % 8));
      if (outBits == 4 && (w & 1)) row[w / 2] &= 0xF0;
    } else if (outBits == 4 && bpp == 2) {
      for (int x = 0; x < w; ++x) {
        unsigned v = (line[static_cast<std::size_t>(x >> 2)] >> (6 - 2 * (x & 3))) & 3;
        row[x >> 1] |= static_cast<BYTE>((x & 1) ? v : v << 4);
      }
    } else if (outBits == 4) {
      for (int x = 0; x < w; ++x) {
        unsigned v = 0;
        for (int k = 0; k < planes; ++k)
          v |= ((line[bpl * static_cast<std::size_t>(k) + static_cast<std::size_t>(x >> 3)] >> (7 - (x & 7))) & 1u)
               << k;
        row[x >> 1] |= static_cast<BYTE>((x & 1) ? v : v << 4);
      }
    } else {
      const std::uint8_t* r = line.data();
      const std::uint8_t* g = r + bpl;
      const std::uint8_t* b = g + bpl;
      for (int x = 0; x < w; ++x) {
        row[3 * x] = b[x];
        row[3 * x + 1] = g[x];
        row[3 * x + 2] = r[x];
      }
    }
  }
  return out;
}

bool PcxEncode(const BITMAPINFOHEADER* image, ByteSink& out) {
  if (!image || image->biWidth <= 0 || image->biHeight <= 0) return false;
  const int bits = image->biBitCount;
  const int w = image->biWidth, h = image->biHeight;
  if (w > 65536 || h > 65536) return false;
  int bpp, planes;
  switch (bits) {
    case 1:
      bpp = 1;
      planes = 1;
      break;
    case 4:
      bpp = 1;
      planes = 4;
      break;
    case 8:
      bpp = 8;
      planes = 1;
      break;
    case 24:
      bpp = 8;
      planes = 3;
      break;
    default: return false;
  }
  std::size_t bpl = (static_cast<std::size_t>(w) * bpp + 7) / 8;
  bpl += bpl & 1;  // lines are an even number of bytes
  if (bpl > 0xFFFF) return false;
  BYTE palette[768] = {};
  if (bits <= 8) GetDibPalette(image, palette);

  std::uint8_t head[kHeader] = {};
  head[0] = 0x0A;
  head[1] = 5;
  head[2] = 1;
  head[3] = static_cast<std::uint8_t>(bpp);
  PutLe16(head + 8, static_cast<std::uint32_t>(w - 1));
  PutLe16(head + 10, static_cast<std::uint32_t>(h - 1));
  PutLe16(head + 12, 72);
  PutLe16(head + 14, 72);
  if (bits <= 4) std::memcpy(head + 16, palette, bits == 1 ? 6 : 48);
  head[65] = static_cast<std::uint8_t>(planes);
  PutLe16(head + 66, static_cast<std::uint32_t>(bpl));
  PutLe16(head + 68, bits == 8 && IsGreyDib(image) ? 2 : 1);
  if (!out.Write(head, kHeader)) return false;

  std::vector<std::uint8_t> line(bpl * static_cast<std::size_t>(planes)), coded;
  coded.reserve(line.size() * 2 + 16);
  for (int y = 0; y < h; ++y) {
    ReportProgress(y, h);
    const BYTE* row = DibRow(image, y);
    std::fill(line.begin(), line.end(), 0);
    if (bits == 1 || bits == 8) {
      std::memcpy(line.data(), row, (static_cast<std::size_t>(w) * bpp + 7) / 8);
    } else if (bits == 4) {
      for (int x = 0; x < w; ++x) {
        unsigned v = (x & 1) ? (row[x >> 1] & 15) : (row[x >> 1] >> 4);
        for (int k = 0; k < 4; ++k)
          if ((v >> k) & 1)
            line[bpl * static_cast<std::size_t>(k) + static_cast<std::size_t>(x >> 3)] |= masktable[x & 7];
      }
    } else {
      std::uint8_t* r = line.data();
      std::uint8_t* g = r + bpl;
      std::uint8_t* b = g + bpl;
      for (int x = 0; x < w; ++x) {
        b[x] = row[3 * x];
        g[x] = row[3 * x + 1];
        r[x] = row[3 * x + 2];
      }
    }
    coded.clear();
    // Each plane is coded by itself so that no run crosses a plane.
    for (int k = 0; k < planes; ++k) PutRle(coded, line.data() + bpl * static_cast<std::size_t>(k), bpl);
    if (!out.Write(coded.data(), coded.size())) return false;
  }
  if (bits == 8) {
    if (!out.Put(0x0C) || !out.Write(palette, 768)) return false;
  }
  return true;
}

}  // namespace ochrel
