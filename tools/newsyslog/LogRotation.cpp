#include "tools/newsyslog/LogRotation.h"

#include <system_error>

#include "posix/Text.h"

namespace quillo {
namespace {

constexpr char unfinished[] = ".part";

}  // namespace

LogRotation::LogRotation(const LogEntry& entry, LogFolder& folder)
    : entry_(entry), folder_(folder), name_(lastPathComponent(entry.path)) {}

std::string LogRotation::plain(int version) const { return name_ + "." + std::to_string(version); }

std::string LogRotation::archive(int version) const { return plain(version) + ".bz2"; }

bool LogRotation::isFree(int version) {
  return !folder_.sizeOf(plain(version)) && !folder_.sizeOf(archive(version));
}

bool LogRotation::hasReachedItsSize() {
  const std::optional<std::uint64_t> size = folder_.sizeOf(name_);
  return size && entry_.sizeLimit && *size / 1024 >= *entry_.sizeLimit;
}

void LogRotation::run(bool createsMissing) {
  finishLeftovers();
  if (!folder_.sizeOf(name_)) {
    if (createsMissing && entry_.createIfMissing) {
      folder_.createEmpty(name_, entry_.attributes);
      folder_.sync();
    }
  } else if (hasReachedItsSize()) {
    rotate();
  }
}

void LogRotation::finishLeftovers() {
  for (int version = 0; version <= entry_.count; ++version) {
    if (folder_.sizeOf(archive(version) + unfinished)) {
      folder_.remove(archive(version) + unfinished);
    }
    if (folder_.sizeOf(plain(version))) {
      settle(version, false);
    }
  }
  dropTheSurplus();
}

void LogRotation::settle(int version, bool renamedJustNow) {
  if (!entry_.compress) {
    return;
  }
  bool hasArchive = folder_.sizeOf(archive(version)).has_value();
  if (hasArchive && folder_.beginsWithArchive(plain(version), archive(version))) {
    // Compressed before, but not removed: it ended there, or a writer had added to it.
    folder_.remove(archive(version));
    hasArchive = false;
  }
  const LogFolder::Writer writer = folder_.writerOf(plain(version));
  if (writer == LogFolder::Writer::present ||
      (writer == LogFolder::Writer::unknown && renamedJustNow)) {
    return;
  }
  const std::string part = archive(version) + unfinished;
  const std::uint64_t held = folder_.compress(
      plain(version), hasArchive ? archive(version) : std::string(), part, entry_.attributes);
  folder_.replace(part, archive(version));
  folder_.sync();
  if (folder_.sizeOf(plain(version)) == held) {
    folder_.remove(plain(version));
    folder_.sync();
  }
}

void LogRotation::rotate() {
  shift();
  folder_.rename(name_, plain(0));
  makeNewLog();
  folder_.sync();
  dropTheSurplus();
  settle(0, true);
}

// Only as far as the first gap, which an interrupted rotation may have left. The oldest version
// takes the place beyond the count until the log has been renamed.
void LogRotation::shift() {
  int gap = 0;
  while (gap < entry_.count && !isFree(gap)) {
    ++gap;
  }
  for (int version = gap; version > 0; --version) {
    for (const bool packed : {true, false}) {
      const std::string from = packed ? archive(version - 1) : plain(version - 1);
      if (folder_.sizeOf(from)) {
        folder_.rename(from, packed ? archive(version) : plain(version));
      }
    }
  }
  folder_.sync();
}

void LogRotation::makeNewLog() {
  try {
    folder_.createEmpty(name_, entry_.attributes);
  } catch (const std::system_error&) {
    // Back to where it was, unless its writer has already made a new one.
    if (!folder_.sizeOf(name_)) {
      folder_.rename(plain(0), name_);
      throw;
    }
  }
}

void LogRotation::dropTheSurplus() {
  for (int version = 0; version <= entry_.count; ++version) {
    if (isFree(version)) {
      return;  // a rotation has not come to its end: nothing is surplus yet
    }
  }
  for (const std::string& name : {plain(entry_.count), archive(entry_.count)}) {
    if (folder_.sizeOf(name)) {
      folder_.remove(name);
    }
  }
  folder_.sync();
}

}  // namespace quillo
