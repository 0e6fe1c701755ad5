// The flood fill and the spray can through the real widgets: a tool chosen in
// the toolbox, clicks on a document view, the pixels, the screen and Undo.
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

class FillGuiTest : public test::FrameFixture {
 protected:
  FillGuiTest() : FrameFixture(120, 90) {}
  void SetUp() override {
    FrameFixture::SetUp();
    doc = NewDocument();
    ASSERT_NE(doc, nullptr);
    // White, with a black wall down the middle.
    InsetSolidRectangle(doc->record()->Image, RGB(255, 255, 255), RECT{0, 0, 120, 90});
    InsetSolidRectangle(doc->record()->Image, RGB(0, 0, 0), RECT{60, 0, 61, 90});
    doc->record()->PaintColour = RGB(200, 30, 90);
    doc->record()->FillColour = RGB(20, 160, 40);
    doc->view()->InvalidateAll();
  }
  std::uint32_t Px(int x, int y) { return GetDibPixel(LockDib(doc->record()->Image), x, y); }

  DocumentWindow* doc = nullptr;
};

TEST_F(FillGuiTest, FloodFillFromTheToolboxPaintsTheRegionAndUndoTakesItBack) {
  HDIB before = DuplicateObject(doc->record()->Image);
  ToolBox* box = frame->toolBox();
  ASSERT_EQ(box->button(TOOL_BUCKET)->toolTip(), "Flood fill");
  box->button(TOOL_BUCKET)->click();
  EXPECT_EQ(CurrentTool(), TOOL_BUCKET);
  ASSERT_NE(doc->record()->ToolWindow, nullptr);
  QWidget* v = doc->view();
  QTest::mouseClick(v, Qt::LeftButton, Qt::NoModifier, QPoint(20, 40));
  QCoreApplication::processEvents();
  // The left room takes the paint colour; the wall and the right room stay.
  EXPECT_EQ(Px(0, 0), RGB(200, 30, 90));
  EXPECT_EQ(Px(30, 89), RGB(200, 30, 90));
  EXPECT_EQ(Px(61, 40), RGB(255, 255, 255));
  EXPECT_EQ(Px(100, 40), RGB(255, 255, 255));
  QImage shot = v->grab().toImage();
  EXPECT_EQ(shot.pixel(20, 40) & 0xFFFFFF, 0xC81E5Au);
  EXPECT_EQ(shot.pixel(100, 40) & 0xFFFFFF, 0xFFFFFFu);
  EXPECT_EQ(doc->record()->Modified, 1);
  // A right click fills with the fill colour.
  QTest::mouseClick(v, Qt::RightButton, Qt::NoModifier, QPoint(100, 40));
  QCoreApplication::processEvents();
  EXPECT_EQ(Px(119, 89), RGB(20, 160, 40));
  EXPECT_EQ(Px(0, 0), RGB(200, 30, 90));
  EXPECT_TRUE(prompts.empty());
  // Undo takes back the last fill only, then the tool still stands.
  ASSERT_TRUE(frame->action(CM_UNDO)->isEnabled());
  frame->Command(CM_UNDO);
  EXPECT_EQ(Px(119, 89), RGB(255, 255, 255));
  EXPECT_EQ(Px(0, 0), RGB(200, 30, 90));
  EXPECT_FALSE(frame->action(CM_UNDO)->isEnabled());
  QTest::mouseClick(v, Qt::LeftButton, Qt::NoModifier, QPoint(100, 40));
  EXPECT_EQ(Px(119, 89), RGB(200, 30, 90));
  frame->Command(CM_UNDO);
  EXPECT_EQ(Px(119, 89), RGB(255, 255, 255));
  QTest::mouseClick(v, Qt::MiddleButton, Qt::NoModifier, QPoint(20, 40));  // paper colour
  EXPECT_EQ(Px(0, 0), doc->record()->PaperColour);
  (void)before;
}

TEST_F(FillGuiTest, SprayAndFillSideBySide) {
  frame->toolBox()->button(TOOL_BUCKET)->click();
  QWidget* v = doc->view();
  QTest::mouseClick(v, Qt::LeftButton, Qt::NoModifier, QPoint(20, 40));
  frame->toolBox()->button(TOOL_SPRAYCAN)->click();
  EXPECT_EQ(CurrentTool(), TOOL_SPRAYCAN);
  ASSERT_NE(doc->record()->ToolWindow, nullptr);
  doc->record()->PaintColour = RGB(0, 0, 160);
  QTest::mousePress(v, Qt::LeftButton, Qt::NoModifier, QPoint(90, 45));
  for (int x = 90; x <= 110; x += 2) {
    QMouseEvent move(QEvent::MouseMove, QPointF(x, 45 + (x - 90) / 2), v->mapToGlobal(QPointF(x, 45)),
                     Qt::NoButton, Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(v, &move);
  }
  QTest::mouseRelease(v, Qt::LeftButton, Qt::NoModifier, QPoint(110, 55));
  QCoreApplication::processEvents();
  // Dots of the paint colour in the right room, none outside the sprayed band.
  int dots = 0;
  for (int y = 0; y < 90; ++y)
    for (int x = 61; x < 120; ++x) dots += Px(x, y) == RGB(0, 0, 160);
  EXPECT_GT(dots, 10);
  EXPECT_EQ(Px(119, 0), RGB(255, 255, 255));
  EXPECT_EQ(doc->record()->Modified, 1);
  if (const char* dir = std::getenv("OCHREL_SCREENSHOT_DIR"))
    frame->grab().toImage().save(QString(dir) + "/fill_and_spray.png");
}

}  // namespace
}  // namespace ochrel
