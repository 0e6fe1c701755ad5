// The Filters menu and its dialog, opened from the menu on a document: which
// filters each kind of picture offers, the controls of each filter, preview,
// OK, Cancel, Esc, the remembered settings, the panes and their zoom and pan.
#include <gtest/gtest.h>

#include <QCheckBox>
#include <QLabel>
#include <QMenu>
#include <QMenuBar>
#include <QPushButton>
#include <QRadioButton>
#include <QScrollBar>

#include <atomic>
#include <chrono>
#include <cmath>
#include <set>
#include <thread>

#include "filters/filterparam.h"
#include "qt_fixture.h"
#include "test_images.h"
#include "ui/dialogs/filter/filterdialog.h"

namespace ochrel {
namespace {

// Something like a photograph: a sky ramp, a sun, textured hills.
HDIB PhotoImage(int width, int height) {
  HDIB dib = CreateDib(width, height, nullptr, 24);
  BITMAPINFOHEADER* h = LockDib(dib);
  for (int y = 0; y < height; ++y)
    for (int x = 0; x < width; ++x) {
      const double fx = double(x) / width, fy = double(y) / height;
      int r = int(90 + 120 * fy), g = int(150 + 70 * fy), b = 235;
      if (std::hypot(fx - 0.72, fy - 0.25) < 0.09) r = 255, g = 230, b = 120;
      if (fy > 0.62 + 0.08 * std::sin(fx * 9.0)) {
        const int t = ((x * 7 + y * 13) ^ (x * y)) % 40;
        r = 40 + t, g = 110 + int(60 * (1 - fy)) + t, b = 40 + t / 2;
      }
      PutDibPixel(h, x, y, RGB(r, g, b));
    }
  return dib;
}

// The record a direct call of a filter gets: defaults with the changes given.
FILTERPARAM DirectParam() {
  FILTERPARAM p;
  RestoreFilterDefaults(&p);
  p.ImageType = IMAGE_TRUECOLOUR;
  p.PaperColour = RGB(255, 255, 255);
  return p;
}

class FilterDialogTest : public test::QtFixture {
 protected:
  DocumentWindow* Photo(int width, int height) {
    DocumentWindow* d = Open(PhotoImage(width, height));
    original = DuplicateObject(d->record()->Image);
    return d;
  }
  // Opens Image ▸ Filters (or a filter's own command) and runs `inside` on the dialog.
  void Filters(const std::function<bool(MasterFilterBox&)>& inside, int command = CM_FILTERS) {
    OnDialog<MasterFilterBox>(inside);
    frame->Command(command);
    SetDialogAnswerer({});
  }
  void Filters(int command, const std::function<bool(MasterFilterBox&)>& inside) { Filters(inside, command); }
  static void Select(MasterFilterBox& box, const char* name) {
    const int row = box.filterList()->findText(name);
    ASSERT_GE(row, 0) << name;
    box.filterList()->setCurrentIndex(row);
  }
  template <class W>
  static W* Find(MasterFilterBox& box, int id) {
    return box.findChild<W*>(QString::number(id));
  }
  bool Unchanged(DocumentWindow* d) { return test::SameBlock(d->record()->Image, original) && !Enabled(CM_UNDO); }

