#pragma once

#include <string>

#include "tests/root/support/world/Lines.h"

namespace quillo::tests {

// Stands in for the system log (syslog(3)) of the world that a test runs in.
class SystemLogListener {
 public:
  SystemLogListener();
  ~SystemLogListener();
  SystemLogListener(const SystemLogListener&) = delete;
  SystemLogListener& operator=(const SystemLogListener&) = delete;

  // Waits for the next message; empty at the deadline.
  std::string next(std::chrono::milliseconds limit = deadline);

 private:
  int socket_;
};

}  // namespace quillo::tests
