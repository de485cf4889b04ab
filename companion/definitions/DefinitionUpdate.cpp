#include "companion/definitions/DefinitionUpdate.h"

#include <string>
#include <system_error>
#include <utility>

#include "platform/Application.h"
#include "posix/FileFacts.h"
#include "posix/Mutex.h"
#include "posix/PlatformException.h"
#include "posix/ThreadStarter.h"
#include "settings/TypedPreferences.h"
#include "settings/WatchSettings.h"

namespace quillo {
namespace {

// What is kept of the updater's output: its last words decide.
constexpr std::size_t keptOutput = std::size_t{64} * 1024;

void keepEnd(std::string& text) {
  if (text.size() > keptOutput) {
    text.erase(0, text.size() - keptOutput / 2);
  }
}

// Of a bar that is drawn, not of every byte.
bool isWorthShowing(const std::optional<UpdateProgress>& shown, const UpdateProgress& now) {
  const auto percent = [](const UpdateProgress& progress) {
    return progress.all == 0 ? 0 : progress.done * 100 / progress.all;
  };
  return !shown || shown->all != now.all || percent(*shown) != percent(now);
}

}  // namespace

// One run, shared by its thread and the update, either of which may be the first to go.
struct DefinitionUpdate::Run {
  explicit Run(Application& where) : application(where) {}

  void say(const State& state) {
    application.performOnMainThread([weak = weakSelf, state] {
      const auto self = weak.lock();
      if (self && self->update) {
        self->update->become(state);
      }
    });
  }
  void end() {
    MutexLock hold(mutex);
    isEnded = true;
    if (child) {
      child->terminate();
    }
  }

  // Constant once the thread runs.
  Application& application;
  LaunchRequest request;
  bool exit1MeansUpdated = false;
  std::weak_ptr<Run> weakSelf;
  // The main thread's own.
  DefinitionUpdate* update = nullptr;

  Mutex mutex;
  bool isEnded QUILLO_GUARDED_BY(mutex) = false;
  ChildProcess* child QUILLO_GUARDED_BY(mutex) = nullptr;
};

// While it lives, whoever ends the run reaches the child.
class DefinitionUpdate::Reach {
 public:
  Reach(Run& run, ChildProcess& child) : run_(run) {
    MutexLock hold(run_.mutex);
    run_.child = &child;
    if (run_.isEnded) {
      child.terminate();
    }
  }
  ~Reach() {
    MutexLock hold(run_.mutex);
    run_.child = nullptr;
  }
  Reach(const Reach&) = delete;
  Reach& operator=(const Reach&) = delete;

 private:
  Run& run_;
};

DefinitionUpdate::DefinitionUpdate(const DefinitionUpdateServices& services)
    : services_(services) {}

DefinitionUpdate::~DefinitionUpdate() {
  if (run_) {
    run_->update = nullptr;
    run_->end();
  }
}

void DefinitionUpdate::start() {
  if (state_.runs) {
    return;
  }
  WatchSettings settings = withEngine({}, services_.preferences);
  settings.needsExit1FreshclamFlag = services_.preferences.value(key::needsExit1FreshclamFlag);
  auto run = std::make_shared<Run>(services_.application);
  run->weakSelf = run;
  run->update = this;
  run->request = definitionUpdateRequest(settings);
  run->request.arguments.emplace_back("--show-progress");
  run->request.output = LaunchRequest::Output::joinedPipe;
  run->exit1MeansUpdated = settings.needsExit1FreshclamFlag;
  if (!isReadableFile(run->request.launchPath)) {
    become({false, std::nullopt, UpdateResult::noEngine});
    return;
  }
  run_ = run;
  become({true, std::nullopt, std::nullopt});
  try {
    services_.threads.detachNewThread("definitions", [run] { runToEnd(run); });
  } catch (const std::system_error&) {
    become({false, std::nullopt, UpdateResult::failed});
  }
}

void DefinitionUpdate::runToEnd(const std::shared_ptr<Run>& run) {
  std::string output;
  std::optional<UpdateProgress> shown;
  const auto read = [&](std::string_view chunk) {
    output += chunk;
    keepEnd(output);
    const auto progress = updateProgressIn(output);
    if (progress && isWorthShowing(shown, *progress)) {
      shown = progress;
      run->say({true, progress, std::nullopt});
    }
    return true;
  };
  UpdateResult result = UpdateResult::noEngine;
  try {
    ChildProcess child(run->request);
    const Reach reach(*run, child);
    const int status = child.waitUntilExit(read);
    result = updateResultOf(status, run->exit1MeansUpdated, output);
  } catch (const PlatformException& failure) {
    const bool isMissing = failure.kind() == PlatformException::Kind::cannotLaunch;
    result = isMissing ? UpdateResult::noEngine : UpdateResult::failed;
  } catch (...) {
    run->say({false, std::nullopt, UpdateResult::failed});
    throw;
  }
  run->say({false, std::nullopt, result});
}

void DefinitionUpdate::become(const State& state) {
  if (state == state_) {
    return;
  }
  state_ = state;
  for (const auto& observer : std::vector(observers_)) {
    observer();
  }
}

}  // namespace quillo
