// The fill editors (gradient, texture, matrix tile) and the soft shadows: what
// OK and Cancel leave in the document, the controls and previews, and the
// texture and tile libraries with their files.
#include <gtest/gtest.h>

#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMenu>
#include <QPushButton>
#include <QRadioButton>
#include <QScrollBar>
#include <QSlider>

#include "fills/stock.h"
#include "qt_fixture.h"
#include "render/screen.h"
#include "test_images.h"
#include "ui/dialogs/colour/colourdialogs.h"
#include "ui/dialogs/fills/filldialogs.h"
#include "ui/dialogs/fills/gradientdialog.h"
#include "ui/dialogs/fills/matrixdialog.h"
#include "ui/dialogs/fills/shadowdialog.h"
#include "ui/dialogs/fills/texturedialog.h"

namespace ochrel {
namespace {

namespace fs = std::filesystem;

class FillDialogTest : public test::QtFixture {
 protected:
  void SetUp() override {
    QtFixture::SetUp();
    answer = IDYES;
    CreateNewFile(&record);
    record.ImageType = 0;
  }
  void TearDown() override {
    SetFillShiftOverride(-1);
    MatrixBox::SetTilePathAnswerer({});
    TextureLibraryWriteable() = 0;
    MatrixLibraryWriteable() = 0;
    for (const char* name : {"Mine.FFT", "Mine.FFT.bak", "Tiles.MTX", "Tiles.MTX.bak"}) fs::remove(DataFolder() / name);
    QtFixture::TearDown();
  }
  static bool SameDib(const HDIB& a, const HDIB& b) { return test::SamePixels(a, b); }

