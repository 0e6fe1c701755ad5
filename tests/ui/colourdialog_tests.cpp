// The colour dialogs driven as a user would: which dialog each document kind
// opens, the colour table's immediate saves, the palette grid and the grey ramp.
#include <gtest/gtest.h>

#include <QApplication>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>

#include "frame/colourtable.h"
#include "qt_fixture.h"
#include "ui/dialogs/colour/colourdialogs.h"
#include "ui/dialogs/colour/greyselector.h"
#include "ui/dialogs/fills/filldialogs.h"
#include "image/colourspace.h"

namespace ochrel {
namespace {

HDIB PalettedImage(int bits) {
  BYTE palette[768] = {};
  for (int i = 0; i < (1 << bits); ++i) {
    palette[3 * i] = BYTE(i * 3);
    palette[3 * i + 1] = BYTE(i);
    palette[3 * i + 2] = BYTE(255 - i);
  }
  return CreateDib(8, 8, palette, bits);
}

class ColourDialogTest : public test::QtFixture {
 protected:
  void SetUp() override {
    QtFixture::SetUp();
    ComputeApplicationPath();
    answer = IDYES;
    std::snprintf(ColourTableFile, kSettingTextSize, "%s", "TESTS.CCL");
    path = ColourTablePath("TESTS.CCL");
  }
  void TearDown() override {
    std::filesystem::remove(path);
    QtFixture::TearDown();
  }
  void WriteTable(const std::string& text) { test::Spit(path, text); }
  std::string path;
};

TEST_F(ColourDialogTest, HlsFieldsFollowTheColourWithinTheirRanges) {
  // The sums themselves are the engine's (tests/image/toolmaths_tests.cpp).
  ColourSelectBox box(RGB(10, 20, 30));
  for (auto [id, max] : {std::pair{IDC_HUE, 239}, std::pair{IDC_SATURATION, 240}, std::pair{IDC_LUMINOSITY, 240},
                         std::pair{IDC_RED, 255}, std::pair{IDC_GREEN, 255}, std::pair{IDC_BLUE, 255}}) {
    EXPECT_EQ(box.field(id)->minimum(), 0);
    EXPECT_EQ(box.field(id)->maximum(), max) << id;
  }
  EXPECT_EQ(box.field(IDC_BLUE)->value(), 30);
  box.field(IDC_GREEN)->setValue(200);
  EXPECT_EQ(box.colour(), RGB(10, 200, 30));
  EXPECT_EQ(box.field(IDC_HUE)->value(), RgbToHls(RGB(10, 200, 30)).Hue);
}

TEST_F(ColourDialogTest, TableSelectionRuleAndListCopiesIntoTheFields) {
  WriteTable("Grey=128,128,128\nRed=255,0,0\nAlso red=255,0,0\n");
  {
    ColourSelectBox box(RGB(255, 0, 0));
    ASSERT_EQ(box.list()->count(), 3);
    EXPECT_EQ(box.list()->currentRow(), 1) << "the first of two entries of the colour";
  }
  ColourSelectBox box(RGB(1, 2, 3));  // no entry of the colour: the first item, the fields keep theirs
  EXPECT_EQ(box.list()->currentRow(), 0);
  EXPECT_EQ(box.colour(), RGB(1, 2, 3));
  box.list()->setCurrentRow(1);  // the user picks Red
  EXPECT_EQ(box.field(IDC_RED)->value(), 255);
  EXPECT_EQ(box.colour(), RGB(255, 0, 0));
  // A double click on an item is OK, with the item's colour; Cancel leaves the colour.
  COLORREF c = RGB(9, 9, 9);
  OnDialog<ColourSelectBox>([](ColourSelectBox& box) {
    emit box.list()->itemDoubleClicked(box.list()->item(0));
    return box.result() == QDialog::Accepted;
  });
  EXPECT_EQ(DoColourSelectRGB(nullptr, &c), 1);
  EXPECT_EQ(c, RGB(128, 128, 128));
  OnDialog<ColourSelectBox>([](ColourSelectBox& box) { return box.setColour(RGB(1, 1, 1)), false; });
  EXPECT_EQ(DoColourSelectRGB(nullptr, &c), 0);
  EXPECT_EQ(c, RGB(128, 128, 128));
  // A missing table file leaves the list empty, without a word.
  std::filesystem::remove(path);
  EXPECT_EQ(ColourSelectBox(0).list()->count(), 0);
  EXPECT_TRUE(prompts.empty());
}

TEST_F(ColourDialogTest, AddAndDeleteAskAndSaveAtOnce) {
  WriteTable("Blood=200,0,0\n");
  ColourSelectBox box(RGB(200, 0, 0));
  int addBoxes = 0;
  OnDialog<AddColourBox>([&](AddColourBox& add) {
    ++addBoxes;
    EXPECT_FALSE(add.okButton()->isEnabled());
    add.nameField()->setText("ab");
    EXPECT_FALSE(add.okButton()->isEnabled()) << "two characters are too few";
    add.nameField()->setText("Deep red");
    EXPECT_EQ(add.findChild<QLabel*>("102")->text(), QString::number(GetRValue(box.colour())));
    return add.okButton()->isEnabled();
  });
  answer = IDNO;  // the duplicate question, answered No: nothing asked for or added
  box.AddColour();
  EXPECT_EQ(prompts,
            std::vector<QString>{
                "This color already exists in the current color table as Blood. Do you wish to add it anyway?"});
  EXPECT_EQ(addBoxes, 0);
  answer = IDYES;
  box.AddColour();
  EXPECT_EQ(test::Slurp(path), "Blood=200,0,0\nDeep red=200,0,0\n");
  prompts.clear();
  box.setColour(RGB(1, 2, 3));  // a new colour asks no question
  box.AddColour();
  EXPECT_TRUE(prompts.empty());
  EXPECT_EQ(test::Slurp(path), "Blood=200,0,0\nDeep red=200,0,0\nDeep red=1,2,3\n");
  EXPECT_EQ(box.list()->currentRow(), 2);
  // Delete asks, writes, and selects the one before; the fields keep their colour.
  answer = IDNO;
  box.DeleteColour();
  EXPECT_EQ(prompts.back(), "Do you really want to delete this color from the current color list?");
  EXPECT_EQ(box.list()->count(), 3);
  answer = IDYES;
  box.DeleteColour();
  EXPECT_EQ(test::Slurp(path), "Blood=200,0,0\nDeep red=200,0,0\n");
  EXPECT_EQ(box.list()->currentRow(), 1);
  EXPECT_EQ(box.colour(), RGB(1, 2, 3));
  box.list()->setCurrentRow(0);
  box.DeleteColour();
  EXPECT_EQ(box.list()->currentRow(), 0);
  EXPECT_EQ(test::Slurp(path), "Deep red=200,0,0\n");
}

TEST_F(ColourDialogTest, OpenListsTablesAndSwitchesTheFile) {
  WriteTable("One=1,1,1\n");
  const std::string other = ColourTablePath("OTHERTEST.CCL"), hidden = ColourTablePath(".HIDDEN.CCL");
  test::Spit(other, "Two=2,2,2\nThree=3,3,3\n");
  test::Spit(hidden, "x=1,1,1\n");
  ColourSelectBox box(0);
  OnDialog<OpenColourTableBox>([](OpenColourTableBox& open) {
    EXPECT_EQ(open.nameField()->text(), "TESTS");
    EXPECT_EQ(open.names()->findItems("OTHERTEST", Qt::MatchExactly).size(), 1);
    EXPECT_TRUE(open.names()->findItems(".HIDDEN", Qt::MatchExactly).isEmpty());
    return open.nameField()->setText("OTHERTEST"), true;
  });
  box.OpenTable();
  EXPECT_STREQ(ColourTableFile, "OTHERTEST.CCL");
  ASSERT_EQ(box.list()->count(), 2);
  EXPECT_EQ(box.list()->item(1)->text(), "Three");
  std::filesystem::remove(other);
  std::filesystem::remove(hidden);
}

TEST_F(ColourDialogTest, PaletteTilesInfoAndShiftClickEdit) {
  BYTE palette[768] = {};
  for (int i = 0; i < 256; ++i) palette[3 * i] = palette[3 * i + 1] = palette[3 * i + 2] = BYTE(i);
  palette[3 * 18] = 0xAB;
  {
    PaletteColourSelectBox box(palette, 8, 18, nullptr);
    EXPECT_EQ(box.findChildren<PaletteTile*>().size(), 256);
    for (int i : {0, 15, 16, 255})
      EXPECT_EQ(box.tile(i)->geometry(), QRect(8 + 16 * (i % 16), 47 + 16 * (i / 16), 14, 14)) << i;
    EXPECT_EQ(box.info()->text(), "Color: 18\n\nR:171 (ABh)\nG:18 (12h)\nB:18 (12h)\n");
  }
  PaletteColourSelectBox small(palette, 4, 18, nullptr);  // 16 colours: index 18 on entry shows as 2
  EXPECT_EQ(small.count(), 16);
  EXPECT_EQ(small.selected(), 2);
  // Shift+click starts the colour dialog from the selected entry and gives the
  // clicked tile the result; the selection stays. A plain click selects.
  COLORREF started = 0;
  OnDialog<ColourSelectBox>([&](ColourSelectBox& rgb) {
    started = rgb.colour();
    return rgb.setColour(RGB(10, 20, 30)), true;
  });
  Click(small.tile(5), QPoint(3, 3), Qt::LeftButton, Qt::ShiftModifier);
  EXPECT_EQ(started, RGB(2, 2, 2));
  EXPECT_EQ(small.selected(), 2);
  EXPECT_EQ(std::vector<int>(palette + 15, palette + 18), std::vector<int>({10, 20, 30}));
  Click(small.tile(5), QPoint(3, 3));
  EXPECT_EQ(small.selected(), 5);
  EXPECT_EQ(small.info()->text(), "Color: 5\n\nR:10 (0Ah)\nG:20 (14h)\nB:30 (1Eh)\n");
}

TEST_F(ColourDialogTest, GreyRampTakesClicksAndDragsAndTheDialogReturnsTheLevel) {
  GreyLevelSelector ramp;
  ramp.resize(40, 262);
  ramp.show();
  EXPECT_EQ(ramp.travel(), 255);
  for (int level : {0, 1, 128, 255}) {
    EXPECT_EQ(ramp.GreyLevelSetCurrentPos(level), level);
    EXPECT_EQ(ramp.SendMessage(UM_GETGREYLEVEL, 0, 0), RGB(level, level, level));
  }
  EXPECT_EQ(ramp.GreyLevelSetCurrentPos(256), -1);
  EXPECT_EQ(ramp.SendMessage(UM_SETGREYLEVEL, 0, RGB(10, 20, 30)), 20);
  GreyLevelSelector smallRamp;  // a smaller ramp skips levels: travel 120, top 1 is level 2
  smallRamp.resize(40, 127);
  EXPECT_EQ(smallRamp.GreyLevelSetCurrentPos(3), 1);
  EXPECT_EQ(smallRamp.GreyLevelGetCurrentPos(), 2);
  // A press moves the thumb and tells the parent; below its lowest place nothing moves.
  std::vector<int> told;
  QObject::connect(&ramp, &GreyLevelSelector::greyLevelChanged, [&](int level, COLORREF) { told.push_back(level); });
  Click(&ramp, QPoint(5, 77));
  EXPECT_EQ(ramp.thumb()->y(), 77);
  EXPECT_EQ(told, std::vector<int>{77});
  Click(&ramp, QPoint(5, 259));
  EXPECT_EQ(ramp.thumb()->y(), 77);
  // A drag counts from where it began and stops at the ends of the travel.
  auto send = [&](QEvent::Type type, int globalY, Qt::MouseButtons buttons) {
    QMouseEvent e(type, QPointF(3, 3), QPointF(100, globalY), Qt::LeftButton, buttons, Qt::NoModifier);
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
  QCoreApplication::processEvents();
  EXPECT_EQ(told.back(), 27);

  COLORREF c = RGB(90, 90, 90);
  OnDialog<GreySelectBox>([](GreySelectBox& box) {
    EXPECT_EQ(box.windowTitle(), "Grey Level");
    EXPECT_EQ(box.selector()->thumb()->y(), 90);
    EXPECT_EQ(box.levelLabel()->text(), "90");
    box.show();
    Click(box.selector(), QPoint(5, 200));
    EXPECT_EQ(box.levelLabel()->text(), "200");
    return true;
  });
  EXPECT_EQ(DoColourSelectGrey(nullptr, &c), 1);
  EXPECT_EQ(c, RGB(200, 200, 200));
}

TEST_F(ColourDialogTest, RoutingByImageTypeAndFillType) {
  QString opened;
  SetDialogAnswerer([&](QDialog& d) { return opened = d.objectName(), false; });
  BLOCKSET r;
  CreateNewFile(&r);
  COLORREF c = 0;
  auto route = [&](int type, int fillType, int code) {
    opened = "nothing";
    r.Image = type == IMAGE_TRUECOLOUR ? CreateDib(4, 4, nullptr, 24)
              : type == IMAGE_GREY     ? CreateNewImage(NEWFILEPARAM{4, 4, 1, 0})
                                       : PalettedImage(type == IMAGE_MONO ? 1 : 8);
    r.ImageType = type;
    r.FillType = fillType;
    DoColourSelect(nullptr, &r, &c, nullptr, code);
    return opened;
  };
  const char* rgb = "ColourSelectBox";
  const char* grey = "GreySelectBox";
  const char* pal = "PaletteColourSelectBox";
  // Paint (1) and paper (4) by the kind of picture; fill (2) by the fill type too.
  const char* expected[4][3][4] = {
      {{rgb, rgb, rgb, rgb}, {rgb, "GradientBox", "TextureBox", "MatrixBox"}, {rgb, rgb, rgb, rgb}},
      {{grey, grey, grey, grey}, {grey, "GradientBox", "nothing", "nothing"}, {grey, grey, grey, grey}},
      {{pal, pal, pal, pal}, {pal, pal, pal, pal}, {pal, pal, pal, pal}},
      {{pal, pal, pal, pal}, {pal, nullptr, nullptr, nullptr}, {pal, pal, pal, pal}},
  };
  for (int type = 0; type < 4; ++type)
    for (int k = 0; k < 3; ++k)
      for (int fill = 0; fill < 4; ++fill)
        if (expected[type][k][fill])
          EXPECT_EQ(route(type, fill, k == 0 ? 1 : k == 1 ? 2 : 4), expected[type][k][fill]) << type << k << fill;
  // No image counts as true colour; an image of no known type is an error.
  r.Image.reset();
  r.ImageType = IMAGE_NONE;
  r.FillType = 0;
  DoColourSelect(nullptr, &r, &c, nullptr, 1);
  EXPECT_EQ(opened, rgb);
  r.Image = CreateDib(4, 4, nullptr, 24);
  opened = "nothing";
  EXPECT_EQ(DoColourSelect(nullptr, &r, &c, nullptr, 1), 0);
  EXPECT_EQ(opened, "nothing");
  EXPECT_EQ(prompts, std::vector<QString>{"There has been an error determining the type of the current image."});
}

TEST_F(ColourDialogTest, PaletteAndGreyPathsAndUpdateDefaults) {
  BLOCKSET r;
  CreateNewFile(&r);
  r.Image = PalettedImage(8);
  r.ImageType = IMAGE_PALETTED;
  COLORREF field = 3;
  int setting = 77;
  OnDialog<PaletteColourSelectBox>([](PaletteColourSelectBox& box) { return box.TileClicked(40, false), true; });
  ASSERT_EQ(DoColourSelect(nullptr, &r, &field, &setting, 1), 1);
  EXPECT_EQ(field, 40u);
  EXPECT_EQ(setting, 77) << "UpdateDefaults off";
  UpdateDefaults = 1;
  ASSERT_EQ(DoColourSelect(nullptr, &r, &field, &setting, 1), 1);
  EXPECT_EQ(setting, int(RGB(120, 40, 215))) << "the entry's colour, not the index";
  // An edit of an entry lands in the image's palette after OK, not after Cancel.
  for (bool ok : {false, true}) {
    SetDialogAnswerer([&](QDialog& d) {
      if (auto* rgb = dynamic_cast<ColourSelectBox*>(&d)) return rgb->setColour(RGB(1, 2, 3)), true;
      return dynamic_cast<PaletteColourSelectBox&>(d).TileClicked(7, true), ok;
    });
    DoColourSelect(nullptr, &r, &field, &setting, 4);
    EXPECT_EQ(ColourOfValue(&r, 7) == RGB(1, 2, 3), ok);
  }
  // Grey: the paper colour stays a COLORREF of three equal channels.
  r.Image = CreateNewImage(NEWFILEPARAM{4, 4, 1, 0});
  r.ImageType = IMAGE_GREY;
  OnDialog<GreySelectBox>([](GreySelectBox& d) {
    d.selector()->SendMessage(UM_SETGREYLEVEL, 0, RGB(60, 60, 60));
    d.selector()->SendMessage(UM_GREYLEVELCHANGED, 0, 0);
    return true;
  });
  ASSERT_EQ(DoColourSelect(nullptr, &r, &r.PaperColour, &setting, 4), 1);
  EXPECT_EQ(r.PaperColour, RGB(60, 60, 60));
  EXPECT_EQ(setting, int(RGB(60, 60, 60)));
}

TEST_F(ColourDialogTest, StatusSwatchClicksChangeTheirColourOnly) {
  DocumentWindow* d = NewDocument();
  OnDialog<ColourSelectBox>([](ColourSelectBox& box) {
    box.field(IDC_RED)->setValue(12);
    box.field(IDC_GREEN)->setValue(34);
    box.field(IDC_BLUE)->setValue(56);
    return true;
  });
  const COLORREF paper = d->record()->PaperColour;
  Click(frame->statusBar()->swatch(CM_PAINTSWATCH), QPoint(2, 2));
  EXPECT_EQ(d->record()->PaintColour, RGB(12, 34, 56));
  EXPECT_EQ(frame->statusBar()->swatch(CM_PAINTSWATCH)->colour(), RGB(12, 34, 56));
  EXPECT_EQ(d->record()->PaperColour, paper);
  Click(frame->statusBar()->swatch(CM_PAPERSWATCH), QPoint(2, 2));
  EXPECT_EQ(d->record()->PaperColour, RGB(12, 34, 56));
  EXPECT_EQ(frame->statusBar()->swatch(CM_PAPERSWATCH)->colour(), RGB(12, 34, 56));
}

}  // namespace
}  // namespace ochrel
