#include "companion/settings/GuardNote.h"

#include "companion/settings/PreferenceChanges.h"
#include "platform/AgentLink.h"
#include "platform/Page.h"
#include "platform/Session.h"

namespace quillo {

GuardNote::GuardNote(Page& page, AgentLink& agent, DistributedNotificationCenter& center,
                     LocalizedStrings& strings)
    : page_(page), agent_(agent), center_(center), strings_(strings) {
  page_.onAction("startGuarding", [this] {
    if (agent_.presence() == AgentPresence::absent) {
      startAgent();
    } else {
      center_.post("VantrelQuilloShouldRestart", "Vantrel");
    }
  });
  show();
}

Wording GuardNote::words() const {
  if (wasStoppedByItsUser(agent_)) {
    return {"SETTINGS_STOPPED"};
  }
  if (agent_.presence() != AgentPresence::absent) {
    return {};
  }
  const AgentStart start = agent_.lastStart();
  if (start.isUnderWay) {
    return {"SETTINGS_AGENT_STARTS"};
  }
  if (isMissing_) {
    return {"SETTINGS_AGENT_MISSING"};
  }
  return start.problem.empty() ? Wording{"SETTINGS_NO_AGENT"}
                               : Wording{"SETTINGS_AGENT_FAILED", {start.problem.in(strings_)}};
}

void GuardNote::show() {
  isMissing_ = isMissing_ && agent_.presence() == AgentPresence::absent;
  const Wording said = words();
  isShown_ = !said.empty();
  page_.setText("guardNote", said.in(strings_));
  page_.setVisible("guardNote", isShown_);
  page_.setVisible("startGuarding", isShown_ && !agent_.lastStart().isUnderWay);
}

void GuardNote::startAgent() {
  isMissing_ = !agent_.start();
  show();
}

}  // namespace quillo
