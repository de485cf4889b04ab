#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <set>
#include <string>
#include <string_view>
#include <utility>

#include "clamav/Verdict.h"
#include "posix/Mutex.h"

namespace quillo {

class LocalizedStrings;
class Notifier;

// The files beyond the engine's limits that the user has been notified of already: one that is
// written again and again, as a machine's disk or a download is, is reported once. Any thread.
class ReportedFiles {
 public:
  // Of more, those reported longest ago are forgotten.
  static constexpr std::size_t most = 1000;

  // Enters the file. Returns false when it was there already.
  bool add(const std::string& path);

 private:
  Mutex lock_;
  std::set<std::string> paths_ QUILLO_GUARDED_BY(lock_);
  std::deque<std::string> inOrder_ QUILLO_GUARDED_BY(lock_);
};

// Returns true when somebody would know the file by its name: it is neither hidden nor in a hidden
// folder, where programs keep what is theirs, nor a download that is not complete. Pure.
bool isKnownToItsUser(std::string_view path);

// The files of one run that the engine's limits kept from being scanned. A notification gives the
// first of each kind by its name, the others by their number. One thread.
class LimitNotice {
 public:
  void clear() { kinds_.clear(); }
  // Takes note of a file if a limit kept it from being scanned and it is new to `reported`, which
  // may be null.
  void add(const Verdict& verdict, ReportedFiles* reported);
  // Posts one notification for each kind that has been taken note of; their button calls
  // `showResults` on the main thread, however late.
  void post(Notifier& notifier, LocalizedStrings& strings,
            const std::function<void()>& showResults);

 private:
  struct Files {
    std::string first;
    std::size_t others = 0;
  };
  using Kind = std::pair<Verdict::Limit, std::uint64_t>;

  std::map<Kind, Files> kinds_;
};

}  // namespace quillo
