// The colour dialogs driven as a user would: which dialog each document kind
// opens, the colour table's immediate saves, the palette grid and the grey ramp.
#include <gtest/gtest.h>

#include <QApplication>
#include <QDialogButtonBox>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMdiArea>
#include <QMdiSubWindow>
#include <QMouseEvent>
#include <QPushButton>
#include <QSpinBox>
#include <QTest>

#include <filesystem>
#include <string>
#include <vector>

#include "frame/blockset.h"
#include "frame/colourtable.h"
#include "frame/commands.h"
#include "frame/paths.h"
#include "frame/settings.h"
#include "qt_app.h"
#include "temp_dir.h"
#include "ui/dialogs/colour/colourdialogs.h"
#include "ui/dialogs/fills/filldialogs.h"
#include "ui/widgets/dialogrunner.h"
#include "ui/document/documentwindow.h"
#include "ui/dialogs/colour/greyselector.h"
#include "ui/frame/mainframe.h"
#include "ui/widgets/messages.h"
#include "ui/dialogs/image/newfiledialog.h"

namespace ochrel {
namespace {

class ColourDialogTest : public ::testing::Test {
 protected:
  void SetUp() override {
    test::EnsureQtApp();
    ComputeApplicationPath();
    savedTable = ColourTableFile;
    savedUpdate = UpdateDefaults;
    savedPaint = DefaultPaintColour;
    std::snprintf(ColourTableFile, kSettingTextSize, "%s", "TESTS.CCL");
    path = ColourTablePath("TESTS.CCL");
    std::filesystem::remove(path);
    SetPromptAnswerer([this](PromptKind, const QString& text) {
      prompts.push_back(text);
      return promptAnswer;
    });
  }
  void TearDown() override {
    SetDialogAnswerer({});
    SetPromptAnswerer({});
    std::snprintf(ColourTableFile, kSettingTextSize, "%s", savedTable.c_str());
    UpdateDefaults = savedUpdate;
    DefaultPaintColour = savedPaint;
    std::filesystem::remove(path);
  }
  void WriteTable(const std::string& text) { test::Spit(path, text); }

