// The tools as a person uses them: picked in the toolbox, clicked and dragged
// on a document view, seen on the screen, taken back with Undo. What each
// tool paints exactly is the tool tests' business; here the way there.
#include <gtest/gtest.h>

#include <QMenu>
#include <QMenuBar>

#include "fills/matrix.h"
#include "qt_fixture.h"
#include "test_images.h"
#include "tools/selecttools.h"
#include "tools/texttool.h"
#include "tools/toolsession.h"
#include "ui/frame/startup.h"

namespace ochrel {
namespace {

constexpr COLORREF kBlock = RGB(200, 40, 10);
constexpr COLORREF kWhite = RGB(255, 255, 255);

class ToolsGuiTest : public test::QtFixture {
 protected:
  // White, with a block at (20, 20)-(40, 30) and a black wall down x = 60.
  void SetUp() override {
    QtFixture::SetUp();
    HDIB image = test::Uniform(120, 90, 24, kWhite);
    InsetSolidRectangle(image, kBlock, RECT{20, 20, 40, 30});
    InsetSolidRectangle(image, 0, RECT{60, 0, 61, 90});
    doc = Open(image);
    ASSERT_NE(doc, nullptr);
    r = doc->record();
    view = doc->view();
    original = DuplicateObject(r->Image);
  }
  COLORREF At(int x, int y) { return QtFixture::At(doc, x, y); }
  QRgb Screen(int x, int y) { return ScreenAt(doc, x, y); }
  void UndoAll() {
    Choose(CM_UNDO);
    EXPECT_TRUE(test::SamePixels(r->Image, original));
    EXPECT_FALSE(Enabled(CM_UNDO));
  }

