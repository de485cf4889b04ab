#pragma once

#include <vector>

#include "companion/Companion.h"

namespace quillo {

struct CompanionParts;

// Returns the pages of the main application, in the order of the list at the side. What they are
// given outlives them.
std::vector<CompanionPage> companionPages(CompanionParts& parts, MainWindow& window);

}  // namespace quillo
