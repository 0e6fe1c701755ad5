#include "tools/airbrush.h"

#include <algorithm>
#include <cstdlib>

#include "frame/settings.h"
#include "tools/brushstamp.h"

namespace ochrel {

void AirbrushSwell::Press(POINT at) {
  press_ = cursor_ = at;
  softness_ = kFirstSoftness;
  swelling_ = true;
}

std::optional<int> AirbrushSwell::Tick() {
  if (!swelling_) return std::nullopt;
  const long long mx = std::llabs(static_cast<long long>(cursor_.x) - press_.x);
  const long long my = std::llabs(static_cast<long long>(cursor_.y) - press_.y);
  if (mx > AirbrushMotion || my > AirbrushMotion) {
    swelling_ = false;
    return std::nullopt;
  }
  const int now = softness_;
  softness_ = std::min(softness_ + kSoftnessStep, kMaxSoftness);
  return now;
}

HDIB CreateAirbrushDab(BLOCKSET& document, int softness) {
  document.AirBrushSoftness = softness;
  return CreateSoftBrush(document, RGB(0, 0, 0), StampForeground(document.Opacity), 0);
}

}  // namespace ochrel
