#include "agent/WatchList.h"

#include <algorithm>
#include <utility>

#include "menu/Throbber.h"
#include "platform/PreferenceStore.h"
#include "platform/SystemLog.h"
#include "platform/Volumes.h"
#include "posix/Accounts.h"
#include "posix/FileFacts.h"
#include "scanning/Dispatcher.h"
#include "settings/TypedPreferences.h"
#include "watchers/WatcherOwner.h"

namespace quillo {
namespace {

// Stands for every volume, whether or not this system has a folder of that name.
constexpr const char* allVolumes = "/Volumes";

}  // namespace

WatchList::WatchList(const WatchListServices& services, Throbber& menu, Dispatcher& dispatcher)
    : services_(services), mainMenu(menu), theDispatcher(dispatcher) {}

void WatchList::populateMenu() {
  services_.preferenceStore.synchronize();
  mainMenu.clearMenu();
  watchedFolderList.store({});
  checkSubDirs.store({});
  missing_.store({});
  const std::vector<ChosenFolder> chosen = services_.preferences.value(key::quilloFolderArray);
  mainMenu.setNumItemsToWatch(static_cast<std::int32_t>(chosen.size()));
  patience_ = longestLook;
  for (const ChosenFolder& folder : chosen) {
    mainMenu.addToMenuWithObjectToWatch(folder.path, folder.path);
    addToWatchListWithSubdirs(folder.path, folder.withSubdirs);
  }
  services_.mountNotifications.observe(
      [this](const std::string& devicePath) { newVolumeAppeared(devicePath); });
}

void WatchList::addToWatchListWithSubdirs(std::string path, bool withSubdirs) {
  const auto facts = lookAt(path);
  if (auto watched = watchedForm(path, facts)) {
    auto flags = *checkSubDirs.load();
    flags[*watched] = withSubdirs;
    checkSubDirs.store(std::move(flags));
    auto folders = *watchedFolderList.load();
    folders.push_back(std::move(*watched));
    watchedFolderList.store(std::move(folders));
  } else if (path != allVolumes) {
    auto missing = *missing_.load();
    missing.push_back(std::move(path));
    missing_.store(std::move(missing));
  }
  mainMenu.setReady();
}

// On the main thread: a server that has gone silent is not to hold up everything else.
std::optional<FileFacts> WatchList::lookAt(const std::string& path) {
  using std::chrono::steady_clock;
  const auto began = steady_clock::now();
  const BoundedLooks::Answer answer = looks_.lookAt(path, patience_);
  const auto took =
      std::chrono::duration_cast<std::chrono::milliseconds>(steady_clock::now() - began);
  patience_ = std::max(patience_ - took, std::chrono::milliseconds(100));
  if (answer.isSilent) {
    services_.systemLog.log("The folder " + path +
                            " does not answer: it is not guarded before watching begins again");
  }
  return answer.facts;
}

bool WatchList::okToAddDir(const std::string& path,
                           const std::optional<std::string>& quarantineFolder) const {
  const auto folders = watchedFolderList.load();
  return quarantineFolder != path + "/" &&
         std::find(folders->begin(), folders->end(), path) == folders->end();
}

std::string WatchList::inWords() const {
  const auto flags = checkSubDirs.load();
  std::string words;
  const auto folders = watchedFolderList.load();
  for (const std::string& folder : *folders) {
    const auto flag = flags->find(folder);
    words += (words.empty() ? "Folders to guard: " : ", ") + folder +
             (flag != flags->end() && flag->second ? "" : " (without its subfolders)");
  }
  return words.empty() ? "There is no folder to guard: the preferences name none that is there"
                       : words;
}

void WatchList::stop() {
  services_.mountNotifications.stopObserving();
  mainMenu.clearMenu();
  watchedFolderList.store({});
  missing_.store({});
}

std::vector<std::string> WatchList::missingFolders() const {
  std::vector<std::string> missing = *missing_.load();
  const auto folders = watchedFolderList.load();
  for (const std::string& path : *folders) {
    if (!looks_.lookAt(path, longestLook).facts) {
      missing.push_back(path);
    }
  }
  return missing;
}

void WatchList::newVolumeAppeared(const std::string& devicePath) {
  const auto folders = watchedFolderList.load();
  if (std::find(folders->begin(), folders->end(), devicePath) != folders->end()) {
    services_.systemLog.log(
        "One of the volumes we're supposed to be watching has just appeared, so don't scan it for "
        "the time being, just wait for new additions.");
    return;
  }
  if (services_.preferences.value(key::quilloScanVolumes)) {
    services_.systemLog.log("The volume " + devicePath +
                            " was just mounted and we're not supposed to be monitoring it for new "
                            "content, so just scan it immediately.");
    theDispatcher.addStringToItemList(devicePath);
  }
}

}  // namespace quillo
