#include "ui/dialogs/fills/matrixdialog.h"

#include <QApplication>
#include <QComboBox>
#include <QContextMenuEvent>
#include <QDialogButtonBox>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QListWidget>
#include <QMenu>
#include <QMouseEvent>
#include <QPainter>
#include <QPushButton>
#include <QScrollBar>
#include <QStyle>
#include <QVBoxLayout>

#include <algorithm>
#include <cstdio>

#include "files/imagefile.h"
#include "frame/blockset.h"
#include "frame/options.h"
#include "frame/paths.h"
#include "frame/strings.h"
#include "image/convert.h"
#include "frame/settings.h"
#include "ui/widgets/dialogrunner.h"
#include "ui/dialogs/files/filedialogs.h"
#include "ui/dialogs/fills/gradientdialog.h"
#include "ui/dialogs/fills/librarygroups.h"
#include "ui/widgets/frameservices.h"
#include "ui/widgets/messages.h"
#include "ui/dialogs/fills/texturedialog.h"

namespace ochrel {

namespace {

const char kNotWriteable[] =
    "This file cannot be edited or overwritten.\n\nThe default matix set cannot be modified. To edit this file, save "
    "it to a new name. Hold down the Shift key and click on the + button.";
const char kLoadError[] = "There has been an error loading the matrix element file.";
constexpr int kThumb = 48;

MatrixBox::TilePathAnswerer g_tileAnswerer;

QSize DibSize(const HDIB& dib) {
  const BITMAPINFOHEADER* h = LockDib(dib);
  return h ? QSize(h->biWidth, std::abs(h->biHeight)) : QSize();
}

// A thumbnail only for a block whose pixels lie inside it: library items are
// taken as they come.
QImage TileImage(const HDIB& dib) {
  if (!dib || !MatrixTileUsable(dib.get())) return QImage();
  return FillDibImage(dib);
}

QFont SmallControlFont() {
  QFont f = QApplication::font();
  f.setPointSizeF(std::max(6.0, f.pointSizeF() * 0.8));
  return f;
}

}  // namespace

int& MatrixLibraryWriteable() {
  static int writeable = 0;
  return writeable;
}

void MatrixBox::SetTilePathAnswerer(TilePathAnswerer answerer) { g_tileAnswerer = std::move(answerer); }

QRect PlaceMatrixThumbnail(const QRect& entry, int tileWidth, int tileDepth, bool selected) {
  const QRect room = entry.adjusted(4, 4, -4, -4);
  if (tileWidth <= 0 || tileDepth <= 0) return QRect();
  const int p = std::min(100 * room.width() / tileWidth, 100 * room.height() / tileDepth);
  const int w = tileWidth * p / 100, d = tileDepth * p / 100;
  const int x = std::max(0, (room.width() - w) / 2), y = std::max(0, (room.height() - d) / 2);
  const int push = selected ? 1 : 0;
  return QRect(room.left() + x + push, room.top() + y + push, w, d);
}

MatrixThumbnailDelegate::MatrixThumbnailDelegate(MatrixBox* box) : QStyledItemDelegate(box), box_(box) {}

void MatrixThumbnailDelegate::paint(QPainter* p, const QStyleOptionViewItem& option, const QModelIndex& index) const {
  const QRect r = option.rect;
  p->fillRect(r, Qt::white);
  const bool selected = option.state & QStyle::State_Selected;
  const QImage& image = box_->thumbnail(index.row());
  if (!image.isNull()) {
    p->save();
    p->setClipRect(r.adjusted(2, 2, -2, -2));
    p->setRenderHint(QPainter::SmoothPixmapTransform);
    p->drawImage(PlaceMatrixThumbnail(r, image.width(), image.height(), selected), image);
    p->restore();
  }
  if (selected) DrawSunkenEdge(*p, r);
  else DrawRaisedEdge(*p, r);
}

MatrixPreview::MatrixPreview(MatrixBox* box) : QWidget(box), box_(box) {
  setObjectName("101");
  setFixedSize(sizeHint());
}

void MatrixPreview::paintEvent(QPaintEvent*) {
  QPainter p(this);
  const QRect inner = rect().adjusted(2, 2, -2, -2);
  p.fillRect(inner, palette().window());
  MATRIX* w = box_->working();
  w->Rect = RECT{0, 0, inner.width(), inner.height()};
  HDIB dib = CreateMatrix(w);
  if (dib) p.drawImage(QPoint(2, 2), FillDibImage(dib));
  DrawSunkenEdge(p, rect());
}

MatrixBox::MatrixBox(MATRIX* working, QWidget* parent) : QDialog(parent), working_(working) {
  setObjectName("MatrixBox");
  setWindowTitle(tr("Matrix tile"));
  auto* top = new QGridLayout(this);

  auto* left = new QVBoxLayout;
  preview_ = new MatrixPreview(this);
  left->addWidget(preview_, 0, Qt::AlignHCenter);
  size_ = new QLabel(this);
  size_->setObjectName("105");
  size_->setAlignment(Qt::AlignCenter);
  left->addWidget(size_);
  left->addStretch();
  top->addLayout(left, 0, 0);

  auto* right = new QVBoxLayout;
  groups_ = new QComboBox(this);
  groups_->setObjectName("108");
  right->addWidget(groups_);
  list_ = new QListWidget(this);
  list_->setObjectName("102");
  list_->setViewMode(QListView::ListMode);
  list_->setFlow(QListView::TopToBottom);
  list_->setWrapping(true);
  list_->setMovement(QListView::Static);
  list_->setResizeMode(QListView::Adjust);
  list_->setUniformItemSizes(true);
  list_->setGridSize(QSize(kThumb, kThumb));
  list_->setSpacing(0);
  list_->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOn);
  list_->setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
  list_->setItemDelegate(new MatrixThumbnailDelegate(this));
  list_->setMinimumWidth(kThumb * 6 + 4);
  list_->viewport()->installEventFilter(this);
  right->addWidget(list_);
  auto* addRow = new QHBoxLayout;
  add_ = new QPushButton("+", this);
  add_->setObjectName("103");
  delete_ = new QPushButton(QString::fromUtf8("\u2014"), this);
  delete_->setObjectName("104");
  for (QPushButton* b : {add_, delete_}) {
    b->setFont(SmallControlFont());
    b->setFixedWidth(32);
    b->setAutoDefault(false);
    addRow->addWidget(b);
  }
  addRow->addStretch();
  right->addLayout(addRow);
  right->addStretch();
  top->addLayout(right, 0, 1);

  auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel | QDialogButtonBox::Help, this);
  top->addWidget(buttons, 1, 0, 1, 2);
  connect(buttons, &QDialogButtonBox::accepted, this, &MatrixBox::Accept);
  connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
  connect(buttons, &QDialogButtonBox::helpRequested, this, [this] { DoHelp(this, "TILE"); });
  buttons->button(QDialogButtonBox::Ok)->setDefault(true);

  {
    QApplication::setOverrideCursor(Qt::WaitCursor);
    const bool ok = LoadGroup();
    QApplication::restoreOverrideCursor();
    if (!ok) DoMessage(this, kLoadError);
  }
  if (!entries_.empty()) list_->setCurrentRow(0);
  // Exactly five rows of thumbnails show.
  // (Qt's list wraps a column one pixel early, hence the + 1.)
  list_->setFixedHeight(5 * kThumb + 1 + 2 * list_->frameWidth() +
                        list_->style()->pixelMetric(QStyle::PM_ScrollBarExtent, nullptr, list_));
  FillGroups();
  ShowTileSize();
  UpdateDeleteButton();
  filling_ = false;

  connect(list_, &QListWidget::currentRowChanged, this, [this](int row) {
    if (!filling_) SelectTile(row);
  });
  connect(list_, &QListWidget::itemDoubleClicked, this, [this] { Accept(); });
  connect(add_, &QPushButton::clicked, this, &MatrixBox::AddTile);
  connect(delete_, &QPushButton::clicked, this, &MatrixBox::DeleteTile);
  connect(groups_, &QComboBox::activated, this, &MatrixBox::ChooseGroup);
}

