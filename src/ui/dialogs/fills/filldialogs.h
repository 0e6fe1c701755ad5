// The editors of a document's fill and shadow parameters: each works on a copy
// of the record and writes it back only on OK. Each returns the dialog's result
// (non-zero for OK).
#pragma once

class QWidget;

namespace ochrel {

struct BLOCKSET;

int DoGradientSelect(QWidget* owner, BLOCKSET* record);  // "GradientBox"
int DoTextureSelect(QWidget* owner, BLOCKSET* record);   // "TextureBox"
int DoMatrixSelect(QWidget* owner, BLOCKSET* record);    // "MatrixBox"
int DoSetShadows(QWidget* owner, BLOCKSET* record);      // "ShadowBox"

}  // namespace ochrel
