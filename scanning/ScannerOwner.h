#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <variant>
#include <vector>

namespace quillo {

class Dispatcher;
class FileRemover;
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

// The open warnings, as the dialogs know them. Added to from any thread, removed from on the main
// thread.
class DialogListOwner {
 public:
  virtual ~DialogListOwner() = default;
  virtual void addToDialogList(std::shared_ptr<FileRemover> dialog) = 0;
  virtual void removeFromDialogList(const FileRemover& dialog) = 0;
  virtual void removeAllFromDialogList() = 0;
};

// What the scanners ask of their owner. Any thread, but for what is said to be the main thread's.
class ScannerOwner {
 public:
  virtual ~ScannerOwner() = default;
  virtual Dispatcher& theDispatcher() = 0;
  // Returns what was read at the last start of watching.
  virtual std::shared_ptr<const WatchSettings> settings() = 0;
  virtual void modifyScannerCountBy(std::int32_t delta) = 0;
  virtual bool clamdStillAlive() = 0;
  virtual void recoverFromCrashedClamd() = 0;
  // As above, unless the daemon has come back by the time it is this caller's turn.
  virtual void recoverUnreachableClamd() = 0;
  // The program that cannot be run.
  virtual void noEnginePanic(const std::string& program) = 0;
  // Where the title of the quit command comes from when no menu was given with the parameters.
  virtual const ScannerMenu& mainMenu() = 0;
  virtual DialogListOwner& dialogList() = 0;
  // Main thread; does not return, unless the daemon is being launched: then the end comes later.
  virtual void quit() = 0;
  // Opens the folder with "/usr/bin/open" and waits until that has ended. Main thread.
  virtual void openAndWait(const std::string& folder) = 0;
  // As above, without waiting.
  virtual void open(const std::string& folder) = 0;
  // Opens the scan log for the user. Main thread.
  virtual void openScanLog() = 0;
};

}  // namespace quillo
