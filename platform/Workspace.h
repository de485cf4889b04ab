#pragma once

#include <string>
#include <vector>

namespace quillo {

// Files as the desktop handles them. Main thread.
class Workspace {
 public:
  virtual ~Workspace() = default;
  // Opens the file or folder in the application for it. Returns false when there is none or the
  // file does not exist.
  virtual bool openFile(const std::string& path) = 0;
  // Shows the file selected in the file manager. Returns false when that is not possible.
  virtual bool selectFile(const std::string& path) = 0;
  // Moves the named files of a folder, in bytes, to the desktop's trash. Returns "" when all were
  // moved, else why one could not be, also because it is gone already: words for people, in the
  // desktop's language.
  virtual std::string recycle(const std::string& sourceFolder,
                              const std::vector<std::string>& names) = 0;
};

}  // namespace quillo
