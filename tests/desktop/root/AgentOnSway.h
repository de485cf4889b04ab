#pragma once

#include <optional>
#include <string>

#include "tests/desktop/root/AgentInSession.h"
#include "tests/desktop/support/SwaySession.h"

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
  // Where the buttons of a window are, from the left.
  std::vector<QRect> buttonsOf(const Window& window);

 private:
  // Kept by AgentInSession.
  SwaySession* session_ = nullptr;
  std::unique_ptr<ChildProcess> notepad_;
};

}  // namespace quillo::tests
