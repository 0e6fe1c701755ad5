// A frame window for the widget tests of the tools: New answers with a
// true-colour picture of the fixture's size, every question is answered No
// (and kept), and the documents are closed unasked at the end.
#pragma once

#include <gtest/gtest.h>

#include <QComboBox>
#include <QCoreApplication>
#include <QMdiArea>
#include <QMdiSubWindow>
#include <QSpinBox>
#include <QTest>

#include <memory>
#include <vector>

#include "qt_app.h"
#include "frame/commands.h"
#include "ui/document/documentwindow.h"
#include "ui/frame/mainframe.h"
#include "ui/widgets/messages.h"
#include "ui/dialogs/image/newfiledialog.h"

namespace ochrel::test {

class FrameFixture : public ::testing::Test {
 protected:
  FrameFixture(int width, int depth) : width_(width), depth_(depth) {}
  void SetUp() override {
    EnsureQtApp();
    SetPromptAnswerer([this](PromptKind, const QString& text) {
      prompts.push_back(text);
      return int(IDNO);
    });
    SetNewFileAnswerer([this](NewFileBox& box) {
      box.typeList()->setCurrentIndex(0);
      box.widthField()->setValue(width_);
      box.depthField()->setValue(depth_);
      return true;
    });
    frame = std::make_unique<MainFrame>();
    frame->resize(1000, 800);
    frame->show();
  }
  void TearDown() override {
    SetPromptAnswerer({});
    SetNewFileAnswerer({});
    for (QMdiSubWindow* w : frame->client()->subWindowList())
      if (auto* d = qobject_cast<DocumentWindow*>(w)) d->record()->Modified = 0;
    frame.reset();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
  }

  // File ▸ New, answered with the fixture's size: the new document, shown.
  DocumentWindow* NewDocument() {
    frame->Command(CM_NEW);
    QCoreApplication::processEvents();
    return frame->ActiveDocument();
  }
  // A mouse move with buttons held, as a drag sends it.
  static void Move(QWidget* v, QPoint p, Qt::KeyboardModifiers mods = Qt::NoModifier,
                   Qt::MouseButtons buttons = Qt::LeftButton) {
    QMouseEvent move(QEvent::MouseMove, QPointF(p), v->mapToGlobal(QPointF(p)), Qt::NoButton, buttons, mods);
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

  std::unique_ptr<MainFrame> frame;
  std::vector<QString> prompts;

 private:
  int width_, depth_;
};

}  // namespace ochrel::test
