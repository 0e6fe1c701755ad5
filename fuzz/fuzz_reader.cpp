// One reader under the fuzzer: the information read, the full read, and when
// a picture comes out, a write and a second read of what was written.
#include <cstdint>
#include <cstdlib>

#include "files/codec.h"

namespace {
#if defined(OCHREL_FUZZ_FORMAT_bmp)
constexpr auto Decode = ochrel::BmpDecode;
bool Encode(const ochrel::BITMAPINFOHEADER* h, ochrel::ByteSink& s) { return ochrel::BmpEncode(h, s); }
#elif defined(OCHREL_FUZZ_FORMAT_pcx)
constexpr auto Decode = ochrel::PcxDecode;
bool Encode(const ochrel::BITMAPINFOHEADER* h, ochrel::ByteSink& s) { return ochrel::PcxEncode(h, s); }
#elif defined(OCHREL_FUZZ_FORMAT_tga)
constexpr auto Decode = ochrel::TgaDecode;
bool Encode(const ochrel::BITMAPINFOHEADER* h, ochrel::ByteSink& s) { return ochrel::TgaEncode(h, s); }
#elif defined(OCHREL_FUZZ_FORMAT_png)
constexpr auto Decode = ochrel::PngDecode;
bool Encode(const ochrel::BITMAPINFOHEADER* h, ochrel::ByteSink& s) { return ochrel::PngEncode(h, s); }
#else
constexpr auto Decode = ochrel::JpgDecode;
bool Encode(const ochrel::BITMAPINFOHEADER* h, ochrel::ByteSink& s) { return ochrel::JpgEncode(h, 75, s); }
#endif
}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  // Keep single inputs fast: a few megapixels is plenty to reach every branch.
  ochrel::SetImagePixelLimit(std::uint64_t{1} << 22);
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  ochrel::ByteSpan bytes(data, size);
  ochrel::HDIB info = Decode(bytes, true);
  ochrel::HDIB image = Decode(bytes, false);
  if (image && !info) std::abort();  // a readable file must give its information
  if (const ochrel::BITMAPINFOHEADER* h = ochrel::LockDib(image)) {
    const ochrel::BITMAPINFOHEADER* i = ochrel::LockDib(info);
    if (i->biWidth != h->biWidth || i->biHeight != h->biHeight || i->biBitCount != h->biBitCount) std::abort();
    ochrel::VectorSink out;
    if (h->biWidth * static_cast<std::int64_t>(h->biHeight) <= (1 << 16) && Encode(h, out)) {
      ochrel::HDIB again = Decode(out.bytes, false);
      if (!again) std::abort();  // what we write we must read
    }
  }
  return 0;
}
