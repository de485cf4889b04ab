#pragma once

namespace quillo {

class AgentLink;
class DistributedNotificationCenter;

// Starts the agent anew, for what it reads only then: it is asked to quit, and started when it has
// gone. Main thread.
class NewStart {
 public:
  NewStart(AgentLink& agent, DistributedNotificationCenter& center)
      : agent_(agent), center_(center) {}

  // Returns false while no agent runs.
  bool isOfUse() const;
  void begin();
  bool isUnderWay() const { return isUnderWay_; }
  // To be called whenever what the agent says is another.
  void agentChanged();

 private:
  AgentLink& agent_;
  DistributedNotificationCenter& center_;
  bool isUnderWay_ = false;
};

}  // namespace quillo
