#include <gtest/gtest.h>

#include <QAction>
#include <QCheckBox>
#include <QComboBox>
#include <QLabel>
#include <QMdiArea>
#include <QMdiSubWindow>
#include <QMenu>
#include <QMenuBar>
#include <QPushButton>
#include <QRadioButton>
#include <QScrollBar>
#include <QSpinBox>
#include <QTest>
#include <QToolButton>

#include <atomic>
#include <chrono>
#include <cmath>
#include <cstring>
#include <map>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "filters/filterparam.h"
#include "frame/blockset.h"
#include "frame/commands.h"
#include "frame/options.h"
#include "frame/strings.h"
#include "frame/settings.h"
#include "qt_app.h"
#include "test_images.h"
#include "ui/widgets/dialogrunner.h"
#include "ui/document/documentwindow.h"
#include "ui/dialogs/filter/filterdialog.h"
#include "ui/widgets/longwork.h"
#include "ui/frame/mainframe.h"
#include "ui/widgets/messages.h"
#include "ui/dialogs/image/newfiledialog.h"

namespace ochrel {
namespace {

// Something like a photograph: a sky ramp, a sun, hills with texture.
HDIB PhotoImage(int width, int height) {
  HDIB dib = CreateDib(width, height, nullptr, 24);
  BITMAPINFOHEADER* h = LockDib(dib);
  for (int y = 0; y < height; ++y) {
    BYTE* row = DibRow(h, y);
    for (int x = 0; x < width; ++x) {
      const double fx = static_cast<double>(x) / width, fy = static_cast<double>(y) / height;
      int r = static_cast<int>(90 + 120 * fy), g = static_cast<int>(150 + 70 * fy), b = 235;
      const double sun = std::hypot(fx - 0.72, fy - 0.25);
      if (sun < 0.09) r = 255, g = 230, b = 120;
      const double hill = 0.62 + 0.08 * std::sin(fx * 9.0) + 0.04 * std::sin(fx * 23.0 + 1.0);
      if (fy > hill) {
        const int t = ((x * 7 + y * 13) ^ (x * y)) % 40;
        r = 40 + t, g = 110 + static_cast<int>(60 * (1 - fy)) + t, b = 40 + t / 2;
      }
      row[3 * x] = static_cast<BYTE>(b);
      row[3 * x + 1] = static_cast<BYTE>(g);
      row[3 * x + 2] = static_cast<BYTE>(r);
    }
  }
  return dib;
}

// The stored filter settings and the three dialog switches, put back after each test.
struct SavedSettings {
  std::vector<int> values;
  int remember = FilterRemember, duplicate = FilterApplyToDuplicate;
  std::string defaultType = DefaultFilterType;
  SavedSettings() {
    for (int k = 0; k < FILTER_SETTING_COUNT; ++k)
      if (int* s = StoredFilterSetting(filtersettings[k])) values.push_back(*s);
  }
  void Restore() const {
    std::size_t i = 0;
    for (int k = 0; k < FILTER_SETTING_COUNT; ++k)
      if (int* s = StoredFilterSetting(filtersettings[k])) *s = values[i++];
    FilterRemember = remember;
    FilterApplyToDuplicate = duplicate;
    std::snprintf(DefaultFilterType, kSettingTextSize, "%s", defaultType.c_str());
  }
};

void StoreDefaults() {
  for (int k = 0; k < FILTER_SETTING_COUNT; ++k)
    if (int* s = StoredFilterSetting(filtersettings[k])) *s = filtersettings[k].defaultValue;
}

// The record a direct call of a filter gets: defaults with the changes given.
FILTERPARAM DirectParam(int imageType) {
  FILTERPARAM p;
  RestoreFilterDefaults(&p);
  p.ImageType = imageType;
  p.PaperColour = RGB(255, 255, 255);
  return p;
}

std::vector<int> NumberedControls(const MasterFilterBox& box) {
  std::vector<int> ids;
  for (QWidget* w : box.findChildren<QWidget*>()) {
    bool ok = false;
    int id = w->objectName().toInt(&ok);
    if (ok) ids.push_back(id);
  }
  return ids;
}

void SelectFilter(MasterFilterBox& box, const char* name) {
  int row = box.filterList()->findText(name);
  ASSERT_GE(row, 0) << name;
  box.filterList()->setCurrentIndex(row);
}

class FilterDialogTest : public ::testing::Test {
 protected:
  void SetUp() override {
    test::EnsureQtApp();
    StoreDefaults();
    FilterRemember = 1;
    FilterApplyToDuplicate = 0;
    DefaultFilterType[0] = 0;
    prompts.clear();
    SetPromptAnswerer([this](PromptKind, const QString& text) {
      prompts.push_back(text);
      return IDOK;
    });
  }
  void TearDown() override {
    SetDialogAnswerer({});
    SetPromptAnswerer({});
    SetNewFileAnswerer({});
    SetAllocationLimit(0);
    if (frame) {
      for (QMdiSubWindow* w : frame->client()->subWindowList())
        if (auto* d = qobject_cast<DocumentWindow*>(w)) d->record()->Modified = 0;
      frame.reset();
      QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }
    saved.Restore();
  }
  // A frame with one document holding `image`.
  DocumentWindow* Document(HDIB image, int newType = 0) {
    if (!frame) {
      frame = std::make_unique<MainFrame>();
      frame->resize(1000, 800);
      frame->show();
    }
    SetNewFileAnswerer([newType](NewFileBox& box) {
      box.typeList()->setCurrentIndex(newType);
      box.widthField()->setValue(40);
      box.depthField()->setValue(30);
      return true;
    });
    frame->Command(CM_NEW);
    DocumentWindow* d = frame->ActiveDocument();
    if (d && image) {
      d->record()->Image = std::move(image);
      d->record()->Modified = 0;
      d->ImageReplaced();
      frame->UpdateMenuStates();
    }
    return d;
  }
  // A record over `image` as DoMasterFilterDialog prepares it.
  static void Prepare(FILTERPARAM* p, const HDIB* image, int filterType = -1) {
    p->BeforeImage = image;
    p->BeforeWidth = LockDib(*image)->biWidth;
    p->BeforeDepth = LockDib(*image)->biHeight;
    p->AfterImage = DuplicateObject(*image);
    p->AfterWidth = p->BeforeWidth;
    p->AfterDepth = p->BeforeDepth;
    p->ImageType = GetImageType(*image);
    p->PaperColour = RGB(255, 255, 255);
    p->FilterType = filterType;
    ImposeFilterParams(p);
  }

