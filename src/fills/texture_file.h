// The texture library: a text file of named TEXTURE records.
#pragma once

#include <string>
#include <vector>

#include "fills/texture.h"

namespace ochrel {

inline constexpr int kTextureNameLength = 260;
inline constexpr char kTextureFileHeader[] = "VARNWICK STUDIO OCHREL TEXTURE FILE";

struct TextureItem {
  std::string name;
  TEXTURE texture;
};
// Kept in list order: sorted by name, without regard to case.
using TextureList = std::vector<TextureItem>;

// Inserts in sorted place (after any entries of an equal name); returns its index.
std::size_t AddTextureItem(TextureList* list, const std::string& name, const TEXTURE& texture);

// Fills the list from a library file. 0 with the list unchanged when the file
// cannot be read or lacks the header line; else 1. *writeable takes the file's
// Writeable value and keeps what it had when the file has none.
int LoadTextureFile(const std::string& path, TextureList* list, int* writeable);
// Writes the list (an empty list gives an empty file). The ".bak" copy first
// when CreateBackups is on; the write goes through a temporary file. 0 when the
// file cannot be written. `writeable` and `stamp` (a ctime text) are for
// making protected stock files; the program writes 1 and the time of saving.
int SaveTextureFile(const std::string& path, const TextureList& list, int writeable = 1,
                    const char* stamp = nullptr);

// A field of TEXTURE by its library key (any case): for the command line.
// Set* returns false for an unknown key.
bool SetTextureField(TEXTURE* t, const std::string& key, const std::string& value);
bool IsTextureFloatKey(const std::string& key);
bool IsTextureKey(const std::string& key);

}  // namespace ochrel
