#pragma once

#include <functional>
#include <string>
#include <vector>

#include "platform/LocalizedStrings.h"
#include "posix/MountTable.h"
#include "settings/PreferenceTable.h"

namespace quillo {

// Returns true for a mount point when the kernel reports every name on that file system.
using HasFileHandles = std::function<bool(const std::string& mountPoint)>;

// What is caught in a chosen folder, which the file system that holds it decides.
struct FolderCare {
  enum class Kind {
    complete,      // every file that appears or changes
    byNames,       // FUSE, overlay, exFAT: folder by folder, as many as the system lets be watched
    network,       // another machine's: nobody here hears of a change
    unchanging,    // read-only, a packed image: nothing appears there
    kernels,       // the kernel's own, which are not somebody's files
    noSubfolders,  // chosen without its subfolders, which yields nothing but for the root folder
    unreadable,    // this user cannot list it, and is not told what happens in it
    missing,       // nothing is there
    unknown        // what is mounted cannot be read
  };

  Kind kind = Kind::unknown;
  std::string path;        // the folder, or where below it another file system begins
  std::string fileSystem;  // its type: "ext4"; "" where that is unknown
};

// Returns the care for a folder, and behind it that for every file system mounted below it that is
// of another kind. Does not wait for a network drive whose mount point the path names; may wait for
// another disk. Any thread.
std::vector<FolderCare> careOf(const ChosenFolder& folder, const std::vector<Mount>& mounts,
                               const HasFileHandles& hasHandles);

// Returns true when nothing that happens there is missed.
bool isCaught(FolderCare::Kind kind);

// Returns what it means, in a sentence.
Wording wordingOf(const FolderCare& care);

// What is caught in a folder, in words: a line for each file system in it.
struct CareInWords {
  bool isCaught = false;  // everything that happens there
  std::string words;
};
// Returns it for the file systems that are mounted now; waits as careOf() does. Any thread.
CareInWords careInWords(const ChosenFolder& folder, LocalizedStrings& strings);

}  // namespace quillo
