#pragma once

#include "companion/StartRequest.h"

namespace quillo {

// Shows the window, or has the one that runs already show itself. Of the words in `argv`, which
// outlives it, only the program's name counts. Returns the exit status: 1 where there can be none,
// which standard error says.
int runMainWindow(char** argv, const StartRequest& start);

}  // namespace quillo
