// The selectors as a person uses them on a real document view: a rectangle
// dragged out, its fragment dragged and dropped and taken back with Undo; a
// lasso selection filtered from its popup; Select All and a nudge.
#include <gtest/gtest.h>

#include <QAction>
#include <QMenu>
#include <QMenuBar>
#include <QTest>
#include <QToolButton>

#include "fills/matrix.h"
#include "frame/commands.h"
#include <QSpinBox>
#include "frame/paths.h"
#include "frame/settings.h"
#include "frame_fixture.h"
#include "test_images.h"
#include "tools/selecttools.h"
#include "ui/widgets/dialogrunner.h"
#include "ui/dialogs/filter/filterdialog.h"
#include "ui/frame/startup.h"
#include "ui/frame/toolbox.h"

namespace ochrel {
namespace {

constexpr COLORREF kBlock = RGB(200, 40, 10);

class SelectionGuiTest : public test::FrameFixture {
 protected:
  SelectionGuiTest() : FrameFixture(120, 90) {}
  void SetUp() override {
    FrameFixture::SetUp();
    doc = NewDocument();
    ASSERT_NE(doc, nullptr);
    record = doc->record();
    record->PaperColour = RGB(255, 255, 255);
    InsetSolidRectangle(record->Image, kBlock, RECT{20, 20, 40, 30});
    doc->view()->InvalidateAll();
    original = DuplicateObject(record->Image);
    view = doc->view();
  }
  void TearDown() override {
    SetMenuAnswerer({});
    SetDialogAnswerer({});
    FrameFixture::TearDown();
  }
  void Drag(QPoint from, QPoint to, std::initializer_list<QPoint> via = {}) { FrameFixture::Drag(view, from, to, via); }
  void Click(QPoint at) { Drag(at, at); }
  QRgb Screen(int x, int y) { return view->grab().toImage().pixel(x, y); }
  COLORREF At(int x, int y) { return GetDibPixel(LockDib(record->Image), x, y); }
  static QRgb Rgb(COLORREF c) { return qRgb(GetRValue(c), GetGValue(c), GetBValue(c)); }

