#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "temp_dir.h"
#include "fills/stock.h"
#include "fills/texture_file.h"

using namespace ochrel;
namespace fs = std::filesystem;

namespace {

using test::Slurp;
using test::Spit;
using test::TempDir;

TEXTURE Sample(int k) {
  TEXTURE t;
  CreateDefaultTexture(&t);
  t.TextureType = k % 6;
  t.MatrixSize = 32 << (k % 4);
  t.SeedValue1 = 100 + k;
  t.SeedValue4 = 32760;
  t.Power2 = 1.25f;
  t.Dimension3 = 3.5f;
  t.ForeColour2 = RGB(1, 2, 3 + k);
  t.BackColour = 0xFFFFFF;
  t.CreaterDepth = 0.5f;
  t.ColorBlue2 = 0.125f;
  t.BubbleShape = 3;
  t.BubblePower = 0.75f;
  t.PerturbationPower = 8.0f;
  return t;
}

bool SameTexture(const TEXTURE& a, const TEXTURE& b) {
  return a.TextureType == b.TextureType && a.MatrixSize == b.MatrixSize && a.SeedValue1 == b.SeedValue1 &&
         a.SeedValue4 == b.SeedValue4 && a.Power2 == b.Power2 && a.Dimension3 == b.Dimension3 &&
         a.ForeColour2 == b.ForeColour2 && a.BackColour == b.BackColour && a.CreaterDepth == b.CreaterDepth &&
         a.ColorBlue2 == b.ColorBlue2 && a.BubbleShape == b.BubbleShape && a.BubblePower == b.BubblePower &&
         a.PerturbationPower == b.PerturbationPower && a.CreaterCount == b.CreaterCount &&
         a.BubbleCount == b.BubbleCount && a.ColorRed1 == b.ColorRed1 && a.Power5 == b.Power5;
}

}  // namespace

TEST(TextureLibrary, WrittenFormExactly) {
  TempDir dir;
  TextureList list;
  TEXTURE t;
  CreateDefaultTexture(&t);
  AddTextureItem(&list, "Clouds", t);
  ASSERT_EQ(SaveTextureFile(dir / "a.FFT", list, 1, "Thu Jan  1 00:00:00 2026\n"), 1);
  const std::string text = Slurp(dir / "a.FFT");
  const std::string head =
      "VARNWICK STUDIO OCHREL TEXTURE FILE\n"
      ";This is a machine-generated text file. If you edit it by hand, you\n"
      ";run the very real and tangible risk of causing all time and space to\n"
      ";implode upon itself and bring about the extinction of reality as we\n"
      ";know it. Think carefully...\n"
      "Version=2.0a\nPatch=2\nItemcount=1\nWriteable=1\nUpdateTimeDate=Thu Jan  1 00:00:00 2026\n"
      ";Items begin\n:BEGINITEM\nTextureName=Clouds\nPower1=0.750000\nPower2=0.750000\n";
  EXPECT_EQ(text.substr(0, head.size()), head);
  EXPECT_NE(text.find("\nSeedValue2=10001\nSeedValue3=10002\n"), std::string::npos);
  EXPECT_NE(text.find("\nDimension5=2.150000\nMatrixSize=64\nTextureType=0\nForeColour1=16777215\n"),
            std::string::npos);
  EXPECT_NE(text.find("\nBackColour=16711680\nCreaterCount=5000\nCreaterDepth=1.500000\nColorRed0=0.000000\n"),
            std::string::npos);
  const std::string tail =
      "ColorBlue3=1.000000\nBubbleCount=64\nBubbleSize=4\nBubblePower=0.250000\nBubbleShape=0\n"
      "PerturbationPower=1.000000\n:ENDITEM\n;Items end -- beyond this point be dragons.\n";
  ASSERT_GE(text.size(), tail.size());
  EXPECT_EQ(text.substr(text.size() - tail.size()), tail);
}

TEST(TextureLibrary, RoundTripKeepsSortedItemsAndValues) {
  TempDir dir;
  TextureList list;
  const char* names[] = {"zebra", "Apple", "mango", "apple", "Untitled (double-click to edit)"};
  for (int k = 0; k < 5; ++k) AddTextureItem(&list, names[k], Sample(k));
  EXPECT_EQ(list[0].name, "Apple");
  EXPECT_EQ(list[1].name, "apple");  // equal names keep their order of arrival
  EXPECT_EQ(list[4].name, "zebra");
  TEXTURE negative = Sample(9);
  negative.TextureType = -3;  // written unsigned, read back into the editor's range
  AddTextureItem(&list, "neg", negative);
  ASSERT_EQ(SaveTextureFile(dir / "b.FFT", list), 1);
  TextureList back;
  int writeable = 7;
  ASSERT_EQ(LoadTextureFile(dir / "b.FFT", &back, &writeable), 1);
  EXPECT_EQ(writeable, 1);
  ASSERT_EQ(back.size(), list.size());
  for (std::size_t i = 0; i < list.size(); ++i) {
    EXPECT_EQ(back[i].name, list[i].name);
    TEXTURE want = list[i].texture;
    if (want.TextureType < 0) want.TextureType = 0;
    EXPECT_TRUE(SameTexture(back[i].texture, want)) << i;
  }
}

