// One QApplication for the Qt tests of a folder, on the offscreen platform, with
// settings and data folders of its own so that no test touches a user's files.
#pragma once

#include <QApplication>

#include <cstdlib>
#include <filesystem>
#include <string>

namespace ochrel::test {

inline void EnsureQtApp() {
  if (QApplication::instance()) return;
  static std::string base = [] {
    std::string dir = (std::filesystem::temp_directory_path() / ("ochrel-test-" + std::to_string(::getpid()))).string();
    std::filesystem::create_directories(dir);
    return dir;
  }();
  setenv("OCHREL_CONFIG_DIR", (base + "/config").c_str(), 1);
  setenv("OCHREL_DATA_DIR", (base + "/data").c_str(), 1);
  // Files the program deletes go to a trash inside the test's folder.
  setenv("XDG_DATA_HOME", (base + "/xdg").c_str(), 1);
  // Recovery copies of unsaved pictures too.
  setenv("XDG_STATE_HOME", (base + "/state").c_str(), 1);
  if (!std::getenv("QT_QPA_PLATFORM")) setenv("QT_QPA_PLATFORM", "offscreen", 1);
  static int argc = 1;
  static char name[] = "ochrel-tests";
  static char* argv[] = {name, nullptr};
  new QApplication(argc, argv);
}

inline std::string TestConfigDir() { return std::getenv("OCHREL_CONFIG_DIR"); }

}  // namespace ochrel::test
