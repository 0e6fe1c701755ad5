// The Open and Save dialogs for pictures: Qt's own (non-native) file dialog
// with the five image types, the type and folder remembered between uses, a
// preview pane in Open, and in Save a file name whose extension follows the
// chosen type.
#pragma once

#include <QFileDialog>
#include <QFrame>
#include <QRect>
#include <QString>
#include <QStringList>

#include <string>

#include "image/dib.h"

class QCheckBox;
class QComboBox;
class QLabel;
class QLineEdit;

namespace ochrel {

// ---- The type list ------------------------------------------------------------
// The five formats in the order of the format table, then "All files", which
// means all five. Indices here are 1-based, as ImageFileOpenIndex is.
inline constexpr int kImageTypeListCount = 6;
// "JPEG files", ..., "All files".
QString ImageTypeName(int index);
// The extension of a single type without its dot ("png"); "" for "All files"
// and outside the list.
std::string ImageTypeExtension(int index);
// The filter texts given to the dialog, matching the extensions in any case.
QStringList ImageFileFilters();
// The type whose extension the name has (ignoring case); `current` when none
// of the five has it.
int TypeIndexForName(const std::string& name, int current);
// The name after a change to type `index`: its extension replaced (or added)
// by the type's, unless the type is "All files" or the name already has it.
std::string NameForType(const std::string& name, int index);

// ---- The preview --------------------------------------------------------------
// Where a picture goes in the pane's inner box: the scale in percent (the
// larger that fits, but at least 10) and the picture's rectangle at that scale,
// centred on the box, relative to the box's top left. At 10 percent a very wide
// or tall picture overflows the box; the drawing clips it.
struct PreviewPlacement {
  int percent = 0;
  QRect rect;
};
PreviewPlacement PlacePreview(int boxWidth, int boxHeight, int pictureWidth, int pictureDepth);
// "Width: %d\nDepth: %d\nColors: %s", the colours being 2 to the power of the depth.
QString PreviewText(int width, int depth, int bits);

// The owner-drawn pane: a sunken edge, white inside, and the picture when
// there is one and showing is on.
class ImagePreviewPane : public QFrame {
  Q_OBJECT
 public:
  explicit ImagePreviewPane(QWidget* parent);
  void SetPicture(HDIB picture);
  const HDIB& picture() const { return picture_; }
  void SetShow(bool show);
  bool showing() const { return show_; }
  // The white box inside the edge.
  QRect innerRect() const { return contentsRect(); }

 protected:
  void paintEvent(QPaintEvent* event) override;

 private:
  HDIB picture_;
  bool show_ = true;
};

// ---- The dialogs --------------------------------------------------------------
// What both dialogs share: the type list, the remembered type, and the OK step,
// which tests reach through RunDialog's answerer as well.
class ImageFileDialog : public QFileDialog {
  Q_OBJECT
 public:
  // The 1-based index of the chosen type.
  int typeIndex() const;
  void SelectType(int index);
  QComboBox* typeCombo() const;
  QLineEdit* nameEdit() const;
  // The path OK chose, "" before.
  const std::string& chosenPath() const { return chosen_; }
  // The checks of OK; on success the path is chosen, ImageFileOpenIndex takes
  // the type, and true is returned. False keeps the dialog open.
  virtual bool Finish() = 0;
  void accept() override;

 protected:
  ImageFileDialog(QWidget* parent, const QString& title, const std::string& folder);
  // The user picked another type; `nameBefore` is the name field as it was.
  virtual void TypeChanged(const QString& nameBefore) { (void)nameBefore; }
  std::string chosen_;
};

class OpenImageFileDialog : public ImageFileDialog {
  Q_OBJECT
 public:
  OpenImageFileDialog(QWidget* parent, const std::string& folder);
  ImagePreviewPane* pane() const { return pane_; }
  QCheckBox* previewBox() const { return previewBox_; }
  QLabel* infoText() const { return infoText_; }
  // What a new selection does: load the whole file for the pane; a file that
  // fails leaves the text as it was and the pane empty.
  void ShowPreviewOf(const QString& path);
  bool Finish() override;

 private:
  ImagePreviewPane* pane_ = nullptr;
  QCheckBox* previewBox_ = nullptr;
  QLabel* infoText_ = nullptr;
};

class WriteImageFileDialog : public ImageFileDialog {
  Q_OBJECT
 public:
  // `proposed` is the starting name, with or without a folder.
  WriteImageFileDialog(QWidget* parent, const std::string& proposed);
  bool Finish() override;

 protected:
  // The name in the field follows the chosen type.
  void TypeChanged(const QString& nameBefore) override;
};

// Asks for a picture to open, starting in the folder of *path (OpenPath when it
// has none). True on OK with the path in *path; Cancel returns false.
bool GetOpenImageFileName(QWidget* parent, std::string* path);
// Asks for the name to write a picture to, starting with the proposed name
// `start`. True on OK with the path in *path.
bool GetWriteImageFileName(QWidget* parent, const std::string& start, std::string* path);

}  // namespace ochrel
