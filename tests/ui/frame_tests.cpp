#include <gtest/gtest.h>

#include <QAction>
#include <QComboBox>
#include <QFile>
#include <QMdiArea>
#include <QMdiSubWindow>
#include <QMenu>
#include <QMenuBar>
#include <QSpinBox>
#include <QStyle>
#include <QTemporaryDir>
#include <QToolButton>

#include <cstring>
#include <filesystem>
#include <map>

#include "files/imagefile.h"
#include "frame/blockset.h"
#include "frame/commands.h"
#include "frame/config.h"
#include "frame/paths.h"
#include "frame/recentpaths.h"
#include "frame/services.h"
#include "frame/strings.h"
#include "frame/settings.h"
#include "qt_app.h"
#include "ui/document/documentwindow.h"
#include "ui/frame/mainframe.h"
#include "ui/widgets/messages.h"
#include "ui/dialogs/image/newfiledialog.h"

namespace ochrel {
namespace {

struct Prompt {
  PromptKind kind;
  QString text;
};

class FrameTest : public ::testing::Test {
 protected:
  void SetUp() override {
    test::EnsureQtApp();
    RecentPathList().Clear();
    prompts.clear();
    answer = IDNO;
    SetPromptAnswerer([this](PromptKind k, const QString& t) {
      prompts.push_back({k, t});
      return answer;
    });
    SetNewFileAnswerer([this](NewFileBox& box) {
      box.typeList()->setCurrentIndex(newParam.type);
      box.widthField()->setValue(newParam.width);
      box.depthField()->setValue(newParam.depth);
      return true;
    });
    frame = std::make_unique<MainFrame>();
    frame->resize(1000, 800);
    frame->show();
  }
  void TearDown() override {
    SetPromptAnswerer({});
    SetNewFileAnswerer({});
    MainFrame::SetSavePathAnswerer({});
    MainFrame::SetShiftOverride(-1);
    answer = IDNO;
    for (QMdiSubWindow* w : frame->client()->subWindowList())
      if (auto* d = qobject_cast<DocumentWindow*>(w)) d->record()->Modified = 0;
    frame.reset();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
  }
  DocumentWindow* NewDocument(int type, int width = 40, int depth = 30) {
    newParam = NEWFILEPARAM{width, depth, type, 0};
    frame->Command(CM_NEW);
    return frame->ActiveDocument();
  }
  bool Enabled(int id) { return frame->action(id)->isEnabled(); }

