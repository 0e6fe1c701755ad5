#include "ui/dialogs/colour/greyselector.h"

#include <QMouseEvent>
#include <QPainter>

#include <algorithm>

namespace ochrel {

namespace {
QColor Grey(int level) { return QColor(level, level, level); }
constexpr int kRing = 3;
}  // namespace

// ---- Ramp ------------------------------------------------------------------------

GreyLevelSelector::GreyLevelSelector(QWidget* parent) : QWidget(parent) {
  setObjectName("VarnwickStudioPaintGreyLevelSelector");
  setCursor(Qt::ArrowCursor);
  thumb_ = new GreyLevelSelectorThumb(this);
  thumb_->setGeometry(0, 0, width(), kThumbHeight);
}

int GreyLevelSelector::NearestGreyLevel(COLORREF c) {
  const int r = GetRValue(c), g = GetGValue(c), b = GetBValue(c);
  int best = 0;
  long bestDistance = -1;
  for (int level = 0; level < 256; ++level) {
    long d = long(r - level) * (r - level) + long(g - level) * (g - level) + long(b - level) * (b - level);
    if (bestDistance < 0 || d < bestDistance) {
      best = level;
      bestDistance = d;
    }
  }
  return best;
}

int GreyLevelSelector::GreyLevelGetCurrentPos() const {
  const int t = travel();
  if (t <= 0) return 0;
  // The thumb's live top: while it is dragged the stored position lags behind.
  return std::clamp(thumb_->y() * 255 / t, 0, 255);
}

int GreyLevelSelector::GreyLevelSetCurrentPos(int level) {
  if (level < 0 || level > 255) return -1;
  const int t = travel();
  const int y = std::clamp(t * level / 255, 0, t);
  thumbY_ = y;
  thumb_->move(thumbX_, y);
  thumb_->update();
  return y;
}

long long GreyLevelSelector::SendMessage(int message, long long wParam, long long lParam) {
  switch (message) {
    case UM_SETGREYLEVEL:
      if (lParam == -1) {
        if (wParam != -1) GreyLevelSetCurrentPos(static_cast<int>(wParam));
        return 0;
      } else {
        int level = NearestGreyLevel(static_cast<COLORREF>(lParam));
        GreyLevelSetCurrentPos(level);
        return level;
      }
    case UM_GETGREYLEVEL: {
      int level = GreyLevelGetCurrentPos();
      return RGB(level, level, level);
    }
    case UM_GREYLEVELCHANGED: LevelChanged(); return 0;
    default: return 0;
  }
}

void GreyLevelSelector::PostLevelChanged() {
  QMetaObject::invokeMethod(
      this, [this] { LevelChanged(); }, Qt::QueuedConnection);
}

void GreyLevelSelector::LevelChanged() {
  const int level = GreyLevelGetCurrentPos();
  emit greyLevelChanged(level, RGB(level, level, level));
}

void GreyLevelSelector::resizeEvent(QResizeEvent*) {
  thumb_->resize(width(), kThumbHeight);
  thumb_->move(thumbX_, std::clamp(thumbY_, 0, travel()));
}

void GreyLevelSelector::paintEvent(QPaintEvent*) {
  QPainter p(this);
  p.fillRect(rect(), palette().color(QPalette::Button));
  const QRect inner = rect().adjusted(kRing, kRing, -kRing, -kRing);
  if (inner.isEmpty()) return;
  // A 1 by 256 ramp stretched over the inside, each row taking the level of
  // the source row it falls on, as a nearest-pixel stretch does.
  for (int y = 0; y < inner.height(); ++y) {
    int level = static_cast<int>(static_cast<long>(y) * 256 / inner.height());
    p.fillRect(inner.left(), inner.top() + y, inner.width(), 1, Grey(level));
  }
}

void GreyLevelSelector::mousePressEvent(QMouseEvent* event) {
  if (event->button() != Qt::LeftButton) return;
  const int t = travel();
  if (t <= 0) return;
  // Below the thumb's lowest position this is over 255, which moves nothing.
  const int y = static_cast<int>(event->position().y());
  GreyLevelSetCurrentPos(y * 255 / t);
  PostLevelChanged();
}

// ---- Thumb -----------------------------------------------------------------------

GreyLevelSelectorThumb::GreyLevelSelectorThumb(GreyLevelSelector* ramp) : QWidget(ramp), ramp_(ramp) {
  setObjectName("VarnwickStudioPaintGreyLevelSelectorThumb");
  setCursor(Qt::SizeVerCursor);
}

void GreyLevelSelectorThumb::paintEvent(QPaintEvent*) {
  QPainter p(this);
  const int shown = ramp_->GreyLevelGetCurrentPos();
  p.fillRect(rect(), Grey(shown));
  // The frame inverts the grey under it, so the thumb shows on every level.
  p.setPen(Grey(255 - shown));
  p.drawRect(rect().adjusted(0, 0, -1, -1));
}

void GreyLevelSelectorThumb::mousePressEvent(QMouseEvent* event) {
  if (event->button() != Qt::LeftButton) return;
  dragging_ = true;
  pressed_ = event->globalPosition().toPoint();
  haveLast_ = false;
}

void GreyLevelSelectorThumb::mouseMoveEvent(QMouseEvent* event) {
  if (!dragging_) return;
  const QPoint at = event->globalPosition().toPoint();
  if (!haveLast_ || at.y() != lastY_) {
    // Each move counts from where the drag began: the stored position only
    // changes at the release.
    const int top = std::clamp(ramp_->thumbY_ + (at.y() - pressed_.y()), 0, ramp_->travel());
    move(x(), top);
    lastY_ = at.y();
    haveLast_ = true;
  }
  ramp_->PostLevelChanged();
  update();
  ramp_->update();
}

void GreyLevelSelectorThumb::mouseReleaseEvent(QMouseEvent* event) {
  if (event->button() != Qt::LeftButton || !dragging_) return;
  dragging_ = false;
  ramp_->thumbX_ = x();
  ramp_->thumbY_ = y();
  update();
}

}  // namespace ochrel
