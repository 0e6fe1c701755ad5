// The mouse cursors of the tools, by their resource numbers: the platform's
// own where it has one, else drawn here at the screen's pixel density.
#pragma once

#include <QCursor>

namespace ochrel {

// 0 is the arrow; an unknown number gives the cross.
QCursor ToolCursor(int resource);

}  // namespace ochrel
