// ochrel-cli resize and the colour-depth options of convert, run as a program
// on real files; results must equal the engine's, byte for byte.
#include <gtest/gtest.h>
#include <filesystem>
#include <functional>

#include "files/imagefile.h"
#include "frame/config.h"
#include "frame/recentpaths.h"
#include "image/convert.h"
#include "image/resample.h"
#include "frame/settings.h"
#include "cli_run.h"
#include "test_images.h"

namespace ochrel {
namespace {

namespace fs = std::filesystem;

using namespace clitest;

// Writes src as BMP and returns what reading it back gives (the input the
// program will see).
HDIB Store(const HDIB& src, const std::string& path) {
  EXPECT_EQ(WriteImage(path.c_str(), src), 1);
  return LoadImage(path.c_str());
}

TEST(CliResize, EqualsResizeDibForEveryKind) {
  Scratch dir;
  struct Case {
    int bits, palette, percentage;
  } cases[] = {{24, 8, 173}, {24, 8, 50}, {8, 10, 233}, {8, 8, 67}, {4, 3, 150}, {1, 0, 41}};
  for (const Case& c : cases) {
    HDIB in = Store(test::RandomDib(37, 23, c.bits, 9u + c.bits, c.palette), dir / "in.bmp");
    ASSERT_TRUE(in);
    CliRun r = Cli(dir, "resize " + Q(dir / "in.bmp") + " " + Q(dir / "out.bmp") + " " + std::to_string(c.percentage));
    ASSERT_EQ(r.status, 0) << r.err;
    HDIB out = LoadImage((dir / "out.bmp").c_str());
    EXPECT_TRUE(test::SameBlock(out, ResizeDib(in, c.percentage))) << c.bits << " " << c.percentage;
  }
}

// The option number goes through as it is (the strategies themselves are the
// convert tests' business): the ends of each range and one inside.
TEST(CliConvertTo, EachTargetEqualsTheEngine) {
  Scratch dir;
  HDIB in = Store(test::RandomDib(45, 29, 24, 77), dir / "in.bmp");
  struct Case {
    std::string to;
    std::function<HDIB(const HDIB&)> engine;
  } cases[] = {
      {"true", [](const HDIB& i) { return ConvertToTrueColour(i); }},
      {"grey", [](const HDIB& i) { return ConvertToGrey(i); }},
      {"paletted:101", [](const HDIB& i) { return ConvertToPaletteStrategy(i, 101); }},
      {"paletted:102", [](const HDIB& i) { return ConvertToPaletteStrategy(i, 102); }},
      {"paletted:109", [](const HDIB& i) { return ConvertToPaletteStrategy(i, 109); }},
      {"mono:103", [](const HDIB& i) { return ConvertToMonoStrategy(i, 103); }},
  };
  for (const Case& c : cases) {
    CliRun r = Cli(dir, "convert " + Q(dir / "in.bmp") + " " + Q(dir / "out.bmp") + " --to " + c.to);
    ASSERT_EQ(r.status, 0) << c.to << ": " << r.err;
    EXPECT_TRUE(test::SameBlock(LoadImage((dir / "out.bmp").c_str()), c.engine(in))) << c.to;
  }
  // A mono source takes the strategies that need no dithering.
  Store(test::RandomDib(12, 12, 1, 5), dir / "mono.bmp");
  EXPECT_EQ(Cli(dir, "convert " + Q(dir / "mono.bmp") + " " + Q(dir / "out.bmp") + " --to paletted:103").status, 0);
}

TEST(CliConvertTo, BrightnessAndContrastFromTheCommandOrTheStoredSettings) {
  Scratch dir;
  HDIB in = Store(test::RandomDib(40, 30, 24, 5), dir / "in.bmp");
  auto engine = [&](int b, int c) { return ConvertToMonoStrategy(in, 101, DitherOptions{b, c}); };
  auto run = [&](const std::string& extra) {
    CliRun r = Cli(dir, "convert " + Q(dir / "in.bmp") + " " + Q(dir / "out.bmp") + " --to mono:101" + extra);
    EXPECT_EQ(r.status, 0) << r.err;
    return LoadImage((dir / "out.bmp").c_str());
  };
  ASSERT_FALSE(test::SameBlock(engine(1, 25), engine(25, 25)));
  EXPECT_TRUE(test::SameBlock(run(" --brightness 1 --contrast 25"), engine(1, 25)));
  EXPECT_TRUE(test::SameBlock(run(" --brightness 90 --contrast 3"), engine(90, 3)));
  // No settings file: the defaults, 25 and 25.
  EXPECT_TRUE(test::SameBlock(run(""), engine(25, 25)));
  // A stored setting counts where the command gives none.
  int sb = DitherBrightness, sc = DitherContrast;
  DitherBrightness = 60, DitherContrast = 40;
  ASSERT_TRUE(SaveConfigFile(dir.path / "config" / "OCHREL.INI", RecentPaths()));
  DitherBrightness = sb, DitherContrast = sc;
  EXPECT_TRUE(test::SameBlock(run(""), engine(60, 40)));
  EXPECT_TRUE(test::SameBlock(run(" --contrast 10"), engine(60, 10)));
}

}  // namespace
}  // namespace ochrel
