#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/GrowlApplicationBridge.h"
#include "posix/Clock.h"

namespace quillo {

// What is to be shown, and in whose place (0: in nobody's).
struct QueuedNotification {
  GrowlNotification notification;
  std::uint32_t replacesId = 0;
  // Not 0 for the one that says how many more there are.
  std::uint64_t summaryOf = 0;
};

// Decides what of many notifications the user sees. Those of one name that follow one another
// within a few seconds are a burst: its first few are shown, and one more that says how many else
// there were and is brought up to date in place. Nothing is held back but that count. What reports
// malware goes before what waits besides, and shares its bursts with nothing else. Not for sharing
// between threads.
class NotificationQueue {
 public:
  static constexpr std::uint64_t mostInABurst = 5;
  static constexpr Clock::Duration quietAfterABurst = std::chrono::seconds(5);
  static constexpr Clock::Duration betweenSummaries = std::chrono::seconds(1);
  // A server that does not answer for minutes is not handed more than that, of malware and of all
  // else.
  static constexpr std::size_t mostWaiting = 20;

  // `moreText` words "and 995 more".
  NotificationQueue(Clock& clock, std::function<std::string(std::uint64_t count)> moreText)
      : clock_(clock), moreText_(std::move(moreText)) {}

  void add(const GrowlNotification& notification);
  // Shows it once more, whatever else came since: it was shown and had to make room.
  void addAgain(const GrowlNotification& notification);
  // Drops what waits under that topic.
  void withdraw(const std::string& topic);
  std::optional<QueuedNotification> takeNext();
  // Returns how long until takeNext() may have something; nothing when nothing waits.
  std::optional<Clock::Duration> untilNext();
  // Notes that the server has shown what takeNext() returned, under that number.
  void shown(const QueuedNotification& queued, std::uint32_t id);
  // Notes that the server whose numbers they were is gone.
  void forgetIds();
  void clear();
  // Makes the counts due that are held back.
  void holdNothingBack();

 private:
  struct Burst {
    std::uint64_t number = 0;
    GrowlNotification first;
    Clock::Duration last{};
    std::uint64_t shown = 0;
    std::uint64_t more = 0;
    std::uint64_t moreShown = 0;
    Clock::Duration summaryDue{};
    std::uint32_t summaryId = 0;
  };

  Clock& clock_;
  const std::function<std::string(std::uint64_t count)> moreText_;
  // Of which name, and whether it reports malware.
  using Kind = std::pair<std::string, bool>;

  std::uint64_t numbers_ = 0;
  std::map<Kind, Burst> bursts_;
  std::deque<GrowlNotification> waiting_;
};

// Texts for org.freedesktop.Notifications (Desktop Notifications 1.2, freedesktop.org). Whatever
// bytes come in, well-formed UTF-8 comes out, in which nothing hides; a long text is cut in its
// middle, where a path has the least to say. Pure; any thread.

std::string notificationTitle(std::string_view title);
// With `hasMarkup` what the server would take for markup is escaped.
std::string notificationBody(std::string_view description, bool hasMarkup);

// What a notification server shows for us, by its numbers: at most so many, and of
// more the latest. Not for sharing between threads.
class ShownNotifications {
 public:
  static constexpr std::size_t most = 64;

  // One that takes the place of another has its number.
  void add(std::uint32_t id, const GrowlNotification& notification, Clock::Duration now);
  // Returns what is shown under that number; null when it is none of ours.
  const GrowlNotification* find(std::uint32_t id) const;
  void remove(std::uint32_t id);
  void clear() { shown_.clear(); }
  bool hasFind() const;
  // Takes out what is of the topic, and returns its numbers.
  std::vector<std::uint32_t> takeTopic(const std::string& topic);

  struct Shown {
    std::uint32_t id = 0;
    GrowlNotification notification;
    Clock::Duration at{};
  };
  // Takes out, and returns, what reports no malware and is shown since then.
  std::vector<Shown> takeHints(Clock::Duration since);

 private:
  std::deque<Shown> shown_;
};

}  // namespace quillo
