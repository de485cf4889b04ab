#pragma once

#include <gtest/gtest.h>

#include <QRect>
#include <memory>
#include <string>
#include <vector>

#include "tests/desktop/support/BusMonitor.h"
#include "tests/desktop/support/DesktopSession.h"
#include "tests/root/support/GuardedHome.h"
#include "tests/root/support/NamedUser.h"

namespace quillo::tests {

// The whole of it: the real agent of the user "ada" with its real helper and engine, in a session
// of hers under a real X server. The panel and a notification server come when a test starts them.
class AgentOnDesktop : public testing::Test {
 protected:
  enum class Icon { none, idle, watching, scanning };
  static constexpr const char* warningTitle = "Malware Found";

  // Takes notifications without showing them.
  class NotificationServer : public StandInService {
   public:
    explicit NotificationServer(DesktopSession& session)
        : StandInService(
              session.busAddress(), "org.freedesktop.Notifications",
              {{"Notify", "(uint32 7,)"}, {"GetCapabilities", "(['body', 'body-markup'],)"}}) {}
  };

  AgentOnDesktop();

  // Logs ada in; `preferences` are lines of TOML. Then start() or startAndAwaitWatching().
  void logIn(const std::string& preferences = "");
  // Before start(): a variable of the agent's environment, "NAME=value".
  void addVariable(const std::string& variable);
  void start();
  void startAndAwaitWatching();

  GuardedHome& home() { return *home_; }
  DesktopSession& session() { return *session_; }
  // Everything said on the session bus since logIn().
  BusMonitor& bus() { return *bus_; }

  // Posts a distributed notification.
  void post(const std::string& name);
  // What a command of ada's prints.
  std::string outputOf(std::vector<std::string> command);
  // The value that a script reads from the agent, as dbus-send(1) prints it.
  std::string valueForKey(const std::string& key);

  // Whether the panel comes to show that icon.
  bool showsIcon(Icon icon);
  // Where the panel shows it; throws std::runtime_error when it does not.
  QRect iconArea();
  // The bus name of the agent's status item; "" if there is none.
  std::string statusItem();
  // Clicks on the icon; gives where the menu is then.
  QRect openMenu();
  // Clicks on the command of that place in an open menu, from 0, without the lines between them and
  // those above that say what the agent is doing.
  void chooseItem(const QRect& menu, std::size_t place);
  // The menu that opens beside that one.
  QRect submenuOf(const QRect& menu);
  // Waits until an item of the menu is enabled, or is not.
  bool itemBecomes(const std::string& label, bool enabled);

  // Whether there come to be so many windows of that title.
  bool showsWindows(std::size_t count, const std::string& title);
  // How many buttons the topmost window of that title has, once it is drawn.
  std::size_t buttonsOf(const std::string& title);
  // How many notifications are on the screen.
  int notificationsShown();
  // Clicks on a button of the topmost window of that title, from the left.
  void clickButton(const std::string& title, std::size_t place, const std::string& heldKey = "");
  // Clicks into the topmost window of that title, where nothing is to be pressed.
  void focus(const std::string& title);

 private:
  std::vector<QRect> buttonAreas(const std::string& title);
  NamedUser user_;
  std::unique_ptr<GuardedHome> home_;
  std::unique_ptr<DesktopSession> session_;
  std::unique_ptr<BusMonitor> bus_;
  std::vector<std::string> variables_;
};

}  // namespace quillo::tests
