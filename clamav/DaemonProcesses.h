#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

namespace quillo {

// Whether a live clamd process of one of `users` is listed below `processFolder` (proc(5)) that was
// started without a configuration option or with one of `configurations`. One that runs with any
// other file is somebody's private daemon.
bool daemonRuns(const std::string& processFolder, const std::vector<uid_t>& users,
                const std::vector<std::string>& configurations);

// The configuration file that a command line names: "-c FILE", "-cFILE", "--config-file=FILE" or
// "--config-file FILE" (clamd(8)); empty when it names none. `words` holds the program's name
// first.
std::string configurationOption(const std::vector<std::string>& words);

}  // namespace quillo
