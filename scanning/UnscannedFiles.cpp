#include "scanning/UnscannedFiles.h"

#include <algorithm>
#include <utility>

#include "clamav/Verdict.h"
#include "platform/SystemLog.h"
#include "scanning/Dispatcher.h"
#include "scanning/PipelineObserver.h"

namespace quillo {
namespace {

// What one file takes beyond its path: two nodes, a bucket, and what the heap adds.
constexpr std::size_t bytesAFile = 192;
// So many at a time, so that scanners need not wait for the lock.
constexpr std::size_t atOnce = 200;

std::size_t bytesOf(const std::string& path) { return bytesAFile + path.size(); }

std::string counted(std::size_t files) {
  return std::to_string(files) + (files == 1 ? " file" : " files");
}

}  // namespace

UnscannedFiles::UnscannedFiles(UnscannedFilesServices services) : services_(std::move(services)) {}

UnscannedFiles::Outcome UnscannedFiles::take(const Verdict& verdict) {
  using Kind = Verdict::Kind;
  const bool isJudgement = verdict.kind == Kind::clean || verdict.kind == Kind::infected ||
                           verdict.kind == Kind::notScanned;
  const bool isLeft = verdict.kind == Kind::notScanned &&
                      verdict.daemonGone != Verdict::DaemonGone::no &&
                      verdict.path.starts_with('/');
  if (!isJudgement || (!isLeft && knownFiles_ == 0)) {
    return Outcome::notOurs;
  }
  MutexLock hold(lock_);
  const auto known = state_.byPath.find(verdict.path);
  if (!isLeft) {
    if (known != state_.byPath.end()) {
      forget(known->second);
      count();
    }
    return Outcome::notOurs;
  }
  if (known == state_.byPath.end()) {
    return add(verdict) ? Outcome::comesBack : Outcome::tooMany;
  }
  const Files::iterator file = known->second;
  const Clock::Duration now = services_.clock.now();
  if (file->place == &state_.reported && now - file->at >= forgottenAfter) {
    file->times = 0;
  }
  file->at = now;
  if (file->times >= mostTimes) {
    put(file, state_.reported);
    if (file->path == state_.suspect) {
      state_.suspect.clear();
    }
    return Outcome::tooOften;
  }
  setReason(*file, verdict.reason);
  state_.isFirstTime = state_.isFirstTime || file->times == 0;
  const bool isSuspect = verdict.daemonGone == Verdict::DaemonGone::meanwhile;
  put(file, isSuspect || file->place == &state_.suspects ? state_.suspects : state_.waiting);
  return Outcome::comesBack;
}

bool UnscannedFiles::add(const Verdict& verdict) {
  forgetOld();
  const std::size_t bytes = bytesOf(verdict.path);
  while (state_.bytes + bytes > mostBytes && !state_.reported.empty()) {
    forget(state_.reported.begin());
  }
  if (state_.bytes + bytes > mostBytes) {
    count();
    return false;
  }
  const bool isSuspect = verdict.daemonGone == Verdict::DaemonGone::meanwhile;
  Files& list = isSuspect ? state_.suspects : state_.waiting;
  Files one;
  File& file = one.emplace_back();
  file.path = verdict.path;
  file.at = services_.clock.now();
  file.place = &list;
  setReason(file, verdict.reason);
  state_.byPath.emplace(file.path, one.begin());
  list.splice(list.end(), one);
  state_.bytes += bytes;
  state_.isFirstTime = true;
  count();
  return true;
}

void UnscannedFiles::setReason(File& file, const std::string& reason) {
  if (!state_.lastReason || *state_.lastReason != reason) {
    state_.lastReason = std::make_shared<const std::string>(reason);
  }
  file.reason = state_.lastReason;
}

void UnscannedFiles::put(Files::iterator file, Files& list) {
  list.splice(list.end(), *file->place, file);
  file->place = &list;
  count();
}

void UnscannedFiles::forget(Files::iterator file) {
  state_.bytes -= bytesOf(file->path);
  state_.byPath.erase(file->path);
  file->place->erase(file);
}

void UnscannedFiles::forgetOld() {
  const Clock::Duration now = services_.clock.now();
  while (!state_.reported.empty() && now - state_.reported.front().at >= forgottenAfter) {
    forget(state_.reported.begin());
  }
}

void UnscannedFiles::count() {
  knownFiles_ = state_.byPath.size();
  waitingFiles_ = state_.waiting.size() + state_.suspects.size();
}

void UnscannedFiles::runEnded(const Run& run) {
  const std::string who = run.byScanner ? "The scanner left " : "The daemon left ";
  if (run.comesBack > 0) {
    services_.systemLog.log(who + counted(run.comesBack) + " unscanned, to be scanned again" +
                            (run.byScanner ? "" : " once it is back"));
  }
  if (run.tooOften > 0) {
    services_.systemLog.log(who + counted(run.tooOften) + " unscanned " +
                            std::to_string(mostTimes + 1) +
                            " times, not to be scanned again before a change");
  }
  if (run.tooMany > 0) {
    services_.systemLog.log(who + counted(run.tooMany) +
                            " unscanned, and too many others wait for it: not to be scanned "
                            "before a change");
  }
  if (!areWaiting() || (run.comesBack == 0 && !run.hasJudged)) {
    return;
  }
  bool isFirstTime = false;
  {
    MutexLock hold(lock_);
    isFirstTime = std::exchange(state_.isFirstTime, false);
  }
  services_.lookWithin(isFirstTime || run.hasJudged ? Clock::Duration() : laterPause);
}

// How many of those that wait are to be reported now.
std::size_t UnscannedFiles::takeTurn() {
  MutexLock hold(lock_);
  if (!state_.waiting.empty() || state_.suspects.empty()) {
    return state_.waiting.size();
  }
  const auto last = state_.byPath.find(state_.suspect);
  if (last != state_.byPath.end() && last->second->place == &state_.reported &&
      services_.clock.now() - last->second->at < laterPause) {
    return 0;
  }
  state_.suspect = state_.suspects.front().path;
  put(state_.suspects.begin(), state_.waiting);
  return 1;
}

// What comes to wait meanwhile has its turn the next time.
void UnscannedFiles::reportAnew() {
  if (!services_.guardedPlaces.takeNow()) {
    return;
  }
  std::size_t left = takeTurn();
  std::size_t reported = 0;
  while (left > 0) {
    const std::vector<std::string> paths = nextOf(std::min(left, atOnce));
    reported += handOver(paths);
    left -= paths.empty() ? left : paths.size();
  }
  if (reported > 0) {
    services_.systemLog.log("Scanning " + counted(reported) +
                            " again that the daemon had left unscanned");
  }
}

std::vector<std::string> UnscannedFiles::nextOf(std::size_t most) {
  MutexLock hold(lock_);
  std::vector<std::string> paths;
  for (const File& file : state_.waiting) {
    if (paths.size() == most) {
      break;
    }
    paths.push_back(file.path);
  }
  return paths;
}

std::size_t UnscannedFiles::handOver(const std::vector<std::string>& paths) {
  std::vector<bool> isGuarded;
  for (const std::string& path : paths) {
    isGuarded.push_back(services_.guardedPlaces.hold(path));
  }
  std::vector<std::string> reported;
  std::vector<std::pair<std::string, std::shared_ptr<const std::string>>> dropped;
  {
    MutexLock hold(lock_);
    for (std::size_t index = 0; index < paths.size(); ++index) {
      const auto known = state_.byPath.find(paths[index]);
      if (known == state_.byPath.end() || known->second->place != &state_.waiting) {
        continue;  // it was judged meanwhile
      }
      const Files::iterator file = known->second;
      if (isGuarded[index]) {
        ++file->times;
        file->at = services_.clock.now();
        put(file, state_.reported);
        reported.push_back(paths[index]);
      } else {
        dropped.emplace_back(paths[index], file->reason);
        forget(file);
      }
    }
    count();
  }
  for (const auto& [path, reason] : dropped) {
    tell(path, *reason);
  }
  const std::size_t all = reported.size();
  if (all > 0) {
    services_.theDispatcher.addToItemList(reported);
  }
  return all;
}

std::vector<std::string> UnscannedFiles::giveUp() {
  std::vector<std::string> paths;
  Files given;
  {
    MutexLock hold(lock_);
    for (Files* const list : {&state_.waiting, &state_.suspects}) {
      for (const File& file : *list) {
        state_.bytes -= bytesOf(file.path);
        state_.byPath.erase(file.path);
      }
      given.splice(given.end(), *list);
    }
    count();
  }
  for (File& file : given) {
    tell(file.path, *file.reason);
    paths.push_back(std::move(file.path));
  }
  return paths;
}

void UnscannedFiles::tell(const std::string& path, const std::string& reason) {
  Verdict verdict;
  verdict.kind = Verdict::Kind::notScanned;
  verdict.path = path;
  verdict.reason = reason;
  verdict.line = reportedText(path) + ": Not scanned: " + reason;
  services_.scanObserver.verdictGiven(verdict);
}

}  // namespace quillo
