#pragma once

#include <sys/types.h>

#include <optional>
#include <string>

#include "platform/linux/services/GioPointer.h"

namespace quillo {

// Starts the application of a desktop file (Desktop Entry 1.5, freedesktop.org), with `uri` to open
// when that is not empty. What it prints is dropped, for the agent's own output is a log. The
// process's number, 0 when the desktop started it in another way; nothing when it could not be
// started. Main thread.
std::optional<pid_t> launchDesktopFile(GDesktopAppInfo* application, const std::string& uri);

// What a program of the user's is to begin with, for GLib's child set-up (g_spawn_async(3)): no
// signal blocked, none ignored, whatever this process does with its own. Runs between fork(2) and
// exec(3), so it calls only what is async-signal-safe; never call it in this process itself.
void startWithCleanSignals(void* unused);

}  // namespace quillo
