// The tool table against the framework: every row makes a session of its own
// tool, which starts and ends the way the row says, under the row's cursors.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>

#include "fake_tool_host.h"
#include "frame/strings.h"
#include "tools/tooltable.h"

namespace ochrel {
namespace {

TEST(ToolTable, EveryRowRunsAsItSays) {
  for (const TOOLROW& row : tooltable) {
    SCOPED_TRACE(row.tool);
    ASSERT_EQ(row.tool, &row - tooltable);  // the number is the row's place
    EXPECT_GT(std::strlen(FetchString(row.name)), 0u);
    EXPECT_EQ(row.settings[kSettingsRowLength - 1], 0);  // the page is zero-terminated
    const int* end = row.settings + kSettingsRowLength;
    // A brush's stamp is shown on its own page; a tool without one shows none.
    EXPECT_EQ(row.stamp != STAMP_NONE, std::find(row.settings, end, row.stampSample) != end && row.stampSample);

    test::FakeDocument d(CreateNewImage(NEWFILEPARAM{60, 40, 0, RGB(255, 255, 255)}));
    d.Choose(row.tool);
    if (row.start == START_STANDING) {
      ASSERT_NE(d.tools.session(), nullptr);  // stands from the choice, over the image
      EXPECT_EQ(d.tools.session()->window, d.tools.GetLimitRect());
    } else {
      EXPECT_EQ(d.tools.session(), nullptr);
      d.Press(10, 10);
      ASSERT_NE(d.tools.session(), nullptr);  // made by the press
    }
    ToolSession* s = d.tools.session();
    EXPECT_EQ(s->param.Tool, row.tool);
    EXPECT_EQ(d.record.ToolWindow, s);
    if (!s->param.Cursor && s->window.right > s->window.left && s->window.bottom > s->window.top) {
      EXPECT_EQ(d.tools.CursorAt(s->window.left, s->window.top), row.cursor);
    }
    SetDocumentCursor(&d.record, row.tool);
    if (row.documentCursor) {
      EXPECT_EQ(d.record.Cursor, row.documentCursor);
    }
    // The end: the timer stops for tools that run one, the menus change for
    // selections, and the document hears of a change only from finishing tools.
    d.host.timerTool = s;
    const int menus = d.host.menuUpdates;
    d.tools.DestroyToolParam();
    EXPECT_EQ(d.tools.session(), nullptr);
    EXPECT_EQ(d.record.ToolWindow, nullptr);
    EXPECT_EQ(d.host.timerTool == nullptr, (row.traits & TT_TIMER) != 0);
    if (row.traits & TT_SELECTION) {
      EXPECT_GT(d.host.menuUpdates, menus);
    }
    bool finished = false;
    for (const auto& m : MessageQueue::Instance().Pending()) finished |= m.message == UM_TOOLFINISHED;
    EXPECT_TRUE(!finished || (row.traits & TT_FINISHES));
  }
  EXPECT_EQ(FindTool(-1), nullptr);
  EXPECT_EQ(CreateToolSession(kToolCount), nullptr);
}

}  // namespace
}  // namespace ochrel
