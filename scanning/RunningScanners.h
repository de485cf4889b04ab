#pragma once

#include <vector>

#include "posix/Mutex.h"

namespace quillo {

class ChildProcess;

// The engine's scanners that run for this agent, so that they can be ended by their number and not
// by a name that others bear too. Any thread.
class RunningScanners {
 public:
  // Holds a scanner in the list for the length of a scope.
  class Entry {
   public:
    Entry(RunningScanners& list, ChildProcess& scanner);
    ~Entry();
    Entry(const Entry&) = delete;
    Entry& operator=(const Entry&) = delete;

   private:
    RunningScanners& list_;
    ChildProcess& scanner_;
  };

  // Ends each with SIGKILL, and what it started.
  void endAll();
  // As above, and from now on each that begins: the agent ends.
  void endAllForGood();

 private:
  Mutex lock_;
  std::vector<ChildProcess*> scanners_ QUILLO_GUARDED_BY(lock_);
  bool endsEach_ QUILLO_GUARDED_BY(lock_) = false;
};

}  // namespace quillo
