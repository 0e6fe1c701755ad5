// Edit ▸ Cut, Copy, Paste, Paste as new document, Copy to and Paste from on
// real documents; and, on a real X display, pictures and text exchanged with
// another program through the desktop's clipboard.
#include <gtest/gtest.h>

#include <QBuffer>
#include <QClipboard>
#include <QElapsedTimer>
#include <QGuiApplication>
#include <QMimeData>
#include <QProcess>
#include <QStandardPaths>
#include <QTest>
#include <QThread>
#include <QToolButton>

#include "frame/commands.h"
#include "frame/settings.h"
#include "frame_fixture.h"
#include "temp_dir.h"
#include "test_images.h"
#include "tools/pastetools.h"
#include "tools/selecttools.h"
#include "ui/frame/toolbox.h"

namespace ochrel {
namespace {

constexpr COLORREF kBlock = RGB(30, 160, 90);

class ClipboardGuiTest : public test::FrameFixture {
 protected:
  ClipboardGuiTest() : FrameFixture(120, 90) {}
  DocumentWindow* Open(HDIB image) {
    DocumentWindow* d = frame->NewFromDib(image);
    QCoreApplication::processEvents();
    d->record()->PaperColour = GetImageType(image) == IMAGE_TRUECOLOUR ? RGB(255, 255, 255) : 0;
    return d;
  }
  // Drags out a rectangle selection with the rectangle selector.
  void Select(DocumentWindow* d, QPoint from, QPoint to) {
    frame->toolBox()->button(TOOL_RECTSELECT)->click();
    Drag(d->view(), from, to);
  }
  void Drop(DocumentWindow* d) {
    d->CommitSelection();
    QCoreApplication::processEvents();
  }
  static COLORREF At(DocumentWindow* d, int x, int y) { return GetDibPixel(LockDib(d->record()->Image), x, y); }
  HDIB BlockImage() {
    HDIB image = test::Uniform(120, 90, 24, RGB(255, 255, 255));
    InsetSolidRectangle(image, kBlock, RECT{20, 20, 40, 30});
    return image;
  }
};

TEST_F(ClipboardGuiTest, CopyOffersPngAndBmpAndPasteFloatsAtTheTopLeft) {
  DocumentWindow* d = Open(BlockImage());
  Select(d, QPoint(20, 20), QPoint(40, 30));
  EXPECT_TRUE(frame->action(CM_COPY)->isEnabled());
  frame->Command(CM_COPY);
  const QMimeData* data = QGuiApplication::clipboard()->mimeData();
  ASSERT_TRUE(data->hasFormat("image/png") && data->hasFormat("image/bmp"));
  const QImage png = QImage::fromData(data->data("image/png"));
  ASSERT_EQ(png.size(), QSize(20, 10));
  EXPECT_EQ(png.pixel(5, 5), qRgb(30, 160, 90));
  const QImage bmp = QImage::fromData(data->data("image/bmp"), "BMP");
  ASSERT_EQ(bmp.size(), QSize(20, 10));
  EXPECT_EQ(bmp.pixel(19, 9), qRgb(30, 160, 90));
  EXPECT_TRUE(frame->action(CM_PASTE)->isEnabled());

  frame->Command(CM_PASTE);  // the first selection goes down, the copy floats at (0, 0)
  ASSERT_TRUE(HasSelection(d->record()));
  EXPECT_EQ(d->tools()->session()->window, (RECT{0, 0, 20, 10}));
  Drop(d);
  EXPECT_EQ(At(d, 19, 9), kBlock);
  EXPECT_EQ(At(d, 25, 25), kBlock);  // the original stays where it was
  frame->Command(CM_UNDO);           // one step takes the paste away
  EXPECT_EQ(At(d, 19, 9), RGB(255, 255, 255));
  EXPECT_EQ(At(d, 25, 25), kBlock);
}

TEST_F(ClipboardGuiTest, CutLeavesPaperAndPastesIntoPalettedAndMonoDocuments) {
  DocumentWindow* d = Open(BlockImage());
  Select(d, QPoint(20, 20), QPoint(40, 30));
  frame->Command(CM_CUT);
  EXPECT_FALSE(HasSelection(d->record()));
  EXPECT_EQ(At(d, 25, 25), RGB(255, 255, 255));
  // A paletted picture takes the nearest entry of its own palette; a mono one black or white.
  BYTE palette[768];
  GetDefaultPalette(palette, nullptr, 8);
  const int entry = FindPaletteColour(30, 160, 90, palette, 256);
  DocumentWindow* paletted = Open(test::Uniform(60, 40, 8, 0, 8));
  frame->Command(CM_PASTE);
  Drop(paletted);
  EXPECT_EQ(At(paletted, 5, 5), static_cast<COLORREF>(entry));
  QImage blackWhite(8, 4, QImage::Format_RGB32);
  blackWhite.fill(Qt::white);
  blackWhite.setPixel(1, 1, qRgb(0, 0, 0));
  QGuiApplication::clipboard()->setImage(blackWhite);
  DocumentWindow* mono = Open(test::Uniform(60, 40, 1, 0, 0));
  frame->Command(CM_PASTE);
  Drop(mono);
  EXPECT_EQ(At(mono, 1, 1), 0u);
  EXPECT_EQ(At(mono, 2, 1), 1u);
}

TEST_F(ClipboardGuiTest, PasteAsNewDocumentWithNoneOpenLaysTransparencyOverPaper) {
  QImage picture(10, 6, QImage::Format_ARGB32);
  picture.fill(Qt::transparent);
  picture.setPixel(3, 2, qRgba(200, 10, 10, 255));
  QGuiApplication::clipboard()->setImage(picture);
  ASSERT_EQ(frame->ActiveDocument(), nullptr);
  frame->Command(CM_PASTENEW);
  DocumentWindow* d = frame->ActiveDocument();
  ASSERT_NE(d, nullptr);
  EXPECT_EQ(At(d, 3, 2), RGB(200, 10, 10));
  EXPECT_EQ(At(d, 0, 0), static_cast<COLORREF>(DefaultPaperColour));
}

TEST_F(ClipboardGuiTest, TextPastesIntoTheTextToolAndCopiesBackOut) {
  DocumentWindow* d = Open(BlockImage());
  QGuiApplication::clipboard()->setText("Pasted words");
  frame->Command(CM_PASTE);
  QCoreApplication::processEvents();
  EXPECT_EQ(CurrentTool(), TOOL_TEXT);
  EXPECT_EQ(SelectionText(d->record()), "Pasted words");
  QGuiApplication::clipboard()->clear();
  frame->Command(CM_COPY);
  EXPECT_EQ(QGuiApplication::clipboard()->text(), "Pasted words");
}

TEST_F(ClipboardGuiTest, CopyToAndPasteFromGoThroughFiles) {
  test::TempDir dir;
  const std::string path = dir / "piece.png";
  DocumentWindow* d = Open(BlockImage());
  Select(d, QPoint(20, 20), QPoint(40, 30));
  MainFrame::SetSavePathAnswerer([&](const std::string&, std::string* out) {
    *out = path;
    return true;
  });
  MainFrame::SetOpenPathAnswerer([&](std::string* out) {
    *out = path;
    return true;
  });
  frame->Command(CM_COPYTO);
  frame->Command(CM_PASTEFROM);
  MainFrame::SetSavePathAnswerer({});
  MainFrame::SetOpenPathAnswerer({});
  ASSERT_TRUE(HasSelection(d->record()));
  EXPECT_EQ(d->tools()->session()->window, (RECT{0, 0, 20, 10}));
  Drop(d);
  EXPECT_EQ(At(d, 0, 0), kBlock);
  // A file that is no picture: the message, and nothing floats.
  MainFrame::SetOpenPathAnswerer([&](std::string* out) {
    *out = dir / "none.png";
    return true;
  });
  frame->Command(CM_PASTEFROM);
  MainFrame::SetOpenPathAnswerer({});
  EXPECT_FALSE(HasSelection(d->record()));
  EXPECT_EQ(prompts.size(), 1u);
}

// ---- With another program, on a real X display ---------------------------------------

// Runs a program while the event loop keeps serving the clipboard.
QByteArray RunWhileServing(const QString& program, const QStringList& args, const QByteArray& input = {}) {
  QProcess p;
  p.start(program, args);
  if (!input.isEmpty()) {
    p.write(input);
    p.closeWriteChannel();
  }
  QElapsedTimer t;
  t.start();
  while (p.state() != QProcess::NotRunning && t.elapsed() < 10000) {
    QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
    p.waitForFinished(10);
  }
  return p.readAllStandardOutput();
}

TEST_F(ClipboardGuiTest, PicturesAndTextTravelToAndFromAnotherProgram) {
  if (QGuiApplication::platformName() != "xcb" || QStandardPaths::findExecutable("xclip").isEmpty())
    GTEST_SKIP() << "needs an X display and xclip (the test command runs it under Xvfb)";
  DocumentWindow* d = Open(BlockImage());
  Select(d, QPoint(20, 20), QPoint(40, 30));
  frame->Command(CM_COPY);
  const QImage out = QImage::fromData(RunWhileServing("xclip", {"-selection", "clipboard", "-t", "image/png", "-o"}));
  ASSERT_EQ(out.size(), QSize(20, 10));
  EXPECT_EQ(out.pixel(0, 0), qRgb(30, 160, 90));
  Drop(d);

  QImage in(7, 5, QImage::Format_RGB32);
  in.fill(qRgb(250, 200, 0));
  in.setPixel(6, 4, qRgb(1, 2, 3));
  QByteArray png;
  QBuffer buffer(&png);
  buffer.open(QIODevice::WriteOnly);
  in.save(&buffer, "PNG");
  RunWhileServing("xclip", {"-selection", "clipboard", "-t", "image/png", "-i"}, png);
  QThread::msleep(200);
  QCoreApplication::processEvents();
  frame->Command(CM_PASTE);
  ASSERT_TRUE(HasSelection(d->record()));
  Drop(d);
  EXPECT_EQ(At(d, 0, 0), RGB(250, 200, 0));
  EXPECT_EQ(At(d, 6, 4), RGB(1, 2, 3));

  RunWhileServing("xclip", {"-selection", "clipboard", "-i"}, "words from elsewhere");
  QThread::msleep(200);
  QCoreApplication::processEvents();
  frame->Command(CM_PASTE);
  EXPECT_EQ(SelectionText(d->record()), "words from elsewhere");
  frame->Command(CM_COPY);
  EXPECT_EQ(RunWhileServing("xclip", {"-selection", "clipboard", "-o"}), QByteArray("words from elsewhere"));
}

}  // namespace
}  // namespace ochrel
