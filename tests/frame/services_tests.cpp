// The frame layer's own rules, without widgets: where the sticky windows go,
// the text helpers, when Save needs a name, the record's colours and the
// string table.
#include <gtest/gtest.h>

#include <vector>

#include "frame/blockset.h"
#include "frame/services.h"
#include "frame/strings.h"
#include "frame/settings.h"

namespace ochrel {
namespace {

TEST(FrameServices, StickyPlacementTextHelpersAndSaveAsRule) {
  StickyWindowLeft = StickyWindowTop = StickyWindowRight = StickyWindowBottom = -1;
  RECT r;
  EXPECT_FALSE(SetStickyWindows(1280, 1024, &r));
  GetStickyWindows(RECT{-50, -20, 2000, 900}, false, 1280, 1024);
  EXPECT_EQ(std::vector<int>({StickyWindowLeft, StickyWindowTop, StickyWindowRight, StickyWindowBottom}),
            std::vector<int>({0, 0, 1280, 900}));
  GetStickyWindows(RECT{1, 1, 2, 2}, true, 1280, 1024);  // zoomed: nothing stored
  EXPECT_EQ(StickyWindowLeft, 0);
  // Partly off screen: at most screen width - 620 to the right, at least 620 wide.
  StickyWindowLeft = 1000, StickyWindowTop = 900, StickyWindowRight = 1100, StickyWindowBottom = 950;
  ASSERT_TRUE(SetStickyWindows(1280, 1024, &r));
  EXPECT_EQ(std::vector<int>({int(r.left), int(r.top), int(r.right - r.left), int(r.bottom - r.top)}),
            std::vector<int>({660, 564, 620, 460}));
  StickyWindowLeft = StickyWindowTop = StickyWindowRight = StickyWindowBottom = -1;

  EXPECT_EQ(formatlong(999), "999");
  EXPECT_EQ(formatlong(16777216), "16,777,216");
  EXPECT_EQ(formatlong(-1234567), "-1,234,567");
  EXPECT_EQ(CleanFileName("\"/tmp/a b/c.bmp\""), "/tmp/a b/c.bmp");
  EXPECT_EQ(CleanFileName(std::string(300, 'x')).size(), 260u);
  EXPECT_EQ(SubtractPath("/a/b/c.png"), "c.png");
  EXPECT_EQ(FolderOf("/a/b/c.png"), "/a/b/");

  BLOCKSET b;
  CreateNewFile(&b);
  b.HasFile = 1;
  b.FileName = "/x/untitledpicture7.png";
  EXPECT_TRUE(NeedsSaveAs(&b));
  b.FileName = "/x/photo.png";
  EXPECT_FALSE(NeedsSaveAs(&b));
  b.HasFile = 0;
  EXPECT_TRUE(NeedsSaveAs(&b));
}

TEST(FrameServices, RecordColoursFollowTheImage) {
  BLOCKSET r;
  CreateNewFile(&r);
  EXPECT_EQ(r.PaperColour, 0xFFFFFFu);
  EXPECT_EQ(r.FillColour, 0x808080u);
  // A paletted image: white paint becomes the nearest entry's index.
  r.Image = CreateNewImage(NEWFILEPARAM{4, 4, 2, 0});
  r.PaintColour = RGB(250, 250, 250);
  SetImageType(&r);
  AdjustToolColours(&r);
  EXPECT_EQ(r.PaintColour, 255u);
  EXPECT_EQ(GetPaintColour(&r), RGB(255, 255, 255));
  // A grey document: a texture fill falls back to solid, a gradient stays.
  BLOCKSET g;
  CreateNewFile(&g);
  g.Image = CreateNewImage(NEWFILEPARAM{4, 4, 1, 0});
  for (auto [fill, kept] : {std::pair{2, 0}, std::pair{1, 1}}) {
    g.FillType = fill;
    SetImageType(&g);
    EXPECT_EQ(g.FillType, kept);
  }
  g.PaintColour = 77;
  EXPECT_EQ(GetPaintColour(&g), RGB(77, 77, 77));
  // Mono whatever its two entries.
  BYTE pal[768] = {9, 9, 9, 200, 10, 10};
  r.Image = CreateDib(4, 4, pal, 1);
  SetImageType(&r);
  EXPECT_EQ(r.ImageType, IMAGE_MONO);
}

TEST(FrameStrings, EveryIdTheProgramUsesExists) {
  std::vector<int> ids = {120, 122, 224, 243, 247, 306, 307, 309, 322, 323, 332};
  for (int id = 0; id <= 15; ++id) ids.push_back(id);
  for (int id = 3900; id <= 3917; ++id) ids.push_back(id);
  for (int id : {50, 51, 52, 53, 54, 55, 57, 58, 62}) ids.push_back(1651 + id);  // the buttons' tips
  for (int id : ids) EXPECT_TRUE(HasString(id)) << id;
  EXPECT_STREQ(FetchString(6), "Memory error");
  EXPECT_STREQ(FetchString(99999), "String table error - this application may be damaged");
}

}  // namespace
}  // namespace ochrel
