#pragma once

#include "companion/CommandTable.h"

namespace quillo {

// Returns the commands of `vantrel`. Their services are made when one of them runs.
CommandTable commands();

}  // namespace quillo
