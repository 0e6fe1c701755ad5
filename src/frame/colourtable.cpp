#include "frame/colourtable.h"

#include "files/safefile.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <system_error>

#include "frame/paths.h"
#include "frame/services.h"
#include "frame/settings.h"

namespace ochrel {

namespace {

// The numbers go through the C library's atol: leading white space, a sign,
// digits, and whatever follows ignored. Only the low 8 bits are kept.
BYTE ColourNumber(const char* p) { return static_cast<BYTE>(std::strtol(p, nullptr, 10) & 0xFF); }

// Cuts the text at the first of a character, as the line reader strips its ends.
void CutAt(std::string* s, char c) {
  std::size_t k = s->find(c);
  if (k != std::string::npos) s->resize(k);
}

}  // namespace

bool ParseColourTableLine(std::string_view view, COLOURTABLEITEM* item) {
  // A zero byte ends the line as far as the parser can see.
  std::string line(view.substr(0, view.find('\0')));
  std::size_t eq = line.find('=');
  if (eq == std::string::npos || eq == 0) return false;
  const char* p = line.c_str() + eq + 1;
  while (*p == ' ' || *p == 8) ++p;
  BYTE rgb[3];
  for (int k = 0; k < 3; ++k) {
    if (k > 0) {
      p = std::strchr(p, ',');
      if (!p) return false;
      while (*p == ',') ++p;
    }
    rgb[k] = ColourNumber(p);
  }
  item->Name = line.substr(0, eq);
  item->Colour = RGB(rgb[0], rgb[1], rgb[2]);
  return true;
}

ColourTable ParseColourTable(std::string_view text) {
  ColourTable table;
  std::size_t pos = 0;
  while (pos < text.size()) {
    // Up to 259 characters, or through the first line feed, whichever is first.
    std::size_t end = pos;
    while (end < text.size() && end - pos < kColourTableLine) {
      if (text[end++] == '\n') break;
    }
    std::string line(text.substr(pos, end - pos));
    pos = end;
    CutAt(&line, '\n');
    CutAt(&line, '\r');
    COLOURTABLEITEM item;
    if (ParseColourTableLine(line, &item)) table.push_back(std::move(item));
  }
  return table;
}

bool LoadColourTable(const std::string& file, ColourTable* table) {
  table->clear();
  std::FILE* f = std::fopen(file.c_str(), "rb");
  if (!f) return false;
  std::string text;
  char buffer[4096];
  std::size_t n;
  while ((n = std::fread(buffer, 1, sizeof buffer, f)) > 0) {
    // A colour table is a few kilobytes; a huge file is not one, so stop
    // rather than hold gigabytes of text.
    if (text.size() > (std::size_t{64} << 20)) break;
    text.append(buffer, n);
  }
  std::fclose(f);
  *table = ParseColourTable(text);
  return true;
}

bool SaveColourTable(const std::string& file, const ColourTable& table) {
  std::error_code ec;
  std::filesystem::remove(file + ".bak", ec);
  // Written beside the table and renamed over it, so a failed write leaves
  // the old table as it was.
  std::string text;
  char line[64];
  for (const COLOURTABLEITEM& item : table) {
    std::snprintf(line, sizeof line, "=%d,%d,%d\n", GetRValue(item.Colour), GetGValue(item.Colour),
                  GetBValue(item.Colour));
    text += item.Name;
    text += line;
  }
  SafeFile out(file);
  return out.Write(text.data(), text.size()) && out.Commit();
}

int FindTableColour(const ColourTable& table, COLORREF colour) {
  for (std::size_t k = 0; k < table.size(); ++k)
    if ((table[k].Colour & 0xFFFFFF) == (colour & 0xFFFFFF)) return static_cast<int>(k);
  return -1;
}

std::string ColourTablePath(const std::string& name) {
  if (!ApplicationPath[0]) ComputeApplicationPath();
  return AddApplicationPath(name);
}

}  // namespace ochrel
