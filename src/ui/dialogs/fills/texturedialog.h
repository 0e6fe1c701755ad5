// "TextureBox": the editor of a document's texture, with the texture library
// (groups of named textures, one *.FFT file each in the data folder), the
// curve editors of the perturbation colours, and "EditTextureNameBox", the
// small name editor that the tile library uses too.
#pragma once

#include <QDialog>
#include <QImage>

#include <atomic>
#include <map>
#include <string>
#include <thread>

#include "fills/texture_file.h"

class QComboBox;
class QLabel;
class QLineEdit;
class QListWidget;
class QPushButton;
class QSpinBox;

namespace ochrel {

class ColourSwatch;
class TextureBox;

// ---- The name editor ----------------------------------------------------------
class EditTextureNameBox : public QDialog {
  Q_OBJECT
 public:
  EditTextureNameBox(const std::string& name, QWidget* parent = nullptr);
  QLineEdit* edit() const { return edit_; }
  QPushButton* okButton() const { return ok_; }
  // No Cancel: the box ends only through OK.
  void reject() override {}

 private:
  QLineEdit* edit_;
  QPushButton* ok_;
};
// Asks for a name (at most 260 characters, never empty), starting from *name.
// Non-zero with the new name in *name.
int EditTextureName(QWidget* owner, std::string* name);

// ---- The curve editors (525 red, 526 green, 527 blue) ---------------------------
class CurveEditor : public QWidget {
  Q_OBJECT
 public:
  CurveEditor(TextureBox* box, int channel);
  QSize sizeHint() const override { return QSize(96, 72); }
  float* value(int k) const;
  // The drawing rectangle: the client inset by 6.
  QRect curveRect() const { return rect().adjusted(6, 6, -6, -6); }
  QPoint nodePoint(int k) const;
  int dragged() const { return dragged_; }
  // A colour picked for node k: this curve takes its channel's byte.
  void SetNodeColour(int k, COLORREF colour);

 protected:
  void paintEvent(QPaintEvent*) override;
  void mousePressEvent(QMouseEvent*) override;
  void mouseMoveEvent(QMouseEvent*) override;
  void mouseReleaseEvent(QMouseEvent*) override;
  void mouseDoubleClickEvent(QMouseEvent*) override;

 private:
  void DragTo(int y);
  TextureBox* box_;
  int channel_;
  int dragged_ = -1;
};

// ---- The preview (101) ------------------------------------------------------------
// Textures take a while to make, so the picture is made on a worker thread
// and shown when it arrives; the dialog stays live meanwhile. One worker at a
// time (the generators share state); a request during a run is made after it.
class TexturePreview : public QWidget {
  Q_OBJECT
 public:
  explicit TexturePreview(TextureBox* box);
  ~TexturePreview() override;
  QSize sizeHint() const override { return QSize(164, 164); }
  void Refresh();
  bool busy() const { return running_ || pending_; }
  // Waits for every requested picture and shows it (for tests).
  void WaitIdle();
  const QImage& picture() const { return picture_; }
  int pictures() const { return pictures_; }

 protected:
  void paintEvent(QPaintEvent*) override;

 private:
  void Start();
  void Finished(QImage picture);
  TextureBox* box_;
  std::thread worker_;
  bool running_ = false, pending_ = false;
  QImage picture_;
  int pictures_ = 0;
};

// ---- The dialog -------------------------------------------------------------------
class TextureBox : public QDialog {
  Q_OBJECT
 public:
  TextureBox(TEXTURE* working, QWidget* parent = nullptr);
  ~TextureBox() override;
  TEXTURE* working() const { return working_; }
  TexturePreview* preview() const { return preview_; }
  QListWidget* textures() const { return list_; }
  QComboBox* groups() const { return groups_; }
  QComboBox* types() const { return types_; }
  QComboBox* bubbleShape() const { return shape_; }
  QPushButton* addButton() const { return add_; }
  QPushButton* deleteButton() const { return delete_; }
  QSpinBox* spin(int id) const;
  ColourSwatch* swatch(int id) const;
  CurveEditor* curve(int channel) const { return curves_[channel]; }
  const TextureList& items() const { return items_; }
  bool modified() const { return modified_; }
  // The library file of the current group.
  static std::string GroupPath();

  // The commands, as the controls give them.
  void SelectTexture(int row);  // 102, selection changed
  void RenameTexture(int row);  // 102, double click
  void AddTexture();            // 104
  void DeleteTexture();         // 105
  void ChooseGroup(int index);  // 103, list closed
  void ChooseType(int index);   // 106, list closed
  void Accept();                // 1
  // Shows a record in every control.
  void ImposeTexture(const TEXTURE& t);
  void SetFractalToolLevel(int type);
  // The colour of node k of the three curves.
  void PickNodeColour(int k);

 private:
  struct SpinField;
  void StoreSpin(int id);
  void ShowItems(int select);
  void UpdateDeleteButton();
  bool LoadGroup();
  void FillGroups();
  TEXTURE* working_;
  TexturePreview* preview_;
  QListWidget* list_;
  QComboBox* groups_;
  QComboBox* types_;
  QComboBox* shape_;
  QPushButton* add_;
  QPushButton* delete_;
  CurveEditor* curves_[3];
  std::map<int, QSpinBox*> spins_;
  std::map<int, ColourSwatch*> swatches_;
  std::map<int, QWidget*> labels_;
  TextureList items_;
  bool modified_ = false;
  bool filling_ = true;
};

// Whether the current group may be changed; kept from one opening to the next.
int& TextureLibraryWriteable();

}  // namespace ochrel
