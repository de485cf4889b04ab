#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <optional>

#include "companion/overview/RecentCounts.h"

namespace quillo {

class Application;
class ThreadStarter;

// Counts without holding up the window: a long history takes a moment. What it is given outlives
// the threads that it starts. Main thread.
class LaterCounts {
 public:
  using Done = std::function<void(const RecentCounts::Counts& counts)>;

  // `done` is called with each outcome; not once this object is gone.
  LaterCounts(RecentCounts& counts, Application& application, ThreadStarter& threads, Done done);

  // Counts what there is since that moment; while it counts already, once more behind that.
  void begin(std::chrono::system_clock::time_point since);

 private:
  void end(const RecentCounts::Counts& counts);

  // Constant after construction.
  RecentCounts& counts_;
  Application& application_;
  ThreadStarter& threads_;
  const Done done_;
  const std::shared_ptr<const bool> life_ = std::make_shared<bool>(true);

  bool isCounting_ = false;
  std::optional<std::chrono::system_clock::time_point> next_;
};

}  // namespace quillo
