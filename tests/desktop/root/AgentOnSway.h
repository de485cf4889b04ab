#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "tests/desktop/root/AgentInSession.h"
#include "tests/desktop/support/screen/PictureParts.h"
#include "tests/desktop/support/session/SwaySession.h"

namespace quillo::tests {

// The agent in a session under sway. The bar and a notification server come when a test starts
// them.
class AgentOnSway : public AgentInSession {
 protected:
  using Window = SwaySession::Window;

  // Logs ada in; `preferences` are lines of TOML. Then start() or startAndAwaitWatching().
  void logIn(const SwaySession::Options& options = {}, const std::string& preferences = "");

  SwaySession& session() { return *session_; }

  // Opens another program's window, which gets the keyboard.
  void openNotepad();
  // What has arrived there.
  std::string textInNotepad() const;
  bool notepadComesToHold(const std::string& text);

  // The place of the agent's icon in the bar; throws std::runtime_error when there is none.
  QRect iconArea();
  // Saves the test file of that name; gives the window that warns of it once it is drawn.
  Window warningOf(const std::string& fileName);
  // The topmost window of the agent's, whatever its title.
  std::optional<Window> windowOfTheAgent();
  // Where the buttons of a window's last row are, from the left, in pixels of the monitor.
  std::vector<QRect> buttonsOf(const Window& window);
  // Waits until they answer.
  void awaitButtons(const Window& window);
  void clickButton(const Window& window, std::size_t place);
  // Where the buttons are in a font of another size: above the lower edge of their window.
  void setMiddleOfButtons(int height) { middleOfButtons_ = height; }
  // What two pictures of the screen differ in.
  static QRect changedArea(const QImage& before, const QImage& after);

 private:
  QRect pixelsOf(const Window& window) const;

  // Kept by AgentInSession.
  SwaySession* session_ = nullptr;
  std::unique_ptr<ChildProcess> notepad_;
  int middleOfButtons_ = usualMiddleOfButtons;
};

}  // namespace quillo::tests
