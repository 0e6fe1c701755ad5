// ochrel-cli info and convert, run as a program on real files.
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <chrono>
#include <csignal>
#include <random>
#include <thread>
#include <unistd.h>

#include "files/imagefile.h"
#include "cli_run.h"
#include "test_images.h"

namespace ochrel {
namespace {

namespace fs = std::filesystem;
using namespace clitest;

TEST(CliInfo, OneLinePerFileWithFormatSizeDepthAndKind) {
  Scratch dir;
  struct Case {
    const char* name;
    int bits, palette;
    const char* expect;
  } cases[] = {
      {"true.png", 24, 8, "png 31x7 24-bit true colour"},  {"grey.bmp", 8, 10, "bmp 31x7 8-bit grey"},
      {"pal.pcx", 8, 8, "pcx 31x7 8-bit paletted"},        {"mono.bmp", 1, 0, "bmp 31x7 1-bit mono"},
      {"sixteen.png", 4, 8, "png 31x7 4-bit paletted"},    {"colour.tga", 24, 8, "tga 31x7 24-bit true colour"},
      {"photo.jpg", 24, 8, "jpg 31x7 24-bit true colour"},
  };
  std::string all;
  for (const Case& c : cases) {
    HDIB dib = test::RandomDib(31, 7, c.bits, 3, c.palette);
    ASSERT_EQ(WriteImage((dir / c.name).c_str(), dib), 1) << c.name;
    all += " " + Q(dir / c.name);
  }
  CliRun r = Cli(dir, "info" + all);
  EXPECT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(r.err, "");
  std::string expected;
  for (const Case& c : cases) expected += (dir / c.name) + ": " + c.expect + "\n";
  EXPECT_EQ(r.out, expected);
}

TEST(CliInfo, BadFilesReportEachAndFail) {
  Scratch dir;
  HDIB dib = test::RandomDib(4, 4, 24, 1);
  ASSERT_EQ(WriteImage((dir / "good.bmp").c_str(), dib), 1);
  std::ofstream(dir / "liar.png") << "not a picture at all";
  std::ofstream(dir / "empty.tga").close();
  CliRun r = Cli(dir, "info " + Q(dir / "liar.png") + " " + Q(dir / "good.bmp") + " " + Q(dir / "empty.tga") + " " +
                          Q(dir / "notes.txt"));
  EXPECT_EQ(r.status, 1);
  EXPECT_EQ(r.out, (dir / "good.bmp") + ": bmp 4x4 24-bit true colour\n");
  EXPECT_NE(r.err.find("ochrel-cli: " + (dir / "liar.png") + ": Error reading file\n"), std::string::npos);
  EXPECT_NE(r.err.find("ochrel-cli: " + (dir / "empty.tga") + ": Error reading file\n"), std::string::npos);
  EXPECT_NE(r.err.find(dir / "notes.txt"), std::string::npos);
  EXPECT_EQ(std::count(r.err.begin(), r.err.end(), '\n'), 3);
  EXPECT_EQ(Cli(dir, "info").status, 2);
}

TEST(CliConvert, ChainThroughEveryLosslessFormatKeepsPixels) {
  Scratch dir;
  HDIB src = test::RandomDib(29, 13, 8, 12);
  ASSERT_EQ(WriteImage((dir / "a.bmp").c_str(), src), 1);
  const char* chain[] = {"a.bmp", "b.png", "c.tga", "d.pcx", "e.BMP"};
  for (int i = 0; i + 1 < 5; ++i) {
    CliRun r = Cli(dir, "convert " + Q(dir / chain[i]) + " " + Q(dir / chain[i + 1]));
    ASSERT_EQ(r.status, 0) << r.err;
    EXPECT_EQ(r.out + r.err, "");
  }
  HDIB back = LoadImage((dir / "e.BMP").c_str());
  ASSERT_TRUE(back);
  EXPECT_TRUE(test::SameBlock(back, src));
}

TEST(CliConvert, QualityAndJpegNames) {
  Scratch dir;
  HDIB src = test::RandomDib(64, 64, 24, 5);
  ASSERT_EQ(WriteImage((dir / "in.png").c_str(), src), 1);
  ASSERT_EQ(Cli(dir, "convert " + Q(dir / "in.png") + " " + Q(dir / "low.jpg") + " --quality 10").status, 0);
  ASSERT_EQ(Cli(dir, "convert --quality 95 " + Q(dir / "in.png") + " " + Q(dir / "high.jpg")).status, 0);
  EXPECT_LT(fs::file_size(dir / "low.jpg") * 2, fs::file_size(dir / "high.jpg"));
  // Every JPEG name is a JPEG name, in and out.
  ASSERT_EQ(Cli(dir, "convert " + Q(dir / "in.png") + " " + Q(dir / "photo.JPEG")).status, 0);
  ASSERT_EQ(Cli(dir, "convert " + Q(dir / "photo.JPEG") + " " + Q(dir / "again.jfif")).status, 0);
  EXPECT_EQ(Cli(dir, "info " + Q(dir / "again.jfif")).out, (dir / "again.jfif") + ": jpg 64x64 24-bit true colour\n");
}

TEST(CliConvert, KilledSavesNeverDamageTheOldFileNorLeaveFilesBehind) {
  Scratch dir;
  const std::string before = dir / "before.bmp", after = dir / "after.bmp", target = dir / "target.png";
  ASSERT_EQ(WriteImage(before.c_str(), test::RandomDib(1600, 1200, 24, 1)), 1);
  ASSERT_EQ(WriteImage(after.c_str(), test::RandomDib(1600, 1200, 24, 2)), 1);
  ASSERT_EQ(Cli(dir, "convert " + Q(before) + " " + Q(target)).status, 0);
  const std::string oldBytes = Slurp(target);
  ASSERT_EQ(Cli(dir, "convert " + Q(after) + " " + Q(target)).status, 0);
  const std::string newBytes = Slurp(target);
  ASSERT_EQ(Cli(dir, "convert " + Q(before) + " " + Q(target)).status, 0);

  setenv("OCHREL_CONFIG_DIR", (dir / "config").c_str(), 1);
  setenv("OCHREL_DATA_DIR", (dir / "data").c_str(), 1);
  auto start = [&] {
    pid_t pid = fork();
    if (pid == 0) {
      execl(OCHREL_CLI, OCHREL_CLI, "convert", after.c_str(), target.c_str(), static_cast<char*>(nullptr));
      _exit(127);
    }
    return pid;
  };
  // How long a whole save takes here, to kill anywhere within it.
  auto t0 = std::chrono::steady_clock::now();
  int status = 0;
  waitpid(start(), &status, 0);
  const auto whole = std::chrono::duration_cast<std::chrono::microseconds>(std::chrono::steady_clock::now() - t0);
  ASSERT_EQ(Cli(dir, "convert " + Q(before) + " " + Q(target)).status, 0);
  std::mt19937 random(std::random_device{}());
  std::uniform_int_distribution<long long> moment(0, whole.count());
  int killedMidway = 0;
  pid_t deadPid = 0;
  for (int k = 0; k < 24; ++k) {
    pid_t pid = start();
    std::this_thread::sleep_for(std::chrono::microseconds(moment(random)));
    kill(pid, SIGKILL);
    waitpid(pid, &status, 0);
    deadPid = pid;
    if (WIFSIGNALED(status)) ++killedMidway;
    const std::string now = Slurp(target);
    ASSERT_TRUE(now == oldBytes || now == newBytes) << "kill " << k;
    if (now == newBytes) {
      ASSERT_EQ(Cli(dir, "convert " + Q(before) + " " + Q(target)).status, 0);
    }
  }
  EXPECT_GT(killedMidway, 12);
  // What a save killed between naming its file and renaming it, an older
  // program, and a save still running would leave: the next save clears the
  // first two and keeps the third.
  const std::string prefix = "." + fs::path(target).filename().string() + ".";
  std::ofstream(dir / (prefix + "~" + std::to_string(deadPid) + ".aB3dE9")) << "x";
  std::ofstream(dir / (prefix + "Zz09Qq")) << "x";
  fs::last_write_time(dir / (prefix + "Zz09Qq"), fs::file_time_type::clock::now() - std::chrono::hours(2));
  const std::string running = prefix + "~" + std::to_string(getpid()) + ".live01";
  std::ofstream(dir / running) << "x";
  ASSERT_EQ(Cli(dir, "convert " + Q(after) + " " + Q(target)).status, 0);
  EXPECT_EQ(Slurp(target), newBytes);
  std::vector<std::string> left;
  for (const auto& e : fs::directory_iterator(dir.path))
    if (e.path().filename().string().rfind(prefix, 0) == 0) left.push_back(e.path().filename().string());
  EXPECT_EQ(left, std::vector<std::string>{running});
  unsetenv("OCHREL_CONFIG_DIR");
  unsetenv("OCHREL_DATA_DIR");
}

}  // namespace
}  // namespace ochrel
