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

// Where a character (at >= 0) or the caret (at < 0: left, top and right) lands,
// and the line count, with spacing, justification, wrapping and returns.
TEST(TextLayoutTest, CharactersAndCaretLandWhereSpacingJustificationAndWrapPut) {
  struct Case {
    const char* text;
    int width, charSpace, lineSpace;
    unsigned flags;
    int caret;
    bool mask;
    int at, x, y, right, lines;
  } cases[] = {
      // Character spacing scales letters and spaces alike: "ab " then 'c'.
      {"ab cd", 1000, 50, 100, 0, 0, false, 3, 13, 0, 0, 1},
      {"ab cd", 1000, 100, 100, 0, 0, false, 3, 26, 0, 0, 1},
      {"ab cd", 1000, 200, 100, 0, 0, false, 3, 52, 0, 0, 1},
      // Line spacing sets the pitch.
      {"a\rb\rc", 1000, 100, 50, 0, 0, false, 2, 0, 20, 0, 3},
      {"a\rb\rc", 1000, 100, 100, 0, 0, false, 2, 0, 40, 0, 3},
      {"a\rb\rc", 1000, 100, 150, 0, 0, false, 2, 0, 60, 0, 3},
      {"a\rb\rc", 1000, 100, 200, 0, 0, false, 1, 0, 40, 0, 3},
      // "ab" is 20 wide; halves truncate; the mask lies one pixel right of the preview.
      {"ab", 100, 100, 100, 0, 0, false, 0, 0, 0, 0, 1},
      {"ab", 100, 100, 100, TEXT_CENTRE, 0, false, 0, 40, 0, 0, 1},
      {"ab", 101, 100, 100, TEXT_CENTRE, 0, false, 0, 40, 0, 0, 1},
      {"ab", 100, 100, 100, TEXT_RIGHT, 0, false, 0, 78, 0, 0, 1},
      {"ab", 100, 100, 100, TEXT_RIGHT, 0, true, 0, 79, 0, 0, 1},
      {"abcd\rab", 100, 100, 100, TEXT_RIGHT, 0, true, 0, 59, 0, 0, 2},
      {"abcd\rab", 100, 100, 100, TEXT_RIGHT, 0, true, 4, 79, 20, 0, 2},
      // "aaaa " is 46, "bbbb" 40: over 60 together, bbbb starts line two.
      {"aaaa bbbb", 60, 100, 100, 0, 0, false, 5, 0, 20, 0, 2},
      // Eight letters in 35 break in pieces of three, three and two.
      {"abcdefgh", 35, 100, 100, 0, 0, false, 3, 0, 20, 0, 3},
      {"abcdefgh", 35, 100, 100, 0, 0, false, 6, 0, 40, 0, 3},
      // Narrower than one character: one a line, and it still ends.
      {"abc", 3, 100, 100, 0, 0, false, 2, 0, 40, 0, 3},
      // Two returns leave an empty line between.
      {"a\r\rb", 100, 100, 100, 0, 0, false, 1, 0, 40, 0, 3},
      // The caret sits behind its character, or after a return at the next line's start.
      {"ab", 100, 100, 100, TEXT_CARET, 0, false, -1, 1, 0, 3, 1},
      {"ab", 100, 100, 100, TEXT_CARET, 1, false, -1, 10, 0, 12, 1},
      {"ab\r", 100, 100, 100, TEXT_CARET, 3, false, -1, 1, 20, 4, 2},
      {"ab\rcd", 100, 100, 100, TEXT_CARET | TEXT_CENTRE, 3, false, -1, 49, 20, 52, 2},
      {"ab\rcd", 100, 100, 100, TEXT_CARET | TEXT_RIGHT, 3, false, -1, 98, 20, 101, 2},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(std::string(c.text) + " width " + std::to_string(c.width) + " at " + std::to_string(c.at));
    const BLOCKSET r = Settings(c.charSpace, c.lineSpace);
    const TextLayout l = Layout(c.text, c.width, r, c.flags, c.caret, c.mask);
    EXPECT_EQ(l.lines, c.lines);
    if (c.at >= 0) {
      ASSERT_LT(c.at, static_cast<int>(l.characters.size()));
      EXPECT_EQ(l.characters[c.at].x, c.x);
      EXPECT_EQ(l.characters[c.at].y, c.y);
    } else {
      EXPECT_EQ(l.caret.left, c.x);
      EXPECT_EQ(l.caret.top, c.y);
      EXPECT_EQ(l.caret.right, c.right);
      EXPECT_EQ(l.caret.bottom - l.caret.top, 20);
    }
    // Measuring places nothing and gives the lines' height.
    const TextLayout measured = Layout(c.text, c.width, r, c.flags | TEXT_MEASURE, c.caret, c.mask);
    EXPECT_TRUE(measured.characters.empty());
    EXPECT_EQ(measured.rect.bottom, c.lines * 20 * c.lineSpace / 100);
  }
}