  std::unique_ptr<MainFrame> frame;
  std::vector<Prompt> prompts;
  int answer = IDNO;
  NEWFILEPARAM newParam;
};

TEST_F(FrameTest, MenuTreeLabelsNumbersAndGreyStates) {
  const std::map<int, const char*> labels = {
      {101, "&New\tCtrl+N"},      {58, "&Open\tCtrl+0"},
      {57, "&Save\tCtrl+S"},      {104, "Save &as..."},
      {106, "&Close"},            {54, "Set&up"},
      {55, "E&xit"},              {50, "&Undo\tCtrl+U (Alt+Backspace)"},
      {201, "Cu&t\tCtrl+X (Shift+Del)"}, {202, "&Copy\tCtrl+C (Ctrl+Ins)"},
      {203, "&Paste\tCtrl+V (Shift+Ins)"}, {110, "Paste as &new document"},
      {206, "C&lear"},            {205, "&Select All"},
      {207, "Hide &tool bar"},    {208, "Hide &settings"},
      {209, "Copy t&o"},          {210, "P&aste from"},
      {51, "&Grid active"},       {212, "G&rid settings"},
      {53, "Shado&ws"},           {301, "&Attributes"},
      {302, "&True color"},       {303, "&Greyscale"},
      {304, "&Paletted"},         {305, "&Mono"},
      {801, "&Cascade\tShift+F5"}, {802, "&Tile\tShift+F4"},
      {803, "&Arrange Icons"},    {804, "&Duplicate\tCtrl+D"},
      {52, "&Contents"},          {902, "&About..."},
      {903, "&System information"}, {136, "&Tip of the day"},
      {62, "&Manual"},
  };
  for (const auto& [id, label] : labels) {
    QAction* a = frame->action(id);
    ASSERT_NE(a, nullptr) << id;
    EXPECT_EQ(a->text(), QString::fromUtf8(label)) << id;
  }
  QStringList tops;
  for (QAction* a : frame->menuBar()->actions()) tops << a->text();
  EXPECT_EQ(tops, QStringList({"&File", "&Edit", "&Image", "&Window", "&Help"}));

  // With no document only these are open.
  for (int id : {101, 58, 54, 55, 52, 902, 903, 136, 62}) EXPECT_TRUE(Enabled(id)) << id;
  for (int id : {57, 104, 106, 50, 201, 202, 206, 205, 207, 208, 209, 210, 51, 212, 53, 301, 302, 303, 304, 305,
                 801, 802, 803, 804})
    EXPECT_FALSE(Enabled(id)) << id;

  NewDocument(1);
  for (int id : {57, 104, 106, 205, 301, 801, 802, 803, 804, 207, 208, 210, 51, 212, 53}) EXPECT_TRUE(Enabled(id)) << id;
  EXPECT_TRUE(Enabled(302));
  EXPECT_FALSE(Enabled(303));  // already grey
  EXPECT_TRUE(Enabled(304));
  EXPECT_TRUE(Enabled(305));
  EXPECT_FALSE(Enabled(50));
  // The bar's buttons follow the same rule.
  EXPECT_TRUE(frame->buttonBar()->button(CM_SAVE)->isEnabled());
  EXPECT_FALSE(frame->buttonBar()->button(CM_UNDO)->isEnabled());
}

TEST_F(FrameTest, ButtonBarFollowsButtonList) {
  ButtonBar* bar = frame->buttonBar();
  EXPECT_EQ(bar->height(), 34);
  EXPECT_EQ(bar->zoomList()->count(), 11);
  EXPECT_EQ(bar->zoomList()->itemText(0), "10 percent");
  EXPECT_EQ(bar->zoomList()->itemText(10), "1600 percent");
  // 58, 57, 50, 51, 53, 62|0x80, 54, 55: 29 apart, 10 more after the manual.
  const int order[] = {58, 57, 50, 51, 53, 62, 54, 55};
  const int xs[] = {131, 160, 189, 218, 247, 276, 315, 344};
  for (int i = 0; i < 8; ++i) {
    QToolButton* b = bar->button(order[i]);
    ASSERT_NE(b, nullptr) << order[i];
    EXPECT_EQ(b->x(), xs[i]) << order[i];
    EXPECT_EQ(b->toolTip(), QString::fromUtf8(FetchString(1651 + order[i])));
    EXPECT_FALSE(b->toolTip().startsWith("String table error"));
  }
  EXPECT_EQ(frame->statusBar()->height(), 20);
}

TEST_F(FrameTest, NewOfEachKindGivesDepthPaletteAndPixels) {
  struct Kind { int type, bits, imageType; } kinds[] = {{0, 24, 0}, {1, 8, 1}, {2, 8, 2}, {3, 1, 3}};
  for (const Kind& k : kinds) {
    SCOPED_TRACE(k.type);
    DocumentWindow* d = NewDocument(k.type, 33, 17);
    ASSERT_NE(d, nullptr);
    const BITMAPINFOHEADER* h = LockDib(d->record()->Image);
    ASSERT_NE(h, nullptr);
    EXPECT_EQ(h->biBitCount, k.bits);
    EXPECT_EQ(h->biWidth, 33);
    EXPECT_EQ(h->biHeight, 17);
    EXPECT_EQ(d->record()->ImageType, k.imageType);
    EXPECT_EQ(d->record()->Modified, 1);
    EXPECT_EQ(d->record()->HasFile, 0);
    // The dialog's background, the stored default, stays white in every kind.
    BYTE pal[768], expect[768];
    GetDibPalette(h, pal);
    for (int y = 0; y < 17; y += 4)
      for (int x = 0; x < 33; x += 4) {
        std::uint32_t v = GetDibPixel(h, x, y);
        if (k.bits <= 8) v = RGB(pal[3 * v], pal[3 * v + 1], pal[3 * v + 2]);
        ASSERT_EQ(v, 0xFFFFFFu);
      }
    GetDefaultPalette(expect, nullptr, k.type == 1 ? 10 : k.type == 3 ? 0 : 8);
    if (k.bits <= 8) {
      EXPECT_EQ(std::memcmp(pal, expect, 3u << k.bits), 0);
    }
  }
  // A true-colour background colour fills every pixel.
  HDIB white = CreateNewImage(NEWFILEPARAM{5, 5, 0, RGB(10, 20, 30)});
  EXPECT_EQ(GetDibPixel(LockDib(white), 4, 4), RGB(10, 20, 30));
}

TEST_F(FrameTest, NewFileBoxKeepsAWhiteBackgroundWhiteInEveryKind) {
  NewFileBox box(NEWFILEPARAM{800, 600, 0, 0xFFFFFF});
  EXPECT_EQ(box.param().colour, 0xFFFFFFu);
  for (int type : {1, 2, 3, 0}) {
    box.typeList()->setCurrentIndex(type);
    HDIB image = CreateNewImage(box.param());
    BYTE palette[768] = {};
    const BITMAPINFOHEADER* h = LockDib(image);
    ASSERT_NE(h, nullptr);
    std::uint32_t v = GetDibPixel(h, 3, 3);
    if (h->biBitCount <= 8) {
      GetDibPalette(h, palette);
      v = RGB(palette[3 * v], palette[3 * v + 1], palette[3 * v + 2]);
    }
    EXPECT_EQ(v, RGB(255, 255, 255)) << type;
  }
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
  EXPECT_TRUE(Enabled(CM_UNDO));
  const std::uint32_t before = GetDibPixel(LockDib(r->Image), 3, 3);
  PutDibPixel(LockDib(r->Image), 3, 3, RGB(255, 0, 0));
  r->Tool = 5;
  r->PaintColour = RGB(1, 2, 3);
  r->Modified = 1;
  frame->Command(CM_UNDO);
  EXPECT_EQ(GetDibPixel(LockDib(r->Image), 3, 3), before);
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
  EXPECT_EQ(prompts[0].text, "Internal error in Undo -- this file will be discarded.");
  EXPECT_FALSE(Enabled(CM_UNDO));
}

TEST_F(FrameTest, UntitledNumbersAndAFailedNewStillUsesItsNumber) {
  ResetUntitledFileNumber();
  DocumentWindow* a = NewDocument(0);
  EXPECT_TRUE(QString::fromStdString(a->record()->FileName).endsWith("UntitledPicture1.bmp"));
  SetAllocationLimit(64);
  newParam = NEWFILEPARAM{100, 100, 0, 0};
  frame->Command(CM_NEW);
  SetAllocationLimit(0);
  QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
  ASSERT_EQ(prompts.size(), 1u);
  EXPECT_EQ(prompts[0].text, "Memory error");
  EXPECT_EQ(frame->CountOpenDocuments(), 1);
  DocumentWindow* c = NewDocument(0);
  EXPECT_TRUE(QString::fromStdString(c->record()->FileName).endsWith("UntitledPicture3.bmp"));
}

TEST_F(FrameTest, DocumentsStepInAndTheEleventhStartsAgain) {
  std::vector<QPoint> at;
  for (int i = 0; i < 11; ++i) at.push_back(NewDocument(0)->pos());
  int step = frame->style()->pixelMetric(QStyle::PM_TitleBarHeight) +
             frame->style()->pixelMetric(QStyle::PM_MdiSubWindowFrameWidth);
  EXPECT_EQ(at[1] - at[0], QPoint(step, step));
  EXPECT_EQ(at[9] - at[0], QPoint(9 * step, 9 * step));
  EXPECT_EQ(at[10], at[0]);
}

TEST_F(FrameTest, ClosePromptAnswers) {
  const QString prompt = "The file\n%1\nhas not been saved.\n\nDo you wish to save it before closing?";
  // Cancel keeps the document and its image.
  DocumentWindow* d = NewDocument(0, 12, 12);
  PutDibPixel(LockDib(d->record()->Image), 1, 1, 0x123456);
  answer = IDCANCEL;
  d->close();
  ASSERT_EQ(prompts.size(), 1u);
  EXPECT_EQ(prompts[0].kind, PROMPT_YESNOCANCEL);
  EXPECT_EQ(prompts[0].text, prompt.arg(QString::fromStdString(d->record()->FileName)));
  EXPECT_EQ(frame->CountOpenDocuments(), 1);
  EXPECT_EQ(GetDibPixel(LockDib(d->record()->Image), 1, 1), 0x123456u);

  // Yes on a document without a file goes to Save as; cancelling that keeps it open.
  answer = IDYES;
  MainFrame::SetSavePathAnswerer([](const std::string&, std::string*) { return false; });
  d->close();
  EXPECT_EQ(frame->CountOpenDocuments(), 1);

  // Yes with a name: the file is written and the document goes.
  QTemporaryDir dir;
  std::string target = dir.filePath("saved.bmp").toStdString();
  MainFrame::SetSavePathAnswerer([&](const std::string&, std::string* path) {
    *path = target;
    return true;
  });
  d->close();
  QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
  EXPECT_EQ(frame->CountOpenDocuments(), 0);
  EXPECT_TRUE(std::filesystem::exists(target));
  HDIB back = LoadImage(target.c_str());
  ASSERT_TRUE(back);
  EXPECT_EQ(GetDibPixel(LockDib(back), 1, 1), 0x123456u);

  // No closes without writing; an unmodified document asks nothing.
  DocumentWindow* e = NewDocument(0);
  answer = IDNO;
  prompts.clear();
  e->close();
  QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
  EXPECT_EQ(prompts.size(), 1u);
  EXPECT_EQ(frame->CountOpenDocuments(), 0);
  DocumentWindow* f = NewDocument(0);
  f->record()->Modified = 0;
  prompts.clear();
  f->close();
  EXPECT_TRUE(prompts.empty());
}

TEST_F(FrameTest, ExitWithShiftSavesSettingsAndKeepsWindows) {
  std::filesystem::remove(ConfigFilePath());
  NewDocument(0);
  MainFrame::SetShiftOverride(1);
  frame->Command(CM_EXIT);
  EXPECT_TRUE(std::filesystem::exists(ConfigFilePath()));
  EXPECT_TRUE(frame->isVisible());
  EXPECT_EQ(frame->CountOpenDocuments(), 1);
  EXPECT_TRUE(prompts.empty());
}

TEST_F(FrameTest, RefusedCloseKeepsFrameWithSettingsWritten) {
  NewDocument(0);
  std::filesystem::remove(ConfigFilePath());
  answer = IDCANCEL;
  MainFrame::SetShiftOverride(0);
  frame->Command(CM_EXIT);
  EXPECT_TRUE(std::filesystem::exists(ConfigFilePath()));
  EXPECT_TRUE(frame->isVisible());
  EXPECT_EQ(frame->CountOpenDocuments(), 1);
}

TEST_F(FrameTest, DroppedFilesOpenByExtension) {
  QTemporaryDir dir;
  HDIB img = CreateNewImage(NEWFILEPARAM{8, 8, 0, RGB(200, 100, 50)});
  std::string a = dir.filePath("one.bmp").toStdString(), b = dir.filePath("two.PNG").toStdString();
  ASSERT_TRUE(WriteImage(a.c_str(), img));
  ASSERT_TRUE(WriteImage(b.c_str(), img));
  // A PNG under a JPEG name is taken for its name and read for what it is.
  const std::string png = b;
  b = dir.filePath("two.JFIF").toStdString();
  std::filesystem::rename(png, b);
  std::string unknown = dir.filePath("notes.txt").toStdString();
  QFile(QString::fromStdString(unknown)).open(QIODevice::WriteOnly);
  frame->DropFiles({QString::fromStdString(a), QString::fromStdString(b), QString::fromStdString(unknown)});
  EXPECT_EQ(frame->CountOpenDocuments(), 2);
  EXPECT_TRUE(prompts.empty());
  DocumentWindow* d = frame->ActiveDocument();
  ASSERT_NE(d, nullptr);
  EXPECT_EQ(d->record()->HasFile, 1);
  EXPECT_EQ(d->record()->Modified, 0);
  EXPECT_EQ(GetDibPixel(LockDib(d->record()->Image), 7, 7), RGB(200, 100, 50));
  // Both paths joined the recent list, newest first, as items 180 and 181.
  ASSERT_NE(frame->findChild<QAction*>("180"), nullptr);
  EXPECT_EQ(frame->findChild<QAction*>("180")->text().toStdString(), b);
  EXPECT_EQ(frame->findChild<QAction*>("181")->text().toStdString(), a);
}

TEST_F(FrameTest, FailedOpenSaysErrorReadingAndLeavesNothing) {
  QTemporaryDir dir;
  std::string broken = dir.filePath("broken.bmp").toStdString();
  QFile f(QString::fromStdString(broken));
  f.open(QIODevice::WriteOnly);
  f.write("BM not really");
  f.close();
  frame->OpenFile(broken);
  QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
  ASSERT_EQ(prompts.size(), 1u);
  EXPECT_EQ(prompts[0].text, "Error reading file");
  EXPECT_EQ(frame->CountOpenDocuments(), 0);
}

TEST_F(FrameTest, DuplicateCopiesTheImageAsAModifiedUntitledDocument) {
  DocumentWindow* d = NewDocument(2, 9, 9);
  PutDibPixel(LockDib(d->record()->Image), 2, 2, 77);
  frame->Command(CM_DUPLICATE);
  DocumentWindow* copy = frame->ActiveDocument();
  ASSERT_NE(copy, d);
  EXPECT_EQ(GetDibPixel(LockDib(copy->record()->Image), 2, 2), 77u);
  EXPECT_NE(copy->record()->Image.get(), d->record()->Image.get());
  EXPECT_EQ(copy->record()->Modified, 1);
  EXPECT_EQ(copy->record()->ImageType, IMAGE_PALETTED);
  EXPECT_NE(copy->record()->FileName.find("UntitledPicture"), std::string::npos);
}

TEST(FrameServices, StickyPlacementClamps) {
  StickyWindowLeft = StickyWindowTop = StickyWindowRight = StickyWindowBottom = -1;
  RECT r;
  EXPECT_FALSE(SetStickyWindows(1280, 1024, &r));
  GetStickyWindows(RECT{-50, -20, 2000, 900}, false, 1280, 1024);
  EXPECT_EQ(StickyWindowLeft, 0);
  EXPECT_EQ(StickyWindowTop, 0);
  EXPECT_EQ(StickyWindowRight, 1280);
  EXPECT_EQ(StickyWindowBottom, 900);
  GetStickyWindows(RECT{1, 1, 2, 2}, true, 1280, 1024);  // zoomed: nothing stored
  EXPECT_EQ(StickyWindowLeft, 0);
  // Partly off screen: at most screen width - 620 to the right, at least 620 wide.
  StickyWindowLeft = 1000;
  StickyWindowTop = 900;
  StickyWindowRight = 1100;
  StickyWindowBottom = 950;
  ASSERT_TRUE(SetStickyWindows(1280, 1024, &r));
  EXPECT_EQ(r.left, 660);
  EXPECT_EQ(r.top, 564);
  EXPECT_EQ(r.right - r.left, 620);
  EXPECT_EQ(r.bottom - r.top, 460);
  StickyWindowLeft = StickyWindowTop = StickyWindowRight = StickyWindowBottom = -1;
}

TEST(FrameServices, TextHelpers) {
  EXPECT_EQ(formatlong(0), "0");
  EXPECT_EQ(formatlong(999), "999");
  EXPECT_EQ(formatlong(1000), "1,000");
  EXPECT_EQ(formatlong(16777216), "16,777,216");
  EXPECT_EQ(formatlong(-1234567), "-1,234,567");
  EXPECT_EQ(CleanFileName("\"/tmp/a b/c.bmp\""), "/tmp/a b/c.bmp");
  EXPECT_EQ(CleanFileName(std::string(300, 'x')).size(), 260u);
  EXPECT_EQ(SubtractPath("/a/b/c.png"), "c.png");
  EXPECT_EQ(FolderOf("/a/b/c.png"), "/a/b/");
}

TEST(FrameServices, SaveGoesToSaveAsForUntitledNames) {
  BLOCKSET r;
  CreateNewFile(&r);
  r.HasFile = 1;
  r.FileName = "/x/untitledpicture7.png";
  EXPECT_TRUE(NeedsSaveAs(&r));
  r.FileName = "/x/photo.png";
  EXPECT_FALSE(NeedsSaveAs(&r));
  r.HasFile = 0;
  EXPECT_TRUE(NeedsSaveAs(&r));
}

TEST(FrameServices, RecordColoursFollowTheImage) {
  BLOCKSET r;
  CreateNewFile(&r);
  EXPECT_EQ(r.PaperColour, 0xFFFFFFu);
  EXPECT_EQ(r.FillColour, 0x808080u);
  EXPECT_EQ(r.PreviousTool, -1);
  EXPECT_EQ(r.ImageType, IMAGE_NONE);
  // A paletted image: white paint becomes the nearest entry's index.
  r.Image = CreateNewImage(NEWFILEPARAM{4, 4, 2, 0});
  r.PaintColour = RGB(250, 250, 250);
  SetImageType(&r);
  AdjustToolColours(&r);
  EXPECT_EQ(r.PaintColour, 255u);
  EXPECT_EQ(GetPaintColour(&r), RGB(255, 255, 255));
  // A grey document: a texture fill falls back to solid, a gradient stays.
  BLOCKSET g;
  CreateNewFile(&g);
  g.Image = CreateNewImage(NEWFILEPARAM{4, 4, 1, 0});
  g.FillType = 2;
  SetImageType(&g);
  EXPECT_EQ(g.FillType, 0);
  g.FillType = 1;
  SetImageType(&g);
  EXPECT_EQ(g.FillType, 1);
  g.PaintColour = 77;
  EXPECT_EQ(GetPaintColour(&g), RGB(77, 77, 77));
  EXPECT_EQ(AdjustPixel(&g, 5), RGB(5, 5, 5));
  // Mono whatever its two entries.
  BLOCKSET m;
  CreateNewFile(&m);
  BYTE pal[768] = {9, 9, 9, 200, 10, 10};
  m.Image = CreateDib(4, 4, pal, 1);
  SetImageType(&m);
  EXPECT_EQ(m.ImageType, IMAGE_MONO);
}

TEST(FrameStrings, EveryIdTheProgramUsesExists) {
  for (int id = 0; id <= 15; ++id) EXPECT_TRUE(HasString(id)) << id;
  for (int id : {120, 122, 224, 243, 247, 306, 307, 309, 322, 323, 332}) EXPECT_TRUE(HasString(id)) << id;
  for (int id = 3900; id <= 3917; ++id) EXPECT_TRUE(HasString(id)) << id;
  // Every button command that ButtonList can hold by default has its tip.
  for (int id : {50, 51, 52, 53, 54, 55, 57, 58, 62}) EXPECT_TRUE(HasString(1651 + id)) << id;
  EXPECT_STREQ(FetchString(6), "Memory error");
  EXPECT_STREQ(FetchString(99999), "String table error - this application may be damaged");
  EXPECT_STREQ(FetchString(224), "Ochrel\u2122");
}

}  // namespace
}  // namespace ochrel

