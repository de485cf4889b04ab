#include "scanning/Dispatcher.h"

#include <algorithm>
#include <exception>
#include <utility>

#include "platform/SystemLog.h"
#include "platform/Volumes.h"
#include "posix/FileFacts.h"
#include "posix/FolderReader.h"
#include "posix/Text.h"
#include "scanning/RoadObserver.h"

namespace quillo {

Dispatcher::Dispatcher(Clock& clock, SystemLog& log, Volumes& volumes, RoadObserver* observer)
    : clock_(clock), log_(log), volumes_(volumes), observer_(observer), conditions(clock) {}

void Dispatcher::mainLoop() {
  for (;;) {
    cycle();
  }
}

void Dispatcher::cycle() {
  try {
    measureOrWait();
  } catch (const std::exception& failure) {
    // Memory may be short for a moment; what waits is still in its lists.
    log_.log(std::string("Dispatcher: a cycle failed: ") + failure.what());
    clock_.sleepFor(std::chrono::seconds(1));
  }
}

void Dispatcher::measureOrWait() {
  if (lengthOfBothItemLists() != 0) {
    copyIntakeToMyItemList();
    getItemSizesInMyItemList();
    clock_.sleepFor(std::chrono::seconds(1));
    getItemSizesInMyItemList();
    moveReadyItemsToScannableList();
  } else {
    conditions.dispatchLock.lock();
    conditions.dispatchLock.wait();
    conditions.dispatchLock.unlock();
  }
}

void Dispatcher::signalDispatchLock() {
  conditions.dispatchLock.lock();
  conditions.dispatchLock.signal();
  conditions.dispatchLock.unlock();
}

void Dispatcher::addToItemList(std::vector<std::string>& paths) {
  {
    MutexLock hold(lists.lock4Lists);
    for (std::string& path : paths) {
      if (observer_) {
        observer_->noticed(path);
      }
      lists.itemList.push_back(std::move(path));
    }
    paths.clear();
  }
  signalDispatchLock();
}

void Dispatcher::addStringToItemList(const std::string& path) {
  if (observer_) {
    observer_->noticed(path);
  }
  {
    MutexLock hold(lists.lock4Lists);
    lists.itemList.push_back(path);
  }
  signalDispatchLock();
}

std::size_t Dispatcher::lengthOfBothItemLists() {
  MutexLock hold(lists.lock4Lists);
  return lists.itemList.size() + lists.myItemList.size();
}

void Dispatcher::copyItemsToMyItemListFrom(std::vector<std::string>& paths) {
  MutexLock hold(lists.lock4Lists);
  takeOver(paths);
}

void Dispatcher::copyIntakeToMyItemList() {
  MutexLock hold(lists.lock4Lists);
  takeOver(lists.itemList);
}

void Dispatcher::takeOver(std::vector<std::string>& paths) {
  for (std::string& path : paths) {
    try {
      if (lists.scannableList.count(path) == 0) {
        lists.myItemList.try_emplace(std::move(path));
      }
    } catch (const std::exception& failure) {
      log_.log(std::string("Yikes! We just caught a crash.  Here's why ") + failure.what());
    }
  }
  paths.clear();
}

void Dispatcher::getItemSizesInMyItemList() {
  MutexLock hold(lists.lock4Lists);
  for (auto item = lists.myItemList.begin(); item != lists.myItemList.end();) {
    item = measure(item->first, item->second) ? std::next(item) : lists.myItemList.erase(item);
  }
}

bool Dispatcher::measure(const std::string& path, Item& item) {
  const std::optional<FileFacts> facts = fileFacts(path);
  if (!facts) {
    return false;
  }
  ItemState& state = item.state;
  item.isDirectory = facts->isDirectory;
  const std::int64_t* stored = std::get_if<std::int64_t>(&state);
  if (!stored) {
    return true;
  }
  if (*stored != unmeasured && facts->size != 0 && facts->size == *stored) {
    state = facts->isDirectory && !volumes_.isVolumeRoot(path) ? dropped : ready;
  } else {
    state = facts->size;
  }
  return true;
}

void Dispatcher::moveReadyItemsToScannableList() {
  {
    MutexLock hold(lists.lock4Lists);
    for (auto item = lists.myItemList.begin(); item != lists.myItemList.end();) {
      const char* mark = std::get_if<char>(&item->second.state);
      if (!mark) {
        ++item;
        continue;
      }
      if (*mark == ready) {
        if (observer_) {
          observer_->becameStable(item->first);
        }
        lists.scannableList.insert(item->first);
      }
      item = lists.myItemList.erase(item);
    }
    lists.scannableCount = static_cast<std::int32_t>(lists.scannableList.size());
  }
  conditions.scannerLock.lock();
  conditions.scannerLock.signal();
  conditions.scannerLock.unlock();
}

void Dispatcher::copyFromDispatchToScanner(std::vector<std::string>& scanList) {
  MutexLock hold(lists.lock4Lists);
  // Taking from the front of the set costs the same however many paths wait behind.
  for (std::size_t taken = 0; taken < batchLimit && !lists.scannableList.empty(); ++taken) {
    auto node = lists.scannableList.extract(lists.scannableList.begin());
    scanList.push_back(std::move(node.value()));
  }
  lists.scannableCount = static_cast<std::int32_t>(lists.scannableList.size());
}

bool Dispatcher::wouldGoOut(const std::string& path, const Item& item) {
  if (const char* mark = std::get_if<char>(&item.state)) {
    return *mark == ready;
  }
  const bool isEmpty = std::get<std::int64_t>(item.state) == 0;
  return !isEmpty && (!item.isDirectory || volumes_.isVolumeRoot(path));
}

// The lists are taken as they are and read without their lock, for they may be long.
std::vector<std::string> Dispatcher::abortScans() {
  std::unordered_map<std::string, Item> measured;
  {
    MutexLock hold(lists.lock4Lists);
    measured.swap(lists.myItemList);
  }
  std::unordered_set<std::string> scannable;
  {
    MutexLock hold(lists.lock4Lists);
    scannable.swap(lists.scannableList);
    lists.scannableCount = 0;
  }
  std::vector<std::string> forgotten;
  forgotten.reserve(measured.size() + scannable.size());
  for (const auto& [path, item] : measured) {
    if (wouldGoOut(path, item)) {
      forgotten.push_back(path);
    }
  }
  forgotten.insert(forgotten.end(), scannable.begin(), scannable.end());
  return forgotten;
}

void Dispatcher::expandDirectories() {
  std::vector<std::string> directories;
  {
    MutexLock hold(lists.lock4Lists);
    for (const auto& item : lists.myItemList) {
      directories.push_back(item.first);
    }
  }
  std::vector<std::string> found;
  for (const std::string& directory : directories) {
    appendEverythingBelow(directory + "/", found);
  }
  copyItemsToMyItemListFrom(found);
}

void Dispatcher::expandThisDirectory(const std::string& directory) {
  std::vector<std::string> found;
  appendEverythingBelow(directory + "/", found);
  copyItemsToMyItemListFrom(found);
}

}  // namespace quillo
