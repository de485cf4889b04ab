#pragma once

#include <optional>
#include <string>

namespace quillo {

class Folders;
class SystemLog;

// The agent's folders for what does not last, in the user's temporary folder. Main thread.
class ScratchFolders {
 public:
  ScratchFolders(Folders& folders, SystemLog& log) : folders_(folders), log_(log) {}

  // Makes the folders where they are missing, and empties the status menu's but for its subfolders,
  // unless somebody else made it, which the log then says. A failure is ignored.
  void make();
  // Forgets the paths; the folders stay.
  void forget();

  std::optional<std::string> theTempDirToWatch;
  std::optional<std::string> theThrobberTempDir;

 private:
  void emptyThrobberFolder();

  Folders& folders_;
  SystemLog& log_;
};

}  // namespace quillo
