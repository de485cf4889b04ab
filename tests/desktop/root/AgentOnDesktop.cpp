#include "tests/desktop/root/AgentOnDesktop.h"

#include <algorithm>
#include <stdexcept>

#include "tests/desktop/support/screen/PictureParts.h"

namespace quillo::tests {
namespace {

// The outlines of every icon, and the fields of those for watching and for scanning.
constexpr QRgb outlineColour = 0x16212c;
constexpr QRgb watchingColour = 0x0f8a7a;
constexpr QRgb scanningColour = 0x2467b8;
constexpr QRgb warningColour = 0xc9302c;
// Of the agent's menu, below what it is doing and what would mend that.
constexpr std::size_t commands = 10;
const QRect panelArea(0, 0, DesktopSession::width, 40);

}  // namespace

void AgentOnDesktop::logIn(const std::string& preferences) {
  makeHome(preferences);
  auto session =
      std::make_unique<DesktopSession>(DesktopSession::User{homeOfAda, GuardedHome::user});
  session_ = session.get();
  enter(std::move(session));
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
    // Before it is drawn, what lies behind it is seen, which may have buttons as well.
    const bool isDrawn =
        !windows.empty() && (title != warningTitle || screen.find(warningColour, windows.back()));
    const QImage picture = screen.picture();
    buttons = isDrawn ? buttonsIn(picture, windows.back()) : std::vector<QRect>();
    return buttons.size() >= 2 && looksEnabled(picture, buttons.back());
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
