#pragma once

#include "companion/StartRequest.h"

namespace quillo {

// Shows the window, or has the one that runs already show itself. Returns the exit status: 1 where
// there can be none, which standard error says.
int runMainWindow(int& argc, char** argv, const StartRequest& request);

}  // namespace quillo
