#include "tools/texttool.h"

#include <algorithm>
#include <cstdio>
#include <new>

#include "frame/view.h"
#include "frame/settings.h"
#include "render/wrapper.h"
#include "tools/shapecomposite.h"

namespace ochrel {

namespace {

// One byte of the text as the one-character UTF-8 string the back end reads.
void ByteToUtf8(unsigned char c, char out[3]) {
  if (c < 0x80) {
    out[0] = static_cast<char>(c);
    out[1] = 0;
  } else {
    out[0] = static_cast<char>(0xC0 | (c >> 6));
    out[1] = static_cast<char>(0x80 | (c & 0x3F));
    out[2] = 0;
  }
}

void FontFields(WRAPPERBLOCK* b, const BLOCKSET* r) {
  b->Operation = WRAPPER_CHARACTER;
  b->Character.TextFontSize = r->TextFontSize;
  b->Character.TextFontBold = r->TextFontBold ? 700 : 0;
  b->Character.TextFontItal = r->TextFontItal;
  b->Character.TextFontUnder = r->TextFontUnder;
  b->Character.TextFontName = r->TextFontName.c_str();
}

int Clamp(int v) { return v < 50 ? 50 : v > 200 ? 200 : v; }

}  // namespace

FontMetrics::FontMetrics(const BLOCKSET* record) : record_(record) {}

void FontMetrics::Measure(unsigned char c) {
  WRAPPERBLOCK b;
  FontFields(&b, record_);
  char s[3];
  ByteToUtf8(c, s);
  b.Character.Character = s;
  b.Character.Mode = CHARACTER_MEASURE;
  WRAPPERRESULT res = OCHLWRPR_proc(&b);
  advance_[c] = res.Value ? b.Character.Advance : 0;
  if (res.Value && !height_) height_ = b.Character.LineHeight;
  known_[c] = true;
}

int FontMetrics::Advance(unsigned char c) {
  if (!known_[c]) Measure(c);
  return advance_[c];
}

int FontMetrics::Height() {
  if (!height_) Measure(' ');
  return height_;
}

int CharacterSpacePercent(const BLOCKSET* r) {
  return Clamp(r->TextFontCharacterSpace ? r->TextFontCharacterSpace : 100);
}
int LineSpacePercent(const BLOCKSET* r) { return Clamp(r->TextFontLineSpace ? r->TextFontLineSpace : 100); }
unsigned JustificationFlags(const BLOCKSET* r) {
  return r->TextFontJust == 0 ? 0u : r->TextFontJust == 1 ? TEXT_CENTRE : TEXT_RIGHT;
}

bool LayoutText(const std::string& text, int caret, const RECT& rect, unsigned flags, const BLOCKSET* r,
                TextMetrics& metrics, bool finalMask, TextLayout* out) {
  *out = TextLayout{};
  const int cs = CharacterSpacePercent(r);
  const int W = rect.right - rect.left;
  const int lineHeight = metrics.Height() * LineSpacePercent(r) / 100;
  out->lineHeight = lineHeight;
  auto advance = [&](std::size_t i) { return metrics.Advance(static_cast<unsigned char>(text[i])) * cs / 100; };
  const std::size_t n = text.size();
  try {
    // 1. Word records.
    std::size_t i = 0;
    for (;;) {
      TextWord w;
      w.offset = static_cast<int>(i);
      while (i < n && text[i] != ' ' && text[i] != '\r') {
        const int a = advance(i);
        // A piece always holds at least one character, so a box narrower than
        // one character still ends.
        if (w.wordWidth + a > W && i > static_cast<std::size_t>(w.offset)) {
          w.lineBreak = true;
          break;
        }
        w.wordWidth += a;
        ++i;
      }
      if (!w.lineBreak) {
        while (i < n && text[i] == ' ') {
          const int a = advance(i);
          if (w.wordWidth + a > W && i > static_cast<std::size_t>(w.offset)) {
            w.lineBreak = true;
            break;
          }
          w.spaceWidth += a;
          ++i;
        }
      }
      w.length = static_cast<int>(i) - w.offset;
      if (!w.lineBreak && i < n && text[i] == '\r') {
        w.lineBreak = true;
        ++i;
      }
      if (i >= n) w.endOfText = true;
      out->words.push_back(w);
      if (w.endOfText) break;
    }
    // 2. Lines: a word wider than the rest of the line moves to the next whole.
    int p = 0;
    out->lines = 1;
    for (std::size_t k = 0; k < out->words.size(); ++k) {
      TextWord& w = out->words[k];
      if (w.lineBreak) {
        p = 0;
        if (!w.endOfText || (w.offset + w.length < static_cast<int>(n))) ++out->lines;
      } else if (w.wordWidth + w.spaceWidth + p <= W) {
        p += w.wordWidth + w.spaceWidth;
      } else {
        if (k > 0 && !out->words[k - 1].lineBreak) {
          out->words[k - 1].lineBreak = true;
          ++out->lines;
        }
        p = w.wordWidth + w.spaceWidth;
      }
    }
    // 3. Drawing, line by line.
    int y = 0;
    bool caretPlaced = false;
    if ((flags & TEXT_CARET) && caret <= 0) {
      out->caret = RECT{rect.left + 1, rect.top, rect.left + 3, rect.top + lineHeight};
      caretPlaced = true;
    }
    bool caretToNextLine = false;
    std::size_t k = 0;
    while (k < out->words.size()) {
      std::size_t last = k;
      while (last < out->words.size() && !out->words[last].lineBreak && !out->words[last].endOfText) ++last;
      if (last == out->words.size()) last = out->words.size() - 1;
      int L = 0;
      for (std::size_t j = k; j <= last; ++j) L += out->words[j].wordWidth + out->words[j].spaceWidth;
      int x = 0;
      if (flags & TEXT_RIGHT) x = W - (L + (finalMask ? 1 : 2));
      else if (flags & TEXT_CENTRE) x = (W - L) / 2;
      if ((flags & TEXT_CARET) && caretToNextLine && !caretPlaced) {
        const int cx = (flags & TEXT_RIGHT) ? W - 1 : (flags & TEXT_CENTRE) ? W / 2 : 2;
        out->caret = RECT{rect.left + cx - 1, rect.top + y, rect.left + cx + 2, rect.top + y + lineHeight};
        caretPlaced = true;
      }
      int lastIndex = -1;
      for (std::size_t j = k; j <= last; ++j) {
        const TextWord& w = out->words[j];
        for (int c = w.offset; c < w.offset + w.length; ++c) {
          const int a = advance(static_cast<std::size_t>(c));
          if (!(flags & TEXT_MEASURE)) out->characters.push_back(PlacedCharacter{c, x, y, a});
          x += a;
          lastIndex = c;
          if ((flags & TEXT_CARET) && !caretPlaced && c == caret - 1) {
            // Two pixels right behind the character, so it stays inside a box
            // that fits the text.
            out->caret = RECT{rect.left + x, rect.top + y, rect.left + x + 2, rect.top + y + lineHeight};
            caretPlaced = true;
          }
        }
      }
      // The caret behind the end of a broken line goes to the start of the next.
      const bool broken = out->words[last].lineBreak;
      if (broken && (lastIndex == caret - 2 || (lastIndex < 0 && caret - 1 == out->words[last].offset)))
        caretToNextLine = true;
      y += lineHeight;
      k = last + 1;
      if (broken && k == out->words.size() && (flags & TEXT_CARET) && !caretPlaced) {
        const int cx = (flags & TEXT_RIGHT) ? W - 1 : (flags & TEXT_CENTRE) ? W / 2 : 2;
        out->caret = RECT{rect.left + cx - 1, rect.top + y, rect.left + cx + 2, rect.top + y + lineHeight};
        caretPlaced = true;
      }
    }
    // 4. The measured height.
    out->rect = rect;
    if (flags & TEXT_MEASURE) out->rect.bottom = lineHeight * out->lines + rect.top;
  } catch (const std::bad_alloc&) {
    return false;
  }
  return true;
}

TextSize TextLineExtent(const std::string& line, const BLOCKSET* r, TextMetrics& metrics) {
  TextSize s;
  s.cy = metrics.Height() * LineSpacePercent(r) / 100;
  const int cs = CharacterSpacePercent(r);
  for (unsigned char c : line) s.cx += metrics.Advance(c) * cs / 100;
  return s;
}

TextSize GetTextWindowSize(const std::string& text, const RECT* available, const BLOCKSET* r, TextMetrics& metrics) {
  TextSize size;
  if (text.empty()) {
    size = TextLineExtent(" ", r, metrics);
  } else {
    std::size_t start = 0;
    for (;;) {
      const std::size_t end = text.find('\r', start);
      const TextSize line =
          TextLineExtent(text.substr(start, end == std::string::npos ? std::string::npos : end - start), r, metrics);
      size.cx = std::max(size.cx, line.cx);
      size.cy += line.cy;
      if (end == std::string::npos) break;
      start = end + 1;
    }
    if (available && available->right > available->left) {
      size.cx = std::min(size.cx, static_cast<int>(available->right - available->left));
      TextLayout layout;
      if (LayoutText(text, 0, RECT{0, 0, size.cx, size.cy}, TEXT_MEASURE, r, metrics, false, &layout))
        size.cy = layout.rect.bottom + 2;
    }
  }
  size.cx += 2;
  size.cy += 2;
  return size;
}

bool AddCharacterToText(std::string* text, int* caret, int code, bool isKey) {
  const int length = static_cast<int>(text->size());
  int& c = *caret;
  c = std::clamp(c, 0, length);
  if (isKey) {
    const int old = c;
    if (code == KEY_LEFT && c > 0) --c;
    else if (code == KEY_RIGHT && c < length) ++c;
    else if (code == KEY_HOME) c = 0;
    else if (code == KEY_END) c = length;
    return c != old;
  }
  if (code == 8) {
    if (c == 0) return false;
    text->erase(static_cast<std::size_t>(c - 1), 1);
    --c;
    return true;
  }
  if (code == 10) code = 13;
  if ((code < 32 && code != 13) || code > 255) return false;  // the text holds bytes
  try {
    text->insert(text->begin() + c, static_cast<char>(code));
  } catch (const std::bad_alloc&) {
    return false;  // no memory: the key is dropped
  }
  ++c;
  return true;
}

int InsetText(BLOCKSET* r, const RECT& rect, const std::string& text, RECT* changed) {
  if (changed) *changed = RECT{};
  if (!r || !r->Image) return 0;
  const int width = rect.right - rect.left, depth = rect.bottom - rect.top;
  if (width <= 0 || depth <= 0 || width > 65536 || depth > 65536) return 0;
  if (text.empty()) return 1;  // nothing to lay
  BYTE grey[768];
  for (int i = 0; i < 256; ++i) grey[3 * i] = grey[3 * i + 1] = grey[3 * i + 2] = static_cast<BYTE>(i);
  FontMetrics metrics(r);
  TextLayout layout;
  if (!LayoutText(text, 0, RECT{0, 0, width, depth}, JustificationFlags(r), r, metrics, true, &layout)) return 0;
  const int antialias = ShapeAntialias(r);
  // The text mask at one coverage value, each character merged by the larger value.
  auto makeMask = [&](int opacity) -> HDIB {
    HDIB mask = CreateDib(width + 8, depth + 8, grey, 8);
    if (!mask) return nullptr;
    BITMAPINFOHEADER* mh = LockDib(mask);
    for (const PlacedCharacter& pc : layout.characters) {
      const unsigned char ch = static_cast<unsigned char>(text[static_cast<std::size_t>(pc.index)]);
      if (ch == ' ' || pc.advance <= 0) continue;
      WRAPPERBLOCK b;
      FontFields(&b, r);
      char s[3];
      ByteToUtf8(ch, s);
      b.Character.Character = s;
      b.Character.Mode = CHARACTER_MASK;
      b.Character.Advance = pc.advance;
      b.Character.LineHeight = metrics.Height();
      b.Character.Value = CoverageValue(opacity);
      b.Opacity = opacity;
      b.Antialias = antialias;
      std::copy(grey, grey + 768, b.Palette);
      WRAPPERRESULT res = OCHLWRPR_proc(&b);
      if (!res.Dib) continue;
      const BITMAPINFOHEADER* ch8 = LockDib(res.Dib);
      for (int yy = 0; yy < ch8->biHeight; ++yy) {
        const int ty = pc.y + yy;
        if (ty < 0 || ty >= mh->biHeight) continue;
        const BYTE* src = DibRow(ch8, yy);
        BYTE* dst = DibRow(mh, ty);
        for (int xx = 0; xx < ch8->biWidth; ++xx) {
          const int tx = pc.x + xx;
          if (tx >= 0 && tx < mh->biWidth) dst[tx] = std::max(dst[tx], src[xx]);
        }
      }
    }
    return mask;
  };
  HDIB mask = makeMask(r->Opacity);
  if (!mask) return 0;
  HDIB source = GetFillImage(r, RECT{0, 0, width + 8, depth + 8});
  HDIB shadow;
  int sdx = 0, sdy = 0;
  COLORREF shadowColour = 0;
  if ((r->ImageType == IMAGE_TRUECOLOUR || r->ImageType == IMAGE_GREY) && r->Opacity == 255 && r->ShadowActive &&
      r->SolidFillMode != 1) {
    shadow = makeMask(r->Shadow.ShadowOpacity);
    if (!shadow) return 0;
    if (!HandleShadowImage(&shadow, &sdx, &sdy, &shadowColour, r)) shadow.reset();
  }
  BITMAPINFOHEADER* image = LockDib(r->Image);
  if (!image) return 0;
  RECT all{};
  if (shadow) all = BlendThroughMask(image, LockDib(shadow), rect.left + sdx + 1, rect.top + sdy + 1, shadowColour);
  all = UnionOf(all, BlendThroughMask(image, LockDib(mask), rect.left + 1, rect.top + 1, r->FillColour,
                                      source ? LockDib(source) : nullptr));
  if (changed) *changed = all;
  return 1;
}

// ---- The session ----------------------------------------------------------------------------

void TextTool::OnCreate(int x, int y) {
  window = RECT{x, y, x, y};
  param.Tool = TOOL_TEXT;
}

void TextTool::OnRefresh(unsigned flags) {
  param.Flags = flags;
  BLOCKSET* r = document->record();
  POINT p = document->SnapPoint(POINT{window.left, window.top});
  param.OriginX = p.x;
  param.OriginY = p.y;
  ToolHost* host = document->host();
  imageX_ = UnZoom(r, p.x) + host->ScrollX();
  imageY_ = UnZoom(r, p.y) + host->ScrollY();
  scrollX_ = host->ScrollX();
  scrollY_ = host->ScrollY();
  SetTextEditWindowSize();
}

void TextTool::PlaceWindow(int viewX, int viewY) {
  const int w = window.right - window.left, h = window.bottom - window.top;
  window = RECT{viewX, viewY, viewX + w, viewY + h};
  windowX_ = viewX;
  windowY_ = viewY;
}

void TextTool::SetTextEditWindowSize() {
  BLOCKSET* r = document->record();
  ToolHost* host = document->host();
  const int vx = Zoom(r, imageX_ - host->ScrollX()), vy = Zoom(r, imageY_ - host->ScrollY());
  const BITMAPINFOHEADER* ih = LockDib(r->Image);
  const int iw = ih ? ih->biWidth : 0, id = ih ? ih->biHeight : 0;
  RECT available{vx, vy, std::min(Zoom(r, iw), host->ClientWidth()), std::min(Zoom(r, id), host->ClientHeight())};
  // The wrap width is in image pixels.
  available.right = available.left + std::max(1, UnZoom(r, static_cast<int>(available.right - available.left)));
  FontMetrics metrics(r);
  const TextSize size = GetTextWindowSize(text_, &available, r, metrics);
  window = RECT{vx, vy, vx + Zoom(r, size.cx) + 1, vy + Zoom(r, size.cy)};
  windowX_ = vx;
  windowY_ = vy;
}

bool TextTool::PreviewLayout(TextLayout* out) {
  BLOCKSET* r = document->record();
  FontMetrics metrics(r);
  const int w = UnZoom(r, static_cast<int>(window.right - window.left));
  const int h = UnZoom(r, static_cast<int>(window.bottom - window.top));
  return LayoutText(text_, caret_, RECT{1, 1, 1 + w, 1 + h}, JustificationFlags(r) | TEXT_CARET, r, metrics, false,
                    out);
}

void TextTool::Redraw() { document->host()->InvalidateView(); }

void TextTool::SetText(const std::string& text) {
  text_ = text;
  caret_ = static_cast<int>(text_.size());
  SetTextEditWindowSize();
  Redraw();
}

void TextTool::OnLButtonDown(int x, int y, unsigned) {
  document->Capture(this);
  pressX_ = x + window.left;
  pressY_ = y + window.top;
  lastX_ = lastY_ = -1;
  param.Dragging = 1;
}

void TextTool::OnMouseMove(int x, int y, unsigned) {
  BLOCKSET* r = document->record();
  if (document->captured() != this || !param.Dragging) {
    // The mouse point, the box in image coordinates and its size.
    ToolHost* host = document->host();
    const int mx = UnZoom(r, x + window.left) + host->ScrollX(), my = UnZoom(r, y + window.top) + host->ScrollY();
    const int w = UnZoom(r, static_cast<int>(window.right - window.left));
    const int h = UnZoom(r, static_cast<int>(window.bottom - window.top));
    char status[128];
    std::snprintf(status, sizeof status, "(%d,%d) - (%d,%d) - (%d,%d) [ %d,%d ]", mx, my, imageX_, imageY_, imageX_ + w,
                  imageY_ + h, w, h);
    host->StatusText(status);
    return;
  }
  const int vx = x + window.left, vy = y + window.top;
  // The box moves by whole image pixels, so it stays on its pixels at any zoom.
  const int dx = UnZoom(r, vx - pressX_), dy = UnZoom(r, vy - pressY_);
  if (!dx && !dy) return;
  imageX_ += dx;
  imageY_ += dy;
  pressX_ += Zoom(r, dx);
  pressY_ += Zoom(r, dy);
  PlaceWindow(Zoom(r, imageX_ - document->host()->ScrollX()), Zoom(r, imageY_ - document->host()->ScrollY()));
  moved_ = 1;
  Redraw();
}

void TextTool::OnLButtonUp(int, int, unsigned) {
  document->ReleaseCapture();
  param.Dragging = 0;
  param.Cursor = 6003;  // the text cursor while typing
  document->host()->SetCursor(param.Cursor);
  param.Flags |= TF_PLACED;
  scrollX_ = document->host()->ScrollX();
  scrollY_ = document->host()->ScrollY();
  SetTextEditWindowSize();
  Redraw();
}

void TextTool::OnChar(int character) {
  if (AddCharacterToText(&text_, &caret_, character, false)) {
    SetTextEditWindowSize();
    Redraw();
  }
}

void TextTool::OnKeyDown(int key) {
  ToolHost* host = document->host();
  if (host->ControlDown()) {
    // The nudge: a step of whole image pixels, never less than one view pixel,
    // as long as some of the box stays within reach.
    BLOCKSET* r = document->record();
    const int step = std::max(Zoom(r, std::clamp(NudgeSize, 1, 32)), 1);
    const int w = window.right - window.left, h = window.bottom - window.top;
    int x = window.left, y = window.top;
    if (key == KEY_LEFT && x + w >= 0) x -= step;
    else if (key == KEY_UP && y + h >= 0) y -= step;
    else if (key == KEY_RIGHT && x <= host->ClientWidth()) x += step;
    else if (key == KEY_DOWN && y <= host->ClientHeight()) y += step;
    else return;
    PlaceWindow(x, y);
    param.OriginX = x;
    param.OriginY = y;
    imageX_ = UnZoom(r, x) + host->ScrollX();
    imageY_ = UnZoom(r, y) + host->ScrollY();
    param.Flags |= TF_PLACED;
    SetTextEditWindowSize();
    Redraw();
    return;
  }
  if (key == KEY_END || key == KEY_HOME || key == KEY_LEFT || key == KEY_RIGHT) {
    if (AddCharacterToText(&text_, &caret_, key, true)) Redraw();
  }
}

void TextTool::OnMessage(int message, std::int64_t, std::int64_t) {
  switch (message) {
    case UM_SCROLLED:
    case UM_WINDOWRESIZED:
    case UM_VIEWCHANGED:
    case UM_FONTCHANGED:
      // The box stays on its image pixels and fits the text anew.
      SetTextEditWindowSize();
      Redraw();
      break;
    case UM_COLOURCHANGED: Redraw(); break;
    default: break;
  }
}

void TextTool::Commit() {
  BLOCKSET* r = document->record();
  if (document->captured() == this) document->ReleaseCapture();
  if (text_.empty() || (param.Flags & (TF_CUT | TF_CLEAR))) {
    Redraw();
    return;
  }
  const int w = UnZoom(r, static_cast<int>(window.right - window.left));
  const int h = UnZoom(r, static_cast<int>(window.bottom - window.top));
  const RECT rect{imageX_ - 1, imageY_ - 1, imageX_ - 1 + w, imageY_ - 1 + h};
  RECT changed{};
  committed_ = InsetText(r, rect, text_, &changed) != 0;
  if (changed.right > changed.left) document->host()->InvalidateImage(changed);
  Redraw();
}

}  // namespace ochrel

