#pragma once

#include <functional>
#include <memory>
#include <string>
#include <utility>

namespace quillo {

// Performs what Qt asks of the agent, or the agent of Qt: a choice in the menu, a button, a
// message, something posted. An exception that got into Qt's loops would end the process; here it
// ends in a line and a beep. Main thread.
void guarded(const std::function<void()>& action) noexcept;

// Sets what is called with the lines of guarded(), instead of standard error; an empty function for
// nothing any more. Main thread.
void setGuardReport(std::function<void(const std::string& problem)> report);

// Has an action run on the main thread and returns at once. Any thread.
using PostToMain = std::function<void(std::function<void()> action)>;

// Has its owner's actions run on the main thread. Those that have not run when the owner, of which
// it is a member, is destroyed there are dropped.
class PostWhileAlive {
 public:
  explicit PostWhileAlive(PostToMain post) : post_(std::move(post)) {}

  // Any thread.
  void operator()(std::function<void()> action) const {
    post_([action = std::move(action), life = std::weak_ptr<const bool>(life_)] {
      if (!life.expired()) {
        action();
      }
    });
  }

 private:
  const PostToMain post_;
  const std::shared_ptr<const bool> life_ = std::make_shared<bool>(true);
};

}  // namespace quillo
