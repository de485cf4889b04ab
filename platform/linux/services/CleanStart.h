#pragma once

namespace quillo {

// What a program of the user's is to begin with, for GLib's child set-up (g_spawn_async(3)): no
// signal blocked, none ignored, whatever this process does with its own. Runs between fork(2) and
// exec(3), so it calls only what is async-signal-safe; never call it in this process itself.
void startWithCleanSignals(void* unused);

}  // namespace quillo
