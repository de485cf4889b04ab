#pragma once

#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "engine/ClamdLink.h"
#include "engine/EngineProblem.h"
#include "platform/Notifier.h"

namespace quillo {

// Notes down what the link to the daemon asks for and notifies the user of, in order.
class FakeClamdLinkOwner final : public ClamdLinkOwner, public Notifier {
 public:
  std::optional<std::string> clamPATH() override { return root; }
  bool displayGrowlDialogWithTitleAndDescription(std::int32_t code, const std::string& description,
                                                 const NotificationDetails& details) override {
    note((code == notificationError && details.topic == engineTopic ? "error: " : "other: ") +
         description);
    return true;
  }
  void withdraw(const std::string&) override {}
  void displayNoEngineWindow(const EngineProblem& problem) override {
    note("noEngineWindow");
    problems.push_back(problem.kind);
  }

  std::vector<std::string> calls() {
    std::lock_guard hold(mutex_);
    return calls_;
  }

  std::vector<EngineProblem::Kind> problems;
  std::optional<std::string> root;

 private:
  void note(const std::string& call) {
    std::lock_guard hold(mutex_);
    calls_.push_back(call);
  }

  std::mutex mutex_;
  std::vector<std::string> calls_;
};

}  // namespace quillo
