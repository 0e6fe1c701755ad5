// The ranges of the brush tools' settings as the tool settings window offers
// them: what a typed size, a trackbar position or a radio choice is clamped to
// before it reaches the document.
#pragma once

#include <span>

#include "frame/blockset.h"

namespace ochrel {

enum class BrushControl { Spin, Trackbar, Radio };

struct BrushSettingRange {
  int BLOCKSET::*field;
  const char* name;  // the field's name; "Default" in front names its configuration key
  BrushControl control;
  int id;  // the edit, trackbar or first radio button of the settings window
  int minimum, maximum;
  int start;  // the value a spin opens on (its third number); trackbars and radios 0
};

// The settings of a brush tool's page (eraser 4, pen 7, soft brush 8,
// airbrush 10, selective undo 17), opacity first; empty for other tools.
std::span<const BrushSettingRange> GetBrushSettingRanges(int tool);
// The row of a field on any of those pages; null if the field has none.
const BrushSettingRange* FindBrushSetting(int BLOCKSET::*field);

// A typed or dragged value brought into the row's range: a soft brush size of
// 3 becomes 4, 65 becomes 64.
int ClampBrushSetting(const BrushSettingRange& row, long long value);
// Stores the clamped value in the document; false (and nothing stored) for a
// field that isn't a brush setting.
bool SetBrushSetting(BLOCKSET& document, int BLOCKSET::*field, long long value);

}  // namespace ochrel
