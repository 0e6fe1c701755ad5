#include <gtest/gtest.h>

#include <memory>

#include "fake_tool_host.h"
#include "frame/blockset.h"
#include "frame/strings.h"
#include "image/colourblend.h"
#include "tools/brushstamp.h"
#include "tools/replacertools.h"
#include "tools/toolsession.h"

namespace ochrel {
namespace {

// A document of the fake host; the tool runs through DocumentTools as in the view.
class ReplacerUndoTest : public test::ToolTest {
 protected:
  void Make(int type, COLORREF background) { Open(80, 60, type, background); }
  void Stroke(std::initializer_list<POINT> path) {
    auto it = path.begin();
    d->tools.MouseEvent(WM_LBUTTONDOWN, it->x, it->y, MK_LBUTTON);
    for (++it; it != path.end(); ++it) d->tools.MouseEvent(WM_MOUSEMOVE, it->x, it->y, MK_LBUTTON);
    d->tools.MouseEvent(WM_LBUTTONUP, (path.end() - 1)->x, (path.end() - 1)->y, 0);
    d->Drain();
  }
  void Put(int x, int y, std::uint32_t v) { PutDibPixel(LockDib(d->record.Image), x, y, v); }
};

TEST_F(ReplacerUndoTest, ReplacerTurnsOnlyPixelsWithinTheTolerancesOfThePaperColour) {
  const COLORREF paper = RGB(200, 100, 50), paint = RGB(0, 0, 255);
  // Columns 20..24: paper, paper off by 5, by 15, by 30 in red, and a far colour.
  const COLORREF cells[] = {paper, RGB(205, 105, 45), RGB(215, 100, 50), RGB(230, 100, 50), RGB(0, 255, 0)};
  struct Case {
    int tolerance;
    int replaced;  // how many of the cells, from the left, turn
  } cases[] = {{0, 0}, {10, 2}, {20, 3}, {40, 4}};
  for (const Case& c : cases) {
    Make(0, RGB(255, 255, 255));
    for (int i = 0; i < 5; ++i) Put(20 + i, 30, cells[i]);
    d->record.PaperColour = paper;
    d->record.PaintColour = paint;
    d->record.Opacity = 128;
    d->record.ReplacerSize = 32;
    d->record.RedTolerance = d->record.GreenTolerance = d->record.BlueTolerance = c.tolerance;
    ASSERT_TRUE(ChangeTool(&d->tools, TOOL_REPLACER));
    Stroke({{22, 30}, {23, 31}});
    for (int i = 0; i < 5; ++i)
      EXPECT_EQ(Pixel(20 + i, 30), i < c.replaced ? CoverageBlend(cells[i], paint, 128) : cells[i])
          << "tolerance " << c.tolerance << " cell " << i;
    EXPECT_EQ(Pixel(5, 5), RGB(255, 255, 255));
    EXPECT_EQ(d->record.UndoAvailable, 1);
    EXPECT_EQ(d->record.Modified, 1);
    // The square's frame was drawn and taken away again: an even count.
    EXPECT_FALSE(d->host.inverted.empty());
    EXPECT_EQ(d->host.inverted.size() % 2, 0u);
    EXPECT_EQ(d->host.captured, nullptr);
    ChangeTool(&d->tools, TOOL_PEN);
  }
}

TEST_F(ReplacerUndoTest, ReplacerStrokeOverItselfReplacesFromThePressCopyOnly) {
  Make(0, RGB(200, 100, 50));
  d->record.PaperColour = RGB(200, 100, 50);
  d->record.PaintColour = RGB(0, 0, 0);
  d->record.Opacity = 128;
  d->record.ReplacerSize = 8;
  d->record.RedTolerance = d->record.GreenTolerance = d->record.BlueTolerance = 120;
  ASSERT_TRUE(ChangeTool(&d->tools, TOOL_REPLACER));
  // Back and forth over the same place: a half-blended pixel would match the
  // paper colour again under this tolerance, so only the press copy keeps it once.
  Stroke({{30, 30}, {50, 30}, {30, 30}, {50, 30}, {40, 32}});
  const COLORREF once = CoverageBlend(RGB(200, 100, 50), RGB(0, 0, 0), 128);
  EXPECT_EQ(Pixel(40, 30), once);
  EXPECT_EQ(Pixel(30, 30), once);
  // A second stroke starts from the present image and blends once more.
  Stroke({{40, 30}});
  EXPECT_EQ(Pixel(40, 30), CoverageBlend(once, RGB(0, 0, 0), 128));
  EXPECT_EQ(Pixel(5, 5), RGB(200, 100, 50));
}

TEST_F(ReplacerUndoTest, ReplacerOnPalettedImageMatchesEqualIndicesOnly) {
  Make(2, RGB(255, 255, 255));
  const std::uint32_t bg = Pixel(0, 0);
  Put(10, 10, bg ^ 1);
  d->record.PaperColour = bg;
  d->record.PaintColour = bg ^ 7;
  d->record.Opacity = 255;
  d->record.ReplacerSize = 32;
  ASSERT_TRUE(ChangeTool(&d->tools, TOOL_REPLACER));
  Stroke({{10, 10}});
  EXPECT_EQ(Pixel(12, 12), bg ^ 7);
  EXPECT_EQ(Pixel(10, 10), bg ^ 1);
  EXPECT_EQ(Pixel(40, 40), bg);
}

TEST_F(ReplacerUndoTest, ReplacerRightAndMiddleClicksTakePaintAndPaperColours) {
  Make(0, RGB(255, 255, 255));
  Put(5, 5, RGB(1, 2, 3));
  Put(6, 6, RGB(4, 5, 6));
  ASSERT_TRUE(ChangeTool(&d->tools, TOOL_REPLACER));
  d->tools.MouseEvent(WM_RBUTTONDOWN, 5, 5, MK_RBUTTON);
  d->tools.MouseEvent(WM_MBUTTONDOWN, 6, 6, MK_MBUTTON);
  EXPECT_EQ(d->record.PaintColour, RGB(1, 2, 3));
  EXPECT_EQ(d->record.PaperColour, RGB(4, 5, 6));
}

// Selective undo: the previous image comes back exactly through the stamp.
TEST_F(ReplacerUndoTest, SelectiveUndoBringsBackTheStampedAreaOfThePreviousImage) {
  for (int opacity : {255, 128}) {
    Make(0, RGB(250, 240, 230));
    CreateUndo(&d->record);
    InsetSolidRectangle(d->record.Image, RGB(0, 0, 0), RECT{0, 0, 80, 60});
    d->record.Opacity = opacity;
    d->record.UndoThickness = 9;
    d->record.UndoType = 0;
    d->record.UndoSoftness = 50;
    ASSERT_TRUE(ChangeTool(&d->tools, TOOL_LOCALUNDO));
    Stroke({{30, 20}, {30, 20}});
    Stroke({{40, 40}, {44, 40}, {40, 40}, {44, 40}});
    // Recorded from strokes checked by hand: the first stroke's stamp blends the
    // previous image back by its values; the line's pixels get no more than the
    // opacity's share back, however often passed over.
    EXPECT_EQ(test::Digest(d->record.Image), opacity == 255 ? 0x64d213d135530df6u : 0x9711f3caeed32bd6u);
    EXPECT_EQ(d->record.UndoAvailable, 1);
    ASSERT_TRUE(DoUndo(&d->record));
    EXPECT_EQ(Pixel(30, 20), RGB(250, 240, 230));
    ChangeTool(&d->tools, TOOL_PEN);
  }
}

TEST_F(ReplacerUndoTest, SelectiveUndoWithoutUndoImageSaysSoAndFallsBackToToolZero) {
  Make(0, RGB(255, 255, 255));
  ASSERT_TRUE(ChangeTool(&d->tools, TOOL_LOCALUNDO));
  ASSERT_NE(d->tools.session(), nullptr);
  d->tools.MouseEvent(WM_LBUTTONDOWN, 10, 10, MK_LBUTTON);
  d->Drain();
  ASSERT_EQ(d->host.messages.size(), 1u);
  EXPECT_EQ(d->host.messages[0], FetchString(IDS_NO_UNDO_IMAGE));
  EXPECT_EQ(d->tools.session(), nullptr);
  EXPECT_EQ(CurrentTool(), TOOL_RECTSELECT);
  EXPECT_EQ(Pixel(10, 10), RGB(255, 255, 255));
}

}  // namespace
}  // namespace ochrel
