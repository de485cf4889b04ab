#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

#include "companion/scan/ScanFindings.h"
#include "companion/scan/ScanWords.h"
#include "platform/Page.h"
#include "settings/WatchSettings.h"

namespace quillo {

struct ScanPageServices;

// The finds that their user allows until they change. Main thread.
class AllowedFinds {
 public:
  virtual ~AllowedFinds() = default;
  virtual bool isAllowed(const Verdict& infection) = 0;
  // Returns "" when it is allowed from now on, else a sentence for people that names it and says
  // why not.
  virtual std::string allow(const Verdict& infection) = 0;
};

// The lower half of the scan's page: the tables of what was found and what was not scanned, and
// what can be done about the chosen ones, or about all of them. Main thread.
class FindActions {
 public:
  // What the page itself does.
  struct Work {
    std::function<void(const std::vector<std::string>& files, InfectedFileAction action)> move;
    std::function<void(const std::vector<std::string>& paths)> scan;
  };

  FindActions(MainWindow& window, Page& page, const ScanPageServices& services, Work work);

  ScanFindings& findings() { return findings_; }
  // Shows what has changed. Nothing can be done about files while a scan goes on.
  void show(bool isIdle);

 private:
  void connect();
  void showButtons();
  void scanAgain();
  std::vector<std::size_t> chosenRows();
  std::vector<ScanFinding*> chosenFinds();
  void moveAway(InfectedFileAction action);
  void askToAllow();
  void allow(const std::vector<std::string>& paths);
  void showInFolder(ScanRows& rows, const std::vector<std::size_t>& chosen);

  MainWindow& window_;
  Page& page_;
  const ScanPageServices& services_;
  const Work work_;
  const ScanWords words_;
  ScanFindings findings_;
  bool isIdle_ = true;
};

}  // namespace quillo
