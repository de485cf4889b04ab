#pragma once

#include <string>

namespace bench {

// Covers /tmp with a tmpfs in which everything is written, and which goes with the namespaces that
// ./bench makes. `options` are those of tmpfs(5). Throws std::runtime_error where this process is
// not the first of a process namespace: the machine's /tmp would be covered for everybody.
void coverTmp(const char* options = "mode=1777");

// Returns a name for a folder that stays as long as this process, also one in a /tmp that is
// covered. Throws std::runtime_error where there is no such folder.
std::string held(const std::string& folder);

}  // namespace bench
