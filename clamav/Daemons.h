#pragma once

#include <sys/types.h>

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace quillo {

// A daemon as its command line shows it.
struct RunningDaemon {
  // Empty where nothing is shown that can be run.
  std::string program;
  // Nothing when the daemon was started without one, or with one that cannot be used.
  std::optional<std::string> configuration;
};

// Reads the process list's lines about the daemon, as one text: the program begins at the first
// "/", the configuration stands behind "--config-file=" or "-c " and runs to the end. Pure.
RunningDaemon parseProcessList(std::string_view text);

// Returns the configuration file that a command line names: "-c FILE", "-cFILE",
// "--config-file=FILE" or "--config-file FILE" (clamd(8)); "" when it names none. `words` holds the
// program's name first. Pure.
std::string configurationOption(const std::vector<std::string>& words);

// Finds daemons among the processes (proc(5)). A command line is whatever its owner likes, so a
// process counts only when it belongs to a trusted user, and nothing that it names is run or read
// before the path is known to be safe.

// Which processes count.
struct DaemonSearch {
  // Whose. Real, effective and saved user have to be of these, or a stranger's set-user-ID program
  // would be root's; and where the system keeps it, the user who logged in.
  std::vector<uid_t> owners;
  // Whatever mentions "clamd" is a daemon, a scanner too, and all such lines of the process list
  // are one text; a list that fails counts as a daemon. Otherwise only a live clamd counts that was
  // started without a configuration, or with one of `configurations`: one that runs with any other
  // file is somebody's private daemon.
  bool everyMentionCounts = true;
  std::vector<std::string> configurations = {};
  std::string processes = "/proc";
};

// Returns the daemon that runs on this machine; nothing when there is none. Of its program and
// configuration only what root or this user alone can have put there: a clamd that can be run, a
// file that ClamConf::read() takes. May wait for the process list. Throws PlatformException when no
// shell can be run. Any thread.
std::optional<RunningDaemon> findDaemon(const DaemonSearch& search);
// Returns findDaemon() with every mention of a daemon by trustedDaemonUsers().
std::optional<RunningDaemon> findRunningDaemon();

// Returns true when the process belongs to one of `owners`, by the rule of DaemonSearch::owners.
bool isProcessOf(const std::string& processes, std::string_view process,
                 const std::vector<uid_t>& owners);
// Returns true when the process was started with `variable`, "NAME=value", in its environment, or
// descends from one that was; false where that cannot be seen.
bool isProcessMarked(pid_t process, const std::string& variable);
// Asks each process so marked to end (SIGTERM): also those that what was launched has started and
// put into a session of their own.
void endMarkedProcesses(const std::string& variable);
// Returns true when the process is there and neither stopped nor a zombie.
bool isProcessAtWork(pid_t process);

}  // namespace quillo
