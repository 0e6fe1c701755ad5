#include "ui/widgets/messages.h"

#include <QApplication>
#include <QDialog>
#include <QDialogButtonBox>
#include <QLabel>
#include <QPushButton>
#include <QScreen>
#include <QStyle>
#include <QVBoxLayout>

#include "frame/strings.h"

namespace ochrel {

namespace {
PromptAnswerer g_answerer;

// "MessageDlgBox", "YesnoBox", "YesNoCancelBox": centred, focus on OK or Yes,
// ending with the number of the button.
int RunPrompt(QWidget* parent, PromptKind kind, const QString& text, const QString& title) {
  if (g_answerer) return g_answerer(kind, text);
  QDialog box(parent);
  box.setObjectName(kind == PROMPT_MESSAGE ? "MessageDlgBox" : kind == PROMPT_YESNO ? "YesnoBox" : "YesNoCancelBox");
  box.setWindowTitle(title.isEmpty() ? QString::fromUtf8(FetchString(IDS_TITLE)) : title);
  auto* layout = new QVBoxLayout(&box);
  auto* row = new QHBoxLayout;
  auto* icon = new QLabel(&box);
  QStyle::StandardPixmap sp = kind == PROMPT_MESSAGE ? QStyle::SP_MessageBoxInformation : QStyle::SP_MessageBoxQuestion;
  icon->setPixmap(box.style()->standardIcon(sp).pixmap(32, 32));
  icon->setAlignment(Qt::AlignTop);
  auto* label = new QLabel(text, &box);
  label->setObjectName("101");
  label->setWordWrap(true);
  label->setMinimumWidth(280);
  row->addWidget(icon);
  row->addWidget(label, 1);
  layout->addLayout(row);
  auto* buttons = new QDialogButtonBox(&box);
  int result = IDCANCEL;
  auto add = [&](const QString& label, int code, QDialogButtonBox::ButtonRole role) {
    QPushButton* b = buttons->addButton(label, role);
    QObject::connect(b, &QPushButton::clicked, &box, [&result, code, &box] {
      result = code;
      box.done(code);
    });
    return b;
  };
  QPushButton* first = nullptr;
  if (kind == PROMPT_MESSAGE) {
    first = add(QObject::tr("OK"), IDOK, QDialogButtonBox::AcceptRole);
    result = IDOK;
  } else {
    first = add(QObject::tr("&Yes"), IDYES, QDialogButtonBox::YesRole);
    add(QObject::tr("&No"), IDNO, QDialogButtonBox::NoRole);
    if (kind == PROMPT_YESNOCANCEL) add(QObject::tr("Cancel"), IDCANCEL, QDialogButtonBox::RejectRole);
    else result = IDNO;
  }
  layout->addWidget(buttons);
  first->setDefault(true);
  first->setFocus();
  box.adjustSize();
  if (QScreen* screen = parent ? parent->screen() : QGuiApplication::primaryScreen())
    box.move(screen->geometry().center() - box.rect().center());
  box.exec();
  return result;
}
}  // namespace

void SetPromptAnswerer(PromptAnswerer answerer) { g_answerer = std::move(answerer); }

void DoMessage(QWidget* parent, const QString& text, const QString& title) {
  RunPrompt(parent, PROMPT_MESSAGE, text, title);
}
int DoYesNo(QWidget* parent, const QString& text) { return RunPrompt(parent, PROMPT_YESNO, text, {}); }
int DoYesNoCancel(QWidget* parent, const QString& text) { return RunPrompt(parent, PROMPT_YESNOCANCEL, text, {}); }

}  // namespace ochrel
