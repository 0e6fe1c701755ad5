// The editors of a document's fill and shadow parameters: each works on a copy
// of the record and writes it back only on OK. Each returns the dialog's result
// (non-zero for OK).
#pragma once

#include "image/dib.h"

class QWidget;

namespace ochrel {

struct BLOCKSET;

int DoGradientSelect(QWidget* owner, BLOCKSET* record);  // "GradientBox"
int DoTextureSelect(QWidget* owner, BLOCKSET* record);   // "TextureBox"
int DoMatrixSelect(QWidget* owner, BLOCKSET* record);    // "MatrixBox"
int DoSetShadows(QWidget* owner, BLOCKSET* record);      // "ShadowBox"

// The paint (code 1), fill (2) or paper (4) colour of a document. `colour`
// points to the record's field, `setting` to the matching stored default or
// is null; with UpdateDefaults set the default takes the chosen colour (the
// palette entry's COLORREF on a paletted image, not the index). Non-zero if
// something was chosen. A gradient, texture or tile fill opens its editor instead.
int DoColourSelect(QWidget* window, BLOCKSET* record, COLORREF* colour, int* setting, int code);

}  // namespace ochrel
