#pragma once

#include <memory>
#include <string>

#include "posix/ChildProcess.h"
#include "tests/support/TemporaryFolder.h"

namespace quillo {

// A session that no test can leave: a home and runtime folder of its own below a new folder, a
// message bus of its own that can start nothing, and no system bus. Everything goes at the end.
class PrivateSession {
 public:
  // Sets the environment of this process; to be made before the first thread starts.
  PrivateSession();
  PrivateSession(const PrivateSession&) = delete;
  PrivateSession& operator=(const PrivateSession&) = delete;

  // Where the running test's session lies, without a "/" at its end.
  static std::string folder();
  static std::string busAddress();
  // Where a test may put D-Bus service files (dbus-daemon(1), <servicedir>).
  static std::string serviceFolder() { return folder() + "/services"; }

 private:
  void startBus();

  const TemporaryFolder folder_;
  std::unique_ptr<ChildProcess> bus_;
};

}  // namespace quillo
