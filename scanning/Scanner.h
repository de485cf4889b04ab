#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "posix/Pipe.h"
#include "scanning/ScanReport.h"
#include "scanning/ScannerOwner.h"

namespace quillo {

class EngineRun;
struct ScannerServices;

// What a scan is asked for with: element 0 the scanner program with its arguments, element 1 the
// status menu, the rest the paths.
using ScanItem = std::variant<std::vector<std::string>, ScannerMenu*, std::string>;
using ScanItemList = std::vector<ScanItem>;

// How a scanner comes by the pipe that it reads the engine's report from.
struct PipeSource {
  std::function<std::optional<Pipe>()> make = [] { return Pipe::make(); };
  std::function<std::optional<PipeReader>(Pipe&)> readingEnd = [](Pipe& pipe) {
    return pipe.fileHandleForReading();
  };
};

// Scans given files and folders at once, outside the dispatcher's queue: waits until each holds
// still, takes the files out of folders when there are patterns to judge them by, and runs the
// engine once with all paths on its command line. One thread uses it, and a scan keeps that thread
// for at least a second an item.
class Scanner {
 public:
  Scanner(ScannerOwner& owner, const ScannerServices& services, PipeSource pipes = {});
  ~Scanner();

  // Scans to the end and uses the list up: it holds the scanned paths afterwards. Throws
  // PlatformException when it is not made as said above. A run that fails is logged, as are more
  // paths than a command line holds (execve(2), E2BIG).
  void scan(ScanItemList& items);

  static bool checkStillExists(const std::string& path);
  // Returns false always: no file is asked for who has it open.
  static bool checkStillOpen(const std::string& path);
  // Waits until two sizes a second apart are the same. Returns 0 then, -1 for an empty file.
  std::int32_t waitUntilFileStopsExpanding(const std::string& path);
  // Returns the size in the units of du(1), or "directory removed" when it cannot be had.
  std::string getDirectorySizeAsString(const std::string& path);
  static bool searchForRegEx(const std::string& text, const std::string& pattern);

  // Runs the engine once over the paths.
  void performScan(const std::vector<std::string>& thePaths);
  // Handles a chunk of the engine's report. Returns false after an empty chunk, the last one.
  bool taskDataAvailable(std::string_view chunk);
  static std::int32_t getLastColon(std::string_view text) { return ScanReport::getLastColon(text); }
  // Main thread, while no scan goes on.
  void openQuarantineFolder(ButtonDialog& dialog);

 private:
  void takeArguments(ScanItemList& items);
  void takeSettings();
  bool readyToScanFileAtIndex(const std::string& path, std::size_t index);
  std::int32_t waitUntilFolderStopsExpanding(const std::string& path);
  std::vector<std::string> pathsToScan() const;
  void expandAndFilter();
  void runEngine(EngineRun& run, const std::vector<std::string>& thePaths);
  std::optional<Pipe> makeOutputPipe();
  std::optional<PipeReader> takeReadingEnd(std::optional<Pipe>& outputPipe);
  void notifyOfLuck();

  // Constant after construction.
  ScannerOwner& owner_;
  const ScannerServices& services_;
  const PipeSource pipes_;
  // Of the scan that goes on.
  ScanItemList* filesToScan = nullptr;
  std::vector<std::string> scanParams;
  ScannerMenu* mainMenu = nullptr;
  std::string quarantineLocation;
  InfectedFileAction quarantineOrTrash = InfectedFileAction::leaveInPlace;
  std::string includePattern;
  std::string excludePattern;
  ScanReport report_;
};

}  // namespace quillo
