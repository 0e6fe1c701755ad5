// ochrel-cli: each command lives in its own cmd_*.cpp and registers itself here,
// so adding a command touches no other file.
#pragma once

#include <string>
#include <vector>

namespace ochrel::cli {

using Args = std::vector<std::string>;

struct Command {
  const char* name;
  const char* usage;    // arguments after the name, e.g. "IN OUT [--quality N]"
  const char* summary;  // one line for --help
  int (*run)(const Args& args);
};

std::vector<Command>& Registry();

// Files are read by what they are and written by what their name says.
inline constexpr const char* kNotAnImageFile = ": not a JPEG, BMP, PCX, TGA or PNG file";
inline constexpr const char* kNotAnImageName =
    ": not an image file name (.jpg, .jpeg, .jpe, .jfif, .bmp, .pcx, .tga or .png)";

struct Registrar {
  explicit Registrar(const Command& c) { Registry().push_back(c); }
};

// Prints "ochrel-cli: message" on standard error and returns the failure status 1.
int Fail(const std::string& message);
// Prints the usage line of a command and returns 2.
int Usage(const Command& c);

// Finds "--name value" in args (removing both); false if absent. An option at
// the end without its value is an error, reported through *missing.
bool TakeOption(Args& args, const std::string& name, std::string* value, bool* missing = nullptr);
// Collects every "--name value" (repeatable options such as --set).
std::vector<std::string> TakeRepeated(Args& args, const std::string& name, bool* missing = nullptr);
bool TakeFlag(Args& args, const std::string& name);
// Strict whole-number parse; false for anything but an optional sign and digits
// that fit in 64 bits.
bool ParseInt(const std::string& text, long long* value);
bool ParseDouble(const std::string& text, double* value);

// Commands that draw text or use Qt's painter need a GUI application object; it
// runs on the offscreen platform, so no display is needed.
void EnsureGuiApplication();

}  // namespace ochrel::cli

#define OCHREL_CLI_CAT2(a, b) a##b
#define OCHREL_CLI_CAT(a, b) OCHREL_CLI_CAT2(a, b)
#define OCHREL_CLI_COMMAND(...) \
  static ::ochrel::cli::Registrar OCHREL_CLI_CAT(ochrel_cli_reg_, __LINE__)(::ochrel::cli::Command{__VA_ARGS__})
