#pragma once

#include <vector>

#include "companion/HelpPage.h"
#include "companion/doctor/Finding.h"

namespace quillo {

// Returns what the doctor found out in words of the page that helps. Any thread.
std::vector<HelpFinding> helpFindingsOf(const std::vector<Finding>& findings,
                                        LocalizedStrings& strings);

}  // namespace quillo
