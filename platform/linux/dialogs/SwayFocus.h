#pragma once

namespace quillo {

// Has sway, where it runs, give floating windows of this application no focus when they appear, so
// that the keyboard stays where the user types: sway-ipc(7)'s no_focus, for this session's sway
// only and until its configuration is read again. Answers whether sway took it. Any thread; waits
// for sway, half a second at most.
bool keepFocusFromFloatingWindows();

}  // namespace quillo
