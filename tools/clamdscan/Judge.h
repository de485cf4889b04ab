#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "clamav/ScanLimits.h"
#include "clamav/ScratchFolder.h"
#include "clamav/Verdict.h"
#include "tools/clamdscan/DescriptorScan.h"
#include "tools/clamdscan/Entry.h"
#include "tools/clamdscan/MoveFolder.h"
#include "tools/clamdscan/Report.h"

namespace quillo::wrapper {

// Returns true for what is no threat's name, but says that a limit kept the daemon from looking at
// all of a file.
bool isLimitAlert(std::string_view threat);

// Turns the daemon's answers into the report's lines, and moves what is infected: what is called
// clean was within the limits also at the end, by a daemon that could unpack it, and what is said
// of an infected file's whereabouts is true. One thread.
class Judge {
 public:
  // `unmovable` says why no file is moved although that was asked; "" otherwise.
  Judge(Report& report, MoveFolder& moveFolder, const ScanLimits& limits, ScratchFolder scratch)
      : report_(report), moveFolder_(moveFolder), limits_(limits), scratch_(std::move(scratch)) {}

  void noMoving(const std::string& reason) { unmovable_ = reason; }
  void pass(const Job& job, const Answer& answer);
  // Returns why a file that has just been opened is not to be sent to the daemon: it is no file,
  // larger than what the engine looks at, or what the engine has no room for. Returns nothing
  // otherwise, and `size` is known then.
  std::optional<Answer> objection(Job& job);
  // Returns the same for a file that could not be opened for that errno.
  static Answer unopened(int error);
  // Returns true when the daemon may remember a file as clean that it had no room to look at.
  bool doubtsMemory() const { return doubtsMemory_; }

 private:
  std::optional<Answer> whyNotClean(const Job& job, Clock::Duration heard);
  void notScanned(const Entry& entry, const Answer& why);
  void infected(const Entry& entry, int file, std::string_view threat);
  void moveAway(Verdict& verdict, const Entry& entry, int file);
  bool isTooLarge(const struct stat& status) const;
  Answer tooLarge() const;

  Report& report_;
  MoveFolder& moveFolder_;
  const ScanLimits limits_;
  ScratchFolder scratch_;
  std::string unmovable_;
  bool doubtsMemory_ = false;
  // The file moved last, under the name it had and the name it has: it may have been asked for
  // under other names too.
  std::string movedFrom_;
  std::string movedTo_;
  std::string movedShown_;
};

}  // namespace quillo::wrapper
