#include <gtest/gtest.h>

#include <QTextBrowser>
#include <QUrl>

#include <QButtonGroup>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QGroupBox>
#include <QLabel>
#include <QMdiArea>
#include <QMdiSubWindow>
#include <QPushButton>
#include <QRadioButton>
#include <QSpinBox>

#include <map>
#include <vector>

#include "frame/blockset.h"
#include "frame/commands.h"
#include "frame/options.h"
#include "frame/strings.h"
#include "image/convert.h"
#include "frame/settings.h"
#include "qt_app.h"
#include "render/screen.h"
#include "test_images.h"
#include "ui/dialogs/image/convertdialogs.h"
#include "ui/widgets/dialogrunner.h"
#include "ui/document/documentwindow.h"
#include "ui/frame/mainframe.h"
#include "ui/widgets/messages.h"
#include "ui/dialogs/image/newfiledialog.h"

namespace ochrel {
namespace {

// A true-colour picture with smooth ramps, so that every strategy has real work
// (quantizing, error diffusion, ordered dithers) and the options differ.
HDIB RampImage(int width, int height) {
  HDIB dib = CreateDib(width, height, nullptr, 24);
  BITMAPINFOHEADER* h = LockDib(dib);
  for (int y = 0; y < height; ++y)
    for (int x = 0; x < width; ++x)
      PutDibPixel(h, x, y, RGB(x * 255 / width, y * 255 / height, (x * y) % 256));
  return dib;
}

HDIB Copy(const HDIB& dib) {
  const BITMAPINFOHEADER* h = LockDib(dib);
  int w = h->biWidth, d = h->biHeight;
  return CropImage(dib, RECT{0, 0, w, d});
}

std::vector<int> Ids(int first, int last) {
  std::vector<int> ids;
  for (int id = first; id <= last; ++id) ids.push_back(id);
  return ids;
}

class ConvertDialogTest : public ::testing::Test {
 protected:
  void SetUp() override {
    test::EnsureQtApp();
    saved = {ToMonoType, ToPaletteType, DitherBrightness, DitherContrast};
    ToMonoType = ToPaletteType = 101;
    DitherBrightness = DitherContrast = 25;
    prompts.clear();
    SetPromptAnswerer([this](PromptKind, const QString& text) {
      prompts.push_back(text);
      return IDOK;
    });
  }
  void TearDown() override {
    SetDialogAnswerer({});
    SetPromptAnswerer({});
    ToMonoType = saved[0];
    ToPaletteType = saved[1];
    DitherBrightness = saved[2];
    DitherContrast = saved[3];
  }
  std::vector<int> saved;
  std::vector<QString> prompts;
};

TEST_F(ConvertDialogTest, MonoBoxTextsAndIds) {
  HDIB image = RampImage(30, 20);
  ConvertToMonoBox box(image);
  EXPECT_EQ(box.objectName(), "ConvertToMonoBox");
  EXPECT_EQ(box.windowTitle(), "Convert to monochrome");
  EXPECT_EQ(box.text()->text(),
            "Conversion to a monochrome will reduce your image to black and white. This is distinct from "
            "continuous-tone grey scale. You can choose a conversion strategy which best matches your image and "
            "intended target application. See Help for more about what these options do.");
  auto* group = box.findChild<QGroupBox*>();
  ASSERT_TRUE(group);
  EXPECT_EQ(group->title(), "Conversion options");
  const std::vector<std::pair<int, QString>> options = {
      {101, "Error-diffused dither"}, {102, "Bayer dither"}, {103, "Remapped"}};
  EXPECT_EQ(box.findChildren<QRadioButton*>().size(), options.size());
  for (const auto& [id, text] : options) {
    auto* b = box.findChild<QRadioButton*>(QString::number(id));
    ASSERT_TRUE(b) << id;
    EXPECT_EQ(b->text(), text);
    EXPECT_EQ(box.options()->id(b), id);
  }
  EXPECT_TRUE(box.findChild<ConvertPreview*>("104"));
  for (const char* id : {"105", "106"}) {
    auto* spin = box.findChild<QSpinBox*>(id);
    ASSERT_TRUE(spin) << id;
    EXPECT_EQ(spin->minimum(), 1);
    EXPECT_EQ(spin->maximum(), 128);
    EXPECT_EQ(spin->value(), 25);
  }
  // Each label names its own spin.
  std::map<QString, QString> buddies;
  for (QLabel* l : box.findChildren<QLabel*>())
    if (l->buddy()) buddies[l->text()] = l->buddy()->objectName();
  EXPECT_EQ(buddies["Brightness:"], "105");
  EXPECT_EQ(buddies["Contrast:"], "106");
  EXPECT_TRUE(box.buttons()->button(QDialogButtonBox::Ok)->isDefault());
  EXPECT_TRUE(box.buttons()->button(QDialogButtonBox::Help));
  box.show();
  EXPECT_EQ(box.focusWidget(), box.buttons()->button(QDialogButtonBox::Ok));
  box.reject();
}

TEST_F(ConvertDialogTest, PaletteBoxTextsAndIds) {
  HDIB image = RampImage(30, 20);
  ConvertToPaletteBox box(image);
  EXPECT_EQ(box.objectName(), "ConvertToPaletteBox");
  EXPECT_EQ(box.windowTitle(), "Convert to paletted color");
  EXPECT_EQ(box.text()->text(),
            "Conversion to a paletted color format typically involves some loss of color depth or image "
            "resolution. You can choose a conversion strategy which best matches your image and intended target "
            "application. See Help for more about what these options do.");
  ASSERT_TRUE(box.findChild<QGroupBox*>());
  EXPECT_EQ(box.findChild<QGroupBox*>()->title(), "Conversion options");
  const std::vector<std::pair<int, QString>> options = {
      {101, "256-&color quantized (dithered)"},
      {102, "240-c&olor quantized + Window fixed (dithered)"},
      {103, "256-color &quantized (remapped)"},
      {104, "240-co&lor quantized + Window fixed (remapped)"},
      {105, "256-color o&rtho (dithered)"},
      {106, "256-color or&tho (remapped)"},
      {107, "256-color &Bayer dither"},
      {108, "16-color B&ayer dither"},
      {109, "16-color &Windows (remapped)"},
  };
  EXPECT_EQ(box.findChildren<QRadioButton*>().size(), options.size());
  for (const auto& [id, text] : options) {
    auto* b = box.findChild<QRadioButton*>(QString::number(id));
    ASSERT_TRUE(b) << id;
    EXPECT_EQ(b->text(), text);
    EXPECT_EQ(box.options()->id(b), id);
  }
  EXPECT_TRUE(box.findChild<ConvertPreview*>("110"));
  EXPECT_TRUE(box.findChildren<QSpinBox*>().isEmpty());
}

TEST_F(ConvertDialogTest, StartingOptionComesFromTheSettingOr101) {
  HDIB image = RampImage(10, 10);
  ToMonoType = 103;
  ToPaletteType = 108;
  {
    ConvertToMonoBox mono(image);
    ConvertToPaletteBox pal(image);
    EXPECT_EQ(mono.options()->checkedId(), 103);
    EXPECT_EQ(pal.options()->checkedId(), 108);
  }
  // An id that names no button shows 101 and leaves the setting alone.
  ToMonoType = 109;
  ToPaletteType = 4711;
  DitherBrightness = 200;  // beyond the spin's range: shown clamped, not written back
  ConvertToMonoBox mono(image);
  ConvertToPaletteBox pal(image);
  EXPECT_EQ(mono.options()->checkedId(), 101);
  EXPECT_EQ(pal.options()->checkedId(), 101);
  EXPECT_EQ(mono.brightness()->value(), 128);
  EXPECT_EQ(ToMonoType, 109);
  EXPECT_EQ(ToPaletteType, 4711);
  EXPECT_EQ(DitherBrightness, 200);
}

TEST_F(ConvertDialogTest, PreviewOrderRuleThroughTheButtons) {
  HDIB image = RampImage(60, 40);
  // With the group's exclusivity lifted, several buttons can stand checked at
  // once; the preview must follow its fixed order of tests.
  {
    ConvertToPaletteBox box(image);
    box.options()->setExclusive(false);
    const std::vector<int> order = {109, 108, 107, 106, 105, 104, 102, 103, 101};
    for (std::size_t k = 0; k < order.size(); ++k) {
      for (int id : Ids(101, 109)) box.option(id)->setChecked(false);
      for (std::size_t j = k; j < order.size(); ++j) box.option(order[j])->setChecked(true);
      EXPECT_EQ(box.previewOption(), order[k]) << "from " << order[k];
    }
    // Nothing checked falls back to 101.
    for (int id : Ids(101, 109)) box.option(id)->setChecked(false);
    EXPECT_EQ(box.previewOption(), 101);
    // 102 is tested before 103 although its number is smaller.
    box.option(102)->setChecked(true);
    box.option(103)->setChecked(true);
    EXPECT_EQ(box.previewOption(), 102);
    HDIB expected = PalettePreviewImage(image, 102, box.preview()->boxSize().width(),
                                        box.preview()->boxSize().height(), nullptr, nullptr);
    EXPECT_TRUE(test::SameBlock(box.preview()->previewDib(), expected));
  }
  {
    ConvertToMonoBox box(image);
    box.options()->setExclusive(false);
    for (int id : Ids(101, 103)) box.option(id)->setChecked(true);
    EXPECT_EQ(box.previewOption(), 103);
    box.option(103)->setChecked(false);
    EXPECT_EQ(box.previewOption(), 102);
    box.option(102)->setChecked(false);
    EXPECT_EQ(box.previewOption(), 101);
    box.option(101)->setChecked(false);
    EXPECT_EQ(box.previewOption(), 101);
  }
}

TEST_F(ConvertDialogTest, PreviewIsTheEngineResultForTheCheckedButton) {
  HDIB image = RampImage(90, 70);
  HDIB before = Copy(image);
  ConvertToPaletteBox pal(image);
  QSize box = pal.preview()->boxSize();
  for (int id : Ids(101, 109)) {
    pal.option(id)->click();
    EXPECT_EQ(ToPaletteType, id);
    int ox = -1, oy = -1;
    HDIB expected = PalettePreviewImage(image, id, box.width(), box.height(), &ox, &oy);
    ASSERT_TRUE(expected);
    EXPECT_TRUE(test::SameBlock(pal.preview()->previewDib(), expected)) << id;
    EXPECT_EQ(pal.preview()->previewOffset(), QPoint(ox, oy)) << id;
  }
  // The buttons as they stand count, not the stored setting.
  pal.option(108)->click();
  ToPaletteType = 105;
  pal.preview()->Invalidate();
  HDIB bayer16 = PalettePreviewImage(image, 108, box.width(), box.height(), nullptr, nullptr);
  EXPECT_TRUE(test::SameBlock(pal.preview()->previewDib(), bayer16));
  EXPECT_EQ(LockDib(pal.preview()->previewDib())->biBitCount, 4);

  ConvertToMonoBox mono(image);
  for (int id : {103, 102, 101}) {
    mono.option(id)->click();
    HDIB expected = MonoPreviewImage(image, id, box.width(), box.height(), nullptr, nullptr);
    EXPECT_TRUE(test::SameBlock(mono.preview()->previewDib(), expected)) << id;
    EXPECT_EQ(LockDib(mono.preview()->previewDib())->biBitCount, 1);
  }
  EXPECT_TRUE(test::SameBlock(image, before));
}

TEST_F(ConvertDialogTest, EightPercentPreviewCentredInItsBox) {
  // 100 by 1000 in an 80-pixel square: the smaller of 80 and 8 percent, an
  // image 8 wide and 80 deep in the middle horizontally.
  HDIB image = RampImage(100, 1000);
  ConvertToPaletteBox box(image);
  box.option(105)->click();
  box.preview()->setBoxSize(QSize(80, 80));
  EXPECT_EQ(box.preview()->boxSize(), QSize(80, 80));
  const BITMAPINFOHEADER* h = LockDib(box.preview()->previewDib());
  ASSERT_TRUE(h);
  EXPECT_EQ(h->biWidth, 8);
  EXPECT_EQ(h->biHeight, 80);
  EXPECT_EQ(h->biBitCount, 8);
  EXPECT_EQ(box.preview()->previewOffset(), QPoint(36, 0));

  // What is painted is that image at that place inside the frame.
  QImage shot = box.preview()->grab().toImage().convertToFormat(QImage::Format_RGB32);
  QImage expected = DibToQImage(h);
  QPoint origin = box.preview()->contentsRect().topLeft() + QPoint(36, 0);
  for (int y = 0; y < 80; ++y)
    for (int x = 0; x < 8; ++x)
      ASSERT_EQ(shot.pixel(origin.x() + x, origin.y() + y), expected.pixel(x, y)) << x << "," << y;

  // A wide image goes to the top and bottom instead.
  HDIB wide = RampImage(400, 100);
  ConvertToMonoBox mono(wide);
  mono.preview()->setBoxSize(QSize(80, 80));
  const BITMAPINFOHEADER* m = LockDib(mono.preview()->previewDib());
  ASSERT_TRUE(m);
  EXPECT_EQ(m->biWidth, 80);
  EXPECT_EQ(m->biHeight, 20);
  EXPECT_EQ(mono.preview()->previewOffset(), QPoint(0, 30));

  // A strip so thin that it reduces to nothing in the box draws nothing.
  HDIB strip = RampImage(1, 9000);
  ConvertToPaletteBox thin(strip);
  thin.preview()->setBoxSize(QSize(80, 80));
  EXPECT_FALSE(thin.preview()->previewDib());
  thin.preview()->grab();
}

TEST_F(ConvertDialogTest, PreviewRemadeOnlyWhenSomethingChanges) {
  HDIB image = RampImage(120, 80);
  ConvertToMonoBox box(image);
  ConvertPreview* preview = box.preview();
  preview->previewDib();
  int made = preview->makeCount();
  preview->previewDib();
  preview->grab();
  EXPECT_EQ(preview->makeCount(), made);

  box.option(102)->click();
  preview->previewDib();
  EXPECT_EQ(preview->makeCount(), ++made);

  // The spins write their setting at once and the preview dithers with it.
  box.option(101)->click();
  HDIB at25 = Copy(preview->previewDib());
  ++made;
  box.brightness()->setValue(90);
  EXPECT_EQ(DitherBrightness, 90);
  box.contrast()->setValue(7);
  EXPECT_EQ(DitherContrast, 7);
  HDIB now = Copy(preview->previewDib());
  EXPECT_EQ(preview->makeCount(), made + 1);
  QSize s = preview->boxSize();
  HDIB expected = MonoPreviewImage(image, 101, s.width(), s.height(), nullptr, nullptr, DitherOptionsFromSettings());
  EXPECT_TRUE(test::SameBlock(now, expected));
  EXPECT_FALSE(test::SameBlock(now, at25));  // brighter and flatter is another picture
}

TEST_F(ConvertDialogTest, ClosedDialogShowsNothing) {
  HDIB image = RampImage(40, 40);
  ConvertToPaletteBox box(image);
  ASSERT_TRUE(box.preview()->previewDib());
  box.reject();
  EXPECT_EQ(box.image(), nullptr);
  EXPECT_FALSE(box.preview()->previewDib());
  HDIB none;
  ConvertToMonoBox empty(none);
  EXPECT_FALSE(empty.preview()->previewDib());
}

TEST_F(ConvertDialogTest, OkGivesTheEngineResultOfTheChosenOption) {
  HDIB image = RampImage(37, 23);
  HDIB before = Copy(image);
  for (int id : Ids(101, 109)) {
    SetDialogAnswerer([id](QDialog& d) {
      auto& box = dynamic_cast<ConvertToPaletteBox&>(d);
      box.option(id)->click();
      return true;
    });
    HDIB result = ConvertToPalette(nullptr, image);
    ASSERT_TRUE(result) << id;
    EXPECT_EQ(ToPaletteType, id);
    HDIB expected = ConvertToPaletteStrategy(image, id);
    EXPECT_TRUE(test::SameBlock(result, expected)) << id;
    EXPECT_EQ(LockDib(result)->biBitCount, id == 108 || id == 109 ? 4 : 8) << id;
  }
  for (int id : {102, 103, 101}) {
    SetDialogAnswerer([id](QDialog& d) {
      auto& box = dynamic_cast<ConvertToMonoBox&>(d);
      box.option(id)->click();
      box.brightness()->setValue(40);
      return true;
    });
    HDIB result = ConvertToMono(nullptr, image);
    ASSERT_TRUE(result) << id;
    EXPECT_EQ(ToMonoType, id);
    EXPECT_EQ(DitherBrightness, 40);
    EXPECT_TRUE(test::SameBlock(result, ConvertToMonoStrategy(image, id, DitherOptionsFromSettings()))) << id;
    EXPECT_EQ(LockDib(result)->biBitCount, 1);
  }
  EXPECT_TRUE(test::SameBlock(image, before));
  EXPECT_TRUE(prompts.empty());
}

TEST_F(ConvertDialogTest, CancelGivesNullSilentlyAndKeepsTheChoices) {
  HDIB image = RampImage(20, 20);
  SetDialogAnswerer([](QDialog& d) {
    auto& box = dynamic_cast<ConvertToPaletteBox&>(d);
    box.option(104)->click();
    return false;
  });
  EXPECT_FALSE(ConvertToPalette(nullptr, image));
  EXPECT_EQ(ToPaletteType, 104);
  SetDialogAnswerer([](QDialog& d) {
    auto& box = dynamic_cast<ConvertToMonoBox&>(d);
    box.option(103)->click();
    box.contrast()->setValue(64);
    box.brightness()->setValue(1);
    return false;
  });
  EXPECT_FALSE(ConvertToMono(nullptr, image));
  EXPECT_EQ(ToMonoType, 103);
  EXPECT_EQ(DitherContrast, 64);
  EXPECT_EQ(DitherBrightness, 1);
  EXPECT_TRUE(prompts.empty());
}

TEST_F(ConvertDialogTest, StoredIdWithoutButtonRunsTheDefaultStrategy) {
  HDIB image = RampImage(25, 15);
  ToPaletteType = 4711;
  ToMonoType = 0;
  SetDialogAnswerer([](QDialog&) { return true; });
  HDIB pal = ConvertToPalette(nullptr, image);
  EXPECT_TRUE(test::SameBlock(pal, ConvertToPaletteStrategy(image, 101)));
  HDIB mono = ConvertToMono(nullptr, image);
  EXPECT_TRUE(test::SameBlock(mono, ConvertToMonoStrategy(image, 101)));
}

TEST_F(ConvertDialogTest, FailedConversionSaysMemoryError) {
  // Error diffusion refuses a 1-bit source, so the dithered paletted options
  // fail on a mono image; the remapping ones work.
  HDIB mono = test::RandomDib(16, 9, 1, 3);
  for (int id : {101, 102, 105}) {
    prompts.clear();
    SetDialogAnswerer([id](QDialog& d) {
      dynamic_cast<ConvertToPaletteBox&>(d).option(id)->click();
      return true;
    });
    EXPECT_FALSE(ConvertToPalette(nullptr, mono)) << id;
    ASSERT_EQ(prompts.size(), 1u) << id;
    EXPECT_EQ(prompts[0], QString::fromUtf8(FetchString(IDS_MEMORY_ERROR)));
  }
  prompts.clear();
  SetDialogAnswerer([](QDialog& d) {
    dynamic_cast<ConvertToPaletteBox&>(d).option(106)->click();
    return true;
  });
  EXPECT_TRUE(ConvertToPalette(nullptr, mono));
  EXPECT_TRUE(prompts.empty());
}

TEST_F(ConvertDialogTest, HelpOpensTheConvertTopic) {
  // No browser here: the page shows in the program's own help window, at the topic.
  HDIB image = RampImage(8, 8);
  ConvertToMonoBox box(image);
  SetUrlOpener([](const QUrl&) { return false; });
  box.buttons()->button(QDialogButtonBox::Help)->click();
  SetUrlOpener({});
  EXPECT_TRUE(prompts.empty());
  auto* help = box.findChild<QTextBrowser*>("HelpText");
  ASSERT_NE(help, nullptr);
  EXPECT_EQ(help->source().fragment(), "CONVERTTO");
  EXPECT_EQ(box.result(), 0);  // the dialog stays open
}

TEST_F(ConvertDialogTest, FrameOpensTheConvertedImageAsANewDocument) {
  SetNewFileAnswerer([](NewFileBox& box) {
    box.typeList()->setCurrentIndex(0);
    box.widthField()->setValue(48);
    box.depthField()->setValue(32);
    return true;
  });
  auto frame = std::make_unique<MainFrame>();
  frame->resize(900, 700);
  frame->show();
  frame->Command(CM_NEW);
  DocumentWindow* src = frame->ActiveDocument();
  ASSERT_TRUE(src);
  src->record()->Image = RampImage(48, 32);
  HDIB before = Copy(src->record()->Image);

  int options = 0;
  SetDialogAnswerer([&options](QDialog& d) {
    auto* box = dynamic_cast<ConvertToPaletteBox*>(&d);
    if (!box) return false;
    ++options;
    box->option(107)->click();
    return true;
  });
  frame->Command(CM_TOPALETTE);
  EXPECT_EQ(options, 1);
  DocumentWindow* pal = frame->ActiveDocument();
  ASSERT_NE(pal, src);
  EXPECT_EQ(frame->CountOpenDocuments(), 2);
  EXPECT_EQ(pal->record()->ImageType, IMAGE_PALETTED);
  EXPECT_EQ(pal->record()->Modified, 1);
  EXPECT_TRUE(test::SameBlock(pal->record()->Image, ConvertToPaletteStrategy(before, 107)));
  EXPECT_TRUE(test::SameBlock(src->record()->Image, before));

  // A cancelled dialog opens nothing and says nothing.
  frame->client()->setActiveSubWindow(src);
  SetDialogAnswerer([](QDialog&) { return false; });
  frame->Command(CM_TOPALETTE);
  frame->Command(CM_TOMONO);
  EXPECT_EQ(frame->CountOpenDocuments(), 2);
  EXPECT_EQ(frame->ActiveDocument(), src);
  EXPECT_TRUE(prompts.empty());

  SetDialogAnswerer([](QDialog& d) {
    auto* box = dynamic_cast<ConvertToMonoBox*>(&d);
    if (!box) return false;
    box->option(102)->click();
    return true;
  });
  frame->Command(CM_TOMONO);
  DocumentWindow* mono = frame->ActiveDocument();
  ASSERT_NE(mono, src);
  EXPECT_EQ(frame->CountOpenDocuments(), 3);
  EXPECT_EQ(mono->record()->ImageType, IMAGE_MONO);
  EXPECT_TRUE(test::SameBlock(mono->record()->Image, ConvertToMonoStrategy(before, 102)));
  EXPECT_TRUE(test::SameBlock(src->record()->Image, before));

  SetNewFileAnswerer({});
  for (QMdiSubWindow* w : frame->client()->subWindowList())
    if (auto* d = qobject_cast<DocumentWindow*>(w)) d->record()->Modified = 0;
  frame.reset();
  QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
}

}  // namespace
}  // namespace ochrel
