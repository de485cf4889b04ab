#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "tools/clamdscan/Client.h"
#include "tools/clamdscan/Judge.h"

namespace quillo::front {

// The whole program but for its main: scans what it was asked to scan with as few runs of the real
// client as that takes, one for all ordinary files. One thread.
class Front {
 public:
  // What a client may take without a sign of life, at least.
  static constexpr Clock::Duration usualPatience = std::chrono::minutes(5);

  Front(const EngineTree& tree, const CommandLine& asked, Report& report, Clock& clock,
        Clock::Duration patience = usualPatience);

  // The exit status: 1 when anything was found, 2 for errors and things not scanned, else 0.
  int run();
  int endingSignal() const { return client_.endingSignal(); }

 private:
  struct Work {
    std::vector<Entry> plain;
    std::vector<Entry> awkward;
    std::vector<Entry> folders;
  };

  void openMoveFolder();
  // Absent when the list cannot be read, which has been said then.
  std::optional<std::vector<std::string>> givenPaths();
  void sort(Entry entry, Work& work);
  void scanFiles(Work& work);
  void scanList(const std::vector<Entry>& entries);
  void scanByDescriptor(Entry entry);
  void scanFolder(const Entry& folder);
  void scanWhole(const Entry& folder, std::uint64_t leftOutBefore);
  void passFromFolder(const Entry& folder, const ClientLine& line);
  void scanPiecewise(const Entry& folder);
  void writeSummary(std::chrono::system_clock::time_point start, Clock::Duration length);

  const EngineTree& tree_;
  const CommandLine& asked_;
  Report& report_;
  Clock& clock_;
  MoveFolder moveFolder_;
  Judge judge_;
  Client client_;
};

}  // namespace quillo::front
