#include <algorithm>
#include "frame/blockset.h"

#include <cctype>
#include <cstdio>

#include "frame/options.h"
#include "frame/services.h"
#include "frame/strings.h"
#include "frame/settings.h"

namespace ochrel {

int CreateNewFile(BLOCKSET* r) {
  *r = BLOCKSET{};
  r->ViewMode = DefaultViewMode;
  r->PaintColour = static_cast<COLORREF>(DefaultPaintColour);
  r->FillColour = static_cast<COLORREF>(DefaultFillColour);
  r->PaperColour = static_cast<COLORREF>(DefaultPaperColour);
  r->ImageType = IMAGE_NONE;
  r->FillType = DefaultFillType;
  r->Opacity = DefaultOpacity;
  r->FragmentPasteMode = DefaultFragmentPasteMode;
  r->RedTolerance = DefaultRedTolerance;
  r->GreenTolerance = DefaultGreenTolerance;
  r->BlueTolerance = DefaultBlueTolerance;
  r->PreviousTool = -1;
  r->TextFontSize = DefaultTextFontSize;
  r->TextFontBold = DefaultTextFontBold;
  r->TextFontItal = DefaultTextFontItal;
  r->TextFontJust = DefaultTextFontJust;
  r->TextFontUnder = DefaultTextFontUnder;
  r->TextFontCharacterSpace = DefaultTextFontCharacterSpace;
  r->TextFontLineSpace = DefaultTextFontLineSpace;
  r->TextFontName = DefaultTextFontName;
  r->Antialias = DefaultAntialias;
  r->SolidFillMode = DefaultSolidFillMode;
  r->LineThickness = DefaultLineThickness;
  r->LineCap = DefaultLineCap;
  r->BrushThickness = DefaultBrushThickness;
  r->BrushShape = DefaultBrushShape;
  r->BrushType = DefaultBrushType;
  r->BrushSoftness = DefaultBrushSoftness;
  r->AirBrushThickness = DefaultAirBrushThickness;
  r->AirBrushShape = DefaultAirBrushShape;
  r->AirBrushSoftness = DefaultAirBrushSoftness;
  r->AirBrushFlow = DefaultAirBrushFlow;
  r->EraserBrushThickness = DefaultEraserBrushThickness;
  r->EraserBrushShape = DefaultEraserBrushShape;
  r->EraserBrushType = DefaultEraserBrushType;
  r->EraserBrushSoftness = DefaultEraserBrushSoftness;
  r->HardBrushThickness = DefaultHardBrushThickness;
  r->HardBrushShape = DefaultHardBrushShape;
  r->HardBrushAngle = DefaultHardBrushAngle;
  r->HardBrushFlat = DefaultHardBrushFlat;
  r->ReplacerSize = DefaultReplacerSize;
  r->MatchType = DefaultMatchType;
  r->SpraycanThickness = DefaultSpraycanThickness;
  r->SpraycanFlow = DefaultSpraycanFlow;
  r->UndoThickness = DefaultUndoThickness;
  r->UndoShape = DefaultUndoShape;
  r->UndoType = DefaultUndoType;
  r->UndoSoftness = DefaultUndoSoftness;
  r->Gradient.GradientType = GradientType;
  r->Gradient.StartColour = static_cast<COLORREF>(GradientStartColour);
  r->Gradient.EndColour = static_cast<COLORREF>(GradientEndColour);
  r->Gradient.EdgePad = GradientEdgePad;
  r->Gradient.CenterX = GradientCenterX;
  r->Gradient.CenterY = GradientCenterY;
  r->Gradient.Midpoint = GradientMidpoint;
  r->Gradient.Angle = GradientAngle;
  CreateDefaultTexture(&r->Texture);
  CreateDefaultMatrix(&r->Matrix, DefaultTileFile());
  r->Shadow.ShadowType = ShadowType;
  r->Shadow.ShadowColor = static_cast<COLORREF>(ShadowColor);
  r->Shadow.ShadowDirection = ShadowDirection;
  r->Shadow.ShadowOpacity = ShadowOpacity;
  r->Shadow.ShadowOffset = ShadowOffset;
  r->Shadow.ShadowSoft = ShadowSoft;
  r->Shadow.ShadowActive = DefaultShadow;
  r->ShadowActive = DefaultShadow;
  r->GridActive = DefaultGridActive;
  r->GridShow = DefaultGridShow;
  r->GridHorizontal = DefaultGridHorizontal;
  r->GridVertical = DefaultGridVertical;
  return 1;
}

HDIB CreateNewImage(const NEWFILEPARAM& p) {
  static const int paletteNumber[4] = {8, 10, 8, 0};
  static const int bits[4] = {24, 8, 8, 1};
  if (p.type < 0 || p.type > 3) return nullptr;
  BYTE palette[768];
  GetDefaultPalette(palette, nullptr, paletteNumber[p.type]);
  HDIB dib = CreateDib(p.width, p.depth, palette, bits[p.type]);
  if (!dib) return nullptr;
  if (p.colour != 0) InsetSolidRectangle(dib, p.colour, RECT{0, 0, p.width, p.depth});
  return dib;
}

namespace {
unsigned UntitledFileNumber = 1;
const char* DefaultFileExtension = "bmp";
}  // namespace

std::string GetUntitledFileName() {
  char buffer[300];
  std::snprintf(buffer, sizeof buffer, FetchString(IDS_UNTITLED), UntitledFileNumber++, DefaultFileExtension);
  return buffer;
}

void ResetUntitledFileNumber() { UntitledFileNumber = 1; }

int DoNew(BLOCKSET* r) {
  r->Modified = 1;
  r->FileName = AddCurrentPath(GetUntitledFileName());
  return 1;
}

void SetImageType(BLOCKSET* r) {
  r->ImageType = GetImageType(r->Image);
  switch (r->ImageType) {
    case IMAGE_TRUECOLOUR: r->Gradient.ImageType = 0; break;
    case IMAGE_GREY:
      r->Gradient.ImageType = 1;
      if (r->FillType == 2 || r->FillType == 3) r->FillType = 0;
      break;
    case IMAGE_PALETTED:
    case IMAGE_MONO: r->FillType = 0; break;
    default:
      r->Gradient.ImageType = 4;
      r->FillType = 0;
      break;
  }
}

void AdjustToolColours(BLOCKSET* r) {
  const BITMAPINFOHEADER* h = LockDib(r->Image);
  if (!h || h->biBitCount > 8) return;
  BYTE palette[768];
  int count = GetDibPalette(h, palette);
  for (COLORREF* c : {&r->PaintColour, &r->FillColour, &r->PaperColour})
    *c = static_cast<COLORREF>(FindPaletteColour(GetRValue(*c), GetGValue(*c), GetBValue(*c), palette, count));
}

COLORREF ColourOfValue(const BLOCKSET* r, std::uint32_t value) {
  switch (r->ImageType) {
    case IMAGE_GREY: return RGB(value & 255, value & 255, value & 255);
    case IMAGE_PALETTED:
    case IMAGE_MONO: {
      const BITMAPINFOHEADER* h = LockDib(r->Image);
      if (!h) return value;
      BYTE palette[768];
      int count = GetDibPalette(h, palette);
      if (value >= static_cast<std::uint32_t>(count)) return value;
      return RGB(palette[3 * value], palette[3 * value + 1], palette[3 * value + 2]);
    }
    default: return value;
  }
}

COLORREF GetPaintColour(const BLOCKSET* r) { return ColourOfValue(r, r->PaintColour); }
COLORREF GetFillColour(const BLOCKSET* r) { return ColourOfValue(r, r->FillColour); }
COLORREF GetPaperColour(const BLOCKSET* r) { return ColourOfValue(r, r->PaperColour); }

std::uint32_t AdjustPixel(const BLOCKSET* r, std::uint32_t value) {
  if (r->ImageType == IMAGE_GREY && value != NOPIXEL) return RGB(value & 255, value & 255, value & 255);
  return value;
}

namespace {
bool HistoryOn() { return UndoSteps > 1; }

void UpdateUndoFlags(BLOCKSET* r) {
  const bool steps = r->History && r->History->UndoCount() > 0;
  r->UndoAvailable = (r->UndoImage || steps) ? 1 : 0;
  r->RedoAvailable = r->History && r->History->RedoCount() > 0 ? 1 : 0;
}

std::size_t UndoBudget() { return UndoMemory > 0 ? static_cast<std::size_t>(UndoMemory) << 20 : DefaultUndoBudget(); }
}  // namespace

void CompactUndo(BLOCKSET* r) {
  if (!r->History || !r->UndoImage) return;
  const UNDOSTATE state{r->UndoModified, r->UndoTool, r->UndoPaintColour, r->UndoFillColour, r->UndoPaperColour};
  r->History->Record(std::move(r->UndoImage), state, r->Image);
  r->UndoImage.reset();
  r->History->Trim(static_cast<std::size_t>(std::max(1, UndoSteps)), UndoBudget());
  UpdateUndoFlags(r);
}

void CreateUndo(BLOCKSET* r) {
  if (HistoryOn()) {
    if (!r->History) r->History = std::make_unique<UndoHistory>();
    CompactUndo(r);
  } else {
    r->History.reset();
    r->RedoAvailable = 0;
  }
  r->UndoTool = r->Tool;
  r->UndoModified = r->Modified;
  r->UndoImage.reset();
  r->UndoImage = DuplicateObject(r->Image);
  // Without the copy this change can't be taken back, and the steps before it
  // no longer fit the picture: Undo will say so, as with one level.
  if (!r->UndoImage && r->History) r->History->Clear();
  r->UndoPaintColour = r->PaintColour;
  r->UndoFillColour = r->FillColour;
  r->UndoPaperColour = r->PaperColour;
  r->UndoAvailable = 1;
}

bool DoUndo(BLOCKSET* r) {
  if (r->History) {
    CompactUndo(r);
    const bool ok = r->History->Undo(r);
    UpdateUndoFlags(r);
    return ok;
  }
  if (!r->UndoImage) {
    r->UndoAvailable = 0;
    return false;
  }
  r->Image = std::move(r->UndoImage);
  r->UndoImage.reset();
  r->UndoAvailable = 0;
  r->Modified = r->UndoModified;
  r->Tool = r->UndoTool;
  r->PaintColour = r->UndoPaintColour;
  r->FillColour = r->UndoFillColour;
  r->PaperColour = r->UndoPaperColour;
  return true;
}

bool DoRedo(BLOCKSET* r) {
  if (!r->History) return false;
  CompactUndo(r);
  const bool ok = r->History->Redo(r);
  UpdateUndoFlags(r);
  return ok;
}

bool EnsureUndoImage(BLOCKSET* r) {
  if (r->UndoImage) return true;
  if (!r->History) return false;
  UNDOSTATE state;
  HDIB before = r->History->TakeLast(r->Image, &state);
  if (!before) return false;
  // The last step is pending again, as if its change had just been made.
  r->UndoImage = std::move(before);
  r->UndoModified = state.Modified;
  r->UndoTool = state.Tool;
  r->UndoPaintColour = state.PaintColour;
  r->UndoFillColour = state.FillColour;
  r->UndoPaperColour = state.PaperColour;
  UpdateUndoFlags(r);
  return true;
}

void FreeUndo(BLOCKSET* r) {
  r->UndoImage.reset();
  r->History.reset();
  r->UndoAvailable = 0;
  r->RedoAvailable = 0;
}

void FreeBlocks(BLOCKSET* r) { r->Image.reset(); }

namespace {
SlowWorkRunner g_slowWork;

// Areas from which a fill source or a shadow is worth a worker: below this
// they take a few milliseconds.
constexpr long long kSlowArea = 1 << 20;

void RunSlow(long long area, const char* label, const std::function<void()>& work) {
  if (g_slowWork && area >= kSlowArea) g_slowWork(label, work);
  else work();
}
}  // namespace

void SetSlowWorkRunner(SlowWorkRunner runner) { g_slowWork = std::move(runner); }

HDIB GetFillImage(BLOCKSET* r, const RECT& rect) {
  HDIB source;
  const long long area = static_cast<long long>(rect.right - rect.left) * (rect.bottom - rect.top);
  RunSlow(r->FillType != 0 ? area : 0, "Filling",
          [&] { source = GetFillImage(r->FillType, &r->Gradient, &r->Texture, &r->Matrix, rect); });
  return source;
}

int HandleShadowImage(HDIB* mask, int* x, int* y, COLORREF* colour, const BLOCKSET* r) {
  SHADOWCOLOURS colours;
  colours.PaintColour = GetPaintColour(r);
  colours.FillColour = GetFillColour(r);
  colours.PaperColour = GetPaperColour(r);
  const BITMAPINFOHEADER* m = LockDib(*mask);
  const long long area = m ? static_cast<long long>(m->biWidth) * m->biHeight : 0;
  int result = 0;
  RunSlow(area, "Shadow", [&] { result = HandleShadowImage(mask, x, y, colour, &r->Shadow, colours); });
  return result;
}

bool NeedsSaveAs(const BLOCKSET* r) {
  if (!r->HasFile) return true;
  std::string prefix = FetchString(IDS_UNTITLED);
  prefix = prefix.substr(0, prefix.find('%'));
  std::string name = SubtractPath(r->FileName);
  if (name.size() < prefix.size()) return false;
  for (std::size_t i = 0; i < prefix.size(); ++i)
    if (std::tolower(static_cast<unsigned char>(name[i])) != std::tolower(static_cast<unsigned char>(prefix[i])))
      return false;
  return true;
}

}  // namespace ochrel
