// The groups of a fill library: the files of one kind in the data folder,
// listed by name without their extension, as the texture and tile editors
// show them.
#pragma once

#include <QString>

#include <string>

class QComboBox;
class QWidget;

namespace ochrel {

// Lists the files matching `pattern` ("*.FFT") in the data folder, names
// starting with '.' left out, and selects `current` (a file name).
void FillLibraryGroups(QComboBox* groups, const char* pattern, const char* current);
// Selects the group of that name, adding it to the list when it is new.
void ShowLibraryGroup(QComboBox* groups, const QString& name);
// Asks "Do you want to delete the <name> <kind> group?" and, after Yes, moves
// the file to the desktop's wastebasket (or deletes it where there is none).
// True when the file was removed; a file that cannot be removed is said so.
bool DeleteLibraryGroup(QWidget* owner, const char* kind, const QString& name, const std::string& path);

}  // namespace ochrel
