#pragma once

#include <QSocketNotifier>
#include <deque>
#include <map>
#include <memory>

#include "platform/NameWatch.h"
#include "platform/linux/services/Guarded.h"
#include "posix/UniqueFd.h"

namespace quillo {

// By inotify(7): a watch on each file and on the folder that it lies in. Made on the main thread.
class InotifyDepartures final : public FileDepartures {
 public:
  static constexpr std::size_t mostFiles = 32;

  // `report` is called when the system has nothing to watch with.
  InotifyDepartures(PostToMain postToMain,
                    const std::function<void(const std::string& problem)>& report);

  void watch(const std::string& path, std::function<bool()> hasLeft) override;

 private:
  struct Place {
    int file = -1;
    int folder = -1;
    std::function<bool()> hasLeft;
  };

  void add(const std::string& path, std::function<bool()> hasLeft);
  int addWatch(const std::string& path, unsigned int mask);
  void removeWatch(int watch);
  void remove(const Place& place);
  void somethingHappened();
  void askAll();

  const PostWhileAlive post_;
  UniqueFd queue_;
  std::unique_ptr<QSocketNotifier> notifier_;
  std::deque<Place> places_;
  // How many places need a watch: files share folders, and names share files.
  std::map<int, int> users_;
};

}  // namespace quillo
