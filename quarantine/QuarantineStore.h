#pragma once

#include <functional>
#include <string>
#include <vector>

#include "posix/FileIdentity.h"
#include "quarantine/QuarantineRecord.h"

namespace quillo {

class Clock;

// One file that lies in the quarantine.
struct QuarantinedFile {
  enum class Origin {
    known,       // its record is of this very file
    unverified,  // ... of one of its size; what it holds is compared before the record is believed
    unknown,     // no record
    damaged      // its record cannot be read, or is of another file
  };

  std::string name;
  FileIdentity identity;
  Origin origin = Origin::unknown;
  QuarantineRecord record;  // of `known` and `unverified`

  bool hasRecord() const { return origin == Origin::known || origin == Origin::unverified; }
  bool knowsOrigin() const { return hasRecord() && !record.origin.empty(); }
  // Returns true when a check said so of this very file, with newer definitions than found it.
  bool isCleanByNow() const { return origin == Origin::known && record.isCleanByNow(); }
  // Returns what the last check came to, as far as it counts.
  QuarantineRecord::Check check() const {
    const bool isVoid = record.check == QuarantineRecord::Check::clean && !isCleanByNow();
    return isVoid ? QuarantineRecord::Check::never : record.check;
  }
  // Returns the name that it had, or has where that is not known.
  std::string formerName() const;
};

// What became of one file, and why it was not what was asked for.
struct QuarantineOutcome {
  enum class Reason {
    done,
    gone,                 // it does not lie in the quarantine any more
    changed,              // it is not the file that was listed, or recorded
    originUnknown,        // nobody knows where it was
    recordDamaged,        // ... because its record cannot be read
    targetExists,         // something of its name lies there
    targetIsLink,         // ... a link
    targetFolderMissing,  // the folder that it is to go to is gone
    targetNoFolder,       // ... is no folder
    throughLink,          // a link lies on the way to where it was
    intoQuarantine,       // it would stay in the quarantine folder
    readOnly,
    full,
    forbidden,
    notAllowed,      // it would be taken again at once: that it is allowed could not be kept
    copyDiffers,     // the copy on the other disk is not what was copied, and was taken away
    folderUnusable,  // the quarantine folder
    failed
  };
  Reason reason = Reason::done;
  int error = 0;                  // errno(3), where a call failed
  std::string path;               // where it lies now, or was to lie
  std::string detail = {};        // of `notAllowed`: why
  bool areAttributesKept = true;  // false: it is there, but with another mode or time

  bool isDone() const { return reason == Reason::done; }
  // Returns what an errno means where files are moved.
  static Reason reasonOf(int error);
};

// The quarantine folder, as its user manages it: another process may move files into it meanwhile.
// Whatever ends the process, a file lies whole in at least one of both places and is known there.
// One thread.
class QuarantineStore {
 public:
  // Takes note that a file is not to be taken again: the path that it is about to have, what it is
  // like then, and the hash of its contents. Returns why that cannot be kept; "" when it is.
  using Allow = std::function<std::string(const std::string& path, const FileIdentity&,
                                          const std::string& hash)>;
  enum class FolderProblem {
    none,
    notChosen,
    missing,
    noFolder,
    somebodyElses,
    othersMayWrite,
    forbidden,
    failed
  };
  struct Listing {
    FolderProblem problem = FolderProblem::none;
    int error = 0;
    int recordsError = 0;                // why no record can be read: somebody else's, or no folder
    std::vector<QuarantinedFile> files;  // the latest first
  };
  struct Target {
    std::string folder;       // "": where it was
    bool makeFolder = false;  // where it was is made anew if it is gone
  };

  // `folder` as in the preference; "" for none.
  QuarantineStore(std::string folder, Clock& clock, Allow allow);

  const std::string& folder() const { return folder_; }
  std::string pathOf(const QuarantinedFile& file) const;
  // Returns all that lies there, and ends what a crash left half done.
  Listing list() const;
  // Moves it back, under the name, with the mode and times that it had, over nothing. To another
  // file system it is copied, compared, and then removed.
  QuarantineOutcome restore(const QuarantinedFile& file, const Target& target) const;
  QuarantineOutcome remove(const QuarantinedFile& file) const;
  // Has this file not be taken again when its user puts it back by other means.
  QuarantineOutcome allow(const QuarantinedFile& file) const;
  // Notes what a check came to, made with definitions of that time; not in a damaged record, nor in
  // one of other contents, which is left as it is.
  QuarantineOutcome noteCheck(const QuarantinedFile& file, QuarantineRecord::Check check,
                              const std::string& threat, QuarantineRecord::Time with) const;

 private:
  // Constant after construction.
  const std::string folder_;
  Clock& clock_;
  const Allow allow_;
};

}  // namespace quillo
