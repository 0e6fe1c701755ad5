#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "temp_dir.h"
#include "fills/matrix.h"
#include "fills/stock.h"
#include "test_images.h"

using namespace ochrel;
namespace fs = std::filesystem;

namespace {

using test::Slurp;
using test::Spit;
using test::TempDir;
void Le32(std::string& s, std::size_t at, std::uint32_t v) {
  for (int k = 0; k < 4; ++k) s[at + k] = static_cast<char>((v >> (8 * k)) & 255);
}

}  // namespace

TEST(Matrix, TilesFromTheTopLeftAndCutsAtTheEdges) {
  MATRIX m;
  m.Tile = test::RandomDib(3, 2, 24, 11);
  m.Rect = RECT{100, 100, 107, 105};
  HDIB dib = CreateMatrix(&m);
  ASSERT_TRUE(dib);
  const BITMAPINFOHEADER* h = LockDib(dib);
  const BITMAPINFOHEADER* tile = LockDib(m.Tile);
  ASSERT_EQ(h->biWidth, 7);
  ASSERT_EQ(h->biHeight, 5);
  for (int y = 0; y < 5; ++y)
    for (int x = 0; x < 7; ++x) ASSERT_EQ(GetDibPixel(h, x, y), GetDibPixel(tile, x % 3, y % 2));

  // A tile larger than the rectangle is cut at the right and the bottom.
  MATRIX big;
  big.Tile = test::RandomDib(50, 40, 24, 12);
  big.Rect = RECT{0, 0, 20, 10};
  HDIB cut = CreateMatrix(&big);
  ASSERT_TRUE(cut);
  for (int y = 0; y < 10; ++y)
    for (int x = 0; x < 20; ++x) ASSERT_EQ(GetDibPixel(LockDib(cut), x, y), GetDibPixel(LockDib(big.Tile), x, y));
}

TEST(Matrix, PalettedTilesKeepTheirColoursAndBadTilesGiveNothing) {
  MATRIX m;
  m.Tile = test::RandomDib(5, 5, 8, 3);
  m.Rect = RECT{0, 0, 6, 6};
  HDIB dib = CreateMatrix(&m);
  ASSERT_TRUE(dib);
  const BITMAPINFOHEADER* tile = LockDib(m.Tile);
  const BYTE* pal = DibPaletteEntries(tile);
  const std::uint32_t index = GetDibPixel(tile, 2, 3);
  EXPECT_EQ(GetDibPixel(LockDib(dib), 2, 3), RGB(pal[4 * index + 2], pal[4 * index + 1], pal[4 * index]));

  MATRIX none;
  none.Rect = RECT{0, 0, 4, 4};
  EXPECT_FALSE(CreateMatrix(&none));
  // A header that claims more pixels than its block holds, or none at all.
  for (int variant = 0; variant < 4; ++variant) {
    MATRIX bad;
    bad.Tile = test::RandomDib(4, 4, 24, 5);
    BITMAPINFOHEADER* h = LockDib(bad.Tile);
    if (variant == 0) h->biWidth = 100000;
    if (variant == 1) h->biHeight = 0;
    if (variant == 2) h->biSize = 0x7FFFFFFF;
    if (variant == 3) h->biBitCount = 7;
    bad.Rect = RECT{0, 0, 10, 10};
    EXPECT_FALSE(CreateMatrix(&bad)) << variant;
  }
}

TEST(Matrix, DefaultDuplicateDestroy) {
  MATRIX m;
  m.Rect = RECT{1, 1, 9, 9};
  ASSERT_EQ(CreateDefaultMatrix(&m), 1);
  EXPECT_EQ(m.Rect, RECT{});
  const BITMAPINFOHEADER* h = LockDib(m.Tile);
  ASSERT_TRUE(h);
  EXPECT_EQ(h->biWidth, 120);
  EXPECT_EQ(h->biHeight, 120);
  EXPECT_EQ(h->biBitCount, 24);
  // A named tile that isn't there falls back to the built-in one.
  MATRIX fallback;
  ASSERT_EQ(CreateDefaultMatrix(&fallback, "no-such-tile.bmp"), 1);
  EXPECT_TRUE(test::SameBlock(fallback.Tile, m.Tile));

  MATRIX copy;
  m.Rect = RECT{0, 0, 3, 3};
  ASSERT_NE(DuplicateMatrix(&copy, &m), 0);
  EXPECT_NE(copy.Tile.get(), m.Tile.get());  // never shared
  EXPECT_TRUE(test::SameBlock(copy.Tile, m.Tile));
  EXPECT_EQ(copy.Rect, m.Rect);
  DestroyMatrix(&m);
  EXPECT_FALSE(m.Tile);
  EXPECT_TRUE(copy.Tile);
  DestroyMatrix(&m);  // twice is harmless
}

