#pragma once

#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "platform/AgentLink.h"
#include "platform/DesktopCheck.h"

namespace quillo {

// An agent that is what the test says.
class FakeAgentLink final : public AgentLink {
 public:
  std::optional<AgentStatus> status() const override { return status_; }
  AgentPresence presence() const override {
    return status_ ? AgentPresence::answering : withoutStatus;
  }
  void observe(std::function<void()> changed) override { observers_.push_back(std::move(changed)); }
  Wording refresh() override {
    status_ = atRefresh;
    return problem;
  }
  bool start() override {
    ++starts;
    return canStart;
  }
  AgentStart lastStart() const override { return startState; }

  // Lets everybody who observes hear what has become of a start.
  void startBecomes(const AgentStart& start) {
    startState = start;
    become(status_);
  }
  // Lets everybody who observes hear of another status.
  void become(std::optional<AgentStatus> status) {
    status_ = std::move(status);
    for (const auto& observer : observers_) {
      observer();
    }
  }
  static AgentStatus watching(const std::string& program) {
    AgentStatus status;
    status.program = program;
    status.state = "watching";
    status.watchedFolders = {"/home/anna/", "/home/anna/Downloads/"};
    return status;
  }

  // What the lack of a status means.
  AgentPresence withoutStatus = AgentPresence::absent;
  // What asking brings.
  std::optional<AgentStatus> atRefresh;
  Wording problem;
  bool canStart = true;
  AgentStart startState;
  int starts = 0;

 private:
  std::optional<AgentStatus> status_;
  std::vector<std::function<void()>> observers_;
};

class FakeDesktopCheck final : public DesktopCheck {
 public:
  DesktopFacts look() override { return facts; }
  DesktopFacts facts;
};

}  // namespace quillo
