#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "clamav/VerdictChannel.h"
#include "companion/scan/FileCount.h"
#include "companion/scan/QuietSurroundings.h"
#include "companion/scan/StoppableClock.h"
#include "posix/Mutex.h"
#include "scanning/EngineRun.h"
#include "scanning/PipelineObserver.h"
#include "scanning/Scanner.h"

namespace quillo {

// What a scan of chosen files came to.
struct ManualScanResult {
  enum class Problem {
    none,
    noEngine,      // the engine's scanner cannot be run
    noDaemon,      // the engine does not answer
    noQuarantine,  // what is found was to be moved there, and no preference names it
    tooMany,       // more paths than a command line holds
    failed         // the scanner ended before its work did
  };

  // Nothing where the scanner is one that does not count what it finds clean in folders.
  std::optional<std::uint64_t> clean;
  // Neither those that their user allowed, and that have not changed since, nor those that lie in
  // the quarantine: these are known already.
  std::uint64_t found = 0;
  std::uint64_t allowed = 0;
  std::uint64_t inQuarantine = 0;
  std::uint64_t notScanned = 0;
  std::uint64_t cleanBytes = 0;  // of those that are clean, as far as the scanner says
  bool isStopped = false;
  // The engine had no definitions by which anything real is found. Not asked of one that may hang:
  // only where the scan went to its end.
  bool lacksDefinitions = false;
  Problem problem = Problem::none;
  // What it did not come to, since it was stopped or had a problem; nothing where nobody knows.
  std::optional<std::uint64_t> notReached = 0;

  bool wentToItsEnd() const { return !isStopped && problem == Problem::none; }
  // Nothing was left out, and what is called clean is, as far as anybody knows.
  bool isComplete() const { return notScanned == 0 && wentToItsEnd() && !lacksDefinitions; }
};

// How such a scan stands.
struct ManualScanState {
  // It waits until what it was given holds still, and while it pauses the engine ends what it has.
  enum class Phase { waiting, scanning, pausing, paused, stopping, ended };

  Phase phase = Phase::waiting;
  ScanProgress progress;
  bool canPause = false;  // the scanner is one that can, and is there
  FileCount::Sum all;
  std::optional<std::chrono::seconds> left;  // where it can be known
};

// Looks on. Called on the scan's thread: must be quick.
class ManualScanObserver {
 public:
  virtual ~ManualScanObserver() = default;
  // Everything that is said of a file, as it comes, but of those in the quarantine.
  virtual void verdict(const Verdict& verdict) = 0;
  // The state is another: several times a second at most.
  virtual void advanced() = 0;
  // The last call.
  virtual void ended(const ManualScanResult& result) = 0;
};

// Where scans of chosen files are kept for later. Called on the scan's thread: must be quick.
class ScanHistory {
 public:
  virtual ~ScanHistory() = default;
  virtual void runBegan(const std::vector<std::string>& paths) = 0;
  // A find, what became of one, or a file that was not scanned.
  virtual void verdict(const Verdict& verdict) = 0;
  virtual void runEnded(const ManualScanResult& result) = 0;
};

// One scan of files, folders or volumes that its user chose, with the scanner that scans given
// things at once. What is found is treated as the preferences say, and shown by whoever looks on.
// Used once: run() or moveAway() on a thread of its own, all else from any thread.
class ManualScan final : private ScanObserver,
                         private PipelineObserver,
                         private ScanProgressObserver,
                         private ReportLines {
 public:
  // `history` may be null.
  ManualScan(const ManualScanServices& services, ManualScanObserver& observer,
             ScanHistory* history);

  // Scans to the end. The paths are absolute.
  void run(const std::vector<std::string>& paths);
  // Scans files once more, at once, and has what is found moved as `action` says.
  void moveAway(const std::vector<std::string>& files, InfectedFileAction action);

  // Has no more files handed out, and again. Does nothing while it cannot.
  void pause();
  void resume();
  // Ends it soon.
  void stop();
  ManualScanState state();
  // Waits until it has ended, but not longer than `atMost`. It never waits for the main thread,
  // which may wait for it. Returns false while it still goes on.
  bool awaitEnd(Clock::Duration atMost);

 private:
  using Phase = ManualScanState::Phase;
  using Problem = ManualScanResult::Problem;

  void perform(const std::vector<std::string>& paths, std::optional<InfectedFileAction> action);
  void scanChosen(Scanner& scanner, QuietSurroundings& around,
                  const std::vector<std::string>& paths);
  void moveFound(Scanner& scanner, QuietSurroundings& around,
                 const std::vector<std::string>& files);
  void startCounting(const std::vector<std::string>& paths);
  void reportDropped(const std::vector<std::string>& given, const ScanItemList& scanned);
  void reportLeftOut(const std::string& path, const char* reason);
  void end(Problem problem);
  ManualScanResult resultOf(Problem problem);
  Problem problemOf(const QuietSurroundings& around);
  void setPhase(Phase phase);
  bool liesInQuarantine(const Verdict& verdict) const;

  void runBegan(std::size_t files) override;
  void runEnded(std::size_t) override {}
  void verdictGiven(const Verdict& verdict) override;
  void noticed(const std::string&) override {}
  void becameStable(const std::string&) override {}
  void scanStarted(const std::vector<std::string>&) override {}
  void scanEnded(const std::vector<std::string>& paths, int status) override;
  void abandoned(const std::vector<std::string>&) override {}
  void progressed(const ScanProgress& progress) override;
  void reportLine(const std::string& line) override;

  // Constant after construction.
  const ManualScanServices services_;
  ManualScanObserver& observer_;
  ScanHistory* const history_;
  // The scan's thread alone: without a link on its way; "" where there is none.
  std::string quarantine_;
  // Have synchronisation of their own.
  StoppableClock clock_;
  RunningScanners running_;
  // Outlives this object with the thread that counts.
  const std::shared_ptr<FileCount> count_ = std::make_shared<FileCount>();

  Condition ended_;
  Phase phase_ QUILLO_GUARDED_BY(ended_) = Phase::waiting;
  bool isOver_ QUILLO_GUARDED_BY(ended_) = false;
  ScanProgress progress_ QUILLO_GUARDED_BY(ended_);
  bool hasProgress_ QUILLO_GUARDED_BY(ended_) = false;
  bool hasFolders_ QUILLO_GUARDED_BY(ended_) = false;
  // What the report says, line by line.
  ScanProgress lines_ QUILLO_GUARDED_BY(ended_);
  std::uint64_t dropped_ QUILLO_GUARDED_BY(ended_) = 0;
  // Of what is found, as the report says it.
  std::uint64_t allowed_ QUILLO_GUARDED_BY(ended_) = 0;
  std::uint64_t inQuarantine_ QUILLO_GUARDED_BY(ended_) = 0;
  int runs_ QUILLO_GUARDED_BY(ended_) = 0;  // that began and did not end as they should
  bool isDaemonGone_ QUILLO_GUARDED_BY(ended_) = false;
  // While files were handed out; when that began last.
  Clock::Duration worked_ QUILLO_GUARDED_BY(ended_){};
  std::optional<Clock::Duration> workingSince_ QUILLO_GUARDED_BY(ended_);
};

}  // namespace quillo
