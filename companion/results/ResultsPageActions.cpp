// The page of results: what is done with the rows that its user has chosen.

#include <sys/stat.h>

#include <algorithm>
#include <utility>

#include "companion/results/ResultsPage.h"
#include "platform/LocalizedStrings.h"
#include "platform/Page.h"
#include "platform/Workspace.h"
#include "posix/FileFacts.h"
#include "posix/Text.h"

namespace quillo {
namespace {

constexpr const char* results = "results";

bool isInQuarantine(const HistoryResult& result) {
  return result.outcome == HistoryResult::Outcome::quarantined && !result.detail.empty() &&
         fileExists(result.detail);
}

// Where the file lies by now, as far as it is known: what was moved away may have been put back.
const std::string& placeOf(const HistoryResult& result) {
  const bool wasMoved = result.outcome == HistoryResult::Outcome::quarantined ||
                        result.outcome == HistoryResult::Outcome::trashed;
  const bool isAway =
      wasMoved && !result.detail.empty() && (fileExists(result.detail) || !fileExists(result.path));
  return isAway ? result.detail : result.path;
}

// By the time that no program can set. A result's has no more than seconds.
bool hasChangedSince(const std::string& path, WallTime time) {
  struct stat status = {};
  return lstat(path.c_str(), &status) == 0 &&
         status.st_ctim.tv_sec > std::chrono::system_clock::to_time_t(time);
}

// What was moved is put back, and allowed by that.
bool canBeAllowed(const HistoryResult& result) {
  return result.kind == HistoryResult::Kind::found &&
         (result.outcome == HistoryResult::Outcome::leftInPlace ||
          result.outcome == HistoryResult::Outcome::notMoved);
}

}  // namespace

std::string expressionOfFile(const std::string& path) {
  std::string expression = "^";
  for (const char byte : path) {
    if (std::string_view("\\[]^$.|?*+(){}").find(byte) != std::string_view::npos) {
      expression += '\\';
    }
    expression += byte;
  }
  return expression + "$";
}

void ResultsPage::showButtons() {
  const std::size_t count = page_.selectedRows(results).size();
  const std::vector<HistoryResult> one = count == 1 ? selected() : std::vector<HistoryResult>();
  page_.setEnabled("allow", !one.empty() && canBeAllowed(one.front()));
  page_.setEnabled("showQuarantine", !one.empty() && isInQuarantine(one.front()));
  page_.setEnabled("openFolder", count == 1);
  page_.setEnabled("exclude", count == 1);
  page_.setEnabled("scanAgain", count > 0 && count <= mostScannedAgain);
}

std::vector<HistoryResult> ResultsPage::selected() const {
  std::vector<HistoryResult> all;
  for (const std::size_t row : page_.selectedRows(results)) {
    const HistoryResult& result = table_->entry(row);
    if (!result.path.empty()) {
      all.push_back(result);
    }
  }
  return all;
}

void ResultsPage::openFolder() {
  const std::vector<HistoryResult> chosen = selected();
  if (chosen.empty()) {
    return;
  }
  const std::string& place = placeOf(chosen.front());
  const std::string folder = deletingLastPathComponent(place);
  if (fileExists(place) && services_.workspace.selectFile(place)) {
    say("");
  } else if (services_.workspace.openFile(folder)) {
    say(Wording{"RESULTS_FILE_GONE", {words_.place(place)}}.in(services_.strings));
  } else {
    say(Wording{"RESULTS_FOLDER_GONE", {words_.place(folder)}}.in(services_.strings));
  }
}

void ResultsPage::scanAgain() {
  std::vector<std::string> paths;
  for (const HistoryResult& result : selected()) {
    const std::string& place = placeOf(result);
    // The same file may have been found often.
    if (fileExists(place) && std::find(paths.begin(), paths.end(), place) == paths.end()) {
      paths.push_back(place);
    }
  }
  if (paths.empty()) {
    say(words_.text("RESULTS_ALL_GONE"));
    return;
  }
  services_.scan(paths);
}

void ResultsPage::askToExclude() {
  const std::vector<HistoryResult> chosen = selected();
  if (chosen.empty()) {
    return;
  }
  const std::string path = chosen.front().path;
  if (!isValidUtf8(path)) {
    // The preferences are text.
    say(words_.text("RESULTS_EXCLUDE_BYTES"));
    return;
  }
  const std::string expression = expressionOfFile(path);
  const Wording question = {"RESULTS_EXCLUDE_QUESTION", {words_.place(path)}};
  const Wording detail = {chosen.front().kind == HistoryResult::Kind::found
                              ? "RESULTS_EXCLUDE_DETAIL_FOUND"
                              : "RESULTS_EXCLUDE_DETAIL",
                          {expression}};
  window_.ask({question.in(services_.strings),
               detail.in(services_.strings),
               {words_.text("RESULTS_EXCLUDE_YES"), words_.text("RESULTS_EXCLUDE_NO")},
               true},
              [exclude = services_.exclude, expression](std::size_t button) {
                if (button == 0) {
                  exclude(expression);
                }
              });
}

void ResultsPage::askToAllow() {
  const std::vector<HistoryResult> chosen = selected();
  if (chosen.size() != 1 || !canBeAllowed(chosen.front())) {
    return;
  }
  const std::string path = chosen.front().path;
  const auto shown = FileIdentity::at(path);
  if (hasChangedSince(path, chosen.front().time)) {
    askToScanAgain(path);
    return;
  }
  window_.ask({Wording{"RESULTS_ALLOW_QUESTION", {words_.place(path)}}.in(services_.strings),
               words_.text("RESULTS_ALLOW_DETAIL"),
               {words_.text("RESULTS_ALLOW_YES"), words_.text("RESULTS_ALLOW_NO")},
               true},
              [this, path, shown](std::size_t button) {
                if (button == 0) {
                  const std::string problem = services_.allow(path, shown);
                  say(problem.empty()
                          ? Wording{"RESULTS_ALLOWED", {words_.place(path)}}.in(services_.strings)
                          : problem);
                }
              });
}

// Nobody has looked at what lies there by now.
void ResultsPage::askToScanAgain(const std::string& path) {
  window_.ask({Wording{"RESULTS_CHANGED_QUESTION", {words_.place(path)}}.in(services_.strings),
               words_.text("RESULTS_CHANGED_DETAIL"),
               {words_.text("RESULTS_CHANGED_YES"), words_.text("RESULTS_ALLOW_NO")},
               false},
              [scan = services_.scan, path](std::size_t button) {
                if (button == 0) {
                  scan({path});
                }
              });
}

void ResultsPage::showQuarantine() {
  const std::vector<HistoryResult> chosen = selected();
  if (chosen.size() == 1) {
    services_.showQuarantine(chosen.front().detail);
  }
}

}  // namespace quillo
