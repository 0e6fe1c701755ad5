#include "ui/document/clipboard.h"

#include <QBuffer>
#include <QClipboard>
#include <QGuiApplication>
#include <QMimeData>
#include <QPainter>
#include <QUrl>

#include <cstring>

#include "files/imagefile.h"
#include "frame/options.h"
#include "render/screen.h"
#include "tools/pastetools.h"
#include "tools/toolsession.h"

namespace ochrel {

namespace {

// A picture file within the sides we take, read only after its header says so.
HDIB LoadPicture(const std::string& path) {
  int w = 0, h = 0, bits = 0;
  BYTE palette[768];
  if (!GetImageInfo(path.c_str(), &w, &h, &bits, palette) || w > kMaxPasteSide || h > kMaxPasteSide) return nullptr;
  return LoadImage(path.c_str());
}

// The packed bitmap behind a 14-byte file header: a BMP file in memory.
QByteArray BmpFile(const HDIB& dib) {
  const BITMAPINFOHEADER* h = LockDib(dib);
  const std::size_t size = dib->size();
  const std::uint32_t bits = 14 + h->biSize + static_cast<std::uint32_t>(DibPaletteSize(h->biBitCount));
  QByteArray out(static_cast<int>(14 + size), '\0');
  auto* p = reinterpret_cast<unsigned char*>(out.data());
  p[0] = 'B';
  p[1] = 'M';
  const std::uint32_t total = static_cast<std::uint32_t>(14 + size);
  for (int i = 0; i < 4; ++i) {
    p[2 + i] = static_cast<unsigned char>(total >> (8 * i));
    p[10 + i] = static_cast<unsigned char>(bits >> (8 * i));
  }
  std::memcpy(p + 14, dib->data(), size);
  return out;
}

}  // namespace

int DoCopyToClipboard(const BLOCKSET* record) {
  if (record->ToolWindow && record->ToolWindow->param.Tool == TOOL_TEXT) {
    // While typing, Copy takes the text.
    const std::string text = SelectionText(record);
    if (text.empty()) return 0;
    QGuiApplication::clipboard()->setText(QString::fromStdString(text));
    return 1;
  }
  HDIB source = SelectionImage(record);
  const BITMAPINFOHEADER* h = LockDib(source);
  if (!h) return 0;
  const QImage picture = DibToQImage(h);
  if (picture.isNull()) return 0;
  QByteArray png;
  QBuffer buffer(&png);
  buffer.open(QIODevice::WriteOnly);
  if (!picture.save(&buffer, "PNG")) return 0;
  auto* data = new QMimeData;
  data->setImageData(picture);
  data->setData("image/png", png);
  data->setData("image/bmp", BmpFile(source));
  QGuiApplication::clipboard()->setMimeData(data);
  return 1;
}

int DoCopyToFile(const BLOCKSET* record, const std::string& path) {
  HDIB source = SelectionImage(record);
  if (!source) return 0;
  return WriteImage(path.c_str(), source, SaveOptionsFromSettings());
}

HDIB PictureToDib(const QImage& picture, COLORREF paper) {
  if (picture.isNull() || picture.width() > kMaxPasteSide || picture.height() > kMaxPasteSide) return nullptr;
  if (picture.hasAlphaChannel()) {
    QImage flat(picture.size(), QImage::Format_RGB32);
    if (flat.isNull()) return nullptr;
    flat.fill(QColor(GetRValue(paper), GetGValue(paper), GetBValue(paper)));
    QPainter p(&flat);
    p.drawImage(0, 0, picture);
    p.end();
    return QImageToDib(flat);
  }
  return QImageToDib(picture);
}

HDIB ClipboardPicture(const QMimeData* data, COLORREF paper) {
  if (!data) return nullptr;
  // Our own lossless forms first, then whatever else Qt can read.
  for (const char* type : {"image/png", "image/bmp"})
    if (data->hasFormat(type)) {
      const QImage picture = QImage::fromData(data->data(type));
      if (!picture.isNull()) return PictureToDib(picture, paper);
    }
  if (data->hasImage()) return PictureToDib(qvariant_cast<QImage>(data->imageData()), paper);
  if (data->hasUrls() && data->urls().size() == 1 && data->urls()[0].isLocalFile()) {
    return LoadPicture(data->urls()[0].toLocalFile().toStdString());
  }
  return nullptr;
}

int DoPasteBlockFromClipboard(DocumentTools* tools) {
  const BLOCKSET* record = tools->record();
  const QMimeData* data = QGuiApplication::clipboard()->mimeData();
  if (!data || !record->Image) return 0;
  HDIB picture = ClipboardPicture(data, record->PaperColour);
  if (picture) return DoPaste(tools, picture);
  // A picture that is there but can't be taken is not pasted as its name.
  if (data->hasImage() || data->hasFormat("image/png") || data->hasFormat("image/bmp")) return 0;
  if (data->hasUrls() && !data->urls().isEmpty() && data->urls()[0].isLocalFile()) return 0;
  if (data->hasText() && !data->text().isEmpty()) return DoPasteText(tools, data->text().toStdString());
  return 0;
}

int DoPasteBlockFromFile(DocumentTools* tools, const std::string& path) {
  HDIB picture = LoadPicture(path);
  return picture ? DoPaste(tools, picture) : 0;
}

}  // namespace ochrel
