#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <list>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "posix/Clock.h"
#include "posix/Mutex.h"

namespace quillo {

class Dispatcher;
class ScanObserver;
class SystemLog;
struct Verdict;

// What is guarded now. One thread.
class GuardedPlaces {
 public:
  virtual ~GuardedPlaces() = default;
  // Takes what is guarded as it is now. Returns false while that is not known, or nothing is.
  virtual bool takeNow() = 0;
  // Returns true when the path lies there, as it was taken.
  virtual bool hold(const std::string& path) = 0;
};

// The services that UnscannedFiles uses. All of them outlive it.
struct UnscannedFilesServices {
  Clock& clock;
  SystemLog& systemLog;
  Dispatcher& theDispatcher;
  ScanObserver& scanObserver;
  GuardedPlaces& guardedPlaces;
  // Asks, on any thread, that the daemon be looked after within that time, for files wait for it.
  std::function<void(Clock::Duration)> lookWithin;
};

// The files that scanners were left with because the daemon had gone, or a scanner had. They wait
// until it is back and are then reported to the dispatcher anew, each a few times at most; nobody
// is told of them before it is known that they stay unscanned. Those that the daemon had when it
// went are reported behind the others and one at a time, so that one over which it dies takes no
// other along. Any thread, unless said otherwise.
class UnscannedFiles {
 public:
  static constexpr int mostTimes = 3;
  // What all that is remembered may take, roughly. More files are told to be unscanned at once.
  static constexpr std::size_t mostBytes = 16U << 20U;
  // Those of which nothing is heard for so long (they have vanished, or are excluded by now) are
  // forgotten, and so is how often they were reported.
  static constexpr Clock::Duration forgottenAfter = std::chrono::hours(1);
  // From the second time on, a daemon gets time to recover.
  static constexpr Clock::Duration laterPause = std::chrono::minutes(1);

  // What comes of a file that a run has reported on.
  enum class Outcome {
    notOurs,    // it was judged, or the daemon was not why it was not: as ever
    comesBack,  // it is going to be reported anew; nobody is to be told of it yet
    tooOften,   // it stays unscanned: it has come back as often as it may
    tooMany     // it stays unscanned: too many wait already
  };
  // How many files of a run had which outcome, and whether any was judged.
  struct Run {
    std::size_t comesBack = 0;
    std::size_t tooOften = 0;
    std::size_t tooMany = 0;
    bool hasJudged = false;
    bool byScanner = false;  // the scanner failed, the daemon perhaps not
  };

  explicit UnscannedFiles(UnscannedFilesServices services);

  // Takes note of what was found out about a file.
  Outcome take(const Verdict& verdict);
  // Ends a run: the log says what comes of the files that it left.
  void runEnded(const Run& run);

  // Returns whether any file waits for the daemon.
  bool areWaiting() const { return waitingFiles_ > 0; }
  // Hands those that wait to the dispatcher, for the daemon is back; not those that are guarded no
  // more. One thread.
  void reportAnew();
  // Gives up those that wait: they stay unscanned, of which the observer is told. Returns them.
  std::vector<std::string> giveUp();

 private:
  struct File {
    std::string path;
    std::shared_ptr<const std::string> reason;  // one for all that share it
    Clock::Duration at{};                       // when it was last heard of
    std::uint8_t times = 0;                     // that it has been reported anew
    std::list<File>* place = nullptr;           // the list that it is in
  };
  using Files = std::list<File>;
  struct State {
    Files waiting;
    Files suspects;  // those that wait for their turn, since the daemon had them
    Files reported;  // the one that was heard of longest ago first
    // By their own paths.
    std::unordered_map<std::string_view, Files::iterator> byPath;
    std::size_t bytes = 0;
    std::string suspect;       // the one reported last
    bool isFirstTime = false;  // for some file of those left since the last look was asked for
    std::shared_ptr<const std::string> lastReason;
  };

  bool add(const Verdict& verdict) QUILLO_REQUIRES(lock_);
  void put(Files::iterator file, Files& list) QUILLO_REQUIRES(lock_);
  void forget(Files::iterator file) QUILLO_REQUIRES(lock_);
  void forgetOld() QUILLO_REQUIRES(lock_);
  void setReason(File& file, const std::string& reason) QUILLO_REQUIRES(lock_);
  void count() QUILLO_REQUIRES(lock_);
  std::size_t takeTurn() QUILLO_EXCLUDES(lock_);
  std::vector<std::string> nextOf(std::size_t most) QUILLO_EXCLUDES(lock_);
  std::size_t handOver(const std::vector<std::string>& paths) QUILLO_EXCLUDES(lock_);
  void tell(const std::string& path, const std::string& reason);

  // Constant after construction.
  const UnscannedFilesServices services_;

  // Of the state below, so that a verdict costs nothing while there are none.
  std::atomic<std::size_t> knownFiles_{0};
  std::atomic<std::size_t> waitingFiles_{0};
  Mutex lock_;
  State state_ QUILLO_GUARDED_BY(lock_);
};

}  // namespace quillo
