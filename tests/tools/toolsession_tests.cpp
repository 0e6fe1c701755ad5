#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "fake_tool_host.h"
#include "frame/blockset.h"
#include "frame/view.h"
#include "frame/settings.h"
#include "tools/toolsession.h"
#include "tools/viewtools.h"

namespace ochrel {
namespace {

// A press tool that writes down what reaches it.
class LoggingTool : public ToolSession {
 public:
  LoggingTool(int tool, std::vector<std::string>* log) : ToolSession(tool), log_(log) {}
  void OnCreate(int x, int y) override { log_->push_back("create " + std::to_string(x) + "," + std::to_string(y)); }
  void OnRefresh(unsigned flags) override { log_->push_back("refresh " + std::to_string(flags)); }
  void OnLButtonDown(int x, int y, unsigned) override {
    log_->push_back("press " + std::to_string(x) + "," + std::to_string(y));
  }
  void Commit() override { log_->push_back("commit"); }

 private:
  std::vector<std::string>* log_;
};

// A 100 by 80 white document at 100 percent whose toolbox changes tools.
class ToolsTest : public ::testing::Test {
 protected:
  void SetUp() override {
    CurrentTool() = -1;
    DocumentTools::ToolboxCommand() = [this](int t) { ChangeTool(doc, t); };
    RevertAfterEyedropper = 1;
  }
  void TearDown() override {
    DocumentTools::ToolboxCommand() = nullptr;
    CurrentTool() = -1;
  }
  void Drain() { d.Drain(); }

