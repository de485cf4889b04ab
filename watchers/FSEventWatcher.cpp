#include "watchers/FSEventWatcher.h"

#include <algorithm>
#include <utility>

#include "platform/Application.h"
#include "platform/Authorization.h"
#include "platform/Folders.h"
#include "platform/LocalizedStrings.h"
#include "platform/Notifier.h"
#include "platform/SystemLog.h"
#include "posix/ChildProcess.h"
#include "posix/PlatformException.h"
#include "posix/Text.h"
#include "settings/TypedPreferences.h"

namespace quillo {
namespace {

constexpr int lacksRightsStatus = 1;
constexpr int eventsLostStatus = 4;
constexpr std::size_t longestWords = 300;
constexpr std::string_view resourceFork = "/..namedfork/rsrc";

bool isPathLine(std::string_view line) { return line.starts_with('/') || line.starts_with('\\'); }

}  // namespace

Clock::Duration RestartPauses::afterRun(Clock::Duration began, Clock::Duration ended) {
  if (isPausing() && ended - began < window) {
    pause_ = std::min(2 * pause_, longest);
    return pause_;
  }
  pause_ = Clock::Duration::zero();
  while (!restarts_.empty() && ended - restarts_.front() > window) {
    restarts_.pop_front();
  }
  if (restarts_.size() < freeRestarts) {
    restarts_.push_back(ended);
    return pause_;
  }
  restarts_.clear();
  pause_ = shortest;
  return pause_;
}

FSEventWatcher::FSEventWatcher(WatcherOwner& owner, const WatcherServices& services)
    : owner_(owner),
      services_(services),
      catchUp_(owner, services),
      stopped_(services.clock),
      filter_(owner, services.trashFolders) {}

FSEventWatcher::~FSEventWatcher() = default;

bool FSEventWatcher::claimMainLoop() {
  MutexLock hold(state_.lock);
  state_.loopWanted = true;
  return !std::exchange(state_.loopClaimed, true);
}

void FSEventWatcher::abandonMainLoop() {
  MutexLock hold(state_.lock);
  state_.loopWanted = false;
  state_.loopClaimed = false;
}

bool FSEventWatcher::isToWatch() {
  MutexLock hold(state_.lock);
  return state_.loopWanted;
}

void FSEventWatcher::mainLoop() {
  {
    MutexLock hold(state_.lock);
    if (!std::exchange(state_.loopClaimed, true)) {
      state_.loopWanted = true;
    }
  }
  try {
    watch();
  } catch (...) {
    // Or no later start would find a loop to begin.
    forgetMainLoop();
    throw;
  }
}

void FSEventWatcher::watch() {
  do {
    filter_.setQuarantineFolder(services_.preferences.value(key::quarantineFolder).value_or(""));
    if (beginWatching()) {
      catchUp_.watchingBegins();
      runUntilStopped();
    }
  } while (!releaseMainLoop());
}

void FSEventWatcher::runUntilStopped() {
  pauses_ = RestartPauses();
  do {
    lastWords_.clear();
    hasLostEvents_ = false;
    const Clock::Duration began = services_.clock.now();
    startWatching();
    if (isWatching()) {
      catchUp_.runEnded();
    }
    // A helper that could not keep up works: it is to watch again at once, however often.
    if (!hasLostEvents_) {
      pauseAfterRun(began);
    }
  } while (isWatching());
}

void FSEventWatcher::pauseAfterRun(Clock::Duration began) {
  const Clock::Duration ended = services_.clock.now();
  const bool wasPausing = pauses_.isPausing();
  const Clock::Duration pause = pauses_.afterRun(began, ended);
  if (!isWatching() || !pauses_.isPausing()) {
    return;
  }
  owner_.setHelperFails(true);
  if (!wasPausing) {
    showThatHelperFails();
  }
  stopped_.lock();
  for (Clock::Duration now = ended; isWatching() && now < ended + pause;) {
    stopped_.waitFor(ended + pause - now);
    now = services_.clock.now();
  }
  stopped_.unlock();
  owner_.setHelperFails(false);
}

void FSEventWatcher::showThatHelperFails() {
  services_.systemLog.log("gfslogger ends again and again, so nothing is watched: " + lastWords_);
  LocalizedStrings& strings = services_.localizedStrings;
  showHelperProblem(replacingAll(strings.stringForKey("HELPER_FAILS", ""), "%@", lastWords_));
}

void FSEventWatcher::showHelperProblem(const std::string& problem) {
  NotificationDetails details;
  details.topic = helperTopic;
  // The button may outlive this object, not what it refers to.
  details.buttons.push_back({services_.localizedStrings.stringForKey("NOTIFICATION_VANTREL", ""),
                             [&owner = owner_] { owner.showWhatMends(); }});
  services_.notifier.displayGrowlDialogWithTitleAndDescription(notificationError, problem, details);
  showsProblem_ = true;
}

void FSEventWatcher::forgetMainLoop() {
  {
    MutexLock hold(state_.lock);
    state_.isWatching = false;
    state_.loopWanted = false;
    state_.loopClaimed = false;
    if (const auto task = std::exchange(state_.scanCheckTask, nullptr)) {
      task->terminate();
    }
  }
  catchUp_.watchingEnds();
}

// False when watching was stopped between the claim and now.
bool FSEventWatcher::beginWatching() {
  MutexLock hold(state_.lock);
  state_.isWatching = state_.loopWanted;
  return state_.loopWanted;
}

// False when watching was wanted again before the loop had ended: then it goes on.
bool FSEventWatcher::releaseMainLoop() {
  MutexLock hold(state_.lock);
  state_.loopClaimed = state_.loopWanted;
  return !state_.loopWanted;
}

void FSEventWatcher::startWatching() {
  const std::string tool = services_.folders.resourceFolder() + "/gfslogger";
  try {
    runHelper(tool);
  } catch (const PlatformException& failure) {
    services_.systemLog.log(failure.name());
    services_.systemLog.log(failure.reason());
    lastWords_ = tool + ": " + failure.reason();
  } catch (const std::exception& failure) {
    // Memory may be short for a moment. The helper has ended with its task, and is started anew.
    logFailure(services_.systemLog, "Watcher", ": the helper's report failed: ", failure);
  }
  MutexLock hold(state_.lock);
  state_.scanCheckTask.reset();
}

void FSEventWatcher::runHelper(const std::string& tool) {
  // The helper runs with more rights than this process: it gets nothing of its environment.
  LaunchRequest request{tool};
  request.environment.emplace();
  const auto task = std::make_shared<ChildProcess>(request);
  {
    MutexLock hold(state_.lock);
    state_.scanCheckTask = task;
    if (!state_.isWatching) {
      // Stopped while the helper was being launched: that stop found nothing to end.
      task->terminate();
    }
  }
  hasReported_ = false;
  catchUp_.runBegins();
  const int status = task->waitUntilExit([this](std::string_view chunk) {
    const CatchUp::Moment came = catchUp_.then();
    const bool isMore = taskDataAvailable(chunk);
    if (isWatching()) {
      catchUp_.heard(chunk, came);
    }
    return isMore;
  });
  const std::string ending = "termination status = " + std::to_string(status);
  services_.systemLog.log(ending);
  if (status == eventsLostStatus) {
    hasLostEvents_ = hasReported_;
    services_.systemLog.log(
        "More files changed at once than the kernel keeps in mind: some were missed");
  }
  if (lastWords_.empty()) {
    lastWords_ = ending;
  }
  if (status == lacksRightsStatus) {
    installHelper(tool);
  }
}

void FSEventWatcher::installHelper(const std::string& tool) {
  owner_.stopWatcherFromWatcher();
  showHelperProblem(services_.localizedStrings.stringForKey("FSEVENT_NOT_SETUID", ""));
  const std::string command = "chown root \"" + tool + "\"; chmod +s \"" + tool + "\"";
  std::string reason;
  if (services_.authorization.executeWithPrivileges("/bin/sh", {"-c", command}, reason)) {
    owner_.startWatcherFromWatcher();
    return;
  }
  if (!reason.empty()) {
    services_.systemLog.log(reason);
    showHelperProblem(reason);
  }
  services_.systemLog.log("Authentication failed. Sorry!");
  services_.application.terminate();
}

void FSEventWatcher::stopWatching() {
  services_.systemLog.log("attempting to terminate gfslogger");
  {
    MutexLock hold(state_.lock);
    state_.isWatching = false;
    state_.loopWanted = false;
    if (state_.scanCheckTask) {
      state_.scanCheckTask->terminate();
    }
  }
  stopped_.lock();
  stopped_.signal();
  stopped_.unlock();
  catchUp_.watchingEnds();
}

bool FSEventWatcher::taskDataAvailable(std::string_view chunk) {
  if (chunk.empty()) {
    return false;
  }
  hasReported_ |= holdsMark(chunk);
  filter_.refresh();
  for (std::size_t at = 0; at <= chunk.size();) {
    const std::string_view line = chunk.substr(at, chunk.find('\n', at) - at);
    judgeLine(line);
    at += line.size() + 1;
  }
  return true;
}

void FSEventWatcher::judgeLine(std::string_view line) {
  const bool isPath = isPathLine(line);
  hasReported_ |= isPath;
  if (!line.empty() && !isPath) {
    lastWords_ = line.substr(0, longestWords);
  } else if (isPath && std::exchange(showsProblem_, false)) {
    services_.notifier.withdraw(helperTopic);
  }
  // Looked for in the line: a file that only bears the name of a fork is spelled in another way.
  if (line.ends_with(resourceFork)) {
    return;
  }
  if (const std::string path = pathOfLine(line); filter_.passes(path)) {
    services_.theDispatcher.addStringToItemList(path);
  }
}

}  // namespace quillo
