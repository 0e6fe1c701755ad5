#pragma once

#include <QMainWindow>

namespace ochrel {

// The frame window: menus, button bar, the multiple-document area, status bar.
class MainFrame : public QMainWindow {
  Q_OBJECT
 public:
  explicit MainFrame(QWidget* parent = nullptr);
};

}  // namespace ochrel
