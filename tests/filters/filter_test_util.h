// Helpers of the filter tests: the settings a filter starts from, and flat images.
#pragma once

#include "filters/filterparam.h"
#include "test_images.h"

namespace ochrel::test {

// The compiled-in filter settings, for the kind of the given image.
inline FILTERPARAM Defaults(const HDIB& image) {
  FILTERPARAM p;
  RestoreFilterDefaults(&p);
  p.ImageType = GetImageType(image);
  return p;
}

}  // namespace ochrel::test