TEST(TextLayoutTest, WordsMeasuresAndSettingsHeldInRange) {
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
    EXPECT_EQ(l.characters.size(), 5u);
    EXPECT_EQ(TextLineExtent("ab cd", &r, m).cx, 4 * letter + space);
  }
  BLOCKSET r = Settings();
  // Out-of-range settings are held within 50 and 200.
  BLOCKSET wild = Settings(1000, 10);
  EXPECT_EQ(TextLineExtent("a", &wild, m).cx, 20);
  EXPECT_EQ(TextLineExtent("a", &wild, m).cy, 10);
  for (auto [just, flags] : {std::pair{0, 0u}, {1, TEXT_CENTRE}, {7, TEXT_RIGHT}}) {
    r.TextFontJust = just;
    EXPECT_EQ(JustificationFlags(&r), flags) << just;
  }
  // The window fits the widest line, and wraps in the width available.
  r.TextFontJust = 0;
  RECT avail{0, 0, 60, 500};
  for (auto [text, within, cx, cy] :
       {std::tuple{"", (RECT*)nullptr, 8, 22}, {"abc\ra", nullptr, 32, 42}, {"aaaa bbbb", &avail, 62, 44}}) {
    const TextSize s = GetTextWindowSize(text, within, &r, m);
    EXPECT_EQ(s.cx, cx) << text;
    EXPECT_EQ(s.cy, cy) << text;
  }
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
      {"abc", 3, KEY_RIGHT, true, false, "abc", 3},
      {"abc", 3, KEY_LEFT, true, true, "abc", 2},
      {"abc", 2, KEY_HOME, true, true, "abc", 0},
      {"abc", 0, KEY_LEFT, true, false, "abc", 0},
      {"abc", 0, KEY_END, true, true, "abc", 3},
      {"abc", 3, 0x2E, true, false, "abc", 3},
      {"Hi", 2, 13, false, true, "Hi\r", 3},
      {"Hi\r", 3, 10, false, true, "Hi\r\r", 4},
      {"x", 1, 9, false, false, "x", 1},
      {"x", 1, 27, false, false, "x", 1},
      {"Hi\r", 1, '-', false, true, "H-i\r", 2},
      {"H-i", 2, 8, false, true, "Hi", 1},
      {"abc", 0, 8, false, false, "abc", 0},
      {"i", 99, '!', false, true, "i!", 2},
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
  // Types `s` at (10, 10), commits it and gives the image's digest.
  std::uint64_t Commit(const std::string& s) {
    Press(10, 10);
    Type(s);
    d->tools.DestroyToolParam();
    return test::Digest(d->record.Image);
  }
};

// The digests were recorded from output checked pixel by pixel: black text on
// white inside its box, one grey at half opacity with hard edges, only the
// paper and paint indices on a paletted image.
TEST_F(TextSessionTest, TypedTextCommitsWithOneLevelOfUndo) {
  const std::uint64_t blank = test::Digest(d->record.Image);
  TextTool* t = Press(20, 10);
  ASSERT_NE(t, nullptr);
  EXPECT_FALSE(d->host.captured);
  Type("Hi");
  EXPECT_EQ(t->Text(), "Hi");
  EXPECT_EQ(t->window.left, 20);
  EXPECT_GT(t->window.right - t->window.left, 10);
  d->tools.DestroyToolParam();
  EXPECT_EQ(test::Digest(d->record.Image), 0x44861cc522082c82u);
  ASSERT_TRUE(DoUndo(&d->record));
  EXPECT_EQ(test::Digest(d->record.Image), blank);
  // Typed and taken back: nothing.
  EXPECT_EQ(Commit(std::string("a") + char(8)), blank);
  d->record.Antialias = 0;
  d->record.Opacity = 128;
  EXPECT_EQ(Commit("W"), 0x97f0daa671011e1au);
  Make(2, RGB(255, 255, 255));
  d->record.FillColour = 1;  // an index
  EXPECT_EQ(Commit("Os"), 0x923245464a4540d3u);
}

TEST_F(TextSessionTest, DragMovesTheBoxAndCtrlArrowsNudgeIt) {
  const std::uint64_t blank = test::Digest(d->record.Image);
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
  t->PlaceAt(POINT{26, 16});
  // Without a button the status tells the mouse point, the box and its size.
  d->tools.MouseEvent(WM_MOUSEMOVE, t->window.left + 2, t->window.top + 3, 0);
  const int w = t->window.right - t->window.left, h = t->window.bottom - t->window.top;
  char expect[128];
  std::snprintf(expect, sizeof expect, "(28,19) - (26,16) - (%d,%d) [ %d,%d ]", 26 + w, 16 + h, w, h);
  EXPECT_EQ(d->host.status, expect);
  EXPECT_EQ(test::Digest(d->record.Image), blank);  // untouched until the commit
  Type("ab");
  d->tools.KeyEvent(WM_KEYDOWN, KEY_LEFT);
  EXPECT_EQ(t->Caret(), 1);
}

// The shadow lies under the text, and only at full opacity.
TEST_F(TextSessionTest, ShadowOnlyAtFullOpacity) {
  d->record.Antialias = 0;
  d->record.Shadow.ShadowOpacity = 255;
  d->record.Shadow.ShadowType = 2;
  d->record.Shadow.ShadowColor = RGB(0, 0, 0);
  d->record.Shadow.ShadowDirection = 7;  // down and right
  d->record.Shadow.ShadowOffset = 3;
  d->record.Shadow.ShadowSoft = 5;
  d->record.FillColour = RGB(255, 0, 0);
  auto inset = [&](int shadow, int opacity) {
    d->record.Image = CreateNewImage(NEWFILEPARAM{120, 80, 0, RGB(255, 255, 255)});
    d->record.ShadowActive = shadow;
    d->record.Opacity = opacity;
    EXPECT_EQ(InsetText(&d->record, RECT{9, 9, 60, 40}, "T"), 1);
    return test::Digest(d->record.Image);
  };
  const std::uint64_t plain = inset(0, 254);
  EXPECT_EQ(inset(1, 254), plain);
  EXPECT_EQ(inset(1, 255), 0x111d1214ca1dccf0u);
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
