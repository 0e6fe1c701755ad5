#include "ui/dialogs/fills/librarygroups.h"

#include <QComboBox>
#include <QDir>

#include <string>

#include "frame/paths.h"
#include "frame/services.h"
#include "frame/strings.h"
#include "ui/widgets/messages.h"

namespace ochrel {

void FillLibraryGroups(QComboBox* groups, const char* pattern, const char* current) {
  groups->clear();
  const QString folder = QString::fromStdString(DataFolder().string());
  const QStringList files = QDir(folder).entryList({QString::fromLatin1(pattern)}, QDir::Files, QDir::Name);
  const QString selected = QString::fromLatin1(current);
  for (const QString& file : files) {
    if (file.startsWith('.')) continue;
    groups->addItem(file.left(file.lastIndexOf('.')));
    if (file.compare(selected, Qt::CaseInsensitive) == 0) groups->setCurrentIndex(groups->count() - 1);
  }
}

void ShowLibraryGroup(QComboBox* groups, const QString& name) {
  int at = groups->findText(name, Qt::MatchFixedString);
  if (at < 0) {
    groups->addItem(name);
    at = groups->count() - 1;
  }
  groups->setCurrentIndex(at);
}

bool DeleteLibraryGroup(QWidget* owner, const char* kind, const QString& name, const std::string& path) {
  const QString ask =
      QString::asprintf("Do you want to delete the %s %s group?\n\nClick on Yes to delete this file, or No to abort.",
                        name.toLocal8Bit().constData(), kind);
  if (DoYesNo(owner, ask) != IDYES) return false;
  if (DeleteFileToRecycleBin(path) == 0) return true;
  DoMessage(owner, FetchString(IDS_ERROR_WRITING));
  return false;
}

}  // namespace ochrel
