// The program's string table: every numbered text that messages, tips and
// titles use.
#pragma once

#include <vector>

namespace ochrel {

// The entry, or "String table error - this application may be damaged" when
// there is none. The text stays valid for the life of the program.
const char* FetchString(int id);
bool HasString(int id);
// Every id the table holds, ascending (for tests and tools).
std::vector<int> StringIds();

enum StringId : int {
  IDS_FILEOK = 0,
  IDS_ERROR_READING = 3,
  IDS_MEMORY_ERROR = 6,
  IDS_ERROR_WRITING = 11,
  IDS_BLOCK_ERROR = 120,
  IDS_UNTITLED = 122,
  IDS_TITLE = 224,
  IDS_NO_UNDO_IMAGE = 322,
  IDS_MATRIX_ADD_ERROR = 332,
  IDS_TIP_BASE = 1651,
  IDS_TOOL_BASE = 3900,
};

}  // namespace ochrel