namespace ochrel {
namespace {

// A person's-eye look: with OCHREL_SCREENSHOT_DIR set, the frame with two new
// documents is saved as a picture. The test itself checks that the grab shows
// the documents' pixels.
TEST_F(FrameTest, GrabOfTwoDocuments) {
  frame->resize(1024, 700);
  DocumentWindow* a = NewDocument(0, 300, 200);
  InsetSolidRectangle(a->record()->Image, RGB(30, 120, 200), RECT{20, 20, 150, 120});
  a->view()->update();
  DocumentWindow* b = NewDocument(1, 260, 180);
  InsetSolidRectangle(b->record()->Image, 200, RECT{0, 0, 260, 90});
  b->view()->update();
  QImage shot = frame->grab().toImage();
  ASSERT_FALSE(shot.isNull());
  QPoint inB = b->view()->mapTo(frame.get(), QPoint(10, 10));
  EXPECT_EQ(QColor(shot.pixel(inB)), QColor(200, 200, 200));
  if (const char* dir = std::getenv("OCHREL_SCREENSHOT_DIR")) shot.save(QString(dir) + "/frame_two_documents.png");
  // The first at 400 percent with the grid, the second at 50 percent.
  frame->client()->setActiveSubWindow(a);
  a->record()->GridActive = 1;
  frame->buttonBar()->zoomList()->setCurrentIndex(7);
  frame->Command(CM_ZOOMLIST);
  frame->client()->setActiveSubWindow(b);
  frame->buttonBar()->zoomList()->setCurrentIndex(3);
  frame->Command(CM_ZOOMLIST);
  if (const char* dir = std::getenv("OCHREL_SCREENSHOT_DIR"))
    frame->grab().toImage().save(QString(dir) + "/frame_zoomed.png");
}

}  // namespace
}  // namespace ochrel

