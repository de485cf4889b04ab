#pragma once

#include <QJsonDocument>
#include <string>

#include "posix/UniqueFd.h"

namespace quillo {

// The door of a sway for other programs (sway-ipc(7)). Throws std::runtime_error when sway is not
// there or does not answer.
class SwayIpc {
 public:
  explicit SwayIpc(const std::string& socket);

  // Carries out a command, as a line of sway(5).
  void command(const std::string& line);
  // All outputs, workspaces and windows.
  QJsonDocument tree();
  // Waits, for so long at most, until something happens to a window or a workspace.
  void awaitEvent(std::chrono::milliseconds limit);

 private:
  UniqueFd requests_;
  UniqueFd events_;
};

}  // namespace quillo
