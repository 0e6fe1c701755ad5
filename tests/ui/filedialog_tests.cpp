#include <gtest/gtest.h>

#include <QCheckBox>
#include <QComboBox>
#include <QFile>
#include <QImage>
#include <QLabel>
#include <QLineEdit>
#include <QMdiArea>
#include <QMdiSubWindow>
#include <QRegularExpression>
#include <QTemporaryDir>

#include <sys/stat.h>

#include <cstring>
#include <filesystem>
#include <ostream>
#include <string>
#include <vector>

#include "files/imagefile.h"
#include "frame/blockset.h"
#include "frame/commands.h"
#include "frame/settings.h"
#include "qt_app.h"
#include "test_images.h"
#include "ui/widgets/dialogrunner.h"
#include "ui/document/documentwindow.h"
#include "ui/dialogs/files/filedialogs.h"
#include "ui/frame/mainframe.h"
#include "ui/widgets/messages.h"

// Readable failures for texts.
inline void PrintTo(const QString& s, std::ostream* os) { *os << '"' << s.toStdString() << '"'; }

namespace ochrel {
namespace {

// A picture of one colour, written in the format its name's extension picks.
std::string WriteSolid(const QTemporaryDir& dir, const char* name, int width, int depth, COLORREF colour) {
  HDIB dib = CreateDib(width, depth, nullptr, 24);
  BITMAPINFOHEADER* h = LockDib(dib);
  for (int y = 0; y < depth; ++y)
    for (int x = 0; x < width; ++x) PutDibPixel(h, x, y, colour);
  std::string path = dir.filePath(name).toStdString();
  EXPECT_EQ(WriteImage(path.c_str(), dib), 1) << name;
  return path;
}

// The patterns inside the parentheses of a filter text, as regular expressions.
std::vector<QRegularExpression> Patterns(const QString& filter) {
  std::vector<QRegularExpression> out;
  const qsizetype open = filter.indexOf('('), close = filter.lastIndexOf(')');
  for (const QString& p : filter.mid(open + 1, close - open - 1).split(' ', Qt::SkipEmptyParts))
    out.emplace_back(QRegularExpression::wildcardToRegularExpression(p));
  return out;
}

bool FilterTakes(const QString& filter, const QString& name) {
  for (const QRegularExpression& re : Patterns(filter))
    if (re.match(name).hasMatch()) return true;
  return false;
}

class FileDialogTest : public ::testing::Test {
 protected:
  void SetUp() override {
    test::EnsureQtApp();
    saved = {ImageFileOpenIndex, ShowFileOpenPreview};
    std::memcpy(savedOpenPath, OpenPath, sizeof OpenPath);
    ImageFileOpenIndex = 1;
    ShowFileOpenPreview = 1;
    ASSERT_TRUE(dir.isValid());
    SetPromptAnswerer([this](PromptKind kind, const QString& text) {
      prompts.push_back(text);
      EXPECT_EQ(kind, PROMPT_YESNO);
      return answer;
    });
  }
  void TearDown() override {
    SetDialogAnswerer({});
    SetPromptAnswerer({});
    ImageFileOpenIndex = saved[0];
    ShowFileOpenPreview = saved[1];
    std::memcpy(OpenPath, savedOpenPath, sizeof OpenPath);
  }
  // The colour of the pane as it is drawn, at a point of its inner box.
  static QRgb PanePixel(const QImage& shot, const ImagePreviewPane& pane, int x, int y) {
    return shot.pixel(pane.innerRect().left() + x, pane.innerRect().top() + y) & 0xFFFFFFu;
  }

