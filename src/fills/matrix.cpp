#include "fills/matrix.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstring>

#include "fills/fill_util.h"
#include "fills/library_io.h"
#include "files/imagefile.h"

namespace ochrel {

bool MatrixTileUsable(const MemBlock* block) {
  const BITMAPINFOHEADER* h = LockDib(const_cast<MemBlock*>(block));
  if (!h) return false;
  if (h->biSize < sizeof(BITMAPINFOHEADER) || h->biWidth <= 0 || h->biHeight <= 0) return false;
  const int bits = h->biBitCount;
  if (bits != 1 && bits != 4 && bits != 8 && bits != 24 && bits != 32) return false;
  const std::size_t size = block->size();
  const std::size_t offset = static_cast<std::size_t>(h->biSize) + DibPaletteSize(bits);
  if (offset > size) return false;
  const std::size_t stride = DibStride(h->biWidth, bits);
  return static_cast<std::size_t>(h->biHeight) <= (size - offset) / stride;
}

namespace {

// The tile's pixels as COLORREFs, row y from the top; the palette applied.
COLORREF TilePixel(const BITMAPINFOHEADER* h, int x, int y) {
  const std::uint32_t v = GetDibPixel(h, x, y);
  if (h->biBitCount > 8) return v & 0xFFFFFF;
  const BYTE* pal = DibPaletteEntries(h) + 4 * static_cast<std::size_t>(v);
  return RGB(pal[2], pal[1], pal[0]);
}

}  // namespace

HDIB CreateMatrix(const MATRIX* m) {
  if (!m || !MatrixTileUsable(m->Tile.get())) return nullptr;
  const BITMAPINFOHEADER* tile = LockDib(m->Tile);
  const int W = m->Rect.right - m->Rect.left, H = m->Rect.bottom - m->Rect.top;
  BYTE palette[768];
  GetDefaultPalette(palette, nullptr, 8);
  HDIB dib = CreateDib(W, H, palette, 24);
  BITMAPINFOHEADER* h = LockDib(dib);
  if (!h) return nullptr;
  const int tw = tile->biWidth, th = tile->biHeight;
  // Tile rows in 24-bit form once, then every output row is copies of one of them.
  auto rows = fills::AllocScratch<BYTE>(static_cast<std::size_t>(tw) * 3 * th);
  if (!rows) return nullptr;
  BYTE* cache = rows.data();
  for (int y = 0; y < th; ++y) {
    BYTE* p = cache + static_cast<std::size_t>(y) * tw * 3;
    if (tile->biBitCount == 24) {
      std::memcpy(p, DibRow(tile, y), static_cast<std::size_t>(tw) * 3);
    } else {
      for (int x = 0; x < tw; ++x) {
        const COLORREF c = TilePixel(tile, x, y);
        p[3 * x] = static_cast<BYTE>(GetBValue(c));
        p[3 * x + 1] = static_cast<BYTE>(GetGValue(c));
        p[3 * x + 2] = static_cast<BYTE>(GetRValue(c));
      }
    }
  }
  // The pattern is anchored at the top left of the rectangle.
  for (int y = 0; y < H; ++y) {
    const BYTE* src = cache + static_cast<std::size_t>(y % th) * tw * 3;
    BYTE* dst = DibRow(h, y);
    for (int x = 0; x < W; x += tw) {
      const int n = std::min(tw, W - x);
      std::memcpy(dst + 3 * static_cast<std::size_t>(x), src, static_cast<std::size_t>(n) * 3);
    }
  }
  return dib;
}

int CreateDefaultMatrix(MATRIX* m, const std::string& tileFile) {
  if (!m) return 0;
  DestroyMatrix(m);
  m->Rect = RECT{};
  if (!tileFile.empty()) {
    HDIB image = LoadImage(tileFile.c_str());
    if (image) {
      const BITMAPINFOHEADER* h = LockDib(image);
      if (h && (h->biWidth > 256 || h->biHeight > 256 || h->biBitCount == 24)) {
        m->Tile = std::move(image);
        return 1;
      }
      HDIB converted = fills::ToTrueColour(image);
      if (converted) {
        m->Tile = std::move(converted);
        return 1;
      }
    }
  }
  m->Tile = CreateBuiltinMatrixTile();
  return m->Tile ? 1 : 0;
}

int DuplicateMatrix(MATRIX* to, const MATRIX* from) {
  if (!to || !from) return 0;
  HDIB tile;
  if (from->Tile) {
    tile = DuplicateObject(from->Tile);
    if (!tile) return 0;
  }
  to->Tile = std::move(tile);
  to->Rect = from->Rect;
  return 1;
}

void DestroyMatrix(MATRIX* m) {
  if (m) m->Tile.reset();
}

// ---- The library file ----------------------------------------------------------

namespace {

void Put32(BYTE* p, std::uint32_t v) {
  p[0] = static_cast<BYTE>(v);
  p[1] = static_cast<BYTE>(v >> 8);
  p[2] = static_cast<BYTE>(v >> 16);
  p[3] = static_cast<BYTE>(v >> 24);
}
std::uint32_t Get32(const BYTE* p) {
  return p[0] | (static_cast<std::uint32_t>(p[1]) << 8) | (static_cast<std::uint32_t>(p[2]) << 16) |
         (static_cast<std::uint32_t>(p[3]) << 24);
}

void MakeHeader(BYTE* header, std::uint32_t count, int writeable, std::time_t stamp) {
  std::memset(header, 0, kMatrixHeaderSize);
  std::memcpy(header, kMatrixMagic, 8);
  Put32(header + 8, static_cast<std::uint32_t>(stamp));
  Put32(header + 802, 2);
  Put32(header + 806, 0);
  Put32(header + 810, 'a');
  Put32(header + 814, 2);
  Put32(header + 818, count);
  Put32(header + 822, static_cast<std::uint32_t>(writeable));
}

void MakeItemHeader(BYTE* item, std::uint32_t size) {
  std::memset(item, 0, kMatrixItemHeaderSize);
  std::memcpy(item, "MTXi", 4);
  Put32(item + 4, size);
}

bool ReadExact(std::FILE* f, void* p, std::size_t n) { return std::fread(p, 1, n, f) == n; }

long long FileSize(std::FILE* f) {
  const long here = std::ftell(f);
  if (std::fseek(f, 0, SEEK_END) != 0) return -1;
  const long size = std::ftell(f);
  std::fseek(f, here, SEEK_SET);
  return size;
}

}  // namespace

int LoadMatrixFile(const std::string& path, std::vector<HDIB>* list, int* writeable) {
  if (!list) return 0;
  fills::File f(std::fopen(path.c_str(), "rb"));
  if (!f) return 1;  // a missing library is an empty one
  const long long fileSize = FileSize(f.get());
  BYTE header[kMatrixHeaderSize];
  if (!ReadExact(f.get(), header, sizeof header) || std::memcmp(header, kMatrixMagic, 8) != 0) return 0;
  if (writeable) *writeable = static_cast<int>(Get32(header + 822));
  list->clear();
  const std::uint32_t count = Get32(header + 818);
  long long pos = kMatrixHeaderSize;
  for (std::uint32_t i = 0; i < count; ++i) {
    BYTE item[kMatrixItemHeaderSize];
    if (std::fseek(f.get(), static_cast<long>(pos), SEEK_SET) != 0 || !ReadExact(f.get(), item, sizeof item)) return 0;
    const std::uint32_t size = Get32(item + 4);
    const long long data = pos + kMatrixItemHeaderSize;
    if (std::memcmp(item, "MTXi", 4) == 0) {
      // A size beyond the end of the file is a short read: no block is asked for.
      if (size > fileSize - data) return 0;
      HGLOBAL block = MemBlock::Allocate(size);
      if (!block || !ReadExact(f.get(), block->data(), size)) return 0;
      list->push_back(std::move(block));
    }
    pos = data + size;
  }
  return 1;
}

int SaveMatrixFile(const std::string& path, const std::vector<HDIB>& list, int writeable, std::time_t stamp,
                   const SaveOptions& options) {
  if (options.backups) fills::MakeBackup(path);
  fills::AtomicWriter out(path, "wb");
  if (!out) return 0;
  BYTE header[kMatrixHeaderSize];
  std::uint32_t written = 0;
  for (const HDIB& block : list)
    if (block) ++written;
  MakeHeader(header, written, writeable, stamp);
  if (std::fwrite(header, 1, sizeof header, out.get()) != sizeof header) return 0;
  for (const HDIB& block : list) {
    if (!block) continue;
    BYTE item[kMatrixItemHeaderSize];
    MakeItemHeader(item, static_cast<std::uint32_t>(block->size()));
    if (std::fwrite(item, 1, sizeof item, out.get()) != sizeof item) return 0;
    if (std::fwrite(block->data(), 1, block->size(), out.get()) != block->size()) return 0;
  }
  return out.Commit() ? 1 : 0;
}

int AddMatrixElement(const std::string& path, const HDIB& dib) {
  if (!dib) return 0;
  fills::File f(std::fopen(path.c_str(), "r+b"));
  if (!f) return 1;
  const long long fileSize = FileSize(f.get());
  BYTE header[kMatrixHeaderSize];
  if (!ReadExact(f.get(), header, sizeof header) || std::memcmp(header, kMatrixMagic, 8) != 0) return 0;
  if (Get32(header + 822) == 0) return 0;  // a protected library
  const std::uint32_t count = Get32(header + 818);
  long long pos = kMatrixHeaderSize;
  for (std::uint32_t i = 0; i < count; ++i) {
    BYTE item[kMatrixItemHeaderSize];
    if (std::fseek(f.get(), static_cast<long>(pos), SEEK_SET) != 0 || !ReadExact(f.get(), item, sizeof item)) return 0;
    pos += kMatrixItemHeaderSize + static_cast<long long>(Get32(item + 4));
    if (pos > fileSize) return 0;
  }
  BYTE item[kMatrixItemHeaderSize];
  MakeItemHeader(item, static_cast<std::uint32_t>(dib->size()));
  Put32(header + 818, count + 1);
  if (std::fseek(f.get(), static_cast<long>(pos), SEEK_SET) != 0 ||
      std::fwrite(item, 1, sizeof item, f.get()) != sizeof item ||
      std::fwrite(dib->data(), 1, dib->size(), f.get()) != dib->size() || std::fseek(f.get(), 0, SEEK_SET) != 0 ||
      std::fwrite(header, 1, sizeof header, f.get()) != sizeof header)
    return 0;
  return std::fflush(f.get()) == 0 ? 1 : 0;
}

}  // namespace ochrel
