#include "agent/MainThreadRequests.h"

#include <utility>

namespace quillo {

void MainThreadRequests::perform(std::function<void()> request) {
  held_.push_back(std::move(request));
  if (performing_) {
    return;
  }
  struct Performing {
    bool& flag;
    explicit Performing(bool& performing) : flag(performing) { flag = true; }
    ~Performing() { flag = false; }
  } performing(performing_);
  while (!held_.empty()) {
    const std::function<void()> next = std::move(held_.front());
    held_.pop_front();
    next();
  }
}

}  // namespace quillo
