// Recovery copies on disk: written, found only when their writer is gone,
// read back as they were, removed.
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>

#include "frame/recovery.h"
#include "temp_dir.h"
#include "test_images.h"

namespace ochrel {
namespace {

namespace fs = std::filesystem;

// A process id that no longer runs: a child that has been reaped.
long DeadPid() {
  pid_t pid = fork();
  if (pid == 0) _exit(0);
  waitpid(pid, nullptr, 0);
  return pid;
}

TEST(Recovery, CopiesOfGoneProgramsAreFoundAndReadBack) {
  test::TempDir dir;
  HDIB picture = CreateDib(7, 5, nullptr, 8);
  for (int i = 0; i < 35; ++i) PutDibPixel(LockDib(picture), i % 7, i / 7, static_cast<std::uint32_t>(i * 7));
  RecoveryEntry entry{NewRecoveryId(), "odd\nname.png", "/some where/odd\\\nname.png", true, 0};
  ASSERT_TRUE(WriteRecovery(dir.path, entry, picture));
  // Ours while we run: not offered.
  EXPECT_TRUE(FindRecoveries(dir.path).empty());
  // The side file names its writer; make that a process that has ended.
  const fs::path side = dir.path / (entry.id + ".recovery");
  std::string text = test::Slurp(side.string());
  text.replace(0, text.find('\n'), "Pid=" + std::to_string(DeadPid()));
  test::Spit(side.string(), text);
  const std::vector<RecoveryEntry> found = FindRecoveries(dir.path);
  ASSERT_EQ(found.size(), 1u);
  EXPECT_EQ(found[0].id, entry.id);
  EXPECT_EQ(found[0].name, entry.name);
  EXPECT_EQ(found[0].path, entry.path);
  EXPECT_TRUE(found[0].hasFile);
  HDIB back = LoadRecovery(dir.path, found[0]);
  ASSERT_TRUE(back);
  EXPECT_TRUE(test::SameBlock(back, picture));
  // A picture without its side file is no copy; removal takes both.
  RemoveRecovery(dir.path, entry.id);
  EXPECT_TRUE(fs::is_empty(dir.path));

  setenv("XDG_STATE_HOME", "/state/here", 1);
  EXPECT_EQ(RecoveryFolder(), fs::path("/state/here/ochrel/recovery"));
  unsetenv("XDG_STATE_HOME");
  setenv("OCHREL_CONFIG_DIR", dir.path.c_str(), 1);
  EXPECT_EQ(RecoveryFolder(), dir.path / "recovery");
  unsetenv("OCHREL_CONFIG_DIR");
}

}  // namespace
}  // namespace ochrel
