#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "companion/results/ReadRows.h"
#include "companion/results/ResultsWords.h"

namespace quillo {

// The part of the page "results" that shows the scans by hand and planned ones: the table `scans`,
// and `showFiles` for what the selected one came upon. Main thread.
class ScansView {
 public:
  // `showFiles` shows the results of that scan.
  ScansView(Page& page, std::shared_ptr<HistoryReader> reader, const ResultsWords& words,
            std::function<void(const ScanRun& run)> showFiles);

  // Shows those of that time as they are kept now, or all. Returns how many there are, in words.
  std::string show(std::optional<WallTime> since);
  // Shows none.
  void clear();

 private:
  std::optional<ScanRun> selectedWithFiles();
  void showButton();
  void showFiles();

  Page& page_;
  const std::shared_ptr<HistoryReader> reader_;
  const ResultsWords words_;
  const std::function<void(const ScanRun& run)> showFiles_;
  const std::shared_ptr<ReadRows<ScanRun>> rows_;
};

}  // namespace quillo
