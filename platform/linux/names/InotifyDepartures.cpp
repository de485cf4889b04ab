#include "platform/linux/names/InotifyDepartures.h"

#include <sys/inotify.h>

#include <cerrno>
#include <cstring>
#include <utility>

#include "platform/linux/names/WayWatch.h"
#include "posix/Text.h"

namespace quillo {
namespace {

// The last name of a file that is open goes with a change of its attributes.
constexpr unsigned int ofFile = IN_MOVE_SELF | IN_DELETE_SELF | IN_ATTRIB | IN_DONT_FOLLOW;
constexpr unsigned int ofFolder = IN_MOVE_SELF | IN_DELETE_SELF | IN_ONLYDIR;

}  // namespace

InotifyDepartures::InotifyDepartures(PostToMain postToMain,
                                     const std::function<void(const std::string& problem)>& report)
    : post_(std::move(postToMain)), queue_(inotify_init1(IN_NONBLOCK | IN_CLOEXEC)) {
  if (!queue_) {
    report(std::string("Files that leave their places cannot be noticed: ") + std::strerror(errno));
    return;
  }
  notifier_ = std::make_unique<QSocketNotifier>(queue_.get(), QSocketNotifier::Read);
  QObject::connect(notifier_.get(), &QSocketNotifier::activated, [this] { somethingHappened(); });
}

void InotifyDepartures::watch(const std::string& path, std::function<bool()> hasLeft) {
  post_([this, path, hasLeft = std::move(hasLeft)] { add(path, hasLeft); });
}

void InotifyDepartures::add(const std::string& path, std::function<bool()> hasLeft) {
  if (!queue_) {
    return;
  }
  if (places_.size() == mostFiles) {
    remove(places_.front());
    places_.pop_front();
  }
  places_.push_back({addWatch(path, ofFile), addWatch(deletingLastPathComponent(path), ofFolder),
                     std::move(hasLeft)});
  // It may have gone before it was watched.
  askAll();
}

int InotifyDepartures::addWatch(const std::string& path, unsigned int mask) {
  const int watch = inotify_add_watch(queue_.get(), path.c_str(), mask);
  if (watch >= 0) {
    ++users_[watch];
  }
  return watch;
}

void InotifyDepartures::removeWatch(int watch) {
  const auto found = users_.find(watch);
  if (found != users_.end() && --found->second == 0) {
    users_.erase(found);
    inotify_rm_watch(queue_.get(), watch);
  }
}

void InotifyDepartures::remove(const Place& place) {
  removeWatch(place.file);
  removeWatch(place.folder);
}

// What it was does not matter: there are few to ask.
void InotifyDepartures::somethingHappened() {
  while (takeInotifyEvents(queue_, [](int, unsigned int, std::string_view) {})) {
  }
  askAll();
}

void InotifyDepartures::askAll() {
  // Whoever is asked may have another file watched meanwhile, but only by posting it.
  for (std::size_t i = 0; i < places_.size();) {
    bool left = false;
    guarded([&] { left = places_[i].hasLeft(); });
    if (left) {
      remove(places_[i]);
      places_.erase(places_.begin() + static_cast<std::ptrdiff_t>(i));
    } else {
      ++i;
    }
  }
}

}  // namespace quillo