namespace ochrel {
namespace {

TEST_F(FrameTest, ConvertToGreyAndTrueColourOpenNewDocuments) {
  DocumentWindow* src = NewDocument(0, 6, 4);
  PutDibPixel(LockDib(src->record()->Image), 1, 1, RGB(0, 255, 0));
  frame->Command(CM_TOGREY);
  DocumentWindow* grey = frame->ActiveDocument();
  ASSERT_NE(grey, src);
  EXPECT_EQ(grey->record()->ImageType, IMAGE_GREY);
  EXPECT_EQ(grey->record()->Modified, 1);
  EXPECT_EQ(grey->record()->HasFile, 0);
  EXPECT_EQ(GetDibPixel(LockDib(grey->record()->Image), 1, 1), 150u);  // grey of pure green
  EXPECT_EQ(GetDibPixel(LockDib(src->record()->Image), 1, 1), RGB(0, 255, 0));
  EXPECT_FALSE(Enabled(CM_TOGREY));
  frame->Command(CM_TOTRUECOLOUR);
  DocumentWindow* back = frame->ActiveDocument();
  EXPECT_EQ(back->record()->ImageType, IMAGE_TRUECOLOUR);
  EXPECT_EQ(GetDibPixel(LockDib(back->record()->Image), 1, 1), RGB(150, 150, 150));
  EXPECT_EQ(frame->CountOpenDocuments(), 3);
}

}  // namespace
}  // namespace ochrel

