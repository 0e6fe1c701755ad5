// The tool settings window: one page per tool, the controls writing into the
// top document and telling its tool, ranges, defaults, samples and the fonts.
#include <gtest/gtest.h>

#include <QAbstractButton>
#include <QDir>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QSlider>

#include <set>

#include "qt_fixture.h"
#include "render/wrapper.h"
#include "tools/toolsession.h"
#include "ui/frame/settingswindow.h"

namespace ochrel {
namespace {

class SettingsTest : public test::QtFixture {
 protected:
  void SetUp() override {
    QtFixture::SetUp();
    win = frame->settingsWindow();
  }
  // A document on top with a standing tool, so that it has a session to tell.
  DocumentWindow* DocumentWithTool(int tool) {
    DocumentWindow* d = NewDocument(0, 40, 30);
    frame->ChooseTool(tool);
    MessageQueue::Instance().Drain();
    return d;
  }
  QSpinBox* Spin(int id) { return qobject_cast<QSpinBox*>(win->control(id)); }
  QSlider* Track(int id) { return qobject_cast<QSlider*>(win->control(id)); }
  QAbstractButton* Button(int id) { return qobject_cast<QAbstractButton*>(win->control(id)); }
  QComboBox* Fonts() { return qobject_cast<QComboBox*>(win->control(30)); }
  QString Text(int id) { return qobject_cast<QLabel*>(win->control(id))->text(); }
  // How many posted messages of a kind wait for the document's session.
  int Posted(DocumentWindow* d, int message) {
    const auto& q = MessageQueue::Instance().Pending();
    return int(std::count_if(q.begin(), q.end(), [&](const ToolMessage& m) {
      return m.receiver == RECV_TOOL && m.message == message && m.document == d->tools() &&
             m.tool == d->tools()->session();
    }));
  }
  // Dark pixels inside a sample, its sunken edge left out.
  int Dark(int id) {
    const QImage img = win->control(id)->grab().toImage();
    int n = 0;
    for (int y = 2; y < img.height() - 2; ++y)
      for (int x = 2; x < img.width() - 2; ++x) n += qGray(img.pixel(x, y)) < 128;
    return n;
  }

