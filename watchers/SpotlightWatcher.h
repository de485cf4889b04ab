#pragma once

#include <memory>
#include <string>
#include <variant>
#include <vector>

#include "watchers/WatcherOwner.h"

namespace quillo {

class MetadataQuery;
class MetadataQueryService;
struct MetadataItem;
struct MetadataNotification;

// The scan argument list as a watcher gets it: element 0 the status menu, then the scanner program
// and its arguments.
using WatcherArgument = std::variant<WatcherMenu*, std::string>;
using WatcherArgumentList = std::vector<WatcherArgument>;

// Another source of changed files than the helper tool: a query to the desktop's index of files,
// over one folder. Nothing of the agent's own makes one. Main thread.
class SpotlightWatcher {
 public:
  SpotlightWatcher(MetadataQueryService& queries, SystemLog& systemLog);
  ~SpotlightWatcher();

  // Takes the arguments over, and the agent's queue as what paths are handed to. To be called
  // first. Throws PlatformException when the list does not begin with the menu.
  void setMenuAndParamsAndController(const WatcherArgumentList& list, PathIntake& controller);
  const std::vector<std::string>& getScanParams() const { return scanParams; }
  // Watches the folder from now on; one that cannot be listed is the menu's to deal with.
  void addWatcher(const std::string& folder);
  void startWatcher();
  void stopWatcher();

  void queryDone(const MetadataNotification& notification) { updateData(notification); }
  // Hands what an update names on to the dispatcher, but for what was only opened. Of the gathering
  // nothing is handed on; at its end the menu counts the folder as watched.
  void updateData(const MetadataNotification& notification);

 private:
  using Paths = std::vector<std::string>;

  void finishUpdating(const MetadataNotification& notification);
  static void insertAdded(const MetadataItem& item, Paths& paths);
  static void insertChanged(const MetadataItem& item, Paths& paths);

  // Constant after construction.
  MetadataQueryService& queries_;
  SystemLog& systemLog_;
  // Constant after setMenuAndParamsAndController.
  WatcherMenu* mainMenu = nullptr;
  std::vector<std::string> scanParams;
  PathIntake* vantrelQuilloController = nullptr;

  bool hasFinishedUpdating = false;
  std::unique_ptr<MetadataQuery> query;
};

}  // namespace quillo
