// Undo with a history: each step back and forward gives the picture and the
// record's fields exactly as they were, a new change drops what lies ahead,
// and the budget drops the oldest steps. One level stays as it always was.
#include <gtest/gtest.h>

#include <vector>

#include "frame/blockset.h"
#include "frame/settings.h"
#include "test_images.h"

namespace ochrel {
namespace {

class UndoHistoryTest : public ::testing::Test {
 protected:
  void SetUp() override {
    UndoSteps = 10;
    UndoMemory = 0;
    CreateNewFile(&r);
    r.Image = test::RandomDib(200, 150, 24, 3);
  }
  void TearDown() override {
    UndoSteps = 1;
    UndoMemory = 0;
    SetAllocationLimit(0);
  }
  // A change as a tool makes it: the copy first, then pixels and fields, then
  // the end of the stroke.
  void Change(int k) {
    CreateUndo(&r);
    InsetSolidRectangle(r.Image, RGB(10 * k, 255 - k, k), RECT{5 * k, 3 * k, 5 * k + 20, 3 * k + 9});
    r.Modified = 1;
    r.PaintColour = static_cast<COLORREF>(k);
    CompactUndo(&r);
  }
  BLOCKSET r;
};

TEST_F(UndoHistoryTest, TenStepsBackAndForthGiveEachPictureExactly) {
  std::vector<HDIB> pictures;
  pictures.push_back(DuplicateObject(r.Image));
  for (int k = 1; k <= 10; ++k) {
    Change(k);
    pictures.push_back(DuplicateObject(r.Image));
  }
  // One operation that replaces the picture with one of another size.
  CreateUndo(&r);
  r.Image = test::RandomDib(90, 60, 8, 4);
  CompactUndo(&r);
  for (int k = 10; k >= 1; --k) {
    ASSERT_TRUE(DoUndo(&r));
    ASSERT_TRUE(test::SameBlock(r.Image, pictures[static_cast<std::size_t>(k)])) << k;
  }
  // Ten steps are kept: the first change is as far back as it goes.
  EXPECT_FALSE(r.UndoAvailable);
  EXPECT_EQ(r.PaintColour, 1u);
  for (int k = 2; k <= 10; ++k) {
    ASSERT_TRUE(DoRedo(&r));
    ASSERT_TRUE(test::SameBlock(r.Image, pictures[static_cast<std::size_t>(k)])) << k;
    EXPECT_EQ(r.PaintColour, static_cast<COLORREF>(k));
  }
  ASSERT_TRUE(DoRedo(&r));
  EXPECT_EQ(LockDib(r.Image)->biWidth, 90);
  EXPECT_FALSE(r.RedoAvailable);
}

TEST_F(UndoHistoryTest, ANewChangeAfterUndoDropsWhatLayAhead) {
  Change(1);
  Change(2);
  ASSERT_TRUE(DoUndo(&r));
  EXPECT_TRUE(r.RedoAvailable);
  CreateUndo(&r);  // a press that changes nothing keeps Redo
  CompactUndo(&r);
  EXPECT_TRUE(r.RedoAvailable);
  Change(3);
  EXPECT_FALSE(r.RedoAvailable);
  EXPECT_FALSE(DoRedo(&r));
}

TEST_F(UndoHistoryTest, TheBudgetDropsTheOldestStepsOnly) {
  UndoMemory = 1;  // MiB; each step below keeps 600 by 250 pixels, 450 kB
  r.Image = test::Uniform(800, 600, 24, 0);
  for (int k = 1; k <= 4; ++k) {
    CreateUndo(&r);
    InsetSolidRectangle(r.Image, RGB(k, k, k), RECT{0, 0, 600, 250});
    CompactUndo(&r);
  }
  ASSERT_NE(r.History, nullptr);
  EXPECT_EQ(r.History->UndoCount(), 2u);
  EXPECT_LE(r.History->Bytes(), std::size_t{1} << 20);
  EXPECT_EQ(test::Pixel(r.Image, 10, 10), RGB(4, 4, 4));
  ASSERT_TRUE(DoUndo(&r));
  ASSERT_TRUE(DoUndo(&r));
  EXPECT_EQ(test::Pixel(r.Image, 10, 10), RGB(2, 2, 2));
  EXPECT_FALSE(DoUndo(&r));
}

TEST_F(UndoHistoryTest, ACopyThatCannotBeMadeIsReportedAndChangesNothing) {
  Change(1);
  SetAllocationLimit(1000);
  CreateUndo(&r);
  SetAllocationLimit(0);
  InsetSolidRectangle(r.Image, RGB(1, 1, 1), RECT{0, 0, 5, 5});
  HDIB now = DuplicateObject(r.Image);
  EXPECT_TRUE(r.UndoAvailable);
  EXPECT_FALSE(DoUndo(&r));
  EXPECT_TRUE(test::SameBlock(r.Image, now));
  EXPECT_FALSE(r.UndoAvailable);
}

TEST_F(UndoHistoryTest, SelectiveUndoGetsThePictureBeforeTheLatestStep) {
  HDIB before = DuplicateObject(r.Image);
  Change(1);
  EXPECT_FALSE(r.UndoImage);  // kept as a step, not a whole copy
  ASSERT_TRUE(EnsureUndoImage(&r));
  EXPECT_TRUE(test::SameBlock(r.UndoImage, before));
  ASSERT_TRUE(DoUndo(&r));
  EXPECT_TRUE(test::SameBlock(r.Image, before));
}

TEST(UndoOneLevel, ASecondUndoDoesNothingAndThereIsNoRedo) {
  BLOCKSET r;
  CreateNewFile(&r);
  r.Image = test::Uniform(20, 20, 24, 0);
  CreateUndo(&r);
  InsetSolidRectangle(r.Image, RGB(9, 9, 9), RECT{0, 0, 5, 5});
  CompactUndo(&r);
  EXPECT_EQ(r.History, nullptr);
  ASSERT_TRUE(r.UndoImage);  // the whole copy, as always
  ASSERT_TRUE(DoUndo(&r));
  EXPECT_EQ(test::Pixel(r.Image, 1, 1), 0u);
  EXPECT_FALSE(r.UndoAvailable);
  EXPECT_FALSE(r.RedoAvailable);
  EXPECT_FALSE(DoRedo(&r));
}

}  // namespace
}  // namespace ochrel
