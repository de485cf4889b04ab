#include "quarantine/Tidying.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <string>

#include "posix/FileMoving.h"
#include "posix/PathOpening.h"
#include "posix/Text.h"
#include "quarantine/OpenQuarantine.h"
#include "quarantine/Restoration.h"

namespace quillo {
namespace {

constexpr std::size_t hashLength = 64;
constexpr std::size_t atOnce = 200;

bool isRecordsName(const std::string& entry) {
  return entry.size() == hashLength &&
         entry.find_first_not_of("0123456789abcdef") == std::string::npos;
}

bool isSettled(const QuarantineRecord& record, const FileIdentity& file) {
  return record.state == QuarantineRecord::State::moved && isSameInFolder(record.identity, file);
}

enum class Arrival { none, unsure, certain };

// Whether it has arrived where it was to go. Then it gets the mode that it had. Unsure: a loss of
// power may still take it from there.
Arrival arrivalOf(const QuarantineRecord& record) {
  const UniqueFd file = openWithoutLinks(record.target, O_RDONLY | O_NOFOLLOW);
  const auto identity = file ? FileIdentity::of(file.get()) : std::nullopt;
  if (!identity || !isSameInFolder(*identity, record.restored)) {
    return Arrival::none;
  }
  restoreMode(file.get(), record);
  const UniqueFd folder =
      openWithoutLinks(deletingLastPathComponent(record.target), O_PATH | O_DIRECTORY);
  return folder && syncEntry(folder.get(), file.get()) == 0 ? Arrival::certain : Arrival::unsure;
}

void endRestoring(OpenQuarantine& quarantine, QuarantineRecord& record,
                  const std::optional<FileIdentity>& here, bool isGone) {
  const bool isStillHere = here && isSameInFolder(*here, record.restored);
  const Arrival arrival = isStillHere ? Arrival::none : arrivalOf(record);
  const bool isCopied = here && record.isOf(*here);
  if (isCopied && arrival == Arrival::unsure) {
    return;
  }
  if (arrival != Arrival::none) {
    // What a copy was made of goes, if that is still it.
    if (isCopied) {
      unlinkat(quarantine.folder.get(), record.name.c_str(), 0);
    }
    quarantine.records.remove(record.name);
  } else if (here && record.isOf(*here)) {
    record.state = QuarantineRecord::State::moved;
    record.identity = *here;
    if (!quarantine.records.bringBack(record.name)) {
      quarantine.records.replace(record);
    }
  } else if (isGone) {
    quarantine.records.remove(record.name);
  }
}

// Who moved it may not have come to that.
void takeRights(const OpenQuarantine& quarantine, const QuarantineRecord& record) {
  const UniqueFd file(openat(quarantine.folder.get(), record.name.c_str(),
                             O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
  const auto identity = file ? FileIdentity::of(file.get()) : std::nullopt;
  if (identity && record.isOf(*identity)) {
    makeHarmless(file.get());
  }
}

void settle(OpenQuarantine& quarantine, QuarantineRecord& record) {
  int error = 0;
  const auto here = FileIdentity::in(quarantine.folder.get(), record.name, error);
  // What a disk does not tell is no reason to forget anything.
  const bool isGone = error == ENOENT;
  if (here && isSettled(record, *here)) {
    return;
  }
  if (record.state == QuarantineRecord::State::restoring) {
    endRestoring(quarantine, record, here, isGone);
    return;
  }
  if (isGone) {
    quarantine.records.remove(record.name);
  } else if (here && record.isOf(*here)) {
    takeRights(quarantine, record);
    quarantine.records.confirm(record.name);
  }
}

}  // namespace

bool tidyUp(OpenQuarantine& quarantine, const std::unordered_set<std::string>& settled) {
  std::size_t met = 0;
  for (const std::string& entry : quarantine.records.entries()) {
    if (settled.count(entry) > 0) {
      continue;
    }
    if (++met % atOnce == 0) {
      quarantine.records.letGo();
      if (!quarantine.records.startTidying()) {
        break;
      }
    }
    if (isSecretName(entry)) {
      unlinkat(quarantine.records.descriptor(), entry.c_str(), 0);
    } else if (RecordFolder::isAside(entry)) {
      quarantine.records.bringBackEntry(entry);
    } else if (isRecordsName(entry)) {
      if (auto record = quarantine.records.at(entry)) {
        settle(quarantine, *record);
      }
    }
  }
  return met > 0;
}

}  // namespace quillo
