#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "fake_tool_host.h"
#include "frame/blockset.h"
#include "image/crand.h"
#include "frame/settings.h"
#include "test_images.h"
#include "tools/spraycan.h"
#include "tools/toolsession.h"

namespace ochrel {
namespace {

std::uint32_t Px(const HDIB& d, int x, int y) { return GetDibPixel(LockDib(d), x, y); }
int Count(const HDIB& d, std::uint32_t value) {
  int n = 0;
  const BITMAPINFOHEADER* h = LockDib(d);
  for (int y = 0; y < h->biHeight; ++y)
    for (int x = 0; x < h->biWidth; ++x) n += GetDibPixel(h, x, y) == value;
  return n;
}

std::vector<std::pair<int, int>> Entries(const HGLOBAL& list) {
  std::vector<std::pair<int, int>> out;
  SPRAYLIST* l = LockSprayList(list);
  for (int i = 0; l && i < l->total; ++i) out.emplace_back(SprayEntries(l)[i] & 255, SprayEntries(l)[i] >> 8);
  return out;
}

// The draw without repetition, spelled out: which disc pixels n draws take
// from a list in the template's order, with the program's generator.
std::vector<std::pair<int, int>> Draws(std::vector<std::pair<int, int>> list, int& remaining, int n) {
  std::vector<std::pair<int, int>> drawn;
  for (int k = 0; k < n && remaining > 0; ++k) {
    --remaining;
    const int i = remaining > 0 ? rand() % remaining : 0;
    drawn.push_back(list[i]);
    list[i] = list[remaining];
  }
  return drawn;
}

// The disc templates keep the digest recorded from templates checked by hand:
// 1 and 2 the whole square, 4 without its corners, then discs symmetric in both
// axes and the diagonal with a full middle row and about pi d^2 / 4 entries, each
// once; one byte a coordinate holds the diameter to 255.
TEST(SprayList, DiscTemplates) {
  EXPECT_FALSE(CreateSpraycan(0));
  EXPECT_FALSE(CreateSpraycan(-5));
  std::uint64_t digest = test::kDigestStart;
  for (int d : {1, 2, 4, 5, 16, 33, 64, 1000}) digest = test::Digest(CreateSpraycan(d), digest);
  EXPECT_EQ(digest, 0x1f6c6da4e00ddcb9u);
  EXPECT_EQ(LockSprayList(CreateSpraycan(1000))->width, kMaxSprayDiameter);
}

TEST(SprayList, ExactDotsForASeedAndTheFlowLimits) {
  HGLOBAL t = CreateSpraycan(12);
  auto order = Entries(t);
  HGLOBAL work = DuplicateObject(t);
  srand(4242);
  HDIB s = RenderSpraycan(work, 255, 0, 10);
  srand(4242);
  int remaining = static_cast<int>(order.size());
  auto drawn = Draws(order, remaining, static_cast<int>(order.size()) * 10 / 100);
  std::set<std::pair<int, int>> expected(drawn.begin(), drawn.end());
  for (int y = 0; y < 12; ++y)
    for (int x = 0; x < 12; ++x) EXPECT_EQ(Px(s, x, y), expected.count({x, y}) ? 255u : 0u) << x << "," << y;
  EXPECT_EQ(LockSprayList(work)->remaining, remaining);

  // Flow 100: one spot fills the disc, the next is empty.
  HGLOBAL full = DuplicateObject(t);
  EXPECT_EQ(Count(RenderSpraycan(full, 9, 0, 100), 9), static_cast<int>(order.size()));
  EXPECT_EQ(Count(RenderSpraycan(full, 9, 0, 100), 9), 0);
  // total * flow / 100 of 0: an empty spot, the list untouched.
  HGLOBAL one = CreateSpraycan(1);
  EXPECT_EQ(Px(RenderSpraycan(one, 255, 0, 50), 0, 0), 0u);
  EXPECT_EQ(LockSprayList(one)->remaining, 1);
  EXPECT_FALSE(RenderSpraycan(HGLOBAL{}, 255, 0, 50));
  // A list whose counts don't fit its block is refused.
  HGLOBAL broken = DuplicateObject(t);
  LockSprayList(broken)->total = 1 << 20;
  EXPECT_FALSE(LockSprayList(broken));
  EXPECT_FALSE(RenderSpraycan(broken, 255, 0, 50));
}

// ---- The session ---------------------------------------------------------------------------

// A document whose toolbox changes tools, with the spray can chosen.
class SprayToolTest : public test::ToolTest {
 protected:
  void Start(HDIB image, int thickness, int flow, int opacity, std::uint32_t paint) {
    Open(std::move(image));
    d->record.SpraycanThickness = thickness;
    d->record.SpraycanFlow = flow;
    d->record.Opacity = opacity;
    d->record.PaintColour = paint;
    ASSERT_TRUE(Change(TOOL_SPRAYCAN));
  }
  SpraycanTool* Tool() { return dynamic_cast<SpraycanTool*>(d->tools.session()); }
  int Count(std::uint32_t value) { return ochrel::Count(d->record.Image, value); }
  void Tick() { d->tools.TimerEvent(d->tools.session(), kSprayTimer); }
};

HDIB White(int w, int h) { return CreateNewImage(NEWFILEPARAM{w, h, 0, RGB(255, 255, 255)}); }

TEST_F(SprayToolTest, HeldStillTheDiscFillsEvenlyByTheTimer) {
  Start(White(100, 80), 10, 5, 255, RGB(0, 0, 0));
  ASSERT_NE(Tool(), nullptr);
  const auto order = Entries(Tool()->SprayTemplate());
  const int total = static_cast<int>(order.size()), n = total * 5 / 100;
  ASSERT_GT(n, 0);
  srand(77);
  d->tools.MouseEvent(WM_LBUTTONDOWN, 40, 30, MK_LBUTTON);
  EXPECT_EQ(d->record.UndoAvailable, 1);
  EXPECT_EQ(d->host.timerTool, Tool());
  EXPECT_EQ(d->host.timerMs, kSprayPeriod);
  EXPECT_EQ(d->host.captured, Tool());
  // The press spot: exactly the drawn pixels, the disc's top left at (35, 25).
  srand(77);
  int remaining = total;
  auto drawn = Draws(order, remaining, n);
  for (auto [x, y] : drawn) EXPECT_EQ(Px(d->record.Image, 35 + x, 25 + y), 0u);
  EXPECT_EQ(Count(0), n);
  // Each tick lays another spot from the same shrinking list.
  int ticks = 0;
  for (; Count(0) < total && ticks < 100; ++ticks) Tick();
  EXPECT_EQ(Count(0), total);
  EXPECT_EQ(ticks, (total + n - 1) / n - 1);
  // Full: later ticks paint nothing, nothing outside the disc was touched.
  Tick();
  EXPECT_EQ(Count(0), total);
  EXPECT_EQ(Count(RGB(255, 255, 255)), 100 * 80 - total);
  d->tools.MouseEvent(WM_LBUTTONUP, 40, 30, 0);
  EXPECT_EQ(d->host.captured, nullptr);
  EXPECT_EQ(d->host.timerTool, nullptr);
  MessageQueue::Instance().Drain();
  EXPECT_EQ(d->record.Modified, 1);
  EXPECT_FALSE(Tool()->SprayList());
}

TEST_F(SprayToolTest, HalfOpacityStaysHalfAndMovesRenewTheList) {
  Start(White(100, 80), 8, 100, 128, RGB(0, 0, 0));
  const int total = LockSprayList(Tool()->SprayTemplate())->total;
  d->tools.MouseEvent(WM_LBUTTONDOWN, 50, 40, MK_LBUTTON);
  // 255 * 127 / 255 = 127 wherever the spot reached; coverage keeps the maximum.
  EXPECT_EQ(Count(RGB(127, 127, 127)), total);
  EXPECT_EQ(LockSprayList(Tool()->SprayList())->remaining, 0);
  Tick();
  EXPECT_EQ(Count(RGB(127, 127, 127)), total);
  // A move: a spot at each pixel of the line, each from the whole disc.
  d->tools.MouseEvent(WM_MOUSEMOVE, 53, 40, MK_LBUTTON);
  EXPECT_EQ(LockSprayList(Tool()->SprayList())->remaining, total);
  EXPECT_EQ(Count(RGB(127, 127, 127)), total + 3 * 8);  // three new columns of an 8-wide disc
  EXPECT_EQ(Count(0), 0);
  d->tools.MouseEvent(WM_LBUTTONUP, 53, 40, 0);
  // A new stroke builds again from the image as it is.
  d->tools.MouseEvent(WM_LBUTTONDOWN, 50, 40, MK_LBUTTON);
  EXPECT_EQ(Px(d->record.Image, 50, 40), 127u * 127 / 255 * 0x010101u);
  d->tools.MouseEvent(WM_LBUTTONUP, 50, 40, 0);
}

TEST_F(SprayToolTest, PalettedBlendsIndicesAndSpotsAtTheEdgeClip) {
  Start(test::Uniform(30, 20, 8, 10, 8), 6, 100, 128, 200);
  ASSERT_EQ(d->record.ImageType, IMAGE_PALETTED);
  // A spot over the top left corner.
  d->tools.MouseEvent(WM_LBUTTONDOWN, 0, 0, MK_LBUTTON);
  // The digest was recorded from the spot checked by hand: index 10 * 127 / 255
  // + 200 * 128 / 255 over the disc's inside quarter, nothing else.
  EXPECT_EQ(test::Digest(d->record.Image), 0x37204059dc9212aau);
  ASSERT_FALSE(d->host.invalidated.empty());
  EXPECT_EQ(d->host.invalidated.front().left, 0);
  EXPECT_EQ(d->host.invalidated.front().top, 0);
  // A line far outside the image walks only what can reach it.
  d->tools.MouseEvent(WM_MOUSEMOVE, 0, 0, MK_LBUTTON);
  Tool()->DrawSpraycanLine(-30000, -30000, 32000, -30000);
  d->tools.MouseEvent(WM_LBUTTONUP, 0, 0, 0);
}

TEST_F(SprayToolTest, NoDiscFailsAsAMemoryErrorAndRightPressTakesAColour) {
  Start(White(40, 30), 10, 5, 255, RGB(0, 0, 0));
  PutDibPixel(LockDib(d->record.Image), 5, 6, RGB(1, 2, 3));
  d->tools.MouseEvent(WM_RBUTTONDOWN, 5, 6, MK_RBUTTON);
  EXPECT_EQ(d->record.PaintColour, RGB(1, 2, 3));
  // A setting that gives no disc: "Memory error" and back to tool 0.
  d->record.SpraycanThickness = 0;
  d->tools.Send(UM_SETTINGCHANGED);
  EXPECT_EQ(d->host.messages, std::vector<std::string>{"Memory error"});
  EXPECT_EQ(d->tools.session(), nullptr);
  EXPECT_EQ(CurrentTool(), TOOL_RECTSELECT);
}

}  // namespace
}  // namespace ochrel
