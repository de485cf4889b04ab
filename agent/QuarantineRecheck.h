#pragma once

#include <functional>
#include <string>

#include "posix/Clock.h"
#include "posix/Mutex.h"
#include "quarantine/QuarantineStore.h"

namespace quillo {

struct LoadedDefinitions;
class LocalizedStrings;
class Notifier;
class RunningScanners;
class SystemLog;
class ThreadStarter;

// What checking again rests on. Each of the functions is called on the thread that checks.
struct QuarantineRecheckServices {
  Clock& clock;
  LocalizedStrings& localizedStrings;
  Notifier& notifier;
  SystemLog& systemLog;
  ThreadStarter& threads;
  std::function<std::string()> quarantineFolder;  // returns "" where there is none
  std::function<std::string()> scanner;           // the tree's own; "" while it is not known
  RunningScanners* runningScanners = nullptr;     // told of each, where there is one
  // Shows its user what lies in the quarantine, at any time; may be null. Main thread.
  std::function<void()> showQuarantine = {};
};

// Has what lies in the quarantine scanned again whenever the daemon has newer definitions, and
// notifies the user of files that are clean by now. Nothing is put back unasked. A check is one
// thread's, and one goes on at a time.
class QuarantineRecheck {
 public:
  explicit QuarantineRecheck(QuarantineRecheckServices services);

  // Takes note of what the daemon has loaded, and starts a check if that is newer than what the
  // last one was made with. Returns at once. Any thread.
  void definitionsAre(const LoadedDefinitions& definitions);
  // Checks, to its end, the files that no such definitions have been tried on. Returns false when
  // none of them could be scanned, which is to be tried again. Any thread.
  bool check(QuarantineRecord::Time built);

 private:
  void notify(std::size_t clean, const std::string& first);

  // Constant after construction.
  const QuarantineRecheckServices services_;
  Mutex lock_;
  bool isUnderWay_ QUILLO_GUARDED_BY(lock_) = false;
  QuarantineRecord::Time lastBuilt_ QUILLO_GUARDED_BY(lock_){};
};

}  // namespace quillo
