#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

#include "helper/Events.h"
#include "helper/LineWriter.h"
#include "helper/OwnLog.h"
#include "helper/Reporter.h"
#include "helper/Resolver.h"
#include "helper/Sight.h"

namespace quillo::helper {

// Reads the events of the kernel and prints what they name, until nobody reads it any longer.
class EventLoop {
 public:
  // `marker` becomes readable when the marking process has ended.
  EventLoop(const Groups& groups, const Parent& parent, OwnLog log, int marker);

  // Returns when the parent has ended. Throws ReaderGone when standard output is closed, EventsLost
  // when the kernel dropped events, and std::runtime_error when the marking process has ended.
  void run();

 private:
  bool isOver(short parent, short output) const;
  void reportAll();
  bool isMarkDue() const;
  void mark();
  bool isOwn(pid_t process) const;
  void readNamed();
  void readPlain();
  void reportNamed(std::string_view buffer);
  void reportPlain(std::string_view buffer);
  void noteLoss();
  std::string_view readFrom(const UniqueFd& group, std::size_t most);

  const Groups& groups_;
  const Parent& parent_;
  const pid_t self_;
  const int marker_;
  OwnLog log_;
  FileSystems fileSystems_;
  Resolver resolver_;
  Sight sight_;
  LineWriter lines_;
  Reporter reporter_;
  std::vector<char> buffer_;
  bool hasLost_ = false;
  // Seconds of CLOCK_MONOTONIC, and whether anything happened since.
  std::int64_t markedAt_ = 0;
  bool hasHeard_ = false;
};

}  // namespace quillo::helper
