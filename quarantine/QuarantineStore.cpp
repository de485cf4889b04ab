#include "quarantine/QuarantineStore.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <limits>
#include <unordered_set>
#include <utility>

#include "posix/FolderReader.h"
#include "posix/Text.h"
#include "quarantine/OpenQuarantine.h"
#include "quarantine/Restoration.h"
#include "quarantine/Tidying.h"

namespace quillo {
namespace {

using Reason = QuarantineOutcome::Reason;

QuarantineRecord::Time timeOf(const QuarantinedFile& file) {
  return file.hasRecord() ? file.record.moved : QuarantineRecord::Time();
}

bool isAbove(const QuarantinedFile& a, const QuarantinedFile& b) {
  return timeOf(a) == timeOf(b) ? a.name < b.name : timeOf(a) > timeOf(b);
}

void readFiles(const OpenQuarantine& quarantine, QuarantineStore::Listing& listing) {
  listing.files.clear();
  FolderReader reader(
      UniqueFd(openat(quarantine.folder.get(), ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC)));
  while (const dirent* const entry = reader ? reader.next() : nullptr) {
    if (entry->d_type == DT_REG || entry->d_type == DT_UNKNOWN) {
      if (auto file = quarantine.fileNamed(entry->d_name)) {
        listing.files.push_back(std::move(*file));
      }
    }
  }
  if (errno != 0) {
    listing.problem = QuarantineStore::FolderProblem::failed;
    listing.error = errno;
  }
}

// The records' names of files of which nothing is left half done.
std::unordered_set<std::string> settledIn(const QuarantineStore::Listing& listing) {
  std::unordered_set<std::string> settled;
  for (const QuarantinedFile& file : listing.files) {
    if (file.hasRecord() && file.record.state == QuarantineRecord::State::moved) {
      settled.insert(RecordFolder::entryFor(file.name));
    }
  }
  return settled;
}

}  // namespace

std::string QuarantinedFile::formerName() const {
  return knowsOrigin() ? std::string(lastPathComponent(record.origin)) : name;
}

QuarantineOutcome::Reason QuarantineOutcome::reasonOf(int error) {
  switch (error) {
    case 0:
      return Reason::done;
    case EEXIST:
    case ENOTEMPTY:
      return Reason::targetExists;
    case EROFS:
      return Reason::readOnly;
    case ENOSPC:
    case EDQUOT:
      return Reason::full;
    case EACCES:
    case EPERM:
      return Reason::forbidden;
    default:
      return Reason::failed;
  }
}

QuarantineStore::QuarantineStore(std::string folder, Clock& clock, Allow allow)
    : folder_(std::move(folder)), clock_(clock), allow_(std::move(allow)) {}

std::string QuarantineStore::pathOf(const QuarantinedFile& file) const {
  return folder_ + (folder_.ends_with('/') ? "" : "/") + file.name;
}

QuarantineStore::Listing QuarantineStore::list() const {
  OpenQuarantine quarantine(folder_);
  Listing listing{quarantine.problem, quarantine.error, quarantine.recordsError, {}};
  if (!quarantine.isOpen()) {
    return listing;
  }
  readFiles(quarantine, listing);
  if (quarantine.records.isOpen() && quarantine.records.startTidying()) {
    if (tidyUp(quarantine, settledIn(listing))) {
      readFiles(quarantine, listing);
    }
    quarantine.records.letGo();
  }
  std::sort(listing.files.begin(), listing.files.end(), isAbove);
  return listing;
}

QuarantineOutcome QuarantineStore::restore(const QuarantinedFile& file,
                                           const Target& target) const {
  OpenQuarantine quarantine(folder_);
  return Restoration(quarantine, file, clock_, allow_).perform(target);
}

QuarantineOutcome QuarantineStore::remove(const QuarantinedFile& file) const {
  OpenQuarantine quarantine(folder_);
  QuarantineOutcome outcome{Reason::done, 0, pathOf(file)};
  if (!quarantine.isOpen()) {
    return {Reason::folderUnusable, quarantine.error, pathOf(file)};
  }
  // Who tidies up or checks must not write of it what is no longer so.
  if (quarantine.records.isOpen() && !quarantine.beginWriting(clock_, outcome)) {
    return outcome;
  }
  const auto now = FileIdentity::in(quarantine.folder.get(), file.name);
  if (!now || !isSameInFolder(*now, file.identity)) {
    struct stat there = {};
    const bool isThere =
        fstatat(quarantine.folder.get(), file.name.c_str(), &there, AT_SYMLINK_NOFOLLOW) == 0;
    outcome.reason = isThere ? Reason::changed : Reason::gone;
    return outcome;
  }
  if (unlinkat(quarantine.folder.get(), file.name.c_str(), 0) != 0) {
    outcome.error = errno;
    outcome.reason = errno == ENOENT ? Reason::gone : QuarantineOutcome::reasonOf(errno);
    return outcome;
  }
  if (quarantine.records.isOpen()) {
    quarantine.records.remove(file.name);
  }
  return outcome;
}

QuarantineOutcome QuarantineStore::allow(const QuarantinedFile& file) const {
  OpenQuarantine quarantine(folder_);
  QuarantineOutcome outcome{Reason::done, 0, pathOf(file)};
  const UniqueFd opened = quarantine.openListed(file, outcome);
  if (!opened) {
    return outcome;
  }
  const auto hash = sha256OfFile(opened.get(), std::numeric_limits<std::int64_t>::max());
  if (!hash) {
    outcome.error = errno;
    outcome.reason = Reason::failed;
    return outcome;
  }
  outcome.detail =
      allow_(file.knowsOrigin() ? file.record.origin : pathOf(file), file.identity, *hash);
  outcome.reason = outcome.detail.empty() ? Reason::done : Reason::notAllowed;
  return outcome;
}

QuarantineOutcome QuarantineStore::noteCheck(const QuarantinedFile& file,
                                             QuarantineRecord::Check check,
                                             const std::string& threat,
                                             QuarantineRecord::Time with) const {
  OpenQuarantine quarantine(folder_);
  QuarantineOutcome outcome{Reason::done, 0, pathOf(file)};
  const UniqueFd opened = quarantine.openListed(file, outcome);
  if (!opened || !quarantine.beginWriting(clock_, outcome)) {
    return outcome;
  }
  const auto now = quarantine.fileNamed(file.name);
  // Of a file that is about to leave nothing is to be noted any more.
  if (!now || (now->hasRecord() && now->record.state == QuarantineRecord::State::restoring)) {
    outcome.reason = Reason::gone;
    return outcome;
  }
  if (now->origin == QuarantinedFile::Origin::damaged) {
    outcome.reason = Reason::recordDamaged;
    return outcome;
  }
  QuarantineRecord record = recordFor(*now, opened.get());
  if (now->origin == QuarantinedFile::Origin::unverified) {
    if (sha256OfFile(opened.get(), now->identity.size) != record.hash) {
      outcome.reason = Reason::recordDamaged;
      return outcome;
    }
    // A copy of the folder: it need not be compared again.
    record.identity = now->identity;
  }
  record.state = QuarantineRecord::State::moved;
  record.check = check;
  record.checkedWith = with;
  if (check == QuarantineRecord::Check::infected) {
    record.foundWith = with > record.foundBy() ? with : record.foundWith;
    record.threat = threat.empty() ? record.threat : threat;
  }
  outcome.error = quarantine.records.replace(record);
  outcome.reason = QuarantineOutcome::reasonOf(outcome.error);
  return outcome;
}

}  // namespace quillo
