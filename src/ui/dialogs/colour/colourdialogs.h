// How the user picks a colour. The kind of document decides the dialog: true
// colour gets the colour dialog with the named colour table, grey a grey ramp,
// paletted and mono a grid of the palette's entries. The fill colour of a
// document whose fill isn't solid opens that fill's editor instead.
#pragma once

#include <QDialog>
#include <QWidget>

#include <string>
#include <vector>

#include "image/colourspace.h"
#include "image/dib.h"

class QDialogButtonBox;
class QLabel;
class QLineEdit;
class QListWidget;
class QPushButton;
class QSpinBox;

namespace ochrel {

struct BLOCKSET;
class GreyLevelSelector;

// "ColourSelectBox": *colour takes the dialog's colour (unchanged on Cancel).
int DoColourSelectRGB(QWidget* window, COLORREF* colour);
// "PaletteColourSelectBox": on OK *colour takes the chosen index. Shift+click
// edits go straight into `palette` (768 bytes); `bits` is the image's depth.
int DoColourSelectPalette(QWidget* window, COLORREF* colour, BYTE* palette, int bits);
// "GreySelectBox": *colour takes the grey of the chosen level.
int DoColourSelectGrey(QWidget* window, COLORREF* colour);

// Ids of ColourSelectBox's controls.
enum ColourSelectIds : int {
  IDC_COLOUROPEN = 101,
  IDC_COLOURLIST = 108,
  IDC_COLOURADD = 109,
  IDC_COLOURDELETE = 110,
  IDC_HUE = 703,
  IDC_SATURATION = 704,
  IDC_LUMINOSITY = 705,
  IDC_RED = 706,
  IDC_GREEN = 707,
  IDC_BLUE = 708,
};

class HueSaturationMap;
class LuminosityBar;

// Our colour dialog: a hue and saturation map, a luminosity bar, the six
// number fields and the named colour table. Every change to the table is
// written to its file at once: the table has no Cancel.
class ColourSelectBox : public QDialog {
  Q_OBJECT
 public:
  explicit ColourSelectBox(COLORREF colour, QWidget* parent = nullptr);
  COLORREF colour() const { return colour_; }
  // As the user would set the fields: the colour and all six fields follow.
  void setColour(COLORREF colour);
  void setHls(const HLSCOLOUR& hls);
  QSpinBox* field(int id) const;
  QListWidget* list() const { return list_; }
  QPushButton* button(int id) const;
  QDialogButtonBox* buttons() const { return buttons_; }
  const std::string& tableFile() const { return file_; }

  // Message 1050: selects the first entry of the fields' colour, else the first.
  void SelectTableColour();
  void AddColour();
  void DeleteColour();
  void OpenTable();

 private:
  void ShowColour(bool fromHls);
  void FieldChanged(int id);
  void LoadTable();
  bool SaveTable();
  void ProgramSelect(int row);

  COLORREF colour_ = 0;
  HLSCOLOUR hls_;
  QSpinBox* fields_[6] = {};
  HueSaturationMap* map_ = nullptr;
  LuminosityBar* bar_ = nullptr;
  QWidget* sample_ = nullptr;
  QListWidget* list_ = nullptr;
  QPushButton* add_ = nullptr;
  QPushButton* delete_ = nullptr;
  QPushButton* open_ = nullptr;
  QDialogButtonBox* buttons_ = nullptr;
  std::string file_;
  bool updating_ = false;
  bool selecting_ = false;
};

// "AddColourBox": the name of a new table entry. OK waits for 3 characters.
class AddColourBox : public QDialog {
  Q_OBJECT
 public:
  explicit AddColourBox(COLORREF colour, QWidget* parent = nullptr);
  QLineEdit* nameField() const { return name_; }
  QPushButton* okButton() const;
  // The name as far as 259 characters.
  std::string name() const;

 private:
  QLineEdit* name_;
  QDialogButtonBox* buttons_;
};
// Asks for the name and appends the entry to the list; non-zero after OK.
int AddTableColour(QWidget* dialog, COLORREF colour, QListWidget* list);

// "OpenColourTableBox": the *.CCL files of the application folder by name.
class OpenColourTableBox : public QDialog {
  Q_OBJECT
 public:
  explicit OpenColourTableBox(const std::string& current, QWidget* parent = nullptr);
  QLineEdit* nameField() const { return name_; }
  QListWidget* names() const { return names_; }
  // The box's text with ".CCL" appended.
  std::string fileName() const;

 private:
  QLineEdit* name_;
  QListWidget* names_;
};
// `name` holds the current file name on entry and the chosen one after OK.
int GetOpenColourTableName(QWidget* dialog, std::string* name);

class PaletteTile;

// "PaletteColourSelectBox": one 14 by 14 tile per palette entry on a 16-pixel
// grid, ids 102 + index.
class PaletteColourSelectBox : public QDialog {
  Q_OBJECT
 public:
  PaletteColourSelectBox(BYTE* palette, int bits, int selected, QWidget* parent = nullptr);
  int count() const { return count_; }
  int selected() const { return selected_; }
  PaletteTile* tile(int index) const;
  QLabel* info() const { return info_; }
  COLORREF entry(int index) const;
  // A click on a tile; with Shift it edits the tile's entry.
  void TileClicked(int index, bool shift);

 private:
  void ShowInfo();
  BYTE* palette_;
  int count_;
  int selected_;
  QLabel* info_;
  std::vector<PaletteTile*> tiles_;
};

class PaletteTile : public QWidget {
  Q_OBJECT
 public:
  PaletteTile(PaletteColourSelectBox* box, int index);
  int index() const { return index_; }

 protected:
  void paintEvent(QPaintEvent*) override;
  void mousePressEvent(QMouseEvent* event) override;

 private:
  PaletteColourSelectBox* box_;
  int index_;
};

// "GreySelectBox": the grey-level selector and the level's number.
class GreySelectBox : public QDialog {
  Q_OBJECT
 public:
  explicit GreySelectBox(COLORREF colour, QWidget* parent = nullptr);
  GreyLevelSelector* selector() const { return selector_; }
  QLabel* levelLabel() const { return label_; }
  COLORREF colour() const { return colour_; }

 private:
  GreyLevelSelector* selector_;
  QLabel* label_;
  COLORREF colour_;
};

}  // namespace ochrel
