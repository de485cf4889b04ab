#include "companion/settings/NewStart.h"

#include "platform/AgentLink.h"
#include "platform/Session.h"

namespace quillo {

bool NewStart::isOfUse() const { return agent_.status().has_value(); }

void NewStart::begin() {
  isUnderWay_ = true;
  center_.post("VantrelQuilloShouldQuit", "Vantrel");
  agentChanged();
}

void NewStart::agentChanged() {
  if (isUnderWay_ && agent_.presence() == AgentPresence::absent) {
    isUnderWay_ = false;
    agent_.start();
  }
}

}  // namespace quillo
