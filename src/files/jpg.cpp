// JPEG through libjpeg-turbo: baseline and progressive; grey files become
// 8-bit grey bitmaps, everything else true colour (CMYK and YCCK converted).
// A file that ends before its last scan is refused rather than padded grey.
#include <cstdio>
#include <jpeglib.h>
#include <jerror.h>

#include <csetjmp>
#include <cstring>
#include <vector>

#include "files/codec.h"

namespace ochrel {

namespace {

struct ErrorManager {
  jpeg_error_mgr pub;
  std::jmp_buf jump;
};

[[noreturn]] void OnError(j_common_ptr cinfo) { std::longjmp(reinterpret_cast<ErrorManager*>(cinfo->err)->jump, 1); }

void OnMessage(j_common_ptr cinfo, int level) {
  // A premature end of data is a broken file, not something to paper over.
  if (level < 0 && cinfo->err->msg_code == JWRN_JPEG_EOF) OnError(cinfo);
}
void OnOutput(j_common_ptr) {}

// Bounds the number of scans, which a hostile progressive file can multiply.
struct Progress {
  jpeg_progress_mgr pub;
  j_decompress_ptr cinfo;
};
void OnProgress(j_common_ptr cinfo) {
  auto* d = reinterpret_cast<j_decompress_ptr>(cinfo);
  if (d->is_decompressor && d->input_scan_number > 1000) OnError(cinfo);
}

struct Destination {
  jpeg_destination_mgr pub;
  ByteSink* sink;
  std::uint8_t buffer[1 << 16];
};
void InitDestination(j_compress_ptr c) {
  auto* d = reinterpret_cast<Destination*>(c->dest);
  d->pub.next_output_byte = d->buffer;
  d->pub.free_in_buffer = sizeof d->buffer;
}
boolean EmptyBuffer(j_compress_ptr c) {
  auto* d = reinterpret_cast<Destination*>(c->dest);
  if (!d->sink->Write(d->buffer, sizeof d->buffer)) OnError(reinterpret_cast<j_common_ptr>(c));
  d->pub.next_output_byte = d->buffer;
  d->pub.free_in_buffer = sizeof d->buffer;
  return TRUE;
}
void TermDestination(j_compress_ptr c) {
  auto* d = reinterpret_cast<Destination*>(c->dest);
  std::size_t used = sizeof d->buffer - d->pub.free_in_buffer;
  if (used && !d->sink->Write(d->buffer, used)) OnError(reinterpret_cast<j_common_ptr>(c));
}

}  // namespace

HDIB JpgDecode(ByteSpan data, bool infoOnly) {
  if (data.size() < 4 || data[0] != 0xFF || data[1] != 0xD8) return nullptr;
  jpeg_decompress_struct cinfo;
  ErrorManager err;
  Progress progress;
  HDIB out;
  std::vector<std::uint8_t> cmyk;
  cinfo.err = jpeg_std_error(&err.pub);
  err.pub.error_exit = OnError;
  err.pub.emit_message = OnMessage;
  err.pub.output_message = OnOutput;
  if (setjmp(err.jump)) {
    jpeg_destroy_decompress(&cinfo);
    return nullptr;
  }
  jpeg_create_decompress(&cinfo);
  cinfo.mem->max_memory_to_use = std::size_t{512} << 20;
  progress.pub.progress_monitor = OnProgress;
  progress.cinfo = &cinfo;
  cinfo.progress = &progress.pub;
  jpeg_mem_src(&cinfo, data.data(), static_cast<unsigned long>(data.size()));
  jpeg_read_header(&cinfo, TRUE);
  if (!ImageSizeAllowed(cinfo.image_width, cinfo.image_height)) {
    jpeg_destroy_decompress(&cinfo);
    return nullptr;
  }
  const bool grey = cinfo.jpeg_color_space == JCS_GRAYSCALE;
  const bool inkCmyk = cinfo.jpeg_color_space == JCS_CMYK || cinfo.jpeg_color_space == JCS_YCCK;
  if (infoOnly) {
    jpeg_destroy_decompress(&cinfo);
    return NewInfo(cinfo.image_width, cinfo.image_height, grey ? 8 : 24, grey ? GreyPalette() : nullptr);
  }
  cinfo.out_color_space = grey ? JCS_GRAYSCALE : (inkCmyk ? JCS_CMYK : JCS_EXT_BGR);
  jpeg_start_decompress(&cinfo);
  out = NewImage(cinfo.output_width, cinfo.output_height, grey ? 8 : 24, grey ? GreyPalette() : nullptr);
  BITMAPINFOHEADER* dib = LockDib(out);
  if (!dib) {
    jpeg_destroy_decompress(&cinfo);
    return nullptr;
  }
  const int w = static_cast<int>(cinfo.output_width);
  if (inkCmyk) cmyk.resize(static_cast<std::size_t>(w) * 4);
  // Files with the common "Adobe" marker store inverted inks.
  const bool inverted = cinfo.saw_Adobe_marker;
  while (cinfo.output_scanline < cinfo.output_height) {
    if (!ProgressGoesOn(cinfo.output_scanline, cinfo.output_height)) OnError(reinterpret_cast<j_common_ptr>(&cinfo));
    BYTE* row = DibRow(dib, static_cast<int>(cinfo.output_scanline));
    if (!inkCmyk) {
      JSAMPROW r = row;
      jpeg_read_scanlines(&cinfo, &r, 1);
      continue;
    }
    JSAMPROW r = cmyk.data();
    jpeg_read_scanlines(&cinfo, &r, 1);
    for (int x = 0; x < w; ++x) {
      unsigned c = cmyk[4 * x], m = cmyk[4 * x + 1], yy = cmyk[4 * x + 2], k = cmyk[4 * x + 3];
      if (!inverted) c = 255 - c, m = 255 - m, yy = 255 - yy, k = 255 - k;
      row[3 * x] = static_cast<BYTE>((yy * k + 127) / 255);
      row[3 * x + 1] = static_cast<BYTE>((m * k + 127) / 255);
      row[3 * x + 2] = static_cast<BYTE>((c * k + 127) / 255);
    }
  }
  jpeg_finish_decompress(&cinfo);
  jpeg_destroy_decompress(&cinfo);
  return out;
}

bool JpgEncode(const BITMAPINFOHEADER* image, int quality, ByteSink& out) {
  if (!image || image->biWidth <= 0 || image->biHeight <= 0) return false;
  const int bits = image->biBitCount;
  if (bits != 1 && bits != 4 && bits != 8 && bits != 24) return false;
  if (image->biWidth > 65500 || image->biHeight > 65500) return false;
  const bool grey = IsGreyDib(image);
  jpeg_compress_struct cinfo;
  ErrorManager err;
  Destination dest;
  std::vector<std::uint8_t> wide;
  cinfo.err = jpeg_std_error(&err.pub);
  err.pub.error_exit = OnError;
  err.pub.output_message = OnOutput;
  if (setjmp(err.jump)) {
    jpeg_destroy_compress(&cinfo);
    return false;
  }
  jpeg_create_compress(&cinfo);
  dest.sink = &out;
  dest.pub.init_destination = InitDestination;
  dest.pub.empty_output_buffer = EmptyBuffer;
  dest.pub.term_destination = TermDestination;
  cinfo.dest = &dest.pub;
  cinfo.image_width = static_cast<JDIMENSION>(image->biWidth);
  cinfo.image_height = static_cast<JDIMENSION>(image->biHeight);
  cinfo.input_components = grey ? 1 : 3;
  cinfo.in_color_space = grey ? JCS_GRAYSCALE : JCS_EXT_BGR;
  jpeg_set_defaults(&cinfo);
  jpeg_set_quality(&cinfo, quality < 1 ? 1 : (quality > 100 ? 100 : quality), TRUE);
  jpeg_start_compress(&cinfo, TRUE);
  // Paletted and mono images go out as true colour, one widened row at a time.
  const bool widen = bits < 24 && !grey;
  if (widen) wide.resize(static_cast<std::size_t>(image->biWidth) * 3);
  const BYTE* pal = DibPaletteEntries(image);
  while (cinfo.next_scanline < cinfo.image_height) {
    if (!ProgressGoesOn(cinfo.next_scanline, cinfo.image_height)) OnError(reinterpret_cast<j_common_ptr>(&cinfo));
    const BYTE* row = DibRow(image, static_cast<int>(cinfo.next_scanline));
    if (widen) {
      for (int x = 0; x < image->biWidth; ++x) {
        unsigned v = bits == 8   ? row[x]
                     : bits == 4 ? ((x & 1) ? (row[x >> 1] & 15) : (row[x >> 1] >> 4))
                                 : ((row[x >> 3] & masktable[x & 7]) ? 1 : 0);
        std::memcpy(&wide[3 * static_cast<std::size_t>(x)], pal + 4 * v, 3);
      }
      row = wide.data();
    }
    JSAMPROW r = const_cast<JSAMPROW>(row);
    jpeg_write_scanlines(&cinfo, &r, 1);
  }
  jpeg_finish_compress(&cinfo);
  jpeg_destroy_compress(&cinfo);
  return true;
}

}  // namespace ochrel
