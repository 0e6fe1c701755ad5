// Runs a modal dialog, or hands it to a test's answerer, which sets the
// controls as a user would and says whether OK was pressed.
#pragma once

#include <functional>

class QDialog;
class QWidget;

namespace ochrel {

using DialogAnswerer = std::function<bool(QDialog&)>;
void SetDialogAnswerer(DialogAnswerer answerer);
bool RunDialog(QDialog& dialog);

// Opens a help topic in the help pages; says so when they cannot be shown.
void DoHelp(QWidget* parent, const char* topic);

}  // namespace ochrel
