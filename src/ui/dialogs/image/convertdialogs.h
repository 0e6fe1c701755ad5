// "Convert to monochrome" and "Convert to paletted color": the two conversions
// that ask for a strategy first, each with a live preview of the strategy on a
// reduced copy of the image.
#pragma once

#include <QDialog>
#include <QFrame>
#include <QImage>

#include <functional>

#include "image/dib.h"

class QButtonGroup;
class QDialogButtonBox;
class QLabel;
class QRadioButton;
class QSpinBox;

namespace ochrel {

// The owner-drawn preview: asks its maker for the converted reduced image that
// fits its box, keeps it until something changes, and draws it centred.
class ConvertPreview : public QFrame {
  Q_OBJECT
 public:
  // Makes the preview for a box of the given size, with the offsets that centre
  // it; null draws nothing.
  using Maker = std::function<HDIB(int boxWidth, int boxHeight, int* offsetX, int* offsetY)>;
  ConvertPreview(Maker maker, QWidget* parent);

  // The inner box the image is fitted into (the frame stays around it).
  void setBoxSize(QSize size);
  QSize boxSize() const { return contentsRect().size(); }
  // Drop the kept image and redraw, after an option or a number changed.
  void Invalidate();
  // The image as it is drawn (made now if it is out of date), and where.
  const HDIB& previewDib();
  QPoint previewOffset();
  // How many times the preview has been made (a redraw of an unchanged preview
  // makes nothing).
  int makeCount() const { return makes_; }

 protected:
  void paintEvent(QPaintEvent* event) override;

 private:
  // Made again after a change, or when the box no longer has the size the
  // kept image was fitted to.
  bool OutOfDate() const;
  void Make();

  Maker maker_;
  bool dirty_ = true;
  QSize madeFor_;
  int makes_ = 0;
  HDIB dib_;
  QImage shown_;
  QPoint offset_;
};

// The shared shape: the text above, the "Conversion options" group with its
// radio buttons beside the preview, OK, Cancel and Help.
class ConvertBox : public QDialog {
  Q_OBJECT
 public:
  QRadioButton* option(int id) const;
  QButtonGroup* options() const { return group_; }
  ConvertPreview* preview() const { return preview_; }
  QLabel* text() const { return text_; }
  QDialogButtonBox* buttons() const { return buttons_; }
  // The image the dialog shows; null once the dialog has been closed.
  const HDIB* image() const { return image_; }

  void done(int result) override;

 protected:
  ConvertBox(const HDIB& image, QWidget* parent);
  struct Option {
    int id;
    const char* text;
  };
  // Builds the controls; the checked option comes from `*setting` (101 when no
  // button has that id) and every choice is stored there at once.
  void Build(const QString& title, const QString& text, const Option* options, int count, int previewId, int* setting,
             ConvertPreview::Maker maker, QWidget* below = nullptr);
  // Whether the button with this id is checked, for the preview's order rule.
  bool IsChecked(int id) const;

 private:
  const HDIB* image_;
  QButtonGroup* group_ = nullptr;
  ConvertPreview* preview_ = nullptr;
  QLabel* text_ = nullptr;
  QDialogButtonBox* buttons_ = nullptr;
};

// "ConvertToMonoBox": error-diffused, Bayer or remapped black and white, with
// the brightness and contrast of the error diffusion.
class ConvertToMonoBox : public ConvertBox {
  Q_OBJECT
 public:
  ConvertToMonoBox(const HDIB& image, QWidget* parent = nullptr);
  QSpinBox* brightness() const { return brightness_; }
  QSpinBox* contrast() const { return contrast_; }
  // The option the preview runs: 103, then 102, else 101.
  int previewOption() const;

 private:
  QSpinBox* brightness_ = nullptr;
  QSpinBox* contrast_ = nullptr;
};

// "ConvertToPaletteBox": the nine ways to 256 or 16 colours.
class ConvertToPaletteBox : public ConvertBox {
  Q_OBJECT
 public:
  ConvertToPaletteBox(const HDIB& image, QWidget* parent = nullptr);
  // The option the preview runs: 109, 108, 107, 106, 105, 104, 102, 103, else 101.
  int previewOption() const;
};

// Run the dialog; on OK convert the whole image with the chosen strategy under
// the wait cursor. Null on Cancel (silently) or when memory runs out (after
// saying "Memory error"). The source is left as it is.
HDIB ConvertToMono(QWidget* parent, const HDIB& image);
HDIB ConvertToPalette(QWidget* parent, const HDIB& image);

}  // namespace ochrel
