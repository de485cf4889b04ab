#pragma once

#include <optional>
#include <string>
#include <vector>

#include "engine/ClamdLink.h"
#include "engine/EngineProblem.h"
#include "platform/Notifier.h"
#include "tests/support/Record.h"

namespace quillo {

// Notes down what the link to the daemon asks for and notifies the user of, in order.
class FakeClamdLinkOwner final : public ClamdLinkOwner, public Notifier {
 public:
  std::optional<std::string> clamPATH() override { return root; }
  bool displayGrowlDialogWithTitleAndDescription(std::int32_t code, const std::string& description,
                                                 const NotificationDetails& details) override {
    calls.add((code == notificationError && details.topic == engineTopic ? "error: " : "other: ") +
              description);
    for (const NotificationButton& button : details.buttons) {
      buttons.push_back(button);
    }
    return true;
  }
  void withdraw(const std::string&) override {}
  void displayNoEngineWindow(const EngineProblem& problem) override {
    calls.add("noEngineWindow");
    problems.push_back(problem.kind);
  }
  void showWhatMends() override { calls.add("show what mends"); }

  Record<std::string> calls;
  std::vector<NotificationButton> buttons;  // of all notifications
  std::vector<EngineProblem::Kind> problems;
  std::optional<std::string> root;
};

}  // namespace quillo
