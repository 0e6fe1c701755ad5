#include <gtest/gtest.h>

#include "render/wrapper.h"

#include <QAbstractButton>
#include <QCheckBox>
#include <QComboBox>
#include <QDir>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QMdiArea>
#include <QMdiSubWindow>
#include <QSlider>
#include <QSpinBox>
#include <QTest>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <set>

#include "frame/blockset.h"
#include "frame/commands.h"
#include "frame/settings.h"
#include "qt_app.h"
#include "tools/toolsession.h"
#include "ui/document/documentwindow.h"
#include "ui/frame/mainframe.h"
#include "ui/widgets/messages.h"
#include "ui/dialogs/image/newfiledialog.h"
#include "ui/frame/settingswindow.h"

namespace ochrel {
namespace {

class SettingsTest : public ::testing::Test {
 protected:
  void SetUp() override {
    test::EnsureQtApp();
    RestoreDefaultSettings();
    SetPromptAnswerer([](PromptKind, const QString&) { return IDNO; });
    SetNewFileAnswerer([](NewFileBox& box) {
      box.typeList()->setCurrentIndex(0);
      box.widthField()->setValue(40);
      box.depthField()->setValue(30);
      return true;
    });
    frame = std::make_unique<MainFrame>();
    frame->resize(1000, 800);
    frame->show();
    win = frame->settingsWindow();
    ASSERT_NE(win, nullptr);
  }
  void TearDown() override {
    SetPromptAnswerer({});
    SetNewFileAnswerer({});
    for (QMdiSubWindow* w : frame->client()->subWindowList())
      if (auto* d = qobject_cast<DocumentWindow*>(w)) d->record()->Modified = 0;
    frame.reset();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    RestoreDefaultSettings();
  }
  DocumentWindow* NewDocument() {
    frame->Command(CM_NEW);
    QCoreApplication::processEvents();
    return frame->ActiveDocument();
  }
  // A document on top with a standing tool, so that it has a session to tell.
  DocumentWindow* DocumentWithTool(int tool) {
    DocumentWindow* d = NewDocument();
    frame->ChooseTool(tool);
    MessageQueue::Instance().Drain();
    return d;
  }
  QSpinBox* Spin(int id) { return qobject_cast<QSpinBox*>(win->control(id)); }
  QSlider* Track(int id) { return qobject_cast<QSlider*>(win->control(id)); }
  QAbstractButton* Button(int id) { return qobject_cast<QAbstractButton*>(win->control(id)); }
  QString Text(int id) { return qobject_cast<QLabel*>(win->control(id))->text(); }
  // How many posted messages of a kind wait for the document's session.
  int Posted(DocumentWindow* d, int message) {
    const auto& q = MessageQueue::Instance().Pending();
    return static_cast<int>(std::count_if(q.begin(), q.end(), [&](const ToolMessage& m) {
      return m.receiver == RECV_TOOL && m.message == message && m.document == d->tools() &&
             m.tool == d->tools()->session();
    }));
  }
  // Dark pixels inside a sample, its sunken edge left out.
  int DarkPixels(int id) {
    QImage img = win->control(id)->grab().toImage();
    int n = 0;
    for (int y = 2; y < img.height() - 2; ++y)
      for (int x = 2; x < img.width() - 2; ++x)
        if (qGray(img.pixel(x, y)) < 128) ++n;
    return n;
  }

