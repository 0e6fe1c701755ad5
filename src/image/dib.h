// The packed device-independent bitmap: the one raster form of the program.
//
// A block holds a 40-byte BITMAPINFOHEADER, a full palette of 2^bits entries
// (blue, green, red, 0) for depths up to 8, then the pixels, bottom-up, each row
// padded to a multiple of 4 bytes. Everything that touches pixels reads this
// layout directly, so it stays byte for byte what the clipboard and BMP files hold.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

namespace ochrel {

using COLORREF = std::uint32_t;
using BYTE = std::uint8_t;

// "No pixel": what a read outside the image returns, and a write that is dropped.
inline constexpr std::uint32_t NOPIXEL = 0xFFFFFFFFu;

constexpr COLORREF RGB(int r, int g, int b) {
  return static_cast<COLORREF>((r & 255) | ((g & 255) << 8) | ((b & 255) << 16));
}
constexpr int GetRValue(COLORREF c) { return static_cast<int>(c & 255); }
constexpr int GetGValue(COLORREF c) { return static_cast<int>((c >> 8) & 255); }
constexpr int GetBValue(COLORREF c) { return static_cast<int>((c >> 16) & 255); }

struct RECT {
  std::int32_t left = 0, top = 0, right = 0, bottom = 0;
  friend bool operator==(const RECT&, const RECT&) = default;
};
struct POINT {
  std::int32_t x = 0, y = 0;
  friend bool operator==(const POINT&, const POINT&) = default;
};

struct BITMAPINFOHEADER {
  std::uint32_t biSize;
  std::int32_t biWidth;
  std::int32_t biHeight;
  std::uint16_t biPlanes;
  std::uint16_t biBitCount;
  std::uint32_t biCompression;
  std::uint32_t biSizeImage;
  std::int32_t biXPelsPerMeter;
  std::int32_t biYPelsPerMeter;
  std::uint32_t biClrUsed;
  std::uint32_t biClrImportant;
};
static_assert(sizeof(BITMAPINFOHEADER) == 40);

// A "movable block": owning, zero-filled, with a fixed size. Large blocks come
// straight from the kernel (already zero, huge pages asked for), so a fresh
// 24-megapixel image costs no memset. A large block that is freed is kept for
// the next block of the same size, which then skips the kernel's page faults.
class MemBlock {
 public:
  // Null when the size is 0, above the allocation limit, or cannot be met.
  static std::unique_ptr<MemBlock> Allocate(std::size_t bytes);
  // The same, but the content is left as it comes (possibly an earlier
  // image's): only for callers that write every byte.
  static std::unique_ptr<MemBlock> AllocateUncleared(std::size_t bytes);
  ~MemBlock();
  MemBlock(const MemBlock&) = delete;
  MemBlock& operator=(const MemBlock&) = delete;

  std::uint8_t* data() { return data_; }
  const std::uint8_t* data() const { return data_; }
  std::size_t size() const { return size_; }

