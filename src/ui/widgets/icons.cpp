#include "ui/widgets/icons.h"

#include <QIconEngine>
#include <QPainter>
#include <QPainterPath>
#include <QPixmap>

#include "frame/commands.h"

namespace ochrel {

namespace {
class DrawnIconEngine : public QIconEngine {
 public:
  explicit DrawnIconEngine(IconPainter p) : painter_(std::move(p)) {}
  void paint(QPainter* p, const QRect& rect, QIcon::Mode mode, QIcon::State) override {
    p->save();
    p->setRenderHint(QPainter::Antialiasing);
    p->translate(rect.topLeft());
    p->scale(rect.width(), rect.height());
    if (mode == QIcon::Disabled) p->setOpacity(0.35);
    painter_(*p);
    p->restore();
  }
  QPixmap pixmap(const QSize& size, QIcon::Mode mode, QIcon::State state) override {
    QPixmap pm(size);
    pm.fill(Qt::transparent);
    QPainter p(&pm);
    paint(&p, QRect(QPoint(0, 0), size), mode, state);
    return pm;
  }
  QPixmap scaledPixmap(const QSize& size, QIcon::Mode mode, QIcon::State state, qreal scale) override {
    QPixmap pm = pixmap(size * scale, mode, state);
    pm.setDevicePixelRatio(scale);
    return pm;
  }
  QIconEngine* clone() const override { return new DrawnIconEngine(painter_); }

