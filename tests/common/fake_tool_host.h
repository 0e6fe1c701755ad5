// The platform as tool sessions see it, without a window: a view of a given
// size and scroll, keys held by the test, and a record of what the session
// asked of the screen. One document with its record and tools around it.
#pragma once

#include <algorithm>
#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <memory>

#include "frame/blockset.h"
#include "frame/view.h"
#include "tools/toolsession.h"

namespace ochrel::test {

// A digest of an image's bytes (header, palette and pixels), folded into `h`
// so that a family of outputs can share one recorded value. Values are recorded
// from outputs known good; after a deliberate change, copy the reported ones.
constexpr std::uint64_t kDigestStart = 1469598103934665603ull;
inline std::uint64_t Digest(const HDIB& image, std::uint64_t h = kDigestStart) {
  if (!image) return h * 31;
  for (std::size_t i = 0; i < image->size(); ++i) h = (h ^ image->data()[i]) * 1099511628211ull;
  return h;
}

class FakeToolHost : public ToolHost {
 public:
  int scrollX = 0, scrollY = 0, width = 400, height = 300;
  bool ctrl = false, shift = false, alt = false;
  BLOCKSET* record = nullptr;  // takes the zoom list's choice, as the frame's combo does
  ToolSession* captured = nullptr;
  ToolSession* timerTool = nullptr;
  int cursor = 0, menuUpdates = 0, redraws = 0, timerMs = 0;
  std::string status;
  std::vector<std::string> messages, inversions, statuses;
  std::vector<RECT> invalidated, repainted, inverted;
  struct Popup {
    POINT at;
    bool tiles;
  };
  std::vector<Popup> popups;

  int ScrollX() const override { return scrollX; }
  int ScrollY() const override { return scrollY; }
  int ClientWidth() const override { return width; }
  int ClientHeight() const override { return height; }
  void SetScrollBars(int x, int y) override {
    scrollX = std::max(0, x);
    scrollY = std::max(0, y);
  }
  void SelectViewMode(int mode) override {
    if (record) record->ViewMode = mode;
  }
  void InvalidateImage(RECT r) override { invalidated.push_back(r); }
  void InvalidateView() override {
    invalidated.push_back(RECT{-1, -1, -1, -1});
    ++redraws;
  }
  void StartTimer(ToolSession* t, int, int ms) override {
    timerTool = t;
    timerMs = ms;
  }
  void StopTimer(ToolSession*, int) override { timerTool = nullptr; }
  void CaptureMouse(ToolSession* t) override { captured = t; }
  void ReleaseMouse() override { captured = nullptr; }
  bool ControlDown() const override { return ctrl; }
  bool ShiftDown() const override { return shift; }
  bool AltDown() const override { return alt; }
  void ShowMessage(const std::string& text) override { messages.push_back(text); }
  void StatusText(const std::string& text) override {
    status = text;
    if (!text.empty()) statuses.push_back(text);
  }
  void SetCursor(int resource) override { cursor = resource; }
  void UpdateMenuStates() override { ++menuUpdates; }
  void InvertRectangle(RECT r) override {
    inversions.push_back("rect " + Text(r));
    inverted.push_back(r);
  }
  void InvertEllipse(RECT r) override { inversions.push_back("ellipse " + Text(r)); }
  void InvertLine(POINT a, POINT b) override {
    if (a == b) return;  // the end point is left out: nothing to draw
    inversions.push_back("line " + std::to_string(a.x) + "," + std::to_string(a.y) + " " + std::to_string(b.x) + "," +
                         std::to_string(b.y));
  }
  void InvertFocusRect(RECT r) override { inversions.push_back("focus " + Text(r)); }
  void RepaintView(RECT r) override { repainted.push_back(r); }
  void ShowSelectionPopup(POINT at, bool tiles) override { popups.push_back({at, tiles}); }

  // The figures inverted an odd number of times: what is on the screen now.
  std::set<std::string> Shown() const {
    std::map<std::string, int> n;
    for (const auto& s : inversions) ++n[s];
    std::set<std::string> out;
    for (const auto& [s, count] : n)
      if (count % 2) out.insert(s);
    return out;
  }
  bool ScreenClean() const { return Shown().empty(); }
  static std::string Text(RECT r) {
    return std::to_string(r.left) + "," + std::to_string(r.top) + "," + std::to_string(r.right) + "," +
           std::to_string(r.bottom);
  }
};

// A document: its record (holding `image`), the fake host and the tools, with
// gestures in view coordinates that run the posted messages as the program would.
struct FakeDocument {
  BLOCKSET record;
  FakeToolHost host;
  DocumentTools tools{&record, &host};

  explicit FakeDocument(HDIB image) {
    MessageQueue::Instance().Clear();
    host.record = &record;
    CreateNewFile(&record);
    record.Image = std::move(image);
    record.ViewMode = 5;
    SetImageType(&record);
  }
  ~FakeDocument() {
    tools.DestroyToolParam();
    MessageQueue::Instance().Clear();
  }
  void Drain() { MessageQueue::Instance().Drain(); }
  void Choose(int tool) {
    CurrentTool() = -1;
    record.Tool = tool;
    CurrentTool() = tool;
    tools.PrepareToolFunction(tool);
    Drain();
  }
  void Press(int x, int y, unsigned keys = MK_LBUTTON) {
    tools.MouseEvent(WM_LBUTTONDOWN, x, y, keys);
    Drain();
  }
  void Move(int x, int y, unsigned keys = MK_LBUTTON) {
    tools.MouseEvent(WM_MOUSEMOVE, x, y, keys);
    Drain();
  }
  void Release(int x, int y) {
    tools.MouseEvent(WM_LBUTTONUP, x, y, 0);
    Drain();
  }
  // Press, a few moves on the way, release.
  void Drag(POINT from, POINT to, unsigned keys = MK_LBUTTON) {
    Press(from.x, from.y, keys);
    for (int k = 1; k <= 4; ++k) Move(from.x + (to.x - from.x) * k / 4, from.y + (to.y - from.y) * k / 4, keys);
    Release(to.x, to.y);
  }
  void Key(int key) {
    tools.KeyEvent(WM_KEYDOWN, key);
    Drain();
  }
  std::uint32_t Pixel(int x, int y) const { return GetDibPixel(LockDib(record.Image), x, y); }
};

// A test over one fake document `d` (Open puts a new one in its place): the
// toolbox's tool changes go to ChangeTool, and no tool is current before or after.
class ToolTest : public ::testing::Test {
 protected:
  ToolTest() { CurrentTool() = -1; }
  ~ToolTest() override {
    d.reset();
    DocumentTools::ToolboxCommand() = nullptr;
    CurrentTool() = -1;
  }
  void Open(int width, int height, int type = 0, COLORREF colour = RGB(255, 255, 255)) {
    Open(CreateNewImage(NEWFILEPARAM{width, height, type, colour}));
  }
  void Open(HDIB image) {
    d.reset();
    CurrentTool() = -1;
    d = std::make_unique<FakeDocument>(std::move(image));
    DocumentTools::ToolboxCommand() = [this](int t) { ChangeTool(&d->tools, t); };
  }
  // The toolbox's choice of a tool, its session started and told.
  bool Change(int tool) {
    const bool changed = ChangeTool(&d->tools, tool);
    d->Drain();
    return changed;
  }
  std::uint32_t Pixel(int x, int y) const { return d->Pixel(x, y); }
  std::unique_ptr<FakeDocument> d;
};

}  // namespace ochrel::test
