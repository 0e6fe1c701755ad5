#include "fills/texture_file.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <strings.h>

#include "fills/library_io.h"

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

#define KI(n) \
  Key { #n, Kind::Int, &TEXTURE::n, nullptr, nullptr }
#define KU(n) \
  Key { #n, Kind::Unsigned, nullptr, &TEXTURE::n, nullptr }
#define KF(n) \
  Key { #n, Kind::Float, nullptr, nullptr, &TEXTURE::n }

// In the order the writer puts them.
const Key kKeys[] = {
    KF(Power1),       KF(Power2),      KF(Power3),      KF(Power4),      KF(Power5),      KU(SeedValue1),
    KU(SeedValue2),   KU(SeedValue3),  KU(SeedValue4),  KU(SeedValue5),  KF(Dimension1),  KF(Dimension2),
    KF(Dimension3),   KF(Dimension4),  KF(Dimension5),  KI(MatrixSize),  KI(TextureType), KU(ForeColour1),
    KU(ForeColour2),  KU(ForeColour3), KU(ForeColour4), KU(ForeColour5), KU(BackColour),  KI(CreaterCount),
    KF(CreaterDepth), KF(ColorRed0),   KF(ColorRed1),   KF(ColorRed2),   KF(ColorRed3),   KF(ColorGreen0),
    KF(ColorGreen1),  KF(ColorGreen2), KF(ColorGreen3), KF(ColorBlue0),  KF(ColorBlue1),  KF(ColorBlue2),
    KF(ColorBlue3),   KI(BubbleCount), KI(BubbleSize),  KF(BubblePower), KI(BubbleShape), KF(PerturbationPower),
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

// The editor's range of each numeric field; percent fields hold a hundredth of it.
struct Range {
  const char* key;
  int lo, hi;
  bool percent;
};
const Range kRanges[] = {
    {"Power1", 0, 150, true},
    {"Power2", 0, 150, true},
    {"Power3", 0, 150, true},
    {"Power4", 0, 150, true},
    {"Power5", 0, 150, true},
    {"SeedValue1", 1, 32760, false},
    {"SeedValue2", 1, 32760, false},
    {"SeedValue3", 1, 32760, false},
    {"SeedValue4", 1, 32760, false},
    {"SeedValue5", 1, 32760, false},
    {"MatrixSize", 32, 1024, false},
    {"Dimension1", 200, 2000, true},
    {"Dimension2", 200, 2000, true},
    {"Dimension3", 200, 2000, true},
    {"Dimension4", 200, 2000, true},
    {"Dimension5", 200, 2000, true},
    {"CreaterCount", 100, 10000, false},
    {"CreaterDepth", 50, 400, true},
    {"BubbleCount", 0, 512, false},
    {"BubbleSize", 1, 64, false},
    {"BubblePower", 0, 100, true},
    {"PerturbationPower", 0, 800, true},
    {"TextureType", 0, 5, false},
    {"BubbleShape", 0, 3, false},
    {"ColorRed0", 0, 100, true},
    {"ColorRed1", 0, 100, true},
    {"ColorRed2", 0, 100, true},
    {"ColorRed3", 0, 100, true},
    {"ColorGreen0", 0, 100, true},
    {"ColorGreen1", 0, 100, true},
    {"ColorGreen2", 0, 100, true},
    {"ColorGreen3", 0, 100, true},
    {"ColorBlue0", 0, 100, true},
    {"ColorBlue1", 0, 100, true},
    {"ColorBlue2", 0, 100, true},
    {"ColorBlue3", 0, 100, true},
};

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
    ClampTextureFields(&item);
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

int SaveTextureFile(const std::string& path, const TextureList& list, int writeable, const char* stamp,
                    const SaveOptions& options) {
  if (options.backups) fills::MakeBackup(path);
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

void ClampTextureFields(TEXTURE* t) {
  if (!t) return;
  for (const Range& r : kRanges) {
    const Key* k = FindKey(r.key);
    if (!k) continue;
    if (k->kind == Kind::Float) {
      const float lo = r.percent ? static_cast<float>(r.lo * 0.01) : static_cast<float>(r.lo);
      const float hi = r.percent ? static_cast<float>(r.hi * 0.01) : static_cast<float>(r.hi);
      float& v = t->*k->f;
      if (!(v >= lo)) v = lo;  // NaN too
      if (v > hi) v = hi;
    } else if (k->kind == Kind::Int) {
      int& v = t->*k->i;
      v = std::clamp(v, r.lo, r.hi);
    } else {
      std::uint32_t& v = t->*k->u;
      v = std::clamp<std::uint32_t>(v, static_cast<std::uint32_t>(r.lo), static_cast<std::uint32_t>(r.hi));
    }
  }
  for (COLORREF TEXTURE::*c : {&TEXTURE::ForeColour1, &TEXTURE::ForeColour2, &TEXTURE::ForeColour3,
                               &TEXTURE::ForeColour4, &TEXTURE::ForeColour5, &TEXTURE::BackColour})
    t->*c &= 0xFFFFFF;
}

bool SameTextureFields(const TEXTURE& a, const TEXTURE& b) {
  for (const Key& k : kKeys) {
    switch (k.kind) {
      case Kind::Int:
        if (a.*k.i != b.*k.i) return false;
        break;
      case Kind::Unsigned:
      case Kind::Colour:
        if (a.*k.u != b.*k.u) return false;
        break;
      case Kind::Float:
        if (a.*k.f != b.*k.f) return false;
        break;
    }
  }
  return true;
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
