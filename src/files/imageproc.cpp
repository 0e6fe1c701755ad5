#include <strings.h>

#include <cstdio>
#include <cstring>
#include <filesystem>
#include <system_error>

#include "files/codec.h"
#include "files/imagefile.h"
#include "image/settings.h"

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

HDIB DecodePath(const char* path, HDIB (*decode)(ByteSpan, bool), bool infoOnly) {
  FileBytes file(path);
  if (!file.ok()) return nullptr;
  return decode(file.span(), infoOnly);
}

template <typename Encode>
std::uint16_t EncodePath(const std::string& path, const HDIB& dib, Encode encode) {
  const BITMAPINFOHEADER* h = LockDib(dib);
  if (!h) return 0;
  return WriteFileAtomically(path, [&](ByteSink& sink) { return encode(h, sink); }) ? 1 : 0;
}

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

// ---- Path wrappers of the codecs ----------------------------------------------------
HDIB BMPGetFileInformation(const char* path) { return DecodePath(path, BmpDecode, true); }
HDIB BMPReadGraphicFile(const char* path) { return DecodePath(path, BmpDecode, false); }
std::uint16_t BMPWriteGraphicFile(const char* path, const HDIB& dib) {
  return path ? EncodePath(path, dib, [](const BITMAPINFOHEADER* h, ByteSink& s) { return BmpEncode(h, s); }) : 0;
}
HDIB PCXGetFileInformation(const char* path) { return DecodePath(path, PcxDecode, true); }
HDIB PCXReadGraphicFile(const char* path) { return DecodePath(path, PcxDecode, false); }
std::uint16_t PCXWriteGraphicFile(const char* path, const HDIB& dib) {
  return path ? EncodePath(path, dib, [](const BITMAPINFOHEADER* h, ByteSink& s) { return PcxEncode(h, s); }) : 0;
}
HDIB TGAGetFileInformation(const char* path) { return DecodePath(path, TgaDecode, true); }
HDIB TGAReadGraphicFile(const char* path) { return DecodePath(path, TgaDecode, false); }
std::uint16_t TGAWriteGraphicFile(const char* path, const HDIB& dib) {
  return path ? EncodePath(path, dib, [](const BITMAPINFOHEADER* h, ByteSink& s) { return TgaEncode(h, s); }) : 0;
}
HDIB PNGGetFileInformation(const char* path) { return DecodePath(path, PngDecode, true); }
HDIB PNGReadGraphicFile(const char* path) { return DecodePath(path, PngDecode, false); }
std::uint16_t PNGWriteGraphicFile(const char* path, const HDIB& dib) {
  return path ? EncodePath(path, dib, [](const BITMAPINFOHEADER* h, ByteSink& s) { return PngEncode(h, s); }) : 0;
}
HDIB JPGGetFileInformation(const char* path) { return DecodePath(path, JpgDecode, true); }
HDIB JPGReadGraphicFile(const char* path) { return DecodePath(path, JpgDecode, false); }
std::uint16_t JPGWriteGraphicFile(const char* path, const HDIB& dib) {
  if (!path) return 0;
  std::string target(path);
  int quality = 75;
  // A trailing "/Q:n" is the quality, not part of the name.
  std::string::size_type q = target.rfind("/Q:");
  if (q != std::string::npos && q + 3 < target.size() &&
      target.find_first_not_of("0123456789", q + 3) == std::string::npos && target.size() - q - 3 <= 6) {
    quality = std::stoi(target.substr(q + 3));
    target.resize(q);
  }
  quality = quality < 1 ? 1 : (quality > 100 ? 100 : quality);
  return EncodePath(target, dib,
                    [quality](const BITMAPINFOHEADER* h, ByteSink& s) { return JpgEncode(h, quality, s); });
}

const IMAGEPROC imageproc[5] = {
    {"jpg", JPGGetFileInformation, JPGReadGraphicFile, JPGWriteGraphicFile},
    {"bmp", BMPGetFileInformation, BMPReadGraphicFile, BMPWriteGraphicFile},
    {"pcx", PCXGetFileInformation, PCXReadGraphicFile, PCXWriteGraphicFile},
    {"tga", TGAGetFileInformation, TGAReadGraphicFile, TGAWriteGraphicFile},
    {"png", PNGGetFileInformation, PNGReadGraphicFile, PNGWriteGraphicFile},
};

