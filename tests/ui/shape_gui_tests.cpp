// The shape tools as a person uses them: picked in the toolbox, dragged on a
// document view, seen on the screen, taken back with Undo.
#include <gtest/gtest.h>

#include <QMdiArea>
#include <QMdiSubWindow>
#include <QSpinBox>
#include <QComboBox>
#include <QTest>
#include <QToolButton>

#include <cstdlib>

#include "frame/blockset.h"
#include "frame/commands.h"
#include "frame_fixture.h"
#include "qt_app.h"
#include "test_images.h"
#include "tools/toolparam.h"
#include "tools/toolsession.h"
#include "ui/document/documentwindow.h"
#include "ui/frame/mainframe.h"
#include "ui/widgets/messages.h"
#include "ui/dialogs/image/newfiledialog.h"
#include "ui/frame/toolbox.h"

namespace ochrel {
namespace {

class ShapeGuiTest : public test::FrameFixture {
 protected:
  ShapeGuiTest() : FrameFixture(120, 90) {}
  void SetUp() override {
    FrameFixture::SetUp();
  }
  void TearDown() override {
    SetPromptAnswerer({});
    SetNewFileAnswerer({});
    for (QMdiSubWindow* w : frame->client()->subWindowList())
      if (auto* d = qobject_cast<DocumentWindow*>(w)) d->record()->Modified = 0;
    frame.reset();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
  }
};

TEST_F(ShapeGuiTest, RectangleFromTheToolboxDragsAnOutlineAndCommitsOnRelease) {
  frame->Command(CM_NEW);
  DocumentWindow* d = frame->ActiveDocument();
  ASSERT_NE(d, nullptr);
  QCoreApplication::processEvents();
  BLOCKSET* r = d->record();
  r->PaintColour = RGB(200, 30, 90);
  r->LineThickness = 1;
  r->SolidFillMode = 1;
  r->Opacity = 255;
  r->ShadowActive = 0;
  const std::uint32_t background = GetDibPixel(LockDib(r->Image), 0, 0);
  HDIB before = DuplicateObject(r->Image);

  frame->toolBox()->button(TOOL_RECTANGLE)->click();
  EXPECT_EQ(CurrentTool(), TOOL_RECTANGLE);
  EXPECT_TRUE(frame->toolBox()->button(TOOL_RECTANGLE)->isChecked());
  EXPECT_EQ(r->ToolWindow, nullptr);  // a press tool: nothing until the press

  QWidget* v = d->view();
  QTest::mousePress(v, Qt::LeftButton, Qt::NoModifier, QPoint(10, 12));
  QCoreApplication::processEvents();
  ASSERT_NE(r->ToolWindow, nullptr);
  Move(v, QPoint(30, 30));
  // The preview: the outline inverted on the screen, the image untouched.
  QImage shot = v->grab().toImage();
  const QRgb back = shot.pixel(100, 80);
  EXPECT_EQ(shot.pixel(20, 12) & 0xFFFFFF, ~back & 0xFFFFFF);
  EXPECT_EQ(shot.pixel(20, 20), back);
  EXPECT_EQ(GetDibPixel(LockDib(r->Image), 20, 12), background);
  Move(v, QPoint(50, 40));
  QTest::mouseRelease(v, Qt::LeftButton, Qt::NoModifier, QPoint(50, 40));
  QCoreApplication::processEvents();
  EXPECT_EQ(r->ToolWindow, nullptr);

  // Exactly the border of (10, 12) - (50, 40).
  const BITMAPINFOHEADER* h = LockDib(r->Image);
  int wrong = 0;
  for (int y = 0; y < 90; ++y)
    for (int x = 0; x < 120; ++x) {
      const bool in = x >= 10 && x < 50 && y >= 12 && y < 40;
      const bool border = in && (x == 10 || x == 49 || y == 12 || y == 39);
      wrong += GetDibPixel(h, x, y) != (border ? RGB(200, 30, 90) : background);
    }
  EXPECT_EQ(wrong, 0);
  // The screen shows it, and the first preview left no trace.
  shot = v->grab().toImage();
  EXPECT_EQ(shot.pixel(30, 12) & 0xFFFFFF, 0xC81E5Au);
  EXPECT_EQ(shot.pixel(20, 29), back);
  EXPECT_EQ(shot.pixel(30, 30), back);
  EXPECT_EQ(r->Modified, 1);

  ASSERT_TRUE(frame->action(CM_UNDO)->isEnabled());
  frame->Command(CM_UNDO);
  EXPECT_TRUE(test::SameBlock(before, r->Image));
  QCoreApplication::processEvents();
  EXPECT_EQ(v->grab().toImage().pixel(30, 12), back);
}

TEST_F(ShapeGuiTest, EveryShapeOnOneDocument) {
  frame->Command(CM_NEW);
  DocumentWindow* d = frame->ActiveDocument();
  ASSERT_NE(d, nullptr);
  QCoreApplication::processEvents();
  BLOCKSET* r = d->record();
  r->LineThickness = 3;
  r->Opacity = 255;
  r->Antialias = 1;
  r->ShadowActive = 0;
  r->PaintColour = RGB(20, 40, 160);
  r->FillColour = RGB(240, 200, 40);
  r->SolidFillMode = 0;
  const std::uint32_t background = GetDibPixel(LockDib(r->Image), 0, 0);
  QWidget* v = d->view();
  frame->toolBox()->button(TOOL_LINE)->click();
  Drag(v, QPoint(5, 5), QPoint(55, 30));
  frame->toolBox()->button(TOOL_RECTANGLE)->click();
  Drag(v, QPoint(62, 5), QPoint(112, 40));
  frame->toolBox()->button(TOOL_ELLIPSE)->click();
  Drag(v, QPoint(5, 45), QPoint(55, 85));
  frame->toolBox()->button(TOOL_POLYGON)->click();
  ASSERT_NE(r->ToolWindow, nullptr);  // a standing tool
  for (QPoint p : {QPoint(85, 45), QPoint(112, 85), QPoint(62, 85)}) QTest::mouseClick(v, Qt::LeftButton, {}, p);
  QTest::mouseDClick(v, Qt::LeftButton, {}, QPoint(62, 85));
  QCoreApplication::processEvents();
  const BITMAPINFOHEADER* h = LockDib(r->Image);
  EXPECT_EQ(GetDibPixel(h, 30, 17), RGB(20, 40, 160));   // along the line
  EXPECT_EQ(GetDibPixel(h, 87, 22), RGB(240, 200, 40));  // inside the rectangle
  EXPECT_EQ(GetDibPixel(h, 30, 65), RGB(240, 200, 40));  // inside the ellipse
  EXPECT_EQ(GetDibPixel(h, 87, 75), RGB(240, 200, 40));  // inside the polygon
  EXPECT_EQ(GetDibPixel(h, 6, 46), background);          // the ellipse's box corner
  if (const char* dir = std::getenv("OCHREL_SCREENSHOT_DIR")) {
    r->ViewMode = 7;
    d->ChangeScale(7);
    QCoreApplication::processEvents();
    frame->grab().toImage().save(QString(dir) + "/shapes.png");
  }
}

}  // namespace
}  // namespace ochrel
