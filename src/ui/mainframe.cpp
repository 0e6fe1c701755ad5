#include "ui/mainframe.h"

#include <QMdiArea>

namespace ochrel {

MainFrame::MainFrame(QWidget* parent) : QMainWindow(parent) {
  setWindowTitle(QString::fromUtf8("Ochrel\u2122"));
  auto* client = new QMdiArea(this);
  client->setObjectName("hwndclient");
  setCentralWidget(client);
  resize(1000, 720);
}

}  // namespace ochrel