  std::string savedTable, path;
  int savedUpdate = 0, savedPaint = 0;
  std::vector<QString> prompts;
  int promptAnswer = IDYES;
};

HDIB PalettedImage(int bits) {
  BYTE palette[768] = {};
  for (int i = 0; i < (1 << bits); ++i) {
    palette[3 * i] = static_cast<BYTE>(i * 3);
    palette[3 * i + 1] = static_cast<BYTE>(i);
    palette[3 * i + 2] = static_cast<BYTE>(255 - i);
  }
  return CreateDib(8, 8, palette, bits);
}

TEST_F(ColourDialogTest, HlsFieldsAndTheirRanges) {
  // The sums themselves are the engine's (tests/image/toolmaths_tests.cpp).
  ColourSelectBox box(RGB(10, 20, 30));
  const std::pair<int, int> ranges[6] = {{IDC_HUE, 239}, {IDC_SATURATION, 240}, {IDC_LUMINOSITY, 240},
                                         {IDC_RED, 255}, {IDC_GREEN, 255},      {IDC_BLUE, 255}};
  for (auto [id, max] : ranges) {
    ASSERT_TRUE(box.findChild<QSpinBox*>(QString::number(id))) << id;
    EXPECT_EQ(box.field(id)->minimum(), 0);
    EXPECT_EQ(box.field(id)->maximum(), max) << id;
  }
  EXPECT_EQ(box.field(IDC_RED)->value(), 10);
  EXPECT_EQ(box.field(IDC_BLUE)->value(), 30);
  box.field(IDC_GREEN)->setValue(200);
  EXPECT_EQ(box.colour(), RGB(10, 200, 30));
  EXPECT_EQ(box.field(IDC_HUE)->value(), RgbToHls(RGB(10, 200, 30)).Hue);
  EXPECT_EQ(box.button(IDC_COLOURADD)->text(), "&Add");
  EXPECT_EQ(box.button(IDC_COLOURDELETE)->text(), "&Delete");
  EXPECT_EQ(box.button(IDC_COLOUROPEN)->text(), "&Open");
}

TEST_F(ColourDialogTest, TableSelectionRuleAndListCopiesIntoTheFields) {
  WriteTable("Grey=128,128,128\nRed=255,0,0\nAlso red=255,0,0\n");
  {
    ColourSelectBox box(RGB(255, 0, 0));
    ASSERT_EQ(box.list()->count(), 3);
    EXPECT_EQ(box.list()->currentRow(), 1) << "the first of two entries of the colour";
    EXPECT_EQ(box.colour(), RGB(255, 0, 0));
  }
  {
    // No entry of the colour: the first item, and the fields keep their colour.
    ColourSelectBox box(RGB(1, 2, 3));
    EXPECT_EQ(box.list()->currentRow(), 0);
    EXPECT_EQ(box.colour(), RGB(1, 2, 3));
    box.list()->setCurrentRow(1);  // the user picks Red
    EXPECT_EQ(box.field(IDC_RED)->value(), 255);
    EXPECT_EQ(box.field(IDC_GREEN)->value(), 0);
    EXPECT_EQ(box.colour(), RGB(255, 0, 0));
  }
  // A double click on an item is OK, and the result is the item's colour.
  COLORREF c = RGB(9, 9, 9);
  SetDialogAnswerer([](QDialog& d) {
    auto& box = dynamic_cast<ColourSelectBox&>(d);
    emit box.list()->itemDoubleClicked(box.list()->item(0));
    return d.result() == QDialog::Accepted;
  });
  EXPECT_EQ(DoColourSelectRGB(nullptr, &c), 1);
  EXPECT_EQ(c, RGB(128, 128, 128));
  // Cancel leaves the colour as it was.
  SetDialogAnswerer([](QDialog& d) {
    dynamic_cast<ColourSelectBox&>(d).setColour(RGB(1, 1, 1));
    return false;
  });
  EXPECT_EQ(DoColourSelectRGB(nullptr, &c), 0);
  EXPECT_EQ(c, RGB(128, 128, 128));
  // A missing table file leaves the list empty, without a word.
  std::filesystem::remove(path);
  ColourSelectBox empty(0);
  EXPECT_EQ(empty.list()->count(), 0);
  EXPECT_TRUE(prompts.empty());
}

TEST_F(ColourDialogTest, AddAsksAboutDuplicatesAndSavesAtOnce) {
  WriteTable("Blood=200,0,0\n");
  ColourSelectBox box(RGB(200, 0, 0));
  // The duplicate question, answered No: nothing is asked for or added.
  promptAnswer = IDNO;
  int addBoxes = 0, expectedRed = 200;
  SetDialogAnswerer([&](QDialog& d) {
    ++addBoxes;
    auto& add = dynamic_cast<AddColourBox&>(d);
    EXPECT_EQ(add.objectName(), "AddColourBox");
    EXPECT_FALSE(add.okButton()->isEnabled());
    add.nameField()->setText("ab");
    EXPECT_FALSE(add.okButton()->isEnabled()) << "two characters are too few";
    add.nameField()->setText("Deep red");
    EXPECT_TRUE(add.okButton()->isEnabled());
    EXPECT_EQ(add.findChild<QLabel*>("102")->text(), QString::number(expectedRed));
    return true;
  });
  box.AddColour();
  ASSERT_EQ(prompts.size(), 1u);
  EXPECT_EQ(prompts[0], "This color already exists in the current color table as Blood. Do you wish to add it anyway?");
  EXPECT_EQ(addBoxes, 0);
  EXPECT_EQ(box.list()->count(), 1);
  // Yes: the name is asked for, the entry appended and the file written.
  promptAnswer = IDYES;
  box.AddColour();
  EXPECT_EQ(addBoxes, 1);
  ASSERT_EQ(box.list()->count(), 2);
  EXPECT_EQ(test::Slurp(path), "Blood=200,0,0\nDeep red=200,0,0\n");
  // A new colour asks no question.
  prompts.clear();
  box.setColour(RGB(1, 2, 3));
  expectedRed = 1;
  box.AddColour();
  EXPECT_TRUE(prompts.empty());
  EXPECT_EQ(test::Slurp(path), "Blood=200,0,0\nDeep red=200,0,0\nDeep red=1,2,3\n");
  EXPECT_EQ(box.list()->currentRow(), 2);
  // Cancel of the name adds nothing.
  SetDialogAnswerer([](QDialog&) { return false; });
  box.AddColour();
  EXPECT_EQ(box.list()->count(), 3);
}

TEST_F(ColourDialogTest, DeleteAsksThenSavesAndSelectsTheOneBefore) {
  WriteTable("A1=1,1,1\nB2=2,2,2\nC3=3,3,3\n");
  ColourSelectBox box(RGB(3, 3, 3));
  ASSERT_EQ(box.list()->currentRow(), 2);
  promptAnswer = IDNO;
  box.DeleteColour();
  ASSERT_EQ(prompts.size(), 1u);
  EXPECT_EQ(prompts[0], "Do you really want to delete this color from the current color list?");
  EXPECT_EQ(box.list()->count(), 3);
  promptAnswer = IDYES;
  box.DeleteColour();
  EXPECT_EQ(test::Slurp(path), "A1=1,1,1\nB2=2,2,2\n");
  EXPECT_EQ(box.list()->currentRow(), 1);
  EXPECT_EQ(box.colour(), RGB(3, 3, 3)) << "the program's selection doesn't touch the fields";
  box.list()->setCurrentRow(0);
  box.DeleteColour();
  EXPECT_EQ(box.list()->currentRow(), 0);
  EXPECT_EQ(test::Slurp(path), "B2=2,2,2\n");
}

TEST_F(ColourDialogTest, OpenListsTablesAndSwitchesTheFile) {
  WriteTable("One=1,1,1\n");
  const std::string other = ColourTablePath("OTHERTEST.CCL");
  test::Spit(other, "Two=2,2,2\nThree=3,3,3\n");
  test::Spit(ColourTablePath(".HIDDEN.CCL"), "x=1,1,1\n");
  ColourSelectBox box(0);
  SetDialogAnswerer([](QDialog& d) {
    auto& open = dynamic_cast<OpenColourTableBox&>(d);
    EXPECT_EQ(open.nameField()->text(), "TESTS");
    EXPECT_EQ(open.names()->findItems("OTHERTEST", Qt::MatchExactly).size(), 1);
    EXPECT_TRUE(open.names()->findItems(".HIDDEN", Qt::MatchExactly).isEmpty());
    EXPECT_EQ(open.names()->currentItem()->text(), "TESTS");
    open.nameField()->setText("OTHERTEST");
    return true;
  });
  box.OpenTable();
  EXPECT_EQ(std::string(ColourTableFile), "OTHERTEST.CCL");
  ASSERT_EQ(box.list()->count(), 2);
  EXPECT_EQ(box.list()->item(1)->text(), "Three");
  std::filesystem::remove(other);
  std::filesystem::remove(ColourTablePath(".HIDDEN.CCL"));
}

TEST_F(ColourDialogTest, PaletteTilesInfoAndShiftClickEdit) {
  BYTE palette[768] = {};
  for (int i = 0; i < 256; ++i) palette[3 * i] = palette[3 * i + 1] = palette[3 * i + 2] = static_cast<BYTE>(i);
  palette[3 * 18] = 0xAB;
  {
    PaletteColourSelectBox box(palette, 8, 18, nullptr);
    EXPECT_EQ(box.windowTitle(), "Colour");
    EXPECT_EQ(box.count(), 256);
    EXPECT_EQ(box.findChildren<PaletteTile*>().size(), 256);
    for (int i : {0, 15, 16, 255}) {
      auto* t = box.findChild<PaletteTile*>(QString::number(102 + i));
      ASSERT_TRUE(t) << i;
      EXPECT_EQ(t->index(), i);
      EXPECT_EQ(t->geometry(), QRect(8 + 16 * (i % 16), 47 + 16 * (i / 16), 14, 14)) << i;
    }
    EXPECT_EQ(box.info()->text(), "Color: 18\n\nR:171 (ABh)\nG:18 (12h)\nB:18 (12h)\n");
  }
  // 16 colours: index 18 on entry shows as 2.
  PaletteColourSelectBox small(palette, 4, 18, nullptr);
  EXPECT_EQ(small.count(), 16);
  EXPECT_EQ(small.selected(), 2);
  EXPECT_EQ(small.info()->text(), "Color: 2\n\nR:2 (02h)\nG:2 (02h)\nB:2 (02h)\n");
  // Shift+click starts the colour dialog from the selected entry and gives the
  // clicked tile the result; the selection stays.
  COLORREF started = 0;
  SetDialogAnswerer([&](QDialog& d) {
    auto& rgb = dynamic_cast<ColourSelectBox&>(d);
    started = rgb.colour();
    rgb.setColour(RGB(10, 20, 30));
    return true;
  });
  QTest::mouseClick(small.tile(5), Qt::LeftButton, Qt::ShiftModifier, QPoint(3, 3));
  EXPECT_EQ(started, RGB(2, 2, 2));
  EXPECT_EQ(small.selected(), 2);
  EXPECT_EQ(palette[15], 10);
  EXPECT_EQ(palette[16], 20);
  EXPECT_EQ(palette[17], 30);
  // A plain click selects.
  QTest::mouseClick(small.tile(5), Qt::LeftButton, Qt::NoModifier, QPoint(3, 3));
  EXPECT_EQ(small.selected(), 5);
  EXPECT_EQ(small.info()->text(), "Color: 5\n\nR:10 (0Ah)\nG:20 (14h)\nB:30 (1Eh)\n");
}

TEST_F(ColourDialogTest, GreySelectorLevelsForThumbPositions) {
  GreyLevelSelector ramp;
  ramp.resize(40, 262);
  ramp.show();
  EXPECT_EQ(ramp.travel(), 255);
  EXPECT_EQ(ramp.thumb()->height(), 7);
  EXPECT_EQ(ramp.thumb()->width(), 40);
  for (int level : {0, 1, 128, 254, 255}) {
    EXPECT_EQ(ramp.GreyLevelSetCurrentPos(level), level);
    EXPECT_EQ(ramp.GreyLevelGetCurrentPos(), level);
    EXPECT_EQ(ramp.SendMessage(UM_GETGREYLEVEL, 0, 0), RGB(level, level, level));
  }
  EXPECT_EQ(ramp.GreyLevelSetCurrentPos(256), -1);
  EXPECT_EQ(ramp.GreyLevelSetCurrentPos(-1), -1);
  EXPECT_EQ(ramp.thumb()->y(), 255);
  ramp.SendMessage(UM_SETGREYLEVEL, 100, -1);
  EXPECT_EQ(ramp.thumb()->y(), 100);
  ramp.SendMessage(UM_SETGREYLEVEL, 300, -1);
  EXPECT_EQ(ramp.thumb()->y(), 100) << "300 moves nothing";
  EXPECT_EQ(ramp.SendMessage(UM_SETGREYLEVEL, 0, RGB(10, 20, 30)), 20);
  EXPECT_EQ(ramp.thumb()->y(), 20);
  // A smaller ramp skips levels: travel 120, top 1 is level 2.
  GreyLevelSelector smallRamp;
  smallRamp.resize(40, 127);
  EXPECT_EQ(smallRamp.GreyLevelSetCurrentPos(3), 1);
  EXPECT_EQ(smallRamp.GreyLevelGetCurrentPos(), 2);

  // A press on the ramp moves the thumb and tells the parent; below the
  // thumb's lowest position nothing moves.
  std::vector<int> told;
  QObject::connect(&ramp, &GreyLevelSelector::greyLevelChanged, [&](int level, COLORREF c) {
    told.push_back(level);
    EXPECT_EQ(c, RGB(level, level, level));
  });
  ramp.show();
  QTest::mouseClick(&ramp, Qt::LeftButton, Qt::NoModifier, QPoint(5, 77));
  QCoreApplication::processEvents();
  EXPECT_EQ(ramp.thumb()->y(), 77);
  ASSERT_EQ(told.size(), 1u);
  EXPECT_EQ(told[0], 77);
  QTest::mouseClick(&ramp, Qt::LeftButton, Qt::NoModifier, QPoint(5, 259));
  QCoreApplication::processEvents();
  EXPECT_EQ(ramp.thumb()->y(), 77);

  // A drag counts from where it began and stops at the ends of the travel.
  auto send = [&](QEvent::Type type, int globalY, Qt::MouseButtons buttons) {
    QPointF global(100, globalY);
    QMouseEvent e(type, QPointF(3, 3), global, Qt::LeftButton, buttons, Qt::NoModifier);
    QApplication::sendEvent(ramp.thumb(), &e);
  };
  send(QEvent::MouseButtonPress, 500, Qt::LeftButton);
  send(QEvent::MouseMove, 510, Qt::LeftButton);
  EXPECT_EQ(ramp.thumb()->y(), 87);
  send(QEvent::MouseMove, 300, Qt::LeftButton);
  EXPECT_EQ(ramp.thumb()->y(), 0);
  send(QEvent::MouseMove, 450, Qt::LeftButton);
  EXPECT_EQ(ramp.thumb()->y(), 27) << "back past the end, the thumb follows again";
  send(QEvent::MouseButtonRelease, 450, Qt::NoButton);
  EXPECT_EQ(ramp.thumbY(), 27);
  QCoreApplication::processEvents();
  EXPECT_EQ(told.back(), 27);
}

TEST_F(ColourDialogTest, GreyDialogShowsAndReturnsTheLevel) {
  COLORREF c = RGB(90, 90, 90);
  SetDialogAnswerer([](QDialog& d) {
    auto& box = dynamic_cast<GreySelectBox&>(d);
    EXPECT_EQ(box.windowTitle(), "Grey Level");
    EXPECT_EQ(box.selector()->height(), 262);
    EXPECT_EQ(box.selector()->thumb()->y(), 90);
    EXPECT_EQ(box.levelLabel()->text(), "90");
    box.show();
    QTest::mouseClick(box.selector(), Qt::LeftButton, Qt::NoModifier, QPoint(5, 200));
    QCoreApplication::processEvents();
    EXPECT_EQ(box.levelLabel()->text(), "200");
    return true;
  });
  EXPECT_EQ(DoColourSelectGrey(nullptr, &c), 1);
  EXPECT_EQ(c, RGB(200, 200, 200));
}

TEST_F(ColourDialogTest, RoutingByImageTypeAndFillType) {
  std::vector<QString> opened;
  SetDialogAnswerer([&](QDialog& d) {
    opened.push_back(d.objectName());
    return false;
  });
  BLOCKSET r;
  CreateNewFile(&r);
  COLORREF c = 0;
  auto route = [&](int type, int fillType, int code) {
    opened.clear();
    r.Image = type == IMAGE_TRUECOLOUR ? CreateDib(4, 4, nullptr, 24)
              : type == IMAGE_GREY     ? CreateNewImage(NEWFILEPARAM{4, 4, 1, 0})
              : type == IMAGE_MONO     ? PalettedImage(1)
                                       : PalettedImage(8);
    r.ImageType = type;
    r.FillType = fillType;
    DoColourSelect(nullptr, &r, &c, nullptr, code);
    return opened.empty() ? QString("nothing") : opened[0];
  };
  for (int code : {1, 4}) {
    EXPECT_EQ(route(0, 2, code), "ColourSelectBox");
    EXPECT_EQ(route(1, 1, code), "GreySelectBox");
    EXPECT_EQ(route(2, 1, code), "PaletteColourSelectBox");
    EXPECT_EQ(route(3, 3, code), "PaletteColourSelectBox");
  }
  EXPECT_EQ(route(0, 0, 2), "ColourSelectBox");
  EXPECT_EQ(route(0, 1, 2), "GradientBox");
  EXPECT_EQ(route(0, 2, 2), "TextureBox");
  EXPECT_EQ(route(0, 3, 2), "MatrixBox");
  EXPECT_EQ(route(1, 0, 2), "GreySelectBox");
  EXPECT_EQ(route(1, 1, 2), "GradientBox");
  EXPECT_EQ(route(1, 2, 2), "nothing");
  EXPECT_EQ(route(1, 3, 2), "nothing");
  for (int f = 0; f < 4; ++f) EXPECT_EQ(route(2, f, 2), "PaletteColourSelectBox") << f;
  // No image counts as true colour.
  r.Image.reset();
  r.ImageType = IMAGE_NONE;
  r.FillType = 0;
  opened.clear();
  DoColourSelect(nullptr, &r, &c, nullptr, 1);
  ASSERT_EQ(opened.size(), 1u);
  EXPECT_EQ(opened[0], "ColourSelectBox");
  // An image of no known type is an error.
  r.Image = CreateDib(4, 4, nullptr, 24);
  r.ImageType = IMAGE_NONE;
  opened.clear();
  EXPECT_EQ(DoColourSelect(nullptr, &r, &c, nullptr, 1), 0);
  EXPECT_TRUE(opened.empty());
  ASSERT_EQ(prompts.size(), 1u);
  EXPECT_EQ(prompts[0], "There has been an error determining the type of the current image.");
}

TEST_F(ColourDialogTest, UpdateDefaultsAndThePalettePath) {
  BLOCKSET r;
  CreateNewFile(&r);
  r.Image = PalettedImage(8);
  r.ImageType = IMAGE_PALETTED;
  COLORREF field = 3;
  int setting = 77;
  SetDialogAnswerer([](QDialog& d) {
    auto& box = dynamic_cast<PaletteColourSelectBox&>(d);
    box.TileClicked(40, false);
    return true;
  });
  UpdateDefaults = 0;
  ASSERT_EQ(DoColourSelect(nullptr, &r, &field, &setting, 1), 1);
  EXPECT_EQ(field, 40u);
  EXPECT_EQ(setting, 77) << "UpdateDefaults off";
  UpdateDefaults = 1;
  ASSERT_EQ(DoColourSelect(nullptr, &r, &field, &setting, 1), 1);
  EXPECT_EQ(setting, static_cast<int>(RGB(120, 40, 215))) << "the entry's colour, not the index";
  // An edit of an entry lands in the image's palette after OK, not after Cancel.
  bool ok = false;
  SetDialogAnswerer([&](QDialog& d) {
    if (auto* rgb = dynamic_cast<ColourSelectBox*>(&d)) {
      rgb->setColour(RGB(1, 2, 3));
      return true;
    }
    dynamic_cast<PaletteColourSelectBox&>(d).TileClicked(7, true);
    return ok;
  });
  DoColourSelect(nullptr, &r, &field, &setting, 4);
  EXPECT_NE(ColourOfValue(&r, 7), RGB(1, 2, 3));
  ok = true;
  DoColourSelect(nullptr, &r, &field, &setting, 4);
  EXPECT_EQ(ColourOfValue(&r, 7), RGB(1, 2, 3));
  // Mono: two tiles; editing one changes white in the document.
  r.Image = PalettedImage(1);
  r.ImageType = IMAGE_MONO;
  field = 1;
  SetDialogAnswerer([&](QDialog& d) {
    if (auto* rgb = dynamic_cast<ColourSelectBox*>(&d)) {
      rgb->setColour(RGB(250, 250, 250));
      return true;
    }
    auto& box = dynamic_cast<PaletteColourSelectBox&>(d);
    EXPECT_EQ(box.count(), 2);
    box.TileClicked(1, true);
    return true;
  });
  DoColourSelect(nullptr, &r, &field, &setting, 1);
  EXPECT_EQ(ColourOfValue(&r, 1), RGB(250, 250, 250));
  // Grey: the paper colour stays a COLORREF of three equal channels.
  r.Image = CreateNewImage(NEWFILEPARAM{4, 4, 1, 0});
  r.ImageType = IMAGE_GREY;
  SetDialogAnswerer([](QDialog& d) {
    dynamic_cast<GreySelectBox&>(d).selector()->SendMessage(UM_SETGREYLEVEL, 0, RGB(60, 60, 60));
    dynamic_cast<GreySelectBox&>(d).selector()->SendMessage(UM_GREYLEVELCHANGED, 0, 0);
    return true;
  });
  ASSERT_EQ(DoColourSelect(nullptr, &r, &r.PaperColour, &setting, 4), 1);
  EXPECT_EQ(r.PaperColour, RGB(60, 60, 60));
  EXPECT_EQ(setting, static_cast<int>(RGB(60, 60, 60)));
}

TEST_F(ColourDialogTest, StatusSwatchClickChangesThePaintColour) {
  SetNewFileAnswerer([](NewFileBox&) { return true; });
  MainFrame frame;
  frame.resize(900, 700);
  frame.show();
  frame.Command(CM_NEW);
  DocumentWindow* d = frame.ActiveDocument();
  ASSERT_TRUE(d);
  ASSERT_EQ(d->record()->ImageType, IMAGE_TRUECOLOUR);
  SetDialogAnswerer([](QDialog& dialog) {
    auto& box = dynamic_cast<ColourSelectBox&>(dialog);
    box.field(IDC_RED)->setValue(12);
    box.field(IDC_GREEN)->setValue(34);
    box.field(IDC_BLUE)->setValue(56);
    return true;
  });
  QTest::mouseClick(frame.statusBar()->swatch(CM_PAINTSWATCH), Qt::LeftButton);
  QCoreApplication::processEvents();
  EXPECT_EQ(d->record()->PaintColour, RGB(12, 34, 56));
  EXPECT_EQ(frame.statusBar()->swatch(CM_PAINTSWATCH)->colour(), RGB(12, 34, 56));
  // The paper swatch changes the paper colour only.
  QTest::mouseClick(frame.statusBar()->swatch(CM_PAPERSWATCH), Qt::LeftButton);
  QCoreApplication::processEvents();
  EXPECT_EQ(d->record()->PaperColour, RGB(12, 34, 56));
  EXPECT_EQ(frame.statusBar()->swatch(CM_PAPERSWATCH)->colour(), RGB(12, 34, 56));
  d->record()->Modified = 0;
  SetNewFileAnswerer({});
}

}  // namespace
}  // namespace ochrel
