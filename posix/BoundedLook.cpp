#include "posix/BoundedLook.h"

#include <system_error>
#include <thread>
#include <utility>

namespace quillo {

BoundedLooks::Answer BoundedLooks::lookAt(const std::string& path,
                                          std::chrono::milliseconds patience) {
  const Pending answer = ask(path);
  if (answer.wait_for(patience) != std::future_status::ready) {
    return {std::nullopt, true};
  }
  MutexLock hold(lock_);
  pending_.erase(path);
  return {answer.get(), false};
}

BoundedLooks::Pending BoundedLooks::ask(const std::string& path) {
  MutexLock hold(lock_);
  Pending& pending = pending_[path];
  if (pending.valid()) {
    return pending;
  }
  std::packaged_task<std::optional<FileFacts>()> look(
      [question = question_, path] { return question(path); });
  pending = look.get_future().share();
  try {
    std::thread(std::move(look)).detach();
  } catch (const std::system_error&) {
    std::promise<std::optional<FileFacts>> answer;
    answer.set_value(question_(path));
    pending = answer.get_future().share();
  }
  return pending;
}

}  // namespace quillo
