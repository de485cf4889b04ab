#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "companion/scan/FindActions.h"
#include "companion/scan/ManualScan.h"
#include "companion/scan/ScanFeed.h"
#include "companion/scan/ScanWords.h"
#include "platform/Page.h"

namespace quillo {

class AgentLink;
class VolumeChanges;

// What the page needs. All of it outlives the page.
struct ScanPageServices {
  ManualScanServices scan;
  AgentLink& agent;
  // The volumes that its user plugged in, by their mount points.
  std::function<std::vector<std::string>()> volumes;
  VolumeChanges& volumeChanges;
  AllowedFinds& allowed;
  // Has files excluded from now on, after their patterns were shown.
  std::function<void(const std::vector<std::string>& paths)> exclude;
  ScanHistory* history = nullptr;
  // Told of what is moved away afterwards.
  ScanHistory* moves = nullptr;
};

// Returns the volumes among the mounts of this process that lie where the desktop mounts what is
// plugged in, sorted. Any thread.
std::vector<std::string> pluggedInVolumes(Volumes& volumes);

// The page "scan": what its user chooses is scanned now, and what is found can be dealt with. Main
// thread.
class ScanPage {
 public:
  ScanPage(MainWindow& window, const ScanPageServices& services);
  // Stops a scan that is under way, and waits until it has ended, but some seconds at most: what
  // the services are must outlive its thread.
  ~ScanPage();
  ScanPage(const ScanPage&) = delete;
  ScanPage& operator=(const ScanPage&) = delete;

  // Shows the page and scans these absolute paths, after what is being scanned now.
  void scan(const std::vector<std::string>& paths);
  // Returns whether the window may close; while a scan goes on it asks first.
  bool mayClose();
  // Lists the volumes anew; the chosen one stays chosen.
  void showVolumes();
  // Offers to have the agent watch, which starts the daemon, where it runs and does not.
  void offerToWatch(std::function<void()> startWatching);

 private:
  enum class Work { none, scan, move };

  void connect();
  void start(Work work, const std::vector<std::string>& paths, InfectedFileAction action);
  void startNext();
  void take(const ScanFeed::News& news);
  void takeResult(const ManualScanResult& result);
  void addToReport(const ManualScanResult& result);
  void showState();
  void showReport();
  std::uint64_t movedSoFar();
  void showMoved(const ManualScanResult& result);
  void pauseOrGoOn();
  void scanVolume();
  void showRemedies();
  void scanAgain();
  void startAgent();
  void agentChanged();

  MainWindow& window_;
  Page& page_;
  const ScanPageServices services_;
  const ScanWords words_;
  std::vector<std::string> volumes_;
  // What is scanned behind the one that goes on, and the result of all of them so far.
  std::vector<std::string> next_;
  // All that the report is about.
  std::vector<std::string> asked_;
  ManualScanResult total_;
  bool hasReport_ = false;
  std::uint64_t movedBefore_ = 0;  // of the finds, when the work began
  bool isAsking_ = false;
  bool closesAfterwards_ = false;
  bool awaitsAgent_ = false;
  bool startFailed_ = false;
  ManualScanResult::Problem moveProblem_ = ManualScanResult::Problem::none;
  std::function<void()> startWatching_;
  Work work_ = Work::none;
  std::shared_ptr<ManualScan> scan_;
  std::shared_ptr<ScanFeed> feed_;
  FindActions finds_;
  // Whoever observes the agent may outlive the page.
  const std::shared_ptr<const bool> life_ = std::make_shared<bool>(true);
};

}  // namespace quillo
