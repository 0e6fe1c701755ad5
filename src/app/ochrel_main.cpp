// The program: starts the rendering back end first and ends it last, builds the
// frame, opens a file named on the command line, and runs the event loop.
#include <QApplication>
#include <QScreen>
#include <QTimer>

#include <ctime>

#include "frame/commands.h"
#include "frame/config.h"
#include "frame/strings.h"
#include "image/crand.h"
#include "image/settings.h"
#include "render/wrapper.h"
#include "ui/mainframe.h"
#include "ui/recoveryservice.h"
#include "ui/messages.h"
#include "ui/startup.h"
#include "frame/tips.h"

int main(int argc, char** argv) {
  using namespace ochrel;
  ochrel::srand(static_cast<unsigned>(std::time(nullptr)));
  WRAPPERBLOCK wrapper;
  wrapper.Operation = WRAPPER_START;
  OCHLWRPR_proc(&wrapper);

  int code = 0;
  {
    QApplication app(argc, argv);
    QApplication::setApplicationName("Ochrel");
    ReadStartupWindowFlag();
    QScreen* screen = QGuiApplication::primaryScreen();
    SetDisplayBits(screen ? screen->depth() : 0);
    // The start-up window stands while the frame is built.
    OpenLogo(nullptr);

    MainFrame frame;
    // One command line is one file name, quotes and all.
    QStringList args = QApplication::arguments();
    args.removeFirst();
    if (!args.isEmpty()) {
      std::string line = args.join(' ').toStdString();
      QTimer::singleShot(0, &frame, [&frame, line] { frame.OpenFile(line); });
    }
    frame.show();
    if (StartMaximized) frame.showMaximized();
    // The start-up window stays in front of the frame that was built behind it.
    if (LogoWindow* logo = CurrentLogo()) logo->raise();

    // The program needs true colour and at least 800 by 600.
    QSize size = screen ? screen->size() : QSize();
    if (GetDisplayBits() <= 8 || size.width() < 800 || size.height() < 600) {
      CloseLogo();
      ShowDriverDialog(&frame);
      code = 0;
    } else {
      // Timer 2: the start-up window closes after LogoDelay.
      QTimer::singleShot(std::max(100, LogoDelay), &frame, [] { CloseLogo(); });
      const bool tipDue = ShowTipOfTheDay && IsTipTime();
      ochrel::srand(static_cast<unsigned>(std::time(nullptr)));
      // The one-time notice comes first; the day's tip waits until it is closed.
      QTimer::singleShot(0, &frame, [&frame, tipDue] {
        if (WarnNonBeta) {
          DoMessage(&frame,
                    "This is an interim release of Ochrel. Some features are still being completed.\n\n"
                    "This notice will not be shown again.",
                    "Interim Release Notice");
          WarnNonBeta = 0;
        }
        // Pictures a killed program left unsaved come back before anything else is asked.
        frame.recovery()->OfferAtStart();
        if (tipDue) frame.PostCommand(CM_TIPOFTHEDAY);
      });
      // For smoke tests: OCHREL_QUIT_AFTER_MS closes the program by itself.
      if (const char* ms = std::getenv("OCHREL_QUIT_AFTER_MS"))
        QTimer::singleShot(std::atoi(ms), &frame, [&frame] { frame.close(); });
      code = app.exec();
    }
  }
  wrapper = WRAPPERBLOCK{};
  wrapper.Operation = WRAPPER_END;
  OCHLWRPR_proc(&wrapper);
  return code;
}
