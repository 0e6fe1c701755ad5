// Placeholder bodies until the four editors are built: each leaves the record
// as it is and reports Cancel.
#include "ui/filldialogs.h"

namespace ochrel {

int DoGradientSelect(QWidget*, BLOCKSET*) { return 0; }
int DoTextureSelect(QWidget*, BLOCKSET*) { return 0; }
int DoMatrixSelect(QWidget*, BLOCKSET*) { return 0; }
int DoSetShadows(QWidget*, BLOCKSET*) { return 0; }

}  // namespace ochrel
