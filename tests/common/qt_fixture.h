// The frame window for the widget tests, driven as a person drives it: menu
// commands, the toolbox, mouse and keys on a document view, dialogs answered
// by a callback, the screen read back. Every question is answered with
// `answer` and kept in `prompts`; New answers with the type and size asked
// for; the settings start from their defaults in fresh folders each test.
#pragma once

#include <gtest/gtest.h>

#include <QAction>
#include <QComboBox>
#include <QCoreApplication>
#include <QGuiApplication>
#include <QMdiArea>
#include <QMdiSubWindow>
#include <QSpinBox>
#include <QTest>
#include <QToolButton>

#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "files/imagefile.h"
#include "frame/blockset.h"
#include "frame/commands.h"
#include "frame/paths.h"
#include "frame/recentpaths.h"
#include "frame/settings.h"
#include "qt_app.h"
#include "temp_dir.h"
#include "ui/dialogs/image/newfiledialog.h"
#include "ui/document/documentwindow.h"
#include "ui/frame/mainframe.h"
#include "ui/frame/toolbox.h"
#include "ui/widgets/dialogrunner.h"
#include "ui/widgets/longwork.h"
#include "ui/widgets/messages.h"

namespace ochrel::test {

class QtFixture : public ::testing::Test {
 protected:
  void SetUp() override {
    EnsureQtApp();
    RestoreDefaultSettings();
    std::filesystem::remove(ConfigFilePath());
    RecentPathList().Clear();
    SetPromptAnswerer([this](PromptKind kind, const QString& text) {
      prompts.push_back(text);
      kinds.push_back(kind);
      return answer;
    });
    SetNewFileAnswerer([this](NewFileBox& box) {
      box.typeList()->setCurrentIndex(newType_);
      box.widthField()->setValue(newWidth_);
      box.depthField()->setValue(newDepth_);
      return true;
    });
    frame = std::make_unique<MainFrame>();
    frame->resize(1000, 800);
    frame->show();
    ReleaseButtons();
  }
  // A button an earlier test left held would turn clicks into other buttons' and
  // keep the program from thinking the user idle.
  void ReleaseButtons() {
    for (Qt::MouseButton b : {Qt::LeftButton, Qt::RightButton, Qt::MiddleButton})
      if (QGuiApplication::mouseButtons() & b) QTest::mouseRelease(frame.get(), b);
    QCoreApplication::processEvents();
  }
  void TearDown() override {
    if (frame) ReleaseButtons();
    SetPromptAnswerer({});
    SetNewFileAnswerer({});
    SetDialogAnswerer({});
    SetMenuAnswerer({});
    SetUrlOpener({});
    SetLongWorkGate({});
    SetAllocationLimit(0);
    MainFrame::SetSavePathAnswerer({});
    MainFrame::SetOpenPathAnswerer({});
    MainFrame::SetShiftOverride(-1);
    if (frame) {
      for (QMdiSubWindow* w : frame->client()->subWindowList())
        if (auto* d = qobject_cast<DocumentWindow*>(w)) d->record()->Modified = 0;
      frame.reset();
    }
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    RestoreDefaultSettings();
  }