  std::unique_ptr<MainFrame> frame;
  SettingsWindow* win = nullptr;
};

std::set<int> Row(int tool) {
  std::set<int> ids;
  for (int id : tooltable[tool].settings) {
    if (!id) break;
    ids.insert(id);
  }
  return ids;
}

TEST_F(SettingsTest, EachPageShowsExactlyItsRowAndTheToolsName) {
  for (int t = 0; t < 18; ++t) {
    win->ShowTool(t);
    std::vector<int> shown = win->VisibleIds();
    EXPECT_EQ(std::set<int>(shown.begin(), shown.end()), Row(t)) << "tool " << t;
    for (int id : Row(t)) EXPECT_NE(win->control(id), nullptr) << id;
  }
  win->ShowTool(8);
  EXPECT_EQ(win->windowTitle(), "Tool Settings - Soft brush");
  win->ShowTool(-4);
  EXPECT_EQ(win->tool(), 0);
  EXPECT_EQ(win->windowTitle(), "Tool Settings - Rectangle selector");
  win->ShowTool(99);
  EXPECT_EQ(win->windowTitle(), "Tool Settings - Selective undo");

  // The line has no Fill group, the polygon has; the eyedropper and the zoom are text alone.
  win->ShowTool(11);
  EXPECT_TRUE(win->control(41)->isHidden());
  EXPECT_FALSE(win->control(53)->isHidden());
  win->ShowTool(14);
  EXPECT_FALSE(win->control(41)->isHidden());
  EXPECT_EQ(qobject_cast<QGroupBox*>(win->control(41))->title(), "Fill");
  win->ShowTool(5);
  EXPECT_EQ(win->VisibleIds(), (std::vector<int>{9, 40}));
  EXPECT_TRUE(Text(40).startsWith("Left click to choose the paint color. Right click to choose the fill color."));
  EXPECT_TRUE(Text(40).endsWith("hold down the Shift key and left-click to choose the paper color."));
  EXPECT_EQ(Text(9), "There are no settings for this tool");
  win->ShowTool(6);
  EXPECT_TRUE(Text(63).startsWith("Left click to zoom in."));
  EXPECT_TRUE(Text(63).endsWith("left-click to zoom to 100 percent."));
}

TEST_F(SettingsTest, PagesFitTheirAreaWithoutOverlapOrClippedText) {
  const QString shots = qEnvironmentVariable("OCHREL_SHOT_DIR");
  const QRect area = win->body()->rect();
  for (int t = 0; t < 18; ++t) {
    win->ShowTool(t);
    std::vector<QWidget*> shown;
    for (int id : win->VisibleIds()) {
      QWidget* w = win->control(id);
      if (std::find(shown.begin(), shown.end(), w) != shown.end()) continue;  // an edit and its spin
      EXPECT_TRUE(area.contains(w->geometry())) << "tool " << t << " id " << id;
      // Captions must not be cut off by their control's width.
      if (auto* b = qobject_cast<QAbstractButton*>(w); b && !b->text().isEmpty()) {
        EXPECT_LE(b->sizeHint().width(), b->width()) << "tool " << t << " id " << id;
      }
      if (auto* l = qobject_cast<QLabel*>(w); l && !l->wordWrap() && !l->text().isEmpty()) {
        EXPECT_LE(l->sizeHint().width(), l->width()) << "tool " << t << " id " << id;
      }
      if (auto* l = qobject_cast<QLabel*>(w); l && l->wordWrap()) {
        EXPECT_LE(l->heightForWidth(l->width()), l->height()) << "tool " << t << " id " << id;
      }
      if (!qobject_cast<QGroupBox*>(w)) shown.push_back(w);
    }
    for (std::size_t i = 0; i < shown.size(); ++i) {
      for (std::size_t j = i + 1; j < shown.size(); ++j) {
        EXPECT_FALSE(shown[i]->geometry().intersects(shown[j]->geometry()))
            << "tool " << t << ": " << shown[i]->metaObject()->className() << " and "
            << shown[j]->metaObject()->className();
      }
    }
    if (!shots.isEmpty()) win->grab().save(QDir(shots).filePath(QString("settings-%1.png").arg(t)));
  }
}

TEST_F(SettingsTest, ControlsWriteIntoTheTopDocumentAndTellItsTool) {
  DocumentWindow* d = DocumentWithTool(8);
  ASSERT_NE(d->tools()->session(), nullptr);
  EXPECT_EQ(win->tool(), 8);
  BLOCKSET* r = d->record();

  Spin(70)->setValue(30);
  EXPECT_EQ(r->BrushThickness, 30);
  EXPECT_EQ(Posted(d, UM_SETTINGCHANGED), 1);
  Button(66)->click();
  EXPECT_EQ(r->BrushShape, 1);
  Button(68)->click();  // "Hard" stores 1
  EXPECT_EQ(r->BrushType, 1);
  Button(69)->click();
  EXPECT_EQ(r->BrushType, 0);
  Track(74)->setValue(55);
  EXPECT_EQ(r->BrushSoftness, 55);
  EXPECT_EQ(Text(76), "55");
  EXPECT_EQ(Posted(d, UM_SETTINGCHANGED), 5);
  MessageQueue::Instance().Drain();

  // Fill, caps, thickness, tolerance and match reach the tool at its next use: no message.
  Button(42)->click();
  EXPECT_EQ(r->SolidFillMode, 1);
  Button(44)->click();
  EXPECT_EQ(r->SolidFillMode, 2);
  Button(56)->click();
  EXPECT_EQ(r->LineCap, 8704);
  Spin(45)->setValue(7);
  EXPECT_EQ(r->LineThickness, 7);
  Button(116)->click();
  EXPECT_EQ(r->MatchType, 1);
  Button(27)->click();
  EXPECT_EQ(r->FragmentPasteMode, 2);
  Button(139)->click();
  EXPECT_EQ(r->ShadowActive, 1);
  EXPECT_EQ(Posted(d, UM_SETTINGCHANGED), 0);

  // Text settings send the font message instead.
  Spin(31)->setValue(40);
  Button(34)->click();
  Button(38)->click();
  Spin(51)->setValue(150);
  EXPECT_EQ(r->TextFontSize, 40);
  EXPECT_EQ(r->TextFontItal, 1);
  EXPECT_EQ(r->TextFontJust, 2);
  EXPECT_EQ(r->TextFontLineSpace, 150);
  EXPECT_EQ(Posted(d, UM_FONTCHANGED), 4);
  EXPECT_EQ(Posted(d, UM_SETTINGCHANGED), 0);
  Button(34)->click();
  EXPECT_EQ(r->TextFontItal, 0);

  auto* fonts = qobject_cast<QComboBox*>(win->control(30));
  ASSERT_GT(fonts->count(), 1);
  fonts->activated(1);
  EXPECT_EQ(r->TextFontName, fonts->itemText(1).toStdString());
  EXPECT_EQ(Posted(d, UM_FONTCHANGED), 6);
}

TEST_F(SettingsTest, SizesAreClampedToTheirRanges) {
  DocumentWindow* d = DocumentWithTool(8);
  BLOCKSET* r = d->record();
  Spin(70)->setValue(3);
  EXPECT_EQ(r->BrushThickness, 4);
  Spin(70)->setValue(65);
  EXPECT_EQ(r->BrushThickness, 64);
  // Typed into the edit: stored clamped at once, shown clamped when the typing ends.
  Spin(70)->findChild<QLineEdit*>()->selectAll();
  QTest::keyClicks(Spin(70), "3");
  EXPECT_EQ(r->BrushThickness, 4);
  Spin(70)->editingFinished();
  EXPECT_EQ(Spin(70)->value(), 4);
  EXPECT_EQ(r->BrushThickness, 4);

  // The pen goes down to 1; a typed replacer size from 4 is taken but its arrows stop at 16.
  Spin(105)->setValue(1);
  EXPECT_EQ(r->HardBrushThickness, 1);
  Spin(113)->setValue(4);
  EXPECT_EQ(r->ReplacerSize, 4);
  Spin(113)->setValue(16);
  Spin(113)->stepBy(-1);
  EXPECT_EQ(r->ReplacerSize, 16);
  Spin(113)->stepBy(100);
  EXPECT_EQ(r->ReplacerSize, 64);
  Spin(31)->setValue(1000);
  EXPECT_EQ(r->TextFontSize, 288);
  Spin(49)->setValue(10);
  EXPECT_EQ(r->TextFontCharacterSpace, 50);
  Spin(120)->setValue(2);
  EXPECT_EQ(r->SpraycanThickness, 16);
  Track(123)->setValue(99);
  EXPECT_EQ(r->SpraycanFlow, 15);
  Track(107)->setValue(400);
  EXPECT_EQ(r->HardBrushAngle, 360);
}

TEST_F(SettingsTest, IdenticalToleranceDrivesAllThree) {
  DocumentWindow* d = DocumentWithTool(15);
  BLOCKSET* r = d->record();
  r->RedTolerance = 10, r->GreenTolerance = 20, r->BlueTolerance = 31;
  ColourToleranceIdentical = 1;
  win->Refresh();
  // The mean is shown without being written back.
  EXPECT_EQ(Spin(18)->value(), 20);
  EXPECT_EQ(r->RedTolerance, 10);
  EXPECT_TRUE(Button(23)->isChecked());
  EXPECT_TRUE(Spin(18)->isEnabled());
  EXPECT_TRUE(win->control(22)->isEnabled());
  for (int id : {15, 16, 17, 19, 20, 21}) EXPECT_FALSE(win->control(id)->isEnabled()) << id;

  Spin(18)->setValue(77);
  EXPECT_EQ(r->RedTolerance, 77);
  EXPECT_EQ(r->GreenTolerance, 77);
  EXPECT_EQ(r->BlueTolerance, 77);

  // Off: the single edits again, each its own colour. The choice is the program's, stored at once.
  UpdateDefaults = 0;
  Button(23)->click();
  EXPECT_EQ(ColourToleranceIdentical, 0);
  EXPECT_FALSE(Spin(18)->isEnabled());
  for (int id : {15, 16, 17, 19, 20, 21}) EXPECT_TRUE(win->control(id)->isEnabled()) << id;
  Spin(16)->setValue(5);
  EXPECT_EQ(r->RedTolerance, 77);
  EXPECT_EQ(r->GreenTolerance, 5);
  EXPECT_EQ(r->BlueTolerance, 77);
  Spin(17)->setValue(300);
  EXPECT_EQ(r->BlueTolerance, 255);
  Button(23)->click();
  EXPECT_EQ(ColourToleranceIdentical, 1);
}

TEST_F(SettingsTest, OpacityStaticShowsOneMore) {
  DocumentWindow* d = DocumentWithTool(8);
  d->record()->Opacity = 255;
  win->Refresh();
  EXPECT_EQ(Track(10)->value(), 255);
  EXPECT_EQ(Text(11), "256");
  Track(10)->setValue(0);
  EXPECT_EQ(d->record()->Opacity, 0);
  EXPECT_EQ(Text(11), "1");
  Track(10)->setValue(127);
  EXPECT_EQ(Text(11), "128");
  EXPECT_EQ(Text(12), "Trans.");
  EXPECT_EQ(Text(13), "Opaque");
}

TEST_F(SettingsTest, WithoutADocumentNothingChanges) {
  ASSERT_EQ(frame->ActiveDocument(), nullptr);
  UpdateDefaults = 1;
  const int thickness = DefaultBrushThickness, shadow = DefaultShadow, red = DefaultRedTolerance;
  MessageQueue::Instance().Drain();
  for (int t = 0; t < 18; ++t) win->ShowTool(t);
  win->ShowTool(8);
  Spin(70)->setValue(thickness + 9);
  Track(74)->setValue(3);
  Button(66)->click();
  Button(139)->click();
  Spin(18)->setValue(red + 5);
  Spin(15)->setValue(red + 6);
  qobject_cast<QComboBox*>(win->control(30))->activated(1);
  EXPECT_EQ(DefaultBrushThickness, thickness);
  EXPECT_EQ(DefaultShadow, shadow);
  EXPECT_EQ(DefaultRedTolerance, red);
  EXPECT_TRUE(MessageQueue::Instance().Empty());
  // The samples still draw from the defaults.
  EXPECT_GT(DarkPixels(73), 0);
}

TEST_F(SettingsTest, SwitchingDocumentsShowsEachOnesValues) {
  UpdateDefaults = 0;
  const int defaultThickness = DefaultBrushThickness;
  DocumentWindow* a = DocumentWithTool(8);
  Spin(70)->setValue(20);
  Track(10)->setValue(100);
  Button(66)->click();
  DocumentWindow* b = DocumentWithTool(8);
  Spin(70)->setValue(50);
  Track(10)->setValue(200);
  Button(65)->click();
  ASSERT_EQ(a->record()->BrushThickness, 20);
  ASSERT_EQ(b->record()->BrushThickness, 50);

  frame->client()->setActiveSubWindow(a);
  QCoreApplication::processEvents();
  EXPECT_EQ(win->document(), a);
  EXPECT_EQ(Spin(70)->value(), 20);
  EXPECT_EQ(Track(10)->value(), 100);
  EXPECT_EQ(Text(11), "101");
  EXPECT_TRUE(Button(66)->isChecked());
  const int darkA = DarkPixels(73);
  frame->client()->setActiveSubWindow(b);
  QCoreApplication::processEvents();
  EXPECT_EQ(Spin(70)->value(), 50);
  EXPECT_EQ(Track(10)->value(), 200);
  EXPECT_TRUE(Button(65)->isChecked());
  EXPECT_GT(DarkPixels(73), darkA);
  // Filling the controls wrote nothing, and nothing reached the configuration.
  EXPECT_EQ(a->record()->BrushThickness, 20);
  EXPECT_EQ(b->record()->Opacity, 200);
  EXPECT_EQ(DefaultBrushThickness, defaultThickness);
}

TEST_F(SettingsTest, UpdateDefaultsWritesThrough) {
  DocumentWindow* d = DocumentWithTool(8);
  UpdateDefaults = 1;
  Spin(70)->setValue(44);
  Button(139)->click();
  Spin(45)->setValue(9);
  Button(56)->click();
  ColourToleranceIdentical = 1;
  win->Refresh();
  Spin(18)->setValue(33);
  auto* fonts = qobject_cast<QComboBox*>(win->control(30));
  fonts->activated(1);
  EXPECT_EQ(DefaultBrushThickness, 44);
  EXPECT_EQ(DefaultShadow, d->record()->ShadowActive);
  EXPECT_EQ(DefaultShadow, 1);
  EXPECT_EQ(DefaultLineThickness, 9);
  EXPECT_EQ(DefaultLineCap, 8704);
  EXPECT_EQ(DefaultRedTolerance, 33);
  EXPECT_EQ(DefaultBlueTolerance, 33);
  EXPECT_EQ(std::string(DefaultTextFontName), fonts->itemText(1).toStdString());

  UpdateDefaults = 0;
  Spin(70)->setValue(12);
  EXPECT_EQ(d->record()->BrushThickness, 12);
  EXPECT_EQ(DefaultBrushThickness, 44);
}

TEST_F(SettingsTest, SamplesFollowTheSettings) {
  DocumentWindow* d = DocumentWithTool(8);
  BLOCKSET* r = d->record();
  // A hard square brush of size T covers T x T pixels of the sample.
  Button(66)->click();
  Button(68)->click();
  Spin(70)->setValue(16);
  EXPECT_EQ(DarkPixels(73), 16 * 16);
  Spin(70)->setValue(40);
  EXPECT_EQ(DarkPixels(73), 40 * 40);
  // Each brush page draws from its own fields.
  r->EraserBrushShape = 1, r->EraserBrushType = 1, r->EraserBrushThickness = 10;
  r->UndoShape = 1, r->UndoType = 1, r->UndoThickness = 12;
  win->Refresh();
  EXPECT_EQ(DarkPixels(92), 10 * 10);
  EXPECT_EQ(DarkPixels(137), 12 * 12);
  EXPECT_GT(DarkPixels(101), 0);
  EXPECT_GT(DarkPixels(83), 0);

  // Shapes on white paper in black paint: thickness 0 draws no outline, yet the
  // line sample keeps one pixel's width.
  r->PaintColour = RGB(0, 0, 0), r->FillColour = RGB(255, 255, 255), r->PaperColour = RGB(255, 255, 255);
  r->SolidFillMode = 1;
  r->LineThickness = 0;
  win->Refresh();
  EXPECT_EQ(DarkPixels(48), 0);
  EXPECT_GT(DarkPixels(53), 0);
  r->LineThickness = 4;
  win->Refresh();
  const int outline = DarkPixels(48);
  EXPECT_GT(outline, 0);
  r->FillColour = RGB(0, 0, 0);
  r->SolidFillMode = 0;  // "Fill color"
  win->Refresh();
  EXPECT_GT(DarkPixels(48), outline);
  EXPECT_EQ(DarkPixels(138), DarkPixels(48));
  EXPECT_GT(DarkPixels(47), 0);
  EXPECT_LT(DarkPixels(47), DarkPixels(48));
  // The replacer's square: a dotted outline of ReplacerSize + 1.
  r->ReplacerSize = 20;
  win->Refresh();
  const int dots = DarkPixels(118);
  EXPECT_GT(dots, 10);
  EXPECT_LT(dots, 4 * 21);
}

TEST_F(SettingsTest, FontListIsSortedWithNameSamplesWhenAskedFor) {
  ShowFontNameSamples = 1;
  FontListSampleSize = 50;  // beyond the largest sample size
  SettingsWindow sampled(nullptr);
  auto* list = qobject_cast<QComboBox*>(sampled.control(30));
  ASSERT_GT(list->count(), 1);
  for (int i = 0; i < list->count(); ++i) {
    if (i > 0) {
      EXPECT_LE(list->itemText(i - 1).compare(list->itemText(i), Qt::CaseInsensitive), 0);
    }
    const QFont f = list->itemData(i, Qt::FontRole).value<QFont>();
    EXPECT_EQ(f.family(), list->itemText(i));
    EXPECT_EQ(f.pixelSize(), 32);
  }
  FontListSampleSize = 3;
  SettingsWindow small(nullptr);
  auto* smallList = qobject_cast<QComboBox*>(small.control(30));
  EXPECT_EQ(smallList->itemData(0, Qt::FontRole).value<QFont>().pixelSize(), 10);
  ShowFontNameSamples = 0;
  SettingsWindow plain(nullptr);
  auto* plainList = qobject_cast<QComboBox*>(plain.control(30));
  EXPECT_EQ(plainList->count(), list->count());
  EXPECT_FALSE(plainList->itemData(0, Qt::FontRole).isValid());

  // A name missing from the list shows the face it resolves to and stays in the record.
  DocumentWindow* d = DocumentWithTool(16);
  auto* fonts = qobject_cast<QComboBox*>(win->control(30));
  d->record()->TextFontName = "ARIAL";
  win->Refresh();
  EXPECT_EQ(fonts->currentText().toStdString(), ResolvedFontFamily("ARIAL", 0, 0));
  EXPECT_EQ(d->record()->TextFontName, "ARIAL");
  d->record()->TextFontName = "NO SUCH FACE";
  win->Refresh();
  const int resolved = fonts->findText(QString::fromStdString(ResolvedFontFamily("NO SUCH FACE", 0, 0)), Qt::MatchFixedString);
  EXPECT_EQ(fonts->currentIndex(), resolved >= 0 ? resolved : 0);
  EXPECT_EQ(d->record()->TextFontName, "NO SUCH FACE");
}

TEST_F(SettingsTest, FrameRoutesToolChangesAndRefreshes) {
  DocumentWindow* d = NewDocument();
  frame->ChooseTool(16);
  MessageQueue::Instance().Drain();
  EXPECT_EQ(win->tool(), 16);
  EXPECT_EQ(win->windowTitle(), "Tool Settings - Text");
  d->tools()->Post(RECV_SETTINGS, UM_REFRESH, 0, 4);
  MessageQueue::Instance().Drain();
  EXPECT_EQ(win->tool(), 4);
  // A colour change redraws the samples from the record.
  win->ShowTool(11);
  d->record()->LineThickness = 6;
  d->tools()->Post(RECV_SETTINGS, UM_COLOURCHANGED, COLOUR_PAINT, 0);
  MessageQueue::Instance().Drain();
  EXPECT_EQ(Spin(45)->value(), 6);
  EXPECT_EQ(frame->dockWidgetArea(win), Qt::RightDockWidgetArea);
  // It stands at the frame's right, clear of the toolbox at the left.
  EXPECT_GT(win->geometry().left(), frame->width() / 2);
  const QString shots = qEnvironmentVariable("OCHREL_SHOT_DIR");
  if (!shots.isEmpty()) frame->grab().save(QDir(shots).filePath("frame.png"));
}

}  // namespace
}  // namespace ochrel
