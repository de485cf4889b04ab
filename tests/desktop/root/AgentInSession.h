#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "tests/desktop/support/bus/BusConnection.h"
#include "tests/desktop/support/session/UserSession.h"
#include "tests/root/support/agent/GuardedHome.h"

namespace quillo::tests {

// The whole of it: the real agent of the user "ada" with its real helper and engine, in a session
// of hers. Which desktop that is, is for who inherits this to say.
class AgentInSession : public testing::Test {
 protected:
  static constexpr const char* warningTitle = "Malware Found";
  static constexpr const char* homeOfAda = "/home/ada";

  // Takes notifications without showing them.
  class NotificationServer : public StandInService {
   public:
    explicit NotificationServer(UserSession& session)
        : StandInService(
              session.busAddress(), "org.freedesktop.Notifications",
              {{"Notify", "(uint32 7,)"}, {"GetCapabilities", "(['body', 'body-markup'],)"}}) {}
  };

  AgentInSession();

  // Before start(): a variable of the agent's environment, "NAME=value".
  void addVariable(const std::string& variable);
  void start();
  void startAndAwaitWatching();

  GuardedHome& home() { return *home_; }
  // Everything said on the session bus since the login.
  BusMonitor& bus() { return *bus_; }

  // Posts a distributed notification.
  void post(const std::string& name);
  // What a command of ada's prints.
  std::string outputOf(std::vector<std::string> command);
  // The value that a script reads from the agent, as dbus-send(1) prints it.
  std::string valueForKey(const std::string& key);
  // The bus name of the agent's status item; "" if there is none.
  std::string statusItem();

  // `preferences` are lines of TOML.
  void makeHome(const std::string& preferences);
  // The session that was made in that home. It is kept for as long as this object.
  void enter(std::unique_ptr<UserSession> session);

 private:
  NamedUser user_;
  std::unique_ptr<GuardedHome> home_;
  std::unique_ptr<UserSession> session_;
  std::unique_ptr<BusMonitor> bus_;
  std::vector<std::string> variables_;
};

}  // namespace quillo::tests