#include <QCheckBox>
#include <QLabel>
#include <QScrollBar>

#include "frame/attributes.h"
#include "test_images.h"

#include "frame/view.h"
#include "ui/dialogs/image/attributesdialog.h"
#include "ui/widgets/dialogrunner.h"
#include "ui/dialogs/image/griddialog.h"

namespace ochrel {
namespace {

TEST_F(FrameTest, PaintedViewEqualsTheScaledPicture) {
  for (int type : {0, 2, 3}) {
    DocumentWindow* d = NewDocument(type, 53, 41);
    HDIB noise = test::RandomDib(53, 41, type == 0 ? 24 : type == 3 ? 1 : 8, 5 + type);
    d->record()->Image = std::move(noise);
    d->ImageReplaced();
    for (int mode : {0, 3, 5, 6, 8}) {
      SCOPED_TRACE(testing::Message() << "type " << type << " mode " << mode);
      frame->buttonBar()->zoomList()->setCurrentIndex(mode);
      frame->Command(CM_ZOOMLIST);
      QImage shot = d->view()->grab().toImage().convertToFormat(QImage::Format_RGB32);
      ASSERT_GT(shot.width(), 20);
      ASSERT_GT(shot.height(), 20);
      ViewRender v = d->view()->RenderParams();
      ASSERT_EQ(v.percent, viewmodetable[mode]);
      const BITMAPINFOHEADER* h = LockDib(d->record()->Image);
      BYTE pal[768];
      GetDibPalette(h, pal);
      for (int j = 0; j < shot.height(); j += 3)
        for (int i = 0; i < shot.width(); i += 3) {
          int x = UnZoomPercent(v.percent, i) + v.scrollX, y = UnZoomPercent(v.percent, j) + v.scrollY;
          QRgb want = v.background;
          if (x < h->biWidth && y < h->biHeight && !(h->biBitCount == 1 && v.percent < 100)) {
            std::uint32_t px = GetDibPixel(h, x, y);
            want = h->biBitCount <= 8 ? qRgb(pal[3 * px], pal[3 * px + 1], pal[3 * px + 2])
                                      : qRgb(GetRValue(px), GetGValue(px), GetBValue(px));
          } else if (x < h->biWidth && y < h->biHeight) {
            continue;  // shrunk mono is checked in the model tests
          }
          ASSERT_EQ(shot.pixel(i, j), want | 0xFF000000u) << i << "," << j;
        }
    }
  }
}

TEST_F(FrameTest, ZoomListAndWindowMenuAgree) {
  DocumentWindow* d = NewDocument(0, 200, 150);
  frame->buttonBar()->zoomList()->setCurrentIndex(7);
  frame->Command(CM_ZOOMLIST);
  EXPECT_EQ(d->record()->ViewMode, 7);
  QAction* entry = d->systemMenu()->findChild<QAction*>("1607");
  ASSERT_NE(entry, nullptr);
  EXPECT_TRUE(entry->isChecked());
  EXPECT_FALSE(d->systemMenu()->findChild<QAction*>("1605")->isChecked());
  // From the window's menu: the list follows.
  d->systemMenu()->findChild<QAction*>("1603")->trigger();
  EXPECT_EQ(d->record()->ViewMode, 3);
  EXPECT_EQ(frame->buttonBar()->zoomList()->currentIndex(), 3);
  EXPECT_TRUE(d->systemMenu()->findChild<QAction*>("1603")->isChecked());
  EXPECT_FALSE(entry->isChecked());
  // Another document keeps its own scale; activating it shows it in the list.
  DocumentWindow* e = NewDocument(0, 20, 20);
  EXPECT_EQ(frame->buttonBar()->zoomList()->currentIndex(), e->record()->ViewMode);
  frame->client()->setActiveSubWindow(d);
  EXPECT_EQ(frame->buttonBar()->zoomList()->currentIndex(), 3);
}

TEST_F(FrameTest, ScrollingAt400PercentStepsOneImagePixel) {
  DocumentWindow* d = NewDocument(0, 300, 300);
  frame->buttonBar()->zoomList()->setCurrentIndex(7);
  frame->Command(CM_ZOOMLIST);
  d->resize(300, 300);
  QScrollBar* h = d->findChildren<QScrollBar*>().at(0)->orientation() == Qt::Horizontal
                      ? d->findChildren<QScrollBar*>().at(0)
                      : d->findChildren<QScrollBar*>().at(1);
  int client = d->view()->width();
  EXPECT_EQ(h->maximum(), (1200 - client) * 100 / 400);
  EXPECT_TRUE(h->isEnabled());
  EXPECT_EQ(h->pageStep(), h->maximum() / 8);
  h->triggerAction(QAbstractSlider::SliderSingleStepAdd);
  EXPECT_EQ(d->view()->scrollX(), 1);
  // The view now starts one image pixel (four view pixels) further right.
  EXPECT_EQ(d->view()->ImagePoint(QPoint(0, 0)).x, 1);
  EXPECT_EQ(d->view()->ImagePoint(QPoint(4, 0)).x, 2);
  // A resize returns to the top left; a small image disables the bars.
  d->resize(320, 320);
  EXPECT_EQ(d->view()->scrollX(), 0);
  DocumentWindow* small = NewDocument(0, 20, 20);
  for (QScrollBar* bar : small->findChildren<QScrollBar*>()) {
    EXPECT_TRUE(bar->isVisible());
    EXPECT_FALSE(bar->isEnabled());
  }
}

TEST_F(FrameTest, GridIsDrawnAndTheImageStaysUnchanged) {
  DocumentWindow* d = NewDocument(0, 64, 64);
  HDIB before = DuplicateObject(d->record()->Image);
  SetDialogAnswerer([](QDialog& dlg) {
    auto& box = static_cast<GridBox&>(dlg);
    EXPECT_FALSE(box.visible()->isEnabled() && !box.active()->isChecked());
    box.active()->setChecked(true);
    EXPECT_TRUE(box.visible()->isEnabled());
    box.visible()->setChecked(true);
    box.horizontal()->setValue(8);
    box.vertical()->setValue(16);
    return true;
  });
  frame->Command(CM_GRIDSETTINGS);
  SetDialogAnswerer({});
  EXPECT_EQ(d->record()->GridActive, 1);
  EXPECT_EQ(d->record()->GridVertical, 16);
  EXPECT_TRUE(frame->action(CM_GRIDACTIVE)->isChecked());
  QImage shot = d->view()->grab().toImage();
  EXPECT_EQ(QColor(shot.pixel(8, 16)), QColor(0, 0, 0));      // white inverted
  EXPECT_EQ(QColor(shot.pixel(9, 16)), QColor(255, 255, 255));
  EXPECT_EQ(QColor(shot.pixel(8, 8)), QColor(255, 255, 255));  // not a grid point
  EXPECT_TRUE(test::SameBlock(before, d->record()->Image));
  // Command 51 turns it off: no points drawn, the check mark follows.
  frame->Command(CM_GRIDACTIVE);
  EXPECT_FALSE(frame->action(CM_GRIDACTIVE)->isChecked());
  EXPECT_EQ(QColor(d->view()->grab().toImage().pixel(8, 16)), QColor(255, 255, 255));
}

TEST_F(FrameTest, AttributesDialogChangesTheCanvas) {
  DocumentWindow* d = NewDocument(0, 100, 100);
  InsetSolidRectangle(d->record()->Image, RGB(9, 9, 9), RECT{50, 50, 100, 100});
  SetDialogAnswerer([](QDialog& dlg) {
    auto& box = static_cast<ImageAttributesBox&>(dlg);
    EXPECT_EQ(box.colours()->text(), "16,777,216");
    EXPECT_EQ(box.widthField()->value(), 100);
    EXPECT_EQ(box.widthField()->maximum(), 32760);
    box.widthField()->setValue(50);
    box.heightField()->setValue(50);
    box.anchorButton(ANCHOR_LOWERRIGHT)->click();
    return true;
  });
  frame->Command(CM_ATTRIBUTES);
  SetDialogAnswerer({});
  const BITMAPINFOHEADER* h = LockDib(d->record()->Image);
  ASSERT_EQ(h->biWidth, 50);
  EXPECT_EQ(GetDibPixel(h, 0, 0), RGB(9, 9, 9));  // the lower right part stayed
  EXPECT_TRUE(Enabled(CM_UNDO));
  frame->Command(CM_UNDO);
  EXPECT_EQ(LockDib(d->record()->Image)->biWidth, 100);
}

}  // namespace
}  // namespace ochrel

