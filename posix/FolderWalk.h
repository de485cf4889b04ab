#pragma once

#include <string>
#include <vector>

namespace quillo {

// Appends the path of everything below the folder: `folder` (which ends in "/") followed by each
// relative path; all levels, hidden entries and folders themselves included. Links are not
// followed. A folder that may not be read is passed over; any other
// failure of the disk ends the walk there. Any thread.
void appendEverythingBelow(const std::string& folder, std::vector<std::string>& paths);

}  // namespace quillo
