// The program: starts the rendering back end first and ends it last, builds the
// frame, opens a file named on the command line, and runs the event loop.
#include <QApplication>
#include <QIcon>
#include <QScreen>
#include <QTimer>

#include <cstdio>
#include <cstring>
#include <ctime>
#include <filesystem>

#include "frame/commands.h"
#include "frame/config.h"
#include "frame/strings.h"
#include "frame/version.h"
#include "image/crand.h"
#include "frame/settings.h"
#include "render/wrapper.h"
#include "ui/frame/mainframe.h"
#include "ui/frame/recoveryservice.h"
#include "ui/widgets/messages.h"
#include "ui/frame/startup.h"
#include "frame/tips.h"

namespace {

// --help and --version answer on the terminal before any window exists.
bool AnswerInfoOption(int argc, char** argv) {
  if (argc != 2) return false;
  if (!std::strcmp(argv[1], "--version")) {
    std::printf("Ochrel %s\n", ochrel::kOchrelVersion);
    return true;
  }
  if (!std::strcmp(argv[1], "--help") || !std::strcmp(argv[1], "-h")) {
    std::printf(
        "usage: ochrel [FILE...]\n\n"
        "Ochrel, a paint program for JPEG, BMP, PCX, TGA and PNG pictures.\n"
        "A command line naming one file opens it; several existing files open in windows of their own.\n\n"
        "  --help     print this text and exit\n"
        "  --version  print the version and exit\n\n"
        "ochrel-cli runs the same engine on files from the shell.\n");
    return true;
  }
  return false;
}

}  // namespace

int main(int argc, char** argv) {
  using namespace ochrel;
  if (AnswerInfoOption(argc, argv)) return 0;
  ochrel::srand(static_cast<unsigned>(std::time(nullptr)));
  WRAPPERBLOCK wrapper;
  wrapper.Operation = WRAPPER_START;
  OCHLWRPR_proc(&wrapper);

  int code = 0;
  {
    QApplication app(argc, argv);
    QApplication::setApplicationName("Ochrel");
    // Ties the windows to the launcher entry and its icon.
    QGuiApplication::setDesktopFileName("org.ochrel.Ochrel");
    QIcon icon = QIcon::fromTheme("org.ochrel.Ochrel");
    if (icon.isNull()) {
      Q_INIT_RESOURCE(appicon);
      for (int size : {16, 32, 48, 64, 128, 256}) icon.addFile(QString(":/appicon/%1.png").arg(size));
    }
    QApplication::setWindowIcon(icon);
    ReadStartupWindowFlag();
    QScreen* screen = QGuiApplication::primaryScreen();
    SetDisplayBits(screen ? screen->depth() : 0);
    // The start-up window stands while the frame is built.
    OpenLogo(nullptr);

    MainFrame frame;
    // Every file named on the command line opens as a document.
    QStringList args = QApplication::arguments();
    args.removeFirst();
    if (!args.isEmpty()) QTimer::singleShot(0, &frame, [&frame, args] { frame.OpenCommandLine(args); });
    frame.show();
    if (StartMaximized) frame.showMaximized();
    // The start-up window stays in front of the frame that was built behind it.
    if (LogoWindow* logo = CurrentLogo()) logo->raise();

    // The program needs true colour and at least 800 by 600.
    // Counted in the display's own pixels: a scaled desktop has fewer logical ones.
    QSize size = screen ? screen->size() * screen->devicePixelRatio() : QSize();
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
