#include <gtest/gtest.h>

#include <QGuiApplication>

#include <cmath>
#include <cstdlib>
#include <cstring>

#include "image/dib.h"
#include "render/wrapper.h"
#include "draw_util.h"
#include "test_images.h"

namespace ochrel {
namespace {

// Text needs the font database, which needs an application object.
class GuiEnvironment : public ::testing::Environment {
 public:
  void SetUp() override {
    if (!std::getenv("QT_QPA_PLATFORM")) setenv("QT_QPA_PLATFORM", "offscreen", 1);
    if (!QCoreApplication::instance()) app_ = new QGuiApplication(argc_, argv_);
  }
  void TearDown() override {
    delete app_;
    app_ = nullptr;
  }

 private:
  int argc_ = 1;
  char name_[16] = "render_tests";
  char* argv_[2] = {name_, nullptr};
  QGuiApplication* app_ = nullptr;
};
const auto* const kGui = ::testing::AddGlobalTestEnvironment(new GuiEnvironment);

// ---- Helpers over masks --------------------------------------------------------

struct Extent {
  int left = 1 << 30, top = 1 << 30, right = -1, bottom = -1;  // inclusive
  bool empty() const { return right < 0; }
  bool operator==(const Extent&) const = default;
};
void PrintTo(const Extent& e, std::ostream* os) { *os << e.left << "," << e.top << " to " << e.right << "," << e.bottom; }

Extent InkExtent(const BITMAPINFOHEADER* h) {
  Extent e;
  for (int y = 0; y < h->biHeight; ++y) {
    const BYTE* row = DibRow(h, y);
    for (int x = 0; x < h->biWidth; ++x)
      if (row[x]) {
        e.left = std::min(e.left, x);
        e.right = std::max(e.right, x);
        e.top = std::min(e.top, y);
        e.bottom = std::max(e.bottom, y);
      }
  }
  return e;
}

int Px(const BITMAPINFOHEADER* h, int x, int y) { return DibRow(h, y)[x]; }

long long Sum(const BITMAPINFOHEADER* h) {
  long long s = 0;
  for (int y = 0; y < h->biHeight; ++y)
    for (int x = 0; x < h->biWidth; ++x) s += Px(h, x, y);
  return s;
}

// Counts of pixels that are 0, exactly `value`, and anything between.
struct Levels {
  long long zero = 0, full = 0, partial = 0, above = 0;
};
Levels CountLevels(const BITMAPINFOHEADER* h, int value) {
  Levels l;
  for (int y = 0; y < h->biHeight; ++y)
    for (int x = 0; x < h->biWidth; ++x) {
      const int v = Px(h, x, y);
      if (v == 0) ++l.zero;
      else if (v == value) ++l.full;
      else if (v > value) ++l.above;
      else ++l.partial;
    }
  return l;
}

WRAPPERBLOCK LineBlock(RECT rect, int x0, int y0, int x1, int y1, int thickness, int cap, int antialias,
                       int opacity = 255) {
  WRAPPERBLOCK b;
  b.Operation = WRAPPER_LINE;
  b.Rect = rect;
  b.Opacity = opacity;
  b.Antialias = antialias;
  b.Line.X0 = x0;
  b.Line.Y0 = y0;
  b.Line.X1 = x1;
  b.Line.Y1 = y1;
  b.Line.LineThickness = thickness;
  b.Line.LineCap = cap;
  b.Line.Coverage = static_cast<std::int32_t>(CoverageValue(opacity));
  return b;
}

WRAPPERBLOCK ShapeBlock(int op, int width, int depth, int thickness, std::int32_t fill, std::int32_t outline,
                        int antialias) {
  WRAPPERBLOCK b;
  b.Operation = op;
  b.Rect = {50, 60, 50 + width, 60 + depth};
  b.Antialias = antialias;
  b.Shape.Box = {4, 4, width + 4, depth + 4};
  b.Shape.LineThickness = thickness;
  b.Shape.FillValue = fill;
  b.Shape.OutlineValue = outline;
  return b;
}

// ---- Lines ------------------------------------------------------------------------

TEST(WrapperLine, MaskOriginAndExtentFollowThicknessAndCap) {
  // A horizontal line, 5 thick, across a box 21 wide: the mask starts
  // 5 / 2 + 4 = 6 pixels left of and above the box.
  for (int aa = 0; aa < 2; ++aa) {
    auto [r, h] = test::Draw(LineBlock({100, 100, 121, 121}, 0, 10, 20, 10, 5, LINECAP_FLAT, aa));
    ASSERT_NE(h, nullptr);
    EXPECT_EQ(h->biBitCount, 8);
    EXPECT_EQ(h->biWidth, 21 + 12);
    EXPECT_EQ(h->biHeight, 21 + 12);
    // Grey palette.
    EXPECT_EQ(DibPaletteEntries(h)[4 * 200], 200);
    Extent e = InkExtent(h);
    // Rows 16 +- 2: the pen covers whole rows, centred on the line.
    EXPECT_EQ(e.top, 14) << aa;
    EXPECT_EQ(e.bottom, 18) << aa;
    for (int y = 14; y <= 18; ++y)
      for (int x = 8; x <= 25; ++x) ASSERT_EQ(Px(h, x, y), 255) << x << "," << y << " aa " << aa;
    // Flat ends stop at the outer edges of the end pixels, 6 and 26.
    EXPECT_EQ(e.left, 6);
    EXPECT_EQ(e.right, 26);
    EXPECT_EQ(Px(h, 6, 16), 255);
    EXPECT_EQ(Px(h, 26, 16), 255);
  }
}

TEST(WrapperLine, RoundCapsReachPastTheEndsFlatOnesDoNot) {
  WRAPPERBLOCK flat = LineBlock({0, 0, 31, 1}, 0, 0, 30, 0, 9, LINECAP_FLAT, 1);
  WRAPPERBLOCK round = LineBlock({0, 0, 31, 1}, 0, 0, 30, 0, 9, LINECAP_ROUND, 1);
  WRAPPERRESULT f = OCHLWRPR_proc(&flat), r = OCHLWRPR_proc(&round);
  const BITMAPINFOHEADER *hf = LockDib(f.Dib), *hr = LockDib(r.Dib);
  ASSERT_TRUE(hf && hr);
  const int k = 9 / 2 + 4;  // 8
  Extent ef = InkExtent(hf), er = InkExtent(hr);
  EXPECT_GE(ef.left, k);
  EXPECT_LE(ef.right, 30 + k);
  // A round cap of radius 4.5 around the ends at 8.5 and 38.5: 4.0 to 43.0.
  EXPECT_EQ(er.left, k - 4);
  EXPECT_EQ(er.right, 30 + k + 4);
  // Both are 9 rows tall; the caps are rounded, so the corners stay empty.
  EXPECT_EQ(ef.bottom - ef.top + 1, 9);
  EXPECT_EQ(er.bottom - er.top + 1, 9);
  EXPECT_EQ(Px(hr, er.left, er.top), 0);
  EXPECT_GT(Sum(hr), Sum(hf));
  // The whole round line lies inside the mask with the margin to spare.
  EXPECT_GT(er.left, 0);
  EXPECT_LT(er.right, hr->biWidth - 1);
}

TEST(WrapperLine, DiagonalIsPointSymmetricAndHardEdgesAreTwoLevels) {
  for (int aa = 0; aa < 2; ++aa) {
    auto [r, h] = test::Draw(LineBlock({0, 0, 41, 41}, 0, 0, 40, 40, 6, LINECAP_ROUND, aa, 200));
    ASSERT_NE(h, nullptr);
    const int w = h->biWidth, d = h->biHeight;
    ASSERT_EQ(w, d);
    int asymmetric = 0;
    for (int y = 0; y < d; ++y)
      for (int x = 0; x < w; ++x) {
        if (aa) {
          // Antialiased coverage is the same turned half round, to rounding.
          if (std::abs(Px(h, x, y) - Px(h, w - 1 - x, d - 1 - y)) > 2) ++asymmetric;
        }
        // And mirrored in the diagonal the line runs along.
        if (std::abs(Px(h, x, y) - Px(h, y, x)) > (aa ? 2 : 0)) ++asymmetric;
      }
    // Hard edges may break ties on exact pixel centres differently on the two
    // sides; a shifted or skewed line would differ along its whole length.
    EXPECT_LE(asymmetric, aa ? 0 : 4) << aa;
    Levels l = CountLevels(h, 200);
    EXPECT_EQ(l.above, 0);  // opacity caps the coverage
    EXPECT_GT(l.full, 0);
    if (aa)
      EXPECT_GT(l.partial, 40);
    else
      EXPECT_EQ(l.partial, 0);
  }
}

TEST(WrapperLine, ZeroThicknessIsOnePixelAndAClickLeavesADot) {
  auto [r, h] = test::Draw(LineBlock({0, 0, 11, 1}, 0, 0, 10, 0, 0, LINECAP_ROUND, 0));
  ASSERT_NE(h, nullptr);
  Extent e = InkExtent(h);
  EXPECT_EQ(e.top, 4);
  EXPECT_EQ(e.bottom, 4);

  // A sloping hairline: its ends land at (4, 4) and (34, 14), not mirrored.
  auto [rs, hs] = test::Draw(LineBlock({0, 0, 31, 11}, 0, 0, 30, 10, 1, LINECAP_FLAT, 0));
  ASSERT_NE(hs, nullptr);
  EXPECT_EQ(hs->biWidth, 31 + 8);
  EXPECT_EQ(hs->biHeight, 11 + 8);
  EXPECT_EQ(Px(hs, 4, 4), 255);
  EXPECT_EQ(Px(hs, 34, 14), 255);
  EXPECT_EQ(Px(hs, 4, 14), 0);
  EXPECT_EQ(Px(hs, 34, 4), 0);
  Extent es = InkExtent(hs);
  EXPECT_EQ(es, (Extent{4, 4, 34, 14}));

  auto [c, hc] = test::Draw(LineBlock({5, 5, 6, 6}, 0, 0, 0, 0, 7, LINECAP_ROUND, 1));
  ASSERT_NE(hc, nullptr);
  Extent ec = InkExtent(hc);
  ASSERT_FALSE(ec.empty());
  // Centred on the end point, at 3 + 4 = 7 from the mask's corner.
  EXPECT_EQ(ec.left + ec.right, 14);
  EXPECT_EQ(ec.top + ec.bottom, 14);
  EXPECT_EQ(Px(hc, 7, 7), 255);
}

// ---- Ellipses and rectangles ---------------------------------------------------------

TEST(WrapperEllipse, FilledCircleIsSymmetricWithAreaPiRSquared) {
  const int n = 61;
  auto [r, h] = test::Draw(ShapeBlock(WRAPPER_ELLIPSE, n, n, 0, static_cast<std::int32_t>(CoverageValue(255)),
                              WRAPPER_NONE, 1));
  ASSERT_NE(h, nullptr);
  EXPECT_EQ(h->biWidth, n + 8);
  EXPECT_EQ(h->biHeight, n + 8);
  Extent e = InkExtent(h);
  EXPECT_EQ(e, (Extent{4, 4, n + 3, n + 3}));
  for (int y = 0; y < h->biHeight; ++y)
    for (int x = 0; x < h->biWidth; ++x) {
      const int v = Px(h, x, y);
      ASSERT_NEAR(v, Px(h, h->biWidth - 1 - x, y), 2) << x << "," << y;
      ASSERT_NEAR(v, Px(h, x, h->biHeight - 1 - y), 2) << x << "," << y;
      ASSERT_NEAR(v, Px(h, y, x), 2) << x << "," << y;
    }
  const double radius = n / 2.0;
  const double area = Sum(h) / 255.0;
  EXPECT_NEAR(area, M_PI * radius * radius, M_PI * radius * radius * 0.005);
  EXPECT_EQ(Px(h, 4 + n / 2, 4 + n / 2), 255);
  EXPECT_EQ(Px(h, 4, 4), 0);  // the box's corner is outside the circle
}

TEST(WrapperEllipse, HardEdgesHaveTwoLevelsAntialiasedHaveMore) {
  const std::int32_t v = static_cast<std::int32_t>(CoverageValue(180));
  WRAPPERBLOCK hard = ShapeBlock(WRAPPER_ELLIPSE, 50, 30, 0, v, WRAPPER_NONE, 0);
  WRAPPERBLOCK soft = ShapeBlock(WRAPPER_ELLIPSE, 50, 30, 0, v, WRAPPER_NONE, 1);
  WRAPPERRESULT rh = OCHLWRPR_proc(&hard), rs = OCHLWRPR_proc(&soft);
  const BITMAPINFOHEADER *hh = LockDib(rh.Dib), *hs = LockDib(rs.Dib);
  ASSERT_TRUE(hh && hs);
  Levels lh = CountLevels(hh, 180), ls = CountLevels(hs, 180);
  EXPECT_EQ(lh.partial, 0);
  EXPECT_EQ(lh.above, 0);
  EXPECT_GT(ls.partial, 50);
  EXPECT_EQ(ls.above, 0);
  // Both cover about the ellipse's area, pi * 25 * 15.
  const double area = M_PI * 25 * 15;
  EXPECT_NEAR(lh.full, area, area * 0.03);
  EXPECT_NEAR(Sum(hs) / 180.0, area, area * 0.01);
}

TEST(WrapperEllipse, OutlineIsARingInsideTheBox) {
  const int n = 41, t = 4;
  auto [r, h] = test::Draw(ShapeBlock(WRAPPER_ELLIPSE, n, n, t, WRAPPER_NONE, 255, 1));
  ASSERT_NE(h, nullptr);
  Extent e = InkExtent(h);
  EXPECT_EQ(e.left, 4);
  EXPECT_EQ(e.right, n + 3);
  EXPECT_EQ(Px(h, 4 + n / 2, 4 + n / 2), 0);  // hollow
  EXPECT_EQ(Px(h, 5, 4 + n / 2), 255);         // on the ring at the left
  EXPECT_EQ(Px(h, 4 + t + 2, 4 + n / 2), 0);   // just inside the ring
  const double ro = n / 2.0, ri = ro - t;
  const double ring = M_PI * (ro * ro - ri * ri);
  EXPECT_NEAR(Sum(h) / 255.0, ring, ring * 0.01);

  // A thickness over half the box fills it.
  auto [rt, ht] = test::Draw(ShapeBlock(WRAPPER_ELLIPSE, 10, 10, 8, WRAPPER_NONE, 255, 1));
  ASSERT_NE(ht, nullptr);
  EXPECT_EQ(Px(ht, 9, 9), 255);
}

TEST(WrapperRectangle, FillCoversTheBoxExactlyEvenAntialiased) {
  for (int aa = 0; aa < 2; ++aa) {
    auto [r, h] = test::Draw(ShapeBlock(WRAPPER_RECTANGLE, 23, 11, 3, 99, WRAPPER_NONE, aa));
    ASSERT_NE(h, nullptr);
    EXPECT_EQ(h->biWidth, 31);
    EXPECT_EQ(h->biHeight, 19);
    for (int y = 0; y < 19; ++y)
      for (int x = 0; x < 31; ++x) {
        const bool inside = x >= 4 && x < 27 && y >= 4 && y < 15;
        ASSERT_EQ(Px(h, x, y), inside ? 99 : 0) << x << "," << y << " aa " << aa;
      }
  }
}

TEST(WrapperRectangle, OutlineOverFillAndNoneAtAll) {
  // Fill 100 inside, an outline of 200 and 2 pixels along the inside of the box.
  auto [r, h] = test::Draw(ShapeBlock(WRAPPER_RECTANGLE, 12, 10, 2, 100, 200, 1));
  ASSERT_NE(h, nullptr);
  for (int y = 0; y < 18; ++y)
    for (int x = 0; x < 20; ++x) {
      const bool inside = x >= 4 && x < 16 && y >= 4 && y < 14;
      const bool core = x >= 6 && x < 14 && y >= 6 && y < 12;
      ASSERT_EQ(Px(h, x, y), !inside ? 0 : core ? 100 : 200) << x << "," << y;
    }
  // Outline only.
  auto [ro, ho] = test::Draw(ShapeBlock(WRAPPER_RECTANGLE, 12, 10, 2, WRAPPER_NONE, 200, 0));
  ASSERT_NE(ho, nullptr);
  EXPECT_EQ(Px(ho, 9, 9), 0);
  EXPECT_EQ(Px(ho, 5, 9), 200);
  EXPECT_EQ(Sum(ho), 200LL * (12 * 10 - 8 * 6));

  // Neither, or a box with no size: an empty mask of the right size, not a failure.
  WRAPPERBLOCK none = ShapeBlock(WRAPPER_RECTANGLE, 12, 10, 0, WRAPPER_NONE, 200, 1);
  WRAPPERRESULT rn = OCHLWRPR_proc(&none);
  ASSERT_NE(LockDib(rn.Dib), nullptr);
  EXPECT_EQ(Sum(LockDib(rn.Dib)), 0);
  auto [rd, hd] = test::Draw(ShapeBlock(WRAPPER_ELLIPSE, 0, 0, 1, 255, 255, 1));
  ASSERT_NE(hd, nullptr);
  EXPECT_EQ(hd->biWidth, 8);
  EXPECT_EQ(hd->biHeight, 8);
  EXPECT_EQ(Sum(hd), 0);
}

TEST(WrapperShapes, OversizedOrBrokenBoxesFailCleanly) {
  WRAPPERBLOCK huge = ShapeBlock(WRAPPER_RECTANGLE, 100000, 10, 0, 255, WRAPPER_NONE, 1);
  EXPECT_EQ(OCHLWRPR_proc(&huge).Dib, nullptr);
  WRAPPERBLOCK negative = ShapeBlock(WRAPPER_ELLIPSE, 10, 10, 0, 255, WRAPPER_NONE, 1);
  negative.Shape.Box = {-50, 4, 10, 10};
  EXPECT_EQ(OCHLWRPR_proc(&negative).Dib, nullptr);
  WRAPPERBLOCK wide = LineBlock({0, 0, 2000000000, 10}, 0, 0, 2000000000, 0, 64, LINECAP_ROUND, 1);
  EXPECT_EQ(OCHLWRPR_proc(&wide).Dib, nullptr);
  // A reversed box is taken the right way round.
  WRAPPERBLOCK reversed = ShapeBlock(WRAPPER_RECTANGLE, 10, 10, 0, 255, WRAPPER_NONE, 1);
  reversed.Shape.Box = {14, 14, 4, 4};
  WRAPPERRESULT rr = OCHLWRPR_proc(&reversed);
  ASSERT_NE(LockDib(rr.Dib), nullptr);
  EXPECT_EQ(Sum(LockDib(rr.Dib)), 255 * 100);
}

// ---- Polygons -------------------------------------------------------------------------

WRAPPERBLOCK PolygonBlock(const std::vector<POINT>& v, int thickness, std::int32_t fill, std::int32_t outline,
                          int antialias, int mode = 0) {
  // As the polygon tool prepares it: frame inflated by the thickness, the
  // vertices moved so that their least x and y are thickness / 2 + 4.
  WRAPPERBLOCK b;
  b.Operation = WRAPPER_POLYGON;
  int minX = v[0].x, maxX = v[0].x, minY = v[0].y, maxY = v[0].y;
  for (const POINT& p : v) {
    minX = std::min(minX, p.x);
    maxX = std::max(maxX, p.x);
    minY = std::min(minY, p.y);
    maxY = std::max(maxY, p.y);
  }
  RECT f{minX - thickness, minY - thickness, maxX + thickness, maxY + thickness};
  b.Rect = f;
  b.Polygon.Frame = f;
  const int k = std::max(1, thickness / 2);
  static std::vector<POINT> moved;
  moved.clear();
  for (const POINT& p : v) moved.push_back({p.x - minX + k + 4, p.y - minY + k + 4});
  b.Polygon.VertexCount = static_cast<int>(moved.size());
  b.Polygon.Vertices = moved.data();
  b.Polygon.LineThickness = thickness;
  b.Polygon.FillValue = fill;
  b.Polygon.OutlineValue = outline;
  b.Polygon.FillMode = mode;
  b.Antialias = antialias;
  return b;
}

TEST(WrapperPolygon, FigureLandsWhereItWasDrawn) {
  // A 20 by 20 square at (100, 200) with a 4-pixel outline. The mask's (0, 0)
  // is the frame's corner less 4: (92, 192). The square's edges, at pixel
  // centres, are at 100.5 and 120.5 in the image, 8.5 and 28.5 in the mask.
  std::vector<POINT> sq{{100, 200}, {120, 200}, {120, 220}, {100, 220}};
  auto [rf, h] = test::Draw(PolygonBlock(sq, 4, 255, WRAPPER_NONE, 1));
  ASSERT_NE(h, nullptr);
  EXPECT_EQ(h->biWidth, 28 + 8);
  EXPECT_EQ(h->biHeight, 28 + 8);
  EXPECT_EQ(Px(h, 7, 18), 0);
  EXPECT_NEAR(Px(h, 8, 18), 128, 2);
  EXPECT_EQ(Px(h, 9, 18), 255);
  EXPECT_EQ(Px(h, 27, 18), 255);
  EXPECT_NEAR(Px(h, 28, 18), 128, 2);
  EXPECT_EQ(Px(h, 29, 18), 0);
  EXPECT_NEAR(Sum(h) / 255.0, 400.0, 1.0);

  // The outline is centred on the edges: 6.5 to 10.5 on the left.
  auto [rl, hl] = test::Draw(PolygonBlock(sq, 4, WRAPPER_NONE, 255, 1));
  ASSERT_NE(hl, nullptr);
  EXPECT_EQ(Px(hl, 5, 18), 0);
  EXPECT_NEAR(Px(hl, 6, 18), 128, 2);
  EXPECT_EQ(Px(hl, 8, 18), 255);
  EXPECT_NEAR(Px(hl, 10, 18), 128, 2);
  EXPECT_EQ(Px(hl, 18, 18), 0);
  Extent e = InkExtent(hl);
  EXPECT_GT(e.left, 0);
  EXPECT_GT(e.top, 0);
  EXPECT_LT(e.right, hl->biWidth - 1);
  EXPECT_LT(e.bottom, hl->biHeight - 1);
}

TEST(WrapperPolygon, WindingRuleOnASelfCrossingStar) {
  // A five-pointed star drawn in one stroke crosses itself; its middle is
  // covered twice.
  std::vector<POINT> star;
  for (int i = 0; i < 5; ++i) {
    const double a = -M_PI / 2 + i * 4 * M_PI / 5;
    star.push_back({static_cast<int>(std::lround(50 + 40 * std::cos(a))),
                    static_cast<int>(std::lround(50 + 40 * std::sin(a)))});
  }
  for (int aa = 0; aa < 2; ++aa) {
    WRAPPERBLOCK alternate = PolygonBlock(star, 0, 255, WRAPPER_NONE, aa, POLYFILL_ALTERNATE);
    WRAPPERRESULT ra = OCHLWRPR_proc(&alternate);
    WRAPPERBLOCK winding = PolygonBlock(star, 0, 255, WRAPPER_NONE, aa, POLYFILL_WINDING);
    WRAPPERRESULT rw = OCHLWRPR_proc(&winding);
    WRAPPERBLOCK byDefault = PolygonBlock(star, 0, 255, WRAPPER_NONE, aa);
    WRAPPERRESULT rd = OCHLWRPR_proc(&byDefault);
    const BITMAPINFOHEADER *ha = LockDib(ra.Dib), *hw = LockDib(rw.Dib), *hd = LockDib(rd.Dib);
    ASSERT_TRUE(ha && hw && hd);
    // The star's centre (50, 50) in the mask, whose corner is 4 up and left of
    // the frame's (thickness 0).
    int minX = 1000, minY = 1000;
    for (const POINT& p : star) minX = std::min(minX, p.x), minY = std::min(minY, p.y);
    const int cx = 50 - minX + 4, cy = 50 - minY + 4;
    EXPECT_EQ(Px(ha, cx, cy), 0) << aa;
    EXPECT_EQ(Px(hw, cx, cy), 255) << aa;
    EXPECT_TRUE(test::SameBlock(ra.Dib, rd.Dib));
    // A point arm is covered once either way.
    EXPECT_EQ(Px(ha, cx, cy - 32), 255);
    EXPECT_EQ(Px(hw, cx, cy - 32), 255);
    EXPECT_GT(Sum(hw), Sum(ha) + 255LL * 300);
  }
}

TEST(WrapperPolygon, FewVerticesAndBadBlocks) {
  // One vertex with an outline is a dot; two are a line; neither is filled.
  std::vector<POINT> one{{10, 10}};
  auto [r1, h1] = test::Draw(PolygonBlock(one, 6, 255, 255, 1));
  ASSERT_NE(h1, nullptr);
  EXPECT_NEAR(Sum(h1) / 255.0, M_PI * 9, 1.0);
  std::vector<POINT> two{{0, 0}, {30, 0}};
  WRAPPERBLOCK b2 = PolygonBlock(two, 2, 255, WRAPPER_NONE, 1);
  WRAPPERRESULT r2 = OCHLWRPR_proc(&b2);
  ASSERT_NE(LockDib(r2.Dib), nullptr);
  EXPECT_EQ(Sum(LockDib(r2.Dib)), 0);

  WRAPPERBLOCK empty = PolygonBlock(two, 2, 255, 255, 1);
  empty.Polygon.VertexCount = 0;
  EXPECT_EQ(OCHLWRPR_proc(&empty).Dib, nullptr);
  empty.Polygon.VertexCount = 2;
  empty.Polygon.Vertices = nullptr;
  EXPECT_EQ(OCHLWRPR_proc(&empty).Dib, nullptr);
  std::vector<POINT> far{{0, 0}, {1000000, 0}, {0, 1000000}};
  WRAPPERBLOCK huge = PolygonBlock(far, 1, 255, 255, 1);
  EXPECT_EQ(OCHLWRPR_proc(&huge).Dib, nullptr);
}

}  // namespace
}  // namespace ochrel