#include <QTest>

#include "tools/toolparam.h"
#include "tools/toolsession.h"
#include "ui/frame/toolbox.h"

namespace ochrel {
namespace {

TEST_F(FrameTest, EyedropperClickChangesThePaintSwatch) {
  DocumentWindow* d = NewDocument(0, 50, 40);
  QCoreApplication::processEvents();
  InsetSolidRectangle(d->record()->Image, RGB(200, 30, 90), RECT{10, 10, 20, 20});
  d->view()->InvalidateAll();
  ToolBox* box = frame->toolBox();
  ASSERT_EQ(box->button(5)->toolTip(), "Eyedropper");
  box->button(5)->click();
  EXPECT_EQ(CurrentTool(), 5);
  EXPECT_TRUE(box->button(5)->isChecked());
  ASSERT_NE(d->record()->ToolWindow, nullptr);
  QTest::mouseClick(d->view(), Qt::LeftButton, Qt::NoModifier, QPoint(15, 15));
  QCoreApplication::processEvents();
  EXPECT_EQ(d->record()->PaintColour, RGB(200, 30, 90));
  EXPECT_EQ(frame->statusBar()->swatch(CM_PAINTSWATCH)->colour(), RGB(200, 30, 90));
  // The eyedropper went back to the tool in use before it.
  EXPECT_EQ(CurrentTool(), 0);
  EXPECT_TRUE(box->button(0)->isChecked());
  // A right click takes the fill colour.
  box->button(5)->click();
  QTest::mouseClick(d->view(), Qt::RightButton, Qt::NoModifier, QPoint(2, 2));
  QCoreApplication::processEvents();
  EXPECT_EQ(frame->statusBar()->swatch(CM_FILLSWATCH)->colour(), RGB(255, 255, 255));
}

TEST_F(FrameTest, ZoomToolClickStepsTheScale) {
  DocumentWindow* d = NewDocument(0, 200, 200);
  QCoreApplication::processEvents();
  frame->toolBox()->button(6)->click();
  ASSERT_NE(d->record()->ToolWindow, nullptr);
  QTest::mouseClick(d->view(), Qt::LeftButton, Qt::NoModifier, QPoint(20, 20));
  EXPECT_EQ(d->record()->ViewMode, 6);
  EXPECT_EQ(frame->buttonBar()->zoomList()->currentIndex(), 6);
  QTest::mouseClick(d->view(), Qt::RightButton, Qt::NoModifier, QPoint(20, 20));
  EXPECT_EQ(d->record()->ViewMode, 5);
}

}  // namespace
}  // namespace ochrel

