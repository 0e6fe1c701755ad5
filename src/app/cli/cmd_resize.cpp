// ochrel-cli resize IN OUT PERCENT: both axes by a whole percentage, the way
// the program resizes (interpolating true colour and grey, nearest sample for
// paletted and mono images, which keep their palette).
#include <climits>

#include "cli.h"
#include "frame/options.h"
#include "files/codec.h"
#include "files/imagefile.h"
#include "image/resample.h"

namespace ochrel::cli {
namespace {

int RunResize(const Args& args);
const Command kResize{"resize", "IN OUT PERCENT", "resize an image by a whole percentage (100 keeps it)", RunResize};

int RunResize(const Args& args) {
  if (args.size() != 3) return Usage(kResize);
  const std::string &in = args[0], &out = args[1];
  long long percentage = 0;
  if (!ParseInt(args[2], &percentage) || percentage < 1 || percentage > INT_MAX)
    return Fail("PERCENT takes a whole number above 0, not '" + args[2] + "'");
  if (FindImageFormatOfFile(in.c_str()) < 0) return Fail(in + kNotAnImageFile);
  if (FindImageFormat(out.c_str()) < 0) return Fail(out + kNotAnImageName);
  HDIB image = LoadImage(in.c_str());
  if (!image) return Fail(in + ": " + FileErrorText(FILEERR_READ));
  int width = 0, height = 0;
  GetBitmapDimensions(image, &width, &height, nullptr, nullptr);
  long long nw = static_cast<long long>(width) * percentage / 100,
            nh = static_cast<long long>(height) * percentage / 100;
  if (nw < 1 || nh < 1)
    return Fail("resizing " + std::to_string(width) + "x" + std::to_string(height) + " by " + args[2] +
                "% leaves no pixels");
  // Refused up front: a huge target would otherwise fill memory for a long time before failing.
  if (!ImageSizeAllowed(nw, nh))
    return Fail("resizing " + std::to_string(width) + "x" + std::to_string(height) + " by " + args[2] + "% gives " +
                std::to_string(nw) + "x" + std::to_string(nh) + ", more pixels than an image may have");
  HDIB result = ResizeDib(image, static_cast<int>(percentage));
  if (!result) return Fail("resizing to " + std::to_string(nw) + "x" + std::to_string(nh) + ": Memory error");
  if (!WriteImage(out.c_str(), result, SaveOptionsFromSettings()))
    return Fail(out + ": " + FileErrorText(FILEERR_WRITE));
  return 0;
}

}  // namespace

OCHREL_CLI_COMMAND(kResize);

}  // namespace ochrel::cli
