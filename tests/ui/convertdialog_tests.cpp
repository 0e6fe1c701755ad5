// Image ▸ Paletted and Mono: the conversion dialogs opened from the menu, their
// options and preview, and the new document that OK opens.
#include <gtest/gtest.h>

#include <QButtonGroup>
#include <QDialogButtonBox>
#include <QGroupBox>
#include <QLabel>
#include <QPushButton>
#include <QRadioButton>
#include <QTextBrowser>
#include <QUrl>

#include "frame/options.h"
#include "frame/strings.h"
#include "image/convert.h"
#include "qt_fixture.h"
#include "render/screen.h"
#include "test_images.h"
#include "ui/dialogs/image/convertdialogs.h"

namespace ochrel {
namespace {

// Smooth ramps, so that every strategy has real work and the options differ.
HDIB RampImage(int width, int height) {
  HDIB dib = CreateDib(width, height, nullptr, 24);
  BITMAPINFOHEADER* h = LockDib(dib);
  for (int y = 0; y < height; ++y)
    for (int x = 0; x < width; ++x) PutDibPixel(h, x, y, RGB(x * 255 / width, y * 255 / height, (x * y) % 256));
  return dib;
}

class ConvertDialogTest : public test::QtFixture {
 protected:
  // Opens the ramp and converts it with `command`, the dialog answered by `inside`:
  // the new document, or null when none opened.
  template <class Box>
  DocumentWindow* Convert(int command, std::function<bool(Box&)> inside, HDIB image = RampImage(48, 32)) {
    DocumentWindow* src = Open(image);
    source = DuplicateObject(src->record()->Image);
    OnDialog<Box>(inside);
    Choose(command);
    EXPECT_TRUE(test::SameBlock(src->record()->Image, source));
    return frame->ActiveDocument() == src ? nullptr : frame->ActiveDocument();
  }
  HDIB source;
};

TEST_F(ConvertDialogTest, BoxesShowTheirTextsAndOptions) {
  HDIB image = RampImage(30, 20);
  ConvertToMonoBox mono(image);
  ConvertToPaletteBox pal(image);
  struct Case {
    ConvertBox* box;
    const char* title;
    QString start;
    std::vector<QString> options;
  } cases[] = {
      {&mono,
       "Convert to monochrome",
       "Conversion to a monochrome will reduce your image to black and white.",
       {"Error-diffused dither", "Bayer dither", "Remapped"}},
      {&pal,
       "Convert to paletted color",
       "Conversion to a paletted color format typically involves some loss",
       {"256-&color quantized (dithered)", "240-c&olor quantized + Window fixed (dithered)",
        "256-color &quantized (remapped)", "240-co&lor quantized + Window fixed (remapped)",
        "256-color o&rtho (dithered)", "256-color or&tho (remapped)", "256-color &Bayer dither",
        "16-color B&ayer dither", "16-color &Windows (remapped)"}},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(c.box->windowTitle(), c.title);
    EXPECT_TRUE(c.box->text()->text().startsWith(c.start));
    EXPECT_TRUE(c.box->text()->text().endsWith("See Help for more about what these options do."));
    EXPECT_EQ(c.box->findChild<QGroupBox*>()->title(), "Conversion options");
    EXPECT_EQ(c.box->findChildren<QRadioButton*>().size(), c.options.size());
    for (std::size_t i = 0; i < c.options.size(); ++i) {
      QRadioButton* b = c.box->option(101 + int(i));
      ASSERT_TRUE(b) << i;
      EXPECT_EQ(b->text(), c.options[i]);
      EXPECT_EQ(c.box->options()->id(b), 101 + int(i));
    }
    EXPECT_TRUE(c.box->buttons()->button(QDialogButtonBox::Ok)->isDefault());
  }
  EXPECT_EQ(mono.brightness()->maximum(), 128);
  EXPECT_EQ(mono.contrast()->value(), 25);
  std::map<QString, QString> buddies;  // each label names its own spin
  for (QLabel* l : mono.findChildren<QLabel*>())
    if (l->buddy()) buddies[l->text()] = l->buddy()->objectName();
  EXPECT_EQ(buddies["Brightness:"], "105");
  EXPECT_EQ(buddies["Contrast:"], "106");
  EXPECT_TRUE(pal.findChildren<QSpinBox*>().isEmpty());
}

TEST_F(ConvertDialogTest, StartingOptionComesFromTheSettingOr101) {
  HDIB image = RampImage(10, 10);
  for (auto [mono, palette, monoShown, paletteShown] :
       {std::tuple{103, 108, 103, 108}, std::tuple{109, 4711, 101, 101}}) {
    ToMonoType = mono, ToPaletteType = palette;
    DitherBrightness = 200;  // beyond the spin's range: shown clamped, not written back
    ConvertToMonoBox m(image);
    ConvertToPaletteBox p(image);
    EXPECT_EQ(m.options()->checkedId(), monoShown);
    EXPECT_EQ(p.options()->checkedId(), paletteShown);
    EXPECT_EQ(m.brightness()->value(), 128);
    EXPECT_EQ(ToPaletteType, palette);
    EXPECT_EQ(DitherBrightness, 200);
  }
  // OK on a stored id without a button runs the first strategy.
  DocumentWindow* d = Convert<ConvertToPaletteBox>(CM_TOPALETTE, [](ConvertToPaletteBox&) { return true; });
  ASSERT_NE(d, nullptr);
  EXPECT_TRUE(test::SameBlock(d->record()->Image, ConvertToPaletteStrategy(source, 101)));
}

TEST_F(ConvertDialogTest, PreviewIsTheEngineResultForTheCheckedButtonAndIsMadeOnlyOnChange) {
  HDIB image = RampImage(90, 70);
  ConvertToPaletteBox pal(image);
  const QSize box = pal.preview()->boxSize();
  for (int id = 101; id <= 109; ++id) {
    pal.option(id)->click();
    EXPECT_EQ(ToPaletteType, id);
    int ox = -1, oy = -1;
    HDIB expected = PalettePreviewImage(image, id, box.width(), box.height(), &ox, &oy);
    EXPECT_TRUE(test::SameBlock(pal.preview()->previewDib(), expected)) << id;
    EXPECT_EQ(pal.preview()->previewOffset(), QPoint(ox, oy)) << id;
  }
  ConvertToMonoBox mono(image);
  ConvertPreview* preview = mono.preview();
  for (int id : {103, 102, 101}) {
    mono.option(id)->click();
    EXPECT_TRUE(test::SameBlock(preview->previewDib(), MonoPreviewImage(image, id, box.width(), box.height(), nullptr,
                                                                        nullptr, DitherOptionsFromSettings())))
        << id;
  }
  int made = preview->makeCount();
  preview->previewDib();
  preview->grab();
  EXPECT_EQ(preview->makeCount(), made);
  // The spins write their setting at once and the preview dithers with it.
  HDIB at25 = DuplicateObject(preview->previewDib());
  mono.brightness()->setValue(90);
  EXPECT_EQ(DitherBrightness, 90);
  mono.contrast()->setValue(7);
  EXPECT_FALSE(test::SameBlock(preview->previewDib(), at25));
  EXPECT_EQ(preview->makeCount(), made + 1);
  EXPECT_TRUE(test::SameBlock(preview->previewDib(), MonoPreviewImage(image, 101, box.width(), box.height(), nullptr,
                                                                      nullptr, DitherOptionsFromSettings())));
  // A closed dialog shows nothing.
  mono.reject();
  EXPECT_FALSE(preview->previewDib());
}

TEST_F(ConvertDialogTest, PreviewIsCentredInItsBoxAndPaintedThere) {
  // 100 by 1000 in an 80-pixel square: 8 percent, 8 wide and 80 deep in the middle.
  HDIB tall = RampImage(100, 1000);
  ConvertToPaletteBox box(tall);
  box.option(105)->click();
  box.preview()->setBoxSize(QSize(80, 80));
  const BITMAPINFOHEADER* h = LockDib(box.preview()->previewDib());
  ASSERT_TRUE(h);
  EXPECT_EQ(QSize(h->biWidth, h->biHeight), QSize(8, 80));
  EXPECT_EQ(box.preview()->previewOffset(), QPoint(36, 0));
  const QImage shot = Shot(box.preview()), expected = DibToQImage(h).convertToFormat(QImage::Format_RGB32);
  const QPoint origin = box.preview()->contentsRect().topLeft() + QPoint(36, 0);
  EXPECT_EQ(shot.copy(QRect(origin, QSize(8, 80))), expected);
  // A wide image goes to the top and bottom; a strip too thin for the box draws nothing.
  HDIB wide = RampImage(400, 100), strip = RampImage(1, 9000);
  ConvertToMonoBox mono(wide);
  mono.preview()->setBoxSize(QSize(80, 80));
  EXPECT_EQ(mono.preview()->previewOffset(), QPoint(0, 30));
  ConvertToPaletteBox thin(strip);
  thin.preview()->setBoxSize(QSize(80, 80));
  EXPECT_FALSE(thin.preview()->previewDib());
  thin.preview()->grab();
}

TEST_F(ConvertDialogTest, OkOpensTheEngineResultOfTheChosenOptionAsANewDocument) {
  for (int id = 101; id <= 109; ++id) {
    DocumentWindow* d = Convert<ConvertToPaletteBox>(
        CM_TOPALETTE, [id](ConvertToPaletteBox& box) { return box.option(id)->click(), true; });
    ASSERT_NE(d, nullptr) << id;
    EXPECT_EQ(ToPaletteType, id);
    EXPECT_EQ(d->record()->ImageType, IMAGE_PALETTED);
    EXPECT_EQ(d->record()->Modified, 1);
    EXPECT_TRUE(test::SameBlock(d->record()->Image, ConvertToPaletteStrategy(source, id))) << id;
  }
  for (int id : {102, 103, 101}) {
    DocumentWindow* d = Convert<ConvertToMonoBox>(CM_TOMONO, [id](ConvertToMonoBox& box) {
      box.option(id)->click();
      box.brightness()->setValue(40);
      return true;
    });
    ASSERT_NE(d, nullptr) << id;
    EXPECT_EQ(ToMonoType, id);
    EXPECT_EQ(d->record()->ImageType, IMAGE_MONO);
    EXPECT_TRUE(test::SameBlock(d->record()->Image, ConvertToMonoStrategy(source, id, DitherOptionsFromSettings())))
        << id;
  }
  EXPECT_TRUE(prompts.empty());
}

TEST_F(ConvertDialogTest, CancelOpensNothingSilentlyAndKeepsTheChoices) {
  auto palette = [](ConvertToPaletteBox& box) { return box.option(104)->click(), false; };
  EXPECT_EQ(Convert<ConvertToPaletteBox>(CM_TOPALETTE, palette), nullptr);
  EXPECT_EQ(ToPaletteType, 104);
  auto mono = [](ConvertToMonoBox& box) { return box.option(103)->click(), box.contrast()->setValue(64), false; };
  EXPECT_EQ(Convert<ConvertToMonoBox>(CM_TOMONO, mono), nullptr);
  EXPECT_EQ(ToMonoType, 103);
  EXPECT_EQ(DitherContrast, 64);
  EXPECT_TRUE(prompts.empty());
}

TEST_F(ConvertDialogTest, FailedConversionSaysMemoryError) {
  // Error diffusion refuses a 1-bit source; the remapping options work.
  for (auto [id, works] : {std::pair{101, false}, std::pair{105, false}, std::pair{106, true}}) {
    prompts.clear();
    DocumentWindow* d = Convert<ConvertToPaletteBox>(
        CM_TOPALETTE, [id](ConvertToPaletteBox& box) { return box.option(id)->click(), true; },
        test::RandomDib(16, 9, 1, 3));
    EXPECT_EQ(d != nullptr, works) << id;
    EXPECT_EQ(prompts, works ? std::vector<QString>{} : std::vector<QString>{FetchString(IDS_MEMORY_ERROR)}) << id;
  }
}

TEST_F(ConvertDialogTest, HelpOpensTheConvertTopic) {
  // No browser here: the page shows in the program's own help window, at the topic.
  HDIB image = RampImage(8, 8);
  ConvertToMonoBox box(image);
  SetUrlOpener([](const QUrl&) { return false; });
  box.buttons()->button(QDialogButtonBox::Help)->click();
  EXPECT_TRUE(prompts.empty());
  auto* help = box.findChild<QTextBrowser*>("HelpText");
  ASSERT_NE(help, nullptr);
  EXPECT_TRUE(help->window()->isVisible());
  EXPECT_TRUE(help->source().path().endsWith("html/referenc.htm"));
  EXPECT_EQ(help->source().fragment(), "CONVERTTO");
  EXPECT_FALSE(help->toPlainText().isEmpty());
  EXPECT_EQ(box.result(), 0);  // the dialog stays open
}

}  // namespace
}  // namespace ochrel
