#include "frame/tips.h"

#include <cstdio>
#include <ctime>

#include "frame/paths.h"
#include "frame/settings.h"

namespace ochrel {

namespace {

constexpr int kLongestTip = 1024;

// Reads one line of at most kLongestTip characters (a longer line is cut and
// its rest skipped); false at the end of the file.
bool ReadLine(std::FILE* f, std::string* line) {
  line->clear();
  int c;
  bool any = false;
  while ((c = std::fgetc(f)) != EOF) {
    any = true;
    if (c == '\n') break;
    if (static_cast<int>(line->size()) < kLongestTip) line->push_back(static_cast<char>(c));
  }
  if (!line->empty() && line->back() == '\r') line->pop_back();
  return any;
}

std::string Unescape(const std::string& line) {
  std::string out;
  for (std::size_t i = 0; i < line.size(); ++i) {
    if (line[i] == '\\' && i + 1 < line.size() && line[i + 1] == 'n') {
      out.push_back('\n');
      ++i;
    } else {
      out.push_back(line[i]);
    }
  }
  return out;
}

}  // namespace

int GetTipOfTheDayFrom(const std::string& path, std::string* text) {
  text->clear();
  std::FILE* f = std::fopen(path.c_str(), "rb");
  if (!f) {
    *text = kTipErrorText;
    return 1;
  }
  const int wanted = TipOfTheDay < 1 ? 1 : TipOfTheDay;
  std::string line;
  bool found = false;
  for (int n = 1; n <= wanted; ++n) {
    found = ReadLine(f, &line);
    if (!found) break;
  }
  if (found && !line.empty()) {
    *text = Unescape(line);
    ++TipOfTheDay;
  } else {
    // The end of the tips (or an empty line): round to the first again.
    std::rewind(f);
    if (ReadLine(f, &line)) *text = Unescape(line);
    TipOfTheDay = 2;
  }
  std::fclose(f);
  if (text->empty()) *text = kTipErrorText;
  return 1;
}

int GetTipOfTheDay(std::string* text) { return GetTipOfTheDayFrom((DataFolder() / kTipFileName).string(), text); }

int TodayAsNumber() {
  std::time_t now = std::time(nullptr);
  std::tm local{};
  localtime_r(&now, &local);
  return (local.tm_year + 1900) * 10000 + (local.tm_mon + 1) * 100 + local.tm_mday;
}

int IsTipTimeOn(int today) {
  if (LastTipDate == today) return 0;
  LastTipDate = today;
  return 1;
}

int IsTipTime() { return IsTipTimeOn(TodayAsNumber()); }

}  // namespace ochrel
