#include "scanning/FileRemover.h"

#include <utility>

#include "platform/Application.h"
#include "platform/LocalizedStrings.h"
#include "platform/ModifierKeys.h"
#include "posix/Text.h"
#include "scanning/FoundFile.h"
#include "scanning/ScannerOwner.h"

namespace quillo {

void FileRemover::attachTo(const std::shared_ptr<ButtonDialog>& dialog,
                           const std::shared_ptr<FoundFile>& file,
                           const ScannerServices& services) {
  auto remover = std::make_shared<FileRemover>(dialog, file, services);
  file->setRemover(remover);
  services.theDialogList.addToDialogList(remover);
  const Verdict& infection = file->infection();
  dialog->setSuspicious(infection.isHeuristic());
  if (!infection.target.empty()) {
    dialog->setSubject(infection.target);
  }
  if (!infection.path.empty()) {
    dialog->setFind(infection.path, infection.threat);
  }
  dialog->setMessage(infection.line);
  // The dialog lets go of its action when it closes, and with it of the controller.
  dialog->setAction([remover](ButtonDialog::Button sender) { remover->moveToTrash(sender); });
}

FileRemover::FileRemover(std::shared_ptr<ButtonDialog> dialog, std::shared_ptr<FoundFile> file,
                         const ScannerServices& services)
    : theDialog(std::move(dialog)), file_(std::move(file)), services_(services) {}

int FileRemover::getLastColon(const std::string& text) { return lastColon(text); }

std::string FileRemover::tryToMove(FoundFile& file, const ScannerServices& services) {
  std::string problem = file.moveToTrash();
  if (!problem.empty()) {
    services.application.beep();
  }
  return problem;
}

void FileRemover::moveToTrash(ButtonDialog::Button sender) {
  // Closing lets go of the action that is running, and may hold the last reference to this object.
  const auto alive = shared_from_this();
  const unsigned int modifiers = services_.modifierKeys.current();
  std::string problem;
  if (sender == ButtonDialog::Button::deleteButton) {
    problem = tryToMove(*file_, services_);
  } else if (modifiers & ModifierKeys::optionKey) {
    file_->show();
  }
  services_.theDialogList.removeFromDialogList(*this);
  if (modifiers & ModifierKeys::commandKey) {
    services_.theDialogList.removeAllFromDialogList();
  }
  theDialog->close();
  if (!problem.empty()) {
    showFailure(problem, file_, services_);
  }
}

void FileRemover::moveToTrash(const std::shared_ptr<FoundFile>& file,
                              const ScannerServices& services) {
  const std::string problem = tryToMove(*file, services);
  if (const auto remover = file->remover()) {
    services.theDialogList.removeFromDialogList(*remover);
    remover->ignoreWarning();
  }
  if (!problem.empty()) {
    showFailure(problem, file, services);
  }
}

// In a window of its own: the one that was answered is gone, as ever.
void FileRemover::showFailure(const std::string& problem, const std::shared_ptr<FoundFile>& file,
                              const ScannerServices& services) {
  const auto dialog = services.interfaceLoader.load("WarningDialog");
  if (!dialog) {
    return;
  }
  attachTo(dialog, file, services);
  dialog->showFailure(Wording{"NOT_TRASHED", {problem}}.in(services.localizedStrings));
  dialog->orderFrontRegardless();
}

void FileRemover::ignoreWarning() {
  const auto alive = shared_from_this();
  theDialog->close();
}

}  // namespace quillo
