#include "platform/linux/pages/PathChooser.h"

#include <QFile>
#include <QFileDialog>
#include <utility>

#include "platform/linux/services/Guarded.h"
#include "platform/linux/text/VisibleText.h"

namespace quillo {

void choosePaths(QWidget& window, Choosable what, const std::string& title,
                 const std::string& where,
                 std::function<void(const std::vector<std::string>& paths)> chosen) {
  auto* dialog = new QFileDialog(&window, displayText(title));
  dialog->setObjectName("pathChooser");
  dialog->setAttribute(Qt::WA_DeleteOnClose);
  dialog->setFileMode(what == Choosable::files ? QFileDialog::ExistingFiles
                                               : QFileDialog::Directory);
  dialog->setOption(QFileDialog::ShowDirsOnly, what == Choosable::folders);
  // What a link leads to is for others to judge.
  dialog->setOption(QFileDialog::DontResolveSymlinks);
  if (!where.empty()) {
    dialog->setDirectory(QFile::decodeName(QByteArray::fromStdString(where)));
  }
  QObject::connect(dialog, &QFileDialog::accepted, &window, [dialog, chosen = std::move(chosen)] {
    std::vector<std::string> paths;
    for (const QString& path : dialog->selectedFiles()) {
      paths.push_back(QFile::encodeName(path).toStdString());
    }
    if (!paths.empty()) {
      guarded([&] { chosen(paths); });
    }
  });
  dialog->open();
}

}  // namespace quillo
