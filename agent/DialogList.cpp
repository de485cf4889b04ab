#include "agent/DialogList.h"

#include <memory>

#include "platform/Application.h"
#include "platform/Workspace.h"
#include "posix/ChildProcess.h"
#include "posix/PlatformException.h"
#include "posix/ThreadStarter.h"
#include "scanning/FileRemover.h"

namespace quillo {
namespace {

LaunchRequest openerOf(const std::string& folder) {
  return {"/usr/bin/open", {folder}, LaunchRequest::Output::inherited};
}

}  // namespace

void DialogList::addToDialogList(std::shared_ptr<FileRemover> dialog) {
  MutexLock hold(lock_);
  theDialogList.push_back(std::move(dialog));
}

void DialogList::removeFromDialogList(const FileRemover& dialog) {
  MutexLock hold(lock_);
  std::erase_if(theDialogList, [&dialog](const auto& entry) { return entry.get() == &dialog; });
}

void DialogList::removeAllFromDialogList() {
  // The lock is not held while a dialog acts, and the count is read anew after each.
  std::size_t index = 0;
  while (const auto dialog = dialogAt(index)) {
    dialog->ignoreWarning();
    ++index;
  }
  MutexLock hold(lock_);
  theDialogList.clear();
}

std::shared_ptr<FileRemover> DialogList::dialogAt(std::size_t index) const {
  MutexLock hold(lock_);
  return index < theDialogList.size() ? theDialogList[index] : nullptr;
}

std::size_t DialogList::count() const {
  MutexLock hold(lock_);
  return theDialogList.size();
}

void FolderOpener::openAndWait(const std::string& folder) {
  try {
    ChildProcess opener(openerOf(folder));
    application_.waitKeepingDesktopAlive([&opener] { opener.waitUntilExit(); });
  } catch (const PlatformException&) {
    workspace_.openFile(folder);
  }
}

void FolderOpener::open(const std::string& folder) {
  try {
    const auto opener = std::make_shared<ChildProcess>(openerOf(folder));
    threads_.detachNewThread("open", [opener] { opener->waitUntilExit(); });
  } catch (const PlatformException&) {
    workspace_.openFile(folder);
  }
}

}  // namespace quillo
