#include "app/vantrel/CompanionPages.h"

namespace quillo {

std::vector<CompanionPage> companionPages(const CompanionDesktop&) { return {}; }

}  // namespace quillo
