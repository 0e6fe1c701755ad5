// The live sample of the shadow settings: the object of the current tool with
// its soft shadow, drawn on the paper, and the grey masks it is made from.
#pragma once

#include <string>

#include "fills/shadow.h"
#include "image/dib.h"

namespace ochrel {

// 8-bit grey masks of (shape width + 2 padX) by (shape depth + 2 padY), filled
// with `back`, the shape centred and drawn without outline in `grey`
// (antialiased). Only the shape's size counts. Null on failure.
HDIB CreateShadowRectangleSampleBitmap(const RECT& shape, int grey, int back, int padX, int padY);
HDIB CreateShadowEllipseSampleBitmap(const RECT& shape, int grey, int back, int padX, int padY);
// The six-point sample figure inside the shape's rectangle.
HDIB CreateShadowPolygonSampleBitmap(const RECT& shape, int grey, int back, int padX, int padY);
// `text` ("AaBbCc" when null or empty) in the given font, on one line. Needs
// the font database (a GUI application object); null without it.
HDIB CreateShadowTextSampleBitmap(const char* font, int size, int bold, int italic, int underline, int grey, int back,
                                  int padX, int padY, const char* text = nullptr);

// What of the document the sample shows.
struct SHADOWSAMPLE {
  int ImageType = 0;  // 0 true colour, 1 grey, other kinds get black on white
  COLORREF PaintColour = 0, FillColour = 0, PaperColour = 0xFFFFFF;
  int Tool = 0;  // 13 ellipse, 14 polygon, 16 text, anything else a rectangle
  std::string TextFontName;
  int TextFontSize = 24, TextFontBold = 0, TextFontItal = 0, TextFontUnder = 0;
  std::string Text;  // the text sample's line (TextFontExampleString)
};

// A 24-bit picture of the rectangle's size, or null.
HDIB CreateSampleShadow(const SHADOW& shadow, const SHADOWSAMPLE& sample, const RECT& rect);

// Where the object and its shadow move for a direction, so that neither leaves
// the sample: only the positive part of the offset is applied to each.
void SampleShifts(int direction, int offset, POINT* object, POINT* shadow);

}  // namespace ochrel
