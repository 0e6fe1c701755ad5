#include "ui/document/documentwindow.h"

#include <QAction>
#include <QCloseEvent>
#include <QComboBox>
#include <QGridLayout>
#include <QMdiArea>
#include <QMenu>
#include <QPainter>
#include <QScrollBar>
#include <QStyle>
#include <QTimer>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QWheelEvent>

#include <algorithm>
#include <cmath>
#include <cstdlib>

#include "frame/attributes.h"
#include "frame/commands.h"
#include "frame/services.h"
#include "frame/strings.h"
#include "fills/matrix.h"
#include "frame/paths.h"
#include "frame/settings.h"
#include "render/screen.h"
#include "tools/selection.h"
#include "ui/dialogs/image/attributesdialog.h"
#include "ui/document/clipboard.h"
#include "ui/document/cursors.h"
#include "ui/widgets/dialogrunner.h"
#include "ui/dialogs/filter/filterdialog.h"
#include "ui/dialogs/fills/filldialogs.h"
#include "ui/dialogs/image/griddialog.h"
#include "ui/widgets/icons.h"
#include "ui/widgets/frameservices.h"
#include "ui/widgets/messages.h"

namespace ochrel {

// ---- View ---------------------------------------------------------------------------

DocumentView::DocumentView(BLOCKSET* record, QScrollBar* h, QScrollBar* v, QWidget* parent)
    : QWidget(parent), record_(record), hbar_(h), vbar_(v) {
  setMouseTracking(true);
  setAttribute(Qt::WA_OpaquePaintEvent);
  setMinimumSize(1, 1);
  for (QScrollBar* bar : {hbar_, vbar_}) {
    bar->setSingleStep(1);
    connect(bar, &QScrollBar::valueChanged, this, [this] {
      if (settingBars_) return;
      scrollX_ = hbar_->value();
      scrollY_ = vbar_->value();
      InvalidateAll();
    });
  }
}

ViewRender DocumentView::RenderParams() const {
  ViewRender v;
  v.percent = ViewPercent(record_->ViewMode);
  v.scrollX = scrollX_;
  v.scrollY = scrollY_;
  v.grid = v.percent >= 100 && record_->GridShow && record_->GridActive && record_->GridHorizontal > 0 &&
           record_->GridVertical > 0;
  v.gridHorizontal = std::max(1, record_->GridHorizontal);
  v.gridVertical = std::max(1, record_->GridVertical);
  v.background = palette().color(QPalette::Button).rgb();
  return v;
}

void DocumentView::SetScrollBars(int x, int y) {
  const BITMAPINFOHEADER* h = LockDib(record_->Image);
  settingBars_ = true;
  if (!h) {
    hbar_->setRange(0, 0);
    vbar_->setRange(0, 0);
    scrollX_ = scrollY_ = 0;
  } else {
    int hmax = ScrollRange(record_, h->biWidth, width());
    int vmax = ScrollRange(record_, h->biHeight, height());
    // Nothing to scroll: the bar stays, disabled.
    hbar_->setRange(0, std::max(0, hmax));
    vbar_->setRange(0, std::max(0, vmax));
    hbar_->setEnabled(hmax > 0);
    vbar_->setEnabled(vmax > 0);
    hbar_->setPageStep(std::max(1, ScrollPage(hmax)));
    vbar_->setPageStep(std::max(1, ScrollPage(vmax)));
    hbar_->setValue(std::max(0, x));
    vbar_->setValue(std::max(0, y));
    scrollX_ = hbar_->value();
    scrollY_ = vbar_->value();
  }
  settingBars_ = false;
  InvalidateAll();
}

void DocumentView::InvalidateAll() {
  canvasValid_ = false;
  update();
}

void DocumentView::InvalidateImageRect(RECT r) {
  NormalizeRect(&r);
  const int pc = ViewPercent(record_->ViewMode);
  // The view pixels whose image pixel lies in r: round outward by one pixel.
  int x0 = ZoomPercent(pc, r.left - scrollX_) - 1, y0 = ZoomPercent(pc, r.top - scrollY_) - 1;
  int x1 = ZoomPercent(pc, r.right - scrollX_) + 2, y1 = ZoomPercent(pc, r.bottom - scrollY_) + 2;
  QRect vr = QRect(QPoint(x0, y0), QPoint(x1, y1)) & rect();
  if (vr.isEmpty()) return;
  if (canvasValid_) RenderInto(vr);
  update(vr);
}

void DocumentView::RenderInto(const QRect& vr) {
  const BITMAPINFOHEADER* h = LockDib(record_->Image);
  auto* base = reinterpret_cast<std::uint32_t*>(canvas_.bits());
  std::size_t stride = static_cast<std::size_t>(canvas_.bytesPerLine());
  std::uint32_t* at = reinterpret_cast<std::uint32_t*>(reinterpret_cast<BYTE*>(base) + stride * vr.y()) + vr.x();
  RenderView(h, RenderParams(), vr.x(), vr.y(), vr.width(), vr.height(), at, stride);
}

POINT DocumentView::ImagePoint(QPoint p) const {
  const int pc = ViewPercent(record_->ViewMode);
  return POINT{UnZoomPercent(pc, p.x()) + scrollX_, UnZoomPercent(pc, p.y()) + scrollY_};
}

void DocumentView::paintEvent(QPaintEvent* event) {
  if (canvas_.size() != size()) {
    canvas_ = QImage(size(), QImage::Format_RGB32);
    canvasValid_ = false;
  }
  if (!canvasValid_) {
    RenderInto(rect());
    canvasValid_ = true;
  }
  QPainter p(this);
  p.drawImage(event->rect().topLeft(), canvas_, event->rect());
  // The session's picture over the image (the text being typed), scaled with the view.
  POINT place{};
  HDIB overlay = tools_ && tools_->session() ? tools_->session()->Overlay(&place) : nullptr;
  if (const BITMAPINFOHEADER* oh = LockDib(overlay)) {
    const int pc = ViewPercent(record_->ViewMode);
    const QRect target(ZoomPercent(pc, place.x - scrollX_), ZoomPercent(pc, place.y - scrollY_),
                       ZoomPercent(pc, oh->biWidth), ZoomPercent(pc, oh->biHeight));
    p.setClipRect(event->rect());
    p.drawImage(target, DibToQImage(oh));
  }
  PaintFragment(p, event->rect());
}

void DocumentView::PaintFragment(QPainter& p, const QRect& dirty) {
  const ToolSession* s = tools_ ? tools_->session() : nullptr;
  if (!s || !s->ShowsFragment()) return;
  const QRect win(s->window.left, s->window.top, s->window.right - s->window.left, s->window.bottom - s->window.top);
  const QRect area = win & dirty & rect();
  if (area.isEmpty()) return;
  // What the view shows under the fragment is the image with its hole; the
  // fragment goes over it, and its masked-out pixels let that show through.
  QImage part = canvas_.copy(area);
  const TOOLPARAM& tp = s->param;
  RenderFragment(LockDib(tp.Fragment), LockDib(tp.SelectMask), LockDib(tp.SelectFrame), ViewPercent(record_->ViewMode),
                 area.x() - win.x(), area.y() - win.y(), area.width(), area.height(),
                 reinterpret_cast<std::uint32_t*>(part.bits()), static_cast<std::size_t>(part.bytesPerLine()));
  p.setClipRect(area);
  p.drawImage(area.topLeft(), part);
}

void DocumentView::InvertPixels(const std::vector<QPoint>& pixels) {
  if (pixels.empty()) return;
  if (canvas_.size() != size()) {
    canvas_ = QImage(size(), QImage::Format_RGB32);
    canvasValid_ = false;
  }
  // The flip works on what the screen shows now.
  if (!canvasValid_) {
    RenderInto(rect());
    canvasValid_ = true;
  }
  const BITMAPINFOHEADER* h = LockDib(record_->Image);
  if (!h) return;
  const int pc = ViewPercent(record_->ViewMode);
  const QRect clip =
      QRect(0, 0, ZoomPercent(pc, h->biWidth - scrollX_), ZoomPercent(pc, h->biHeight - scrollY_)) & rect();
  QRect touched;
  for (const QPoint& p : pixels) {
    if (!clip.contains(p)) continue;
    auto* row = reinterpret_cast<std::uint32_t*>(canvas_.scanLine(p.y()));
    row[p.x()] ^= 0x00FFFFFFu;
    touched |= QRect(p, QSize(1, 1));
  }
  if (!touched.isEmpty()) update(touched);
}

void DocumentView::resizeEvent(QResizeEvent*) {
  // A resize brings the view back to the top left.
  SetScrollBars(-1, -1);
}

namespace {
unsigned MouseKeys(const QMouseEvent* e) {
  unsigned k = 0;
  Qt::MouseButtons b = e->buttons() | e->button();
  if (b & Qt::LeftButton) k |= MK_LBUTTON;
  if (b & Qt::RightButton) k |= MK_RBUTTON;
  if (b & Qt::MiddleButton) k |= MK_MBUTTON;
  if (e->modifiers() & Qt::ShiftModifier) k |= MK_SHIFT;
  if (e->modifiers() & Qt::ControlModifier) k |= MK_CONTROL;
  return k;
}
}  // namespace

void DocumentView::Route(int event, QMouseEvent* e) {
  if (!tools_) return;
  QPoint p = e->position().toPoint();
  tools_->MouseEvent(event, p.x(), p.y(), MouseKeys(e));
}

void DocumentView::mouseMoveEvent(QMouseEvent* event) {
  POINT p = ImagePoint(event->position().toPoint());
  emit imagePosition(p.x, p.y);
  Route(WM_MOUSEMOVE, event);
  // The cursor of whatever lies under the mouse now: the tool's window, the
  // image (the document's cursor) or the empty rest of the view.
  if (tools_) {
    const QPoint q = event->position().toPoint();
    setCursor(ToolCursor(tools_->CursorAt(q.x(), q.y())));
  }
}

void DocumentView::mousePressEvent(QMouseEvent* event) {
  setFocus();
  switch (event->button()) {
    case Qt::LeftButton: Route(WM_LBUTTONDOWN, event); break;
    case Qt::RightButton: Route(WM_RBUTTONDOWN, event); break;
    case Qt::MiddleButton: Route(WM_MBUTTONDOWN, event); break;
    default: break;
  }
}

void DocumentView::mouseReleaseEvent(QMouseEvent* event) {
  if (event->button() == Qt::LeftButton) Route(WM_LBUTTONUP, event);
}

void DocumentView::mouseDoubleClickEvent(QMouseEvent* event) {
  if (event->button() == Qt::LeftButton) Route(WM_LBUTTONDBLCLK, event);
}

void DocumentView::wheelEvent(QWheelEvent* event) {
  const QPoint d = event->angleDelta();
  const int delta = d.y() != 0 ? d.y() : d.x();
  // One notch is 120; touch pads send less, which adds up over the events.
  wheelRest_ += delta;
  const int notches = wheelRest_ / 120;
  wheelRest_ -= notches * 120;
  event->accept();
  if (notches == 0) return;
  if (event->modifiers() & Qt::ControlModifier) {
    emit wheelZoom(notches, event->position().toPoint());
    return;
  }
  // Three lines of 16 screen pixels a notch, at least one image pixel.
  const int step = std::max(1, UnZoom(record_, 48)) * notches;
  QScrollBar* bar = (event->modifiers() & Qt::ShiftModifier) || d.y() == 0 ? hbar_ : vbar_;
  bar->setValue(bar->value() - step);
}

void DocumentView::keyPressEvent(QKeyEvent* event) {
  if (!tools_) return;
  // The tools know the navigation keys by their platform-neutral codes.
  int key = event->key();
  switch (key) {
    case Qt::Key_End: key = 0x23; break;
    case Qt::Key_Home: key = 0x24; break;
    case Qt::Key_Left: key = 0x25; break;
    case Qt::Key_Up: key = 0x26; break;
    case Qt::Key_Right: key = 0x27; break;
    case Qt::Key_Down: key = 0x28; break;
    default: break;
  }
  tools_->KeyEvent(WM_KEYDOWN, key);
  if (!event->text().isEmpty()) tools_->KeyEvent(WM_CHAR, event->text().at(0).unicode());
}

// ---- What the platform lends the tools ----------------------------------------------

namespace {
// The pixels of the inverted previews, each listed once so that a flip is its
// own undoing. Only rows inside `view` are listed.
std::vector<QPoint> RectangleOutline(RECT r, const QRect& view) {
  std::vector<QPoint> out;
  if (r.right <= r.left || r.bottom <= r.top) return out;
  const int l = std::max(r.left, view.left() - 1), rr = std::min(r.right, view.right() + 2);
  for (int x = l; x < rr; ++x) {
    out.emplace_back(x, r.top);
    if (r.bottom - 1 > r.top) out.emplace_back(x, r.bottom - 1);
  }
  const int t = std::max(r.top + 1, view.top() - 1), b = std::min(r.bottom - 1, view.bottom() + 2);
  for (int y = t; y < b; ++y) {
    out.emplace_back(r.left, y);
    if (r.right - 1 > r.left) out.emplace_back(r.right - 1, y);
  }
  return out;
}

// The ellipse inside r: the pixels of its solid shape (centres inside) that
// touch the outside on a side.
std::vector<QPoint> EllipseOutline(RECT r, const QRect& view) {
  std::vector<QPoint> out;
  if (r.right <= r.left || r.bottom <= r.top) return out;
  const double cx = (r.left + r.right) / 2.0, cy = (r.top + r.bottom) / 2.0;
  const double a = (r.right - r.left) / 2.0, b = (r.bottom - r.top) / 2.0;
  // The solid span of row y, empty as lo > hi.
  auto span = [&](int y, int* lo, int* hi) {
    *lo = 1;
    *hi = 0;
    if (y < r.top || y >= r.bottom) return;
    const double dy = (y + 0.5 - cy) / b;
    if (dy * dy > 1.0) return;
    const double w = a * std::sqrt(1.0 - dy * dy);
    *lo = static_cast<int>(std::ceil(cx - w - 0.5));
    *hi = static_cast<int>(std::floor(cx + w - 0.5));
    *lo = std::max(*lo, r.left);
    *hi = std::min(*hi, r.right - 1);
  };
  const int y0 = std::max(r.top, view.top() - 1), y1 = std::min(r.bottom, view.bottom() + 2);
  for (int y = y0; y < y1; ++y) {
    int lo, hi, ulo, uhi, dlo, dhi;
    span(y, &lo, &hi);
    if (lo > hi) continue;
    span(y - 1, &ulo, &uhi);
    span(y + 1, &dlo, &dhi);
    // Inside: both neighbours' spans cover it, and it isn't an end of its own.
    const int ilo = std::max({ulo, dlo, lo + 1}), ihi = std::min({uhi, dhi, hi - 1});
    const int xl = std::max(lo, view.left() - 1), xr = std::min(hi, view.right() + 1);
    for (int x = xl; x <= xr; ++x) {
      if (x >= ilo && x <= ihi) {
        x = ihi;  // skip the inside
        continue;
      }
      out.emplace_back(x, y);
    }
  }
  return out;
}

// A line from a towards b, b left out, so that joined edges flip their
// common vertex once.
std::vector<QPoint> LinePixels(POINT a, POINT b) {
  std::vector<QPoint> out;
  long long x = a.x, y = a.y;
  const long long dx = std::llabs(static_cast<long long>(b.x) - a.x),
                  dy = -std::llabs(static_cast<long long>(b.y) - a.y);
  const int sx = a.x < b.x ? 1 : -1, sy = a.y < b.y ? 1 : -1;
  long long err = dx + dy;
  while (!(x == b.x && y == b.y)) {
    out.emplace_back(static_cast<int>(x), static_cast<int>(y));
    const long long e2 = 2 * err;
    if (e2 >= dy) {
      err += dy;
      x += sx;
    }
    if (e2 <= dx) {
      err += dx;
      y += sy;
    }
  }
  return out;
}

// The dotted drag frame: each dot an image pixel at 100 percent and more
// (the frame is drawn at the image's size and stretched), one view pixel below.
std::vector<QPoint> FocusRectPixels(RECT r, int percent, const QRect& view) {
  std::vector<QPoint> out;
  NormalizeRect(&r);
  const int unit = percent >= 100 ? percent / 100 : 1;
  const int w = (r.right - r.left) / unit, h = (r.bottom - r.top) / unit;
  if (w <= 0 || h <= 0) return out;
  auto dot = [&](int i, int j) {
    if ((i + j) % 2) return;
    const int x0 = r.left + i * unit, y0 = r.top + j * unit;
    if (x0 > view.right() + 1 || y0 > view.bottom() + 1 || x0 + unit < view.left() || y0 + unit < view.top()) return;
    for (int y = y0; y < y0 + unit; ++y)
      for (int x = x0; x < x0 + unit; ++x) out.emplace_back(x, y);
  };
  for (int i = 0; i < w; ++i) {
    dot(i, 0);
    if (h > 1) dot(i, h - 1);
  }
  for (int j = 1; j + 1 < h; ++j) {
    dot(0, j);
    if (w > 1) dot(w - 1, j);
  }
  return out;
}

class DocumentHost : public ToolHost {
 public:
  explicit DocumentHost(DocumentWindow* w) : w_(w) {}
  int ScrollX() const override { return w_->view()->scrollX(); }
  int ScrollY() const override { return w_->view()->scrollY(); }
  int ClientWidth() const override { return w_->view()->width(); }
  int ClientHeight() const override { return w_->view()->height(); }
  void SetScrollBars(int x, int y) override { w_->view()->SetScrollBars(x, y); }
  void SelectViewMode(int mode) override { w_->ChangeScale(mode); }
  void InvalidateImage(RECT r) override { w_->view()->InvalidateImageRect(r); }
  void InvalidateView() override { w_->view()->InvalidateAll(); }
  void StartTimer(ToolSession* t, int id, int ms) override { w_->StartToolTimer(t, id, ms); }
  void StopTimer(ToolSession* t, int id) override { w_->StopToolTimer(t, id); }
  void CaptureMouse(ToolSession*) override {}  // a pressed button keeps the view's mouse
  void ReleaseMouse() override {}
  bool ControlDown() const override { return QGuiApplication::queryKeyboardModifiers() & Qt::ControlModifier; }
  bool ShiftDown() const override { return QGuiApplication::queryKeyboardModifiers() & Qt::ShiftModifier; }
  bool AltDown() const override { return QGuiApplication::queryKeyboardModifiers() & Qt::AltModifier; }
  void ShowMessage(const std::string& text) override { DoMessage(w_, QString::fromStdString(text)); }
  void StatusText(const std::string& text) override { w_->frame()->StatusText(QString::fromStdString(text)); }
  void SetCursor(int resource) override { w_->view()->setCursor(ToolCursor(resource)); }
  void UpdateMenuStates() override { w_->frame()->UpdateMenuStates(); }
  void InvertRectangle(RECT r) override { w_->view()->InvertPixels(RectangleOutline(r, w_->view()->rect())); }
  void InvertEllipse(RECT r) override { w_->view()->InvertPixels(EllipseOutline(r, w_->view()->rect())); }
  void InvertLine(POINT a, POINT b) override { w_->view()->InvertPixels(LinePixels(a, b)); }
  void InvertFocusRect(RECT r) override {
    w_->view()->InvertPixels(FocusRectPixels(r, ViewPercent(w_->record()->ViewMode), w_->view()->rect()));
  }
  void RepaintView(RECT r) override {
    NormalizeRect(&r);
    w_->view()->update(QRect(QPoint(r.left, r.top), QPoint(r.right, r.bottom)));
  }
  void ShowSelectionPopup(POINT at, bool tiles) override {
    QMenu* menu = CreateFilterPopupMenu(w_->record(), w_);
    if (!menu) return;
    if (tiles) {
      menu->addSeparator();
      menu->addAction("Create matrix tile")->setData(CM_CREATETILE);
      menu->addAction("Add matrix tile")->setData(CM_ADDTILE);
    }
    QAction* chosen = RunMenu(*menu, w_->view()->mapToGlobal(QPoint(at.x, at.y)));
    const int id = chosen ? chosen->data().toInt() : 0;
    delete menu;
    // The document gets the command once the menu has gone, as from its own menu bar.
    if (id) w_->frame()->PostCommand(id);
  }

