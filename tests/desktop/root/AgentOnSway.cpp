#include "tests/desktop/root/AgentOnSway.h"

#include <filesystem>
#include <stdexcept>

#include "tests/desktop/support/screen/PictureParts.h"
#include "tests/root/support/world/FilesAndMounts.h"

namespace quillo::tests {
namespace {

// The outlines of every icon.
constexpr QRgb outlineColour = 0x16212c;
constexpr int heightOfBar = 28;
constexpr const char* applicationId = "org.vantrel.VantrelQuillo";
constexpr const char* notepadTitle = "Notepad";
const std::string notesOfAda = "/home/ada/notes.txt";

}  // namespace

void AgentOnSway::logIn(const SwaySession::Options& options, const std::string& preferences) {
  makeHome(preferences);
  auto session =
      std::make_unique<SwaySession>(SwaySession::User{homeOfAda, GuardedHome::user}, options);
  session_ = session.get();
  enter(std::move(session));
}

void AgentOnSway::openNotepad() {
  notepad_ = session_->startCommand({QUILLO_NOTEPAD, notesOfAda});
  const auto isFocused = [&] {
    const auto window = session_->window(notepadTitle);
    return window && window->isFocused;
  };
  if (!session_->eventually(isFocused)) {
    throw std::runtime_error("the other program does not get the keyboard");
  }
}

std::string AgentOnSway::textInNotepad() const {
  return std::filesystem::exists(notesOfAda) ? readFile(notesOfAda) : "";
}

bool AgentOnSway::notepadComesToHold(const std::string& text) {
  return session_->eventually([&] { return textInNotepad() == text; });
}

QRect AgentOnSway::iconArea() {
  std::optional<QRect> icon;
  session_->eventually([&] {
    icon = session_->find(outlineColour, QRect(0, 0, session_->size().width(), heightOfBar));
    return icon.has_value();
  });
  if (!icon) {
    session_->keepPicture("sway-without-icon");
    throw std::runtime_error("there is no icon in the bar");
  }
  return *icon;
}

AgentOnSway::Window AgentOnSway::warningOf(const std::string& fileName) {
  home().saveInfected(fileName);
  std::optional<Window> window;
  const bool isDrawn = session_->eventually([&] {
    window = session_->window(warningTitle);
    return window && buttonsOf(*window).size() >= 3;
  });
  if (!isDrawn) {
    session_->keepPicture("sway-without-warning");
    throw std::runtime_error("there is no warning of " + fileName);
  }
  return *window;
}

std::optional<AgentOnSway::Window> AgentOnSway::windowOfTheAgent() {
  std::optional<Window> topmost;
  for (const Window& window : session_->windows()) {
    if (window.application == applicationId) {
      topmost = window;
    }
  }
  return topmost;
}

std::vector<QRect> AgentOnSway::buttonsOf(const Window& window) {
  return buttonsIn(session_->picture(), pixelsOf(window), middleOfButtons_ * session_->scale());
}

QRect AgentOnSway::pixelsOf(const Window& window) const {
  constexpr int border = 2;
  const int scale = session_->scale();
  const QRect inner = window.area.adjusted(border, border, -border, -border);
  return {inner.topLeft() * scale, inner.size() * scale};
}

void AgentOnSway::awaitButtons(const Window& window) {
  const bool answer = session_->eventually([&] {
    const QImage picture = session_->picture();
    const std::vector<QRect> buttons =
        buttonsIn(picture, pixelsOf(window), middleOfButtons_ * session_->scale());
    return !buttons.empty() && looksEnabled(picture, buttons.back());
  });
  if (!answer) {
    session_->keepPicture("sway-without-buttons");
    throw std::runtime_error("the buttons do not answer");
  }
}

void AgentOnSway::clickButton(const Window& window, std::size_t place) {
  awaitButtons(window);
  const QPoint middle = buttonsOf(window).at(place).center() / session_->scale();
  session_->click(middle.x(), middle.y());
}

QRect AgentOnSway::changedArea(const QImage& before, const QImage& after) {
  QRect changed;
  for (int y = 0; y < after.height(); ++y) {
    for (int x = 0; x < after.width(); ++x) {
      if (before.pixel(x, y) != after.pixel(x, y)) {
        changed |= QRect(x, y, 1, 1);
      }
    }
  }
  return changed;
}

}  // namespace quillo::tests
