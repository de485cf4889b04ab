#pragma once

#include <string>
#include <variant>
#include <vector>

#include "posix/Mutex.h"

namespace quillo {

// What a watcher asks of the status menu.
class WatcherMenu {
 public:
  virtual ~WatcherMenu() = default;
  virtual Mutex& monitor() = 0;
  // One more folder is being watched. To be called with monitor() held.
  virtual void setReady() = 0;
  // A folder to watch cannot be listed: watching starts anew. Main thread.
  virtual void folderMissingPanic() = 0;
};

// The scan argument list as a watcher gets it: element 0 the status menu, then the scanner program
// and its arguments.
using WatcherArgument = std::variant<WatcherMenu*, std::string>;
using WatcherArgumentList = std::vector<WatcherArgument>;

}  // namespace quillo
