#include <cstdio>
#include <string>

#include "cli.h"
#include "frame/options.h"
#include "cmd_fills_common.h"
#include "fills/shadow.h"
#include "frame/settings.h"

namespace ochrel::cli {
namespace {

const char kUsage[] = "IN OUT [--set Field=value ...] [--paint C] [--fill C] [--paper C]";

const std::vector<fills::Field> kFields = {
    {"ShadowType", false, 0, 2},      {"ShadowColor", false, 0, 0xFFFFFF}, {"ShadowDirection", false, 0, 7},
    {"ShadowOpacity", false, 0, 255}, {"ShadowOffset", false, 0, 256},     {"ShadowSoft", false, 5, 100},
    {"ShadowActive", false, 0, 1},
};

int RunShadow(const Args& input) {
  static const Command self{"shadow", kUsage, "", nullptr};
  Args args = input;
  std::string paint, fill, paper;
  bool missing = false;
  const bool hasPaint = TakeOption(args, "--paint", &paint, &missing);
  const bool hasFill = TakeOption(args, "--fill", &fill, &missing);
  const bool hasPaper = TakeOption(args, "--paper", &paper, &missing);
  const auto sets = TakeRepeated(args, "--set", &missing);
  if (missing || args.size() != 2) return Usage(self);
  const std::string in = args[0], out = args[1];
  SHADOWCOLOURS colours;
  colours.PaintColour = static_cast<COLORREF>(DefaultPaintColour);
  colours.FillColour = static_cast<COLORREF>(DefaultFillColour);
  colours.PaperColour = static_cast<COLORREF>(DefaultPaperColour);
  if (hasPaint && !fills::ParseColourOption(paint, &colours.PaintColour))
    return Fail("--paint takes a colour from 0 to 16777215, not '" + paint + "'");
  if (hasFill && !fills::ParseColourOption(fill, &colours.FillColour))
    return Fail("--fill takes a colour from 0 to 16777215, not '" + fill + "'");
  if (hasPaper && !fills::ParseColourOption(paper, &colours.PaperColour))
    return Fail("--paper takes a colour from 0 to 16777215, not '" + paper + "'");
  // A new document's shadow settings.
  SHADOW s;
  s.ShadowType = ShadowType;
  s.ShadowColor = static_cast<COLORREF>(ShadowColor);
  s.ShadowDirection = ShadowDirection;
  s.ShadowOpacity = ShadowOpacity;
  s.ShadowOffset = ShadowOffset;
  s.ShadowSoft = ShadowSoft;
  s.ShadowActive = DefaultShadow;
  for (const auto& text : sets) {
    const fills::Field* field = nullptr;
    double value = 0;
    std::string error;
    if (!fills::ParseSet(kFields, text, &field, &value, &error)) return Fail(error);
    const std::string name = field->name;
    const int v = static_cast<int>(value);
    if (name == "ShadowType") s.ShadowType = v;
    else if (name == "ShadowColor") s.ShadowColor = static_cast<COLORREF>(v);
    else if (name == "ShadowDirection") s.ShadowDirection = v;
    else if (name == "ShadowOpacity") s.ShadowOpacity = v;
    else if (name == "ShadowOffset") s.ShadowOffset = v;
    else if (name == "ShadowSoft") s.ShadowSoft = v;
    else if (name == "ShadowActive") s.ShadowActive = v;
  }
  if (FindImageFormatOfFile(in.c_str()) < 0) return Fail(in + kNotAnImageFile);
  if (auto problem = fills::ImageNameProblem(out); !problem.empty()) return Fail(problem);
  HDIB mask = LoadImage(in.c_str());
  if (!mask) return Fail(in + ": " + FileErrorText(FILEERR_READ));
  const BITMAPINFOHEADER* h = LockDib(mask);
  if (!h || (h->biBitCount != 8 && h->biBitCount != 24))
    return Fail(in + ": a shadow mask must be an 8-bit grey (or 24-bit) image");
  int x = 0, y = 0;
  COLORREF colour = 0;
  if (!HandleShadowImage(&mask, &x, &y, &colour, &s, colours)) return Fail("Memory error");
  if (!WriteImage(out.c_str(), mask, SaveOptionsFromSettings())) return Fail(out + ": " + FileErrorText(FILEERR_WRITE));
  std::printf("x=%d y=%d colour=%u\n", x, y, static_cast<unsigned>(colour));
  return 0;
}

}  // namespace

OCHREL_CLI_COMMAND("shadow", kUsage, "turn a shape mask into a soft shadow mask; prints where it goes and its colour",
                   RunShadow);

}  // namespace ochrel::cli
