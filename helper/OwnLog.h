#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "helper/Parent.h"
#include "helper/Resolver.h"

namespace quillo::helper {

// The file that the agent appends its scan log to: its standard output. Telling of it would have
// the agent scan what it writes about scanning. A name alone hides nothing: only that very file
// (also under other names) is the log, and of the names of rotated logs beside it (LOG.0,
// LOG.0.bz2) only what the log was before, or bzip2 data, which cannot run.
class OwnLog {
 public:
  // Nothing is a log if the parent's standard output is no regular file.
  explicit OwnLog(const Parent& parent);

  // To be called before each batch: the agent may have opened a new log after a rotation.
  void refresh();
  // Whether `name`, at `place` of `folder`, is the log.
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

// Whether `suffix` is what a rotation appends: ".3" or ".3.bz2", for any number of one or two
// digits.
bool isRotationSuffix(std::string_view suffix);

}  // namespace quillo::helper
