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

#include "qt_fixture.h"
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

class Recovery : public test::QtFixture {
 protected:
  // A frame of its own whose copies go to `state`.
  void NewFrame(const std::string& state) {
    frame.reset();
    setenv("XDG_STATE_HOME", state.c_str(), 1);
    frame = std::make_unique<MainFrame>();
    frame->show();
  }
};

// Run only as the child of the test below: paints a new colour, presses a
// key as a person would, and rests long enough for a copy, until killed.
TEST_F(Recovery, DISABLED_PaintsUntilKilled) {
  const char* state = std::getenv(kChildState);
  if (!state) GTEST_SKIP();
  NewFrame(state);
  RecoveryInterval = 1;
  RecoveryActive = 1;
  DocumentWindow* d = NewDocument(0, kWidth, kHeight);
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

TEST_F(Recovery, KilledProgramsPictureComesBackModifiedAndGoesOnSave) {
  test::TempDir state;
  const fs::path folder = state.path / "ochrel" / "recovery";
  char self[4096] = {};
  ASSERT_GT(readlink("/proc/self/exe", self, sizeof self - 1), 0);
  pid_t child = fork();
  if (child == 0) {
    setenv(kChildState, state.path.c_str(), 1);
    execl(self, self, "--gtest_also_run_disabled_tests", "--gtest_filter=Recovery.DISABLED_PaintsUntilKilled",
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
  NewFrame(state.path.string());
  answer = IDYES;
  ASSERT_EQ(frame->recovery()->OfferAtStart(), 1);
  EXPECT_TRUE(prompts.back().contains("1 unsaved picture was kept"));
  DocumentWindow* d = frame->ActiveDocument();
  ASSERT_NE(d, nullptr);
  EXPECT_EQ(d->record()->Modified, 1);
  EXPECT_EQ(d->record()->HasFile, 0);
  // One whole state of the picture: every pixel the colour of one step.
  const BITMAPINFOHEADER* h = LockDib(d->record()->Image);
  ASSERT_TRUE(h);
  ASSERT_EQ(QSize(h->biWidth, h->biHeight), QSize(kWidth, kHeight));
  const std::uint32_t first = GetDibPixel(h, 0, 0);
  EXPECT_EQ(first, RGB(GetRValue(first), GetGValue(first), 77));
  int others = 0;
  for (int y = 0; y < kHeight; ++y)
    for (int x = 0; x < kWidth; ++x) others += GetDibPixel(h, x, y) != first;
  EXPECT_EQ(others, 0);
  // Saved, the picture needs no copy: the old one goes, and nothing else is left.
  const std::string saved = state / "saved.png";
  MainFrame::SetSavePathAnswerer([&](const std::string&, std::string* path) { return *path = saved, true; });
  Choose(CM_SAVE);
  EXPECT_EQ(d->record()->Modified, 0);
  frame->recovery()->Tick();
  frame->recovery()->WaitIdle();
  EXPECT_EQ(Listing(folder), std::vector<std::string>{});
  EXPECT_TRUE(fs::exists(saved));
  NewFrame(ownState);
}

TEST_F(Recovery, CopyWrittenAfterQuietTimeAndRemovedOnClose) {
  RecoveryInterval = 1;  // after the frame has read the settings file
  RecoveryActive = 1;
  DocumentWindow* d = NewDocument(0, 40, 30);
  RecoveryService* service = frame->recovery();
  QTest::mouseRelease(d->view(), Qt::LeftButton);  // clears any button an earlier test left held
  std::string id;
  for (int wait = 0; wait < 60 && id.empty(); ++wait) {
    QTest::qWait(100);
    service->WaitIdle();
    id = service->CopyOf(d);
  }
  ASSERT_NE(id, "");
  EXPECT_TRUE(fs::exists(service->folder() / (id + ".png")));
  EXPECT_TRUE(fs::exists(service->folder() / (id + ".recovery")));
  Choose(CM_CLOSE);  // closed without saving: the user chose so, and the copy goes
  service->Tick();
  EXPECT_FALSE(fs::exists(service->folder() / (id + ".png")));
  EXPECT_FALSE(fs::exists(service->folder() / (id + ".recovery")));
}

}  // namespace
}  // namespace ochrel
