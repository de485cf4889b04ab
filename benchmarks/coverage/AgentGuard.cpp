#include "benchmarks/coverage/AgentGuard.h"

#include <signal.h>
#include <unistd.h>

#include <stdexcept>

#include "benchmarks/support/StormFiles.h"

namespace bench {

AgentGuard::AgentGuard(const std::string& root, const std::string& build)
    : home_(root + "/home"),
      agent_(root, build),
      log_(home_ + "/Library/Logs/VantrelQuillo-scan.log") {}

void AgentGuard::writePreferences(bool catchesUp) const {
  std::string text = "PathToClamav = \"" + tree() + "\"\nPathToUpdateLog = \"" + home_ +
                     "/update.log\"\nSuppressInfoDialogs = true\nQuilloCatchUp = " +
                     (catchesUp ? "true" : "false") + "\n";
  std::vector<std::string> folders{guarded()};
  folders.insert(folders.end(), folders_.begin(), folders_.end());
  for (const std::string& folder : folders) {
    text += "[[QuilloFolderArray]]\npathName = \"" + folder + "\"\nWatchSubdirs = true\n";
  }
  writeFile(home_ + "/.config/vantrel/org.vantrel.Vantrel.toml", text);
}

void AgentGuard::start() {
  // What was saved before would be looked for, and hide what is missed afterwards.
  writePreferences(false);
  agent_.startAndAwaitWatching();
}

void AgentGuard::saveDuringRestart(const Save& save) {
  const auto agent = childNamed(getpid(), "vantrel-quillo");
  const auto helper = agent ? childNamed(*agent, "gfslogger") : std::nullopt;
  if (!helper) {
    throw std::runtime_error("the agent has no helper");
  }
  // What it had not read when it was killed is lost with it.
  kill(*helper, SIGSTOP);
  save();
  kill(*helper, SIGKILL);
}

void AgentGuard::saveWhileAway(const Save& save) {
  agent_.stop();
  writePreferences(true);
  agent_.startAndAwaitWatching();
  agent_.stop();
  save();
  agent_.startAndAwaitWatching();
}

}  // namespace bench
