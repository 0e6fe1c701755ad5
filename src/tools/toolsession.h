// Tool sessions: the life of one tool over a document, from its start (a press,
// or the choice of a standing tool) to its end, when it commits what it holds.
//
// A session is the program's stand-in for a transient child window: it has a
// rectangle in view coordinates that receives the mouse, its own record, and
// it receives the program's events in their fixed order. What the platform
// lends it (timers, capture, keys, messages, the screen) comes through the
// ToolHost, which the document view implements with Qt and tests with a fake.
#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <string>

#include "frame/blockset.h"
#include "tools/toolparam.h"
#include "tools/tooltable.h"

namespace ochrel {

class ToolSession;
class DocumentTools;

// Who receives a message.
enum Receiver : int {
  RECV_TOOL,      // the session named in the message
  RECV_DOCUMENT,  // the document the message came from
  RECV_TOOLBOX,
  RECV_SETTINGS,
  RECV_STATUSBAR,
};

struct ToolMessage {
  Receiver receiver = RECV_TOOL;
  DocumentTools* document = nullptr;
  ToolSession* tool = nullptr;
  int message = 0;
  std::int64_t wParam = 0;
  std::int64_t lParam = 0;
};

// The program's one queue of posted messages. A posted message runs after the
// current handler; the user interface drains the queue, tests drain it by hand.
class MessageQueue {
 public:
  static MessageQueue& Instance();
  void Post(const ToolMessage& m);
  // Runs queued messages (and what they post) until the queue is empty.
  void Drain();
  bool Empty() const { return queue_.empty(); }
  std::size_t Size() const { return queue_.size(); }
  const std::deque<ToolMessage>& Pending() const { return queue_; }
  // A destroyed session or document gets nothing more.
  void Forget(const ToolSession* tool);
  void Forget(const DocumentTools* document);
  // Receivers outside the model: the toolbox, the settings window, the status bar.
  using Sink = std::function<void(const ToolMessage&)>;
  void SetSink(Receiver receiver, Sink sink);
  // Called when something is posted, so the UI can schedule a drain.
  void SetWakeup(std::function<void()> wakeup) { wakeup_ = std::move(wakeup); }
  void Deliver(const ToolMessage& m);
  void Clear() { queue_.clear(); }
  // While one lives, Drain leaves the queue alone: work that keeps the windows
  // live in a nested event loop must not have tool messages delivered halfway.
  class Hold {
   public:
    Hold() { ++Instance().held_; }
    ~Hold();
    Hold(const Hold&) = delete;
    Hold& operator=(const Hold&) = delete;
  };

 private:
  int held_ = 0;
  std::deque<ToolMessage> queue_;
  Sink sinks_[5];
  std::function<void()> wakeup_;
};

// What the platform lends a tool session.
class ToolHost {
 public:
  virtual ~ToolHost() = default;
  // The view: scroll positions (image pixels) and client size (view pixels).
  virtual int ScrollX() const = 0;
  virtual int ScrollY() const = 0;
  virtual int ClientWidth() const = 0;
  virtual int ClientHeight() const = 0;
  virtual void SetScrollBars(int x, int y) = 0;
  // The change of scale of the zoom list (selection and command 701).
  virtual void SelectViewMode(int viewMode) = 0;
  // Repaint what changed in the image (image coordinates), or everything.
  virtual void InvalidateImage(RECT rect) = 0;
  virtual void InvalidateView() = 0;
  // Timers deliver WM_TIMER to the session.
  virtual void StartTimer(ToolSession* tool, int id, int milliseconds) = 0;
  virtual void StopTimer(ToolSession* tool, int id) = 0;
  virtual void CaptureMouse(ToolSession* tool) = 0;
  virtual void ReleaseMouse() = 0;
  virtual bool ControlDown() const = 0;
  virtual bool ShiftDown() const = 0;
  virtual bool AltDown() const = 0;
  // A modal message with OK.
  virtual void ShowMessage(const std::string& text) = 0;
  virtual void StatusText(const std::string& text) = 0;
  virtual void SetCursor(int resource) = 0;
  // The document's menus and bars may have changed.
  virtual void UpdateMenuStates() = 0;
  // Previews inverted on the screen, in view coordinates, one pixel wide at
  // any scale and kept inside the image: drawing the same figure twice leaves
  // no trace, and a redraw of the area takes it away. A host without a screen
  // draws nothing.
  virtual void InvertRectangle(RECT) {}     // the border pixels of rect (right and bottom outside)
  virtual void InvertEllipse(RECT) {}       // the ellipse inside rect
  virtual void InvertLine(POINT, POINT) {}  // from the first point to the second, which is left out
  // The rectangle selector's dotted drag frame around rect, inverted: a dot
  // is one image pixel at scales of 100 percent and more, one view pixel below.
  virtual void InvertFocusRect(RECT) {}
  // Shows again what lies under part of the view (view coordinates) without
  // going back to the image: a floating fragment moved away from it.
  virtual void RepaintView(RECT) {}
  // The selection's right-click menu at a view point: the filters the picture
  // allows and, with `tiles`, the two tile commands. The chosen command goes
  // to the document.
  virtual void ShowSelectionPopup(POINT, bool /*tiles*/) {}
};

// One session. Handlers get coordinates in the session's own client space
// (view coordinates minus the window's top left).
class ToolSession {
 public:
  explicit ToolSession(int tool) { param.Tool = tool; }
  virtual ~ToolSession() = default;

