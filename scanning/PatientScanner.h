#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "posix/Snapshot.h"
#include "posix/UniqueFd.h"
#include "scanning/PathPattern.h"
#include "scanning/ScanReport.h"
#include "scanning/ScannerOwner.h"

namespace quillo {

class Dispatcher;
class EngineRun;

// The file that names the paths of one run to the scanner, one a line (escapedPathLine()). It
// lies in a folder that every user may write, so it is only ever a new file of this user's own: one
// that somebody else put there is neither followed nor used. The list is then kept in memory and
// handed to the scanner as its descriptor 3. Owned by one thread.
class ScanList {
 public:
  explicit ScanList(const std::string& scannerName);

  // Writes the list. Returns what went wrong with the file in words, "" when nothing did; the list
  // can be used all the same. Throws PlatformException when it could be kept nowhere.
  std::string write(const std::vector<std::string>& paths);
  // Returns what "--file-list=" gets.
  const std::string& argumentPath() const { return memory_ ? memoryPath_ : path_; }
  // Returns what is to be the scanner's descriptor 3; -1 when the list is a file.
  int descriptor() const { return memory_.get(); }
  // Removes the file, if the list is one.
  void remove();

 private:
  void keepInMemory(const std::string& text);

  const std::string path_;
  const std::string memoryPath_ = "/dev/fd/3";
  UniqueFd memory_;
};

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
  // Returns the folder that was named when files last were to go to a quarantine. Any thread.
  std::string quarantineLocation() const { return settings_.load()->policy.quarantineLocation; }
  // Takes over the scan argument list and what was read at this start of watching, and reads the
  // scanners' own preferences. Main thread.
  void setMenuAndParams(const ScanArgumentList& list, const WatchSettings& chosen);

  // Runs rounds forever.
  void mainLoop();
  // Does one turn of the loop: waits for work, takes a batch, filters and scans it.
  void round();

  void getItemsToScan(Dispatcher& dispatcher);
  // Removes the paths that an exclusion pattern matches from the batch.
  void determineWhatToScan();
  static bool searchForRegEx(const std::string& path, const std::string& pattern);
  // Runs the engine once over the batch. A failure is logged, or shown to the user when there is no
  // engine; throws only what is no PlatformException.
  void performScan();
  // Handles a chunk of the engine's report. Returns false after an empty chunk, the last one.
  bool taskDataAvailable(std::string_view chunk);
  void dealWithOutput(std::string_view chunk) { report_.dealWithOutput(chunk); }

  // Returns the current batch. The scanner's own thread.
  std::vector<std::string>& scanList() { return scanList_; }

 private:
  struct Settings {
    std::vector<std::string> scanParams;
    PatternList excludePatterns;
    InfectionPolicy policy;
  };

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
