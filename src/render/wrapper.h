// The rendering back end: antialiased masks of lines, shapes, polygons and
// characters, and the basic gradients.
//
// One entry point, OCHLWRPR_proc, takes a zeroed parameter record with the
// operation and the fields that operation reads. Shapes and characters come
// back as 8-bit grey DIBs whose pixel value is the coverage (0 nothing, the
// coverage value where the shape is solid, less along antialiased edges), and
// the callers composite them themselves.
//
// Where a mask sits: its pixel (0, 0) lies 4 pixels left of and above the
// shape's rectangle for ellipses and rectangles, and of the polygon frame for
// polygons; for a line, LineThickness / 2 + 4 pixels.
//
// Characters need the font database, which lives in the QGuiApplication: with
// no such object they fail (no mask, value 0); everything else works anywhere.
// Start and end may be called any number of times and in any order; the end
// only lets go of the font cache.
#pragma once

#include <cstdint>
#include <string>

#include "image/dib.h"

namespace ochrel {

enum WrapperOperation : int {
  WRAPPER_START = 1,
  WRAPPER_END = 2,
  WRAPPER_LINE = 3,
  WRAPPER_ELLIPSE = 4,
  WRAPPER_RECTANGLE = 5,
  WRAPPER_POLYGON = 6,
  WRAPPER_CHARACTER = 7,
  WRAPPER_GRADIENT = 8,
};

// LineCap values: pen end and join flags as the line tool keeps them.
inline constexpr int LINECAP_ROUND = 0;    // round ends, round joins
inline constexpr int LINECAP_FLAT = 8704;  // flat ends, mitred joins

// Polygon fill rules.
inline constexpr int POLYFILL_ALTERNATE = 1;  // even-odd: a doubly covered area is a hole
inline constexpr int POLYFILL_WINDING = 2;    // non-zero winding: it is filled

// Character modes.
inline constexpr int CHARACTER_MEASURE = 0;
inline constexpr int CHARACTER_DRAW = 1;
inline constexpr int CHARACTER_MASK = 2;

// A fill or outline value that asks for nothing.
inline constexpr std::int32_t WRAPPER_NONE = -1;

// The coverage value for an opacity: the opacity in the three low bytes. Only
// the low byte reaches a mask.
constexpr std::uint32_t CoverageValue(int opacity) {
  const std::uint32_t o = static_cast<std::uint32_t>(opacity) & 255u;
  return o | (o << 8) | (o << 16);
}

struct WRAPPERBLOCK {
  int Operation = 0;           // a WrapperOperation
  void* ToolWindow = nullptr;  // the caller's tool, passed through, never read
  RECT Rect{};                 // the shape in image coordinates (line, ellipse, rectangle, polygon)
  int MaskBits = 8;            // masks are always 8-bit
  int Opacity = 0;
  BYTE Palette[768] = {};  // grey palette for masks and 8-bit gradients
  int Antialias = 0;       // 0 gives hard edges (paletted and mono images)

  struct {
    int X0 = 0, Y0 = 0, X1 = 0, Y1 = 0;  // the ends, in the shape's own box (Rect's corner is 0, 0)
    int LineThickness = 0;               // 0 counts as 1
    int LineCap = LINECAP_ROUND;
    std::int32_t Coverage = 0;
  } Line;

  struct {
    RECT Box{};             // left 4, top 4, width + 4, depth + 4
    int LineThickness = 0;  // the outline lies inside the box
    std::int32_t FillValue = WRAPPER_NONE;
    std::int32_t OutlineValue = WRAPPER_NONE;
  } Shape;  // ellipse and rectangle

  struct {
    int VertexCount = 0;
    const POINT* Vertices = nullptr;  // the figure is closed here
    RECT Frame{};                     // the figure's frame, inflated by LineThickness
    int LineThickness = 0;            // the outline is centred on the edges
    std::int32_t FillValue = WRAPPER_NONE;
    std::int32_t OutlineValue = WRAPPER_NONE;
    int FillMode = 0;  // POLYFILL_*; 0 is POLYFILL_ALTERNATE
  } Polygon;

  struct {
    int X = 0, Y = 0;      // mode 1: top-left of the character cell on the surface
    int Advance = 0;       // mode 0 result; mode 2 input (the mask's width)
    int LineHeight = 0;    // mode 0 result; mode 2 input (the mask's depth)
    int TextFontSize = 0;  // cell height in pixels (negative: character height)
    int TextFontBold = 0, TextFontItal = 0, TextFontUnder = 0;
    const char* TextFontName = nullptr;   // null or empty: the default face
    const char* Character = nullptr;      // one character (UTF-8) and a 0 byte
    std::uint32_t Value = 0;              // mode 2: coverage value; mode 1: the colour (COLORREF)
    BITMAPINFOHEADER* Surface = nullptr;  // mode 1: a locked 24- or 32-bit DIB (8-bit: grey level)
    int Mode = CHARACTER_MEASURE;
    int Ascent = 0;  // mode 0 result: the baseline below the cell's top
  } Character;

  struct {
    int Width = 0, Depth = 0;
    int GradientType = 0;
    COLORREF StartColour = 0, EndColour = 0;
    int Angle = 0;
    int Bits = 24;
    int CenterX = 0, CenterY = 0;
  } Gradient;
};

// What an operation gives back: a DIB (masks, gradients) or a value (1 for a
// measured character, 1 for start and end). Both empty on failure.
struct WRAPPERRESULT {
  HDIB Dib;
  int Value = 0;
};

WRAPPERRESULT OCHLWRPR_proc(WRAPPERBLOCK* block);

// The face a family name resolves to, after the substitutions the back end
// installs (so that the default "ARIAL" gets a metric twin). For diagnostics
// and tests; does not need a start.
std::string ResolvedFontFamily(const char* name, int bold, int italic);

}  // namespace ochrel
