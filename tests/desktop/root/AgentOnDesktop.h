#pragma once

#include <QRect>
#include <string>
#include <vector>

#include "tests/desktop/root/AgentInSession.h"
#include "tests/desktop/support/session/DesktopSession.h"

namespace quillo::tests {

// The agent in a session under a real X server. The panel and a notification server come when a
// test starts them.
class AgentOnDesktop : public AgentInSession {
 protected:
  enum class Icon { none, idle, watching, scanning };

  // Logs ada in; `preferences` are lines of TOML. Then start() or startAndAwaitWatching().
  void logIn(const std::string& preferences = "");

  DesktopSession& session() { return *session_; }

  // Returns true when the panel comes to show that icon.
  bool showsIcon(Icon icon);
  // Where the panel shows it; throws std::runtime_error when it does not.
  QRect iconArea();
  // Clicks on the icon; gives where the menu is then.
  QRect openMenu();
  // Clicks on the command of that place in an open menu, from 0, without the lines between them and
  // those above that say what the agent is doing.
  void chooseItem(const QRect& menu, std::size_t place);
  // The menu that opens beside that one.
  QRect submenuOf(const QRect& menu);
  // Waits until an item of the menu is enabled, or is not.
  bool itemBecomes(const std::string& label, bool enabled);

  // Returns true when there come to be so many windows of that title.
  bool showsWindows(std::size_t count, const std::string& title);
  // How many buttons the topmost window of that title has, once they answer.
  std::size_t buttonsOf(const std::string& title);
  // How many notifications are on the screen.
  int notificationsShown();
  // Clicks on a button of the topmost window of that title, from the left.
  void clickButton(const std::string& title, std::size_t place, const std::string& heldKey = "");
  // Clicks into the topmost window of that title, where nothing is to be pressed.
  void focus(const std::string& title);

 private:
  std::vector<QRect> buttonAreas(const std::string& title);

  // Kept by AgentInSession.
  DesktopSession* session_ = nullptr;
};

}  // namespace quillo::tests
