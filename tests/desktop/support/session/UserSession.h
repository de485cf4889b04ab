#pragma once

#include <sys/types.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "posix/ChildProcess.h"
#include "posix/UniqueFd.h"
#include "tests/desktop/support/bus/StatusItemBus.h"
#include "tests/support/TemporaryFolder.h"

namespace quillo {

// The processes that are started in it, and all that these start, are in a PID namespace
// (pid_namespaces(7)) of their own and end with it, also when the test itself is killed. Without
// the right to make one it only starts them.
class ProcessNamespace {
 public:
  ProcessNamespace();
  ~ProcessNamespace();
  ProcessNamespace(const ProcessNamespace&) = delete;
  ProcessNamespace& operator=(const ProcessNamespace&) = delete;

  // Every process in it has ended when this returns.
  void end() { first_.reset(); }

  std::unique_ptr<ChildProcess> start(const LaunchRequest& request);

 private:
  UniqueFd outer_;
  UniqueFd inner_;
  std::unique_ptr<ChildProcess> first_;
};

// What every desktop of a test has, whatever draws it: a user with a home and a run-time folder, a
// session bus, and processes in a namespace of their own. All of it ends with the object.
class UserSession {
 public:
  // Whose desktop it is.
  struct User {
    std::string home = {};  // an existing folder; "" for a temporary one
    uid_t id = 0;           // 0 for whoever runs the test
  };

  virtual ~UserSession();
  UserSession(const UserSession&) = delete;
  UserSession& operator=(const UserSession&) = delete;

  StatusItemBus& bus() { return *bus_; }
  const std::string& homeFolder() const { return home_; }
  const std::string& busAddress() const { return busAddress_; }
  // A program that the session bus starts when its name is called; before the first call to it.
  void addService(const std::string& name, const std::string& command);
  // What a program of this desktop is to be started with.
  std::vector<std::string> environment() const { return environment_; }

  // A program of the test's own, in the same namespace as the rest.
  std::unique_ptr<ChildProcess> start(const LaunchRequest& request) {
    return processes_.start(request);
  }
  // Starts another bus, for services of the machine; gives its address.
  std::string startSystemBus();
  // A program of the user, found in PATH; it ends with this object at the latest.
  std::unique_ptr<ChildProcess> startCommand(std::vector<std::string> command,
                                             int descriptorThree = -1);
  // Likewise, to its end.
  void run(std::vector<std::string> command);

  // Lets programs that start from now on with darkVariables() find the settings of a dark desktop.
  void makeDark();
  static std::vector<std::string> darkVariables() {
    return {"XDG_CURRENT_DESKTOP=KDE", "KDE_SESSION_VERSION=5"};
  }

  // What the programs have said.
  std::string log() const;

  // The user's hand, in pixels of the screen.
  virtual void click(int x, int y, int button = 1, const std::string& heldKey = "") = 0;
  // A picture of the screen for people, `screenshots/<name>.png` in the build folder.
  virtual void keepPicture(const std::string& name) = 0;

 protected:
  explicit UserSession(const User& user);

  const std::string& runtimeFolder() const { return runtime_; }
  void addVariable(const std::string& variable) { environment_.push_back(variable); }
  // Everything below the home folder that there is by now is the user's.
  void giveHomeToUser();
  void startSessionBus();
  // A program that writes to descriptor 3 how to reach it, as soon as that is possible.
  std::string startWithAnswer(const std::vector<std::string>& command,
                              std::unique_ptr<ChildProcess>& process);
  static std::string pictureFile(const std::string& name);

 private:
  void addServicesOfTheMachine();
  std::string startBus(const std::string& name, std::unique_ptr<ChildProcess>& process);

  User user_;
  std::optional<TemporaryFolder> ownHome_;
  const std::string home_;
  const std::string runtime_;
  std::string busAddress_;
  std::vector<std::string> environment_;
  ProcessNamespace processes_;
  std::unique_ptr<ChildProcess> busDaemon_;
  std::unique_ptr<ChildProcess> systemBusDaemon_;
  std::unique_ptr<StatusItemBus> bus_;
};

}  // namespace quillo
