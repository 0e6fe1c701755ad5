#include <gtest/gtest.h>

#include <QGuiApplication>

#include <cmath>
#include <cstdlib>
#include <functional>
#include <vector>

#include "image/dib.h"
#include "render/wrapper.h"
#include "draw_util.h"

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

std::vector<POINT> Star() {
  // A five-pointed star drawn in one stroke crosses itself; its middle is covered twice.
  std::vector<POINT> star;
  for (int i = 0; i < 5; ++i) {
    const double a = -M_PI / 2 + i * 4 * M_PI / 5;
    star.push_back(
        {static_cast<int>(std::lround(50 + 40 * std::cos(a))), static_cast<int>(std::lround(50 + 40 * std::sin(a)))});
  }
  return star;
}

// Every mask the line, ellipse, rectangle and polygon paths draw, hard and
// antialiased, pinned by the digest of the DIB recorded from known-good code.
// A digest change means a changed mask: look at it before recording anew.
TEST(WrapperMasks, MatchTheRecordedDigests) {
  const std::int32_t c255 = static_cast<std::int32_t>(CoverageValue(255));
  const std::int32_t c180 = static_cast<std::int32_t>(CoverageValue(180));
  const std::vector<POINT> sq{{100, 200}, {120, 200}, {120, 220}, {100, 220}};
  const std::vector<POINT> star = Star();
  WRAPPERBLOCK reversed = ShapeBlock(WRAPPER_RECTANGLE, 10, 10, 0, 255, WRAPPER_NONE, 1);
  reversed.Shape.Box = {14, 14, 4, 4};
  struct Row {
    const char* name;
    std::function<WRAPPERBLOCK()> block;
    std::uint64_t digest;
  };
  // Rows build their blocks when run: a polygon's vertices live in one shared place.
  auto L = [](auto... a) { return [=] { return LineBlock(a...); }; };
  auto P = [](auto... a) { return [=] { return PolygonBlock(a...); }; };
  auto S = [](auto... a) { return [=] { return ShapeBlock(a...); }; };
  const Row rows[] = {
      {"line flat 5 hard", L(RECT{100, 100, 121, 121}, 0, 10, 20, 10, 5, LINECAP_FLAT, 0), 0xad6520f45d61d069ull},
      {"line flat 5 aa", L(RECT{100, 100, 121, 121}, 0, 10, 20, 10, 5, LINECAP_FLAT, 1), 0xad6520f45d61d069ull},
      {"line flat 9 aa", L(RECT{0, 0, 31, 1}, 0, 0, 30, 0, 9, LINECAP_FLAT, 1), 0xa99e924881d63770ull},
      {"line round 9 aa", L(RECT{0, 0, 31, 1}, 0, 0, 30, 0, 9, LINECAP_ROUND, 1), 0x8ce2e9e92b4a4345ull},
      {"diagonal hard", L(RECT{0, 0, 41, 41}, 0, 0, 40, 40, 6, LINECAP_ROUND, 0, 200), 0x963578e7c0d348f6ull},
      {"diagonal aa", L(RECT{0, 0, 41, 41}, 0, 0, 40, 40, 6, LINECAP_ROUND, 1, 200), 0x35c43bf3bd0a3227ull},
      {"zero thickness", L(RECT{0, 0, 11, 1}, 0, 0, 10, 0, 0, LINECAP_ROUND, 0), 0x20354d1089a4926dull},
      {"sloping hairline", L(RECT{0, 0, 31, 11}, 0, 0, 30, 10, 1, LINECAP_FLAT, 0), 0x1a82947c4723f9bdull},
      {"click dot", L(RECT{5, 5, 6, 6}, 0, 0, 0, 0, 7, LINECAP_ROUND, 1), 0x25bf37db1996acddull},
      {"filled circle", S(WRAPPER_ELLIPSE, 61, 61, 0, c255, WRAPPER_NONE, 1), 0x3b58037fa92a8830ull},
      {"ellipse hard", S(WRAPPER_ELLIPSE, 50, 30, 0, c180, WRAPPER_NONE, 0), 0xa41d60d663da64aeull},
      {"ellipse aa", S(WRAPPER_ELLIPSE, 50, 30, 0, c180, WRAPPER_NONE, 1), 0x5337bebb8d43fd0bull},
      {"ellipse ring", S(WRAPPER_ELLIPSE, 41, 41, 4, WRAPPER_NONE, 255, 1), 0x47ded455c9e2a40cull},
      {"ellipse thick ring", S(WRAPPER_ELLIPSE, 10, 10, 8, WRAPPER_NONE, 255, 1), 0x2e4747418c91baabull},
      {"ellipse no size", S(WRAPPER_ELLIPSE, 0, 0, 1, 255, 255, 1), 0x5a795c2ec6544742ull},
      {"rectangle hard", S(WRAPPER_RECTANGLE, 23, 11, 3, 99, WRAPPER_NONE, 0), 0xb287ae8726c5fad9ull},
      {"rectangle aa", S(WRAPPER_RECTANGLE, 23, 11, 3, 99, WRAPPER_NONE, 1), 0xb287ae8726c5fad9ull},
      {"rectangle outline over fill", S(WRAPPER_RECTANGLE, 12, 10, 2, 100, 200, 1), 0x8cd6057f0df72077ull},
      {"rectangle outline", S(WRAPPER_RECTANGLE, 12, 10, 2, WRAPPER_NONE, 200, 0), 0x998ef3ab351dc1b7ull},
      {"rectangle nothing", S(WRAPPER_RECTANGLE, 12, 10, 0, WRAPPER_NONE, 200, 1), 0x2e8421a9a2ab46b7ull},
      {"rectangle reversed", [&] { return reversed; }, 0x1ad01c0b51da63e1ull},
      {"polygon square fill", P(sq, 4, 255, WRAPPER_NONE, 1), 0xb7e8249a97a5446aull},
      {"polygon square outline", P(sq, 4, WRAPPER_NONE, 255, 1), 0x7d1fb6b6a0a475b5ull},
      {"star alternate hard", P(star, 0, 255, WRAPPER_NONE, 0, POLYFILL_ALTERNATE), 0xbbddb0b41e8f15e4ull},
      {"star winding hard", P(star, 0, 255, WRAPPER_NONE, 0, POLYFILL_WINDING), 0x2b5065f26e65765cull},
      {"star default hard", P(star, 0, 255, WRAPPER_NONE, 0), 0xbbddb0b41e8f15e4ull},
      {"star alternate aa", P(star, 0, 255, WRAPPER_NONE, 1, POLYFILL_ALTERNATE), 0x84211588db5a71d0ull},
      {"star winding aa", P(star, 0, 255, WRAPPER_NONE, 1, POLYFILL_WINDING), 0xa7f4a5228d78d202ull},
      {"star default aa", P(star, 0, 255, WRAPPER_NONE, 1), 0x84211588db5a71d0ull},
      {"polygon one vertex", P(std::vector<POINT>{{10, 10}}, 6, 255, 255, 1), 0x5f37cd3200f78558ull},
      {"polygon two vertices", P(std::vector<POINT>{{0, 0}, {30, 0}}, 2, 255, WRAPPER_NONE, 1), 0x99bd0c1347054aull},
  };
  for (const Row& row : rows) {
    WRAPPERBLOCK b = row.block();
    WRAPPERRESULT r = OCHLWRPR_proc(&b);
    ASSERT_NE(r.Dib, nullptr) << row.name;
    EXPECT_EQ(test::Digest(r.Dib), row.digest) << std::hex << row.name;
  }
}

