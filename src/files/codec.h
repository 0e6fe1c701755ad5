// Shared pieces of the five image codecs: byte input with bounds, buffered
// output, the size limits that keep a hostile file from claiming the machine,
// and the atomic replacement of a file on disk.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "image/dib.h"
#include "image/progress.h"

namespace ochrel {

using ByteSpan = std::span<const std::uint8_t>;

// ---- Limits -------------------------------------------------------------------
// A reader refuses an image of more pixels than this before it allocates, and
// one whose width or height exceeds kMaxImageSide.
inline constexpr std::int64_t kMaxImageSide = 1 << 20;
void SetImagePixelLimit(std::uint64_t pixels);  // 0 restores the default
std::uint64_t GetImagePixelLimit();

// True when a w x h image may be made at all (positive, within both limits).
bool ImageSizeAllowed(std::int64_t width, std::int64_t height);

// A full DIB of the given size and depth (1, 4, 8, 24) with the palette (768
// bytes of RGB, may be null), or null if the size is refused.
HDIB NewImage(std::int64_t width, std::int64_t height, int bits, const BYTE* palette);
// The information block: header and palette only, no pixels.
HDIB NewInfo(std::int64_t width, std::int64_t height, int bits, const BYTE* palette);

// The grey ramp, 768 bytes.
const BYTE* GreyPalette();
// True when the DIB is 8-bit and its palette is the grey ramp.
bool IsGreyDib(const BITMAPINFOHEADER* h);

// A colour channel with coverage a laid over white paper.
inline BYTE OverWhite(unsigned c, unsigned a) { return static_cast<BYTE>((c * a + 255 * (255 - a) + 127) / 255); }

// ---- Little- and big-endian fields ----------------------------------------------
inline std::uint16_t Le16(const std::uint8_t* p) { return static_cast<std::uint16_t>(p[0] | (p[1] << 8)); }
inline std::uint32_t Le32(const std::uint8_t* p) {
  return static_cast<std::uint32_t>(p[0]) | (static_cast<std::uint32_t>(p[1]) << 8) |
         (static_cast<std::uint32_t>(p[2]) << 16) | (static_cast<std::uint32_t>(p[3]) << 24);
}
inline void PutLe16(std::uint8_t* p, std::uint32_t v) {
  p[0] = static_cast<std::uint8_t>(v);
  p[1] = static_cast<std::uint8_t>(v >> 8);
}
inline void PutLe32(std::uint8_t* p, std::uint32_t v) {
  PutLe16(p, v);
  PutLe16(p + 2, v >> 16);
}

// ---- Output -----------------------------------------------------------------------
class ByteSink {
 public:
  virtual ~ByteSink() = default;
  virtual bool Write(const void* data, std::size_t size) = 0;
  bool Put(std::uint8_t b) { return Write(&b, 1); }
  // A writer that knows roughly how much it will write says so first, at
  // most `size` bytes in all; a sink may make room once instead of growing.
  virtual void Expect(std::size_t /*size*/) {}

  // Appends `size` bytes that the caller then fills in whole, from any
  // thread; nullptr when the sink can't (the caller writes instead).
  virtual std::uint8_t* Extend(std::size_t /*size*/) { return nullptr; }
};

// Bytes that are not cleared when added: an encoder fills them at once.
template <class T>
struct UnclearedAllocator : std::allocator<T> {
  template <class U>
  struct rebind {
    using other = UnclearedAllocator<U>;
  };
  UnclearedAllocator() = default;
  template <class U>
  UnclearedAllocator(const UnclearedAllocator<U>&) noexcept {}
  template <class U>
  void construct(U* p) noexcept {
    ::new (static_cast<void*>(p)) U;
  }
  template <class U, class... A>
  void construct(U* p, A&&... a) {
    ::new (static_cast<void*>(p)) U(std::forward<A>(a)...);
  }
};
using ByteVector = std::vector<std::uint8_t, UnclearedAllocator<std::uint8_t>>;

class VectorSink final : public ByteSink {
 public:
  bool Write(const void* data, std::size_t size) override;
  // Room is only reserved: pages never written cost nothing.
  void Expect(std::size_t size) override;
  std::uint8_t* Extend(std::size_t size) override;
  ByteVector bytes;
};

// Buffered writes to an open stdio file; remembers the first failure.
class FileSink final : public ByteSink {
 public:
  explicit FileSink(std::FILE* f) : file_(f) { buffer_.reserve(kBuffer); }
  ~FileSink() override { Flush(); }
  bool Write(const void* data, std::size_t size) override;
  bool Flush();

 private:
  static constexpr std::size_t kBuffer = 1 << 18;
  std::FILE* file_;
  std::vector<std::uint8_t> buffer_;
  bool failed_ = false;
};

// ---- Files -------------------------------------------------------------------------
// The whole content of a file, read-only; empty (and ok() false) when the file
// can't be opened or read. Large files are mapped rather than copied.
class FileBytes {
 public:
  explicit FileBytes(const char* path);
  ~FileBytes();
  FileBytes(const FileBytes&) = delete;
  FileBytes& operator=(const FileBytes&) = delete;
  bool ok() const { return ok_; }
  ByteSpan span() const { return {data_, size_}; }

 private:
  const std::uint8_t* data_ = nullptr;
  std::size_t size_ = 0;
  bool mapped_ = false;
  bool ok_ = false;
  std::vector<std::uint8_t> copy_;
};

// Writes a file through a temporary file in the same folder (SafeFile) that is
// renamed over the target only when the encoder succeeded and everything
// reached the disk, so a failed or interrupted save leaves any old file as it
// was, and nothing else.
bool WriteFileAtomically(const std::string& path, const std::function<bool(ByteSink&)>& encode);

// ---- The codecs ------------------------------------------------------------------------
// Each decoder returns a complete packed DIB (or, with infoOnly, the header and
// palette only) or null for anything it can't read safely. Each encoder writes
// the image or returns false when it can't store its depth.
HDIB BmpDecode(ByteSpan data, bool infoOnly = false);
bool BmpEncode(const BITMAPINFOHEADER* image, ByteSink& out);
HDIB PcxDecode(ByteSpan data, bool infoOnly = false);
bool PcxEncode(const BITMAPINFOHEADER* image, ByteSink& out);
HDIB TgaDecode(ByteSpan data, bool infoOnly = false);
bool TgaEncode(const BITMAPINFOHEADER* image, ByteSink& out);
HDIB PngDecode(ByteSpan data, bool infoOnly = false);
bool PngEncode(const BITMAPINFOHEADER* image, ByteSink& out);
HDIB JpgDecode(ByteSpan data, bool infoOnly = false);
bool JpgEncode(const BITMAPINFOHEADER* image, int quality, ByteSink& out);

}  // namespace ochrel
