#pragma once

#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "posix/ThreadStarter.h"

namespace quillo {

// Runs what is started when the test says so.
class LaterThreads final : public ThreadStarter {
 public:
  void detachNewThread(const std::string&, std::function<void()> body) override {
    bodies.push_back(std::move(body));
  }
  void runAll() {
    for (const auto& body : std::exchange(bodies, {})) {
      body();
    }
  }
  std::vector<std::function<void()>> bodies;
};

}  // namespace quillo
