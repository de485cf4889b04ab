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

  // Size of a regular file; nothing when there is no such name. Throws
  // std::runtime_error for anything else there.
  virtual std::optional<std::uint64_t> sizeOf(const std::string& name) = 0;
  // Whether a process has the file open for writing.
  virtual Writer writerOf(const std::string& name) = 0;
  // Whether the file begins with all that the archive holds; an archive that is damaged counts as
  // holding something else.
  virtual bool beginsWithArchive(const std::string& name, const std::string& archive) = 0;

  // Never replaces a file.
  virtual void rename(const std::string& from, const std::string& to) = 0;
  virtual void replace(const std::string& from, const std::string& to) = 0;
  virtual void remove(const std::string& name) = 0;
  virtual void createEmpty(const std::string& name, const LogAttributes& attributes) = 0;
  // Makes the file `archive` of the archive `before` (when it is not empty) and of `name`, and
  // returns when it is on disk. The result is the number of bytes of `name` that it holds.
  virtual std::uint64_t compress(const std::string& name, const std::string& before,
                                 const std::string& archive, const LogAttributes& attributes) = 0;
  // Brings the names on disk.
  virtual void sync() = 0;
};

// The real folder at `path`, locked against other rotations as long as the object lives. Owners are
// set only when `setsOwners`. Throws std::system_error when it cannot be opened.
std::unique_ptr<LogFolder> openLogFolder(const std::string& path, bool setsOwners);

}  // namespace quillo