TEST(WrapperShapes, OversizedOrBrokenBlocksFailCleanly) {
  WRAPPERBLOCK huge = ShapeBlock(WRAPPER_RECTANGLE, 100000, 10, 0, 255, WRAPPER_NONE, 1);
  EXPECT_EQ(OCHLWRPR_proc(&huge).Dib, nullptr);
  WRAPPERBLOCK negative = ShapeBlock(WRAPPER_ELLIPSE, 10, 10, 0, 255, WRAPPER_NONE, 1);
  negative.Shape.Box = {-50, 4, 10, 10};
  EXPECT_EQ(OCHLWRPR_proc(&negative).Dib, nullptr);
  WRAPPERBLOCK wide = LineBlock({0, 0, 2000000000, 10}, 0, 0, 2000000000, 0, 64, LINECAP_ROUND, 1);
  EXPECT_EQ(OCHLWRPR_proc(&wide).Dib, nullptr);
  WRAPPERBLOCK empty = PolygonBlock({{0, 0}, {30, 0}}, 2, 255, 255, 1);
  empty.Polygon.VertexCount = 0;
  EXPECT_EQ(OCHLWRPR_proc(&empty).Dib, nullptr);
  empty.Polygon.VertexCount = 2;
  empty.Polygon.Vertices = nullptr;
  EXPECT_EQ(OCHLWRPR_proc(&empty).Dib, nullptr);
  WRAPPERBLOCK far = PolygonBlock({{0, 0}, {1000000, 0}, {0, 1000000}}, 1, 255, 255, 1);
  EXPECT_EQ(OCHLWRPR_proc(&far).Dib, nullptr);
}

}  // namespace
}  // namespace ochrel
