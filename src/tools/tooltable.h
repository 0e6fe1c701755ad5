// One row per tool: everything the document, the toolbox, the settings window
// and the cursors need to know about a tool, found by its number. Nothing else
// in the program switches on a tool's number to learn these things.
#pragma once

#include <memory>

#include "frame/blockset.h"
#include "tools/toolparam.h"

namespace ochrel {

class ToolSession;

// How a session starts: made by a press on the image, or standing over the
// image from the moment the tool is chosen until another is.
enum ToolStart : int { START_PRESS, START_STANDING };

// The stamp a brush tool paints with (and its settings page shows).
enum StampKind : int {
  STAMP_NONE,
  STAMP_HARD,      // the pen's flat nib
  STAMP_SOFT,      // the soft brush, with its BrushType
  STAMP_AIRBRUSH,  // round type 0
  STAMP_ERASER,    // with EraserBrushType
  STAMP_UNDO,      // with UndoType
};

// The toolbox pictures; the toolbox draws one for each id.
enum ToolIconId : int {
  ICON_RECTSELECT,
  ICON_LASSO,
  ICON_WAND,
  ICON_REPLACER,
  ICON_ERASER,
  ICON_EYEDROPPER,
  ICON_ZOOM,
  ICON_PEN,
  ICON_BRUSH,
  ICON_SPRAYCAN,
  ICON_AIRBRUSH,
  ICON_LINE,
  ICON_RECTANGLE,
  ICON_ELLIPSE,
  ICON_POLYGON,
  ICON_BUCKET,
  ICON_TEXT,
  ICON_LOCALUNDO,
};

// What the shared session framework does differently for a tool.
enum ToolTraits : unsigned {
  // Holds a selection or typed text that the document's commands act on: it
  // commits while the document still names it, and its end updates the menus.
  // A press tool of this kind ends by Unselect; a standing one is told UM_ENDSELECTION.
  TT_SELECTION = 0x1,
  // Its end tells the document the image changed (UM_TOOLFINISHED).
  TT_FINISHES = 0x2,
  // Runs timer 3 while it paints; the end stops it.
  TT_TIMER = 0x4,
  // Takes its undo copy when it first changes the image, not when it is made,
  // so that a click that does nothing keeps the last change undoable.
  TT_LATE_UNDO = 0x8,
};

inline constexpr int kSettingsRowLength = 30;

struct TOOLROW {
  int tool;  // its number, also the row's place
  int name;  // string id of its name (tool tip, settings caption)
  ToolStart start;
  int cursor;          // over its window while it sets none of its own (0: the arrow)
  int documentCursor;  // what the document shows over the image for it (0: leaves it)
  ToolIconId icon;
  // The settings page: the ids of the controls it shows, zero-terminated. A
  // control id n + 10000 is the spin of edit n.
  int settings[kSettingsRowLength];
  StampKind stamp;
  int stampSample;  // the page's control that shows the stamp (0: none)
  unsigned traits;
  std::unique_ptr<ToolSession> (*create)(int tool);
};

extern const TOOLROW tooltable[kToolCount];

// What the framework reads of the rows.
bool IsPressTool(int tool);
bool IsStandingTool(int tool);
// The cursor of a tool's window while it sets none of its own (0: the arrow).
int ToolClassCursor(int tool);
// The cursor a document shows over the image for a tool (0 leaves it).
void SetDocumentCursor(BLOCKSET* record, int tool);
// The session object of a tool, from its row's factory; null out of range.
std::unique_ptr<ToolSession> CreateToolSession(int tool);

// The row of a tool number; null out of range.
const TOOLROW* FindTool(int tool);
bool HasTrait(int tool, unsigned trait);

// The stamp of a brush tool's row for a document whose Tool names it; null
// for a tool without one or when it can't be made.
HDIB CreateToolStamp(const BLOCKSET& document, COLORREF background, COLORREF foreground, StampKind kind);

}  // namespace ochrel
