// The four editors run over a copy of the document's record; only OK writes
// the copy back, so Cancel needs nothing undone.
#include "ui/dialogs/fills/filldialogs.h"

#include <QWidget>

#include "frame/blockset.h"
#include "frame/settings.h"
#include "ui/dialogs/colour/colourdialogs.h"
#include "ui/widgets/dialogrunner.h"
#include "ui/dialogs/fills/gradientdialog.h"
#include "ui/widgets/messages.h"
#include "ui/dialogs/fills/matrixdialog.h"
#include "ui/dialogs/fills/shadowdialog.h"
#include "ui/dialogs/fills/texturedialog.h"
#include "frame/strings.h"

namespace ochrel {

namespace {
void Refresh(QWidget* owner) {
  if (owner) owner->update();
}
}  // namespace

int DoGradientSelect(QWidget* owner, BLOCKSET* record) {
  if (!record) return 0;
  GRADIENT working = record->Gradient;
  GradientBox box(&working, owner);
  const int result = RunDialog(box) ? 1 : 0;
  if (result) record->Gradient = working;
  Refresh(owner);
  return result;
}

int DoTextureSelect(QWidget* owner, BLOCKSET* record) {
  if (!record) return 0;
  TEXTURE working = record->Texture;
  int result = 0;
  {
    TextureBox box(&working, owner);
    result = RunDialog(box) ? 1 : 0;
  }
  if (result) record->Texture = working;
  Refresh(owner);
  return result;
}

int DoMatrixSelect(QWidget* owner, BLOCKSET* record) {
  if (!record) return 0;
  // The tile is duplicated, never shared, so the document keeps its own until OK.
  MATRIX working{};
  if (!DuplicateMatrix(&working, &record->Matrix)) {
    DoMessage(owner, FetchString(IDS_MEMORY_ERROR));
    return 0;
  }
  int result = 0;
  {
    MatrixBox box(&working, owner);
    result = RunDialog(box) ? 1 : 0;
  }
  if (result) {
    DestroyMatrix(&record->Matrix);
    record->Matrix.Tile = std::move(working.Tile);
    record->Matrix.Rect = working.Rect;
  } else {
    DestroyMatrix(&working);
  }
  Refresh(owner);
  return result;
}

int DoSetShadows(QWidget* owner, BLOCKSET* record) {
  if (!record) return 0;
  SHADOW working = record->Shadow;
  working.Owner = record;
  ShadowBox box(&working, owner);
  const int result = RunDialog(box) ? 1 : 0;
  if (result) record->Shadow = working;
  Refresh(owner);
  return result;
}

// ---- The entry ---------------------------------------------------------------------

int DoColourSelect(QWidget* window, BLOCKSET* record, COLORREF* colour, int* setting, int code) {
  const int type = record->Image ? record->ImageType : IMAGE_TRUECOLOUR;
  // A fill that isn't solid opens its own editor, whose result touches
  // neither the colour nor the setting.
  if (code == 2 && (type == IMAGE_TRUECOLOUR || type == IMAGE_GREY)) {
    switch (record->FillType) {
      case 1: return DoGradientSelect(window, record);
      case 2: return type == IMAGE_TRUECOLOUR ? DoTextureSelect(window, record) : 0;
      case 3: return type == IMAGE_TRUECOLOUR ? DoMatrixSelect(window, record) : 0;
      default: break;
    }
  }
  int result = 0;
  COLORREF chosen = 0;
  switch (type) {
    case IMAGE_TRUECOLOUR:
      result = DoColourSelectRGB(window, colour);
      chosen = *colour;
      break;
    case IMAGE_GREY:
      result = DoColourSelectGrey(window, colour);
      chosen = *colour;
      break;
    case IMAGE_PALETTED:
    case IMAGE_MONO: {
      BITMAPINFOHEADER* h = LockDib(record->Image);
      if (!h || h->biBitCount > 8) {
        DoMessage(window, FetchString(6));
        return 0;
      }
      BYTE palette[768];
      GetDibPalette(h, palette);
      result = DoColourSelectPalette(window, colour, palette, h->biBitCount);
      if (result) {
        // Edited entries take effect at once.
        PutDibPalette(h, palette);
        const int i = static_cast<int>(*colour & 0xFF);
        chosen = RGB(palette[3 * i], palette[3 * i + 1], palette[3 * i + 2]);
        if (window) window->update();
      }
      break;
    }
    default: DoMessage(window, "There has been an error determining the type of the current image."); return 0;
  }
  if (result && UpdateDefaults && setting) *setting = static_cast<int>(chosen);
  return result;
}

}  // namespace ochrel
