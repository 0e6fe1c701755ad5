#include "frame/strings.h"

#include <map>

namespace ochrel {

namespace {
const std::map<int, const char*>& Table() {
  static const std::map<int, const char*> table = {
      {0, "Ok"},
      {1, "Error opening file"},
      {2, "Corrupted file"},
      {3, "Error reading file"},
      {4, "Function cancelled"},
      {5, "Unsupported function"},
      {6, "Memory error"},
      {7, "Information error"},
      {8, "Unsupported format"},
      {9, "Error renaming file"},
      {10, "Error creating file"},
      {11, "Error writing file"},
      {12, "Too many colors"},
      {13, "Unsuitable image"},
      {14, "Resource error"},
      {15, "Library error"},
      {120, "There has been an error accessing this block."},
      {122, "UntitledPicture%u.%s"},
      {224, "Ochrel\u2122"},
      {243, "Your present Windows screen driver can display images having up to %s colors without dithering."},
      {247,
       "No application could be found to open Drivers.Htm. Please open the Drivers.Htm document in the "
       "parent directory of Ochrel for more information about configuring your screen driver."},
      {306,
       "There has been an error displaying the manual page. Please ensure that there is an application "
       "installed on your system capable of opening HTML documents associated with the file extension .HTM."},
      {307,
       "You are about to display the Ochrel manual document. Your web browser will open. Ochrel will "
       "remain running, and you can return to it at any time through the Windows task bar."},
      {309, "This color already exists in the current color table as %s. Do you wish to add it anyway?"},
      {322, "There is no undo image available."},
      {323, "Magification: %d%%"},
      {332,
       "There has been an error adding your matrix element to the current matrix file. Make sure you do "
       "not have the default Ochrel matrix file selected in the Matrix dialog."},
      {1701, "Undoes the most recent drawing operation."},
      {1702, "Toggles the magnetic grid."},
      {1703, "Provides help with Ochrel."},
      {1704, "Edits the current shadow parameters."},
      {1705, "Allows Ochrel's options to be configured."},
      {1706, "Exits Ochrel (Shift to save current options)."},
      {1708, "Saves the current presentation to disk."},
      {1709, "Loads a presentation from disk."},
      {1710, "Redoes the most recently undone operation."},
      {1713, "Displays the manual document"},
      {3900, "Rectangle selector"},
      {3901, "Irregular selector"},
      {3902, "Magic wand selector"},
      {3903, "Color replacer"},
      {3904, "Eraser"},
      {3905, "Eyedropper"},
      {3906, "Zoom"},
      {3907, "Pen"},
      {3908, "Soft brush"},
      {3909, "Spray paint"},
      {3910, "Airbrush"},
      {3911, "Line"},
      {3912, "Rectangle"},
      {3913, "Ellipse"},
      {3914, "Polygon"},
      {3915, "Flood fill"},
      {3916, "Text"},
      {3917, "Selective undo"},
  };
  return table;
}
}  // namespace

const char* FetchString(int id) {
  auto it = Table().find(id);
  return it == Table().end() ? "String table error - this application may be damaged" : it->second;
}

bool HasString(int id) { return Table().count(id) != 0; }

std::vector<int> StringIds() {
  std::vector<int> ids;
  for (const auto& [id, text] : Table()) ids.push_back(id);
  return ids;
}

}  // namespace ochrel
