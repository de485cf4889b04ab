#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "companion/settings/PreferenceChanges.h"
#include "settings/PreferenceTable.h"

namespace quillo {

class Folders;
class SystemLog;
class TypedPreferences;

struct PreferenceListServices {
  PreferenceChanges& changes;
  const TypedPreferences& preferences;  // over the store that `changes` reads
  Folders& folders;
  SystemLog& systemLog;
};

// The folders that the user chose to have guarded. A change names the entry as it was shown; one
// that is not there any more, since the file was changed by hand, is not changed. What goes wrong
// is returned in words for the user, nothing when nothing does. Main thread.
class ChosenFolders {
 public:
  // What is to be asked, or said, before a folder is added.
  enum class Doubt {
    none,
    notAbsolute,  // or no path at all: it cannot be added
    missing,      // nothing is there
    isFile,
    already,       // it is in the list
    covered,       // it lies in a folder whose subfolders are guarded
    inQuarantine,  // what lies in the quarantine folder is not scanned
    homeFolder,    // all of it is much
    everything     // the root folder
  };
  struct Concern {
    Doubt doubt = Doubt::none;
    std::string other;  // the folder that it is about: the one that covers, the quarantine folder
  };

  explicit ChosenFolders(const PreferenceListServices& services) : services_(services) {}

  // Returns them in the user's order, by their whole paths.
  std::vector<ChosenFolder> all() const;
  Concern concernAbout(const std::string& given) const;
  // Adds those that are not in the list yet, with their subfolders.
  Wording addFolders(const std::vector<std::string>& paths);
  Wording setWithSubfolders(const ChosenFolder& shown, std::size_t index, bool with);
  Wording remove(const ChosenFolder& shown, std::size_t index);

 private:
  const PreferenceListServices services_;
};

// What the user wants not to be scanned. Main thread.
class Exclusions {
 public:
  // What is to be asked, or said, before a pattern is added.
  enum class Doubt {
    none,
    empty,        // it excludes nothing: it cannot be added
    notCompiled,  // an expression that is none: likewise
    notText,      // it holds bytes that are no text: likewise
    already,      // it is in the list
    wholeFolder,  // it excludes all of a guarded folder
    everything
  };
  struct Concern {
    Doubt doubt = Doubt::none;
    std::string detail;  // why it does not compile, or the folder
  };

  explicit Exclusions(const PreferenceListServices& services) : services_(services) {}

  // Returns them in the user's order, those that are not enabled as well.
  std::vector<ExcludePattern> all() const;
  Concern concernAbout(const ExcludePattern& pattern) const;
  // Adds all of them in one change, or none; one that is in the list already is put into
  // use, if it is to be.
  Wording addExclusions(const std::vector<ExcludePattern>& patterns);
  Wording change(const ExcludePattern& shown, std::size_t index, const ExcludePattern& to);
  Wording remove(const ExcludePattern& shown, std::size_t index);

  // Returns the pattern that excludes this file, or what lies in this folder, as few others as
  // patterns can tell apart; nothing for a path that is no text, of which no pattern can be made.
  std::optional<ExcludePattern> patternFor(const std::string& path, bool isFolder) const;

 private:
  const PreferenceListServices services_;
};

}  // namespace quillo
