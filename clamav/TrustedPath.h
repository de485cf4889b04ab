#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

namespace quillo {

// Returns why somebody else than `owners` may change, or exchange, what `path` leads to; "" when
// nobody can: it and every folder and link on the way to it, links followed, belong to one of them
// and give others no right to write (in a folder with the sticky bit each owns his own). A relative
// path and one that leads nowhere are not trusted. Any thread. path_resolution(7).
std::string distrustOfPath(const std::string& path, const std::vector<uid_t>& owners);

}  // namespace quillo
