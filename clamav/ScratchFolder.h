#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "posix/Clock.h"

namespace quillo {

class ClamConf;

// The folder in which a daemon unpacks what it looks at. Where the daemon can make no folder of its
// own in it, it calls every file clean (ClamAV 1.4), so nothing it says then is to be believed.
// One thread.
class ScratchFolder {
 public:
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
  std::string problem(Clock::Duration heard);
  // The same in one or a few words, "No such file or directory".
  std::string reason(Clock::Duration heard);

  // Returns the folder of a daemon with this configuration, clamd.conf(5). Pure.
  static std::string of(const ClamConf& daemon);
  // Makes a folder there and removes it. Returns 0 or an errno. Any thread.
  static int tryOut(const std::string& folder);

 private:
  int look(Clock::Duration now);

  const std::string folder_;
  const Owner daemon_;
  Clock& clock_;
  std::optional<Clock::Duration> looked_;
  int error_ = 0;
  std::optional<Clock::Duration> tried_;
  int errorOfAttempt_ = 0;
};

}  // namespace quillo
