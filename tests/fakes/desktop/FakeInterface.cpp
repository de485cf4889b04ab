#include "tests/fakes/desktop/FakeInterface.h"

#include <thread>
#include <utility>

namespace quillo {

FakeInterfaceLoader::~FakeInterfaceLoader() {
  for (const auto& name : loaded_) {
    for (const auto& dialog : name.second) {
      dialog->close();
    }
  }
}

std::shared_ptr<ButtonDialog> FakeInterfaceLoader::load(const std::string& name) {
  if (broken_) {
    return nullptr;
  }
  std::lock_guard hold(mutex_);
  return loaded_[name].emplace_back(std::make_shared<FakeDialog>());
}

std::vector<std::shared_ptr<FakeDialog>> FakeInterfaceLoader::loaded(const std::string& name) {
  std::lock_guard hold(mutex_);
  return loaded_[name];
}

void FakeMenu::insertItem(std::size_t index, const std::string& title,
                          std::function<void()> action) {
  std::lock_guard hold(mutex_);
  items_.emplace(items_.begin() + static_cast<std::ptrdiff_t>(index), title, std::move(action));
}

void FakeMenu::removeAllItems() {
  std::lock_guard hold(mutex_);
  items_.clear();
}

std::vector<std::string> FakeMenu::titles() {
  std::lock_guard hold(mutex_);
  std::vector<std::string> titles;
  for (const auto& item : items_) {
    titles.push_back(item.first);
  }
  return titles;
}

void FakeMenu::choose(const std::string& title) {
  std::function<void()> action;
  {
    std::lock_guard hold(mutex_);
    for (const auto& item : items_) {
      if (item.first == title) {
        action = item.second;
      }
    }
  }
  if (action) {
    action();
  }
}

std::string nameOf(const ImageRef& image) {
  const auto* fake = dynamic_cast<const FakeImage*>(image.get());
  return fake ? fake->name : "";
}

ImageRef FakeImageLoader::imageNamed(const std::string& name) {
  loaded.add(name);
  std::lock_guard hold(mutex_);
  ImageRef& image = images_[name];
  if (!image) {
    image = std::make_shared<FakeImage>(name);
  }
  return image;
}

void FakeApplication::performOnMainThread(std::function<void()> action) {
  if (keepsPosted) {
    posted_.add(std::move(action));
  } else {
    action();
  }
}

void FakeApplication::performPosted() {
  for (const auto& action : posted_.take()) {
    action();
  }
}

void FakeApplication::waitKeepingDesktopAlive(const std::function<void()>& wait) {
  ++waits;
  const auto& during = std::this_thread::get_id() == mainThread_ ? duringWait : duringWaitElsewhere;
  if (during) {
    during();
  }
  wait();
}

void FakeApplication::terminate() {
  ++terminations;
  if (onTerminate) {
    onTerminate();
  }
}

int FakeApplication::transformToForegroundApplication() {
  ++transformations;
  return transformResult;
}

int FakeApplication::activateIgnoringOtherApps() {
  ++activations;
  return activateResult;
}

void FakeThreads::detachNewThread(const std::string& name, std::function<void()> body) {
  if (name.starts_with("clamd")) {
    body();
  } else {
    threads_.add({name, std::move(body)});
  }
}

std::vector<std::string> FakeThreads::names() {
  std::vector<std::string> names;
  for (const auto& thread : threads_()) {
    names.push_back(thread.first);
  }
  return names;
}

void FakeThreads::run(const std::string& name) {
  std::function<void()> body;
  for (const auto& thread : threads_()) {
    if (thread.first == name) {
      body = thread.second;
    }
  }
  if (body) {
    body();
  }
}

}  // namespace quillo
