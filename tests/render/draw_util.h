// Running one back-end block and keeping its mask with its header.
#pragma once

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

}  // namespace ochrel::test