  QTemporaryDir dir;
  std::vector<int> saved;
  char savedOpenPath[kSettingTextSize];
  std::vector<QString> prompts;
  int answer = IDNO;
};

TEST_F(FileDialogTest, TypeListInFormatOrderWithAllFilesLast) {
  OpenImageFileDialog open(nullptr, dir.path().toStdString());
  WriteImageFileDialog save(nullptr, dir.filePath("a.bmp").toStdString());
  const QStringList names = {"JPEG files", "BMP files", "PCX files", "TGA files", "PNG files", "All files"};
  for (ImageFileDialog* d : {static_cast<ImageFileDialog*>(&open), static_cast<ImageFileDialog*>(&save)}) {
    ASSERT_NE(d->typeCombo(), nullptr);
    ASSERT_EQ(d->typeCombo()->count(), kImageTypeListCount);
    for (int i = 0; i < kImageTypeListCount; ++i) EXPECT_EQ(d->typeCombo()->itemText(i), names[i]);
    EXPECT_TRUE(d->typeCombo()->isVisibleTo(d));
    EXPECT_EQ(d->nameFilters().size(), kImageTypeListCount);
  }

  // Each type takes its own extension in any case and no other; the last takes all five.
  const QStringList filters = ImageFileFilters();
  ASSERT_EQ(filters.size(), kImageTypeListCount);
  const char* exts[] = {"jpg", "bmp", "pcx", "tga", "png"};
  for (int i = 0; i < 5; ++i) {
    char text[16];
    ASSERT_EQ(GetFormatExtension(text, i, sizeof text), 5);
    EXPECT_STREQ(text, exts[i]);
    EXPECT_EQ(ImageTypeExtension(i + 1), exts[i]);
    for (int j = 0; j < 5; ++j) {
      const QString lower = QString("photo.") + exts[j];
      EXPECT_EQ(FilterTakes(filters[i], lower), i == j) << i << " " << j;
      EXPECT_EQ(FilterTakes(filters[i], lower.toUpper()), i == j) << i << " " << j;
    }
    EXPECT_TRUE(FilterTakes(filters[5], QString("x.") + exts[i]));
    EXPECT_TRUE(FilterTakes(filters[5], QString("X.") + QString(exts[i]).toUpper()));
  }
  // Every JPEG name is taken by the JPEG type and by all files.
  for (const char* alias : {"x.jpeg", "X.JPE", "x.Jfif"}) {
    EXPECT_TRUE(FilterTakes(filters[0], alias)) << alias;
    EXPECT_TRUE(FilterTakes(filters[5], alias)) << alias;
    EXPECT_FALSE(FilterTakes(filters[1], alias)) << alias;
  }
  for (const char* other : {"x.gif", "x.txt", "jpg", "x.jpg.txt", "x.jpeg2"})
    for (const QString& f : filters) EXPECT_FALSE(FilterTakes(f, other)) << other << " " << f.toStdString();
  EXPECT_EQ(ImageTypeExtension(6), "");
  EXPECT_EQ(ImageTypeName(0), "");
  EXPECT_EQ(ImageTypeName(7), "");
}

TEST_F(FileDialogTest, RememberedTypeIsSharedAndChangesOnlyOnOk) {
  const std::string bmp = WriteSolid(dir, "one.bmp", 20, 10, RGB(1, 2, 3));
  ImageFileOpenIndex = 4;
  std::string path = bmp;
  int seen = 0;
  SetDialogAnswerer([&](QDialog& d) {
    auto& open = dynamic_cast<OpenImageFileDialog&>(d);
    seen = open.typeIndex();
    EXPECT_EQ(open.selectedNameFilter(), ImageFileFilters()[3]);
    open.typeCombo()->setCurrentIndex(1);  // BMP files
    EXPECT_EQ(open.selectedNameFilter(), ImageFileFilters()[1]);
    open.selectFile(QString::fromStdString(bmp));
    return false;
  });
  EXPECT_FALSE(GetOpenImageFileName(nullptr, &path));
  EXPECT_EQ(seen, 4);
  EXPECT_EQ(ImageFileOpenIndex, 4);  // Cancel keeps it
  EXPECT_EQ(path, "");               // the entry is emptied before the dialog

  SetDialogAnswerer([&](QDialog& d) {
    auto& open = dynamic_cast<OpenImageFileDialog&>(d);
    open.typeCombo()->setCurrentIndex(1);
    open.selectFile(QString::fromStdString(bmp));
    return true;
  });
  path = bmp;
  EXPECT_TRUE(GetOpenImageFileName(nullptr, &path));
  EXPECT_EQ(path, bmp);
  EXPECT_EQ(ImageFileOpenIndex, 2);

  // Save starts from the same index when the name's extension names no type.
  WriteImageFileDialog save(nullptr, dir.filePath("notes.gif").toStdString());
  EXPECT_EQ(save.typeIndex(), 2);
  EXPECT_EQ(save.nameEdit()->text(), "notes.gif");

  // An index from an edited settings file that lies outside the list starts at the first.
  for (int bad : {0, 7, -3}) {
    ImageFileOpenIndex = bad;
    OpenImageFileDialog d(nullptr, dir.path().toStdString());
    EXPECT_EQ(d.typeIndex(), 1) << bad;
  }
}

TEST_F(FileDialogTest, OpenStartsInTheFolderOfTheEntryAndChecksTheFileExists) {
  QTemporaryDir other;
  const std::string inOther = WriteSolid(other, "pic.png", 8, 8, RGB(9, 9, 9));
  std::string path = other.filePath("whatever.bmp").toStdString();
  QString startedIn;
  SetDialogAnswerer([&](QDialog& d) {
    auto& open = dynamic_cast<OpenImageFileDialog&>(d);
    startedIn = open.directory().absolutePath();
    open.selectFile("pic.png");
    return true;
  });
  ASSERT_TRUE(GetOpenImageFileName(nullptr, &path));
  EXPECT_EQ(startedIn, QDir(other.path()).absolutePath());
  EXPECT_EQ(std::filesystem::path(path), std::filesystem::path(inOther));

  // A bare entry falls back on OpenPath.
  std::snprintf(OpenPath, sizeof OpenPath, "%s/", dir.path().toUtf8().constData());
  path.clear();
  SetDialogAnswerer([&](QDialog& d) {
    startedIn = dynamic_cast<QFileDialog&>(d).directory().absolutePath();
    return false;
  });
  EXPECT_FALSE(GetOpenImageFileName(nullptr, &path));
  EXPECT_EQ(startedIn, QDir(dir.path()).absolutePath());

  // A name that is not there is no answer.
  SetDialogAnswerer([&](QDialog& d) {
    dynamic_cast<QFileDialog&>(d).selectFile(dir.filePath("missing.png"));
    return true;
  });
  path = dir.path().toStdString() + "/";
  EXPECT_FALSE(GetOpenImageFileName(nullptr, &path));
}

TEST_F(FileDialogTest, PreviewShowsSizeColoursAndTheScaledPicture) {
  const std::string wide = WriteSolid(dir, "wide.bmp", 200, 100, RGB(200, 30, 40));
  OpenImageFileDialog d(nullptr, dir.path().toStdString());
  ImagePreviewPane* pane = d.pane();
  ASSERT_EQ(pane->objectName(), "1500");
  EXPECT_EQ(d.previewBox()->objectName(), "1501");
  EXPECT_EQ(d.previewBox()->text(), "&Preview");
  EXPECT_EQ(d.infoText()->objectName(), "1502");
  EXPECT_FALSE(pane->picture());
  EXPECT_TRUE(d.previewBox()->isChecked());

  // The dialog's own selection signal reaches the pane.
  emit d.currentChanged(QString::fromStdString(wide));
  ASSERT_TRUE(pane->picture());
  EXPECT_EQ(d.infoText()->text(), "Width: 200\nDepth: 100\nColors: 16,777,216");

  // Inner box: the pane less its two-pixel edge on each side.
  const QRect inner = pane->innerRect();
  EXPECT_EQ(inner.width(), pane->width() - 4);
  EXPECT_EQ(inner.height(), pane->height() - 4);
  const PreviewPlacement place = PlacePreview(inner.width(), inner.height(), 200, 100);
  EXPECT_EQ(place.percent, std::min(inner.width() * 100 / 200, inner.height() * 100 / 100));
  const QImage shot = pane->grab().toImage();
  const QRect r = place.rect;
  EXPECT_EQ(PanePixel(shot, *pane, r.center().x(), r.center().y()), 0xC81E28u);
  EXPECT_EQ(PanePixel(shot, *pane, r.left(), r.top()), 0xC81E28u);
  EXPECT_EQ(PanePixel(shot, *pane, r.right(), r.bottom()), 0xC81E28u);
  EXPECT_EQ(PanePixel(shot, *pane, r.center().x(), r.top() - 1), 0xFFFFFFu);
  EXPECT_EQ(PanePixel(shot, *pane, r.center().x(), r.bottom() + 1), 0xFFFFFFu);

  // Colours of the depths below true colour.
  const std::pair<int, const char*> depths[] = {{1, "2"}, {4, "16"}, {8, "256"}};
  for (auto [bits, colours] : depths) {
    HDIB dib = test::RandomDib(33, 17, bits, 5);
    const std::string p = dir.filePath(QString("depth%1.bmp").arg(bits)).toStdString();
    ASSERT_EQ(WriteImage(p.c_str(), dib), 1);
    d.ShowPreviewOf(QString::fromStdString(p));
    ASSERT_TRUE(pane->picture()) << bits;
    EXPECT_EQ(d.infoText()->text(), QString("Width: 33\nDepth: 17\nColors: ") + colours) << bits;
  }
}

TEST_F(FileDialogTest, ScaleRuleAtLeastTenPercentCentredAndClipped) {
  // Fits: the smaller of the two ratios, centred.
  PreviewPlacement p = PlacePreview(176, 146, 200, 100);
  EXPECT_EQ(p.percent, 88);
  EXPECT_EQ(p.rect, QRect((176 - 176) / 2, (146 - 88) / 2, 176, 88));
  p = PlacePreview(176, 146, 30, 60);
  EXPECT_EQ(p.percent, 243);  // 14600 / 60, below 17600 / 30
  EXPECT_EQ(p.rect, QRect((176 - 72) / 2, (146 - 145) / 2, 72, 145));
  // Very wide: 4 percent would fit, 10 is the least; the picture overflows both sides equally.
  p = PlacePreview(176, 146, 4000, 10);
  EXPECT_EQ(p.percent, 10);
  EXPECT_EQ(p.rect, QRect((176 - 400) / 2, (146 - 1) / 2, 400, 1));
  p = PlacePreview(176, 146, 30, 9000);
  EXPECT_EQ(p.percent, 10);
  EXPECT_EQ(p.rect.height(), 900);
  EXPECT_EQ(p.rect.top(), (146 - 900) / 2);
  // Nothing to place.
  EXPECT_EQ(PlacePreview(176, 146, 0, 10).percent, 0);
  EXPECT_EQ(PlacePreview(0, 146, 10, 10).percent, 0);

  // Drawn: a 4000 by 40 strip covers the box from edge to edge and no more.
  const std::string strip = WriteSolid(dir, "strip.png", 4000, 40, RGB(0, 0, 255));
  OpenImageFileDialog d(nullptr, dir.path().toStdString());
  d.ShowPreviewOf(QString::fromStdString(strip));
  ImagePreviewPane* pane = d.pane();
  ASSERT_TRUE(pane->picture());
  const QRect inner = pane->innerRect();
  const PreviewPlacement place = PlacePreview(inner.width(), inner.height(), 4000, 40);
  ASSERT_EQ(place.percent, 10);
  const QImage shot = pane->grab().toImage();
  const int mid = place.rect.center().y();
  EXPECT_EQ(PanePixel(shot, *pane, 0, mid), 0x0000FFu);
  EXPECT_EQ(PanePixel(shot, *pane, inner.width() - 1, mid), 0x0000FFu);
  EXPECT_EQ(PanePixel(shot, *pane, 0, place.rect.top() - 1), 0xFFFFFFu);
  EXPECT_EQ(PanePixel(shot, *pane, 0, place.rect.bottom() + 1), 0xFFFFFFu);
  // The edge stays the edge.
  for (int x : {0, 1, pane->width() - 2, pane->width() - 1})
    EXPECT_NE(shot.pixel(x, inner.top() + mid) & 0xFFFFFFu, 0x0000FFu) << x;
}

TEST_F(FileDialogTest, UncheckingPreviewEmptiesThePaneButKeepsThePicture) {
  const std::string pic = WriteSolid(dir, "green.tga", 50, 50, RGB(0, 160, 0));
  OpenImageFileDialog d(nullptr, dir.path().toStdString());
  d.ShowPreviewOf(QString::fromStdString(pic));
  ImagePreviewPane* pane = d.pane();
  const QPoint c = pane->innerRect().center() - pane->innerRect().topLeft();
  EXPECT_EQ(PanePixel(pane->grab().toImage(), *pane, c.x(), c.y()), 0x00A000u);

  d.previewBox()->click();
  EXPECT_EQ(ShowFileOpenPreview, 0);
  EXPECT_TRUE(pane->picture());
  EXPECT_EQ(PanePixel(pane->grab().toImage(), *pane, c.x(), c.y()), 0xFFFFFFu);
  d.previewBox()->click();
  EXPECT_EQ(ShowFileOpenPreview, 1);
  EXPECT_EQ(PanePixel(pane->grab().toImage(), *pane, c.x(), c.y()), 0x00A000u);

  // The box starts from the setting.
  ShowFileOpenPreview = 0;
  OpenImageFileDialog off(nullptr, dir.path().toStdString());
  EXPECT_FALSE(off.previewBox()->isChecked());
  off.ShowPreviewOf(QString::fromStdString(pic));
  EXPECT_TRUE(off.pane()->picture());
  EXPECT_EQ(PanePixel(off.pane()->grab().toImage(), *off.pane(), c.x(), c.y()), 0xFFFFFFu);
  EXPECT_EQ(off.infoText()->text(), "Width: 50\nDepth: 50\nColors: 16,777,216");
}

TEST_F(FileDialogTest, BrokenFilesShowNothingAndLeaveTheText) {
  const std::string good = WriteSolid(dir, "good.pcx", 64, 32, RGB(10, 20, 30));
  OpenImageFileDialog d(nullptr, dir.path().toStdString());
  d.ShowPreviewOf(QString::fromStdString(good));
  ASSERT_TRUE(d.pane()->picture());
  const QString text = d.infoText()->text();
  ASSERT_EQ(text, "Width: 64\nDepth: 32\nColors: 16,777,216");

  // Garbage, a truncated file, an empty one, one named for no format, a folder
  // named like a picture and a pipe (whose read would never end).
  std::vector<std::string> bad;
  auto put = [&](const char* name, const QByteArray& bytes) {
    QFile f(dir.filePath(name));
    ASSERT_TRUE(f.open(QIODevice::WriteOnly));
    f.write(bytes);
    bad.push_back(f.fileName().toStdString());
  };
  put("noise.png", QByteArray(300, '\x5A'));
  put("empty.jpg", QByteArray());
  QFile whole(QString::fromStdString(WriteSolid(dir, "whole.bmp", 300, 300, RGB(1, 1, 1))));
  ASSERT_TRUE(whole.open(QIODevice::ReadOnly));
  put("cut.bmp", whole.read(200));
  put("huge.bmp", [] {
    QByteArray b(54, '\0');
    b[0] = 'B';
    b[1] = 'M';
    b[14] = 40;
    b[18] = b[19] = b[20] = '\x7F';  // width and depth near 2^31
    b[22] = b[23] = b[24] = '\x7F';
    b[26] = 1;
    b[28] = 24;
    return b;
  }());
  put("plain.txt", "Width: 1");
  std::filesystem::create_directory(dir.filePath("folder.png").toStdString());
  bad.push_back(dir.filePath("folder.png").toStdString());
  const std::string pipe = dir.filePath("pipe.bmp").toStdString();
  ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
  bad.push_back(pipe);
  bad.push_back(dir.filePath("nothing-here.bmp").toStdString());
  for (const std::string& p : bad) {
    d.ShowPreviewOf(QString::fromStdString(good));
    ASSERT_TRUE(d.pane()->picture());
    d.ShowPreviewOf(QString::fromStdString(p));
    EXPECT_FALSE(d.pane()->picture()) << p;
    EXPECT_EQ(d.infoText()->text(), text) << p;
    const QImage shot = d.pane()->grab().toImage();
    EXPECT_EQ(PanePixel(shot, *d.pane(), 30, 30), 0xFFFFFFu) << p;
  }
}

TEST_F(FileDialogTest, SaveNameFollowsTheChosenType) {
  WriteImageFileDialog d(nullptr, dir.filePath("photo.jpg").toStdString());
  QLineEdit* name = d.nameEdit();
  ASSERT_NE(name, nullptr);
  EXPECT_EQ(d.typeIndex(), 1);
  EXPECT_EQ(name->text(), "photo.jpg");
  EXPECT_EQ(d.directory().absolutePath(), QDir(dir.path()).absolutePath());

  d.typeCombo()->setCurrentIndex(4);  // PNG files
  EXPECT_EQ(name->text(), "photo.png");
  d.typeCombo()->setCurrentIndex(5);  // All files: unchanged
  EXPECT_EQ(name->text(), "photo.png");
  d.typeCombo()->setCurrentIndex(1);
  EXPECT_EQ(name->text(), "photo.bmp");

  // The name the user typed is what follows; one without an extension gains one.
  name->setText("holiday");
  d.typeCombo()->setCurrentIndex(3);
  EXPECT_EQ(name->text(), "holiday.tga");
  name->setText("scan.PCX");
  d.typeCombo()->setCurrentIndex(2);  // already a PCX name, in any case
  EXPECT_EQ(name->text(), "scan.PCX");
  name->setText("v1.2.final.pcx");
  d.typeCombo()->setCurrentIndex(0);
  EXPECT_EQ(name->text(), "v1.2.final.jpg");

  // The rule itself.
  EXPECT_EQ(NameForType("photo.bmp", 5), "photo.png");
  EXPECT_EQ(NameForType("photo.bmp", 6), "photo.bmp");
  EXPECT_EQ(NameForType("photo", 6), "photo");
  EXPECT_EQ(NameForType("photo.", 2), "photo.bmp");
  EXPECT_EQ(NameForType("a.b/photo", 4), "a.b/photo.tga");
  EXPECT_EQ(NameForType("photo.JPG", 1), "photo.JPG");

  // OK takes the name with the type and remembers the type.
  std::string path;
  SetDialogAnswerer([&](QDialog& dlg) {
    auto& save = dynamic_cast<WriteImageFileDialog&>(dlg);
    save.typeCombo()->setCurrentIndex(4);
    return true;
  });
  ASSERT_TRUE(GetWriteImageFileName(nullptr, dir.filePath("photo.jpg").toStdString(), &path));
  EXPECT_EQ(std::filesystem::path(path), std::filesystem::path(dir.filePath("photo.png").toStdString()));
  EXPECT_EQ(ImageFileOpenIndex, 5);
  EXPECT_TRUE(prompts.empty());
}

TEST_F(FileDialogTest, SaveSelectionFollowsTheProposedExtension) {
  ImageFileOpenIndex = 2;
  struct Case {
    const char* name;
    int type;
  } cases[] = {{"a.jpg", 1}, {"b.BMP", 2}, {"c.Pcx", 3}, {"d.tga", 4}, {"e.png", 5},
               {"archive.tar.png", 5}, {"f.gif", 2}, {"noext", 2}, {"g.jpeg", 1}, {"h.JFIF", 1}};
  for (const Case& c : cases) {
    EXPECT_EQ(TypeIndexForName(c.name, ImageFileOpenIndex), c.type) << c.name;
    WriteImageFileDialog d(nullptr, dir.filePath(c.name).toStdString());
    EXPECT_EQ(d.typeIndex(), c.type) << c.name;
    EXPECT_EQ(d.selectedNameFilter(), ImageFileFilters()[c.type - 1]) << c.name;
    EXPECT_EQ(d.nameEdit()->text(), c.name);  // the start never renames
  }
  // A proposal without a folder starts in OpenPath.
  std::snprintf(OpenPath, sizeof OpenPath, "%s/", dir.path().toUtf8().constData());
  WriteImageFileDialog bare(nullptr, "UntitledPicture3.bmp");
  EXPECT_EQ(bare.directory().absolutePath(), QDir(dir.path()).absolutePath());
  EXPECT_EQ(bare.nameEdit()->text(), "UntitledPicture3.bmp");
}

TEST_F(FileDialogTest, SaveAsksBeforeReplacingAndAddsTheDefaultExtension) {
  const std::string existing = WriteSolid(dir, "keep.bmp", 4, 4, RGB(5, 5, 5));
  ImageFileOpenIndex = 3;
  std::string path = "unchanged";
  SetDialogAnswerer([](QDialog&) { return true; });

  answer = IDNO;
  EXPECT_FALSE(GetWriteImageFileName(nullptr, existing, &path));
  ASSERT_EQ(prompts.size(), 1u);
  EXPECT_EQ(prompts[0], "keep.bmp already exists.\nDo you want to replace it?");
  EXPECT_EQ(path, "unchanged");
  EXPECT_EQ(ImageFileOpenIndex, 3);

  answer = IDYES;
  EXPECT_TRUE(GetWriteImageFileName(nullptr, existing, &path));
  EXPECT_EQ(prompts.size(), 2u);
  EXPECT_EQ(std::filesystem::path(path), std::filesystem::path(existing));
  EXPECT_EQ(ImageFileOpenIndex, 2);

  // A name typed without extension takes the default one; nothing there, so no question.
  prompts.clear();
  SetDialogAnswerer([](QDialog& d) {
    auto& save = dynamic_cast<WriteImageFileDialog&>(d);
    save.nameEdit()->setText("fresh");
    return true;
  });
  EXPECT_TRUE(GetWriteImageFileName(nullptr, dir.filePath("x.png").toStdString(), &path));
  EXPECT_EQ(std::filesystem::path(path), std::filesystem::path(dir.filePath("fresh.bmp").toStdString()));
  EXPECT_TRUE(prompts.empty());

  // The same through the dialog's own OK: a No keeps it open, a Yes closes it.
  WriteImageFileDialog d(nullptr, existing);
  answer = IDNO;
  d.accept();
  EXPECT_NE(d.result(), QDialog::Accepted);
  EXPECT_TRUE(d.chosenPath().empty());
  answer = IDYES;
  d.accept();
  EXPECT_EQ(d.result(), QDialog::Accepted);
  EXPECT_EQ(std::filesystem::path(d.chosenPath()), std::filesystem::path(existing));
  EXPECT_EQ(prompts.size(), 2u);
}

TEST_F(FileDialogTest, FrameOpensAndSavesAsThroughTheDialogs) {
  const std::string source = WriteSolid(dir, "start.bmp", 24, 12, RGB(70, 80, 90));
  std::snprintf(OpenPath, sizeof OpenPath, "%s/", dir.path().toUtf8().constData());
  auto frame = std::make_unique<MainFrame>();
  QString startedIn;
  SetDialogAnswerer([&](QDialog& d) {
    auto& open = dynamic_cast<OpenImageFileDialog&>(d);
    startedIn = open.directory().absolutePath();
    open.selectFile("start.bmp");
    return true;
  });
  frame->Command(CM_OPEN);
  EXPECT_EQ(startedIn, QDir(dir.path()).absolutePath());
  DocumentWindow* doc = frame->ActiveDocument();
  ASSERT_NE(doc, nullptr);
  EXPECT_EQ(std::filesystem::path(doc->record()->FileName), std::filesystem::path(source));
  EXPECT_EQ(GetDibPixel(LockDib(doc->record()->Image), 3, 3), RGB(70, 80, 90));

  // Save as: the dialog starts with the document's name; choosing PNG writes a PNG file.
  QString proposed;
  SetDialogAnswerer([&](QDialog& d) {
    auto& save = dynamic_cast<WriteImageFileDialog&>(d);
    proposed = save.nameEdit()->text();
    save.typeCombo()->setCurrentIndex(4);
    return true;
  });
  frame->Command(CM_SAVEAS);
  EXPECT_EQ(proposed, "start.bmp");
  const std::string png = dir.filePath("start.png").toStdString();
  EXPECT_EQ(std::filesystem::path(doc->record()->FileName), std::filesystem::path(png));
  int w = 0, h = 0, bits = 0;
  ASSERT_EQ(GetImageInfo(png.c_str(), &w, &h, &bits, nullptr), 1);
  EXPECT_EQ(w, 24);
  EXPECT_EQ(h, 12);
  EXPECT_EQ(ImageFileOpenIndex, 5);

  // A cancelled Open makes no document.
  const int before = static_cast<int>(frame->client()->subWindowList().size());
  SetDialogAnswerer([](QDialog&) { return false; });
  frame->Command(CM_OPEN);
  EXPECT_EQ(static_cast<int>(frame->client()->subWindowList().size()), before);
  doc->record()->Modified = 0;
  frame.reset();
  QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
}

TEST_F(FileDialogTest, ShrunkMonoPreviewKeepsEveryWhiteLine) {
  // Black with a white column every tenth pixel: shrunk to 17 percent, each
  // view column spans about six picture columns, so plain sampling would lose
  // most of the lines; white-on-black keeps all hundred.
  BYTE palette[768] = {};
  palette[3] = palette[4] = palette[5] = 255;  // 0 black, 1 white
  HDIB mono = CreateDib(1000, 100, palette, 1);
  BITMAPINFOHEADER* h = LockDib(mono);
  for (int y = 0; y < 100; ++y)
    for (int x = 0; x < 1000; ++x) PutDibPixel(h, x, y, x % 10 == 0 ? 1 : 0);
  const std::string path = dir.filePath("lines.bmp").toStdString();
  ASSERT_EQ(WriteImage(path.c_str(), mono), 1);

  OpenImageFileDialog d(nullptr, dir.path().toStdString());
  d.ShowPreviewOf(QString::fromStdString(path));
  ASSERT_TRUE(d.pane()->picture());
  EXPECT_EQ(d.infoText()->text(), "Width: 1000\nDepth: 100\nColors: 2");
  const QRect inner = d.pane()->innerRect();
  const PreviewPlacement place = PlacePreview(inner.width(), inner.height(), 1000, 100);
  ASSERT_LT(place.percent, 20);
  const QImage shot = d.pane()->grab().toImage();
  int white = 0, black = 0;
  for (int x = place.rect.left(); x <= place.rect.right(); ++x) {
    const QRgb c = PanePixel(shot, *d.pane(), x, place.rect.center().y());
    white += c == 0xFFFFFFu;
    black += c == 0;
  }
  EXPECT_EQ(white, 100);
  EXPECT_EQ(white + black, place.rect.width());
}

}  // namespace
}  // namespace ochrel
