#include "tools/tooltable.h"

#include "frame/strings.h"
#include "tools/brushstamp.h"
#include "tools/brushtools.h"
#include "tools/floodfill.h"
#include "tools/polygontool.h"
#include "tools/replacertools.h"
#include "tools/selecttools.h"
#include "tools/shapetools.h"
#include "tools/spraycan.h"
#include "tools/texttool.h"
#include "tools/viewtools.h"

namespace ochrel {

namespace {
// A session class made for its tool alone, and one shared by several tools.
template <class T>
std::unique_ptr<ToolSession> Only(int) {
  return std::make_unique<T>();
}
template <class T>
std::unique_ptr<ToolSession> Shared(int tool) {
  return std::make_unique<T>(tool);
}

constexpr auto P = START_PRESS, S = START_STANDING;
constexpr unsigned kSelector = TT_SELECTION | TT_FINISHES;
}  // namespace

// Settings pages: ranges written out in full, so that a row reads as the controls it shows.
const TOOLROW tooltable[kToolCount] = {
    {TOOL_RECTSELECT,
     IDS_TOOL_BASE + 0,
     P,
     0,
     6008,
     ICON_RECTSELECT,
     {10, 11, 12, 13, 15, 19, 10015, 16, 20, 10016, 17, 21, 10017, 18, 22, 10018, 23, 25, 26, 27, 24, 28},
     STAMP_NONE,
     0,
     kSelector | TT_LATE_UNDO,
     Only<RectSelectTool>},
    {TOOL_LASSO,
     IDS_TOOL_BASE + 1,
     S,
     6022,
     6022,
     ICON_LASSO,
     {10, 11, 12, 13, 15, 19, 10015, 16, 20, 10016, 17, 21, 10017, 18, 22, 10018, 23, 25, 26, 27, 24, 28},
     STAMP_NONE,
     0,
     kSelector,
     Shared<IrregularSelectTool>},
    {TOOL_WAND,
     IDS_TOOL_BASE + 2,
     S,
     6023,
     6023,
     ICON_WAND,
     {10, 11, 12, 13, 15, 19, 10015, 16, 20, 10016, 17, 21, 10017, 18, 22, 10018, 23, 24},
     STAMP_NONE,
     0,
     kSelector,
     Shared<IrregularSelectTool>},
    {TOOL_REPLACER,
     IDS_TOOL_BASE + 3,
     S,
     6019,
     0,
     ICON_REPLACER,
     {10, 11, 12,    13, 15, 19,  10015, 16,  20,  10016, 17,  21,  10017,
      18, 22, 10018, 23, 24, 113, 10113, 114, 115, 116,   117, 118, 119},
     STAMP_NONE,
     0,
     0,
     Only<ReplacerTool>},
    {TOOL_ERASER,
     IDS_TOOL_BASE + 4,
     S,
     6017,
     0,
     ICON_ERASER,
     {10, 11, 12, 13, 89, 90, 91, 93, 94, 95, 96, 10096, 97, 92, 98, 99, 100},
     STAMP_ERASER,
     92,
     0,
     Shared<StrokeTool>},
    {TOOL_EYEDROPPER, IDS_TOOL_BASE + 5, S, 6002, 0, ICON_EYEDROPPER, {9, 40}, STAMP_NONE, 0, 0, Only<EyedropperTool>},
    {TOOL_ZOOM, IDS_TOOL_BASE + 6, S, 6014, 0, ICON_ZOOM, {9, 63}, STAMP_NONE, 0, 0, Only<ZoomTool>},
    {TOOL_PEN,
     IDS_TOOL_BASE + 7,
     S,
     6018,
     0,
     ICON_PEN,
     {10, 11, 12, 13, 101, 102, 103, 104, 105, 10105, 106, 107, 108, 109, 110, 111, 112},
     STAMP_HARD,
     101,
     0,
     Shared<StrokeTool>},
    {TOOL_BRUSH,
     IDS_TOOL_BASE + 8,
     S,
     6016,
     0,
     ICON_BRUSH,
     {10, 11, 12, 13, 64, 65, 66, 67, 68, 69, 70, 10070, 72, 73, 74, 75, 76},
     STAMP_SOFT,
     73,
     0,
     Shared<StrokeTool>},
    {TOOL_SPRAYCAN,
     IDS_TOOL_BASE + 9,
     S,
     6021,
     0,
     ICON_SPRAYCAN,
     {10, 11, 12, 13, 120, 10120, 121, 122, 123, 124, 125},
     STAMP_NONE,
     0,
     TT_TIMER,
     Only<SpraycanTool>},
    {TOOL_AIRBRUSH,
     IDS_TOOL_BASE + 10,
     S,
     6015,
     0,
     ICON_AIRBRUSH,
     {10, 11, 12, 13, 80, 81, 82, 84, 10084, 85, 83, 86, 87, 88, 77, 78, 79},
     STAMP_AIRBRUSH,
     83,
     TT_TIMER,
     Shared<StrokeTool>},
    {TOOL_LINE,
     IDS_TOOL_BASE + 11,
     P,
     6013,
     0,
     ICON_LINE,
     {10, 11, 12, 13, 39, 45, 10045, 46, 53, 54, 55, 56, 62},
     STAMP_NONE,
     0,
     TT_FINISHES,
     Shared<ShapeTool>},
    {TOOL_RECTANGLE,
     IDS_TOOL_BASE + 12,
     P,
     0,
     6012,
     ICON_RECTANGLE,
     {10, 11, 12, 13, 39, 41, 42, 43, 44, 45, 10045, 46, 48, 60, 139},
     STAMP_NONE,
     0,
     TT_FINISHES,
     Shared<ShapeTool>},
    {TOOL_ELLIPSE,
     IDS_TOOL_BASE + 13,
     P,
     0,
     6011,
     ICON_ELLIPSE,
     {10, 11, 12, 13, 39, 41, 42, 43, 44, 45, 10045, 46, 47, 61, 139},
     STAMP_NONE,
     0,
     TT_FINISHES,
     Shared<ShapeTool>},
    {TOOL_POLYGON,
     IDS_TOOL_BASE + 14,
     S,
     6024,
     0,
     ICON_POLYGON,
     {10, 11, 12, 13, 39, 45, 10045, 46, 138, 41, 42, 43, 44, 62, 139},
     STAMP_NONE,
     0,
     0,
     Only<PolygonTool>},
    {TOOL_BUCKET,
     IDS_TOOL_BASE + 15,
     S,
     6009,
     0,
     ICON_BUCKET,
     {10, 11, 12, 13, 39, 15, 19, 10015, 16, 20, 10016, 17, 21, 10017, 18, 22, 10018, 23, 24},
     STAMP_NONE,
     0,
     0,
     Only<BucketTool>},
    {TOOL_TEXT,
     IDS_TOOL_BASE + 16,
     P,
     6010,
     6010,
     ICON_TEXT,
     {10, 11, 12, 13, 29, 30, 31, 10031, 32, 33, 34, 35, 36, 37, 38, 39, 49, 10049, 50, 51, 10051, 52, 139},
     STAMP_NONE,
     0,
     kSelector,
     Only<TextTool>},
    {TOOL_LOCALUNDO,
     IDS_TOOL_BASE + 17,
     S,
     6025,
     0,
     ICON_LOCALUNDO,
     {10, 11, 12, 13, 126, 127, 128, 129, 130, 131, 132, 10132, 133, 137, 134, 135, 136},
     STAMP_UNDO,
     137,
     0,
     Only<LocalUndoTool>},
};

const TOOLROW* FindTool(int tool) { return tool >= 0 && tool < kToolCount ? &tooltable[tool] : nullptr; }

bool HasTrait(int tool, unsigned trait) {
  const TOOLROW* row = FindTool(tool);
  return row && (row->traits & trait);
}

bool IsPressTool(int tool) {
  const TOOLROW* row = FindTool(tool);
  return row && row->start == START_PRESS;
}
bool IsStandingTool(int tool) {
  const TOOLROW* row = FindTool(tool);
  return row && row->start == START_STANDING;
}

int ToolClassCursor(int tool) {
  const TOOLROW* row = FindTool(tool);
  return row ? row->cursor : 0;
}

void SetDocumentCursor(BLOCKSET* record, int tool) {
  const TOOLROW* row = FindTool(tool);
  if (row && row->documentCursor) record->Cursor = row->documentCursor;
}

std::unique_ptr<ToolSession> CreateToolSession(int tool) {
  const TOOLROW* row = FindTool(tool);
  return row ? row->create(tool) : nullptr;
}

HDIB CreateToolStamp(const BLOCKSET& d, COLORREF background, COLORREF foreground, StampKind kind) {
  switch (kind) {
    case STAMP_HARD: return CreateHardBrush(d, background, foreground);
    case STAMP_SOFT: return CreateSoftBrush(d, background, foreground, d.BrushType);
    case STAMP_AIRBRUSH: return CreateSoftBrush(d, background, foreground, 0);
    case STAMP_ERASER: return CreateSoftBrush(d, background, foreground, d.EraserBrushType);
    case STAMP_UNDO: return CreateSoftBrush(d, background, foreground, d.UndoType);
    case STAMP_NONE: break;
  }
  return nullptr;
}

}  // namespace ochrel