TEST(TextureLibrary, LenientReader) {
  TempDir dir;
  // An item of two keys, one of odd and unknown values, and one the file cuts off.
  Spit(dir / "c.FFT",
       "VARNWICK STUDIO OCHREL TEXTURE FILE   \r\n;comment\nItemcount=99\nSomethingNew=5\n"
       ":beginitem\ntexturename = Only two keys\nTEXTURETYPE ===  4  \n:EndItem\n"
       ":BEGINITEM\nTextureName=Extras\nMatrixSize=abc\nBubbleCount=12\nNoSuchKey=3\nWriteable=0\n"
       "CreaterDepth=2.5e0\nPower4=2.0\nSeedValue2=0\nTextureType=9\nColorRed1=nan\nBubbleSize=-5\n"
       "BackColour=4294967295\n:ENDITEM\n"
       ":BEGINITEM\nTextureName=Cut off\nSeedValue1=77\n");
  TextureList list;
  list.push_back({"old", TEXTURE{}});
  int writeable = 1;
  ASSERT_EQ(LoadTextureFile(dir / "c.FFT", &list, &writeable), 1);
  EXPECT_EQ(writeable, 1);  // no Writeable line outside items: kept from before
  ASSERT_EQ(list.size(), 3u);
  EXPECT_EQ(list[0].name, "Cut off");
  EXPECT_EQ(list[0].texture.SeedValue1, 77u);
  EXPECT_EQ(list[1].name, "Extras");
  // Bad text reads as 0; every field then comes into its editor's range.
  const TEXTURE& x = list[1].texture;
  EXPECT_EQ(x.MatrixSize, 32);
  EXPECT_EQ(x.BubbleCount, 12);
  EXPECT_FLOAT_EQ(x.CreaterDepth, 2.5f);
  EXPECT_FLOAT_EQ(x.Power4, 1.5f);
  EXPECT_EQ(x.SeedValue2, 1u);
  EXPECT_EQ(x.TextureType, 5);
  EXPECT_EQ(x.ColorRed1, 0.0f);
  EXPECT_EQ(x.BubbleSize, 1);
  EXPECT_EQ(x.BackColour, 0xFFFFFFu);
  EXPECT_EQ(list[2].name, "Only two keys");
  EXPECT_EQ(list[2].texture.TextureType, 4);
  TEXTURE defaults;
  CreateDefaultTexture(&defaults);
  defaults.TextureType = 4;
  EXPECT_TRUE(SameTexture(list[2].texture, defaults));

  Spit(dir / "d.FFT", "VARNWICK STUDIO OCHREL TEXTURE FILE\nWriteable=0\n:BEGINITEM\n:ENDITEM\n");
  writeable = 1;
  ASSERT_EQ(LoadTextureFile(dir / "d.FFT", &list, &writeable), 1);
  EXPECT_EQ(writeable, 0);
  ASSERT_EQ(list.size(), 1u);
  EXPECT_EQ(list[0].name, "UNKNOWN NAME");

  std::string longName(400, 'n');
  Spit(dir / "e.FFT", "VARNWICK STUDIO OCHREL TEXTURE FILE\n:BEGINITEM\nTextureName=" + longName + "\n:ENDITEM\n");
  ASSERT_EQ(LoadTextureFile(dir / "e.FFT", &list, &writeable), 1);
  EXPECT_EQ(list[0].name.size(), 260u);
}

TEST(TextureLibrary, StockTexturesAreInRangeAndSurviveTheFile) {
  TempDir dir;
  const TextureList stock = StockTextures();
  ASSERT_FALSE(stock.empty());
  for (const TextureItem& item : stock) {
    TEXTURE clamped = item.texture;
    ClampTextureFields(&clamped);
    EXPECT_TRUE(SameTextureFields(clamped, item.texture)) << item.name;
  }
  ASSERT_EQ(SaveTextureFile(dir / "s.FFT", stock, 0), 1);
  TextureList back;
  int writeable = 1;
  ASSERT_EQ(LoadTextureFile(dir / "s.FFT", &back, &writeable), 1);
  ASSERT_EQ(back.size(), stock.size());
  for (std::size_t i = 0; i < stock.size(); ++i) {
    EXPECT_EQ(back[i].name, stock[i].name);
    EXPECT_TRUE(SameTextureFields(back[i].texture, stock[i].texture)) << stock[i].name;
  }
}

