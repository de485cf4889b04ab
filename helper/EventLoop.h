#pragma once

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

  // Returns when the parent has ended. Throws ReaderGone when standard output is closed, and
  // std::runtime_error when the marking process has ended.
  void run();

 private:
  bool isOver(short parent, short output) const;
  void reportAll();
  bool isOwn(pid_t process) const;
  void readNamed();
  void readPlain();
  void reportNamed(std::string_view buffer);
  void reportPlain(std::string_view buffer);
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
};

}  // namespace quillo::helper
