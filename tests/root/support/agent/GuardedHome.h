#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

namespace quillo::tests {

// The home of an ordinary user with the real agent in it, its real helper set-user-ID root, and an
// engine tree with the installed ClamAV and the built-in definition. The agent has no display and
// no bus unless it is given a desktop. All of it lies below /tmp, but for a home that was asked for
// elsewhere, and ends with this object.
class GuardedHome {
 public:
  static constexpr uid_t user = 12345;
  // What does not lie below `root`: a home to be made, the prefix of an installation that has been
  // made.
  struct Places {
    std::string home;
    std::string prefix;
    std::string root = "/tmp/guarded";
  };

  // `preferences` are lines of TOML that follow those for the engine and precede the watched
  // folders.
  explicit GuardedHome(const std::string& preferences = "") : GuardedHome(preferences, Places()) {}
  // Likewise elsewhere.
  GuardedHome(const std::string& preferences, const Places& places);
  ~GuardedHome();
  GuardedHome(const GuardedHome&) = delete;
  GuardedHome& operator=(const GuardedHome&) = delete;

  const std::string& home() const { return home_; }
  std::string guarded(const std::string& name = "") const;
  std::string tree() const { return home_ + "/engine"; }
  std::string log() const;
  std::string socket() const;

  // Before start(): watches this folder instead of ~/Downloads.
  void watchInstead(const std::string& folder) { watched_ = folder; }
  // Before start(): "NAME=value" for the agent and every program of its user.
  void setVariable(const std::string& variable);
  // Before start(): the environment of a desktop in place of none.
  void setDesktop(const std::vector<std::string>& environment);
  // Before start(): the whole of the preferences.
  void writePreferences(const std::string& toml) const;
  // Makes the engine tree anew, as after a change of its etc/*.local.
  void makeTree() const;
  // Starts the daemon of the tree, as somebody else than the agent would.
  void startDaemon() const;

  // Starts the agent; awaitWatching() also waits until it reports what is saved, by a file of a
  // name that it has not reported yet.
  void start();
  void awaitWatching(const std::string& sentinel = "sentinel");
  void startAndAwaitWatching() {
    start();
    awaitWatching();
  }
  // Another program of the same user, to its end, in the agent's environment.
  struct Outcome {
    int status;
    std::string output;
  };
  Outcome runAsUser(const std::vector<std::string>& command) const;
  // A second agent of the same user, to its end; gives its exit status.
  int runSecondAgent() const;
  // Sends SIGTERM and gives the exit status.
  int stop();
  // Waits until the agent has ended by itself and gives its exit status; -1 at the deadline.
  int awaitEnd();
  bool isRunning() const;
  pid_t agent() const { return agent_; }
  // A running process of that name which the agent started; -1 when there is none.
  pid_t child(const std::string& name) const;
  pid_t helper() const { return child("gfslogger"); }
  pid_t daemon() const;

  // Writes a file as the user, with the folders it needs.
  std::string save(const std::string& name, const std::string& contents) const;
  std::string saveInfected(const std::string& name) const;

  // Waits until so many lines of the log hold that text; false at the deadline.
  bool logHas(const std::string& text, int times = 1) const;
  int linesWith(const std::string& text) const;
  std::string readLog() const;

  // The EICAR test file, put together.
  static std::string testFile();

 private:
  void copyBuild() const;
  pid_t spawn(const std::vector<std::string>& command, const std::string& output) const;
  int run(const std::vector<std::string>& command) const;
  void unsetVariable(const std::string& name);

  std::string root_;
  std::string home_;
  std::string prefix_;
  std::string watched_;
  std::string preferences_;
  std::vector<std::string> environment_;
  pid_t agent_ = -1;
};

// Gives the user of GuardedHome a name (passwd(5)) as long as this object: a session bus wants to
// know it.
class NamedUser {
 public:
  explicit NamedUser(const std::string& name = "guarded", const std::string& home = "/tmp");
  ~NamedUser();
  NamedUser(const NamedUser&) = delete;
  NamedUser& operator=(const NamedUser&) = delete;
};

}  // namespace quillo::tests
