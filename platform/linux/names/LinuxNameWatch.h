#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "platform/NameWatch.h"
#include "platform/linux/names/NameRounds.h"
#include "posix/Mutex.h"
#include "posix/UniqueFd.h"

namespace quillo {

// A name watch with a thread of its own, so that a file system that does not answer holds nothing
// else up. The thread is there from the first start on, and sleeps while nothing happens.
class LinuxNameWatch final : public NameWatch {
 public:
  // `report` is called, on the thread, for what should not happen.
  LinuxNameWatch(Clock& clock, std::function<void(const std::string&)> report,
                 NameRounds::HasHandles hasHandles);
  // Waits for the thread.
  ~LinuxNameWatch() override;
  void start(const std::vector<NamedPlace>& places, NameWatchObserver& observer) override;
  void stop() override;

 private:
  struct Order {
    std::uint64_t number = 0;
    bool end = false;
    std::vector<NamedPlace> places = {};
    NameWatchObserver* observer = nullptr;
  };

  void give(Order order);
  void run();
  bool takeOrder(Order& order);
  void waitForNews(std::vector<pollfd>& descriptors, int milliseconds) const;

  // Constant after construction.
  Clock& clock_;
  const std::function<void(const std::string&)> report_;
  const NameRounds::HasHandles hasHandles_;
  // Readable when there is another order.
  const UniqueFd bell_;

  Mutex mutex_;
  Order order_ QUILLO_GUARDED_BY(mutex_);
  // Main thread.
  std::thread thread_;
};

}  // namespace quillo
