#pragma once

#include <sys/un.h>

#include <string>

#include "posix/UniqueFd.h"

namespace quillo {

// The address of a socket that lies at a path (unix(7)).
sockaddr_un addressOf(const std::string& path);

// All of these throw std::runtime_error when the system refuses.

// A stream socket bound to a path, in place of what lay there; nobody listens yet.
UniqueFd bindTo(const std::string& path);
// The same, listening.
UniqueFd listenAt(const std::string& path);
// A stream socket that is connected to who listens at a path.
UniqueFd connectTo(const std::string& path);

// Ends one thread's wait for descriptors from another.
class StopSignal {
 public:
  StopSignal();

  void give() { writer_.reset(); }
  // Blocks until the descriptor can be read. Returns false once the signal has been given. Any
  // number of threads.
  bool awaitReadable(int descriptor) const;

 private:
  UniqueFd reader_;
  UniqueFd writer_;
};

}  // namespace quillo
