#include "convert_options.h"

#include "frame/config.h"
#include "frame/options.h"
#include "image/convert.h"
#include "frame/settings.h"

namespace ochrel::cli {

namespace {

// "mono:101" -> 101 when the prefix matches and the id lies in [lowest, highest].
bool ParseOptionId(const std::string& text, const std::string& prefix, int lowest, int highest, int* id) {
  if (text.rfind(prefix, 0) != 0) return false;
  long long v = 0;
  if (!ParseInt(text.substr(prefix.size()), &v) || v < lowest || v > highest) return false;
  *id = static_cast<int>(v);
  return true;
}

bool ParseLevel(const std::string& name, const std::string& text, int* value, std::string* error) {
  long long v = 0;
  if (!ParseInt(text, &v) || v < 1 || v > 128) {
    *error = name + " takes a whole number from 1 to 128, not '" + text + "'";
    return false;
  }
  *value = static_cast<int>(v);
  return true;
}

}  // namespace

bool ApplyConvertOptions(Args& args, HDIB& image, std::string* error) {
  std::string to, brightnessText, contrastText;
  bool missingTo = false, missingB = false, missingC = false;
  const bool hasTo = TakeOption(args, "--to", &to, &missingTo);
  const bool hasB = TakeOption(args, "--brightness", &brightnessText, &missingB);
  const bool hasC = TakeOption(args, "--contrast", &contrastText, &missingC);
  if (missingTo || missingB || missingC) {
    *error = std::string(missingTo ? "--to" : missingB ? "--brightness" : "--contrast") + " needs a value";
    return false;
  }
  if (!hasTo) {
    if (hasB || hasC) {
      *error = "--brightness and --contrast go with --to";
      return false;
    }
    return true;
  }
  int brightness = 0, contrast = 0;
  if (hasB && !ParseLevel("--brightness", brightnessText, &brightness, error)) return false;
  if (hasC && !ParseLevel("--contrast", contrastText, &contrast, error)) return false;

  int id = 0;
  enum { kTrue, kGrey, kPaletted, kMono } kind;
  if (to == "true") kind = kTrue;
  else if (to == "grey") kind = kGrey;
  else if (ParseOptionId(to, "paletted:", 101, 109, &id)) kind = kPaletted;
  else if (ParseOptionId(to, "mono:", 101, 103, &id)) kind = kMono;
  else {
    *error = "--to takes true, grey, paletted:N (N from 101 to 109) or mono:N (N from 101 to 103), not '" + to + "'";
    return false;
  }

  // Only the error-diffused mono conversion reads the two levels; the stored
  // ones count unless given here.
  if (kind == kMono && id == IDC_MONO_DITHER && !(hasB && hasC)) LoadConfig();
  DitherOptions dither = DitherOptionsFromSettings();
  if (hasB) dither.brightness = brightness;
  if (hasC) dither.contrast = contrast;

  const int sourceBits = LockDib(image) ? LockDib(image)->biBitCount : 0;
  HDIB result;
  switch (kind) {
    case kTrue: result = ConvertToTrueColour(image); break;
    case kGrey: result = ConvertToGrey(image); break;
    case kPaletted: result = ConvertToPaletteStrategy(image, id); break;
    case kMono: result = ConvertToMonoStrategy(image, id, dither); break;
  }
  if (!result) {
    const bool dithered = (kind == kPaletted && (id == 101 || id == 102 || id == 105)) || (kind == kMono && id == 101);
    *error = sourceBits == 1 && dithered ? "--to " + to + ": a mono image can't be dithered"
                                         : "--to " + to + ": Memory error";
    return false;
  }
  image = std::move(result);
  return true;
}

}  // namespace ochrel::cli
