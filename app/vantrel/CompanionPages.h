#pragma once

#include <vector>

#include "companion/Companion.h"
#include "platform/CompanionDesktop.h"

namespace quillo {

class ThreadStarter;

// Returns the pages of the main application, in the order of the list at the side. What they are
// given outlives them.
std::vector<CompanionPage> companionPages(const CompanionDesktop& desktop, ThreadStarter& threads);

}  // namespace quillo
