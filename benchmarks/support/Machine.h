#pragma once

#include <string>

#include "benchmarks/support/Table.h"

namespace bench {

// What was measured on, and in which versions. `folder`: where files are written; `version`: ours.
Table describeMachine(const std::string& folder, const std::string& version);

}  // namespace bench
