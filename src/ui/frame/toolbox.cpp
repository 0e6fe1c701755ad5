#include "ui/frame/toolbox.h"

#include <QContextMenuEvent>
#include <QGridLayout>
#include <QMainWindow>
#include <QMenu>
#include <QPainter>
#include <QPainterPath>
#include <QToolButton>

#include "frame/strings.h"
#include "frame/settings.h"
#include "tools/tooltable.h"
#include "ui/widgets/icons.h"

namespace ochrel {

namespace {
QPen P(const QColor& c, double w) {
  QPen pen(c, w);
  pen.setCapStyle(Qt::RoundCap);
  pen.setJoinStyle(Qt::RoundJoin);
  return pen;
}
const QColor kInk(40, 44, 52), kBlue(40, 110, 210), kRed(210, 50, 40), kGreen(40, 150, 80), kWood(190, 140, 80);

void DashedRect(QPainter& p, QRectF r) {
  QPen pen = P(kInk, 0.06);
  pen.setDashPattern({1.5, 1.5});
  p.setPen(pen);
  p.setBrush(Qt::NoBrush);
  p.drawRect(r);
}

void Draw(QPainter& p, ToolIconId icon) {
  switch (icon) {
    case ICON_RECTSELECT: DashedRect(p, QRectF(0.15, 0.2, 0.7, 0.6)); break;
    case ICON_LASSO: {
      QPen pen = P(kInk, 0.06);
      pen.setDashPattern({1.5, 1.5});
      p.setPen(pen);
      QPainterPath path;
      path.moveTo(0.3, 0.75);
      path.cubicTo(0.0, 0.5, 0.2, 0.1, 0.55, 0.15);
      path.cubicTo(0.95, 0.2, 0.95, 0.6, 0.6, 0.65);
      path.cubicTo(0.45, 0.68, 0.35, 0.7, 0.3, 0.75);
      p.drawPath(path);
      p.setPen(P(kWood, 0.07));
      p.drawLine(QPointF(0.3, 0.75), QPointF(0.25, 0.92));
      break;
    }
    case ICON_WAND:
      p.setPen(P(kInk, 0.1));
      p.drawLine(QPointF(0.2, 0.85), QPointF(0.62, 0.43));
      p.setPen(P(QColor(240, 180, 20), 0.06));
      for (auto [x, y] : {std::pair{0.75, 0.12}, {0.88, 0.3}, {0.58, 0.2}, {0.8, 0.5}}) p.drawPoint(QPointF(x, y));
      p.drawLine(QPointF(0.75, 0.2), QPointF(0.75, 0.42));
      p.drawLine(QPointF(0.64, 0.31), QPointF(0.86, 0.31));
      break;
    case ICON_REPLACER:
      p.setPen(P(kInk, 0.05));
      p.setBrush(kRed);
      p.drawRect(QRectF(0.12, 0.2, 0.36, 0.36));
      p.setBrush(kBlue);
      p.drawRect(QRectF(0.52, 0.44, 0.36, 0.36));
      p.setPen(P(kInk, 0.06));
      p.drawLine(QPointF(0.5, 0.26), QPointF(0.7, 0.26));
      p.drawLine(QPointF(0.7, 0.26), QPointF(0.7, 0.38));
      break;
    case ICON_ERASER: {
      p.setPen(P(kInk, 0.05));
      QPolygonF body;
      body << QPointF(0.15, 0.62) << QPointF(0.5, 0.25) << QPointF(0.85, 0.5) << QPointF(0.5, 0.87);
      p.setBrush(QColor(250, 150, 170));
      p.drawPolygon(body);
      p.setBrush(QColor(240, 240, 245));
      QPolygonF tip;
      tip << QPointF(0.15, 0.62) << QPointF(0.33, 0.43) << QPointF(0.68, 0.68) << QPointF(0.5, 0.87);
      p.drawPolygon(tip);
      break;
    }
    case ICON_EYEDROPPER:
      p.setPen(P(kInk, 0.05));
      p.setBrush(QColor(200, 210, 225));
      p.save();
      p.translate(0.5, 0.5);
      p.rotate(45);
      p.drawRoundedRect(QRectF(-0.08, -0.42, 0.16, 0.55), 0.05, 0.05);
      p.setBrush(kInk);
      p.drawRoundedRect(QRectF(-0.13, -0.5, 0.26, 0.14), 0.06, 0.06);
      p.setBrush(kBlue);
      p.drawPolygon(QPolygonF({QPointF(-0.06, 0.13), QPointF(0.06, 0.13), QPointF(0, 0.4)}));
      p.restore();
      break;
    case ICON_ZOOM:
      p.setPen(P(kInk, 0.09));
      p.setBrush(QColor(210, 230, 250));
      p.drawEllipse(QPointF(0.42, 0.42), 0.26, 0.26);
      p.drawLine(QPointF(0.62, 0.62), QPointF(0.88, 0.88));
      break;
    case ICON_PEN:
      p.setPen(P(kInk, 0.05));
      p.save();
      p.translate(0.5, 0.5);
      p.rotate(45);
      p.setBrush(QColor(250, 200, 60));
      p.drawRect(QRectF(-0.09, -0.45, 0.18, 0.62));
      p.setBrush(QColor(240, 210, 170));
      p.drawPolygon(QPolygonF({QPointF(-0.09, 0.17), QPointF(0.09, 0.17), QPointF(0, 0.42)}));
      p.restore();
      break;
    case ICON_BRUSH:
      p.setPen(P(kWood, 0.1));
      p.drawLine(QPointF(0.85, 0.15), QPointF(0.5, 0.5));
      p.setPen(P(kInk, 0.04));
      p.setBrush(QColor(160, 160, 170));
      p.drawRect(QRectF(0.4, 0.45, 0.14, 0.1));
      p.setBrush(kRed);
      {
        QPainterPath tuft;
        tuft.moveTo(0.42, 0.55);
        tuft.cubicTo(0.3, 0.65, 0.2, 0.75, 0.12, 0.9);
        tuft.cubicTo(0.3, 0.88, 0.45, 0.75, 0.52, 0.58);
        tuft.closeSubpath();
        p.drawPath(tuft);
      }
      break;
    case ICON_SPRAYCAN:
      p.setPen(P(kInk, 0.05));
      p.setBrush(kBlue);
      p.drawRoundedRect(QRectF(0.45, 0.35, 0.3, 0.55), 0.05, 0.05);
      p.setBrush(kInk);
      p.drawRect(QRectF(0.53, 0.25, 0.14, 0.1));
      p.setPen(P(kRed, 0.06));
      for (auto [x, y] : {std::pair{0.3, 0.15}, {0.2, 0.3}, {0.32, 0.35}, {0.12, 0.18}, {0.22, 0.08}})
        p.drawPoint(QPointF(x, y));
      break;
    case ICON_AIRBRUSH: {
      QRadialGradient g(QPointF(0.5, 0.5), 0.42);
      g.setColorAt(0, QColor(40, 110, 210, 255));
      g.setColorAt(1, QColor(40, 110, 210, 0));
      p.setPen(Qt::NoPen);
      p.setBrush(g);
      p.drawEllipse(QPointF(0.5, 0.5), 0.42, 0.42);
      break;
    }
    case ICON_LINE:
      p.setPen(P(kInk, 0.09));
      p.drawLine(QPointF(0.15, 0.85), QPointF(0.85, 0.15));
      break;
    case ICON_RECTANGLE:
      p.setPen(P(kInk, 0.08));
      p.setBrush(Qt::NoBrush);
      p.drawRect(QRectF(0.15, 0.25, 0.7, 0.5));
      break;
    case ICON_ELLIPSE:
      p.setPen(P(kInk, 0.08));
      p.setBrush(Qt::NoBrush);
      p.drawEllipse(QRectF(0.12, 0.25, 0.76, 0.5));
      break;
    case ICON_POLYGON:
      p.setPen(P(kInk, 0.07));
      p.setBrush(Qt::NoBrush);
      p.drawPolygon(QPolygonF(
          {QPointF(0.15, 0.8), QPointF(0.3, 0.2), QPointF(0.7, 0.3), QPointF(0.85, 0.75), QPointF(0.5, 0.55)}));
      break;
    case ICON_BUCKET: {
      p.setPen(P(kInk, 0.05));
      p.setBrush(QColor(200, 205, 215));
      QPolygonF bucket({QPointF(0.2, 0.35), QPointF(0.6, 0.15), QPointF(0.82, 0.55), QPointF(0.42, 0.75)});
      p.drawPolygon(bucket);
      p.setPen(Qt::NoPen);
      p.setBrush(kBlue);
      p.drawEllipse(QPointF(0.78, 0.8), 0.09, 0.12);
      break;
    }
    case ICON_TEXT: {
      QFont f("DejaVu Serif");
      f.setBold(true);
      f.setPixelSize(80);
      p.save();
      p.scale(0.01, 0.01);
      p.setPen(kInk);
      p.setFont(f);
      p.drawText(QRectF(0, 0, 100, 100), Qt::AlignCenter, "A");
      p.restore();
      break;
    }
    case ICON_LOCALUNDO:
      p.setPen(P(kGreen, 0.09));
      p.setBrush(Qt::NoBrush);
      p.drawArc(QRectF(0.2, 0.25, 0.6, 0.55), 30 * 16, 240 * 16);
      p.setBrush(kGreen);
      p.setPen(Qt::NoPen);
      p.drawPolygon(QPolygonF({QPointF(0.62, 0.12), QPointF(0.86, 0.3), QPointF(0.6, 0.4)}));
      break;
  }
}
}  // namespace

QIcon ToolIcon(int tool) {
  const TOOLROW* row = FindTool(tool);
  if (!row) return DrawnIcon([](QPainter&) {});
  return DrawnIcon([icon = row->icon](QPainter& p) { Draw(p, icon); });
}

ToolBox::ToolBox(QWidget* parent) : QDockWidget(QString(), parent) {
  setObjectName("VarnwickStudioPaintToolbox");
  setFeatures(QDockWidget::DockWidgetMovable | QDockWidget::DockWidgetFloatable);
  setTitleBarWidget(new QWidget(this));  // a slim palette without a caption bar
  body_ = new QWidget(this);
  grid_ = new QGridLayout(body_);
  grid_->setContentsMargins(3, 3, 3, 3);
  grid_->setSpacing(2);
  for (int t = 0; t < kToolCount; ++t) {
    auto* b = new QToolButton(body_);
    b->setObjectName(QString("tool%1").arg(t));
    b->setIcon(ToolIcon(t));
    b->setIconSize(QSize(24, 24));
    b->setFixedSize(32, 32);
    b->setCheckable(true);
    b->setAutoRaise(true);
    b->setToolTip(QString::fromUtf8(FetchString(tooltable[t].name)));
    b->setFocusPolicy(Qt::NoFocus);
    connect(b, &QToolButton::clicked, this, [this, t] {
      // The button shows the current tool, not the click: the change decides.
      buttons_[static_cast<std::size_t>(t)]->setChecked(false);
      emit toolChosen(t);
    });
    buttons_[static_cast<std::size_t>(t)] = b;
  }
  Layout();
  setWidget(body_);
}

void ToolBox::Layout() {
  const int columns = ToolBoxDouble ? 2 : 1;
  for (int t = 0; t < kToolCount; ++t) {
    grid_->removeWidget(buttons_[static_cast<std::size_t>(t)]);
    grid_->addWidget(buttons_[static_cast<std::size_t>(t)], t / columns, t % columns);
  }
  // The buttons keep together at the top; the rest of the column stays empty.
  for (int row = 0; row <= kToolCount; ++row) grid_->setRowStretch(row, 0);
  grid_->setRowStretch((kToolCount + columns - 1) / columns, 1);
  body_->adjustSize();
}

void ToolBox::SetColumns(int columns) {
  ToolBoxDouble = columns == 2 ? 1 : 0;
  Layout();
}

void ToolBox::ShowCurrent(int tool) {
  for (int t = 0; t < kToolCount; ++t) buttons_[static_cast<std::size_t>(t)]->setChecked(t == tool);
}

void ToolBox::contextMenuEvent(QContextMenuEvent* event) {
  QMenu menu(this);
  QAction* dock = menu.addAction("&Dock");
  QAction* single = menu.addAction("&Single");
  QAction* twin = menu.addAction("&Double");
  single->setCheckable(true);
  twin->setCheckable(true);
  single->setChecked(!ToolBoxDouble);
  twin->setChecked(ToolBoxDouble);
  QAction* chosen = menu.exec(event->globalPos());
  if (chosen == dock) {
    setFloating(false);
    if (auto* mw = qobject_cast<QMainWindow*>(parentWidget())) mw->addDockWidget(Qt::LeftDockWidgetArea, this);
  } else if (chosen == single) {
    SetColumns(1);
  } else if (chosen == twin) {
    SetColumns(2);
  }
}

}  // namespace ochrel
