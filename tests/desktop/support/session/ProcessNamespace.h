#pragma once

#include <memory>

#include "posix/ChildProcess.h"
#include "posix/UniqueFd.h"

namespace quillo {

// The processes that are started in it, and all that these start, are in a PID namespace
// (pid_namespaces(7)) of their own and end with it, also when the test itself is killed. Without
// the right to make one it only starts them.
class ProcessNamespace {
 public:
  ProcessNamespace();
  ~ProcessNamespace();
  ProcessNamespace(const ProcessNamespace&) = delete;
  ProcessNamespace& operator=(const ProcessNamespace&) = delete;

  // Every process in it has ended when this returns.
  void end() { first_.reset(); }

  std::unique_ptr<ChildProcess> start(const LaunchRequest& request);

 private:
  UniqueFd outer_;
  UniqueFd inner_;
  std::unique_ptr<ChildProcess> first_;
};

}  // namespace quillo
