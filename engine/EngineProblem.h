#pragma once

#include <string>

namespace quillo {

// Why the engine or a part of it cannot be used, for the window that says so.
struct EngineProblem {
  enum class Kind {
    noPreferences,    // there are none at all; the path is where they would be
    notChosen,        // the preferences name no engine
    noUpdateLog,      // they name no log for updates; nothing else is wrong
    daemonMissing,    // there is no program that could be launched as the daemon
    daemonFailed,     // it was launched and did not come up
    scannerMissing,   // the program that scans cannot be read
    scannerFailed,    // it could not be started
    updaterMissing,   // the program that updates cannot be read; scans go on
    updaterNotKnown,  // nothing says where it lies
  };

  Kind kind = Kind::notChosen;
  // The program that it is about, where there is one.
  std::string path = {};
};

}  // namespace quillo
