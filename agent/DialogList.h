#pragma once

#include <memory>
#include <vector>

#include "posix/Mutex.h"
#include "scanning/ScannerOwner.h"

namespace quillo {

// The open warning dialogs, in the order in which they were opened.
class DialogList final : public DialogListOwner {
 public:
  void addToDialogList(std::shared_ptr<FileRemover> dialog) override;
  void removeFromDialogList(const FileRemover& dialog) override;
  void removeAllFromDialogList() override;
  std::size_t count() const;

 private:
  std::shared_ptr<FileRemover> dialogAt(std::size_t index) const;

  mutable Mutex lock_;
  std::vector<std::shared_ptr<FileRemover>> theDialogList QUILLO_GUARDED_BY(lock_);
};

}  // namespace quillo
