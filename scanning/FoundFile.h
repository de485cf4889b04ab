#pragma once

#include <memory>
#include <optional>
#include <string>

#include "clamav/Verdict.h"
#include "posix/FileIdentity.h"
#include "scanning/PutBackFiles.h"

namespace quillo {

class FileRemover;
struct ScannerServices;

// One infected file that lies where it was found, as its warning and its notification act on it.
// Another file that has come to lie there is left alone.
class FoundFile : public std::enable_shared_from_this<FoundFile> {
 public:
  // Looks at what lies there now. Any thread.
  FoundFile(Verdict infection, const ScannerServices& services);

  // Takes in what it holds, by which it is known again when it is put back. To be called before
  // anything is shown of it. Any thread.
  void takePrint();
  // Withdraws its notification from now on when the file leaves its place, by whomever; at once
  // when it had gone before it was seen. To be called after all that is shown of it. Any thread.
  void watch();
  const Verdict& infection() const { return infection_; }
  // Returns the path as people may be shown it on one line.
  std::string pathAsShown() const;
  // Names it among the topics of notifications; no other find has it.
  const std::string& topic() const { return topic_; }
  // The window that warns of it, while that is open.
  void setRemover(std::weak_ptr<FileRemover> remover) { remover_ = std::move(remover); }
  std::shared_ptr<FileRemover> remover() const { return remover_.lock(); }

  // Moves it to the trash of the desktop, at the user's wish, and notes that in the scan log.
  // Returns "" when it was moved, else why not, in words for people. Main thread.
  std::string moveToTrash();
  // Selects it in the file manager. Main thread.
  void show();

 private:
  bool isAnotherFile() const;
  bool isStillThere() const;
  bool lookWhetherLeft();
  void hasLeft();

  // Constant after construction.
  const Verdict infection_;
  const std::optional<FileIdentity> identity_;
  const std::string topic_;
  const ScannerServices& services_;
  // Set before anything is shown of it, and then the main thread's.
  std::weak_ptr<FileRemover> remover_;
  std::optional<FilePrint> print_;
  bool hasLeft_ = false;
};

}  // namespace quillo
