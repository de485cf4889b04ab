#pragma once

#include <sys/stat.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>

#include "clamav/ScanLimits.h"
#include "posix/Clock.h"
#include "posix/UniqueFd.h"
#include "quarantine/RecordFolder.h"
#include "tools/clamdscan/DesktopTrash.h"

namespace quillo::wrapper {

// The folder into which infected files are moved. It has to be this user's own, and nobody else may
// put things into it or take them out. What goes into the desktop's Trash can be put back from
// there; of what goes anywhere else a record beside it keeps where it was. One thread.
class MoveFolder {
 public:
  struct Outcome {
    bool moved = false;
    std::string text;              // the new path, or why the file is still where it was
    unsigned long otherNames = 0;  // hard links that still lead to the file
    std::string unnoted;           // why the Trash does not know where a moved file was
    std::string unrecorded;        // why there is no record of where it was
    std::string executable;        // why a moved file may still be run as a program
  };

  explicit MoveFolder(Clock& clock, DesktopTrash trash = DesktopTrash::ofThisUser())
      : clock_(clock), trash_(std::move(trash)) {}

  // Makes the folder (0700, its parents too) if it is missing. Returns "" if it can be used, else
  // why not.
  std::string open(const std::string& path);
  bool isOpen() const { return static_cast<bool>(folder_); }
  // Has records name the definitions that lie in that folder when a file is moved: the daemon found
  // it with no newer ones.
  void setDefinitions(std::string folder) { definitions_ = std::move(folder); }

  // Moves the file that was opened as `scanned` if `path` (without symbolic links) still leads to
  // it; a name that is taken gets ".001" and so on. Nobody can run it afterwards. Across file
  // systems what was opened is copied with mode 0600, and then the name is removed. `threat` is for
  // the record, which is written before anything is moved. Whoever writes to the file may have it
  // grow meanwhile: what is beyond `largest` was not scanned, and is neither hashed nor copied.
  Outcome move(const std::string& path, int scanned, std::string_view threat = {},
               std::uint64_t largest = engineCeiling);

 private:
  struct Source;

  std::string find(Source& source) const;
  std::string prepareRecord(Source& source, std::string_view threat);
  int moveNoted(const std::string& target, Source& source, Outcome& outcome);
  int moveRecorded(const std::string& target, Source& source, Outcome& outcome);
  int placeHarmless(Source& source, const std::string& name, Outcome& outcome);
  int place(Source& source, const std::string& name);
  static int removeScanned(const Source& source);
  int copy(Source& source, const std::string& name);
  int settle(Source& source, int copied, const std::string& part, const std::string& name);

  Clock& clock_;
  const DesktopTrash trash_;
  std::string path_;
  std::string definitions_;
  UniqueFd folder_;
  UniqueFd notes_;        // where the Trash keeps its notes, when the folder is the Trash's
  RecordFolder records_;  // opened for the first file, when it is not
};

}  // namespace quillo::wrapper
