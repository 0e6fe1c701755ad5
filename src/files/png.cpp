// PNG through libpng. Every colour type and depth is read; 16-bit samples are
// cut to 8; transparency is composited onto white, since a bitmap here has no
// alpha and white is the paper. Written: 1/4/8-bit paletted, 8-bit grey, 24-bit.
#include <png.h>

#include <csetjmp>
#include <cstring>
#include <vector>

#include "files/codec.h"

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

struct WriteGuard {
  png_structp png = nullptr;
  png_infop info = nullptr;
  ~WriteGuard() { png_destroy_write_struct(&png, &info); }
};

void WriteData(png_structp png, png_bytep data, png_size_t size) {
  auto* sink = static_cast<ByteSink*>(png_get_io_ptr(png));
  if (!sink->Write(data, size)) png_error(png, "write");
}
void FlushData(png_structp) {}

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

bool PngEncode(const BITMAPINFOHEADER* image, ByteSink& out) {
  if (!image || image->biWidth <= 0 || image->biHeight <= 0) return false;
  const int bits = image->biBitCount;
  if (bits != 1 && bits != 4 && bits != 8 && bits != 24) return false;
  WriteGuard g;
  g.png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, OnError, OnWarning);
  if (!g.png) return false;
  g.info = png_create_info_struct(g.png);
  if (!g.info) return false;
  if (setjmp(png_jmpbuf(g.png))) return false;
  png_set_write_fn(g.png, &out, WriteData, FlushData);
  const bool grey = IsGreyDib(image);
  int colour = bits == 24 ? PNG_COLOR_TYPE_RGB : (grey ? PNG_COLOR_TYPE_GRAY : PNG_COLOR_TYPE_PALETTE);
  png_set_IHDR(g.png, g.info, static_cast<png_uint_32>(image->biWidth), static_cast<png_uint_32>(image->biHeight),
               bits == 24 ? 8 : bits, colour, PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT,
               PNG_FILTER_TYPE_DEFAULT);
  if (colour == PNG_COLOR_TYPE_PALETTE) {
    png_color plte[256];
    BYTE palette[768];
    int count = GetDibPalette(image, palette);
    for (int i = 0; i < count; ++i) plte[i] = {palette[3 * i], palette[3 * i + 1], palette[3 * i + 2]};
    png_set_PLTE(g.png, g.info, plte, count);
  }
  png_write_info(g.png, g.info);
  if (bits == 24) png_set_bgr(g.png);
  for (int y = 0; y < image->biHeight; ++y) {
    ReportProgress(y, image->biHeight);
    png_write_row(g.png, const_cast<png_bytep>(DibRow(image, y)));
  }
  png_write_end(g.png, nullptr);
  return true;
}

}  // namespace ochrel
