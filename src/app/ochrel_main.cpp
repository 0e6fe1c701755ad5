#include <QApplication>
#include <QTimer>

#include "ui/mainframe.h"

int main(int argc, char** argv) {
  QApplication app(argc, argv);
  QApplication::setApplicationName("Ochrel");
  ochrel::MainFrame frame;
  frame.show();
  // For smoke tests: OCHREL_QUIT_AFTER_MS closes the program by itself.
  if (const char* ms = std::getenv("OCHREL_QUIT_AFTER_MS"))
    QTimer::singleShot(std::atoi(ms), &frame, [&frame] { frame.close(); });
  return app.exec();
}
