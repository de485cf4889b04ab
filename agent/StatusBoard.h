#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <deque>
#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "menu/StatusText.h"
#include "posix/Mutex.h"
#include "scanning/PipelineObserver.h"

namespace quillo {

class Application;
class Clock;
class DockTile;
class Folders;
class LocalizedStrings;
class ScannerCount;
class SystemLog;
class TypedPreferences;

// The virus definitions, as the last look found them.
struct DefinitionFacts {
  std::optional<std::chrono::system_clock::time_point> built = {};
  std::string folder = {};
};

// What runs now and what came of it, besides the facts behind the words.
struct ActivityFacts {
  // Nothing while nothing is scanned, or watched.
  std::optional<std::chrono::system_clock::time_point> scanningSince;
  std::optional<std::chrono::system_clock::time_point> watchingSince;
  // Grows when the history has news of finds and of files that could not be scanned; while it is
  // not kept, when there are any.
  std::uint64_t verdicts = 0;
  DefinitionFacts definitions;
  std::vector<std::string> missingFolders;  // bytes
  // Why the history is not kept; "" where it is.
  std::string historyProblem;
};

// The services that the status board uses. All of them outlive it.
struct StatusBoardServices {
  Clock& clock;
  DockTile& dockTile;
  Folders& folders;
  LocalizedStrings& localizedStrings;
  ScannerCount& scannerCount;
};

// What the agent shows of itself besides icon and menu: the facts behind the words of its state,
// and what the Dock tile lists. Any thread.
class StatusBoard final : public ScanObserver {
 public:
  explicit StatusBoard(const StatusBoardServices& services) : services_(services) {}

  // Returns the facts; those that only the menu knows keep their defaults.
  StatusFacts status();
  ActivityFacts activity();
  void setSettingUp(bool settingUp) { settingUp_ = settingUp; }
  void setEngineMissing(bool missing) { engineMissing_ = missing; }
  // The daemon has gone and could not be launched again, or can make no temporary files. A file
  // that is judged ends that as well.
  void setEngineFails(bool fails) { engineFails_ = fails; }
  void setPreferencesMissing(bool missing) { preferencesMissing_ = missing; }
  void setDefinitions(DefinitionState state, std::size_t days) {
    definitions_ = state;
    daysOfDefinitions_ = days;
  }
  void setDefinitionFacts(const DefinitionFacts& definitions);
  void setWatching(bool watching);
  // Tells why the history is not kept, "" where it is, or that so much has been entered there.
  void setHistoryProblem(const std::string& problem);
  void historyWritten(std::size_t changes);
  // `folders` were chosen and are not there.
  void setMissingFolders(const std::vector<std::string>& folders);
  void setHelperFails(bool fails) { helperFails_ = fails; }
  void setPlacesWithGaps(std::size_t count) { placesWithGaps_ = count; }
  void setWatchedFolders(const std::vector<std::string>& folders);
  // Sets what is called, on any thread, when an engine that was missing or failed judges a file. To
  // be set before the scanners run.
  void setEngineIsBack(std::function<void()> engineIsBack) {
    engineIsBack_ = std::move(engineIsBack);
  }
  // Sets what is called, on any thread, when what is scanned, or what came of it, has changed. To
  // be set before the scanners run.
  void setHasChanged(std::function<void()> hasChanged) { hasChanged_ = std::move(hasChanged); }
  // Hands verdicts to the Dock tile from now on, beginning with the last ones before.
  void showVerdicts();

  void runBegan(std::size_t files) override;
  void runEnded(std::size_t files) override;
  void verdictGiven(const Verdict& verdict) override;

 private:
  // A verdict as it came, before anybody sees it.
  struct Given {
    std::chrono::system_clock::time_point at;
    std::string path;
    std::string threat;
    bool isThreat = false;
  };

  void changed() const;
  void showOrKeep(const Verdict& verdict);
  void show(const Given& given) const;
  static std::string timeOf(std::chrono::system_clock::time_point at);

  // Constant once the scanners run.
  const StatusBoardServices services_;
  std::function<void()> engineIsBack_;
  std::function<void()> hasChanged_;
  // Own synchronisation.
  std::atomic<bool> settingUp_{false};
  std::atomic<bool> engineMissing_{false};
  std::atomic<bool> engineFails_{false};
  std::atomic<bool> preferencesMissing_{false};
  std::atomic<DefinitionState> definitions_{DefinitionState::goodOrUnknown};
  std::atomic<std::size_t> daysOfDefinitions_{0};
  std::atomic<bool> helperFails_{false};
  std::atomic<std::size_t> watchedFolders_{0};
  std::atomic<std::size_t> placesWithGaps_{0};
  std::atomic<std::size_t> filesBeingScanned_{0};

  Mutex mutex_;
  std::vector<std::string> missingFolders_ QUILLO_GUARDED_BY(mutex_);
  DefinitionFacts definitionFacts_ QUILLO_GUARDED_BY(mutex_);
  std::optional<std::chrono::system_clock::time_point> watchingSince_ QUILLO_GUARDED_BY(mutex_);
  std::optional<std::chrono::system_clock::time_point> scanningSince_ QUILLO_GUARDED_BY(mutex_);
  // When the last run ended, by the time that never runs backwards.
  std::optional<std::chrono::nanoseconds> pausedAt_ QUILLO_GUARDED_BY(mutex_);
  std::string historyProblem_ QUILLO_GUARDED_BY(mutex_);
  std::uint64_t verdicts_ QUILLO_GUARDED_BY(mutex_) = 0;
  // Verdicts that the history is to have, and has not.
  std::uint64_t unwritten_ QUILLO_GUARDED_BY(mutex_) = 0;
  bool showsVerdicts_ QUILLO_GUARDED_BY(mutex_) = false;
  // The last ones, for as long as they are not shown.
  std::deque<Given> unseen_ QUILLO_GUARDED_BY(mutex_);
};

// The agent's own window, which is the one of its Dock tile. Main thread.
class DockWindow {
 public:
  DockWindow(Application& application, const TypedPreferences& preferences, SystemLog& log,
             StatusBoard& statusBoard)
      : application_(application),
        preferences_(preferences),
        log_(log),
        statusBoard_(statusBoard) {}

  // Returns whether "ShowDockIcon" asks for a Dock tile.
  bool isWanted() const;
  // Shows the Dock tile, and verdicts in it, if it is wanted. The log says when it cannot be shown.
  void showIfWanted();
  // Brings the window to the front, whether or not a Dock tile is wanted. Returns 0, or the error's
  // number, which the log says, too.
  int show();

 private:
  void logFailure(int error);

  Application& application_;
  const TypedPreferences& preferences_;
  SystemLog& log_;
  StatusBoard& statusBoard_;
};

}  // namespace quillo
