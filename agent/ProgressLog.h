#pragma once

#include <atomic>
#include <string>
#include <vector>

#include "scanning/PipelineObserver.h"

namespace quillo {

class SystemLog;

// Logs every station that a file passes, while the user wants to know. Any thread.
class ProgressLog final : public PipelineObserver {
 public:
  explicit ProgressLog(SystemLog& log) : log_(log) {}

  void setEnabled(bool enabled) { enabled_ = enabled; }

  void noticed(const std::string& path) override;
  void becameStable(const std::string& path) override;
  void scanStarted(const std::vector<std::string>& paths) override;
  void scanEnded(const std::vector<std::string>& paths, int status) override;
  void abandoned(const std::vector<std::string>& paths) override;

 private:
  SystemLog& log_;
  std::atomic<bool> enabled_{false};
};

}  // namespace quillo
