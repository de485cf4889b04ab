#pragma once

#include <string>
#include <vector>

namespace quillo {

// Appends the path of everything below the folder: `folder` (which ends in "/") followed by each
// relative path; all levels, hidden entries and folders themselves included. Links are not
// followed. A folder that cannot be read, or vanishes meanwhile, is passed over. Any thread.
void appendEverythingBelow(const std::string& folder, std::vector<std::string>& paths);

}  // namespace quillo
