#pragma once

#include <functional>
#include <set>
#include <string>

namespace quillo {

class AgentLink;
class DistributedNotificationCenter;
class TypedPreferences;

// Returns true when the agent is to show a window in the task bar.
bool wantsWindow(const TypedPreferences& preferences);

// Starts the agent anew, for what it reads only then: it is asked to quit, and started when it has
// gone. Main thread.
class NewStart {
 public:
  // `start` starts an agent, and says so where that cannot be.
  NewStart(AgentLink& agent, DistributedNotificationCenter& center,
           const TypedPreferences& preferences, std::function<void()> start);

  // Returns true while an agent runs that keeps to something else than the preferences say now,
  // until it is started anew. To be called after every change.
  bool isNeeded();
  void begin();
  bool isUnderWay() const { return isUnderWay_; }
  // To be called whenever what the agent says is another.
  void agentChanged();

 private:
  AgentLink& agent_;
  DistributedNotificationCenter& center_;
  const TypedPreferences& preferences_;
  const std::function<void()> start_;
  bool isUnderWay_ = false;
  // What the agent has switched on, which no reading switches off again, and how it shows itself.
  std::set<std::string> switchedOn_;
  bool showsWindow_ = false;
};

}  // namespace quillo
