#include "agent/Health.h"

#include <algorithm>
#include <exception>
#include <utility>

#include "agent/StatusBoard.h"
#include "platform/SystemLog.h"
#include "posix/ThreadStarter.h"
#include "scanning/UnscannedFiles.h"

namespace quillo {

Health::Health(HealthServices services) : services_(std::move(services)), due_(services_.clock) {}

void Health::begin(ThreadStarter& threads) {
  setWatching(true);
  if (std::exchange(hasThread_, true)) {
    return;
  }
  try {
    threads.detachNewThread("Health", [this] { mainLoop(); });
  } catch (...) {
    hasThread_ = false;
    throw;
  }
}

void Health::mainLoop() {
  for (;;) {
    round();
  }
}

void Health::setWatching(bool watching) {
  due_.lock();
  watching_ = watching;
  dueAt_ = services_.clock.now();
  due_.signal();
  due_.unlock();
}

void Health::lookWithin(Clock::Duration time) {
  due_.lock();
  dueAt_ = std::min(dueAt_, services_.clock.now() + time);
  due_.signal();
  due_.unlock();
}

void Health::awaitDue() {
  due_.lock();
  for (;;) {
    const Clock::Duration left = dueAt_ - services_.clock.now();
    if (watching_ && left <= Clock::Duration()) {
      break;
    }
    due_.waitFor(watching_ ? std::min(left, Condition::longestWait) : Condition::longestWait);
  }
  // What asks for a look while this one is under way gets one of its own.
  dueAt_ = services_.clock.now() + betweenLooks;
  due_.unlock();
}

void Health::round() {
  awaitDue();
  bool isWell = false;
  try {
    isWell = look();
    services_.hasLooked();
  } catch (const std::exception& failure) {
    // Memory may be short for a moment; the watched folders are guarded meanwhile.
    isWell = false;
    logFailure(services_.systemLog, "Health", ": a look failed: ", failure);
  }
  if (!isWell) {
    due_.lock();
    dueAt_ = std::min(dueAt_, services_.clock.now() + betweenLooksInTrouble);
    due_.unlock();
  }
}

bool Health::lookAfterDaemon() {
  UnscannedFiles* const unscanned = services_.unscannedFiles;
  const bool wasFailing = services_.statusBoard.status().engineFails;
  const bool filesWait = unscanned && unscanned->areWaiting();
  if (!wasFailing && !filesWait) {
    return true;
  }
  if (!services_.daemonAnswers()) {
    return false;
  }
  if (!services_.daemonCanUnpack()) {
    services_.statusBoard.setEngineFails(true);
    return false;
  }
  if (wasFailing) {
    services_.statusBoard.setEngineFails(false);
  }
  if (filesWait) {
    unscanned->reportAnew();
  }
  return !unscanned || !unscanned->areWaiting();
}

bool Health::look() {
  const bool daemonIsWell = lookAfterDaemon();
  const LoadedDefinitions definitions = services_.definitions();
  const auto age = definitions.built ? services_.clock.wallTime() - *definitions.built
                                     : std::chrono::system_clock::duration();
  const auto days = std::chrono::duration_cast<std::chrono::hours>(age).count() / 24;
  const bool isOld = definitions.real && age > oldAfter;
  const DefinitionState state = !definitions.real ? DefinitionState::none
                                : isOld           ? DefinitionState::old
                                                  : DefinitionState::goodOrUnknown;
  services_.statusBoard.setDefinitions(state, isOld ? static_cast<std::size_t>(days) : 0);
  services_.statusBoard.setDefinitionFacts(
      {definitions.real ? definitions.built : std::nullopt, definitions.folder});
  if (isOld && !std::exchange(ageIsLogged_, true)) {
    services_.systemLog.log("The virus definitions are " + std::to_string(days) +
                            " days old: newer malware is not found until they have been updated");
  }
  ageIsLogged_ = isOld;
  const std::vector<std::string> missing = services_.missingFolders();
  services_.statusBoard.setMissingFolders(missing);
  return daemonIsWell && state == DefinitionState::goodOrUnknown && missing.empty();
}

}  // namespace quillo
