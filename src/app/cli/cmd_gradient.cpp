#include <string>

#include "cli.h"
#include "frame/options.h"
#include "cmd_fills_common.h"
#include "fills/gradient.h"
#include "frame/settings.h"

namespace ochrel::cli {
namespace {

const char kUsage[] = "OUT --size WxH [--grey] [--set Field=value ...]";

const std::vector<fills::Field> kFields = {
    {"GradientType", false, 0, 3}, {"StartColour", false, 0, 0xFFFFFF}, {"EndColour", false, 0, 0xFFFFFF},
    {"EdgePad", false, 0, 100},    {"CenterX", false, -50, 50},         {"CenterY", false, -50, 50},
    {"Midpoint", false, 0, 100},   {"Angle", false, -360, 360},
};

int RunGradient(const Args& input) {
  static const Command self{"gradient", kUsage, "", nullptr};
  Args args = input;
  std::string sizeText;
  bool missing = false;
  const bool hasSize = TakeOption(args, "--size", &sizeText, &missing);
  const bool grey = TakeFlag(args, "--grey");
  const auto sets = TakeRepeated(args, "--set", &missing);
  if (missing || args.size() != 1 || !hasSize) return Usage(self);
  const std::string out = args[0];
  int w = 0, h = 0;
  if (!fills::ParseSize(sizeText, &w, &h))
    return Fail("--size takes WxH with each side from 1 to 65535, not '" + sizeText + "'");
  if (auto problem = fills::ImageNameProblem(out); !problem.empty()) return Fail(problem);
  // A new document's gradient.
  GRADIENT g;
  g.GradientType = GradientType;
  g.StartColour = static_cast<COLORREF>(GradientStartColour);
  g.EndColour = static_cast<COLORREF>(GradientEndColour);
  g.EdgePad = GradientEdgePad;
  g.CenterX = GradientCenterX;
  g.CenterY = GradientCenterY;
  g.Midpoint = GradientMidpoint;
  g.Angle = GradientAngle;
  for (const auto& s : sets) {
    const fills::Field* field = nullptr;
    double value = 0;
    std::string error;
    if (!fills::ParseSet(kFields, s, &field, &value, &error)) return Fail(error);
    const std::string name = field->name;
    const int v = static_cast<int>(value);
    if (name == "GradientType") g.GradientType = v;
    else if (name == "StartColour") g.StartColour = static_cast<COLORREF>(v);
    else if (name == "EndColour") g.EndColour = static_cast<COLORREF>(v);
    else if (name == "EdgePad") g.EdgePad = v;
    else if (name == "CenterX") g.CenterX = v;
    else if (name == "CenterY") g.CenterY = v;
    else if (name == "Midpoint") g.Midpoint = v;
    else if (name == "Angle") g.Angle = v;
  }
  g.ImageType = grey ? 1 : 0;
  g.Rect = RECT{0, 0, w, h};
  HDIB dib = CreateGradient(&g);
  if (!dib) return Fail("Memory error");
  if (!WriteImage(out.c_str(), dib, SaveOptionsFromSettings())) return Fail(out + ": " + FileErrorText(FILEERR_WRITE));
  return 0;
}

}  // namespace

OCHREL_CLI_COMMAND("gradient", kUsage, "draw a gradient (8-bit grey with --grey, else true colour)", RunGradient);

}  // namespace ochrel::cli
