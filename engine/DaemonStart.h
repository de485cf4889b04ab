#pragma once

#include <optional>
#include <string>

#include "engine/EngineProblem.h"

namespace quillo {

class ClamdLink;
class SystemLog;

// Makes sure that a daemon runs when watching begins. Main thread.
class DaemonStart {
 public:
  DaemonStart(ClamdLink& engine, SystemLog& log) : engine_(engine), log_(log) {}

  // Takes the daemon that runs, or launches the one of the engine in the folder `root`. Returns
  // nothing when there is one then, else what is wrong, with the reason in the log; `unnamed` is
  // what is wrong without a root.
  std::optional<EngineProblem> makeSureDaemonRuns(const std::optional<std::string>& root,
                                                  const EngineProblem& unnamed);

  bool weLaunchedClamd = false;
  // While it loads its definitions, the daemon takes no QUIT yet.
  bool launchingClamd = false;

 private:
  bool daemonRuns();
  bool launch(const std::string& daemon);

  ClamdLink& engine_;
  SystemLog& log_;
};

}  // namespace quillo
