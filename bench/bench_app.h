// One QApplication on Qt's offscreen platform for the benchmarks that drive widgets.
#pragma once

#include <QApplication>

#include <cstdlib>

namespace ochrel::bench {

inline void EnsureApp() {
  if (QApplication::instance()) return;
  if (!std::getenv("QT_QPA_PLATFORM")) setenv("QT_QPA_PLATFORM", "offscreen", 1);
  static int argc = 1;
  static char name[] = "ochrel-bench";
  static char* argv[] = {name, nullptr};
  new QApplication(argc, argv);
}

}  // namespace ochrel::bench
