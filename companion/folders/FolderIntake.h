#pragma once

#include <functional>
#include <string>
#include <vector>

#include "companion/settings/PreferenceLists.h"

namespace quillo {

class LocalizedStrings;
class MainWindow;

// Folders that are to be guarded, looked at one after the other, for some are asked about. All that
// is named here outlives the last answer. Main thread.
struct FolderIntake {
  using ConcernAbout = std::function<ChosenFolders::Concern(
      const std::string& path, const std::vector<std::string>& before)>;
  struct Taken {
    std::vector<std::string> folders;  // without a slash at the end
    std::vector<Wording> refusals;     // why others are not among them
  };

  // Has `taken` called once, with those that can be guarded and are to be.
  void take(const std::vector<std::string>& paths, std::function<void(const Taken&)> taken) const;

  MainWindow& window;
  LocalizedStrings& strings;
  ConcernAbout concernAbout;

 private:
  void takeNext(std::vector<std::string> paths, Taken before,
                std::function<void(const Taken&)> taken) const;
};

}  // namespace quillo
