#pragma once

#include <cstddef>
#include <functional>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include "platform/LocalizedStrings.h"
#include "posix/MountTable.h"
#include "settings/PreferenceTable.h"

namespace quillo {

class Folders;
class TrashFolders;
class TypedPreferences;

// Whether a file is guarded, and which rule decides.
struct Explanation {
  enum class Rule {
    guarded,
    outside,       // it lies in no watched folder
    inQuarantine,  // nothing that lies there is scanned
    inTrash,
    inSubfolder,  // its folder is watched without subfolders, which lets nothing pass
    notReported,  // its file system is another machine's or the kernel's: no change is reported
    notListable,  // this user may not know what lies there, and is not told of it
    excluded      // a pattern excludes it
  };

  Rule rule = Rule::outside;
  std::string path;      // as it was asked for, absolute
  std::string realPath;  // where it leads: that is what is judged
  bool exists = false;
  bool isFolder = false;  // then it is what lies in it that is judged
  std::string folder;     // the watched folder, the quarantine folder, mount or closed folder
  // Of what excludes it: which of all patterns, from 0, and the pattern.
  std::size_t patternIndex = 0;
  ExcludePattern pattern;

  bool isGuarded() const { return rule == Rule::guarded; }
};

struct ExplanationServices {
  const TypedPreferences& preferences;
  Folders& folders;
  TrashFolders& trashFolders;
  // Returns what is mounted; nothing when it cannot be read.
  std::function<std::optional<std::vector<Mount>>()> mounts;
};

// Judges an absolute path as the watchers and the scanners do, by the preferences as they are now.
// Any thread; may wait for the disk that holds the path.
Explanation explain(const std::string& path, const ExplanationServices& services);

// Returns the sentence that says so.
Wording wordingOf(const Explanation& explanation);

}  // namespace quillo