  BLOCKSET record;
};

TEST_F(FillDialogTest, GradientOkStoresTypeAngleCentreAndColoursCancelKeepsRecord) {
  record.Gradient.GradientType = 1;
  record.Gradient.Angle = 77;
  record.Gradient.CenterX = 20;
  record.Gradient.StartColour = 0x123456;
  OnDialog<GradientBox>([](GradientBox& box) {
    box.typeButton(3)->click();
    box.rotation()->setValue(45);
    return false;
  });
  EXPECT_EQ(DoGradientSelect(nullptr, &record), 0);
  EXPECT_EQ(record.Gradient.GradientType, 1);
  EXPECT_EQ(record.Gradient.Angle, 77);
  // OK untouched: the opening zeroes rotation and centre, everything else stays.
  OnDialog<GradientBox>([](GradientBox& box) {
    EXPECT_EQ(box.rotation()->value(), 0);
    EXPECT_EQ(box.centreX()->value(), 0);
    return true;
  });
  EXPECT_EQ(DoGradientSelect(nullptr, &record), 1);
  EXPECT_EQ(record.Gradient.Angle, 0);
  EXPECT_EQ(record.Gradient.CenterX, 0);
  EXPECT_EQ(record.Gradient.GradientType, 1);
  EXPECT_EQ(record.Gradient.StartColour, 0x123456u);
  // OK after choosing type, angle, centre and a colour.
  SetDialogAnswerer([](QDialog& d) {
    if (auto* picker = dynamic_cast<ColourSelectBox*>(&d)) return picker->setColour(RGB(10, 20, 30)), true;
    auto& box = dynamic_cast<GradientBox&>(d);
    box.typeButton(3)->click();
    box.rotation()->setValue(-120);
    box.centreX()->setValue(33);
    box.centreY()->setValue(-60);  // clamped to -50
    box.endSwatch()->click();
    EXPECT_EQ(box.endSwatch()->colour(), RGB(10, 20, 30));
    return true;
  });
  EXPECT_EQ(DoGradientSelect(nullptr, &record), 1);
  EXPECT_EQ(record.Gradient.GradientType, 3);
  EXPECT_EQ(record.Gradient.Angle, -120);
  EXPECT_EQ(record.Gradient.CenterX, 33);
  EXPECT_EQ(record.Gradient.CenterY, -50);
  EXPECT_EQ(record.Gradient.EndColour, RGB(10, 20, 30));
}

TEST_F(FillDialogTest, GradientControlsFollowTheTypeAndThePreviewTakesDrags) {
  GRADIENT g = record.Gradient;
  g.StartColour = 0xFFFFFF;
  g.EndColour = 0;
  GradientBox box(&g);
  box.show();
  for (auto [type, rotation, centre] : {std::tuple{0, true, false}, std::tuple{1, false, true},
                                        std::tuple{2, false, true}, std::tuple{3, true, true}}) {
    box.typeButton(type)->click();
    EXPECT_EQ(g.GradientType, type);
    EXPECT_EQ(box.rotation()->isEnabled(), rotation) << type;
    EXPECT_EQ(box.centreX()->isEnabled(), centre) << type;
    EXPECT_EQ(box.findChild<QLabel*>("115")->isEnabled(), centre) << type;
  }
  // The preview is the gradient of the working record, drawn inside the edge.
  const QImage before = Shot(box.preview());
  GRADIENT expect = g;
  const int inner = box.preview()->width() - 4;
  expect.Rect = RECT{0, 0, inner, box.preview()->height() - 4};
  HDIB dib = CreateGradient(&expect);
  for (auto [x, y] : {std::pair{0, 0}, std::pair{inner / 2, 10}, std::pair{inner - 1, inner - 1}})
    EXPECT_EQ(before.pixel(x + 2, y + 2) & 0xFFFFFF, Rgb(test::Pixel(dib, x, y))) << x << "," << y;
  box.rotation()->setValue(90);
  EXPECT_NE(Shot(box.preview()), before);
  // A press on a conical preview sets the rotation to 180 - the line angle from the centre.
  QWidget* p = box.preview();
  const QPoint c(p->width() / 2, p->height() / 2);
  Click(p, c + QPoint(40, 0));
  EXPECT_EQ(g.Angle, -180);
  Click(p, c + QPoint(0, -40));
  EXPECT_EQ(g.Angle, 90);
  // Types 1 and 2: the centre from the point, x * 100 / W - 51, clamped to -50.
  box.typeButton(1)->click();
  Click(p, QPoint(50, 120));
  EXPECT_EQ(g.CenterX, 50 * 100 / (p->width() - 4) - 51);
  EXPECT_EQ(g.CenterY, 120 * 100 / (p->height() - 4) - 51);
  Click(p, QPoint(1, 1));
  EXPECT_EQ(g.CenterX, -50);
  EXPECT_EQ(g.CenterY, -50);
  box.reject();
}

TEST_F(FillDialogTest, ShadowsCommandEditsTheActiveDocumentOnOkOnly) {
  DocumentWindow* first = NewDocument(0, 30, 20);
  DocumentWindow* second = NewDocument(0, 30, 20);
  BLOCKSET* r = second->record();
  r->FillColour = 0x0000FF;
  r->Shadow.ShadowOpacity = 255;
  r->Shadow.ShadowSoft = 15;
  OnDialog<ShadowBox>([&](ShadowBox& box) {
    EXPECT_EQ(box.windowTitle(), "Soft shadows");
    EXPECT_EQ(box.working()->Owner, r);
    box.directionButton(3)->click();
    box.opacity()->setValue(100);
    return false;
  });
  Choose(CM_SHADOWS);
  EXPECT_EQ(r->Shadow.ShadowOpacity, 255);
  SetDialogAnswerer([&](QDialog& d) {
    if (auto* picker = dynamic_cast<ColourSelectBox*>(&d)) return picker->setColour(RGB(0, 128, 64)), true;
    auto& box = dynamic_cast<ShadowBox&>(d);
    box.show();
    EXPECT_EQ(box.opacityText()->text(), "256");
    EXPECT_EQ(box.softnessText()->text(), "0.15");
    for (int dir = 0; dir < 8; ++dir) {
      box.directionButton(dir)->click();
      EXPECT_EQ(box.working()->ShadowDirection, dir);
    }
    box.directionButton(4)->click();
    box.opacity()->setValue(127);
    EXPECT_EQ(box.opacityText()->text(), "128");
    box.softness()->setValue(42);
    EXPECT_EQ(box.softnessText()->text(), "0.42");
    box.softness()->triggerAction(QAbstractSlider::SliderPageStepAdd);  // a page is an eighth of 100
    box.offset()->setValue(300);                                        // clamped to 256
    box.offset()->setValue(9);
    box.swatch()->click();  // a custom colour also picks "Custom color"
    EXPECT_TRUE(box.typeButton(2)->isChecked());
    // The sample is the engine's sample of the working record.
    HDIB expect = box.MakeSample();
    const BITMAPINFOHEADER* h = LockDib(expect);
    EXPECT_TRUE(h && Shot(box.sample()).copy(2, 2, h->biWidth, h->biHeight) ==
                         DibToQImage(h).convertToFormat(QImage::Format_RGB32));
    return true;
  });
  Choose(CM_SHADOWS);
  EXPECT_EQ(r->Shadow.ShadowDirection, 4);
  EXPECT_EQ(r->Shadow.ShadowOpacity, 127);
  EXPECT_EQ(r->Shadow.ShadowSoft, 54);
  EXPECT_EQ(r->Shadow.ShadowOffset, 9);
  EXPECT_EQ(r->Shadow.ShadowType, 2);
  EXPECT_EQ(r->Shadow.ShadowColor, RGB(0, 128, 64));
  EXPECT_NE(first->record()->Shadow.ShadowOffset, 9);
}

TEST_F(FillDialogTest, TextureFromTheStockLibraryShowsItsTypesControlsAndLandsOnOk) {
  const TextureList stock = StockTextures();
  ASSERT_GE(stock.size(), 2u);
  record.Texture.TextureType = 0;
  int pick = -1;
  OnDialog<TextureBox>([&](TextureBox& box) {
    EXPECT_EQ(box.groups()->currentText(), "Ochrel");
    EXPECT_EQ(box.items().size(), stock.size());
    EXPECT_EQ(TextureLibraryWriteable(), 0);  // the stock group is protected
    for (int i = 0; i < int(box.items().size()); ++i)
      if (box.items()[i].texture.TextureType != 0) pick = i;
    box.textures()->setCurrentRow(pick);
    EXPECT_EQ(box.types()->currentIndex(), box.items()[pick].texture.TextureType);
    const int* shown = texturetype[box.working()->TextureType].controls;
    for (int id = 501; id <= 532; ++id)
      if (QWidget* w = box.findChild<QWidget*>(QString::number(id))) {
        bool listed = false;
        for (const int* p = shown; *p; ++p) listed |= *p == id;
        EXPECT_EQ(!w->isHidden(), listed) << id;
      }
    box.preview()->WaitIdle();
    EXPECT_EQ(box.preview()->picture().size(), box.preview()->size() - QSize(4, 4));
    return true;
  });
  EXPECT_EQ(DoTextureSelect(nullptr, &record), 1);
  ASSERT_GE(pick, 0);
  EXPECT_TRUE(SameTextureFields(record.Texture, stock[pick].texture));
  // Cancel after choosing another: the document keeps the first choice.
  OnDialog<TextureBox>([&](TextureBox& box) {
    box.textures()->setCurrentRow(pick == 0 ? 1 : 0);
    box.spin(512)->setValue(4321);
    return false;
  });
  EXPECT_EQ(DoTextureSelect(nullptr, &record), 0);
  EXPECT_TRUE(SameTextureFields(record.Texture, stock[pick].texture));
  EXPECT_TRUE(prompts.empty());
}

TEST_F(FillDialogTest, TextureEditsStoreSpinValuesPercentFieldsAndCurves) {
  TEXTURE t = record.Texture;
  t.TextureType = 0;
  t.Power1 = 0.876f;  // shown as 87
  TextureBox box(&t);
  EXPECT_EQ(box.spin(507)->value(), 87);
  EXPECT_FLOAT_EQ(t.Power1, 0.876f);  // opening stores nothing
  box.spin(507)->setValue(999);       // clamped to 150
  EXPECT_FLOAT_EQ(t.Power1, 1.50f);
  box.spin(512)->setValue(0);  // seeds start at 1
  EXPECT_EQ(t.SeedValue1, 1u);
  box.spin(517)->setValue(5000);
  EXPECT_EQ(t.MatrixSize, 1024);
  const int craters = t.CreaterCount;  // a hidden field stores nothing
  box.spin(523)->setValue(5000);
  EXPECT_EQ(t.CreaterCount, craters);
  box.ChooseType(4);
  box.spin(523)->setValue(5000);
  EXPECT_EQ(t.CreaterCount, 5000);
  // Curve editor: a right double click resets to 0, 0.33, 0.67, 1; a drag to the top gives 1.
  box.ChooseType(5);
  CurveEditor* red = box.curve(0);
  QTest::mouseDClick(red, Qt::RightButton, {}, QPoint(10, 10));
  EXPECT_FLOAT_EQ(t.ColorRed1, 0.33f);
  EXPECT_FLOAT_EQ(t.ColorRed3, 1.0f);
  const QPoint n1 = red->nodePoint(1);
  QTest::mousePress(red, Qt::LeftButton, {}, n1 + QPoint(3, -3));
  QTest::mouseRelease(red, Qt::LeftButton, {}, QPoint(n1.x(), 0));
  EXPECT_FLOAT_EQ(t.ColorRed1, 1.0f);
  box.preview()->WaitIdle();
}

TEST_F(FillDialogTest, TextureGroupAddRenameDeleteWritesFileWithBackup) {
  const fs::path folder = DataFolder(), mine = folder / "Mine.FFT";
  const auto stockBytes = fs::file_size(folder / "Ochrel.FFT");
  int step = 0;
  SetDialogAnswerer([&](QDialog& d) {
    if (auto* name = dynamic_cast<EditTextureNameBox*>(&d)) {
      EXPECT_EQ(name->edit()->selectedText(), name->edit()->text());
      name->edit()->clear();
      EXPECT_FALSE(name->okButton()->isEnabled());
      name->edit()->setText(step == 0 ? "Mine" : "Zebra stripes");
      return true;
    }
    auto& box = dynamic_cast<TextureBox&>(d);
    SetFillShiftOverride(0);  // the stock group refuses changes
    box.AddTexture();
    EXPECT_TRUE(prompts.back().startsWith("This file cannot be edited or overwritten."));
    SetFillShiftOverride(1);
    box.DeleteTexture();
    EXPECT_EQ(prompts.back(), "The primary texture group cannot be deleted.");
    box.AddTexture();  // Shift and "+": a new group, written at once with the stock entries
    EXPECT_STREQ(DefaultTextureFileName, "Mine.FFT");
    EXPECT_TRUE(fs::exists(mine));
    SetFillShiftOverride(0);
    const size_t n = box.items().size();
    box.working()->SeedValue1 = 777;
    box.AddTexture();
    EXPECT_EQ(box.items().size(), n + 1);
    const int row = box.textures()->currentRow();
    EXPECT_EQ(box.items()[row].name, "Untitled (double-click to edit)");
    step = 1;
    box.RenameTexture(row);
    EXPECT_EQ(box.items()[box.textures()->currentRow()].name, "Zebra stripes");
    box.Accept();
    return true;
  });
  EXPECT_EQ(DoTextureSelect(nullptr, &record), 1);
  EXPECT_EQ(fs::file_size(folder / "Ochrel.FFT"), stockBytes);
  TextureList back, backup;
  int writeable = 0;
  ASSERT_EQ(LoadTextureFile(mine.string(), &back, &writeable), 1);
  EXPECT_EQ(writeable, 1);
  EXPECT_TRUE(std::any_of(back.begin(), back.end(), [](const TextureItem& item) {
    return item.name == "Zebra stripes" && item.texture.SeedValue1 == 777;
  }));
  ASSERT_EQ(LoadTextureFile((folder / "Mine.FFT.bak").string(), &backup, &writeable), 1);  // before the second write
  EXPECT_EQ(backup.size() + 1, back.size());
  // Shift and "—" on the new group removes its file and returns to the stock group.
  OnDialog<TextureBox>([&](TextureBox& box) {
    SetFillShiftOverride(1);
    box.DeleteTexture();
    EXPECT_TRUE(prompts.back().startsWith("Do you want to delete the Mine texture group?"));
    EXPECT_EQ(box.groups()->findText("Mine"), -1);
    return false;
  });
  DoTextureSelect(nullptr, &record);
  EXPECT_STREQ(DefaultTextureFileName, "Ochrel.FFT");
  EXPECT_FALSE(fs::exists(mine));
}

TEST_F(FillDialogTest, EveryStockTextureAndTilePassesThroughItsEditorUnchanged) {
  const TextureList stock = StockTextures();
  for (std::size_t i = 0; i < stock.size(); ++i) {
    OnDialog<TextureBox>([&](TextureBox& box) {  // through another row, so that the first is a change too
      box.textures()->setCurrentRow(int((i + 1) % stock.size()));
      return box.textures()->setCurrentRow(int(i)), true;
    });
    ASSERT_EQ(DoTextureSelect(nullptr, &record), 1);
    EXPECT_TRUE(SameTextureFields(record.Texture, stock[i].texture)) << stock[i].name;
  }
  const std::vector<HDIB> tiles = StockMatrixTiles();
  for (std::size_t i = 0; i < tiles.size(); ++i) {
    OnDialog<MatrixBox>([&](MatrixBox& box) {
      box.tiles()->setCurrentRow(int((i + 1) % tiles.size()));
      return box.tiles()->setCurrentRow(int(i)), true;
    });
    ASSERT_EQ(DoMatrixSelect(nullptr, &record), 1);
    EXPECT_TRUE(SameDib(record.Matrix.Tile, tiles[i])) << i;
  }
  // Cancel keeps the record's tile; the stock group refuses a delete.
  HDIB kept = DuplicateObject(record.Matrix.Tile);
  OnDialog<MatrixBox>([&](MatrixBox& box) {
    box.tiles()->setCurrentRow(2);
    const BITMAPINFOHEADER* h = LockDib(tiles[2]);
    EXPECT_EQ(box.sizeText()->text(), QString("%1 x %2").arg(h->biWidth).arg(h->biHeight));
    SetFillShiftOverride(0);
    box.DeleteTile();
    EXPECT_TRUE(prompts.back().startsWith("This file cannot be edited or overwritten."));
    return false;
  });
  EXPECT_EQ(DoMatrixSelect(nullptr, &record), 0);
  EXPECT_TRUE(SameDib(record.Matrix.Tile, kept));
}

TEST_F(FillDialogTest, MatrixNewGroupAddTileSizeRulesAndBackup) {
  const fs::path folder = DataFolder(), mine = folder / "Tiles.MTX";
  const std::string wide = dir / "wide.bmp", square = dir / "square.bmp", grey = dir / "grey.bmp";
  ASSERT_TRUE(WriteImage(wide.c_str(), CreateDib(300, 200, nullptr, 24)));
  ASSERT_TRUE(WriteImage(square.c_str(), CreateDib(300, 300, nullptr, 24)));
  HDIB greyDib = test::Uniform(16, 8, 8, 0);
  PutDibPixel(LockDib(greyDib), 3, 2, 200);
  ASSERT_TRUE(WriteImage(grey.c_str(), greyDib));
  std::string next;
  MatrixBox::SetTilePathAnswerer([&](std::string* path) { return *path = next, true; });
  SetDialogAnswerer([&](QDialog& d) {
    if (auto* name = dynamic_cast<EditTextureNameBox*>(&d)) return name->edit()->setText("Tiles"), true;
    auto& box = dynamic_cast<MatrixBox&>(d);
    const size_t n = box.entries().size();
    SetFillShiftOverride(1);
    box.AddTile();
    EXPECT_STREQ(MatrixLibrary, "Tiles.MTX");
    EXPECT_EQ(box.groups()->currentText(), "Tiles");
    SetFillShiftOverride(0);
    next = square;
    box.AddTile();
    EXPECT_EQ(prompts.back(), "The selected image is too large to be a matrix tile.");
    next = wide;
    box.AddTile();  // only one side above 256 passes
    next = grey;
    box.AddTile();  // converted to 24 bits
    EXPECT_EQ(box.entries().size(), n + 2);
    EXPECT_EQ(LockDib(box.entries().back())->biBitCount, 24);
    EXPECT_EQ(test::Pixel(box.entries().back(), 3, 2), 0xC8C8C8u);
    box.Accept();
    return true;
  });
  EXPECT_EQ(DoMatrixSelect(nullptr, &record), 1);
  std::vector<HDIB> back, backup;
  int writeable = 5;
  ASSERT_EQ(LoadMatrixFile(mine.string(), &back, &writeable), 1);
  EXPECT_EQ(writeable, 1);
  EXPECT_EQ(back.size(), StockMatrixTiles().size() + 2);
  ASSERT_EQ(LoadMatrixFile((folder / "Tiles.MTX.bak").string(), &backup, &writeable), 1);
  EXPECT_EQ(backup.size(), StockMatrixTiles().size());
}

TEST_F(FillDialogTest, MatrixContextMenuSelectsAndEditOpensTheTileAsADocument) {
  const std::vector<HDIB> stock = StockMatrixTiles();
  MATRIX m{};
  m.Tile = CreateBuiltinMatrixTile();
  MatrixBox box(&m);
  QMenu* menu = box.ContextMenu(4);
  ASSERT_TRUE(menu);
  EXPECT_EQ(box.tiles()->currentRow(), 4);
  EXPECT_TRUE(SameDib(m.Tile, stock[4]));  // selected as a selection change would
  QStringList items;
  for (QAction* a : menu->actions()) items << (a->isSeparator() ? "-" : a->text());
  EXPECT_EQ(items, QStringList({"&Export", "E&dit", "-", "&Delete"}));
  menu->actions()[1]->trigger();
  ASSERT_EQ(frame->CountOpenDocuments(), 1);
  EXPECT_TRUE(SameDib(frame->ActiveDocument()->record()->Image, stock[4]));
  EXPECT_EQ(box.ContextMenu(99), nullptr);  // no entry there: nothing happens
}

TEST(MatrixThumbnail, FitsIntoTheEntryInsetByFour) {
  // 48 by 48 entries, 40 by 40 of room; centred by integer halves.
  EXPECT_EQ(PlaceMatrixThumbnail(QRect(0, 0, 48, 48), 120, 120, false), QRect(4, 4, 39, 39));
  EXPECT_EQ(PlaceMatrixThumbnail(QRect(0, 0, 48, 48), 120, 120, true), QRect(5, 5, 39, 39));
  EXPECT_EQ(PlaceMatrixThumbnail(QRect(48, 0, 48, 48), 10, 5, false), QRect(52, 14, 40, 20));  // enlarged
  EXPECT_EQ(PlaceMatrixThumbnail(QRect(0, 0, 48, 48), 300, 200, false), QRect(4, 11, 39, 26));
  EXPECT_TRUE(PlaceMatrixThumbnail(QRect(0, 0, 48, 48), 0, 10, false).isNull());
}

}  // namespace
}  // namespace ochrel
