#include "ui/dialogrunner.h"

#include <QMenu>

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
UrlOpener g_opener;
}

void SetDialogAnswerer(DialogAnswerer answerer) { g_answerer = std::move(answerer); }

bool RunDialog(QDialog& dialog) {
  if (g_answerer) return g_answerer(dialog);
  return dialog.exec() == QDialog::Accepted;
}

namespace {
MenuAnswerer g_menuAnswerer;
}

void SetMenuAnswerer(MenuAnswerer answerer) { g_menuAnswerer = std::move(answerer); }

QAction* RunMenu(QMenu& menu, const QPoint& at) { return g_menuAnswerer ? g_menuAnswerer(menu) : menu.exec(at); }

void SetUrlOpener(UrlOpener opener) { g_opener = std::move(opener); }

bool OpenUrl(const QUrl& url) { return g_opener ? g_opener(url) : QDesktopServices::openUrl(url); }

void OpenHelpPage(QWidget* parent, const char* pageName, const char* topic) {
  QString page = QString::fromStdString((DataFolder() / "html" / pageName).string());
  QUrl url = QUrl::fromLocalFile(page);
  url.setFragment(QString::fromLatin1(topic));
  if (!QFileInfo::exists(page) || !OpenUrl(url)) DoMessage(parent, FetchString(306));
}

void DoHelp(QWidget* parent, const char* topic) { OpenHelpPage(parent, "referenc.htm", topic); }

}  // namespace ochrel
