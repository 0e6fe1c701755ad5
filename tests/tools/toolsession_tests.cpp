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
class ToolsTest : public test::ToolTest {
 protected:
  void SetUp() override {
    Open(100, 80);
    RevertAfterEyedropper = 1;
  }
  // The colour changes told as "no colour here" (-1) still waiting.
  static int NoColourMessages() {
    int n = 0;
    for (const auto& m : MessageQueue::Instance().Pending()) n += m.message == UM_COLOURCHANGED && m.lParam == -1;
    return n;
  }
};

TEST_F(ToolsTest, PressToolOrderCreatedRefreshThenPostedPress) {
  std::vector<std::string> events;
  SetToolFactoryOverride([&](int tool) { return std::make_unique<LoggingTool>(tool, &events); });
  CurrentTool() = TOOL_LINE;
  d->tools.MouseEvent(WM_LBUTTONDOWN, 30, 20, MK_LBUTTON | MK_SHIFT);
  EXPECT_EQ(events, (std::vector<std::string>{"create 30,20", "refresh 5"}));
  d->Drain();
  EXPECT_EQ(events, (std::vector<std::string>{"create 30,20", "refresh 5", "press 0,0"}));
  // A press while it stands: the last word, then the commit; nothing new is made.
  d->tools.MouseEvent(WM_LBUTTONDOWN, 300, 200, MK_LBUTTON);
  EXPECT_EQ(events.back(), "commit");
  EXPECT_EQ(events[events.size() - 2], "refresh 1");
  EXPECT_EQ(d->tools.session(), nullptr);
  d->Drain();
  EXPECT_EQ(d->record.Modified, 1);  // UM_TOOLFINISHED reached the document
  SetToolFactoryOverride({});
  d->record.Modified = 0;

  // Rectangle selector, through the plain press path.
  CurrentTool() = TOOL_RECTSELECT;
  d->tools.MouseEvent(WM_LBUTTONDOWN, 30, 20, MK_LBUTTON);
  ASSERT_NE(d->tools.session(), nullptr);
  EXPECT_EQ(d->record.ToolWindow, d->tools.session());
  EXPECT_EQ(d->record.UndoAvailable, 1);  // the undo copy is taken when the window is made
  // The press reaches the window only after this handler: it is queued.
  ASSERT_EQ(MessageQueue::Instance().Size(), 1u);
  EXPECT_EQ(MessageQueue::Instance().Pending().front().message, WM_LBUTTONDOWN);
  EXPECT_EQ(d->tools.session()->window.left, 30);
  // A press while it stands ends it and makes nothing new.
  d->tools.MouseEvent(WM_LBUTTONDOWN, 300, 200, MK_LBUTTON);
  EXPECT_EQ(d->tools.session(), nullptr);
  EXPECT_EQ(d->record.ToolWindow, nullptr);
  d->Drain();  // the queued press of the ended session goes nowhere
}

TEST_F(ToolsTest, StandingToolStartsStopsAndCoversTheLimitRect) {
  EXPECT_TRUE(ChangeTool(&d->tools, TOOL_EYEDROPPER));
  ASSERT_NE(d->tools.session(), nullptr);
  EXPECT_EQ(d->tools.session()->param.Tool, TOOL_EYEDROPPER);
  // 100 by 80 at 100 percent in a 400 by 300 client.
  EXPECT_EQ(d->tools.session()->window, (RECT{0, 0, 100, 80}));
  EXPECT_EQ(CurrentTool(), TOOL_EYEDROPPER);
  EXPECT_EQ(d->record.Tool, TOOL_EYEDROPPER);
  // A tool change ends the standing tool and starts the next.
  EXPECT_TRUE(ChangeTool(&d->tools, TOOL_ZOOM));
  ASSERT_NE(d->tools.session(), nullptr);
  EXPECT_EQ(d->tools.session()->param.Tool, TOOL_ZOOM);
  EXPECT_EQ(d->record.PreviousTool, -1);  // the eyedropper is never remembered
  EXPECT_TRUE(ChangeTool(&d->tools, TOOL_RECTSELECT));
  EXPECT_EQ(d->tools.session(), nullptr);
  EXPECT_EQ(d->record.PreviousTool, TOOL_ZOOM);
  EXPECT_EQ(d->record.Cursor, 6008);
  EXPECT_FALSE(ChangeTool(&d->tools, TOOL_RECTSELECT));  // the same tool: nothing
  EXPECT_FALSE(ChangeTool(nullptr, TOOL_PEN));           // no document: nothing
  // A press beyond the image with a standing tool does nothing.
  ChangeTool(&d->tools, TOOL_EYEDROPPER);
  COLORREF paint = d->record.PaintColour;
  d->tools.MouseEvent(WM_LBUTTONDOWN, 200, 150, MK_LBUTTON);
  EXPECT_EQ(d->record.PaintColour, paint);
  EXPECT_EQ(d->tools.session()->param.Tool, TOOL_EYEDROPPER);
}

