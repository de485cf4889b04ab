#pragma once

#include <atomic>
#include <cstdint>
#include <deque>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <variant>
#include <vector>

#include "posix/Clock.h"
#include "posix/Mutex.h"

namespace quillo {

class PipelineObserver;
class SystemLog;
class Volumes;

// The queue between the change detectors and the scanners. It takes paths in from any thread,
// measures each until its size holds still, and hands batches out. It never looks into a file; it
// decides only when a path is ready. One dispatcher thread runs mainLoop(); every other operation
// may be called from any thread.
class Dispatcher {
 public:
  static constexpr std::size_t batchLimit = 200;

  // `observer` may be null; the others outlive this object.
  Dispatcher(Clock& clock, SystemLog& log, Volumes& volumes, PipelineObserver* observer);

  // Runs cycles forever.
  void mainLoop();
  // Runs one turn of the loop: a second of measuring, or one wait for work when there is none. Logs
  // what fails in it; a second later the next turn tries again.
  void cycle();

  // Take paths in without checking them. The caller's array is empty afterwards.
  void addToItemList(std::vector<std::string>& paths);
  void addStringToItemList(const std::string& path);
  // Returns the number of paths not yet ready: reported and being measured.
  std::size_t lengthOfBothItemLists();

  // Enters each path that is not known yet among those to be measured. The array is empty
  // afterwards, also when a path failed and was logged.
  void copyItemsToMyItemListFrom(std::vector<std::string>& paths);
  void getItemSizesInMyItemList();
  // Moves what is ready on, drops what is not to be scanned, and wakes one scanner.
  void moveReadyItemsToScannableList();
  // Appends up to batchLimit ready paths, which the dispatcher then forgets.
  void copyFromDispatchToScanner(std::vector<std::string>& scanList);
  // Forgets all that is measured or ready. Returns what of it would have been handed out as it was
  // last measured: no folder, no empty file. What was reported since the last cycle stays.
  std::vector<std::string> abortScans();

  // Enter everything below the folder, or below each folder that is being measured.
  void expandDirectories();
  void expandThisDirectory(const std::string& directory);

  std::int32_t scannableCount() const { return lists_.scannableCount; }
  Condition& dispatchLock() { return conditions_.dispatchLock; }
  Condition& scannerLock() { return conditions_.scannerLock; }
  void getLock4itemList() QUILLO_NO_THREAD_SAFETY_ANALYSIS { lock4itemList.lock(); }
  void releaseLock4itemList() QUILLO_NO_THREAD_SAFETY_ANALYSIS { lock4itemList.unlock(); }

 private:
  // A size in bytes (-1: not measured yet), or '*' (ready) or '-' (to be dropped).
  using ItemState = std::variant<std::int64_t, char>;
  static constexpr std::int64_t unmeasured = -1;
  static constexpr char ready = '*';
  static constexpr char dropped = '-';

  struct Item {
    ItemState state = unmeasured;
    // As last measured.
    bool isDirectory = false;
  };

  struct Lists {
    Mutex lock4Lists;
    // Gives back what it took for a storm, as a vector would not.
    std::deque<std::string> itemList QUILLO_GUARDED_BY(lock4Lists);
    std::unordered_map<std::string, Item> myItemList QUILLO_GUARDED_BY(lock4Lists);
    std::unordered_set<std::string> scannableList QUILLO_GUARDED_BY(lock4Lists);
    // Written under lock4Lists, read without it: scanners test for work at no cost.
    std::atomic<std::int32_t> scannableCount{0};
  };
  struct Conditions {
    explicit Conditions(Clock& clock) : dispatchLock(clock), scannerLock(clock) {}
    Condition dispatchLock;
    Condition scannerLock;
  };

  void measureOrWait();
  void takeOver(std::string&& path) QUILLO_REQUIRES(lists_.lock4Lists);
  void copyIntakeToMyItemList() QUILLO_EXCLUDES(lists_.lock4Lists);
  // Returns false when the path leaves those measured.
  bool measure(const std::string& path, Item& item) QUILLO_REQUIRES(lists_.lock4Lists);
  // Returns true when a path that was measured so would have become ready, had it not changed.
  bool wouldGoOut(const std::string& path, const Item& item);
  void signalDispatchLock();

  // Constant after construction.
  Clock& clock_;
  SystemLog& log_;
  Volumes& volumes_;
  PipelineObserver* const observer_;
  // Own synchronisation.
  Conditions conditions_;
  // Guards nothing of the dispatcher's own; lent to whoever asks.
  Mutex lock4itemList;
  // Guarded by the lock inside. It is never held together with a condition.
  Lists lists_;
};

}  // namespace quillo
