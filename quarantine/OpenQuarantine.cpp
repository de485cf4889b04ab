#include "quarantine/OpenQuarantine.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>

#include "posix/PathOpening.h"
#include "quarantine/FolderTrust.h"

namespace quillo {
namespace {

using Problem = QuarantineStore::FolderProblem;
using Reason = QuarantineOutcome::Reason;

Problem problemOf(int error) {
  switch (error) {
    case ENOENT:
      return Problem::missing;
    case ENOTDIR:
      return Problem::noFolder;
    case EACCES:
    case EPERM:
      return Problem::forbidden;
    default:
      return Problem::failed;
  }
}

Problem problemOf(FolderTrust trust) {
  switch (trust) {
    case FolderTrust::own:
      return Problem::none;
    case FolderTrust::somebodyElses:
      return Problem::somebodyElses;
    case FolderTrust::othersMayWrite:
      return Problem::othersMayWrite;
    default:
      return Problem::failed;
  }
}

}  // namespace

OpenQuarantine::OpenQuarantine(const std::string& path) {
  if (path.empty()) {
    problem = Problem::notChosen;
    return;
  }
  folder = openPath(path, O_RDONLY | O_DIRECTORY);
  if (!folder) {
    error = errno;
    problem = problemOf(error);
    return;
  }
  problem = problemOf(trustInFolder(folder.get()));
  if (problem != Problem::none) {
    folder.reset();
    return;
  }
  const int failure = records.open(folder.get(), RecordFolder::Missing::left);
  recordsError = failure == ENOENT ? 0 : failure;
}

std::optional<QuarantinedFile> OpenQuarantine::fileNamed(const std::string& name) const {
  const auto identity = FileIdentity::in(folder.get(), name);
  if (!identity) {
    return std::nullopt;
  }
  QuarantinedFile file;
  file.name = name;
  file.identity = *identity;
  if (!records.isOpen()) {
    file.origin =
        recordsError == 0 ? QuarantinedFile::Origin::unknown : QuarantinedFile::Origin::damaged;
    return file;
  }
  if (auto record = records.find(name)) {
    file.origin = record->isOf(*identity)                   ? QuarantinedFile::Origin::known
                  : record->identity.size == identity->size ? QuarantinedFile::Origin::unverified
                                                            : QuarantinedFile::Origin::damaged;
    if (file.hasRecord()) {
      file.record = std::move(*record);
    }
  } else if (errno != ENOENT) {
    file.origin = QuarantinedFile::Origin::damaged;
  }
  return file;
}

UniqueFd OpenQuarantine::openListed(const QuarantinedFile& file, QuarantineOutcome& outcome) const {
  if (!isOpen()) {
    outcome.reason = Reason::folderUnusable;
    outcome.error = error;
    return UniqueFd();
  }
  UniqueFd opened(openat(folder.get(), file.name.c_str(),
                         O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
  if (!opened) {
    outcome.error = errno;
    outcome.reason = errno == ENOENT  ? Reason::gone
                     : errno == ELOOP ? Reason::changed
                                      : QuarantineOutcome::reasonOf(errno);
    return UniqueFd();
  }
  const auto now = FileIdentity::of(opened.get());
  if (!now || !isSameInFolder(*now, file.identity)) {
    outcome.reason = Reason::changed;
    return UniqueFd();
  }
  return opened;
}

bool OpenQuarantine::beginWriting(Clock& clock, QuarantineOutcome& outcome) {
  const int failure =
      records.isOpen() ? 0 : records.open(folder.get(), RecordFolder::Missing::made);
  if (failure != 0) {
    outcome.reason = QuarantineOutcome::reasonOf(failure);
    outcome.error = failure;
    return false;
  }
  if (!records.holdOffTidying(clock)) {
    outcome.reason = Reason::failed;
    outcome.error = EBUSY;
    return false;
  }
  return true;
}

}  // namespace quillo
