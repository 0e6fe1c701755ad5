#include "image/colourblend.h"

#include <gtest/gtest.h>

#include <array>
#include <vector>

namespace ochrel {
namespace {

std::vector<int> Channel(const std::vector<BYTE>& table, int channel) {
  std::vector<int> out;
  for (std::size_t i = channel; i < table.size(); i += 3) out.push_back(table[i]);
  return out;
}

std::vector<BYTE> Blend(COLORREF from, COLORREF to, int count) {
  std::vector<BYTE> table(3 * static_cast<std::size_t>(count > 0 ? count : 0) + 3, 0xAB);
  BYTE* end = CreateColourBlend(table.data(), from, to, count);
  EXPECT_EQ(end, table.data() + 3 * (count > 0 ? count : 0));
  EXPECT_EQ(table.back(), 0xAB) << "wrote past the last entry";
  table.resize(table.size() - 3);
  return table;
}

TEST(ColourBlend, FixedPointStepsAreTruncated) {
  // Black to white in 8: step 31875 thousandths, each entry truncated, the
  // last stopping short of white.
  EXPECT_EQ(Channel(Blend(RGB(0, 0, 0), RGB(255, 255, 255), 8), 0),
            (std::vector<int>{0, 31, 63, 95, 127, 159, 191, 223}));
  // Downwards the step truncates toward zero (-333, not -334): 2000, 1667,
  // 1334, 1001, 668, 335.
  EXPECT_EQ(Channel(Blend(RGB(2, 2, 2), RGB(0, 0, 0), 6), 1), (std::vector<int>{2, 1, 1, 1, 0, 0}));
  // Exact steps land on the values.
  EXPECT_EQ(Channel(Blend(RGB(0, 0, 255), RGB(0, 0, 0), 3), 2), (std::vector<int>{255, 170, 85}));
}

TEST(ColourBlend, ChannelsInRedGreenBlueOrderAndIndependent) {
  const auto t = Blend(RGB(10, 200, 0), RGB(110, 100, 0), 4);
  ASSERT_EQ(t.size(), 12u);
  EXPECT_EQ(Channel(t, 0), (std::vector<int>{10, 35, 60, 85}));
  EXPECT_EQ(Channel(t, 1), (std::vector<int>{200, 175, 150, 125}));
  EXPECT_EQ(Channel(t, 2), (std::vector<int>{0, 0, 0, 0}));
}

TEST(ColourBlend, NothingForNoEntries) {
  BYTE table[6] = {1, 2, 3, 4, 5, 6};
  EXPECT_EQ(CreateColourBlend(table, RGB(0, 0, 0), RGB(255, 255, 255), 0), table);
  EXPECT_EQ(CreateColourBlend(table, RGB(0, 0, 0), RGB(255, 255, 255), -4), table);
  EXPECT_EQ(table[0], 1);
  EXPECT_EQ(CreateColourBlend(nullptr, 0, 0, 5), nullptr);
}

}  // namespace
}  // namespace ochrel
