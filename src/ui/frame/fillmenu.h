// The fill swatch's right-click menu and the frame's window-management
// commands that need more than one call: hiding the palettes and arranging
// minimised documents.
#pragma once

#include <QPoint>

class QMenu;
class QMdiArea;
class QWidget;

namespace ochrel {

class DocumentWindow;
class FrameServices;
struct BLOCKSET;

enum FillMenuCommand : int {
  CM_FILLSOLID = 2100,
  CM_FILLGRADIENT = 2101,
  CM_FILLTEXTURE = 2102,
  CM_FILLMATRIX = 2103,
  CM_FILLRIGHTCLICK = 2200,
};

// Fills `menu` with the fill type items, checked and greyed for the record
// (null: no document, every fill type grey). Each action's data is its number.
void BuildFillTypeMenu(QMenu* menu, const BLOCKSET* record);
// Shows the menu at `globalPos` and carries out the choice.
void RunFillTypeMenu(QWidget* parent, FrameServices* frame, DocumentWindow* document, QPoint globalPos);
// One choice of the menu: 2200 flips the right-click setting, 2100 to 2103 set
// the document's fill type and, with the right-click setting on, open
// the matching selector.
void FillTypeCommand(FrameServices* frame, DocumentWindow* document, int id);

// Minimised documents in rows along the bottom of the area, left to right.
void ArrangeIcons(QMdiArea* area);

}  // namespace ochrel
