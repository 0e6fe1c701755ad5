#pragma once

#include <QDockWidget>

#include <array>

class QToolButton;
class QGridLayout;

namespace ochrel {

// The toolbox: one button for each of the eighteen tools, in one or two
// columns; the current tool's button stays pressed.
class ToolBox : public QDockWidget {
  Q_OBJECT
 public:
  explicit ToolBox(QWidget* parent);
  QToolButton* button(int tool) const { return buttons_[static_cast<std::size_t>(tool)]; }
  // Shows a tool as current (UM_SELECTTOOL), without any session change.
  void ShowCurrent(int tool);
  void SetColumns(int columns);
 signals:
  // A click: the tool change of the toolbox.
  void toolChosen(int tool);

 protected:
  void contextMenuEvent(QContextMenuEvent* event) override;

 private:
  void Layout();
  std::array<QToolButton*, 18> buttons_{};
  QWidget* body_;
  QGridLayout* grid_;
};

// The tool's picture, drawn at any size.
QIcon ToolIcon(int tool);

}  // namespace ochrel
