#include "ui/document/cursors.h"

#include <QGuiApplication>
#include <QPainter>
#include <QPainterPath>
#include <QPixmap>

#include <functional>
#include <map>

namespace ochrel {

namespace {

// A cross with its hot spot in the middle of a 32-pixel square, and the
// tool's small sign below and to the right, each line black on a white halo.
QCursor DrawnCursor(const std::function<void(QPainter&)>& sign) {
  const qreal ratio = qGuiApp ? qGuiApp->devicePixelRatio() : 1.0;
  QPixmap pixmap(qRound(32 * ratio), qRound(32 * ratio));
  pixmap.setDevicePixelRatio(ratio);
  pixmap.fill(Qt::transparent);
  QPainter p(&pixmap);
  p.setRenderHint(QPainter::Antialiasing, false);
  auto stroke = [&](const std::function<void()>& draw) {
    p.setPen(QPen(Qt::white, 3, Qt::SolidLine, Qt::SquareCap));
    draw();
    p.setPen(QPen(Qt::black, 1, Qt::SolidLine, Qt::SquareCap));
    draw();
  };
  stroke([&] {
    p.drawLine(QPointF(15.5, 4.5), QPointF(15.5, 11.5));
    p.drawLine(QPointF(15.5, 19.5), QPointF(15.5, 26.5));
    p.drawLine(QPointF(4.5, 15.5), QPointF(11.5, 15.5));
    p.drawLine(QPointF(19.5, 15.5), QPointF(26.5, 15.5));
  });
  p.setRenderHint(QPainter::Antialiasing, true);
  p.translate(19, 19);
  stroke([&] { sign(p); });
  p.end();
  return QCursor(pixmap, 15, 15);
}

QCursor Make(int resource) {
  switch (resource) {
    case 0: return QCursor(Qt::ArrowCursor);
    case 6003: return QCursor(Qt::SizeAllCursor);
    case 6008: return QCursor(Qt::CrossCursor);
    case 6010: return QCursor(Qt::IBeamCursor);
    case 6002:  // eyedropper
      return DrawnCursor([](QPainter& p) {
        p.drawLine(QPointF(1, 11), QPointF(10, 2));
        p.drawEllipse(QRectF(8, 0, 3, 3));
      });
    case 6009:  // flood fill: a tipped pail
      return DrawnCursor([](QPainter& p) {
        p.drawPolygon(QPolygonF({QPointF(2, 5), QPointF(7, 0), QPointF(12, 5), QPointF(7, 10)}));
        p.drawLine(QPointF(2, 5), QPointF(1, 11));
      });
    case 6011: return DrawnCursor([](QPainter& p) { p.drawEllipse(QRectF(1, 2, 10, 7)); });
    case 6012: return DrawnCursor([](QPainter& p) { p.drawRect(QRectF(1, 2, 10, 7)); });
    case 6013: return DrawnCursor([](QPainter& p) { p.drawLine(QPointF(1, 10), QPointF(11, 1)); });
    case 6014:  // zoom: a lens
      return DrawnCursor([](QPainter& p) {
        p.drawEllipse(QRectF(0, 0, 8, 8));
        p.drawLine(QPointF(7, 7), QPointF(11, 11));
      });
    case 6015:  // airbrush: a nozzle and its mist
      return DrawnCursor([](QPainter& p) {
        p.drawRect(QRectF(4, 4, 7, 4));
        p.drawLine(QPointF(4, 6), QPointF(1, 6));
        p.drawPoint(QPointF(0, 3));
        p.drawPoint(QPointF(0, 9));
      });
    case 6016:  // soft brush
      return DrawnCursor([](QPainter& p) {
        p.drawLine(QPointF(4, 7), QPointF(11, 0));
        p.drawEllipse(QRectF(0, 7, 4, 4));
      });
    case 6017:  // eraser
      return DrawnCursor([](QPainter& p) {
        p.drawPolygon(QPolygonF({QPointF(0, 8), QPointF(6, 2), QPointF(11, 7), QPointF(5, 12)}));
      });
    case 6018:  // pen
      return DrawnCursor([](QPainter& p) {
        p.drawLine(QPointF(1, 11), QPointF(11, 1));
        p.drawLine(QPointF(1, 11), QPointF(3, 7));
      });
    case 6019:
    case 6020:  // replacer: two swatches
      return DrawnCursor([](QPainter& p) {
        p.drawRect(QRectF(0, 0, 6, 6));
        p.drawRect(QRectF(5, 5, 6, 6));
      });
    case 6021:  // spray: dots
      return DrawnCursor([](QPainter& p) {
        for (QPointF d : {QPointF(1, 1), QPointF(5, 3), QPointF(9, 1), QPointF(3, 7), QPointF(8, 8), QPointF(5, 11)})
          p.drawPoint(d);
      });
    case 6022:  // lasso: a loop with its tail
      return DrawnCursor([](QPainter& p) {
        QPainterPath loop;
        loop.addEllipse(QRectF(1, 0, 10, 6));
        p.drawPath(loop);
        p.drawLine(QPointF(3, 5), QPointF(2, 11));
      });
    case 6023:  // wand: a stick and a spark
      return DrawnCursor([](QPainter& p) {
        p.drawLine(QPointF(1, 11), QPointF(8, 4));
        p.drawLine(QPointF(9, 0), QPointF(9, 6));
        p.drawLine(QPointF(6, 3), QPointF(12, 3));
      });
    case 6024:  // polygon
      return DrawnCursor([](QPainter& p) {
        p.drawPolygon(QPolygonF({QPointF(1, 10), QPointF(4, 1), QPointF(11, 3), QPointF(9, 10)}));
      });
    case 6025:  // selective undo: a hooked arrow
      return DrawnCursor([](QPainter& p) {
        p.drawArc(QRectF(1, 1, 10, 10), 90 * 16, -270 * 16);
        p.drawLine(QPointF(6, 1), QPointF(3, 0));
        p.drawLine(QPointF(6, 1), QPointF(4, 4));
      });
    default: return QCursor(Qt::CrossCursor);
  }
}

}  // namespace

QCursor ToolCursor(int resource) {
  static std::map<int, QCursor> made;
  auto it = made.find(resource);
  if (it == made.end()) it = made.emplace(resource, Make(resource)).first;
  return it->second;
}

}  // namespace ochrel
