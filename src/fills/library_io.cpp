#include "fills/library_io.h"

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <system_error>
#include <unistd.h>

#include "files/imagefile.h"

namespace ochrel::fills {

namespace fs = std::filesystem;

bool MakeBackup(const std::string& path) {
  std::error_code ec;
  if (!fs::exists(path, ec)) return true;
  const std::string bak = path + ".bak";
  fs::remove(bak, ec);
  return fs::copy_file(path, bak, fs::copy_options::overwrite_existing, ec);
}

AtomicWriter::AtomicWriter(const std::string& path, const char* mode) : out_(path) {
  if (!out_.ok()) return;
  // stdio writes through a copy of the descriptor; the original makes the file.
  int copy = ::dup(out_.fd());
  if (copy < 0) return;
  file_.reset(::fdopen(copy, mode[0] == 'w' && mode[1] == 'b' ? "wb" : "w"));
  if (!file_) ::close(copy);
}

AtomicWriter::~AtomicWriter() = default;

bool AtomicWriter::Commit() {
  if (!file_) return false;
  bool ok = std::fflush(file_.get()) == 0 && !std::ferror(file_.get());
  ok = (std::fclose(file_.release()) == 0) && ok;
  return ok && out_.Commit();
}

HDIB ToTrueColour(const HDIB& image) {
  const BITMAPINFOHEADER* s = LockDib(image);
  if (!s || s->biWidth <= 0 || s->biHeight <= 0) return nullptr;
  BYTE palette[768];
  GetDefaultPalette(palette, nullptr, 8);
  HDIB out = CreateDib(s->biWidth, s->biHeight, palette, 24);
  BITMAPINFOHEADER* o = LockDib(out);
  if (!o) return nullptr;
  for (int y = 0; y < s->biHeight; ++y) {
    BYTE* p = DibRow(o, y);
    for (int x = 0; x < s->biWidth; ++x, p += 3) {
      std::uint32_t v = GetDibPixel(s, x, y);
      if (s->biBitCount <= 8) {
        const BYTE* e = DibPaletteEntries(s) + 4 * static_cast<std::size_t>(v);
        v = RGB(e[2], e[1], e[0]);
      }
      p[0] = static_cast<BYTE>(GetBValue(v));
      p[1] = static_cast<BYTE>(GetGValue(v));
      p[2] = static_cast<BYTE>(GetRValue(v));
    }
  }
  return out;
}

}  // namespace ochrel::fills
