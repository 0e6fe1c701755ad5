// The working state of one tool session, the private messages that reach
// tools, and the numbers that tools share.
#pragma once

#include <cstdint>
#include <vector>

#include "image/dib.h"

namespace ochrel {

inline constexpr int kToolCount = 18;

enum ToolNumber : int {
  TOOL_RECTSELECT = 0,
  TOOL_LASSO = 1,
  TOOL_WAND = 2,
  TOOL_REPLACER = 3,
  TOOL_ERASER = 4,
  TOOL_EYEDROPPER = 5,
  TOOL_ZOOM = 6,
  TOOL_PEN = 7,
  TOOL_BRUSH = 8,
  TOOL_SPRAYCAN = 9,
  TOOL_AIRBRUSH = 10,
  TOOL_LINE = 11,
  TOOL_RECTANGLE = 12,
  TOOL_ELLIPSE = 13,
  TOOL_POLYGON = 14,
  TOOL_BUCKET = 15,
  TOOL_TEXT = 16,
  TOOL_LOCALUNDO = 17,
};

// Tools made by a press (the rest stand over the image from their selection on).
bool IsPressTool(int tool);
bool IsStandingTool(int tool);

// Mouse-key state of a press, in the low byte of the session flags.
enum KeyFlags : unsigned {
  MK_LBUTTON = 0x01,
  MK_RBUTTON = 0x02,
  MK_SHIFT = 0x04,
  MK_CONTROL = 0x08,
  MK_MBUTTON = 0x10,
};

enum SessionFlags : unsigned {
  TF_PLACED = 0x1000,
  TF_CAPTURE = 0x2000,
  TF_FRAMED = 0x4000,
  TF_CUT = 0x10000,
  TF_CLEAR = 0x40000,
  TF_SELECTALL = 0x80000,
  TF_LIFT = 0x100000,
  TF_PASTED = 0x200000,
};

// Private messages: one number, one name, whatever receives it.
enum PrivateMessage : int {
  UM_REFRESH = 1125,
  UM_IMAGECHANGED = 1127,
  UM_VIEWCHANGED = 1224,
  UM_WINDOWRESIZED = 1225,
  UM_SCROLLED = 1226,
  UM_FONTCHANGED = 1227,
  UM_COLOURCHANGED = 1228,
  UM_TOOLFINISHED = 1229,
  UM_SETTINGCHANGED = 1230,
  UM_ENDSELECTION = 1231,
  UM_SELECTTOOL = 1232,
  UM_FRAGMENTCHANGED = 1233,
};

// The events a tool window receives, in the platform's vocabulary.
enum ToolEvent : int {
  WM_CREATE = 0x0001,
  WM_DESTROY = 0x0002,
  WM_KEYDOWN = 0x0100,
  WM_CHAR = 0x0102,
  WM_TIMER = 0x0113,
  WM_MOUSEMOVE = 0x0200,
  WM_LBUTTONDOWN = 0x0201,
  WM_LBUTTONUP = 0x0202,
  WM_LBUTTONDBLCLK = 0x0203,
  WM_RBUTTONDOWN = 0x0204,
  WM_RBUTTONUP = 0x0205,
  WM_MBUTTONDOWN = 0x0207,
  WM_MBUTTONUP = 0x0208,
  WM_COMMAND = 0x0111,
};

// Codes of UM_COLOURCHANGED.
enum ColourCode : int { COLOUR_PAINT = 1, COLOUR_FILL = 2, COLOUR_PAPER = 4 };

struct TOOLPARAM {
  int Tool = 0;
  int Cursor = 0;
  unsigned Flags = 0;
  int OriginX = 0, OriginY = 0;
  int Moved = 0;
  HDIB Fragment;
  RECT SelectRect{};
  int WindowX = 0, WindowY = 0;
  RECT FrameRect{};
  HDIB SelectMask;
  int ScrollX = 0, ScrollY = 0;
  int ImageX = 0, ImageY = 0;
  int Dragging = 0;
  int ImageDepth = 0;
  int LastX = 0, LastY = 0;
  POINT LineStart{}, LineEnd{};
  int Caret = 0;
  HDIB Stamp;
  int Painting = 0;
  int PressScrollX = 0, PressScrollY = 0;
  unsigned Timer = 0;
  int Softness = 0;
  int SquareShown = 0, Replacing = 0;
  int SquareX = 0, SquareY = 0;
  int PressX = 0, PressY = 0;
  POINT ChainEnd{}, ChainStart{}, PreviousVertex{}, RubberEnd{};
  // The lasso's polygon, and the irregular selection's shape (1 inside) and
  // dashed outline, both 1-bit and of the fragment's size.
  std::vector<POINT> Points;
  HDIB SelectShape, SelectFrame;
};

// The coverage blend of one channel value c toward k through mask value m,
// each division truncating by itself.
constexpr int BlendChannel(int c, int k, int m) { return ((c * (255 - m)) / 255 + (k * m) / 255) & 255; }
// All three channels of a 32-bit pixel value.
std::uint32_t CoverageBlend(std::uint32_t pixel, std::uint32_t colour, int m);

// The angle scale of the 45-degree constraint.
int GetLineAngle(POINT a, POINT b);

}  // namespace ochrel
