#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "posix/Clock.h"

namespace quillo {

class ClamConf;

// The folder in which a daemon unpacks what it looks at. Where the daemon can make no folder of its
// own in it, it calls every file clean (ClamAV 1.4), so nothing it says then is to be believed.
// Where there is no room in it, it calls mail and web pages clean that it could not take apart, and
// goes on to do so when there is room again, for it remembers them. One thread.
class ScratchFolder {
 public:
  // What has to be free, and as much again as twice the file, for its parts lie there while it is
  // looked at; of a large one that is no mail most is not copied.
  static constexpr std::uint64_t leastRoom = 8ULL << 20U;
  static constexpr std::uint64_t mostTakenApart = 64ULL << 20U;
  // Looking whether there is still room for a folder costs writes to the disk.
  static constexpr std::chrono::milliseconds betweenAttempts{100};

  // `folder` is the daemon's "TemporaryDirectory". Another account's folder may be closed to this
  // one, which says nothing about the daemon.
  enum class Owner { us, another };
  // Of a daemon that runs for the account of this name; "" is that of whoever starts it.
  static Owner ownerNamed(const std::string& account);
  ScratchFolder(std::string folder, Owner daemon, Clock& clock);
  // That of a daemon with this configuration, clamd.conf(5).
  ScratchFolder(const ClamConf& daemon, Clock& clock);

  // Returns why the daemon could not use it for an answer that was here at `heard`; "" when it
  // could. What it could not do for a moment is noticed `betweenAttempts` later at most, that the
  // folder is gone or closed at once. One look serves for all answers that were here before it.
  // `bytes` is what the file has.
  std::string problem(Clock::Duration heard, std::uint64_t bytes = 0);
  // Returns the same where there is no room for a file that is going to be sent; what was so
  // `betweenAttempts` ago counts.
  std::string lackOfRoom(std::uint64_t bytes);
  // Returns what problem() does without a file in one or a few words, "No such file or directory".
  std::string reason(Clock::Duration heard);

  // Returns the folder of a daemon with this configuration, clamd.conf(5). Pure.
  static std::string of(const ClamConf& daemon);
  // Makes a folder there and removes it. Returns 0 or an errno, that for no room (ENOSPC) also
  // where less than `leastRoom` is free. Any thread.
  static int tryOut(const std::string& folder);

 private:
  int look(Clock::Duration now);
  bool isTooSmallFor(std::uint64_t bytes) const;

  const std::string folder_;
  const Owner daemon_;
  Clock& clock_;
  std::optional<Clock::Duration> looked_;
  int error_ = 0;
  std::optional<Clock::Duration> tried_;
  int errorOfAttempt_ = 0;
  std::uint64_t room_ = 0;  // at the attempt, in bytes
};

}  // namespace quillo
