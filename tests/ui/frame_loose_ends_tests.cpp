// The frame's commands and the view's mouse as a person uses them: the fill
// swatch's menu, hiding the palettes, Undo over an open text box, shortcuts,
// the wheel, the change mark, the recent list, several files at the start.
#include <gtest/gtest.h>

#include <QAction>
#include <QLabel>
#include <QApplication>
#include <QClipboard>
#include <QMimeData>
#include <QMenu>
#include <QScrollBar>
#include <QTest>
#include <QTimer>
#include <QToolButton>
#include <QWheelEvent>

#include "files/imagefile.h"
#include "filters/filterparam.h"
#include "ui/widgets/dialogrunner.h"
#include "frame/blockset.h"
#include "frame/commands.h"
#include "frame/recentpaths.h"
#include "frame_fixture.h"
#include "frame/settings.h"
#include "temp_dir.h"
#include "test_images.h"
#include "tools/toolsession.h"
#include "ui/frame/fillmenu.h"
#include "ui/frame/settingswindow.h"
#include "ui/frame/toolbox.h"

namespace ochrel {
namespace {

class LooseEndsTest : public test::FrameFixture {
 protected:
  LooseEndsTest() : FrameFixture(160, 120) {}
  DocumentWindow* NewDocument() {
    frame->Command(CM_NEW);
    QCoreApplication::processEvents();
    return frame->ActiveDocument();
  }
  void Drag(QWidget* v, QPoint from, QPoint to) {
    QTest::mousePress(v, Qt::LeftButton, Qt::NoModifier, from);
    QCoreApplication::processEvents();
    QMouseEvent move(QEvent::MouseMove, QPointF(to), v->mapToGlobal(QPointF(to)), Qt::NoButton, Qt::LeftButton,
                     Qt::NoModifier);
    QCoreApplication::sendEvent(v, &move);
    QCoreApplication::processEvents();
    QTest::mouseRelease(v, Qt::LeftButton, Qt::NoModifier, to);
    QCoreApplication::processEvents();
  }
  // Right-clicks the fill swatch; `inMenu` runs while the menu is up.
  void WithFillMenu(const std::function<void(QMenu*)>& inMenu) {
    bool seen = false;
    QTimer::singleShot(0, [&] {
      auto* menu = qobject_cast<QMenu*>(QApplication::activePopupWidget());
      ASSERT_NE(menu, nullptr);
      seen = true;
      inMenu(menu);
    });
    QTest::mouseClick(frame->statusBar()->swatch(CM_FILLSWATCH), Qt::RightButton);
    QCoreApplication::processEvents();
    EXPECT_TRUE(seen);
  }
  static QAction* Item(QMenu* menu, int id) { return menu->findChild<QAction*>(QString::number(id)); }
};

TEST_F(LooseEndsTest, FillMenuGreysByImageTypeAndGradientFillsTheRectangle) {
  // A paletted picture: only Solid can be chosen.
  SetNewFileAnswerer([](NewFileBox& box) {
    box.typeList()->setCurrentIndex(2);
    box.widthField()->setValue(40);
    box.depthField()->setValue(40);
    return true;
  });
  ASSERT_NE(NewDocument(), nullptr);
  WithFillMenu([](QMenu* m) {
    EXPECT_TRUE(Item(m, CM_FILLSOLID)->isEnabled());
    EXPECT_TRUE(Item(m, CM_FILLSOLID)->isChecked());
    for (int id : {CM_FILLGRADIENT, CM_FILLTEXTURE, CM_FILLMATRIX}) EXPECT_FALSE(Item(m, id)->isEnabled()) << id;
    m->close();
  });
  SetNewFileAnswerer([](NewFileBox& box) {
    box.typeList()->setCurrentIndex(0);
    box.widthField()->setValue(160);
    box.depthField()->setValue(120);
    return true;
  });
  DocumentWindow* d = NewDocument();
  ASSERT_NE(d, nullptr);
  BLOCKSET* r = d->record();
  FillTypeRightClick = 0;
  WithFillMenu([](QMenu* m) {
    for (int id : {CM_FILLSOLID, CM_FILLGRADIENT, CM_FILLTEXTURE, CM_FILLMATRIX})
      EXPECT_TRUE(Item(m, id)->isEnabled()) << id;
    QTest::keyClick(m, Qt::Key_G);  // &Gradient
  });
  ASSERT_EQ(r->FillType, 1);
  // The swatch shows the gradient it stands for.
  SwatchButton* swatch = frame->statusBar()->swatch(CM_FILLSWATCH);
  ASSERT_FALSE(swatch->sample().isNull());
  EXPECT_NE(swatch->sample().pixel(0, swatch->height() / 2), swatch->sample().pixel(swatch->width() - 1, swatch->height() / 2));

  r->SolidFillMode = 0;
  r->LineThickness = 0;
  r->Opacity = 255;
  r->ShadowActive = 0;
  frame->toolBox()->button(TOOL_RECTANGLE)->click();
  Drag(d->view(), QPoint(10, 10), QPoint(150, 110));
  // Inside the box the colours run as the gradient does: a solid fill would be one value.
  const BITMAPINFOHEADER* h = LockDib(r->Image);
  const RECT inner{20, 20, 140, 100};
  std::set<std::uint32_t> seen;
  for (int x = inner.left; x < inner.right; x += 10)
    for (int y = inner.top; y < inner.bottom; y += 10) seen.insert(GetDibPixel(h, x, y));
  EXPECT_GT(seen.size(), 5u);
  EXPECT_EQ(GetDibPixel(h, 155, 115), RGB(255, 255, 255));
  HDIB expected = GetFillImage(r, RECT{0, 0, 141, 101});
  ASSERT_TRUE(LockDib(expected));
  // The gradient's first and last colours lie at the box's ends.
  auto near = [](std::uint32_t a, std::uint32_t b) {
    return std::abs(GetRValue(a) - GetRValue(b)) + std::abs(GetGValue(a) - GetGValue(b)) +
               std::abs(GetBValue(a) - GetBValue(b)) < 40;
  };
  EXPECT_TRUE(near(GetDibPixel(h, 12, 60), GetDibPixel(LockDib(expected), 2, 50)));
  EXPECT_TRUE(near(GetDibPixel(h, 148, 60), GetDibPixel(LockDib(expected), 138, 50)));

  // With the right-click setting on, choosing a fill type opens its selector at once.
  WithFillMenu([](QMenu* m) { QTest::keyClick(m, Qt::Key_R); });
  EXPECT_EQ(FillTypeRightClick, 1);
  bool opened = false;
  QTimer::singleShot(50, [&] {
    if (QWidget* box = QApplication::activeModalWidget()) {
      opened = box->objectName() == "MatrixBox";
      box->close();
    }
  });
  WithFillMenu([](QMenu* m) { QTest::keyClick(m, Qt::Key_M); });
  QTest::qWait(200);
  EXPECT_EQ(r->FillType, 3);
  EXPECT_TRUE(opened);
  FillTypeRightClick = 0;
}

TEST_F(LooseEndsTest, HideCommandsToggleToolboxAndSettingsWithChecks) {
  ASSERT_NE(NewDocument(), nullptr);
  struct Case {
    int id;
    QWidget* window;
  } cases[] = {{CM_HIDETOOLBAR, frame->toolBox()}, {CM_HIDESETTINGS, frame->settingsWindow()}};
  for (const Case& c : cases) {
    QAction* a = frame->action(c.id);
    ASSERT_TRUE(a->isEnabled());
    EXPECT_FALSE(a->isChecked());
    a->trigger();
    EXPECT_TRUE(c.window->isHidden()) << c.id;
    EXPECT_TRUE(a->isChecked());
    a->trigger();
    EXPECT_FALSE(c.window->isHidden()) << c.id;
    EXPECT_FALSE(a->isChecked());
  }
}

TEST_F(LooseEndsTest, UndoWithOpenTextBoxTakesTheTextAwayToo) {
  DocumentWindow* d = NewDocument();
  BLOCKSET* r = d->record();
  r->FillColour = RGB(0, 0, 0);
  r->Opacity = 255;
  r->ShadowActive = 0;
  r->FillType = 0;
  r->TextFontSize = 24;
  Drag(d->view(), QPoint(100, 100), QPoint(110, 110));  // something to undo before the text: none
  HDIB before = DuplicateObject(r->Image);
  frame->toolBox()->button(TOOL_TEXT)->click();
  QTest::mouseClick(d->view(), Qt::LeftButton, Qt::NoModifier, QPoint(20, 15));
  QCoreApplication::processEvents();
  d->view()->setFocus();
  QTest::keyClicks(d->view(), "Hi");
  ASSERT_NE(r->ToolWindow, nullptr);
  QTest::keyClick(frame.get(), Qt::Key_U, Qt::ControlModifier);
  QCoreApplication::processEvents();
  EXPECT_EQ(r->ToolWindow, nullptr);
  EXPECT_TRUE(test::SameBlock(before, r->Image));
}

TEST_F(LooseEndsTest, MenuShortcutsWork) {
  DocumentWindow* d = NewDocument();
  BLOCKSET* r = d->record();
  HDIB blank = DuplicateObject(r->Image);
  frame->toolBox()->button(TOOL_PEN)->click();
  for (Qt::Key undo : {Qt::Key_U, Qt::Key_Z}) {
    Drag(d->view(), QPoint(10, 10), QPoint(60, 40));
    ASSERT_FALSE(test::SameBlock(blank, r->Image));
    QTest::keyClick(frame.get(), undo, Qt::ControlModifier);
    QCoreApplication::processEvents();
    EXPECT_TRUE(test::SameBlock(blank, r->Image)) << undo;
  }
  QTest::keyClick(frame.get(), Qt::Key_D, Qt::ControlModifier);
  QCoreApplication::processEvents();
  EXPECT_EQ(frame->CountOpenDocuments(), 2);
  QTest::keyClick(frame.get(), Qt::Key_F4, Qt::ShiftModifier);
  QCoreApplication::processEvents();
  const auto windows = frame->client()->subWindowList();
  ASSERT_EQ(windows.size(), 2);
  // Tiled: side by side or one above the other, not overlapping.
  EXPECT_FALSE(windows[0]->geometry().intersects(windows[1]->geometry()));
  QTest::keyClick(frame.get(), Qt::Key_F5, Qt::ShiftModifier);
  QCoreApplication::processEvents();
  EXPECT_TRUE(windows[0]->geometry().intersects(windows[1]->geometry()));
  // Ctrl+0, as the File menu prints it, asks for a file to open.
  bool asked = false;
  MainFrame::SetOpenPathAnswerer([&](std::string*) { return asked = true, false; });
  QTest::keyClick(frame.get(), Qt::Key_0, Qt::ControlModifier);
  MainFrame::SetOpenPathAnswerer({});
  EXPECT_TRUE(asked);
}

TEST_F(LooseEndsTest, WheelScrollsAndZoomsAroundThePointer) {
  SetNewFileAnswerer([](NewFileBox& box) {
    box.widthField()->setValue(2000);
    box.depthField()->setValue(2000);
    return true;
  });
  DocumentWindow* d = NewDocument();
  DocumentView* v = d->view();
  auto wheel = [&](int dy, Qt::KeyboardModifiers mods, QPoint at) {
    QWheelEvent e(QPointF(at), v->mapToGlobal(QPointF(at)), QPoint(), QPoint(0, dy), Qt::NoButton, mods,
                  Qt::NoScrollPhase, false);
    QCoreApplication::sendEvent(v, &e);
  };
  wheel(-120, Qt::NoModifier, QPoint(20, 20));
  EXPECT_GT(v->scrollY(), 0);
  EXPECT_EQ(v->scrollX(), 0);
  wheel(-240, Qt::ShiftModifier, QPoint(20, 20));
  EXPECT_GT(v->scrollX(), 0);
  const int y = v->scrollY();
  wheel(120, Qt::NoModifier, QPoint(20, 20));
  EXPECT_LT(v->scrollY(), y);
  const QPoint at(40, 30);
  const POINT under = v->ImagePoint(at);
  const int mode = d->record()->ViewMode;
  wheel(120, Qt::ControlModifier, at);
  EXPECT_EQ(d->record()->ViewMode, mode + 1);
  const POINT after = v->ImagePoint(at);
  EXPECT_LE(std::abs(after.x - under.x), 1);
  EXPECT_LE(std::abs(after.y - under.y), 1);
  wheel(-240, Qt::ControlModifier, at);
  EXPECT_EQ(d->record()->ViewMode, mode - 1);
}

TEST_F(LooseEndsTest, TitleMarksChangesAndSaveAsEntersTheRecentList) {
  test::TempDir dir;
  DocumentWindow* d = NewDocument();
  BLOCKSET* r = d->record();
  EXPECT_TRUE(d->windowTitle().endsWith(" *"));
  const std::string path = dir / "saved.bmp";
  MainFrame::SetSavePathAnswerer([&](const std::string&, std::string* p) { return *p = path, true; });
  frame->Command(CM_SAVEAS);
  MainFrame::SetSavePathAnswerer({});
  EXPECT_EQ(r->Modified, 0);
  EXPECT_EQ(d->windowTitle().toStdString(), path);
  const auto& recent = RecentPathList().Items();
  EXPECT_NE(std::find(recent.begin(), recent.end(), path), recent.end());
  // A stroke marks it, an Undo back to the saved picture clears the mark.
  frame->toolBox()->button(TOOL_PEN)->click();
  Drag(d->view(), QPoint(10, 10), QPoint(40, 30));
  EXPECT_TRUE(d->windowTitle().endsWith(" *"));
  frame->Command(CM_UNDO);
  EXPECT_EQ(d->windowTitle().toStdString(), path);
}

TEST_F(LooseEndsTest, SeveralFilesOnTheCommandLineOpenOneDocumentEach) {
  test::TempDir dir;
  HDIB image = test::RandomDib(20, 10, 24, 3);
  QStringList args;
  for (const char* name : {"a.bmp", "b.pcx", "c.tga"}) {
    ASSERT_NE(WriteGraphicFile(image, (dir / name).c_str(), SaveOptions{}), 0) << name;
    args << QString::fromStdString(dir / name);
  }
  args.insert(1, QString::fromStdString(dir / "missing.bmp"));
  frame->OpenCommandLine(args);
  QCoreApplication::processEvents();
  EXPECT_EQ(frame->CountOpenDocuments(), 3);
  EXPECT_EQ(prompts.size(), 1u);
}

TEST_F(LooseEndsTest, EyedropperTakesFillAndPaperThroughTheView) {
  DocumentWindow* d = NewDocument();
  BLOCKSET* r = d->record();
  InsetSolidRectangle(r->Image, RGB(10, 20, 30), RECT{0, 0, 50, 120});
  InsetSolidRectangle(r->Image, RGB(40, 50, 60), RECT{50, 0, 100, 120});
  InsetSolidRectangle(r->Image, RGB(70, 80, 90), RECT{100, 0, 160, 120});
  d->view()->InvalidateAll();
  RevertAfterEyedropper = 0;
  frame->toolBox()->button(TOOL_EYEDROPPER)->click();
  QCoreApplication::processEvents();
  QTest::mouseClick(d->view(), Qt::RightButton, Qt::NoModifier, QPoint(20, 20));
  QTest::mouseClick(d->view(), Qt::MiddleButton, Qt::NoModifier, QPoint(70, 20));
  QCoreApplication::processEvents();
  EXPECT_EQ(r->FillColour, RGB(10, 20, 30));
  EXPECT_EQ(r->PaperColour, RGB(40, 50, 60));
  QTest::mouseClick(d->view(), Qt::LeftButton, Qt::ShiftModifier, QPoint(120, 20));
  QCoreApplication::processEvents();
  EXPECT_EQ(r->PaperColour, RGB(70, 80, 90));
  EXPECT_EQ(frame->statusBar()->swatch(CM_PAPERSWATCH)->colour(), RGB(70, 80, 90));
  RevertAfterEyedropper = 1;
}

TEST_F(LooseEndsTest, NewGreyPalettedAndMonoPicturesKeepAWhiteBackgroundThatPaintShowsOn) {
  for (int type : {1, 2, 3}) {
    SetNewFileAnswerer([type](NewFileBox& box) {
      box.typeList()->setCurrentIndex(type);
      box.widthField()->setValue(60);
      box.depthField()->setValue(60);
      return true;
    });
    DocumentWindow* d = NewDocument();
    ASSERT_NE(d, nullptr);
    frame->toolBox()->button(TOOL_PEN)->click();
    Drag(d->view(), QPoint(10, 30), QPoint(50, 30));
    // What the view shows: a white picture with the stroke on it.
    const QImage shot = d->view()->grab().toImage();
    EXPECT_EQ(QColor(shot.pixel(5, 5)), QColor(Qt::white)) << type;
    EXPECT_LT(qGray(shot.pixel(30, 30)), 100) << type;
  }
}

TEST_F(LooseEndsTest, AirbrushHeldStillSwellsWithRealTimers) {
  DocumentWindow* d = NewDocument();
  BLOCKSET* r = d->record();
  r->PaintColour = RGB(0, 0, 0);
  r->Opacity = 255;
  r->AirBrushThickness = 30;
  frame->toolBox()->button(TOOL_AIRBRUSH)->click();
  QCoreApplication::processEvents();
  // The ink of a dab: how much darker the area is than white.
  auto ink = [&](QPoint at) {
    long sum = 0;
    const BITMAPINFOHEADER* h = LockDib(r->Image);
    for (int y = at.y() - 20; y <= at.y() + 20; ++y)
      for (int x = at.x() - 20; x <= at.x() + 20; ++x) sum += 255 - GetRValue(GetDibPixel(h, x, y));
    return sum;
  };
  auto dab = [&](QPoint at, int flow, int holdMs) {
    r->AirBrushFlow = flow;
    QTest::mousePress(d->view(), Qt::LeftButton, Qt::NoModifier, at);
    QTest::qWait(holdMs);
    QTest::mouseRelease(d->view(), Qt::LeftButton, Qt::NoModifier, at);
    QCoreApplication::processEvents();
    return ink(at);
  };
  const long quick = dab(QPoint(25, 25), 6, 0);
  const long slow = dab(QPoint(80, 25), 50, 300);
  const long fast = dab(QPoint(135, 25), 6, 300);
  EXPECT_GT(quick, 0);
  EXPECT_GT(slow, quick * 11 / 10);
  EXPECT_GT(fast, slow * 11 / 10);
}

TEST_F(LooseEndsTest, MaximizedDocumentStaysMaximizedAfterAFiltersOk) {
  DocumentWindow* first = NewDocument();
  DocumentWindow* d = NewDocument();
  ASSERT_TRUE(first && d);
  d->showMaximized();
  QCoreApplication::processEvents();
  const QSize full = d->size();
  SetDialogAnswerer([](QDialog&) { return true; });
  frame->Command(FILTER_MENU_FIRST + 7);  // Invert Colours, OK at once
  SetDialogAnswerer({});
  QCoreApplication::processEvents();
  EXPECT_EQ(GetDibPixel(LockDib(d->record()->Image), 5, 5), RGB(0, 0, 0));
  EXPECT_TRUE(d->isMaximized());
  EXPECT_EQ(d->size(), full);
}

TEST_F(LooseEndsTest, SettingsSamplesShowWholeAndTheShadowNoteSaysWhyNot) {
  DocumentWindow* d = NewDocument();
  BLOCKSET* r = d->record();
  SettingsWindow* win = frame->settingsWindow();
  auto dark = [&](int id) {
    const QImage img = win->control(id)->grab().toImage();
    int n = 0;
    for (int y = 2; y < img.height() - 2; ++y)
      for (int x = 2; x < img.width() - 2; ++x) n += qGray(img.pixel(x, y)) < 128;
    return n;
  };
  frame->ChooseTool(TOOL_SPRAYCAN);
  EXPECT_GT(dark(122), 20);
  // The largest replacer square shows all four sides inside the sample.
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

  frame->ChooseTool(TOOL_RECTANGLE);
  QLabel* note = win->shadowNote();
  r->ShadowActive = 1;
  r->Opacity = 255;
  r->SolidFillMode = 0;
  win->Refresh();
  EXPECT_TRUE(note->isHidden());
  struct Case {
    int opacity, fillMode;
    const char* says;
  } cases[] = {{200, 0, "opacity"}, {255, 1, "fill"}};
  for (const Case& c : cases) {
    r->Opacity = c.opacity;
    r->SolidFillMode = c.fillMode;
    win->Refresh();
    EXPECT_FALSE(note->isHidden()) << c.says;
    EXPECT_TRUE(note->text().contains(c.says)) << note->text().toStdString();
  }
  r->ShadowActive = 0;
  win->Refresh();
  EXPECT_TRUE(note->isHidden());
}

TEST_F(LooseEndsTest, ArrangeIconsLinesUpMinimisedDocumentsAlongTheBottom) {
  DocumentWindow* a = NewDocument();
  DocumentWindow* b = NewDocument();
  DocumentWindow* c = NewDocument();
  a->showMinimized();
  b->showMinimized();
  QCoreApplication::processEvents();
  a->move(300, 10);
  b->move(310, 20);
  frame->action(CM_ARRANGE)->trigger();
  const int bottom = frame->client()->viewport()->height();
  EXPECT_EQ(a->geometry().bottom() + 1, bottom);
  EXPECT_EQ(b->geometry().bottom() + 1, bottom);
  EXPECT_FALSE(a->geometry().intersects(b->geometry()));
  EXPECT_FALSE(c->isMinimized());
}

TEST_F(LooseEndsTest, PasteAsNewDocumentOpensTheClipboardPicture) {
  QImage picture(30, 20, QImage::Format_RGB32);
  picture.fill(QColor(12, 34, 56));
  QGuiApplication::clipboard()->setImage(picture);
  QCoreApplication::processEvents();
  if (!QGuiApplication::clipboard()->mimeData()->hasImage()) GTEST_SKIP() << "no clipboard on this platform";
  ASSERT_TRUE(frame->action(CM_PASTENEW)->isEnabled());
  frame->action(CM_PASTENEW)->trigger();
  DocumentWindow* d = frame->ActiveDocument();
  ASSERT_NE(d, nullptr);
  const BITMAPINFOHEADER* h = LockDib(d->record()->Image);
  ASSERT_NE(h, nullptr);
  EXPECT_EQ(h->biWidth, 30);
  EXPECT_EQ(GetDibPixel(h, 5, 5), RGB(12, 34, 56));
}

TEST_F(LooseEndsTest, LiveButtonsChooseTheButtonBarsLook) {
  const int saved = LiveButtons;
  for (int live : {0, 1, 2}) {
    LiveButtons = live;
    ButtonBar bar(nullptr);
    ASSERT_FALSE(bar.buttons().empty());
    QToolButton* b = bar.buttons().begin()->second;
    // Kind 2 draws the edge only under the mouse; 0 and 1 always.
    EXPECT_EQ(b->autoRaise(), live == 2) << live;
    const QImage before = b->icon().pixmap(19, 19).toImage();
    QEvent enter(QEvent::Enter);
    QCoreApplication::sendEvent(b, &enter);
    const bool changed = b->icon().pixmap(19, 19).toImage() != before;
    EXPECT_EQ(changed, live == 1) << live;
    QEvent leave(QEvent::Leave);
    QCoreApplication::sendEvent(b, &leave);
    EXPECT_EQ(b->icon().pixmap(19, 19).toImage(), before) << live;
  }
  LiveButtons = saved;
}

}  // namespace
}  // namespace ochrel
