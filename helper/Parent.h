#pragma once

#include <sys/types.h>

#include "posix/UniqueFd.h"

namespace quillo::helper {

// The process that started this one: the agent.
struct Parent {
  pid_t id = 0;
  // A pidfd, readable when the process has ended; none if it is in an outer PID namespace.
  UniqueFd end;
  // It has the same real user as this process; if not, it is nobody's agent (init, for example).
  bool isCallers = false;
};

// Throws ReaderGone if the parent ends meanwhile, so that its id may mean another process.
Parent findParent();

}  // namespace quillo::helper
