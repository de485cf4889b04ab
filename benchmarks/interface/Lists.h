#pragma once

#include "benchmarks/interface/Stage.h"

namespace bench {

// Measures how soon the window shows a full quarantine and a long history, and how long its main
// thread answers nobody while its user leafs through them and while news come.
void measureLists(Stage& stage);

}  // namespace bench
