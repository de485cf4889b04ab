#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "companion/folders/ExclusionList.h"
#include "companion/folders/Explanation.h"
#include "companion/folders/FolderCare.h"
#include "companion/folders/FolderIntake.h"
#include "companion/settings/GuardNote.h"
#include "companion/settings/PreferenceLists.h"
#include "platform/Page.h"

namespace quillo {

class AgentLink;
class DistributedNotificationCenter;
class LocalizedStrings;

// The page "folders": which folders are guarded and what is caught in each (`folders`, with
// `addFolder`, `removeFolder`, `withSubfolders`), what is excluded (ExclusionList), and whether one
// file is guarded and by which rule (`testPath`, `chooseTest`, `test`, `verdict`). Main thread.
class FoldersPage {
 public:
  struct Services {
    PreferenceChanges& changes;
    ChosenFolders& chosenFolders;
    Exclusions& exclusions;
    ExplanationServices explanation;
    LocalizedStrings& localizedStrings;
    AgentLink& agent;
    DistributedNotificationCenter& distributedNotificationCenter;
    std::function<CareInWords(const ChosenFolder&)> careOf;
    // Nothing is guarded while it does not.
    std::function<bool()> agentWatches = [] { return true; };
  };

  FoldersPage(Page& page, MainWindow& window, const Services& services);

  // Reads everything anew: what was changed by hand is seen. To be called when the page is shown.
  void show();
  // Adds folders, as if they had been dropped here, and asks about those that need it.
  void addFolders(const std::vector<std::string>& paths);
  // Says anew whether what is changed holds, and whether the file is guarded that was asked about.
  // To be called whenever what the agent says is another.
  void agentChanged();
  // Says whether a file is guarded, as if it had been dropped on the tester.
  void test(const std::string& given);

 private:
  void list();
  void showSelected();
  std::optional<std::string> selectedFolder();
  void selectFolder(const std::optional<std::string>& path);
  void setWithSubfolders();
  void removeSelected();
  void add(const FolderIntake::Taken& taken);
  Wording effectOf(const std::string& folder) const;
  void report(const Wording& words);
  void say(const Wording& words);
  void undo();

  Page& page_;
  MainWindow& window_;
  const Services services_;
  ExclusionList exclusions_;
  GuardNote guardNote_;
  const std::shared_ptr<ListedRows> rows_ = std::make_shared<ListedRows>();
  std::vector<ChosenFolder> folders_;
  // What the verdict that is shown is of, and rests on; nothing while none is.
  std::string tested_;
  std::optional<bool> wasOnGuard_;
};

}  // namespace quillo
