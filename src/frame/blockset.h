// The document record: the image, its one-level undo copy, its colours and every
// tool setting of one open document.
#pragma once

#include <functional>
#include <memory>
#include <string>

#include "fills/gradient.h"
#include "fills/matrix.h"
#include "fills/shadow.h"
#include "fills/texture.h"
#include "frame/undohistory.h"
#include "image/dib.h"

namespace ochrel {

class ToolSession;

struct BLOCKSET {
  std::string FileName;
  int ViewMode = 0;
  int Modified = 0;
  int Tool = 0;
  int UndoAvailable = 0;
  int HasFile = 0;
  int UndoModified = 0;
  int UndoTool = 0;
  HDIB Image;
  HDIB UndoImage;
  ToolSession* ToolWindow = nullptr;
  COLORREF PaintColour = 0;
  COLORREF FillColour = 0;
  COLORREF PaperColour = 0;
  COLORREF UndoPaintColour = 0;
  COLORREF UndoFillColour = 0;
  COLORREF UndoPaperColour = 0;
  int ImageType = IMAGE_NONE;
  int FillType = 0;
  int Cursor = 0;
  int Opacity = 0;
  int FragmentPasteMode = 0;
  int RedTolerance = 0, GreenTolerance = 0, BlueTolerance = 0;
  int PreviousTool = -1;
  int TextFontSize = 0;
  int TextFontBold = 0;
  int TextFontItal = 0;
  int TextFontJust = 0;
  int TextFontUnder = 0;
  int TextFontCharacterSpace = 0;
  int TextFontLineSpace = 0;
  std::string TextFontName;
  int Antialias = 0;
  int SolidFillMode = 0;
  int LineThickness = 0;
  int LineCap = 0;
  int BrushThickness = 0, BrushShape = 0, BrushType = 0, BrushSoftness = 0;
  int AirBrushThickness = 0, AirBrushShape = 0, AirBrushSoftness = 0, AirBrushFlow = 0;
  int EraserBrushThickness = 0, EraserBrushShape = 0, EraserBrushType = 0, EraserBrushSoftness = 0;
  int HardBrushThickness = 0, HardBrushShape = 0, HardBrushAngle = 0, HardBrushFlat = 0;
  int ReplacerSize = 0, MatchType = 0;
  int SpraycanThickness = 0, SpraycanFlow = 0;
  int UndoThickness = 0, UndoShape = 0, UndoType = 0, UndoSoftness = 0;
  // The gradient's image type (the rest of the fill records join with the fill dialogs).
  // The document's fill and shadow parameters. The shadow switch is kept
  // beside the record in ShadowActive, where the tool settings reach it.
  GRADIENT Gradient;
  TEXTURE Texture;
  MATRIX Matrix;
  SHADOW Shadow;
  int ShadowActive = 0;
  int GridActive = 0;
  int GridShow = 0;
  int GridHorizontal = 0, GridVertical = 0;
  // The steps beyond the one undo copy, when UndoSteps is over 1.
  std::unique_ptr<UndoHistory> History;
  int RedoAvailable = 0;
};

// Fills a record with the defaults from the settings. Always 1.
int CreateNewFile(BLOCKSET* record);

struct NEWFILEPARAM {
  int width = 800;
  int depth = 600;
  int type = 0;  // 0 true colour, 1 grey, 2 paletted, 3 mono
  COLORREF colour = 0xFFFFFF;
};
// The blank image of a New: every pixel the colour. Null when memory runs out.
HDIB CreateNewImage(const NEWFILEPARAM& param);

// "UntitledPicture%u.%s" with the running number, which every call uses up.
std::string GetUntitledFileName();
void ResetUntitledFileNumber();  // for tests
// Marks a record for a document without a file.
int DoNew(BLOCKSET* record);

void SetImageType(BLOCKSET* record);
void AdjustToolColours(BLOCKSET* record);
COLORREF GetPaintColour(const BLOCKSET* record);
COLORREF GetFillColour(const BLOCKSET* record);
COLORREF GetPaperColour(const BLOCKSET* record);
// The COLORREF of a colour field's value in this record's image.
COLORREF ColourOfValue(const BLOCKSET* record, std::uint32_t value);
std::uint32_t AdjustPixel(const BLOCKSET* record, std::uint32_t value);

// One-level undo. CreateUndo keeps UndoAvailable set even when the copy could
// not be made; DoUndo then reports the failure (false) and changes nothing.
//
// With UndoSteps over 1 the copy becomes a step of a history when the change
// is over (CompactUndo, at the next CreateUndo, the end of a stroke or an
// Undo); DoUndo then walks back one step and DoRedo forward.
void CreateUndo(BLOCKSET* record);
bool DoUndo(BLOCKSET* record);
bool DoRedo(BLOCKSET* record);
void CompactUndo(BLOCKSET* record);
// The whole image as it was before the most recent change, in UndoImage (a
// tool paints from it); false when there is none.
bool EnsureUndoImage(BLOCKSET* record);
void FreeUndo(BLOCKSET* record);
void FreeBlocks(BLOCKSET* record);

// Save goes to Save as for a document without a file or with an untitled name.
// The document's fill of its FillType at the size of rect (null for a solid
// fill or on failure); the caller owns the result.
HDIB GetFillImage(BLOCKSET* record, const RECT& rect);
// The document's shadow for a shape mask: see HandleShadowImage in the fills.
int HandleShadowImage(HDIB* mask, int* x, int* y, COLORREF* colour, const BLOCKSET* record);
// Both can take seconds for a large shape. The frame lends a runner that does
// such work with the windows live (and waits for it); without one, or for a
// small area, the work runs at once.
using SlowWorkRunner = std::function<void(const char* label, const std::function<void()>& work)>;
void SetSlowWorkRunner(SlowWorkRunner runner);

bool NeedsSaveAs(const BLOCKSET* record);

}  // namespace ochrel
