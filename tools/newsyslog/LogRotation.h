#pragma once

#include <string>

#include "tools/newsyslog/Configuration.h"
#include "tools/newsyslog/LogFolder.h"

namespace quillo {

// Rotates one log: LOG becomes LOG.0, which becomes LOG.0.bz2; LOG.0.bz2 becomes LOG.1.bz2, and so
// on, until the oldest goes. At every moment each line stands in a file that the next run knows, so
// that a run may end anywhere; only the version beyond the count is ever given up, and that last.
//
// A process may still write to LOG.0, since it opened the log before the rotation. As long as one
// has it open, LOG.0 is left as it is; a later run compresses it.
class LogRotation {
 public:
  LogRotation(const LogEntry& entry, LogFolder& folder);

  // Finishes what an earlier run has left, makes a missing log when asked to, and rotates it when
  // it has reached its size. Throws std::system_error; nothing is lost then.
  void run(bool createsMissing);

 private:
  std::string plain(int version) const;
  std::string archive(int version) const;
  bool isFree(int version);
  bool hasReachedItsSize();

  void finishLeftovers();
  void settle(int version, bool renamedJustNow);
  void rotate();
  void shift();
  void makeNewLog();
  void dropTheSurplus();

  const LogEntry& entry_;
  LogFolder& folder_;
  std::string name_;
};

}  // namespace quillo