// ---- The layer -----------------------------------------------------------------------
int GetImageTypeCount() { return 5; }

namespace {
// Cameras, browsers and phones write JPEG files under all of these names.
const char* const kJpgNames[] = {"jpg", "jpeg", "jpe", "jfif", nullptr};
const char* const kBmpNames[] = {"bmp", nullptr};
const char* const kPcxNames[] = {"pcx", nullptr};
const char* const kTgaNames[] = {"tga", nullptr};
const char* const kPngNames[] = {"png", nullptr};
const char* const* const kFormatNames[5] = {kJpgNames, kBmpNames, kPcxNames, kTgaNames, kPngNames};
const char* const kNoNames[] = {nullptr};
}  // namespace

const char* const* FormatExtensions(int index) {
  return index >= 0 && index < GetImageTypeCount() ? kFormatNames[index] : kNoNames;
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
  static const std::uint8_t kPng[8] = {0x89, 'P', 'N', 'G', 0x0D, 0x0A, 0x1A, 0x0A};
  if (n >= 8 && std::memcmp(p, kPng, 8) == 0) return 4;
  if (n >= 3 && p[0] == 0xFF && p[1] == 0xD8 && p[2] == 0xFF) return 0;
  if (n >= 2 && p[0] == 'B' && p[1] == 'M') return 1;
  // PCX has only a weak mark, so more of its header must agree. A TGA header
  // that looked like this would have to be a map type 0 with image type 0 or 1,
  // neither of which is a readable TGA file.
  if (n >= 128 && p[0] == 0x0A && (p[1] == 0 || (p[1] >= 2 && p[1] <= 5)) && p[2] <= 1 &&
      (p[3] == 1 || p[3] == 2 || p[3] == 4 || p[3] == 8) && p[65] >= 1 && p[65] <= 4)
    return 2;
  return -1;
}

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
  return byName >= 0 ? 3 : -1;
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
  HDIB info = imageproc[row].information(path);
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
  return imageproc[row].read(path);
}

int LoadGraphicFile(HDIB& image, const char* path) {
  HDIB dib = LoadImage(path);
  if (!dib) return 0;
  image = std::move(dib);
  return 1;
}

std::string WriteImagePath(const char* path, int format) {
  std::string out = path ? path : "";
  if (format == 0 && FindImageFormat(out.c_str()) == 0 && out.size() + 8 < 260) {
    char suffix[32];
    std::snprintf(suffix, sizeof suffix, "/Q:%u", static_cast<unsigned>(JPEGQualityFactor));
    out += suffix;
  }
  return out;
}

int WriteImage(const char* path, const HDIB& dib) {
  int row = FindImageFormat(path);
  if (row < 0) return 0;
  std::string target = WriteImagePath(path, row);
  return (imageproc[row].write(target.c_str(), dib) & 0xFFFF) ? 1 : 0;
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

int WriteGraphicFile(const HDIB& image, const char* path) {
  if (!path || !*path) return 0;
  if (g_hooks.beginWait) g_hooks.beginWait();
  int result = 0;
  bool proceed = true;
  std::error_code ec;
  if (CreateBackups && std::filesystem::is_regular_file(path, ec)) {
    std::string backup = BackupFileName(path);
    std::filesystem::remove(backup, ec);
    ec.clear();
    bool copied = std::filesystem::copy_file(path, backup, std::filesystem::copy_options::overwrite_existing, ec);
    if (!copied || ec) proceed = g_hooks.askYesNo && g_hooks.askYesNo(kBackupQuestion);
  }
  if (proceed) {
    auto write = [&image, path] { return WriteImage(path, image); };
    result = g_hooks.runWrite ? g_hooks.runWrite(write) : write();
  }
  if (g_hooks.endWait) g_hooks.endWait();
  if (g_hooks.closeStatus) g_hooks.closeStatus();
  return result;
}

}  // namespace ochrel
