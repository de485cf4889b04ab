#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "companion/selftest/SelfTest.h"
#include "history/AbandonedTests.h"
#include "history/HistoryReader.h"

namespace quillo {

// The finds in the history, as the self-test asks for them. One thread.
class RecordedFinds {
 public:
  // Has it entered what that find was.
  using Mark = std::function<void(const LaterOutcome& outcome)>;

  // `folder` is the agent's own for what it remembers.
  RecordedFinds(std::string folder, Mark mark)
      : mark_(std::move(mark)), abandoned_(folder), reader_(std::move(folder)) {}

  // As SelfTestEvidence::findOf(): nothing, too, as long as nobody has said what became of it. The
  // find is that of a test from then on, and counts as none.
  std::optional<SelfTestEvidence::Find> findOf(const std::string& path, std::int64_t since);
  // As SelfTestEvidence::abandon().
  void abandon(const std::string& path, std::int64_t since);

 private:
  std::vector<HistoryResult> findsOf(const std::string& name, std::int64_t since);

  const Mark mark_;
  const AbandonedTests abandoned_;
  HistoryReader reader_;
};

}  // namespace quillo