  HDIB original;
};

TEST_F(FilterDialogTest, MenuHoldsSeventeenFiltersEnabledByImageType) {
  QMenu* filters = frame->menuBar()->findChild<QMenu*>("filterMenu");
  ASSERT_TRUE(filters);
  const QList<QAction*> items = filters->actions();
  ASSERT_EQ(items.size(), 19);
  EXPECT_EQ(items[0]->text(), "&Filters");
  EXPECT_TRUE(items[1]->isSeparator());
  const char* names[17] = {"Add Noise",
                           "Color and Intensity",
                           "Contrast and Brightness",
                           "Despeckle",
                           "Emboss",
                           "Flip",
                           "Gaussian Blur",
                           "Invert Colours",
                           "Oil Painting",
                           "Resize",
                           "Rotate",
                           "Shade",
                           "Sharpen",
                           "Solarize",
                           "Swirl",
                           "Unsharp Mask",
                           "Vignette"};
  auto enabled = [&] {
    std::set<std::string> on;
    for (int i = 0; i < 17; ++i) {
      EXPECT_EQ(items[i + 2]->text(), names[i]);
      if (items[i + 2]->isEnabled()) on.insert(names[i]);
    }
    return on;
  };
  EXPECT_TRUE(enabled().empty());  // no document: all grey
  EXPECT_FALSE(items[0]->isEnabled());
  const std::set<std::string> geometry = {"Flip", "Invert Colours", "Resize", "Rotate"};
  std::set<std::string> grey = geometry, paletted = geometry;
  grey.insert({"Add Noise", "Contrast and Brightness", "Despeckle", "Emboss", "Gaussian Blur", "Sharpen", "Solarize",
               "Unsharp Mask", "Vignette"});
  paletted.insert({"Color and Intensity", "Contrast and Brightness"});
  const std::set<std::string> expected[4] = {std::set<std::string>(std::begin(names), std::end(names)), grey, paletted,
                                             geometry};
  for (int type = 0; type < 4; ++type) {
    NewDocument(type, 40, 30);
    EXPECT_EQ(enabled(), expected[type]) << "type " << type;
    EXPECT_TRUE(items[0]->isEnabled());
    // The dialog's list offers the same filters.
    std::set<std::string> listed;
    Filters([&](MasterFilterBox& box) {
      for (int i = 0; i < box.filterList()->count(); ++i) listed.insert(box.filterList()->itemText(i).toStdString());
      return false;
    });
    EXPECT_EQ(listed, expected[type]) << "type " << type;
  }
}

TEST_F(FilterDialogTest, EachFilterShowsOnlyItsControls) {
  Photo(64, 48);
  Filters([](MasterFilterBox& box) {
    EXPECT_EQ(box.filterList()->count(), FILTER_COUNT);
    std::vector<QWidget*> numbered;
    for (QWidget* w : box.findChildren<QWidget*>())
      if (bool ok = false; w->objectName().toInt(&ok) >= 200 && ok) numbered.push_back(w);
    for (int f = 0; f < FILTER_COUNT; ++f) {
      box.filterList()->setCurrentIndex(f);
      EXPECT_EQ(box.filterList()->currentText(), filtertype[f].name);
      std::set<int> own;
      for (const int* id = filtertype[f].controls; *id; ++id) {
        own.insert(*id);
        if (*id < 10000) {
          EXPECT_TRUE(box.control(*id)) << *id;
        }
      }
      for (QWidget* w : numbered)
        EXPECT_EQ(w->isHidden(), !own.count(w->objectName().toInt()))
            << filtertype[f].name << " " << w->objectName().toStdString();
    }
    return false;
  });
}

TEST_F(FilterDialogTest, BarsStoreTheirFieldsAndLabelsShowWholeOrTenths) {
  FilterGaussianSigma = 37;
  FilterContrast = 300;  // beyond the range: shown and kept clamped
  Photo(32, 32);
  Filters([](MasterFilterBox& box) {
    FILTERPARAM* p = box.param();
    EXPECT_EQ(p->Changed, 1);  // set from the start, so OK alone runs the filter
    const std::pair<int, const char*> labels[] = {{219, "3.7"}, {201, "255"}, {222, "4.0"}, {274, "25.0"}, {280, "30"}};
    for (auto [id, text] : labels) EXPECT_EQ(box.valueLabel(id)->text(), text) << id;
    EXPECT_EQ(p->FilterContrast, 255);
    EXPECT_EQ(box.scrollBar(219)->minimum(), 10);
    EXPECT_EQ(box.scrollBar(228)->maximum(), 15);
    p->Changed = 0;
    box.scrollBar(222)->setValue(123);
    EXPECT_EQ(p->FilterGaussianRadius, 123);
    EXPECT_EQ(box.valueLabel(222)->text(), "12.3");
    EXPECT_EQ(p->Changed, 1);
    box.scrollBar(222)->triggerAction(QAbstractSlider::SliderPageStepAdd);  // an eighth of 990
    EXPECT_EQ(box.valueLabel(222)->text(), "24.6");
    box.scrollBar(237)->setValue(1000);
    EXPECT_EQ(p->FilterNoiseLevel, 32);
    // The other controls store their fields but leave Changed alone.
    p->Changed = 0;
    EXPECT_FALSE(box.control(259)->isEnabled());
    Find<QCheckBox>(box, 260)->click();
    EXPECT_EQ(p->FilterResizeConstant, 0);
    EXPECT_TRUE(box.control(259)->isEnabled());
    Find<QSpinBox>(box, 284)->setValue(-2000);
    EXPECT_EQ(p->FilterSwirlDegrees, -1440);
    Find<QRadioButton>(box, 265)->click();
    EXPECT_EQ(p->FilterRotateDirection, 1);
    Find<QRadioButton>(box, 273)->click();
    EXPECT_EQ(p->FilterFlipDirection, 1);
    EXPECT_TRUE(Find<QRadioButton>(box, 265)->isChecked());  // the pairs are separate groups
    auto* noise = Find<QComboBox>(box, 236);
    EXPECT_EQ(noise->itemText(4), "Poisson Noise");
    noise->setCurrentIndex(3);
    emit noise->activated(3);
    EXPECT_EQ(p->FilterNoiseType, 3);
    EXPECT_EQ(p->Changed, 0);
    // Restore defaults sets every field and control back.
    qobject_cast<QPushButton*>(box.control(114))->click();
    FILTERPARAM defaults;
    RestoreFilterDefaults(&defaults);
    for (int k = 0; k < FILTER_SETTING_COUNT; ++k)
      EXPECT_EQ(p->*filtersettings[k].field, defaults.*filtersettings[k].field) << filtersettings[k].name;
    EXPECT_EQ(box.scrollBar(201)->value(), 128);
    EXPECT_EQ(Find<QSpinBox>(box, 284)->value(), 45);
    EXPECT_TRUE(Find<QRadioButton>(box, 267)->isChecked());
    EXPECT_FALSE(box.control(259)->isEnabled());
    EXPECT_EQ(noise->currentIndex(), 0);
    EXPECT_EQ(FilterContrast, 300);  // the stored settings wait for the dialog's end
    return false;
  });
}

TEST_F(FilterDialogTest, PreviewThenOkPutsTheResultInTheDocumentAndUndoBringsItBack) {
  DocumentWindow* d = Photo(120, 90);
  FILTERPARAM direct = DirectParam();
  direct.FilterGaussianRadius = 20;
  direct.FilterGaussianSigma = 30;
  HDIB expected = FilterGaussianBlur(original, &direct);
  bool sawPreview = false;
  Filters(FILTER_MENU_FIRST + 6, [&](MasterFilterBox& box) {
    EXPECT_EQ(box.filterList()->currentText(), "Gaussian Blur");
    box.scrollBar(222)->setValue(20);
    box.scrollBar(219)->setValue(30);
    box.previewButton()->click();
    box.WaitForPreview();
    EXPECT_EQ(box.param()->Changed, 0);
    sawPreview = test::SameBlock(box.param()->AfterImage, expected);
    EXPECT_TRUE(test::SameBlock(*box.param()->BeforeImage, original));
    return true;
  });
  EXPECT_TRUE(sawPreview);
  EXPECT_TRUE(test::SameBlock(d->record()->Image, expected));
  EXPECT_EQ(d->record()->Modified, 1);
  EXPECT_TRUE(prompts.empty());
  // Remembered: the settings and the filter's name.
  EXPECT_EQ(FilterGaussianRadius, 20);
  EXPECT_STREQ(DefaultFilterType, "Gaussian Blur");
  Choose(CM_UNDO);
  EXPECT_TRUE(test::SameBlock(d->record()->Image, original));
  EXPECT_EQ(d->record()->Modified, 0);
}

TEST_F(FilterDialogTest, EscWhileOkRunsLeavesTheDocumentAsItWas) {
  DocumentWindow* d = Photo(120, 90);
  // The worker is held until Esc (at most a few seconds: a run Esc can't stop fails, not hangs).
  std::atomic<bool> release{false};
  SetLongWorkGate([&release] {
    for (int i = 0; !release && i < 3000; ++i) std::this_thread::sleep_for(std::chrono::milliseconds(1));
  });
  bool wasRunning = false, stillRunning = true;
  Filters(
      [&](MasterFilterBox& box) {
        box.okButton()->click();
        wasRunning = box.PreviewRunning();
        QTest::keyClick(&box, Qt::Key_Escape);
        stillRunning = box.PreviewRunning();
        return box.result() == QDialog::Accepted;
      },
      FILTER_MENU_FIRST + 7);
  release = true;
  SetLongWorkGate({});
  std::this_thread::sleep_for(std::chrono::milliseconds(50));  // the abandoned run ends by itself
  QCoreApplication::processEvents();
  EXPECT_TRUE(wasRunning);
  EXPECT_FALSE(stillRunning);
  EXPECT_TRUE(Unchanged(d));
  EXPECT_EQ(d->record()->Modified, 0);
}

TEST_F(FilterDialogTest, OkAtOnceRunsTheFilterAndAResizeChangesTheSize) {
  FilterContrast = 180;
  DocumentWindow* d = Photo(80, 60);
  FILTERPARAM direct = DirectParam();
  direct.FilterContrast = 180;
  Filters([](MasterFilterBox&) { return true; }, FILTER_MENU_FIRST + 2);
  EXPECT_TRUE(test::SameBlock(d->record()->Image, FilterContrastBrightness(original, &direct)));
  Filters(FILTER_MENU_FIRST + 9, [](MasterFilterBox& box) {
    Find<QSpinBox>(box, 258)->setValue(50);
    return true;
  });
  EXPECT_EQ(LockDib(d->record()->Image)->biWidth, 40);
  EXPECT_EQ(LockDib(d->record()->Image)->biHeight, 30);
  // The percentages are never stored: the next dialog starts at 100.
  Filters(FILTER_MENU_FIRST + 9, [](MasterFilterBox& box) {
    EXPECT_EQ(Find<QSpinBox>(box, 258)->value(), 100);
    return false;
  });
}

TEST_F(FilterDialogTest, ACheckBoxChangedAfterAPreviewDoesNotReachTheResult) {
  DocumentWindow* d = Photo(50, 40);
  Filters([](MasterFilterBox& box) {
    Select(box, "Resize");
    Find<QSpinBox>(box, 258)->setValue(60);
    box.Preview();
    box.WaitForPreview();
    Find<QCheckBox>(box, 261)->click();  // Interpolate off, but no new preview
    return true;
  });
  FILTERPARAM direct = DirectParam();
  direct.ResizeHorizontal = 60;
  HDIB interpolated = FilterResizeImage(original, &direct);
  direct.FilterResizeInterpolate = 0;
  ASSERT_FALSE(test::SameBlock(interpolated, FilterResizeImage(original, &direct)));
  EXPECT_TRUE(test::SameBlock(d->record()->Image, interpolated));
  EXPECT_EQ(FilterResizeInterpolate, 0);  // the setting itself is remembered
}

TEST_F(FilterDialogTest, CancelKeepsTheImageAndSettingsAreStoredOnlyWhenRemembered) {
  DocumentWindow* d = Photo(40, 30);
  Filters([](MasterFilterBox& box) {
    Select(box, "Solarize");
    box.scrollBar(231)->setValue(77);
    box.Preview();
    box.WaitForPreview();
    return false;
  });
  EXPECT_TRUE(Unchanged(d));
  EXPECT_EQ(FilterSolarizeThreshold, 77);
  EXPECT_STREQ(DefaultFilterType, "");  // the name is kept only by OK
  // "Remember settings" off: this invocation's values are forgotten, also after OK.
  Filters(FILTER_MENU_FIRST + 13, [](MasterFilterBox& box) {
    Find<QCheckBox>(box, 113)->click();
    box.scrollBar(231)->setValue(200);
    return false;
  });
  EXPECT_EQ(FilterRemember, 0);
  EXPECT_EQ(FilterSolarizeThreshold, 77);
  Filters(FILTER_MENU_FIRST + 13, [](MasterFilterBox& box) {
    EXPECT_FALSE(Find<QCheckBox>(box, 113)->isChecked());
    EXPECT_EQ(box.scrollBar(231)->value(), 77);
    box.scrollBar(231)->setValue(30);
    return true;
  });
  FILTERPARAM direct = DirectParam();
  direct.FilterSolarizeThreshold = 30;
  EXPECT_TRUE(test::SameBlock(d->record()->Image, FilterSolarize(original, &direct)));
  EXPECT_EQ(FilterSolarizeThreshold, 77);
  EXPECT_STREQ(DefaultFilterType, "");
}

TEST_F(FilterDialogTest, ApplyToDuplicateOpensASecondDocumentAndLeavesTheFirst) {
  DocumentWindow* first = Photo(60, 40);
  Filters(FILTER_MENU_FIRST + 7, [](MasterFilterBox& box) {
    Find<QCheckBox>(box, 115)->click();
    return true;
  });  // Invert Colours
  EXPECT_EQ(FilterApplyToDuplicate, 1);
  ASSERT_EQ(frame->CountOpenDocuments(), 2);
  DocumentWindow* second = frame->ActiveDocument();
  ASSERT_NE(second, first);
  EXPECT_TRUE(test::SameBlock(first->record()->Image, original));
  EXPECT_EQ(first->record()->UndoAvailable, 0);
  FILTERPARAM direct = DirectParam();
  EXPECT_TRUE(test::SameBlock(second->record()->Image, FilterInvertColours(original, &direct)));
}

TEST_F(FilterDialogTest, RememberedFilterIsPreselectedNextTime) {
  Photo(40, 40);
  QString shown;
  auto look = [&](MasterFilterBox& box) { return shown = box.filterList()->currentText(), false; };
  Filters(look);
  EXPECT_EQ(shown, "Add Noise");  // nothing remembered: the first item
  Filters([](MasterFilterBox& box) { return Select(box, "Sharpen"), true; });
  Filters([&](MasterFilterBox& box) {
    EXPECT_FALSE(box.control(252)->isHidden());  // its controls are the ones shown
    EXPECT_TRUE(box.control(201)->isHidden());
    return look(box);
  });
  EXPECT_EQ(shown, "Sharpen");
  Filters(look, FILTER_MENU_FIRST + 16);  // a filter's own command wins
  EXPECT_EQ(shown, "Vignette");
  // A remembered name this image can't take falls back to the first item.
  std::snprintf(DefaultFilterType, kSettingTextSize, "%s", "Oil Painting");
  NewDocument(2, 40, 30);
  Filters(look);
  EXPECT_EQ(shown, "Color and Intensity");
}

TEST_F(FilterDialogTest, AFailedFilterSaysMemoryErrorAndChangesNothing) {
  DocumentWindow* d = Photo(100, 100);
  Filters([](MasterFilterBox& box) {
    Select(box, "Resize");
    Find<QSpinBox>(box, 258)->setValue(5000);
    SetAllocationLimit(1 << 20);  // 5000 by 5000 pixels can't be had
    box.Preview();
    box.WaitForPreview();
    EXPECT_EQ(box.param()->Changed, 1);
    EXPECT_EQ(box.param()->AfterWidth, 100);  // the old result stays
    return true;                              // OK runs the pending preview again, which fails again
  });
  SetAllocationLimit(0);
  EXPECT_EQ(prompts, std::vector<QString>({"Memory error", "Memory error"}));
  EXPECT_TRUE(Unchanged(d));
  EXPECT_EQ(d->record()->Modified, 0);
}

TEST_F(FilterDialogTest, RotateOnTheWholeImageKeepsNoMask) {
  DocumentWindow* d = Photo(64, 40);
  Filters([](MasterFilterBox& box) {
    Select(box, "Rotate");
    Find<QSpinBox>(box, 264)->setValue(30);
    box.Preview();
    box.WaitForPreview();
    EXPECT_TRUE(box.param()->NewMask);  // a free rotation makes one
    return true;
  });
  FILTERPARAM direct = DirectParam();
  direct.FilterRotateAngle = 30;
  direct.PaperColour = d->record()->PaperColour;
  EXPECT_TRUE(test::SameBlock(d->record()->Image, FilterRotateImage(original, &direct)));
}

TEST_F(FilterDialogTest, PanesDrawTheImageCentredAndZoomAndPanWithTheMouse) {
  EXPECT_EQ(ClampFilterPan(-1000, 280, 400), -58);  // larger than the pane: W/2 - S/2 + 2 .. S/2 - W/2
  EXPECT_EQ(ClampFilterPan(1000, 280, 400), 60);
  EXPECT_EQ(ClampFilterPan(-1000, 280, 101), -89);  // smaller: -((W - S) / 2) .. (W - S) / 2 + 2
  EXPECT_EQ(ClampFilterPan(1000, 280, 101), 91);
  EXPECT_EQ(ClampFilterPan(-5, 280, 280), 0);
  DocumentWindow* d = Photo(200, 100);
  Filters([&](MasterFilterBox& box) {
    FilterView* p = &box.view();
    box.resize(960, 560);
    box.show();
    QCoreApplication::processEvents();
    FilterPane* before = box.pane(101);
    const BITMAPINFOHEADER* h = LockDib(d->record()->Image);
    for (int zoom : {100, 50}) {
      p->BeforeZoom = zoom;
      const QImage shot = Shot(before);
      const QRect inner = before->InnerRect();
      const int sw = 200 * zoom / 100, sh = 100 * zoom / 100;
      const QPoint origin(inner.left() + (inner.width() - sw) / 2, inner.top() + (inner.height() - sh) / 2);
      EXPECT_EQ(before->lastImageRect(), QRect(origin, QSize(sw, sh)));
      for (int y = 0; y < sh; y += 7)
        for (int x = 0; x < sw; x += 5)
          EXPECT_EQ(shot.pixel(origin + QPoint(x, y)),
                    Rgb(GetDibPixel(h, x * 100 / zoom, y * 100 / zoom)) | 0xFF000000u);
      EXPECT_EQ(shot.pixel(inner.topLeft()), qRgb(255, 255, 255));
      EXPECT_EQ(shot.pixel(0, 0), qRgb(0, 0, 0));  // the black frame
    }
    p->BeforeZoom = 100;
    // Zoom mode: a left click zooms in up to 1600, a right click out down to 25.
    for (int expected : {200, 400, 800, 1600, 1600}) {
      QTest::mouseClick(before, Qt::LeftButton, Qt::NoModifier, QPoint(50, 50));
      EXPECT_EQ(p->BeforeZoom, expected);
    }
    EXPECT_EQ(box.findChild<QLabel*>("105")->text(), "Magification: 1600%");
    for (int expected : {800, 400, 200, 100, 50, 25, 25}) {
      QTest::mouseClick(before, Qt::RightButton, Qt::NoModifier, QPoint(50, 50));
      EXPECT_EQ(p->BeforeZoom, expected);
    }
    EXPECT_EQ(p->AfterZoom, 100);
    // Pan mode on the after pane: the place is kept at the button-up, clamped.
    FilterPane* after = box.pane(102);
    qobject_cast<QToolButton*>(box.control(104))->click();
    const QRect inner = after->InnerRect();
    QTest::mousePress(after, Qt::LeftButton, Qt::NoModifier, QPoint(100, 100));
    Move(after, QPoint(110, 95));
    EXPECT_EQ(p->AfterX, 0);
    QTest::mouseRelease(after, Qt::LeftButton, Qt::NoModifier, QPoint(110, 95));
    EXPECT_EQ(p->AfterX, ClampFilterPan(10, inner.width(), 200));
    EXPECT_EQ(p->AfterY, ClampFilterPan(-5, inner.height(), 100));
    QTest::mousePress(after, Qt::LeftButton, Qt::NoModifier, QPoint(10, 10));
    QTest::mouseRelease(after, Qt::LeftButton, Qt::NoModifier, QPoint(inner.width(), inner.height()));
    EXPECT_EQ(p->AfterX, (inner.width() - 200) / 2 + 2);
    QTest::mouseClick(after, Qt::RightButton, Qt::NoModifier, QPoint(30, 30));  // recentres
    EXPECT_EQ(p->AfterX, 0);
    EXPECT_EQ(p->AfterY, 0);
    return false;
  });
}

}  // namespace
}  // namespace ochrel
