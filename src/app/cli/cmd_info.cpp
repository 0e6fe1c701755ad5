// ochrel-cli info FILE...: what each file decodes to, from a full read.
#include <cstdio>

#include "cli.h"
#include "files/imagefile.h"

namespace ochrel::cli {
namespace {

const char* TypeName(int type) {
  switch (type) {
    case IMAGE_TRUECOLOUR: return "true colour";
    case IMAGE_GREY: return "grey";
    case IMAGE_PALETTED: return "paletted";
    case IMAGE_MONO: return "mono";
    default: return "none";
  }
}

int RunInfo(const Args& args);
const Command kInfo{"info", "FILE...", "decode image files and print their size, depth and kind", RunInfo};

int RunInfo(const Args& args) {
  if (args.empty()) return Usage(kInfo);
  int status = 0;
  for (const std::string& path : args) {
    int row = FindImageFormatOfFile(path.c_str());
    if (row < 0) {
      status = Fail(path + kNotAnImageFile);
      continue;
    }
    HDIB image = LoadImage(path.c_str());
    const BITMAPINFOHEADER* h = LockDib(image);
    if (!h) {
      status = Fail(path + ": " + FileErrorText(FILEERR_READ));
      continue;
    }
    std::printf("%s: %s %dx%d %d-bit %s\n", path.c_str(), imageproc[row].extension, h->biWidth, h->biHeight,
                h->biBitCount, TypeName(GetImageType(h)));
  }
  std::fflush(stdout);
  return status;
}

}  // namespace

OCHREL_CLI_COMMAND(kInfo);

}  // namespace ochrel::cli
