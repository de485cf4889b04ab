#include "watchers/SpotlightWatcher.h"

#include "platform/MetadataQuery.h"
#include "platform/SystemLog.h"
#include "posix/FileFacts.h"
#include "posix/PlatformException.h"

namespace quillo {
namespace {

// The log is written at every line of every scan: it would be reported for ever.
constexpr const char* everythingButTheScanLog =
    "(kMDItemFSName != '*/Library/Logs/VantrelQuillo-scan.log'c)";

// Keeps a query's updates back for the length of a scope.
class UpdatesDisabled {
 public:
  explicit UpdatesDisabled(MetadataQuery* query) : query_(query) {
    if (query_) {
      query_->disableUpdates();
    }
  }
  ~UpdatesDisabled() {
    if (query_) {
      query_->enableUpdates();
    }
  }
  UpdatesDisabled(const UpdatesDisabled&) = delete;
  UpdatesDisabled& operator=(const UpdatesDisabled&) = delete;

 private:
  MetadataQuery* const query_;
};

bool wasOnlyOpened(const MetadataItem& item) {
  return item.lastUsedDate && item.contentChangeDate &&
         *item.lastUsedDate > *item.contentChangeDate;
}

}  // namespace

SpotlightWatcher::SpotlightWatcher(MetadataQueryService& queries, SystemLog& systemLog)
    : queries_(queries), systemLog_(systemLog) {}

SpotlightWatcher::~SpotlightWatcher() = default;

void SpotlightWatcher::setMenuAndParamsAndController(const WatcherArgumentList& list,
                                                     PathIntake& controller) {
  if (list.empty() || !std::holds_alternative<WatcherMenu*>(list.front())) {
    throw PlatformException(PlatformException::Kind::invalidArgument, "InvalidArgumentException",
                            "a watcher takes the status menu and then the scan arguments");
  }
  vantrelQuilloController = &controller;
  mainMenu = std::get<WatcherMenu*>(list.front());
  scanParams.clear();
  for (const WatcherArgument& argument : list) {
    if (const std::string* text = std::get_if<std::string>(&argument)) {
      scanParams.push_back(*text);
    }
  }
}

void SpotlightWatcher::addWatcher(const std::string& folder) {
  hasFinishedUpdating = false;
  if (!isListableFolder(folder)) {
    mainMenu->folderMissingPanic();
    return;
  }
  query = queries_.create(everythingButTheScanLog);
  if (!query) {
    systemLog_.log(std::string("The index of files does not understand ") +
                   everythingButTheScanLog);
    return;
  }
  for (const char* name : {metadataQueryDidFinish, metadataQueryProgress, metadataQueryDidUpdate}) {
    query->addObserver(
        name, [this](const MetadataNotification& notification) { updateData(notification); });
  }
  query->setSearchScope(folder);
  startWatcher();
}

void SpotlightWatcher::startWatcher() {
  if (query) {
    query->execute(MetadataQuery::wantsUpdates);
  }
}

void SpotlightWatcher::stopWatcher() {
  if (query) {
    query->stop();
  }
}

void SpotlightWatcher::updateData(const MetadataNotification& notification) {
  const UpdatesDisabled disabled(query.get());
  int numLinesOffset = 1;
  try {
    Paths paths;
    if (!hasFinishedUpdating) {
      numLinesOffset = 2;
      finishUpdating(notification);
    } else {
      numLinesOffset = 4;
      for (const MetadataItem& item : notification.addedItems) {
        insertAdded(item, paths);
      }
      numLinesOffset = 5;
      for (const MetadataItem& item : notification.changedItems) {
        insertChanged(item, paths);
      }
    }
    numLinesOffset = 6;
    if (!paths.empty()) {
      vantrelQuilloController->addToItemList(paths);
    }
  } catch (const PlatformException& failure) {
    systemLog_.log("SpotlightWatcher did NOT crash, don't worry: at numLinesOffset = " +
                   std::to_string(numLinesOffset) + ", Caught " + failure.name() + ": " +
                   failure.reason());
  }
}

void SpotlightWatcher::finishUpdating(const MetadataNotification& notification) {
  if (notification.name != metadataQueryDidFinish || !query || !query->isGatheringComplete()) {
    return;
  }
  hasFinishedUpdating = true;
  const MutexLock hold(mainMenu->monitor());
  mainMenu->setReady();
}

void SpotlightWatcher::insertAdded(const MetadataItem& item, Paths& paths) {
  if (item.path) {
    paths.insert(paths.begin(), *item.path);
  }
}

void SpotlightWatcher::insertChanged(const MetadataItem& item, Paths& paths) {
  insertAdded(item, paths);
  if (!wasOnlyOpened(item)) {
    return;
  }
  if (paths.empty()) {
    throw PlatformException(PlatformException::Kind::invalidArgument, "RangeException",
                            "there is no first path to remove: the list is empty");
  }
  paths.erase(paths.begin());
}

}  // namespace quillo
