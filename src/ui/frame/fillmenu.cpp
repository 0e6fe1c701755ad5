#include "ui/frame/fillmenu.h"

#include <QAction>
#include <QMdiArea>
#include <QMdiSubWindow>
#include <QMenu>

#include "frame/blockset.h"
#include "frame/commands.h"
#include "frame/settings.h"
#include "ui/document/documentwindow.h"
#include "ui/widgets/frameservices.h"

namespace ochrel {

void BuildFillTypeMenu(QMenu* menu, const BLOCKSET* r) {
  auto add = [menu](const char* label, int id, bool checked, bool enabled) {
    QAction* a = menu->addAction(QString::fromUtf8(label));
    a->setData(id);
    a->setObjectName(QString::number(id));
    a->setCheckable(true);
    a->setChecked(checked);
    a->setEnabled(enabled);
  };
  add("&Right click for selector", CM_FILLRIGHTCLICK, FillTypeRightClick != 0, true);
  menu->addSeparator();
  const int type = r ? r->ImageType : IMAGE_NONE;
  const int fill = r ? r->FillType : -1;
  const bool any = r && LockDib(r->Image);
  add("&Solid", CM_FILLSOLID, fill == 0, any);
  add("&Gradient", CM_FILLGRADIENT, fill == 1, any && (type == IMAGE_TRUECOLOUR || type == IMAGE_GREY));
  add("&Texture", CM_FILLTEXTURE, fill == 2, any && type == IMAGE_TRUECOLOUR);
  add("&Matrix", CM_FILLMATRIX, fill == 3, any && type == IMAGE_TRUECOLOUR);
}

void RunFillTypeMenu(QWidget* parent, FrameServices* frame, DocumentWindow* d, QPoint globalPos) {
  QMenu menu(parent);
  menu.setObjectName("FillTypeMenu");
  BuildFillTypeMenu(&menu, d ? d->record() : nullptr);
  QAction* chosen = menu.exec(globalPos);
  if (chosen) FillTypeCommand(frame, d, chosen->data().toInt());
}

void FillTypeCommand(FrameServices* frame, DocumentWindow* d, int id) {
  if (id == CM_FILLRIGHTCLICK) {
    FillTypeRightClick = !FillTypeRightClick;
    return;
  }
  if (id < CM_FILLSOLID || id > CM_FILLMATRIX) return;
  if (!d) return;
  BLOCKSET* r = d->record();
  r->FillType = id - CM_FILLSOLID;
  if (UpdateDefaults) DefaultFillType = r->FillType;
  frame->RefreshStatus();
  if (r->ToolWindow)
    d->tools()->Post(RECV_TOOL, UM_COLOURCHANGED, COLOUR_FILL, static_cast<std::int64_t>(r->FillColour));
  if (FillTypeRightClick) frame->PostCommand(CM_FILLSWATCH);
}

void ArrangeIcons(QMdiArea* area) {
  const QRect space = area->viewport()->rect();
  int x = 0, y = space.bottom() + 1;
  int rowHeight = 0;
  for (QMdiSubWindow* w : area->subWindowList(QMdiArea::CreationOrder)) {
    if (!w->isMinimized()) continue;
    const QSize s = w->size();
    if (x > 0 && x + s.width() > space.width()) {
      x = 0;
      y -= rowHeight;
      rowHeight = 0;
    }
    rowHeight = std::max(rowHeight, s.height());
    w->move(x, y - s.height());
    x += s.width();
  }
}

}  // namespace ochrel
