#pragma once

#include <optional>
#include <string>

#include "posix/UniqueFd.h"
#include "quarantine/QuarantineStore.h"
#include "quarantine/RecordFolder.h"

namespace quillo {

// The quarantine folder and its records, open for one operation. One thread.
struct OpenQuarantine {
  UniqueFd folder;
  RecordFolder records;
  QuarantineStore::FolderProblem problem = QuarantineStore::FolderProblem::none;
  int error = 0;
  int recordsError = 0;  // 0 also when there are none yet

  explicit OpenQuarantine(const std::string& path);
  bool isOpen() const { return static_cast<bool>(folder); }

  // Returns the file of that name as it lies there now; nothing for what is no regular file, or not
  // there.
  std::optional<QuarantinedFile> fileNamed(const std::string& name) const;
  // Opens that file for reading if it is still the one that was listed; else sets `outcome`.
  UniqueFd openListed(const QuarantinedFile& file, QuarantineOutcome& outcome) const;
  // Has records to write to, made if need be, and nobody tidying up. Else sets `outcome`.
  bool beginWriting(Clock& clock, QuarantineOutcome& outcome);
};

}  // namespace quillo
