#pragma once

#include <memory>
#include <string>
#include <vector>

#include "posix/Clock.h"
#include "tests/fakes/engine/SessionClamd.h"
#include "tests/support/TemporaryFolder.h"

namespace quillo::wrapper {

// What a run printed, and how it ended: exit status, or a signal's number.
struct WrapperRun {
  int status = -1;
  std::string output;
};

// An engine tree with the wrapper, a fake daemon, and as the real client a little shell
// program that logs its calls, says "client" and hangs where a word begins with "hang".
class FakeClientTree {
 public:
  FakeClientTree();

  const TemporaryFolder& files() const { return files_; }
  // Holds its own name, by which the daemon judges it.
  std::string file(const std::string& name) const;
  std::string program() const { return tree_.at("bin/clamdscan"); }
  // Where its daemon listens, or would.
  std::string socket() const { return tree_.at("socket"); }
  std::string configuration() const { return tree_.at("etc/clamd.conf"); }
  // In its clamd.conf, instead of or behind the lines that are there; in its front.conf.
  void configureDaemon(const std::string& lines) const;
  void addToDaemon(const std::string& lines) const;
  void configure(const std::string& lines) const;
  // The argument lines of all runs of the client.
  std::string calls() const { return TemporaryFolder::read(tree_.at("calls")); }
  // A pipe that a hanging client keeps open for writing. It says a word first.
  std::string lifeline() const { return tree_.at("lifeline"); }

  // Replaces the daemon, which says the truth at first.
  SessionClamd& daemon(SessionClamd::Script script, SessionClamd::Manners manners = {});
  SessionClamd& daemon() { return *daemon_; }
  void endDaemon() { daemon_.reset(); }

  WrapperRun run(const std::vector<std::string>& words) const;
  // With "--stdout --no-summary" and a list of these paths.
  WrapperRun scan(const std::vector<std::string>& paths,
                  const std::vector<std::string>& words = {}) const;
  // Likewise, in this process and with less patience.
  WrapperRun scanWithPatience(const std::vector<std::string>& paths,
                              Clock::Duration patience) const;
  std::vector<std::string> listWords(const std::vector<std::string>& paths) const;

 private:
  TemporaryFolder tree_;
  TemporaryFolder files_;
  std::unique_ptr<SessionClamd> daemon_;
};

}  // namespace quillo::wrapper
