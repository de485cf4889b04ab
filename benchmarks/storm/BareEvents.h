#pragma once

#include <string>
#include <thread>

namespace bench {

// As long as it lives, the kernel reports everything that happens in the file system of a folder,
// as it does to the helper (fanotify(7)), and the reports are read and thrown away: what watching
// costs a writer at the least. Needs root; throws std::runtime_error.
class BareEvents {
 public:
  explicit BareEvents(const std::string& folder);
  ~BareEvents();
  BareEvents(const BareEvents&) = delete;
  BareEvents& operator=(const BareEvents&) = delete;

 private:
  void throwAway() const;

  const int events_;
  const int end_;
  std::thread reader_;
};

}  // namespace bench
