#include <gtest/gtest.h>

#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMdiArea>
#include <QMdiSubWindow>
#include <QMenu>
#include <QPushButton>
#include <QRadioButton>
#include <QScrollBar>
#include <QSlider>
#include <QSpinBox>
#include <QTest>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "files/imagefile.h"
#include "fills/stock.h"
#include "frame/blockset.h"
#include "frame/commands.h"
#include "frame/paths.h"
#include "frame/settings.h"
#include "qt_app.h"
#include "ui/dialogs/colour/colourdialogs.h"
#include "ui/widgets/dialogrunner.h"
#include "ui/document/documentwindow.h"
#include "ui/dialogs/fills/filldialogs.h"
#include "ui/dialogs/fills/gradientdialog.h"
#include "ui/frame/mainframe.h"
#include "ui/dialogs/fills/matrixdialog.h"
#include "ui/widgets/messages.h"
#include "ui/dialogs/fills/shadowdialog.h"
#include "ui/dialogs/fills/texturedialog.h"

namespace ochrel {
namespace {

namespace fs = std::filesystem;

class FillDialogTest : public ::testing::Test {
 protected:
  void SetUp() override {
    test::EnsureQtApp();
    SetPromptAnswerer([this](PromptKind, const QString& text) {
      prompts.push_back(text);
      return yes;
    });
    std::memcpy(savedTexture, DefaultTextureFileName, sizeof savedTexture);
    std::memcpy(savedMatrix, MatrixLibrary, sizeof savedMatrix);
    savedBackups = CreateBackups;
    CreateNewFile(&record);
    record.ImageType = 0;
  }
  void TearDown() override {
    SetDialogAnswerer({});
    SetPromptAnswerer({});
    SetFillShiftOverride(-1);
    MatrixBox::SetTilePathAnswerer({});
    std::memcpy(DefaultTextureFileName, savedTexture, sizeof savedTexture);
    std::memcpy(MatrixLibrary, savedMatrix, sizeof savedMatrix);
    CreateBackups = savedBackups;
    TextureLibraryWriteable() = 0;
    MatrixLibraryWriteable() = 0;
  }
  static QImage Grab(QWidget* w) { return w->grab().toImage(); }