  DocumentWindow* doc = nullptr;
  BLOCKSET* r = nullptr;
  DocumentView* view = nullptr;
  HDIB original;
};

TEST_F(ToolsGuiTest, RectangleShowsAnInvertedOutlineWhileDraggedAndCommitsOnRelease) {
  r->PaintColour = RGB(200, 30, 90);
  r->LineThickness = 1;
  r->SolidFillMode = 1;
  r->ShadowActive = 0;
  Tool(TOOL_RECTANGLE);
  EXPECT_EQ(r->ToolWindow, nullptr);  // a press tool: nothing until the press
  QTest::mousePress(view, Qt::LeftButton, Qt::NoModifier, QPoint(70, 12));
  QCoreApplication::processEvents();
  ASSERT_NE(r->ToolWindow, nullptr);
  Move(view, QPoint(90, 30));
  EXPECT_EQ(Screen(80, 12), 0u);  // white inverted; the image untouched
  EXPECT_EQ(At(80, 12), kWhite);
  Move(view, QPoint(110, 40));
  QTest::mouseRelease(view, Qt::LeftButton, Qt::NoModifier, QPoint(110, 40));
  QCoreApplication::processEvents();
  EXPECT_EQ(r->ToolWindow, nullptr);
  // The border of (70, 12) - (110, 40) (its exact pixels are the tool tests' business); the
  // first preview left no trace on the screen.
  EXPECT_EQ(At(109, 39), RGB(200, 30, 90));
  EXPECT_EQ(At(80, 29), kWhite);
  EXPECT_EQ(Screen(80, 12), Rgb(RGB(200, 30, 90)));
  EXPECT_EQ(Screen(80, 29), 0xFFFFFFu);
  UndoAll();
  EXPECT_EQ(Screen(80, 12), 0xFFFFFFu);
}

TEST_F(ToolsGuiTest, EveryShapeToolPaintsThroughTheView) {
  r->LineThickness = 3;
  r->PaintColour = RGB(20, 40, 160);
  r->FillColour = RGB(240, 200, 40);
  r->SolidFillMode = 0;
  r->ShadowActive = 0;
  InsetSolidRectangle(r->Image, kWhite, RECT{0, 0, 120, 90});
  view->InvalidateAll();
  Tool(TOOL_LINE);
  Drag(view, QPoint(5, 5), QPoint(55, 30));
  Tool(TOOL_RECTANGLE);
  Drag(view, QPoint(62, 5), QPoint(112, 40));
  Tool(TOOL_ELLIPSE);
  Drag(view, QPoint(5, 45), QPoint(55, 85));
  Tool(TOOL_POLYGON);
  ASSERT_NE(r->ToolWindow, nullptr);  // a standing tool
  for (QPoint p : {QPoint(85, 45), QPoint(112, 85), QPoint(62, 85)}) Click(view, p);
  QTest::mouseDClick(view, Qt::LeftButton, {}, QPoint(62, 85));
  QCoreApplication::processEvents();
  EXPECT_EQ(At(30, 17), RGB(20, 40, 160));  // along the line
  for (QPoint inside : {QPoint(87, 22), QPoint(30, 65), QPoint(87, 75)})
    EXPECT_EQ(At(inside.x(), inside.y()), RGB(240, 200, 40));
  EXPECT_EQ(At(6, 46), kWhite);  // the ellipse's box corner
  if (const char* shots = std::getenv("OCHREL_SCREENSHOT_DIR")) frame->grab().save(QString(shots) + "/shapes.png");
}

TEST_F(ToolsGuiTest, TypedTextShowsWithCaretAndIsLaidInOnToolChange) {
  r->FillColour = 0;
  r->TextFontSize = 24;
  InsetSolidRectangle(r->Image, kWhite, RECT{0, 0, 120, 90});
  view->InvalidateAll();
  HDIB before = DuplicateObject(r->Image);
  Tool(TOOL_TEXT);
  Click(view, QPoint(10, 50));
  auto* t = dynamic_cast<TextTool*>(doc->tools()->session());
  ASSERT_NE(t, nullptr);
  view->setFocus();
  QTest::keyClicks(view, "Hi");
  EXPECT_EQ(t->Text(), "Hi");
  EXPECT_EQ(t->Caret(), 2);
  Key(view, Qt::Key_Left);
  EXPECT_EQ(t->Caret(), 1);
  Key(view, Qt::Key_End);
  const RECT box = t->window;
  auto inBox = [&](int x, int y) { return x >= box.left && x < box.right && y >= box.top && y < box.bottom; };
  // On the screen: dark text inside the box only, with the caret; the image untouched.
  const QImage shot = Shot(view);
  int dark = 0, darkOutside = 0;
  for (int y = 0; y < 90; ++y)
    for (int x = 0; x < 120; ++x) (inBox(x, y) ? dark : darkOutside) += qGray(shot.pixel(x, y)) < 100;
  EXPECT_GT(dark, 20);
  EXPECT_EQ(darkOutside, 0);
  EXPECT_TRUE(test::SameBlock(before, r->Image));
  TextLayout layout;
  ASSERT_TRUE(t->PreviewLayout(&layout));
  EXPECT_LT(qGray(shot.pixel(box.left + layout.caret.left, box.top + (layout.caret.top + layout.caret.bottom) / 2)),
            100);
  // Another tool lays the text in, only in the box.
  Tool(TOOL_PEN);
  EXPECT_EQ(dynamic_cast<TextTool*>(doc->tools()->session()), nullptr);
  int changed = 0, outside = 0;
  for (int y = 0; y < 90; ++y)
    for (int x = 0; x < 120; ++x)
      if (At(x, y) != kWhite) ++changed, outside += !inBox(x, y);
  EXPECT_GT(changed, 20);
  EXPECT_EQ(outside, 0);
  Choose(CM_UNDO);
  EXPECT_TRUE(test::SameBlock(before, r->Image));
}

TEST_F(ToolsGuiTest, RectangleSelectionDraggedOutMovedDroppedAndUndone) {
  Tool(TOOL_RECTSELECT);
  Drag(view, QPoint(20, 20), QPoint(40, 30), {QPoint(30, 25)});
  ASSERT_TRUE(HasSelection(r));
  EXPECT_EQ(At(25, 25), kWhite);  // lifted
  // The fragment floats where it was, its frame burnt in on every second pixel.
  EXPECT_EQ(Screen(25, 25), Rgb(kBlock));
  EXPECT_EQ(Screen(21, 20), Rgb(kBlock ^ 0xFFFFFF));
  EXPECT_EQ(Screen(22, 20), Rgb(kBlock));
  EXPECT_TRUE(Enabled(CM_CLEAR));
  Drag(view, QPoint(25, 25), QPoint(85, 45), {QPoint(45, 35)});
  EXPECT_EQ(Screen(85, 45), Rgb(kBlock));
  EXPECT_EQ(Screen(25, 25), 0xFFFFFFu);  // the hole shows under where it was
  Click(view, QPoint(110, 85));          // a press outside lays it down
  EXPECT_FALSE(HasSelection(r));
  EXPECT_FALSE(Enabled(CM_CLEAR));
  EXPECT_EQ(At(81, 41), kBlock);
  EXPECT_EQ(Screen(81, 41), Rgb(kBlock));
  UndoAll();
}

TEST_F(ToolsGuiTest, LassoSelectionFilteredFromItsPopup) {
  Tool(TOOL_LASSO);
  Drag(view, QPoint(10, 10), QPoint(10, 50), {QPoint(50, 10)});
  ASSERT_TRUE(HasSelection(r));
  // The Filters menu follows the selection: no Rotate for a shaped one.
  for (QAction* a : frame->menuBar()->findChild<QMenu*>("filterMenu")->actions()) {
    if (a->text() == "Rotate") EXPECT_FALSE(a->isEnabled());
    if (a->text() == "Invert Colours") EXPECT_TRUE(a->isEnabled());
  }
  QStringList offered;
  SetMenuAnswerer([&](QMenu& menu) -> QAction* {
    QAction* pick = nullptr;
    for (QAction* a : menu.actions())
      if (offered << a->text(); a->text() == "Invert Colours") pick = a;
    return pick;
  });
  SetDialogAnswerer([](QDialog&) { return true; });
  Click(view, QPoint(15, 15), Qt::RightButton);
  EXPECT_FALSE(offered.contains("Rotate"));
  EXPECT_FALSE(offered.contains("Create matrix tile"));
  Click(view, QPoint(110, 85));
  // Inside the triangle inverted; outside the shape all stays.
  EXPECT_EQ(At(22, 22), kBlock ^ 0xFFFFFF);
  EXPECT_EQ(At(12, 12), 0u);
  EXPECT_EQ(At(38, 28), kBlock);
  EXPECT_EQ(At(5, 5), kWhite);
}

TEST_F(ToolsGuiTest, SelectAllThenANudge) {
  Tool(TOOL_BRUSH);
  Choose(CM_SELECTALL);
  EXPECT_EQ(CurrentTool(), TOOL_RECTSELECT);
  ASSERT_TRUE(HasSelection(r));
  Key(view, Qt::Key_Right);
  Tool(TOOL_PEN);  // a tool change lays it down
  EXPECT_FALSE(HasSelection(r));
  EXPECT_EQ(At(40, 25), kBlock);  // one pixel to the right
  EXPECT_EQ(At(20, 25), kWhite);
}

TEST_F(ToolsGuiTest, FragmentBecomesTheTileFillAndJoinsALibrary) {
  Tool(TOOL_RECTSELECT);
  Drag(view, QPoint(15, 15), QPoint(35, 25));
  ASSERT_TRUE(HasSelection(r));
  HDIB fragment = DuplicateObject(r->ToolWindow->param.Fragment);
  Choose(CM_CREATETILE);
  EXPECT_EQ(r->FillType, 3);
  EXPECT_TRUE(test::SameBlock(r->Matrix.Tile, fragment));
  // A library of one's own takes the tile.
  const std::string mine = (DataFolder() / "Mine.MTX").string();
  ASSERT_TRUE(SaveMatrixFile(mine, {}, 1));
  std::snprintf(MatrixLibrary, kSettingTextSize, "%s", "Mine.MTX");
  Choose(CM_ADDTILE);
  std::vector<HDIB> tiles;
  int writeable = 0;
  ASSERT_TRUE(LoadMatrixFile(mine, &tiles, &writeable));
  std::filesystem::remove(mine);
  ASSERT_EQ(tiles.size(), 1u);
  EXPECT_TRUE(test::SamePixels(tiles[0], fragment));
  EXPECT_TRUE(prompts.empty());
}

TEST_F(ToolsGuiTest, UndoStepsFromSetupWalkBackAndForward) {
  OnDialog<SetupDialog>([](SetupDialog& box) {
    box.findChild<QSpinBox*>("130")->setValue(5);
    box.GetSetupControls();  // what OK does
    return true;
  });
  Choose(CM_SETUP);
  ASSERT_EQ(UndoSteps, 5);
  Tool(TOOL_PEN);
  r->PaintColour = RGB(0, 0, 255);
  std::vector<HDIB> after;
  for (int k = 0; k < 3; ++k) {
    Drag(view, QPoint(10, 40 + 10 * k), QPoint(100, 40 + 10 * k));
    after.push_back(DuplicateObject(r->Image));
  }
  for (int k = 0; k < 3; ++k) Choose(CM_UNDO);
  EXPECT_TRUE(test::SamePixels(r->Image, original));
  EXPECT_FALSE(Enabled(CM_UNDO));
  Choose(CM_REDO);
  Choose(CM_REDO);
  EXPECT_TRUE(test::SamePixels(r->Image, after[1]));
  EXPECT_TRUE(Enabled(CM_REDO));
}

}  // namespace
}  // namespace ochrel
