// The tip of the day: one tip to a line in OCHREL.TIP in the data folder, shown
// at most once a day at start and on request.
#pragma once

#include <string>

namespace ochrel {

inline constexpr const char* kTipFileName = "OCHREL.TIP";
inline constexpr const char* kTipErrorText = "There has been an error accessing the tip of the day.";

// The next tip into *text (line breaks where the file has backslash-n), and
// TipOfTheDay moved on; after the last tip, or at an empty line, the first
// comes again. A missing file gives the error text. Always 1.
int GetTipOfTheDay(std::string* text);
// The same over a named file, for tests.
int GetTipOfTheDayFrom(const std::string& path, std::string* text);

// 0 if a tip was already due today (LastTipDate holds today as yyyymmdd),
// else today is stored and the answer is 1.
int IsTipTime();
int IsTipTimeOn(int today);
int TodayAsNumber();

}  // namespace ochrel
