// Runs a modal dialog, or hands it to a test's answerer, which sets the
// controls as a user would and says whether OK was pressed.
#pragma once

#include <functional>

class QAction;
class QDialog;
class QMenu;
class QPoint;
class QUrl;
class QWidget;

namespace ochrel {

using DialogAnswerer = std::function<bool(QDialog&)>;
void SetDialogAnswerer(DialogAnswerer answerer);
bool RunDialog(QDialog& dialog);

// Popup menus the same way: the chosen action, or null.
using MenuAnswerer = std::function<QAction*(QMenu&)>;
void SetMenuAnswerer(MenuAnswerer answerer);
QAction* RunMenu(QMenu& menu, const QPoint& globalPosition);

// Opens a help topic in the help pages; says so when they cannot be shown.
void DoHelp(QWidget* parent, const char* topic);
// A page of the help folder (html/ in the application folder) at an anchor.
void OpenHelpPage(QWidget* parent, const char* page, const char* topic);
// A window of the program's own showing a page; one per frame, reused.
QWidget* ShowHelpWindow(QWidget* parent, const QUrl& url);

// Pages open in the desktop's browser; tests install an opener instead.
using UrlOpener = std::function<bool(const QUrl&)>;
void SetUrlOpener(UrlOpener opener);
bool OpenUrl(const QUrl& url);

}  // namespace ochrel
