#pragma once

#include <optional>

#include "platform/LocalizedStrings.h"

namespace quillo {

class AgentLink;
class DistributedNotificationCenter;
class Page;

// The part of a page of preferences that says why what is changed there does not hold at once, for
// no agent runs or none watches, with what mends that: the label `guardNote` and the button
// `startGuarding`. Main thread.
class GuardNote {
 public:
  GuardNote(Page& page, AgentLink& agent, DistributedNotificationCenter& center,
            LocalizedStrings& strings);

  // Shows it anew. To be called whenever what the agent says is another.
  void show();
  // Returns true while what is changed does not hold before somebody starts something.
  bool isShown() const { return isShown_; }
  // Starts the agent, and says so where that cannot be.
  void startAgent();

 private:
  Wording words() const;

  Page& page_;
  AgentLink& agent_;
  DistributedNotificationCenter& center_;
  LocalizedStrings& strings_;
  bool isShown_ = false;
  bool isMissing_ = false;  // the desktop knew of no agent that it could start
};

}  // namespace quillo
