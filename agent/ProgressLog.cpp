#include "agent/ProgressLog.h"

#include "platform/SystemLog.h"

namespace quillo {

void ProgressLog::noticed(const std::string& path) {
  if (enabled_) {
    log_.log("Noticed: " + path);
  }
}

void ProgressLog::becameStable(const std::string& path) {
  if (enabled_) {
    log_.log("Stable: " + path);
  }
}

void ProgressLog::scanStarted(const std::vector<std::string>& paths) {
  if (enabled_) {
    for (const std::string& path : paths) {
      log_.log("Scanning: " + path);
    }
  }
}

void ProgressLog::scanEnded(const std::vector<std::string>& paths, int status) {
  if (enabled_) {
    for (const std::string& path : paths) {
      log_.log("Scanned (status " + std::to_string(status) + "): " + path);
    }
  }
}

void ProgressLog::abandoned(const std::vector<std::string>& paths) {
  if (enabled_) {
    for (const std::string& path : paths) {
      log_.log("Aborted, not scanned: " + path);
    }
  }
}

}  // namespace quillo
