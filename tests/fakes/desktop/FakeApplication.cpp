#include <chrono>
#include <thread>
#include <utility>

#include "tests/fakes/desktop/FakeInterface.h"

namespace quillo {

void FakeApplication::performOnMainThread(std::function<void()> action) {
  {
    std::lock_guard hold(mutex_);
    if (keepsPosted) {
      posted_.push_back(std::move(action));
      changed_.notify_all();
      return;
    }
  }
  action();
}

void FakeApplication::performPosted() {
  std::vector<std::function<void()>> posted;
  {
    std::lock_guard hold(mutex_);
    posted.swap(posted_);
  }
  for (const auto& action : posted) {
    action();
  }
}

bool FakeApplication::waitUntilPosted() {
  std::unique_lock hold(mutex_);
  return changed_.wait_for(hold, std::chrono::seconds(10), [this] { return !posted_.empty(); });
}

void FakeApplication::waitKeepingDesktopAlive(const std::function<void()>& wait) {
  ++waits;
  // Other threads simply wait.
  if (std::this_thread::get_id() == mainThread_ && duringWait) {
    duringWait();
  }
  wait();
}

void FakeApplication::terminate() {
  ++terminations;
  if (onTerminate) {
    onTerminate();
  }
}

void FakeApplication::exit(int status) { exits.push_back(status); }

int FakeApplication::transformToForegroundApplication() {
  ++transformations;
  return transformResult;
}

int FakeApplication::activateIgnoringOtherApps() {
  ++activations;
  return activateResult;
}

void FakeApplication::setApplicationIconImage(const ImageRef& image) {
  std::lock_guard hold(mutex_);
  iconImages_.push_back(nameOf(image));
}

std::vector<std::string> FakeApplication::iconImages() {
  std::lock_guard hold(mutex_);
  return iconImages_;
}

void FakeThreads::detachNewThread(const std::string& name, std::function<void()> body) {
  if (name.starts_with("clamd")) {
    body();
    return;
  }
  std::lock_guard hold(mutex_);
  threads_.emplace_back(name, std::move(body));
}

std::vector<std::string> FakeThreads::names() {
  std::lock_guard hold(mutex_);
  std::vector<std::string> names;
  for (const auto& thread : threads_) {
    names.push_back(thread.first);
  }
  return names;
}

void FakeThreads::run(const std::string& name) {
  std::function<void()> body;
  {
    std::lock_guard hold(mutex_);
    for (const auto& thread : threads_) {
      if (thread.first == name) {
        body = thread.second;
      }
    }
  }
  if (body) {
    body();
  }
}

}  // namespace quillo
