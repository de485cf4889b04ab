#pragma once

#include <string>
#include <vector>

#include "tools/engine-tree/MachineEngine.h"

namespace quillo {

// What a tree's sbin/clamd and bin/freshclam do. `arguments` are those after the program's name;
// the results are exit statuses. Either may replace this process by the real program.

// Starts the private daemon with ROOT/etc/clamd.conf, brought up to date first (its socket folder
// is made anew; the machine's own daemon may have come or gone). Returns when it has loaded: 0 when
// a daemon answers for the tree, also one that ran before; 1 when none can be started. With another
// configuration file, or with further options, it is the real clamd.
int launchDaemon(const std::string& root, const std::vector<std::string>& arguments,
                 const MachinePlaces& places);

// The real freshclam with ROOT/etc/freshclam.conf, its exit status handed on (freshclam(1)), after
// another one that is at work on these definitions has ended. Where somebody else keeps the
// definitions, so that this user cannot write them, it reports how old they are: "up to date" as
// --on-update-execute=EXIT_1 asks for it (1 without the option, 0 with it), or 10, as freshclam's
// own, when nobody has renewed them for a week.
int launchUpdater(const std::string& root, const std::vector<std::string>& arguments);

// Returns ROOT of the tree that the running program lies in, ROOT/bin/PROGRAM or ROOT/sbin/PROGRAM.
std::string rootOfProgram(const std::string& program);

}  // namespace quillo
