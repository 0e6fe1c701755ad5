// Long work off the interface thread: progress while it runs, Esc leaves the
// document as it was, and a run to the end gives the foreground's bytes.
#include <QDialog>
#include <QLabel>
#include <QProgressBar>
#include <QTest>
#include <QTimer>

#include <atomic>
#include <chrono>
#include <string>
#include <thread>
#include <vector>

#include "image/convert.h"
#include "qt_fixture.h"
#include "test_images.h"

namespace ochrel {
namespace {

std::string Bytes(const HDIB& h) { return h ? std::string(reinterpret_cast<const char*>(h->data()), h->size()) : ""; }

class LongWorkTest : public test::QtFixture {
 protected:
  void TearDown() override {
    SetLongWorkShowDelay(150);
    SetLongWorkReportGate({});
    QtFixture::TearDown();
  }
};

TEST_F(LongWorkTest, ConversionShowsProgressEscCancelsAndAFullRunGivesTheSameBytes) {
  DocumentWindow* source = Open(test::RandomDib(640, 480, 24, 11));
  ASSERT_NE(source, nullptr);
  const std::string before = Bytes(source->record()->Image);
  const std::string want = Bytes(ConvertToGrey(source->record()->Image));
  ASSERT_FALSE(want.empty());

  // The worker is held until the test has looked and pressed Esc (at most a
  // few seconds, so that work that ignores Esc shows as a failure, not a hang).
  std::atomic<bool> release{false};
  SetLongWorkShowDelay(0);
  SetLongWorkGate([&release] {
    for (int i = 0; !release && i < 3000; ++i) std::this_thread::sleep_for(std::chrono::milliseconds(1));
  });
  bool sawProgress = false;
  QString label;
  QTimer::singleShot(20, frame.get(), [&] {
    auto* bar = frame->findChild<QProgressBar*>("LongWorkProgress");
    sawProgress = bar && bar->isVisible();
    if (auto* l = frame->findChild<QLabel*>("LongWorkLabel")) label = l->text();
    // Clicks and other keys wait; only Esc counts.
    QTest::keyClick(source, Qt::Key_Delete);
    QTest::keyClick(source, Qt::Key_Escape);
  });
  Choose(CM_TOGREY);
  EXPECT_TRUE(sawProgress);
  EXPECT_TRUE(label.startsWith("Converting")) << label.toStdString();
  EXPECT_EQ(frame->CountOpenDocuments(), 1);
  EXPECT_EQ(frame->ActiveDocument(), source);
  EXPECT_EQ(Bytes(source->record()->Image), before);
  EXPECT_EQ(frame->findChild<QProgressBar*>("LongWorkProgress"), nullptr);
  EXPECT_EQ(QApplication::overrideCursor(), nullptr);

  // The abandoned run is let go; the next waits for it, then runs to its end.
  release = true;
  SetLongWorkGate({});
  Choose(CM_TOGREY);
  ASSERT_EQ(frame->CountOpenDocuments(), 2);
  DocumentWindow* grey = frame->ActiveDocument();
  ASSERT_NE(grey, source);
  EXPECT_EQ(Bytes(grey->record()->Image), want);
  EXPECT_EQ(Bytes(source->record()->Image), before);
}

TEST_F(LongWorkTest, TheBarShowsHowFarTheWorkHasCome) {
  DocumentWindow* source = Open(test::RandomDib(64, 2048, 24, 12));
  ASSERT_NE(source, nullptr);
  const std::string want = Bytes(ConvertToGrey(source->record()->Image));
  // The worker waits at its first report and again past half way until the
  // bar has been read (at most a few seconds each, so a bar that never moves fails).
  std::atomic<int> reached{0}, released{0};
  SetLongWorkShowDelay(0);
  SetLongWorkReportGate([&](int permille) {
    const int point = permille >= 500 ? 2 : 1;
    if (point <= released) return;
    reached = std::max(reached.load(), point);
    for (int i = 0; released < point && i < 3000; ++i) std::this_thread::sleep_for(std::chrono::milliseconds(1));
  });
  std::vector<int> values;
  QTimer look;
  QObject::connect(&look, &QTimer::timeout, [&] {
    auto* bar = frame->findChild<QProgressBar*>("LongWorkProgress");
    const int point = reached;
    if (!bar || point <= released || bar->maximum() != 1000 || bar->value() < (point == 2 ? 500 : 1)) return;
    values.push_back(bar->value());
    released = point;
  });
  look.start(5);
  Choose(CM_TOGREY);
  ASSERT_EQ(values.size(), 2u);
  EXPECT_LT(values[0], 500);
  ASSERT_EQ(frame->CountOpenDocuments(), 2);
  EXPECT_EQ(Bytes(frame->ActiveDocument()->record()->Image), want);
}

TEST_F(LongWorkTest, AMessageThatOpensDuringTheWorkCanBeAnsweredAndOtherWindowsClose) {
  // A message posted before the work began comes up inside its wait; held
  // input would leave both waiting for each other.
  std::atomic<bool> release{false};
  SetLongWorkGate([&release] {
    for (int i = 0; !release && i < 3000; ++i) std::this_thread::sleep_for(std::chrono::milliseconds(1));
  });
  int answer = -1;
  QTimer::singleShot(0, frame.get(), [&] {
    QDialog message(frame.get());
    QTimer::singleShot(20, &message, [&] { QTest::keyClick(&message, Qt::Key_Escape); });
    QTimer::singleShot(2000, &message, [&] { message.done(5); });  // only if the key never came
    answer = message.exec();
    release = true;
  });
  // Other windows may close meanwhile (the start-up window on its timer); the frame may not.
  QWidget other;
  other.show();
  QTimer::singleShot(0, frame.get(), [&] {
    other.close();
    frame->close();
  });
  EXPECT_EQ(RunLongWork(frame.get(), "Working", [] {}), LongWorkEnd::Finished);
  EXPECT_EQ(answer, QDialog::Rejected);
  EXPECT_FALSE(other.isVisible());
  EXPECT_TRUE(frame->isVisible());
}

}  // namespace
}  // namespace ochrel
