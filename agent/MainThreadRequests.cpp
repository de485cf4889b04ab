#include "agent/MainThreadRequests.h"

#include <exception>
#include <string>
#include <utility>

#include "platform/Application.h"
#include "platform/SystemLog.h"

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
    attempt(next);
  }
}

void MainThreadRequests::attempt(const std::function<void()>& request) {
  const auto failed = [this](const char* reason) {
    log_.log(std::string("A request failed: ") + reason);
    application_.beep();
  };
  try {
    request();
  } catch (const std::exception& failure) {
    failed(failure.what());
  } catch (...) {
    failed("unknown failure");
  }
}

}  // namespace quillo
