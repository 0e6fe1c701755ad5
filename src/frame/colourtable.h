// The named colour table, OCHREL.CCL: lines of "name=red,green,blue", kept in
// the file's order with duplicates allowed. The colour dialog edits it and
// writes it back at once after every change.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "image/dib.h"

namespace ochrel {

struct COLOURTABLEITEM {
  std::string Name;
  COLORREF Colour = 0;
  bool operator==(const COLOURTABLEITEM&) const = default;
};
using ColourTable = std::vector<COLOURTABLEITEM>;

// Longest line the reader takes at once; longer lines are read in pieces that
// are parsed on their own.
inline constexpr int kColourTableLine = 259;

// One line, already cut and stripped of its line end. False when the line
// isn't an entry: no '=', nothing before it, or fewer than two commas after it.
bool ParseColourTableLine(std::string_view line, COLOURTABLEITEM* item);

// Reads the entries of a whole file's text, line by line as the file reader does.
ColourTable ParseColourTable(std::string_view text);

// Clears the table and reads the file into it. False if the file can't be
// opened; the table is then empty.
bool LoadColourTable(const std::string& file, ColourTable* table);

// Writes the table, one "%s=%d,%d,%d\n" line per entry. A file of the name plus
// ".bak" is deleted first. The old file stays whole until the new one is
// complete. False if the file can't be written.
bool SaveColourTable(const std::string& file, const ColourTable& table);

// The first entry of a colour, or -1.
int FindTableColour(const ColourTable& table, COLORREF colour);

// The table file's full path: the file name in the application folder.
std::string ColourTablePath(const std::string& name);

}  // namespace ochrel