TEST_F(ToolsTest, SnapPointRules) {
  d->record.GridActive = 1;
  d->record.GridHorizontal = 8;
  d->record.GridVertical = 8;
  d->record.ViewMode = 5;  // 100 percent
  EXPECT_EQ(d->tools.SnapPoint(POINT{3, 5}), (POINT{0, 8}));
  EXPECT_EQ(d->tools.SnapPoint(POINT{4, 12}), (POINT{8, 16}));  // a tie goes to the higher line
  d->record.ViewMode = 6;                                       // 200 percent: g = 16
  EXPECT_EQ(d->tools.SnapPoint(POINT{7, 9}), (POINT{0, 16}));
  d->host.scrollX = 3;  // zoomed offset 6: 7 + 6 = 13 snaps to 16, back to 10
  EXPECT_EQ(d->tools.SnapPoint(POINT{7, 0}), (POINT{10, 0}));
  d->record.ViewMode = 3;  // under 100 percent: untouched
  EXPECT_EQ(d->tools.SnapPoint(POINT{7, 9}), (POINT{7, 9}));
  d->record.ViewMode = 5;
  d->record.GridActive = 0;
  EXPECT_EQ(d->tools.SnapPoint(POINT{3, 5}), (POINT{3, 5}));
}

TEST_F(ToolsTest, EyedropperButtonsShiftOutsideAndRevert) {
  PutDibPixel(LockDib(d->record.Image), 10, 10, RGB(1, 2, 3));
  ChangeTool(&d->tools, TOOL_PEN);
  ChangeTool(&d->tools, TOOL_EYEDROPPER);
  EXPECT_EQ(d->record.PreviousTool, TOOL_PEN);
  // Which button takes which colour is the frame tests' business, through the view.
  RevertAfterEyedropper = 0;
  d->tools.MouseEvent(WM_RBUTTONDOWN, 10, 10, MK_RBUTTON);
  EXPECT_EQ(d->record.FillColour, RGB(1, 2, 3));
  EXPECT_EQ(CurrentTool(), TOOL_EYEDROPPER);
  // Outside the image (but inside the tool, at 50 percent the window is smaller): nothing changes.
  d->host.scrollX = 95;
  MessageQueue::Instance().Clear();
  COLORREF paint = d->record.PaintColour;
  d->tools.MouseEvent(WM_LBUTTONDOWN, 20, 0, MK_LBUTTON);
  EXPECT_EQ(d->record.PaintColour, paint);
  EXPECT_GT(NoColourMessages(), 0);
  d->host.scrollX = 0;
  // The left button takes the paint colour and reverts to the pen.
  RevertAfterEyedropper = 1;
  d->tools.MouseEvent(WM_LBUTTONDOWN, 10, 10, MK_LBUTTON);
  EXPECT_EQ(d->record.PaintColour, RGB(1, 2, 3));
  EXPECT_EQ(CurrentTool(), TOOL_PEN);
  ASSERT_NE(d->tools.session(), nullptr);
  EXPECT_EQ(d->tools.session()->param.Tool, TOOL_PEN);
  d->Drain();
}

TEST_F(ToolsTest, EyedropperFromTextRevertsToText) {
  ChangeTool(&d->tools, TOOL_TEXT);
  ChangeTool(&d->tools, TOOL_EYEDROPPER);
  d->tools.MouseEvent(WM_LBUTTONDOWN, 5, 5, MK_LBUTTON);
  EXPECT_EQ(CurrentTool(), TOOL_TEXT);
  EXPECT_EQ(d->tools.session(), nullptr);  // Text's session starts at the next press
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
  d->record.Image = CreateNewImage(NEWFILEPARAM{1000, 1000, 0, 0});
  ChangeTool(&d->tools, TOOL_ZOOM);
  d->record.ViewMode = 5;
  d->tools.MouseEvent(WM_LBUTTONDOWN, 100, 100, MK_LBUTTON);
  EXPECT_EQ(d->record.ViewMode, 6);
  // Image point 100,100 in the middle of a 400 by 300 client at 200 percent: 100 - 100, 100 - 75.
  EXPECT_EQ(d->host.scrollX, 0);
  EXPECT_EQ(d->host.scrollY, 25);
  d->tools.MouseEvent(WM_RBUTTONDOWN, 0, 0, MK_RBUTTON);
  EXPECT_EQ(d->record.ViewMode, 5);
  // Shift with the left button acts as the middle one: back to 100 percent.
  d->record.ViewMode = 8;
  d->tools.MouseEvent(WM_LBUTTONDOWN, 10, 10, MK_LBUTTON | MK_SHIFT);
  EXPECT_EQ(d->record.ViewMode, 8);  // posted, not yet run
  d->Drain();
  EXPECT_EQ(d->record.ViewMode, 5);
  // At 1600 percent the scale stays, but the view still recentres on the point.
  d->record.ViewMode = 10;
  d->host.scrollX = d->host.scrollY = 50;
  d->tools.MouseEvent(WM_LBUTTONDOWN, 160, 160, MK_LBUTTON);
  EXPECT_EQ(d->record.ViewMode, 10);
  // 160 view pixels at 1600 percent is 10 image pixels: 60 - 200/16, 60 - 150/16.
  EXPECT_EQ(d->host.scrollX, 60 - 12);
  EXPECT_EQ(d->host.scrollY, 60 - 9);
}

TEST_F(ToolsTest, TakeColourOutsideLeavesColourButStillTells) {
  PutDibPixel(LockDib(d->record.Image), 2, 3, RGB(9, 8, 7));
  d->tools.TakeColour(2, 3, false);
  EXPECT_EQ(d->record.PaintColour, RGB(9, 8, 7));
  MessageQueue::Instance().Clear();
  d->tools.TakeColour(500, 500, false);
  EXPECT_EQ(d->record.PaintColour, RGB(9, 8, 7));
  EXPECT_EQ(NoColourMessages(), 2);  // the tool and the settings window
  d->tools.TakeColour(2, 3, true);
  EXPECT_EQ(d->record.PaperColour, RGB(9, 8, 7));
  MessageQueue::Instance().Clear();
}

}  // namespace
}  // namespace ochrel
