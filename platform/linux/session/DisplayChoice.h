#pragma once

#include <string>

#include "platform/LocalizedStrings.h"
#include "platform/linux/services/Environment.h"

namespace quillo {

// The displays of this session.
struct DisplayFacts {
  // The names of the displays, "" where there is none.
  std::string wayland = {};
  std::string x11 = {};
  bool waylandAnswers = false;
  bool x11Answers = false;
  bool hasWaylandPlugin = false;
  bool hasX11Plugin = false;
  // A window that comes up by itself under Wayland can leave the keyboard where it is.
  bool waylandLeavesFocus = false;

  // Asks the displays and looks for Qt's plug-ins. Windows that come only when they are asked for
  // may have the keyboard. Before Qt's application object is made.
  static DisplayFacts ofThisSession(const Environment& environment, bool comesUnasked = true);
};

// Returns Qt's platform plug-ins in the order in which they are to be tried. The last one always
// works.
std::string platformPluginsFor(const DisplayFacts& facts);

// Why neither icon nor windows can be shown, for the log and for the user.
struct DisplayProblem {
  std::string text = {};
  Wording wording = {};
};
DisplayProblem displayProblem(const DisplayFacts& facts);

// Has sway, where it runs, give floating windows of this application no focus when they appear, so
// that the keyboard stays where the user types: sway-ipc(7)'s no_focus, for this session's sway
// only and until its configuration is read again. Returns true when sway took it. Any thread; waits
// for sway, half a second at most.
bool keepFocusFromFloatingWindows();

}  // namespace quillo
