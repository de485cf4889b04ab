#include "platform/linux/notifications/ShownNotifications.h"

#include <algorithm>
#include <iterator>

namespace quillo {
namespace {

bool isFind(const ShownNotifications::Shown& shown) { return shown.notification.details.isFind; }

}  // namespace

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
