#include "companion/planned/PlannedEditor.h"

#include <algorithm>
#include <array>

#include "platform/LocalizedStrings.h"
#include "platform/Page.h"

namespace quillo {
namespace {

using Often = PlannedScan::Often;
constexpr std::array<const char*, 7> weekdayKeys = {
    "PLANNED_MONDAY", "PLANNED_TUESDAY",  "PLANNED_WEDNESDAY", "PLANNED_THURSDAY",
    "PLANNED_FRIDAY", "PLANNED_SATURDAY", "PLANNED_SUNDAY"};
constexpr int daysOfWeek = 7;

std::string withoutSlash(std::string path) {
  while (path.size() > 1 && path.ends_with('/')) {
    path.pop_back();
  }
  return path;
}

}  // namespace

std::string keyOfWeekday(int day) { return weekdayKeys.at(static_cast<std::size_t>(day - 1)); }

PlannedEditor::PlannedEditor(Page& page, MainWindow& window, LocalizedStrings& strings)
    : page_(page), window_(window), strings_(strings) {
  connect();
  close();
}

std::vector<std::string> PlannedEditor::textsOf(const std::vector<const char*>& keys) const {
  std::vector<std::string> texts;
  for (const char* key : keys) {
    texts.push_back(strings_.stringForKey(key, ""));
  }
  return texts;
}

void PlannedEditor::connect() {
  page_.onAction("often", [this] { showDay(); });
  page_.onAction("addFolder", [this] {
    window_.chooseFolders(strings_.stringForKey("PLANNED_CHOOSE", ""), "",
                          [this](const std::vector<std::string>& paths) { add(paths); });
  });
  page_.onAction("removeFolder", [this] { removeChosen(); });
  page_.onAction("cancel", [this] { close(); });
  page_.onDrop("folders", [this](const std::vector<std::string>& paths) { add(paths); });
}

void PlannedEditor::open(const PlannedScan& scan) {
  scan_ = scan;
  isOpen_ = true;
  page_.setVisible("editor", true);
  page_.setText(
      "editor",
      strings_.stringForKey(scan.id.empty() ? "PLANNED_EDITOR_NEW" : "PLANNED_EDITOR_CHANGE", ""));
  page_.setChoices("often", textsOf({"PLANNED_DAILY", "PLANNED_WEEKLY", "PLANNED_MONTHLY"}),
                   scan.often == Often::other ? 0 : static_cast<std::size_t>(scan.often));
  const int weekday = scan.often == Often::weekly ? std::clamp(scan.day, 1, daysOfWeek) : 1;
  page_.setNumber("monthDay", scan.often == Often::monthly ? scan.day : 1);
  page_.setNumber("hour", scan.hour);
  page_.setNumber("minute", scan.minute);
  page_.setChecked("onlyOnMains", scan.onlyOnMains);
  page_.setChoices("weekday", textsOf({weekdayKeys.begin(), weekdayKeys.end()}),
                   static_cast<std::size_t>(weekday - 1));
  showFolders();
  showDay();
  showProblem(whatIsReplaced());
  page_.focus("folders");
}

void PlannedEditor::close() {
  isOpen_ = false;
  page_.setVisible("editor", false);
}

// What of it these fields do not have, "" where they have all.
std::string PlannedEditor::whatIsReplaced() const {
  std::string words;
  if (!scan_.id.empty() && scan_.often == Often::other) {
    words = Wording{"PLANNED_REPLACES", {scan_.calendar}}.in(strings_);
  }
  if (!scan_.otherProgram.empty()) {
    words += (words.empty() ? "" : "\n") +
             Wording{"PLANNED_OTHER_PROGRAM", {scan_.otherProgram}}.in(strings_);
  }
  return words;
}

PlannedScan PlannedEditor::scan() const {
  PlannedScan scan = scan_;
  scan.often = static_cast<Often>(std::min<std::size_t>(page_.choice("often"), 2));
  scan.hour = static_cast<int>(page_.number("hour"));
  scan.minute = static_cast<int>(page_.number("minute"));
  if (scan.often == Often::weekly) {
    scan.day = static_cast<int>(std::min<std::size_t>(page_.choice("weekday"), daysOfWeek - 1)) + 1;
  } else {
    scan.day = scan.often == Often::monthly ? static_cast<int>(page_.number("monthDay")) : 1;
  }
  scan.onlyOnMains = page_.isChecked("onlyOnMains");
  return scan;
}

void PlannedEditor::showProblem(const std::string& words) {
  page_.setVisible("editorProblem", !words.empty());
  page_.setText("editorProblem", words);
}

void PlannedEditor::showFolders() {
  page_.setChoices("folders", scan_.folders, scan_.folders.empty() ? 0 : scan_.folders.size() - 1);
  page_.setEnabled("removeFolder", !scan_.folders.empty());
}

void PlannedEditor::showDay() {
  const auto often = static_cast<Often>(page_.choice("often"));
  for (const char* widget : {"weekday", "weekdayLabel"}) {
    page_.setVisible(widget, often == Often::weekly);
  }
  for (const char* widget : {"monthDay", "monthDayLabel"}) {
    page_.setVisible(widget, often == Often::monthly);
  }
}

void PlannedEditor::add(const std::vector<std::string>& paths) {
  for (const std::string& path : paths) {
    const std::string folder = withoutSlash(path);
    const bool isNew =
        std::find(scan_.folders.begin(), scan_.folders.end(), folder) == scan_.folders.end();
    if (isNew && folder.starts_with("/")) {
      scan_.folders.push_back(folder);
    }
  }
  showFolders();
  showProblem("");
}

void PlannedEditor::removeChosen() {
  const std::size_t chosen = page_.choice("folders");
  if (chosen < scan_.folders.size()) {
    scan_.folders.erase(scan_.folders.begin() + static_cast<std::ptrdiff_t>(chosen));
    showFolders();
  }
}

}  // namespace quillo
