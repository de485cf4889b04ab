#include "companion/results/ScansView.h"

#include <utility>

namespace quillo {
namespace {

constexpr const char* scans = "scans";

// One that has no end yet may have come upon some already.
bool mayHaveFiles(const ScanRun& run) {
  return run.id != 0 && (run.found > 0 || run.notScanned > 0 || !run.ended);
}

}  // namespace

ScansView::ScansView(Page& page, std::shared_ptr<HistoryReader> reader, const ResultsWords& words,
                     std::function<void(const ScanRun& run)> showFiles)
    : page_(page),
      reader_(std::move(reader)),
      words_(words),
      showFiles_(std::move(showFiles)),
      rows_(std::make_shared<ReadRows<ScanRun>>(
          [reader = reader_](const HistorySelection& selection, std::size_t row,
                             std::size_t count) { return reader->runs(selection, row, count); },
          [words](const ScanRun& run) { return words.row(run); })) {
  page_.setRows(scans, words_.scanTitles(), rows_);
  page_.onSelection(scans, [this] { showButton(); });
  page_.onAction(scans, [this] { this->showFiles(); });
  page_.onAction("showFiles", [this] { this->showFiles(); });
  showButton();
}

std::string ScansView::show(std::optional<WallTime> since) {
  const HistorySelection chosen = reader_->selectRuns(since);
  showOthers(page_, scans, *rows_, chosen, 1);
  showButton();
  if (chosen.count() > 0) {
    return words_.counted("RESULTS_SCANS_COUNT", chosen.count());
  }
  return words_.text(since ? "RESULTS_SCANS_NONE_THEN" : "RESULTS_SCANS_NONE_YET");
}

void ScansView::clear() {
  rows_->choose({});
  page_.rowsChanged(scans);
  showButton();
}

std::optional<ScanRun> ScansView::selectedWithFiles() {
  const std::vector<std::size_t> selected = page_.selectedRows(scans);
  if (selected.size() != 1 || selected.front() >= rows_->count()) {
    return std::nullopt;
  }
  const ScanRun& run = rows_->entry(selected.front());
  return mayHaveFiles(run) ? std::optional(run) : std::nullopt;
}

void ScansView::showButton() { page_.setEnabled("showFiles", selectedWithFiles().has_value()); }

void ScansView::showFiles() {
  if (const std::optional<ScanRun> run = selectedWithFiles()) {
    showFiles_(*run);
  }
}

}  // namespace quillo