  SettingsWindow* win = nullptr;
};

TEST_F(SettingsTest, EachPageShowsItsRowTheToolsNameAndFitsWithoutOverlap) {
  const QString shots = qEnvironmentVariable("OCHREL_SHOT_DIR");
  const QRect area = win->body()->rect();
  for (int t = 0; t < 18; ++t) {
    win->ShowTool(t);
    std::set<int> row;
    for (int id : tooltable[t].settings) {
      if (!id) break;
      row.insert(id);
    }
    const std::vector<int> ids = win->VisibleIds();
    EXPECT_EQ(std::set<int>(ids.begin(), ids.end()), row) << "tool " << t;
    std::vector<QWidget*> shown;
    for (int id : ids) {
      QWidget* w = win->control(id);
      if (std::find(shown.begin(), shown.end(), w) != shown.end()) continue;  // an edit and its spin
      EXPECT_TRUE(area.contains(w->geometry())) << "tool " << t << " id " << id;
      // Captions must not be cut off by their control's width.
      if (auto* b = qobject_cast<QAbstractButton*>(w); b && !b->text().isEmpty())
        EXPECT_LE(b->sizeHint().width(), b->width()) << "tool " << t << " id " << id;
      if (auto* l = qobject_cast<QLabel*>(w); l && !l->text().isEmpty())
        EXPECT_TRUE(l->wordWrap() ? l->heightForWidth(l->width()) <= l->height() : l->sizeHint().width() <= l->width())
            << "tool " << t << " id " << id;
      if (!qobject_cast<QGroupBox*>(w)) shown.push_back(w);
    }
    for (std::size_t i = 0; i < shown.size(); ++i)
      for (std::size_t j = i + 1; j < shown.size(); ++j)
        EXPECT_FALSE(shown[i]->geometry().intersects(shown[j]->geometry())) << "tool " << t;
    if (!shots.isEmpty()) win->grab().save(QDir(shots).filePath(QString("settings-%1.png").arg(t)));
  }
  const std::pair<int, const char*> titles[] = {{8, "Soft brush"}, {-4, "Rectangle selector"}, {99, "Selective undo"}};
  for (auto [tool, name] : titles) {
    win->ShowTool(tool);
    EXPECT_EQ(win->windowTitle(), QString("Tool Settings - ") + name);
  }
  // The line has no Fill group, the polygon has; the eyedropper and the zoom are text alone.
  win->ShowTool(11);
  EXPECT_TRUE(win->control(41)->isHidden());
  win->ShowTool(14);
  EXPECT_EQ(qobject_cast<QGroupBox*>(win->control(41))->title(), "Fill");
  win->ShowTool(5);
  EXPECT_EQ(win->VisibleIds(), (std::vector<int>{9, 40}));
  EXPECT_TRUE(Text(40).startsWith("Left click to choose the paint color. Right click to choose the fill color."));
  EXPECT_EQ(Text(9), "There are no settings for this tool");
  win->ShowTool(6);
  EXPECT_TRUE(Text(63).startsWith("Left click to zoom in."));
}

TEST_F(SettingsTest, ControlsWriteIntoTheTopDocumentAndTellItsToolWhatItNeeds) {
  DocumentWindow* d = DocumentWithTool(8);
  ASSERT_NE(d->tools()->session(), nullptr);
  BLOCKSET* r = d->record();
  enum Tells { None, Setting, Font, Any };
  struct Case {
    int id;
    int value;  // -1: a click
    int BLOCKSET::*field;
    int stored;
    Tells tells;
  } cases[] = {
      {70, 30, &BLOCKSET::BrushThickness, 30, Setting},
      {66, -1, &BLOCKSET::BrushShape, 1, Setting},
      {68, -1, &BLOCKSET::BrushType, 1, Setting},
      {69, -1, &BLOCKSET::BrushType, 0, Setting},
      {74, 55, &BLOCKSET::BrushSoftness, 55, Setting},
      // Fill, caps, thickness, tolerance and match reach the tool at its next use.
      {42, -1, &BLOCKSET::SolidFillMode, 1, None},
      {44, -1, &BLOCKSET::SolidFillMode, 2, None},
      {56, -1, &BLOCKSET::LineCap, 8704, None},
      {45, 7, &BLOCKSET::LineThickness, 7, None},
      {116, -1, &BLOCKSET::MatchType, 1, None},
      {27, -1, &BLOCKSET::FragmentPasteMode, 2, None},
      {139, -1, &BLOCKSET::ShadowActive, 1, None},
      {31, 40, &BLOCKSET::TextFontSize, 40, Font},
      {34, -1, &BLOCKSET::TextFontItal, 1, Font},
      {38, -1, &BLOCKSET::TextFontJust, 2, Font},
      {51, 150, &BLOCKSET::TextFontLineSpace, 150, Font},
      // Ranges: stored clamped.
      {70, 3, &BLOCKSET::BrushThickness, 4, Any},
      {70, 65, &BLOCKSET::BrushThickness, 64, Any},
      {105, 1, &BLOCKSET::HardBrushThickness, 1, Any},
      {113, 4, &BLOCKSET::ReplacerSize, 4, Any},
      {31, 1000, &BLOCKSET::TextFontSize, 288, Any},
      {49, 10, &BLOCKSET::TextFontCharacterSpace, 50, Any},
      {120, 2, &BLOCKSET::SpraycanThickness, 16, Any},
      {123, 99, &BLOCKSET::SpraycanFlow, 15, Any},
      {107, 400, &BLOCKSET::HardBrushAngle, 360, Any},
  };
  for (const Case& c : cases) {
    MessageQueue::Instance().Drain();
    if (c.value < 0) Button(c.id)->click();
    else if (Spin(c.id)) Spin(c.id)->setValue(c.value);
    else Track(c.id)->setValue(c.value);
    EXPECT_EQ(r->*c.field, c.stored) << c.id;
    if (c.tells == Any) continue;
    EXPECT_EQ(Posted(d, UM_SETTINGCHANGED), c.tells == Setting ? 1 : 0) << c.id;
    EXPECT_EQ(Posted(d, UM_FONTCHANGED), c.tells == Font ? 1 : 0) << c.id;
  }
  EXPECT_EQ(Text(76), "55");
  Track(10)->setValue(127);  // the opacity shows one more
  EXPECT_EQ(Text(11), "128");
  EXPECT_EQ(r->Opacity, 127);
  Fonts()->activated(1);
  EXPECT_EQ(r->TextFontName, Fonts()->itemText(1).toStdString());
  EXPECT_EQ(Posted(d, UM_FONTCHANGED), 1);
  // Typed into the edit: stored clamped at once, shown clamped when the typing ends.
  Spin(70)->findChild<QLineEdit*>()->selectAll();
  QTest::keyClicks(Spin(70), "3");
  EXPECT_EQ(r->BrushThickness, 4);
  Spin(70)->editingFinished();
  EXPECT_EQ(Spin(70)->value(), 4);
  // A replacer size typed from 4 is taken, but its arrows stop at 16.
  Spin(113)->setValue(16);
  Spin(113)->stepBy(-1);
  EXPECT_EQ(r->ReplacerSize, 16);
}

TEST_F(SettingsTest, IdenticalToleranceDrivesAllThree) {
  DocumentWindow* d = DocumentWithTool(15);
  BLOCKSET* r = d->record();
  r->RedTolerance = 10, r->GreenTolerance = 20, r->BlueTolerance = 31;
  win->Refresh();
  EXPECT_EQ(Spin(18)->value(), 20);  // the mean, shown without being written back
  EXPECT_EQ(r->RedTolerance, 10);
  EXPECT_TRUE(Button(23)->isChecked());
  for (int id : {15, 16, 17, 19, 20, 21}) EXPECT_FALSE(win->control(id)->isEnabled()) << id;
  Spin(18)->setValue(77);
  EXPECT_EQ(std::vector<int>({r->RedTolerance, r->GreenTolerance, r->BlueTolerance}), std::vector<int>({77, 77, 77}));
  // Off: the single edits again, each its own colour; the choice is stored at once.
  Button(23)->click();
  EXPECT_EQ(ColourToleranceIdentical, 0);
  EXPECT_FALSE(Spin(18)->isEnabled());
  Spin(16)->setValue(5);
  Spin(17)->setValue(300);
  EXPECT_EQ(std::vector<int>({r->RedTolerance, r->GreenTolerance, r->BlueTolerance}), std::vector<int>({77, 5, 255}));
}

TEST_F(SettingsTest, WithoutADocumentNothingChangesAndTheSamplesDrawTheDefaults) {
  ASSERT_EQ(frame->ActiveDocument(), nullptr);
  UpdateDefaults = 1;
  const int thickness = DefaultBrushThickness, shadow = DefaultShadow, red = DefaultRedTolerance;
  MessageQueue::Instance().Drain();
  for (int t = 0; t < 18; ++t) win->ShowTool(t);
  win->ShowTool(8);
  Spin(70)->setValue(thickness + 9);
  Button(139)->click();
  Spin(18)->setValue(red + 5);
  Fonts()->activated(1);
  EXPECT_EQ(DefaultBrushThickness, thickness);
  EXPECT_EQ(DefaultShadow, shadow);
  EXPECT_EQ(DefaultRedTolerance, red);
  EXPECT_TRUE(MessageQueue::Instance().Empty());
  EXPECT_GT(Dark(73), 0);
}

TEST_F(SettingsTest, SwitchingDocumentsShowsEachOnesValuesAndUpdateDefaultsWritesThrough) {
  const int defaultThickness = DefaultBrushThickness;
  DocumentWindow* a = DocumentWithTool(8);
  Spin(70)->setValue(20);
  Track(10)->setValue(100);
  Button(66)->click();
  DocumentWindow* b = DocumentWithTool(8);
  Spin(70)->setValue(50);
  Button(65)->click();
  frame->client()->setActiveSubWindow(a);
  QCoreApplication::processEvents();
  EXPECT_EQ(win->document(), a);
  EXPECT_EQ(Spin(70)->value(), 20);
  EXPECT_EQ(Text(11), "101");
  EXPECT_TRUE(Button(66)->isChecked());
  const int darkA = Dark(73);
  frame->client()->setActiveSubWindow(b);
  QCoreApplication::processEvents();
  EXPECT_EQ(Spin(70)->value(), 50);
  EXPECT_TRUE(Button(65)->isChecked());
  EXPECT_GT(Dark(73), darkA);
  EXPECT_EQ(a->record()->BrushThickness, 20);  // filling the controls wrote nothing
  EXPECT_EQ(DefaultBrushThickness, defaultThickness);
  UpdateDefaults = 1;
  Spin(70)->setValue(44);
  Button(139)->click();
  Spin(45)->setValue(9);
  Button(56)->click();
  Spin(18)->setValue(33);
  Fonts()->activated(1);
  EXPECT_EQ(DefaultBrushThickness, 44);
  EXPECT_EQ(DefaultShadow, 1);
  EXPECT_EQ(DefaultLineThickness, 9);
  EXPECT_EQ(DefaultLineCap, 8704);
  EXPECT_EQ(DefaultBlueTolerance, 33);
  EXPECT_EQ(std::string(DefaultTextFontName), Fonts()->itemText(1).toStdString());
}

TEST_F(SettingsTest, SamplesFollowTheSettingsAndShowWhole) {
  DocumentWindow* d = DocumentWithTool(8);
  BLOCKSET* r = d->record();
  Button(66)->click();  // a hard square brush of size T covers T x T pixels
  Button(68)->click();
  for (int t : {16, 40}) {
    Spin(70)->setValue(t);
    EXPECT_EQ(Dark(73), t * t);
  }
  // Each brush page draws from its own fields.
  r->EraserBrushShape = 1, r->EraserBrushType = 1, r->EraserBrushThickness = 10;
  r->UndoShape = 1, r->UndoType = 1, r->UndoThickness = 12;
  win->Refresh();
  EXPECT_EQ(Dark(92), 10 * 10);
  EXPECT_EQ(Dark(137), 12 * 12);
  EXPECT_GT(Dark(101), 0);
  // Shapes: thickness 0 draws no outline, yet the line sample keeps one pixel.
  r->PaintColour = 0, r->FillColour = RGB(255, 255, 255), r->PaperColour = RGB(255, 255, 255);
  r->SolidFillMode = 1;
  r->LineThickness = 0;
  win->Refresh();
  EXPECT_EQ(Dark(48), 0);
  EXPECT_GT(Dark(53), 0);
  r->LineThickness = 4;
  win->Refresh();
  const int outline = Dark(48);
  EXPECT_GT(outline, 0);
  r->FillColour = 0;
  r->SolidFillMode = 0;  // "Fill color"
  win->Refresh();
  EXPECT_GT(Dark(48), outline);
  EXPECT_EQ(Dark(138), Dark(48));
  EXPECT_LT(Dark(47), Dark(48));
  // The spray can's sample shows dots; the largest replacer square all four sides.
  frame->ChooseTool(TOOL_SPRAYCAN);
  EXPECT_GT(Dark(122), 20);
  frame->ChooseTool(TOOL_REPLACER);
  r->ReplacerSize = 64;
  win->Refresh();
  const QImage sq = win->control(118)->grab().toImage();
  int top = 0, bottom = 0;
  for (int y = 2; y < sq.height() - 2; ++y)
    for (int x = 2; x < sq.width() - 2; ++x)
      if (qGray(sq.pixel(x, y)) < 128) (y < sq.height() / 2 ? top : bottom)++;
  EXPECT_GT(top, 40);
  EXPECT_GT(bottom, 40);
  // The shadow note says why a shadow can't be drawn.
  frame->ChooseTool(TOOL_RECTANGLE);
  r->ShadowActive = 1;
  for (auto [opacity, fillMode, says] :
       {std::tuple{255, 0, ""}, std::tuple{200, 0, "opacity"}, std::tuple{255, 1, "fill"}}) {
    r->Opacity = opacity;
    r->SolidFillMode = fillMode;
    win->Refresh();
    EXPECT_EQ(win->shadowNote()->isHidden(), *says == 0) << says;
    if (*says) EXPECT_TRUE(win->shadowNote()->text().contains(says)) << win->shadowNote()->text().toStdString();
  }
}

TEST_F(SettingsTest, FontListIsSortedWithNameSamplesAndUnknownNamesStayInTheRecord) {
  ShowFontNameSamples = 1;
  FontListSampleSize = 50;  // beyond the largest sample size
  SettingsWindow sampled(nullptr);
  auto* list = qobject_cast<QComboBox*>(sampled.control(30));
  ASSERT_GT(list->count(), 1);
  for (int i = 0; i < list->count(); ++i) {
    if (i > 0) EXPECT_LE(list->itemText(i - 1).compare(list->itemText(i), Qt::CaseInsensitive), 0);
    const QFont f = list->itemData(i, Qt::FontRole).value<QFont>();
    EXPECT_EQ(f.family(), list->itemText(i));
    EXPECT_EQ(f.pixelSize(), 32);
  }
  ShowFontNameSamples = 0;
  SettingsWindow plain(nullptr);
  EXPECT_FALSE(qobject_cast<QComboBox*>(plain.control(30))->itemData(0, Qt::FontRole).isValid());
  // A name missing from the list shows the face it resolves to and stays in the record.
  DocumentWindow* d = DocumentWithTool(16);
  for (const char* name : {"ARIAL", "NO SUCH FACE"}) {
    d->record()->TextFontName = name;
    win->Refresh();
    const int resolved =
        Fonts()->findText(QString::fromStdString(ResolvedFontFamily(name, 0, 0)), Qt::MatchFixedString);
    EXPECT_EQ(Fonts()->currentIndex(), std::max(resolved, 0)) << name;
    EXPECT_EQ(d->record()->TextFontName, name);
  }
}

TEST_F(SettingsTest, FrameRoutesToolChangesAndRefreshes) {
  DocumentWindow* d = DocumentWithTool(16);
  EXPECT_EQ(win->tool(), 16);
  EXPECT_EQ(win->windowTitle(), "Tool Settings - Text");
  d->tools()->Post(RECV_SETTINGS, UM_REFRESH, 0, 4);
  MessageQueue::Instance().Drain();
  EXPECT_EQ(win->tool(), 4);
  win->ShowTool(11);  // a colour change redraws from the record
  d->record()->LineThickness = 6;
  d->tools()->Post(RECV_SETTINGS, UM_COLOURCHANGED, COLOUR_PAINT, 0);
  MessageQueue::Instance().Drain();
  EXPECT_EQ(Spin(45)->value(), 6);
  // It stands at the frame's right, clear of the toolbox at the left.
  EXPECT_EQ(frame->dockWidgetArea(win), Qt::RightDockWidgetArea);
  EXPECT_GT(win->geometry().left(), frame->width() / 2);
}

}  // namespace
}  // namespace ochrel
