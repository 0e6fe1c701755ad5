#include "ui/frame/startup.h"

#include <gtest/gtest.h>

#include <QCheckBox>
#include <QComboBox>
#include <QLabel>
#include <QSpinBox>
#include <QTest>
#include <QUrl>

#include <fstream>
#include <regex>

#include "frame/tips.h"
#include "qt_fixture.h"

namespace ochrel {
namespace {

class Startup : public test::QtFixture {
 protected:
  void SetUp() override {
    QtFixture::SetUp();
    SetUrlOpener([this](const QUrl& url) { return opened.push_back(url), true; });
  }
  void TearDown() override {
    CloseLogo();
    QtFixture::TearDown();
  }
  std::vector<QUrl> opened;
};

TEST_F(Startup, LogoOnlyWhenWantedAndAnyPressClosesIt) {
  ShowStartupWindow = 0;
  OpenLogo(nullptr);
  EXPECT_EQ(CurrentLogo(), nullptr);
  CloseLogo();  // nothing to close is fine
  ShowStartupWindow = 1;
  OpenLogo(nullptr);
  LogoWindow* logo = CurrentLogo();
  ASSERT_NE(logo, nullptr);
  EXPECT_EQ(logo->size(), QSize(400, 232));
  EXPECT_TRUE(logo->isVisible());
  // The animation steps on its own timer, and its frames differ.
  const int before = logo->frame();
  QTest::qWait(80);
  EXPECT_NE(logo->frame(), before);
  EXPECT_NE(LogoWindow::AnimationFrame(0), LogoWindow::AnimationFrame(9));
  EXPECT_EQ(LogoWindow::AnimationFrame(0), LogoWindow::AnimationFrame(LogoWindow::kFrames % 36));
  QTest::mouseClick(logo, Qt::LeftButton, {}, QPoint(200, 20));
  EXPECT_EQ(CurrentLogo(), nullptr);
}

TEST_F(Startup, TipDialogShowsTheStockTipsAndShiftShowsTheNext) {
  // The data folder is stocked with the program's tip file; every line is a tip.
  std::ifstream file(DataFolder() / kTipFileName);
  ASSERT_TRUE(file) << "the tip file is stocked";
  std::vector<std::string> lines;
  for (std::string l; std::getline(file, l);) lines.push_back(l);
  ASSERT_GE(lines.size(), 10u);
  for (const std::string& l : lines) EXPECT_FALSE(l.empty());

  TipOfTheDay = 1;
  TipDialog dialog;
  EXPECT_EQ(dialog.tip().toStdString(), lines[0]);
  dialog.done(true);
  EXPECT_EQ(dialog.tip().toStdString(), lines[1]);
  EXPECT_EQ(TipOfTheDay, 3);
  auto* again = dialog.findChild<QCheckBox*>("101");
  ASSERT_TRUE(again);
  EXPECT_TRUE(again->isChecked());
  again->setChecked(false);
  dialog.done(false);
  EXPECT_EQ(ShowTipOfTheDay, 0);
  EXPECT_EQ(dialog.result(), QDialog::Accepted);
}

TEST_F(Startup, ManualWarnsUntilTheBoxIsClearedThenOpensAtOnce) {
  int asked = 0;
  SetDialogAnswerer([&](QDialog& d) {
    ++asked;
    EXPECT_EQ(d.objectName(), "WarningBox");
    d.findChild<QCheckBox*>("102")->setChecked(false);
    return true;
  });
  Choose(CM_MANUAL);
  EXPECT_EQ(asked, 1);
  EXPECT_EQ(WarnShowManual, 0);
  ASSERT_EQ(opened.size(), 1u);
  EXPECT_TRUE(opened[0].path().endsWith("html/manual.htm"));
  EXPECT_EQ(opened[0].fragment(), "DOCUMENTATION");
  Choose(CM_MANUAL);
  EXPECT_EQ(asked, 1) << "no warning once it was turned off";
  EXPECT_EQ(opened.size(), 2u);
  EXPECT_TRUE(prompts.empty());
  // Without a browser: the convert dialog's test.
}

TEST_F(Startup, EveryHelpTopicHasItsAnchorInTheReference) {
  std::ifstream page(DataFolder() / "html" / "referenc.htm");
  ASSERT_TRUE(page);
  std::string html((std::istreambuf_iterator<char>(page)), std::istreambuf_iterator<char>());
  for (const char* topic : {"INDEX", "SETUP", "ATTRIBUTES", "GRID", "SYSTEM", "COLORS", "CONVERTTO", "FILTERS",
                            "GRADIENT", "SHADOW", "TEXTURE", "TILE"})
    EXPECT_NE(html.find(std::string("id=\"") + topic + "\""), std::string::npos) << topic;
}

TEST_F(Startup, SetupWritesTheControlsBackOnlyOnOk) {
  auto edit = [](QDialog& d) {
    EXPECT_EQ(d.objectName(), "Setup");
    auto* backups = d.findChild<QCheckBox*>("119");
    auto* jpeg = d.findChild<QSpinBox*>("114");
    auto* nudge = d.findChild<QSpinBox*>("120");
    EXPECT_TRUE(backups && jpeg && nudge);
    if (!backups || !jpeg || !nudge) return;
    // The page holds the seven check boxes and the spin fields of JPEG quality and
    // nudge size, and the settings of recovery copies and the undo history.
    EXPECT_EQ(d.findChildren<QCheckBox*>().size(), 8);
    EXPECT_EQ(d.findChildren<QSpinBox*>().size(), 5);
    EXPECT_EQ(d.findChildren<QComboBox*>().size(), 0);
    EXPECT_TRUE(backups->isChecked());
    EXPECT_EQ(jpeg->value(), 75);
    EXPECT_EQ(nudge->maximum(), 32);
    backups->setChecked(false);
    jpeg->setValue(90);
  };
  SetDialogAnswerer([&](QDialog& d) {
    edit(d);
    return false;  // Cancel
  });
  Choose(CM_SETUP);
  EXPECT_EQ(CreateBackups, 1);
  EXPECT_EQ(JPEGQualityFactor, 75);
  SetDialogAnswerer([&](QDialog& d) {
    edit(d);
    static_cast<SetupDialog&>(d).GetSetupControls();  // what OK does
    return true;
  });
  Choose(CM_SETUP);
  EXPECT_EQ(CreateBackups, 0);
  EXPECT_EQ(JPEGQualityFactor, 90);
}

TEST_F(Startup, SystemInformationAndTheFrameCommands) {
  SYSINFO info;
  info.displayBits = 24;
  info.owner = "Ada";
  SysInfoDialog box(info);
  EXPECT_EQ(box.findChild<QLabel*>("colours")->text(),
            "Your present Windows screen driver can display images having up to 16,777,216 colors without "
            "dithering.");
  EXPECT_EQ(box.findChild<QLabel*>("owner")->text(), "Ada");
  std::string owner, organization;
  GetMachineName(&owner, &organization);
  EXPECT_FALSE(owner.empty());

  // The Help menu's commands each open their dialog.
  std::vector<QString> shown;
  SetDialogAnswerer([&](QDialog& d) { return shown.push_back(d.objectName()), false; });
  for (int id : {CM_ABOUT, CM_SYSINFO, CM_TIPOFTHEDAY, CM_SETUP}) Choose(id);
  EXPECT_EQ(shown, (std::vector<QString>{"AboutBox", "SysInfoBox", "TipOfTheDayBox", "Setup"}));
  Choose(CM_HELP);
  ASSERT_EQ(opened.size(), 1u);
  EXPECT_EQ(opened[0].fragment(), "INDEX");
}

}  // namespace
}  // namespace ochrel
