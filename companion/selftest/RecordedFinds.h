#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <utility>

#include "companion/selftest/SelfTest.h"
#include "history/HistoryReader.h"

namespace quillo {

// The finds in the history, as the self-test asks for them. One thread.
class RecordedFinds {
 public:
  // `folder` is the agent's own for what it remembers.
  explicit RecordedFinds(std::string folder) : reader_(std::move(folder)) {}

  // As SelfTestEvidence::findOf(): nothing, too, as long as nobody has said what became of it.
  std::optional<SelfTestEvidence::Find> findOf(const std::string& path, std::int64_t since);

 private:
  HistoryReader reader_;
};

}  // namespace quillo
