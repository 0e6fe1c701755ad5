#include "ui/frame/settingswindow.h"
#include "ui/widgets/hidpi.h"

#include "render/wrapper.h"

#include <QButtonGroup>
#include <QCheckBox>
#include <QComboBox>
#include <QContextMenuEvent>
#include <QFontDatabase>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QMainWindow>
#include <QMenu>
#include <QPainter>
#include <QPainterPath>
#include <QRadioButton>
#include <QSlider>
#include <QSpinBox>
#include <QToolButton>

#include <algorithm>
#include <cstdlib>
#include <functional>

#include "frame/config.h"
#include "frame/strings.h"
#include "frame/settings.h"
#include "tools/brushstamp.h"
#include "tools/spraycan.h"
#include "tools/toolparam.h"
#include "tools/toolsession.h"
#include "tools/tooltable.h"
#include "ui/document/documentwindow.h"

namespace ochrel {

namespace {

using B = BLOCKSET;

constexpr int kWidth = 312, kHeight = 204;
constexpr int kSpinId = 10000;  // a spin's id is its edit's plus this

const char kEyedropperText[] =
    "Left click to choose the paint color. Right click to choose the fill color. Click on your middle mouse button "
    "or mouse wheel to choose the paper color.\r\n\r\nIf your mouse lacks a middle button or a wheel, hold down the "
    "Shift key and left-click to choose the paper color.";
const char kZoomText[] =
    "Left click to zoom in. Right click to zoom out. Click on your middle mouse button or mouse wheel to zoom to 100 "
    "percent.\r\n\r\nIf your mouse lacks a middle button or a wheel, hold down the Shift key and left-click to zoom to "
    "100 percent.";

QColor Colour(COLORREF c) { return QColor(GetRValue(c), GetGValue(c), GetBValue(c)); }

// An edit with its spin. The edit takes any unsigned number so that a typed
// value can be clamped into the range (3 stores 4) instead of being refused;
// the arrows stay inside the range, from stepLow up.
class SettingSpin : public QSpinBox {
 public:
  SettingSpin(QWidget* parent, int lo, int hi, int stepLow) : QSpinBox(parent), lo_(lo), hi_(hi), stepLow_(stepLow) {
    setRange(0, 99999);
  }
  void stepBy(int steps) override { setValue(std::clamp(value() + steps, stepLow_, hi_)); }
  int Clamped() const { return std::clamp(value(), lo_, hi_); }

 protected:
  StepEnabled stepEnabled() const override {
    StepEnabled e = StepNone;
    if (value() > stepLow_) e |= StepDownEnabled;
    if (value() < hi_) e |= StepUpEnabled;
    return e;
  }

 private:
  int lo_, hi_, stepLow_;
};

// A sample: a sunken frame whose inside, inset by 2, is drawn by the page.
class SampleView : public QWidget {
 public:
  using Painter = std::function<void(QPainter&, const QRect&)>;
  SampleView(QWidget* parent, Painter painter) : QWidget(parent), painter_(std::move(painter)) {}

 protected:
  void paintEvent(QPaintEvent*) override {
    QPainter p(this);
    QRect r = rect();
    p.setPen(palette().color(QPalette::Dark));
    p.drawLine(r.topLeft(), r.topRight());
    p.drawLine(r.topLeft(), r.bottomLeft());
    p.setPen(palette().color(QPalette::Light));
    p.drawLine(r.bottomLeft(), r.bottomRight());
    p.drawLine(r.topRight(), r.bottomRight());
    p.setPen(palette().color(QPalette::Shadow));
    p.drawLine(r.topLeft() + QPoint(1, 1), r.topRight() + QPoint(-1, 1));
    p.drawLine(r.topLeft() + QPoint(1, 1), r.bottomLeft() + QPoint(1, -1));
    QRect inner = r.adjusted(2, 2, -2, -2);
    p.setClipRect(inner);
    painter_(p, inner);
  }

