#include "ui/widgets/dialogrunner.h"

#include <QMenu>

#include <QDesktopServices>
#include <QDialog>
#include <QFileInfo>
#include <QTextBrowser>
#include <QUrl>
#include <QVBoxLayout>

#include "frame/paths.h"
#include "frame/strings.h"
#include "ui/widgets/messages.h"

namespace ochrel {

namespace {
DialogAnswerer g_answerer;
UrlOpener g_opener;
}  // namespace

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
  if (!QFileInfo::exists(page)) {
    DoMessage(parent, FetchString(306));
    return;
  }
  // Without a browser the page shows in a help window of our own.
  if (!OpenUrl(url)) ShowHelpWindow(parent, url);
}

QWidget* ShowHelpWindow(QWidget* parent, const QUrl& url) {
  QWidget* top = parent ? parent->window() : nullptr;
  auto* window = top ? top->findChild<QDialog*>("HelpWindow") : nullptr;
  if (!window) {
    window = new QDialog(top);
    window->setObjectName("HelpWindow");
    window->setWindowTitle("Ochrel Help");
    window->setAttribute(Qt::WA_DeleteOnClose);
    auto* browser = new QTextBrowser(window);
    browser->setObjectName("HelpText");
    browser->setOpenExternalLinks(false);
    auto* layout = new QVBoxLayout(window);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(browser);
    window->resize(640, 560);
  }
  window->findChild<QTextBrowser*>("HelpText")->setSource(url);
  window->show();
  window->raise();
  window->activateWindow();
  return window;
}

void DoHelp(QWidget* parent, const char* topic) { OpenHelpPage(parent, "referenc.htm", topic); }

}  // namespace ochrel
