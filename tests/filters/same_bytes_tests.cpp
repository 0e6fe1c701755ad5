// Every filter at its defaults and at the ends of each of its settings, the
// conversions, the resamplers and the codecs, on pictures of each kind: their
// outputs must keep the digests recorded in same_bytes.txt, and the quick and
// the plain forms of the loops must agree. OCHREL_SAME_BYTES_WRITE=path writes
// the table afresh (only ever from a build whose outputs are known good).
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "files/codec.h"
#include "files/imagefile.h"
#include "filters/filterparam.h"
#include "image/convert.h"
#include "image/crand.h"
#include "image/dither.h"
#include "image/fastpath.h"
#include "image/resample.h"
#include "temp_dir.h"
#include "test_images.h"

namespace ochrel {
namespace {

std::uint64_t Digest(const void* data, std::size_t n, std::uint64_t h = 1469598103934665603ull) {
  const BYTE* p = static_cast<const BYTE*>(data);
  for (std::size_t i = 0; i < n; ++i) h = (h ^ p[i]) * 1099511628211ull;
  return h;
}
std::uint64_t Digest(const HDIB& d) { return d ? Digest(d->data(), d->size()) : 0; }

// A smooth picture with grain and a few hard edges, like a photograph; the
// paletted kinds take indices from the same field.
HDIB Picture(int width, int height, int bits, int paletteNumber) {
  BYTE palette[768];
  GetDefaultPalette(palette, nullptr, bits == 1 ? 0 : paletteNumber);
  HDIB dib = CreateDib(width, height, palette, bits);
  std::uint32_t grain = 12345;
  for (int y = 0; y < height; ++y)
    for (int x = 0; x < width; ++x) {
      grain = grain * 1664525u + 1013904223u;
      int n = static_cast<int>(grain >> 28) - 8;
      int r = static_cast<int>(127 + 120 * std::sin(x * 0.021 + y * 0.05)) + n;
      int g = static_cast<int>(127 + 120 * std::cos(x * 0.013 - y * 0.07)) + n;
      int b = ((x / 37 + y / 11) & 1) ? 230 + n : 20 + n;
      r = std::clamp(r, 0, 255), g = std::clamp(g, 0, 255), b = std::clamp(b, 0, 255);
      std::uint32_t v = bits >= 24 ? RGB(r, g, b) : static_cast<std::uint32_t>((r + b) / 2) >> (8 - std::min(bits, 8));
      PutDibPixel(LockDib(dib), x, y, v);
    }
  return dib;
}

struct Kind {
  const char* name;
  int width, height, bits, palette;
};
// The true-colour width crosses the convolution's chunk of columns.
const Kind kKinds[] = {{"rgb", 731, 23, 24, 8}, {"rgbx", 97, 19, 32, 8}, {"grey", 233, 21, 8, 10},
                       {"pal8", 101, 17, 8, 8}, {"pal4", 61, 13, 4, 3},  {"mono", 83, 15, 1, 0}};

using Outputs = std::map<std::string, std::uint64_t>;

HDIB ApplyFilter(const HDIB& image, int f, int FILTERPARAM::*field = nullptr, int value = 0, HDIB* mask = nullptr) {
  FILTERPARAM p;
  RestoreFilterDefaults(&p);
  if (field) p.*field = value;
  p.ImageType = GetImageType(image);
  BYTE palette[768];
  int bits = 0;
  GetBitmapDimensions(image, &p.BeforeWidth, &p.BeforeDepth, &bits, palette);
  if (p.ImageType == IMAGE_PALETTED || p.ImageType == IMAGE_MONO)
    p.PaperColour = static_cast<COLORREF>(FindPaletteColour(40, 90, 200, palette, 1 << bits));
  else p.PaperColour = RGB(40, 90, 200);
  p.BeforeImage = &image;
  srand(7);
  HDIB out = filtertype[f].function(image, &p);
  if (mask) *mask = std::move(p.NewMask);
  return out;
}

void RunFilters(const std::string& kind, const HDIB& image, Outputs& out) {
  for (int f = 0; f < FILTER_COUNT; ++f) {
    int type = GetImageType(image);
    if (!FilterIsValidFilter(type, 0, 0, f)) continue;
    struct Run {
      std::string label;
      int FILTERPARAM::*field;
      int value;
    };
    std::vector<Run> runs{{"defaults", nullptr, 0}};
    for (const char* const* field = filtertype[f].fields; field && *field; ++field) {
      const FilterSetting* s = FindFilterSetting(*field);
      if (!s) continue;
      // Resizing to fifty times would only test memory; 700 % is the far end here.
      int hi = s->maximum == 5000 ? 700 : s->maximum;
      // A setting of a few values (a kind or a switch) is tried at each of them.
      for (int v = s->minimum; v <= hi; v = hi - s->minimum <= 4 || v == hi ? v + 1 : hi)
        runs.push_back({std::string(*field) + "=" + std::to_string(v), s->field, v});
    }
    for (const Run& run : runs) {
      const std::string name = kind + " " + filtertype[f].name + " " + run.label;
      HDIB mask;
      out[name] = Digest(ApplyFilter(image, f, run.field, run.value, &mask));
      if (mask) out[name + " mask"] = Digest(mask);
    }
  }
}

void RunConversions(const std::string& kind, const HDIB& image, Outputs& out) {
  out[kind + " grey"] = Digest(ConvertToGrey(image));
  out[kind + " truecolour"] = Digest(ConvertToTrueColour(image));
  for (int o : {101, 102, 103}) out[kind + " mono " + std::to_string(o)] = Digest(ConvertToMonoStrategy(image, o));
  for (int o = 101; o <= 109; ++o)
    out[kind + " palette " + std::to_string(o)] = Digest(ConvertToPaletteStrategy(image, o));
  for (int pc : {5, 50, 99, 173, 300}) out[kind + " resize " + std::to_string(pc)] = Digest(ResizeDib(image, pc));
  out[kind + " nearest 173"] = Digest(ResizeNearest(image, 173));
  out[kind + " rot90"] = Digest(RotateImage90(image));
  out[kind + " rot180"] = Digest(RotateImage180(image));
  out[kind + " rot270"] = Digest(RotateImage270(image));
  out[kind + " fliph"] = Digest(FlipImageHorizontal(image));
  out[kind + " flipv"] = Digest(FlipImageVertical(image));
  for (int flags : {0, 1, 3})
    out[kind + " free17 " + std::to_string(flags)] = Digest(FreeRotateImageFilter(image, 17, flags, RGB(9, 8, 7)));
}

void RunCodecs(const std::string& kind, const HDIB& image, Outputs& out) {
  test::TempDir dir;
  for (const char* ext : {"bmp", "pcx", "tga", "png", "jpg"}) {
    std::string path = dir / (std::string("p.") + ext);
    if (!WriteImage(path.c_str(), image)) continue;
    std::string bytes = test::Slurp(path);
    // Encoding into memory gives the file's bytes (it may take another path).
    VectorSink memory;
    const bool same = imageproc[static_cast<std::size_t>(FindImageFormat(path.c_str()))].encode(
                          LockDib(image), SaveOptions{}, memory) &&
                      std::equal(bytes.begin(), bytes.end(), memory.bytes.begin(), memory.bytes.end(),
                                 [](char a, std::uint8_t b) { return static_cast<std::uint8_t>(a) == b; });
    out[kind + " write " + ext] = same ? Digest(bytes.data(), bytes.size()) : 0;
    out[kind + " read " + ext] = Digest(LoadImage(path.c_str()));
  }
}

Outputs RunAll() {
  Outputs out;
  for (const Kind& k : kKinds) {
    HDIB image = Picture(k.width, k.height, k.bits, k.palette);
    RunFilters(k.name, image, out);
    RunConversions(k.name, image, out);
    RunCodecs(k.name, image, out);
  }
  // Enough pixels for the nearest-colour searches to take their cell lists,
  // and rows for the codecs to share out.
  HDIB large = Picture(331, 211, 24, 8);
  for (int o : {103, 104, 106, 109})
    out["large palette " + std::to_string(o)] = Digest(ConvertToPaletteStrategy(large, o));
  for (int o : {101, 103}) out["large mono " + std::to_string(o)] = Digest(ConvertToMonoStrategy(large, o));
  for (int n : {2, 5, 7}) {  // cubes with repeated entries after them, one in another order
    BYTE palette[768];
    GetDefaultPalette(palette, nullptr, n);
    out["large remap " + std::to_string(n)] = Digest(RemapDib(large, palette, 8, 0));
  }
  RunCodecs("large", large, out);
  HDIB even = Picture(330, 40, 24, 8);  // halving takes plain pairs of pixels
  out["even resize 50"] = Digest(ResizeDib(even, 50));
  HDIB largeGrey = ConvertToGrey(large);
  RunCodecs("large grey", largeGrey, out);
  // Freed blocks of a megabyte and more are handed out again: each result is
  // first made, filled with ones and freed, and the one digested is made in
  // that used block (rows with padding).
  HDIB big = Picture(1027, 1031, 24, 8);
  auto afterUse = [](auto make) {
    if (HDIB used = make()) std::memset(used->data(), 0xFF, used->size());
    return Digest(make());
  };
  out["big grey"] = afterUse([&] { return ConvertToGrey(big); });
  out["big truecolour"] = afterUse([&] { return ConvertToTrueColour(big); });
  for (const char* name : {"Invert Colours", "Solarize"})
    out[std::string("big ") + name] = afterUse([&] { return ApplyFilter(big, FindFilterType(name)); });
  // The turn, image and mask each made in a used block; at 41 degrees both
  // are kept blocks and have rows with padding and an odd last pixel.
  for (int angle : {17, 41}) {
    const std::string name = "big Rotate " + std::to_string(angle);
    HDIB mask;
    auto turn = [&] {
      return ApplyFilter(big, FindFilterType("Rotate"), &FILTERPARAM::FilterRotateAngle, angle, &mask);
    };
    if (HDIB used = turn())
      std::memset(used->data(), 0xFF, used->size()), std::memset(mask->data(), 0xFF, mask->size());
    mask.reset();
    out[name] = Digest(turn());
    out[name + " mask"] = Digest(mask);
  }
  return out;
}

TEST(SameBytes, QuickAndPlainFormsMatchTheRecordedOutputs) {
  SetFastPaths(false);
  Outputs plain = RunAll();
  SetFastPaths(true);
  for (int unit = VectorUnit(); unit >= 0; --unit) {  // each vector unit this machine has
    LimitVectorUnit(unit);
    Outputs quick = RunAll();
    for (const auto& [name, d] : plain)
      EXPECT_EQ(quick[name], d) << name << ": quick and plain forms differ with vector unit " << unit;
  }
  LimitVectorUnit(2);

  if (const char* w = std::getenv("OCHREL_SAME_BYTES_WRITE")) {
    std::ofstream f(w);
    for (const auto& [name, d] : plain) f << std::hex << d << ' ' << name << '\n';
    GTEST_SKIP() << "wrote " << plain.size() << " digests to " << w;
  }
  std::ifstream f(std::string(OCHREL_SOURCE_DIR) + "/tests/filters/same_bytes.txt");
  ASSERT_TRUE(f) << "no recorded digests";
  Outputs recorded;
  std::string line;
  while (std::getline(f, line)) {
    std::istringstream in(line);
    std::uint64_t d = 0;
    std::string name;
    in >> std::hex >> d;
    std::getline(in >> std::ws, name);
    recorded[name] = d;
  }
  EXPECT_EQ(recorded.size(), plain.size());
  for (const auto& [name, d] : recorded) {
    auto it = plain.find(name);
    ASSERT_NE(it, plain.end()) << name << " is no longer produced";
    EXPECT_EQ(it->second, d) << name << " changed its bytes";
  }
}

}  // namespace
}  // namespace ochrel