TEST(MatrixLibrary, RoundTripAndHeader) {
  TempDir dir;
  std::vector<HDIB> tiles;
  tiles.push_back(test::RandomDib(7, 5, 24, 1));
  tiles.push_back(nullptr);  // an entry without a block is skipped
  tiles.push_back(test::RandomDib(30, 2, 24, 2));
  ASSERT_EQ(SaveMatrixFile(dir / "a.MTX", tiles, 1, 1234), 1);
  const std::string bytes = Slurp(dir / "a.MTX");
  ASSERT_EQ(bytes.size(), 1082 + 2 * 72 + tiles[0]->size() + tiles[2]->size());
  EXPECT_EQ(bytes.substr(0, 8), "VRNWMTXf");
  auto le = [&](std::size_t at) {
    std::uint32_t v = 0;
    for (int k = 3; k >= 0; --k) v = (v << 8) | static_cast<unsigned char>(bytes[at + k]);
    return v;
  };
  EXPECT_EQ(le(8), 1234u);
  EXPECT_EQ(le(802), 2u);
  EXPECT_EQ(le(810), 97u);
  EXPECT_EQ(le(814), 2u);
  EXPECT_EQ(le(818), 2u);
  EXPECT_EQ(le(822), 1u);
  EXPECT_EQ(bytes.substr(1082, 4), "MTXi");
  EXPECT_EQ(le(1086), tiles[0]->size());

  std::vector<HDIB> back;
  back.push_back(test::RandomDib(1, 1, 24, 9));
  int writeable = 9;
  ASSERT_EQ(LoadMatrixFile(dir / "a.MTX", &back, &writeable), 1);
  EXPECT_EQ(writeable, 1);
  ASSERT_EQ(back.size(), 2u);
  EXPECT_TRUE(test::SameBlock(back[0], tiles[0]));
  EXPECT_TRUE(test::SameBlock(back[1], tiles[2]));

  ASSERT_EQ(SaveMatrixFile(dir / "p.MTX", tiles, 0), 1);
  ASSERT_EQ(LoadMatrixFile(dir / "p.MTX", &back, &writeable), 1);
  EXPECT_EQ(writeable, 0);
}

TEST(MatrixLibrary, MissingDamagedAndUnknownChunks) {
  TempDir dir;
  std::vector<HDIB> list;
  list.push_back(test::RandomDib(2, 2, 24, 4));
  int writeable = 3;
  EXPECT_EQ(LoadMatrixFile(dir / "none.MTX", &list, &writeable), 1);  // missing: an empty library
  EXPECT_EQ(list.size(), 1u);
  EXPECT_EQ(writeable, 3);

  Spit(dir / "short.MTX", "VRNWMTXf");
  EXPECT_EQ(LoadMatrixFile(dir / "short.MTX", &list, &writeable), 0);
  std::string wrong(1082, '\0');
  wrong.replace(0, 8, "VRNWMTXg");
  Spit(dir / "wrong.MTX", wrong);
  EXPECT_EQ(LoadMatrixFile(dir / "wrong.MTX", &list, &writeable), 0);
  EXPECT_EQ(list.size(), 1u);

  // An unknown chunk between two tiles is stepped over and still counts.
  std::vector<HDIB> tiles;
  tiles.push_back(test::RandomDib(3, 3, 24, 5));
  tiles.push_back(test::RandomDib(4, 1, 24, 6));
  ASSERT_EQ(SaveMatrixFile(dir / "u.MTX", tiles, 1), 1);
  std::string bytes = Slurp(dir / "u.MTX");
  std::string chunk(72 + 10, 'z');
  chunk.replace(0, 4, "NOTE");
  Le32(chunk, 4, 10);
  std::fill(chunk.begin() + 8, chunk.begin() + 72, '\0');
  const std::size_t second = 1082 + 72 + tiles[0]->size();
  bytes.insert(second, chunk);
  Le32(bytes, 818, 3);
  Spit(dir / "u.MTX", bytes);
  ASSERT_EQ(LoadMatrixFile(dir / "u.MTX", &list, &writeable), 1);
  ASSERT_EQ(list.size(), 2u);
  EXPECT_TRUE(test::SameBlock(list[1], tiles[1]));

  // A count beyond the items: the ones read stay, the result says damaged.
  Le32(bytes, 818, 5);
  Spit(dir / "u.MTX", bytes);
  EXPECT_EQ(LoadMatrixFile(dir / "u.MTX", &list, &writeable), 0);
  EXPECT_EQ(list.size(), 2u);
  // An item claiming more bytes than the file has is not read (nor allocated).
  Le32(bytes, 818, 3);
  Le32(bytes, 1082 + 4, 0xFFFFFFF0u);
  Spit(dir / "u.MTX", bytes);
  EXPECT_EQ(LoadMatrixFile(dir / "u.MTX", &list, &writeable), 0);
  EXPECT_EQ(list.size(), 0u);
}

