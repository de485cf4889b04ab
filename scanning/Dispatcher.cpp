#include "scanning/Dispatcher.h"

#include <exception>
#include <utility>

#include "platform/SystemLog.h"
#include "platform/Volumes.h"
#include "posix/FileFacts.h"
#include "posix/FolderReader.h"
#include "scanning/PipelineObserver.h"

namespace quillo {
namespace {

// A table keeps as many buckets as it had entries at most: after a storm, megabytes for nothing.
template <typename Table>
void shrinkIfEmpty(Table& table) {
  constexpr std::size_t fewBuckets = 10'000;
  if (table.empty() && table.bucket_count() > fewBuckets) {
    table = Table();
  }
}

}  // namespace

Dispatcher::Dispatcher(Clock& clock, SystemLog& log, Volumes& volumes, PipelineObserver* observer)
    : clock_(clock), log_(log), volumes_(volumes), observer_(observer), conditions_(clock) {}

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
    logFailure(log_, "Dispatcher", ": a cycle failed: ", failure);
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
    conditions_.dispatchLock.lock();
    conditions_.dispatchLock.wait();
    conditions_.dispatchLock.unlock();
  }
}

void Dispatcher::signalDispatchLock() {
  conditions_.dispatchLock.lock();
  conditions_.dispatchLock.signal();
  conditions_.dispatchLock.unlock();
}

void Dispatcher::addToItemList(std::vector<std::string>& paths) {
  for (const std::string& path : paths) {
    if (observer_) {
      observer_->noticed(path);
    }
  }
  {
    MutexLock hold(lists_.lock4Lists);
    for (std::string& path : paths) {
      lists_.itemList.push_back(std::move(path));
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
    MutexLock hold(lists_.lock4Lists);
    lists_.itemList.push_back(path);
  }
  signalDispatchLock();
}

std::size_t Dispatcher::lengthOfBothItemLists() {
  MutexLock hold(lists_.lock4Lists);
  return lists_.itemList.size() + lists_.myItemList.size();
}

void Dispatcher::copyItemsToMyItemListFrom(std::vector<std::string>& paths) {
  MutexLock hold(lists_.lock4Lists);
  for (std::string& path : paths) {
    takeOver(std::move(path));
  }
  paths.clear();
}

void Dispatcher::copyIntakeToMyItemList() {
  MutexLock hold(lists_.lock4Lists);
  for (; !lists_.itemList.empty(); lists_.itemList.pop_front()) {
    takeOver(std::move(lists_.itemList.front()));
  }
}

void Dispatcher::takeOver(std::string&& path) {
  try {
    if (lists_.scannableList.count(path) == 0) {
      lists_.myItemList.try_emplace(std::move(path));
    }
  } catch (const std::exception& failure) {
    logFailure(log_, "", "Yikes! We just caught a crash.  Here's why ", failure);
  }
}

void Dispatcher::getItemSizesInMyItemList() {
  MutexLock hold(lists_.lock4Lists);
  for (auto item = lists_.myItemList.begin(); item != lists_.myItemList.end();) {
    item = measure(item->first, item->second) ? std::next(item) : lists_.myItemList.erase(item);
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
    MutexLock hold(lists_.lock4Lists);
    for (auto item = lists_.myItemList.begin(); item != lists_.myItemList.end();) {
      const char* mark = std::get_if<char>(&item->second.state);
      if (!mark) {
        ++item;
        continue;
      }
      if (*mark == ready) {
        if (observer_) {
          observer_->becameStable(item->first);
        }
        lists_.scannableList.insert(item->first);
      }
      item = lists_.myItemList.erase(item);
    }
    shrinkIfEmpty(lists_.myItemList);
    lists_.scannableCount = static_cast<std::int32_t>(lists_.scannableList.size());
  }
  conditions_.scannerLock.lock();
  conditions_.scannerLock.signal();
  conditions_.scannerLock.unlock();
}

void Dispatcher::copyFromDispatchToScanner(std::vector<std::string>& scanList) {
  MutexLock hold(lists_.lock4Lists);
  // Taking from the front of the set costs the same however many paths wait behind.
  for (std::size_t taken = 0; taken < batchLimit && !lists_.scannableList.empty(); ++taken) {
    auto node = lists_.scannableList.extract(lists_.scannableList.begin());
    scanList.push_back(std::move(node.value()));
  }
  shrinkIfEmpty(lists_.scannableList);
  lists_.scannableCount = static_cast<std::int32_t>(lists_.scannableList.size());
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
    MutexLock hold(lists_.lock4Lists);
    measured.swap(lists_.myItemList);
  }
  std::unordered_set<std::string> scannable;
  {
    MutexLock hold(lists_.lock4Lists);
    scannable.swap(lists_.scannableList);
    lists_.scannableCount = 0;
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
    MutexLock hold(lists_.lock4Lists);
    for (const auto& item : lists_.myItemList) {
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
