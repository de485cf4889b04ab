#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <utility>

#include "companion/selftest/SelfTest.h"
#include "history/HistoryReader.h"

namespace quillo {

// The finds in the history, as the self-test asks for them. One thread.
class RecordedFinds {
 public:
  // Has it entered what that find was.
  using Mark = std::function<void(const LaterOutcome& outcome)>;

  // `folder` is the agent's own for what it remembers.
  RecordedFinds(std::string folder, Mark mark)
      : mark_(std::move(mark)), reader_(std::move(folder)) {}

  // As SelfTestEvidence::findOf(): nothing, too, as long as nobody has said what became of it. The
  // find is that of a test from then on, and counts as none.
  std::optional<SelfTestEvidence::Find> findOf(const std::string& path, std::int64_t since);

 private:
  const Mark mark_;
  HistoryReader reader_;
};

}  // namespace quillo
