#pragma once

#include <cstddef>
#include <utility>
#include <vector>

#include "history/HistoryRecorder.h"
#include "scanning/PipelineObserver.h"

namespace quillo {

class ScannerOwner;

// Has everything that comes out of the agent's scanners kept. Any thread.
class HistoryObserver final : public ScanObserver {
 public:
  HistoryObserver(ScannerOwner& owner, HistoryWriter& writer, TrashFolders& trash, Clock& clock)
      : owner_(owner), recorder_(writer, trash, clock, ScanSource::agent) {}

  void runBegan(std::size_t) override {}
  void runEnded(std::size_t) override {}
  void verdictGiven(const Verdict& verdict) override;

 private:
  ScannerOwner& owner_;
  HistoryRecorder recorder_;
};

// Hands what the scanners report to several observers, in their order. Any thread.
class ScanObservers final : public ScanObserver {
 public:
  explicit ScanObservers(std::vector<ScanObserver*> observers) : observers_(std::move(observers)) {}

  void runBegan(std::size_t files) override;
  void runEnded(std::size_t files) override;
  void verdictGiven(const Verdict& verdict) override;

 private:
  const std::vector<ScanObserver*> observers_;
};

}  // namespace quillo
