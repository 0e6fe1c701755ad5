#include <gtest/gtest.h>

#include <QGuiApplication>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <tuple>
#include <string>
#include <vector>

#include "fake_tool_host.h"
#include "frame/blockset.h"
#include "frame/view.h"
#include "frame/settings.h"
#include "image/colourblend.h"
#include "test_images.h"
#include "tools/texttool.h"
#include "tools/toolsession.h"

namespace ochrel {
namespace {

// Characters need the font database.
class TextGuiEnvironment : public ::testing::Environment {
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
  char name_[16] = "tools_tests";
  char* argv_[2] = {name_, nullptr};
  QGuiApplication* app_ = nullptr;
};
const auto* const kTextGui = ::testing::AddGlobalTestEnvironment(new TextGuiEnvironment);

// A font whose letters advance 10, spaces 6, and whose lines are 20 high.
class FixedMetrics : public TextMetrics {
 public:
  int Advance(unsigned char c) override { return c == ' ' ? 6 : 10; }
  int Height() override { return 20; }
};

BLOCKSET Settings(int charSpace = 100, int lineSpace = 100, int just = 0) {
  BLOCKSET r;
  r.TextFontCharacterSpace = charSpace;
  r.TextFontLineSpace = lineSpace;
  r.TextFontJust = just;
  return r;
}

TextLayout Layout(const std::string& text, int width, const BLOCKSET& r, unsigned flags = 0, int caret = 0,
                  bool mask = false) {
  FixedMetrics m;
  TextLayout out;
  EXPECT_TRUE(LayoutText(text, caret, RECT{0, 0, width, 1000}, flags, &r, m, mask, &out));
  return out;
}

// ---- Layout ---------------------------------------------------------------------------------

TEST(TextLayoutTest, CharacterSpacingScalesEveryAdvanceSpacesToo) {
  FixedMetrics m;
  for (auto [percent, letter, space] : {std::tuple{50, 5, 3}, {100, 10, 6}, {200, 20, 12}}) {
    BLOCKSET r = Settings(percent);
    TextLayout l = Layout("ab cd", 1000, r);
    ASSERT_EQ(l.words.size(), 2u);
    EXPECT_EQ(l.words[0].wordWidth, 2 * letter) << percent;
    EXPECT_EQ(l.words[0].spaceWidth, space) << percent;
    EXPECT_EQ(l.words[0].length, 3);
    EXPECT_EQ(l.words[1].offset, 3);
    EXPECT_TRUE(l.words[1].endOfText);
    ASSERT_EQ(l.characters.size(), 5u);
    EXPECT_EQ(l.characters[3].x, 2 * letter + space) << percent;
    EXPECT_EQ(TextLineExtent("ab cd", &r, m).cx, 4 * letter + space);
  }
  // Out-of-range settings are held within 50 and 200.
  BLOCKSET wild = Settings(1000, 10);
  EXPECT_EQ(TextLineExtent("a", &wild, m).cx, 20);
  EXPECT_EQ(TextLineExtent("a", &wild, m).cy, 10);
}

TEST(TextLayoutTest, LineSpacingSetsLinePitchAndMeasuredHeight) {
  for (auto [percent, pitch] : {std::pair{50, 10}, {100, 20}, {150, 30}, {200, 40}}) {
    BLOCKSET r = Settings(100, percent);
    TextLayout l = Layout("a\rb\rc", 1000, r);
    EXPECT_EQ(l.lines, 3);
    ASSERT_EQ(l.characters.size(), 3u);
    EXPECT_EQ(l.characters[1].y, pitch);
    EXPECT_EQ(l.characters[2].y, 2 * pitch);
    EXPECT_EQ(l.characters[2].x, 0);
    TextLayout measured = Layout("a\rb\rc", 1000, r, TEXT_MEASURE);
    EXPECT_TRUE(measured.characters.empty());
    EXPECT_EQ(measured.rect.bottom, 3 * pitch);
  }
}

TEST(TextLayoutTest, JustificationOffsetsPreviewAndMaskDifferByOnePixel) {
  BLOCKSET r = Settings();
  // "ab" is 20 wide in a line of 100.
  EXPECT_EQ(Layout("ab", 100, r, 0).characters[0].x, 0);
  EXPECT_EQ(Layout("ab", 100, r, TEXT_CENTRE).characters[0].x, 40);
  EXPECT_EQ(Layout("ab", 101, r, TEXT_CENTRE).characters[0].x, 40);  // halves truncate
  EXPECT_EQ(Layout("ab", 100, r, TEXT_RIGHT, 0, false).characters[0].x, 78);
  EXPECT_EQ(Layout("ab", 100, r, TEXT_RIGHT, 0, true).characters[0].x, 79);
  // Each line has its own start.
  TextLayout two = Layout("abcd\rab", 100, r, TEXT_RIGHT, 0, true);
  ASSERT_EQ(two.characters.size(), 6u);
  EXPECT_EQ(two.characters[0].x, 59);
  EXPECT_EQ(two.characters[4].x, 79);
  EXPECT_EQ(JustificationFlags(&r), 0u);
  r.TextFontJust = 1;
  EXPECT_EQ(JustificationFlags(&r), TEXT_CENTRE);
  r.TextFontJust = 7;
  EXPECT_EQ(JustificationFlags(&r), TEXT_RIGHT);
}

TEST(TextLayoutTest, WordsWrapWholeAndLongWordsBreakAtTheCharacterThatDoesNotFit) {
  BLOCKSET r = Settings();
  // "aaaa " is 46, "bbbb" 40: together over 60, so bbbb starts line two.
  TextLayout l = Layout("aaaa bbbb", 60, r);
  EXPECT_EQ(l.lines, 2);
  ASSERT_EQ(l.characters.size(), 9u);
  EXPECT_EQ(l.characters[5].x, 0);
  EXPECT_EQ(l.characters[5].y, 20);
  EXPECT_TRUE(l.words[0].lineBreak);
  // Eight letters in 35: pieces of three, three and two.
  TextLayout longWord = Layout("abcdefgh", 35, r);
  EXPECT_EQ(longWord.lines, 3);
  ASSERT_EQ(longWord.words.size(), 3u);
  EXPECT_EQ(longWord.words[0].length, 3);
  EXPECT_EQ(longWord.words[1].offset, 3);
  EXPECT_EQ(longWord.characters[3].x, 0);
  EXPECT_EQ(longWord.characters[3].y, 20);
  EXPECT_EQ(longWord.characters[6].y, 40);
  // A box narrower than one character still ends, one character a line.
  TextLayout narrow = Layout("abc", 3, r);
  EXPECT_EQ(narrow.lines, 3);
  // Two Enters give an empty line between.
  TextLayout blank = Layout("a\r\rb", 100, r);
  EXPECT_EQ(blank.lines, 3);
  EXPECT_EQ(blank.characters.back().y, 40);
}

TEST(TextLayoutTest, CaretSitsBehindItsCharacterOrAtTheNextLineStart) {
  BLOCKSET r = Settings();
  EXPECT_EQ(Layout("ab", 100, r, TEXT_CARET, 0).caret.left, 1);
  EXPECT_EQ(Layout("ab", 100, r, TEXT_CARET, 0).caret.right, 3);
  TextLayout behind = Layout("ab", 100, r, TEXT_CARET, 1);
  EXPECT_EQ(behind.caret.left, 10);
  EXPECT_EQ(behind.caret.right, 12);
  EXPECT_EQ(behind.caret.bottom - behind.caret.top, 20);
  // Behind an Enter the caret starts the next line.
  TextLayout afterEnter = Layout("ab\r", 100, r, TEXT_CARET, 3);
  EXPECT_EQ(afterEnter.lines, 2);
  EXPECT_EQ(afterEnter.caret.top, 20);
  EXPECT_EQ(afterEnter.caret.left, 1);
  EXPECT_EQ(afterEnter.caret.right, 4);
  TextLayout centred = Layout("ab\rcd", 100, r, TEXT_CARET | TEXT_CENTRE, 3);
  EXPECT_EQ(centred.caret.left, 49);
  TextLayout right = Layout("ab\rcd", 100, r, TEXT_CARET | TEXT_RIGHT, 3);
  EXPECT_EQ(right.caret.left, 98);
}

TEST(TextLayoutTest, WindowSizeFitsTheWidestLineAndWrapsInTheAvailableWidth) {
  BLOCKSET r = Settings();
  FixedMetrics m;
  TextSize empty = GetTextWindowSize("", nullptr, &r, m);
  EXPECT_EQ(empty.cx, 8);
  EXPECT_EQ(empty.cy, 22);
  TextSize two = GetTextWindowSize("abc\ra", nullptr, &r, m);
  EXPECT_EQ(two.cx, 32);
  EXPECT_EQ(two.cy, 42);
  RECT avail{0, 0, 60, 500};
  TextSize wrapped = GetTextWindowSize("aaaa bbbb", &avail, &r, m);
  EXPECT_EQ(wrapped.cx, 62);
  EXPECT_EQ(wrapped.cy, 2 * 20 + 2 + 2);
}

// ---- Edit step ------------------------------------------------------------------------------

// Keys move the caret within the text; characters go in at the caret (Enter and
// line feed as one return), backspace takes the one before; other control codes
// and the Delete key do nothing; a caret out of range is brought back first.
TEST(TextEditTest, KeysAndCharactersAtTheCaret) {
  struct Case {
    std::string text;
    int caret, code;
    bool isKey, changed;
    std::string after;
    int caretAfter;
  } cases[] = {
      {"abc", 3, KEY_RIGHT, true, false, "abc", 3}, {"abc", 3, KEY_LEFT, true, true, "abc", 2},
      {"abc", 2, KEY_HOME, true, true, "abc", 0},   {"abc", 0, KEY_LEFT, true, false, "abc", 0},
      {"abc", 0, KEY_END, true, true, "abc", 3},    {"abc", 3, 0x2E, true, false, "abc", 3},
      {"Hi", 2, 13, false, true, "Hi\r", 3},        {"Hi\r", 3, 10, false, true, "Hi\r\r", 4},
      {"x", 1, 9, false, false, "x", 1},            {"x", 1, 27, false, false, "x", 1},
      {"Hi\r", 1, '-', false, true, "H-i\r", 2},    {"H-i", 2, 8, false, true, "Hi", 1},
      {"abc", 0, 8, false, false, "abc", 0},        {"i", 99, '!', false, true, "i!", 2},
  };
  for (Case c : cases) {
    SCOPED_TRACE(c.text + " " + std::to_string(c.code));
    EXPECT_EQ(AddCharacterToText(&c.text, &c.caret, c.code, c.isKey), c.changed);
    EXPECT_EQ(c.text, c.after);
    EXPECT_EQ(c.caret, c.caretAfter);
  }
}

// ---- The session and the commit -------------------------------------------------------------

class TextSessionTest : public test::ToolTest {
 protected:
  void Make(int type, COLORREF paper) {
    Open(120, 80, type, paper);
    BLOCKSET& record = d->record;
    record.Opacity = 255;
    record.Antialias = 1;
    record.SolidFillMode = 0;
    record.FillType = 0;
    record.ShadowActive = 0;
    record.GridActive = 0;
    record.FillColour = RGB(0, 0, 0);
    record.TextFontSize = 24;
    record.TextFontCharacterSpace = 100;
    record.TextFontLineSpace = 100;
    record.TextFontJust = 0;
    CurrentTool() = TOOL_TEXT;
  }
  void SetUp() override { Make(0, RGB(255, 255, 255)); }
  // Puts the box back on an image point at 100 percent.
  void PlaceBack(TextTool* t, int x, int y) {
    t->PlaceAt(POINT{x, y});
  }
  TextTool* Press(int x, int y) {
    d->tools.MouseEvent(WM_LBUTTONDOWN, x, y, MK_LBUTTON);
    MessageQueue::Instance().Drain();
    d->tools.MouseEvent(WM_LBUTTONUP, x, y, 0);
    MessageQueue::Instance().Drain();
    return dynamic_cast<TextTool*>(d->tools.session());
  }
  void Type(const std::string& s) {
    for (char c : s) d->tools.KeyEvent(WM_CHAR, static_cast<unsigned char>(c));
  }
  // The box of pixels that differ from the undo image.
  RECT Changed() {
    const BITMAPINFOHEADER* a = LockDib(d->record.Image);
    const BITMAPINFOHEADER* b = LockDib(d->record.UndoImage);
    RECT box{1 << 20, 1 << 20, -1, -1};
    for (int y = 0; y < a->biHeight; ++y)
      for (int x = 0; x < a->biWidth; ++x)
        if (GetDibPixel(a, x, y) != GetDibPixel(b, x, y)) {
          box.left = std::min<int>(box.left, x);
          box.top = std::min<int>(box.top, y);
          box.right = std::max<int>(box.right, x + 1);
          box.bottom = std::max<int>(box.bottom, y + 1);
        }
    return box;
  }
};

TEST_F(TextSessionTest, TypedTextCommitsInsideItsBoxWithOneLevelOfUndo) {
  HDIB before = CropImage(d->record.Image, RECT{0, 0, 120, 80});
  TextTool* t = Press(20, 10);
  ASSERT_NE(t, nullptr);
  EXPECT_FALSE(d->host.captured);
  Type("Hi");
  EXPECT_EQ(t->Text(), "Hi");
  const RECT box = t->window;
  EXPECT_EQ(box.left, 20);
  EXPECT_GT(box.right - box.left, 10);
  d->tools.DestroyToolParam();
  const RECT c = Changed();
  ASSERT_GE(c.right, 0) << "nothing drawn";
  EXPECT_GE(c.left, box.left);
  EXPECT_GE(c.top, box.top);
  EXPECT_LE(c.right, box.right);
  EXPECT_LE(c.bottom, box.bottom);
  // Black text on white: the darkest pixel is black.
  bool black = false;
  for (int y = c.top; y < c.bottom; ++y)
    for (int x = c.left; x < c.right; ++x) black |= GetDibPixel(LockDib(d->record.Image), x, y) == 0;
  EXPECT_TRUE(black);
  ASSERT_TRUE(DoUndo(&d->record));
  EXPECT_TRUE(test::SameBlock(before, d->record.Image));
}

TEST_F(TextSessionTest, EmptyTextCommitsNothing) {
  HDIB before = CropImage(d->record.Image, RECT{0, 0, 120, 80});
  Press(10, 10);
  d->tools.KeyEvent(WM_CHAR, 'a');
  d->tools.KeyEvent(WM_CHAR, 8);
  d->tools.DestroyToolParam();
  EXPECT_TRUE(test::SameBlock(before, d->record.Image));
}

TEST_F(TextSessionTest, DragMovesTheBoxAndCtrlArrowsNudgeIt) {
  CurrentTool() = TOOL_TEXT;
  d->tools.MouseEvent(WM_LBUTTONDOWN, 10, 10, MK_LBUTTON);
  MessageQueue::Instance().Drain();
  EXPECT_TRUE(d->host.captured);
  d->tools.MouseEvent(WM_MOUSEMOVE, 25, 17, MK_LBUTTON);
  d->tools.MouseEvent(WM_LBUTTONUP, 25, 17, 0);
  auto* t = dynamic_cast<TextTool*>(d->tools.session());
  ASSERT_NE(t, nullptr);
  EXPECT_EQ(t->window.left, 25);
  EXPECT_EQ(t->window.top, 17);
  EXPECT_EQ(t->ImagePlace().x, 25);
  d->host.ctrl = true;
  d->tools.KeyEvent(WM_KEYDOWN, KEY_RIGHT);
  d->tools.KeyEvent(WM_KEYDOWN, KEY_UP);
  EXPECT_EQ(t->window.left, 26);
  EXPECT_EQ(t->window.top, 16);
  EXPECT_EQ(t->ImagePlace().y, 16);
  // The step follows the nudge size and the zoom: 3 image pixels at 200 percent.
  const int oldNudge = NudgeSize;
  NudgeSize = 3;
  d->record.ViewMode = 6;
  d->tools.KeyEvent(WM_KEYDOWN, KEY_LEFT);
  EXPECT_EQ(t->window.left, 20);
  EXPECT_EQ(t->ImagePlace().x, 10);
  NudgeSize = oldNudge;
  d->record.ViewMode = 5;
  d->host.ctrl = false;
  PlaceBack(t, 26, 16);
  // Without a button the status tells the mouse point, the box and its size.
  d->tools.MouseEvent(WM_MOUSEMOVE, t->window.left + 2, t->window.top + 3, 0);
  const int w = t->window.right - t->window.left, h = t->window.bottom - t->window.top;
  char expect[128];
  std::snprintf(expect, sizeof expect, "(28,19) - (26,16) - (%d,%d) [ %d,%d ]", 26 + w, 16 + h, w, h);
  EXPECT_EQ(d->host.status, expect);
  // The image is untouched until the commit.
  EXPECT_LT(Changed().right, 0);
  Type("ab");
  d->tools.KeyEvent(WM_KEYDOWN, KEY_LEFT);
  EXPECT_EQ(t->Caret(), 1);
}

TEST_F(TextSessionTest, OpacityScalesTheCoverage) {
  d->record.Antialias = 0;
  d->record.Opacity = 128;
  Press(10, 10);
  Type("W");
  d->tools.DestroyToolParam();
  const RECT c = Changed();
  ASSERT_GE(c.right, 0);
  // Hard edges at half opacity: black over white blends to one grey level.
  const int expect = BlendChannel(255, 0, 128);
  for (int y = c.top; y < c.bottom; ++y)
    for (int x = c.left; x < c.right; ++x) {
      const std::uint32_t p = GetDibPixel(LockDib(d->record.Image), x, y);
      if (p != RGB(255, 255, 255)) EXPECT_EQ(p & 0xFFFFFF, RGB(expect, expect, expect)) << x << "," << y;
    }
}

TEST_F(TextSessionTest, PalettedImagesGetHardEdges) {
  Make(2, RGB(255, 255, 255));
  d->record.Antialias = 1;
  const BITMAPINFOHEADER* h = LockDib(d->record.Image);
  const BYTE paper = static_cast<BYTE>(GetDibPixel(h, 0, 0));
  d->record.FillColour = paper == 0 ? 1 : 0;  // an index
  Press(10, 10);
  Type("Os");
  d->tools.DestroyToolParam();
  ASSERT_GE(Changed().right, 0);
  const BITMAPINFOHEADER* img = LockDib(d->record.Image);
  for (int y = 0; y < img->biHeight; ++y)
    for (int x = 0; x < img->biWidth; ++x) {
      const std::uint32_t p = GetDibPixel(img, x, y);
      EXPECT_TRUE(p == paper || p == d->record.FillColour) << x << "," << y << " " << p;
    }
}

TEST_F(TextSessionTest, ShadowLiesBelowTheTextOnlyAtFullOpacity) {
  d->record.Antialias = 0;
  d->record.ShadowActive = 1;
  d->record.Shadow.ShadowOpacity = 255;
  d->record.Shadow.ShadowType = 2;
  d->record.Shadow.ShadowColor = RGB(0, 0, 0);
  d->record.Shadow.ShadowDirection = 7;  // down and right
  d->record.Shadow.ShadowOffset = 3;
  d->record.Shadow.ShadowSoft = 5;
  d->record.FillColour = RGB(255, 0, 0);
  HDIB plain;
  {
    // The same text without a shadow, for comparison.
    d->record.ShadowActive = 0;
    ASSERT_EQ(InsetText(&d->record, RECT{9, 9, 60, 40}, "T"), 1);
    plain = CropImage(d->record.Image, RECT{0, 0, 120, 80});
    d->record.Image = CreateNewImage(NEWFILEPARAM{120, 80, 0, RGB(255, 255, 255)});
    d->record.ShadowActive = 1;
  }
  ASSERT_EQ(InsetText(&d->record, RECT{9, 9, 60, 40}, "T"), 1);
  // Every red pixel of the plain text is red here too (the text lies on top),
  // and the shadow adds pixels that are neither red nor white.
  const BITMAPINFOHEADER* a = LockDib(plain);
  const BITMAPINFOHEADER* b = LockDib(d->record.Image);
  int shadowPixels = 0;
  for (int y = 0; y < 80; ++y)
    for (int x = 0; x < 120; ++x) {
      const std::uint32_t pa = GetDibPixel(a, x, y) & 0xFFFFFF, pb = GetDibPixel(b, x, y) & 0xFFFFFF;
      if (pa == RGB(255, 0, 0)) EXPECT_EQ(pb, RGB(255, 0, 0)) << x << "," << y;
      else shadowPixels += pb != RGB(255, 255, 255) && pb != RGB(255, 0, 0);
    }
  EXPECT_GT(shadowPixels, 0);
  // Below full opacity there is no shadow at all.
  d->record.Image = CreateNewImage(NEWFILEPARAM{120, 80, 0, RGB(255, 255, 255)});
  d->record.Opacity = 254;
  ASSERT_EQ(InsetText(&d->record, RECT{9, 9, 60, 40}, "T"), 1);
  int notText = 0;
  for (int y = 0; y < 80; ++y)
    for (int x = 0; x < 120; ++x) {
      const std::uint32_t pa = GetDibPixel(a, x, y) & 0xFFFFFF, pb = GetDibPixel(LockDib(d->record.Image), x, y) & 0xFFFFFF;
      notText += pa == RGB(255, 255, 255) && pb != RGB(255, 255, 255);
    }
  EXPECT_EQ(notText, 0);
}

TEST(TextInsetTest, HostileRectanglesFailCleanly) {
  BLOCKSET r;
  EXPECT_EQ(InsetText(&r, RECT{0, 0, 10, 10}, "a"), 0);  // no image
  r.Image = CreateNewImage(NEWFILEPARAM{10, 10, 0, RGB(255, 255, 255)});
  EXPECT_EQ(InsetText(&r, RECT{0, 0, 0, 10}, "a"), 0);
  EXPECT_EQ(InsetText(&r, RECT{0, 0, 1 << 30, 10}, "a"), 0);
  RECT changed{};
  EXPECT_EQ(InsetText(&r, RECT{-500, -500, -400, -450}, "abc", &changed), 1);  // all outside the image
  EXPECT_EQ(changed.right - changed.left, 0);
}

}  // namespace
}  // namespace ochrel
