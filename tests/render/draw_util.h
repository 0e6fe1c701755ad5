// Running one back-end block and keeping its mask with its header.
#pragma once

#include <cstdint>

#include "image/dib.h"
#include "render/wrapper.h"

namespace ochrel::test {

struct Mask {
  WRAPPERRESULT r;
  const BITMAPINFOHEADER* h = nullptr;
};

template <class Block>
Mask Draw(Block&& b) {
  Mask m{OCHLWRPR_proc(&b)};
  m.h = LockDib(m.r.Dib);
  return m;
}

// FNV-1a over the whole DIB (header, palette and pixels); 0 when there is none.
inline std::uint64_t Digest(const HDIB& d) {
  std::uint64_t h = 1469598103934665603ull;
  if (!d) return 0;
  for (std::size_t i = 0; i < d->size(); ++i) h = (h ^ d->data()[i]) * 1099511628211ull;
  return h;
}

}  // namespace ochrel::test