  SavedSettings saved;
  std::vector<QString> prompts;
  std::unique_ptr<MainFrame> frame;
};

TEST_F(FilterDialogTest, MenuHoldsSeventeenFiltersEnabledByImageType) {
  Document(nullptr);
  QMenu* image = frame->menuBar()->actions()[2]->menu();
  ASSERT_TRUE(image);
  EXPECT_EQ(frame->menuBar()->actions()[2]->text(), "&Image");
  QMenu* filters = nullptr;
  for (QAction* a : image->actions())
    if (a->menu() && a->text() == "&Filters") filters = a->menu();
  ASSERT_TRUE(filters);
  const QList<QAction*> items = filters->actions();
  ASSERT_EQ(items.size(), 19);
  EXPECT_EQ(items[0]->text(), "&Filters");
  EXPECT_EQ(items[0]->data().toInt(), 2048);
  EXPECT_TRUE(items[1]->isSeparator());
  const char* names[17] = {"Add Noise", "Color and Intensity", "Contrast and Brightness", "Despeckle", "Emboss",
                           "Flip", "Gaussian Blur", "Invert Colours", "Oil Painting", "Resize", "Rotate", "Shade",
                           "Sharpen", "Solarize", "Swirl", "Unsharp Mask", "Vignette"};
  for (int i = 0; i < 17; ++i) {
    EXPECT_EQ(items[i + 2]->text(), names[i]);
    EXPECT_EQ(items[i + 2]->data().toInt(), 2049 + i);
  }
  auto enabledNames = [&] {
    std::set<std::string> on;
    for (int i = 0; i < 17; ++i)
      if (items[i + 2]->isEnabled()) on.insert(names[i]);
    return on;
  };
  const std::set<std::string> all(std::begin(names), std::end(names));
  const std::map<int, std::set<std::string>> expected = {
      {0, all},
      {1, {"Add Noise", "Contrast and Brightness", "Despeckle", "Emboss", "Flip", "Gaussian Blur", "Invert Colours",
           "Resize", "Rotate", "Sharpen", "Solarize", "Unsharp Mask", "Vignette"}},
      {2, {"Color and Intensity", "Contrast and Brightness", "Flip", "Invert Colours", "Resize", "Rotate"}},
      {3, {"Flip", "Invert Colours", "Resize", "Rotate"}},
  };
  for (const auto& [type, on] : expected) {
    DocumentWindow* d = Document(nullptr, type);
    ASSERT_EQ(d->record()->ImageType, type);
    EXPECT_EQ(enabledNames(), on) << "type " << type;
    EXPECT_TRUE(items[0]->isEnabled());
  }
  // Without an image everything is grey.
  for (QMdiSubWindow* w : frame->client()->subWindowList()) {
    static_cast<DocumentWindow*>(w)->record()->Modified = 0;
    static_cast<DocumentWindow*>(w)->Discard();
  }
  QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
  frame->UpdateMenuStates();
  EXPECT_TRUE(enabledNames().empty());
  EXPECT_FALSE(items[0]->isEnabled());
  // A command without a document opens nothing.
  bool opened = false;
  SetDialogAnswerer([&](QDialog&) { return opened = true; });
  frame->Command(2049);
  EXPECT_FALSE(opened);
}

TEST_F(FilterDialogTest, ListFollowsTableOrderAndEachFilterShowsOnlyItsControls) {
  HDIB image = PhotoImage(64, 48);
  FILTERPARAM p;
  Prepare(&p, &image);
  MasterFilterBox box(&p);
  ASSERT_EQ(box.filterList()->count(), 17);
  for (int i = 0; i < 17; ++i) {
    EXPECT_EQ(box.filterList()->itemText(i), filtertype[i].name);
    EXPECT_EQ(box.filterList()->itemData(i).toInt(), i + 1);
  }
  const std::vector<int> numbered = NumberedControls(box);
  for (int f = 0; f < FILTER_COUNT; ++f) {
    box.filterList()->setCurrentIndex(f);
    ASSERT_EQ(box.SelectedFilter(), f);
    std::set<int> own;
    for (const int* id = filtertype[f].controls; *id; ++id) own.insert(*id);
    for (int id : numbered) {
      QWidget* w = box.control(id);
      // Below 200 never touched; above, shown exactly when in the filter's list.
      const bool shown = id < 200 || own.count(id) != 0;
      EXPECT_EQ(w->isHidden(), !shown) << filtertype[f].name << " " << id;
    }
  }
  // Every control of every list exists (the spins live in their edits).
  for (int f = 0; f < FILTER_COUNT; ++f)
    for (const int* id = filtertype[f].controls; *id; ++id)
      if (*id < 10000) {
        EXPECT_TRUE(box.control(*id)) << *id;
      }
  box.SetFilterLevel(-1);
  for (int id : numbered) EXPECT_EQ(box.control(id)->isHidden(), id >= 200) << id;
  // A mono image's list holds only its four filters.
  HDIB mono = test::RandomDib(20, 10, 1, 3);
  FILTERPARAM m;
  Prepare(&m, &mono);
  MasterFilterBox monoBox(&m);
  QStringList names;
  for (int i = 0; i < monoBox.filterList()->count(); ++i) names << monoBox.filterList()->itemText(i);
  EXPECT_EQ(names, QStringList({"Flip", "Invert Colours", "Resize", "Rotate"}));
}

TEST_F(FilterDialogTest, ScrollBarsMoveTheirFieldsAndLabelsShowWholeOrTenths) {
  FilterGaussianSigma = 37;
  FilterContrast = 300;  // beyond the range: shown and kept clamped
  HDIB image = PhotoImage(32, 32);
  FILTERPARAM p;
  Prepare(&p, &image);
  MasterFilterBox box(&p);
  EXPECT_EQ(p.Changed, 1);  // set from the start, so OK alone runs the filter
  EXPECT_EQ(box.valueLabel(219)->text(), "3.7");
  EXPECT_EQ(box.valueLabel(201)->text(), "255");
  EXPECT_EQ(p.FilterContrast, 255);
  EXPECT_EQ(box.valueLabel(222)->text(), "4.0");
  EXPECT_EQ(box.valueLabel(274)->text(), "25.0");
  EXPECT_EQ(box.valueLabel(280)->text(), "30");
  // The bars have the ranges of their settings.
  EXPECT_EQ(box.scrollBar(219)->minimum(), 10);
  EXPECT_EQ(box.scrollBar(219)->maximum(), 100);
  EXPECT_EQ(box.scrollBar(228)->minimum(), 1);
  EXPECT_EQ(box.scrollBar(228)->maximum(), 15);
  EXPECT_EQ(box.scrollBar(277)->maximum(), 359);

  p.Changed = 0;
  box.scrollBar(222)->setValue(123);
  EXPECT_EQ(p.FilterGaussianRadius, 123);
  EXPECT_EQ(box.valueLabel(222)->text(), "12.3");
  EXPECT_EQ(p.Changed, 1);
  // A page is an eighth of the maximum: 990 / 8 = 123.
  box.scrollBar(222)->triggerAction(QAbstractSlider::SliderPageStepAdd);
  EXPECT_EQ(p.FilterGaussianRadius, 246);
  EXPECT_EQ(box.valueLabel(222)->text(), "24.6");
  box.scrollBar(222)->triggerAction(QAbstractSlider::SliderSingleStepSub);
  EXPECT_EQ(box.valueLabel(222)->text(), "24.5");
  box.scrollBar(225)->setValue(0);
  EXPECT_EQ(box.valueLabel(225)->text(), "0.0");
  box.scrollBar(204)->setValue(7);
  EXPECT_EQ(p.FilterBrightness, 7);
  EXPECT_EQ(box.valueLabel(204)->text(), "7");
  box.scrollBar(237)->setValue(1000);
  EXPECT_EQ(p.FilterNoiseLevel, 32);
  EXPECT_EQ(box.valueLabel(237)->text(), "32");

  // The other controls store their fields but leave Changed alone.
  p.Changed = 0;
  auto* constant = box.findChild<QCheckBox*>("260");
  EXPECT_TRUE(constant->isChecked());
  EXPECT_FALSE(box.control(259)->isEnabled());
  EXPECT_FALSE(box.control(263)->isEnabled());
  constant->click();
  EXPECT_EQ(p.FilterResizeConstant, 0);
  EXPECT_TRUE(box.control(259)->isEnabled());
  EXPECT_TRUE(box.control(263)->isEnabled());
  box.findChild<QSpinBox*>("258")->setValue(250);
  EXPECT_EQ(p.ResizeHorizontal, 250);
  box.findChild<QSpinBox*>("284")->setValue(-2000);
  EXPECT_EQ(p.FilterSwirlDegrees, -1440);
  box.findChild<QRadioButton*>("265")->click();
  EXPECT_EQ(p.FilterRotateDirection, 1);
  box.findChild<QRadioButton*>("267")->click();
  EXPECT_EQ(p.FilterRotateDirection, 0);
  box.findChild<QRadioButton*>("273")->click();
  EXPECT_EQ(p.FilterFlipDirection, 1);
  EXPECT_FALSE(box.findChild<QRadioButton*>("272")->isChecked());
  EXPECT_TRUE(box.findChild<QRadioButton*>("267")->isChecked());  // the pairs are separate groups
  auto* noise = box.findChild<QComboBox*>("236");
  ASSERT_EQ(noise->count(), 5);
  EXPECT_EQ(noise->itemText(4), "Poisson Noise");
  noise->setCurrentIndex(3);
  emit noise->activated(3);
  EXPECT_EQ(p.FilterNoiseType, 3);
  box.findChild<QCheckBox*>("283")->click();
  EXPECT_EQ(p.FilterShadeLevel, 0);
  EXPECT_EQ(p.Changed, 0);
}

TEST_F(FilterDialogTest, PreviewThenOkPutsTheFilterResultInTheDocumentAndUndoBringsItBack) {
  DocumentWindow* d = Document(PhotoImage(120, 90));
  HDIB original = DuplicateObject(d->record()->Image);
  FILTERPARAM direct = DirectParam(IMAGE_TRUECOLOUR);
  direct.FilterGaussianRadius = 20;
  direct.FilterGaussianSigma = 30;
  HDIB expected = FilterGaussianBlur(original, &direct);
  ASSERT_TRUE(expected);
  bool sawPreview = false;
  SetDialogAnswerer([&](QDialog& dialog) {
    auto& box = dynamic_cast<MasterFilterBox&>(dialog);
    EXPECT_EQ(box.filterList()->currentText(), "Gaussian Blur");
    box.scrollBar(222)->setValue(20);
    box.scrollBar(219)->setValue(30);
    box.previewButton()->click();
    box.WaitForPreview();
    EXPECT_EQ(box.param()->Changed, 0);
    EXPECT_TRUE(box.previewButton()->isEnabled());
    EXPECT_TRUE(box.okButton()->isEnabled());
    sawPreview = test::SameBlock(box.param()->AfterImage, expected);
    // The source isn't touched by a preview.
    EXPECT_TRUE(test::SameBlock(*box.param()->BeforeImage, original));
    return true;
  });
  frame->Command(FILTER_MENU_FIRST + 6);
  EXPECT_TRUE(sawPreview);
  EXPECT_TRUE(test::SameBlock(d->record()->Image, expected));
  EXPECT_EQ(d->record()->Modified, 1);
  EXPECT_TRUE(frame->action(CM_UNDO)->isEnabled());
  EXPECT_TRUE(prompts.empty());
  // Remembered: the settings and the filter's name.
  EXPECT_EQ(FilterGaussianRadius, 20);
  EXPECT_EQ(FilterGaussianSigma, 30);
  EXPECT_STREQ(DefaultFilterType, "Gaussian Blur");
  frame->Command(CM_UNDO);
  EXPECT_TRUE(test::SameBlock(d->record()->Image, original));
  EXPECT_EQ(d->record()->Modified, 0);
}

TEST_F(FilterDialogTest, EscWhileOkRunsLeavesTheDocumentAsItWas) {
  DocumentWindow* d = Document(PhotoImage(120, 90));
  HDIB original = DuplicateObject(d->record()->Image);
  // The worker is held until Esc has been pressed (at most a few seconds, so
  // that a run Esc can't stop shows as a failure, not a hang).
  std::atomic<bool> release{false};
  SetLongWorkGate([&release] {
    for (int i = 0; !release && i < 3000; ++i) std::this_thread::sleep_for(std::chrono::milliseconds(1));
  });
  bool wasRunning = false, stillRunning = true;
  SetDialogAnswerer([&](QDialog& dialog) {
    auto& box = dynamic_cast<MasterFilterBox&>(dialog);
    box.okButton()->click();
    wasRunning = box.PreviewRunning();
    QTest::keyClick(&box, Qt::Key_Escape);
    stillRunning = box.PreviewRunning();
    return box.result() == QDialog::Accepted;
  });
  frame->Command(FILTER_MENU_FIRST + 7);  // Invert Colours
  release = true;
  SetLongWorkGate({});
  // The abandoned run ends by itself and leaves the closed dialog alone.
  std::this_thread::sleep_for(std::chrono::milliseconds(50));
  QCoreApplication::processEvents();
  EXPECT_TRUE(wasRunning);
  EXPECT_FALSE(stillRunning);
  EXPECT_TRUE(test::SameBlock(d->record()->Image, original));
  EXPECT_EQ(d->record()->Modified, 0);
  EXPECT_FALSE(frame->action(CM_UNDO)->isEnabled());
}

TEST_F(FilterDialogTest, OkAtOnceRunsTheFilterOnceAndAResizeChangesTheSize) {
  FilterContrast = 180;
  FilterBrightness = 100;
  DocumentWindow* d = Document(PhotoImage(80, 60));
  HDIB original = DuplicateObject(d->record()->Image);
  FILTERPARAM direct = DirectParam(IMAGE_TRUECOLOUR);
  direct.FilterContrast = 180;
  direct.FilterBrightness = 100;
  HDIB expected = FilterContrastBrightness(original, &direct);
  SetDialogAnswerer([](QDialog&) { return true; });
  frame->Command(FILTER_MENU_FIRST + 2);
  EXPECT_FALSE(test::SameBlock(original, expected));
  EXPECT_TRUE(test::SameBlock(d->record()->Image, expected));

  // Resize at 50 percent: the document takes the new size.
  HDIB before = DuplicateObject(d->record()->Image);
  SetDialogAnswerer([](QDialog& dialog) {
    auto& box = dynamic_cast<MasterFilterBox&>(dialog);
    box.findChild<QSpinBox*>("258")->setValue(50);
    return true;
  });
  frame->Command(FILTER_MENU_FIRST + 9);
  direct.ResizeHorizontal = 50;
  HDIB half = FilterResizeImage(before, &direct);
  ASSERT_TRUE(half);
  EXPECT_TRUE(test::SameBlock(d->record()->Image, half));
  EXPECT_EQ(LockDib(d->record()->Image)->biWidth, 40);
  EXPECT_EQ(LockDib(d->record()->Image)->biHeight, 30);
  // The percentages are never stored: the next dialog starts at 100.
  SetDialogAnswerer([](QDialog& dialog) {
    auto& box = dynamic_cast<MasterFilterBox&>(dialog);
    EXPECT_EQ(box.findChild<QSpinBox*>("258")->value(), 100);
    EXPECT_EQ(box.param()->ResizeHorizontal, 100);
    return false;
  });
  frame->Command(FILTER_MENU_FIRST + 9);
}

TEST_F(FilterDialogTest, ACheckBoxChangedAfterAPreviewDoesNotReachTheResult) {
  DocumentWindow* d = Document(PhotoImage(50, 40));
  HDIB original = DuplicateObject(d->record()->Image);
  SetDialogAnswerer([](QDialog& dialog) {
    auto& box = dynamic_cast<MasterFilterBox&>(dialog);
    SelectFilter(box, "Resize");
    box.findChild<QSpinBox*>("258")->setValue(60);
    box.Preview();
    box.WaitForPreview();
    box.findChild<QCheckBox*>("261")->click();  // Interpolate off, but no new preview
    EXPECT_EQ(box.param()->FilterResizeInterpolate, 0);
    return true;
  });
  frame->Command(CM_FILTERS);
  FILTERPARAM direct = DirectParam(IMAGE_TRUECOLOUR);
  direct.ResizeHorizontal = 60;
  HDIB interpolated = FilterResizeImage(original, &direct);
  direct.FilterResizeInterpolate = 0;
  HDIB plain = FilterResizeImage(original, &direct);
  ASSERT_FALSE(test::SameBlock(interpolated, plain));
  EXPECT_TRUE(test::SameBlock(d->record()->Image, interpolated));
  EXPECT_EQ(FilterResizeInterpolate, 0);  // the setting itself is remembered
}

TEST_F(FilterDialogTest, CancelKeepsTheImageAndStoresSettingsOnlyWhenRemembered) {
  DocumentWindow* d = Document(PhotoImage(40, 30));
  HDIB original = DuplicateObject(d->record()->Image);
  SetDialogAnswerer([](QDialog& dialog) {
    auto& box = dynamic_cast<MasterFilterBox&>(dialog);
    SelectFilter(box, "Solarize");
    box.scrollBar(231)->setValue(77);
    box.Preview();
    box.WaitForPreview();
    return false;
  });
  frame->Command(CM_FILTERS);
  EXPECT_TRUE(test::SameBlock(d->record()->Image, original));
  EXPECT_FALSE(frame->action(CM_UNDO)->isEnabled());
  EXPECT_EQ(d->record()->Modified, 0);
  EXPECT_EQ(FilterSolarizeThreshold, 77);
  EXPECT_STREQ(DefaultFilterType, "");  // the name is kept only by OK

  // "Remember settings" off: this invocation's values are forgotten, the box's state stays.
  SetDialogAnswerer([](QDialog& dialog) {
    auto& box = dynamic_cast<MasterFilterBox&>(dialog);
    EXPECT_TRUE(box.findChild<QCheckBox*>("113")->isChecked());
    box.findChild<QCheckBox*>("113")->click();
    box.scrollBar(231)->setValue(200);
    return false;
  });
  frame->Command(FILTER_MENU_FIRST + 13);
  EXPECT_EQ(FilterRemember, 0);
  EXPECT_EQ(FilterSolarizeThreshold, 77);
  // Also after OK: the image changes, the settings don't.
  SetDialogAnswerer([](QDialog& dialog) {
    auto& box = dynamic_cast<MasterFilterBox&>(dialog);
    EXPECT_FALSE(box.findChild<QCheckBox*>("113")->isChecked());
    EXPECT_EQ(box.scrollBar(231)->value(), 77);
    box.scrollBar(231)->setValue(30);
    return true;
  });
  frame->Command(FILTER_MENU_FIRST + 13);
  FILTERPARAM direct = DirectParam(IMAGE_TRUECOLOUR);
  direct.FilterSolarizeThreshold = 30;
  EXPECT_TRUE(test::SameBlock(d->record()->Image, FilterSolarize(original, &direct)));
  EXPECT_EQ(FilterSolarizeThreshold, 77);
  EXPECT_STREQ(DefaultFilterType, "");
}

TEST_F(FilterDialogTest, RestoreDefaultsSetsEveryControlAndField) {
  FilterContrast = 3;
  FilterGaussianRadius = 500;
  FilterRotateAngle = 123;
  FilterRotateDirection = 1;
  FilterResizeConstant = 0;
  FilterNoiseType = 4;
  FilterSwirlDegrees = -90;
  HDIB image = PhotoImage(30, 30);
  FILTERPARAM p;
  Prepare(&p, &image);
  MasterFilterBox box(&p);
  EXPECT_EQ(box.scrollBar(201)->value(), 3);
  EXPECT_EQ(box.findChild<QSpinBox*>("264")->value(), 123);
  EXPECT_TRUE(box.findChild<QRadioButton*>("265")->isChecked());
  EXPECT_EQ(box.findChild<QComboBox*>("236")->currentIndex(), 4);
  box.findChild<QSpinBox*>("259")->setValue(300);
  p.Changed = 0;
  qobject_cast<QPushButton*>(box.control(114))->click();
  FILTERPARAM defaults;
  RestoreFilterDefaults(&defaults);
  for (int k = 0; k < FILTER_SETTING_COUNT; ++k)
    EXPECT_EQ(p.*filtersettings[k].field, defaults.*filtersettings[k].field) << filtersettings[k].name;
  EXPECT_EQ(box.scrollBar(201)->value(), 128);
  EXPECT_EQ(box.valueLabel(222)->text(), "4.0");
  EXPECT_EQ(box.findChild<QSpinBox*>("264")->value(), 0);
  EXPECT_EQ(box.findChild<QSpinBox*>("259")->value(), 100);
  EXPECT_EQ(box.findChild<QSpinBox*>("284")->value(), 45);
  EXPECT_TRUE(box.findChild<QRadioButton*>("267")->isChecked());
  EXPECT_TRUE(box.findChild<QCheckBox*>("260")->isChecked());
  EXPECT_FALSE(box.control(259)->isEnabled());
  EXPECT_EQ(box.findChild<QComboBox*>("236")->currentIndex(), 0);
  EXPECT_EQ(p.Changed, 1);
  // The stored settings wait for the dialog's end.
  EXPECT_EQ(FilterContrast, 3);
}

TEST_F(FilterDialogTest, ApplyToDuplicateOpensASecondDocumentAndLeavesTheFirst) {
  DocumentWindow* first = Document(PhotoImage(60, 40));
  HDIB original = DuplicateObject(first->record()->Image);
  SetDialogAnswerer([](QDialog& dialog) {
    auto& box = dynamic_cast<MasterFilterBox&>(dialog);
    box.findChild<QCheckBox*>("115")->click();
    return true;
  });
  frame->Command(FILTER_MENU_FIRST + 7);  // Invert Colours
  EXPECT_EQ(FilterApplyToDuplicate, 1);
  ASSERT_EQ(frame->CountOpenDocuments(), 2);
  DocumentWindow* second = frame->ActiveDocument();
  ASSERT_NE(second, first);
  EXPECT_TRUE(test::SameBlock(first->record()->Image, original));
  EXPECT_EQ(first->record()->Modified, 0);
  EXPECT_EQ(first->record()->UndoAvailable, 0);
  FILTERPARAM direct = DirectParam(IMAGE_TRUECOLOUR);
  EXPECT_TRUE(test::SameBlock(second->record()->Image, FilterInvertColours(original, &direct)));
  EXPECT_EQ(second->record()->ImageType, IMAGE_TRUECOLOUR);
}

TEST_F(FilterDialogTest, RememberedFilterIsPreselectedNextTime) {
  DocumentWindow* d = Document(PhotoImage(40, 40));
  QString shown;
  SetDialogAnswerer([&](QDialog& dialog) {
    shown = dynamic_cast<MasterFilterBox&>(dialog).filterList()->currentText();
    return false;
  });
  frame->Command(CM_FILTERS);
  EXPECT_EQ(shown, "Add Noise");  // nothing remembered: the first item
  SetDialogAnswerer([](QDialog& dialog) {
    SelectFilter(dynamic_cast<MasterFilterBox&>(dialog), "Sharpen");
    return true;
  });
  frame->Command(CM_FILTERS);
  EXPECT_STREQ(DefaultFilterType, "Sharpen");
  SetDialogAnswerer([&](QDialog& dialog) {
    auto& box = dynamic_cast<MasterFilterBox&>(dialog);
    shown = box.filterList()->currentText();
    // Its controls are the ones shown.
    EXPECT_FALSE(box.control(252)->isHidden());
    EXPECT_TRUE(box.control(201)->isHidden());
    return false;
  });
  frame->Command(CM_FILTERS);
  EXPECT_EQ(shown, "Sharpen");
  // A filter's own command wins over the remembered one.
  SetDialogAnswerer([&](QDialog& dialog) {
    shown = dynamic_cast<MasterFilterBox&>(dialog).filterList()->currentText();
    return false;
  });
  frame->Command(FILTER_MENU_FIRST + 16);
  EXPECT_EQ(shown, "Vignette");
  // A remembered name this image can't take falls back to the first item.
  std::snprintf(DefaultFilterType, kSettingTextSize, "%s", "Oil Painting");
  Document(nullptr, 2);  // paletted
  frame->Command(CM_FILTERS);
  EXPECT_EQ(shown, "Color and Intensity");
  (void)d;
}

TEST_F(FilterDialogTest, AFailedFilterSaysMemoryErrorAndChangesNothing) {
  DocumentWindow* d = Document(PhotoImage(100, 100));
  HDIB original = DuplicateObject(d->record()->Image);
  SetDialogAnswerer([](QDialog& dialog) {
    auto& box = dynamic_cast<MasterFilterBox&>(dialog);
    SelectFilter(box, "Resize");
    box.findChild<QSpinBox*>("258")->setValue(5000);
    SetAllocationLimit(1 << 20);  // 5000 by 5000 pixels can't be had
    box.Preview();
    box.WaitForPreview();
    EXPECT_EQ(box.param()->Changed, 1);
    EXPECT_TRUE(box.previewButton()->isEnabled());
    // The old result stays.
    EXPECT_EQ(box.param()->AfterWidth, 100);
    EXPECT_TRUE(test::SameBlock(box.param()->AfterImage, *box.param()->BeforeImage));
    return true;  // OK runs the pending preview again, which fails again
  });
  frame->Command(CM_FILTERS);
  SetAllocationLimit(0);
  ASSERT_EQ(prompts.size(), 2u);
  EXPECT_EQ(prompts[0], "Memory error");
  EXPECT_EQ(prompts[1], "Memory error");
  EXPECT_TRUE(test::SameBlock(d->record()->Image, original));
  EXPECT_EQ(d->record()->UndoAvailable, 0);
  EXPECT_EQ(d->record()->Modified, 0);
}

TEST_F(FilterDialogTest, PanClampAndZoomSteps) {
  // The image at least as large as the pane: between W/2 - S/2 + 2 and S/2 - W/2.
  EXPECT_EQ(ClampFilterPan(-1000, 280, 400), -58);
  EXPECT_EQ(ClampFilterPan(1000, 280, 400), 60);
  EXPECT_EQ(ClampFilterPan(17, 280, 400), 17);
  // Smaller: between -((W - S) / 2) and (W - S) / 2 + 2.
  EXPECT_EQ(ClampFilterPan(-1000, 280, 101), -89);
  EXPECT_EQ(ClampFilterPan(1000, 280, 101), 91);
  // Equal sizes: the lower bound (2) is tested first, the upper (0) last.
  EXPECT_EQ(ClampFilterPan(-5, 280, 280), 0);

  HDIB image = PhotoImage(200, 100);
  FILTERPARAM p;
  Prepare(&p, &image);
  MasterFilterBox box(&p);
  box.resize(960, 560);
  box.show();
  QCoreApplication::processEvents();
  auto* magnification = box.findChild<QLabel*>("105");
  EXPECT_EQ(magnification->text(), "Magification: 100%");
  FilterPane* before = box.pane(101);
  // Zoom mode: a left click zooms in up to 1600, a right click out down to 25.
  for (int expected : {200, 400, 800, 1600, 1600}) {
    QTest::mouseClick(before, Qt::LeftButton, Qt::NoModifier, QPoint(50, 50));
    EXPECT_EQ(box.view().BeforeZoom, expected);
  }
  EXPECT_EQ(magnification->text(), "Magification: 1600%");
  EXPECT_EQ(box.view().AfterZoom, 100);
  for (int expected : {800, 400, 200, 100, 50, 25, 25}) {
    QTest::mouseClick(before, Qt::RightButton, Qt::NoModifier, QPoint(50, 50));
    EXPECT_EQ(box.view().BeforeZoom, expected);
  }
  EXPECT_EQ(box.findChild<QLabel*>("106")->text(), "Magification: 100%");

  // Pan mode on the after pane: a drag moves the image by the hand's way, clamped.
  FilterPane* after = box.pane(102);
  qobject_cast<QToolButton*>(box.control(104))->click();
  EXPECT_EQ(box.view().AfterMode, 1);
  const QRect inner = after->InnerRect();
  QTest::mousePress(after, Qt::LeftButton, Qt::NoModifier, QPoint(100, 100));
  QMouseEvent move(QEvent::MouseMove, QPointF(110, 95), after->mapToGlobal(QPointF(110, 95)), Qt::NoButton,
                   Qt::LeftButton, Qt::NoModifier);
  QCoreApplication::sendEvent(after, &move);
  EXPECT_EQ(box.view().AfterX, 0);  // only the button-up keeps the place
  EXPECT_EQ(box.view().DragPaint, 0);
  QTest::mouseRelease(after, Qt::LeftButton, Qt::NoModifier, QPoint(110, 95));
  EXPECT_EQ(box.view().AfterX, ClampFilterPan(10, inner.width(), 200));
  EXPECT_EQ(box.view().AfterY, ClampFilterPan(-5, inner.height(), 100));
  EXPECT_EQ(box.view().Dragging, 0);
  ASSERT_GT(inner.width(), 200);
  ASSERT_GT(inner.height(), 100);
  QTest::mousePress(after, Qt::LeftButton, Qt::NoModifier, QPoint(10, 10));
  QTest::mouseRelease(after, Qt::LeftButton, Qt::NoModifier, QPoint(inner.width(), inner.height()));
  EXPECT_EQ(box.view().AfterX, (inner.width() - 200) / 2 + 2);
  EXPECT_EQ(box.view().AfterY, (inner.height() - 100) / 2 + 2);
  // A right click recentres and leaves the zoom.
  QTest::mouseClick(after, Qt::RightButton, Qt::NoModifier, QPoint(30, 30));
  EXPECT_EQ(box.view().AfterX, 0);
  EXPECT_EQ(box.view().AfterY, 0);
  EXPECT_EQ(box.view().AfterZoom, 100);
  box.reject();
}

TEST_F(FilterDialogTest, PanesDrawTheImageCentredOnWhite) {
  HDIB image = PhotoImage(90, 50);
  FILTERPARAM p;
  Prepare(&p, &image);
  MasterFilterBox box(&p);
  box.resize(960, 560);
  box.show();
  QCoreApplication::processEvents();
  FilterPane* pane = box.pane(101);
  for (int zoom : {100, 200, 50}) {
    box.view().BeforeZoom = zoom;
    QImage shot = pane->grab().toImage().convertToFormat(QImage::Format_RGB32);
    const QRect inner = pane->InnerRect();
    const int sw = 90 * zoom / 100, sh = 50 * zoom / 100;
    const QPoint origin(inner.left() + (inner.width() - sw) / 2, inner.top() + (inner.height() - sh) / 2);
    EXPECT_EQ(pane->lastImageRect(), QRect(origin, QSize(sw, sh)));
    const BITMAPINFOHEADER* h = LockDib(image);
    for (int y = 0; y < sh; y += 7)
      for (int x = 0; x < sw; x += 5) {
        const COLORREF c = GetDibPixel(h, x * 100 / zoom, y * 100 / zoom);
        const QRgb got = shot.pixel(origin + QPoint(x, y));
        ASSERT_EQ(qRgb(GetRValue(c), GetGValue(c), GetBValue(c)), got) << zoom << " " << x << "," << y;
      }
    EXPECT_EQ(shot.pixel(inner.topLeft()), qRgb(255, 255, 255));
    EXPECT_EQ(shot.pixel(0, 0), qRgb(0, 0, 0));  // the black frame
  }
  box.reject();
}

TEST_F(FilterDialogTest, RotateOnTheWholeImageKeepsNoMask) {
  DocumentWindow* d = Document(PhotoImage(64, 40));
  HDIB original = DuplicateObject(d->record()->Image);
  SetDialogAnswerer([](QDialog& dialog) {
    auto& box = dynamic_cast<MasterFilterBox&>(dialog);
    SelectFilter(box, "Rotate");
    box.findChild<QSpinBox*>("264")->setValue(30);
    box.Preview();
    box.WaitForPreview();
    EXPECT_TRUE(box.param()->NewMask);  // a free rotation makes one
    return true;
  });
  frame->Command(CM_FILTERS);
  FILTERPARAM direct = DirectParam(IMAGE_TRUECOLOUR);
  direct.FilterRotateAngle = 30;
  direct.PaperColour = d->record()->PaperColour;
  HDIB expected = FilterRotateImage(original, &direct);
  EXPECT_TRUE(test::SameBlock(d->record()->Image, expected));
  EXPECT_GT(LockDib(d->record()->Image)->biWidth, 64);
}

// With OCHREL_SCREENSHOT_DIR set, the dialog over a photograph is saved for a look.
TEST_F(FilterDialogTest, Screenshot) {
  const char* dir = std::getenv("OCHREL_SCREENSHOT_DIR");
  if (!dir) GTEST_SKIP() << "OCHREL_SCREENSHOT_DIR not set";
  HDIB image = PhotoImage(640, 480);
  for (const char* name : {"Gaussian Blur", "Rotate", "Add Noise", "Resize"}) {
    FILTERPARAM p;
    Prepare(&p, &image, FindFilterType(name));
    MasterFilterBox box(&p);
    box.show();
    QCoreApplication::processEvents();
    box.Preview();
    box.WaitForPreview();
    box.PaneCommand(111);
    QCoreApplication::processEvents();
    QString file = QString("%1/filterdialog-%2.png").arg(dir).arg(QString(name).replace(' ', '_'));
    EXPECT_TRUE(box.grab().save(file));
  }
  // The Filters menu for a paletted document: the palette filters and the geometry ones.
  Document(nullptr, 2);
  QMenu* filters = frame->menuBar()->findChild<QMenu*>("filterMenu");
  ASSERT_TRUE(filters);
  filters->popup(QPoint(100, 100));
  QCoreApplication::processEvents();
  EXPECT_TRUE(filters->grab().save(QString("%1/filtermenu-paletted.png").arg(dir)));
  filters->hide();
}

}  // namespace
}  // namespace ochrel
