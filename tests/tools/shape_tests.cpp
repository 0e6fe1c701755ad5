// Line, rectangle and ellipse: whole gestures through the document's tools
// with a fake screen, and the commits' exact pixels.
#include <gtest/gtest.h>

#include "fake_tool_host.h"

#include <cstdlib>
#include <cstring>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "frame/blockset.h"
#include "frame/view.h"
#include "image/colourblend.h"
#include "image/lineangle.h"
#include "tools/shapecomposite.h"
#include "tools/shapetools.h"
#include "tools/toolsession.h"

namespace ochrel {
namespace {

constexpr COLORREF kWhite = RGB(255, 255, 255);

class ShapeTest : public test::ToolTest {
 protected:
  void SetUp() override { Make(0, 40, 30, kWhite); }
  void Make(int type, int width, int depth, COLORREF colour) {
    Open(width, depth, type, colour);
    BLOCKSET& record = d->record;
    record.Opacity = 255;
    record.Antialias = 0;
    record.LineThickness = 1;
    record.LineCap = 0;
    record.SolidFillMode = 1;
    record.FillType = 0;
    record.ShadowActive = 0;
    record.GridActive = 0;
    record.PaintColour = RGB(0, 0, 0);
    record.FillColour = RGB(255, 0, 0);
    record.PaperColour = RGB(0, 0, 255);
  }
  // A press, moves through the points, and a release at the last one.
  void Drag(int tool, std::vector<POINT> path, unsigned keys = 0) {
    CurrentTool() = tool;
    d->tools.MouseEvent(WM_LBUTTONDOWN, path[0].x, path[0].y, MK_LBUTTON | keys);
    d->Drain();
    for (std::size_t i = 1; i < path.size(); ++i)
      d->tools.MouseEvent(WM_MOUSEMOVE, path[i].x, path[i].y, MK_LBUTTON | keys);
    d->tools.MouseEvent(WM_LBUTTONUP, path.back().x, path.back().y, keys);
    d->Drain();
  }
  // Every pixel of the image against a rule.
  void ExpectImage(const std::function<std::uint32_t(int, int)>& expected) {
    const BITMAPINFOHEADER* h = LockDib(d->record.Image);
    int wrong = 0;
    for (int y = 0; y < h->biHeight; ++y)
      for (int x = 0; x < h->biWidth; ++x)
        if (GetDibPixel(h, x, y) != expected(x, y) && ++wrong < 6)
          ADD_FAILURE() << "pixel " << x << "," << y << " is " << std::hex << GetDibPixel(h, x, y) << " not "
                        << expected(x, y);
    EXPECT_EQ(wrong, 0);
  }
  static bool In(int x, int y, RECT r) { return x >= r.left && x < r.right && y >= r.top && y < r.bottom; }
  static bool OnBorder(int x, int y, RECT r, int t) {
    return In(x, y, r) && !In(x, y, RECT{r.left + t, r.top + t, r.right - t, r.bottom - t});
  }
};

TEST_F(ShapeTest, RectangleOutlinesAndFillsCoverExactlyTheirPixels) {
  const RECT box{5, 4, 15, 12};
  // Hollow, thickness 1: the border and nothing else, with or without antialiasing.
  for (int aa : {0, 1}) {
    Make(0, 40, 30, kWhite);
    d->record.Antialias = aa;
    Drag(TOOL_RECTANGLE, {{5, 4}, {9, 8}, {15, 12}});
    ExpectImage([&](int x, int y) { return OnBorder(x, y, box, 1) ? RGB(0, 0, 0) : kWhite; });
  }
  // Thickness 0 with the fill colour: exactly the box, no outline.
  Make(0, 40, 30, kWhite);
  d->record.LineThickness = 0;
  d->record.SolidFillMode = 0;
  Drag(TOOL_RECTANGLE, {{5, 4}, {15, 12}});
  ExpectImage([&](int x, int y) { return In(x, y, box) ? RGB(255, 0, 0) : kWhite; });
  // Paper colour fill under a 2-pixel outline, dragged from the lower right.
  Make(0, 40, 30, kWhite);
  d->record.LineThickness = 2;
  d->record.SolidFillMode = 2;
  Drag(TOOL_RECTANGLE, {{15, 12}, {5, 4}});
  ExpectImage([&](int x, int y) {
    return OnBorder(x, y, box, 2) ? RGB(0, 0, 0) : In(x, y, box) ? RGB(0, 0, 255) : kWhite;
  });
  // Nothing at all: no outline and hollow. Only the undo copy was taken.
  Make(0, 40, 30, kWhite);
  d->record.LineThickness = 0;
  d->record.SolidFillMode = 1;
  Drag(TOOL_RECTANGLE, {{5, 4}, {15, 12}});
  ExpectImage([](int, int) { return kWhite; });
  EXPECT_EQ(d->record.UndoAvailable, 1);
}

// Commits that keep the digests recorded from results checked by hand: an
// ellipse symmetric and inside its box, hard or antialiased; paletted and mono
// images painted in exact indices only, antialias or not; each layer blended by
// the coverage rule at half opacity; a shadow only under a filled, opaque shape
// on true colour or grey (the fill covering it), none for another opacity or
// fill mode, switched off or on a paletted image.
TEST_F(ShapeTest, CommitsKeepTheirRecordedDigests) {
  struct Scene {
    const char* name;
    int type;
    std::function<void(BLOCKSET&)> set;
    std::vector<std::pair<int, std::vector<POINT>>> drags;
    std::uint64_t digest;
  };
  auto shadow = [](int opacity, int fill, int active) {
    return [=](BLOCKSET& r) {
      r.Shadow.ShadowType = 2;
      r.Shadow.ShadowColor = RGB(0, 0, 0);
      r.Shadow.ShadowDirection = 7;  // down and right
      r.Shadow.ShadowOffset = 6;
      r.Shadow.ShadowSoft = 5;
      r.Shadow.ShadowOpacity = 255;
      r.ShadowActive = active;
      r.Opacity = opacity;
      r.SolidFillMode = fill;
      r.LineThickness = fill == 1 ? 2 : 0;
      if (r.ImageType == IMAGE_PALETTED) r.FillColour = 4;
    };
  };
  const std::vector<std::pair<int, std::vector<POINT>>> ellipse = {{TOOL_ELLIPSE, {{4, 4}, {29, 21}}}},
                                                        crossed = {{TOOL_ELLIPSE, {{3, 2}, {36, 27}}},
                                                                   {TOOL_LINE, {{0, 29}, {39, 0}}}},
                                                        box = {{TOOL_RECTANGLE, {{5, 5}, {20, 15}}}},
                                                        line = {{TOOL_LINE, {{0, 29}, {39, 0}}}},
                                                        small = {{TOOL_RECTANGLE, {{5, 4}, {15, 12}}}};
  const Scene scenes[] = {
      {"ellipse", 0, [](BLOCKSET& r) { r.LineThickness = 2, r.SolidFillMode = 0; }, ellipse, 0x5a92d3fb8885341c},
      {"ellipse antialiased", 0, [](BLOCKSET& r) { r.Antialias = 1, r.LineThickness = 2, r.SolidFillMode = 0; },
       ellipse, 0xb7eb1c1f96e5ff84},
      {"paletted", 2,
       [](BLOCKSET& r) {
         r.Antialias = 1, r.LineThickness = 3, r.SolidFillMode = 0, r.PaintColour = 3, r.FillColour = 5;
       },
       crossed, 0xf1bf3820adff0870},
      {"mono", 3,
       [](BLOCKSET& r) {
         r.Antialias = 1, r.LineThickness = 3, r.SolidFillMode = 0, r.FillColour = 0;
         r.PaintColour = GetDibPixel(LockDib(r.Image), 0, 0) ^ 1;
       },
       crossed, 0x98e59a2ef50f4288},
      {"line antialiased", 0, [](BLOCKSET& r) { r.Antialias = 1; }, line, 0xd4cf607ddbb6458f},
      {"half opacity", 0, [](BLOCKSET& r) { r.Opacity = 128, r.SolidFillMode = 0, r.FillColour = RGB(200, 0, 100); },
       small, 0xbe2652d1a4f1cf86},
      {"shadow", 0, shadow(255, 0, 1), box, 0xa2bbc55bc60b50f8},
      {"shadow on grey", 1, shadow(255, 2, 1), box, 0xd248433e59102d96},
      {"no shadow under 255", 0, shadow(254, 0, 1), box, 0xee2922a11c186106},
      {"no shadow hollow", 0, shadow(255, 1, 1), box, 0x77038819b752505e},
      {"no shadow switched off", 0, shadow(255, 0, 0), box, 0x495b5226fdd084c2},
      {"no shadow paletted", 2, shadow(255, 0, 1), box, 0xffd4589fd524fc10},
  };
  for (const Scene& s : scenes) {
    SCOPED_TRACE(s.name);
    Make(s.type, 40, 30, kWhite);
    s.set(d->record);
    for (const auto& [tool, path] : s.drags) Drag(tool, path);
    EXPECT_EQ(test::Digest(d->record.Image), s.digest);
  }
}
TEST_F(ShapeTest, ShapePartlyOutsideTheImagePaintsOnlyTheInside) {
  d->record.SolidFillMode = 0;
  d->record.LineThickness = 0;
  // Dragged past the image's lower right: the view is larger than the image.
  Drag(TOOL_RECTANGLE, {{30, 20}, {60, 50}});
  ExpectImage([](int x, int y) { return x >= 30 && y >= 20 ? RGB(255, 0, 0) : kWhite; });
  // Straight commits above the top left and far away.
  Make(0, 40, 30, kWhite);
  d->record.SolidFillMode = 0;
  d->record.LineThickness = 0;
  RECT changed{};
  EXPECT_EQ(InsetRectangle(&d->record, RECT{-10, -7, 5, 3}, &changed), 1);
  EXPECT_EQ(changed, (RECT{0, 0, 9, 7}));  // the mask's 4-pixel margin, cut at the image
  ExpectImage([](int x, int y) { return x < 5 && y < 3 ? RGB(255, 0, 0) : kWhite; });
  EXPECT_EQ(InsetEllipse(&d->record, RECT{100000, 100000, 100040, 100040}, &changed), 1);
  EXPECT_EQ(changed, RECT{});
  d->record.LineThickness = 5;
  EXPECT_EQ(InsetLine(&d->record, POINT{0, 0}, POINT{30000, 0}, RECT{-30000, 10, 2, 32}, &changed), 1);
  EXPECT_NE(Pixel(0, 10), kWhite);
  EXPECT_EQ(Pixel(39, 29), kWhite);
  // A box the back end can't make: the image stays as it was.
  HDIB before = DuplicateObject(d->record.Image);
  EXPECT_EQ(InsetRectangle(&d->record, RECT{0, 0, 2000000, 2000000}, &changed), 0);
  EXPECT_EQ(std::memcmp(before->data(), d->record.Image->data(), before->size()), 0);
}

TEST_F(ShapeTest, DragPreviewIsAnInvertedOutlineThatLeavesNoTrace) {
  CurrentTool() = TOOL_RECTANGLE;
  d->tools.MouseEvent(WM_LBUTTONDOWN, 10, 8, MK_LBUTTON);
  ASSERT_NE(d->tools.session(), nullptr);
  d->Drain();
  EXPECT_TRUE(d->host.captured);
  d->tools.MouseEvent(WM_MOUSEMOVE, 20, 18, MK_LBUTTON);
  EXPECT_EQ(d->host.inversions, (std::vector<std::string>{"rect 10,8,20,18"}));
  EXPECT_EQ(d->host.status, "(10,8) - (20,18) [ 10,10 ]");
  // The same point again: nothing. A new one: old outline off, new one on.
  d->tools.MouseEvent(WM_MOUSEMOVE, 20, 18, MK_LBUTTON);
  EXPECT_EQ(d->host.inversions.size(), 1u);
  d->tools.MouseEvent(WM_MOUSEMOVE, 4, 3, MK_LBUTTON);
  EXPECT_EQ(d->host.inversions, (std::vector<std::string>{"rect 10,8,20,18", "rect 10,8,20,18", "rect 4,3,10,8"}));
  EXPECT_EQ(d->host.status, "(4,3) - (10,8) [ 6,5 ]");
  // The image is untouched until the release.
  EXPECT_EQ(Pixel(4, 3), kWhite);
  d->tools.MouseEvent(WM_LBUTTONUP, 4, 3, 0);
  d->Drain();
  EXPECT_TRUE(d->host.ScreenClean());
  EXPECT_FALSE(d->host.captured);
  EXPECT_EQ(d->tools.session(), nullptr);
  EXPECT_EQ(Pixel(4, 3), RGB(0, 0, 0));
  EXPECT_EQ(d->record.Modified, 1);
  // Only the changed rectangle is redrawn: the shape and its mask margin.
  ASSERT_EQ(d->host.invalidated.size(), 1u);
  EXPECT_EQ(d->host.invalidated[0], (RECT{0, 0, 14, 12}));
  // One level of undo brings the image back.
  ASSERT_TRUE(DoUndo(&d->record));
  ExpectImage([](int, int) { return kWhite; });

  // The ellipse's preview and the line's.
  d->host.inversions.clear();
  Drag(TOOL_ELLIPSE, {{10, 8}, {20, 18}});
  EXPECT_EQ(d->host.inversions.front(), "ellipse 10,8,20,18");
  EXPECT_TRUE(d->host.ScreenClean());
  d->host.inversions.clear();
  Drag(TOOL_LINE, {{10, 8}, {20, 18}, {5, 12}});
  // Down-right from (0, 0); then down-left, from the upper right corner.
  EXPECT_EQ(d->host.inversions[0], "line 10,8 20,18");
  EXPECT_EQ(d->host.inversions[2], "line 10,8 5,12");
  EXPECT_TRUE(d->host.ScreenClean());
}

TEST_F(ShapeTest, LinesRunFromPressToReleaseOnePixelWide) {
  Drag(TOOL_LINE, {{3, 5}, {12, 5}});
  ExpectImage([](int x, int y) { return y == 5 && x >= 3 && x <= 12 ? RGB(0, 0, 0) : kWhite; });
  // Upwards, vertical, flat ends.
  Make(0, 40, 30, kWhite);
  d->record.LineCap = LINECAP_FLAT;
  Drag(TOOL_LINE, {{7, 20}, {7, 9}, {7, 2}});
  ExpectImage([](int x, int y) { return x == 7 && y >= 2 && y <= 20 ? RGB(0, 0, 0) : kWhite; });
  // A click without a drag leaves a dot of the pen's size at the press point.
  Make(0, 40, 30, kWhite);
  d->record.LineThickness = 3;
  Drag(TOOL_LINE, {{9, 9}});
  EXPECT_EQ(Pixel(9, 9), RGB(0, 0, 0));
  ExpectImage([this](int x, int y) { return std::abs(x - 9) > 1 || std::abs(y - 9) > 1 ? kWhite : Pixel(x, y); });
  d->record.LineThickness = 1;
  // Ctrl pulls a shallow drag onto the horizontal through the press.
  Make(0, 40, 30, kWhite);
  Drag(TOOL_LINE, {{5, 5}, {15, 7}}, MK_CONTROL);
  ExpectImage([](int x, int y) { return y == 5 && x >= 5 && x <= 15 ? RGB(0, 0, 0) : kWhite; });
  // Half opacity: half blends of black into white.
  Make(0, 40, 30, kWhite);
  d->record.Opacity = 128;
  Drag(TOOL_LINE, {{2, 2}, {30, 2}});
  EXPECT_EQ(Pixel(10, 2), RGB(127, 127, 127));
}

TEST_F(ShapeTest, AngleConstraintFollowsTheStepTable) {
  const POINT o{100, 100};
  struct Case {
    POINT to, expected;
  } cases[] = {
      {{110, 97}, {110, 100}},   // angle 8: horizontal
      {{110, 91}, {110, 90}},    // 43: diagonal up right, m = the larger distance
      {{102, 80}, {100, 80}},    // 89: vertical
      {{91, 89}, {89, 89}},      // 135: diagonal up left
      {{80, 103}, {80, 100}},    // 182: horizontal
      {{91, 110}, {90, 110}},    // 223: diagonal down left
      {{99, 130}, {100, 130}},   // 270: vertical
      {{109, 110}, {110, 110}},  // 316: diagonal down right
      {{130, 101}, {130, 100}},  // 360: horizontal
  };
  for (const Case& c : cases) {
    POINT p = ConstrainToAngle(o, c.to);
    EXPECT_EQ(p, c.expected) << c.to.x << "," << c.to.y << " angle " << GetLineAngle(o, c.to);
  }
}

TEST_F(ShapeTest, CtrlSquaresRectanglesInTheDirectionOfTheDrag) {
  Drag(TOOL_RECTANGLE, {{10, 20}, {16, 12}}, MK_CONTROL);  // up and right, 6 by 8
  EXPECT_EQ(d->host.statuses.back(), "(10,12) - (18,20) [ 8,8 ]");
  EXPECT_EQ(Pixel(17, 12), RGB(0, 0, 0));
  EXPECT_EQ(Pixel(18, 12), kWhite);
  Make(0, 40, 30, kWhite);
  d->host.ctrl = true;  // read from the keyboard as well as from the event
  Drag(TOOL_ELLIPSE, {{20, 20}, {11, 16}});
  EXPECT_EQ(d->host.statuses.back(), "(11,11) - (20,20) [ 9,9 ]");
}

TEST_F(ShapeTest, GridSnapsPressAndDragPoints) {
  d->record.GridActive = 1;
  d->record.GridHorizontal = 10;
  d->record.GridVertical = 10;
  // 13 goes down to 10; 17 up to 20; 26 to 30; 34 to 30; 15, half way, goes up.
  Drag(TOOL_RECTANGLE, {{13, 17}, {26, 34}});
  EXPECT_EQ(d->host.statuses.back(), "(10,20) - (30,30) [ 20,10 ]");
  EXPECT_EQ(Pixel(10, 20), RGB(0, 0, 0));
  EXPECT_EQ(Pixel(29, 29), RGB(0, 0, 0));
  EXPECT_EQ(Pixel(11, 21), kWhite);
  Drag(TOOL_RECTANGLE, {{15, 15}, {4, 4}});
  EXPECT_EQ(d->host.statuses.back(), "(0,0) - (20,20) [ 20,20 ]");
  // Under 100 percent the grid leaves points alone.
  d->record.ViewMode = 3;
  Drag(TOOL_RECTANGLE, {{13, 13}, {17, 17}});
  EXPECT_EQ(d->host.statuses.back(), "(26,26) - (34,34) [ 8,8 ]");
}

TEST_F(ShapeTest, ZoomedAndScrolledViewsCommitInImagePixels) {
  Make(0, 100, 80, kWhite);
  d->record.ViewMode = 6;  // 200 percent
  d->host.scrollX = 5;
  d->host.scrollY = 3;
  d->record.SolidFillMode = 0;
  d->record.LineThickness = 0;
  // Odd view points land on whole image pixels.
  Drag(TOOL_RECTANGLE, {{11, 11}, {31, 21}});
  ExpectImage([](int x, int y) { return x >= 10 && x < 20 && y >= 8 && y < 13 ? RGB(255, 0, 0) : kWhite; });
}

TEST_F(ShapeTest, GradientFillIsLaidOverTheShapesOwnBox) {
  d->record.SolidFillMode = 0;
  d->record.LineThickness = 0;
  d->record.FillType = 1;
  d->record.Gradient.StartColour = RGB(0, 0, 0);
  d->record.Gradient.EndColour = RGB(255, 255, 0);
  const RECT box{6, 5, 30, 25};
  HDIB source = GetFillImage(&d->record, RECT{0, 0, box.right - box.left + 8, box.bottom - box.top + 8});
  ASSERT_NE(source, nullptr);
  Drag(TOOL_RECTANGLE, {{6, 5}, {30, 25}});
  const BITMAPINFOHEADER* s = LockDib(source);
  ExpectImage([&](int x, int y) {
    if (!In(x, y, box)) return kWhite;
    std::uint32_t v = GetDibPixel(s, x - box.left + 4, y - box.top + 4);
    return v == NOPIXEL ? RGB(255, 0, 0) : v;
  });
  // Somewhere the gradient differs from the plain fill colour.
  EXPECT_NE(Pixel(7, 6), Pixel(28, 23));
}

}  // namespace
}  // namespace ochrel
