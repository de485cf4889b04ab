#include "tests/support/ManualClock.h"

#include <algorithm>
#include <utility>

#include "tests/support/Waiting.h"

namespace quillo {
namespace {

using std::chrono::system_clock;

// 2026-01-02 03:04:05 UTC, when every test begins.
system_clock::time_point wallTimeAfter(Clock::Duration length) {
  return system_clock::time_point(std::chrono::seconds(1767323045)) +
         std::chrono::duration_cast<system_clock::duration>(length);
}

}  // namespace

Clock::Duration ManualClock::now() {
  std::lock_guard hold(mutex_);
  return now_;
}

system_clock::time_point ManualClock::wallTime() {
  std::lock_guard hold(mutex_);
  return wallTimeAfter(now_ + setBy_);
}

void ManualClock::setWallTime(system_clock::time_point time) {
  std::lock_guard hold(mutex_);
  setBy_ = time - wallTimeAfter(now_);
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
  return await([this, count] { return parkedLocked() >= count; });
}

bool ManualClock::waitUntilParkedAnd(const std::function<bool()>& holds) {
  return await([&] { return parkedLocked() > 0 && holds(); });
}

bool ManualClock::waitUntilSleeping() {
  return await([this] {
    return std::any_of(sleepers_.begin(), sleepers_.end(),
                       [this](Duration deadline) { return deadline > now_; });
  });
}

bool ManualClock::await(const std::function<bool()>& holds) {
  std::unique_lock hold(mutex_);
  return changed_.wait_for(hold, longestWait, holds);
}

int ManualClock::parkedLocked() const {
  int waiting = 0;
  for (const Parked& thread : parked_) {
    waiting += thread.woken ? 0 : 1;
  }
  for (const Duration deadline : sleepers_) {
    waiting += deadline > now_ ? 1 : 0;
  }
  return waiting;
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

system_clock::time_point PassingClock::wallTime() { return wallTimeAfter(now_); }

void PassingClock::sleepFor(Duration length) {
  advance(length);
  slept += length;
  ++sleeps;
  if (atSleep) {
    atSleep(sleeps);
  }
}

}  // namespace quillo