 private:
  MemBlock(std::uint8_t* p, std::size_t n, bool mapped) : data_(p), size_(n), mapped_(mapped) {}
  static std::unique_ptr<MemBlock> Create(std::size_t bytes, bool clear);
  std::uint8_t* data_;
  std::size_t size_;
  bool mapped_;
};

using HGLOBAL = std::unique_ptr<MemBlock>;
using HDIB = HGLOBAL;

// The largest block that Allocate will hand out. Tests lower it to drive the
// "Memory error" paths; 0 restores the default.
void SetAllocationLimit(std::size_t bytes);
std::size_t GetAllocationLimit();

// Scoped access: the header at the start of the block (null for a null handle
// or a block too small to hold one).
BITMAPINFOHEADER* LockDib(const HDIB& handle);
inline BITMAPINFOHEADER* LockDib(MemBlock* block) {
  return block && block->size() >= sizeof(BITMAPINFOHEADER) ? reinterpret_cast<BITMAPINFOHEADER*>(block->data())
                                                            : nullptr;
}

// ---- Layout ----------------------------------------------------------------
inline std::size_t DibStride(int width, int bits) {
  return ((static_cast<std::size_t>(bits) * static_cast<std::size_t>(width) + 31) / 32) * 4;
}
inline std::size_t DibStride(const BITMAPINFOHEADER* h) { return DibStride(h->biWidth, h->biBitCount); }
// Palette bytes, from the depth alone: 4 << bits for depths under 9, else 0.
inline std::size_t DibPaletteSize(int bits) { return bits < 9 ? (std::size_t{4} << bits) : 0; }
inline BYTE* DibPaletteEntries(BITMAPINFOHEADER* h) { return reinterpret_cast<BYTE*>(h) + h->biSize; }
inline const BYTE* DibPaletteEntries(const BITMAPINFOHEADER* h) { return reinterpret_cast<const BYTE*>(h) + h->biSize; }
inline BYTE* DibBits(BITMAPINFOHEADER* h) {
  return reinterpret_cast<BYTE*>(h) + h->biSize + DibPaletteSize(h->biBitCount);
}
inline const BYTE* DibBits(const BITMAPINFOHEADER* h) {
  return reinterpret_cast<const BYTE*>(h) + h->biSize + DibPaletteSize(h->biBitCount);
}
// Row y, counted from the top of the image.
inline BYTE* DibRow(BITMAPINFOHEADER* h, int y) {
  return DibBits(h) + DibStride(h) * static_cast<std::size_t>(h->biHeight - y - 1);
}
inline const BYTE* DibRow(const BITMAPINFOHEADER* h, int y) {
  return DibBits(h) + DibStride(h) * static_cast<std::size_t>(h->biHeight - y - 1);
}
inline int DibWidth(const BITMAPINFOHEADER* h) { return h->biWidth; }
inline int DibDepth(const BITMAPINFOHEADER* h) { return h->biHeight; }

extern const BYTE masktable[8];

// ---- Pixel and header primitives (on a locked header) ------------------------
std::uint32_t GetDibPixel(const BITMAPINFOHEADER* header, int x, int y);
void PutDibPixel(BITMAPINFOHEADER* header, int x, int y, std::uint32_t value);
// palette: 768 bytes, red, green, blue triples.
int GetDibPalette(const BITMAPINFOHEADER* header, BYTE* palette);
int PutDibPalette(BITMAPINFOHEADER* header, const BYTE* palette);

// ---- Creation and copying -----------------------------------------------------
int AdjustDIBits(int bits);
HDIB CreateDib(int width, int height, const BYTE* palette, int bits);
// The same, with the header and the given palette written but the rows left
// as they come: for callers that write every row byte, padding included.
HDIB CreateDibUncleared(int width, int height, const BYTE* palette, int bits);
HGLOBAL DuplicateObject(const HGLOBAL& handle);
int GetBitmapDimensions(const HDIB& handle, int* width, int* height, int* bits, BYTE* palette);
HDIB CropImage(const HDIB& handle, RECT rect);
HDIB MattImage(const HDIB& handle, int width, int height, int x, int y, std::uint32_t colour);
int InsetSolidRectangle(const HDIB& handle, std::uint32_t value, RECT rect);
int InsetSolidMask(const HDIB& handle, std::uint32_t value, RECT rect, const HDIB& mask);

// ---- Palettes and colours -------------------------------------------------------
int GetDefaultPalette(BYTE* palette, int* bits, int number);
int FindPaletteColour(int red, int green, int blue, const BYTE* palette, int count);

// Image kinds held as ImageType in a document.
enum ImageKind : int {
  IMAGE_TRUECOLOUR = 0,
  IMAGE_GREY = 1,
  IMAGE_PALETTED = 2,
  IMAGE_MONO = 3,
  IMAGE_NONE = 4,
};
int GetImageType(const HDIB& handle, const BITMAPINFOHEADER* header);
inline int GetImageType(const HDIB& handle) { return GetImageType(handle, nullptr); }
inline int GetImageType(const BITMAPINFOHEADER* header) { return GetImageType(HDIB{}, header); }

// The display depth the program runs on; the screen layer sets it at start
// (planes times bits, 9 or more reported as 24).
int GetDisplayBits();
void SetDisplayBits(int bits);

// Palette realisation has nothing to do on a true-colour display; what remains
// is its rule that a count over 256 means true colour and stops at once.
struct PALSTATE {
  int count = 0;
};
int RealizeWindowPalette(PALSTATE* state, const BYTE* palette, int count);
void UnrealizeWindowPalette(PALSTATE* state);

// ---- To the screen ---------------------------------------------------------------
// Converts the rectangle (x, y, w, h) of a DIB of any depth to 32-bit 0xFFRRGGBB
// pixels, rows top-down at dst with dstStride bytes between rows; the palette is
// applied. The rectangle must lie inside the image.
void DibToRgb32(const BITMAPINFOHEADER* header, int x, int y, int w, int h, std::uint32_t* dst, std::size_t dstStride);

}  // namespace ochrel