namespace ochrel {

HDIB TextTool::Overlay(POINT* imagePlace) {
  BLOCKSET* r = document->record();
  const BITMAPINFOHEADER* ih = LockDib(r->Image);
  if (!ih) return nullptr;
  const int w = UnZoom(r, static_cast<int>(window.right - window.left));
  const int h = UnZoom(r, static_cast<int>(window.bottom - window.top));
  if (w <= 0 || h <= 0) return nullptr;
  HDIB dib = CreateDib(w, h, nullptr, 24);
  if (!dib) return nullptr;
  BITMAPINFOHEADER* dh = LockDib(dib);
  const BYTE* palette = ih->biBitCount <= 8 ? DibPaletteEntries(ih) : nullptr;
  const int colours = ih->biBitCount <= 8 ? 1 << ih->biBitCount : 0;
  // Pixel values as colours: indices go through the image's palette.
  auto asColour = [&](std::uint32_t v) -> COLORREF {
    if (!palette) return v & 0xFFFFFF;
    const int i = static_cast<int>(v & 255) < colours ? static_cast<int>(v & 255) : 0;
    return RGB(palette[4 * i + 2], palette[4 * i + 1], palette[4 * i]);
  };
  for (int y = 0; y < h; ++y) {
    BYTE* row = DibRow(dh, y);
    for (int x = 0; x < w; ++x) {
      const std::uint32_t v = GetDibPixel(ih, imageX_ + x, imageY_ + y);
      const COLORREF c = v == NOPIXEL ? RGB(255, 255, 255) : asColour(v);
      row[3 * x] = GetBValue(c);
      row[3 * x + 1] = GetGValue(c);
      row[3 * x + 2] = GetRValue(c);
    }
  }
  FontMetrics metrics(r);
  TextLayout layout;
  if (LayoutText(text_, caret_, RECT{1, 1, 1 + w, 1 + h}, JustificationFlags(r) | TEXT_CARET, r, metrics, false,
                 &layout)) {
    for (const PlacedCharacter& pc : layout.characters) {
      const unsigned char ch = static_cast<unsigned char>(text_[static_cast<std::size_t>(pc.index)]);
      if (ch == ' ') continue;
      WRAPPERBLOCK b;
      FontFields(&b, r);
      char s[3];
      ByteToUtf8(ch, s);
      b.Character.Character = s;
      b.Character.Mode = CHARACTER_DRAW;
      b.Character.X = pc.x + 1;
      b.Character.Y = pc.y + 1;
      b.Character.Surface = dh;
      b.Character.Value = asColour(r->FillColour);
      b.Antialias = ShapeAntialias(r);
      OCHLWRPR_proc(&b);
    }
    // The caret: an inverted bar.
    for (int y = std::max(0, static_cast<int>(layout.caret.top));
         y < std::min(h, static_cast<int>(layout.caret.bottom)); ++y)
      for (int x = std::max(0, static_cast<int>(layout.caret.left));
           x < std::min(w, static_cast<int>(layout.caret.right)); ++x) {
        BYTE* p = DibRow(dh, y) + 3 * x;
        p[0] = static_cast<BYTE>(~p[0]);
        p[1] = static_cast<BYTE>(~p[1]);
        p[2] = static_cast<BYTE>(~p[2]);
      }
  }
  // A dotted frame, every other pixel inverted.
  auto dot = [&](int x, int y) {
    if (((x + y) & 1) != 0) return;
    BYTE* p = DibRow(dh, y) + 3 * x;
    p[0] = static_cast<BYTE>(~p[0]);
    p[1] = static_cast<BYTE>(~p[1]);
    p[2] = static_cast<BYTE>(~p[2]);
  };
  for (int x = 0; x < w; ++x) {
    dot(x, 0);
    if (h > 1) dot(x, h - 1);
  }
  for (int y = 1; y + 1 < h; ++y) {
    dot(0, y);
    if (w > 1) dot(w - 1, y);
  }
  *imagePlace = POINT{imageX_, imageY_};
  return dib;
}

}  // namespace ochrel