  // File ▸ New answered with a picture of this type (0 true colour, 1 grey,
  // 2 paletted, 3 mono) and size: the new document, shown.
  DocumentWindow* NewDocument(int type = 0, int width = 120, int depth = 90) {
    newType_ = type, newWidth_ = width, newDepth_ = depth;
    Choose(CM_NEW);
    return frame->ActiveDocument();
  }
  // File ▸ Open on a file holding `image`: the document, unmodified.
  DocumentWindow* Open(const HDIB& image, const char* name = "picture.bmp") {
    const std::string path = dir / name;
    EXPECT_TRUE(WriteGraphicFile(image, path.c_str(), SaveOptions{}));
    MainFrame::SetOpenPathAnswerer([path](std::string* p) { return *p = path, true; });
    Choose(CM_OPEN);
    MainFrame::SetOpenPathAnswerer({});
    return frame->ActiveDocument();
  }
  // A menu command as a click on its item: the item must be there and open;
  // commands without an item (the filters' own) go to the frame.
  void Choose(int id) {
    if (QAction* a = frame->action(id)) {
      ASSERT_TRUE(a->isEnabled()) << "command " << id << " is grey";
      a->trigger();
    } else {
      frame->Command(id);
    }
    QCoreApplication::processEvents();
  }
  // The button bar's scale list, chosen as a person chooses it.
  void Zoom(int mode) {
    frame->buttonBar()->zoomList()->setCurrentIndex(mode);
    emit frame->buttonBar()->zoomList()->activated(mode);
    QCoreApplication::processEvents();
  }
  bool Enabled(int id) const { return frame->action(id)->isEnabled(); }
  // Answers the next dialogs with `answer`, which must get a `Box`.
  template <class Box>
  static void OnDialog(std::function<bool(Box&)> answer) {
    SetDialogAnswerer([answer](QDialog& d) {
      auto* box = dynamic_cast<Box*>(&d);
      EXPECT_NE(box, nullptr) << "unexpected dialog " << d.objectName().toStdString();
      return box && answer(*box);
    });
  }
  void Tool(int tool) {
    frame->toolBox()->button(tool)->click();
    QCoreApplication::processEvents();
  }
  static void Click(QWidget* v, QPoint at, Qt::MouseButton button = Qt::LeftButton,
                    Qt::KeyboardModifiers mods = Qt::NoModifier) {
    QTest::mouseClick(v, button, mods, at);
    QCoreApplication::processEvents();
  }
  // A mouse move with buttons held, as a drag sends it.
  static void Move(QWidget* v, QPoint p, Qt::MouseButtons buttons = Qt::LeftButton) {
    QMouseEvent move(QEvent::MouseMove, QPointF(p), v->mapToGlobal(QPointF(p)), Qt::NoButton, buttons, Qt::NoModifier);
    QCoreApplication::sendEvent(v, &move);
    QCoreApplication::processEvents();
  }
  // Press at `from`, move through `via` (or the middle) to `to`, release there.
  static void Drag(QWidget* v, QPoint from, QPoint to, std::initializer_list<QPoint> via = {}) {
    QTest::mousePress(v, Qt::LeftButton, Qt::NoModifier, from);
    QCoreApplication::processEvents();
    if (via.size() == 0) Move(v, (from + to) / 2);
    for (QPoint p : via) Move(v, p);
    Move(v, to);
    QTest::mouseRelease(v, Qt::LeftButton, Qt::NoModifier, to);
    QCoreApplication::processEvents();
  }
  static void Key(QWidget* w, int key, Qt::KeyboardModifiers mods = Qt::NoModifier) {
    QTest::keyClick(w, static_cast<Qt::Key>(key), mods);
    QCoreApplication::processEvents();
  }
  // What a widget shows, as plain RGB.
  static QImage Shot(QWidget* w) { return w->grab().toImage().convertToFormat(QImage::Format_RGB32); }
  static QRgb ScreenAt(DocumentWindow* d, int x, int y) { return Shot(d->view()).pixel(x, y) & 0xFFFFFFu; }
  static QRgb Rgb(COLORREF c) { return qRgb(GetRValue(c), GetGValue(c), GetBValue(c)) & 0xFFFFFFu; }
  static COLORREF At(DocumentWindow* d, int x, int y) { return GetDibPixel(LockDib(d->record()->Image), x, y); }

  std::unique_ptr<MainFrame> frame;
  std::vector<QString> prompts;
  std::vector<PromptKind> kinds;
  int answer = IDNO;
  TempDir dir;

 private:
  int newType_ = 0, newWidth_ = 120, newDepth_ = 90;
};

}  // namespace ochrel::test
