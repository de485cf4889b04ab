#pragma once

#include <string>
#include <vector>

namespace quillo {

class MainWindow;
struct CompanionParts;

// Excludes what that regular expression matches, to which its user has agreed; tells him if that
// cannot be. Main thread.
void excludeExpression(CompanionParts& parts, MainWindow& window, const std::string& expression);
// Shows the patterns that exclude these files, and excludes them if the user agrees. Main thread.
void askToExclude(CompanionParts& parts, MainWindow& window, const std::vector<std::string>& paths);

}  // namespace quillo
