// The texture library: a text file of named TEXTURE records.
#pragma once

#include <string>
#include <vector>

#include "files/saveoptions.h"
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
// when options.backups is on; the write goes through a temporary file. 0 when the
// file cannot be written. `writeable` and `stamp` (a ctime text) are for
// making protected stock files; the program writes 1 and the time of saving.
int SaveTextureFile(const std::string& path, const TextureList& list, int writeable = 1, const char* stamp = nullptr,
                    const SaveOptions& options = {});

// Brings every field into the range its editor allows (percent fields as
// fractions: Power 0-1.5, Density 2-20, ...), the type into 0..5, the bubble
// shape into 0..3 and the curves into 0..1, so that a hand-made library can't
// hold what the editor would silently change. The reader applies it to each item.
void ClampTextureFields(TEXTURE* t);
// True when every field the library stores is the same (Rect plays no part).
bool SameTextureFields(const TEXTURE& a, const TEXTURE& b);

// A field of TEXTURE by its library key (any case): for the command line.
// Set* returns false for an unknown key.
bool SetTextureField(TEXTURE* t, const std::string& key, const std::string& value);
bool IsTextureFloatKey(const std::string& key);
bool IsTextureKey(const std::string& key);

}  // namespace ochrel
