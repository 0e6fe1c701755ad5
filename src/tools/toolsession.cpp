#include "tools/toolsession.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <vector>

#include "frame/strings.h"
#include "frame/view.h"
#include "frame/settings.h"

namespace ochrel {

// ---- Shared rules ----------------------------------------------------------------------

int& CurrentTool() {
  static int tool = -1;
  return tool;
}

// ---- The queue ----------------------------------------------------------------------------

MessageQueue& MessageQueue::Instance() {
  static MessageQueue queue;
  return queue;
}

void MessageQueue::Post(const ToolMessage& m) {
  queue_.push_back(m);
  if (wakeup_ && queue_.size() == 1) wakeup_();
}

void MessageQueue::Drain() {
  while (!held_ && !queue_.empty()) {
    ToolMessage m = queue_.front();
    queue_.pop_front();
    Deliver(m);
  }
}

MessageQueue::Hold::~Hold() {
  MessageQueue& q = Instance();
  if (--q.held_ == 0 && !q.queue_.empty() && q.wakeup_) q.wakeup_();
}

void MessageQueue::Forget(const ToolSession* tool) {
  queue_.erase(std::remove_if(queue_.begin(), queue_.end(),
                              [tool](const ToolMessage& m) { return m.receiver == RECV_TOOL && m.tool == tool; }),
               queue_.end());
}

void MessageQueue::Forget(const DocumentTools* document) {
  queue_.erase(std::remove_if(queue_.begin(), queue_.end(),
                              [document](const ToolMessage& m) {
                                return m.document == document &&
                                       (m.receiver == RECV_TOOL || m.receiver == RECV_DOCUMENT);
                              }),
               queue_.end());
}

void MessageQueue::SetSink(Receiver receiver, Sink sink) { sinks_[receiver] = std::move(sink); }

void MessageQueue::Deliver(const ToolMessage& m) {
  switch (m.receiver) {
    case RECV_TOOL: {
      if (!m.document || m.document->session() != m.tool || !m.tool) return;
      ToolSession* t = m.tool;
      int x = static_cast<std::int16_t>(m.lParam & 0xFFFF), y = static_cast<std::int16_t>((m.lParam >> 16) & 0xFFFF);
      unsigned keys = static_cast<unsigned>(m.wParam);
      switch (m.message) {
        case WM_LBUTTONDOWN: t->OnLButtonDown(x, y, keys); break;
        case WM_MBUTTONDOWN: t->OnMButtonDown(x, y, keys); break;
        case WM_RBUTTONDOWN: t->OnRButtonDown(x, y, keys); break;
        case WM_LBUTTONUP: t->OnLButtonUp(x, y, keys); break;
        case WM_MOUSEMOVE: t->OnMouseMove(x, y, keys); break;
        case UM_REFRESH: t->OnRefresh(static_cast<unsigned>(m.lParam)); break;
        default: t->OnMessage(m.message, m.wParam, m.lParam); break;
      }
      return;
    }
    case RECV_DOCUMENT:
      if (m.document) m.document->OnDocumentMessage(m.message, m.wParam, m.lParam);
      return;
    default:
      if (sinks_[m.receiver]) sinks_[m.receiver](m);
      return;
  }
}

// ---- Sessions -----------------------------------------------------------------------------

void ToolSession::FitToLimitRect() {
  if (document) window = document->GetLimitRect();
}

namespace {
// Sessions ended inside their own handlers live until the event is over.
std::vector<std::unique_ptr<ToolSession>>& Graveyard() {
  static std::vector<std::unique_ptr<ToolSession>> dead;
  return dead;
}
std::int64_t PackPoint(int x, int y) {
  return static_cast<std::int64_t>((static_cast<std::uint32_t>(y & 0xFFFF) << 16) |
                                   static_cast<std::uint32_t>(x & 0xFFFF));
}
}  // namespace

DocumentTools::~DocumentTools() {
  if (session_) {
    MessageQueue::Instance().Forget(session_.get());
    if (record_) record_->ToolWindow = nullptr;
    session_.reset();
  }
  MessageQueue::Instance().Forget(this);
}

std::function<void(int)>& DocumentTools::ToolboxCommand() {
  static std::function<void(int)> command;
  return command;
}

namespace {
ToolFactory& FactoryOverride() {
  static ToolFactory factory;
  return factory;
}
}  // namespace

void SetToolFactoryOverride(ToolFactory factory) { FactoryOverride() = std::move(factory); }

std::unique_ptr<ToolSession> DocumentTools::Create(int tool, RECT window) {
  auto s = FactoryOverride() ? FactoryOverride()(tool) : CreateToolSession(tool);
  s->document = this;
  s->window = window;
  return s;
}

RECT DocumentTools::GetLimitRect() const {
  RECT r{0, 0, host_->ClientWidth(), host_->ClientHeight()};
  const BITMAPINFOHEADER* h = LockDib(record_->Image);
  if (h) {
    r.right = std::min(r.right, Zoom(record_, h->biWidth));
    r.bottom = std::min(r.bottom, Zoom(record_, h->biHeight));
  }
  return r;
}

POINT DocumentTools::ImagePointOfView(int viewX, int viewY) const {
  return POINT{UnZoom(record_, viewX) + host_->ScrollX(), UnZoom(record_, viewY) + host_->ScrollY()};
}

POINT DocumentTools::SnapPoint(POINT p) const {
  if (!record_->GridActive || Zoom(record_, 100) < 100) return p;
  auto snap = [](int v, int g) {
    if (g <= 0) return v;  // a spacing of 0 has no lines to snap to
    int lo = v - (((v % g) + g) % g), hi = lo + g;
    return std::abs(v - lo) >= std::abs(hi - v) ? hi : lo;
  };
  int ox = Zoom(record_, host_->ScrollX()), oy = Zoom(record_, host_->ScrollY());
  return POINT{snap(p.x + ox, Zoom(record_, record_->GridHorizontal)) - ox,
               snap(p.y + oy, Zoom(record_, record_->GridVertical)) - oy};
}

int DocumentTools::PrepareToolFunction(int tool) {
  if (!IsStandingTool(tool)) return 1;
  if (!session_) {
    session_ = Create(tool, RECT{0, 0, 1, 1});
    record_->ToolWindow = session_.get();
    session_->OnCreate(0, 0);
    Send(UM_REFRESH, 0, 0);
  } else {
    DestroyToolParam();
  }
  return 1;
}

int DocumentTools::BeginToolFunction(int x, int y, int tool, unsigned flags) {
  if (!record_) {
    host_->ShowMessage(FetchString(IDS_BLOCK_ERROR));
    return 0;
  }
  if (IsPressTool(tool)) {
    if (session_) {
      Send(UM_REFRESH, 0, flags);
      DestroyToolParam();
    } else {
      session_ = Create(tool, RECT{x, y, x, y});
      record_->ToolWindow = session_.get();
      session_->OnCreate(x, y);
      // The drag starts at once: the press reaches the new window after this handler.
      Post(RECV_TOOL, WM_LBUTTONDOWN, MK_LBUTTON | (flags & 0xFF), PackPoint(0, 0));
      // The rectangle selector takes its undo copy when it first changes the
      // image, so that a click that selects nothing keeps the last change undoable.
      if (!HasTrait(tool, TT_LATE_UNDO)) CreateUndo(record_);
      host_->UpdateMenuStates();
      Send(UM_REFRESH, 0, flags);
    }
  } else if (HasTrait(tool, TT_SELECTION) && session_) {
    // Cut and Clear end the selection without laying it back.
    session_->param.Flags |= flags & (TF_CUT | TF_CLEAR);
    Send(UM_ENDSELECTION);
  }
  return 1;
}

int DocumentTools::Unselect() {
  if (!session_) return 0;
  const int t = session_->param.Tool;
  if (!HasTrait(t, TT_SELECTION)) return 0;
  if (IsPressTool(t)) {
    DestroyToolParam();
    return 1;
  }
  if (session_->param.Fragment) Send(UM_ENDSELECTION);
  return 0;
}

void DocumentTools::DestroyToolParam() {
  if (!session_) return;
  std::unique_ptr<ToolSession> s = std::move(session_);
  const int t = s->param.Tool;
  const bool selection = HasTrait(t, TT_SELECTION);
  // Selectors and text commit while the document still names them.
  if (!selection) record_->ToolWindow = nullptr;
  s->Commit();
  record_->ToolWindow = nullptr;
  if (HasTrait(t, TT_TIMER)) host_->StopTimer(s.get(), 3);
  if (HasTrait(t, TT_FINISHES) && s->ChangesImage()) Post(RECV_DOCUMENT, UM_TOOLFINISHED);
  if (capture_ == s.get()) {
    capture_ = nullptr;
    host_->ReleaseMouse();
  }
  MessageQueue::Instance().Forget(s.get());
  host_->StatusText("");
  // The selection's commands (Clear, the filters on a fragment) close with it.
  if (selection) host_->UpdateMenuStates();
  Graveyard().push_back(std::move(s));
}

int DocumentTools::CursorAt(int vx, int vy) const {
  const ToolSession* s = capture_ ? capture_ : session_.get();
  if (s &&
      (s == capture_ || (vx >= s->window.left && vx < s->window.right && vy >= s->window.top && vy < s->window.bottom)))
    return s->param.Cursor ? s->param.Cursor : ToolClassCursor(s->param.Tool);
  const RECT limit = GetLimitRect();
  if (vx >= limit.left && vx < limit.right && vy >= limit.top && vy < limit.bottom) return record_->Cursor;
  return 0;
}

void DocumentTools::Send(int message, std::int64_t wParam, std::int64_t lParam) {
  if (!session_) return;
  MessageQueue::Instance().Deliver(ToolMessage{RECV_TOOL, this, session_.get(), message, wParam, lParam});
}

void DocumentTools::Post(Receiver receiver, int message, std::int64_t wParam, std::int64_t lParam) {
  MessageQueue::Instance().Post(
      ToolMessage{receiver, this, receiver == RECV_TOOL ? session_.get() : nullptr, message, wParam, lParam});
}

void DocumentTools::OnDocumentMessage(int message, std::int64_t, std::int64_t) {
  if (message == UM_TOOLFINISHED) {
    record_->Modified = 1;
    // The change is over: with a history its copy shrinks to what it touched.
    CompactUndo(record_);
  }
  if (message == UM_IMAGECHANGED || message == UM_TOOLFINISHED) host_->UpdateMenuStates();
}

void DocumentTools::MouseEvent(int event, int vx, int vy, unsigned keys) {
  Graveyard().clear();
  ToolSession* target = capture_;
  if (!target && session_) {
    const RECT& w = session_->window;
    if (vx >= w.left && vx < w.right && vy >= w.top && vy < w.bottom) target = session_.get();
  }
  if (!target) {
    if (event == WM_LBUTTONDOWN) BeginToolFunction(vx, vy, CurrentTool(), keys);
    return;
  }
  const int x = vx - target->window.left, y = vy - target->window.top;
  switch (event) {
    case WM_LBUTTONDOWN: target->OnLButtonDown(x, y, keys); break;
    case WM_LBUTTONUP: target->OnLButtonUp(x, y, keys); break;
    case WM_LBUTTONDBLCLK: target->OnLButtonDblClk(x, y, keys); break;
    case WM_RBUTTONDOWN: target->OnRButtonDown(x, y, keys); break;
    case WM_MBUTTONDOWN: target->OnMButtonDown(x, y, keys); break;
    case WM_MOUSEMOVE: target->OnMouseMove(x, y, keys); break;
    default: break;
  }
}

void DocumentTools::KeyEvent(int event, int key) {
  Graveyard().clear();
  if (!session_) return;
  if (event == WM_KEYDOWN) session_->OnKeyDown(key);
  else if (event == WM_CHAR) session_->OnChar(key);
}

void DocumentTools::TimerEvent(ToolSession* tool, int id) {
  Graveyard().clear();
  if (tool && tool == session_.get()) tool->OnTimer(id);
}

void DocumentTools::TakeColour(int vx, int vy, bool paper) {
  POINT p = ImagePointOfView(vx, vy);
  std::uint32_t value = GetDibPixel(LockDib(record_->Image), p.x, p.y);
  if (value != NOPIXEL) {
    value = AdjustPixel(record_, value);
    (paper ? record_->PaperColour : record_->PaintColour) = value;
  }
  Post(RECV_STATUSBAR, UM_REFRESH);
  const int code = paper ? COLOUR_PAPER : COLOUR_PAINT;
  const auto v = static_cast<std::int64_t>(value == NOPIXEL ? -1 : static_cast<std::int64_t>(value));
  Post(RECV_TOOL, UM_COLOURCHANGED, code, v);
  Post(RECV_SETTINGS, UM_COLOURCHANGED, code, v);
}

void DocumentTools::FailSession(bool releaseFirst) {
  if (releaseFirst && session_) session_->OnLButtonUp(0, 0, 0);
  host_->ShowMessage(FetchString(IDS_MEMORY_ERROR));
  DestroyToolParam();
  if (ToolboxCommand()) ToolboxCommand()(0);
}

// ---- The toolbox side -------------------------------------------------------------------

bool ChangeTool(DocumentTools* top, int tool) {
  if (tool < 0 || tool >= kToolCount || tool == CurrentTool()) return false;
  if (!top) return false;
  BLOCKSET* r = top->record();
  // Ends the standing tool; with none standing there is nothing to end.
  if (top->session() && IsStandingTool(CurrentTool())) top->PrepareToolFunction(CurrentTool());
  if (CurrentTool() != TOOL_EYEDROPPER) r->PreviousTool = CurrentTool();
  r->Tool = tool;
  top->Unselect();
  SetDocumentCursor(r, tool);
  const int before = CurrentTool();
  top->PrepareToolFunction(tool);
  // A tool that failed to start has already sent the toolbox back to tool 0.
  if (CurrentTool() != before) return true;
  CurrentTool() = tool;
  top->Post(RECV_TOOLBOX, UM_SELECTTOOL, tool);
  top->Post(RECV_SETTINGS, UM_REFRESH, 0, tool);
  return true;
}

void SelectTool(DocumentTools* top, int tool) {
  if (top) {
    top->record()->Tool = tool;
    SetDocumentCursor(top->record(), tool);
  }
  CurrentTool() = tool;
}

}  // namespace ochrel
