// The digest that pins a mask or picture of the render tests.
#pragma once

#include <cstdint>

#include "image/dib.h"
#include "render/wrapper.h"

namespace ochrel::test {

// FNV-1a over the whole DIB (header, palette and pixels); 0 when there is none.
inline std::uint64_t Digest(const HDIB& d) {
  std::uint64_t h = 1469598103934665603ull;
  if (!d) return 0;
  for (std::size_t i = 0; i < d->size(); ++i) h = (h ^ d->data()[i]) * 1099511628211ull;
  return h;
}

}  // namespace ochrel::test
