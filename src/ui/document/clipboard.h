// The desktop's clipboard and image files as a way in and out of a document:
// Copy, Cut and Copy to take the floating selection; Paste, Paste from and
// Paste as new document bring a picture (or text) in.
#pragma once

#include <QImage>

#include <string>

#include "image/dib.h"

class QMimeData;

namespace ochrel {

class DocumentTools;
struct BLOCKSET;

// The largest picture taken in, a side (as New allows).
inline constexpr int kMaxPasteSide = 20000;

// The selection to the clipboard as image/png, image/bmp (the packed bitmap
// as a BMP file) and Qt's own image. 1 on success, 0 without a selection.
int DoCopyToClipboard(const BLOCKSET* record);
// The selection into an image file, its format by the name. 1 on success.
int DoCopyToFile(const BLOCKSET* record, const std::string& path);

// What the clipboard holds as a picture: any image Qt reads, or one image file
// named by a URI list; transparent pixels are laid over `paper`. Null when
// there is none or it is larger than kMaxPasteSide a side.
HDIB ClipboardPicture(const QMimeData* data, COLORREF paper);
// A QImage as a DIB: 8 bits for grey and indexed pictures, else 24 bits with
// any transparency laid over `paper`.
HDIB PictureToDib(const QImage& picture, COLORREF paper);

// A picture from the clipboard floats in the document; without one, text
// opens the text tool. 1 on success.
int DoPasteBlockFromClipboard(DocumentTools* tools);
// A picture from a file floats in the document. 1 on success.
int DoPasteBlockFromFile(DocumentTools* tools, const std::string& path);

}  // namespace ochrel
