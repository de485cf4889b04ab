#pragma once

#include <optional>
#include <string>
#include <vector>

#include "posix/Clock.h"
#include "tools/clamdscan/CommandLine.h"
#include "tools/clamdscan/DaemonLink.h"
#include "tools/clamdscan/DescriptorScan.h"
#include "tools/clamdscan/Judge.h"
#include "tools/clamdscan/Progress.h"
#include "tools/clamdscan/Starter.h"
#include "tools/clamdscan/TreeSettings.h"

namespace quillo::wrapper {

// The whole program but for its main: opens what it was asked to scan, has the daemon scan what was
// opened, and moves what the daemon finds. One thread.
class ClientWrapper {
 public:
  // What a daemon may take without a sign of life, at least.
  static constexpr Clock::Duration usualPatience = std::chrono::minutes(5);

  ClientWrapper(const TreeSettings& tree, const CommandLine& asked, Report& report, Clock& clock,
                const Starter& starter = Starter(-1, -1), Clock::Duration patience = usualPatience);

  // Does it all and returns the exit status: 1 when anything was found, 2 for errors and things not
  // scanned, and when the starter has gone, else 0.
  int run();

 private:
  int scanAll();
  void openMoveFolder();
  // Returns nothing when the list cannot be read, after reporting that.
  std::optional<std::vector<std::string>> givenPaths();
  void scanFiles(std::vector<Entry> files);
  void scanFolder(const Entry& folder);
  bool scanInFolder(const Entry& folder, int parent, const char* name, const std::string& path);
  // `error` says why the job has no file.
  void scan(Job job, int error);
  template <typename Opener>
  UniqueFd openWith(const Opener& opener);
  UniqueFd openIn(int folder, const char* name);
  void writeSummary(std::chrono::system_clock::time_point start, Clock::Duration length);

  const CommandLine& asked_;
  Report& report_;
  Clock& clock_;
  const Starter starter_;
  const std::size_t descriptors_;
  MoveFolder moveFolder_;
  Judge judge_;
  Progress progress_;
  DaemonLink link_;
  DescriptorScan scan_;
};

}  // namespace quillo::wrapper
