// The four editors run over a copy of the document's record; only OK writes
// the copy back, so Cancel needs nothing undone.
#include "ui/dialogs/fills/filldialogs.h"

#include <QWidget>

#include "frame/blockset.h"
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

}  // namespace ochrel