  test::FakeDocument d{CreateNewImage(NEWFILEPARAM{100, 80, 0, RGB(255, 255, 255)})};
  BLOCKSET& record = d.record;
  test::FakeToolHost& host = d.host;
  DocumentTools* doc = &d.tools;
};

TEST_F(ToolsTest, PressToolOrderCreatedRefreshThenPostedPress) {
  std::vector<std::string> events;
  SetToolFactoryOverride([&](int tool) { return std::make_unique<LoggingTool>(tool, &events); });
  CurrentTool() = TOOL_LINE;
  doc->MouseEvent(WM_LBUTTONDOWN, 30, 20, MK_LBUTTON | MK_SHIFT);
  EXPECT_EQ(events, (std::vector<std::string>{"create 30,20", "refresh 5"}));
  Drain();
  EXPECT_EQ(events, (std::vector<std::string>{"create 30,20", "refresh 5", "press 0,0"}));
  // A press while it stands: the last word, then the commit; nothing new is made.
  doc->MouseEvent(WM_LBUTTONDOWN, 300, 200, MK_LBUTTON);
  EXPECT_EQ(events.back(), "commit");
  EXPECT_EQ(events[events.size() - 2], "refresh 1");
  EXPECT_EQ(doc->session(), nullptr);
  Drain();
  EXPECT_EQ(record.Modified, 1);  // UM_TOOLFINISHED reached the document
  SetToolFactoryOverride({});
  record.Modified = 0;

  // Rectangle selector, through the plain press path.
  CurrentTool() = TOOL_RECTSELECT;
  doc->MouseEvent(WM_LBUTTONDOWN, 30, 20, MK_LBUTTON);
  ASSERT_NE(doc->session(), nullptr);
  EXPECT_EQ(record.ToolWindow, doc->session());
  EXPECT_EQ(record.UndoAvailable, 1);  // the undo copy is taken when the window is made
  // The press reaches the window only after this handler: it is queued.
  ASSERT_EQ(MessageQueue::Instance().Size(), 1u);
  EXPECT_EQ(MessageQueue::Instance().Pending().front().message, WM_LBUTTONDOWN);
  EXPECT_EQ(doc->session()->window.left, 30);
  // A press while it stands ends it and makes nothing new.
  ToolSession* first = doc->session();
  doc->MouseEvent(WM_LBUTTONDOWN, 300, 200, MK_LBUTTON);
  EXPECT_EQ(doc->session(), nullptr);
  EXPECT_EQ(record.ToolWindow, nullptr);
  Drain();  // the queued press of the ended session goes nowhere
  (void)first;
}

TEST_F(ToolsTest, StandingToolStartsStopsAndCoversTheLimitRect) {
  EXPECT_TRUE(ChangeTool(doc, TOOL_EYEDROPPER));
  ASSERT_NE(doc->session(), nullptr);
  EXPECT_EQ(doc->session()->param.Tool, TOOL_EYEDROPPER);
  // 100 by 80 at 100 percent in a 400 by 300 client.
  EXPECT_EQ(doc->session()->window, (RECT{0, 0, 100, 80}));
  EXPECT_EQ(CurrentTool(), TOOL_EYEDROPPER);
  EXPECT_EQ(record.Tool, TOOL_EYEDROPPER);
  // A tool change ends the standing tool and starts the next.
  EXPECT_TRUE(ChangeTool(doc, TOOL_ZOOM));
  ASSERT_NE(doc->session(), nullptr);
  EXPECT_EQ(doc->session()->param.Tool, TOOL_ZOOM);
  EXPECT_EQ(record.PreviousTool, -1);  // the eyedropper is never remembered
  EXPECT_TRUE(ChangeTool(doc, TOOL_RECTSELECT));
  EXPECT_EQ(doc->session(), nullptr);
  EXPECT_EQ(record.PreviousTool, TOOL_ZOOM);
  EXPECT_EQ(record.Cursor, 6008);
  EXPECT_FALSE(ChangeTool(doc, TOOL_RECTSELECT));  // the same tool: nothing
  EXPECT_FALSE(ChangeTool(nullptr, TOOL_PEN));           // no document: nothing
  // A press beyond the image with a standing tool does nothing.
  ChangeTool(doc, TOOL_EYEDROPPER);
  COLORREF paint = record.PaintColour;
  doc->MouseEvent(WM_LBUTTONDOWN, 200, 150, MK_LBUTTON);
  EXPECT_EQ(record.PaintColour, paint);
  EXPECT_EQ(doc->session()->param.Tool, TOOL_EYEDROPPER);
}

TEST_F(ToolsTest, SnapPointRules) {
  record.GridActive = 1;
  record.GridHorizontal = 8;
  record.GridVertical = 8;
  record.ViewMode = 5;  // 100 percent
  EXPECT_EQ(doc->SnapPoint(POINT{3, 5}), (POINT{0, 8}));
  EXPECT_EQ(doc->SnapPoint(POINT{4, 12}), (POINT{8, 16}));  // a tie goes to the higher line
  record.ViewMode = 6;                                      // 200 percent: g = 16
  EXPECT_EQ(doc->SnapPoint(POINT{7, 9}), (POINT{0, 16}));
  host.scrollX = 3;  // zoomed offset 6: 7 + 6 = 13 snaps to 16, back to 10
  EXPECT_EQ(doc->SnapPoint(POINT{7, 0}), (POINT{10, 0}));
  record.ViewMode = 3;  // under 100 percent: untouched
  EXPECT_EQ(doc->SnapPoint(POINT{7, 9}), (POINT{7, 9}));
  record.ViewMode = 5;
  record.GridActive = 0;
  EXPECT_EQ(doc->SnapPoint(POINT{3, 5}), (POINT{3, 5}));
}

TEST_F(ToolsTest, EyedropperButtonsShiftOutsideAndRevert) {
  PutDibPixel(LockDib(record.Image), 10, 10, RGB(1, 2, 3));
  ChangeTool(doc, TOOL_PEN);
  ChangeTool(doc, TOOL_EYEDROPPER);
  EXPECT_EQ(record.PreviousTool, TOOL_PEN);
  RevertAfterEyedropper = 0;
  doc->MouseEvent(WM_RBUTTONDOWN, 10, 10, MK_RBUTTON);
  EXPECT_EQ(record.FillColour, RGB(1, 2, 3));
  doc->MouseEvent(WM_LBUTTONDOWN, 10, 10, MK_LBUTTON | MK_SHIFT);
  EXPECT_EQ(record.PaperColour, RGB(1, 2, 3));
  doc->MouseEvent(WM_MBUTTONDOWN, 0, 0, MK_MBUTTON);
  EXPECT_EQ(record.PaperColour, RGB(255, 255, 255));
  // Outside the image (but inside the tool, at 50 percent the window is smaller): nothing changes.
  host.scrollX = 95;
  MessageQueue::Instance().Clear();
  COLORREF paint = record.PaintColour;
  doc->MouseEvent(WM_LBUTTONDOWN, 20, 0, MK_LBUTTON);
  EXPECT_EQ(record.PaintColour, paint);
  bool sentMinusOne = false;
  for (const auto& m : MessageQueue::Instance().Pending())
    if (m.message == UM_COLOURCHANGED && m.lParam == -1) sentMinusOne = true;
  EXPECT_TRUE(sentMinusOne);
  host.scrollX = 0;
  // The left button takes the paint colour and reverts to the pen.
  RevertAfterEyedropper = 1;
  doc->MouseEvent(WM_LBUTTONDOWN, 10, 10, MK_LBUTTON);
  EXPECT_EQ(record.PaintColour, RGB(1, 2, 3));
  EXPECT_EQ(CurrentTool(), TOOL_PEN);
  ASSERT_NE(doc->session(), nullptr);
  EXPECT_EQ(doc->session()->param.Tool, TOOL_PEN);
  Drain();
}

TEST_F(ToolsTest, EyedropperFromTextRevertsToText) {
  ChangeTool(doc, TOOL_TEXT);
  ChangeTool(doc, TOOL_EYEDROPPER);
  doc->MouseEvent(WM_LBUTTONDOWN, 5, 5, MK_LBUTTON);
  EXPECT_EQ(CurrentTool(), TOOL_TEXT);
  EXPECT_EQ(doc->session(), nullptr);  // Text's session starts at the next press
  // A new document has no previous tool: the eyedropper stays.
  test::FakeDocument other(CreateNewImage(NEWFILEPARAM{10, 10, 0, 0}));
  CurrentTool() = -1;
  ChangeTool(&other.tools, TOOL_EYEDROPPER);
  other.record.PreviousTool = -1;
  other.tools.MouseEvent(WM_LBUTTONDOWN, 1, 1, MK_LBUTTON);
  EXPECT_EQ(CurrentTool(), TOOL_EYEDROPPER);
  MessageQueue::Instance().Clear();
}

TEST_F(ToolsTest, ZoomToolStepsAndRecentres) {
  record.Image = CreateNewImage(NEWFILEPARAM{1000, 1000, 0, 0});
  ChangeTool(doc, TOOL_ZOOM);
  record.ViewMode = 5;
  doc->MouseEvent(WM_LBUTTONDOWN, 100, 100, MK_LBUTTON);
  EXPECT_EQ(record.ViewMode, 6);
  // Image point 100,100 in the middle of a 400 by 300 client at 200 percent: 100 - 100, 100 - 75.
  EXPECT_EQ(host.scrollX, 0);
  EXPECT_EQ(host.scrollY, 25);
  doc->MouseEvent(WM_RBUTTONDOWN, 0, 0, MK_RBUTTON);
  EXPECT_EQ(record.ViewMode, 5);
  // Shift with the left button acts as the middle one: back to 100 percent.
  record.ViewMode = 8;
  doc->MouseEvent(WM_LBUTTONDOWN, 10, 10, MK_LBUTTON | MK_SHIFT);
  EXPECT_EQ(record.ViewMode, 8);  // posted, not yet run
  Drain();
  EXPECT_EQ(record.ViewMode, 5);
  // At 1600 percent the scale stays, but the view still recentres on the point.
  record.ViewMode = 10;
  host.scrollX = host.scrollY = 50;
  doc->MouseEvent(WM_LBUTTONDOWN, 160, 160, MK_LBUTTON);
  EXPECT_EQ(record.ViewMode, 10);
  // 160 view pixels at 1600 percent is 10 image pixels: 60 - 200/16, 60 - 150/16.
  EXPECT_EQ(host.scrollX, 60 - 12);
  EXPECT_EQ(host.scrollY, 60 - 9);
}

TEST_F(ToolsTest, TakeColourOutsideLeavesColourButStillTells) {
  PutDibPixel(LockDib(record.Image), 2, 3, RGB(9, 8, 7));
  doc->TakeColour(2, 3, false);
  EXPECT_EQ(record.PaintColour, RGB(9, 8, 7));
  MessageQueue::Instance().Clear();
  doc->TakeColour(500, 500, false);
  EXPECT_EQ(record.PaintColour, RGB(9, 8, 7));
  int colourMessages = 0;
  for (const auto& m : MessageQueue::Instance().Pending())
    if (m.message == UM_COLOURCHANGED && m.lParam == -1) ++colourMessages;
  EXPECT_EQ(colourMessages, 2);  // the tool and the settings window
  doc->TakeColour(2, 3, true);
  EXPECT_EQ(record.PaperColour, RGB(9, 8, 7));
  MessageQueue::Instance().Clear();
}

}  // namespace
}  // namespace ochrel
