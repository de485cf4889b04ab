#include "companion/scan/StoppableClock.h"

namespace quillo {

void StoppableClock::stop() {
  sleeping_.lock();
  isStopped_ = true;
  sleeping_.signal();
  sleeping_.unlock();
}

bool StoppableClock::isStopped() {
  sleeping_.lock();
  const bool stopped = isStopped_;
  sleeping_.unlock();
  return stopped;
}

void StoppableClock::sleepFor(Duration length) {
  const Duration end = clock_.now() + length;
  sleeping_.lock();
  bool stopped = isStopped_;
  for (Duration now = clock_.now(); !stopped && now < end; now = clock_.now()) {
    sleeping_.waitFor(end - now);
    stopped = isStopped_;
  }
  sleeping_.unlock();
  if (stopped) {
    throw Stopped();
  }
}

}  // namespace quillo
