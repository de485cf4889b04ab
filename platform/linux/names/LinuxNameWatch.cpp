#include "platform/linux/names/LinuxNameWatch.h"

#include <pthread.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <exception>
#include <memory>
#include <system_error>
#include <utility>

namespace quillo {
namespace {

// Milliseconds, as poll(2) has them.
constexpr int forever = -1;
constexpr int betweenAttempts = 30000;

}  // namespace

LinuxNameWatch::LinuxNameWatch(Clock& clock, std::function<void(const std::string&)> report,
                               NameRounds::HasHandles hasHandles)
    : clock_(clock),
      report_(std::move(report)),
      hasHandles_(std::move(hasHandles)),
      bell_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {}

LinuxNameWatch::~LinuxNameWatch() {
  Order last;
  last.end = true;
  give(last);
  if (thread_.joinable()) {
    thread_.join();
  }
}

void LinuxNameWatch::start(const std::vector<NamedPlace>& places, NameWatchObserver& observer) {
  Order order;
  order.places = places;
  order.observer = &observer;
  give(std::move(order));
  if (thread_.joinable()) {
    return;
  }
  try {
    thread_ = std::thread([this] { run(); });
    pthread_setname_np(thread_.native_handle(), "NameWatch");
  } catch (const std::system_error& failure) {
    report_(std::string("Names are not watched: ") + failure.what());
  }
}

void LinuxNameWatch::stop() { give(Order()); }

void LinuxNameWatch::give(Order order) {
  {
    MutexLock hold(mutex_);
    order.number = order_.number + 1;
    order_ = std::move(order);
  }
  const std::uint64_t once = 1;
  [[maybe_unused]] const ssize_t ignored = write(bell_.get(), &once, sizeof once);
}

bool LinuxNameWatch::takeOrder(Order& order) {
  MutexLock hold(mutex_);
  if (order_.number == order.number) {
    return false;
  }
  order = order_;
  return true;
}

void LinuxNameWatch::run() {
  std::unique_ptr<NameRounds> rounds;
  Order order;
  bool mountsChanged = false;
  for (;;) {
    std::vector<pollfd> descriptors;
    int wait = forever;
    try {
      if (takeOrder(order)) {
        rounds.reset();
        if (order.end) {
          return;
        }
        if (order.observer) {
          rounds = std::make_unique<NameRounds>(clock_, order.places, *order.observer, hasHandles_);
        }
      }
      if (rounds) {
        const bool more = rounds->round(mountsChanged);
        wait = more ? 0 : rounds->isIncomplete() ? betweenAttempts : forever;
        descriptors = rounds->descriptors();
      }
    } catch (const std::exception& failure) {
      rounds.reset();
      report_(std::string("Names are watched no more: ") + failure.what());
    }
    waitForNews(descriptors, wait);
    mountsChanged = !descriptors.empty() && descriptors[0].revents != 0;
  }
}

void LinuxNameWatch::waitForNews(std::vector<pollfd>& descriptors, int milliseconds) const {
  descriptors.push_back({bell_.get(), POLLIN, 0});
  poll(descriptors.data(), descriptors.size(), milliseconds);
  if (descriptors.back().revents != 0) {
    std::uint64_t rings = 0;
    [[maybe_unused]] const ssize_t ignored = read(bell_.get(), &rings, sizeof rings);
  }
  descriptors.pop_back();
}

}  // namespace quillo
