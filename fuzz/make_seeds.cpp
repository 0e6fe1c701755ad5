// Writes the seed corpus of the fuzz targets: for each image format a folder of
// small files of every depth its writer takes, at odd sizes, and the list of
// those folders in image-formats; a settings file as
// the program writes it and a small tile library. (The stock texture library,
// tiles, colour table and tips are copied in by the fuzz script.)
#include <cstdio>
#include <filesystem>
#include <random>
#include <string>

#include "files/imagefile.h"
#include "fills/matrix.h"
#include "frame/config.h"
#include "frame/recentpaths.h"

using namespace ochrel;

namespace {
HDIB Picture(int w, int h, int bits, unsigned seed, bool grey) {
  BYTE pal[768];
  GetDefaultPalette(pal, nullptr, grey ? 10 : (bits == 1 ? 0 : 8));
  HDIB dib = CreateDib(w, h, pal, bits);
  BITMAPINFOHEADER* hd = LockDib(dib);
  std::mt19937 rng(seed);
  // Runs of equal bytes as well as noise, so that run-length paths are seeded.
  for (std::size_t i = 0; i < hd->biSizeImage; ++i) DibBits(hd)[i] = static_cast<BYTE>(i % 7 < 3 ? 0x33 : rng());
  return dib;
}

void Save(const std::filesystem::path& dir, const std::string& name, const VectorSink& sink) {
  std::FILE* f = std::fopen((dir / name).c_str(), "wb");
  if (!f) return;
  std::fwrite(sink.bytes.data(), 1, sink.bytes.size(), f);
  std::fclose(f);
}
}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: make_seeds FOLDER\n");
    return 2;
  }
  std::filesystem::path root(argv[1]);
  // One folder per format, and their names for the fuzz script.
  std::string formats;
  for (const IMAGEPROC& row : imageproc) {
    std::filesystem::create_directories(root / row.extension);
    formats += std::string(row.extension) + "\n";
  }
  if (std::FILE* f = std::fopen((root / "image-formats").c_str(), "wb")) {
    std::fwrite(formats.data(), 1, formats.size(), f);
    std::fclose(f);
  }
  int n = 0;
  for (int bits : {1, 4, 8, 24})
    for (bool grey : {false, true}) {
      if (grey && bits != 8) continue;
      for (auto [w, h] : {std::pair{1, 1}, std::pair{7, 3}, std::pair{33, 17}}) {
        HDIB dib = Picture(w, h, bits, static_cast<unsigned>(++n), grey);
        const BITMAPINFOHEADER* hd = LockDib(dib);
        std::string name = std::to_string(bits) + (grey ? "g_" : "_") + std::to_string(w) + "x" + std::to_string(h);
        for (const IMAGEPROC& row : imageproc) {
          VectorSink out;
          if (row.encode(hd, SaveOptions{.jpegQuality = 50}, out))
            Save(root / row.extension, name + "." + row.extension, out);
        }
      }
    }
  std::filesystem::create_directories(root / "settings");
  RecentPaths recent(10, [](const std::string&) { return true; });
  recent.Add("/home/someone/pictures/photo.jpg");
  const std::string ini = FormatConfig(recent, 1767225600);
  if (std::FILE* f = std::fopen((root / "settings" / "OCHREL.INI").c_str(), "wb")) {
    std::fwrite(ini.data(), 1, ini.size(), f);
    std::fclose(f);
  }
  std::filesystem::create_directories(root / "tiles");
  std::vector<HDIB> tiles;
  tiles.push_back(Picture(5, 4, 24, 99, false));
  tiles.push_back(Picture(3, 7, 24, 98, false));
  SaveMatrixFile((root / "tiles" / "small.MTX").string(), tiles, 1, 0);
  return 0;
}
