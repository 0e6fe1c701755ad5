#include "ui/dialogrunner.h"

#include <QDesktopServices>
#include <QDialog>
#include <QFileInfo>
#include <QUrl>

#include "frame/paths.h"
#include "frame/strings.h"
#include "ui/messages.h"

namespace ochrel {

namespace {
DialogAnswerer g_answerer;
}

void SetDialogAnswerer(DialogAnswerer answerer) { g_answerer = std::move(answerer); }

bool RunDialog(QDialog& dialog) {
  if (g_answerer) return g_answerer(dialog);
  return dialog.exec() == QDialog::Accepted;
}

void DoHelp(QWidget* parent, const char* topic) {
  QString page = QString::fromStdString((DataFolder() / "html" / "referenc.htm").string());
  QUrl url = QUrl::fromLocalFile(page);
  url.setFragment(QString::fromLatin1(topic));
  if (!QFileInfo::exists(page) || !QDesktopServices::openUrl(url)) DoMessage(parent, FetchString(306));
}

}  // namespace ochrel
