// Recovery copies of unsaved pictures, for after a crash or a power cut. Each
// modified document may have one copy in the recovery folder: the picture as a
// PNG file (lossless at every depth we hold) and a small side file with the
// document's name, its file's path and the process that wrote it. The side
// file is written last, so a copy is complete when its side file is there.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "image/dib.h"

namespace ochrel {

// $XDG_STATE_HOME/ochrel/recovery when that variable is set, else "recovery"
// beside the settings file.
std::filesystem::path RecoveryFolder();

struct RecoveryEntry {
  std::string id;        // the file names' stem
  std::string name;      // the document's title
  std::string path;      // the document's file, or its proposed name when it has none
  bool hasFile = false;  // whether path names a file the document came from
  long pid = 0;          // the process that wrote it
};

// Writes a document's copy under id (replacing its earlier one) into folder.
// Both files go through SafeFile: a copy is either the old one or the new one.
bool WriteRecovery(const std::filesystem::path& folder, const RecoveryEntry& entry, const HDIB& image);
// Removes the copy of id, if any.
void RemoveRecovery(const std::filesystem::path& folder, const std::string& id);
// The copies whose writer is no longer running, oldest first; copies of a
// running program are its own business.
std::vector<RecoveryEntry> FindRecoveries(const std::filesystem::path& folder);
// The picture of a copy, or null when it can't be read.
HDIB LoadRecovery(const std::filesystem::path& folder, const RecoveryEntry& entry);
// A fresh id for a document of this process.
std::string NewRecoveryId();

}  // namespace ochrel
