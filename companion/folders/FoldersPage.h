#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "companion/folders/ExclusionList.h"
#include "companion/folders/Explanation.h"
#include "companion/settings/PreferenceLists.h"
#include "platform/Page.h"

namespace quillo {

class LocalizedStrings;

// The page "folders": which folders are guarded and what is caught in each (`folders`, with
// `addFolder`, `removeFolder`, `withSubfolders`), what is excluded (ExclusionList), and whether one
// file is guarded and by which rule (`testPath`, `chooseTest`, `test`, `verdict`). Main thread.
class FoldersPage {
 public:
  // What is caught in a folder, in words.
  struct Care {
    bool isCaught = false;  // everything that happens there
    std::string words;
  };
  struct Services {
    PreferenceChanges& changes;
    ChosenFolders& chosenFolders;
    Exclusions& exclusions;
    ExplanationServices explanation;
    LocalizedStrings& localizedStrings;
    std::function<Care(const ChosenFolder&)> careOf;
    // Nothing is guarded while it does not.
    std::function<bool()> agentWatches = [] { return true; };
  };

  FoldersPage(Page& page, MainWindow& window, const Services& services);

  // Reads everything anew: what was changed by hand is seen. To be called when the page is shown.
  void show();
  // Adds folders, as if they had been dropped here, and asks about those that need it.
  void addFolders(const std::vector<std::string>& paths);
  // Says anew whether the file is guarded that was asked about. To be called whenever what the
  // agent says is another.
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
  void addNext(std::vector<std::string> paths);
  Wording refusalOf(const ChosenFolders::Concern& concern, const std::string& path) const;
  void report(const Wording& problem);
  void say(const Wording& words);
  void undo();

  Page& page_;
  MainWindow& window_;
  const Services services_;
  ExclusionList exclusions_;
  const std::shared_ptr<ListedRows> rows_ = std::make_shared<ListedRows>();
  std::vector<ChosenFolder> folders_;
  std::string notice_;
  // What the verdict that is shown is of, and rests on; nothing while none is.
  std::string tested_;
  std::optional<bool> wasOnGuard_;
};

}  // namespace quillo
