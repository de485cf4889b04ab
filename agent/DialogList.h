#pragma once

#include <memory>
#include <string>
#include <vector>

#include "posix/Mutex.h"
#include "scanning/ScannerOwner.h"

namespace quillo {

class Application;
class ThreadStarter;
class Workspace;

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

// Opens folders from the dialogs with the desktop's "/usr/bin/open"; where that cannot be run, with
// the desktop itself. Main thread.
class FolderOpener {
 public:
  FolderOpener(Application& application, Workspace& workspace, ThreadStarter& threads)
      : application_(application), workspace_(workspace), threads_(threads) {}

  // Opens the folder and returns when the opener has ended; the desktop stays alive meanwhile.
  void openAndWait(const std::string& folder);
  // Opens it and returns at once. Throws std::system_error when the system has no thread that could
  // wait for the opener.
  void open(const std::string& folder);

 private:
  Application& application_;
  Workspace& workspace_;
  ThreadStarter& threads_;
};

}  // namespace quillo
