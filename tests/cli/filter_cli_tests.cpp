// ochrel-cli filter and filters, run as a program on real files.
#include <gtest/gtest.h>

#include <filesystem>

#include "files/imagefile.h"
#include "filters/filterparam.h"
#include "image/crand.h"
#include "cli_run.h"
#include "test_images.h"

namespace ochrel {
namespace {

namespace fs = std::filesystem;
using namespace clitest;

using test::SamePixels;

TEST(CliFilter, ResultsEqualTheEngineAtDefaultsAndWithSettings) {
  Scratch dir;
  HDIB src = test::RandomDib(41, 29, 24, 17);
  ASSERT_EQ(WriteImage((dir / "in.bmp").c_str(), src), 1);
  HDIB in = LoadImage((dir / "in.bmp").c_str());
  struct Case {
    const char* name;
    const char* sets;
    int (*adjust)(FILTERPARAM*);
  } cases[] = {
      {"Gaussian Blur", "", nullptr},
      {"Gaussian Blur", "--set FilterGaussianRadius=200 --set FilterGaussianSigma=30",
       [](FILTERPARAM* p) { return p->FilterGaussianRadius = 200, p->FilterGaussianSigma = 30; }},
      {"Rotate", "--set FilterRotateAngle=17", [](FILTERPARAM* p) { return p->FilterRotateAngle = 17; }},
      {"Resize", "--set ResizeHorizontal=173", [](FILTERPARAM* p) { return p->ResizeHorizontal = 173; }},
      {"Vignette", "--set FilterVignetteLevel=40", [](FILTERPARAM* p) { return p->FilterVignetteLevel = 40; }},
      {"Contrast and Brightness", "", nullptr},
  };
  for (const Case& c : cases) {
    CliRun r = Cli(dir, std::string("filter ") + Q(dir / "in.bmp") + " " + Q(dir / "out.bmp") + " --filter " +
                            Q(c.name) + " " + c.sets + " --paper 10,20,30");
    ASSERT_EQ(r.status, 0) << c.name << ": " << r.err;
    FILTERPARAM p;
    RestoreFilterDefaults(&p);
    p.ImageType = GetImageType(in);
    p.PaperColour = RGB(10, 20, 30);
    if (c.adjust) c.adjust(&p);
    HDIB expect = filtertype[FindFilterType(c.name)].function(in, &p);
    EXPECT_TRUE(SamePixels(LoadImage((dir / "out.bmp").c_str()), expect)) << c.name << " " << c.sets;
  }
}

TEST(CliFilter, SeedMakesNoiseReproducible) {
  Scratch dir;
  ASSERT_EQ(WriteImage((dir / "in.png").c_str(), test::RandomDib(30, 20, 24, 3)), 1);
  std::string base = "filter " + Q(dir / "in.png") + " ";
  ASSERT_EQ(Cli(dir, base + Q(dir / "a.bmp") + " --filter 'Add Noise' --seed 42").status, 0);
  ASSERT_EQ(Cli(dir, base + Q(dir / "b.bmp") + " --filter 'Add Noise' --seed 42").status, 0);
  ASSERT_EQ(Cli(dir, base + Q(dir / "c.bmp") + " --filter 'Add Noise' --seed 43").status, 0);
  HDIB a = LoadImage((dir / "a.bmp").c_str()), b = LoadImage((dir / "b.bmp").c_str()),
       c = LoadImage((dir / "c.bmp").c_str());
  EXPECT_TRUE(SamePixels(a, b));
  EXPECT_FALSE(SamePixels(a, c));
  HDIB in = LoadImage((dir / "in.png").c_str());
  FILTERPARAM p;
  RestoreFilterDefaults(&p);
  srand(42);
  EXPECT_TRUE(SamePixels(a, FilterAddNoise(in, &p)));
}

TEST(CliFilter, PaletteAndDepthAreKept) {
  Scratch dir;
  HDIB pal = test::RandomDib(20, 10, 8, 5, 8);
  ASSERT_EQ(WriteImage((dir / "pal.bmp").c_str(), pal), 1);
  CliRun r = Cli(dir, "filter " + Q(dir / "pal.bmp") + " " + Q(dir / "out.bmp") + " --filter 'Invert Colours'");
  ASSERT_EQ(r.status, 0) << r.err;
  HDIB out = LoadImage((dir / "out.bmp").c_str());
  ASSERT_TRUE(out);
  EXPECT_EQ(LockDib(out)->biBitCount, 8);
  BYTE a[768], b[768];
  GetDibPalette(LockDib(pal), a);
  GetDibPalette(LockDib(out), b);
  for (int i = 0; i < 768; ++i) ASSERT_EQ(b[i], a[i] ^ 255) << i;
}

TEST(CliFilters, ListsEveryFilterAndSetting) {
  Scratch dir;
  CliRun r = Cli(dir, "filters");
  ASSERT_EQ(r.status, 0);
  for (int i = 0; i < FILTER_COUNT; ++i) EXPECT_NE(r.out.find(filtertype[i].name), std::string::npos);
  EXPECT_NE(r.out.find("FilterGaussianRadius       10 to 990, default 40  (tenths: 1.0 to 99.0, default 4.0)"),
            std::string::npos);
  EXPECT_NE(r.out.find("ResizeHorizontal           5 to 5000, default 100"), std::string::npos);
  EXPECT_NE(r.out.find("FilterSwirlDegrees         -1440 to 1440, default 45"), std::string::npos);
}

}  // namespace
}  // namespace ochrel
