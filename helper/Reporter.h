#pragma once

#include <set>
#include <string>
#include <string_view>

#include "helper/LineWriter.h"
#include "helper/OwnLog.h"
#include "helper/Resolver.h"

namespace quillo::helper {

// Reports files to the caller: prints their paths, unless the caller may not know them, they are
// the agent's own log, or their line is too long (those go to the system log, once a name). Blocks
// while the reader of standard output does not read; throws ReaderGone.
class Reporter {
 public:
  Reporter(LineWriter& lines, Witness& witness, const OwnLog& log)
      : lines_(lines), witness_(witness), log_(log) {}

  // Reports the file `name` in `folder`, once for each place where the caller gets to it.
  void reportFile(const Folder& folder, std::string_view name);
  // Reports all files below the folder `name` in `folder`, which was moved there with its contents.
  // Follows no links and enters no other file systems' mount points.
  void reportFilesBelow(const Folder& folder, std::string_view name);

 private:
  void reportPath(std::string_view prefix, std::string_view name);
  void complain(std::string_view prefix, std::string_view name);
  void walk(const std::string& top);

  LineWriter& lines_;
  Witness& witness_;
  const OwnLog& log_;
  std::set<std::size_t> complained_;  // hashes of paths
};

}  // namespace quillo::helper