MatrixBox::~MatrixBox() = default;

std::string MatrixBox::GroupPath() { return (DataFolder() / MatrixLibrary).string(); }

bool MatrixBox::LoadGroup() {
  int writeable = MatrixLibraryWriteable();
  const bool ok = LoadMatrixFile(GroupPath(), &entries_, &writeable) != 0;
  MatrixLibraryWriteable() = writeable;
  ShowEntries(-1);
  return ok;
}

void MatrixBox::FillGroups() { FillLibraryGroups(groups_, "*.MTX", MatrixLibrary); }

void MatrixBox::ShowEntries(int select) {
  const bool was = filling_;
  filling_ = true;
  list_->clear();
  thumbs_.clear();
  for (const HDIB& dib : entries_) {
    thumbs_.push_back(TileImage(dib));
    list_->addItem(" ");
  }
  if (select >= 0 && select < list_->count()) list_->setCurrentRow(select);
  filling_ = was;
  UpdateDeleteButton();
}

void MatrixBox::ShowTileSize() {
  const QSize s = DibSize(working_->Tile);
  size_->setText(s.isValid() ? QString::asprintf("%d x %d", s.width(), s.height()) : QString());
}

void MatrixBox::UpdateDeleteButton() { delete_->setEnabled(list_->count() > 0 && list_->currentRow() >= 0); }

void MatrixBox::SelectTile(int row) {
  UpdateDeleteButton();
  if (row < 0 || row >= static_cast<int>(entries_.size())) return;
  // A copy, so that deleting the entry leaves the record's tile.
  HDIB copy = DuplicateObject(entries_[row]);
  if (!copy) {
    DoMessage(this, FetchString(IDS_MEMORY_ERROR));
    return;
  }
  working_->Tile = std::move(copy);
  preview_->update();
  ShowTileSize();
}

void MatrixBox::AddTile() {
  if (FillShiftHeld()) {
    std::string name = "Untitled";
    if (!EditTextureName(this, &name)) return;
    name = name.substr(0, kSettingTextSize - 5);
    const std::string file = name + ".MTX";
    std::snprintf(MatrixLibrary, kSettingTextSize, "%s", file.c_str());
    // Shift is down as the file is written, so the new group carries the
    // protecting flag, as the library's rules have it.
    if (!SaveMatrixFile(GroupPath(), entries_, FillShiftHeld() ? 0 : 1, std::time(nullptr),
                        SaveOptionsFromSettings())) {
      DoMessage(this, "Error writing file");
      return;
    }
    ShowLibraryGroup(groups_, QString::fromStdString(name));
    MatrixLibraryWriteable() = 1;
    return;
  }
  if (!MatrixLibraryWriteable()) {
    DoMessage(this, kNotWriteable);
    return;
  }
  std::string path = OpenPath;
  const bool picked = g_tileAnswerer ? g_tileAnswerer(&path) : GetOpenImageFileName(this, &path);
  if (!picked) return;
  std::snprintf(OpenPath, kSettingTextSize, "%s", path.c_str());
  HDIB image = LoadImage(path.c_str());
  const BITMAPINFOHEADER* h = LockDib(image);
  if (!h) {
    DoMessage(this, "Error reading file");
    return;
  }
  if (h->biWidth > 256 && std::abs(h->biHeight) > 256) {
    DoMessage(this, "The selected image is too large to be a matrix tile.");
    return;
  }
  if (h->biBitCount != 24) {
    HDIB converted = ConvertToTrueColour(image);
    if (!converted) {
      DoMessage(this, FetchString(IDS_MEMORY_ERROR));
      return;
    }
    image = std::move(converted);
  }
  entries_.push_back(std::move(image));
  ShowEntries(list_->currentRow());
  modified_ = true;
}