  BLOCKSET record;
  std::vector<QString> prompts;
  int yes = IDYES;
  char savedTexture[kSettingTextSize], savedMatrix[kSettingTextSize];
  int savedBackups = 0;
};

// ---- Gradient ---------------------------------------------------------------------

TEST_F(FillDialogTest, GradientOkStoresTypeAngleCentreAndColoursCancelKeepsRecord) {
  record.Gradient.GradientType = 1;
  record.Gradient.Angle = 77;
  record.Gradient.CenterX = 20;
  record.Gradient.StartColour = 0x123456;
  const GRADIENT before = record.Gradient;

  // Cancel after changes: the document keeps everything.
  SetDialogAnswerer([](QDialog& d) {
    auto& box = dynamic_cast<GradientBox&>(d);
    box.typeButton(3)->click();
    box.rotation()->setValue(45);
    return false;
  });
  EXPECT_EQ(DoGradientSelect(nullptr, &record), 0);
  EXPECT_EQ(record.Gradient.GradientType, before.GradientType);
  EXPECT_EQ(record.Gradient.Angle, 77);
  EXPECT_EQ(record.Gradient.CenterX, 20);

  // OK untouched: the opening zeroes rotation and centre, everything else stays.
  SetDialogAnswerer([](QDialog& d) {
    auto& box = dynamic_cast<GradientBox&>(d);
    EXPECT_EQ(box.rotation()->value(), 0);
    EXPECT_EQ(box.centreX()->value(), 0);
    EXPECT_EQ(box.working()->Angle, 0);
    EXPECT_EQ(box.working()->CenterX, 0);
    return true;
  });
  EXPECT_EQ(DoGradientSelect(nullptr, &record), 1);
  EXPECT_EQ(record.Gradient.Angle, 0);
  EXPECT_EQ(record.Gradient.CenterX, 0);
  EXPECT_EQ(record.Gradient.CenterY, 0);
  EXPECT_EQ(record.Gradient.GradientType, 1);
  EXPECT_EQ(record.Gradient.StartColour, 0x123456u);

  // OK after choosing type, angle, centre and a colour.
  SetDialogAnswerer([](QDialog& d) {
    if (auto* picker = dynamic_cast<ColourSelectBox*>(&d)) {
      picker->setColour(RGB(10, 20, 30));
      return true;
    }
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

TEST_F(FillDialogTest, GradientEnabledStatePreviewAndDrag) {
  GRADIENT g = record.Gradient;
  g.StartColour = 0xFFFFFF;
  g.EndColour = 0;
  GradientBox box(&g);
  box.show();
  struct State {
    int type;
    bool rotation, centre;
  };
  for (State s : {State{0, true, false}, State{1, false, true}, State{2, false, true}, State{3, true, true}}) {
    box.typeButton(s.type)->click();
    EXPECT_EQ(g.GradientType, s.type);
    EXPECT_EQ(box.rotation()->isEnabled(), s.rotation) << s.type;
    EXPECT_EQ(box.centreX()->isEnabled(), s.centre) << s.type;
    EXPECT_EQ(box.centreY()->isEnabled(), s.centre) << s.type;
    EXPECT_EQ(box.findChild<QLabel*>("115")->isEnabled(), s.centre) << s.type;
  }

  // The preview is the conical gradient of the working record, drawn inside the edge.
  QImage before = Grab(box.preview());
  GRADIENT expect = g;
  const int inner = box.preview()->width() - 4;
  expect.Rect = RECT{0, 0, inner, box.preview()->height() - 4};
  HDIB dib = CreateGradient(&expect);
  const BITMAPINFOHEADER* h = LockDib(dib);
  ASSERT_TRUE(h);
  for (auto [x, y] : {std::pair{0, 0}, std::pair{inner / 2, 10}, std::pair{inner - 1, inner - 1}}) {
    const COLORREF c = static_cast<COLORREF>(GetDibPixel(h, x, y));
    EXPECT_EQ(before.pixelColor(x + 2, y + 2), QColor(GetRValue(c), GetGValue(c), GetBValue(c))) << x << "," << y;
  }
  box.rotation()->setValue(90);
  EXPECT_EQ(g.Angle, 90);
  EXPECT_NE(Grab(box.preview()), before);

  // A drag on a conical preview sets the rotation to 180 - GetLineAngle(centre, point).
  QWidget* p = box.preview();
  const QPoint c(p->width() / 2, p->height() / 2);
  QTest::mousePress(p, Qt::LeftButton, {}, QPoint(c.x() + 40, c.y()));
  QTest::mouseRelease(p, Qt::LeftButton, {}, QPoint(c.x() + 40, c.y()));
  EXPECT_EQ(g.Angle, -180);  // right of the centre: line angle 360
  QTest::mousePress(p, Qt::LeftButton, {}, QPoint(c.x(), c.y() - 40));
  QTest::mouseRelease(p, Qt::LeftButton, {}, QPoint(c.x(), c.y() - 40));
  EXPECT_EQ(g.Angle, 90);  // above: line angle 90

  // Types 1 and 2: the centre from the point, x * 100 / W - 51, clamped into the inset rectangle.
  box.typeButton(1)->click();
  const int W = p->width() - 4, H = p->height() - 4;
  QTest::mousePress(p, Qt::LeftButton, {}, QPoint(50, 120));
  QTest::mouseRelease(p, Qt::LeftButton, {}, QPoint(50, 120));
  EXPECT_EQ(g.CenterX, 50 * 100 / W - 51);
  EXPECT_EQ(g.CenterY, 120 * 100 / H - 51);
  // Outside the inset rectangle: clamped to it, and the centre to -50.
  QTest::mousePress(p, Qt::LeftButton, {}, QPoint(1, 1));
  QTest::mouseRelease(p, Qt::LeftButton, {}, QPoint(1, 1));
  EXPECT_EQ(g.CenterX, -50);
  EXPECT_EQ(g.CenterY, -50);
  box.reject();
}

// ---- Shadow -----------------------------------------------------------------------

TEST_F(FillDialogTest, ShadowControlsStoreIntoRecordOnOkOnly) {
  record.Shadow.ShadowDirection = 7;
  record.Shadow.ShadowOpacity = 255;
  record.Shadow.ShadowSoft = 15;
  record.Shadow.ShadowOffset = 6;
  record.Shadow.ShadowType = 0;
  const SHADOW before = record.Shadow;
  record.Image = CreateDib(20, 20, nullptr, 24);
  record.PaperColour = 0xFFFFFF;
  record.FillColour = 0x0000FF;

  SetDialogAnswerer([&](QDialog& d) {
    auto& box = dynamic_cast<ShadowBox&>(d);
    EXPECT_EQ(box.windowTitle(), "Soft shadows");
    EXPECT_EQ(box.working()->Owner, &record);
    box.directionButton(3)->click();
    box.opacity()->setValue(100);
    return false;
  });
  EXPECT_EQ(DoSetShadows(nullptr, &record), 0);
  EXPECT_EQ(record.Shadow.ShadowDirection, before.ShadowDirection);
  EXPECT_EQ(record.Shadow.ShadowOpacity, 255);

  SetDialogAnswerer([&](QDialog& d) {
    if (auto* picker = dynamic_cast<ColourSelectBox*>(&d)) {
      picker->setColour(RGB(0, 128, 64));
      return true;
    }
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
    box.softness()->triggerAction(QAbstractSlider::SliderPageStepAdd);
    EXPECT_EQ(box.working()->ShadowSoft, 42 + 12);  // a page is an eighth of 100
    box.offset()->setValue(300);  // clamped to 256
    box.offset()->setValue(9);
    box.typeButton(1)->click();
    EXPECT_EQ(box.working()->ShadowType, 1);
    box.swatch()->click();  // a custom colour also picks "Custom color"
    EXPECT_TRUE(box.typeButton(2)->isChecked());
    // The sample is the engine's sample of the working record.
    const QImage shown = Grab(box.sample());
    HDIB expect = box.MakeSample();
    const BITMAPINFOHEADER* h = LockDib(expect);
    EXPECT_TRUE(h);
    if (h)
      for (int y = 0; y < h->biHeight; y += 7)
        for (int x = 0; x < h->biWidth; x += 7) {
          const COLORREF c = static_cast<COLORREF>(GetDibPixel(h, x, y));
          EXPECT_EQ(shown.pixelColor(x + 2, y + 2), QColor(GetRValue(c), GetGValue(c), GetBValue(c))) << x << "," << y;
        }
    return true;
  });
  EXPECT_EQ(DoSetShadows(nullptr, &record), 1);
  EXPECT_EQ(record.Shadow.ShadowDirection, 4);
  EXPECT_EQ(record.Shadow.ShadowOpacity, 127);
  EXPECT_EQ(record.Shadow.ShadowSoft, 54);
  EXPECT_EQ(record.Shadow.ShadowOffset, 9);
  EXPECT_EQ(record.Shadow.ShadowType, 2);
  EXPECT_EQ(record.Shadow.ShadowColor, RGB(0, 128, 64));
}

TEST_F(FillDialogTest, ShadowsCommandOpensTheEditorForTheActiveDocument) {
  MainFrame frame;
  frame.show();
  HDIB image = CreateDib(30, 20, nullptr, 24);
  DocumentWindow* first = frame.NewFromDib(image);
  DocumentWindow* second = frame.NewFromDib(image);
  ASSERT_TRUE(first && second);
  frame.client()->setActiveSubWindow(qobject_cast<QMdiSubWindow*>(second));
  ASSERT_EQ(frame.ActiveDocument(), second);
  const void* owner = nullptr;
  SetDialogAnswerer([&](QDialog& d) {
    auto* box = dynamic_cast<ShadowBox*>(&d);
    EXPECT_TRUE(box);
    if (!box) return false;
    owner = box->working()->Owner;
    box->offset()->setValue(17);
    return true;
  });
  frame.Command(CM_SHADOWS);
  EXPECT_EQ(owner, second->record());
  EXPECT_EQ(second->record()->Shadow.ShadowOffset, 17);
  EXPECT_NE(first->record()->Shadow.ShadowOffset, 17);
  SetDialogAnswerer({});
  for (QMdiSubWindow* w : frame.client()->subWindowList())
    if (auto* d = qobject_cast<DocumentWindow*>(w)) d->record()->Modified = 0;
}

// ---- Texture ----------------------------------------------------------------------

TEST_F(FillDialogTest, TextureFromStockLibraryLandsInRecordAndCancelKeepsRecord) {
  std::snprintf(DefaultTextureFileName, kSettingTextSize, "%s", "Ochrel.FFT");
  const TextureList stock = StockTextures();
  ASSERT_GE(stock.size(), 2u);
  record.Texture.TextureType = 0;
  record.Texture.SeedValue1 = 1;
  const TEXTURE before = record.Texture;

  int pick = -1;
  std::string pickedName;
  SetDialogAnswerer([&](QDialog& d) {
    auto& box = dynamic_cast<TextureBox&>(d);
    EXPECT_EQ(box.groups()->currentText(), "Ochrel");
    EXPECT_EQ(box.items().size(), stock.size());
    EXPECT_EQ(TextureLibraryWriteable(), 0);  // the stock group is protected
    // A texture of another type than the record's.
    for (int i = 0; i < static_cast<int>(box.items().size()); ++i)
      if (box.items()[i].texture.TextureType != before.TextureType) pick = i;
    EXPECT_GE(pick, 0);
    pickedName = box.items()[pick].name;
    box.textures()->setCurrentRow(pick);
    EXPECT_EQ(box.types()->currentIndex(), box.items()[pick].texture.TextureType);
    // What the type shows, and nothing else.
    const int* shown = texturetype[box.working()->TextureType].controls;
    for (int id = 501; id <= 532; ++id) {
      QWidget* w = box.findChild<QWidget*>(QString::number(id));
      if (!w) continue;
      bool listed = false;
      for (const int* p = shown; *p; ++p) listed |= *p == id;
      EXPECT_EQ(!w->isHidden(), listed) << id;
    }
    box.preview()->WaitIdle();
    EXPECT_FALSE(box.preview()->picture().isNull());
    EXPECT_EQ(box.preview()->picture().size(), box.preview()->size() - QSize(4, 4));
    return true;
  });
  EXPECT_EQ(DoTextureSelect(nullptr, &record), 1);
  ASSERT_GE(pick, 0);
  const TEXTURE& want = StockTextures()[pick].texture;
  EXPECT_EQ(record.Texture.TextureType, want.TextureType);
  EXPECT_EQ(record.Texture.SeedValue1, want.SeedValue1);
  EXPECT_EQ(record.Texture.ForeColour1, want.ForeColour1);
  EXPECT_EQ(record.Texture.MatrixSize, want.MatrixSize);
  EXPECT_TRUE(prompts.empty());

  // Cancel after choosing another: the document keeps the first choice.
  const TEXTURE kept = record.Texture;
  SetDialogAnswerer([&](QDialog& d) {
    auto& box = dynamic_cast<TextureBox&>(d);
    box.textures()->setCurrentRow(pick == 0 ? 1 : 0);
    box.spin(512)->setValue(4321);
    return false;
  });
  EXPECT_EQ(DoTextureSelect(nullptr, &record), 0);
  EXPECT_EQ(record.Texture.SeedValue1, kept.SeedValue1);
  EXPECT_EQ(record.Texture.TextureType, kept.TextureType);
}

TEST_F(FillDialogTest, TextureEditsStoreSpinValuesAndPercentFields) {
  TEXTURE t = record.Texture;
  t.TextureType = 0;
  t.Power1 = 0.876f;  // shown as 87
  TextureBox box(&t);
  EXPECT_EQ(box.spin(507)->value(), 87);
  EXPECT_FLOAT_EQ(t.Power1, 0.876f);  // opening stores nothing
  box.spin(507)->setValue(140);
  EXPECT_FLOAT_EQ(t.Power1, 1.40f);
  box.spin(507)->setValue(999);  // clamped to 150
  EXPECT_FLOAT_EQ(t.Power1, 1.50f);
  box.spin(512)->setValue(0);  // seeds start at 1
  EXPECT_EQ(t.SeedValue1, 1u);
  box.spin(517)->setValue(5000);
  EXPECT_EQ(t.MatrixSize, 1024);
  // A hidden field stores nothing.
  const int craters = t.CreaterCount;
  box.spin(523)->setValue(5000);
  EXPECT_EQ(t.CreaterCount, craters);
  box.ChooseType(4);
  EXPECT_FALSE(box.spin(523)->isHidden());
  box.spin(523)->setValue(5000);
  EXPECT_EQ(t.CreaterCount, 5000);
  // Curve editor: right double click resets to 0, 0.33, 0.67, 1.
  box.ChooseType(5);
  CurveEditor* red = box.curve(0);
  QTest::mouseDClick(red, Qt::RightButton, {}, QPoint(10, 10));
  EXPECT_FLOAT_EQ(t.ColorRed1, 0.33f);
  EXPECT_FLOAT_EQ(t.ColorRed3, 1.0f);
  // Dragging node 1 to the top of the curve gives 1.
  const QPoint n1 = red->nodePoint(1);
  QTest::mousePress(red, Qt::LeftButton, {}, n1 + QPoint(3, -3));
  QTest::mouseRelease(red, Qt::LeftButton, {}, QPoint(n1.x(), 0));
  EXPECT_FLOAT_EQ(t.ColorRed1, 1.0f);
  box.preview()->WaitIdle();
}

TEST_F(FillDialogTest, TextureGroupAddRenameDeleteWritesFileWithBackup) {
  std::snprintf(DefaultTextureFileName, kSettingTextSize, "%s", "Ochrel.FFT");
  CreateBackups = 1;
  const fs::path folder = DataFolder();
  const fs::path mine = folder / "Mine.FFT";
  fs::remove(mine);
  fs::remove(folder / "Mine.FFT.bak");
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
    // The stock group refuses changes.
    SetFillShiftOverride(0);
    box.AddTexture();
    EXPECT_EQ(prompts.size(), 1u);
    EXPECT_TRUE(prompts.back().startsWith("This file cannot be edited or overwritten."));
    box.DeleteTexture();
    EXPECT_EQ(prompts.size(), 2u);
    SetFillShiftOverride(1);
    box.DeleteTexture();
    EXPECT_EQ(prompts.back(), "The primary texture group cannot be deleted.");
    // Shift and "+": a new group, written at once with the stock entries.
    box.AddTexture();
    EXPECT_STREQ(DefaultTextureFileName, "Mine.FFT");
    EXPECT_EQ(box.groups()->currentText(), "Mine");
    EXPECT_TRUE(fs::exists(mine));
    EXPECT_EQ(TextureLibraryWriteable(), 1);
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
    EXPECT_TRUE(box.modified());
    box.Accept();
    return true;
  });
  EXPECT_EQ(DoTextureSelect(nullptr, &record), 1);
  EXPECT_EQ(fs::file_size(folder / "Ochrel.FFT"), stockBytes);
  ASSERT_TRUE(fs::exists(folder / "Mine.FFT.bak"));  // the copy made before the second write
  TextureList back;
  int writeable = 0;
  ASSERT_EQ(LoadTextureFile(mine.string(), &back, &writeable), 1);
  EXPECT_EQ(writeable, 1);
  bool found = false;
  for (const TextureItem& item : back)
    if (item.name == "Zebra stripes") found = item.texture.SeedValue1 == 777;
  EXPECT_TRUE(found);
  TextureList backup;
  ASSERT_EQ(LoadTextureFile((folder / "Mine.FFT.bak").string(), &backup, &writeable), 1);
  EXPECT_EQ(backup.size() + 1, back.size());

  // Shift and "—" on the new group removes its file and returns to the stock group.
  SetDialogAnswerer([&](QDialog& d) {
    auto& box = dynamic_cast<TextureBox&>(d);
    EXPECT_EQ(box.groups()->currentText(), "Mine");
    SetFillShiftOverride(1);
    box.DeleteTexture();
    EXPECT_TRUE(prompts.back().startsWith("Do you want to delete the Mine texture group?"));
    EXPECT_STREQ(DefaultTextureFileName, "Ochrel.FFT");
    EXPECT_EQ(box.groups()->findText("Mine"), -1);
    return false;
  });
  DoTextureSelect(nullptr, &record);
  EXPECT_FALSE(fs::exists(mine));
  fs::remove(folder / "Mine.FFT.bak");
}

// ---- Matrix -----------------------------------------------------------------------

bool SameDib(const HDIB& a, const HDIB& b) {
  const BITMAPINFOHEADER* x = LockDib(a);
  const BITMAPINFOHEADER* y = LockDib(b);
  if (!x || !y || x->biWidth != y->biWidth || x->biHeight != y->biHeight) return false;
  for (int r = 0; r < y->biHeight; ++r)
    for (int c = 0; c < x->biWidth; ++c)
      if (GetDibPixel(x, c, r) != GetDibPixel(y, c, r)) return false;
  return true;
}

TEST_F(FillDialogTest, EveryStockTextureAndTilePassesThroughItsEditorUnchanged) {
  std::snprintf(DefaultTextureFileName, kSettingTextSize, "%s", "Ochrel.FFT");
  const TextureList stock = StockTextures();
  for (std::size_t i = 0; i < stock.size(); ++i) {
    SetDialogAnswerer([&](QDialog& d) {
      auto& box = dynamic_cast<TextureBox&>(d);
      box.textures()->setCurrentRow(static_cast<int>((i + 1) % stock.size()));
      box.textures()->setCurrentRow(static_cast<int>(i));
      return true;
    });
    ASSERT_EQ(DoTextureSelect(nullptr, &record), 1);
    EXPECT_TRUE(SameTextureFields(record.Texture, stock[i].texture)) << stock[i].name;
  }
  std::snprintf(MatrixLibrary, kSettingTextSize, "%s", "Ochrel.MTX");
  const std::vector<HDIB> tiles = StockMatrixTiles();
  for (std::size_t i = 0; i < tiles.size(); ++i) {
    SetDialogAnswerer([&](QDialog& d) {
      // Through another row, so that the first is a change of selection too.
      auto& box = dynamic_cast<MatrixBox&>(d);
      box.tiles()->setCurrentRow(static_cast<int>((i + 1) % tiles.size()));
      box.tiles()->setCurrentRow(static_cast<int>(i));
      return true;
    });
    ASSERT_EQ(DoMatrixSelect(nullptr, &record), 1);
    EXPECT_TRUE(SameDib(record.Matrix.Tile, tiles[i])) << i;
  }
  SetDialogAnswerer({});
  EXPECT_TRUE(prompts.empty());
}

TEST_F(FillDialogTest, MatrixTileFromLibraryOnOkOnly) {
  std::snprintf(MatrixLibrary, kSettingTextSize, "%s", "Ochrel.MTX");
  record.Matrix.Tile = CreateBuiltinMatrixTile();
  ASSERT_TRUE(record.Matrix.Tile);
  const std::vector<HDIB> stock = StockMatrixTiles();
  ASSERT_GE(stock.size(), 3u);

  SetDialogAnswerer([&](QDialog& d) {
    auto& box = dynamic_cast<MatrixBox&>(d);
    EXPECT_EQ(box.entries().size(), stock.size());
    box.tiles()->setCurrentRow(2);
    EXPECT_TRUE(SameDib(box.working()->Tile, stock[2]));
    const BITMAPINFOHEADER* h = LockDib(stock[2]);
    EXPECT_EQ(box.sizeText()->text(), QString("%1 x %2").arg(h->biWidth).arg(h->biHeight));
    return false;
  });
  EXPECT_EQ(DoMatrixSelect(nullptr, &record), 0);
  EXPECT_TRUE(SameDib(record.Matrix.Tile, CreateBuiltinMatrixTile()));

  SetDialogAnswerer([&](QDialog& d) {
    auto& box = dynamic_cast<MatrixBox&>(d);
    box.tiles()->setCurrentRow(2);
    // Deleting from the list would not touch the record's copy, but the stock
    // group refuses it anyway.
    SetFillShiftOverride(0);
    box.DeleteTile();
    EXPECT_TRUE(prompts.back().startsWith("This file cannot be edited or overwritten."));
    return true;
  });
  EXPECT_EQ(DoMatrixSelect(nullptr, &record), 1);
  EXPECT_TRUE(SameDib(record.Matrix.Tile, stock[2]));
}

TEST_F(FillDialogTest, MatrixNewGroupAddTileSizeRulesAndBackup) {
  std::snprintf(MatrixLibrary, kSettingTextSize, "%s", "Ochrel.MTX");
  CreateBackups = 1;
  const fs::path folder = DataFolder();
  const fs::path mine = folder / "Tiles.MTX";
  fs::remove(mine);
  fs::remove(folder / "Tiles.MTX.bak");
  const fs::path wide = fs::temp_directory_path() / "filldlg-wide.bmp";
  const fs::path square = fs::temp_directory_path() / "filldlg-square.bmp";
  const fs::path grey = fs::temp_directory_path() / "filldlg-grey.bmp";
  BYTE pal[768];
  GetDefaultPalette(pal, nullptr, 10);
  ASSERT_TRUE(WriteImage(wide.string().c_str(), CreateDib(300, 200, nullptr, 24)));
  ASSERT_TRUE(WriteImage(square.string().c_str(), CreateDib(300, 300, nullptr, 24)));
  HDIB greyDib = CreateDib(16, 8, pal, 8);
  PutDibPixel(LockDib(greyDib), 3, 2, 200);
  ASSERT_TRUE(WriteImage(grey.string().c_str(), greyDib));

  std::string next;
  MatrixBox::SetTilePathAnswerer([&](std::string* path) {
    *path = next;
    return true;
  });
  SetDialogAnswerer([&](QDialog& d) {
    if (auto* name = dynamic_cast<EditTextureNameBox*>(&d)) {
      name->edit()->setText("Tiles");
      return true;
    }
    auto& box = dynamic_cast<MatrixBox&>(d);
    const size_t n = box.entries().size();
    SetFillShiftOverride(1);
    box.AddTile();
    EXPECT_STREQ(MatrixLibrary, "Tiles.MTX");
    EXPECT_TRUE(fs::exists(mine));
    EXPECT_EQ(box.groups()->currentText(), "Tiles");
    SetFillShiftOverride(0);
    next = square.string();
    box.AddTile();
    EXPECT_EQ(prompts.back(), "The selected image is too large to be a matrix tile.");
    EXPECT_EQ(box.entries().size(), n);
    next = wide.string();
    box.AddTile();  // only one side above 256 passes
    next = grey.string();
    box.AddTile();  // converted to 24 bits
    EXPECT_EQ(box.entries().size(), n + 2);
    EXPECT_EQ(LockDib(box.entries().back())->biBitCount, 24);
    EXPECT_EQ(GetDibPixel(LockDib(box.entries().back()), 3, 2), 0xC8C8C8);
    EXPECT_TRUE(box.modified());
    box.Accept();
    return true;
  });
  EXPECT_EQ(DoMatrixSelect(nullptr, &record), 1);
  std::vector<HDIB> back;
  int writeable = 5;
  ASSERT_EQ(LoadMatrixFile(mine.string(), &back, &writeable), 1);
  EXPECT_EQ(writeable, 1);
  EXPECT_EQ(back.size(), StockMatrixTiles().size() + 2);
  EXPECT_TRUE(fs::exists(folder / "Tiles.MTX.bak"));
  std::vector<HDIB> backup;
  ASSERT_EQ(LoadMatrixFile((folder / "Tiles.MTX.bak").string(), &backup, &writeable), 1);
  EXPECT_EQ(backup.size(), StockMatrixTiles().size());
  fs::remove(mine);
  fs::remove(folder / "Tiles.MTX.bak");
  fs::remove(wide);
  fs::remove(square);
  fs::remove(grey);
}

TEST_F(FillDialogTest, MatrixContextMenuSelectsAndEditOpensTheTileAsADocument) {
  std::snprintf(MatrixLibrary, kSettingTextSize, "%s", "Ochrel.MTX");
  MainFrame frame;
  frame.show();
  const std::vector<HDIB> stock = StockMatrixTiles();
  MATRIX m{};
  m.Tile = CreateBuiltinMatrixTile();
  {
    MatrixBox box(&m);
    QMenu* menu = box.ContextMenu(4);
    ASSERT_TRUE(menu);
    EXPECT_EQ(box.tiles()->currentRow(), 4);
    EXPECT_TRUE(SameDib(m.Tile, stock[4]));  // selected as a selection change would
    const QList<QAction*> items = menu->actions();
    ASSERT_EQ(items.size(), 4);
    EXPECT_EQ(items[0]->text(), "&Export");
    EXPECT_EQ(items[1]->text(), "E&dit");
    EXPECT_TRUE(items[2]->isSeparator());
    EXPECT_EQ(items[3]->text(), "&Delete");
    const int before = frame.CountOpenDocuments();
    items[1]->trigger();
    ASSERT_EQ(frame.CountOpenDocuments(), before + 1);
    EXPECT_TRUE(SameDib(frame.ActiveDocument()->record()->Image, stock[4]));
    EXPECT_EQ(box.entries().size(), stock.size());  // the list keeps its own
    EXPECT_EQ(box.ContextMenu(99), nullptr);  // no entry there: nothing happens
  }
  for (QMdiSubWindow* w : frame.client()->subWindowList())
    if (auto* d = qobject_cast<DocumentWindow*>(w)) d->record()->Modified = 0;
}

TEST(MatrixThumbnail, FitsIntoTheEntryInsetByFour) {
  // 48 by 48 entries: 40 by 40 of room.
  // 120 by 120: p = 4000 / 120 = 33 percent, 39 by 39, centred by integer halves.
  EXPECT_EQ(PlaceMatrixThumbnail(QRect(0, 0, 48, 48), 120, 120, false), QRect(4, 4, 39, 39));
  EXPECT_EQ(PlaceMatrixThumbnail(QRect(0, 0, 48, 48), 120, 120, true), QRect(5, 5, 39, 39));
  // A small tile is enlarged: 10 by 5 at 400 percent.
  EXPECT_EQ(PlaceMatrixThumbnail(QRect(48, 0, 48, 48), 10, 5, false), QRect(52, 14, 40, 20));
  // 300 by 200: p = min(4000/300, 4000/200) = 13 percent, 39 by 26.
  EXPECT_EQ(PlaceMatrixThumbnail(QRect(0, 0, 48, 48), 300, 200, false), QRect(4, 11, 39, 26));
  EXPECT_TRUE(PlaceMatrixThumbnail(QRect(0, 0, 48, 48), 0, 10, false).isNull());
}

}  // namespace
}  // namespace ochrel
