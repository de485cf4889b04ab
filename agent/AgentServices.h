#pragma once

#include "engine/ClamdLink.h"
#include "platform/Platform.h"
#include "settings/TypedPreferences.h"

namespace quillo {

class Clock;
class ThreadStarter;

// What the agent stands on: the desktop, its user's preferences, time and threads. All of it
// outlives the agent.
struct AgentServices {
  const Platform& platform;
  const TypedPreferences& preferences;
  Clock& clock;
  ThreadStarter& threads;
  DaemonFinder findDaemon = findRunningDaemon;
  MarkReader isMarked = isProcessMarked;
};

}  // namespace quillo
