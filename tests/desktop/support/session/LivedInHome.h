#pragma once

#include <string>

#include "tests/support/TemporaryFolder.h"

namespace quillo {

class UserSession;

// The home of somebody who has guarded a folder for some time: with settings, a history, files in
// the quarantine, and an engine that is a shell program. That finds something in files whose names
// hold "virus", cannot reach its daemon for "unreachable", takes its time over "slow", and keeps
// what it was asked in the file `engine/calls`.
class LivedInHome {
 public:
  LivedInHome();

  const TemporaryFolder& folder() const { return folder_; }
  const std::string& path() const { return folder_.path(); }
  // In the home.
  static constexpr const char* preferences = ".config/vantrel/org.vantrel.Vantrel.toml";

  // An agent that never says that it runs.
  static constexpr const char* lastingAgent = "exec sleep 60";

  // Has the session know an agent, which is that line of the shell. That it is started is noted in
  // the file `started`; what the user wants to be shown in `opened`.
  static void serve(UserSession& session, const std::string& agent);

 private:
  void writePrograms() const;
  void writeHistory() const;
  void fillQuarantine() const;

  TemporaryFolder folder_;
};

}  // namespace quillo
