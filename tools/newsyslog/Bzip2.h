#pragma once

#include <cstdint>

namespace quillo {

// The bzip2 format through libbz2, on open descriptors, from and to where they stand. Failures are
// std::system_error, also for data that is no bzip2 file.

// Appends all that can be read from `plain` to `archive`, as one stream. Returns the number of
// bytes read. An archive may hold several streams; what they hold then counts as joined (bzip2(1)).
std::uint64_t compressTo(int plain, int archive);

// Returns true when `plain` begins with all that `archive` holds.
bool beginsWithArchive(int plain, int archive);

}  // namespace quillo
