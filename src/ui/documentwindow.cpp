#include "ui/documentwindow.h"

#include <QCloseEvent>
#include <QMdiArea>
#include <QPainter>
#include <QStyle>

#include "frame/commands.h"
#include "frame/services.h"
#include "ui/icons.h"
#include "frame/strings.h"
#include "render/screen.h"
#include "ui/mainframe.h"
#include "ui/messages.h"

namespace ochrel {

DocumentView::DocumentView(BLOCKSET* record, QWidget* parent) : QWidget(parent), record_(record) {
  setMouseTracking(true);
  setAttribute(Qt::WA_OpaquePaintEvent);
}

QSize DocumentView::sizeHint() const {
  const BITMAPINFOHEADER* h = LockDib(record_->Image);
  return h ? QSize(h->biWidth, h->biHeight) : QSize(128, 128);
}

void DocumentView::paintEvent(QPaintEvent* event) {
  QPainter p(this);
  const QColor face = palette().color(QPalette::Button);
  const BITMAPINFOHEADER* h = LockDib(record_->Image);
  QRect imageRect = h ? QRect(0, 0, h->biWidth, h->biHeight) : QRect();
  QRect dirty = event->rect();
  QRect part = dirty & imageRect;
  if (!part.isEmpty()) p.drawImage(part.topLeft(), DibToQImage(h, part.x(), part.y(), part.width(), part.height()));
  QRegion outside = QRegion(dirty) - QRegion(imageRect);
  for (const QRect& r : outside) p.fillRect(r, face);
}

void DocumentView::mouseMoveEvent(QMouseEvent* event) {
  if (auto* w = qobject_cast<DocumentWindow*>(parentWidget()))
    if (auto* frame = qobject_cast<MainFrame*>(w->mdiArea() ? w->mdiArea()->window() : nullptr))
      frame->StatusText(QString::asprintf("(%d,%d)", event->position().toPoint().x(), event->position().toPoint().y()));
  QWidget::mouseMoveEvent(event);
}

DocumentWindow::DocumentWindow(MainFrame* frame, const std::string& path) : frame_(frame) {
  CreateNewFile(&record_);
  record_.FileName = path;
  setAttribute(Qt::WA_DeleteOnClose);
  setObjectName("VarnwickStudioPaintTask");
  view_ = new DocumentView(&record_, this);
  setWidget(view_);
  setWindowIcon(DocumentIcon());
  resize(180, 180);
  UpdateTitle();
}

DocumentWindow::~DocumentWindow() {
  FreeUndo(&record_);
  FreeBlocks(&record_);
}

void DocumentWindow::UpdateTitle() { setWindowTitle(QString::fromStdString(record_.FileName)); }

void DocumentWindow::AdjustTaskWindow() {
  const BITMAPINFOHEADER* h = LockDib(record_.Image);
  if (!h || !mdiArea()) return;
  if (isMaximized()) return;
  QSize chrome = size() - (widget() ? widget()->size() : size());
  QSize area = mdiArea()->viewport()->size();
  int w = std::max(128, std::min(h->biWidth + chrome.width(), area.width() - x()));
  int d = std::max(128, std::min(h->biHeight + chrome.height(), area.height() - y()));
  resize(w, d);
}

bool DocumentWindow::Command(int id) {
  switch (id) {
    case CM_UNDO:
      if (!record_.UndoAvailable) return true;
      if (!DoUndo(&record_)) DoMessage(this, "Internal error in Undo -- this file will be discarded.");
      SetImageType(&record_);
      view_->update();
      AdjustTaskWindow();
      return true;
    case CM_GRIDACTIVE:
      record_.GridActive = !record_.GridActive;
      view_->update();
      return true;
    case CM_SAVE: Save(); return true;
    case CM_SAVEAS: SaveAs(); return true;
    case CM_CLOSE:
      QMetaObject::invokeMethod(this, [this] { close(); }, Qt::QueuedConnection);
      return true;
    default: return false;
  }
}

bool DocumentWindow::Save() {
  if (NeedsSaveAs(&record_)) return SaveAs();
  if (frame_->WriteDocument(this, record_.FileName)) {
    record_.Modified = 0;
    return true;
  }
  DoMessage(this, FetchString(IDS_ERROR_WRITING));
  return false;
}

bool DocumentWindow::SaveAs() {
  std::string path;
  if (!frame_->AskSavePath(this, record_.FileName, &path)) return false;
  SetOpenPath(path);
  record_.FileName = path;
  frame_->SetPathMenu(path);
  UpdateTitle();
  record_.HasFile = 1;
  return Save();
}

void DocumentWindow::Discard() {
  discarding_ = true;
  close();
}

void DocumentWindow::closeEvent(QCloseEvent* event) {
  if (!discarding_ && record_.Modified) {
    QString text = QString("The file\n%1\nhas not been saved.\n\nDo you wish to save it before closing?")
                       .arg(QString::fromStdString(record_.FileName));
    int answer = DoYesNoCancel(this, text);
    // A cancelled or failed save keeps the document open with its image.
    if (answer == IDCANCEL || (answer == IDYES && !Save())) {
      event->ignore();
      return;
    }
  }
  QMdiSubWindow::closeEvent(event);
}

void DocumentWindow::moveEvent(QMoveEvent* event) {
  // A window dragged above the top of the area snaps back to it.
  if (y() < 0) move(x(), 0);
  QMdiSubWindow::moveEvent(event);
}

}  // namespace ochrel
