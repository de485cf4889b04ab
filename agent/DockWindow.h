#pragma once

namespace quillo {

class Application;
class StatusBoard;
class SystemLog;
class TypedPreferences;

// The agent's own window, which is the one of its Dock tile. Main thread.
class DockWindow {
 public:
  DockWindow(Application& application, const TypedPreferences& preferences, SystemLog& log,
             StatusBoard& statusBoard)
      : application_(application),
        preferences_(preferences),
        log_(log),
        statusBoard_(statusBoard) {}

  // Returns whether "ShowDockIcon" asks for a Dock tile.
  bool isWanted() const;
  // Shows the Dock tile, and verdicts in it, if it is wanted. The log says when it cannot be shown.
  void showIfWanted();
  // Brings the window to the front, whether or not a Dock tile is wanted. Returns 0, or the error's
  // number, which the log says, too.
  int show();

 private:
  void logFailure(int error);

  Application& application_;
  const TypedPreferences& preferences_;
  SystemLog& log_;
  StatusBoard& statusBoard_;
};

}  // namespace quillo
