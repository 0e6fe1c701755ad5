#include "fills/texture_file.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <strings.h>

#include "fills/library_io.h"
#include "image/settings.h"

namespace ochrel {

namespace {

enum class Kind { Int, Unsigned, Colour, Float };
struct Key {
  const char* name;
  Kind kind;
  int TEXTURE::*i;
  std::uint32_t TEXTURE::*u;
  float TEXTURE::*f;
};

#define KI(n) Key{#n, Kind::Int, &TEXTURE::n, nullptr, nullptr}
#define KU(n) Key{#n, Kind::Unsigned, nullptr, &TEXTURE::n, nullptr}
#define KF(n) Key{#n, Kind::Float, nullptr, nullptr, &TEXTURE::n}

// In the order the writer puts them.
const Key kKeys[] = {
    KF(Power1),       KF(Power2),       KF(Power3),       KF(Power4),       KF(Power5),
    KU(SeedValue1),   KU(SeedValue2),   KU(SeedValue3),   KU(SeedValue4),   KU(SeedValue5),
    KF(Dimension1),   KF(Dimension2),   KF(Dimension3),   KF(Dimension4),   KF(Dimension5),
    KI(MatrixSize),   KI(TextureType),  KU(ForeColour1),  KU(ForeColour2),  KU(ForeColour3),
    KU(ForeColour4),  KU(ForeColour5),  KU(BackColour),   KI(CreaterCount), KF(CreaterDepth),
    KF(ColorRed0),    KF(ColorRed1),    KF(ColorRed2),    KF(ColorRed3),    KF(ColorGreen0),
    KF(ColorGreen1),  KF(ColorGreen2),  KF(ColorGreen3),  KF(ColorBlue0),   KF(ColorBlue1),
    KF(ColorBlue2),   KF(ColorBlue3),   KI(BubbleCount),  KI(BubbleSize),   KF(BubblePower),
    KI(BubbleShape),  KF(PerturbationPower),
};
#undef KI
#undef KU
#undef KF

const Key* FindKey(const char* name) {
  for (const Key& k : kKeys)
    if (strcasecmp(k.name, name) == 0) return &k;
  return nullptr;
}

// atol as the library files were always read: bad text gives 0; the value is
// kept to 32 bits so that numbers written unsigned come back as they were.
std::uint32_t ParseLong(const char* s) { return static_cast<std::uint32_t>(std::strtoll(s, nullptr, 10)); }

void Store(TEXTURE* t, const Key& k, const char* value) {
  switch (k.kind) {
    case Kind::Int: t->*k.i = static_cast<int>(ParseLong(value)); break;
    case Kind::Unsigned:
    case Kind::Colour: t->*k.u = ParseLong(value); break;
    case Kind::Float: t->*k.f = static_cast<float>(std::atof(value)); break;
  }
}

void TrimRight(char* s) {
  std::size_t n = std::strlen(s);
  while (n > 0 && static_cast<unsigned char>(s[n - 1]) <= 32) s[--n] = 0;
}

}  // namespace

std::size_t AddTextureItem(TextureList* list, const std::string& name, const TEXTURE& texture) {
  auto it = std::upper_bound(list->begin(), list->end(), name, [](const std::string& a, const TextureItem& b) {
    return strcasecmp(a.c_str(), b.name.c_str()) < 0;
  });
  it = list->insert(it, TextureItem{name, texture});
  return static_cast<std::size_t>(it - list->begin());
}

int LoadTextureFile(const std::string& path, TextureList* list, int* writeable) {
  if (!list) return 0;
  fills::File f(std::fopen(path.c_str(), "r"));
  if (!f) return 0;
  static thread_local char line[8192];
  if (!std::fgets(line, sizeof line, f.get())) return 0;
  TrimRight(line);
  if (std::strcmp(line, kTextureFileHeader) != 0) return 0;
  list->clear();
  bool inItem = false;
  TEXTURE item;
  std::string name;
  auto finish = [&] {
    // An item without a name of its own shows what the writer would have written.
    AddTextureItem(list, name.empty() ? "UNKNOWN NAME" : name, item);
    inItem = false;
  };
  while (std::fgets(line, sizeof line, f.get())) {
    TrimRight(line);
    if (line[0] == ';') continue;
    if (strcasecmp(line, ":BEGINITEM") == 0) {
      if (inItem) finish();  // an item never ended keeps what it had
      item = TEXTURE{};
      CreateDefaultTexture(&item);
      name.clear();
      inItem = true;
      continue;
    }
    if (strcasecmp(line, ":ENDITEM") == 0) {
      if (inItem) finish();
      continue;
    }
    char* eq = std::strchr(line, '=');
    if (!eq) continue;
    *eq = 0;
    TrimRight(line);
    char* value = eq + 1;
    while (*value && (static_cast<unsigned char>(*value) <= 32 || *value == '=')) ++value;
    if (!inItem) {
      if (strcasecmp(line, "Writeable") == 0 && writeable) *writeable = static_cast<int>(ParseLong(value));
      continue;
    }
    if (strcasecmp(line, "TextureName") == 0) {
      name.assign(value, std::min<std::size_t>(std::strlen(value), kTextureNameLength));
      continue;
    }
    if (const Key* k = FindKey(line)) Store(&item, *k, value);
  }
  if (inItem) finish();  // cut off by the end of the file
  return 1;
}

int SaveTextureFile(const std::string& path, const TextureList& list, int writeable, const char* stamp) {
  if (CreateBackups) fills::MakeBackup(path);
  fills::AtomicWriter out(path, "w");
  if (!out) return 0;
  std::FILE* f = out.get();
  if (!list.empty()) {
    char timeText[32] = "";
    if (stamp) {
      std::snprintf(timeText, sizeof timeText, "%s", stamp);
    } else {
      std::time_t now = std::time(nullptr);
      char buffer[32];
      if (ctime_r(&now, buffer)) std::snprintf(timeText, sizeof timeText, "%s", buffer);
    }
    std::fprintf(f, "%s\n", kTextureFileHeader);
    std::fprintf(f, ";This is a machine-generated text file. If you edit it by hand, you\n");
    std::fprintf(f, ";run the very real and tangible risk of causing all time and space to\n");
    std::fprintf(f, ";implode upon itself and bring about the extinction of reality as we\n");
    std::fprintf(f, ";know it. Think carefully...\n");
    std::fprintf(f, "Version=%d.%d%c\n", 2, 0, 'a');
    std::fprintf(f, "Patch=%d\n", 2);
    std::fprintf(f, "Itemcount=%d\n", static_cast<int>(list.size()));
    std::fprintf(f, "Writeable=%d\n", writeable);
    std::fprintf(f, "UpdateTimeDate=%24.24s\n", timeText);
    std::fprintf(f, ";Items begin\n");
    for (const TextureItem& item : list) {
      const TEXTURE& t = item.texture;
      std::fprintf(f, ":BEGINITEM\n");
      std::fprintf(f, "%s=%s\n", "TextureName", item.name.empty() ? "UNKNOWN NAME" : item.name.c_str());
      for (const Key& k : kKeys) {
        switch (k.kind) {
          case Kind::Int:
            std::fprintf(f, "%s=%lu\n", k.name, static_cast<unsigned long>(static_cast<std::uint32_t>(t.*k.i)));
            break;
          case Kind::Unsigned:
          case Kind::Colour: std::fprintf(f, "%s=%lu\n", k.name, static_cast<unsigned long>(t.*k.u)); break;
          case Kind::Float: std::fprintf(f, "%s=%f\n", k.name, static_cast<double>(t.*k.f)); break;
        }
      }
      std::fprintf(f, ":ENDITEM\n");
    }
    std::fprintf(f, ";Items end -- beyond this point be dragons.\n");
  }
  return out.Commit() ? 1 : 0;
}

bool IsTextureKey(const std::string& key) { return FindKey(key.c_str()) != nullptr; }
bool IsTextureFloatKey(const std::string& key) {
  const Key* k = FindKey(key.c_str());
  return k && k->kind == Kind::Float;
}

bool SetTextureField(TEXTURE* t, const std::string& key, const std::string& value) {
  const Key* k = FindKey(key.c_str());
  if (!k || !t) return false;
  Store(t, *k, value.c_str());
  return true;
}

}  // namespace ochrel
