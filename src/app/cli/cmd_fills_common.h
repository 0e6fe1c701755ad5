// Helpers shared by the fill commands (texture, gradient, tile, shadow).
#pragma once

#include <cmath>
#include <cstdint>
#include <string>
#include <vector>

#include "cli.h"
#include "files/imagefile.h"

namespace ochrel::cli::fills {

// "640x480" -> 640, 480; each side 1..65535.
inline bool ParseSize(const std::string& text, int* w, int* h) {
  const auto x = text.find_first_of("xX");
  if (x == std::string::npos) return false;
  long long a = 0, b = 0;
  if (!ParseInt(text.substr(0, x), &a) || !ParseInt(text.substr(x + 1), &b)) return false;
  if (a < 1 || b < 1 || a > 65535 || b > 65535) return false;
  *w = static_cast<int>(a);
  *h = static_cast<int>(b);
  return true;
}

// One settable field: integer or float, with its range.
struct Field {
  const char* name;
  bool isFloat;
  double lowest, highest;
};

inline const Field* FindField(const std::vector<Field>& fields, const std::string& name) {
  for (const Field& f : fields)
    if (name.size() == std::string(f.name).size() &&
        std::equal(name.begin(), name.end(), f.name, [](char a, char b) { return std::tolower(a) == std::tolower(b); }))
      return &f;
  return nullptr;
}

// Parses "Field=value" against the table. On success *field and *value are
// set; else *error holds the one-line reason.
inline bool ParseSet(const std::vector<Field>& fields, const std::string& text, const Field** field, double* value,
                     std::string* error) {
  const auto eq = text.find('=');
  if (eq == std::string::npos) {
    *error = "--set takes Field=value, not '" + text + "'";
    return false;
  }
  const std::string name = text.substr(0, eq), v = text.substr(eq + 1);
  const Field* f = FindField(fields, name);
  if (!f) {
    *error = "no field named '" + name + "'";
    return false;
  }
  auto range = [&] {
    char buffer[160];
    if (f->isFloat)
      std::snprintf(buffer, sizeof buffer, "%s takes a number from %g to %g, not '%s'", f->name, f->lowest, f->highest,
                    v.c_str());
    else
      std::snprintf(buffer, sizeof buffer, "%s takes a whole number from %.0f to %.0f, not '%s'", f->name, f->lowest,
                    f->highest, v.c_str());
    *error = buffer;
  };
  double d = 0;
  if (f->isFloat) {
    if (!ParseDouble(v, &d) || !std::isfinite(d) || d < f->lowest || d > f->highest) return range(), false;
  } else {
    long long i = 0;
    if (!ParseInt(v, &i) || static_cast<double>(i) < f->lowest || static_cast<double>(i) > f->highest)
      return range(), false;
    d = static_cast<double>(i);
  }
  *field = f;
  *value = d;
  return true;
}

inline bool ParseColourOption(const std::string& text, std::uint32_t* colour) {
  long long v = 0;
  if (!ParseInt(text, &v) || v < 0 || v > 0xFFFFFF) return false;
  *colour = static_cast<std::uint32_t>(v);
  return true;
}

inline std::string ImageNameProblem(const std::string& path) {
  if (FindImageFormat(path.c_str()) >= 0) return {};
  return path + kNotAnImageName;
}

}  // namespace ochrel::cli::fills
