#pragma once

#include <string>

#include "platform/Wording.h"
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
  // Whether a window that comes up by itself under Wayland can leave the keyboard where it is.
  bool waylandLeavesFocus = false;

  // Asks the displays and looks for Qt's plug-ins. Before Qt's application object is made.
  static DisplayFacts ofThisSession(const Environment& environment);
};

// Qt's platform plug-ins in the order in which they are to be tried. The last one always works.
std::string platformPluginsFor(const DisplayFacts& facts);

// Why neither icon nor windows can be shown, for the log and for the user.
struct DisplayProblem {
  std::string text = {};
  Wording wording = {};
};
DisplayProblem displayProblem(const DisplayFacts& facts);

}  // namespace quillo
