// ochrel-cli filter IN OUT --filter NAME [--set Field=value ...] [--paper R,G,B] [--seed N]:
// runs one filter on a file. Unset fields take their defaults, not the stored
// settings, so that a run is reproducible.
#include <cstdio>
#include <string>

#include "cli.h"
#include "frame/options.h"
#include "files/imagefile.h"
#include "filters/filterparam.h"
#include "image/crand.h"

namespace ochrel::cli {
namespace {

int RunFilter(const Args& args);
const Command kFilter{"filter", "IN OUT --filter NAME [--set Field=value ...] [--paper R,G,B] [--seed N]",
                      "run one filter on an image (see 'filters' for names and fields)", RunFilter};

const char* kTypeNames[] = {"true colour", "grey", "paletted", "mono", "no"};

bool ParsePaper(const std::string& text, COLORREF* colour) {
  long long v[3];
  std::size_t start = 0;
  for (int i = 0; i < 3; ++i) {
    std::size_t comma = text.find(',', start);
    if ((i < 2) != (comma != std::string::npos)) return false;
    std::string part = text.substr(start, i < 2 ? comma - start : std::string::npos);
    if (!ParseInt(part, &v[i]) || v[i] < 0 || v[i] > 255) return false;
    start = comma + 1;
  }
  *colour = RGB(static_cast<int>(v[0]), static_cast<int>(v[1]), static_cast<int>(v[2]));
  return true;
}

int RunFilter(const Args& given) {
  Args args = given;
  bool missing = false;
  std::string name, paperText, seedText;
  bool haveName = TakeOption(args, "--filter", &name, &missing);
  std::vector<std::string> sets = TakeRepeated(args, "--set", &missing);
  bool havePaper = TakeOption(args, "--paper", &paperText, &missing);
  bool haveSeed = TakeOption(args, "--seed", &seedText, &missing);
  if (missing || !haveName || args.size() != 2 || args[0].rfind("--", 0) == 0 || args[1].rfind("--", 0) == 0)
    return Usage(kFilter);
  const std::string in = args[0], out = args[1];

  int filter = FindFilterType(name.c_str());
  if (filter < 0) return Fail("no filter named '" + name + "' (see 'ochrel-cli filters')");
  FILTERPARAM param;
  RestoreFilterDefaults(&param);
  for (const std::string& s : sets) {
    std::size_t eq = s.find('=');
    if (eq == std::string::npos) return Fail("--set takes Field=value, not '" + s + "'");
    std::string field = s.substr(0, eq), valueText = s.substr(eq + 1);
    const FilterSetting* setting = FindFilterSetting(field.c_str());
    if (!setting) return Fail("no filter setting named '" + field + "' (see 'ochrel-cli filters')");
    long long value = 0;
    if (!ParseInt(valueText, &value) || value < setting->minimum || value > setting->maximum)
      return Fail(field + " takes a whole number from " + std::to_string(setting->minimum) + " to " +
                  std::to_string(setting->maximum) + ", not '" + valueText + "'");
    param.*(setting->field) = static_cast<int>(value);
  }
  if (havePaper && !ParsePaper(paperText, &param.PaperColour))
    return Fail("--paper takes R,G,B with each from 0 to 255, not '" + paperText + "'");
  long long seed = 0;
  if (haveSeed && !(ParseInt(seedText, &seed) && seed >= 0 && seed <= 0xFFFFFFFFLL))
    return Fail("--seed takes a whole number from 0 to 4294967295, not '" + seedText + "'");

  if (FindImageFormatOfFile(in.c_str()) < 0) return Fail(in + kNotAnImageFile);
  if (FindImageFormat(out.c_str()) < 0) return Fail(out + kNotAnImageName);
  HDIB image = LoadImage(in.c_str());
  if (!image) return Fail(in + ": " + FileErrorText(FILEERR_READ));
  param.ImageType = GetImageType(image);
  if (!FilterIsValidFilter(param.ImageType, 0, 0, filter))
    return Fail(std::string("\"") + filtertype[filter].name + "\" does not work on " +
                kTypeNames[param.ImageType < 0 || param.ImageType > 4 ? 4 : param.ImageType] + " images");
  BYTE palette[768];
  int bits = 0;
  GetBitmapDimensions(image, &param.BeforeWidth, &param.BeforeDepth, &bits, palette);
  // On a paletted or mono image the paper is the palette entry nearest to it.
  if (param.ImageType == IMAGE_PALETTED || param.ImageType == IMAGE_MONO)
    param.PaperColour = static_cast<COLORREF>(FindPaletteColour(
        GetRValue(param.PaperColour), GetGValue(param.PaperColour), GetBValue(param.PaperColour), palette, 1 << bits));
  param.BeforeImage = &image;
  if (haveSeed) srand(static_cast<unsigned>(seed));
  HDIB result = filtertype[filter].function(image, &param);
  if (!result) return Fail("Memory error");
  if (!WriteImage(out.c_str(), result, SaveOptionsFromSettings()))
    return Fail(out + ": " + FileErrorText(FILEERR_WRITE));
  return 0;
}

}  // namespace

OCHREL_CLI_COMMAND(kFilter);

}  // namespace ochrel::cli
