#include "companion/scan/FindActions.h"

#include <set>
#include <utility>

#include "companion/scan/ScanPage.h"
#include "platform/LocalizedStrings.h"
#include "platform/Workspace.h"
#include "posix/Text.h"
#include "settings/TypedPreferences.h"

namespace quillo {
namespace {

// More windows of the file manager help nobody.
constexpr std::size_t mostFolders = 10;

std::vector<std::string> pathsOf(const std::vector<ScanFinding*>& findings) {
  std::vector<std::string> paths;
  for (const ScanFinding* finding : findings) {
    paths.push_back(finding->path);
  }
  return paths;
}

}  // namespace

FindActions::FindActions(MainWindow& window, Page& page, const ScanPageServices& services,
                         Work work)
    : window_(window),
      page_(page),
      services_(services),
      work_(std::move(work)),
      words_(services.scan.localizedStrings),
      findings_(words_, [this](const Verdict& find) { return services_.allowed.isAllowed(find); }) {
  connect();
  const std::string file = words_.text("SCAN_COLUMN_FILE");
  page_.setRows("finds", {file, words_.text("SCAN_COLUMN_THREAT"), words_.text("SCAN_COLUMN_DONE")},
                findings_.finds());
  page_.setRows("leftOut", {file, words_.text("SCAN_COLUMN_REASON")}, findings_.leftOut());
  show(true);
}

void FindActions::connect() {
  page_.onSelection("finds", [this] { showButtons(); });
  page_.onSelection("leftOut", [this] { showButtons(); });
  page_.onAction("forAll", [this] { showButtons(); });
  page_.onAction("quarantine", [this] { moveAway(InfectedFileAction::quarantine); });
  page_.onAction("trash", [this] { moveAway(InfectedFileAction::moveToTrash); });
  page_.onAction("allow", [this] { askToAllow(); });
  page_.onAction("exclude", [this] { services_.exclude(pathsOf(chosenFinds())); });
  page_.onAction("showInFolder", [this] { showInFolder(*findings_.finds(), chosenRows()); });
  page_.onAction("showLeftOut",
                 [this] { showInFolder(*findings_.leftOut(), page_.selectedRows("leftOut")); });
  page_.onAction("scanTheseAgain", [this] { scanAgain(); });
}

void FindActions::show(bool isIdle) {
  isIdle_ = isIdle;
  // Rows come at the end and never go, until clear() takes all of them.
  for (const char* table : {"finds", "leftOut"}) {
    const std::vector<std::size_t> selected = page_.selectedRows(table);
    page_.rowsChanged(table);
    page_.selectRows(table, selected);
  }
  page_.setVisible("findsBox", findings_.finds()->count() > 0);
  page_.setVisible("leftOutBox", findings_.leftOut()->count() > 0);
  showButtons();
}

void FindActions::showButtons() {
  const bool canAct = isIdle_ && !chosenFinds().empty();
  for (const char* button : {"trash", "allow", "exclude"}) {
    page_.setEnabled(button, canAct);
  }
  const bool hasQuarantine =
      !services_.scan.preferences.value(key::quarantineFolder).value_or("").empty();
  page_.setEnabled("quarantine", canAct && hasQuarantine);
  page_.setVisible("noQuarantine", !hasQuarantine);
  page_.setVisible("chooseQuarantine", !hasQuarantine);
  page_.setEnabled("showInFolder", !chosenRows().empty());
  page_.setEnabled("showLeftOut", !page_.selectedRows("leftOut").empty());
  page_.setEnabled("scanTheseAgain", isIdle_ && findings_.leftOut()->count() > 0);
}

void FindActions::scanAgain() {
  std::vector<std::string> paths;
  for (const ScanFinding& finding : findings_.leftOut()->findings()) {
    paths.push_back(finding.verdict.path);
  }
  work_.scan(paths);
}

std::vector<std::size_t> FindActions::chosenRows() {
  if (!page_.isChecked("forAll")) {
    return page_.selectedRows("finds");
  }
  std::vector<std::size_t> rows(findings_.finds()->count());
  for (std::size_t row = 0; row < rows.size(); ++row) {
    rows[row] = row;
  }
  return rows;
}

std::vector<ScanFinding*> FindActions::chosenFinds() { return findings_.inPlace(chosenRows()); }

void FindActions::moveAway(InfectedFileAction action) {
  const std::vector<std::string> paths = pathsOf(chosenFinds());
  if (isIdle_ && !paths.empty()) {
    work_.move(paths, action);
  }
}

void FindActions::askToAllow() {
  const std::vector<std::string> paths = pathsOf(chosenFinds());
  Question question;
  question.text = words_.counted("SCAN_ALLOW_QUESTION", paths.size());
  question.detail = words_.text("SCAN_ALLOW_DETAIL");
  question.buttons = {words_.text("SCAN_ALLOW_YES"), words_.text("SCAN_ALLOW_NO")};
  question.isDangerous = true;
  window_.ask(question, [this, paths](std::size_t answer) {
    if (answer == 0) {
      allow(paths);
    }
  });
}

void FindActions::allow(const std::vector<std::string>& paths) {
  const std::set<std::string> chosen(paths.begin(), paths.end());
  std::string problems;
  for (ScanFinding* finding : findings_.allInPlace()) {
    if (chosen.count(finding->path) == 0) {
      continue;
    }
    const std::string problem = services_.allowed.allow(finding->verdict, finding->found);
    if (problem.empty()) {
      finding->done = ScanFinding::Done::allowed;
    } else {
      problems += (problems.empty() ? "" : "\n") + problem;
    }
  }
  if (!problems.empty()) {
    page_.setText("report", problems);
    page_.setVisible("report", true);
  }
  show(isIdle_);
}

void FindActions::showInFolder(ScanRows& rows, const std::vector<std::size_t>& chosen) {
  std::set<std::string> folders;
  for (const std::size_t row : chosen) {
    if (row >= rows.count()) {
      break;
    }
    const ScanFinding& finding = rows.findings()[row];
    const bool hasMoved = finding.done == ScanFinding::Done::moved && !finding.destination.empty();
    const std::string& path = hasMoved ? finding.destination : finding.path;
    const bool isAnother = folders.insert(deletingLastPathComponent(path)).second;
    if (isAnother && folders.size() > mostFolders) {
      page_.setText("report", Wording{"SCAN_FOLDERS_SHOWN", {std::to_string(mostFolders)}}.in(
                                  services_.scan.localizedStrings));
      page_.setVisible("report", true);
      return;
    }
    if (isAnother) {
      services_.scan.workspace.selectFile(path);
    }
  }
}

}  // namespace quillo
