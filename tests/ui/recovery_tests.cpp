// Recovery after a crash, for real: a child process paints in a document and
// is killed with SIGKILL at a random moment; a new frame finds its copy,
// reopens it as a modified document, and a save removes the copy.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <QKeyEvent>
#include <QTest>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <random>
#include <thread>

#include "frame/blockset.h"
#include "frame/settings.h"
#include "qt_app.h"
#include "temp_dir.h"
#include "ui/document/documentwindow.h"
#include "ui/frame/mainframe.h"
#include "ui/widgets/messages.h"
#include "ui/frame/recoveryservice.h"

namespace ochrel {
namespace {

namespace fs = std::filesystem;
constexpr const char* kChildState = "OCHREL_TEST_RECOVERY_STATE";
constexpr int kWidth = 300, kHeight = 200;

void Paint(const HDIB& image, unsigned k) {
  BITMAPINFOHEADER* h = LockDib(image);
  for (int y = 0; y < kHeight; ++y)
    for (int x = 0; x < kWidth; ++x) PutDibPixel(h, x, y, RGB(k & 255, (k >> 8) & 255, 77));
}

// Run only as the child of the test below: paints a new colour, presses a
// key as a person would, and rests long enough for a copy, until killed.
TEST(RecoveryChild, DISABLED_PaintsUntilKilled) {
  const char* state = std::getenv(kChildState);
  if (!state) GTEST_SKIP();
  test::EnsureQtApp();
  setenv("XDG_STATE_HOME", state, 1);
  MainFrame frame;
  RecoveryInterval = 1;
  RecoveryActive = 1;
  frame.show();
  DocumentWindow* d = frame.NewFromDib(CreateDib(kWidth, kHeight, nullptr, 24));
  ASSERT_NE(d, nullptr);
  for (unsigned k = 1;; ++k) {
    Paint(d->record()->Image, k);
    d->record()->Modified = 1;
    QKeyEvent press(QEvent::KeyPress, Qt::Key_Shift, Qt::NoModifier);
    QCoreApplication::sendEvent(d->view(), &press);
    QTest::qWait(static_cast<int>(200 + (k % 3) * 1200));
  }
}

std::vector<std::string> Listing(const fs::path& folder) {
  std::vector<std::string> names;
  std::error_code ec;
  for (const auto& e : fs::directory_iterator(folder, ec)) names.push_back(e.path().filename().string());
  std::sort(names.begin(), names.end());
  return names;
}

TEST(Recovery, KilledProgramsPictureComesBackModifiedAndGoesOnSave) {
  test::EnsureQtApp();
  test::TempDir state;
  const fs::path folder = state.path / "ochrel" / "recovery";
  char self[4096] = {};
  ASSERT_GT(readlink("/proc/self/exe", self, sizeof self - 1), 0);
  pid_t child = fork();
  if (child == 0) {
    setenv(kChildState, state.path.c_str(), 1);
    execl(self, self, "--gtest_also_run_disabled_tests", "--gtest_filter=RecoveryChild.DISABLED_PaintsUntilKilled",
          static_cast<char*>(nullptr));
    _exit(127);
  }
  // Kill it at a random moment once it has written a copy.
  auto hasCopy = [&] {
    for (const std::string& n : Listing(folder))
      if (n.size() > 9 && n.substr(n.size() - 9) == ".recovery") return true;
    return false;
  };
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(60);
  while (!hasCopy() && std::chrono::steady_clock::now() < deadline)
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
  std::mt19937 random(std::random_device{}());
  std::this_thread::sleep_for(std::chrono::milliseconds(std::uniform_int_distribution<int>(0, 3000)(random)));
  kill(child, SIGKILL);
  int status = 0;
  waitpid(child, &status, 0);
  ASSERT_TRUE(WIFSIGNALED(status)) << "the child ended by itself";
  ASSERT_TRUE(hasCopy());

  const std::string ownState = std::getenv("XDG_STATE_HOME");
  setenv("XDG_STATE_HOME", state.path.c_str(), 1);
  QString asked;
  SetPromptAnswerer([&](PromptKind, const QString& text) {
    asked = text;
    return IDYES;
  });
  {
    MainFrame frame;
    frame.show();
    ASSERT_EQ(frame.recovery()->OfferAtStart(), 1);
    EXPECT_TRUE(asked.contains("1 unsaved picture was kept"));
    DocumentWindow* d = frame.ActiveDocument();
    ASSERT_NE(d, nullptr);
    EXPECT_EQ(d->record()->Modified, 1);
    EXPECT_EQ(d->record()->HasFile, 0);
    // One whole state of the picture: every pixel the colour of one step.
    const BITMAPINFOHEADER* h = LockDib(d->record()->Image);
    ASSERT_TRUE(h);
    ASSERT_EQ(h->biWidth, kWidth);
    ASSERT_EQ(h->biHeight, kHeight);
    const std::uint32_t first = GetDibPixel(h, 0, 0);
    EXPECT_EQ(first, RGB(GetRValue(first), GetGValue(first), 77));
    int others = 0;
    for (int y = 0; y < kHeight; ++y)
      for (int x = 0; x < kWidth; ++x) others += GetDibPixel(h, x, y) != first;
    EXPECT_EQ(others, 0);

    // Saved, the picture needs no copy: the old one goes, and nothing else is left.
    const std::string saved = state / "saved.png";
    MainFrame::SetSavePathAnswerer([&](const std::string&, std::string* path) {
      *path = saved;
      return true;
    });
    ASSERT_TRUE(d->Save());
    MainFrame::SetSavePathAnswerer({});
    EXPECT_EQ(d->record()->Modified, 0);
    frame.recovery()->Tick();
    frame.recovery()->WaitIdle();
    EXPECT_EQ(Listing(folder), std::vector<std::string>{});
    EXPECT_TRUE(fs::exists(saved));
  }
  SetPromptAnswerer({});
  setenv("XDG_STATE_HOME", ownState.c_str(), 1);
}

TEST(Recovery, CopyWrittenAfterQuietTimeAndRemovedOnClose) {
  test::EnsureQtApp();
  const int interval = RecoveryInterval;
  MainFrame frame;  // reads the settings file: ours come after
  RecoveryInterval = 1;
  RecoveryActive = 1;
  frame.show();
  DocumentWindow* d = frame.NewFromDib(CreateDib(40, 30, nullptr, 24));
  ASSERT_NE(d, nullptr);
  d->record()->Modified = 1;
  RecoveryService* service = frame.recovery();
  // A release clears any button an earlier test left held; then hands off.
  QTest::mouseRelease(d->view(), Qt::LeftButton);
  std::string id;
  for (int wait = 0; wait < 60 && id.empty(); ++wait) {
    QTest::qWait(100);
    service->WaitIdle();
    id = service->CopyOf(d);
  }
  ASSERT_NE(id, "");
  EXPECT_TRUE(fs::exists(service->folder() / (id + ".png")));
  EXPECT_TRUE(fs::exists(service->folder() / (id + ".recovery")));
  // Closed without saving: the user chose so, and the copy goes.
  SetPromptAnswerer([](PromptKind, const QString&) { return IDNO; });
  d->close();
  QCoreApplication::processEvents();
  service->Tick();
  SetPromptAnswerer({});
  EXPECT_FALSE(fs::exists(service->folder() / (id + ".png")));
  EXPECT_FALSE(fs::exists(service->folder() / (id + ".recovery")));
  RecoveryInterval = interval;
}

}  // namespace
}  // namespace ochrel
