#pragma once

#include <memory>
#include <string>
#include <variant>
#include <vector>

namespace quillo {

class AbortedScans;
class Application;
class Clock;
class Dispatcher;
class FileDepartures;
class FileRemover;
class Folders;
class InterfaceLoader;
class LocalizedStrings;
class ModifierKeys;
class Notifier;
class PipelineObserver;
class PutBackFiles;
class ReportedFiles;
class RunningScanners;
class ScanObserver;
class ScanProgressObserver;
class SystemLog;
class TypedPreferences;
class UnscannedFiles;
class Workspace;
struct WatchSettings;

// What a scanner asks of the status menu.
class ScannerMenu {
 public:
  virtual ~ScannerMenu() = default;
  virtual std::string getQuitMenuName() const = 0;
};

// The scan argument list: element 0 the status menu, element 1 the scanner program, then its
// arguments.
using ScanArgument = std::variant<ScannerMenu*, std::string>;
using ScanArgumentList = std::vector<ScanArgument>;

// The open warnings.
class DialogListOwner {
 public:
  virtual ~DialogListOwner() = default;
  // Adds a dialog. Any thread.
  virtual void addToDialogList(std::shared_ptr<FileRemover> dialog) = 0;
  // Removes every occurrence of a dialog. Main thread.
  virtual void removeFromDialogList(const FileRemover& dialog) = 0;
  // Dismisses each as if the user had ignored it, then forgets them all. Main thread.
  virtual void removeAllFromDialogList() = 0;
};

// What the scanners ask of their owner. Any thread, unless said otherwise.
class ScannerOwner {
 public:
  virtual ~ScannerOwner() = default;
  // Returns what was read at the last start of watching.
  virtual std::shared_ptr<const WatchSettings> settings() = 0;
  // Returns whether the daemon takes a command, or is at work.
  virtual bool clamdStillAlive() = 0;
  // Launches the daemon again. Throws PlatformException when it cannot be run.
  virtual void recoverFromCrashedClamd() = 0;
  // Launches it likewise, unless it has come back by the time it is this caller's turn.
  virtual void recoverUnreachableClamd() = 0;
  // Shows the user that no engine is usable since `program` cannot be run.
  virtual void noEnginePanic(const std::string& program) = 0;
  // Ends the agent. Returns only while a daemon is being launched: the end then comes later. Main
  // thread.
  virtual void quit() = 0;
  // Opens the folder with "/usr/bin/open" and returns when that has ended. Main thread.
  virtual void openAndWait(const std::string& folder) = 0;
  // Opens it and returns at once. Main thread.
  virtual void open(const std::string& folder) = 0;
  // Opens the scan log for the user. Main thread.
  virtual void openScanLog() = 0;
  // Shows a page of the main application. Returns false where that is not installed. Main thread.
  virtual bool openPage(const std::string& page) = 0;
};

// Takes the lines of the report that the scan log would have, where that is not behind standard
// output.
class ReportLines {
 public:
  virtual ~ReportLines() = default;
  // On the scanner's thread.
  virtual void reportLine(const std::string& line) = 0;
};

// The services that the scanners and their dialogs use. All of them outlive the scanners.
struct ScannerServices {
  Application& application;
  Clock& clock;
  DialogListOwner& theDialogList;
  Dispatcher& theDispatcher;
  Folders& folders;
  InterfaceLoader& interfaceLoader;
  LocalizedStrings& localizedStrings;
  // For whoever was given none with the parameters.
  const ScannerMenu& mainMenu;
  ModifierKeys& modifierKeys;
  Notifier& notifier;
  const TypedPreferences& preferences;
  ScanObserver& scanObserver;
  SystemLog& systemLog;
  Workspace& workspace;
  // Null where found files are not followed up.
  FileDepartures* fileDepartures = nullptr;
  PutBackFiles* putBackFiles = nullptr;
  // Each null when nobody looks on, or remembers.
  PipelineObserver* pipelineObserver = nullptr;
  RunningScanners* runningScanners = nullptr;
  ReportedFiles* reportedFiles = nullptr;
  AbortedScans* abortedScans = nullptr;
  UnscannedFiles* unscannedFiles = nullptr;
  ScanProgressObserver* progressObserver = nullptr;
  // Null: the scan log lies behind standard output.
  ReportLines* reportLines = nullptr;
};

}  // namespace quillo
