#include "companion/settings/NewStart.h"

#include <algorithm>
#include <utility>

#include "platform/AgentLink.h"
#include "platform/Session.h"
#include "posix/Text.h"
#include "settings/TypedPreferences.h"

namespace quillo {
namespace {

std::set<std::string> switchedOnIn(const TypedPreferences& preferences) {
  std::set<std::string> on;
  for (const Preference<bool>& each : {key::updateDefsOnLaunch, key::needsExit1FreshclamFlag}) {
    if (preferences.value(each)) {
      on.insert(each.name);
    }
  }
  // One of the two takes the other's place, and neither goes for none.
  if (preferences.value(key::quilloQuarantineFiles) || preferences.value(key::quilloTrashFiles)) {
    on.insert(key::quilloQuarantineFiles.name);
  }
  return on;
}

}  // namespace

bool wantsWindow(const TypedPreferences& preferences) {
  const std::string dock = lowercased(preferences.value(key::showDockIcon).value_or(""));
  return dock == "both" || dock == "true";
}

NewStart::NewStart(AgentLink& agent, DistributedNotificationCenter& center,
                   const TypedPreferences& preferences, std::function<void()> start)
    : agent_(agent),
      center_(center),
      preferences_(preferences),
      start_(std::move(start)),
      switchedOn_(switchedOnIn(preferences)),
      showsWindow_(wantsWindow(preferences)) {}

bool NewStart::isNeeded() {
  const std::set<std::string> now = switchedOnIn(preferences_);
  if (agent_.presence() == AgentPresence::absent) {
    switchedOn_ = now;
    showsWindow_ = wantsWindow(preferences_);
    return false;
  }
  switchedOn_.insert(now.begin(), now.end());
  return agent_.status() && (wantsWindow(preferences_) != showsWindow_ || switchedOn_ != now);
}

void NewStart::begin() {
  isUnderWay_ = true;
  center_.post("VantrelQuilloShouldQuit", "Vantrel");
  agentChanged();
}

void NewStart::agentChanged() {
  if (isUnderWay_ && agent_.presence() == AgentPresence::absent) {
    isUnderWay_ = false;
    start_();
  }
}

}  // namespace quillo
