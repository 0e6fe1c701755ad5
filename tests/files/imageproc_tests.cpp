// The format layer: the extension table, loading and saving by path, the JPEG
// quality, backups and the safe replacement of a file.
#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>

#include "file_test_util.h"
#include "files/imagefile.h"
#include "test_images.h"

namespace ochrel {
namespace {

namespace fs = std::filesystem;
using test::ReadBytes;
using test::ScratchDir;

// The options the saves of a test use; the hooks are put back afterwards.
struct SettingsGuard {
  SaveOptions options;
  ~SettingsGuard() { SetFileHooks({}); }
};

std::vector<std::string> Listing(const ScratchDir& dir) {
  std::vector<std::string> names;
  for (const auto& e : fs::directory_iterator(dir.path)) names.push_back(e.path().filename().string());
  std::sort(names.begin(), names.end());
  return names;
}

TEST(ImageProc, TableAndExtensionRules) {
  EXPECT_EQ(GetImageTypeCount(), 5);
  EXPECT_EQ(imageproc.size(), 5u);
  const char* order[] = {"jpg", "bmp", "pcx", "tga", "png"};
  char text[8];
  for (int i = 0; i < 5; ++i) {
    EXPECT_STREQ(imageproc[i].extension, order[i]);
    EXPECT_EQ(GetFormatExtension(text, i, sizeof text), 5);
    EXPECT_STREQ(text, order[i]);
  }
  EXPECT_EQ(GetFormatExtension(text, 5, sizeof text), -1);
  EXPECT_EQ(GetFormatExtension(text, -1, sizeof text), -1);
  struct {
    const char* path;
    int format;
  } names[] = {{"a/photo.JPG", 0},
               {"photo.Jpg", 0},
               {"p.jpeg", 0},
               {"p.Jpe", 0},
               {"p.JFIF", 0},
               {"x.BMP", 1},
               {"x.pcx", 2},
               {"x.Tga", 3},
               {"x.png", 4},
               {"photo.jpeg2", -1},
               {"png", -1},
               {"x.png.gz", -1},
               {"folder.png/picture", -1},
               {"", -1}};
  for (auto n : names) EXPECT_EQ(FindImageFormat(n.path), n.format) << n.path;
  EXPECT_EQ(FindImageFormat(nullptr), -1);
  EXPECT_STREQ(FormatExtensions(0)[0], "jpg");
  EXPECT_EQ(FormatExtensions(5)[0], nullptr);
  for (auto [code, text] : {std::pair{3, "Error reading file"},
                            {6, "Memory error"},
                            {11, "Error writing file"},
                            {12, "Too many colors"},
                            {16, ""}})
    EXPECT_STREQ(FileErrorText(code), text) << code;
}

TEST(ImageProc, EveryFormatSavesLoadsInformsAndSurvivesFailedWrites) {
  ScratchDir dir;
  SettingsGuard guard;
  guard.options.backups = 0;
  HDIB src = test::RandomDib(23, 11, 8, 4);
  HDIB deep = CreateDib(23, 11, nullptr, 32);  // no writer stores 32 bits
  for (const char* ext : {"bmp", "pcx", "tga", "png", "JPG"}) {
    std::string path = dir / (std::string("pic.") + ext);
    ASSERT_EQ(WriteGraphicFile(src, path.c_str(), guard.options), 1) << ext;
    int w = 0, h = 0, bits = 0;
    BYTE pal[768];
    ASSERT_EQ(GetImageInfo(path.c_str(), &w, &h, &bits, pal), 1) << ext;
    EXPECT_EQ(w, 23);
    EXPECT_EQ(h, 11);
    EXPECT_EQ(bits, std::strcmp(ext, "JPG") == 0 ? 24 : 8) << ext;
    EXPECT_EQ(GetImageInfo(path.c_str(), nullptr, nullptr, nullptr, nullptr), 1);
    HDIB image;
    ASSERT_EQ(LoadGraphicFile(image, path.c_str()), 1) << ext;
    if (std::strcmp(ext, "JPG") != 0) {
      EXPECT_EQ(test::Colours(image), test::Colours(src)) << ext;
      BYTE srcPal[768];
      GetDibPalette(LockDib(src), srcPal);
      EXPECT_EQ(std::memcmp(pal, srcPal, 768), 0) << ext;
    }
    // Failed writes never damage the old file.
    const auto before = ReadBytes(path);
    EXPECT_EQ(WriteGraphicFile(deep, path.c_str(), guard.options), 0) << ext;
    EXPECT_EQ(WriteImage(path.c_str(), HDIB{}), 0) << ext;
    EXPECT_EQ(ReadBytes(path), before) << ext;
  }
  EXPECT_EQ(WriteImage((dir / "x.gif").c_str(), src), 0);
  EXPECT_EQ(WriteImage((dir / "no/such/folder/x.bmp").c_str(), src), 0);
  EXPECT_EQ(WriteGraphicFile(src, "", guard.options), 0);
  EXPECT_EQ(Listing(dir).size(), 5u);  // no temporary file left behind
}

TEST(ImageProc, FilesOpenByContentWhateverTheirName) {
  ScratchDir dir;
  HDIB src = test::RandomDib(9, 7, 8, 3);
  const char* kinds[] = {"jpg", "bmp", "pcx", "tga", "png"};
  for (int row = 0; row < 5; ++row) {
    std::string real = dir / (std::string("real.") + kinds[row]);
    ASSERT_EQ(WriteImage(real.c_str(), src), 1) << kinds[row];
    for (const char* name : {"x.jpg", "x.JPEG", "x.jfif", "x.bmp", "x.pcx", "x.tga", "x.Png", "x.dat", "noname"}) {
      std::string liar = dir / name;
      fs::copy_file(real, liar, fs::copy_options::overwrite_existing);
      // TGA has no signature: only an image file name lets it through.
      const bool readable = row != 3 || FindImageFormat(name) >= 0;
      EXPECT_EQ(FindImageFormatOfFile(liar.c_str()), readable ? row : -1) << kinds[row] << " as " << name;
      HDIB back = LoadImage(liar.c_str());
      EXPECT_EQ(static_cast<bool>(back), readable) << kinds[row] << " as " << name;
      if (back && row != 0) {
        EXPECT_EQ(test::Colours(back), test::Colours(src)) << kinds[row] << " as " << name;
      }
      int w = 0;
      EXPECT_EQ(GetImageInfo(liar.c_str(), &w, nullptr, nullptr, nullptr), readable ? 1 : 0);
    }
  }
  // Saving still goes by the name: a .jpeg name makes a JPEG file at the set quality.
  SettingsGuard guard;
  guard.options.jpegQuality = 5;
  std::string jpeg = dir / "out.JPE";
  ASSERT_EQ(WriteImage(jpeg.c_str(), src, guard.options), 1);
  EXPECT_EQ(SniffImageFormat(ReadBytes(jpeg).data(), ReadBytes(jpeg).size()), 0);
}

TEST(ImageProc, FailedLoadsLeaveTheImageAlone) {
  ScratchDir dir;
  HDIB src = test::RandomDib(8, 8, 24, 1);
  std::string bmp = dir / "real.bmp";
  ASSERT_EQ(WriteImage(bmp.c_str(), src), 1);
  // A damaged signature leaves only the TGA reader, which refuses the rest.
  std::vector<std::uint8_t> bytes = ReadBytes(bmp);
  bytes[0] = 'X';
  std::string disguised = dir / "disguised.png";
  test::WriteBytes(disguised, bytes);
  EXPECT_FALSE(LoadImage(disguised.c_str()));
  EXPECT_EQ(GetImageInfo(disguised.c_str(), nullptr, nullptr, nullptr, nullptr), 0);
  EXPECT_FALSE(LoadImage((dir / "missing.bmp").c_str()));
  EXPECT_FALSE(LoadImage(dir.path.c_str()));
  EXPECT_FALSE(LoadImage(""));
  EXPECT_FALSE(LoadImage(nullptr));
  HDIB keep = test::RandomDib(3, 3, 8, 2);
  BITMAPINFOHEADER* before = LockDib(keep);
  EXPECT_EQ(LoadGraphicFile(keep, disguised.c_str()), 0);
  EXPECT_EQ(LockDib(keep), before);
  EXPECT_EQ(LoadGraphicFile(keep, bmp.c_str()), 1);
  EXPECT_EQ(LockDib(keep)->biWidth, 8);
}

TEST(ImageProc, JpegQualityHoldsOnShortPathsOnly) {
  SettingsGuard guard;
  guard.options.jpegQuality = 5;
  // On disk: a 252-character path is written at the writer's own quality (75),
  // a 251-character one at the setting.
  ScratchDir dir;
  HDIB pic = test::RandomDib(32, 32, 24, 8);
  auto pathOfLength = [&](std::size_t length) {
    std::string base = dir.path.string() + "/";
    std::string sub = base + std::string(100, 'd');
    fs::create_directories(sub);
    std::string name = sub + "/" + std::string(length - sub.size() - 1 - 4, 'n') + ".JPG";
    return name;
  };
  std::string longPath = pathOfLength(252), shortPath = pathOfLength(251);
  ASSERT_EQ(longPath.size(), 252u);
  ASSERT_EQ(WriteImage(longPath.c_str(), pic, guard.options), 1);
  ASSERT_EQ(WriteImage(shortPath.c_str(), pic, guard.options), 1);
  VectorSink q75, q5;
  ASSERT_TRUE(JpgEncode(LockDib(pic), 75, q75));
  ASSERT_TRUE(JpgEncode(LockDib(pic), 5, q5));
  EXPECT_EQ(ReadBytes(longPath), test::Bytes(q75));
  EXPECT_EQ(ReadBytes(shortPath), test::Bytes(q5));
  // The writer strips the suffix: no file named with it appears.
  EXPECT_FALSE(fs::exists(shortPath + "/Q:5"));
}

TEST(ImageProc, BackupRules) {
  ScratchDir dir;
  SettingsGuard guard;
  HDIB first = test::RandomDib(5, 5, 24, 1), second = test::RandomDib(5, 5, 24, 2),
       third = test::RandomDib(5, 5, 24, 3);
  std::string path = dir / "photo.bmp";
  EXPECT_EQ(BackupFileName(path), dir / "photo.bak.bmp");
  EXPECT_EQ(BackupFileName("a.b/name"), "a.b/name.bak");
  EXPECT_EQ(BackupFileName("x.tar.png"), "x.tar.bak.png");

  guard.options.backups = 1;
  ASSERT_EQ(WriteGraphicFile(first, path.c_str(), guard.options), 1);
  EXPECT_EQ(Listing(dir), std::vector<std::string>{"photo.bmp"});  // a first save makes none
  auto firstBytes = ReadBytes(path);
  ASSERT_EQ(WriteGraphicFile(second, path.c_str(), guard.options), 1);
  EXPECT_EQ(ReadBytes(dir / "photo.bak.bmp"), firstBytes);
  auto secondBytes = ReadBytes(path);
  ASSERT_EQ(WriteGraphicFile(third, path.c_str(), guard.options), 1);
  EXPECT_EQ(ReadBytes(dir / "photo.bak.bmp"), secondBytes);  // replaced, not kept
  EXPECT_EQ(Listing(dir), (std::vector<std::string>{"photo.bak.bmp", "photo.bmp"}));

  guard.options.backups = 0;
  std::string other = dir / "other.png";
  ASSERT_EQ(WriteGraphicFile(first, other.c_str(), guard.options), 1);
  ASSERT_EQ(WriteGraphicFile(second, other.c_str(), guard.options), 1);
  ASSERT_EQ(WriteGraphicFile(third, path.c_str(), guard.options), 1);
  EXPECT_EQ(ReadBytes(dir / "photo.bak.bmp"), secondBytes);  // untouched
  EXPECT_EQ(Listing(dir), (std::vector<std::string>{"other.png", "photo.bak.bmp", "photo.bmp"}));
}

TEST(ImageProc, FailedBackupAsksAndNoKeepsTheOldFile) {
  ScratchDir dir;
  SettingsGuard guard;
  guard.options.backups = 1;
  HDIB first = test::RandomDib(6, 6, 8, 1), second = test::RandomDib(6, 6, 8, 2);
  std::string path = dir / "pic.pcx";
  ASSERT_EQ(WriteGraphicFile(first, path.c_str(), guard.options), 1);
  auto old = ReadBytes(path);
  // A folder with content where the backup should go: it can't be replaced.
  fs::create_directories(dir / "pic.bak.pcx/inner");
  int asked = 0, waits = 0, closes = 0;
  std::string question;
  FileHooks hooks;
  hooks.beginWait = [&] { ++waits; };
  hooks.endWait = [&] { --waits; };
  hooks.closeStatus = [&] { ++closes; };
  hooks.askYesNo = [&](const char* q) {
    ++asked;
    question = q;
    return false;
  };
  SetFileHooks(hooks);
  EXPECT_EQ(WriteGraphicFile(second, path.c_str(), guard.options), 0);
  EXPECT_EQ(asked, 1);
  EXPECT_EQ(question, kBackupQuestion);
  EXPECT_EQ(question.substr(0, 73), "Warning: there has been an error creating a backup file for your image.\r\n");
  EXPECT_EQ(ReadBytes(path), old);
  EXPECT_EQ(waits, 0);
  EXPECT_EQ(closes, 1);
  hooks.askYesNo = [&](const char*) { return ++asked, true; };
  SetFileHooks(hooks);
  EXPECT_EQ(WriteGraphicFile(second, path.c_str(), guard.options), 1);
  EXPECT_EQ(asked, 2);
  EXPECT_NE(ReadBytes(path), old);
  // Without hooks the answer is No.
  SetFileHooks({});
  EXPECT_EQ(WriteGraphicFile(first, path.c_str(), guard.options), 0);
}

}  // namespace
}  // namespace ochrel
