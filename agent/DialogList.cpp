#include "agent/DialogList.h"

#include "scanning/FileRemover.h"

namespace quillo {

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

}  // namespace quillo
