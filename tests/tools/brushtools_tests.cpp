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

// A 120 by 100 white document, black paint.
class BrushToolsTest : public test::ToolTest {
 protected:
  void SetUp() override {
    Open(120, 100);
    d->record.PaintColour = RGB(0, 0, 0);
  }
};

TEST_F(BrushToolsTest, SoftBrushStrokePaintsAlongThePathAndUndoRestores) {
  ASSERT_TRUE(ChangeTool(&d->tools, TOOL_BRUSH));
  ASSERT_NE(d->tools.session(), nullptr);
  d->tools.MouseEvent(WM_LBUTTONDOWN, 20, 50, MK_LBUTTON);
  for (int x = 22; x <= 90; x += 4) d->tools.MouseEvent(WM_MOUSEMOVE, x, 50, MK_LBUTTON);
  d->tools.MouseEvent(WM_LBUTTONUP, 90, 50, 0);
  d->Drain();
  // Dark along the path, white away from it; the screen was told about the stamps.
  for (int x = 20; x <= 90; x += 10) EXPECT_LT(GetRValue(Pixel(x, 50)), 40) << x;
  EXPECT_EQ(Pixel(50, 5), RGB(255, 255, 255));
  EXPECT_FALSE(d->host.invalidated.empty());
  EXPECT_EQ(d->record.Modified, 1);
  EXPECT_EQ(d->record.UndoAvailable, 1);
  ASSERT_TRUE(DoUndo(&d->record));
  EXPECT_EQ(Pixel(50, 50), RGB(255, 255, 255));
}

TEST_F(BrushToolsTest, EraserPaintsPaperAndRightPressTakesPaper) {
  InsetSolidRectangle(d->record.Image, RGB(10, 20, 30), RECT{0, 0, 120, 100});
  d->record.PaperColour = RGB(250, 240, 230);
  ChangeTool(&d->tools, TOOL_ERASER);
  d->tools.MouseEvent(WM_LBUTTONDOWN, 60, 50, MK_LBUTTON);
  d->tools.MouseEvent(WM_LBUTTONUP, 60, 50, 0);
  EXPECT_EQ(Pixel(60, 50), RGB(250, 240, 230));  // eraser type 1: a hard stamp at full opacity
  d->tools.MouseEvent(WM_RBUTTONDOWN, 5, 5, MK_RBUTTON);
  EXPECT_EQ(d->record.PaperColour, RGB(10, 20, 30));
}

TEST_F(BrushToolsTest, PenOnAPalettedImageSetsTheIndex) {
  d->record.Image = CreateNewImage(NEWFILEPARAM{60, 60, 2, 0});
  SetImageType(&d->record);
  d->record.PaintColour = 200;
  ChangeTool(&d->tools, TOOL_PEN);
  d->tools.MouseEvent(WM_LBUTTONDOWN, 30, 30, MK_LBUTTON);
  d->tools.MouseEvent(WM_MOUSEMOVE, 40, 30, MK_LBUTTON);
  d->tools.MouseEvent(WM_LBUTTONUP, 40, 30, 0);
  EXPECT_EQ(Pixel(35, 30), 200u);
  EXPECT_EQ(Pixel(5, 5), 0u);
}

TEST_F(BrushToolsTest, AirbrushSwellsOnTicksAndStopsAfterAMove) {
  AirbrushMotion = 4;
  d->record.AirBrushFlow = 50;
  ChangeTool(&d->tools, TOOL_AIRBRUSH);
  auto* tool = static_cast<StrokeTool*>(d->tools.session());
  d->tools.MouseEvent(WM_LBUTTONDOWN, 60, 50, MK_LBUTTON);
  ASSERT_EQ(d->host.timerTool, tool);
  EXPECT_EQ(d->host.timerMs, 50);
  EXPECT_EQ(tool->Softness(), 1);
  std::vector<int> seen;
  for (int i = 0; i < 3; ++i) {
    d->tools.TimerEvent(tool, 3);
    seen.push_back(tool->Softness());
  }
  EXPECT_EQ(seen, (std::vector<int>{1, 6, 11}));
  // Five pixels away: the swelling stops for good, the timer with it.
  d->tools.MouseEvent(WM_MOUSEMOVE, 65, 50, MK_LBUTTON);
  d->tools.TimerEvent(tool, 3);
  EXPECT_EQ(d->host.timerTool, nullptr);
  d->tools.MouseEvent(WM_LBUTTONUP, 65, 50, 0);
  EXPECT_LT(GetRValue(Pixel(60, 50)), 255);
}

TEST_F(BrushToolsTest, StampThatCannotBeBuiltFallsBackToToolZero) {
  DocumentTools::ToolboxCommand() = [this](int t) { ChangeTool(&d->tools, t); };
  SetAllocationLimit(16);
  ChangeTool(&d->tools, TOOL_BRUSH);
  SetAllocationLimit(0);
  DocumentTools::ToolboxCommand() = nullptr;
  ASSERT_FALSE(d->host.messages.empty());
  EXPECT_EQ(d->host.messages[0], "Memory error");
  EXPECT_EQ(CurrentTool(), TOOL_RECTSELECT);
  EXPECT_EQ(d->tools.session(), nullptr);
}

}  // namespace
}  // namespace ochrel
