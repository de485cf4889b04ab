#pragma once

#include <string>

#include "engine/EngineProblem.h"

namespace quillo {

class LocalizedStrings;

// What the window of the missing engine says of a problem, in the user's language: three lines, for
// the heading, what is wrong and what to do next. Any thread.
std::string textOf(const EngineProblem& problem, LocalizedStrings& strings);
// The same where there is no main application, whose preferences could be opened; `engineCommand`
// is what makes an engine.
std::string textAloneOf(const EngineProblem& problem, const std::string& engineCommand,
                        LocalizedStrings& strings);

}  // namespace quillo
