// The frame as a person uses it: the menus and their grey states, New and
// Open, closing and leaving, the window and zoom commands, shortcuts, the
// wheel, the grid and the attributes, the tools that act on the frame.
#include <gtest/gtest.h>

#include <QCheckBox>
#include <QClipboard>
#include <QFile>
#include <QLabel>
#include <QMenu>
#include <QMenuBar>
#include <QScrollBar>
#include <QStyle>
#include <QTimer>
#include <QWheelEvent>

#include <cstring>
#include <map>
#include <set>

#include "filters/filterparam.h"
#include "frame/attributes.h"
#include "frame/config.h"
#include "frame/services.h"
#include "frame/strings.h"
#include "frame/view.h"
#include "qt_fixture.h"
#include "test_images.h"
#include "tools/toolparam.h"
#include "tools/toolsession.h"
#include "ui/dialogs/image/attributesdialog.h"
#include "ui/dialogs/image/griddialog.h"
#include "ui/frame/fillmenu.h"
#include "ui/frame/settingswindow.h"

namespace ochrel {
namespace {

using FrameTest = test::QtFixture;

TEST_F(FrameTest, MenuTreeLabelsAndGreyStates) {
  const std::map<int, const char*> labels = {
      {101, "&New\tCtrl+N"},
      {58, "&Open\tCtrl+0"},
      {57, "&Save\tCtrl+S"},
      {104, "Save &as..."},
      {106, "&Close"},
      {54, "Set&up"},
      {55, "E&xit"},
      {50, "&Undo\tCtrl+U (Alt+Backspace)"},
      {201, "Cu&t\tCtrl+X (Shift+Del)"},
      {202, "&Copy\tCtrl+C (Ctrl+Ins)"},
      {203, "&Paste\tCtrl+V (Shift+Ins)"},
      {110, "Paste as &new document"},
      {206, "C&lear"},
      {205, "&Select All"},
      {207, "Hide &tool bar"},
      {208, "Hide &settings"},
      {209, "Copy t&o"},
      {210, "P&aste from"},
      {51, "&Grid active"},
      {212, "G&rid settings"},
      {53, "Shado&ws"},
      {301, "&Attributes"},
      {302, "&True color"},
      {303, "&Greyscale"},
      {304, "&Paletted"},
      {305, "&Mono"},
      {801, "&Cascade\tShift+F5"},
      {802, "&Tile\tShift+F4"},
      {803, "&Arrange Icons"},
      {804, "&Duplicate\tCtrl+D"},
      {52, "&Contents"},
      {902, "&About..."},
      {903, "&System information"},
      {136, "&Tip of the day"},
      {62, "&Manual"},
  };
  for (const auto& [id, label] : labels) {
    ASSERT_NE(frame->action(id), nullptr) << id;
    EXPECT_EQ(frame->action(id)->text(), QString::fromUtf8(label)) << id;
  }
  QStringList tops;
  for (QAction* a : frame->menuBar()->actions()) tops << a->text();
  EXPECT_EQ(tops, QStringList({"&File", "&Edit", "&Image", "&Window", "&Help"}));

  const std::set<int> always = {101, 58, 54, 55, 52, 902, 903, 136, 62};
  for (const auto& [id, label] : labels)
    if (id != 203 && id != 110) EXPECT_EQ(Enabled(id), always.count(id) == 1) << id;
  // A grey document: everything but Undo, the clipboard's and its own kind.
  NewDocument(1);
  const std::set<int> grey = {50, 201, 202, 206, 209, 303, 203, 110};
  for (const auto& [id, label] : labels)
    if (!grey.count(id)) EXPECT_TRUE(Enabled(id)) << id;
  for (int id : {50, 201, 202, 206, 209, 303}) EXPECT_FALSE(Enabled(id)) << id;
  // The bar's buttons follow the same rule, at their places 29 apart, with their tips.
  ButtonBar* bar = frame->buttonBar();
  EXPECT_TRUE(bar->button(CM_SAVE)->isEnabled());
  EXPECT_FALSE(bar->button(CM_UNDO)->isEnabled());
  const int order[] = {58, 57, 50, 51, 53, 62, 54, 55};
  for (int i = 0; i < 8; ++i) {
    QToolButton* b = bar->button(order[i]);
    ASSERT_NE(b, nullptr) << order[i];
    EXPECT_EQ(b->x(), 131 + 29 * i + (i > 5 ? 10 : 0)) << order[i];
    EXPECT_EQ(b->toolTip(), QString::fromUtf8(FetchString(1651 + order[i])));
  }
  EXPECT_EQ(bar->zoomList()->count(), 11);
  EXPECT_EQ(bar->zoomList()->itemText(10), "1600 percent");
}

TEST_F(FrameTest, NewOfEachKindIsWhiteAndShowsAStroke) {
  struct Kind {
    int type, bits, palette;
  } kinds[] = {{0, 24, 0}, {1, 8, 10}, {2, 8, 8}, {3, 1, 0}};
  for (const Kind& k : kinds) {
    SCOPED_TRACE(k.type);
    DocumentWindow* d = NewDocument(k.type, 60, 40);
    ASSERT_NE(d, nullptr);
    const BITMAPINFOHEADER* h = LockDib(d->record()->Image);
    EXPECT_EQ(h->biBitCount, k.bits);
    EXPECT_EQ(h->biWidth, 60);
    EXPECT_EQ(d->record()->ImageType, k.type);
    EXPECT_EQ(d->record()->Modified, 1);
    BYTE pal[768], expect[768];
    GetDibPalette(h, pal);
    GetDefaultPalette(expect, nullptr, k.palette);
    if (k.bits <= 8) EXPECT_EQ(std::memcmp(pal, expect, 3u << k.bits), 0);
    // What the view shows: a white picture with the pen's stroke on it.
    Tool(TOOL_PEN);
    Drag(d->view(), QPoint(10, 30), QPoint(50, 30));
    const QImage shot = Shot(d->view());
    EXPECT_EQ(shot.pixel(5, 5) & 0xFFFFFF, 0xFFFFFFu);
    EXPECT_LT(qGray(shot.pixel(30, 30)), 100);
  }
  NewFileBox box(NEWFILEPARAM{800, 600, 0, 0xFFFFFF});
  EXPECT_EQ(box.widthField()->minimum(), 16);
  EXPECT_EQ(box.widthField()->maximum(), 20000);
  EXPECT_EQ(box.typeList()->itemText(3), "2-bit mono");
}

TEST_F(FrameTest, UndoRestoresImageToolColoursAndModified) {
  DocumentWindow* d = NewDocument(0, 10, 10);
  BLOCKSET* r = d->record();
  r->Modified = 0;
  r->Tool = 8;
  CreateUndo(r);
  frame->UpdateMenuStates();
  const std::uint32_t before = At(d, 3, 3);
  PutDibPixel(LockDib(r->Image), 3, 3, RGB(255, 0, 0));
  r->Tool = 5;
  r->PaintColour = RGB(1, 2, 3);
  r->Modified = 1;
  Choose(CM_UNDO);
  EXPECT_EQ(At(d, 3, 3), before);
  EXPECT_EQ(r->Tool, 8);
  EXPECT_EQ(r->PaintColour, static_cast<COLORREF>(DefaultPaintColour));
  EXPECT_EQ(r->Modified, 0);
  EXPECT_FALSE(Enabled(CM_UNDO));
  EXPECT_FALSE(frame->buttonBar()->button(CM_UNDO)->isEnabled());
  // An undo with no copy: the message, and the command greys.
  r->UndoAvailable = 1;
  r->UndoImage.reset();
  frame->Command(CM_UNDO);
  ASSERT_EQ(prompts.size(), 1u);
  EXPECT_EQ(prompts[0], "Internal error in Undo -- this file will be discarded.");
  EXPECT_FALSE(Enabled(CM_UNDO));
}

TEST_F(FrameTest, UntitledNumbersStepAndAFailedNewStillUsesItsNumber) {
  ResetUntitledFileNumber();
  EXPECT_TRUE(QString::fromStdString(NewDocument()->record()->FileName).endsWith("UntitledPicture1.bmp"));
  SetAllocationLimit(64);
  NewDocument(0, 100, 100);
  SetAllocationLimit(0);
  QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
  EXPECT_EQ(prompts, std::vector<QString>{"Memory error"});
  EXPECT_EQ(frame->CountOpenDocuments(), 1);
  EXPECT_TRUE(QString::fromStdString(NewDocument()->record()->FileName).endsWith("UntitledPicture3.bmp"));
}

TEST_F(FrameTest, DocumentsStepInAndTheEleventhStartsAgain) {
  std::vector<QPoint> at;
  for (int i = 0; i < 11; ++i) at.push_back(NewDocument()->pos());
  const int step = frame->style()->pixelMetric(QStyle::PM_TitleBarHeight) +
                   frame->style()->pixelMetric(QStyle::PM_MdiSubWindowFrameWidth);
  EXPECT_EQ(at[9] - at[0], QPoint(9 * step, 9 * step));
  EXPECT_EQ(at[10], at[0]);
}

TEST_F(FrameTest, ClosePromptAnswers) {
  const QString question = "The file\n%1\nhas not been saved.\n\nDo you wish to save it before closing?";
  DocumentWindow* d = NewDocument(0, 12, 12);
  PutDibPixel(LockDib(d->record()->Image), 1, 1, 0x123456);
  answer = IDCANCEL;  // Cancel keeps the document and its image
  Choose(CM_CLOSE);
  ASSERT_EQ(prompts.size(), 1u);
  EXPECT_EQ(kinds[0], PROMPT_YESNOCANCEL);
  EXPECT_EQ(prompts[0], question.arg(QString::fromStdString(d->record()->FileName)));
  EXPECT_EQ(frame->CountOpenDocuments(), 1);
  // Yes on a document without a file goes to Save as; cancelling that keeps it open.
  answer = IDYES;
  MainFrame::SetSavePathAnswerer([](const std::string&, std::string*) { return false; });
  Choose(CM_CLOSE);
  EXPECT_EQ(frame->CountOpenDocuments(), 1);
  // Yes with a name: the file is written and the document goes.
  const std::string target = dir / "saved.bmp";
  MainFrame::SetSavePathAnswerer([&](const std::string&, std::string* path) { return *path = target, true; });
  Choose(CM_CLOSE);
  QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
  EXPECT_EQ(frame->CountOpenDocuments(), 0);
  HDIB back = LoadImage(target.c_str());
  ASSERT_TRUE(back);
  EXPECT_EQ(GetDibPixel(LockDib(back), 1, 1), 0x123456u);
  // No closes without writing; an unmodified document asks nothing.
  answer = IDNO;
  prompts.clear();
  NewDocument();
  Choose(CM_CLOSE);
  QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
  EXPECT_EQ(prompts.size(), 1u);
  EXPECT_EQ(frame->CountOpenDocuments(), 0);
  NewDocument()->record()->Modified = 0;
  prompts.clear();
  Choose(CM_CLOSE);
  EXPECT_TRUE(prompts.empty());
}

TEST_F(FrameTest, ExitWritesTheSettingsAndShiftOrARefusalKeepsTheWindows) {
  for (int shift : {1, 0}) {
    SCOPED_TRACE(shift);
    NewDocument();
    std::filesystem::remove(ConfigFilePath());
    answer = IDCANCEL;
    MainFrame::SetShiftOverride(shift);
    Choose(CM_EXIT);
    EXPECT_TRUE(std::filesystem::exists(ConfigFilePath()));
    EXPECT_TRUE(frame->isVisible());
    EXPECT_EQ(frame->CountOpenDocuments(), 1);
    EXPECT_EQ(prompts.size(), shift ? 0u : 1u);
    frame->ActiveDocument()->record()->Modified = 0;
    Choose(CM_CLOSE);
    prompts.clear();
  }
}

TEST_F(FrameTest, DroppedFilesOpenByWhatTheyHoldAndABrokenOneSaysSo) {
  HDIB img = test::Uniform(8, 8, 24, RGB(200, 100, 50));
  const std::string a = dir / "one.bmp", png = dir / "two.PNG", b = dir / "two.JFIF", text = dir / "notes.txt";
  ASSERT_TRUE(WriteImage(a.c_str(), img));
  ASSERT_TRUE(WriteImage(png.c_str(), img));
  std::filesystem::rename(png, b);  // a PNG under a JPEG name is read for what it is
  test::Spit(text, "hello");
  frame->DropFiles({QString::fromStdString(a), QString::fromStdString(b), QString::fromStdString(text)});
  EXPECT_EQ(frame->CountOpenDocuments(), 2);
  EXPECT_TRUE(prompts.empty());
  DocumentWindow* d = frame->ActiveDocument();
  EXPECT_EQ(d->record()->HasFile, 1);
  EXPECT_EQ(d->record()->Modified, 0);
  EXPECT_EQ(At(d, 7, 7), RGB(200, 100, 50));
  // Both joined the recent list, newest first, as items 180 and 181.
  ASSERT_NE(frame->findChild<QAction*>("180"), nullptr);
  EXPECT_EQ(frame->findChild<QAction*>("180")->text().toStdString(), b);
  EXPECT_EQ(frame->findChild<QAction*>("181")->text().toStdString(), a);
  test::Spit(dir / "broken.bmp", "BM not really");
  frame->DropFiles({QString::fromStdString(dir / "broken.bmp")});
  QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
  EXPECT_EQ(prompts, std::vector<QString>{"Error reading file"});
  EXPECT_EQ(frame->CountOpenDocuments(), 2);
}

TEST_F(FrameTest, SeveralFilesOnTheCommandLineOpenOneDocumentEach) {
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

TEST_F(FrameTest, DuplicateAndConversionsOpenNewModifiedDocuments) {
  HDIB image = test::Uniform(6, 4, 24, RGB(255, 255, 255));
  PutDibPixel(LockDib(image), 1, 1, RGB(0, 255, 0));
  DocumentWindow* src = Open(image);
  Choose(CM_DUPLICATE);
  DocumentWindow* copy = frame->ActiveDocument();
  ASSERT_NE(copy, src);
  EXPECT_EQ(At(copy, 1, 1), RGB(0, 255, 0));
  EXPECT_NE(copy->record()->Image.get(), src->record()->Image.get());
  EXPECT_EQ(copy->record()->Modified, 1);
  EXPECT_NE(copy->record()->FileName.find("UntitledPicture"), std::string::npos);
  Choose(CM_TOGREY);
  DocumentWindow* grey = frame->ActiveDocument();
  EXPECT_EQ(grey->record()->ImageType, IMAGE_GREY);
  EXPECT_EQ(grey->record()->Modified, 1);
  EXPECT_EQ(At(grey, 1, 1), 150u);  // grey of pure green
  EXPECT_EQ(At(copy, 1, 1), RGB(0, 255, 0));
  EXPECT_FALSE(Enabled(CM_TOGREY));
  Choose(CM_TOTRUECOLOUR);
  EXPECT_EQ(frame->ActiveDocument()->record()->ImageType, IMAGE_TRUECOLOUR);
  EXPECT_EQ(At(frame->ActiveDocument(), 1, 1), RGB(150, 150, 150));
  EXPECT_EQ(frame->CountOpenDocuments(), 4);
}

TEST_F(FrameTest, PaintedViewEqualsTheModelsRendering) {
  for (int bits : {24, 8, 1}) {
    DocumentWindow* d = Open(test::RandomDib(53, 41, bits, 5 + bits));
    for (int mode : {0, 3, 5, 8}) {
      SCOPED_TRACE(testing::Message() << "bits " << bits << " mode " << mode);
      Zoom(mode);
      const QImage shot = Shot(d->view());
      const ViewRender v = d->view()->RenderParams();
      ASSERT_EQ(v.percent, viewmodetable[mode]);
      QImage want(shot.size(), QImage::Format_RGB32);
      RenderView(LockDib(d->record()->Image), v, 0, 0, want.width(), want.height(),
                 reinterpret_cast<std::uint32_t*>(want.bits()), want.bytesPerLine());
      ASSERT_EQ(shot, want);
    }
  }
}

TEST_F(FrameTest, ZoomListWindowMenuAndZoomToolAgree) {
  DocumentWindow* d = NewDocument(0, 200, 150);
  QComboBox* list = frame->buttonBar()->zoomList();
  Zoom(7);
  EXPECT_EQ(d->record()->ViewMode, 7);
  auto entry = [&](int mode) { return d->systemMenu()->findChild<QAction*>(QString::number(1600 + mode)); };
  ASSERT_NE(entry(7), nullptr);
  EXPECT_TRUE(entry(7)->isChecked());
  // From the window's menu: the list follows.
  entry(3)->trigger();
  EXPECT_EQ(d->record()->ViewMode, 3);
  EXPECT_EQ(list->currentIndex(), 3);
  EXPECT_TRUE(entry(3)->isChecked());
  EXPECT_FALSE(entry(7)->isChecked());
  // The zoom tool steps the scale and the list shows it.
  Tool(TOOL_ZOOM);
  Click(d->view(), QPoint(20, 20));
  EXPECT_EQ(d->record()->ViewMode, 4);
  EXPECT_EQ(list->currentIndex(), 4);
  Click(d->view(), QPoint(20, 20), Qt::RightButton);
  EXPECT_EQ(d->record()->ViewMode, 3);
  // Another document keeps its own scale; activating this one shows it again.
  DocumentWindow* e = NewDocument(0, 20, 20);
  EXPECT_EQ(list->currentIndex(), e->record()->ViewMode);
  frame->client()->setActiveSubWindow(d);
  EXPECT_EQ(list->currentIndex(), 3);
}

TEST_F(FrameTest, ScrollBarsAndTheWheelMoveTheView) {
  DocumentWindow* d = NewDocument(0, 300, 300);
  Zoom(7);
  d->resize(300, 300);
  QScrollBar* h = d->horizontalBar();
  EXPECT_EQ(h->maximum(), (1200 - d->view()->width()) * 100 / 400);
  EXPECT_EQ(h->pageStep(), h->maximum() / 8);
  h->triggerAction(QAbstractSlider::SliderSingleStepAdd);
  EXPECT_EQ(d->view()->scrollX(), 1);
  EXPECT_EQ(d->view()->ImagePoint(QPoint(4, 0)).x, 2);  // one image pixel is four view pixels
  d->resize(320, 320);                                  // a resize returns to the top left
  EXPECT_EQ(d->view()->scrollX(), 0);
  for (QScrollBar* bar : NewDocument(0, 20, 20)->findChildren<QScrollBar*>()) {
    EXPECT_TRUE(bar->isVisible());
    EXPECT_FALSE(bar->isEnabled());
  }
  // The wheel scrolls down, Shift sideways, Ctrl zooms around the pointer.
  DocumentView* v = NewDocument(0, 2000, 2000)->view();
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
  const int mode = frame->ActiveDocument()->record()->ViewMode;
  wheel(120, Qt::ControlModifier, at);
  EXPECT_EQ(frame->ActiveDocument()->record()->ViewMode, mode + 1);
  EXPECT_EQ(frame->buttonBar()->zoomList()->currentIndex(), mode + 1);
  EXPECT_LE(std::abs(v->ImagePoint(at).x - under.x), 1);
  EXPECT_LE(std::abs(v->ImagePoint(at).y - under.y), 1);
  wheel(-240, Qt::ControlModifier, at);
  EXPECT_EQ(frame->ActiveDocument()->record()->ViewMode, mode - 1);
}

TEST_F(FrameTest, GridIsDrawnAndTheImageStaysUnchanged) {
  DocumentWindow* d = NewDocument(0, 64, 64);
  HDIB before = DuplicateObject(d->record()->Image);
  OnDialog<GridBox>([](GridBox& box) {
    EXPECT_FALSE(box.visible()->isEnabled() && !box.active()->isChecked());
    box.active()->setChecked(true);
    EXPECT_TRUE(box.visible()->isEnabled());
    box.visible()->setChecked(true);
    box.horizontal()->setValue(8);
    box.vertical()->setValue(16);
    return true;
  });
  Choose(CM_GRIDSETTINGS);
  EXPECT_EQ(d->record()->GridVertical, 16);
  EXPECT_TRUE(frame->action(CM_GRIDACTIVE)->isChecked());
  EXPECT_EQ(ScreenAt(d, 8, 16), 0u);  // white inverted
  EXPECT_EQ(ScreenAt(d, 9, 16), 0xFFFFFFu);
  EXPECT_EQ(ScreenAt(d, 8, 8), 0xFFFFFFu);  // not a grid point
  EXPECT_TRUE(test::SameBlock(before, d->record()->Image));
  Choose(CM_GRIDACTIVE);  // off: no points, the check mark follows
  EXPECT_FALSE(frame->action(CM_GRIDACTIVE)->isChecked());
  EXPECT_EQ(ScreenAt(d, 8, 16), 0xFFFFFFu);
}

TEST_F(FrameTest, AttributesDialogChangesTheCanvasAndUndoBringsItBack) {
  HDIB image = test::Uniform(100, 100, 24, RGB(255, 255, 255));
  InsetSolidRectangle(image, RGB(9, 9, 9), RECT{50, 50, 100, 100});
  DocumentWindow* d = Open(image);
  OnDialog<ImageAttributesBox>([](ImageAttributesBox& box) {
    EXPECT_EQ(box.colours()->text(), "16,777,216");
    EXPECT_EQ(box.widthField()->value(), 100);
    EXPECT_EQ(box.widthField()->maximum(), 32760);
    box.widthField()->setValue(50);
    box.heightField()->setValue(50);
    box.anchorButton(ANCHOR_LOWERRIGHT)->click();
    return true;
  });
  Choose(CM_ATTRIBUTES);
  ASSERT_EQ(LockDib(d->record()->Image)->biWidth, 50);
  EXPECT_EQ(At(d, 0, 0), RGB(9, 9, 9));  // the lower right part stayed
  Choose(CM_UNDO);
  EXPECT_EQ(LockDib(d->record()->Image)->biWidth, 100);
}

TEST_F(FrameTest, EyedropperButtonsTakeTheirColoursAndTheSwatchesShowThem) {
  HDIB image = test::Uniform(160, 120, 24, RGB(255, 255, 255));
  const COLORREF colours[] = {RGB(10, 20, 30), RGB(40, 50, 60), RGB(70, 80, 90), RGB(200, 30, 90)};
  for (int i = 0; i < 4; ++i) InsetSolidRectangle(image, colours[i], RECT{40 * i, 0, 40 * i + 40, 120});
  DocumentWindow* d = Open(image);
  BLOCKSET* r = d->record();
  ASSERT_EQ(frame->toolBox()->button(TOOL_EYEDROPPER)->toolTip(), "Eyedropper");
  struct Case {
    Qt::MouseButton button;
    Qt::KeyboardModifiers mods;
    int x;
    COLORREF BLOCKSET::*field;
    int swatch;
  } cases[] = {{Qt::LeftButton, Qt::NoModifier, 130, &BLOCKSET::PaintColour, CM_PAINTSWATCH},
               {Qt::RightButton, Qt::NoModifier, 10, &BLOCKSET::FillColour, CM_FILLSWATCH},
               {Qt::MiddleButton, Qt::NoModifier, 50, &BLOCKSET::PaperColour, CM_PAPERSWATCH},
               {Qt::LeftButton, Qt::ShiftModifier, 90, &BLOCKSET::PaperColour, CM_PAPERSWATCH}};
  for (const Case& c : cases) {
    Tool(TOOL_PEN);
    Tool(TOOL_EYEDROPPER);
    EXPECT_TRUE(frame->toolBox()->button(TOOL_EYEDROPPER)->isChecked());
    Click(d->view(), QPoint(c.x, 15), c.button, c.mods);
    const COLORREF want = colours[c.x / 40];
    EXPECT_EQ(r->*c.field, want) << c.x;
    EXPECT_EQ(frame->statusBar()->swatch(c.swatch)->colour(), want) << c.x;
    // Back to the tool in use before it.
    EXPECT_EQ(CurrentTool(), TOOL_PEN);
    EXPECT_TRUE(frame->toolBox()->button(TOOL_PEN)->isChecked());
  }
}

TEST_F(FrameTest, AirbrushHeldStillSwellsWithRealTimers) {
  DocumentWindow* d = NewDocument(0, 160, 120);
  BLOCKSET* r = d->record();
  r->PaintColour = RGB(0, 0, 0);
  r->AirBrushThickness = 30;
  Tool(TOOL_AIRBRUSH);
  auto dab = [&](QPoint at, int flow, int holdMs) {
    r->AirBrushFlow = flow;
    QTest::mousePress(d->view(), Qt::LeftButton, Qt::NoModifier, at);
    QTest::qWait(holdMs);
    QTest::mouseRelease(d->view(), Qt::LeftButton, Qt::NoModifier, at);
    QCoreApplication::processEvents();
    long ink = 0;  // how much darker the area is than white
    for (int y = at.y() - 20; y <= at.y() + 20; ++y)
      for (int x = at.x() - 20; x <= at.x() + 20; ++x) ink += 255 - GetRValue(At(d, x, y));
    return ink;
  };
  const long quick = dab(QPoint(25, 25), 6, 0);
  const long slow = dab(QPoint(80, 25), 50, 300);
  const long fast = dab(QPoint(135, 25), 6, 300);
  EXPECT_GT(quick, 0);
  EXPECT_GT(slow, quick * 11 / 10);
  EXPECT_GT(fast, slow * 11 / 10);
}

// Right-clicks the fill swatch; `inMenu` runs while the menu is up.
void WithFillMenu(MainFrame* frame, const std::function<void(QMenu*)>& inMenu) {
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

TEST_F(FrameTest, FillMenuGreysByImageTypeAndAGradientReachesTheRectangle) {
  auto item = [](QMenu* m, int id) { return m->findChild<QAction*>(QString::number(id)); };
  NewDocument(2, 40, 40);  // paletted: only Solid
  WithFillMenu(frame.get(), [&](QMenu* m) {
    EXPECT_TRUE(item(m, CM_FILLSOLID)->isChecked());
    for (int id : {CM_FILLGRADIENT, CM_FILLTEXTURE, CM_FILLMATRIX}) EXPECT_FALSE(item(m, id)->isEnabled()) << id;
    m->close();
  });
  DocumentWindow* d = NewDocument(0, 160, 120);
  BLOCKSET* r = d->record();
  FillTypeRightClick = 0;
  WithFillMenu(frame.get(), [&](QMenu* m) {
    for (int id : {CM_FILLSOLID, CM_FILLGRADIENT, CM_FILLTEXTURE, CM_FILLMATRIX})
      EXPECT_TRUE(item(m, id)->isEnabled()) << id;
    QTest::keyClick(m, Qt::Key_G);  // &Gradient
  });
  ASSERT_EQ(r->FillType, 1);
  const QImage& sample = frame->statusBar()->swatch(CM_FILLSWATCH)->sample();
  ASSERT_FALSE(sample.isNull());
  EXPECT_NE(sample.pixel(0, sample.height() / 2), sample.pixel(sample.width() - 1, sample.height() / 2));
  r->SolidFillMode = 0;
  r->LineThickness = 0;
  Tool(TOOL_RECTANGLE);
  Drag(d->view(), QPoint(10, 10), QPoint(150, 110));
  std::set<std::uint32_t> seen;  // a solid fill would be one value
  for (int x = 20; x < 140; x += 10)
    for (int y = 20; y < 100; y += 10) seen.insert(At(d, x, y));
  EXPECT_GT(seen.size(), 5u);
  EXPECT_EQ(At(d, 155, 115), RGB(255, 255, 255));
  // With the right-click setting on, choosing a fill type opens its selector at once.
  WithFillMenu(frame.get(), [](QMenu* m) { QTest::keyClick(m, Qt::Key_R); });
  EXPECT_EQ(FillTypeRightClick, 1);
  QString opened;
  SetDialogAnswerer([&](QDialog& box) { return opened = box.objectName(), false; });
  WithFillMenu(frame.get(), [](QMenu* m) { QTest::keyClick(m, Qt::Key_M); });
  QTest::qWait(100);
  EXPECT_EQ(r->FillType, 3);
  EXPECT_EQ(opened, "MatrixBox");
}

TEST_F(FrameTest, HideCommandsToggleToolboxAndSettingsWithChecks) {
  NewDocument();
  for (auto [id, window] : {std::pair<int, QWidget*>{CM_HIDETOOLBAR, frame->toolBox()},
                            std::pair<int, QWidget*>{CM_HIDESETTINGS, frame->settingsWindow()}}) {
    EXPECT_FALSE(frame->action(id)->isChecked());
    Choose(id);
    EXPECT_TRUE(window->isHidden()) << id;
    EXPECT_TRUE(frame->action(id)->isChecked());
    Choose(id);
    EXPECT_FALSE(window->isHidden()) << id;
    EXPECT_FALSE(frame->action(id)->isChecked());
  }
}

TEST_F(FrameTest, UndoWithOpenTextBoxTakesTheTextAwayToo) {
  DocumentWindow* d = NewDocument(0, 160, 120);
  BLOCKSET* r = d->record();
  r->FillColour = RGB(0, 0, 0);
  r->TextFontSize = 24;
  HDIB before = DuplicateObject(r->Image);
  Tool(TOOL_TEXT);
  Click(d->view(), QPoint(20, 15));
  d->view()->setFocus();
  QTest::keyClicks(d->view(), "Hi");
  ASSERT_NE(r->ToolWindow, nullptr);
  Key(frame.get(), Qt::Key_U, Qt::ControlModifier);
  EXPECT_EQ(r->ToolWindow, nullptr);
  EXPECT_TRUE(test::SameBlock(before, r->Image));
}

TEST_F(FrameTest, ShortcutsReachTheirCommands) {
  DocumentWindow* d = NewDocument();
  HDIB blank = DuplicateObject(d->record()->Image);
  Tool(TOOL_PEN);
  for (Qt::Key undo : {Qt::Key_U, Qt::Key_Z}) {
    Drag(d->view(), QPoint(10, 10), QPoint(60, 40));
    ASSERT_FALSE(test::SameBlock(blank, d->record()->Image));
    Key(frame.get(), undo, Qt::ControlModifier);
    EXPECT_TRUE(test::SameBlock(blank, d->record()->Image)) << undo;
  }
  Key(frame.get(), Qt::Key_D, Qt::ControlModifier);
  ASSERT_EQ(frame->CountOpenDocuments(), 2);
  const auto windows = frame->client()->subWindowList();
  Key(frame.get(), Qt::Key_F4, Qt::ShiftModifier);  // tiled: no overlap
  EXPECT_FALSE(windows[0]->geometry().intersects(windows[1]->geometry()));
  Key(frame.get(), Qt::Key_F5, Qt::ShiftModifier);  // cascaded
  EXPECT_TRUE(windows[0]->geometry().intersects(windows[1]->geometry()));
  bool asked = false;  // Ctrl+0, as the File menu prints it, asks for a file to open
  MainFrame::SetOpenPathAnswerer([&](std::string*) { return asked = true, false; });
  Key(frame.get(), Qt::Key_0, Qt::ControlModifier);
  EXPECT_TRUE(asked);
}

TEST_F(FrameTest, TitleMarksChangesAndSaveAsEntersTheRecentList) {
  DocumentWindow* d = NewDocument();
  EXPECT_TRUE(d->windowTitle().endsWith(" *"));
  const std::string path = dir / "saved.bmp";
  MainFrame::SetSavePathAnswerer([&](const std::string&, std::string* p) { return *p = path, true; });
  Choose(CM_SAVEAS);
  EXPECT_EQ(d->record()->Modified, 0);
  EXPECT_EQ(d->windowTitle().toStdString(), path);
  const auto& recent = RecentPathList().Items();
  EXPECT_NE(std::find(recent.begin(), recent.end(), path), recent.end());
  // A stroke marks it, an Undo back to the saved picture clears the mark.
  Tool(TOOL_PEN);
  Drag(d->view(), QPoint(10, 10), QPoint(40, 30));
  EXPECT_TRUE(d->windowTitle().endsWith(" *"));
  Choose(CM_UNDO);
  EXPECT_EQ(d->windowTitle().toStdString(), path);
}

TEST_F(FrameTest, MaximizedDocumentStaysMaximizedAfterAFiltersOk) {
  NewDocument();
  DocumentWindow* d = NewDocument();
  d->showMaximized();
  QCoreApplication::processEvents();
  const QSize full = d->size();
  SetDialogAnswerer([](QDialog&) { return true; });
  frame->Command(FILTER_MENU_FIRST + 7);  // Invert Colours, OK at once
  QCoreApplication::processEvents();
  EXPECT_EQ(At(d, 5, 5), RGB(0, 0, 0));
  EXPECT_TRUE(d->isMaximized());
  EXPECT_EQ(d->size(), full);
}

TEST_F(FrameTest, ArrangeIconsLinesUpMinimisedDocumentsAlongTheBottom) {
  DocumentWindow* a = NewDocument();
  DocumentWindow* b = NewDocument();
  DocumentWindow* c = NewDocument();
  a->showMinimized();
  b->showMinimized();
  QCoreApplication::processEvents();
  a->move(300, 10);
  b->move(310, 20);
  Choose(CM_ARRANGE);
  const int bottom = frame->client()->viewport()->height();
  EXPECT_EQ(a->geometry().bottom() + 1, bottom);
  EXPECT_EQ(b->geometry().bottom() + 1, bottom);
  EXPECT_FALSE(a->geometry().intersects(b->geometry()));
  EXPECT_FALSE(c->isMinimized());
}

TEST_F(FrameTest, LiveButtonsChooseTheButtonBarsLook) {
  for (int live : {0, 1, 2}) {
    LiveButtons = live;
    ButtonBar bar(nullptr);
    QToolButton* b = bar.buttons().begin()->second;
    EXPECT_EQ(b->autoRaise(), live == 2) << live;  // kind 2 draws the edge only under the mouse
    const QImage before = b->icon().pixmap(19, 19).toImage();
    QEvent enter(QEvent::Enter), leave(QEvent::Leave);
    QCoreApplication::sendEvent(b, &enter);
    EXPECT_EQ(b->icon().pixmap(19, 19).toImage() != before, live == 1) << live;
    QCoreApplication::sendEvent(b, &leave);
    EXPECT_EQ(b->icon().pixmap(19, 19).toImage(), before) << live;
  }
}

}  // namespace
}  // namespace ochrel
