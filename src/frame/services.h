// Small services every part of the program uses: number and path texts, the
// frame placement rule between runs.
#pragma once

#include <string>

#include "image/dib.h"

namespace ochrel {

// "1,234,567": a comma between each group of three digits.
std::string formatlong(long long value);
// The path without any double quote, at most 260 characters.
std::string CleanFileName(const std::string& path);
// Name and extension only.
std::string SubtractPath(const std::string& path);
// The folder of a path, with a trailing separator ("" when it has none).
std::string FolderOf(const std::string& path);
// OpenPath, and storing the folder of a path into it.
std::string GetOpenPath();
void SetOpenPath(const std::string& path);
// ApplicationPath plus a name; the folder of OpenPath plus the name and
// extension of the argument.
std::string AddApplicationPath(const std::string& name);
std::string AddCurrentPath(const std::string& name);

// Frame placement between runs. Screen size in pixels; rects are frame rectangles.
// GetStickyWindows stores the rectangle clamped to the screen (nothing while zoomed).
void GetStickyWindows(RECT frame, bool zoomed, int screenWidth, int screenHeight);
// The rectangle to place the frame at, or false while any of the four is -1.
bool SetStickyWindows(int screenWidth, int screenHeight, RECT* placement);

// Moves a file to the desktop's trash so that it can be restored; plain deletion
// when there is no trash. Returns 0 on success, non-zero on failure.
int DeleteFileToRecycleBin(const std::string& path);

}  // namespace ochrel
