// The text tool as a person uses it: picked in the toolbox, a click in the
// document, typing, the box seen on the screen, the change of tool that lays
// the text into the image, and Undo.
#include <gtest/gtest.h>

#include <QComboBox>
#include <QMdiArea>
#include <QMdiSubWindow>
#include <QSpinBox>
#include <QTest>
#include <QToolButton>

#include "frame/blockset.h"
#include "frame/commands.h"
#include "frame_fixture.h"
#include "qt_app.h"
#include "test_images.h"
#include "tools/texttool.h"
#include "tools/toolparam.h"
#include "tools/toolsession.h"
#include "ui/document/documentwindow.h"
#include "ui/frame/mainframe.h"
#include "ui/widgets/messages.h"
#include "ui/dialogs/image/newfiledialog.h"
#include "ui/frame/toolbox.h"

namespace ochrel {
namespace {

class TextGuiTest : public test::FrameFixture {
 protected:
  TextGuiTest() : FrameFixture(160, 100) {}
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

TEST_F(TextGuiTest, TypedTextShowsWithCaretAndIsLaidInOnToolChange) {
  frame->Command(CM_NEW);
  DocumentWindow* d = frame->ActiveDocument();
  ASSERT_NE(d, nullptr);
  QCoreApplication::processEvents();
  BLOCKSET* r = d->record();
  r->FillColour = RGB(0, 0, 0);
  r->Opacity = 255;
  r->ShadowActive = 0;
  r->SolidFillMode = 0;
  r->FillType = 0;
  r->TextFontSize = 24;
  r->TextFontCharacterSpace = 100;
  r->TextFontLineSpace = 100;
  r->TextFontJust = 0;
  const std::uint32_t background = GetDibPixel(LockDib(r->Image), 0, 0);
  HDIB before = DuplicateObject(r->Image);

  frame->toolBox()->button(TOOL_TEXT)->click();
  EXPECT_EQ(CurrentTool(), TOOL_TEXT);
  QWidget* v = d->view();
  QTest::mouseClick(v, Qt::LeftButton, Qt::NoModifier, QPoint(20, 15));
  QCoreApplication::processEvents();
  auto* t = dynamic_cast<TextTool*>(d->tools()->session());
  ASSERT_NE(t, nullptr);
  v->setFocus();
  QTest::keyClicks(v, "Hi");
  QCoreApplication::processEvents();
  EXPECT_EQ(t->Text(), "Hi");
  EXPECT_EQ(t->Caret(), 2);
  QTest::keyClick(v, Qt::Key_Left);
  EXPECT_EQ(t->Caret(), 1);
  QTest::keyClick(v, Qt::Key_End);
  EXPECT_EQ(t->Caret(), 2);
  const RECT box = t->window;

  // On the screen: dark text inside the box, nothing outside; the image untouched.
  QImage shot = v->grab().toImage();
  int dark = 0, darkOutside = 0;
  for (int y = 0; y < 100; ++y)
    for (int x = 0; x < 160; ++x) {
      const bool isDark = qGray(shot.pixel(x, y)) < 100;
      const bool inside = x >= box.left && x < box.right && y >= box.top && y < box.bottom;
      (inside ? dark : darkOutside) += isDark;
    }
  EXPECT_GT(dark, 20);
  EXPECT_EQ(darkOutside, 0);
  EXPECT_TRUE(test::SameBlock(before, r->Image));
  // The caret: a dark bar behind the "i", the full line tall.
  TextLayout layout;
  ASSERT_TRUE(t->PreviewLayout(&layout));
  ASSERT_GT(layout.caret.right, layout.caret.left);
  const int caretX = box.left + layout.caret.left, caretMid = box.top + (layout.caret.top + layout.caret.bottom) / 2;
  EXPECT_LT(qGray(shot.pixel(caretX, caretMid)), 100);
  EXPECT_LT(qGray(shot.pixel(caretX, box.top + layout.caret.top + 1)), 100);
  if (const char* dir = std::getenv("OCHREL_TEXT_SHOTS")) {
    shot.save(QString(dir) + "/text_editing.png");
  }

  // Another tool ends the session: the text is in the image, only in the box.
  frame->toolBox()->button(TOOL_PEN)->click();
  QCoreApplication::processEvents();
  EXPECT_EQ(dynamic_cast<TextTool*>(d->tools()->session()), nullptr);
  const BITMAPINFOHEADER* h = LockDib(r->Image);
  int changed = 0, outside = 0;
  for (int y = 0; y < 100; ++y)
    for (int x = 0; x < 160; ++x) {
      if (GetDibPixel(h, x, y) == background) continue;
      ++changed;
      outside += !(x >= box.left && x < box.right && y >= box.top && y < box.bottom);
    }
  EXPECT_GT(changed, 20);
  EXPECT_EQ(outside, 0);
  if (const char* dir = std::getenv("OCHREL_TEXT_SHOTS")) v->grab().save(QString(dir) + "/text_committed.png");

  ASSERT_TRUE(frame->action(CM_UNDO)->isEnabled());
  frame->Command(CM_UNDO);
  EXPECT_TRUE(test::SameBlock(before, r->Image));
}

}  // namespace
}  // namespace ochrel
