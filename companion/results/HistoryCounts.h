#pragma once

#include <string>

#include "companion/overview/RecentCounts.h"
#include "history/HistoryReader.h"

namespace quillo {

class LocalizedStrings;

// What the history holds, counted. One thread at a time.
class HistoryCounts final : public RecentCounts {
 public:
  // `folder` is the agent's own for what it remembers.
  HistoryCounts(const std::string& folder, LocalizedStrings& strings)
      : reader_(folder), strings_(strings) {}

  Counts countsSince(std::chrono::system_clock::time_point since) override;

 private:
  HistoryReader reader_;
  LocalizedStrings& strings_;
};

}  // namespace quillo
