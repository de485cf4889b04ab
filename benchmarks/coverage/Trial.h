#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

#include "benchmarks/coverage/CoverageTable.h"
#include "benchmarks/coverage/FolderGuard.h"
#include "benchmarks/coverage/Places.h"
#include "benchmarks/coverage/Ways.h"
#include "benchmarks/coverage/Writer.h"

namespace bench {

// Every way on every file system, tried on one guard after the other. One thread.
class Trial {
 public:
  // `base` has the ordinary ways tried on it, `link` leads to a folder there, the volume is mounted
  // in `base`, at `laterPoint`.
  struct Ground {
    Place base;
    Place link;
    std::vector<Place> others;
    LaterVolume later;
    std::string laterPoint;
  };
  explicit Trial(Ground ground);
  Trial(const Trial&) = delete;
  Trial& operator=(const Trial&) = delete;

  // One round: all ways side by side, then what is saved during a restart, then while nobody runs.
  void run(FolderGuard& guard, std::size_t column, int round);
  std::vector<CoverageRow> rows() const;

 private:
  struct Attempt {
    CoverageRow row;
    const Place* place = nullptr;
    Way way;
    uid_t user = 0;
  };
  void add(const std::string& title, const Place& place, const Way& way, uid_t user);
  Scene sceneOf(std::size_t index, std::size_t column, int round) const;
  void prepare(std::size_t index, std::size_t column, int round);
  void act(std::size_t index, std::size_t column, int round, Writer& writer);
  void mountVolume();
  void removeAll(std::size_t column, int round);
  // Of the ways from the first to before the last, whether they were found in time.
  void judge(const FolderGuard& guard, std::size_t first, std::size_t last, std::size_t column,
             int round);
  void tryOutages(FolderGuard& guard, std::size_t column, int round);
  void count(std::size_t index, std::size_t column, bool found);

  Ground ground_;
  Place later_;
  std::vector<Attempt> attempts_;
};

}  // namespace bench
