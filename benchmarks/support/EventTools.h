#pragma once

#include "benchmarks/support/Watcher.h"

namespace bench {

// Tools that only name what happens, and scan nothing.
class EventTool final : public Watcher {
 public:
  enum class Tool { inotifywait, fatrace };

  // `scratch`: a folder for its log.
  EventTool(Tool tool, std::string folder, const std::string& scratch);

  std::string name() const override;
  void start() override;
  void stop() override;
  std::vector<pid_t> processes() const override { return {pid_}; }
  std::string log() const override { return log_; }
  SightingLog::Lines lines() const override { return SightingLog::Lines::paths; }
  bool namesCleanFiles() const override { return true; }
  Seconds patience() const override { return Seconds(1); }

 private:
  const Tool tool_;
  const std::string folder_;
  const std::string log_;
  pid_t pid_ = -1;
};

}  // namespace bench
