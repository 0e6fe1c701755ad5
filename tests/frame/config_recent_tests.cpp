// The recent-path list behind the File menu: which paths enter, where they
// go and which fall out.
#include <gtest/gtest.h>

#include <filesystem>
#include <set>
#include <string>
#include <vector>

#include "frame/config.h"
#include "frame/recentpaths.h"
#include "temp_dir.h"

namespace ochrel {
namespace {

using Items = std::vector<std::string>;

// A file system that holds exactly the given files.
RecentPaths::ExistsFunction Holding(std::set<std::string> files) {
  return [files = std::move(files)](const std::string& p) { return files.count(p) > 0; };
}

TEST(RecentPaths, NewestComesFirstAndTheOldestFallsOut) {
  std::set<std::string> files;
  for (int i = 0; i < 12; ++i) files.insert("/pics/" + std::to_string(i) + ".png");
  RecentPaths list(FileMenuRange, Holding(files));
  for (int i = 0; i < 12; ++i) EXPECT_TRUE(list.Add("/pics/" + std::to_string(i) + ".png"));
  ASSERT_EQ(list.Items().size(), 10u);
  EXPECT_EQ(list.Items().front(), "/pics/11.png");
  EXPECT_EQ(list.Items().back(), "/pics/2.png");
  EXPECT_EQ(list.Capacity(), 10u);
}

TEST(RecentPaths, KnownPathKeepsItsPlaceIgnoringCase) {
  RecentPaths list(4, Holding({"/a/One.png", "/a/one.png", "/a/two.png", "/a/three.png"}));
  ASSERT_TRUE(list.Add("/a/One.png"));
  ASSERT_TRUE(list.Add("/a/two.png"));
  ASSERT_TRUE(list.Add("/a/three.png"));
  EXPECT_FALSE(list.Add("/a/two.png"));
  EXPECT_FALSE(list.Add("/a/one.png"));  // same path but for case
  EXPECT_EQ(list.Items(), (Items{"/a/three.png", "/a/two.png", "/a/One.png"}));
}

TEST(RecentPaths, RefusesWhatIsNoFile) {
  RecentPaths list(FileMenuRange, Holding({"/x/a.png", "rel.png"}));
  EXPECT_FALSE(list.Add(""));
  EXPECT_FALSE(list.Add("rel.png"));       // must be absolute
  EXPECT_FALSE(list.Add("C:\\x\\a.png"));  // a drive letter means nothing here
  EXPECT_FALSE(list.Add("/x/missing.png"));
  EXPECT_TRUE(list.Items().empty());
  // Trailing blanks and line ends are stripped before the test.
  EXPECT_TRUE(list.Add("/x/a.png \r\n\t"));
  EXPECT_EQ(list.Items(), (Items{"/x/a.png"}));
  // Leading blanks are not stripped: such a text isn't a path.
  EXPECT_FALSE(list.Add(" /x/a.png"));

  RecentPaths none(0, Holding({"/x/a.png"}));
  EXPECT_FALSE(none.Add("/x/a.png"));
  EXPECT_TRUE(none.Items().empty());
}

TEST(RecentPaths, RealFileSystemByDefault) {
  test::TempDir tmp;
  const std::filesystem::path dir = tmp.path;
  test::Spit(tmp / "pic.png", "x");
  RecentPaths list;
  EXPECT_TRUE(list.Add((dir / "pic.png").string()));
  EXPECT_FALSE(list.Add(dir.string()));  // a folder is no file
  EXPECT_FALSE(list.Add((dir / "nope.png").string()));
  EXPECT_EQ(list.Items().size(), 1u);
  list.Clear();
  EXPECT_TRUE(list.Items().empty());
  EXPECT_EQ(RecentPathList().Capacity(), FileMenuRange);
}

TEST(RecentPaths, OnlyAbsolutePathsAreListable) {
  EXPECT_TRUE(RecentPaths::IsListablePath("/a"));
  EXPECT_FALSE(RecentPaths::IsListablePath("a/b"));
  EXPECT_FALSE(RecentPaths::IsListablePath(""));
  EXPECT_FALSE(RecentPaths::IsListablePath("~/a"));
}

}  // namespace
}  // namespace ochrel