TEST(MatrixLibrary, AddElementAppendsOrRefusesAProtectedFile) {
  TempDir dir;
  std::vector<HDIB> tiles;
  tiles.push_back(test::RandomDib(3, 3, 24, 7));
  ASSERT_EQ(SaveMatrixFile(dir / "w.MTX", tiles, 1), 1);
  HDIB extra = test::RandomDib(9, 4, 24, 8);
  ASSERT_EQ(AddMatrixElement(dir / "w.MTX", extra), 1);
  std::vector<HDIB> back;
  int writeable = 0;
  ASSERT_EQ(LoadMatrixFile(dir / "w.MTX", &back, &writeable), 1);
  ASSERT_EQ(back.size(), 2u);
  EXPECT_TRUE(test::SameBlock(back[1], extra));

  ASSERT_EQ(SaveMatrixFile(dir / "p.MTX", tiles, 0), 1);
  const std::string before = Slurp(dir / "p.MTX");
  EXPECT_EQ(AddMatrixElement(dir / "p.MTX", extra), 0);
  EXPECT_EQ(Slurp(dir / "p.MTX"), before);

  EXPECT_EQ(AddMatrixElement(dir / "absent.MTX", extra), 1);  // nothing happens
  EXPECT_FALSE(fs::exists(dir / "absent.MTX"));
  // An item chain that runs past the end is damage, not a place to write.
  std::string bytes = Slurp(dir / "w.MTX");
  Le32(bytes, 818, 7);
  Spit(dir / "d.MTX", bytes);
  EXPECT_EQ(AddMatrixElement(dir / "d.MTX", extra), 0);
  EXPECT_EQ(Slurp(dir / "d.MTX"), bytes);
}

TEST(MatrixLibrary, BackupAndDamagedItemsStayInTheirBlock) {
  TempDir dir;
  std::vector<HDIB> tiles;
  tiles.push_back(test::RandomDib(3, 3, 24, 1));
  ASSERT_EQ(SaveMatrixFile(dir / "b.MTX", tiles, 1), 1);
  const std::string first = Slurp(dir / "b.MTX");
  tiles.push_back(test::RandomDib(2, 2, 24, 2));
  ASSERT_EQ(SaveMatrixFile(dir / "b.MTX", tiles, 1), 1);
  EXPECT_EQ(Slurp(dir / "b.MTX.bak"), first);

  // An item of 50 bytes whose header claims a 1000 x 1000 image.
  std::string bytes = Slurp(dir / "b.MTX");
  std::string item(72 + 50, '\0');
  item.replace(0, 4, "MTXi");
  Le32(item, 4, 50);
  Le32(item, 72, 40);
  Le32(item, 76, 1000);
  Le32(item, 80, 1000);
  item[72 + 12] = 1;
  item[72 + 14] = 24;
  bytes += item;
  Le32(bytes, 818, 3);
  Spit(dir / "b.MTX", bytes);
  std::vector<HDIB> back;
  int writeable = 0;
  ASSERT_EQ(LoadMatrixFile(dir / "b.MTX", &back, &writeable), 1);
  ASSERT_EQ(back.size(), 3u);
  EXPECT_FALSE(MatrixTileUsable(back[2].get()));
  MATRIX m;
  m.Tile = std::move(back[2]);
  m.Rect = RECT{0, 0, 64, 64};
  EXPECT_FALSE(CreateMatrix(&m));
}

#include "files/imagefile.h"

TEST(Matrix, DefaultTileFromTheDataFolder) {
  TempDir dir;
  // A small paletted image is converted to true colour.
  HDIB small = test::RandomDib(20, 10, 8, 3);
  ASSERT_EQ(WriteImage((dir / "small.bmp").c_str(), small), 1);
  MATRIX m;
  ASSERT_EQ(CreateDefaultMatrix(&m, dir / "small.bmp"), 1);
  const BITMAPINFOHEADER* h = LockDib(m.Tile);
  EXPECT_EQ(h->biBitCount, 24);
  EXPECT_EQ(h->biWidth, 20);
  const BITMAPINFOHEADER* s = LockDib(small);
  const BYTE* pal = DibPaletteEntries(s);
  const std::uint32_t i = GetDibPixel(s, 4, 6);
  EXPECT_EQ(GetDibPixel(h, 4, 6), RGB(pal[4 * i + 2], pal[4 * i + 1], pal[4 * i]));
  // A large one is taken as it is, whatever its depth.
  HDIB large = test::RandomDib(300, 4, 8, 4);
  ASSERT_EQ(WriteImage((dir / "large.bmp").c_str(), large), 1);
  ASSERT_EQ(CreateDefaultMatrix(&m, dir / "large.bmp"), 1);
  EXPECT_EQ(LockDib(m.Tile)->biBitCount, 8);
  EXPECT_EQ(LockDib(m.Tile)->biWidth, 300);
}
