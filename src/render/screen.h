// Between our bitmaps and Qt's: the view paints QImages, the clipboard and the
// rendering back end hand QImages back.
#pragma once

#include <QImage>

#include "image/dib.h"

namespace ochrel {

// The rectangle (x, y, w, h) of the DIB as an RGB32 image (the whole image when w
// or h is 0). Null image for a null header or a rectangle outside the image.
QImage DibToQImage(const BITMAPINFOHEADER* header, int x = 0, int y = 0, int w = 0, int h = 0);
// A QImage as a DIB: 8-bit indexed and grayscale images keep their palette, all
// others become 24-bit true colour (alpha dropped). Null on failure.
HDIB QImageToDib(const QImage& image);

}  // namespace ochrel
