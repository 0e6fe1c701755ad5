// Times engine operations in process on one picture, as the peers in
// engine_vs.py are timed: prints "row<TAB>milliseconds", the least of RUNS.
// Built by engine_vs.sh against the engine library alone.
// Usage: engine_time PICTURE RUNS OUTDIR "row=task" ...  where task is
// filter:NAME[:Field=value...], grey, paletted:N, mono:N, write:EXT (a file,
// saved safely) or encode:EXT (into memory).
#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <cstdio>
#include <string>
#include <vector>

#include "files/codec.h"
#include "files/imagefile.h"
#include "filters/filterparam.h"
#include "image/convert.h"
#include "image/crand.h"

using namespace ochrel;

namespace {

std::vector<std::string> Split(const std::string& s, char by) {
  std::vector<std::string> parts;
  std::size_t start = 0;
  for (std::size_t at; (at = s.find(by, start)) != std::string::npos; start = at + 1)
    parts.push_back(s.substr(start, at - start));
  parts.push_back(s.substr(start));
  return parts;
}

bool Run(const HDIB& image, const std::string& task, const std::string& outDir) {
  std::vector<std::string> p = Split(task, ':');
  if (p[0] == "grey") return ConvertToGrey(image) != nullptr;
  if (p[0] == "paletted") return ConvertToPaletteStrategy(image, std::stoi(p[1])) != nullptr;
  if (p[0] == "mono") return ConvertToMonoStrategy(image, std::stoi(p[1])) != nullptr;
  if (p[0] == "write") return WriteImage((outDir + "/o." + p[1]).c_str(), image) != 0;
  if (p[0] == "encode") {  // into memory, as the peers' encode rows are timed
    int format = FindImageFormat(("o." + p[1]).c_str());
    if (format < 0) return false;
    VectorSink sink;
    return imageproc[static_cast<std::size_t>(format)].encode(LockDib(image), SaveOptions{}, sink);
  }
  if (p[0] != "filter" || p.size() < 2) return false;
  int f = FindFilterType(p[1].c_str());
  if (f < 0) return false;
  FILTERPARAM param;
  RestoreFilterDefaults(&param);
  for (std::size_t i = 2; i < p.size(); ++i) {
    std::size_t eq = p[i].find('=');
    const FilterSetting* s = FindFilterSetting(p[i].substr(0, eq).c_str());
    if (!s) return false;
    param.*(s->field) = std::stoi(p[i].substr(eq + 1));
  }
  param.ImageType = GetImageType(image);
  GetBitmapDimensions(image, &param.BeforeWidth, &param.BeforeDepth, nullptr, nullptr);
  param.BeforeImage = &image;
  ochrel::srand(1);
  return filtertype[f].function(image, &param) != nullptr;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 4) return 2;
  HDIB image = LoadImage(argv[1]);
  if (!image) return 1;
  const int runs = std::max(1, std::atoi(argv[2]));
  for (int a = 4; a < argc; ++a) {
    std::string entry = argv[a];
    std::size_t eq = entry.find('=');
    std::string row = entry.substr(0, eq), task = entry.substr(eq + 1);
    double best = -1;
    for (int r = 0; r < runs; ++r) {
      auto t0 = std::chrono::steady_clock::now();
      if (!Run(image, task, argv[3])) break;
      double ms = std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - t0).count();
      if (best < 0 || ms < best) best = ms;
    }
    if (best < 0) std::printf("%s\tfail\n", row.c_str());
    else std::printf("%s\t%.1f\n", row.c_str(), best);
  }
}
