#include "tools/brushsettings.h"

#include <algorithm>
#include <iterator>

#include "tools/brushstamp.h"

namespace ochrel {
namespace {

using B = BLOCKSET;
constexpr BrushSettingRange kOpacity{&B::Opacity, "Opacity", BrushControl::Trackbar, 10, 0, 255, 0};

constexpr BrushSettingRange kEraser[] = {
    kOpacity,
    {&B::EraserBrushShape, "EraserBrushShape", BrushControl::Radio, 90, 0, 1, 0},
    {&B::EraserBrushType, "EraserBrushType", BrushControl::Radio, 94, 0, 1, 0},
    {&B::EraserBrushThickness, "EraserBrushThickness", BrushControl::Spin, 96, 4, 64, 16},
    {&B::EraserBrushSoftness, "EraserBrushSoftness", BrushControl::Trackbar, 98, 1, 100, 0},
};
constexpr BrushSettingRange kPen[] = {
    kOpacity,
    {&B::HardBrushShape, "HardBrushShape", BrushControl::Radio, 103, 0, 1, 0},
    {&B::HardBrushThickness, "HardBrushThickness", BrushControl::Spin, 105, 1, 64, 16},
    {&B::HardBrushAngle, "HardBrushAngle", BrushControl::Trackbar, 107, 0, 360, 0},
    {&B::HardBrushFlat, "HardBrushFlat", BrushControl::Trackbar, 110, 0, 60, 0},
};
constexpr BrushSettingRange kSoftBrush[] = {
    kOpacity,
    {&B::BrushShape, "BrushShape", BrushControl::Radio, 65, 0, 1, 0},
    {&B::BrushType, "BrushType", BrushControl::Radio, 68, 0, 1, 0},
    {&B::BrushThickness, "BrushThickness", BrushControl::Spin, 70, 4, 64, 16},
    {&B::BrushSoftness, "BrushSoftness", BrushControl::Trackbar, 74, 1, 100, 0},
};
constexpr BrushSettingRange kAirbrush[] = {
    kOpacity,
    {&B::AirBrushFlow, "AirBrushFlow", BrushControl::Trackbar, 77, 1, 100, 0},
    {&B::AirBrushShape, "AirBrushShape", BrushControl::Radio, 81, 0, 1, 0},
    {&B::AirBrushThickness, "AirBrushThickness", BrushControl::Spin, 84, 4, 64, 16},
    {&B::AirBrushSoftness, "AirBrushSoftness", BrushControl::Trackbar, 86, 1, 100, 0},
};
constexpr BrushSettingRange kSelectiveUndo[] = {
    kOpacity,
    {&B::UndoShape, "UndoShape", BrushControl::Radio, 127, 0, 1, 0},
    {&B::UndoType, "UndoType", BrushControl::Radio, 130, 0, 1, 0},
    {&B::UndoThickness, "UndoThickness", BrushControl::Spin, 132, 4, 64, 16},
    {&B::UndoSoftness, "UndoSoftness", BrushControl::Trackbar, 134, 1, 100, 0},
};

}  // namespace

std::span<const BrushSettingRange> GetBrushSettingRanges(int tool) {
  switch (tool) {
    case TOOL_ERASER: return kEraser;
    case TOOL_PEN: return kPen;
    case TOOL_BRUSH: return kSoftBrush;
    case TOOL_AIRBRUSH: return kAirbrush;
    case TOOL_LOCALUNDO: return kSelectiveUndo;
    default: return {};
  }
}

const BrushSettingRange* FindBrushSetting(int BLOCKSET::*field) {
  for (int tool : {TOOL_ERASER, TOOL_PEN, TOOL_BRUSH, TOOL_AIRBRUSH, TOOL_LOCALUNDO})
    for (const BrushSettingRange& row : GetBrushSettingRanges(tool))
      if (row.field == field) return &row;
  return nullptr;
}

int ClampBrushSetting(const BrushSettingRange& row, long long value) {
  return static_cast<int>(std::clamp<long long>(value, row.minimum, row.maximum));
}

bool SetBrushSetting(BLOCKSET& document, int BLOCKSET::*field, long long value) {
  const BrushSettingRange* row = FindBrushSetting(field);
  if (!row) return false;
  document.*field = ClampBrushSetting(*row, value);
  return true;
}

}  // namespace ochrel
