// ochrel-cli convert IN OUT [--quality N] [depth options]: read through the
// format layer, optionally change the colour depth, write by OUT's extension.
#include "cli.h"
#include "convert_options.h"
#include "files/imagefile.h"
#include "frame/options.h"
#include "frame/settings.h"

namespace ochrel::cli {
namespace {

int RunConvert(const Args& args);
const Command kConvert{"convert", "IN OUT [--quality N] [--to KIND] [--brightness N] [--contrast N]",
                       "convert an image file to the format of OUT's extension (JPEG quality 1-100)", RunConvert};

int RunConvert(const Args& given) {
  Args args = given;
  std::string qualityText;
  bool missing = false;
  long long quality = JPEGQualityFactor;
  if (TakeOption(args, "--quality", &qualityText, &missing) &&
      !(ParseInt(qualityText, &quality) && quality >= 1 && quality <= 100))
    return Fail("--quality takes a whole number from 1 to 100, not '" + qualityText + "'");
  if (missing) return Usage(kConvert);
  if (args.size() < 2 || args[0].rfind("--", 0) == 0 || args[1].rfind("--", 0) == 0) return Usage(kConvert);
  const std::string in = args[0], out = args[1];
  Args rest(args.begin() + 2, args.end());
  if (FindImageFormatOfFile(in.c_str()) < 0) return Fail(in + kNotAnImageFile);
  if (FindImageFormat(out.c_str()) < 0) return Fail(out + kNotAnImageName);
  HDIB image = LoadImage(in.c_str());
  if (!image) return Fail(in + ": " + FileErrorText(FILEERR_READ));
  std::string error;
  if (!ApplyConvertOptions(rest, image, &error)) return Fail(error);
  if (!rest.empty()) return Usage(kConvert);
  SaveOptions options = SaveOptionsFromSettings();
  options.jpegQuality = static_cast<int>(quality);
  if (!WriteImage(out.c_str(), image, options)) return Fail(out + ": " + FileErrorText(FILEERR_WRITE));
  return 0;
}

}  // namespace

OCHREL_CLI_COMMAND(kConvert);

}  // namespace ochrel::cli
