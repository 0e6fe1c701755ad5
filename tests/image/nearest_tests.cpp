// The cached nearest-colour search must give the plain scan's answer for every
// colour, ties included, with and without the full colour table.
#include <gtest/gtest.h>

#include <random>
#include <thread>
#include <vector>

#include "image/nearest.h"

namespace ochrel {
namespace {

TEST(NearestColour, SearchAndCacheEqualTheScan) {
  std::mt19937 rng(7);
  for (int trial = 0; trial < 12; ++trial) {
    int count = trial < 4 ? 2 << trial : 256 - trial;
    BYTE pal[768] = {};
    for (int i = 0; i < 3 * count; ++i) pal[i] = static_cast<BYTE>(trial % 2 ? rng() & 0xF0 : rng());
    // Duplicates and near-ties: copy some entries, nudge others by one level.
    for (int i = 1; i < count; i += 7) {
      std::copy(pal + 3 * (i - 1), pal + 3 * i, pal + 3 * i);
      if (i + 1 < count) pal[3 * (i + 1)] = static_cast<BYTE>(pal[3 * i] + 1);
    }
    for (auto metric : {NearestColour::kWeighted, NearestColour::kEuclidean})
      for (std::size_t pixels : {std::size_t{0}, std::size_t{1} << 22}) {
        NearestColour n(pal, count, metric, pixels);
        ASSERT_TRUE(n.ok());
        for (int k = 0; k < 20000; ++k) {
          int r = rng() & 255, g = rng() & 255, b = rng() & 255;
          if (k % 5 == 0) {  // exactly a palette colour
            int e = static_cast<int>(rng() % count);
            r = pal[3 * e], g = pal[3 * e + 1], b = pal[3 * e + 2];
          }
          int want = n.Scan(r, g, b);
          ASSERT_EQ(n.Search(r, g, b), want) << trial << " " << r << "," << g << "," << b;
          ASSERT_EQ(n.Find(r, g, b), want);
          ASSERT_EQ(n.Find(r, g, b), want);  // from the cache now
          if (metric == NearestColour::kWeighted) {
            ASSERT_EQ(want, FindPaletteColour(r, g, b, pal, count));
          }
        }
      }
  }
}

TEST(NearestColour, CopiesShareTheTableAcrossThreads) {
  BYTE pal[768];
  GetDefaultPalette(pal, nullptr, 8);
  NearestColour master(pal, 256, NearestColour::kWeighted, std::size_t{1} << 22);
  std::vector<int> results(2 * 65536);
  auto work = [&](int part) {
    NearestColour mine(master);
    for (int i = 0; i < 65536; ++i) {
      int c = (i * 2654435761u) >> 8;
      results[part * 65536 + i] = mine.Find(c & 255, (c >> 8) & 255, (c >> 16) & 255);
    }
  };
  std::thread t(work, 1);
  work(0);
  t.join();
  for (int i = 0; i < 65536; ++i) {
    int c = (i * 2654435761u) >> 8;
    int want = FindPaletteColour(c & 255, (c >> 8) & 255, (c >> 16) & 255, pal, 256);
    ASSERT_EQ(results[i], want);
    ASSERT_EQ(results[65536 + i], want);
  }
}

}  // namespace
}  // namespace ochrel
