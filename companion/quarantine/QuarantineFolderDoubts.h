#pragma once

#include <string>
#include <vector>

#include "platform/LocalizedStrings.h"
#include "settings/PreferenceTable.h"

namespace quillo {

// Returns what its user should know before that folder becomes the quarantine, in which nothing is
// scanned: what would not be guarded any more, and what lies there. `path` is absolute. Any thread.
std::vector<Wording> doubtsAboutQuarantine(const std::string& path,
                                           const std::vector<ChosenFolder>& guarded);
// Returns true when something lies in that folder, but for what the quarantine keeps for itself.
bool holdsFiles(const std::string& folder);

}  // namespace quillo
