// A fill source for a large area is made on a worker while the windows stay
// live, and what lands in the picture is what the interface thread would make.
#include <QToolButton>

#include <cstring>
#include <thread>

#include "frame_fixture.h"
#include "frame/blockset.h"
#include "tools/toolparam.h"
#include "ui/frame/toolbox.h"
#include "ui/widgets/longwork.h"

namespace ochrel::test {
namespace {

class SlowFillTest : public FrameFixture {
 protected:
  SlowFillTest() : FrameFixture(1100, 1000) {}
  // The bucket with a gradient on a fresh white picture; the thread that ran
  // the long work's gate, if any did.
  std::thread::id FillNewDocument(HDIB* result) {
    DocumentWindow* d = NewDocument();
    d->record()->FillType = 1;
    std::thread::id worker;
    SetLongWorkGate([&worker] { worker = std::this_thread::get_id(); });
    frame->toolBox()->button(TOOL_BUCKET)->click();
    QTest::mouseClick(d->view(), Qt::LeftButton, Qt::NoModifier, QPoint(40, 40));
    QCoreApplication::processEvents();
    SetLongWorkGate({});
    *result = DuplicateObject(d->record()->Image);
    return worker;
  }
};

TEST_F(SlowFillTest, LargeGradientFillIsMadeOffTheInterfaceThreadWithTheSameBytes) {
  HDIB live, direct;
  const std::thread::id worker = FillNewDocument(&live);
  EXPECT_NE(worker, std::thread::id());
  EXPECT_NE(worker, std::this_thread::get_id());
  SetSlowWorkRunner(nullptr);  // as if there were no frame to lend a worker
  EXPECT_EQ(FillNewDocument(&direct), std::thread::id());
  const BITMAPINFOHEADER *a = LockDib(live), *b = LockDib(direct);
  ASSERT_TRUE(a && b);
  EXPECT_NE(GetDibPixel(a, 10, 10), GetDibPixel(a, 1000, 10));  // the gradient, not one colour
  ASSERT_EQ(live->size(), direct->size());
  EXPECT_EQ(std::memcmp(live->data(), direct->data(), live->size()), 0);
}

}  // namespace
}  // namespace ochrel::test