  TOOLPARAM param;
  RECT window{};  // in view coordinates
  DocumentTools* document = nullptr;

  virtual void OnCreate(int x, int y) {}
  virtual void OnRefresh(unsigned flags) {}
  virtual void OnLButtonDown(int x, int y, unsigned keys) {}
  virtual void OnMouseMove(int x, int y, unsigned keys) {}
  virtual void OnLButtonUp(int x, int y, unsigned keys) {}
  virtual void OnLButtonDblClk(int x, int y, unsigned keys) {}
  virtual void OnRButtonDown(int x, int y, unsigned keys) {}
  virtual void OnMButtonDown(int x, int y, unsigned keys) {}
  virtual void OnKeyDown(int key) {}
  virtual void OnChar(int character) {}
  virtual void OnTimer(int id) {}
  // UM_ messages other than UM_REFRESH.
  virtual void OnMessage(int message, std::int64_t wParam, std::int64_t lParam) {}
  // The commit of DestroyToolParam; the default commits nothing.
  virtual void Commit() {}
  // Whether the end of the session tells the document it changed.
  virtual bool ChangesImage() const { return true; }
  // Standing tools fit themselves to the limit rectangle.
  void FitToLimitRect();
  // A picture the view shows over the image while the session lasts (the
  // text being typed): a 24-bit DIB whose pixel (0, 0) lies on the image
  // point `imagePlace`. Null for none.
  virtual HDIB Overlay(POINT* imagePlace) { return nullptr; }
  // A selector floating its fragment: the view draws param.Fragment over the
  // window, with SelectMask and SelectFrame.
  virtual bool ShowsFragment() const { return false; }
};

// The tools side of one document: its record, its host, and its session.
class DocumentTools {
 public:
  DocumentTools(BLOCKSET* record, ToolHost* host) : record_(record), host_(host) {}
  ~DocumentTools();

  BLOCKSET* record() const { return record_; }
  ToolHost* host() const { return host_; }
  ToolSession* session() const { return session_.get(); }

  // Start or stop of a standing tool (1 to 10, 14, 15, 17): the same call does both.
  int PrepareToolFunction(int tool);
  // A left press on the document with a press tool (0, 11, 12, 13, 16).
  int BeginToolFunction(int x, int y, int tool, unsigned flags);
  // Ends a floating selection or text; 1 if a session was ended.
  int Unselect();
  // Ends the session: commit by tool, then the record is freed.
  void DestroyToolParam();

  // Events from the view, in view coordinates. A press on the document that no
  // session covers goes to BeginToolFunction with the current tool.
  void MouseEvent(int event, int viewX, int viewY, unsigned keys);
  void KeyEvent(int event, int key);
  void TimerEvent(ToolSession* tool, int id);
  // The cursor resource the view shows at a view point (0: the arrow).
  int CursorAt(int viewX, int viewY) const;
  // Sends a message to the session at once.
  void Send(int message, std::int64_t wParam = 0, std::int64_t lParam = 0);
  // Posts a message to the session, the document or another receiver.
  void Post(Receiver receiver, int message, std::int64_t wParam = 0, std::int64_t lParam = 0);
  // A message for this document (UM_TOOLFINISHED, UM_IMAGECHANGED).
  void OnDocumentMessage(int message, std::int64_t wParam, std::int64_t lParam);

  // The limit rectangle: the client, right and bottom cut to the zoomed image.
  RECT GetLimitRect() const;
  // The image point under a view point (unzoomed plus scroll).
  POINT ImagePointOfView(int viewX, int viewY) const;
  // Magnetic grid, on a point in view coordinates.
  POINT SnapPoint(POINT viewPoint) const;
  // A right press in a tool that takes colours: the pixel under the point
  // becomes the paint colour (paper for eraser and selective undo).
  void TakeColour(int viewX, int viewY, bool paper);
  // "Memory error", the session destroyed, the toolbox back to tool 0.
  void FailSession(bool releaseFirst);
  // Mouse capture: every mouse event goes to this session, wherever it is,
  // until released (or the session ends).
  void Capture(ToolSession* tool) {
    capture_ = tool;
    host_->CaptureMouse(tool);
  }
  void ReleaseCapture() {
    if (!capture_) return;
    capture_ = nullptr;
    host_->ReleaseMouse();
  }
  ToolSession* captured() const { return capture_; }

  // Set by the toolbox side: the tool change of the toolbox (WM_COMMAND to it).
  static std::function<void(int tool)>& ToolboxCommand();

 private:
  std::unique_ptr<ToolSession> Create(int tool, RECT window);
  BLOCKSET* record_;
  ToolHost* host_;
  std::unique_ptr<ToolSession> session_;
  ToolSession* capture_ = nullptr;
};

// Tests may make their own sessions; an empty function restores the tools.
using ToolFactory = std::function<std::unique_ptr<ToolSession>(int tool)>;
void SetToolFactoryOverride(ToolFactory factory);

// The program's current tool, -1 for none.
int& CurrentTool();

// The tool change of the toolbox: the top document's standing tool ends, the
// record takes the new tool, and its session starts. Returns false without a document.
bool ChangeTool(DocumentTools* top, int tool);
// UM_SELECTTOOL: shows a tool as current without starting or ending a session.
void SelectTool(DocumentTools* top, int tool);

}  // namespace ochrel
