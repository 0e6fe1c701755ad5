// The Open and Save as dialogs: the type list and its patterns, the
// remembered type, the name that follows the type, the replace question, and
// the open dialog's preview pane with its scale rule and its broken files.
#include <gtest/gtest.h>

#include <QCheckBox>
#include <QLabel>
#include <QLineEdit>
#include <QRegularExpression>

#include <sys/stat.h>

#include <ostream>

#include "qt_fixture.h"
#include "test_images.h"
#include "ui/dialogs/files/filedialogs.h"

// Readable failures for texts.
inline void PrintTo(const QString& s, std::ostream* os) { *os << '"' << s.toStdString() << '"'; }

namespace ochrel {
namespace {

namespace fs = std::filesystem;

bool FilterTakes(const QString& filter, const QString& name) {
  const qsizetype open = filter.indexOf('('), close = filter.lastIndexOf(')');
  for (const QString& p : filter.mid(open + 1, close - open - 1).split(' ', Qt::SkipEmptyParts))
    if (QRegularExpression(QRegularExpression::wildcardToRegularExpression(p)).match(name).hasMatch()) return true;
  return false;
}

class FileDialogTest : public test::QtFixture {
 protected:
  // A picture of one colour, written in the format its name's extension picks.
  std::string Solid(const char* name, int width, int depth, COLORREF colour) {
    const std::string path = dir / name;
    EXPECT_EQ(WriteImage(path.c_str(), test::Uniform(width, depth, 24, colour)), 1) << name;
    return path;
  }
  // The colour of the pane as drawn, at a point of its inner box.
  static QRgb PanePixel(ImagePreviewPane* pane, int x, int y) {
    return Shot(pane).pixel(pane->innerRect().left() + x, pane->innerRect().top() + y) & 0xFFFFFFu;
  }
  std::string Folder() const { return dir.path.string(); }
  static bool SamePath(const std::string& a, const std::string& b) { return fs::path(a) == fs::path(b); }
};

TEST_F(FileDialogTest, TypeListInFormatOrderAndEachTypeTakesItsOwnNames) {
  OpenImageFileDialog open(nullptr, Folder());
  WriteImageFileDialog save(nullptr, dir / "a.bmp");
  const QStringList names = {"JPEG files", "BMP files", "PCX files", "TGA files", "PNG files", "All files"};
  for (ImageFileDialog* d : {static_cast<ImageFileDialog*>(&open), static_cast<ImageFileDialog*>(&save)}) {
    ASSERT_EQ(d->typeCombo()->count(), kImageTypeListCount);
    for (int i = 0; i < kImageTypeListCount; ++i) EXPECT_EQ(d->typeCombo()->itemText(i), names[i]);
    EXPECT_TRUE(d->typeCombo()->isVisibleTo(d));
  }
  const QStringList filters = ImageFileFilters();
  const char* exts[] = {"jpg", "bmp", "pcx", "tga", "png"};
  for (int i = 0; i < 5; ++i) {
    EXPECT_EQ(ImageTypeExtension(i + 1), exts[i]);
    for (int j = 0; j < 5; ++j)
      for (QString name : {QString("photo.") + exts[j], QString("PHOTO.") + QString(exts[j]).toUpper()})
        EXPECT_EQ(FilterTakes(filters[i], name), i == j) << i << " " << name.toStdString();
    EXPECT_TRUE(FilterTakes(filters[5], QString("X.") + QString(exts[i]).toUpper()));
  }
  for (const char* alias : {"x.jpeg", "X.JPE", "x.Jfif"}) {
    EXPECT_TRUE(FilterTakes(filters[0], alias) && FilterTakes(filters[5], alias)) << alias;
    EXPECT_FALSE(FilterTakes(filters[1], alias)) << alias;
  }
  for (const char* other : {"x.gif", "jpg", "x.jpg.txt", "x.jpeg2"})
    for (const QString& f : filters) EXPECT_FALSE(FilterTakes(f, other)) << other;
}

TEST_F(FileDialogTest, RememberedTypeIsSharedAndChangesOnlyOnOk) {
  const std::string bmp = Solid("one.bmp", 20, 10, RGB(1, 2, 3));
  ImageFileOpenIndex = 4;
  std::string path = bmp;
  for (bool ok : {false, true}) {
    OnDialog<OpenImageFileDialog>([&](OpenImageFileDialog& open) {
      EXPECT_EQ(open.selectedNameFilter(), ImageFileFilters()[3]);
      open.typeCombo()->setCurrentIndex(1);  // BMP files
      EXPECT_EQ(open.selectedNameFilter(), ImageFileFilters()[1]);
      open.selectFile(QString::fromStdString(bmp));
      return ok;
    });
    EXPECT_EQ(GetOpenImageFileName(nullptr, &path), ok);
    EXPECT_EQ(ImageFileOpenIndex, ok ? 2 : 4);  // Cancel keeps it
    EXPECT_EQ(path, ok ? bmp : "");             // the entry is emptied before the dialog
    path = bmp;
  }
  // Save starts from the same index when the name's extension names no type.
  WriteImageFileDialog save(nullptr, dir / "notes.gif");
  EXPECT_EQ(save.typeIndex(), 2);
  // An index from an edited settings file that lies outside the list starts at the first.
  for (int bad : {0, 7, -3}) {
    ImageFileOpenIndex = bad;
    EXPECT_EQ(OpenImageFileDialog(nullptr, Folder()).typeIndex(), 1) << bad;
  }
}

TEST_F(FileDialogTest, OpenStartsInTheFolderOfTheEntryAndChecksTheFileExists) {
  test::TempDir other;
  const std::string inOther = other / "pic.png";
  ASSERT_TRUE(WriteImage(inOther.c_str(), test::Uniform(8, 8, 24, 0)));
  std::string path = other / "whatever.bmp";
  QString startedIn;
  OnDialog<OpenImageFileDialog>([&](OpenImageFileDialog& open) {
    startedIn = open.directory().absolutePath();
    open.selectFile("pic.png");
    return true;
  });
  ASSERT_TRUE(GetOpenImageFileName(nullptr, &path));
  EXPECT_EQ(startedIn.toStdString(), fs::absolute(other.path).string());
  EXPECT_TRUE(SamePath(path, inOther));
  // A bare entry falls back on OpenPath; a name that is not there is no answer.
  std::snprintf(OpenPath, sizeof OpenPath, "%s/", Folder().c_str());
  path.clear();
  OnDialog<OpenImageFileDialog>([&](OpenImageFileDialog& open) {
    startedIn = open.directory().absolutePath();
    open.selectFile(QString::fromStdString(dir / "missing.png"));
    return true;
  });
  EXPECT_FALSE(GetOpenImageFileName(nullptr, &path));
  EXPECT_EQ(startedIn.toStdString(), fs::absolute(dir.path).string());
}

TEST_F(FileDialogTest, PreviewShowsSizeColoursAndTheScaledPictureWhenChecked) {
  const std::string wide = Solid("wide.bmp", 200, 100, RGB(200, 30, 40));
  OpenImageFileDialog d(nullptr, Folder());
  ImagePreviewPane* pane = d.pane();
  EXPECT_EQ(d.previewBox()->text(), "&Preview");
  EXPECT_TRUE(d.previewBox()->isChecked());
  emit d.currentChanged(QString::fromStdString(wide));  // the dialog's own selection reaches the pane
  ASSERT_TRUE(pane->picture());
  EXPECT_EQ(d.infoText()->text(), "Width: 200\nDepth: 100\nColors: 16,777,216");
  const QRect inner = pane->innerRect();
  EXPECT_EQ(inner.size(), pane->size() - QSize(4, 4));
  const QRect r = PlacePreview(inner.width(), inner.height(), 200, 100).rect;
  for (QPoint p : {r.center(), r.topLeft(), r.bottomRight()}) EXPECT_EQ(PanePixel(pane, p.x(), p.y()), 0xC81E28u);
  EXPECT_EQ(PanePixel(pane, r.center().x(), r.top() - 1), 0xFFFFFFu);
  EXPECT_EQ(PanePixel(pane, r.center().x(), r.bottom() + 1), 0xFFFFFFu);
  // Unchecked: the pane is empty but keeps the picture, and the setting follows.
  d.previewBox()->click();
  EXPECT_EQ(ShowFileOpenPreview, 0);
  EXPECT_TRUE(pane->picture());
  EXPECT_EQ(PanePixel(pane, r.center().x(), r.center().y()), 0xFFFFFFu);
  OpenImageFileDialog off(nullptr, Folder());  // the box and the pane start from the setting
  EXPECT_FALSE(off.previewBox()->isChecked());
  off.ShowPreviewOf(QString::fromStdString(wide));
  EXPECT_TRUE(off.pane()->picture());
  EXPECT_EQ(PanePixel(off.pane(), r.center().x(), r.center().y()), 0xFFFFFFu);
  d.previewBox()->click();
  EXPECT_EQ(PanePixel(pane, r.center().x(), r.center().y()), 0xC81E28u);
  // Colours of the depths below true colour.
  for (auto [bits, colours] : {std::pair{1, "2"}, std::pair{4, "16"}, std::pair{8, "256"}}) {
    const std::string p = dir / ("depth" + std::to_string(bits) + ".bmp");
    ASSERT_EQ(WriteImage(p.c_str(), test::RandomDib(33, 17, bits, 5)), 1);
    d.ShowPreviewOf(QString::fromStdString(p));
    EXPECT_EQ(d.infoText()->text(), QString("Width: 33\nDepth: 17\nColors: ") + colours) << bits;
  }
}

TEST_F(FileDialogTest, ScaleRuleAtLeastTenPercentCentredAndClipped) {
  struct Case {
    int w, h, percent;
    QRect rect;
  } cases[] = {
      {200, 100, 88, QRect(0, 29, 176, 88)},   {30, 60, 243, QRect(52, 0, 72, 145)},  // 14600 / 60, below 17600 / 30
      {4000, 10, 10, QRect(-112, 72, 400, 1)},  // 10 is the least; overflows both sides
      {30, 9000, 10, QRect(86, -377, 3, 900)}, {0, 10, 0, QRect()},
  };
  for (const Case& c : cases) {
    const PreviewPlacement p = PlacePreview(176, 146, c.w, c.h);
    EXPECT_EQ(p.percent, c.percent) << c.w << "x" << c.h;
    if (c.percent) EXPECT_EQ(p.rect, c.rect) << c.w << "x" << c.h;
  }
  // Drawn: a 4000 by 40 strip covers the box from edge to edge and no more.
  const std::string strip = Solid("strip.png", 4000, 40, RGB(0, 0, 255));
  OpenImageFileDialog d(nullptr, Folder());
  d.ShowPreviewOf(QString::fromStdString(strip));
  ImagePreviewPane* pane = d.pane();
  const QRect inner = pane->innerRect();
  const QRect r = PlacePreview(inner.width(), inner.height(), 4000, 40).rect;
  EXPECT_EQ(PanePixel(pane, 0, r.center().y()), 0x0000FFu);
  EXPECT_EQ(PanePixel(pane, inner.width() - 1, r.center().y()), 0x0000FFu);
  EXPECT_EQ(PanePixel(pane, 0, r.top() - 1), 0xFFFFFFu);
  for (int x : {0, 1, pane->width() - 2, pane->width() - 1})  // the edge stays the edge
    EXPECT_NE(Shot(pane).pixel(x, inner.top() + r.center().y()) & 0xFFFFFFu, 0x0000FFu) << x;
}

TEST_F(FileDialogTest, ShrunkMonoPreviewKeepsEveryWhiteLine) {
  // White columns every tenth pixel on black, shrunk to under 20 percent:
  // plain sampling would lose most of them; white-on-black keeps all hundred.
  BYTE palette[768] = {0, 0, 0, 255, 255, 255};
  HDIB mono = CreateDib(1000, 100, palette, 1);
  for (int y = 0; y < 100; ++y)
    for (int x = 0; x < 1000; ++x) PutDibPixel(LockDib(mono), x, y, x % 10 == 0);
  const std::string path = dir / "lines.bmp";
  ASSERT_EQ(WriteImage(path.c_str(), mono), 1);
  OpenImageFileDialog d(nullptr, Folder());
  d.ShowPreviewOf(QString::fromStdString(path));
  EXPECT_EQ(d.infoText()->text(), "Width: 1000\nDepth: 100\nColors: 2");
  const QRect inner = d.pane()->innerRect();
  const PreviewPlacement place = PlacePreview(inner.width(), inner.height(), 1000, 100);
  ASSERT_LT(place.percent, 20);
  int white = 0, black = 0;
  for (int x = place.rect.left(); x <= place.rect.right(); ++x) {
    const QRgb c = PanePixel(d.pane(), x, place.rect.center().y());
    white += c == 0xFFFFFFu;
    black += c == 0;
  }
  EXPECT_EQ(white, 100);
  EXPECT_EQ(white + black, place.rect.width());
}

TEST_F(FileDialogTest, BrokenFilesShowNothingAndLeaveTheText) {
  const std::string good = Solid("good.pcx", 64, 32, RGB(10, 20, 30));
  OpenImageFileDialog d(nullptr, Folder());
  d.ShowPreviewOf(QString::fromStdString(good));
  const QString text = d.infoText()->text();
  ASSERT_EQ(text, "Width: 64\nDepth: 32\nColors: 16,777,216");
  // Garbage, an empty file, a truncated one, one claiming a huge size, one
  // named for no format, a folder named like a picture, a pipe (whose read
  // would never end) and nothing at all.
  QByteArray huge(54, '\0');
  huge[0] = 'B', huge[1] = 'M', huge[14] = 40, huge[26] = 1, huge[28] = 24;
  for (int i : {18, 19, 20, 22, 23, 24}) huge[i] = '\x7F';  // width and depth near 2^31
  test::Spit(dir / "noise.png", std::string(300, 'Z'));
  test::Spit(dir / "empty.jpg", "");
  test::Spit(dir / "cut.bmp", test::Slurp(Solid("whole.bmp", 300, 300, 0)).substr(0, 200));
  test::Spit(dir / "huge.bmp", huge.toStdString());
  test::Spit(dir / "plain.txt", "Width: 1");
  fs::create_directory(dir / "folder.png");
  ASSERT_EQ(mkfifo((dir / "pipe.bmp").c_str(), 0600), 0);
  for (const char* bad :
       {"noise.png", "empty.jpg", "cut.bmp", "huge.bmp", "plain.txt", "folder.png", "pipe.bmp", "nothing-here.bmp"}) {
    d.ShowPreviewOf(QString::fromStdString(good));
    ASSERT_TRUE(d.pane()->picture());
    d.ShowPreviewOf(QString::fromStdString(dir / bad));
    EXPECT_FALSE(d.pane()->picture()) << bad;
    EXPECT_EQ(d.infoText()->text(), text) << bad;
    EXPECT_EQ(PanePixel(d.pane(), 30, 30), 0xFFFFFFu) << bad;
  }
}

TEST_F(FileDialogTest, SaveNameAndTypeFollowEachOther) {
  // The start: the type from the extension (else the remembered one), the name never renamed.
  ImageFileOpenIndex = 2;
  const std::pair<const char*, int> starts[] = {{"a.jpg", 1},           {"b.BMP", 2}, {"c.Pcx", 3}, {"d.tga", 4},
                                                {"archive.tar.png", 5}, {"f.gif", 2}, {"noext", 2}, {"h.JFIF", 1}};
  for (auto [name, type] : starts) {
    WriteImageFileDialog d(nullptr, dir / name);
    EXPECT_EQ(d.typeIndex(), type) << name;
    EXPECT_EQ(d.selectedNameFilter(), ImageFileFilters()[type - 1]) << name;
    EXPECT_EQ(d.nameEdit()->text(), name);
  }
  std::snprintf(OpenPath, sizeof OpenPath, "%s/", Folder().c_str());  // no folder: OpenPath
  EXPECT_EQ(WriteImageFileDialog(nullptr, "Untitled.bmp").directory().absolutePath().toStdString(),
            fs::absolute(dir.path).string());
  // Choosing a type renames what the user typed; All files leaves it.
  WriteImageFileDialog d(nullptr, dir / "photo.jpg");
  const struct {
    const char* typed;
    int index;
    const char* shown;
  } steps[] = {{"photo.jpg", 4, "photo.png"}, {"photo.png", 5, "photo.png"}, {"photo.png", 1, "photo.bmp"},
               {"holiday", 3, "holiday.tga"}, {"scan.PCX", 2, "scan.PCX"},   {"v1.2.final.pcx", 0, "v1.2.final.jpg"},
               {"photo.", 1, "photo.bmp"},    {"photo", 5, "photo"},         {"a.b/photo", 3, "a.b/photo.tga"},
               {"photo.JPG", 0, "photo.JPG"}};
  for (const auto& s : steps) {
    d.nameEdit()->setText(s.typed);
    d.typeCombo()->setCurrentIndex(s.index);
    EXPECT_EQ(d.nameEdit()->text(), s.shown) << s.typed;
  }
  // OK takes the name with the type and remembers the type.
  std::string path;
  OnDialog<WriteImageFileDialog>([](WriteImageFileDialog& save) { return save.typeCombo()->setCurrentIndex(4), true; });
  ASSERT_TRUE(GetWriteImageFileName(nullptr, dir / "photo.jpg", &path));
  EXPECT_TRUE(SamePath(path, dir / "photo.png"));
  EXPECT_EQ(ImageFileOpenIndex, 5);
}

TEST_F(FileDialogTest, SaveAsksBeforeReplacingAndAddsTheDefaultExtension) {
  const std::string existing = Solid("keep.bmp", 4, 4, RGB(5, 5, 5));
  ImageFileOpenIndex = 3;
  std::string path = "unchanged";
  SetDialogAnswerer([](QDialog&) { return true; });
  EXPECT_FALSE(GetWriteImageFileName(nullptr, existing, &path));  // answered No
  EXPECT_EQ(prompts, std::vector<QString>{"keep.bmp already exists.\nDo you want to replace it?"});
  EXPECT_EQ(kinds[0], PROMPT_YESNO);
  EXPECT_EQ(path, "unchanged");
  EXPECT_EQ(ImageFileOpenIndex, 3);
  answer = IDYES;
  EXPECT_TRUE(GetWriteImageFileName(nullptr, existing, &path));
  EXPECT_TRUE(SamePath(path, existing));
  EXPECT_EQ(ImageFileOpenIndex, 2);
  // A name typed without extension takes the type's; nothing there, so no question.
  prompts.clear();
  OnDialog<WriteImageFileDialog>([](WriteImageFileDialog& save) { return save.nameEdit()->setText("fresh"), true; });
  EXPECT_TRUE(GetWriteImageFileName(nullptr, dir / "x.png", &path));
  EXPECT_TRUE(SamePath(path, dir / "fresh.bmp"));
  EXPECT_TRUE(prompts.empty());
  // The same through the dialog's own OK: a No keeps it open, a Yes closes it.
  WriteImageFileDialog d(nullptr, existing);
  answer = IDNO;
  d.accept();
  EXPECT_NE(d.result(), QDialog::Accepted);
  answer = IDYES;
  d.accept();
  EXPECT_EQ(d.result(), QDialog::Accepted);
  EXPECT_TRUE(SamePath(d.chosenPath(), existing));
}

TEST_F(FileDialogTest, FrameOpensAndSavesAsThroughTheDialogs) {
  const std::string source = Solid("start.bmp", 24, 12, RGB(70, 80, 90));
  std::snprintf(OpenPath, sizeof OpenPath, "%s/", Folder().c_str());
  OnDialog<OpenImageFileDialog>([](OpenImageFileDialog& open) { return open.selectFile("start.bmp"), true; });
  Choose(CM_OPEN);
  DocumentWindow* doc = frame->ActiveDocument();
  ASSERT_NE(doc, nullptr);
  EXPECT_TRUE(SamePath(doc->record()->FileName, source));
  EXPECT_EQ(At(doc, 3, 3), RGB(70, 80, 90));
  // Save as starts with the document's name; choosing PNG writes a PNG file.
  QString proposed;
  OnDialog<WriteImageFileDialog>([&](WriteImageFileDialog& save) {
    proposed = save.nameEdit()->text();
    return save.typeCombo()->setCurrentIndex(4), true;
  });
  Choose(CM_SAVEAS);
  EXPECT_EQ(proposed, "start.bmp");
  EXPECT_TRUE(SamePath(doc->record()->FileName, dir / "start.png"));
  int w = 0, h = 0, bits = 0;
  ASSERT_EQ(GetImageInfo((dir / "start.png").c_str(), &w, &h, &bits, nullptr), 1);
  EXPECT_EQ(QSize(w, h), QSize(24, 12));
  // A cancelled Open makes no document.
  SetDialogAnswerer([](QDialog&) { return false; });
  Choose(CM_OPEN);
  EXPECT_EQ(frame->CountOpenDocuments(), 1);
}

}  // namespace
}  // namespace ochrel
