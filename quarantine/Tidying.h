#pragma once

namespace quillo {

struct OpenQuarantine;

// Ends what a crash left half done: confirms what was moved, ends what was restored, and takes away
// records whose file is not there. Nobody else moves or restores anything meanwhile.
void tidyUp(OpenQuarantine& quarantine);

}  // namespace quillo
