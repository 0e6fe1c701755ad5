// The limits of a spin control are kept as its text, "minimum,maximum,position",
// so that the dialogs can clamp what the user types into the edit beside it.
#pragma once

namespace ochrel {

struct SPINLIMITS {
  int minimum = 0, maximum = 100, position = 0;
  bool hasRange = false, hasPosition = false;
};

// Parses "%d,%d,%d"; without such text the limits are 0 and 100.
SPINLIMITS ParseSpinText(const char* text);
// The edit's text read as an unsigned number (anything else reads as 0),
// clamped to the spin's limits.
int GetSpinValue(const char* spinText, const char* editText);

}  // namespace ochrel