 private:
  DocumentWindow* w_;
};
}  // namespace

// ---- Window -------------------------------------------------------------------------

DocumentWindow::DocumentWindow(FrameServices* frame, const std::string& path) : frame_(frame) {
  CreateNewFile(&record_);
  record_.FileName = path;
  setAttribute(Qt::WA_DeleteOnClose);
  setObjectName("VarnwickStudioPaintTask");
  auto* body = new QWidget(this);
  auto* grid = new QGridLayout(body);
  grid->setContentsMargins(0, 0, 0, 0);
  grid->setSpacing(0);
  hbar_ = new QScrollBar(Qt::Horizontal, body);
  vbar_ = new QScrollBar(Qt::Vertical, body);
  view_ = new DocumentView(&record_, hbar_, vbar_, body);
  grid->addWidget(view_, 0, 0);
  grid->addWidget(vbar_, 0, 1);
  grid->addWidget(hbar_, 1, 0);
  setWidget(body);
  view_->setFocusPolicy(Qt::ClickFocus);
  host_ = std::make_unique<DocumentHost>(this);
  tools_ = std::make_unique<DocumentTools>(&record_, host_.get());
  view_->SetTools(tools_.get());
  for (QScrollBar* bar : {hbar_, vbar_})
    connect(bar, &QScrollBar::valueChanged, this, [this] {
      if (record_.ToolWindow) tools_->Post(RECV_TOOL, UM_SCROLLED);
    });
  setWindowIcon(DocumentIcon());
  connect(view_, &DocumentView::wheelZoom, this,
          [this](int steps, QPoint at) { ZoomAround(record_.ViewMode + steps, at); });
  connect(view_, &DocumentView::imagePosition, this,
          [this](int x, int y) { frame_->StatusText(QString::asprintf("(%d,%d)", x, y)); });
  // The eleven scales in the window's own menu, in step with the zoom list.
  QMenu* menu = systemMenu();
  if (menu) {
    menu->addSeparator();
    for (int i = 0; i < kViewModes; ++i) {
      QAction* a = menu->addAction(QString::asprintf("%u percent", static_cast<unsigned>(viewmodetable[i])));
      a->setObjectName(QString::number(1600 + i));
      a->setCheckable(true);
      connect(a, &QAction::triggered, this, [this, i] { ChangeScale(i); });
      scaleActions_.push_back(a);
    }
  }
  resize(180, 180);
  UpdateTitle();
  CheckScaleEntry();
}

DocumentWindow::~DocumentWindow() {
  for (auto& [key, timer] : timers_) timer->stop();
  view_->SetTools(nullptr);
  tools_.reset();
  FreeUndo(&record_);
  FreeBlocks(&record_);
}

void DocumentWindow::StartToolTimer(ToolSession* tool, int id, int ms) {
  QTimer*& t = timers_[{tool, id}];
  if (!t) {
    t = new QTimer(this);
    connect(t, &QTimer::timeout, this, [this, tool, id] { tools_->TimerEvent(tool, id); });
  }
  t->start(std::max(1, ms));
}

void DocumentWindow::StopToolTimer(ToolSession* tool, int id) {
  auto it = timers_.find({tool, id});
  if (it == timers_.end()) return;
  it->second->stop();
  it->second->deleteLater();
  timers_.erase(it);
}

void DocumentWindow::UpdateTitle() {
  // A trailing mark while there are changes not yet saved.
  setWindowTitle(QString::fromStdString(record_.FileName) + (record_.Modified ? " *" : ""));
}

void DocumentWindow::CheckScaleEntry() {
  for (int i = 0; i < static_cast<int>(scaleActions_.size()); ++i)
    scaleActions_[static_cast<std::size_t>(i)]->setChecked(i == record_.ViewMode);
}

QSize DocumentWindow::FittedSize() const {
  const BITMAPINFOHEADER* h = LockDib(record_.Image);
  if (!h) return size();
  // The frame around the view: caption, borders and the two bars.
  QSize chrome = size() - view_->size();
  return QSize(Zoom(&record_, h->biWidth) + chrome.width(), Zoom(&record_, h->biHeight) + chrome.height());
}

void DocumentWindow::SetBrowserSize() {
  // A maximized window keeps filling the area, whatever the image's size.
  if (!record_.Image || !mdiArea() || isMaximized() || isMinimized()) return;
  QSize fit = FittedSize(), area = mdiArea()->viewport()->size();
  resize(std::min(fit.width(), area.width()), std::min(fit.height(), area.height()));
}

bool DocumentWindow::AdjustTaskWindow() {
  if (!AutoAdjustTaskWindow || !record_.Image || !mdiArea() || isMaximized()) return false;
  QSize fit = FittedSize(), area = mdiArea()->viewport()->size();
  int w = std::max(128, std::min(fit.width(), area.width() - x()));
  int h = std::max(128, std::min(fit.height(), area.height() - y()));
  resize(w, h);
  return true;
}

void DocumentWindow::ImageReplaced() {
  SetImageType(&record_);
  AdjustTaskWindow();
  view_->SetScrollBars(view_->scrollX(), view_->scrollY());
}

void DocumentWindow::ChangeScale(int viewMode) {
  viewMode = std::clamp(viewMode, 0, kViewModes - 1);
  int oldPercent = ViewPercent(record_.ViewMode), newPercent = ViewPercent(viewMode);
  bool positions = record_.Image != nullptr;
  int x = positions ? RescaleScrollPosition(view_->scrollX(), oldPercent, newPercent) : 0;
  int y = positions ? RescaleScrollPosition(view_->scrollY(), oldPercent, newPercent) : 0;
  const int oldMode = record_.ViewMode;
  record_.ViewMode = viewMode;
  frame_->ViewStateChanged(viewMode, record_.GridActive);
  CheckScaleEntry();
  view_->SetScrollBars(x, y);
  AdjustTaskWindow();
  view_->SetScrollBars(x, y);
  if (record_.ToolWindow) {
    tools_->Post(RECV_TOOL, UM_VIEWCHANGED, oldMode, viewMode);
    view_->setFocus();
  }
}

void DocumentWindow::ZoomAround(int viewMode, QPoint at) {
  viewMode = std::clamp(viewMode, 0, kViewModes - 1);
  if (viewMode == record_.ViewMode || !record_.Image) return;
  const POINT p = view_->ImagePoint(at);
  ChangeScale(viewMode);
  // The view may have changed size with the window: the point is kept where it
  // still lies inside it.
  const QPoint v(std::clamp(at.x(), 0, std::max(0, view_->width() - 1)),
                 std::clamp(at.y(), 0, std::max(0, view_->height() - 1)));
  view_->SetScrollBars(p.x - UnZoom(&record_, v.x()), p.y - UnZoom(&record_, v.y()));
}

bool DocumentWindow::Command(int id) {
  switch (id) {
    case CM_UNDO:
    case CM_REDO:
      // An open text box or a floating selection goes down first, so that
      // Undo takes the image back to how it was before it.
      CommitSelection();
      if (id == CM_UNDO) {
        if (!record_.UndoAvailable) return true;
        if (!DoUndo(&record_)) DoMessage(this, "Internal error in Undo -- this file will be discarded.");
      } else {
        if (!record_.RedoAvailable) return true;
        if (!DoRedo(&record_)) DoMessage(this, FetchString(IDS_MEMORY_ERROR));
      }
      ImageReplaced();
      return true;
    case CM_GRIDACTIVE:
      record_.GridActive = !record_.GridActive;
      frame_->ViewStateChanged(record_.ViewMode, record_.GridActive);
      view_->InvalidateAll();
      return true;
    case CM_GRIDSETTINGS:
      if (DoSetGrid(this, &record_)) view_->InvalidateAll();
      frame_->ViewStateChanged(record_.ViewMode, record_.GridActive);
      return true;
    case CM_ATTRIBUTES: {
      CommitSelection();
      if (HDIB canvas = DoImageAttributes(this, &record_)) PutNewImage(std::move(canvas));
      return true;
    }
    case CM_SHADOWS: DoSetShadows(this, &record_); return true;
    case CM_CUT:
      // The selection goes only once it is safely on the clipboard.
      if (DoCopyToClipboard(&record_)) tools_->BeginToolFunction(0, 0, record_.Tool, TF_CUT);
      return true;
    case CM_COPY:
      if (!DoCopyToClipboard(&record_)) DoMessage(this, FetchString(IDS_MEMORY_ERROR));
      return true;
    case CM_COPYTO: {
      std::string path = AddCurrentPath(GetUntitledFileName());
      if (!frame_->AskSavePath(this, path, &path)) return true;
      SetOpenPath(path);
      if (!DoCopyToFile(&record_, path)) DoMessage(this, FetchString(IDS_MEMORY_ERROR));
      return true;
    }
    case CM_PASTE:
    case CM_PASTEFROM: {
      if (!record_.Image) return true;
      std::string path;
      if (id == CM_PASTEFROM && !frame_->AskOpenPath(this, &path)) return true;
      // What floats goes down first, so that the paste is one step of Undo.
      CommitSelection();
      frame_->ChooseTool(TOOL_RECTSELECT);
      if (id == CM_PASTEFROM) SetOpenPath(path);
      CreateUndo(&record_);
      const int ok =
          id == CM_PASTE ? DoPasteBlockFromClipboard(tools_.get()) : DoPasteBlockFromFile(tools_.get(), path);
      if (!ok) DoMessage(this, FetchString(IDS_BLOCK_ERROR));
      frame_->UpdateMenuStates();
      return true;
    }
    case CM_SELECTALL:
      if (!record_.Image) return true;
      tools_->Unselect();
      frame_->ChooseTool(TOOL_RECTSELECT);
      tools_->BeginToolFunction(0, 0, TOOL_RECTSELECT, TF_SELECTALL);
      return true;
    case CM_CLEAR:
      // Clear ends the selection without laying it down: a lifted area stays paper.
      if (HasSelection(&record_)) tools_->BeginToolFunction(0, 0, record_.Tool, TF_CLEAR);
      return true;
    case CM_CREATETILE:
    case CM_ADDTILE: {
      if (record_.Tool != TOOL_RECTSELECT || !HasSelection(&record_)) return true;
      HDIB tile = DuplicateObject(record_.ToolWindow->param.Fragment);
      if (!tile) {
        DoMessage(this, FetchString(IDS_MEMORY_ERROR));
        return true;
      }
      record_.Matrix.Tile = std::move(tile);
      record_.FillType = 3;
      frame_->RefreshStatus();
      if (id == CM_ADDTILE && !AddMatrixElement((DataFolder() / MatrixLibrary).string(), record_.Matrix.Tile))
        DoMessage(this, FetchString(IDS_MATRIX_ADD_ERROR));
      return true;
    }
    case CM_SAVE: Save(); return true;
    case CM_SAVEAS: SaveAs(); return true;
    case CM_CLOSE:
      QMetaObject::invokeMethod(
          this, [this] { close(); }, Qt::QueuedConnection);
      return true;
    default:
      if (id >= CM_FILTERS && id < FILTER_MENU_FIRST + FILTER_COUNT) {
        RunFilter(id == CM_FILTERS ? -1 : id - FILTER_MENU_FIRST);
        return true;
      }
      return false;
  }
}

void DocumentWindow::PutNewImage(HDIB image) {
  CreateUndo(&record_);
  record_.Image = std::move(image);
  record_.Modified = 1;
  ImageReplaced();
  view_->InvalidateAll();
  frame_->UpdateMenuStates();
}

void DocumentWindow::RunFilter(int filterType) {
  // A filter replaces the image: an open text box is laid in first.
  if (record_.Tool == TOOL_TEXT && record_.ToolWindow) CommitSelection();
  if (!record_.Image) return;
  FilterOutcome out;
  if (!DoMasterFilterDialog(this, &record_, filterType, &out)) return;
  if (out.toDuplicate) {
    // The source document stays as it was.
    frame_->OpenAsNewDocument(out.image);
  } else if (out.selection) {
    // The result replaces the floating fragment; it reaches the image when
    // the selection is laid down, so it leaves no undo step of its own.
    if (!HasSelection(&record_)) return;
    TOOLPARAM& tp = record_.ToolWindow->param;
    tp.Fragment = std::move(out.image);
    if (tp.Tool == TOOL_RECTSELECT && out.newMask) tp.SelectMask = std::move(out.newMask);
    tools_->Send(UM_FRAGMENTCHANGED);
  } else {
    PutNewImage(std::move(out.image));
    SetBrowserSize();
  }
}

void DocumentWindow::CommitSelection() {
  if (!tools_ || !record_.ToolWindow) return;
  tools_->Unselect();
  // The end of the session tells the record it changed by a posted message;
  // it must land before the caller looks at the record.
  MessageQueue::Instance().Drain();
  view_->InvalidateAll();
}

bool DocumentWindow::Save() {
  CommitSelection();
  if (NeedsSaveAs(&record_)) return SaveAs();
  if (frame_->WriteDocument(this, record_.Image, record_.FileName)) {
    record_.Modified = 0;
    UpdateTitle();
    return true;
  }
  DoMessage(this, FetchString(IDS_ERROR_WRITING));
  return false;
}

bool DocumentWindow::SaveAs() {
  std::string path;
  if (!frame_->AskSavePath(this, record_.FileName, &path)) return false;
  SetOpenPath(path);
  record_.FileName = path;
  UpdateTitle();
  record_.HasFile = 1;
  if (!Save()) return false;
  // Only a file that now exists can enter the recent list.
  frame_->AddRecentPath(path);
  return true;
}

void DocumentWindow::Discard() {
  discarding_ = true;
  close();
}

void DocumentWindow::closeEvent(QCloseEvent* event) {
  if (!discarding_) CommitSelection();
  if (!discarding_ && record_.Modified) {
    QString text = QString("The file\n%1\nhas not been saved.\n\nDo you wish to save it before closing?")
                       .arg(QString::fromStdString(record_.FileName));
    int answer = DoYesNoCancel(this, text);
    // A cancelled or failed save keeps the document open with its image.
    if (answer == IDCANCEL || (answer == IDYES && !Save())) {
      event->ignore();
      return;
    }
  }
  QMdiSubWindow::closeEvent(event);
}

void DocumentWindow::moveEvent(QMoveEvent* event) {
  // A window dragged above the top of the area snaps back to it.
  if (y() < 0) move(x(), 0);
  QMdiSubWindow::moveEvent(event);
}

void DocumentWindow::resizeEvent(QResizeEvent* event) {
  QMdiSubWindow::resizeEvent(event);
  if (tools_ && record_.ToolWindow) tools_->Post(RECV_TOOL, UM_WINDOWRESIZED);
  // Never smaller than 128 by 128, nor larger than the area when maximized.
  if (!isMaximized() && !isMinimized() && (width() < 128 || height() < 128))
    resize(std::max(width(), 128), std::max(height(), 128));
}

}  // namespace ochrel
