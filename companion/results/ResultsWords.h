#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "history/HistoryReader.h"
#include "platform/Page.h"

namespace quillo {

class LocalizedStrings;

// The history in words of the user's language, as rows of its tables. Main thread.
class ResultsWords {
 public:
  ResultsWords(LocalizedStrings& strings, std::string home)
      : strings_(strings), home_(std::move(home)) {}

  std::string text(const std::string& key) const;
  // Returns the text of `key`_ONE for 1, else that of `key`_MANY with the number.
  std::string counted(const std::string& key, std::uint64_t count) const;
  // Returns a path as people write it: "~" for the home folder.
  std::string place(const std::string& path) const;

  std::vector<std::string> resultTitles() const;
  // Returns time, file, folder, threat or reason, what was done, and who scanned.
  TableRows::Row row(const HistoryResult& result) const;
  std::vector<std::string> scanTitles() const;
  // Returns when it began, what was scanned, how it ended, how many files were clean, found and not
  // scanned, how long it took, and whose scan it was.
  TableRows::Row row(const ScanRun& run) const;
  // Returns which scan the results that are shown are of.
  std::string ofScan(const ScanRun& run) const;
  std::vector<std::string> busyTitles() const;
  // Returns day, if it has one, folder, number of files and their size.
  TableRows::Row row(const BusyFolder& folder) const;
  // Returns that nothing was found, and since when it would be known.
  std::string none(const std::optional<WallTime>& beginning) const;
  // Returns why no history can be shown; "" where it can.
  std::string problem(HistoryReader::State state, const std::string& reason) const;

 private:
  std::string size(std::uint64_t bytes) const;
  std::string done(const HistoryResult& result) const;
  std::string places(const std::vector<std::string>& paths) const;
  std::string duration(std::chrono::seconds length) const;

  LocalizedStrings& strings_;
  const std::string home_;
};

}  // namespace quillo
