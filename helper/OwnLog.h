#pragma once

#include <sys/types.h>

#include <optional>
#include <string>
#include <string_view>

#include "helper/Resolver.h"
#include "posix/UniqueFd.h"

namespace quillo::helper {

// The process that started this one: the agent.
struct Parent {
  pid_t id = 0;
  // A pidfd, readable when the process has ended; none if it is in an outer PID namespace.
  UniqueFd end;
  // It has the same real user as this process; if not, it is nobody's agent (init, for example).
  bool isCallers = false;
};

// Returns this process's parent. Throws ReaderGone if it ends meanwhile, so that its id may mean
// another process.
Parent findParent();

// The file that the agent appends its scan log to: its standard output. Reporting it would have
// the agent scan what it writes about scanning. A name alone hides nothing: only that very file
// (also under other names) is the log, and of the names of rotated logs beside it (LOG.0,
// LOG.0.bz2) only what the log was before, or bzip2 data, which cannot run.
class OwnLog {
 public:
  // Nothing is a log if the parent's standard output is no regular file.
  explicit OwnLog(const Parent& parent);

  // Looks again, before each batch: the agent may have opened a new log after a rotation.
  void refresh();
  // Returns true when `name`, at `place` of `folder`, is the log or was it before a rotation.
  bool isLog(const Folder& folder, const Place& place, std::string_view name) const;

 private:
  bool isRotatedLog(const std::string& path, std::string_view suffix,
                    const Identity& identity) const;

  std::string descriptor_;  // empty: there is no log
  std::string path_;
  std::string name_;
  Identity folder_;
  Identity log_;
  std::optional<Identity> previous_;
  // The log has, or may have, other names than `path_`.
  bool isElsewhere_ = false;
};

// Returns true for what a rotation appends: ".3" or ".3.bz2", with any number of one or two digits.
bool isRotationSuffix(std::string_view suffix);

}  // namespace quillo::helper