namespace ochrel {
namespace {

TEST_F(FrameTest, SoftBrushDragPaintsAndUndoRestores) {
  DocumentWindow* d = NewDocument(0, 160, 120);
  QCoreApplication::processEvents();
  HDIB before = DuplicateObject(d->record()->Image);
  frame->toolBox()->button(TOOL_BRUSH)->click();
  ASSERT_NE(d->record()->ToolWindow, nullptr);
  QWidget* v = d->view();
  QTest::mousePress(v, Qt::LeftButton, Qt::NoModifier, QPoint(20, 60));
  for (int x = 24; x <= 120; x += 8) {
    QMouseEvent move(QEvent::MouseMove, QPointF(x, 60), v->mapToGlobal(QPointF(x, 60)), Qt::NoButton,
                     Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(v, &move);
  }
  QTest::mouseRelease(v, Qt::LeftButton, Qt::NoModifier, QPoint(120, 60));
  QCoreApplication::processEvents();
  const BITMAPINFOHEADER* h = LockDib(d->record()->Image);
  for (int x = 20; x <= 120; x += 20) EXPECT_LT(GetRValue(GetDibPixel(h, x, 60)), 80) << x;
  EXPECT_EQ(GetDibPixel(h, 70, 10), GetDibPixel(LockDib(before), 70, 10));
  // The screen shows the stroke.
  QImage shot = v->grab().toImage();
  EXPECT_LT(qRed(shot.pixel(70, 60)), 80);
  EXPECT_EQ(d->record()->Modified, 1);
  ASSERT_TRUE(Enabled(CM_UNDO));
  frame->Command(CM_UNDO);
  EXPECT_TRUE(test::SameBlock(before, d->record()->Image));
  if (const char* dir = std::getenv("OCHREL_SCREENSHOT_DIR")) {
    QTest::mousePress(v, Qt::LeftButton, Qt::NoModifier, QPoint(10, 10));
    for (int i = 0; i <= 40; ++i) {
      QPointF p(10 + i * 3, 10 + 40 * std::sin(i / 6.0) + 40);
      QMouseEvent move(QEvent::MouseMove, p, v->mapToGlobal(p), Qt::NoButton, Qt::LeftButton, Qt::NoModifier);
      QCoreApplication::sendEvent(v, &move);
    }
    QTest::mouseRelease(v, Qt::LeftButton, Qt::NoModifier, QPoint(130, 50));
    frame->grab().toImage().save(QString(dir) + "/frame_brush_stroke.png");
  }
}

}  // namespace
}  // namespace ochrel
