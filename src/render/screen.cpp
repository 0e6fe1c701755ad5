#include "render/screen.h"

#include <cstring>

namespace ochrel {

QImage DibToQImage(const BITMAPINFOHEADER* h, int x, int y, int w, int hgt) {
  if (!h || h->biWidth <= 0 || h->biHeight <= 0) return {};
  if (w <= 0 || hgt <= 0) {
    x = y = 0;
    w = h->biWidth;
    hgt = h->biHeight;
  }
  if (x < 0 || y < 0 || x + w > h->biWidth || y + hgt > h->biHeight) return {};
  QImage out(w, hgt, QImage::Format_RGB32);
  if (out.isNull()) return {};
  DibToRgb32(h, x, y, w, hgt, reinterpret_cast<std::uint32_t*>(out.bits()),
             static_cast<std::size_t>(out.bytesPerLine()));
  return out;
}

HDIB QImageToDib(const QImage& image) {
  if (image.isNull()) return nullptr;
  const int w = image.width(), h = image.height();
  if (image.format() == QImage::Format_Grayscale8 || image.format() == QImage::Format_Indexed8) {
    BYTE palette[768] = {};
    if (image.format() == QImage::Format_Grayscale8) {
      GetDefaultPalette(palette, nullptr, 10);
    } else {
      const auto table = image.colorTable();
      for (int i = 0; i < table.size() && i < 256; ++i) {
        palette[3 * i] = static_cast<BYTE>(qRed(table[i]));
        palette[3 * i + 1] = static_cast<BYTE>(qGreen(table[i]));
        palette[3 * i + 2] = static_cast<BYTE>(qBlue(table[i]));
      }
    }
    HDIB dib = CreateDib(w, h, palette, 8);
    BITMAPINFOHEADER* d = LockDib(dib);
    if (!d) return nullptr;
    for (int y = 0; y < h; ++y) std::memcpy(DibRow(d, y), image.constScanLine(y), static_cast<std::size_t>(w));
    return dib;
  }
  const QImage src = image.convertToFormat(QImage::Format_RGB32);
  if (src.isNull()) return nullptr;
  HDIB dib = CreateDib(w, h, nullptr, 24);
  BITMAPINFOHEADER* d = LockDib(dib);
  if (!d) return nullptr;
  for (int y = 0; y < h; ++y) {
    const auto* s = reinterpret_cast<const QRgb*>(src.constScanLine(y));
    BYTE* p = DibRow(d, y);
    for (int x = 0; x < w; ++x, p += 3) {
      p[0] = static_cast<BYTE>(qBlue(s[x]));
      p[1] = static_cast<BYTE>(qGreen(s[x]));
      p[2] = static_cast<BYTE>(qRed(s[x]));
    }
  }
  return dib;
}

}  // namespace ochrel
