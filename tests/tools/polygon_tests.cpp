// The polygon tool: vertices by presses, the rubber band, the double click
// that commits, and the figure's exact place in the image.
#include <gtest/gtest.h>

#include <cstring>
#include <functional>

#include "fake_tool_host.h"
#include "tools/polygontool.h"

namespace ochrel {
namespace {

constexpr COLORREF kWhite = RGB(255, 255, 255);

class PolygonTest : public test::ToolTest {
 protected:
  void SetUp() override { Make(0); }
  void Make(int type) {
    Open(40, 30, type, kWhite);
    BLOCKSET& r = d->record;
    r.Opacity = 255, r.Antialias = r.LineThickness = r.SolidFillMode = r.FillType = r.ShadowActive = r.GridActive = 0;
    r.PaintColour = RGB(0, 0, 0), r.FillColour = RGB(255, 0, 0);
    ASSERT_TRUE(Change(TOOL_POLYGON));
  }
  PolygonTool* tool() { return dynamic_cast<PolygonTool*>(d->tools.session()); }
  void Click(int x, int y, unsigned keys = 0) {
    d->tools.MouseEvent(WM_LBUTTONDOWN, x, y, MK_LBUTTON | keys);
    d->tools.MouseEvent(WM_LBUTTONUP, x, y, keys);
  }
  // The last vertex: its press, then the double click at the same place.
  void Finish(int x, int y) {
    Click(x, y);
    d->tools.MouseEvent(WM_LBUTTONDBLCLK, x, y, MK_LBUTTON);
    d->tools.MouseEvent(WM_LBUTTONUP, x, y, 0);
    d->Drain();
  }
  // Presses at all the vertices but the last, where the figure is finished.
  void Figure(const std::vector<POINT>& v) {
    for (std::size_t i = 0; i + 1 < v.size(); ++i) Click(v[i].x, v[i].y);
    Finish(v.back().x, v.back().y);
  }
  void Hover(int x, int y, unsigned keys = 0) { d->tools.MouseEvent(WM_MOUSEMOVE, x, y, keys); }
  RECT Painted(std::uint32_t colour, int* count) {
    RECT r{1000, 1000, -1, -1};
    *count = 0;
    for (int y = 0; y < 30; ++y)
      for (int x = 0; x < 40; ++x)
        if (Pixel(x, y) == colour) {
          ++*count;
          r = RECT{std::min(r.left, x), std::min(r.top, y), std::max(r.right, x + 1), std::max(r.bottom, y + 1)};
        }
    return r;
  }
};

TEST_F(PolygonTest, StandsOverTheImageAndCommitsAtTheDoubleClick) {
  ASSERT_NE(tool(), nullptr);
  EXPECT_EQ(d->tools.session()->window, (RECT{0, 0, 40, 30}));  // the limit rectangle: the image at 100 percent
  Click(10, 10);
  EXPECT_EQ(d->record.UndoAvailable, 1);  // taken at the first vertex
  EXPECT_TRUE(d->host.captured);
  Click(20, 10);
  Click(20, 20);
  EXPECT_EQ(tool()->Points(), (std::vector<POINT>{{10, 10}, {20, 10}, {20, 20}}));
  EXPECT_EQ(Pixel(15, 15), kWhite);  // nothing until the double click
  Finish(10, 20);
  // The figure is filled where it was drawn, a 10 by 10 square whose pixels
  // lie between the vertices (the back end decides which edge takes the
  // pixels the edges pass through); the tool stands ready again.
  int n = 0;
  const RECT r = Painted(RGB(255, 0, 0), &n);
  EXPECT_EQ(n, 100);
  EXPECT_TRUE((r.left == 10 || r.left == 11) && (r.top == 10 || r.top == 11)) << test::FakeToolHost::Text(r);
  EXPECT_TRUE(r.right - r.left == 10 && r.bottom - r.top == 10) << test::FakeToolHost::Text(r);
  EXPECT_TRUE(tool()->Points().empty());
  EXPECT_FALSE(d->host.captured);
  EXPECT_EQ(d->record.Modified, 1);
  EXPECT_EQ(d->tools.session()->param.Tool, TOOL_POLYGON);
  ASSERT_TRUE(DoUndo(&d->record));
  EXPECT_EQ(Pixel(15, 15), kWhite);
}

TEST_F(PolygonTest, DoubleClickFirstGivesOneOrTwoVertices) {
  d->record.LineThickness = 3, d->record.SolidFillMode = 1;
  // A double click on the spot: one vertex, drawn as a dot.
  Finish(15, 15);
  int n = 0;
  RECT r = Painted(RGB(0, 0, 0), &n);
  EXPECT_TRUE(n > 0 && r.left >= 13 && r.right <= 18) << n << " " << test::FakeToolHost::Text(r);
  EXPECT_EQ(Pixel(15, 15), RGB(0, 0, 0));
  // The mouse moved between the press and the double click: a second vertex.
  Make(0);
  d->record.LineThickness = 1, d->record.SolidFillMode = 1;
  Click(5, 5);
  d->tools.MouseEvent(WM_LBUTTONDBLCLK, 30, 5, MK_LBUTTON);
  d->Drain();
  r = Painted(RGB(0, 0, 0), &n);
  EXPECT_TRUE(r.top == 5 && r.bottom == 6 && r.left <= 6 && r.right >= 30) << test::FakeToolHost::Text(r);
  EXPECT_EQ(n, r.right - r.left);
}

TEST_F(PolygonTest, CtrlAndGridPlaceVertices) {
  Click(10, 10);
  // Ctrl during the band: the free end goes onto the horizontal.
  Hover(30, 12, MK_CONTROL);
  EXPECT_EQ(tool()->RubberEnd(), (POINT{30, 10}));
  // Ctrl at the press takes the constrained end, not the mouse point.
  d->tools.MouseEvent(WM_LBUTTONDOWN, 30, 12, MK_LBUTTON | MK_CONTROL);
  EXPECT_EQ(tool()->Points().back(), (POINT{30, 10}));
  d->tools.MouseEvent(WM_LBUTTONUP, 30, 12, 0);
  d->tools.PrepareToolFunction(TOOL_POLYGON);  // ends the session, figure dropped
  EXPECT_EQ(Pixel(20, 10), kWhite);

  // The grid snaps presses, not the band.
  Make(0);
  d->record.GridActive = 1, d->record.GridHorizontal = d->record.GridVertical = 10;
  Click(13, 17);
  EXPECT_EQ(tool()->Points().back(), (POINT{10, 20}));
  Hover(26, 34);
  EXPECT_EQ(tool()->RubberEnd(), (POINT{26, 34}));
  Click(26, 24);
  EXPECT_EQ(tool()->Points().back(), (POINT{30, 20}));
}

TEST_F(PolygonTest, BandAndEdgesOnTheScreen) {
  Click(10, 10);
  Hover(20, 12);
  EXPECT_EQ(d->host.Shown(), (std::set<std::string>{"line 10,10 20,12"}));
  Hover(20, 10);
  EXPECT_EQ(d->host.Shown(), (std::set<std::string>{"line 10,10 20,10"}));
  Click(20, 10);
  // The fixed edge stays; the band starts again at the new vertex.
  Hover(20, 20);
  const std::set<std::string> two{"line 10,10 20,10", "line 20,10 20,20"};
  EXPECT_EQ(d->host.Shown(), two);
  EXPECT_EQ(d->host.status, "(20,20)");
  Hover(20, 10);  // back onto the last press: the band stays where it was
  EXPECT_EQ(d->host.Shown(), two);
  d->host.invalidated.clear();
  Finish(20, 20);
  // The commit redraws the figure's area, which takes the edges away.
  ASSERT_FALSE(d->host.invalidated.empty());
  const RECT& r = d->host.invalidated.back();
  EXPECT_TRUE(r.left <= 10 && r.top <= 10 && r.right >= 21 && r.bottom >= 21) << test::FakeToolHost::Text(r);
}

TEST_F(PolygonTest, ScrolledViewsAndZoomLandUnderTheDrawing) {
  const std::vector<POINT> square{{10, 10}, {20, 10}, {20, 20}, {10, 20}};
  Figure(square);
  int n = 0;
  const RECT home = Painted(RGB(255, 0, 0), &n);
  Make(0);
  d->host.scrollX = 7, d->host.scrollY = 5;
  Figure(square);
  EXPECT_EQ(Painted(RGB(255, 0, 0), &n), (RECT{home.left + 7, home.top + 5, home.right + 7, home.bottom + 5}));
  EXPECT_EQ(n, 100);
  // At 200 percent the view points are halved.
  Make(0);
  d->record.ViewMode = 6;
  d->tools.PrepareToolFunction(TOOL_POLYGON);
  d->tools.PrepareToolFunction(TOOL_POLYGON);
  Figure({{20, 20}, {40, 20}, {40, 40}, {20, 40}});
  EXPECT_EQ(Painted(RGB(255, 0, 0), &n), home);
}

TEST_F(PolygonTest, NothingToPaintAndToolChangeLeaveTheImage) {
  d->record.SolidFillMode = 1;  // no line, no fill
  HDIB before = DuplicateObject(d->record.Image);
  Figure({{5, 5}, {30, 5}, {30, 25}});
  EXPECT_EQ(std::memcmp(before->data(), d->record.Image->data(), before->size()), 0);
  EXPECT_EQ(d->record.UndoAvailable, 1);
  // A tool change in the middle of a figure forgets it and redraws its place.
  d->record.SolidFillMode = 0;
  Click(5, 5), Click(30, 5);
  d->host.invalidated.clear();
  ASSERT_TRUE(Change(TOOL_PEN));
  EXPECT_EQ(std::memcmp(before->data(), d->record.Image->data(), before->size()), 0);
  EXPECT_FALSE(d->host.invalidated.empty());
  EXPECT_FALSE(d->host.captured);
}

TEST_F(PolygonTest, RightPressTakesThePaintColour) {
  InsetSolidRectangle(d->record.Image, RGB(10, 20, 30), RECT{0, 0, 5, 5});
  d->tools.MouseEvent(WM_RBUTTONDOWN, 2, 2, MK_RBUTTON);
  EXPECT_EQ(d->record.PaintColour, RGB(10, 20, 30));
}

// Digests recorded from figures checked by hand: a closed outline centred on
// the edges, hollow or over the fill that stays inside it; the coverage blend at
// half opacity; a paletted image asked for antialiasing that gets exact indices only;
// a shadow beside a filled opaque figure on true colour, the figure over it.
TEST_F(PolygonTest, FiguresKeepTheirRecordedDigests) {
  struct Scene {
    int type;
    std::function<void(BLOCKSET&)> set;
    std::vector<POINT> vertices;
    std::uint64_t digest;
  };
  const std::vector<POINT> wide{{10, 10}, {25, 10}, {25, 20}, {10, 20}}, square{{10, 10}, {20, 10}, {20, 20}, {10, 20}};
  const Scene scenes[] = {
      {0, [](BLOCKSET& r) { r.SolidFillMode = 1, r.LineThickness = 1; }, wide, 0x65e5c2a927ea7410},
      {0, [](BLOCKSET& r) { r.LineThickness = 3; }, wide, 0xbd63895c23be9748},
      {0, [](BLOCKSET& r) { r.Opacity = 128, r.FillColour = RGB(200, 0, 100); }, square, 0xff165f44ac48d786},
      {2, [](BLOCKSET& r) { r.Antialias = 1, r.FillColour = 6; }, {{3, 3}, {36, 9}, {12, 27}}, 0xeaca8de4e4dba3f8},
      {0,
       [](BLOCKSET& r) {
         r.ShadowActive = 1, r.Shadow.ShadowType = 2, r.Shadow.ShadowColor = RGB(0, 0, 0), r.Shadow.ShadowDirection = 7;
         r.Shadow.ShadowOffset = r.Shadow.ShadowSoft = 5, r.Shadow.ShadowOpacity = 255;
       },
       {{5, 5}, {20, 5}, {20, 15}, {5, 15}},
       0x25838816fb410fec},
  };
  for (const Scene& s : scenes) {
    SCOPED_TRACE(s.type);
    Make(s.type);
    s.set(d->record);
    Figure(s.vertices);
    EXPECT_EQ(test::Digest(d->record.Image), s.digest);
  }
}

}  // namespace
}  // namespace ochrel
