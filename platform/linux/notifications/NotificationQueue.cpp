#include "platform/linux/notifications/NotificationQueue.h"

#include <algorithm>

#include "platform/linux/text/VisibleText.h"
#include "posix/Text.h"

namespace quillo {
namespace {

constexpr std::size_t longestTitle = 200;
constexpr std::size_t longestBody = 1000;

}  // namespace

void NotificationQueue::add(const GrowlNotification& notification) {
  const Clock::Duration now = clock_.now();
  const bool isFind = notification.details.isFind;
  Burst& burst = bursts_[{notification.name, isFind}];
  const bool isOver = now - burst.last >= quietAfterABurst && burst.more == burst.moreShown;
  if (burst.number == 0 || isOver) {
    burst = Burst();
    burst.number = ++numbers_;
    burst.first = notification;
  }
  burst.last = now;
  const auto alike = std::count_if(
      waiting_.begin(), waiting_.end(),
      [isFind](const GrowlNotification& waiting) { return waiting.details.isFind == isFind; });
  if (burst.shown < mostInABurst && static_cast<std::size_t>(alike) < mostWaiting) {
    ++burst.shown;
    waiting_.push_back(notification);
    return;
  }
  if (burst.more == 0) {
    // Others follow at once, as a rule.
    burst.summaryDue = now + betweenSummaries;
  }
  ++burst.more;
}

void NotificationQueue::addAgain(const GrowlNotification& notification) {
  waiting_.push_back(notification);
}

void NotificationQueue::withdraw(const std::string& topic) {
  std::erase_if(waiting_, [&topic](const GrowlNotification& waiting) {
    return !topic.empty() && waiting.details.topic == topic;
  });
}

std::optional<QueuedNotification> NotificationQueue::takeNext() {
  if (!waiting_.empty()) {
    auto first = std::find_if(waiting_.begin(), waiting_.end(),
                              [](const auto& waiting) { return waiting.details.isFind; });
    first = first == waiting_.end() ? waiting_.begin() : first;
    QueuedNotification next{std::move(*first)};
    waiting_.erase(first);
    return next;
  }
  const Clock::Duration now = clock_.now();
  for (auto& [kind, burst] : bursts_) {
    if (burst.more > burst.moreShown && burst.summaryDue <= now) {
      burst.moreShown = burst.more;
      burst.summaryDue = now + betweenSummaries;
      QueuedNotification next{burst.first, burst.summaryId, burst.number};
      next.notification.description = moreText_(burst.more);
      NotificationDetails& details = next.notification.details;
      details.summary.clear();
      details.body.clear();
      details.topic.clear();
      std::erase_if(details.buttons, [](const auto& button) { return button.isOfOneThing; });
      return next;
    }
  }
  return std::nullopt;
}

std::optional<Clock::Duration> NotificationQueue::untilNext() {
  if (!waiting_.empty()) {
    return Clock::Duration();
  }
  std::optional<Clock::Duration> shortest;
  for (const auto& [kind, burst] : bursts_) {
    if (burst.more > burst.moreShown) {
      const Clock::Duration left = std::max(burst.summaryDue - clock_.now(), Clock::Duration());
      shortest = std::min(shortest.value_or(left), left);
    }
  }
  return shortest;
}

void NotificationQueue::shown(const QueuedNotification& queued, std::uint32_t id) {
  for (auto& [kind, burst] : bursts_) {
    if (queued.summaryOf != 0 && burst.number == queued.summaryOf) {
      burst.summaryId = id;
    }
  }
}

void NotificationQueue::forgetIds() {
  for (auto& [kind, burst] : bursts_) {
    burst.summaryId = 0;
  }
}

void NotificationQueue::holdNothingBack() {
  for (auto& [kind, burst] : bursts_) {
    burst.summaryDue = std::min(burst.summaryDue, clock_.now());
  }
}

void NotificationQueue::clear() {
  waiting_.clear();
  bursts_.clear();
}

std::string notificationTitle(std::string_view title) {
  return cutInTheMiddle(visibleText(cutInTheMiddle(title, 4 * longestTitle)), longestTitle);
}

std::string notificationBody(std::string_view description, bool hasMarkup) {
  std::string text =
      cutInTheMiddle(visibleLines(cutInTheMiddle(description, 4 * longestBody)), longestBody);
  if (!hasMarkup) {
    return text;
  }
  // The ampersand first, since the others bring their own.
  text = replacingAll(std::move(text), "&", "&amp;");
  text = replacingAll(std::move(text), "<", "&lt;");
  return replacingAll(std::move(text), ">", "&gt;");
}

}  // namespace quillo