  DocumentWindow* doc = nullptr;
  BLOCKSET* record = nullptr;
  QWidget* view = nullptr;
  HDIB original;
};

TEST_F(SelectionGuiTest, DragOutMoveDropAndUndo) {
  frame->toolBox()->button(TOOL_RECTSELECT)->click();
  Drag(QPoint(20, 20), QPoint(40, 30), {QPoint(30, 25)});
  ASSERT_TRUE(HasSelection(record));
  EXPECT_EQ(At(25, 25), RGB(255, 255, 255));  // lifted
  // The fragment floats where it was, its frame burnt in on every second pixel.
  EXPECT_EQ(Screen(25, 25), Rgb(kBlock));
  EXPECT_EQ(Screen(21, 20), Rgb(kBlock ^ 0xFFFFFF));
  EXPECT_EQ(Screen(22, 20), Rgb(kBlock));
  EXPECT_TRUE(frame->action(CM_CLEAR)->isEnabled());

  Drag(QPoint(25, 25), QPoint(65, 45), {QPoint(45, 35)});
  EXPECT_EQ(Screen(65, 45), Rgb(kBlock));
  EXPECT_EQ(Screen(25, 25), qRgb(255, 255, 255));  // the hole shows under where it was
  Click(QPoint(110, 85));                          // a press outside lays it down
  EXPECT_FALSE(HasSelection(record));
  EXPECT_FALSE(frame->action(CM_CLEAR)->isEnabled());
  EXPECT_EQ(At(61, 41), kBlock);
  EXPECT_EQ(At(21, 21), RGB(255, 255, 255));
  EXPECT_EQ(Screen(61, 41), Rgb(kBlock));
  EXPECT_EQ(record->Modified, 1);
  frame->Command(CM_UNDO);
  EXPECT_TRUE(test::SamePixels(record->Image, original));
}

TEST_F(SelectionGuiTest, LassoSelectionInvertedFromItsPopup) {
  frame->toolBox()->button(TOOL_LASSO)->click();
  Drag(QPoint(10, 10), QPoint(10, 50), {QPoint(50, 10)});
  ASSERT_TRUE(HasSelection(record));
  // The Filters menu follows the selection: no Rotate for a shaped one.
  QMenu* filters = frame->menuBar()->findChild<QMenu*>("filterMenu");
  ASSERT_NE(filters, nullptr);
  for (QAction* a : filters->actions()) {
    if (a->text() == "Rotate") EXPECT_FALSE(a->isEnabled());
    if (a->text() == "Invert Colours") EXPECT_TRUE(a->isEnabled());
  }
  QStringList offered;
  SetMenuAnswerer([&](QMenu& menu) -> QAction* {
    QAction* pick = nullptr;
    for (QAction* a : menu.actions()) {
      offered << a->text();
      if (a->text() == "Invert Colours") pick = a;
    }
    return pick;
  });
  SetDialogAnswerer([](QDialog&) { return true; });
  QTest::mousePress(view, Qt::RightButton, Qt::NoModifier, QPoint(15, 15));
  QCoreApplication::processEvents();
  EXPECT_FALSE(offered.contains("Rotate"));
  EXPECT_FALSE(offered.contains("Create matrix tile"));
  Click(QPoint(110, 85));  // lays it down
  EXPECT_FALSE(HasSelection(record));
  // Inside the triangle the block is inverted; outside the shape all stays.
  EXPECT_EQ(At(22, 22), kBlock ^ 0xFFFFFF);
  EXPECT_EQ(At(12, 12), RGB(0, 0, 0));  // white paper, inverted
  EXPECT_EQ(At(38, 28), kBlock);
  EXPECT_EQ(At(5, 5), RGB(255, 255, 255));
}

TEST_F(SelectionGuiTest, SelectAllThenANudge) {
  frame->toolBox()->button(TOOL_BRUSH)->click();
  frame->Command(CM_SELECTALL);
  QCoreApplication::processEvents();
  EXPECT_EQ(CurrentTool(), TOOL_RECTSELECT);
  ASSERT_TRUE(HasSelection(record));
  QTest::keyClick(view, Qt::Key_Right);
  QCoreApplication::processEvents();
  frame->toolBox()->button(TOOL_PEN)->click();  // a tool change lays it down
  EXPECT_FALSE(HasSelection(record));
  EXPECT_EQ(At(40, 25), kBlock);  // one pixel to the right
  EXPECT_EQ(At(20, 25), RGB(255, 255, 255));
  EXPECT_EQ(At(0, 0), RGB(255, 255, 255));
}

TEST_F(SelectionGuiTest, FragmentBecomesTheTileFillAndJoinsALibrary) {
  frame->toolBox()->button(TOOL_RECTSELECT)->click();
  Drag(QPoint(15, 15), QPoint(35, 25), {QPoint(25, 20)});
  ASSERT_TRUE(HasSelection(record));
  HDIB fragment = DuplicateObject(record->ToolWindow->param.Fragment);
  frame->Command(CM_CREATETILE);
  EXPECT_EQ(record->FillType, 3);
  EXPECT_TRUE(test::SameBlock(record->Matrix.Tile, fragment));
  // A library of one's own takes the tile; the stock one says it can't.
  const std::string mine = (DataFolder() / "Mine.MTX").string();
  ASSERT_TRUE(SaveMatrixFile(mine, {}, 1));
  char keep[kSettingTextSize];
  std::snprintf(keep, sizeof keep, "%s", MatrixLibrary);
  std::snprintf(MatrixLibrary, kSettingTextSize, "%s", "Mine.MTX");
  frame->Command(CM_ADDTILE);
  std::snprintf(MatrixLibrary, kSettingTextSize, "%s", keep);
  std::vector<HDIB> tiles;
  int writeable = 0;
  ASSERT_TRUE(LoadMatrixFile(mine, &tiles, &writeable));
  ASSERT_EQ(tiles.size(), 1u);
  EXPECT_TRUE(test::SamePixels(tiles[0], fragment));
  EXPECT_TRUE(prompts.empty());
}

}  // namespace
}  // namespace ochrel

namespace ochrel {
namespace {

// Undo with a history, set in Setup: three strokes, three steps back, two forward.
TEST_F(SelectionGuiTest, UndoStepsFromSetupWalkBackAndForward) {
  SetDialogAnswerer([](QDialog& box) {
    auto* steps = box.findChild<QSpinBox*>("130");
    if (!steps) return false;
    steps->setValue(5);
    static_cast<SetupDialog&>(box).GetSetupControls();  // what OK does
    return true;
  });
  frame->Command(CM_SETUP);
  SetDialogAnswerer({});
  ASSERT_EQ(UndoSteps, 5);
  frame->toolBox()->button(TOOL_PEN)->click();
  record->PaintColour = RGB(0, 0, 255);
  std::vector<HDIB> after;
  for (int k = 0; k < 3; ++k) {
    Drag(QPoint(10, 40 + 10 * k), QPoint(100, 40 + 10 * k), {QPoint(50, 40 + 10 * k)});
    after.push_back(DuplicateObject(record->Image));
  }
  EXPECT_NE(test::Pixel(after[2], 50, 60), test::Pixel(after[1], 50, 60));
  for (int k = 0; k < 3; ++k) frame->Command(CM_UNDO);
  EXPECT_TRUE(test::SamePixels(record->Image, original));
  EXPECT_FALSE(frame->action(CM_UNDO)->isEnabled());
  frame->Command(CM_REDO);
  frame->Command(CM_REDO);
  EXPECT_TRUE(test::SamePixels(record->Image, after[1]));
  EXPECT_TRUE(frame->action(CM_REDO)->isEnabled());
  UndoSteps = 1;
}

}  // namespace
}  // namespace ochrel
