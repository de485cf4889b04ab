#pragma once

#include "companion/Companion.h"

namespace quillo {

struct CompanionParts;

// Make the pages that lead through the first start and that help. Main thread.
LivingPage startPage(CompanionParts& parts, MainWindow& window, Page& page);
LivingPage helpPage(CompanionParts& parts, MainWindow& window, Page& page);

}  // namespace quillo
