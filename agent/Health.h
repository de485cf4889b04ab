#pragma once

#include <functional>
#include <string>
#include <vector>

#include "clamav/Definitions.h"
#include "engine/ClamdLink.h"
#include "posix/Clock.h"
#include "posix/Mutex.h"

namespace quillo {

class StatusBoard;
class SystemLog;
class ThreadStarter;
class UnscannedFiles;

// What health is judged by, and what is called after each look, all on the thread that looks. It
// outlives that thread. `daemonAnswers` is asked while a daemon has failed or files wait for it,
// and then `daemonCanUnpack`: one that answers may still call every file clean.
struct HealthServices {
  Clock& clock;
  SystemLog& systemLog;
  StatusBoard& statusBoard;
  std::function<LoadedDefinitions()> definitions;
  std::function<std::vector<std::string>()> missingFolders;
  std::function<bool()> daemonAnswers;
  std::function<bool()> daemonCanUnpack;
  std::function<void()> hasLooked;
  // Reported anew when the daemon answers; null where nothing waits for it.
  UnscannedFiles* unscannedFiles = nullptr;
};

// Looks now and then after what watching rests on: the definitions, their age, and the watched
// folders. One thread runs mainLoop().
class Health {
 public:
  // A folder that has vanished is not to be called guarded for long.
  static constexpr Clock::Duration betweenLooks = std::chrono::minutes(5);
  // Whoever mends something wants to see it.
  static constexpr Clock::Duration betweenLooksInTrouble = std::chrono::minutes(1);
  static constexpr std::chrono::hours oldAfter = definitionsOldAfter;

  explicit Health(HealthServices services);

  // Makes a look due, for watching has begun; the first call starts the thread. Throws
  // std::system_error when the system has none, and the next call tries again. Main thread.
  void begin(ThreadStarter& threads);
  // Runs rounds forever.
  void mainLoop();
  // Waits until a look is due, and looks. What fails in it is logged, and a minute later the next
  // look tries again.
  void round();
  // Takes note that something is watched from now on, or nothing. Beginning makes a look due. Any
  // thread.
  void setWatching(bool watching);
  // Makes a look due, if anything is watched, now or within that time. Any thread.
  void lookSoon() { lookWithin({}); }
  void lookWithin(Clock::Duration time);

 private:
  void awaitDue();
  // Returns whether all is well.
  bool look();
  bool lookAfterDaemon();

  // Constant after construction.
  const HealthServices services_;
  // The thread's own.
  bool ageIsLogged_ = false;
  // The main thread's own.
  bool hasThread_ = false;

  Condition due_;
  bool watching_ QUILLO_GUARDED_BY(due_) = false;
  Clock::Duration dueAt_ QUILLO_GUARDED_BY(due_){};
};

}  // namespace quillo
