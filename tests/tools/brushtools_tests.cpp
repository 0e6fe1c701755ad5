#include <gtest/gtest.h>

#include "fake_tool_host.h"

#include <string>
#include <vector>

#include "frame/blockset.h"
#include "frame/settings.h"
#include "tools/brushtools.h"
#include "tools/toolsession.h"

namespace ochrel {
namespace {

using StrokeHost = test::FakeToolHost;

class BrushToolsTest : public ::testing::Test {
 protected:
  void SetUp() override {
    CreateNewFile(&record);
    record.Image = CreateNewImage(NEWFILEPARAM{120, 100, 0, RGB(255, 255, 255)});
    SetImageType(&record);
    record.PaintColour = RGB(0, 0, 0);
    doc = std::make_unique<DocumentTools>(&record, &host);
    MessageQueue::Instance().Clear();
    CurrentTool() = -1;
  }
  void TearDown() override {
    doc.reset();
    MessageQueue::Instance().Clear();
    CurrentTool() = -1;
  }
  std::uint32_t Pixel(int x, int y) { return GetDibPixel(LockDib(record.Image), x, y); }
  BLOCKSET record;
  StrokeHost host;
  std::unique_ptr<DocumentTools> doc;
};

TEST_F(BrushToolsTest, SoftBrushStrokePaintsAlongThePathAndUndoRestores) {
  ASSERT_TRUE(ChangeTool(doc.get(), TOOL_BRUSH));
  ASSERT_NE(doc->session(), nullptr);
  doc->MouseEvent(WM_LBUTTONDOWN, 20, 50, MK_LBUTTON);
  for (int x = 22; x <= 90; x += 4) doc->MouseEvent(WM_MOUSEMOVE, x, 50, MK_LBUTTON);
  doc->MouseEvent(WM_LBUTTONUP, 90, 50, 0);
  MessageQueue::Instance().Drain();
  // Dark along the path, white away from it; the screen was told about the stamps.
  for (int x = 20; x <= 90; x += 10) EXPECT_LT(GetRValue(Pixel(x, 50)), 40) << x;
  EXPECT_EQ(Pixel(50, 5), RGB(255, 255, 255));
  EXPECT_FALSE(host.invalidated.empty());
  EXPECT_EQ(record.Modified, 1);
  EXPECT_EQ(record.UndoAvailable, 1);
  ASSERT_TRUE(DoUndo(&record));
  EXPECT_EQ(Pixel(50, 50), RGB(255, 255, 255));
}

TEST_F(BrushToolsTest, EraserPaintsPaperAndRightPressTakesPaper) {
  InsetSolidRectangle(record.Image, RGB(10, 20, 30), RECT{0, 0, 120, 100});
  record.PaperColour = RGB(250, 240, 230);
  ChangeTool(doc.get(), TOOL_ERASER);
  doc->MouseEvent(WM_LBUTTONDOWN, 60, 50, MK_LBUTTON);
  doc->MouseEvent(WM_LBUTTONUP, 60, 50, 0);
  EXPECT_EQ(Pixel(60, 50), RGB(250, 240, 230));  // eraser type 1: a hard stamp at full opacity
  doc->MouseEvent(WM_RBUTTONDOWN, 5, 5, MK_RBUTTON);
  EXPECT_EQ(record.PaperColour, RGB(10, 20, 30));
}

TEST_F(BrushToolsTest, PenOnAPalettedImageSetsTheIndex) {
  record.Image = CreateNewImage(NEWFILEPARAM{60, 60, 2, 0});
  SetImageType(&record);
  record.PaintColour = 200;
  ChangeTool(doc.get(), TOOL_PEN);
  doc->MouseEvent(WM_LBUTTONDOWN, 30, 30, MK_LBUTTON);
  doc->MouseEvent(WM_MOUSEMOVE, 40, 30, MK_LBUTTON);
  doc->MouseEvent(WM_LBUTTONUP, 40, 30, 0);
  EXPECT_EQ(Pixel(35, 30), 200u);
  EXPECT_EQ(Pixel(5, 5), 0u);
}

TEST_F(BrushToolsTest, AirbrushSwellsOnTicksAndStopsAfterAMove) {
  AirbrushMotion = 4;
  record.AirBrushFlow = 50;
  ChangeTool(doc.get(), TOOL_AIRBRUSH);
  auto* tool = static_cast<StrokeTool*>(doc->session());
  doc->MouseEvent(WM_LBUTTONDOWN, 60, 50, MK_LBUTTON);
  ASSERT_EQ(host.timerTool, tool);
  EXPECT_EQ(host.timerMs, 50);
  EXPECT_EQ(tool->param.Softness, 1);
  std::vector<int> seen;
  for (int i = 0; i < 3; ++i) {
    doc->TimerEvent(tool, 3);
    seen.push_back(tool->param.Softness);
  }
  EXPECT_EQ(seen, (std::vector<int>{1, 6, 11}));
  // Five pixels away: the swelling stops for good, the timer with it.
  doc->MouseEvent(WM_MOUSEMOVE, 65, 50, MK_LBUTTON);
  doc->TimerEvent(tool, 3);
  EXPECT_EQ(host.timerTool, nullptr);
  doc->MouseEvent(WM_LBUTTONUP, 65, 50, 0);
  EXPECT_LT(GetRValue(Pixel(60, 50)), 255);
}

TEST_F(BrushToolsTest, StampThatCannotBeBuiltFallsBackToToolZero) {
  DocumentTools::ToolboxCommand() = [this](int t) { ChangeTool(doc.get(), t); };
  SetAllocationLimit(16);
  ChangeTool(doc.get(), TOOL_BRUSH);
  SetAllocationLimit(0);
  DocumentTools::ToolboxCommand() = nullptr;
  ASSERT_FALSE(host.messages.empty());
  EXPECT_EQ(host.messages[0], "Memory error");
  EXPECT_EQ(CurrentTool(), TOOL_RECTSELECT);
  EXPECT_EQ(doc->session(), nullptr);
}

}  // namespace
}  // namespace ochrel
