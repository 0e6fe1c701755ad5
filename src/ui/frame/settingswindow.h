#pragma once

#include <QDockWidget>
#include <QPointer>

#include <map>
#include <string>
#include <vector>

#include "frame/blockset.h"

class QAbstractButton;
class QButtonGroup;
class QCheckBox;
class QComboBox;
class QLabel;
class QSlider;
class QSpinBox;

namespace ochrel {

class DocumentWindow;

// The tool settings window: one set of controls for all eighteen tools, shown
// and hidden per tool by the settings page of its row in the tool table. Every
// change goes straight into the record of the document on top (there is no OK)
// and, when UpdateDefaults is on, to its Default setting; the document's tool session hears of it by a
// posted message. With no document the controls move but nothing is stored.
class SettingsWindow : public QDockWidget {
  Q_OBJECT
 public:
  explicit SettingsWindow(QWidget* parent);
  ~SettingsWindow() override;

  // The page of a tool (UM_REFRESH with the tool number); out-of-range numbers
  // take the nearest tool. Fills every control from the document on top.
  void ShowTool(int tool);
  // The document whose settings the controls show and change (null for none).
  void ShowDocument(DocumentWindow* top);
  // Takes the document's values again and redraws the samples (a colour change).
  void Refresh();

  int tool() const { return tool_; }
  DocumentWindow* document() const;
  // The control of an id of the tables (an edit and its spin share one widget);
  // null for an unknown id.
  QWidget* control(int id) const;
  // The ids whose controls are showing, for the tests of the pages.
  std::vector<int> VisibleIds() const;
  // The whole page as it looks.
  QWidget* body() const { return body_; }
  // Why a shadow can't be drawn with the settings shown, under the Shadow box;
  // hidden when it can or when the page has no Shadow box.
  QLabel* shadowNote() const { return shadowNote_; }

 protected:
  // The caption's menu holds "&Dock" alone: back to the frame's right.
  void contextMenuEvent(QContextMenuEvent* event) override;

 private:
  struct Binding;
  QLabel* AddLabel(int id, const char* text, QRect r, Qt::Alignment align = Qt::AlignLeft | Qt::AlignVCenter);
  void AddGroup(int id, const char* title, QRect r);
  QSpinBox* AddSpin(int id, int labelId, const char* label, QRect labelRect, QRect r, int lo, int hi, int start,
                    int BLOCKSET::*field, const char* stem, int message, int stepLo = -1);
  QSlider* AddTrack(int id, int labelId, const char* label, int valueId, QRect labelRect, QRect r, QRect valueRect,
                    int lo, int hi, int tick, int BLOCKSET::*field, const char* stem, int message,
                    bool vertical = false);
  void AddRadios(std::initializer_list<std::pair<int, const char*>> buttons, std::initializer_list<int> values,
                 QPoint at, int step, int BLOCKSET::*field, const char* stem, int message);
  QCheckBox* AddCheck(int id, const char* text, QRect r, int BLOCKSET::*field, const char* stem);
  QWidget* AddSample(int id, QRect r);
  void BuildFontControls();

  // The record the controls read: the top document's, or defaults without one.
  const BLOCKSET& Shown() const;
  void Store(int BLOCKSET::*field, int value, const char* stem, int message);
  void StoreTolerance(int id, int value);
  void SetIdentical(bool on);
  void FillControls();
  void RedrawSamples();
  void UpdateShadowNote();
  void FocusDocument();

  QWidget* body_;
  std::map<int, QWidget*> controls_;
  std::vector<QWidget*> samples_;
  std::vector<Binding*> bindings_;
  QComboBox* fonts_ = nullptr;
  QLabel* shadowNote_ = nullptr;
  QPointer<DocumentWindow> top_;
  BLOCKSET defaults_;
  int tool_ = 0;
  bool filling_ = false;
};

}  // namespace ochrel
