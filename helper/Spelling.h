#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace quillo::helper {

// How the path of `name` in `folder` (which ends with a slash) is printed: as it is, but
// - with a line break in it as an escaped line: a backslash, which no absolute path begins with,
//   then the path with "\x0A" for each line break and "\x5C" for each backslash;
// - a file called rsrc in a folder called ..namedfork with "/./" between the two, as the path
//   alone would be taken for a resource fork, which is not scanned.
// Pure functions on bytes.
void appendSpelled(std::string& line, std::string_view folder, std::string_view name);
// The number of bytes that the above appends.
std::size_t spelledLength(std::string_view folder, std::string_view name);

}  // namespace quillo::helper
