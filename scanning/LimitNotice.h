#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
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

// Of which files the user has been told already that they are beyond the engine's limits: one that
// is written again and again, as a machine's disk or a download is, is told of once. Any thread.
class ToldFiles {
 public:
  // Of more, those told longest ago are forgotten.
  static constexpr std::size_t most = 1000;

  // Whether this file had not been told of.
  bool isNew(const std::string& path);

 private:
  Mutex lock_;
  std::set<std::string> paths_ QUILLO_GUARDED_BY(lock_);
  std::deque<std::string> inOrder_ QUILLO_GUARDED_BY(lock_);
};

// Whether somebody would know the file by its name: it is neither hidden nor in a hidden folder,
// where programs keep what is theirs, nor a download that is not complete. Pure.
bool isKnownToItsUser(std::string_view path);

// The files of one run that the engine's limits kept from being scanned, and what the user is told
// of them: the first of each kind by its name, the others by their number. One thread.
class LimitNotice {
 public:
  void clear() { kinds_.clear(); }
  // Takes note of a file if a limit kept it from being scanned, and the user has not been told.
  // `told` may be null.
  void add(const Verdict& verdict, ToldFiles* told);
  // Tells of what has been taken note of: one notification a kind.
  void tell(Notifier& notifier, LocalizedStrings& strings);

 private:
  struct Files {
    std::string first;
    std::size_t others = 0;
  };
  using Kind = std::pair<Verdict::Limit, std::uint64_t>;

  std::map<Kind, Files> kinds_;
};

}  // namespace quillo
