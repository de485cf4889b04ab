#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "posix/Snapshot.h"
#include "scanning/PathPattern.h"
#include "scanning/ScanReport.h"
#include "scanning/ScannerOwner.h"

namespace quillo {

class Dispatcher;
class EngineRun;
struct ScannerServices;

// A worker that waits until the dispatcher has ready paths, takes a batch, drops what the user
// excluded and has the engine scan the rest in one run. One thread runs mainLoop(); settings are
// changed by the main thread and are used from the next run on.
class PatientScanner {
 public:
  PatientScanner(ScannerOwner& owner, const ScannerServices& services);
  ~PatientScanner();

  // Makes the worker's file list its own. Once, before the loop runs.
  void setMyName(const std::string& name);
  const std::string& myName() const { return name_; }
  // The folder that the settings named last when files were to go to a quarantine. Any thread.
  std::string quarantineLocation() const { return settings_.load()->policy.quarantineLocation; }
  // Takes the scan argument list over and reads the scanners' own preferences. Main thread.
  void setMenuAndParams(const ScanArgumentList& list);

  // Runs rounds forever.
  void mainLoop();
  // One turn of the loop: waits for work, takes a batch, filters and scans it.
  void round();

  void getItemsToScan(Dispatcher& dispatcher);
  // Removes the paths that an exclusion pattern matches from the batch.
  void determineWhatToScan();
  static bool searchForRegEx(const std::string& path, const std::string& pattern);
  // One run of the engine over the batch. A failure is told in the log, or to the user when there
  // is no engine; only one that is no PlatformException is passed on.
  void performScan();
  // Handles a chunk of the engine's report and answers whether to go on reading: not after an empty
  // one.
  bool taskDataAvailable(std::string_view chunk);
  void dealWithOutput(std::string_view chunk) { report_.dealWithOutput(chunk); }

  // The current batch. For the scanner's own thread.
  std::vector<std::string>& scanList() { return scanList_; }

 private:
  struct Settings {
    std::vector<std::string> scanParams;
    std::vector<std::shared_ptr<const PathPattern>> excludePatterns;
    InfectionPolicy policy;
  };

  std::vector<std::shared_ptr<const PathPattern>> readExcludePatterns() const;
  void runEngine(EngineRun& run);

  // Constant after construction (the name: after setMyName).
  ScannerOwner& owner_;
  const ScannerServices& services_;
  std::string name_;
  // Own synchronisation: the main thread stores, the scanner's thread loads.
  Snapshot<Settings> settings_;
  // Used by the scanner's thread alone.
  std::vector<std::string> scanList_;
  ScanReport report_;
};

}  // namespace quillo
