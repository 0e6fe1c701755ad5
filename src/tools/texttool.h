// The text tool: a press opens a text box that can be dragged at once; the
// user types into it, and when the session ends the text becomes pixels,
// committed like a shape (shadow below, fill source or fill colour on top).
//
// Characters are laid out one by one, each with its own advance scaled by the
// character spacing, so that the box, the caret and the commit agree.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "tools/toolsession.h"

namespace ochrel {

// Layout flags.
inline constexpr unsigned TEXT_CENTRE = 1;
inline constexpr unsigned TEXT_RIGHT = 2;
inline constexpr unsigned TEXT_CARET = 0x100;
inline constexpr unsigned TEXT_MEASURE = 0x400;

// Key codes of the edit step and the nudge.
inline constexpr int KEY_END = 0x23, KEY_HOME = 0x24, KEY_LEFT = 0x25, KEY_UP = 0x26, KEY_RIGHT = 0x27, KEY_DOWN = 0x28;

// What the layout needs to know about the font: the raw advance of one byte of
// text and the height of a line (both before the spacing percentages).
class TextMetrics {
 public:
  virtual ~TextMetrics() = default;
  virtual int Advance(unsigned char c) = 0;
  virtual int Height() = 0;
};

// The metrics of the record's text settings, through the rendering back end
// (each character measured once). Without fonts every advance and the height are 0.
class FontMetrics : public TextMetrics {
 public:
  explicit FontMetrics(const BLOCKSET* record);
  int Advance(unsigned char c) override;
  int Height() override;

 private:
  void Measure(unsigned char c);
  const BLOCKSET* record_;
  int advance_[256];
  bool known_[256] = {};
  int height_ = 0;
};

// One word of a layout and the spaces behind it.
struct TextWord {
  int offset = 0;  // index of its first character
  int length = 0;  // characters of the word and its spaces (a line's 13 not counted)
  int wordWidth = 0;
  int spaceWidth = 0;
  bool lineBreak = false;
  bool endOfText = false;
};

// A character placed by the layout, relative to the layout rectangle's corner.
struct PlacedCharacter {
  int index = 0;
  int x = 0, y = 0;
  int advance = 0;
};

struct TextSize {
  int cx = 0, cy = 0;
};

struct TextLayout {
  std::vector<TextWord> words;
  std::vector<PlacedCharacter> characters;  // empty when measuring only
  int lines = 0;
  int lineHeight = 0;
  RECT caret{};  // with TEXT_CARET: the caret's rectangle
  RECT rect{};   // with TEXT_MEASURE: bottom = top + lines * line height
};

// The spacing percentages of the record, kept within 50 to 200.
int CharacterSpacePercent(const BLOCKSET* record);
int LineSpacePercent(const BLOCKSET* record);
// Justification flags of the record's TextFontJust (0 left, 1 centre, else right).
unsigned JustificationFlags(const BLOCKSET* record);

// The layout of `text` in rect's width. `finalMask` picks the mask's start of
// right-justified lines (one pixel further right than the preview's). Returns
// false when no memory is at hand.
bool LayoutText(const std::string& text, int caret, const RECT& rect, unsigned flags, const BLOCKSET* record,
                TextMetrics& metrics, bool finalMask, TextLayout* out);

// The width of one unwrapped line and its height.
TextSize TextLineExtent(const std::string& line, const BLOCKSET* record, TextMetrics& metrics);
// The size the text needs; with `available` (non-empty) it wraps in that width.
TextSize GetTextWindowSize(const std::string& text, const RECT* available, const BLOCKSET* record,
                           TextMetrics& metrics);

// The edit step: a key (End, Home, Left, Right) or a character code. Returns
// true when the text or the caret changed.
bool AddCharacterToText(std::string* text, int* caret, int code, bool isKey);

// The commit: the text laid into the record's image with its top-left one
// pixel up and left of the image point (rect.left + 1, rect.top + 1). Non-zero
// on success; `changed` gets the image area touched.
int InsetText(BLOCKSET* record, const RECT& rect, const std::string& text, RECT* changed = nullptr);

class TextTool : public ToolSession {
 public:
  TextTool() : ToolSession(TOOL_TEXT) {}
  void OnCreate(int x, int y) override;
  void OnRefresh(unsigned flags) override;
  void OnLButtonDown(int x, int y, unsigned keys) override;
  void OnMouseMove(int x, int y, unsigned keys) override;
  void OnLButtonUp(int x, int y, unsigned keys) override;
  void OnKeyDown(int key) override;
  void OnChar(int character) override;
  void OnMessage(int message, std::int64_t wParam, std::int64_t lParam) override;
  void Commit() override;
  bool ChangesImage() const override { return committed_; }

  const std::string& Text() const { return text_; }
  void SetText(const std::string& text);
  // The window fits the text, from its image place.
  void SetTextEditWindowSize();
  // Puts the box on an image point and fits the window to it.
  void PlaceAt(POINT image) {
    imageX_ = image.x;
    imageY_ = image.y;
    SetTextEditWindowSize();
  }
  POINT ImagePlace() const { return POINT{imageX_, imageY_}; }
  int Caret() const { return caret_; }
  // The preview's layout in the window (its caret in view coordinates).
  bool PreviewLayout(TextLayout* out);
  // The preview: the image under the box with the text in the fill colour,
  // the caret inverted and a dotted frame round it.
  HDIB Overlay(POINT* imagePlace) override;

 private:
  void PlaceWindow(int viewX, int viewY);
  void Redraw();
  int caret_ = 0;  // index into the text
  // The window's image point, the scroll and window place of the last
  // placing, the press and last points, and whether a drag moved it.
  int imageX_ = 0, imageY_ = 0, scrollX_ = 0, scrollY_ = 0, windowX_ = 0, windowY_ = 0;
  int pressX_ = 0, pressY_ = 0, lastX_ = 0, lastY_ = 0;
  int moved_ = 0;
  std::string text_;
  bool committed_ = false;
};

}  // namespace ochrel