 private:
  IconPainter painter_;
};

QPen Line(const QColor& c, double w) {
  QPen pen(c, w);
  pen.setCapStyle(Qt::RoundCap);
  pen.setJoinStyle(Qt::RoundJoin);
  return pen;
}

const QColor kInk(40, 44, 52);

void Folder(QPainter& p) {
  p.setPen(Line(QColor(140, 100, 20), 0.05));
  p.setBrush(QColor(240, 196, 80));
  QPainterPath back;
  back.moveTo(0.08, 0.22);
  back.lineTo(0.38, 0.22);
  back.lineTo(0.46, 0.30);
  back.lineTo(0.90, 0.30);
  back.lineTo(0.90, 0.82);
  back.lineTo(0.08, 0.82);
  back.closeSubpath();
  p.drawPath(back);
  p.setBrush(QColor(252, 216, 110));
  QPainterPath front;
  front.moveTo(0.08, 0.82);
  front.lineTo(0.20, 0.42);
  front.lineTo(0.98, 0.42);
  front.lineTo(0.90, 0.82);
  front.closeSubpath();
  p.drawPath(front);
}

void Disk(QPainter& p) {
  p.setPen(Line(QColor(20, 50, 110), 0.05));
  p.setBrush(QColor(60, 110, 200));
  p.drawRoundedRect(QRectF(0.12, 0.12, 0.76, 0.76), 0.06, 0.06);
  p.setBrush(QColor(235, 240, 250));
  p.setPen(Qt::NoPen);
  p.drawRect(QRectF(0.26, 0.14, 0.48, 0.26));
  p.setBrush(QColor(30, 60, 120));
  p.drawRect(QRectF(0.56, 0.18, 0.10, 0.18));
  p.setBrush(QColor(250, 250, 252));
  p.drawRect(QRectF(0.24, 0.56, 0.52, 0.30));
}

void Undo(QPainter& p) {
  p.setPen(Line(QColor(30, 90, 170), 0.10));
  p.setBrush(Qt::NoBrush);
  QPainterPath arc;
  arc.moveTo(0.25, 0.42);
  arc.cubicTo(0.45, 0.22, 0.85, 0.25, 0.85, 0.56);
  arc.cubicTo(0.85, 0.80, 0.60, 0.86, 0.45, 0.84);
  p.drawPath(arc);
  p.setBrush(QColor(30, 90, 170));
  p.setPen(Qt::NoPen);
  QPolygonF head;
  head << QPointF(0.08, 0.30) << QPointF(0.40, 0.22) << QPointF(0.32, 0.56);
  p.drawPolygon(head);
}

void Grid(QPainter& p) {
  p.setPen(Line(kInk, 0.05));
  p.setBrush(QColor(255, 255, 255));
  p.drawRect(QRectF(0.12, 0.12, 0.76, 0.76));
  for (double t : {0.37, 0.63}) {
    p.drawLine(QPointF(t, 0.12), QPointF(t, 0.88));
    p.drawLine(QPointF(0.12, t), QPointF(0.88, t));
  }
  p.setPen(Qt::NoPen);
  p.setBrush(QColor(220, 40, 40));
  p.drawEllipse(QPointF(0.63, 0.37), 0.09, 0.09);
}

void Shadow(QPainter& p) {
  p.setPen(Qt::NoPen);
  for (int i = 0; i < 4; ++i) {
    p.setBrush(QColor(0, 0, 0, 40 + 25 * i));
    double g = 0.03 * (3 - i);
    p.drawRoundedRect(QRectF(0.30 - g, 0.30 - g, 0.60 + 2 * g, 0.60 + 2 * g), 0.08, 0.08);
  }
  p.setPen(Line(QColor(150, 60, 10), 0.05));
  p.setBrush(QColor(250, 150, 60));
  p.drawRoundedRect(QRectF(0.10, 0.10, 0.60, 0.60), 0.06, 0.06);
}

void Book(QPainter& p) {
  p.setPen(Line(QColor(20, 90, 60), 0.05));
  p.setBrush(QColor(50, 160, 110));
  p.drawRoundedRect(QRectF(0.16, 0.10, 0.66, 0.80), 0.05, 0.05);
  p.setBrush(QColor(250, 250, 245));
  p.drawRect(QRectF(0.28, 0.74, 0.54, 0.12));
  p.setPen(Line(QColor(255, 255, 255), 0.05));
  p.drawLine(QPointF(0.36, 0.28), QPointF(0.70, 0.28));
  p.drawLine(QPointF(0.36, 0.42), QPointF(0.62, 0.42));
}

void Gear(QPainter& p) {
  p.setPen(Line(kInk, 0.04));
  p.setBrush(QColor(150, 158, 170));
  QPainterPath gear;
  const int teeth = 8;
  for (int i = 0; i < 2 * teeth; ++i) {
    double a0 = (i - 0.5) * M_PI / teeth, a1 = (i + 0.5) * M_PI / teeth;
    double r = (i % 2) ? 0.34 : 0.44;
    QPointF p0(0.5 + r * std::cos(a0), 0.5 + r * std::sin(a0)), p1(0.5 + r * std::cos(a1), 0.5 + r * std::sin(a1));
    if (i == 0) gear.moveTo(p0);
    else gear.lineTo(p0);
    gear.lineTo(p1);
  }
  gear.closeSubpath();
  gear.addEllipse(QPointF(0.5, 0.5), 0.13, 0.13);
  gear.setFillRule(Qt::OddEvenFill);
  p.drawPath(gear);
}

void Exit(QPainter& p) {
  p.setPen(Line(kInk, 0.05));
  p.setBrush(QColor(170, 120, 80));
  p.drawRect(QRectF(0.14, 0.10, 0.42, 0.80));
  p.setBrush(QColor(250, 220, 120));
  p.drawEllipse(QPointF(0.47, 0.52), 0.04, 0.04);
  p.setPen(Line(QColor(200, 30, 30), 0.09));
  p.drawLine(QPointF(0.56, 0.50), QPointF(0.92, 0.50));
  p.drawLine(QPointF(0.78, 0.36), QPointF(0.92, 0.50));
  p.drawLine(QPointF(0.78, 0.64), QPointF(0.92, 0.50));
}

void Help(QPainter& p) {
  p.setPen(Line(QColor(20, 70, 150), 0.05));
  p.setBrush(QColor(60, 130, 220));
  p.drawEllipse(QRectF(0.08, 0.08, 0.84, 0.84));
  QFont f("DejaVu Sans");
  f.setBold(true);
  f.setPixelSize(64);
  p.save();
  p.scale(0.01, 0.01);
  p.setPen(Qt::white);
  p.setFont(f);
  p.drawText(QRectF(0, 0, 100, 100), Qt::AlignCenter, "?");
  p.restore();
}

void Generic(QPainter& p) {
  p.setPen(Line(kInk, 0.05));
  p.setBrush(QColor(200, 205, 215));
  p.drawRoundedRect(QRectF(0.15, 0.15, 0.70, 0.70), 0.1, 0.1);
}
}  // namespace

QIcon DocumentIcon() {
  return DrawnIcon([](QPainter& p) {
    p.setPen(Line(kInk, 0.05));
    p.setBrush(QColor(255, 255, 255));
    p.drawRect(QRectF(0.12, 0.16, 0.76, 0.68));
    p.setPen(Qt::NoPen);
    p.setBrush(QColor(90, 160, 230));
    p.drawRect(QRectF(0.16, 0.20, 0.68, 0.36));
    p.setBrush(QColor(60, 150, 70));
    QPolygonF hill;
    hill << QPointF(0.16, 0.80) << QPointF(0.42, 0.46) << QPointF(0.62, 0.64) << QPointF(0.84, 0.50)
         << QPointF(0.84, 0.80);
    p.drawPolygon(hill);
  });
}

QIcon DrawnIcon(IconPainter painter) { return QIcon(new DrawnIconEngine(std::move(painter))); }

QIcon CommandIcon(int command) {
  switch (command) {
    case CM_OPEN: return DrawnIcon(Folder);
    case CM_SAVE: return DrawnIcon(Disk);
    case CM_UNDO: return DrawnIcon(Undo);
    case CM_REDO:
      return DrawnIcon([](QPainter& p) {
        p.translate(1, 0);
        p.scale(-1, 1);
        Undo(p);
      });
    case CM_GRIDACTIVE: return DrawnIcon(Grid);
    case CM_SHADOWS: return DrawnIcon(Shadow);
    case CM_MANUAL: return DrawnIcon(Book);
    case CM_SETUP: return DrawnIcon(Gear);
    case CM_EXIT: return DrawnIcon(Exit);
    case CM_HELP: return DrawnIcon(Help);
    default: return DrawnIcon(Generic);
  }
}

}  // namespace ochrel
