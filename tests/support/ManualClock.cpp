#include "tests/support/ManualClock.h"

#include <utility>
#include <vector>

namespace quillo {

Clock::Duration ManualClock::now() {
  std::lock_guard hold(mutex_);
  return now_;
}

std::chrono::system_clock::time_point ManualClock::wallTime() {
  std::lock_guard hold(mutex_);
  // 2026-01-02 03:04:05 UTC.
  return std::chrono::system_clock::time_point(std::chrono::seconds(1767323045)) +
         std::chrono::duration_cast<std::chrono::system_clock::duration>(now_);
}

void ManualClock::sleepFor(Duration length) {
  {
    std::lock_guard hold(mutex_);
    slept_ += length;
    if (sleepsPassAtOnce_) {
      now_ += length;
      return;
    }
  }
  std::unique_lock hold(mutex_);
  const auto self = sleepers_.insert(sleepers_.end(), now_ + length);
  changed_.notify_all();
  timePassed_.wait(hold, [this, self] { return now_ >= *self; });
  sleepers_.erase(self);
}

void ManualClock::waitOn(std::condition_variable& variable, std::unique_lock<std::mutex>& held,
                         Duration bound) {
  std::function<void(std::unique_lock<std::mutex>&)> hook;
  {
    std::lock_guard hold(mutex_);
    hook = std::exchange(hook_, nullptr);
  }
  if (hook) {
    hook(held);
  }
  std::list<Parked>::iterator self;
  {
    std::lock_guard hold(mutex_);
    self = parked_.insert(parked_.end(), Parked{now_ + bound, &variable, held.mutex()});
    changed_.notify_all();
  }
  // `held` is held from before the registration until the wait: advance() takes it before it
  // notifies, so that its notification cannot fall in between.
  variable.wait(held);
  std::lock_guard hold(mutex_);
  parked_.erase(self);
  changed_.notify_all();
}

void ManualClock::advance(Duration length) {
  std::unique_lock hold(mutex_);
  now_ += length;
  timePassed_.notify_all();
  for (;;) {
    auto due = parked_.begin();
    while (due != parked_.end() && (due->woken || due->deadline > now_)) {
      ++due;
    }
    if (due == parked_.end()) {
      return;
    }
    due->woken = true;
    std::mutex* const theirs = due->mutex;
    std::condition_variable* const variable = due->variable;
    // The parked thread cannot leave before it gets `theirs` and then mutex_; take them in that
    // order.
    hold.unlock();
    {
      std::lock_guard ofWaiter(*theirs);
      variable->notify_all();
    }
    hold.lock();
  }
}

bool ManualClock::waitUntilParked(int count) {
  std::unique_lock hold(mutex_);
  return changed_.wait_for(hold, std::chrono::seconds(10), [this, count] {
    int waiting = 0;
    for (const Parked& thread : parked_) {
      waiting += thread.woken ? 0 : 1;
    }
    for (const Duration deadline : sleepers_) {
      waiting += deadline > now_ ? 1 : 0;
    }
    return waiting >= count;
  });
}

int ManualClock::parked() {
  std::lock_guard hold(mutex_);
  return static_cast<int>(parked_.size() + sleepers_.size());
}

void ManualClock::beforeNextWait(std::function<void(std::unique_lock<std::mutex>&)> hook) {
  std::lock_guard hold(mutex_);
  hook_ = std::move(hook);
}

void ManualClock::setSleepsPassAtOnce(bool atOnce) {
  std::lock_guard hold(mutex_);
  sleepsPassAtOnce_ = atOnce;
}

Clock::Duration ManualClock::slept() {
  std::lock_guard hold(mutex_);
  return slept_;
}

}  // namespace quillo
