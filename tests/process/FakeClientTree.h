#pragma once

#include <string>
#include <vector>

#include "posix/Clock.h"
#include "tests/fakes/ScratchFolder.h"

namespace quillo::front {

// What a run printed, and how it ended: exit status, or a signal's number.
struct FrontRun {
  int status = -1;
  std::string output;
};

// An engine tree with the front program, whose real client is a little shell program: what it says
// of a file follows from the file's name (infected, limit, error, refused, noreply, silent, crash,
// hang, busy, split, garbage, forged, lost, gone; else clean). It logs its calls.
class FakeClientTree {
 public:
  FakeClientTree();

  const ScratchFolder& files() const { return files_; }
  std::string program() const { return tree_.at("bin/clamdscan"); }
  // Where its daemon would listen.
  std::string socket() const { return tree_.at("socket"); }
  // In its front.conf.
  void configure(const std::string& lines) const;
  // The argument lines of all runs of the client.
  std::string calls() const { return ScratchFolder::read(tree_.at("calls")); }
  // A pipe that a hanging client keeps open for writing. It says a word first.
  std::string lifeline() const { return tree_.at("lifeline"); }

  FrontRun run(const std::vector<std::string>& words) const;
  // With "--stdout --no-summary" and a list of these paths.
  FrontRun scan(const std::vector<std::string>& paths,
                const std::vector<std::string>& words = {}) const;
  // The same, in this process and with less patience.
  FrontRun scanWithPatience(const std::vector<std::string>& paths, Clock::Duration patience) const;

 private:
  std::vector<std::string> listWords(const std::vector<std::string>& paths) const;

  ScratchFolder tree_;
  ScratchFolder files_;
};

}  // namespace quillo::front
