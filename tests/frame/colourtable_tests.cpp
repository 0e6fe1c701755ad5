// The colour table file: the reader's line rules, the writer's format and
// its backup handling.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "frame/colourtable.h"
#include "frame/settings.h"
#include "temp_dir.h"

namespace ochrel {
namespace {

using test::Slurp;
using test::Spit;
using test::TempDir;

COLOURTABLEITEM Item(const std::string& name, COLORREF c) { return COLOURTABLEITEM{name, c}; }

TEST(ColourTable, LineRules) {
  // A space before '=' belongs to the name; byte 8 is skipped right after '='
  // only; runs of commas count as one; atol reads each number (only the first
  // '=' splits) and its low eight bits count.
  struct {
    const char* line;
    const char* name;  // nullptr: not an entry
    COLORREF colour;
  } cases[] = {{"Sky blue =  135, 206,   235", "Sky blue ", RGB(135, 206, 235)},
               {"a=\b\b 7,8,9", "a", RGB(7, 8, 9)},
               {"a=7,\b8,9", "a", RGB(7, 0, 9)},
               {"b=1,,,2,,3", "b", RGB(1, 2, 3)},
               {"c=10px,20;,30 and more", "c", RGB(10, 20, 30)},
               {"d=1=2,3,4", "d", RGB(1, 3, 4)},
               {"e=, ,", "e", RGB(0, 0, 0)},
               {"x=256,257,258", "x", RGB(0, 1, 2)},
               {"x=-1,511,1000", "x", RGB(255, 255, 1000 & 255)},
               {"x=99999999999999999999999,0,0", "x", RGB(255, 0, 0)},
               {"f=1,,,,2", nullptr, 0},
               {"=1,2,3", nullptr, 0},
               {"name 1,2,3", nullptr, 0},
               {"name=1,2", nullptr, 0},
               {"name=1 2 3", nullptr, 0},
               {"", nullptr, 0},
               {"name=", nullptr, 0},
               {",,=1,2", nullptr, 0},
               {"a,b,c=1", nullptr, 0}};
  for (auto c : cases) {
    COLOURTABLEITEM item{"keep", 42};
    EXPECT_EQ(ParseColourTableLine(c.line, &item), c.name != nullptr) << c.line;
    EXPECT_EQ(item, c.name ? Item(c.name, c.colour) : Item("keep", 42)) << c.line;
  }
}

TEST(ColourTable, FileTextRules) {
  const std::string n250(250, 'n');
  // 300 characters: the first 259 are one piece, the rest another, each parsed
  // on its own ("3ppp" reads as 3).
  std::string pieces = n250 + "=1,2,3" + "ppp" + "tail=10,20,30";
  pieces += std::string(300 - pieces.size(), ' ') + "\nAfter=4,5,6\n";
  struct {
    std::string text;
    ColourTable want;
  } cases[] = {
      // CRLF, a lone CR (the line ends there), a last line without a line feed,
      // junk between entries, and a duplicate kept in its place.
      {"Red=255,0,0\r\njunk\r\n\r\nHalf=1,2,3\rGone=4,5,6\nRed again=255,0,0\nLast=9,8,7",
       {Item("Red", RGB(255, 0, 0)), Item("Half", RGB(1, 2, 3)), Item("Red again", RGB(255, 0, 0)),
        Item("Last", RGB(9, 8, 7))}},
      {pieces, {Item(n250, RGB(1, 2, 3)), Item("tail", RGB(10, 20, 30)), Item("After", RGB(4, 5, 6))}},
      // A piece cut after "=1," is skipped, and so is its tail.
      {std::string(255, 'c') + "=1,2,3\n", {}},
      // 258 characters, a digit and the line feed: the line feed starts an empty piece.
      {std::string(252, 'e') + "=1,2,34\nNext=1,1,1\n",
       {Item(std::string(252, 'e'), RGB(1, 2, 34)), Item("Next", RGB(1, 1, 1))}},
      // A zero ends what the parser sees; endless commas and equals signs invent nothing.
      {"A=1,2,3\n" + std::string("B=4\0,5,6\n", 9) + std::string(100000, ',') + "\n" + std::string(5000, '=') +
           "\nC=7,8,9\n",
       {Item("A", RGB(1, 2, 3)), Item("C", RGB(7, 8, 9))}},
  };
  for (const auto& c : cases) EXPECT_EQ(ParseColourTable(c.text), c.want) << c.text.substr(0, 30);
  const ColourTable t = ParseColourTable(cases[0].text);
  EXPECT_EQ(FindTableColour(t, RGB(255, 0, 0)), 0);
  EXPECT_EQ(FindTableColour(t, RGB(9, 8, 7)), 3);
  EXPECT_EQ(FindTableColour(t, RGB(9, 8, 6)), -1);
}

TEST(ColourTable, FileRoundTripExactFormatAndBackupDeletion) {
  TempDir dir;
  const std::string file = dir / "TEST.CCL";
  ColourTable t = {Item("Black", 0), Item("Odd name with spaces ", RGB(1, 22, 255)), Item("Black", 0),
                   Item("X", RGB(128, 64, 32))};
  Spit(file + ".bak", "old backup");
  Spit(file, "Old=1,1,1\n");
  ASSERT_TRUE(SaveColourTable(file, t));
  EXPECT_FALSE(std::filesystem::exists(file + ".bak"));
  EXPECT_FALSE(std::filesystem::exists(file + ".new"));
  EXPECT_EQ(Slurp(file), "Black=0,0,0\nOdd name with spaces =1,22,255\nBlack=0,0,0\nX=128,64,32\n");
  ColourTable back = {Item("stale", 5)};
  ASSERT_TRUE(LoadColourTable(file, &back));
  ASSERT_EQ(back.size(), t.size());
  for (std::size_t k = 0; k < t.size(); ++k) EXPECT_EQ(back[k], t[k]) << k;
  // An empty table writes an empty file.
  ASSERT_TRUE(SaveColourTable(file, {}));
  EXPECT_EQ(Slurp(file), "");
}

TEST(ColourTable, MissingFileAndUnwritableFolder) {
  TempDir dir;
  ColourTable t = {Item("stale", 5)};
  EXPECT_FALSE(LoadColourTable(dir / "NONE.CCL", &t));
  EXPECT_TRUE(t.empty());
  // A folder that doesn't exist can't take the file; nothing is made.
  EXPECT_FALSE(SaveColourTable(dir / "no/such/folder/T.CCL", {Item("a", 1)}));
  EXPECT_FALSE(std::filesystem::exists(dir / "no"));
}

TEST(ColourTable, StockTableReadsAsAUsefulSet) {
  ColourTable t;
  ASSERT_TRUE(LoadColourTable(std::string(OCHREL_SOURCE_DIR) + "/data/OCHREL.CCL", &t));
  EXPECT_GE(t.size(), 30u);
  EXPECT_EQ(FindTableColour(t, RGB(0, 0, 0)), 0);
  EXPECT_GE(FindTableColour(t, RGB(255, 255, 255)), 0);
  for (const auto& item : t) EXPECT_GE(item.Name.size(), 3u) << "the add dialog asks for 3 characters";
  EXPECT_EQ(std::string(ColourTableFile), "OCHREL.CCL");
}

}  // namespace
}  // namespace ochrel
