#include "scanning/FileRemover.h"

#include <utility>

#include "platform/Application.h"
#include "platform/ModifierKeys.h"
#include "platform/Wording.h"
#include "platform/Workspace.h"
#include "posix/Text.h"
#include "scanning/ScannerOwner.h"
#include "scanning/ScannerServices.h"

namespace quillo {

void FileRemover::attachTo(const std::shared_ptr<ButtonDialog>& dialog, const Verdict& infection,
                           DialogListOwner& owner, const ScannerServices& services) {
  auto remover = std::make_shared<FileRemover>(dialog, infection, owner, services);
  owner.addToDialogList(remover);
  dialog->setSuspicious(infection.isHeuristic());
  if (!infection.target.empty()) {
    dialog->setSubject(infection.target);
  }
  // The dialog lets go of its action when it closes, and with it of the controller.
  dialog->setAction([remover](ButtonDialog::Button sender) { remover->moveToTrash(sender); });
}

FileRemover::FileRemover(std::shared_ptr<ButtonDialog> dialog, Verdict infection,
                         DialogListOwner& owner, const ScannerServices& services)
    : theDialog(std::move(dialog)),
      infection_(std::move(infection)),
      owner_(owner),
      services_(services) {}

int FileRemover::getLastColon(const std::string& text) { return lastColon(text); }

// The file that was scanned, not a link to it: the link is innocent, and what it leads to is not.
std::string FileRemover::moveFileToTrash() {
  const std::string& path = infection_.file();
  return path.empty() ? infection_.line
                      : services_.workspace.recycle(deletingLastPathComponent(path),
                                                    {std::string(lastPathComponent(path))});
}

void FileRemover::moveToTrash(ButtonDialog::Button sender) {
  // Closing lets go of the action that is running, and may hold the last reference to this object.
  const auto alive = shared_from_this();
  const unsigned int modifiers = services_.modifierKeys.current();
  std::string problem;
  if (sender == ButtonDialog::Button::deleteButton) {
    problem = moveFileToTrash();
    if (!problem.empty()) {
      services_.application.beep();
    }
  } else if (!infection_.file().empty() && (modifiers & ModifierKeys::optionKey)) {
    services_.workspace.selectFile(infection_.file());
  }
  owner_.removeFromDialogList(*this);
  if (modifiers & ModifierKeys::commandKey) {
    owner_.removeAllFromDialogList();
  }
  theDialog->close();
  if (!problem.empty()) {
    showFailure(problem);
  }
}

// In a window of its own: the one that was answered is gone, as ever.
void FileRemover::showFailure(const std::string& problem) {
  const auto dialog = services_.interfaceLoader.load("WarningDialog");
  if (!dialog) {
    return;
  }
  attachTo(dialog, infection_, owner_, services_);
  dialog->setMessage(infection_.line);
  dialog->showFailure(Wording{"NOT_TRASHED", {problem}}.in(services_.localizedStrings));
  dialog->orderFrontRegardless();
}

void FileRemover::ignoreWarning() {
  const auto alive = shared_from_this();
  theDialog->close();
}

}  // namespace quillo
