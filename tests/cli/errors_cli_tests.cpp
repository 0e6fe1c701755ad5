// Every command's bad command lines and bad inputs: the exit status, one
// "ochrel-cli: " line naming the trouble, and no output file left behind.
#include <gtest/gtest.h>

#include <filesystem>
#include <vector>

#include "cli_run.h"
#include "files/imagefile.h"
#include "test_images.h"

namespace ochrel {
namespace {

namespace fs = std::filesystem;
using namespace clitest;

// "@name" in a row stands for that file in the scratch folder (quoted in the
// command line, plain in the expected message).
std::string Expand(const std::string& text, const Scratch& dir, bool quote) {
  std::string out;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] != '@') {
      out += text[i];
      continue;
    }
    std::size_t end = text.find_first_of(" '\"", i);
    if (end == std::string::npos) end = text.size();
    const std::string path = dir / text.substr(i + 1, end - i - 1);
    out += quote ? Q(path) : path;
    i = end - 1;
  }
  return out;
}

TEST(CliErrors, EachCommandRefusesWithOneClearLineAndWritesNothing) {
  Scratch dir;
  ASSERT_EQ(WriteImage((dir / "in.bmp").c_str(), test::RandomDib(8, 8, 24, 1)), 1);
  ASSERT_EQ(WriteImage((dir / "mono.bmp").c_str(), test::RandomDib(8, 8, 1, 1, 0)), 1);
  ASSERT_EQ(WriteImage((dir / "in.png").c_str(), test::RandomDib(8, 8, 24, 5)), 1);
  ASSERT_EQ(WriteImage((dir / "ten.bmp").c_str(), test::RandomDib(10, 10, 24, 1)), 1);
  ASSERT_EQ(WriteImage((dir / "mask.png").c_str(), test::RandomDib(8, 8, 8, 1, 10)), 1);
  test::Spit(dir / "file", "x");
  test::Spit(dir / "garbage", "garbage");
  struct {
    std::string args;
    int status;
    std::string text;                       // in the message; status 2 is a usage error, checked by status alone
    std::vector<std::string> tails = {""};  // one command line each, after args
  } cases[] = {
      {"convert @in.png @out.jpg --quality", 1, "", {" 0", " abc"}},
      {"convert @in.png", 2, "", {"", " @out.jpg --quality"}},
      {"convert @none.bmp @out.png", 1, "ochrel-cli: @none.bmp: Error reading file\n"},
      {"convert @in.png @out.gif", 1, ""},
      {"convert @in.png @no/such/out.bmp", 1, "ochrel-cli: @no/such/out.bmp: Error writing file\n"},
      {"convert @in.bmp @out.bmp --",
       1,
       "",
       {"to paletted:100", "to paletted:110", "to mono:104", "to sepia", "brightness 5", "to mono:101 --brightness 0",
        "to mono:101 --contrast 129"}},
      {"convert @in.bmp @out.bmp --to", 1, "--to needs a value"},
      {"convert @mono.bmp @out.bmp --to paletted:105", 1, "can't be dithered"},
      {"convert @in.bmp --out-dir @out --format gif", 1, ""},
      {"convert - @out.png --format png < @garbage", 1, ""},
      {"convert - @out.png < @in.png", 1, "needs --format"},
      {"resize @ten.bmp @out.bmp 5", 1, "leaves no pixels"},
      {"resize @ten.bmp @out.bmp 0", 1, "PERCENT"},
      {"resize @ten.bmp @out.bmp 2000000000", 1, "more pixels than an image may have"},
      {"resize ", 1, "", {"@ten.bmp @out.bmp 12x", "@missing.bmp @out.bmp 50"}},
      {"resize @ten.bmp 50", 2, ""},
      {"filter @mono.bmp @out.bmp --filter 'Gaussian Blur'", 1, "mono"},
      {"filter @in.bmp @out.bmp --filter Blur", 1, "no filter named 'Blur'"},
      {"filter @in.bmp @out.bmp --filter Emboss --set ", 1, "3 to 15", {"FilterEmbossWidth=16", "FilterEmbossWidth=x"}},
      {"filter @in.bmp @out.bmp --filter Emboss --set Nothing=3", 1, "no filter setting"},
      {"filter @in.bmp @out.bmp --filter Emboss --set FilterEmbossWidth", 1, "Field=value"},
      {"filter @in.bmp @out.bmp --filter Swirl --paper 1,2", 1, "--paper", {"", ",256"}},
      {"filter @in.bmp @out.bmp --filter Swirl --seed -1", 1, "--seed"},
      {"filter @in.bmp ", 2, "", {"@out.bmp", "--filter Swirl"}},
      {"filter @missing.bmp @out.bmp --filter Swirl", 1, "@missing.bmp"},
      {"filter @in.bmp @out.xyz --filter Swirl", 1, "@out.xyz"},
      {"filter @in.bmp @out.bmp --filter Resize --set ResizeHorizontal=5", 1, "Memory error"},
      {"filters extra", 2, ""},
      {"texture @out.png --size ",
       1,
       "",
       {"8x8 --set TextureType=6", "8x8 --set Bogus=1", "8x8 --set MatrixSize=x", "8x8 --set Power1", "0x5"}},
      {"gradient @out.png --size ",
       1,
       "",
       {"8x8 --set Angle=361", "8x8 --set CenterY=-51", "8x8 --set Colour=1", "8x8 --set GradientType=4",
        "4x4 --out-dir @out"}},
      {"shadow @",
       1,
       "",
       {"mask.png @out.png --set ShadowSoft=4", "mask.png @out.png --set ShadowDirection=8",
        "mask.png @out.png --paint -1", "mask.png @out.png --set Nope=2", "missing.png @out.png"}},
      {"config get NoSuchSetting", 1, "ochrel-cli: unknown setting: NoSuchSetting\n"},
      {"config get ToolBox", 1, ""},  // the command wants whole names
      {"config", 2, "", {"", " get", " read x", " write a b"}},
      {"config write @file/x.ini", 1, "ochrel-cli: cannot write "},
  };
  for (const auto& c : cases)
    for (const std::string& tail : c.tails) {
      const std::string args = Expand(c.args + tail, dir, true);
      SCOPED_TRACE(args);
      CliRun r = Cli(dir, args);
      EXPECT_EQ(r.status, c.status) << r.err;
      EXPECT_EQ(r.out, "");
      if (c.status == 1) {
        EXPECT_EQ(r.err.rfind("ochrel-cli: ", 0), 0u) << r.err;
        EXPECT_NE(r.err.find(Expand(c.text, dir, false)), std::string::npos) << r.err;
        EXPECT_EQ(std::count(r.err.begin(), r.err.end(), '\n'), 1) << r.err;
      }
      for (const char* name : {"out.bmp", "out.png", "out.jpg", "out.gif", "out.xyz", "out", "file/x.ini"})
        EXPECT_FALSE(fs::exists(dir / name)) << name;
    }
}

}  // namespace
}  // namespace ochrel
