// The modal message dialogs: a text with OK, Yes/No, or Yes/No/Cancel. Tests
// install an answerer instead of clicking.
#pragma once

#include <QString>

#include <functional>

class QWidget;

namespace ochrel {

enum DialogAnswer : int { IDOK = 1, IDCANCEL = 2, IDYES = 6, IDNO = 7 };
enum PromptKind : int { PROMPT_MESSAGE, PROMPT_YESNO, PROMPT_YESNOCANCEL };

void DoMessage(QWidget* parent, const QString& text, const QString& title = QString());
int DoYesNo(QWidget* parent, const QString& text);
int DoYesNoCancel(QWidget* parent, const QString& text);

// With an answerer set, no dialog opens: it gets the kind and text and returns
// the button. Pass an empty function to restore the dialogs.
using PromptAnswerer = std::function<int(PromptKind, const QString&)>;
void SetPromptAnswerer(PromptAnswerer answerer);

}  // namespace ochrel
