#include "companion/folders/FoldersPage.h"

#include <utility>

#include "platform/Folders.h"
#include "platform/LocalizedStrings.h"
#include "posix/Accounts.h"

namespace quillo {
namespace {

void addLine(std::string& text, const std::string& line) {
  text += (text.empty() || line.empty() ? "" : "\n") + line;
}

}  // namespace

FoldersPage::FoldersPage(Page& page, MainWindow& window, const Services& services)
    : page_(page),
      window_(window),
      services_(services),
      exclusions_(page, window,
                  {services.exclusions, services.localizedStrings,
                   [this](const Wording& problem) { report(problem); }}),
      guardNote_(page, services.agent, services.distributedNotificationCenter,
                 services.localizedStrings) {
  const auto text = [&](const char* key) {
    return services.localizedStrings.stringForKey(key, "");
  };
  page_.setRows("folders",
                {text("FOLDERS_COLUMN_FOLDER"), text("FOLDERS_COLUMN_SUBFOLDERS"),
                 text("FOLDERS_COLUMN_CAUGHT")},
                rows_);
  page_.onSelection("folders", [this] { showSelected(); });
  page_.onAction("addFolder", [this] {
    window_.chooseFolders(services_.localizedStrings.stringForKey("FOLDERS_CHOOSE", ""),
                          services_.explanation.folders.homeFolder(),
                          [this](const std::vector<std::string>& chosen) { addFolders(chosen); });
  });
  page_.onDrop("folders", [this](const std::vector<std::string>& paths) { addFolders(paths); });
  page_.onAction("removeFolder", [this] { removeSelected(); });
  page_.onAction("withSubfolders", [this] { setWithSubfolders(); });
  page_.onAction("undo", [this] { undo(); });
  page_.onAction("openSettings", [this] { window_.show("settings"); });
  page_.onAction("testPath", [this] { test(page_.text("testPath")); });
  page_.onAction("test", [this] { test(page_.text("testPath")); });
  page_.onAction("chooseTest", [this] {
    window_.chooseFiles(services_.localizedStrings.stringForKey("FOLDERS_CHOOSE_TEST", ""),
                        services_.explanation.folders.homeFolder(),
                        [this](const std::vector<std::string>& chosen) {
                          if (!chosen.empty()) {
                            test(chosen.front());
                          }
                        });
  });
  page_.onDrop("testPath", [this](const std::vector<std::string>& paths) {
    if (!paths.empty()) {
      test(paths.front());
    }
  });
  services_.changes.observe([this] { list(); });
  window_.onShown("folders", [this] { show(); });
}

void FoldersPage::show() {
  const bool isOther = services_.changes.lookAgain();
  list();
  const Wording problem = services_.changes.problem();
  page_.setText("problem", problem.in(services_.localizedStrings));
  page_.setVisible("problem", !problem.empty());
  page_.setVisible("openSettings", !problem.empty());
  say(isOther ? Wording{"SETTINGS_CHANGED_BY_HAND", {services_.changes.ownFile()}} : Wording());
}

void FoldersPage::list() {
  const std::optional<std::string> selected = selectedFolder();
  folders_ = services_.chosenFolders.all();
  rows_->rows.clear();
  const std::string home = services_.explanation.folders.homeFolder();
  for (const ChosenFolder& folder : folders_) {
    const CareInWords care = services_.careOf(folder);
    const char* key = folder.withSubdirs ? "FOLDERS_YES" : "FOLDERS_NO";
    rows_->rows.push_back({{abbreviatingWithTilde(folder.path, home),
                            services_.localizedStrings.stringForKey(key, ""), care.words},
                           care.isCaught ? TableRows::Sign::good : TableRows::Sign::warning});
  }
  page_.rowsChanged("folders");
  selectFolder(selected);
  const std::string above = services_.changes.fileAbove(key::quilloFolderArray.name);
  const std::string patternsAbove = services_.changes.fileAbove(key::excludePatterns.name);
  const std::string& named = above.empty() ? patternsAbove : above;
  page_.setText("decided", named.empty() ? ""
                                         : Wording{"SETTINGS_DECIDED_ABOVE", {named}}.in(
                                               services_.localizedStrings));
  page_.setVisible("decided", !named.empty());
  page_.setEnabled("addFolder", above.empty());
  page_.setEnabled("undo", services_.changes.canUndo(PreferenceChanges::Of::folders));
  showSelected();
  exclusions_.show(patternsAbove.empty());
}

std::optional<std::string> FoldersPage::selectedFolder() {
  const std::vector<std::size_t> rows = page_.selectedRows("folders");
  const bool isOne = rows.size() == 1 && rows.front() < folders_.size();
  return isOne ? std::optional(folders_[rows.front()].path) : std::nullopt;
}

// A row is another folder after a change: the selection follows the folder.
void FoldersPage::selectFolder(const std::optional<std::string>& path) {
  std::vector<std::size_t> rows;
  for (std::size_t row = 0; path && rows.empty() && row < folders_.size(); ++row) {
    if (folders_[row].path == *path) {
      rows.push_back(row);
    }
  }
  page_.selectRows("folders", rows);
}

void FoldersPage::showSelected() {
  const std::vector<std::size_t> rows = page_.selectedRows("folders");
  const bool isOne = rows.size() == 1 && rows.front() < folders_.size() &&
                     services_.changes.fileAbove(key::quilloFolderArray.name).empty();
  page_.setEnabled("removeFolder", isOne);
  page_.setEnabled("withSubfolders", isOne);
  page_.setChecked("withSubfolders", isOne && folders_[rows.front()].withSubdirs);
}

void FoldersPage::setWithSubfolders() {
  const std::size_t row = page_.selectedRows("folders").front();
  report(services_.chosenFolders.setWithSubfolders(folders_.at(row), row,
                                                   page_.isChecked("withSubfolders")));
}

void FoldersPage::removeSelected() {
  const std::size_t row = page_.selectedRows("folders").front();
  report(services_.chosenFolders.remove(folders_.at(row), row));
}

void FoldersPage::report(const Wording& words) {
  std::string notice = words.in(services_.localizedStrings);
  addLine(notice, services_.changes.takeNotice().in(services_.localizedStrings));
  say({"", {notice}});
  list();
}

void FoldersPage::say(const Wording& words) {
  const std::string notice = words.in(services_.localizedStrings);
  page_.setText("notice", notice);
  page_.setVisible("notice", !notice.empty());
  page_.setEnabled("undo", services_.changes.canUndo(PreferenceChanges::Of::folders));
}

void FoldersPage::undo() { report(services_.changes.undo()); }

void FoldersPage::addFolders(const std::vector<std::string>& paths) {
  const FolderIntake intake{
      window_, services_.localizedStrings,
      [this](const std::string& path, const std::vector<std::string>& before) {
        return services_.chosenFolders.concernAbout(path, before);
      }};
  intake.take(paths, [this](const FolderIntake::Taken& taken) { add(taken); });
}

// All at once: one is undone with the others, or none is there.
void FoldersPage::add(const FolderIntake::Taken& taken) {
  std::string words;
  for (const Wording& refusal : taken.refusals) {
    addLine(words, refusal.in(services_.localizedStrings));
  }
  if (!taken.folders.empty()) {
    const Wording problem = services_.chosenFolders.addFolders(taken.folders);
    if (!problem.empty()) {
      addLine(words, problem.in(services_.localizedStrings));
    }
    for (const std::string& folder : problem.empty() ? taken.folders : std::vector<std::string>()) {
      addLine(words, effectOf(folder).in(services_.localizedStrings));
    }
  }
  report({"", {words}});
}

Wording FoldersPage::effectOf(const std::string& folder) const {
  if (!services_.agentWatches()) {
    return {"FOLDERS_ADDED_UNGUARDED", {folder}};
  }
  const bool isCaught = services_.careOf({folder, true}).isCaught;
  return {isCaught ? "FOLDERS_ADDED" : "FOLDERS_ADDED_INCOMPLETE", {folder}};
}

void FoldersPage::test(const std::string& given) {
  const std::string path = expandingTilde(given, services_.explanation.folders.homeFolder());
  page_.setText("testPath", given);
  page_.setText("verdictTitle", "");
  wasOnGuard_.reset();
  if (!path.starts_with('/')) {
    page_.setText("verdict",
                  services_.localizedStrings.stringForKey("FOLDERS_TEST_WHOLE_PATH", ""));
    return;
  }
  const Explanation explanation = explain(path, services_.explanation);
  std::string words = wordingOf(explanation).in(services_.localizedStrings);
  if (!explanation.exists) {
    words += "\n" + services_.localizedStrings.stringForKey("FOLDERS_RULE_NOT_THERE", "");
  } else if (explanation.realPath != path && explanation.realPath + "/" != path) {
    words +=
        "\n" + Wording{"FOLDERS_RULE_LINK", {explanation.realPath}}.in(services_.localizedStrings);
  }
  const bool isOnGuard = services_.agentWatches();
  tested_ = given;
  wasOnGuard_ = isOnGuard;
  if (explanation.isGuarded() && !isOnGuard) {
    words += "\n" + services_.localizedStrings.stringForKey("FOLDERS_RULE_NO_AGENT", "");
  }
  page_.setText("verdict", words);
  page_.setText(
      "verdictTitle",
      services_.localizedStrings.stringForKey(
          explanation.isGuarded() && isOnGuard ? "FOLDERS_GUARDED" : "FOLDERS_NOT_GUARDED", ""));
}

void FoldersPage::agentChanged() {
  guardNote_.show();
  // What its user is typing just now is left to him.
  const bool isShown = wasOnGuard_ && page_.text("testPath") == tested_;
  if (isShown && *wasOnGuard_ != services_.agentWatches()) {
    test(tested_);
  }
}

}  // namespace quillo
