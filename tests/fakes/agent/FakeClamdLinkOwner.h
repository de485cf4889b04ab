#pragma once

#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "engine/ClamdLink.h"
#include "engine/EngineProblem.h"

namespace quillo {

// Notes down what the link to the daemon asks for, in order.
class FakeClamdLinkOwner final : public ClamdLinkOwner {
 public:
  std::optional<std::string> clamPATH() override { return root; }
  bool displayError(const std::string& description) override {
    note("error: " + description);
    return true;
  }
  void displayNoEngineWindow(const EngineProblem& problem) override {
    note("noEngineWindow");
    problems.push_back(problem.kind);
  }
  void waitKeepingDesktopAlive(const std::function<void()>& wait) override {
    note("wait");
    if (duringWait) {
      duringWait();
    }
    wait();
  }

  std::vector<std::string> calls() {
    std::lock_guard hold(mutex_);
    return calls_;
  }

  std::vector<EngineProblem::Kind> problems;
  std::optional<std::string> root;
  std::function<void()> duringWait;

 private:
  void note(const std::string& call) {
    std::lock_guard hold(mutex_);
    calls_.push_back(call);
  }

  std::mutex mutex_;
  std::vector<std::string> calls_;
};

}  // namespace quillo
