#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "tools/newsyslog/Configuration.h"

namespace quillo {

// The folder of a log, and what a rotation does in it; names are relative to it. Each operation
// either happens as a whole or throws std::system_error that names it, and none follows a symbolic
// link. One thread.
class LogFolder {
 public:
  enum class Writer { none, present, unknown };

  virtual ~LogFolder() = default;

  // Returns the size of a regular file; nothing when there is no such name. Throws
  // std::runtime_error for anything else there.
  virtual std::optional<std::uint64_t> sizeOf(const std::string& name) = 0;
  // Returns `present` when a process has the file open for writing.
  virtual Writer writerOf(const std::string& name) = 0;
  // Returns true when the file begins with all that the archive holds; an archive that is damaged
  // counts as holding something else.
  virtual bool beginsWithArchive(const std::string& name, const std::string& archive) = 0;

  // Never replaces a file.
  virtual void rename(const std::string& from, const std::string& to) = 0;
  virtual void replace(const std::string& from, const std::string& to) = 0;
  virtual void remove(const std::string& name) = 0;
  virtual void createEmpty(const std::string& name, const LogAttributes& attributes) = 0;
  // Makes the file `archive` of the archive `before` (when it is not empty) and of `name`, and
  // returns, when it is on disk, the number of bytes of `name` that it holds.
  virtual std::uint64_t compress(const std::string& name, const std::string& before,
                                 const std::string& archive, const LogAttributes& attributes) = 0;
  // Brings the names on disk.
  virtual void sync() = 0;
};

// Returns the real folder at `path`, locked against other rotations as long as the object lives.
// Owners are set only when `setsOwners`. Throws std::system_error when it cannot be opened.
std::unique_ptr<LogFolder> openLogFolder(const std::string& path, bool setsOwners);

// Rotates one log: LOG becomes LOG.0, which becomes LOG.0.bz2; LOG.0.bz2 becomes LOG.1.bz2, and so
// on, until the oldest goes. At every moment each line stands in a file that the next run knows, so
// that a run may end anywhere; only the version beyond the count is ever given up, and that last.
//
// A process may still write to LOG.0, since it opened the log before the rotation. As long as one
// has it open, LOG.0 is left as it is; a later run compresses it.
class LogRotation {
 public:
  LogRotation(const LogEntry& entry, LogFolder& folder);

  // Finishes what an earlier run has left, makes a missing log when asked to, and rotates it when
  // it has reached its size. Throws std::system_error; nothing is lost then.
  void run(bool createsMissing);

 private:
  std::string plain(int version) const;
  std::string archive(int version) const;
  bool isFree(int version);
  bool hasReachedItsSize();

  void finishLeftovers();
  void settle(int version, bool renamedJustNow);
  void rotate();
  void shift();
  void makeNewLog();
  void dropTheSurplus();

  const LogEntry& entry_;
  LogFolder& folder_;
  std::string name_;
};

}  // namespace quillo
