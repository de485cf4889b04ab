#pragma once

#include <QJsonDocument>
#include <chrono>
#include <cstdint>
#include <map>
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

// A pointer of a wlroots compositor without a mouse (wlr-virtual-pointer-unstable-v1), as long as
// this object. Throws std::runtime_error when the compositor has none.
class WaylandPointer {
 public:
  enum class Button : std::uint32_t { left = 0x110, right = 0x111 };

  // `socket` is the compositor's, by its path.
  explicit WaylandPointer(const std::string& socket);

  // To a point of an output of that size. Returns when the compositor has taken it in, as the
  // others do.
  void moveTo(int x, int y, int width, int height);
  void press(Button which);
  void release(Button which);

 private:
  class Request;
  void send(const Request& request) const;
  std::string take(std::size_t size) const;
  // Waits until everything sent has been carried out; notes what the registry names meanwhile.
  void sync();
  void bind(const std::string& interface, std::uint32_t version, std::uint32_t object);
  void setButton(Button which, bool isDown);

  const UniqueFd connection_;
  std::map<std::string, std::uint32_t> globals_;
  std::uint32_t lastObject_;
};

}  // namespace quillo
