#include "ui/dialogs/files/filedialogs.h"

#include <QCheckBox>
#include <QComboBox>
#include <QFileInfo>
#include <QGridLayout>
#include <QHeaderView>
#include <QImage>
#include <QLabel>
#include <QLineEdit>
#include <QPainter>
#include <QTreeView>
#include <QVBoxLayout>

#include <algorithm>
#include <cctype>
#include <filesystem>

#include "files/imagefile.h"
#include "frame/services.h"
#include "frame/view.h"
#include "frame/settings.h"
#include "ui/widgets/dialogrunner.h"
#include "ui/widgets/messages.h"

namespace ochrel {

namespace {

// The extension given to a name typed without one.
constexpr const char* DefaultFileExtension = "bmp";

// The names of the five formats, in the order of the format table.
constexpr const char* kFormatNames[] = {"JPEG files", "BMP files", "PCX files", "TGA files", "PNG files"};
constexpr int kFormatCount = 5;

// The preview pane and its companions, laid out as a column beside the list.
constexpr int kPaneWidth = 180;
constexpr int kPaneHeight = 150;

// The text after the last dot of the name part; "" when there is none.
std::string ExtensionOf(const std::string& name) {
  std::string::size_type slash = name.find_last_of('/');
  std::string::size_type dot = name.find_last_of('.');
  if (dot == std::string::npos || (slash != std::string::npos && dot < slash)) return {};
  return name.substr(dot + 1);
}

// "*.[pP][nN][gG]": the file system is case sensitive here, and PHOTO.JPG is
// as much a JPEG file as photo.jpg.
QString AnyCasePattern(const std::string& extension) {
  QString pattern = "*.";
  for (char c : extension) {
    const char lo = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    const char up = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    if (lo == up) {
      pattern += QChar(c);
    } else {
      pattern += '[';
      pattern += QChar(lo);
      pattern += QChar(up);
      pattern += ']';
    }
  }
  return pattern;
}

}  // namespace

// ---- The type list --------------------------------------------------------------

QString ImageTypeName(int index) {
  if (index >= 1 && index <= kFormatCount) return QString::fromLatin1(kFormatNames[index - 1]);
  if (index == kImageTypeListCount) return QStringLiteral("All files");
  return {};
}

std::string ImageTypeExtension(int index) {
  if (index < 1 || index > kFormatCount) return {};
  char text[16] = {};
  if (GetFormatExtension(text, index - 1, sizeof text) < 0) return {};
  return text;
}

QStringList ImageFileFilters() {
  QStringList filters;
  QStringList all;
  for (int i = 1; i <= kFormatCount; ++i) {
    QStringList patterns;
    for (const char* const* e = FormatExtensions(i - 1); *e; ++e) patterns << AnyCasePattern(*e);
    filters << ImageTypeName(i) + " (" + patterns.join(' ') + ")";
    all << patterns;
  }
  filters << ImageTypeName(kImageTypeListCount) + " (" + all.join(' ') + ")";
  return filters;
}

int TypeIndexForName(const std::string& name, int current) {
  if (ExtensionOf(name).empty()) return current;
  const int row = FindImageFormat(name.c_str());
  return row >= 0 ? row + 1 : current;
}

std::string NameForType(const std::string& name, int index) {
  const std::string ext = ImageTypeExtension(index);
  if (ext.empty() || name.empty()) return name;
  const std::string old = ExtensionOf(name);
  // "photo.jpeg" already is a JPEG name.
  if (!old.empty() && FindImageFormat(name.c_str()) == index - 1) return name;
  std::string base = name.substr(0, name.size() - old.size());
  if (!base.empty() && base.back() == '.') base.pop_back();
  return base + "." + ext;
}

// ---- The preview -----------------------------------------------------------------

PreviewPlacement PlacePreview(int boxWidth, int boxHeight, int pictureWidth, int pictureDepth) {
  PreviewPlacement p;
  if (boxWidth <= 0 || boxHeight <= 0 || pictureWidth <= 0 || pictureDepth <= 0) return p;
  const long long across = static_cast<long long>(boxWidth) * 100 / pictureWidth;
  const long long down = static_cast<long long>(boxHeight) * 100 / pictureDepth;
  // Capped so that a one-pixel picture in a big box stays within int.
  p.percent = static_cast<int>(std::clamp<long long>(std::min(across, down), 10, 1000000));
  const int w = ZoomPercent(p.percent, pictureWidth);
  const int h = ZoomPercent(p.percent, pictureDepth);
  p.rect = QRect((boxWidth - w) / 2, (boxHeight - h) / 2, w, h);
  return p;
}

QString PreviewText(int width, int depth, int bits) {
  const long long colours = (bits >= 1 && bits < 63) ? (1LL << bits) : 0;
  return QString("Width: %1\nDepth: %2\nColors: %3")
      .arg(width)
      .arg(depth)
      .arg(QString::fromStdString(formatlong(colours)));
}

ImagePreviewPane::ImagePreviewPane(QWidget* parent) : QFrame(parent) {
  // A two-pixel sunken edge; the white box is what lies inside it.
  setFrameStyle(QFrame::WinPanel | QFrame::Sunken);
  setFixedSize(kPaneWidth, kPaneHeight);
}

void ImagePreviewPane::SetPicture(HDIB picture) {
  picture_ = std::move(picture);
  update();
}

void ImagePreviewPane::SetShow(bool show) {
  show_ = show;
  update();
}

void ImagePreviewPane::paintEvent(QPaintEvent* event) {
  QFrame::paintEvent(event);
  QPainter painter(this);
  const QRect inner = innerRect();
  painter.fillRect(inner, Qt::white);
  if (!picture_ || !show_) return;
  const BITMAPINFOHEADER* h = LockDib(picture_);
  if (!h) return;
  const PreviewPlacement place = PlacePreview(inner.width(), inner.height(), h->biWidth, h->biHeight);
  // Only the part inside the box is rendered, so that a huge picture at 10
  // percent costs no more than the box.
  const QRect target = place.rect.translated(inner.topLeft());
  const QRect visible = target.intersected(inner);
  if (visible.isEmpty()) return;
  QImage shown(visible.size(), QImage::Format_RGB32);
  if (shown.isNull()) return;
  ViewRender v;
  v.percent = place.percent;
  v.background = 0xFFFFFFFFu;
  RenderView(h, v, visible.left() - target.left(), visible.top() - target.top(), visible.width(), visible.height(),
             reinterpret_cast<std::uint32_t*>(shown.bits()), static_cast<std::size_t>(shown.bytesPerLine()));
  painter.setClipRect(inner);
  painter.drawImage(visible.topLeft(), shown);
}

// ---- The dialogs ------------------------------------------------------------------

ImageFileDialog::ImageFileDialog(QWidget* parent, const QString& title, const std::string& folder)
    : QFileDialog(parent, title) {
  setOption(QFileDialog::DontUseNativeDialog, true);
  setOption(QFileDialog::DontConfirmOverwrite, true);  // asked in Finish, through the program's prompt
  setNameFilters(ImageFileFilters());
  if (!folder.empty() && QFileInfo(QString::fromStdString(folder)).isDir())
    setDirectory(QString::fromStdString(folder));

  // The type list the user sees: the names alone, in a combo box of our own
  // standing where the dialog's own one stood, so that a change of type is
  // handled here from start to end.
  QComboBox* own = findChild<QComboBox*>("fileTypeCombo");
  auto* types = new QComboBox(this);
  types->setObjectName("ImageTypes");
  for (int i = 1; i <= kImageTypeListCount; ++i) types->addItem(ImageTypeName(i));
  if (own && layout() && layout()->replaceWidget(own, types)) {
    own->hide();
    if (auto* label = findChild<QLabel*>("fileTypeLabel")) label->setBuddy(types);
  } else if (own) {
    // Not where we expected it: keep the dialog's own list working.
    delete types;
    return;
  }
  setTabOrder(nameEdit(), types);
  // Room for the size, type and date columns next to the names, whose texts
  // otherwise come cut short.
  const QFontMetrics fm = fontMetrics();
  if (auto* details = findChild<QTreeView*>("treeView")) {
    const char* widest[] = {"Name", "999.9 KiB", "Windows BMP image", "30 Sep 2099 23:59:59"};
    QHeaderView* header = details->header();
    int columns = 0;
    for (int col = 0; col < header->count(); ++col) {
      if (col >= 1 && col < 4) {
        const int want = fm.horizontalAdvance(QString::fromLatin1(widest[col])) + 3 * fm.averageCharWidth();
        header->resizeSection(col, std::max(header->sectionSize(col), want));
      }
      columns += header->sectionSize(col);
    }
    // The columns, the places list beside them, margins and a scroll bar.
    const int wanted = columns + 24 * fm.averageCharWidth();
    resize(std::max(sizeHint().width(), wanted), sizeHint().height() + 2 * fm.lineSpacing());
  }
  connect(types, &QComboBox::currentIndexChanged, this, [this](int i) {
    if (i < 0 || i >= nameFilters().size()) return;
    // The dialog itself may rewrite the name when its filter changes; what
    // counts is the name as it was before.
    QLineEdit* edit = nameEdit();
    const QString before = edit ? edit->text() : QString();
    QFileDialog::selectNameFilter(nameFilters().at(i));
    TypeChanged(before);
  });
}

QComboBox* ImageFileDialog::typeCombo() const { return findChild<QComboBox*>("ImageTypes"); }

QLineEdit* ImageFileDialog::nameEdit() const { return findChild<QLineEdit*>("fileNameEdit"); }

int ImageFileDialog::typeIndex() const {
  if (QComboBox* types = typeCombo()) return types->currentIndex() + 1;
  const int i = static_cast<int>(nameFilters().indexOf(selectedNameFilter()));
  return i >= 0 ? i + 1 : 1;
}

void ImageFileDialog::SelectType(int index) {
  // A remembered index from an edited settings file may lie outside the list.
  if (index < 1 || index > kImageTypeListCount) index = 1;
  if (QComboBox* types = typeCombo()) {
    QSignalBlocker quiet(types);
    types->setCurrentIndex(index - 1);
  }
  QFileDialog::selectNameFilter(nameFilters().at(index - 1));
}

void ImageFileDialog::accept() {
  // A folder typed or picked in the list is entered, as the dialog always does.
  const QStringList files = selectedFiles();
  if (!files.isEmpty() && QFileInfo(files.first()).isDir()) {
    QFileDialog::accept();
    return;
  }
  if (Finish()) QDialog::accept();
}

OpenImageFileDialog::OpenImageFileDialog(QWidget* parent, const std::string& folder)
    : ImageFileDialog(parent, tr("Open"), folder) {
  setAcceptMode(QFileDialog::AcceptOpen);
  setFileMode(QFileDialog::ExistingFile);
  SelectType(ImageFileOpenIndex);

  auto* column = new QWidget(this);
  column->setObjectName("PreviewColumn");
  auto* v = new QVBoxLayout(column);
  v->setContentsMargins(0, 0, 0, 0);
  pane_ = new ImagePreviewPane(column);
  pane_->setObjectName("1500");
  previewBox_ = new QCheckBox(tr("&Preview"), column);
  previewBox_->setObjectName("1501");
  infoText_ = new QLabel(column);
  infoText_->setObjectName("1502");
  infoText_->setAlignment(Qt::AlignLeft | Qt::AlignTop);
  infoText_->setMinimumHeight(3 * infoText_->fontMetrics().lineSpacing());
  infoText_->setTextInteractionFlags(Qt::TextSelectableByMouse);
  v->addWidget(pane_);
  v->addWidget(previewBox_);
  v->addWidget(infoText_);
  v->addStretch(1);
  if (auto* grid = qobject_cast<QGridLayout*>(layout())) {
    // Beside the list of files, the row the list stands in.
    grid->addWidget(column, 1, grid->columnCount(), 1, 1);
  } else if (layout()) {
    layout()->addWidget(column);
  }

  previewBox_->setChecked(ShowFileOpenPreview != 0);
  pane_->SetShow(ShowFileOpenPreview != 0);
  connect(previewBox_, &QCheckBox::toggled, this, [this](bool on) {
    ShowFileOpenPreview = on ? 1 : 0;
    pane_->SetShow(on);
  });
  connect(this, &QFileDialog::currentChanged, this, &OpenImageFileDialog::ShowPreviewOf);
  resize(width() + column->sizeHint().width(), height());
}

void OpenImageFileDialog::ShowPreviewOf(const QString& path) {
  pane_->SetPicture(nullptr);
  // Only plain files: a pipe or a device named like a picture would never end.
  std::error_code error;
  const std::filesystem::path p(path.toStdString());
  if (path.isEmpty() || !std::filesystem::is_regular_file(p, error)) return;
  HDIB picture = LoadImage(p.c_str());
  if (!picture) return;
  const BITMAPINFOHEADER* h = LockDib(picture);
  infoText_->setText(PreviewText(h->biWidth, h->biHeight, h->biBitCount));
  pane_->SetPicture(std::move(picture));
}

bool OpenImageFileDialog::Finish() {
  const QStringList files = selectedFiles();
  if (files.isEmpty()) return false;
  const QFileInfo info(files.first());
  if (!info.exists() || info.isDir()) return false;
  chosen_ = files.first().toStdString();
  ImageFileOpenIndex = typeIndex();
  return true;
}

WriteImageFileDialog::WriteImageFileDialog(QWidget* parent, const std::string& proposed)
    : ImageFileDialog(parent, tr("Save as"), FolderOf(proposed).empty() ? FolderOf(OpenPath) : FolderOf(proposed)) {
  setAcceptMode(QFileDialog::AcceptSave);
  setFileMode(QFileDialog::AnyFile);
  const std::string name = SubtractPath(proposed);
  // The type first, then the name: choosing a type may touch the name field.
  SelectType(TypeIndexForName(name, ImageFileOpenIndex));
  selectFile(QString::fromStdString(name));
}

void WriteImageFileDialog::TypeChanged(const QString& nameBefore) {
  QLineEdit* edit = nameEdit();
  if (!edit) return;
  edit->setText(QString::fromStdString(NameForType(nameBefore.toStdString(), typeIndex())));
}

bool WriteImageFileDialog::Finish() {
  const QStringList files = selectedFiles();
  if (files.isEmpty()) return false;
  QString path = files.first();
  QFileInfo info(path);
  if (info.fileName().isEmpty() || info.isDir()) return false;
  if (info.suffix().isEmpty()) {
    if (!path.endsWith('.')) path += '.';
    path += QString::fromLatin1(DefaultFileExtension);
    info = QFileInfo(path);
  }
  if (info.exists()) {
    const QString question = QString("%1 already exists.\nDo you want to replace it?").arg(info.fileName());
    if (DoYesNo(this, question) != IDYES) return false;
  }
  chosen_ = path.toStdString();
  ImageFileOpenIndex = typeIndex();
  return true;
}

// ---- Entry points -----------------------------------------------------------------

namespace {

// OK pressed in the dialog ran Finish already; an answerer that only says "OK"
// has it run now.
bool Conclude(ImageFileDialog& dialog, std::string* path) {
  if (!RunDialog(dialog)) return false;
  if (dialog.result() != QDialog::Accepted && !dialog.Finish()) return false;
  if (dialog.chosenPath().empty()) return false;
  *path = dialog.chosenPath();
  return true;
}

}  // namespace

bool GetOpenImageFileName(QWidget* parent, std::string* path) {
  std::string folder = FolderOf(*path);
  if (folder.empty()) folder = FolderOf(OpenPath);
  path->clear();
  OpenImageFileDialog dialog(parent, folder);
  return Conclude(dialog, path);
}

bool GetWriteImageFileName(QWidget* parent, const std::string& start, std::string* path) {
  WriteImageFileDialog dialog(parent, start);
  return Conclude(dialog, path);
}

}  // namespace ochrel
