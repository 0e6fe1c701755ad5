// The image format layer: a table of formats, each with a reader that turns a
// file into a packed DIB and a writer that turns a DIB back into a file. A file is
// read by what its first bytes say it is (TGA, which has no signature, by its
// name); a file is written in the format its name asks for.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>
#include <string>

#include "files/codec.h"
#include "files/saveoptions.h"
#include "image/dib.h"

namespace ochrel {

// The file-error texts, string-table entries 0 to 15.
enum FileError : int {
  FILEERR_OK = 0,
  FILEERR_OPEN = 1,
  FILEERR_CORRUPT = 2,
  FILEERR_READ = 3,
  FILEERR_CANCELLED = 4,
  FILEERR_UNSUPPORTED_FUNCTION = 5,
  FILEERR_MEMORY = 6,
  FILEERR_INFORMATION = 7,
  FILEERR_UNSUPPORTED_FORMAT = 8,
  FILEERR_RENAME = 9,
  FILEERR_CREATE = 10,
  FILEERR_WRITE = 11,
  FILEERR_TOO_MANY_COLOURS = 12,
  FILEERR_UNSUITABLE = 13,
  FILEERR_RESOURCE = 14,
  FILEERR_LIBRARY = 15,
};
// The text of an entry, or "" outside 0..15.
const char* FileErrorText(int code);

// One row per format. A format is a pair of byte codecs (files/codec.h) and the
// names its files go by; reading and writing files is the same for every row
// (ReadImageFile, WriteImageFile), so a new format is one row here.
struct IMAGEPROC {
  const char* extension;     // the row's own extension, without its dot
  const char* const* names;  // every extension that names its files, the row's own first; null-terminated
  // Whether a file's first bytes (up to 128) are this format's; null for a
  // format without a signature, which takes the files no other row claims.
  bool (*sniff)(ByteSpan head);
  HDIB (*decode)(ByteSpan data, bool infoOnly);
  bool (*encode)(const BITMAPINFOHEADER* image, const SaveOptions& options, ByteSink& out);
};
extern const std::span<const IMAGEPROC> imageproc;

// The header and palette (infoOnly) or the complete DIB of a file, read with
// row `format`; null for a bad row or a file the row can't read.
HDIB ReadImageFile(int format, const char* path, bool infoOnly = false);
// Writes a file with row `format` through a temporary file that replaces the
// old one only on success. 1 on success, 0 otherwise.
int WriteImageFile(int format, const char* path, const HDIB& dib, const SaveOptions& options);

int GetImageTypeCount();
// The row whose extension is the path's (ignoring case), or -1. Besides the
// row's own extension, "jpeg", "jpe" and "jfif" name JPEG files.
int FindImageFormat(const char* path);
// Every extension that names a row's files, the row's own first; null after the
// last, and an empty list for a bad index.
const char* const* FormatExtensions(int index);
// The row whose signature begins the data, or -1 (TGA has none).
int SniffImageFormat(const std::uint8_t* data, std::size_t size);
// The row a file is read with: its signature decides; without one, a file
// with an image file name is taken for TGA. -1 when neither gives a row.
int FindImageFormatOfFile(const char* path);
// Copies a row's extension into text (at most size bytes with the terminator)
// and returns the number of formats, or -1 for a bad index.
int GetFormatExtension(char* text, int index, int size);
// Width, height, depth and palette (768 bytes) of a file; each may be null.
// The file's content picks the reader (FindImageFormatOfFile).
// 1 on success, 0 when the format is unknown or the file can't be read.
int GetImageInfo(const char* path, int* width, int* height, int* bits, BYTE* palette);
// The file as a DIB, read by its content, or null for an unknown format or a
// failed read.
HDIB LoadImage(const char* path);
// Loads into image (replacing it only on success); non-zero on success.
int LoadGraphicFile(HDIB& image, const char* path);

// Writes by the path's extension (1 on success, 0 for an unknown extension or
// a failed write). A JPEG path of 252 characters or more is written at the
// default quality, whatever the options say, as it always has been.
int WriteImage(const char* path, const HDIB& dib, const SaveOptions& options = {});

// What the user interface lends to a save: a wait cursor while it runs, the
// question when no backup could be made, and the status field's reset. The
// defaults do nothing and answer No, which leaves the old file alone.
struct FileHooks {
  std::function<void()> beginWait;
  std::function<void()> endWait;
  std::function<bool(const char* question)> askYesNo;
  std::function<void()> closeStatus;
  // Runs the write itself and returns its result; the user interface runs it
  // off its own thread. Absent: the write runs where the save was called.
  std::function<int(const std::function<int()>& write)> runWrite;
};
void SetFileHooks(FileHooks hooks);
// "dir/photo.jpg" -> "dir/photo.bak.jpg"; a name without extension gets ".bak".
std::string BackupFileName(const std::string& path);
// The question asked when the backup copy fails.
extern const char* const kBackupQuestion;
// Saves image to path: backup first when options.backups is set and the file
// exists, then the write. 1 on success, 0 otherwise (also when the user
// declines to save without a backup).
int WriteGraphicFile(const HDIB& image, const char* path, const SaveOptions& options);

}  // namespace ochrel
