#pragma once

#include <iosfwd>
#include <string>
#include <vector>

#include "companion/quarantine/QuarantineServices.h"

namespace quillo {

// `vantrel quarantine list|restore|delete|check [--json] [--to FOLDER] [--make-folder]
// [FILE...|--all]`: what lies in the quarantine, on this thread. FILE is a name or a path there, or
// the path that a file had, as it is or as the list spells it; without any, list and check mean
// all. `words` are those behind "quarantine". Writes a line for each file; with --json one document
// (docs/json.md). Returns the exit status: 0 when all was done, 1 when some was not, 2 when the
// words are wrong or the folder cannot be used.
int runQuarantineCommand(const std::vector<std::string>& words, std::ostream& out,
                         std::ostream& errors, const QuarantineServices& services);

}  // namespace quillo
