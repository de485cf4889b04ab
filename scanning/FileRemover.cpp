#include "scanning/FileRemover.h"

#include <utility>

#include "platform/Application.h"
#include "platform/ModifierKeys.h"
#include "platform/Workspace.h"
#include "posix/Text.h"
#include "scanning/ScannerOwner.h"
#include "scanning/ScannerServices.h"

namespace quillo {

void FileRemover::attachTo(const std::shared_ptr<ButtonDialog>& dialog, DialogListOwner& owner,
                           const ScannerServices& services) {
  auto remover = std::make_shared<FileRemover>(dialog, owner, services);
  owner.addToDialogList(remover);
  // The dialog lets go of its action when it closes, and with it of the controller.
  dialog->setAction([remover](ButtonDialog::Button sender) { remover->moveToTrash(sender); });
}

FileRemover::FileRemover(std::shared_ptr<ButtonDialog> dialog, DialogListOwner& owner,
                         const ScannerServices& services)
    : theDialog(std::move(dialog)), owner_(owner), services_(services) {}

int FileRemover::getLastColon(const std::string& text) { return lastColon(text); }

std::string FileRemover::infectedPath() const {
  const std::string message = theDialog->message();
  const int colon = getLastColon(message);
  return colon < 0 ? std::string() : message.substr(0, static_cast<std::size_t>(colon));
}

void FileRemover::moveToTrash(ButtonDialog::Button sender) {
  // Closing lets go of the action that is running, and may hold the last reference to this object.
  const auto alive = shared_from_this();
  const unsigned int modifiers = services_.modifierKeys.current();
  const std::string path = infectedPath();
  if (sender == ButtonDialog::Button::deleteButton) {
    if (path.empty() || !services_.workspace.recycle(deletingLastPathComponent(path),
                                                     {std::string(lastPathComponent(path))})) {
      services_.application.beep();
    }
  } else if (!path.empty() && (modifiers & ModifierKeys::optionKey)) {
    services_.workspace.selectFile(path);
  }
  owner_.removeFromDialogList(*this);
  if (modifiers & ModifierKeys::commandKey) {
    owner_.removeAllFromDialogList();
  }
  theDialog->close();
}

void FileRemover::ignoreWarning() {
  const auto alive = shared_from_this();
  theDialog->close();
}

}  // namespace quillo
