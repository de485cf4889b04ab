#pragma once

#include <chrono>
#include <functional>
#include <future>
#include <map>
#include <optional>
#include <string>

#include "posix/FileFacts.h"
#include "posix/Mutex.h"

namespace quillo {

// Looks at what paths lead to with limited patience: a file system whose server has gone silent may
// never answer. Each path that does not keeps a thread, however often it is asked for. Any thread.
class BoundedLooks {
 public:
  using Question = std::function<std::optional<FileFacts>(const std::string& path)>;
  struct Answer {
    std::optional<FileFacts> facts;  // nothing where nothing is there, or while it is silent
    bool isSilent = false;
  };

  explicit BoundedLooks(Question question = fileFacts) : question_(std::move(question)) {}

  // Waits for the answer for that long; a later call may get it. Without a thread to spare it waits
  // as long as it takes.
  Answer lookAt(const std::string& path, std::chrono::milliseconds patience);

 private:
  using Pending = std::shared_future<std::optional<FileFacts>>;
  Pending ask(const std::string& path);

  const Question question_;
  Mutex lock_;
  std::map<std::string, Pending> pending_ QUILLO_GUARDED_BY(lock_);
};

}  // namespace quillo
