#include "files/codec.h"
#include "files/safefile.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cstring>

namespace ochrel {

namespace {
constexpr std::uint64_t kDefaultPixelLimit = std::uint64_t{1} << 28;
std::atomic<std::uint64_t> g_pixelLimit{kDefaultPixelLimit};

struct GreyRamp {
  BYTE p[768];
  GreyRamp() {
    for (int i = 0; i < 256; ++i) p[3 * i] = p[3 * i + 1] = p[3 * i + 2] = static_cast<BYTE>(i);
  }
};
}  // namespace

void SetImagePixelLimit(std::uint64_t pixels) { g_pixelLimit = pixels ? pixels : kDefaultPixelLimit; }
std::uint64_t GetImagePixelLimit() { return g_pixelLimit; }

bool ImageSizeAllowed(std::int64_t width, std::int64_t height) {
  if (width <= 0 || height <= 0 || width > kMaxImageSide || height > kMaxImageSide) return false;
  return static_cast<std::uint64_t>(width) * static_cast<std::uint64_t>(height) <= g_pixelLimit;
}

HDIB NewImage(std::int64_t width, std::int64_t height, int bits, const BYTE* palette) {
  if (!ImageSizeAllowed(width, height)) return nullptr;
  return CreateDib(static_cast<int>(width), static_cast<int>(height), palette, bits);
}

HDIB NewInfo(std::int64_t width, std::int64_t height, int bits, const BYTE* palette) {
  if (!ImageSizeAllowed(width, height)) return nullptr;
  bits = AdjustDIBits(bits);
  HDIB block = MemBlock::Allocate(40 + DibPaletteSize(bits));
  BITMAPINFOHEADER* h = LockDib(block);
  if (!h) return nullptr;
  h->biSize = 40;
  h->biWidth = static_cast<std::int32_t>(width);
  h->biHeight = static_cast<std::int32_t>(height);
  h->biPlanes = 1;
  h->biBitCount = static_cast<std::uint16_t>(bits);
  h->biSizeImage = 0;
  h->biClrUsed = h->biClrImportant = bits <= 8 ? (1u << bits) : 0u;
  if (bits <= 8 && palette) PutDibPalette(h, palette);
  return block;
}

const BYTE* GreyPalette() {
  static const GreyRamp ramp;
  return ramp.p;
}

bool IsGreyDib(const BITMAPINFOHEADER* h) { return h && h->biBitCount == 8 && GetImageType(h) == IMAGE_GREY; }

// ---- Sinks --------------------------------------------------------------------------
bool VectorSink::Write(const void* data, std::size_t size) {
  const auto* p = static_cast<const std::uint8_t*>(data);
  bytes.insert(bytes.end(), p, p + size);
  return true;
}

void VectorSink::Expect(std::size_t size) {
  try {
    bytes.reserve(bytes.size() + size);
  } catch (const std::exception&) {
    return;  // growing as it goes still works
  }
#ifdef MADV_HUGEPAGE
  // Large room in large pages: far fewer page faults as it fills.
  constexpr std::uintptr_t kLarge = std::uintptr_t{1} << 21;
  const auto from = (reinterpret_cast<std::uintptr_t>(bytes.data()) + kLarge - 1) & ~(kLarge - 1);
  const auto to = (reinterpret_cast<std::uintptr_t>(bytes.data()) + bytes.capacity()) & ~(kLarge - 1);
  if (to > from) ::madvise(reinterpret_cast<void*>(from), to - from, MADV_HUGEPAGE);
#endif
}

std::uint8_t* VectorSink::Extend(std::size_t size) {
  try {
    const std::size_t at = bytes.size();
    bytes.resize(at + size);
    return bytes.data() + at;
  } catch (const std::exception&) {
    return nullptr;
  }
}

bool FileSink::Write(const void* data, std::size_t size) {
  if (failed_) return false;
  if (buffer_.size() + size > kBuffer) {
    if (!Flush()) return false;
    if (size >= kBuffer) {
      if (std::fwrite(data, 1, size, file_) != size) failed_ = true;
      return !failed_;
    }
  }
  const auto* p = static_cast<const std::uint8_t*>(data);
  buffer_.insert(buffer_.end(), p, p + size);
  return true;
}

bool FileSink::Flush() {
  if (failed_) return false;
  if (!buffer_.empty() && std::fwrite(buffer_.data(), 1, buffer_.size(), file_) != buffer_.size()) failed_ = true;
  buffer_.clear();
  return !failed_;
}

// ---- Reading ----------------------------------------------------------------------------
FileBytes::FileBytes(const char* path) {
  if (!path || !*path) return;
  int fd = ::open(path, O_RDONLY | O_CLOEXEC);
  if (fd < 0) return;
  struct stat st {};
  if (::fstat(fd, &st) != 0 || !S_ISREG(st.st_mode)) {
    ::close(fd);
    return;
  }
  std::size_t size = static_cast<std::size_t>(st.st_size);
  if (size == 0) {
    ok_ = true;  // an empty file reads fine; every decoder refuses it
  } else if (size >= (std::size_t{1} << 16)) {
    void* m = ::mmap(nullptr, size, PROT_READ, MAP_PRIVATE, fd, 0);
    if (m != MAP_FAILED) {
      ::madvise(m, size, MADV_SEQUENTIAL);
      data_ = static_cast<const std::uint8_t*>(m);
      size_ = size;
      mapped_ = ok_ = true;
    }
  }
  if (!ok_) {
    try {
      copy_.resize(size);
    } catch (...) {
      ::close(fd);
      return;
    }
    std::size_t done = 0;
    while (done < size) {
      ssize_t n = ::read(fd, copy_.data() + done, size - done);
      if (n <= 0) break;
      done += static_cast<std::size_t>(n);
    }
    if (done == size) {
      data_ = copy_.data();
      size_ = size;
      ok_ = true;
    }
  }
  ::close(fd);
}

FileBytes::~FileBytes() {
  if (mapped_) ::munmap(const_cast<std::uint8_t*>(data_), size_);
}

// ---- Writing -----------------------------------------------------------------------------
bool WriteFileAtomically(const std::string& path, const std::function<bool(ByteSink&)>& encode) {
  if (path.empty() || path.back() == '/') return false;
  SafeFile out(path);
  if (!out.ok()) return false;
  int copy = ::dup(out.fd());
  std::FILE* f = copy >= 0 ? ::fdopen(copy, "wb") : nullptr;
  if (!f) {
    if (copy >= 0) ::close(copy);
    return false;
  }
  bool ok;
  {
    FileSink sink(f);
    ok = encode(sink) && sink.Flush();
  }
  ok = (std::fflush(f) == 0) && ok;
  ok = (std::fclose(f) == 0) && ok;
  return ok && out.Commit();
}

}  // namespace ochrel
