#pragma once

#include <sys/stat.h>

#include <string>
#include <utility>

#include "posix/Clock.h"
#include "posix/UniqueFd.h"
#include "tools/clamdscan/DesktopTrash.h"
#include "tools/clamdscan/Entry.h"

namespace quillo::front {

// The folder into which infected files are moved. The real client scans nothing when its folder is
// unusable, says nothing when a file could not be moved, and cannot reach every path; so the moving
// is done here. What goes into the desktop's Trash can be put back from there. One thread.
class MoveFolder {
 public:
  struct Outcome {
    bool moved = false;
    std::string text;              // the new path, or why the file is still where it was
    unsigned long otherNames = 0;  // hard links that still lead to the file
    std::string unnoted;           // why the Trash does not know where a moved file was
  };

  explicit MoveFolder(Clock& clock, DesktopTrash trash = DesktopTrash::ofThisUser())
      : clock_(clock), trash_(std::move(trash)) {}

  // Makes the folder (0700, its parents too) if it is missing. "" if it can be used, else why not.
  std::string open(const std::string& path);
  bool isOpen() const { return static_cast<bool>(folder_); }

  // Moves the file at `path` (without symbolic links) if it is still the scanned one; a name that
  // is taken gets ".001" and so on. Across file systems it is copied with mode 0600, then removed.
  Outcome move(const std::string& path, const struct stat& scanned);

 private:
  int moveTo(const std::string& target, int parent, const std::string& path, Outcome& outcome);
  int place(int parent, const std::string& from, const std::string& name);
  int copy(int parent, const std::string& from, const std::string& name);

  Clock& clock_;
  const DesktopTrash trash_;
  std::string path_;
  UniqueFd folder_;
  UniqueFd notes_;  // where the Trash keeps its notes, when the folder is the Trash's
};

}  // namespace quillo::front
