#pragma once

#include <cstdint>
#include <deque>
#include <optional>
#include <string>
#include <vector>

#include "platform/GrowlApplicationBridge.h"
#include "posix/Clock.h"

namespace quillo {

// What a notification server shows for us, by the numbers that it gave out: at most so many, and of
// more the latest. Not for sharing between threads.
class ShownNotifications {
 public:
  static constexpr std::size_t most = 64;

  // One that takes the place of another has its number.
  void add(std::uint32_t id, const GrowlNotification& notification, Clock::Duration now);
  // What is shown under that number; null when it is none of ours.
  const GrowlNotification* find(std::uint32_t id) const;
  void remove(std::uint32_t id);
  void clear() { shown_.clear(); }
  bool hasFind() const;
  // Takes out what speaks of the topic, and gives its numbers.
  std::vector<std::uint32_t> takeTopic(const std::string& topic);

  struct Shown {
    std::uint32_t id = 0;
    GrowlNotification notification;
    Clock::Duration at{};
  };
  // Takes out what reports no malware and is shown since then.
  std::vector<Shown> takeHints(Clock::Duration since);

 private:
  std::deque<Shown> shown_;
};

}  // namespace quillo
