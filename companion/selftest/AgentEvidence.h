#pragma once

#include <functional>
#include <optional>
#include <string>

#include "companion/selftest/SelfTest.h"

namespace quillo {

class AgentLink;

// What the agent says of itself, and what was recorded of its finds, as evidence for the self-test.
// Main thread.
class AgentEvidence final : public SelfTestEvidence {
 public:
  struct Services {
    AgentLink& agent;
    // Whether new files in that watched folder are noticed: not in one without its subfolders.
    std::function<bool(const std::string& folder)> yieldsFiles;
    // As findOf().
    std::function<std::optional<Find>(const std::string& path, std::int64_t since)> recorded;
    // Nothing says here when the agent's state is another: it has to be asked each time.
    bool asksEachTime = false;
    // As abandon().
    std::function<void(const std::string& path, std::int64_t since)> abandoned =
        [](const std::string&, std::int64_t) {};
  };

  explicit AgentEvidence(Services services) : services_(std::move(services)) {}

  Facts facts() override;
  std::optional<Find> findOf(const std::string& path, std::int64_t since) override {
    return services_.recorded(path, since);
  }
  void abandon(const std::string& path, std::int64_t since) override {
    services_.abandoned(path, since);
  }

 private:
  const Services services_;
};

}  // namespace quillo