void MatrixBox::DeleteTile() {
  if (FillShiftHeld()) {
    if (!MatrixLibraryWriteable()) {
      DoMessage(this, "The primary matrix group cannot be deleted.");
      return;
    }
    if (!DeleteLibraryGroup(this, "matrix", groups_->currentText(), GroupPath())) return;
    std::snprintf(MatrixLibrary, kSettingTextSize, "%s", "Ochrel.MTX");
    entries_.clear();
    FillGroups();
    if (!LoadGroup()) DoMessage(this, kLoadError);
    return;
  }
  if (!MatrixLibraryWriteable()) {
    DoMessage(this, kNotWriteable);
    return;
  }
  const int row = list_->currentRow();
  if (row < 0 || row >= static_cast<int>(entries_.size())) return;
  entries_.erase(entries_.begin() + row);
  ShowEntries(std::min(row, static_cast<int>(entries_.size()) - 1));
  modified_ = true;
}

void MatrixBox::ExportTile() {
  const int row = list_->currentRow();
  if (row < 0 || row >= static_cast<int>(entries_.size())) return;
  std::string path;
  if (!GetWriteImageFileName(this, GetUntitledFileName(), &path)) return;
  if (!WriteImage(path.c_str(), entries_[row], SaveOptionsFromSettings())) DoMessage(this, "Error writing file");
}

void MatrixBox::EditTile() {
  const int row = list_->currentRow();
  if (row < 0 || row >= static_cast<int>(entries_.size())) return;
  if (FrameServices* frame = ActiveFrameServices()) frame->OpenAsNewDocument(entries_[row]);
}

void MatrixBox::ChooseGroup(int index) {
  if (index < 0) return;
  const std::string file = groups_->itemText(index).toStdString() + ".MTX";
  std::snprintf(MatrixLibrary, kSettingTextSize, "%s", file.c_str());
  entries_.clear();
  if (!LoadGroup()) DoMessage(this, kLoadError);
}

void MatrixBox::Accept() {
  const bool shift = FillShiftHeld();
  if (modified_ || shift) {
    QApplication::setOverrideCursor(Qt::WaitCursor);
    // Shift held here writes the protecting flag; the dialog closes whatever the result.
    SaveMatrixFile(GroupPath(), entries_, shift ? 0 : 1, std::time(nullptr), SaveOptionsFromSettings());
    QApplication::restoreOverrideCursor();
  }
  accept();
}

QMenu* MatrixBox::ContextMenu(int row) {
  if (row < 0 || row >= list_->count()) return nullptr;
  list_->setCurrentRow(row);
  auto* menu = new QMenu(this);
  menu->setAttribute(Qt::WA_DeleteOnClose);
  menu->addAction(tr("&Export"), this, &MatrixBox::ExportTile);
  menu->addAction(tr("E&dit"), this, &MatrixBox::EditTile);
  menu->addSeparator();
  menu->addAction(tr("&Delete"), this, &MatrixBox::DeleteTile);
  return menu;
}

bool MatrixBox::eventFilter(QObject* watched, QEvent* event) {
  if (watched == list_->viewport() && event->type() == QEvent::MouseButtonRelease) {
    auto* e = static_cast<QMouseEvent*>(event);
    if (e->button() == Qt::RightButton) {
      const QModelIndex index = list_->indexAt(e->position().toPoint());
      if (index.isValid())
        if (QMenu* menu = ContextMenu(index.row())) menu->popup(e->globalPosition().toPoint());
      return true;
    }
  }
  return QDialog::eventFilter(watched, event);
}

}  // namespace ochrel
