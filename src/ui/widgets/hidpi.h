// Drawn pictures (cursors, swatches, small icons, banners) are made at the
// screen's device pixel ratio, so that they are as sharp at a display scale
// of 2 as at 1. Painters on them work in logical pixels as before.
#pragma once

#include <QGuiApplication>
#include <QImage>
#include <QPixmap>

namespace ochrel {

inline qreal ScreenPixelRatio() { return qGuiApp ? qGuiApp->devicePixelRatio() : 1.0; }

// A transparent pixmap of the given logical size at the device pixel ratio.
inline QPixmap CrispPixmap(QSize logical, qreal ratio = ScreenPixelRatio()) {
  QPixmap pm(logical * ratio);
  pm.setDevicePixelRatio(ratio);
  pm.fill(Qt::transparent);
  return pm;
}

inline QImage CrispImage(QSize logical, QImage::Format format, qreal ratio = ScreenPixelRatio()) {
  QImage image(logical * ratio, format);
  image.setDevicePixelRatio(ratio);
  return image;
}

}  // namespace ochrel
