#pragma once

#include <string>

#include "posix/UniqueFd.h"
#include "quarantine/OpenQuarantine.h"

namespace quillo {

// The way of one file out of the quarantine, once. One thread.
class Restoration {
 public:
  Restoration(OpenQuarantine& quarantine, const QuarantinedFile& file, Clock& clock,
              const QuarantineStore::Allow& allow)
      : quarantine_(quarantine), file_(file), clock_(clock), allow_(allow) {}

  QuarantineOutcome perform(const QuarantineStore::Target& target);

 private:
  bool begin(const QuarantineStore::Target& target);
  bool takeRecord();
  bool findTarget(const QuarantineStore::Target& target);
  bool isFree();
  void moveHome();
  void copyHome();
  int fillCopy(int copy);
  bool publish(UniqueFd& copy, const std::string& secret);
  bool allow(const FileIdentity& restored);
  int noteLeaving(const FileIdentity& restored);
  bool stay();
  bool isStillIt() const;
  int setRecordAside();
  void giveTimesBack(int file);
  void giveModeBack(int file);
  bool fail(QuarantineOutcome::Reason reason, int error = 0);

  OpenQuarantine& quarantine_;
  const QuarantinedFile& file_;
  Clock& clock_;
  const QuarantineStore::Allow& allow_;
  UniqueFd opened_;
  QuarantineRecord record_;
  bool isRecordAnothers_ = false;  // what bears its name is not of this file, or not readable
  UniqueFd folder_;                // the one that it goes to
  std::string name_;               // there
  QuarantineOutcome outcome_;
};

// Returns the record of a file in the quarantine, or a new one, of unknown origin, that keeps what
// the open file is like.
QuarantineRecord recordFor(const QuarantinedFile& file, int opened);
// Has the disk keep the name under which an open file lies in an open folder. Returns 0 or an
// errno.
int syncEntry(int folder, int file);
// Gives an open file the mode that it had before it was moved; the special bits only if it belongs
// to whom it belonged to. Returns 0 or an errno.
int restoreMode(int file, const QuarantineRecord& record);

}  // namespace quillo
