#include "watchers/NameWatcher.h"

#include <exception>

#include "platform/Folders.h"
#include "platform/LocalizedStrings.h"
#include "platform/Notifier.h"
#include "platform/SystemLog.h"
#include "posix/Accounts.h"
#include "posix/Text.h"
#include "settings/TypedPreferences.h"

namespace quillo {
namespace {

using Gap = NameWatchObserver::Gap;

const char* keyOf(Gap gap) {
  switch (gap) {
    case Gap::networkDrive:
      return "PLACE_ON_NETWORK";
    case Gap::noQueue:
      return "PLACE_NO_QUEUE";
    case Gap::mountsUnknown:
      return "PLACE_MOUNTS_UNKNOWN";
    default:
      return "PLACE_NOT_ALL_WATCHED";
  }
}

std::string logLine(const std::string& place, Gap gap) {
  const std::string missed =
      ": files that are renamed, linked or moved in " + place + " can be missed";
  switch (gap) {
    case Gap::networkDrive:
      return place + " lies on a network drive, whose changes are not told: not watched";
    case Gap::noQueue:
      return "The system lets no more programs watch folders (fs.inotify.max_user_instances)" +
             missed;
    case Gap::mountsUnknown:
      return "What is mounted cannot be read (/proc/self/mountinfo)" + missed;
    default:
      return "The system lets no more folders be watched (fs.inotify.max_user_watches)" + missed;
  }
}

}  // namespace

NameWatcher::NameWatcher(WatcherOwner& owner, const WatcherServices& services)
    : owner_(owner), services_(services), filter_(owner, services.trashFolders) {}

void NameWatcher::start() {
  quarantineFolder_.store(services_.preferences.value(key::quarantineFolder).value_or(""));
  {
    MutexLock hold(mutex_);
    placesWithGaps_.clear();
  }
  owner_.setPlacesWithGaps(0);
  const auto flags = owner_.getCheckSubDirs();
  std::vector<NamedPlace> places;
  const auto folders = owner_.getWatchedFolderList();
  for (const std::string& folder : *folders) {
    const auto withSubfolders = flags->find(folder);
    places.push_back({folder, withSubfolders != flags->end() && withSubfolders->second});
  }
  services_.nameWatch.start(places, *this);
}

void NameWatcher::stop() { services_.nameWatch.stop(); }

void NameWatcher::namesAppeared(const std::vector<std::string>& paths) {
  try {
    const auto quarantine = quarantineFolder_.load();
    if (*quarantine != filter_.quarantineFolder()) {
      filter_.setQuarantineFolder(*quarantine);
    }
    filter_.refresh();
    for (const std::string& path : paths) {
      if (filter_.passes(path)) {
        services_.theDispatcher.addStringToItemList(path);
      }
    }
  } catch (const std::exception& failure) {
    services_.systemLog.log(std::string("Changed names could not be handed over: ") +
                            failure.what());
  }
}

void NameWatcher::placeHasGap(const std::string& place, Gap gap) {
  try {
    services_.systemLog.log(logLine(place, gap));
    const std::string text = services_.localizedStrings.stringForKey(keyOf(gap), "");
    NotificationDetails details;
    // The button may outlive this object, not what it refers to.
    details.buttons.push_back({services_.localizedStrings.stringForKey("NOTIFICATION_FOLDERS", ""),
                               [&owner = owner_] { owner.showFolders(); }});
    services_.notifier.displayGrowlDialogWithTitleAndDescription(
        notificationError,
        replacingAll(text, "%@", abbreviatingWithTilde(place, services_.folders.homeFolder())),
        details);
    std::size_t count = 0;
    {
      MutexLock hold(mutex_);
      placesWithGaps_.insert(place);
      count = placesWithGaps_.size();
    }
    owner_.setPlacesWithGaps(count);
  } catch (const std::exception& failure) {
    services_.systemLog.log(std::string("A place that is not watched could not be told: ") +
                            failure.what());
  }
}

}  // namespace quillo