 private:
  Painter painter_;
};

// The stamp a brush page stands for, painted centred on white. A stamp that
// can't be made leaves the sample white.
void PaintStamp(QPainter& p, const QRect& r, const HDIB& stamp) {
  p.fillRect(r, Qt::white);
  const BITMAPINFOHEADER* h = LockDib(stamp);
  if (!h) return;
  const int w = h->biWidth, d = std::abs(h->biHeight);
  QImage img(w, d, QImage::Format_RGB32);
  if (img.isNull()) return;
  DibToRgb32(h, 0, 0, w, d, reinterpret_cast<std::uint32_t*>(img.bits()), static_cast<std::size_t>(img.bytesPerLine()));
  p.drawImage(r.x() + (r.width() - w) / 2, r.y() + (r.height() - d) / 2, img);
}

// The brush settings of a document, with the tool a stamp builder chooses them by.
void CopyBrushSettings(const BLOCKSET& from, BLOCKSET& to, int tool) {
  to.Tool = tool;
  to.ImageType = from.Image ? GetImageType(from.Image) : from.ImageType;
  to.Opacity = from.Opacity;
  to.BrushThickness = from.BrushThickness, to.BrushShape = from.BrushShape;
  to.BrushType = from.BrushType, to.BrushSoftness = from.BrushSoftness;
  to.AirBrushThickness = from.AirBrushThickness, to.AirBrushShape = from.AirBrushShape;
  to.AirBrushSoftness = from.AirBrushSoftness, to.AirBrushFlow = from.AirBrushFlow;
  to.EraserBrushThickness = from.EraserBrushThickness, to.EraserBrushShape = from.EraserBrushShape;
  to.EraserBrushType = from.EraserBrushType, to.EraserBrushSoftness = from.EraserBrushSoftness;
  to.HardBrushThickness = from.HardBrushThickness, to.HardBrushShape = from.HardBrushShape;
  to.HardBrushAngle = from.HardBrushAngle, to.HardBrushFlat = from.HardBrushFlat;
  to.UndoThickness = from.UndoThickness, to.UndoShape = from.UndoShape;
  to.UndoType = from.UndoType, to.UndoSoftness = from.UndoSoftness;
}

// Rectangle and ellipse samples: the shape starts half the thickness before the
// centre and runs past the lower right, so its upper left corner shows.
void PaintShape(QPainter& p, const QRect& r, const BLOCKSET& rec, bool ellipse) {
  const QColor paper = Colour(GetPaperColour(&rec));
  p.fillRect(r, paper);
  const int t = std::clamp(rec.LineThickness, 0, 64);
  const QPoint c = r.center();
  QRectF outer(c.x() - t / 2, c.y() - t / 2, r.width() + 2 * t, r.height() + 2 * t);
  QColor fill;
  bool filled = true;
  switch (rec.SolidFillMode) {
    case 1: filled = false; break;
    case 2: fill = paper; break;
    default: fill = Colour(GetFillColour(&rec)); break;
  }
  p.setPen(Qt::NoPen);
  p.setRenderHint(QPainter::Antialiasing, ellipse);
  auto draw = [&](const QRectF& box, const QColor& colour) {
    p.setBrush(colour);
    if (ellipse) p.drawEllipse(box);
    else p.drawRect(box);
  };
  if (t > 0) {
    draw(outer, Colour(GetPaintColour(&rec)));
    draw(outer.adjusted(t, t, -t, -t), filled ? fill : paper);
  } else if (filled) {
    draw(outer, fill);
  }
}

void PaintLine(QPainter& p, const QRect& r, const BLOCKSET& rec) {
  p.fillRect(r, Colour(GetPaperColour(&rec)));
  QPen pen(Colour(GetPaintColour(&rec)), std::clamp(rec.LineThickness, 1, 64));
  if (rec.LineCap == 8704) {
    pen.setCapStyle(Qt::FlatCap);
    pen.setJoinStyle(Qt::MiterJoin);
  } else {
    pen.setCapStyle(Qt::RoundCap);
    pen.setJoinStyle(Qt::RoundJoin);
  }
  p.setRenderHint(QPainter::Antialiasing);
  p.setPen(pen);
  const QPointF c = QRectF(r).center();
  p.drawLine(c, QPointF(c.x(), r.bottom() + 64));
}

QIcon JustifyIcon(int just) {
  QPixmap pm = CrispPixmap(QSize(16, 16));
  QPainter p(&pm);
  p.setPen(QPen(QColor(40, 44, 52), 1));
  const int widths[] = {12, 8, 12, 6};
  for (int i = 0; i < 4; ++i) {
    const int w = widths[i];
    const int x = just == 0 ? 2 : just == 1 ? 8 - w / 2 : 14 - w;
    p.drawLine(x, 3 + 3 * i, x + w - 1, 3 + 3 * i);
  }
  return QIcon(pm);
}

}  // namespace

struct SettingsWindow::Binding {
  enum Kind { Spin, Track, Radio, Check, Toggle } kind;
  QWidget* widget;
  int BLOCKSET::*field;
  int value = 0;                 // a radio's value
  QLabel* valueLabel = nullptr;  // a trackbar's value static
  int shownOffset = 0;           // the opacity static shows one more than its value
};

SettingsWindow::SettingsWindow(QWidget* parent) : QDockWidget(parent) {
  setObjectName("SettingsWindow");
  setFeatures(QDockWidget::DockWidgetMovable | QDockWidget::DockWidgetFloatable);
  body_ = new QWidget(this);
  body_->setFixedSize(kWidth, kHeight);
  setWidget(body_);
  CreateNewFile(&defaults_);

  // Opacity, at the left of every page that has it.
  AddLabel(13, "Opaque", QRect(0, 0, 56, 16), Qt::AlignCenter);
  QSlider* opacity = AddTrack(10, 0, nullptr, 11, QRect(), QRect(18, 18, 22, 148), QRect(0, 184, 56, 16), 0, 255, 16,
                              &B::Opacity, "Opacity", UM_SETTINGCHANGED, true);
  (void)opacity;
  AddLabel(12, "Trans.", QRect(0, 166, 56, 16), Qt::AlignCenter);

  // Colour tolerance and transparency (selectors, replacer, flood fill).
  AddGroup(24, "Color tolerance", QRect(62, 0, 132, 152));
  const char* tolLabels[] = {"Red:", "Green:", "Blue:", "Value:"};
  int BLOCKSET::*tolFields[] = {&B::RedTolerance, &B::GreenTolerance, &B::BlueTolerance, nullptr};
  for (int i = 0; i < 4; ++i) {
    QSpinBox* s = AddSpin(15 + i, 19 + i, tolLabels[i], QRect(70, 22 + 26 * i, 52, 22), QRect(122, 22 + 26 * i, 64, 22),
                          0, 255, 16, nullptr, nullptr, 0);
    (void)tolFields;
    connect(s, &QSpinBox::valueChanged, this, [this, i, s] { StoreTolerance(15 + i, std::clamp(s->value(), 0, 255)); });
  }
  QCheckBox* identical = new QCheckBox("Identical", body_);
  identical->setGeometry(70, 126, 118, 20);
  controls_[23] = identical;
  connect(identical, &QCheckBox::toggled, this, [this](bool on) {
    if (filling_) return;
    // A program-wide choice, not the document's: kept whatever UpdateDefaults says.
    ColourToleranceIdentical = on ? 1 : 0;
    SetIdentical(on);
  });
  AddGroup(28, "Transparency", QRect(200, 0, 108, 100));
  AddRadios({{25, "None"}, {26, "Exact"}, {27, "Tolerance"}}, {0, 1, 2}, QPoint(208, 20), 24, &B::FragmentPasteMode,
            "FragmentPasteMode", 0);

  // Colour replacer.
  AddGroup(117, "Match", QRect(200, 0, 108, 72));
  AddRadios({{115, "Exact"}, {116, "Tolerance"}}, {0, 1}, QPoint(208, 20), 24, &B::MatchType, "MatchType", 0);
  AddSpin(113, 114, "Size:", QRect(200, 78, 36, 22), QRect(238, 78, 64, 22), 4, 64, 32, &B::ReplacerSize,
          "ReplacerSize", UM_SETTINGCHANGED, 16);
  // Room for the largest square, 65 pixels, inside the sunken edge.
  AddSample(118, QRect(200, 104, 108, 96));
  QLabel* replacerText = AddLabel(119, "Replace pixels of the paper color with the paint color.",
                                  QRect(62, 156, 132, 44), Qt::AlignLeft | Qt::AlignTop);
  replacerText->setWordWrap(true);

  // Text.
  BuildFontControls();
  AddSample(29, QRect(62, 28, 246, 42));
  AddSpin(31, 32, "Size:", QRect(62, 76, 36, 22), QRect(98, 76, 56, 22), 4, 288, 24, &B::TextFontSize, "TextFontSize",
          UM_FONTCHANGED);
  {
    const char* names[] = {"B", "I", "U"};
    int BLOCKSET::*fields[] = {&B::TextFontBold, &B::TextFontItal, &B::TextFontUnder};
    const char* stems[] = {"TextFontBold", "TextFontItal", "TextFontUnder"};
    for (int i = 0; i < 3; ++i) {
      auto* b = new QToolButton(body_);
      b->setText(names[i]);
      QFont f = b->font();
      f.setBold(i == 0);
      f.setItalic(i == 1);
      f.setUnderline(i == 2);
      b->setFont(f);
      b->setCheckable(true);
      b->setGeometry(158 + 26 * i, 76, 26, 22);
      controls_[33 + i] = b;
      bindings_.push_back(new Binding{Binding::Toggle, b, fields[i]});
      const char* stem = stems[i];
      int BLOCKSET::*field = fields[i];
      connect(b, &QToolButton::clicked, this, [this, field, stem](bool on) {
        Store(field, on ? 1 : 0, stem, UM_FONTCHANGED);
        FocusDocument();
      });
    }
    auto* group = new QButtonGroup(this);
    for (int i = 0; i < 3; ++i) {
      auto* b = new QToolButton(body_);
      b->setIcon(JustifyIcon(i));
      b->setCheckable(true);
      b->setGeometry(242 + 22 * i, 76, 22, 22);
      group->addButton(b, i);
      controls_[36 + i] = b;
      bindings_.push_back(new Binding{Binding::Radio, b, &B::TextFontJust, i});
      connect(b, &QToolButton::toggled, this, [this, i](bool on) {
        if (!on) return;
        Store(&B::TextFontJust, i, "TextFontJust", UM_FONTCHANGED);
        FocusDocument();
      });
    }
  }
  AddSpin(49, 50, "Char %:", QRect(62, 106, 52, 22), QRect(116, 106, 64, 22), 50, 200, 100, &B::TextFontCharacterSpace,
          "TextFontCharacterSpace", UM_FONTCHANGED);
  AddSpin(51, 52, "Line %:", QRect(62, 132, 52, 22), QRect(116, 132, 64, 22), 50, 200, 100, &B::TextFontLineSpace,
          "TextFontLineSpace", UM_FONTCHANGED);

  // Shapes and lines, shared with the flood fill and the text.
  AddCheck(39, "Antialias", QRect(200, 106, 108, 20), &B::Antialias, "Antialias");
  AddCheck(139, "Shadow", QRect(200, 130, 108, 20), &B::ShadowActive, "Shadow");
  shadowNote_ = new QLabel(body_);
  shadowNote_->setObjectName("ShadowNote");
  shadowNote_->setGeometry(62, 128, 136, 28);
  shadowNote_->setWordWrap(true);
  QFont noteFont = shadowNote_->font();
  noteFont.setPixelSize(10);
  shadowNote_->setFont(noteFont);
  shadowNote_->setStyleSheet("color: #a00000");
  shadowNote_->hide();
  AddGroup(41, "Fill", QRect(62, 0, 132, 96));
  AddRadios({{42, "Hollow"}, {43, "Fill color"}, {44, "Paper color"}}, {1, 0, 2}, QPoint(70, 20), 24, &B::SolidFillMode,
            "SolidFillMode", 0);
  AddGroup(54, "Line caps", QRect(62, 0, 132, 72));
  AddRadios({{55, "Round"}, {56, "Flat"}}, {0, 8704}, QPoint(70, 20), 24, &B::LineCap, "LineCap", 0);
  AddSpin(45, 46, "Thickness:", QRect(62, 104, 70, 22), QRect(132, 104, 62, 22), 0, 64, 1, &B::LineThickness,
          "LineThickness", 0);
  AddSample(47, QRect(200, 0, 108, 100));
  AddSample(48, QRect(200, 0, 108, 100));
  AddSample(138, QRect(200, 0, 108, 100));
  AddSample(53, QRect(200, 0, 108, 100));
  const QRect hint(62, 156, 246, 46);
  AddLabel(60, "Hold down the Ctrl key to draw a perfect square.", hint, Qt::AlignLeft | Qt::AlignTop);
  AddLabel(61, "Hold down the Ctrl key to draw a perfect circle.", hint, Qt::AlignLeft | Qt::AlignTop);
  AddLabel(62, "Hold down the Ctrl key to constrain the tool to horizontal, vertical and diagonal lines.", hint,
           Qt::AlignLeft | Qt::AlignTop);

  // The brushes: shape and type groups on top, size under them, the sample at
  // the right and the trackbars along the bottom.
  struct BrushPage {
    int shapeGroup, typeGroup, sizeId, sample, softId;
    int BLOCKSET::*shape, BLOCKSET::*type, BLOCKSET::*size, BLOCKSET::*soft;
    const char *shapeStem, *typeStem, *sizeStem, *softStem;
  };
  const BrushPage pages[] = {
      {64, 67, 70, 73, 74, &B::BrushShape, &B::BrushType, &B::BrushThickness, &B::BrushSoftness, "BrushShape",
       "BrushType", "BrushThickness", "BrushSoftness"},
      {89, 93, 96, 92, 98, &B::EraserBrushShape, &B::EraserBrushType, &B::EraserBrushThickness, &B::EraserBrushSoftness,
       "EraserBrushShape", "EraserBrushType", "EraserBrushThickness", "EraserBrushSoftness"},
      {126, 129, 132, 137, 134, &B::UndoShape, &B::UndoType, &B::UndoThickness, &B::UndoSoftness, "UndoShape",
       "UndoType", "UndoThickness", "UndoSoftness"},
  };
  for (const BrushPage& pg : pages) {
    AddGroup(pg.shapeGroup, "Shape", QRect(62, 0, 120, 70));
    AddRadios({{pg.shapeGroup + 1, "Round"}, {pg.shapeGroup + 2, "Square"}}, {0, 1}, QPoint(70, 20), 24, pg.shape,
              pg.shapeStem, UM_SETTINGCHANGED);
    AddGroup(pg.typeGroup, "Type", QRect(188, 0, 120, 70));
    AddRadios({{pg.typeGroup + 1, "Hard"}, {pg.typeGroup + 2, "Soft"}}, {1, 0}, QPoint(196, 20), 24, pg.type,
              pg.typeStem, UM_SETTINGCHANGED);
    // The soft brush's size label stands two ids past its edit, the others' one.
    const int sizeLabel = pg.sizeId == 132 ? 133 : pg.sizeId + (pg.sizeId == 70 ? 2 : 1);
    AddSpin(pg.sizeId, sizeLabel, "Size:", QRect(62, 80, 40, 22), QRect(104, 80, 64, 22), 4, 64, 16, pg.size,
            pg.sizeStem, UM_SETTINGCHANGED);
    AddSample(pg.sample, QRect(188, 76, 120, 88));
    AddTrack(pg.softId, pg.softId + 1, "Soft", pg.softId + 2, QRect(62, 174, 40, 22), QRect(102, 174, 168, 22),
             QRect(272, 174, 36, 22), 1, 100, 9, pg.soft, pg.softStem, UM_SETTINGCHANGED);
  }

  // Pen.
  AddSample(101, QRect(188, 0, 120, 112));
  AddGroup(102, "Shape", QRect(62, 0, 120, 70));
  AddRadios({{103, "Round"}, {104, "Square"}}, {0, 1}, QPoint(70, 20), 24, &B::HardBrushShape, "HardBrushShape",
            UM_SETTINGCHANGED);
  AddSpin(105, 106, "Size:", QRect(62, 80, 40, 22), QRect(104, 80, 64, 22), 1, 64, 16, &B::HardBrushThickness,
          "HardBrushThickness", UM_SETTINGCHANGED);
  AddTrack(107, 108, "Angle", 109, QRect(62, 148, 40, 22), QRect(102, 148, 168, 22), QRect(272, 148, 36, 22), 0, 360,
           36, &B::HardBrushAngle, "HardBrushAngle", UM_SETTINGCHANGED);
  AddTrack(110, 111, "Flat", 112, QRect(62, 174, 40, 22), QRect(102, 174, 168, 22), QRect(272, 174, 36, 22), 0, 60, 6,
           &B::HardBrushFlat, "HardBrushFlat", UM_SETTINGCHANGED);

  // Airbrush.
  AddGroup(80, "Shape", QRect(62, 0, 120, 70));
  AddRadios({{81, "Round"}, {82, "Square"}}, {0, 1}, QPoint(70, 20), 24, &B::AirBrushShape, "AirBrushShape",
            UM_SETTINGCHANGED);
  AddSpin(84, 85, "Size:", QRect(62, 80, 40, 22), QRect(104, 80, 64, 22), 4, 64, 16, &B::AirBrushThickness,
          "AirBrushThickness", UM_SETTINGCHANGED);
  AddSample(83, QRect(188, 0, 120, 112));
  AddTrack(86, 87, "Soft", 88, QRect(62, 148, 40, 22), QRect(102, 148, 168, 22), QRect(272, 148, 36, 22), 1, 100, 9,
           &B::AirBrushSoftness, "AirBrushSoftness", UM_SETTINGCHANGED);
  AddTrack(77, 78, "Flow", 79, QRect(62, 174, 40, 22), QRect(102, 174, 168, 22), QRect(272, 174, 36, 22), 1, 100, 9,
           &B::AirBrushFlow, "AirBrushFlow", UM_SETTINGCHANGED);

  // Spray can.
  AddSpin(120, 121, "Size:", QRect(62, 0, 40, 22), QRect(104, 0, 64, 22), 16, 64, 32, &B::SpraycanThickness,
          "SpraycanThickness", UM_SETTINGCHANGED);
  AddSample(122, QRect(188, 0, 120, 112));
  AddTrack(123, 124, "Flow", 125, QRect(62, 174, 40, 22), QRect(102, 174, 168, 22), QRect(272, 174, 36, 22), 1, 15, 1,
           &B::SpraycanFlow, "SpraycanFlow", UM_SETTINGCHANGED);

  // Text-only pages.
  AddLabel(9, "There are no settings for this tool", QRect(8, 4, 300, 20));
  AddLabel(40, kEyedropperText, QRect(8, 32, 300, 168), Qt::AlignLeft | Qt::AlignTop);
  AddLabel(63, kZoomText, QRect(8, 32, 300, 168), Qt::AlignLeft | Qt::AlignTop);

  ShowTool(0);
}

SettingsWindow::~SettingsWindow() {
  for (Binding* b : bindings_) delete b;
}

DocumentWindow* SettingsWindow::document() const { return top_; }

void SettingsWindow::contextMenuEvent(QContextMenuEvent* event) {
  QMenu menu(this);
  QAction* dock = menu.addAction("&Dock");
  if (menu.exec(event->globalPos()) != dock) return;
  setFloating(false);
  if (auto* frame = qobject_cast<QMainWindow*>(parentWidget())) frame->addDockWidget(Qt::RightDockWidgetArea, this);
}

QLabel* SettingsWindow::AddLabel(int id, const char* text, QRect r, Qt::Alignment align) {
  auto* l = new QLabel(QString::fromUtf8(text).replace("\r\n", "\n"), body_);
  l->setGeometry(r);
  l->setAlignment(align);
  l->setWordWrap(r.height() > 24);
  controls_[id] = l;
  return l;
}

void SettingsWindow::AddGroup(int id, const char* title, QRect r) {
  // Only a frame: its buttons are siblings, so that the table alone decides
  // what shows.
  auto* g = new QGroupBox(QString::fromUtf8(title), body_);
  g->setGeometry(r);
  controls_[id] = g;
}

QSpinBox* SettingsWindow::AddSpin(int id, int labelId, const char* label, QRect labelRect, QRect r, int lo, int hi,
                                  int start, int BLOCKSET::*field, const char* stem, int message, int stepLo) {
  AddLabel(labelId, label, labelRect);
  auto* s = new SettingSpin(body_, lo, hi, stepLo < 0 ? lo : stepLo);
  s->setGeometry(r);
  s->setValue(start);
  controls_[id] = s;
  controls_[id + kSpinId] = s;
  if (!field) return s;
  bindings_.push_back(new Binding{Binding::Spin, s, field});
  connect(s, &QSpinBox::valueChanged, this,
          [this, s, field, stem, message] { Store(field, s->Clamped(), stem, message); });
  // Once the typing is over the edit shows what was stored.
  connect(s, &QSpinBox::editingFinished, this, [this, s] {
    if (s->value() == s->Clamped()) return;
    filling_ = true;
    s->setValue(s->Clamped());
    filling_ = false;
  });
  return s;
}

QSlider* SettingsWindow::AddTrack(int id, int labelId, const char* label, int valueId, QRect labelRect, QRect r,
                                  QRect valueRect, int lo, int hi, int tick, int BLOCKSET::*field, const char* stem,
                                  int message, bool vertical) {
  if (label) AddLabel(labelId, label, labelRect);
  auto* s = new QSlider(vertical ? Qt::Vertical : Qt::Horizontal, body_);
  s->setGeometry(r);
  s->setRange(lo, hi);
  s->setTickInterval(tick);
  s->setTickPosition(vertical ? QSlider::TicksRight : QSlider::TicksBelow);
  s->setPageStep(tick);
  controls_[id] = s;
  QLabel* value = AddLabel(valueId, "", valueRect, vertical ? Qt::AlignCenter : Qt::AlignRight | Qt::AlignVCenter);
  const int offset = field == &B::Opacity ? 1 : 0;
  value->setNum(s->value() + offset);
  bindings_.push_back(new Binding{Binding::Track, s, field, 0, value, offset});
  connect(s, &QSlider::valueChanged, this, [this, s, value, offset, field, stem, message, lo, hi](int v) {
    v = std::clamp(v, lo, hi);
    value->setNum(v + offset);
    Store(field, v, stem, message);
    (void)s;
  });
  return s;
}

void SettingsWindow::AddRadios(std::initializer_list<std::pair<int, const char*>> buttons,
                               std::initializer_list<int> values, QPoint at, int step, int BLOCKSET::*field,
                               const char* stem, int message) {
  auto* group = new QButtonGroup(this);
  auto value = values.begin();
  int y = at.y();
  for (const auto& [id, text] : buttons) {
    auto* b = new QRadioButton(QString::fromUtf8(text), body_);
    b->setGeometry(at.x(), y, 104, 22);
    y += step;
    group->addButton(b);
    controls_[id] = b;
    const int v = *value++;
    bindings_.push_back(new Binding{Binding::Radio, b, field, v});
    connect(b, &QRadioButton::toggled, this, [this, field, v, stem, message](bool on) {
      if (on) Store(field, v, stem, message);
    });
  }
}

QCheckBox* SettingsWindow::AddCheck(int id, const char* text, QRect r, int BLOCKSET::*field, const char* stem) {
  auto* c = new QCheckBox(QString::fromUtf8(text), body_);
  c->setGeometry(r);
  controls_[id] = c;
  bindings_.push_back(new Binding{Binding::Check, c, field});
  connect(c, &QCheckBox::toggled, this, [this, field, stem](bool on) { Store(field, on ? 1 : 0, stem, 0); });
  return c;
}

QWidget* SettingsWindow::AddSample(int id, QRect r) {
  SampleView::Painter painter;
  // A brush page's sample shows the stamp of the tool whose row names it.
  for (const TOOLROW& row : tooltable)
    if (row.stamp != STAMP_NONE && row.stampSample == id)
      painter = [this, tool = row.tool, kind = row.stamp](QPainter& p, const QRect& r) {
        BLOCKSET rec;
        CopyBrushSettings(Shown(), rec, tool);
        PaintStamp(p, r, CreateToolStamp(rec, RGB(255, 255, 255), 0, kind));
      };
  if (!painter) switch (id) {
      case 47: painter = [this](QPainter& p, const QRect& r) { PaintShape(p, r, Shown(), true); }; break;
      case 48:
      case 138: painter = [this](QPainter& p, const QRect& r) { PaintShape(p, r, Shown(), false); }; break;
      case 53: painter = [this](QPainter& p, const QRect& r) { PaintLine(p, r, Shown()); }; break;
      case 118:
        painter = [this](QPainter& p, const QRect& r) {
          p.fillRect(r, Qt::white);
          const int s = std::clamp(Shown().ReplacerSize, 0, 64) + 1;
          QPen pen(Qt::black, 1, Qt::DotLine);
          p.setPen(pen);
          const QPoint c = r.center();
          p.drawRect(c.x() - s / 2, c.y() - s / 2, s - 1, s - 1);
        };
        break;
      case 29:
        painter = [this](QPainter& p, const QRect& r) {
          const BLOCKSET& rec = Shown();
          p.fillRect(r, Qt::white);
          QFont f(QString::fromStdString(rec.TextFontName));
          f.setPixelSize(std::clamp(rec.TextFontSize, 1, 288));
          if (rec.TextFontBold) f.setWeight(QFont::Bold);
          f.setItalic(rec.TextFontItal);
          f.setUnderline(rec.TextFontUnder);
          QString text = QString::fromUtf8(TextFontExampleString);
          if (text.isEmpty()) text = QString::fromStdString(rec.TextFontName);
          // A size larger than the sample shows scaled down, whole, rather than cut.
          for (int i = 0; i < 40 && f.pixelSize() > 4; ++i) {
            const QFontMetrics fm(f);
            if (fm.height() <= r.height() && fm.horizontalAdvance(text) <= r.width() - 4) break;
            f.setPixelSize(std::max(4, f.pixelSize() * 9 / 10));
          }
          p.setFont(f);
          p.setPen(Qt::black);
          const Qt::Alignment h = rec.TextFontJust == 1   ? Qt::AlignHCenter
                                  : rec.TextFontJust == 2 ? Qt::AlignRight
                                                          : Qt::AlignLeft;
          p.drawText(r.adjusted(2, 0, -2, 0), static_cast<int>(h | Qt::AlignVCenter | Qt::TextSingleLine), text);
        };
        break;
      default:  // 122, the spray: one spot of the size at six times the flow
        painter = [this](QPainter& p, const QRect& r) {
          const BLOCKSET& rec = Shown();
          HGLOBAL list = CreateSpraycan(std::clamp(rec.SpraycanThickness, 1, 255));
          HDIB spot = RenderSpraycan(list, 0, 255, std::clamp(rec.SpraycanFlow, 1, 100) * 6);
          PaintStamp(p, r, spot);
        };
        break;
    }
  auto* v = new SampleView(body_, std::move(painter));
  v->setGeometry(r);
  controls_[id] = v;
  samples_.push_back(v);
  return v;
}

void SettingsWindow::BuildFontControls() {
  fonts_ = new QComboBox(body_);
  fonts_->setGeometry(62, 0, 246, 24);
  controls_[30] = fonts_;
  QStringList families = QFontDatabase::families();
  families.sort(Qt::CaseInsensitive);
  fonts_->addItems(families);
  if (ShowFontNameSamples) {
    const int px = std::clamp(FontListSampleSize, 10, 32);
    for (int i = 0; i < fonts_->count(); ++i) {
      QFont f(families[i]);
      f.setPixelSize(px);
      fonts_->setItemData(i, f, Qt::FontRole);
    }
    fonts_->setMaxVisibleItems(std::max(3, std::max(120, FontListSize) / (px + 6)));
  } else {
    fonts_->setMaxVisibleItems(std::max(3, std::max(120, FontListSize) / 16));
  }
  // The name is taken when the list closes on a choice.
  connect(fonts_, &QComboBox::activated, this, [this](int index) {
    if (filling_ || !top_ || index < 0) return;
    const std::string name = fonts_->itemText(index).toStdString();
    top_->record()->TextFontName = name;
    UpdateDefault("TextFontName", name);
    RedrawSamples();
    if (DocumentTools* t = top_->tools(); t && t->session()) t->Post(RECV_TOOL, UM_FONTCHANGED);
  });
}

const BLOCKSET& SettingsWindow::Shown() const { return top_ ? *top_->record() : defaults_; }

void SettingsWindow::Store(int BLOCKSET::*field, int value, const char* stem, int message) {
  if (filling_ || !top_) return;
  top_->record()->*field = value;
  if (stem) UpdateDefault(stem, value);
  RedrawSamples();
  if (!message) return;
  if (DocumentTools* t = top_->tools(); t && t->session()) t->Post(RECV_TOOL, message);
}

void SettingsWindow::StoreTolerance(int id, int value) {
  if (filling_ || !top_) return;
  BLOCKSET* rec = top_->record();
  const std::pair<int BLOCKSET::*, const char*> fields[] = {
      {&B::RedTolerance, "RedTolerance"}, {&B::GreenTolerance, "GreenTolerance"}, {&B::BlueTolerance, "BlueTolerance"}};
  for (int i = 0; i < 3; ++i) {
    if (id != 18 && id != 15 + i) continue;
    rec->*fields[i].first = value;
    UpdateDefault(fields[i].second, value);
  }
}

void SettingsWindow::SetIdentical(bool on) {
  for (int id : {18, 22}) controls_[id]->setEnabled(on);
  for (int id : {15, 16, 17, 19, 20, 21}) controls_[id]->setEnabled(!on);
}

void SettingsWindow::ShowTool(int tool) {
  tool_ = std::clamp(tool, 0, kToolCount - 1);
  for (auto& [id, w] : controls_) w->hide();
  for (int id : tooltable[tool_].settings) {
    if (!id) break;
    if (QWidget* w = control(id)) w->show();
  }
  setWindowTitle(QString("Tool Settings - %1").arg(QString::fromUtf8(FetchString(tooltable[tool_].name))));
  FillControls();
}

void SettingsWindow::ShowDocument(DocumentWindow* top) {
  top_ = top;
  // The page follows the tool of the document on top, as the toolbox does.
  if (top) ShowTool(top->record()->Tool);
  else FillControls();
}

void SettingsWindow::Refresh() { FillControls(); }

void SettingsWindow::FillControls() {
  const BLOCKSET& rec = Shown();
  filling_ = true;
  for (Binding* b : bindings_) {
    const int v = rec.*(b->field);
    switch (b->kind) {
      case Binding::Spin: static_cast<QSpinBox*>(b->widget)->setValue(v); break;
      case Binding::Track:
        static_cast<QSlider*>(b->widget)->setValue(v);
        b->valueLabel->setNum(static_cast<QSlider*>(b->widget)->value() + b->shownOffset);
        break;
      case Binding::Radio: static_cast<QAbstractButton*>(b->widget)->setChecked(v == b->value); break;
      case Binding::Check:
      case Binding::Toggle: static_cast<QAbstractButton*>(b->widget)->setChecked(v != 0); break;
    }
  }
  static_cast<QSpinBox*>(controls_[15])->setValue(rec.RedTolerance);
  static_cast<QSpinBox*>(controls_[16])->setValue(rec.GreenTolerance);
  static_cast<QSpinBox*>(controls_[17])->setValue(rec.BlueTolerance);
  static_cast<QSpinBox*>(controls_[18])->setValue((rec.RedTolerance + rec.GreenTolerance + rec.BlueTolerance) / 3);
  static_cast<QCheckBox*>(controls_[23])->setChecked(ColourToleranceIdentical != 0);
  SetIdentical(ColourToleranceIdentical != 0);
  int font = fonts_->findText(QString::fromStdString(rec.TextFontName), Qt::MatchFixedString);
  // A stored name the system knows by another family ("ARIAL") shows as the face it resolves to.
  if (font < 0)
    font = fonts_->findText(QString::fromStdString(ResolvedFontFamily(rec.TextFontName.c_str(), 0, 0)),
                            Qt::MatchFixedString);
  fonts_->setCurrentIndex(font >= 0 ? font : 0);
  filling_ = false;
  RedrawSamples();
}

void SettingsWindow::RedrawSamples() {
  for (QWidget* s : samples_) s->update();
  UpdateShadowNote();
}

void SettingsWindow::UpdateShadowNote() {
  if (!shadowNote_) return;
  const BLOCKSET& rec = Shown();
  const int type = rec.Image ? GetImageType(rec.Image) : rec.ImageType;
  const char* why = nullptr;
  if (!rec.ShadowActive) why = nullptr;
  else if (type == IMAGE_PALETTED || type == IMAGE_MONO) why = "No shadow on a paletted or mono picture.";
  else if (rec.Opacity != 255) why = "No shadow below full opacity.";
  else if (rec.SolidFillMode == 1) why = "No shadow without a fill.";
  QWidget* box = control(139);
  const bool page = box && !box->isHidden();
  shadowNote_->setText(why ? QString::fromUtf8(why) : QString());
  shadowNote_->setVisible(page && why);
}

void SettingsWindow::FocusDocument() {
  if (top_) top_->view()->setFocus();
}

QWidget* SettingsWindow::control(int id) const {
  auto it = controls_.find(id);
  return it == controls_.end() ? nullptr : it->second;
}

std::vector<int> SettingsWindow::VisibleIds() const {
  std::vector<int> ids;
  for (const auto& [id, w] : controls_)
    if (!w->isHidden()) ids.push_back(id);
  return ids;
}

}  // namespace ochrel
