// The fill generators' outputs (every texture kind, every gradient kind in
// colour and grey, tiles, shadows) must keep the digests recorded in
// generator_bytes.txt. OCHREL_GENERATOR_BYTES_WRITE=path writes the table
// afresh (only ever from a build whose outputs are known good).
#include <gtest/gtest.h>

#include <cstdint>
#include <fstream>
#include <map>
#include <sstream>
#include <string>

#include "fills/gradient.h"
#include "fills/matrix.h"
#include "fills/shadow.h"
#include "fills/stock.h"
#include "fills/texture.h"
#include "image/crand.h"
#include "test_images.h"

namespace ochrel {
namespace {

std::uint64_t Digest(const HDIB& d) {
  std::uint64_t h = 1469598103934665603ull;
  if (!d) return 0;
  for (std::size_t i = 0; i < d->size(); ++i) h = (h ^ d->data()[i]) * 1099511628211ull;
  return h;
}

std::map<std::string, std::uint64_t> RunAll() {
  std::map<std::string, std::uint64_t> out;
  texture_detail::ForgetNoiseTablesForTesting();  // the first perturbation of a run seeds them
  // Odd sizes, so that row padding and the last column and row are covered.
  for (int type = 0; type < 6; ++type)
    for (int size : {32, 128}) {
      TEXTURE t;
      CreateDefaultTexture(&t);
      t.TextureType = type;
      t.MatrixSize = size;
      t.CreaterCount = 400;
      t.BubbleCount = 40;
      t.Rect = RECT{0, 0, 77, 53};
      srand(3);
      out["texture " + std::to_string(type) + " " + std::to_string(size)] = Digest(CreateTexture(&t));
    }
  for (const auto& item : StockTextures()) {
    TEXTURE t = item.texture;
    t.Rect = RECT{0, 0, 61, 47};
    out["stock texture " + item.name] = Digest(CreateTexture(&t));
  }
  for (int type = 0; type < 4; ++type)
    for (int grey : {0, 1})
      for (int angle : {0, 33, -135}) {
        GRADIENT g;
        g.GradientType = type;
        g.StartColour = RGB(250, 20, 90);
        g.EndColour = RGB(5, 200, 160);
        g.CenterX = 17;
        g.CenterY = -9;
        g.Angle = angle;
        g.ImageType = grey;
        g.Rect = RECT{0, 0, 71, 45};
        out["gradient " + std::to_string(type) + " grey " + std::to_string(grey) + " angle " + std::to_string(angle)] =
            Digest(CreateGradient(&g));
      }
  MATRIX m;
  m.Tile = CreateBuiltinMatrixTile();
  m.Rect = RECT{0, 0, 301, 203};
  out["tile builtin"] = Digest(CreateMatrix(&m));
  for (int direction = 0; direction < 8; ++direction)
    for (int soft : {5, 30}) {
      SHADOW s;
      s.ShadowDirection = direction;
      s.ShadowOffset = 7;
      s.ShadowSoft = soft;
      s.ShadowOpacity = 180;
      HDIB mask = test::Uniform(23, 17, 8, 0);
      InsetSolidRectangle(mask, 255, RECT{4, 3, 19, 12});
      int x = 0, y = 0;
      COLORREF colour = 0;
      HandleShadowImage(&mask, &x, &y, &colour, &s, SHADOWCOLOURS{});
      out["shadow " + std::to_string(direction) + " soft " + std::to_string(soft) + " at " + std::to_string(x) + "," +
          std::to_string(y)] = Digest(mask);
    }
  return out;
}

TEST(GeneratorBytes, OutputsMatchTheRecordedDigests) {
  const auto now = RunAll();
  if (const char* w = std::getenv("OCHREL_GENERATOR_BYTES_WRITE")) {
    std::ofstream f(w);
    for (const auto& [name, d] : now) f << std::hex << d << ' ' << name << '\n';
    GTEST_SKIP() << "wrote " << now.size() << " digests to " << w;
  }
  std::ifstream f(std::string(OCHREL_SOURCE_DIR) + "/tests/fills/generator_bytes.txt");
  ASSERT_TRUE(f) << "no recorded digests";
  std::map<std::string, std::uint64_t> recorded;
  for (std::string line; std::getline(f, line);) {
    std::istringstream in(line);
    std::uint64_t d = 0;
    std::string name;
    in >> std::hex >> d;
    std::getline(in >> std::ws, name);
    recorded[name] = d;
  }
  EXPECT_EQ(recorded.size(), now.size());
  for (const auto& [name, d] : recorded) {
    auto it = now.find(name);
    ASSERT_NE(it, now.end()) << name << " is no longer produced";
    EXPECT_EQ(it->second, d) << name << " changed its bytes";
  }
}

}  // namespace
}  // namespace ochrel
