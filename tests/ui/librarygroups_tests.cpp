#include "ui/dialogs/fills/librarygroups.h"

#include <gtest/gtest.h>

#include <QComboBox>

#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "qt_fixture.h"

namespace ochrel {
namespace {

namespace fs = std::filesystem;

using LibraryGroups = test::QtFixture;

TEST_F(LibraryGroups, ListSelectAndDeleteToTheTrash) {
  const fs::path data = DataFolder();
  for (const char* name : {"Zeta.FFT", "Alpha.FFT", ".hidden.FFT", "Other.MTX"}) std::ofstream(data / name) << "x";
  QComboBox groups;
  FillLibraryGroups(&groups, "*.FFT", "zeta.fft");
  QStringList names;
  for (int i = 0; i < groups.count(); ++i) names << groups.itemText(i);
  EXPECT_TRUE(names.contains("Alpha") && names.contains("Zeta"));
  EXPECT_FALSE(names.contains(".hidden") || names.contains("Other"));
  EXPECT_EQ(groups.currentText(), "Zeta") << "the current file is found whatever its case";

  ShowLibraryGroup(&groups, "New");
  EXPECT_EQ(groups.currentText(), "New");
  const int count = groups.count();
  ShowLibraryGroup(&groups, "alpha");
  EXPECT_EQ(groups.currentText(), "Alpha");
  EXPECT_EQ(groups.count(), count) << "a known group is selected, not added again";

  // The trash goes where XDG_DATA_HOME says: the tests' own folder.
  const fs::path home = std::getenv("XDG_DATA_HOME");
  EXPECT_FALSE(DeleteLibraryGroup(nullptr, "texture", "Zeta", (data / "Zeta.FFT").string()));
  EXPECT_TRUE(prompts.back().startsWith("Do you want to delete the Zeta texture group?"));
  EXPECT_TRUE(fs::exists(data / "Zeta.FFT"));
  answer = IDYES;
  EXPECT_TRUE(DeleteLibraryGroup(nullptr, "texture", "Zeta", (data / "Zeta.FFT").string()));
  EXPECT_FALSE(fs::exists(data / "Zeta.FFT"));
  EXPECT_TRUE(fs::exists(home / "Trash" / "files" / "Zeta.FFT")) << "it can be had back";
  for (const char* name : {"Alpha.FFT", ".hidden.FFT", "Other.MTX"}) fs::remove(data / name);
}

}  // namespace
}  // namespace ochrel
