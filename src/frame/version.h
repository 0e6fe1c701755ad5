#pragma once

namespace ochrel {
// The program's version as it shows it.
inline constexpr const char* kOchrelVersion = "2.0a";
}  // namespace ochrel
