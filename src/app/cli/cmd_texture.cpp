#include <cstdio>
#include <string>

#include "cli.h"
#include "frame/options.h"
#include "cmd_fills_common.h"
#include "fills/texture.h"
#include "fills/texture_file.h"

namespace ochrel::cli {
namespace {

const char kUsage[] = "OUT --size WxH [--library FILE --item NAME] [--set Key=value ...]";

// The library keys with the ranges a user may give them.
const std::vector<fills::Field>& TextureFields() {
  static const std::vector<fills::Field> fields = [] {
    std::vector<fills::Field> f = {
        {"TextureType", false, 0, 5},       {"MatrixSize", false, 2, 4096}, {"BackColour", false, 0, 0xFFFFFF},
        {"CreaterCount", false, 0, 100000}, {"CreaterDepth", true, 0, 4},   {"BubbleCount", false, 0, 1024},
        {"BubbleSize", false, 1, 1024},     {"BubblePower", true, 0, 1},    {"BubbleShape", false, 0, 3},
        {"PerturbationPower", true, 0, 8},
    };
    static const char* fore[] = {"ForeColour1", "ForeColour2", "ForeColour3", "ForeColour4", "ForeColour5"};
    static const char* power[] = {"Power1", "Power2", "Power3", "Power4", "Power5"};
    static const char* seed[] = {"SeedValue1", "SeedValue2", "SeedValue3", "SeedValue4", "SeedValue5"};
    static const char* dim[] = {"Dimension1", "Dimension2", "Dimension3", "Dimension4", "Dimension5"};
    for (int k = 0; k < 5; ++k) {
      f.push_back({fore[k], false, 0, 0xFFFFFF});
      f.push_back({power[k], true, 0, 4});
      f.push_back({seed[k], false, 0, 4294967295.0});
      f.push_back({dim[k], true, 1, 20});
    }
    static const char* curves[] = {"ColorRed0",   "ColorRed1",   "ColorRed2",   "ColorRed3",
                                   "ColorGreen0", "ColorGreen1", "ColorGreen2", "ColorGreen3",
                                   "ColorBlue0",  "ColorBlue1",  "ColorBlue2",  "ColorBlue3"};
    for (const char* c : curves) f.push_back({c, true, 0, 1});
    return f;
  }();
  return fields;
}

int RunTexture(const Args& input) {
  static const Command self{"texture", kUsage, "", nullptr};
  Args args = input;
  std::string sizeText, library, item;
  bool missing = false;
  const bool hasSize = TakeOption(args, "--size", &sizeText, &missing);
  const bool hasLibrary = TakeOption(args, "--library", &library, &missing);
  const bool hasItem = TakeOption(args, "--item", &item, &missing);
  const auto sets = TakeRepeated(args, "--set", &missing);
  if (missing || args.size() != 1 || !hasSize || hasLibrary != hasItem) return Usage(self);
  const std::string out = args[0];
  int w = 0, h = 0;
  if (!fills::ParseSize(sizeText, &w, &h))
    return Fail("--size takes WxH with each side from 1 to 65535, not '" + sizeText + "'");
  if (auto problem = fills::ImageNameProblem(out); !problem.empty()) return Fail(problem);

  TEXTURE texture;
  CreateDefaultTexture(&texture);
  if (hasLibrary) {
    TextureList list;
    int writeable = 0;
    if (!LoadTextureFile(library, &list, &writeable))
      return Fail(library + ": There has been an error importing the selected texture file. The file may be damaged.");
    const TextureItem* found = nullptr;
    for (const auto& entry : list)
      if (entry.name == item) {
        found = &entry;
        break;
      }
    if (!found) return Fail(library + ": no texture named '" + item + "' (see 'ochrel-cli textures')");
    texture = found->texture;
  }
  for (const auto& s : sets) {
    const fills::Field* field = nullptr;
    double value = 0;
    std::string error;
    if (!fills::ParseSet(TextureFields(), s, &field, &value, &error)) return Fail(error);
    char text[64];
    if (field->isFloat) std::snprintf(text, sizeof text, "%.9g", value);
    else std::snprintf(text, sizeof text, "%.0f", value);
    SetTextureField(&texture, field->name, text);
  }
  texture.Rect = RECT{0, 0, w, h};
  HDIB dib = CreateTexture(&texture);
  if (!dib) return Fail("Memory error");
  if (!WriteImage(out.c_str(), dib, SaveOptionsFromSettings())) return Fail(out + ": " + FileErrorText(FILEERR_WRITE));
  return 0;
}

}  // namespace

OCHREL_CLI_COMMAND("texture", kUsage, "generate a texture (defaults, or a library item) with fields changed by --set",
                   RunTexture);

}  // namespace ochrel::cli
