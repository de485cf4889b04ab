#pragma once

#include <functional>
#include <string>

#include "benchmarks/coverage/GuardLog.h"
#include "benchmarks/support/Processes.h"

namespace bench {

// Somebody who guards folders, one at a time. What fails throws std::runtime_error. One thread.
class FolderGuard {
 public:
  using Save = std::function<void()>;

  virtual ~FolderGuard() = default;
  virtual const char* title() const = 0;
  virtual const GuardLog& log() const = 0;
  // How long a file that was saved may take to be found.
  virtual Seconds patience() const = 0;

  // Returns when it has found a file that was saved in the folder that it guards in any case.
  virtual void start() = 0;
  virtual void stop() = 0;
  // Has a file saved while what tells it of files is started anew, or while it does not run at all.
  // It runs before and, as soon as there is a new one, after that.
  virtual void saveDuringRestart(const Save& save) = 0;
  virtual void saveWhileAway(const Save& save) = 0;
};

}  // namespace bench
