#include "platform/linux/notifications/NotificationQueue.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "platform/linux/text/VisibleText.h"
#include "posix/Text.h"

namespace quillo {
namespace {

constexpr std::size_t longestTitle = 200;
constexpr std::size_t longestBody = 1000;

bool isFind(const ShownNotifications::Shown& shown) { return shown.notification.details.isFind; }

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

void ShownNotifications::add(std::uint32_t id, const GrowlNotification& notification,
                             Clock::Duration now) {
  remove(id);
  if (shown_.size() == most) {
    // Of hints there are few, and each may be over one day.
    const auto oldest = std::find_if(shown_.begin(), shown_.end(), isFind);
    shown_.erase(oldest == shown_.end() ? shown_.begin() : oldest);
  }
  shown_.push_back({id, notification, now});
}

const GrowlNotification* ShownNotifications::find(std::uint32_t id) const {
  const auto found = std::find_if(shown_.begin(), shown_.end(),
                                  [id](const Shown& shown) { return shown.id == id; });
  return found == shown_.end() ? nullptr : &found->notification;
}

void ShownNotifications::remove(std::uint32_t id) {
  std::erase_if(shown_, [id](const Shown& shown) { return shown.id == id; });
}

bool ShownNotifications::hasFind() const {
  return std::any_of(shown_.begin(), shown_.end(), isFind);
}

std::vector<std::uint32_t> ShownNotifications::takeTopic(const std::string& topic) {
  std::vector<std::uint32_t> ids;
  std::erase_if(shown_, [&](const Shown& shown) {
    const bool isMeant = !topic.empty() && shown.notification.details.topic == topic;
    if (isMeant) {
      ids.push_back(shown.id);
    }
    return isMeant;
  });
  return ids;
}

std::vector<ShownNotifications::Shown> ShownNotifications::takeHints(Clock::Duration since) {
  const auto hints = std::stable_partition(
      shown_.begin(), shown_.end(),
      [since](const Shown& shown) { return isFind(shown) || shown.at < since; });
  std::vector<Shown> taken(std::make_move_iterator(hints), std::make_move_iterator(shown_.end()));
  shown_.erase(hints, shown_.end());
  return taken;
}

}  // namespace quillo
