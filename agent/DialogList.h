#pragma once

#include <memory>
#include <vector>

#include "posix/Mutex.h"

namespace quillo {

class FileRemover;

// The open warning dialogs, in the order in which they were opened. Added to from any thread; the
// other operations run on the main thread.
class DialogList {
 public:
  void addToDialogList(std::shared_ptr<FileRemover> dialog);
  // Removes every occurrence.
  void removeFromDialogList(const FileRemover& dialog);
  // Dismisses each as if the user had ignored it, then forgets them all.
  void removeAllFromDialogList();
  std::size_t count() const;

 private:
  std::shared_ptr<FileRemover> dialogAt(std::size_t index) const;

  mutable Mutex lock_;
  std::vector<std::shared_ptr<FileRemover>> theDialogList QUILLO_GUARDED_BY(lock_);
};

}  // namespace quillo
