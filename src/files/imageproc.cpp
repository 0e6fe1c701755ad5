#include <strings.h>

#include <cstdio>
#include <cstring>
#include <filesystem>
#include <system_error>

#include "files/codec.h"
#include "files/imagefile.h"

namespace ochrel {

namespace {

const char* const kErrorTexts[16] = {
    "Ok",
    "Error opening file",
    "Corrupted file",
    "Error reading file",
    "Function cancelled",
    "Unsupported function",
    "Memory error",
    "Information error",
    "Unsupported format",
    "Error renaming file",
    "Error creating file",
    "Error writing file",
    "Too many colors",
    "Unsuitable image",
    "Resource error",
    "Library error",
};

FileHooks g_hooks;

// The extension of the file name part of a path, without its dot ("" if none).
const char* ExtensionOf(const char* path) {
  const char* slash = std::strrchr(path, '/');
  const char* name = slash ? slash + 1 : path;
  const char* dot = std::strrchr(name, '.');
  return dot ? dot + 1 : "";
}

}  // namespace

const char* FileErrorText(int code) { return code >= 0 && code < 16 ? kErrorTexts[code] : ""; }

// ---- The rows -------------------------------------------------------------------------
namespace {
// Cameras, browsers and phones write JPEG files under all of these names.
const char* const kJpgNames[] = {"jpg", "jpeg", "jpe", "jfif", nullptr};
const char* const kBmpNames[] = {"bmp", nullptr};
const char* const kPcxNames[] = {"pcx", nullptr};
const char* const kTgaNames[] = {"tga", nullptr};
const char* const kPngNames[] = {"png", nullptr};
const char* const kNoNames[] = {nullptr};

bool IsJpg(ByteSpan p) { return p.size() >= 3 && p[0] == 0xFF && p[1] == 0xD8 && p[2] == 0xFF; }
bool IsBmp(ByteSpan p) { return p.size() >= 2 && p[0] == 'B' && p[1] == 'M'; }
// PCX has only a weak mark, so more of its header must agree. A TGA header
// that looked like this would have to be a map type 0 with image type 0 or 1,
// neither of which is a readable TGA file.
bool IsPcx(ByteSpan p) {
  return p.size() >= 128 && p[0] == 0x0A && (p[1] == 0 || (p[1] >= 2 && p[1] <= 5)) && p[2] <= 1 &&
         (p[3] == 1 || p[3] == 2 || p[3] == 4 || p[3] == 8) && p[65] >= 1 && p[65] <= 4;
}
bool IsPng(ByteSpan p) {
  static const std::uint8_t kPng[8] = {0x89, 'P', 'N', 'G', 0x0D, 0x0A, 0x1A, 0x0A};
  return p.size() >= 8 && std::memcmp(p.data(), kPng, 8) == 0;
}

bool EncodeJpg(const BITMAPINFOHEADER* h, const SaveOptions& o, ByteSink& s) {
  return JpgEncode(h, o.jpegQuality < 1 ? 1 : (o.jpegQuality > 100 ? 100 : o.jpegQuality), s);
}
bool EncodeBmp(const BITMAPINFOHEADER* h, const SaveOptions&, ByteSink& s) { return BmpEncode(h, s); }
bool EncodePcx(const BITMAPINFOHEADER* h, const SaveOptions&, ByteSink& s) { return PcxEncode(h, s); }
bool EncodeTga(const BITMAPINFOHEADER* h, const SaveOptions&, ByteSink& s) { return TgaEncode(h, s); }
bool EncodePng(const BITMAPINFOHEADER* h, const SaveOptions&, ByteSink& s) { return PngEncode(h, s); }

const IMAGEPROC kRows[] = {
    {"jpg", kJpgNames, IsJpg, JpgDecode, EncodeJpg}, {"bmp", kBmpNames, IsBmp, BmpDecode, EncodeBmp},
    {"pcx", kPcxNames, IsPcx, PcxDecode, EncodePcx}, {"tga", kTgaNames, nullptr, TgaDecode, EncodeTga},
    {"png", kPngNames, IsPng, PngDecode, EncodePng},
};
}  // namespace

constinit const std::span<const IMAGEPROC> imageproc{kRows};

HDIB ReadImageFile(int format, const char* path, bool infoOnly) {
  if (format < 0 || format >= GetImageTypeCount() || !path) return nullptr;
  FileBytes file(path);
  if (!file.ok()) return nullptr;
  return imageproc[format].decode(file.span(), infoOnly);
}

int WriteImageFile(int format, const char* path, const HDIB& dib, const SaveOptions& options) {
  if (format < 0 || format >= GetImageTypeCount() || !path) return 0;
  const BITMAPINFOHEADER* h = LockDib(dib);
  if (!h) return 0;
  const IMAGEPROC& row = imageproc[format];
  return WriteFileAtomically(path, [&](ByteSink& sink) { return row.encode(h, options, sink); }) ? 1 : 0;
}

// ---- The layer -----------------------------------------------------------------------
int GetImageTypeCount() { return static_cast<int>(imageproc.size()); }

const char* const* FormatExtensions(int index) {
  return index >= 0 && index < GetImageTypeCount() ? imageproc[index].names : kNoNames;
}

int FindImageFormat(const char* path) {
  if (!path || !*path) return -1;
  const char* ext = ExtensionOf(path);
  for (int i = 0; i < GetImageTypeCount(); ++i)
    for (const char* const* e = FormatExtensions(i); *e; ++e)
      if (strcasecmp(ext, *e) == 0) return i;
  return -1;
}

int SniffImageFormat(const std::uint8_t* p, std::size_t n) {
  if (!p) return -1;
  for (int i = 0; i < GetImageTypeCount(); ++i)
    if (imageproc[i].sniff && imageproc[i].sniff(ByteSpan(p, n))) return i;
  return -1;
}

namespace {
// The row that takes an image file without a signature, or -1.
int UnsignedFormat() {
  for (int i = 0; i < GetImageTypeCount(); ++i)
    if (!imageproc[i].sniff) return i;
  return -1;
}
}  // namespace

int FindImageFormatOfFile(const char* path) {
  if (!path || !*path) return -1;
  int byName = FindImageFormat(path);
  std::uint8_t head[128];
  std::size_t got = 0;
  if (std::FILE* f = std::fopen(path, "rb")) {
    got = std::fread(head, 1, sizeof head, f);
    std::fclose(f);
  } else {
    return byName;  // the reader will say it can't be opened
  }
  int bySignature = SniffImageFormat(head, got);
  if (bySignature >= 0) return bySignature;
  return byName >= 0 ? UnsignedFormat() : -1;
}

int GetFormatExtension(char* text, int index, int size) {
  if (index < 0 || index >= GetImageTypeCount()) return -1;
  if (text && size > 0) {
    std::strncpy(text, imageproc[index].extension, static_cast<std::size_t>(size));
    text[size - 1] = '\0';
  }
  return GetImageTypeCount();
}

int GetImageInfo(const char* path, int* width, int* height, int* bits, BYTE* palette) {
  int row = FindImageFormatOfFile(path);
  if (row < 0) return 0;
  HDIB info = ReadImageFile(row, path, true);
  const BITMAPINFOHEADER* h = LockDib(info);
  if (!h) return 0;
  if (width) *width = h->biWidth;
  if (height) *height = h->biHeight;
  if (bits) *bits = h->biBitCount;
  if (palette) {
    std::memset(palette, 0, 768);
    if (h->biBitCount <= 8) GetDibPalette(h, palette);
  }
  return 1;
}

HDIB LoadImage(const char* path) {
  int row = FindImageFormatOfFile(path);
  if (row < 0) return nullptr;
  return ReadImageFile(row, path);
}

int LoadGraphicFile(HDIB& image, const char* path) {
  HDIB dib = LoadImage(path);
  if (!dib) return 0;
  image = std::move(dib);
  return 1;
}

int WriteImage(const char* path, const HDIB& dib, const SaveOptions& options) {
  int row = FindImageFormat(path);
  if (row < 0) return 0;
  // Long paths once left no room to pass the quality along, and so were
  // written at the default quality; the files stay the same.
  SaveOptions used = options;
  if (std::strlen(path) + 8 >= 260) used.jpegQuality = SaveOptions{}.jpegQuality;
  return WriteImageFile(row, path, dib, used);
}

void SetFileHooks(FileHooks hooks) { g_hooks = std::move(hooks); }

const char* const kBackupQuestion =
    "Warning: there has been an error creating a backup file for your image.\r\n\r\n"
    "Click on Yes to proceed, or No to abort this save.";

std::string BackupFileName(const std::string& path) {
  std::string::size_type slash = path.rfind('/');
  std::string::size_type nameStart = slash == std::string::npos ? 0 : slash + 1;
  std::string::size_type dot = path.rfind('.');
  if (dot == std::string::npos || dot < nameStart) return path + ".bak";
  return path.substr(0, dot) + ".bak" + path.substr(dot);
}

int WriteGraphicFile(const HDIB& image, const char* path, const SaveOptions& options) {
  if (!path || !*path) return 0;
  if (g_hooks.beginWait) g_hooks.beginWait();
  int result = 0;
  bool proceed = true;
  std::error_code ec;
  if (options.backups && std::filesystem::is_regular_file(path, ec)) {
    std::string backup = BackupFileName(path);
    std::filesystem::remove(backup, ec);
    ec.clear();
    bool copied = std::filesystem::copy_file(path, backup, std::filesystem::copy_options::overwrite_existing, ec);
    if (!copied || ec) proceed = g_hooks.askYesNo && g_hooks.askYesNo(kBackupQuestion);
  }
  if (proceed) {
    auto write = [&image, path, &options] { return WriteImage(path, image, options); };
    result = g_hooks.runWrite ? g_hooks.runWrite(write) : write();
  }
  if (g_hooks.endWait) g_hooks.endWait();
  if (g_hooks.closeStatus) g_hooks.closeStatus();
  return result;
}

}  // namespace ochrel
