#include "companion/results/ResultsPage.h"

#include <algorithm>
#include <array>
#include <utility>

#include "platform/LocalizedStrings.h"
#include "platform/Page.h"
#include "platform/Workspace.h"
#include "posix/Clock.h"
#include "posix/FileFacts.h"
#include "posix/Text.h"

namespace quillo {
namespace {

constexpr const char* results = "results";
constexpr const char* busy = "busy";
// The choices of `period`, in their order; the first is any time.
constexpr std::array<int, 5> daysOfPeriod = {0, 1, 7, 30, 365};

// Where much was scanned. They are few.
class BusyRows final : public TableRows {
 public:
  BusyRows(std::vector<BusyFolder> folders, const ResultsWords& words)
      : folders_(std::move(folders)), words_(words) {}
  std::size_t count() override { return folders_.size(); }
  Row row(std::size_t row) override { return words_.row(folders_.at(row)); }

 private:
  const std::vector<BusyFolder> folders_;
  const ResultsWords words_;
};

}  // namespace

ResultsPage::ResultsPage(Page& page, MainWindow& window, const ResultsServices& services)
    : page_(page),
      window_(window),
      services_(services),
      words_(services.strings, services.home),
      reader_(std::make_shared<HistoryReader>(services.historyFolder)),
      table_(std::make_shared<ReadRows<HistoryResult>>(
          [reader = reader_](const HistorySelection& selection, std::size_t row,
                             std::size_t count) { return reader->rows(selection, row, count); },
          [words = words_](const HistoryResult& result) { return words.row(result); })),
      scans_(page, reader_, words_, [this](const ScanRun& run) { showFilesOf(run); }),
      search_(services.historyFolder, services.application, services.threads) {
  showKinds();
  page_.setChoices("period",
                   {words_.text("RESULTS_PERIOD_ALL"), words_.text("RESULTS_PERIOD_DAY"),
                    words_.text("RESULTS_PERIOD_WEEK"), words_.text("RESULTS_PERIOD_MONTH"),
                    words_.text("RESULTS_PERIOD_YEAR")},
                   0);
  page_.setRows(results, words_.resultTitles(), table_);
  connect();
  say("");
  showView();
}

void ResultsPage::connect() {
  for (const char* const widget : {"search", "kind", "period"}) {
    page_.onAction(widget, [this] {
      say("");
      look();
    });
  }
  page_.onAction("showScans",
                 [this] { turnTo(page_.isChecked("showScans") ? View::scans : View::files); });
  page_.onAction("showBusy",
                 [this] { turnTo(page_.isChecked("showBusy") ? View::busy : View::files); });
  page_.onAction("allResults", [this] { showAllResults(); });
  page_.onAction("byDay", [this] { look(); });
  page_.onSelection(results, [this] { showButtons(); });
  page_.onAction(results, [this] { openFolder(); });
  page_.onAction("openFolder", [this] { openFolder(); });
  page_.onAction("scanAgain", [this] { scanAgain(); });
  page_.onAction("exclude", [this] { askToExclude(); });
  page_.onAction("allow", [this] { askToAllow(); });
  page_.onAction("showQuarantine", [this] { showQuarantine(); });
}

void ResultsPage::showKinds() {
  page_.setChoices("kind",
                   {words_.text("RESULTS_KIND_ALL"), words_.text("RESULTS_KIND_FOUND"),
                    words_.text("RESULTS_KIND_NOT_SCANNED")},
                   0);
}

ResultsPage::View ResultsPage::view() const {
  return page_.isChecked("showScans")  ? View::scans
         : page_.isChecked("showBusy") ? View::busy
                                       : View::files;
}

void ResultsPage::turnTo(View view) {
  page_.setChecked("showScans", view == View::scans);
  page_.setChecked("showBusy", view == View::busy);
  say("");
  showView();
}

void ResultsPage::showView() {
  const View shown = view();
  page_.setVisible("resultsBox", shown == View::files);
  page_.setVisible("scansBox", shown == View::scans);
  page_.setVisible("busyBox", shown == View::busy);
  page_.setEnabled("search", shown == View::files);
  page_.setEnabled("kind", shown == View::files);
  const bool isOfScan = run_ != 0 && shown == View::files;
  page_.setVisible("ofScan", isOfScan);
  page_.setVisible("allResults", isOfScan);
  look();
}

// Those of the time that is chosen: what was chosen besides could not be seen beside the scans.
void ResultsPage::showFilesOf(const ScanRun& run) {
  run_ = run.id;
  page_.setText("ofScan", words_.ofScan(run));
  page_.setText("search", "");
  showKinds();
  turnTo(View::files);
  page_.focus(results);
}

void ResultsPage::showAllResults() {
  run_ = 0;
  turnTo(View::files);
  page_.focus(results);
}

std::optional<WallTime> ResultsPage::since() const {
  const std::size_t chosen = std::min(page_.choice("period"), daysOfPeriod.size() - 1);
  return chosen == 0 ? std::nullopt
                     : std::optional(services_.clock.wallTime() -
                                     std::chrono::hours(24 * daysOfPeriod[chosen]));
}

HistoryFilter ResultsPage::filter() const {
  HistoryFilter wanted;
  wanted.text = page_.text("search");
  switch (page_.choice("kind")) {
    case 1:
      wanted.kind = HistoryResult::Kind::found;
      break;
    case 2:
      wanted.kind = HistoryResult::Kind::notScanned;
      break;
    default:
      break;
  }
  wanted.since = since();
  wanted.run = run_;
  return wanted;
}

void ResultsPage::historyChanged() {
  if (search_.isUnderWay()) {
    hasNews_ = true;
  } else {
    look();
  }
}

void ResultsPage::searchHasEnded() {
  if (hasNews_ && !search_.isUnderWay()) {
    look();
  }
}

void ResultsPage::look() {
  hasNews_ = false;
  reader_->open();
  if (!isReadable(reader_->state(), reader_->reason())) {
    return;
  }
  switch (view()) {
    case View::files:
      choose();
      break;
    case View::scans:
      search_.giveUp();
      showScans();
      break;
    case View::busy:
      chooseBusy();
      break;
  }
}

// Says why it is not. What is damaged may show only when that part is read.
bool ResultsPage::isReadable(HistoryReader::State state, const std::string& reason) {
  const std::string problem = words_.problem(state, reason);
  if (!problem.empty()) {
    clear();
    page_.setText("summary", problem);
  }
  return problem.empty();
}

void ResultsPage::clear() {
  search_.giveUp();
  show({});
  scans_.clear();
  page_.setRows(busy, words_.busyTitles(),
                std::make_shared<BusyRows>(std::vector<BusyFolder>(), words_));
}

void ResultsPage::choose() {
  const HistoryFilter wanted = filter();
  if (wanted.isEmpty()) {
    search_.giveUp();
    const HistorySelection all = reader_->select(wanted);
    if (isReadable(reader_->state(), reader_->reason())) {
      show(all);
    }
    return;
  }
  page_.setText("summary", words_.text("RESULTS_SEARCHING"));
  search_.begin(wanted, [this](const HistorySearch::Found& found) {
    if (isReadable(found.state, found.reason)) {
      show(found.selection);
    }
    searchHasEnded();
  });
}

void ResultsPage::show(const HistorySelection& selection) {
  showOthers(page_, results, *table_, selection, mostScannedAgain);
  page_.setText("summary", selection.count() > 0
                               ? words_.counted("RESULTS_COUNT", selection.count())
                               : wordsOfNone());
  showButtons();
}

std::string ResultsPage::wordsOfNone() const {
  const HistoryFilter wanted = filter();
  if (wanted.isEmpty()) {
    return words_.none(reader_->beginning());
  }
  const bool isOfScanAlone = wanted == HistoryFilter{.run = run_} && run_ != 0;
  return words_.text(isOfScanAlone ? "RESULTS_NONE_OF_SCAN" : "RESULTS_NONE_MATCH");
}

void ResultsPage::showScans() {
  const std::string summary = scans_.show(since());
  if (isReadable(reader_->state(), reader_->reason())) {
    page_.setText("summary", summary);
  }
}

void ResultsPage::chooseBusy() {
  const std::optional<WallTime> from = since();
  const HistorySearch::BusyQuestion wanted = {from ? calendarDayOf(*from) : 0,
                                              page_.isChecked("byDay"), mostBusyFolders};
  page_.setText("summary", words_.text("RESULTS_SEARCHING"));
  search_.begin(wanted, [this](const HistorySearch::Found& found) {
    if (isReadable(found.state, found.reason)) {
      showBusy(found.folders);
    }
    searchHasEnded();
  });
}

void ResultsPage::showBusy(std::vector<BusyFolder> folders) {
  page_.setText("summary", folders.empty() ? words_.text("RESULTS_BUSY_NONE")
                                           : words_.counted("RESULTS_BUSY_COUNT", folders.size()));
  page_.setRows(busy, words_.busyTitles(), std::make_shared<BusyRows>(std::move(folders), words_));
}

void ResultsPage::say(const std::string& notice) {
  page_.setText("notice", notice);
  page_.setVisible("notice", !notice.empty());
}

}  // namespace quillo
