#include "quarantine/Restoration.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <limits>
#include <utility>

#include "posix/Clock.h"
#include "posix/FileMoving.h"
#include "posix/PathOpening.h"
#include "posix/RealPath.h"
#include "posix/Text.h"

namespace quillo {
namespace {

using Reason = QuarantineOutcome::Reason;

constexpr mode_t specialBits = 07000;
constexpr std::int64_t second = 1000000000;
constexpr std::int64_t anySize = std::numeric_limits<std::int64_t>::max();

timespec timeOf(std::int64_t nanoseconds) {
  std::int64_t seconds = nanoseconds / second;
  std::int64_t rest = nanoseconds % second;
  if (rest < 0) {
    rest += second;
    --seconds;
  }
  return {seconds, rest};
}

std::int64_t nanoseconds(const timespec& time) { return time.tv_sec * second + time.tv_nsec; }

// Makes what is missing of a folder, level by level and through no link.
UniqueFd makeWithoutLinks(const std::string& path) {
  UniqueFd there = openWithoutLinks(path, O_PATH | O_DIRECTORY);
  if (there || errno != ENOENT || path == "/" || path.empty()) {
    return there;
  }
  const UniqueFd above = makeWithoutLinks(deletingLastPathComponent(path));
  if (!above) {
    return UniqueFd();
  }
  const std::string name(lastPathComponent(path));
  if (mkdirat(above.get(), name.c_str(), 0700) != 0 && errno != EEXIST) {
    return UniqueFd();
  }
  return UniqueFd(openat(above.get(), name.c_str(), O_PATH | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
}

bool isSame(int folder, int other) {
  struct stat here = {};
  struct stat there = {};
  return fstat(folder, &here) == 0 && fstat(other, &there) == 0 && here.st_dev == there.st_dev &&
         here.st_ino == there.st_ino;
}

// A new file in a folder that nobody else sees until it has a name; where the file system has no
// such files, one with a name that nobody knows. Its name goes to `secret`.
UniqueFd newFile(int folder, std::string& secret) {
  UniqueFd file(openat(folder, ".", O_TMPFILE | O_RDWR | O_CLOEXEC, 0600));
  if (file || errno == ENOSPC || errno == EDQUOT || errno == EACCES || errno == EROFS) {
    return file;
  }
  secret = secretName();
  return UniqueFd(
      openat(folder, secret.c_str(), O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600));
}

}  // namespace

int syncEntry(int folder, int file) {
  const UniqueFd readable(openat(folder, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  // Not every file system has that of a folder, and not every folder can be read.
  return (readable && fsync(readable.get()) == 0) || syncfs(file) == 0 ? 0 : errno;
}

QuarantineRecord recordFor(const QuarantinedFile& file, int opened) {
  if (file.hasRecord()) {
    return file.record;
  }
  QuarantineRecord record;
  struct stat status = {};
  if (fstat(opened, &status) == 0) {
    record.mode = status.st_mode & 07777U;
    record.owner = status.st_uid;
    record.accessed = nanoseconds(status.st_atim);
    record.changed = nanoseconds(status.st_mtim);
  }
  record.name = file.name;
  record.identity = file.identity;
  return record;
}

int restoreMode(int file, const QuarantineRecord& record) {
  struct stat status = {};
  if (fstat(file, &status) != 0) {
    return errno;
  }
  const mode_t wanted = status.st_uid == record.owner ? record.mode : record.mode & ~specialBits;
  return (status.st_mode & 07777U) == wanted || fchmod(file, wanted) == 0 ? 0 : errno;
}

bool Restoration::fail(Reason reason, int error) {
  outcome_.reason = reason;
  outcome_.error = error;
  return false;
}

QuarantineOutcome Restoration::perform(const QuarantineStore::Target& target) {
  if (begin(target)) {
    moveHome();
  }
  return outcome_;
}

bool Restoration::begin(const QuarantineStore::Target& target) {
  opened_ = quarantine_.openListed(file_, outcome_);
  return opened_ && takeRecord() && findTarget(target) && isFree() &&
         quarantine_.beginWriting(clock_, outcome_);
}

// What there is now counts, not what there was when the file was listed. A record that is of other
// contents, or does not say of which, tells nothing about a file that is not the one recorded.
bool Restoration::takeRecord() {
  auto now = quarantine_.fileNamed(file_.name);
  if (!now) {
    return fail(Reason::gone);
  }
  record_ = recordFor(*now, opened_.get());
  if (now->origin != QuarantinedFile::Origin::known || record_.hash.empty()) {
    const auto hash = sha256OfFile(opened_.get(), anySize);
    if (!hash) {
      return fail(Reason::failed, errno);
    }
    if (now->origin == QuarantinedFile::Origin::unverified && *hash != record_.hash) {
      now->origin = QuarantinedFile::Origin::unknown;
      record_ = recordFor(*now, opened_.get());
      isRecordAnothers_ = true;
    }
    record_.hash = *hash;
  }
  record_.identity = now->identity;
  if (now->origin == QuarantinedFile::Origin::damaged) {
    isRecordAnothers_ = true;
    outcome_.reason = Reason::recordDamaged;
  } else if (record_.origin.empty()) {
    outcome_.reason = Reason::originUnknown;
  }
  return true;
}

bool Restoration::findTarget(const QuarantineStore::Target& target) {
  const bool goesElsewhere = !target.folder.empty();
  if (!goesElsewhere && record_.origin.empty()) {
    return false;
  }
  outcome_.reason = Reason::done;
  name_ = record_.origin.empty() ? record_.name : std::string(lastPathComponent(record_.origin));
  // The folder that was chosen may well be reached through a link; where the file was, none led.
  const std::string folder =
      goesElsewhere ? RealPath(target.folder).path() : deletingLastPathComponent(record_.origin);
  outcome_.path = folder + (folder == "/" ? "" : "/") + name_;
  folder_ =
      target.makeFolder ? makeWithoutLinks(folder) : openWithoutLinks(folder, O_PATH | O_DIRECTORY);
  if (!folder_) {
    const int error = errno;
    return fail(error == ENOENT    ? Reason::targetFolderMissing
                : error == ENOTDIR ? Reason::targetNoFolder
                : error == ELOOP   ? Reason::throughLink
                                   : QuarantineOutcome::reasonOf(error),
                error);
  }
  const bool isInside =
      isSame(folder_.get(), quarantine_.folder.get()) ||
      (quarantine_.records.isOpen() && isSame(folder_.get(), quarantine_.records.descriptor()));
  return !isInside || fail(Reason::intoQuarantine);
}

bool Restoration::isFree() {
  struct stat there = {};
  if (fstatat(folder_.get(), name_.c_str(), &there, AT_SYMLINK_NOFOLLOW) == 0) {
    return fail(S_ISLNK(there.st_mode) ? Reason::targetIsLink : Reason::targetExists, EEXIST);
  }
  return errno == ENOENT || fail(QuarantineOutcome::reasonOf(errno), errno);
}

bool Restoration::allow(const FileIdentity& restored) {
  outcome_.detail = allow_(outcome_.path, restored, record_.hash);
  return outcome_.detail.empty() || fail(Reason::notAllowed);
}

int Restoration::noteLeaving(const FileIdentity& restored) {
  record_.state = QuarantineRecord::State::restoring;
  record_.target = outcome_.path;
  record_.restored = restored;
  const int error = setRecordAside();
  return error == 0 ? quarantine_.records.replace(record_) : error;
}

// Once, and only where the one that is written would take its place.
int Restoration::setRecordAside() {
  const int error = isRecordAnothers_ ? quarantine_.records.setAside(record_.name) : 0;
  isRecordAnothers_ = isRecordAnothers_ && error != 0;
  return error;
}

void Restoration::giveTimesBack(int file) {
  const timespec times[] = {timeOf(record_.accessed), timeOf(record_.changed)};
  if (futimens(file, times) != 0) {
    outcome_.areAttributesKept = false;
    outcome_.error = errno;
  }
}

void Restoration::giveModeBack(int file) {
  if (const int error = restoreMode(file, record_); error != 0) {
    outcome_.areAttributesKept = false;
    outcome_.error = error;
  }
}

// Has its record say again that it lies where it lay. Returns false when it does not.
bool Restoration::stay() {
  record_.state = QuarantineRecord::State::moved;
  int error = 0;
  const auto now = FileIdentity::in(quarantine_.folder.get(), record_.name, error);
  if (now) {
    const auto opened = FileIdentity::of(opened_.get());
    // Of another file that bears its name by now the record is not to speak.
    if (opened && isSameInFolder(*now, *opened)) {
      record_.identity = *now;
    }
    if (!quarantine_.records.bringBack(record_.name)) {
      quarantine_.records.replace(record_);
    }
  } else if (error == ENOENT) {
    quarantine_.records.remove(record_.name);
  }
  return error != ENOENT;
}

// Whether its name still leads to the file that was opened: what goes, goes by its name.
bool Restoration::isStillIt() const {
  const auto named = FileIdentity::in(quarantine_.folder.get(), record_.name);
  const auto opened = FileIdentity::of(opened_.get());
  return named && opened && isSameInFolder(*named, *opened);
}

// Its time first, so that it arrives as it is to stay; the right to run it last.
void Restoration::moveHome() {
  FileIdentity restored = record_.identity;
  restored.changed = record_.changed;
  if (const int error = noteLeaving(restored); error != 0) {
    quarantine_.records.bringBack(record_.name);
    fail(QuarantineOutcome::reasonOf(error), error);
    return;
  }
  giveTimesBack(opened_.get());
  if (const auto now = FileIdentity::of(opened_.get())) {
    record_.identity = *now;
  }
  if (!(allow(record_.identity) && (isStillIt() || fail(Reason::changed)))) {
    stay();
    return;
  }
  const int error =
      renameWithoutReplacing(quarantine_.folder.get(), record_.name, folder_.get(), name_);
  if (error == EXDEV) {
    copyHome();
    return;
  }
  if (error != 0) {
    const bool isHere = stay();
    fail(error != ENOENT ? QuarantineOutcome::reasonOf(error)
         : isHere        ? Reason::targetFolderMissing
                         : Reason::gone,
         error);
    return;
  }
  giveModeBack(opened_.get());
  quarantine_.records.remove(record_.name);
}

// Fills it with what the file holds, and compares what has come to lie there.
int Restoration::fillCopy(int copy) {
  if (const int error = copyContents(opened_.get(), copy); error != 0) {
    return error;
  }
  giveModeBack(copy);
  giveTimesBack(copy);
  if (fsync(copy) != 0) {
    return errno;
  }
  const auto hash = sha256OfFile(copy, anySize);
  return !hash ? EIO : *hash == record_.hash ? 0 : EBADMSG;
}

// Returns true when the copy bears the name that it is to have.
bool Restoration::publish(UniqueFd& copy, const std::string& secret) {
  const auto identity = FileIdentity::of(copy.get());
  int error = identity ? noteLeaving(*identity) : EIO;
  if (error == 0) {
    if (!allow(*identity)) {
      return false;
    }
    if (!secret.empty()) {
      error = renameWithoutReplacing(folder_.get(), secret, folder_.get(), name_);
    } else if (linkat(AT_FDCWD, ("/proc/self/fd/" + std::to_string(copy.get())).c_str(),
                      folder_.get(), name_.c_str(), AT_SYMLINK_FOLLOW) != 0) {
      error = errno;
    }
  }
  return error == 0 || fail(QuarantineOutcome::reasonOf(error), error);
}

void Restoration::copyHome() {
  std::string secret;
  UniqueFd copy = newFile(folder_.get(), secret);
  const int error = copy ? fillCopy(copy.get()) : errno;
  if (error != 0) {
    fail(error == EBADMSG ? Reason::copyDiffers : QuarantineOutcome::reasonOf(error), error);
  }
  if (error != 0 || !publish(copy, secret)) {
    if (!secret.empty()) {
      unlinkat(folder_.get(), secret.c_str(), 0);
    }
    stay();
    return;
  }
  if (const int unsynced = syncEntry(folder_.get(), copy.get()); unsynced != 0) {
    // It lies in both places until a disk has it for certain, which whoever tidies up sees to.
    fail(QuarantineOutcome::reasonOf(unsynced), unsynced);
    return;
  }
  if (!isStillIt()) {
    // It is home, and what bears its name by now is another.
    quarantine_.records.remove(record_.name);
    return;
  }
  if (unlinkat(quarantine_.folder.get(), record_.name.c_str(), 0) != 0) {
    fail(QuarantineOutcome::reasonOf(errno), errno);
    return;
  }
  quarantine_.records.remove(record_.name);
}

}  // namespace quillo
