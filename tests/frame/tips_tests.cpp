#include "frame/tips.h"

#include <gtest/gtest.h>

#include <fstream>

#include "frame/settings.h"
#include "temp_dir.h"

namespace ochrel {
namespace {

std::string Write(const test::TempDir& dir, const std::string& body) {
  std::string path = dir / "OCHREL.TIP";
  std::ofstream(path, std::ios::binary) << body;
  return path;
}

TEST(TipOfTheDay, StepsThroughTheLinesAndRoundsToTheFirst) {
  test::TempDir dir;
  const std::string path = Write(dir, "First\r\nSecond\\nwith a break\nThird\n");
  std::string text;
  TipOfTheDay = 2;
  // Past the last line: the first again, and then the second.
  for (auto [want, next] :
       {std::pair{"Second\nwith a break", 3}, {"Third", 4}, {"First", 2}, {"Second\nwith a break", 3}}) {
    GetTipOfTheDayFrom(path, &text);
    EXPECT_EQ(text, want);
    EXPECT_EQ(TipOfTheDay, next);
  }
  // 0 and 1 both name the first line, and each only adds one.
  TipOfTheDay = 0;
  GetTipOfTheDayFrom(path, &text);
  EXPECT_EQ(text, "First");
  EXPECT_EQ(TipOfTheDay, 1);
}

TEST(TipOfTheDay, EmptyLineEndsTheTipsAndMissingFileGivesTheErrorText) {
  test::TempDir dir;
  const std::string path = Write(dir, "One\n\nNever shown\n");
  std::string text;
  TipOfTheDay = 2;
  GetTipOfTheDayFrom(path, &text);
  EXPECT_EQ(text, "One");
  EXPECT_EQ(TipOfTheDay, 2);

  for (const std::string& missingOrEmpty : {dir / "absent.tip", Write(dir, "")}) {
    GetTipOfTheDayFrom(missingOrEmpty, &text);
    EXPECT_EQ(text, kTipErrorText);
  }
  // A line longer than a tip may be is cut, not refused.
  GetTipOfTheDayFrom(Write(dir, std::string(5000, 'x') + "\n"), &text);
  EXPECT_EQ(text.size(), 1024u);
}

TEST(TipOfTheDay, AtMostOneTipADay) {
  LastTipDate = 0;
  EXPECT_EQ(IsTipTimeOn(20261123), 1);
  EXPECT_EQ(LastTipDate, 20261123);
  EXPECT_EQ(IsTipTimeOn(20261123), 0);
  EXPECT_EQ(IsTipTimeOn(20261124), 1);
  EXPECT_GT(TodayAsNumber(), 20260000);
  LastTipDate = 0;
  TipOfTheDay = 0;
}

}  // namespace
}  // namespace ochrel
