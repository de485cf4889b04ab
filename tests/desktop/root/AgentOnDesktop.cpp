#include "tests/desktop/root/AgentOnDesktop.h"

#include <algorithm>
#include <filesystem>
#include <stdexcept>

#include "tests/desktop/support/PictureParts.h"
#include "tests/root/support/Files.h"

namespace quillo::tests {
namespace {

const std::string homeOfAda = "/home/ada";
constexpr const char* emptied = "/home/.emptied";
constexpr const char* center = "/org/vantrel/DistributedNotificationCenter";
// The outlines of every icon, and the fields of those for watching and for scanning.
constexpr QRgb outlineColour = 0x16212c;
constexpr QRgb watchingColour = 0x0f8a7a;
constexpr QRgb scanningColour = 0x2467b8;
// Of the agent's menu, below what it is doing and what would mend that.
constexpr std::size_t commands = 10;
const QRect panelArea(0, 0, DesktopSession::width, 40);

// Empty folders for homes and for volumes.
void arrangeMachine() {
  if (!std::filesystem::exists(emptied)) {
    mountTmpfs("/home", "mode=755");
    mountTmpfs("/media", "mode=755");
    writeFile(emptied);
  }
}

}  // namespace

AgentOnDesktop::AgentOnDesktop() : user_("ada", homeOfAda) { arrangeMachine(); }

void AgentOnDesktop::logIn(const std::string& preferences) {
  home_ = std::make_unique<GuardedHome>(preferences, GuardedHome::Places{homeOfAda, ""});
  session_ = std::make_unique<DesktopSession>(DesktopSession::User{homeOfAda, GuardedHome::user});
  bus_ = std::make_unique<BusMonitor>(session_->busAddress());
}

void AgentOnDesktop::addVariable(const std::string& variable) { variables_.push_back(variable); }

void AgentOnDesktop::start() {
  // The last of two variables of one name counts.
  std::vector<std::string> desktop = session_->environment();
  desktop.insert(desktop.end(), variables_.begin(), variables_.end());
  home_->setDesktop(desktop);
  home_->start();
}

void AgentOnDesktop::startAndAwaitWatching() {
  start();
  home_->awaitWatching();
}

void AgentOnDesktop::post(const std::string& name) {
  session_
      ->startCommand({"dbus-send", "--session", center,
                      "org.vantrel.DistributedNotificationCenter." + name, "string:test"})
      ->waitUntilExit();
}

std::string AgentOnDesktop::outputOf(std::vector<std::string> command) {
  const std::string output = "/tmp/output-of-command";
  command.insert(command.begin(), {"/bin/sh", "-c", "exec \"$@\" >" + output + " 2>&1", "command"});
  session_->startCommand(std::move(command))->waitUntilExit();
  std::string text = readFile(output);
  std::filesystem::remove(output);
  return text;
}

std::string AgentOnDesktop::valueForKey(const std::string& key) {
  return outputOf({"dbus-send", "--session", "--print-reply", "--dest=org.vantrel.VantrelQuillo",
                   "/org/vantrel/VantrelQuillo", "org.vantrel.VantrelQuillo.ValueForKey",
                   "string:" + key});
}

int AgentOnDesktop::notificationsShown() {
  return std::atoi(outputOf({"dunstctl", "count", "displayed"}).c_str());
}

bool AgentOnDesktop::showsIcon(Icon icon) {
  Screen& screen = session_->screen();
  return screen.eventually([&] {
    const auto has = [&](QRgb colour) { return screen.find(colour, panelArea).has_value(); };
    switch (icon) {
      case Icon::watching:
        return has(watchingColour);
      case Icon::scanning:
        return has(scanningColour);
      case Icon::idle:
        return has(outlineColour) && !has(watchingColour) && !has(scanningColour);
      case Icon::none:
        return !has(outlineColour);
    }
    return false;
  });
}

std::string AgentOnDesktop::statusItem() {
  const std::vector<std::string> items = session_->bus().statusItems();
  return items.size() == 1 ? items.front() : "";
}

QRect AgentOnDesktop::iconArea() {
  const auto icon = session_->screen().find(outlineColour, panelArea);
  if (!icon) {
    throw std::runtime_error("there is no icon in the panel");
  }
  return *icon;
}

QRect AgentOnDesktop::openMenu() {
  Screen& screen = session_->screen();
  const QPoint icon = iconArea().center();
  session_->click(icon.x(), icon.y());
  std::vector<QRect> menus;
  const bool isOpen = screen.eventually([&] {
    menus = screen.menuAreas();
    return menus.size() == 1 && itemsIn(screen.picture(), menus.front()).size() >= 9;
  });
  if (!isOpen) {
    throw std::runtime_error("the icon opens no menu");
  }
  return menus.front();
}

QRect AgentOnDesktop::submenuOf(const QRect& menu) {
  Screen& screen = session_->screen();
  QRect submenu;
  const bool isOpen = screen.eventually([&] {
    for (const QRect& area : screen.menuAreas()) {
      if (area != menu && !itemsIn(screen.picture(), area).empty()) {
        submenu = area;
      }
    }
    return !submenu.isNull();
  });
  if (!isOpen) {
    throw std::runtime_error("the item opens no menu of its own");
  }
  return submenu;
}

void AgentOnDesktop::chooseItem(const QRect& menu, std::size_t place) {
  const std::vector<QRect> items = itemsIn(session_->screen().picture(), menu);
  const std::size_t state = items.size() > commands ? items.size() - commands : 0;
  const QPoint at = items.at(state + place).center();
  session_->click(at.x(), at.y());
}

bool AgentOnDesktop::itemBecomes(const std::string& label, bool enabled) {
  const std::string state = enabled ? "'enabled': <true>" : "'enabled': <false>";
  return session_->screen().eventually([&] {
    return session_->bus().menuLayout(statusItem()).find(state + ", 'label': <'" + label + "'>") !=
           std::string::npos;
  });
}

bool AgentOnDesktop::showsWindows(std::size_t count, const std::string& title) {
  return session_->screen().eventually(
      [&] { return session_->screen().countWindows(title) == count; });
}

std::vector<QRect> AgentOnDesktop::buttonAreas(const std::string& title) {
  Screen& screen = session_->screen();
  std::vector<QRect> buttons;
  screen.eventually([&] {
    const std::vector<QRect> windows = screen.windowAreas(title);
    buttons = windows.empty() ? windows : buttonsIn(screen.picture(), windows.back());
    return buttons.size() >= 2;
  });
  return buttons;
}

void AgentOnDesktop::focus(const std::string& title) {
  Screen& screen = session_->screen();
  buttonAreas(title);
  const std::vector<QRect> windows = screen.windowAreas(title);
  if (windows.empty()) {
    throw std::runtime_error("there is no \"" + title + "\"");
  }
  constexpr int besideThePicture = 4;
  const QPoint corner = windows.back().topLeft();
  session_->click(corner.x() + besideThePicture, corner.y() + besideThePicture);
  if (!screen.eventually([&] { return screen.activeWindowArea() == windows.back(); })) {
    throw std::runtime_error("\"" + title + "\" is not active after a click");
  }
}

std::size_t AgentOnDesktop::buttonsOf(const std::string& title) {
  return buttonAreas(title).size();
}

void AgentOnDesktop::clickButton(const std::string& title, std::size_t place,
                                 const std::string& heldKey) {
  const std::vector<QRect> buttons = buttonAreas(title);
  if (place >= buttons.size()) {
    session_->keepPicture("without-button");
    throw std::runtime_error("\"" + title + "\" has no such button");
  }
  session_->click(buttons[place].center().x(), buttons[place].center().y(), 1, heldKey);
}

}  // namespace quillo::tests
