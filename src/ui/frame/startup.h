// What stands around the editor: the start-up window, the tip of the day, the
// manual and its warning, Setup, system information, the display notice and
// About.
#pragma once

#include <QDialog>
#include <QWidget>

#include <functional>
#include <string>

class QCheckBox;
class QLabel;
class QTimer;

namespace ochrel {

// The start-up window: 400 by 232, centred, on top, closed by any press or by
// the frame's timer. OpenLogo does nothing unless ShowStartupWindow is set.
class LogoWindow : public QWidget {
  Q_OBJECT
 public:
  explicit LogoWindow(QWidget* parent = nullptr);
  int frame() const { return frame_; }
  // The animation's picture for a frame (0 to 35).
  static QImage AnimationFrame(int frame);
  static constexpr int kFrames = 36;

 protected:
  void paintEvent(QPaintEvent*) override;
  void mousePressEvent(QMouseEvent*) override;

 private:
  QTimer* timer_;
  int frame_ = 0;
};

void OpenLogo(QWidget* parent);
void CloseLogo();
LogoWindow* CurrentLogo();  // null when none is shown

// The tip dialog "TipOfTheDayBox". Done with Shift held shows the next tip and
// stays; otherwise ShowTipOfTheDay takes the check box and the dialog ends.
class TipDialog : public QDialog {
  Q_OBJECT
 public:
  explicit TipDialog(QWidget* parent = nullptr);
  QString tip() const;
  void done(bool shiftHeld);

 private:
  QLabel* text_;
  QCheckBox* again_;
};
void ShowTipDialog(QWidget* parent);

// "WarningBox", only while *flag is set; its check box writes through to it.
void DoWarning(QWidget* parent, const QString& text, int* flag);
// The manual in the browser, after the warning.
void ShowManual(QWidget* parent);

// The Setup sheet: one page, "Files / Display", built from the settings rows
// that name a control. OK writes the controls back.
class SetupDialog : public QDialog {
  Q_OBJECT
 public:
  explicit SetupDialog(QWidget* parent = nullptr);
  void SetSetupControls();
  void GetSetupControls();
};
bool DoSetup(QWidget* parent);

// "SysInfoBox".
struct SYSINFO {
  int screenWidth = 0, screenDepth = 0, displayBits = 0;
  bool network = false, slowMachine = false;
  std::string version, owner, organization;
};
SYSINFO GatherSysInfo();
// Owner and organisation of this machine's user, with the fallbacks "User %lu"
// and "Unknown user". Non-zero if an owner was found.
int GetMachineName(std::string* owner, std::string* organization);
class SysInfoDialog : public QDialog {
  Q_OBJECT
 public:
  SysInfoDialog(const SYSINFO& info, QWidget* parent = nullptr);
};
void ShowSysInfo(QWidget* parent);

// "ChangeDriverBox": the display cannot serve the program.
void ShowDriverDialog(QWidget* parent);

// About, with a Credits button that opens a second dialog.
void DoAbout(QWidget* parent);

}  // namespace ochrel
