// Helpers of the file tests: scratch folders, file bytes, colour comparison.
#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "files/codec.h"
#include "image/dib.h"
#include "temp_dir.h"

namespace ochrel::test {

using ScratchDir = TempDir;

inline std::vector<std::uint8_t> ReadBytes(const std::string& path) {
  std::ifstream f(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(f), std::istreambuf_iterator<char>()};
}
inline void WriteBytes(const std::string& path, const std::vector<std::uint8_t>& b) {
  std::ofstream f(path, std::ios::binary);
  f.write(reinterpret_cast<const char*>(b.data()), static_cast<std::streamsize>(b.size()));
}

// Every pixel as 0xRRGGBB after its palette, rows from the top.
inline std::vector<std::uint32_t> Colours(const HDIB& dib) {
  const BITMAPINFOHEADER* h = LockDib(dib);
  if (!h) return {};
  std::vector<std::uint32_t> px(static_cast<std::size_t>(h->biWidth) * h->biHeight);
  DibToRgb32(h, 0, 0, h->biWidth, h->biHeight, px.data(), static_cast<std::size_t>(h->biWidth) * 4);
  for (auto& p : px) p &= 0xFFFFFF;
  return px;
}

// The largest difference of any channel between two colour lists (255 + 1
// when their sizes differ).
inline int MaxChannelDifference(const std::vector<std::uint32_t>& a, const std::vector<std::uint32_t>& b) {
  if (a.size() != b.size()) return 256;
  int worst = 0;
  for (std::size_t i = 0; i < a.size(); ++i)
    for (int s = 0; s < 24; s += 8) {
      int d = std::abs(static_cast<int>((a[i] >> s) & 255) - static_cast<int>((b[i] >> s) & 255));
      if (d > worst) worst = d;
    }
  return worst;
}

inline std::vector<std::uint8_t> Bytes(const VectorSink& sink) { return {sink.bytes.begin(), sink.bytes.end()}; }

inline std::vector<std::uint8_t> Encoded(bool (*encode)(const BITMAPINFOHEADER*, ByteSink&), const HDIB& dib) {
  VectorSink sink;
  if (!encode(LockDib(dib), sink)) return {};
  return Bytes(sink);
}

}  // namespace ochrel::test
