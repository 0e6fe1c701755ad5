// Several inputs into a folder, standard input and output, and --version.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "cli_run.h"
#include "files/imagefile.h"
#include "frame/version.h"
#include "test_images.h"

namespace ochrel {
namespace {

namespace fs = std::filesystem;
using namespace clitest;

TEST(CliBatch, OutDirKeepsNamesDoesTheGoodAndNamesEachBadFile) {
  Scratch dir;
  HDIB a = test::RandomDib(13, 9, 24, 1), b = test::RandomDib(7, 5, 8, 2, 10);
  ASSERT_EQ(WriteImage((dir / "a.bmp").c_str(), a), 1);
  ASSERT_EQ(WriteImage((dir / "b.pcx").c_str(), b), 1);
  test::Spit(dir / "broken.png", "not a picture at all");
  const std::string out = dir / "out";
  CliRun r = Cli(dir, "resize " + Q(dir / "a.bmp") + " " + Q(dir / "broken.png") + " " + Q(dir / "b.pcx") +
                          " 200 --out-dir " + Q(out) + " --format png --jobs 2");
  EXPECT_EQ(r.status, 1);
  EXPECT_NE(r.err.find((dir / "broken.png") + ": Error reading file"), std::string::npos) << r.err;
  EXPECT_NE(r.err.find("1 of 3 files failed: " + (dir / "broken.png")), std::string::npos) << r.err;
  EXPECT_EQ(r.err.find("\r"), std::string::npos) << "no progress bar when not on a terminal";
  EXPECT_FALSE(fs::exists(out + "/broken.png"));
  // Each good file is what the single-file command gives.
  for (const char* name : {"a", "b"}) {
    const std::string in = dir / (std::string(name) + (name[0] == 'a' ? ".bmp" : ".pcx"));
    ASSERT_EQ(Cli(dir, "resize " + Q(in) + " " + Q(dir / (std::string(name) + "-one.png")) + " 200").status, 0);
    EXPECT_EQ(Slurp(out + "/" + name + ".png"), Slurp(dir / (std::string(name) + "-one.png"))) << name;
  }
  // Without --format the extension stays; a clash of names is refused before any work.
  r = Cli(dir, "convert " + Q(dir / "a.bmp") + " " + Q(dir / "b.pcx") + " --to grey --out-dir " + Q(dir / "same"));
  EXPECT_EQ(r.status, 0) << r.err;
  EXPECT_TRUE(fs::exists(dir / "same/a.bmp"));
  EXPECT_TRUE(fs::exists(dir / "same/b.pcx"));
  ASSERT_EQ(WriteImage((dir / "a.tga").c_str(), a), 1);
  r = Cli(dir,
          "convert " + Q(dir / "a.bmp") + " " + Q(dir / "a.tga") + " --out-dir " + Q(dir / "clash") + " --format png");
  EXPECT_EQ(r.status, 1);
  EXPECT_NE(r.err.find("another input also goes to"), std::string::npos) << r.err;
  EXPECT_FALSE(fs::exists(dir / "clash/a.png"));
}

TEST(CliBatch, DashReadsStandardInputAndWritesStandardOutput) {
  Scratch dir;
  HDIB a = test::RandomDib(11, 6, 24, 5);
  ASSERT_EQ(WriteImage((dir / "a.png").c_str(), a), 1);
  ASSERT_EQ(Cli(dir, "filter " + Q(dir / "a.png") + " " + Q(dir / "want.bmp") + " --filter \"Invert Colours\"").status,
            0);
  // Input and output formats both come from --format: give it a BMP.
  ASSERT_EQ(WriteImage((dir / "a.png.bmp").c_str(), a), 1);
  CliRun r = Cli(dir, "filter - - --filter \"Invert Colours\" --format bmp < " + Q(dir / "a.png.bmp"));
  EXPECT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(r.out, Slurp(dir / "want.bmp"));
  // Only one side on a stream; a generator writes to standard output.
  r = Cli(dir, "convert " + Q(dir / "a.png") + " - --format png --to grey");
  EXPECT_EQ(r.status, 0) << r.err;
  test::Spit(dir / "grey.png", r.out);
  ASSERT_EQ(Cli(dir, "convert " + Q(dir / "a.png") + " " + Q(dir / "grey2.png") + " --to grey").status, 0);
  EXPECT_EQ(r.out, Slurp(dir / "grey2.png"));
  r = Cli(dir, "gradient - --size 8x8 --format tga");
  EXPECT_EQ(r.status, 0) << r.err;
  EXPECT_GT(r.out.size(), 18u + 8 * 8 * 3 - 1);
}

TEST(CliBatch, VersionOption) {
  Scratch dir;
  CliRun r = Cli(dir, "--version");
  EXPECT_EQ(r.status, 0);
  EXPECT_EQ(r.out, std::string(kOchrelVersion) + "\n");
  EXPECT_EQ(Cli(dir, "version").out, r.out);
}

}  // namespace
}  // namespace ochrel
