#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <vector>

#include "clamav/ControlSocket.h"
#include "clamav/ScanSession.h"
#include "tools/clamdscan/Report.h"
#include "tools/clamdscan/Starter.h"
#include "tools/clamdscan/TreeSettings.h"

namespace quillo::wrapper {

// The way to the tree's daemon. Says in the client's words that nobody can be reached there, which
// readers of the report act upon, and once only. One thread.
class DaemonLink {
 public:
  DaemonLink(const TreeSettings& tree, Report& report, const Starter& starter,
             std::chrono::milliseconds patience);

  // Returns a session with the daemon; nothing, now and ever after, when it cannot be had, which is
  // reported first.
  std::optional<ScanSession> open();
  // Returns true when the daemon gives a sign of life to somebody who comes anew.
  bool answers();
  // Has the daemon load its definitions anew (RELOAD, clamd(8)), with which it forgets which files
  // it has called clean.
  void forgetWhatIsClean();
  // Reports that the daemon went away over files that it had.
  void announceLoss();
  // Reports that it gave no sign of life for so long.
  void announceStall(std::chrono::nanoseconds length);
  // Returns why there is no daemon, in words that go behind "Not scanned: "; "" while there may be.
  const std::string& problem() const { return problem_; }
  void giveUp(const std::string& problem) { problem_ = problem; }

 private:
  DaemonConnection connect();

  const TreeSettings& tree_;
  Report& report_;
  const Starter& starter_;
  const std::chrono::milliseconds patience_;
  std::vector<uid_t> trusted_;
  bool allTrustedKnown_ = false;
  std::string problem_;
};

}  // namespace quillo::wrapper
