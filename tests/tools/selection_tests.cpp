// The three selectors through whole gestures on a fake screen: what is cut
// out, lifted, floated and laid down, at any scale; and the masks of the
// lasso and the wand against plain versions of their rules.
#include <gtest/gtest.h>

#include <deque>
#include <functional>
#include <random>

#include "fake_tool_host.h"
#include "test_images.h"
#include "image/colourblend.h"
#include "tools/pastetools.h"
#include "tools/selecttools.h"
#include "tools/texttool.h"

namespace ochrel {
namespace {

using test::FakeDocument;
using test::Pixel;

constexpr COLORREF kPaper = RGB(255, 255, 255);
constexpr RECT kSel{10, 8, 20, 16};  // what Select() drags out

// The image as it must be after a rectangle was lifted and laid down moved by
// (dx, dy), with the paper in the hole.
HDIB Moved(const HDIB& original, RECT from, int dx, int dy, std::uint32_t paper) {
  HDIB out = DuplicateObject(original);
  HDIB piece = CropImage(original, from);
  InsetSolidRectangle(out, paper, from);
  const BITMAPINFOHEADER* p = LockDib(piece);
  for (int y = 0; y < p->biHeight; ++y)
    for (int x = 0; x < p->biWidth; ++x)
      PutDibPixel(LockDib(out), from.left + dx + x, from.top + dy + y, GetDibPixel(p, x, y));
  return out;
}

HDIB Image(int bits, unsigned seed = 1) {
  if (bits == 108) return test::RandomDib(40, 30, 8, seed, 10);  // grey
  return test::RandomDib(40, 30, bits, seed);
}

const TOOLPARAM* Param(const FakeDocument& d) { return d.tools.session() ? &d.tools.session()->param : nullptr; }
RECT Commit(const FakeDocument& d) { return static_cast<SelectorTool*>(d.tools.session())->CommitRect(); }
void Click(FakeDocument& d, int x, int y) { d.Press(x, y), d.Release(x, y); }
void Drop(FakeDocument& d) { d.Press(390, 290); }  // a press outside lays it down and starts nothing
void Function(FakeDocument& d, int tool, int function) {
  d.tools.BeginToolFunction(0, 0, tool, function);
  d.Drain();
}
void Tolerance(FakeDocument& d, int t) { d.record.RedTolerance = d.record.GreenTolerance = d.record.BlueTolerance = t; }
// The triangle (5, 5), (25, 5), (5, 25) drawn with the lasso.
void Triangle(FakeDocument& d) {
  d.Choose(TOOL_LASSO);
  d.Press(5, 5), d.Move(25, 5), d.Move(5, 25), d.Release(5, 25);
}

class RectSelect : public ::testing::Test {
 public:
  void SetUp() override { Open(Image(24)); }
  void Open(HDIB image) {
    original = std::move(image);
    doc = std::make_unique<FakeDocument>(DuplicateObject(original));
    doc->record.PaperColour = kPaper;
    CurrentTool() = doc->record.Tool = TOOL_RECTSELECT;
  }
  void Select() { doc->Drag({10, 8}, {20, 16}); }
  void Drop() { ochrel::Drop(*doc); }
  bool Is(const HDIB& expect) const { return test::SamePixels(doc->record.Image, expect); }
  HDIB original;
  std::unique_ptr<FakeDocument> doc;
};

TEST_F(RectSelect, ClickWithoutDragChangesNothingAndKeepsTheLastUndo) {
  CreateUndo(&doc->record);  // the last real change, a stroke
  PutDibPixel(LockDib(doc->record.Image), 1, 1, RGB(1, 2, 3));
  Click(*doc, 10, 10);
  EXPECT_EQ(doc->tools.session(), nullptr);
  EXPECT_EQ(doc->record.Modified, 0);
  ASSERT_TRUE(DoUndo(&doc->record));
  EXPECT_TRUE(Is(original));
}

TEST_F(RectSelect, LiftMoveDropAndUndo) {
  Select();
  const TOOLPARAM* p = Param(*doc);
  ASSERT_TRUE(p && p->Fragment);
  EXPECT_TRUE(test::SamePixels(p->Fragment, CropImage(original, kSel)));
  EXPECT_EQ(doc->Pixel(12, 10), kPaper);  // lifted
  EXPECT_TRUE(doc->host.ScreenClean());   // the drag frame is gone
  EXPECT_EQ(doc->host.status, "(10,8) - (20,16) [ 10,8 ]");
  EXPECT_EQ(doc->tools.CursorAt(12, 10), kMoveCursor);
  EXPECT_EQ(doc->tools.CursorAt(30, 10), doc->record.Cursor);
  doc->Drag({12, 10}, {17, 13});
  EXPECT_EQ(doc->tools.session()->window, (RECT{15, 11, 25, 19}));
  Drop();
  EXPECT_EQ(doc->tools.session(), nullptr);
  EXPECT_TRUE(Is(Moved(original, kSel, 5, 3, kPaper)));
  EXPECT_EQ(doc->record.Modified, 1);
  ASSERT_TRUE(DoUndo(&doc->record));
  EXPECT_TRUE(Is(original));
}

TEST_F(RectSelect, AltFloatsACopyAndClearLeavesPaper) {
  doc->host.alt = true, Select(), doc->host.alt = false;
  EXPECT_EQ(doc->Pixel(12, 10), Pixel(original, 12, 10));
  doc->Drag({12, 10}, {22, 10});
  Drop();
  HDIB expect = DuplicateObject(original);
  InsetBitmap(expect, CropImage(original, kSel), nullptr, RECT{20, 8, 30, 16}, 255);
  EXPECT_TRUE(Is(expect));
  Select();
  Function(*doc, TOOL_RECTSELECT, TF_CLEAR);
  EXPECT_EQ(doc->tools.session(), nullptr);
  InsetSolidRectangle(expect, kPaper, kSel);
  EXPECT_TRUE(Is(expect));
}

// Gestures whose outcome, once laid down, is the original with a rectangle
// moved by (dx, dy), or the original itself where no rectangle is given.
TEST_F(RectSelect, GesturesLayDownWhatTheyMoved) {
  const RECT none{}, half{30, 20, 40, 30}, all{0, 0, 40, 30};
  struct Case {
    const char* name;
    RECT from;
    int dx, dy;
    std::function<void(RectSelect&, FakeDocument&)> act;
  } cases[] = {
      {"opacity, left in place: back at full strength", none, 0, 0,
       [](RectSelect& t, FakeDocument& d) { d.record.Opacity = 128, t.Select(); }},
      {"opacity, a nudge is no drag", kSel, 1, 0,
       [](RectSelect& t, FakeDocument& d) { d.record.Opacity = 128, t.Select(), d.Key(0x27); }},
      {"half off the image", half, 5, 2,
       [](RectSelect&, FakeDocument& d) {
         d.Drag({30, 20}, {40, 30}), d.Drag({32, 22}, {37, 24});
       }},
      {"scale changes keep the fragment on its pixels", none, 0, 0,
       [](RectSelect&, FakeDocument& d) {
         d.record.ViewMode = 6;  // 200 percent: image pixels (11, 7) - (21, 15)
         d.Drag({22, 14}, {42, 30});
         const std::pair<int, RECT> steps[] = {{3, {5, 3, 10, 7}}, {2, {2, 1, 4, 3}}, {8, {88, 56, 168, 120}}};
         for (auto [mode, window] : steps) {
           const int old = d.record.ViewMode;
           d.record.ViewMode = mode;
           d.tools.Send(UM_VIEWCHANGED, old, mode);
           EXPECT_EQ(d.tools.session()->window, window) << "mode " << mode;
           EXPECT_EQ(Commit(d), (RECT{11, 7, 21, 15})) << "mode " << mode;
         }
       }},
      {"nudge and scroll follow the image", kSel, 0, 1,
       [](RectSelect&, FakeDocument& d) {
         d.record.ViewMode = 7;  // 400 percent: a nudge is four view pixels, one image pixel
         d.Drag({40, 32}, {80, 64});
         d.Key(0x28);
         EXPECT_EQ(d.tools.session()->window.top, 36);
         d.host.scrollX = 3;
         d.tools.Send(UM_SCROLLED);
         EXPECT_EQ(d.tools.session()->window.left, 40 - 12);
       }},
      {"select all on a scrolled view takes the whole image", all, -1, 0,
       [](RectSelect& t, FakeDocument& d) {
         d.host.scrollX = 7, d.host.scrollY = 4;
         Function(d, TOOL_RECTSELECT, TF_SELECTALL);
         ASSERT_TRUE(Param(d) && Param(d)->Fragment);
         EXPECT_TRUE(test::SamePixels(Param(d)->Fragment, t.original));
         EXPECT_EQ(d.Pixel(0, 0), kPaper);
         d.Key(0x25);
       }},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    Open(Image(24));
    c.act(*this, *doc);
    Drop();
    EXPECT_TRUE(c.from.right ? Is(Moved(original, c.from, c.dx, c.dy, kPaper)) : Is(original));
  }
}

TEST_F(RectSelect, OpacityBlendsOnlyWhatWasDraggedAndNotOnAPalettedImage) {
  doc->record.Opacity = 128;
  Select(), doc->Drag({12, 10}, {15, 10}), Drop();
  // At (15, 10) the fragment's pixel from (12, 10) lies over the paper of the hole,
  // at (21, 10) the one from (18, 10) over the image, which kept its pixel.
  EXPECT_EQ(doc->Pixel(15, 10), CoverageBlend(kPaper, Pixel(original, 12, 10), 128));
  EXPECT_EQ(doc->Pixel(21, 10), CoverageBlend(Pixel(original, 21, 10), Pixel(original, 18, 10), 128));
  Open(Image(8, 4));
  doc->record.Opacity = 128;
  Select(), doc->Drag({12, 10}, {15, 10}), Drop();
  EXPECT_TRUE(Is(Moved(original, kSel, 3, 0, doc->record.PaperColour)));
}

TEST_F(RectSelect, PasteModeExactLetsThePaperThrough) {
  InsetSolidRectangle(doc->record.Image, kPaper, RECT{0, 0, 20, 30});
  InsetSolidRectangle(doc->record.Image, RGB(200, 0, 0), RECT{12, 10, 14, 12});
  InsetSolidRectangle(doc->record.Image, RGB(0, 0, 90), RECT{20, 0, 40, 30});
  doc->record.FragmentPasteMode = 1;
  Select();
  ASSERT_TRUE(Param(*doc)->SelectMask);
  doc->Drag({12, 10}, {32, 10}), Drop();  // over the blue half, whose pixels the fragment's paper leaves
  EXPECT_EQ((std::vector<std::uint32_t>{doc->Pixel(32, 10), doc->Pixel(31, 9), doc->Pixel(12, 10)}),
            (std::vector<std::uint32_t>{RGB(200, 0, 0), RGB(0, 0, 90), kPaper}));
}

TEST_F(RectSelect, AFilteredFragmentOfAnotherSizeFloatsAndLandsWhole) {
  Select();
  doc->tools.session()->param.Fragment = test::Uniform(25, 4, 24, RGB(1, 2, 3));
  doc->tools.Send(UM_FRAGMENTCHANGED);
  EXPECT_EQ(doc->tools.session()->window, (RECT{10, 8, 35, 12}));
  Drop();
  EXPECT_EQ((std::vector<std::uint32_t>{doc->Pixel(34, 11), doc->Pixel(12, 13)}),
            (std::vector<std::uint32_t>{RGB(1, 2, 3), kPaper}));
}

TEST_F(RectSelect, PopupOffersTilesOnlyForSmallTrueColourFragments) {
  Select();
  doc->tools.MouseEvent(WM_RBUTTONDOWN, 12, 10, MK_RBUTTON);
  ASSERT_EQ(doc->host.popups.size(), 1u);
  EXPECT_TRUE(doc->host.popups[0].tiles);
  // A fragment larger than 256 each way gets no tile entries.
  Open(test::Uniform(300, 20, 24, kPaper));
  Function(*doc, TOOL_RECTSELECT, TF_SELECTALL);
  doc->tools.MouseEvent(WM_RBUTTONDOWN, 5, 5, MK_RBUTTON);
  ASSERT_EQ(doc->host.popups.size(), 1u);
  EXPECT_FALSE(doc->host.popups[0].tiles);
}

// Every kind of image: lifted, moved and laid down with no pixel lost, and a
// one-pixel selection and a fragment larger than the image survive.
TEST(SelectKinds, EachImageTypeMovesWithoutLoss) {
  for (int bits : {1, 4, 108, 8, 24}) {
    SCOPED_TRACE(bits);
    HDIB original = Image(bits, 7);
    FakeDocument doc(DuplicateObject(original));
    CurrentTool() = TOOL_RECTSELECT;
    const HDIB expect = Moved(original, RECT{5, 5, 15, 12}, 7, 4, doc.record.PaperColour);
    doc.Drag({5, 5}, {15, 12}), doc.Drag({6, 6}, {13, 10}), Drop(doc);
    EXPECT_TRUE(test::SamePixels(doc.record.Image, expect));
    doc.Drag({3, 3}, {4, 4}), Drop(doc);  // one pixel
    ASSERT_TRUE(DoUndo(&doc.record));
    EXPECT_TRUE(test::SamePixels(doc.record.Image, expect));
  }
  FakeDocument doc(test::Uniform(10, 10, 24, kPaper));
  CurrentTool() = TOOL_RECTSELECT;
  Function(doc, TOOL_RECTSELECT, TF_PASTED);
  static_cast<SelectorTool*>(doc.tools.session())->Float(test::Uniform(30, 30, 8, 0));
  doc.Drain(), Drop(doc);
  EXPECT_EQ(doc.Pixel(9, 9), 0u);  // the grey black, converted to the image's depth
}

TEST(SelectMasks, TransparencyByModeAndDepth) {
  BLOCKSET r;
  r.PaperColour = RGB(100, 100, 100);
  r.RedTolerance = r.GreenTolerance = r.BlueTolerance = 5;
  struct Case {
    int mode, depth, type;
    std::uint32_t value;
    int expect;
  } cases[] = {
      {0, 24, 0, RGB(100, 100, 100), 0},
      {1, 24, 0, RGB(100, 100, 100), 1},
      {1, 24, 0, RGB(100, 100, 101), 0},
      {2, 24, 0, RGB(104, 96, 100), 1},
      {2, 24, 0, RGB(105, 100, 100), 0},
      {2, 8, 1, 104, 1},
      {2, 8, 1, 95, 0},
      {2, 8, 2, 101, 0},
      {1, 4, 2, 12, 1},  // low three bits of 100
      {1, 1, 3, 0, 1},
      {3, 24, 0, RGB(100, 100, 100), 0},
  };
  for (const Case& c : cases) {
    r.FragmentPasteMode = c.mode;
    EXPECT_EQ(IsTransparentPixel(c.value, &r, c.depth, c.type), c.expect) << c.mode << " " << c.depth << " " << c.value;
  }
}

// ---- Lasso -------------------------------------------------------------------------------

// The winding number at each pixel centre, edge by edge: the plain rule.
bool InsideByWinding(const std::vector<POINT>& pts, int x, int y) {
  int winding = 0;
  const long long cx2 = 2LL * x + 1, cy2 = 2LL * y + 1;
  for (std::size_t i = 0; i < pts.size(); ++i) {
    const POINT a = pts[i], b = pts[(i + 1) % pts.size()];
    if (a.y == b.y) continue;
    if (cy2 < 2LL * std::min(a.y, b.y) || cy2 > 2LL * std::max(a.y, b.y)) continue;
    // The crossing lies at or left of the centre.
    const long long den = 2LL * (b.y - a.y), num = 2LL * a.x * (b.y - a.y) + (cy2 - 2LL * a.y) * (b.x - a.x);
    if (den > 0 ? 2 * num <= cx2 * den : 2 * num >= cx2 * den) winding += a.y < b.y ? 1 : -1;
  }
  return winding != 0;
}

TEST(Lasso, PolygonMaskIsTheWindingRuleAtPixelCentres) {
  std::mt19937 rng(5);
  for (int round = 0; round < 200; ++round) {
    std::vector<POINT> pts(3 + rng() % 6);
    for (POINT& p : pts) p = POINT{static_cast<int>(rng() % 31) + 3, static_cast<int>(rng() % 23) + 5};
    HDIB mask = PolygonToMask(pts);
    std::vector<POINT> norm = pts;
    NormalizePolygon(&norm, 0, 0);
    RECT f{};
    GetPolygonFrame(&f, norm);
    const BITMAPINFOHEADER* m = LockDib(mask);
    if (f.right == 0 || f.bottom == 0) {
      EXPECT_EQ(m, nullptr);
      continue;
    }
    ASSERT_TRUE(m);
    ASSERT_EQ(m->biWidth, f.right);
    ASSERT_EQ(m->biHeight, f.bottom);
    for (int y = 0; y < f.bottom; ++y)
      for (int x = 0; x < f.right; ++x)
        ASSERT_EQ(GetDibPixel(m, x, y), InsideByWinding(norm, x, y) ? 1u : 0u) << round << " " << x << "," << y;
  }
}

TEST(Lasso, TriangleLiftsOnlyItsShapeAndAPressOffTheShapeLaysItDown) {
  HDIB original = Image(24, 3);
  FakeDocument doc(DuplicateObject(original));
  doc.record.PaperColour = kPaper;
  EXPECT_EQ(SelectionImage(&doc.record), nullptr);  // nothing to copy, nothing to cut
  Triangle(doc);
  const TOOLPARAM* p = Param(doc);
  ASSERT_TRUE(p && p->Fragment && p->SelectShape && p->SelectFrame);
  EXPECT_EQ(doc.tools.session()->window, (RECT{5, 5, 25, 25}));
  EXPECT_EQ(doc.Pixel(7, 7), kPaper);
  EXPECT_EQ(doc.Pixel(20, 20), Pixel(original, 20, 20));  // in the rectangle, not the shape
  // Its copy has paper outside the shape.
  HDIB copy = SelectionImage(&doc.record);
  ASSERT_TRUE(LockDib(copy));
  EXPECT_EQ(Pixel(copy, 2, 2), Pixel(original, 7, 7));
  EXPECT_EQ(Pixel(copy, 18, 18), kPaper);
  // Inside the rectangle but off the shape: the selection goes down in place.
  Click(doc, 20, 20);
  EXPECT_TRUE(test::SamePixels(doc.record.Image, original));
  ASSERT_TRUE(Param(doc));
  EXPECT_FALSE(Param(doc)->Fragment);
  EXPECT_EQ(doc.tools.session()->window, doc.tools.GetLimitRect());
  // A click without a move selects nothing, and the lasso is ready at once.
  Click(doc, 8, 8);
  EXPECT_FALSE(Param(doc)->Fragment);
  EXPECT_EQ(doc.tools.session()->window, doc.tools.GetLimitRect());
  // A chain outside the image is held to its edge.
  Drop(doc);
  doc.Press(10, 10), doc.Move(300, 10), doc.Move(300, 20), doc.Release(10, 20);
  EXPECT_EQ(Commit(doc), (RECT{10, 10, 40, 20}));
}

// ---- Wand -----------------------------------------------------------------------------------

TEST(Wand, OneColourSelectsAllAndNoToleranceSelectsNothing) {
  FakeDocument doc(test::Uniform(40, 30, 24, RGB(50, 60, 70)));
  doc.Choose(TOOL_WAND);
  Click(doc, 3, 3);
  ASSERT_TRUE(Param(doc) && Param(doc)->Fragment);
  EXPECT_EQ(Commit(doc), (RECT{0, 0, 40, 30}));
  Drop(doc);
  Tolerance(doc, 0);
  Click(doc, 3, 3);
  EXPECT_FALSE(Param(doc)->Fragment);
  EXPECT_EQ(doc.tools.session()->window, doc.tools.GetLimitRect());
  // Outside the image nothing is selected either.
  Tolerance(doc, 16);
  doc.tools.session()->OnLButtonDown(100, 100, MK_LBUTTON), doc.tools.session()->OnLButtonUp(100, 100, 0), doc.Drain();
  EXPECT_FALSE(Param(doc)->Fragment);
}

TEST(Wand, RegionIsTheLikePixelsConnectedToTheSeed) {
  // Few levels, so that regions are irregular; compared with a plain search.
  HDIB image = test::RandomDib(40, 30, 8, 11, 10);
  BITMAPINFOHEADER* h = LockDib(image);
  for (int y = 0; y < 30; ++y)
    for (int x = 0; x < 40; ++x) PutDibPixel(h, x, y, GetDibPixel(h, x, y) < 100 ? 10 : 200);
  FakeDocument doc(std::move(image));
  doc.host.scrollX = 4;  // the seed is the pixel under the mouse: (6 + 4, 7)
  doc.Choose(TOOL_WAND);
  Click(doc, 6, 7);
  const TOOLPARAM* p = Param(doc);
  ASSERT_TRUE(p && p->SelectShape);
  const RECT r = Commit(doc);
  // The picture before the lift: the fragment laid back into its hole.
  HDIB before = DuplicateObject(doc.record.Image);
  InsetBitmap(before, p->Fragment, p->SelectMask, r, 255);
  const std::uint32_t seed = GetDibPixel(LockDib(before), 10, 7);
  std::vector<int> seen(40 * 30, 0);
  std::deque<POINT> todo{{10, 7}};
  seen[7 * 40 + 10] = 1;
  while (!todo.empty()) {
    const POINT q = todo.front();
    todo.pop_front();
    for (POINT d : {POINT{1, 0}, POINT{-1, 0}, POINT{0, 1}, POINT{0, -1}}) {
      const int x = q.x + d.x, y = q.y + d.y;
      if (x < 0 || y < 0 || x >= 40 || y >= 30 || seen[y * 40 + x] || GetDibPixel(LockDib(before), x, y) != seed)
        continue;
      seen[y * 40 + x] = 1;
      todo.push_back({x, y});
    }
  }
  for (int y = 0; y < 30; ++y)
    for (int x = 0; x < 40; ++x) {
      const bool in = x >= r.left && x < r.right && y >= r.top && y < r.bottom &&
                      GetDibPixel(LockDib(p->SelectShape), x - r.left, y - r.top) == 1;
      ASSERT_EQ(in, seen[y * 40 + x] == 1) << x << "," << y;
    }
}

// The outline of random masks keeps the digest recorded from outlines checked
// against the rule: the shape's pixels that touch a ring just outside it (grown
// by one), less a dash of 2 by 2 in every 4 by 4.
TEST(Wand, FrameIsTheShapesEdgeWithADash) {
  std::mt19937 rng(2);
  std::uint64_t digest = test::kDigestStart;
  for (int round = 0; round < 30; ++round) {
    const int w = 1 + static_cast<int>(rng() % 12), h = 1 + static_cast<int>(rng() % 12);
    BYTE palette[768] = {};
    HDIB mask = CreateDib(w, h, palette, 1);
    for (int y = 0; y < h; ++y)
      for (int x = 0; x < w; ++x)
        if (rng() % 4) PutDibPixel(LockDib(mask), x, y, 1);
    digest = test::Digest(FrameFromMask(mask), digest);
  }
  EXPECT_EQ(digest, 0x53f874c165c7be2fu);
}

// ---- The clipboard's record-level steps ---------------------------------------------------

TEST_F(RectSelect, PasteCommitsWhatFloatsAndFloatsAtTheViewsTopLeft) {
  Select();
  doc->host.scrollX = 6, doc->host.scrollY = 2;
  ASSERT_TRUE(DoPaste(&doc->tools, test::Uniform(4, 3, 24, RGB(7, 8, 9))));
  doc->Drain();
  EXPECT_TRUE(Is(original));  // the first selection went back
  const auto* s = static_cast<SelectorTool*>(doc->tools.session());
  ASSERT_TRUE(s && s->param.Fragment);
  EXPECT_EQ(s->window, (RECT{0, 0, 4, 3}));
  EXPECT_EQ(s->CommitRect(), (RECT{6, 2, 10, 5}));
  Drop();
  EXPECT_EQ(doc->Pixel(9, 4), RGB(7, 8, 9));
  EXPECT_EQ(doc->Pixel(10, 4), Pixel(original, 10, 4));
}

TEST(PasteSteps, PastedTextOpensTheTextTool) {
  FakeDocument doc(test::Uniform(200, 100, 24, kPaper));
  CurrentTool() = TOOL_BRUSH;
  ASSERT_TRUE(DoPasteText(&doc.tools, "Hello"));
  doc.Drain();
  ASSERT_TRUE(doc.tools.session());
  EXPECT_EQ(doc.tools.session()->param.Tool, TOOL_TEXT);
  EXPECT_EQ(CurrentTool(), TOOL_TEXT);
  EXPECT_EQ(static_cast<TextTool*>(doc.tools.session())->Text(), "Hello");
}

}  // namespace
}  // namespace ochrel
