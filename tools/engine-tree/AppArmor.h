#pragma once

#include <string>
#include <vector>

#include "tools/engine-tree/TreePlan.h"

namespace quillo {

// Returns what an administrator has to do before AppArmor lets the engine's programs work in this
// tree: one line for each profile that is enforced, does not know of the tree, and stands in its
// way. The rules to add lie in `toolFolder`/apparmor. Any thread.
std::vector<std::string> confinementHints(const TreePlan& plan, const MachinePlaces& places,
                                          const std::string& toolFolder);

// Returns true when a profile of AppArmor's is in force for clamd. What an administrator added for
// the tree opens the tree only, not the user's runtime folder. Any thread.
bool isDaemonConfined(const MachinePlaces& places);

}  // namespace quillo
