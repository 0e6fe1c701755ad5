// ochrel-cli texture, gradient, tile, textures, tiles and shadow, run as a
// program on real files and checked against the engine.
#include <gtest/gtest.h>

#include <filesystem>

#include "files/imagefile.h"
#include "fills/gradient.h"
#include "fills/matrix.h"
#include "fills/shadow.h"
#include "fills/texture_file.h"
#include "cli_run.h"
#include "test_images.h"

namespace ochrel {
namespace {

namespace fs = std::filesystem;
using namespace clitest;

using test::SamePixels;

const std::string kStockFft = std::string(OCHREL_SOURCE_DIR) + "/data/Ochrel.FFT";
const std::string kStockMtx = std::string(OCHREL_SOURCE_DIR) + "/data/Ochrel.MTX";

}  // namespace

TEST(FillsCli, TextureMatchesTheEngineWithSetFields) {
  Scratch dir;
  CliRun r = Cli(dir, "texture '" + dir / "t.png" +
                          "' --size 64x48 --set TextureType=1 --set matrixsize=32 --set SeedValue1=55 --set Power2=1.5"
                          " --set BackColour=255");
  ASSERT_EQ(r.status, 0) << r.err;
  TEXTURE t;
  CreateDefaultTexture(&t);
  t.TextureType = 1;
  t.MatrixSize = 32;
  t.SeedValue1 = 55;
  t.Power2 = 1.5f;
  t.BackColour = 255;
  t.Rect = RECT{0, 0, 64, 48};
  HDIB expect = CreateTexture(&t);
  HDIB got = LoadImage((dir / "t.png").c_str());
  ASSERT_TRUE(got);
  EXPECT_TRUE(SamePixels(got, expect));
}

TEST(FillsCli, StockLibrariesListAndRender) {
  Scratch dir;
  CliRun names = Cli(dir, "textures '" + kStockFft + "'");
  ASSERT_EQ(names.status, 0) << names.err;
  TextureList list;
  int writeable = 1;
  ASSERT_EQ(LoadTextureFile(kStockFft, &list, &writeable), 1);
  EXPECT_EQ(writeable, 0);  // the stock set is protected
  std::string expect;
  for (const auto& item : list) expect += item.name + "\n";
  EXPECT_EQ(names.out, expect);
  EXPECT_GE(list.size(), 12u);

  const std::string item = list[1].name;
  CliRun one =
      Cli(dir, "texture '" + dir / "s.png" + "' --size 40x30 --library '" + kStockFft + "' --item '" + item + "'");
  ASSERT_EQ(one.status, 0) << one.err;
  TEXTURE t = list[1].texture;
  t.Rect = RECT{0, 0, 40, 30};
  EXPECT_TRUE(SamePixels(LoadImage((dir / "s.png").c_str()), CreateTexture(&t)));
  EXPECT_NE(
      Cli(dir, "texture '" + dir / "s.png" + "' --size 4x4 --library '" + kStockFft + "' --item 'no such'").status, 0);

  CliRun sizes = Cli(dir, "tiles '" + kStockMtx + "'");
  ASSERT_EQ(sizes.status, 0) << sizes.err;
  std::vector<HDIB> tiles;
  ASSERT_EQ(LoadMatrixFile(kStockMtx, &tiles, &writeable), 1);
  EXPECT_EQ(writeable, 0);
  std::string expectSizes;
  for (const HDIB& tile : tiles)
    expectSizes += std::to_string(LockDib(tile)->biWidth) + " x " + std::to_string(LockDib(tile)->biHeight) + "\n";
  EXPECT_EQ(sizes.out, expectSizes);

  CliRun tile = Cli(dir, "tile '" + dir / "m.png" + "' --size 100x70 --library '" + kStockMtx + "' --index 3");
  ASSERT_EQ(tile.status, 0) << tile.err;
  MATRIX m;
  m.Tile = std::move(tiles[3]);
  m.Rect = RECT{0, 0, 100, 70};
  EXPECT_TRUE(SamePixels(LoadImage((dir / "m.png").c_str()), CreateMatrix(&m)));
  EXPECT_EQ(Cli(dir, "tile '" + dir / "m.png" + "' --size 10x10 --library '" + kStockMtx + "' --index 99").status, 1);
  EXPECT_EQ(Cli(dir, "tiles '" + dir / "absent.MTX" + "'").status, 0);  // a missing library is empty
}

TEST(FillsCli, StockFilesAreWhatTheGeneratorMakes) {
  Scratch dir;
  ASSERT_EQ(Cli(dir, "textures --make-stock '" + dir / "a.FFT" + "'").status, 0);
  ASSERT_EQ(Cli(dir, "tiles --make-stock '" + dir / "a.MTX" + "'").status, 0);
  EXPECT_EQ(Slurp(dir / "a.FFT"), Slurp(kStockFft));
  EXPECT_EQ(Slurp(dir / "a.MTX"), Slurp(kStockMtx));
}

TEST(FillsCli, GradientGreyAndColour) {
  Scratch dir;
  CliRun r =
      Cli(dir, "gradient '" + dir / "g.png" +
                   "' --size 50x30 --set GradientType=3 --set Angle=-90 --set StartColour=255 --set EndColour=65280"
                   " --set CenterX=10");
  ASSERT_EQ(r.status, 0) << r.err;
  GRADIENT g;
  g.GradientType = 3;
  g.Angle = -90;
  g.StartColour = 255;
  g.EndColour = 65280;
  g.CenterX = 10;
  g.Rect = RECT{0, 0, 50, 30};
  EXPECT_TRUE(SamePixels(LoadImage((dir / "g.png").c_str()), CreateGradient(&g)));

  r = Cli(dir, "gradient '" + dir / "grey.png" + "' --size 33x20 --grey --set GradientType=3 --set StartColour=200");
  ASSERT_EQ(r.status, 0) << r.err;
  HDIB grey = LoadImage((dir / "grey.png").c_str());
  ASSERT_TRUE(grey);
  EXPECT_EQ(LockDib(grey)->biBitCount, 8);
  g = GRADIENT{};
  g.GradientType = 3;
  g.StartColour = 200;
  g.ImageType = 1;
  g.Rect = RECT{0, 0, 33, 20};
  EXPECT_TRUE(SamePixels(grey, CreateGradient(&g)));
}

TEST(FillsCli, ShadowWritesTheMaskAndReportsPlaceAndColour) {
  Scratch dir;
  HDIB mask = test::Uniform(30, 20, 8, 0);
  InsetSolidRectangle(mask, 255, RECT{5, 5, 25, 15});
  ASSERT_EQ(WriteImage((dir / "mask.png").c_str(), mask), 1);
  CliRun r = Cli(dir, "shadow '" + dir / "mask.png" + "' '" + dir / "out.png" +
                          "' --set ShadowDirection=4 --set ShadowOffset=9 --set ShadowType=1 --fill 1234567");
  ASSERT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(r.out, "x=-59 y=-50 colour=1234567\n");
  SHADOW s;
  s.ShadowDirection = 4;
  s.ShadowOffset = 9;
  s.ShadowType = 1;
  s.ShadowOpacity = 255;
  s.ShadowSoft = 15;
  HDIB reloaded = LoadImage((dir / "mask.png").c_str());
  int x, y;
  COLORREF colour;
  SHADOWCOLOURS colours;
  colours.FillColour = 1234567;
  ASSERT_EQ(HandleShadowImage(&reloaded, &x, &y, &colour, &s, colours), 1);
  HDIB got = LoadImage((dir / "out.png").c_str());
  ASSERT_TRUE(got);
  EXPECT_EQ(LockDib(got)->biWidth, 130);
  EXPECT_TRUE(SamePixels(got, reloaded));
}

}  // namespace ochrel
