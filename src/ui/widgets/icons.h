// Icons drawn as vectors at whatever size the screen asks for, so they stay
// sharp at 24 pixels and on high-density displays alike.
#pragma once

#include <QIcon>

#include <functional>

class QPainter;
class QRectF;

namespace ochrel {

// Draws into a square of side 1.0 (the painter is already scaled).
using IconPainter = std::function<void(QPainter&)>;
QIcon DrawnIcon(IconPainter painter);

// The button bar's icon for a command number (50 to 62).
QIcon CommandIcon(int command);
// The small picture in a document window's caption.
QIcon DocumentIcon();

}  // namespace ochrel
