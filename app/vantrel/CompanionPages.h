#pragma once

#include <vector>

#include "companion/Companion.h"
#include "platform/CompanionDesktop.h"

namespace quillo {

// Returns the pages of the main application, in the order of the list at the side. The desktop
// outlives them.
std::vector<CompanionPage> companionPages(const CompanionDesktop& desktop);

}  // namespace quillo
