#pragma once

#include "benchmarks/support/Processes.h"

namespace bench {

// Lets so much time pass, where a benchmark measures what happens in it. Any thread.
void pauseFor(Seconds length);

}  // namespace bench