TEST(TextureLibrary, RefusedFilesLeaveTheListAlone) {
  TempDir dir;
  TextureList list;
  list.push_back({"keep", TEXTURE{}});
  int writeable = 5;
  EXPECT_EQ(LoadTextureFile(dir / "missing.FFT", &list, &writeable), 0);
  Spit(dir / "lower.FFT", "varnwick studio ochrel texture file\n:BEGINITEM\n:ENDITEM\n");
  EXPECT_EQ(LoadTextureFile(dir / "lower.FFT", &list, &writeable), 0);
  // An empty list is written as an empty file, which the reader then refuses.
  ASSERT_EQ(SaveTextureFile(dir / "empty.FFT", TextureList{}), 1);
  EXPECT_EQ(fs::file_size(dir / "empty.FFT"), 0u);
  EXPECT_EQ(LoadTextureFile(dir / "empty.FFT", &list, &writeable), 0);
  ASSERT_EQ(list.size(), 1u);
  EXPECT_EQ(list[0].name, "keep");
  EXPECT_EQ(writeable, 5);
  // A folder that doesn't exist can't be written, and says so.
  EXPECT_EQ(SaveTextureFile(dir / "no/such/x.FFT", list), 0);
}

TEST(TextureLibrary, BackupCopyWhenAskedFor) {
  TempDir dir;
  TextureList list;
  AddTextureItem(&list, "one", Sample(1));
  ASSERT_EQ(SaveTextureFile(dir / "g.FFT", list), 1);
  EXPECT_FALSE(fs::exists(dir / "g.FFT.bak"));  // nothing to back up yet
  const std::string first = Slurp(dir / "g.FFT");
  AddTextureItem(&list, "two", Sample(2));
  ASSERT_EQ(SaveTextureFile(dir / "g.FFT", list), 1);
  EXPECT_EQ(Slurp(dir / "g.FFT.bak"), first);
  fs::remove(dir / "g.FFT.bak");
  ASSERT_EQ(SaveTextureFile(dir / "g.FFT", list, 1, nullptr, SaveOptions{.backups = false}), 1);
  EXPECT_FALSE(fs::exists(dir / "g.FFT.bak"));
  // No temporary files are left behind.
  int files = 0;
  for (auto& e : fs::directory_iterator(dir.path)) files += e.is_regular_file();
  EXPECT_EQ(files, 1);
}

TEST(TextureLibrary, FieldsByKey) {
  TEXTURE t;
  CreateDefaultTexture(&t);
  EXPECT_TRUE(SetTextureField(&t, "bubbleshape", "2"));
  EXPECT_TRUE(SetTextureField(&t, "Power3", "0.5"));
  EXPECT_TRUE(SetTextureField(&t, "BackColour", "255"));
  EXPECT_FALSE(SetTextureField(&t, "TextureName", "x"));
  EXPECT_FALSE(SetTextureField(&t, "Bogus", "1"));
  EXPECT_EQ(t.BubbleShape, 2);
  EXPECT_FLOAT_EQ(t.Power3, 0.5f);
  EXPECT_EQ(t.BackColour, 255u);
  EXPECT_TRUE(IsTextureFloatKey("dimension1"));
  EXPECT_FALSE(IsTextureFloatKey("SeedValue1"));
}

#include "fills/spin.h"

TEST(SpinValue, LimitsFromTheSpinTextAndClamping) {
  EXPECT_EQ(GetSpinValue("32,1024,64", "100"), 100);
  EXPECT_EQ(GetSpinValue("32,1024,64", "5"), 32);
  EXPECT_EQ(GetSpinValue("32,1024,64", "99999"), 1024);
  EXPECT_EQ(GetSpinValue("-360,360,0", "-5"), 0);  // not unsigned: reads as 0
  EXPECT_EQ(GetSpinValue("5,100,15", "abc"), 5);   // 0, clamped up
  EXPECT_EQ(GetSpinValue("", "250"), 100);         // no text: 0..100
  EXPECT_EQ(GetSpinValue(nullptr, "42"), 42);
  EXPECT_EQ(GetSpinValue("0,255,0", "99999999999"), 0);
  EXPECT_EQ(GetSpinValue("0,255,0", " 17 "), 17);
  const SPINLIMITS s = ParseSpinText("1,32760,10000");
  EXPECT_TRUE(s.hasRange && s.hasPosition);
  EXPECT_EQ(s.maximum, 32760);
  EXPECT_EQ(s.position, 10000);
  const SPINLIMITS r = ParseSpinText("7,9");
  EXPECT_TRUE(r.hasRange);
  EXPECT_FALSE(r.hasPosition);
}
