// The working state of one tool session, the private messages that reach
// tools, and the numbers that tools share.
#pragma once

#include <cstdint>

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

// What the shared framework reads of a session: the document, the view and
// the clipboard find the tool and its cursor, the selection commands and the
// filters on a selection its fragment and masks. Everything else a session
// keeps in its own class.
struct TOOLPARAM {
  int Tool = 0;
  int Cursor = 0;  // 0: the tool's own from its row
  unsigned Flags = 0;
  // The window's top left at the press or paste (view coordinates).
  int OriginX = 0, OriginY = 0;
  // A floating selection: the fragment, its 8-bit mask (null for the
  // rectangle), and for lasso and wand its shape (1 inside) and dashed
  // outline, both 1-bit and of the fragment's size.
  HDIB Fragment;
  HDIB SelectMask;
  HDIB SelectShape, SelectFrame;
  // A drag of the fragment or text box is under way.
  int Dragging = 0;
};

}  // namespace ochrel
