#pragma once

#include <QImage>
#include <QMainWindow>

#include <functional>
#include <map>
#include <string>

#include "image/dib.h"
#include "ui/widgets/frameservices.h"

class QMdiArea;
class QMenu;
class QAction;
class QComboBox;
class QLabel;
class QToolButton;

namespace ochrel {

class DocumentWindow;
class RecoveryService;
class ToolBox;
class SettingsWindow;
struct BLOCKSET;

// The button bar: the zoom list and one button for each byte of ButtonList.
class ButtonBar : public QWidget {
  Q_OBJECT
 public:
  explicit ButtonBar(QWidget* parent);
  QComboBox* zoomList() const { return zoom_; }
  QToolButton* button(int command) const;
  const std::map<int, QToolButton*>& buttons() const { return buttons_; }
  QSize sizeHint() const override { return QSize(400, 34); }
 signals:
  void command(int id);

 private:
  QComboBox* zoom_;
  std::map<int, QToolButton*> buttons_;
};

// A colour swatch of the status bar (501 paint, 503 paper, 502 fill).
class SwatchButton : public QWidget {
  Q_OBJECT
 public:
  SwatchButton(int id, QWidget* parent);
  void setColour(COLORREF c);
  COLORREF colour() const { return colour_; }
  // A picture of the fill instead of the colour; a null image for none.
  void setSample(const QImage& sample);
  const QImage& sample() const { return sample_; }
  // No document: the plain face colour.
  void setNeutral(bool neutral);
  bool neutral() const { return neutral_; }
 signals:
  void clicked(int id);
  void rightClicked(int id, QPoint globalPos);

 protected:
  void paintEvent(QPaintEvent*) override;
  void mousePressEvent(QMouseEvent*) override;

 private:
  int id_;
  COLORREF colour_ = 0;
  QImage sample_;
  bool neutral_ = false;
};

class StatusBar : public QWidget {
  Q_OBJECT
 public:
  explicit StatusBar(QWidget* parent);
  SwatchButton* swatch(int id) const;
  QLabel* message() const { return message_; }
  QSize sizeHint() const override { return QSize(400, 20); }
 signals:
  void command(int id);
  void rightClicked(int id, QPoint globalPos);

 private:
  std::map<int, SwatchButton*> swatches_;
  QLabel* message_;
};

// The frame window: menus, button bar, the multiple-document area, status bar;
// it handles what needs no document and hands every other command to the
// active document.
class MainFrame : public QMainWindow, public FrameServices {
  Q_OBJECT
 public:
  explicit MainFrame(QWidget* parent = nullptr);
  ~MainFrame() override;

  // A command from the menu, an accelerator, a bar button or the status bar.
  void Command(int id);
  // The same, run after the present handler.
  void PostCommand(int id) override;

  QMdiArea* client() const { return client_; }
  ButtonBar* buttonBar() const { return bar_; }
  StatusBar* statusBar() const { return status_; }
  QAction* action(int id) const;
  ToolBox* toolBox() const { return toolbox_; }
  SettingsWindow* settingsWindow() const { return settings_; }
  // UM_FOCUSDOCUMENT: the keyboard to the active document's tool.
  void FocusDocument();
  // The toolbox's tool change, on the top document.
  void ChooseTool(int tool) override;
  // The files named on the command line, one document each; a name with
  // spaces may also come as several words.
  void OpenCommandLine(const QStringList& args);
  DocumentWindow* ActiveDocument() const;
  int CountOpenDocuments() const;

  void StatusText(const QString& text) override;
  void CloseStatus() { StatusText(QString()); }
  // Grey states of menu items and bar buttons for the active document.
  void UpdateMenuStates() override;
  void RefreshStatus() override;
  void ViewStateChanged(int viewMode, bool gridActive) override;

  // Opens a file through the Open command, as a dropped file or the recent list does.
  void OpenFile(const std::string& path);
  // Files dropped on the document area: each with an image file name (any
  // JPEG name included) opens; others pass without a word.
  void DropFiles(const QStringList& paths);
  void AddRecentPath(const std::string& path) override;
  // A new document holding a copy of the image (the sender keeps its own).
  DocumentWindow* NewFromDib(const HDIB& image);
  bool OpenAsNewDocument(const HDIB& image) override;
  // The recovery copies of modified documents, and the offer at start.
  RecoveryService* recovery() const { return recovery_; }

  // The file services a document uses; tests may replace the save dialog.
  bool WriteDocument(QWidget* parent, const HDIB& image, const std::string& path) override;
  bool AskSavePath(QWidget* parent, const std::string& start, std::string* path) override;
  // The open dialog for an image file (or a test's answer).
  bool AskOpenPath(QWidget* parent, std::string* path) override;
  using SavePathAnswerer = std::function<bool(const std::string& start, std::string* path)>;
  static void SetSavePathAnswerer(SavePathAnswerer answerer);
  using OpenPathAnswerer = std::function<bool(std::string* path)>;
  static void SetOpenPathAnswerer(OpenPathAnswerer answerer);
  // Whether Shift is held, as the Exit command sees it; tests may force it.
  static void SetShiftOverride(int state);  // -1 real keyboard, 0 up, 1 down

 protected:
  void closeEvent(QCloseEvent* event) override;
  void moveEvent(QMoveEvent* event) override;
  void changeEvent(QEvent* event) override;
  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  void BuildMenus();
  void BuildAccelerators();
  QAction* AddItem(QMenu* menu, const char* label, int id, bool grey);
  void RebuildRecentMenu();
  void UpdatePasteStates();
  QAction* undoInfo_ = nullptr;
  DocumentWindow* CreateNewTask(const std::string& path);
  void FinishNewDocument(DocumentWindow* w);
  void DoNewCommand();
  void DoOpenCommand();
  // A new document with the picture of a file; a file that can't be read says so.
  void LoadDocument(const std::string& path);
  void DoDuplicate();
  void DoConvert(int id);
  bool CloseAllChildren();
  bool ShiftDown() const;

  QMdiArea* client_ = nullptr;
  ToolBox* toolbox_ = nullptr;
  SettingsWindow* settings_ = nullptr;
  ButtonBar* bar_ = nullptr;
  StatusBar* status_ = nullptr;
  QMenu* fileMenu_ = nullptr;
  QMenu* windowMenu_ = nullptr;
  std::map<int, QAction*> actions_;
  std::vector<QAction*> recentActions_;
  RecoveryService* recovery_ = nullptr;
};

}  // namespace ochrel
