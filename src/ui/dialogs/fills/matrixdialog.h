// "MatrixBox": the editor of a document's tile, with the tile library (groups
// of tiles, one *.MTX file each in the data folder) shown as thumbnails.
#pragma once

#include <QDialog>
#include <QStyledItemDelegate>

#include <functional>
#include <string>
#include <vector>

#include "fills/matrix.h"

class QComboBox;
class QLabel;
class QListWidget;
class QMenu;
class QPushButton;

namespace ochrel {

class MatrixBox;

// The thumbnail of a tile in a list entry: fitted into the entry inset by 4
// (small tiles enlarged too), centred, pushed one pixel when selected.
QRect PlaceMatrixThumbnail(const QRect& entry, int tileWidth, int tileDepth, bool selected);

class MatrixThumbnailDelegate : public QStyledItemDelegate {
 public:
  explicit MatrixThumbnailDelegate(MatrixBox* box);
  void paint(QPainter* p, const QStyleOptionViewItem& option, const QModelIndex& index) const override;
  QSize sizeHint(const QStyleOptionViewItem&, const QModelIndex&) const override { return QSize(48, 48); }

 private:
  MatrixBox* box_;
};

// 101: the working record's tile as a fill.
class MatrixPreview : public QWidget {
  Q_OBJECT
 public:
  explicit MatrixPreview(MatrixBox* box);
  QSize sizeHint() const override { return QSize(164, 164); }

 protected:
  void paintEvent(QPaintEvent*) override;

 private:
  MatrixBox* box_;
};

class MatrixBox : public QDialog {
  Q_OBJECT
 public:
  MatrixBox(MATRIX* working, QWidget* parent = nullptr);
  ~MatrixBox() override;
  MATRIX* working() const { return working_; }
  QListWidget* tiles() const { return list_; }
  QComboBox* groups() const { return groups_; }
  QPushButton* addButton() const { return add_; }
  QPushButton* deleteButton() const { return delete_; }
  QLabel* sizeText() const { return size_; }
  MatrixPreview* preview() const { return preview_; }
  const std::vector<HDIB>& entries() const { return entries_; }
  const QImage& thumbnail(int row) const { return thumbs_[row]; }
  bool modified() const { return modified_; }
  static std::string GroupPath();

  // The commands, as the controls give them.
  void SelectTile(int row);     // 102, selection changed
  void AddTile();               // 103
  void DeleteTile();            // 104 and "&Delete"
  void ExportTile();            // "&Export"
  void EditTile();              // "E&dit"
  void ChooseGroup(int index);  // 108, list closed
  void Accept();                // 1
  // The entry's context menu ("&Export", "E&dit", "&Delete"), built for the entry at `row`.
  QMenu* ContextMenu(int row);

  // Where "+" gets its picture; tests answer instead of the file dialog.
  using TilePathAnswerer = std::function<bool(std::string* path)>;
  static void SetTilePathAnswerer(TilePathAnswerer answerer);

 protected:
  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  bool LoadGroup();
  void FillGroups();
  void ShowEntries(int select);
  void ShowTileSize();
  void UpdateDeleteButton();
  MATRIX* working_;
  MatrixPreview* preview_;
  QListWidget* list_;
  QComboBox* groups_;
  QPushButton* add_;
  QPushButton* delete_;
  QLabel* size_;
  std::vector<HDIB> entries_;
  std::vector<QImage> thumbs_;
  bool modified_ = false;
  bool filling_ = true;
};

int& MatrixLibraryWriteable();

}  // namespace ochrel
