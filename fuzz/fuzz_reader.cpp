// One image format under the fuzzer (the one OCHREL_FUZZ_FORMAT names): the
// information read, the full read, and when a picture comes out, a write and a
// second read of what was written.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "files/imagefile.h"

namespace {
// The format under test: the row whose extension OCHREL_FUZZ_FORMAT names.
const ochrel::IMAGEPROC* g_row = nullptr;
}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  const char* format = std::getenv("OCHREL_FUZZ_FORMAT");
  const int row = format ? ochrel::FindImageFormat((std::string("x.") + format).c_str()) : -1;
  if (row < 0) {
    std::fprintf(stderr, "set OCHREL_FUZZ_FORMAT to the extension of an image format\n");
    std::exit(2);
  }
  g_row = &ochrel::imageproc[row];
  // Keep single inputs fast: a few megapixels is plenty to reach every branch.
  ochrel::SetImagePixelLimit(std::uint64_t{1} << 22);
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  ochrel::ByteSpan bytes(data, size);
  ochrel::HDIB info = g_row->decode(bytes, true);
  ochrel::HDIB image = g_row->decode(bytes, false);
  if (image && !info) std::abort();  // a readable file must give its information
  if (const ochrel::BITMAPINFOHEADER* h = ochrel::LockDib(image)) {
    const ochrel::BITMAPINFOHEADER* i = ochrel::LockDib(info);
    if (i->biWidth != h->biWidth || i->biHeight != h->biHeight || i->biBitCount != h->biBitCount) std::abort();
    ochrel::VectorSink out;
    if (h->biWidth * static_cast<std::int64_t>(h->biHeight) <= (1 << 16) &&
        g_row->encode(h, ochrel::SaveOptions{}, out)) {
      ochrel::HDIB again = g_row->decode(out.bytes, false);
      if (!again) std::abort();  // what we write we must read
    }
  }
  return 0;
}
