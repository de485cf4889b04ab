#pragma once

#include <cstdint>
#include <string>

#include "posix/Clock.h"
#include "quarantine/QuarantineCheck.h"
#include "quarantine/QuarantineStore.h"

namespace quillo {

class LocalizedStrings;

// What there is to say of files in the quarantine, in the user's language. Any thread.
class QuarantineWords {
 public:
  explicit QuarantineWords(LocalizedStrings& strings) : strings_(strings) {}

  // Returns the text of a key behind "QUARANTINE_".
  std::string text(const std::string& key) const;
  // Returns that of `key`_ONE for 1, else that of `key`_MANY with the number for its "%@".
  std::string counted(const std::string& key, std::uint64_t count) const;
  // Returns why that folder cannot be used, and what to do about it.
  std::string problem(const QuarantineStore::Listing& listing, const std::string& folder) const;
  // Returns what became of a file, in one sentence.
  std::string outcome(const QuarantineOutcome& outcome) const;
  std::string origin(const QuarantinedFile& file) const;
  std::string threat(const QuarantinedFile& file) const;
  std::string state(const QuarantinedFile& file) const;
  // Returns the threat, or why the file was not checked.
  std::string detail(const QuarantineCheckResult::Checked& checked) const;
  // Returns local time, "" where it is not known.
  static std::string time(QuarantineRecord::Time time);
  std::string moved(const QuarantinedFile& file) const;
  std::string size(std::int64_t bytes) const;

 private:
  LocalizedStrings& strings_;
};

// Returns a name that programs can rely on.
const char* nameOf(QuarantineOutcome::Reason reason);
const char* nameOf(QuarantineStore::FolderProblem problem);
const char* nameOf(QuarantinedFile::Origin origin);
const char* nameOf(QuarantineRecord::Check check);

}  // namespace quillo
