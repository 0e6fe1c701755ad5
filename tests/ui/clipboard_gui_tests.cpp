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

#include "qt_fixture.h"
#include "test_images.h"
#include "tools/pastetools.h"
#include "tools/selecttools.h"

namespace ochrel {
namespace {

constexpr COLORREF kBlock = RGB(30, 160, 90);

class ClipboardGuiTest : public test::QtFixture {
 protected:
  // Drags out a rectangle selection with the rectangle selector.
  void Select(DocumentWindow* d, QPoint from, QPoint to) {
    Tool(TOOL_RECTSELECT);
    Drag(d->view(), from, to);
  }
  // A change of tool lays the floating fragment down.
  void Drop(DocumentWindow*) { Tool(TOOL_PEN); }
  DocumentWindow* OpenBlock() {
    HDIB image = test::Uniform(120, 90, 24, RGB(255, 255, 255));
    InsetSolidRectangle(image, kBlock, RECT{20, 20, 40, 30});
    return Open(image, "block.bmp");
  }
};

TEST_F(ClipboardGuiTest, CopyOffersPngAndBmpAndPasteFloatsAtTheTopLeft) {
  DocumentWindow* d = OpenBlock();
  Select(d, QPoint(20, 20), QPoint(40, 30));
  Choose(CM_COPY);  // open once there is a selection
  const QMimeData* data = QGuiApplication::clipboard()->mimeData();
  ASSERT_TRUE(data->hasFormat("image/png") && data->hasFormat("image/bmp"));
  const QImage png = QImage::fromData(data->data("image/png"));
  ASSERT_EQ(png.size(), QSize(20, 10));
  EXPECT_EQ(png.pixel(5, 5), qRgb(30, 160, 90));
  const QImage bmp = QImage::fromData(data->data("image/bmp"), "BMP");
  ASSERT_EQ(bmp.size(), QSize(20, 10));
  EXPECT_EQ(bmp.pixel(19, 9), qRgb(30, 160, 90));

  Choose(CM_PASTE);  // the first selection goes down, the copy floats at (0, 0)
  ASSERT_TRUE(HasSelection(d->record()));
  EXPECT_EQ(d->tools()->session()->window, (RECT{0, 0, 20, 10}));
  Drop(d);
  EXPECT_EQ(At(d, 19, 9), kBlock);
  EXPECT_EQ(At(d, 25, 25), kBlock);  // the original stays where it was
  Choose(CM_UNDO);                   // one step takes the paste away
  EXPECT_EQ(At(d, 19, 9), RGB(255, 255, 255));
  EXPECT_EQ(At(d, 25, 25), kBlock);
}

TEST_F(ClipboardGuiTest, CutLeavesPaperAndPastesIntoPalettedAndMonoDocuments) {
  DocumentWindow* d = OpenBlock();
  Select(d, QPoint(20, 20), QPoint(40, 30));
  Choose(CM_CUT);
  EXPECT_FALSE(HasSelection(d->record()));
  EXPECT_EQ(At(d, 25, 25), RGB(255, 255, 255));
  // A paletted picture takes the nearest entry of its own palette; a mono one black or white.
  BYTE palette[768];
  GetDefaultPalette(palette, nullptr, 8);
  const int entry = FindPaletteColour(30, 160, 90, palette, 256);
  DocumentWindow* paletted = Open(test::Uniform(60, 40, 8, 0, 8), "paletted.bmp");
  Choose(CM_PASTE);
  Drop(paletted);
  EXPECT_EQ(At(paletted, 5, 5), static_cast<COLORREF>(entry));
  QImage blackWhite(8, 4, QImage::Format_RGB32);
  blackWhite.fill(Qt::white);
  blackWhite.setPixel(1, 1, qRgb(0, 0, 0));
  QGuiApplication::clipboard()->setImage(blackWhite);
  DocumentWindow* mono = Open(test::Uniform(60, 40, 1, 0, 0), "mono.bmp");
  Choose(CM_PASTE);
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
  Choose(CM_PASTENEW);
  DocumentWindow* d = frame->ActiveDocument();
  ASSERT_NE(d, nullptr);
  EXPECT_EQ(At(d, 3, 2), RGB(200, 10, 10));
  EXPECT_EQ(At(d, 0, 0), static_cast<COLORREF>(DefaultPaperColour));
}

TEST_F(ClipboardGuiTest, TextPastesIntoTheTextToolAndCopiesBackOut) {
  DocumentWindow* d = OpenBlock();
  QGuiApplication::clipboard()->setText("Pasted words");
  Choose(CM_PASTE);
  EXPECT_EQ(CurrentTool(), TOOL_TEXT);
  EXPECT_EQ(SelectionText(d->record()), "Pasted words");
  QGuiApplication::clipboard()->clear();
  Choose(CM_COPY);
  EXPECT_EQ(QGuiApplication::clipboard()->text(), "Pasted words");
}

TEST_F(ClipboardGuiTest, CopyToAndPasteFromGoThroughFiles) {
  const std::string path = dir / "piece.png";
  DocumentWindow* d = OpenBlock();
  Select(d, QPoint(20, 20), QPoint(40, 30));
  MainFrame::SetSavePathAnswerer([&](const std::string&, std::string* out) { return *out = path, true; });
  MainFrame::SetOpenPathAnswerer([&](std::string* out) { return *out = path, true; });
  Choose(CM_COPYTO);
  Choose(CM_PASTEFROM);
  ASSERT_TRUE(HasSelection(d->record()));
  EXPECT_EQ(d->tools()->session()->window, (RECT{0, 0, 20, 10}));
  Drop(d);
  EXPECT_EQ(At(d, 0, 0), kBlock);
  // A file that is no picture: the message, and nothing floats.
  MainFrame::SetOpenPathAnswerer([&](std::string* out) { return *out = dir / "none.png", true; });
  Choose(CM_PASTEFROM);
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
  DocumentWindow* d = OpenBlock();
  Select(d, QPoint(20, 20), QPoint(40, 30));
  Choose(CM_COPY);
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
  Choose(CM_PASTE);
  ASSERT_TRUE(HasSelection(d->record()));
  Drop(d);
  EXPECT_EQ(At(d, 0, 0), RGB(250, 200, 0));
  EXPECT_EQ(At(d, 6, 4), RGB(1, 2, 3));

  RunWhileServing("xclip", {"-selection", "clipboard", "-i"}, "words from elsewhere");
  QThread::msleep(200);
  QCoreApplication::processEvents();
  Choose(CM_PASTE);
  EXPECT_EQ(SelectionText(d->record()), "words from elsewhere");
  Choose(CM_COPY);
  EXPECT_EQ(RunWhileServing("xclip", {"-selection", "clipboard", "-o"}), QByteArray("words from elsewhere"));
}

}  // namespace
}  // namespace ochrel
