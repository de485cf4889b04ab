#pragma once

#include <string>
#include <vector>

namespace quillo {

class Exclusions;
class LocalizedStrings;
class MainWindow;

// What excluding from other pages rests on. All of it outlives the window's questions.
struct ExcludingServices {
  Exclusions& exclusions;
  LocalizedStrings& localizedStrings;
  MainWindow& window;
};

// Excludes what that regular expression matches, to which its user has agreed, and says what that
// does, or why it cannot be. Main thread.
void excludeExpression(const ExcludingServices& services, const std::string& expression);
// Shows the patterns that exclude these files, and excludes all of them if the user agrees. Main
// thread.
void askToExclude(const ExcludingServices& services, const std::vector<std::string>& paths);

}  // namespace quillo
