#pragma once

#include <string>
#include <vector>

namespace bench {

// Has the daemon behind that socket scan files in one session, by descriptors that it is sent
// (clamd(8), IDSESSION and FILDES): the least that a client can do. Returns how many were infected;
// throws std::runtime_error.
int scanInSession(const std::string& socket, const std::vector<std::string>& paths);

}  // namespace bench
