#pragma once

#include <sys/types.h>

#include <memory>
#include <string>
#include <vector>

#include "posix/ChildProcess.h"
#include "tests/desktop/support/ProcessNamespace.h"
#include "tests/desktop/support/Screen.h"
#include "tests/desktop/support/SessionBus.h"

namespace quillo {

// A whole desktop of its own for a test: an X server without a monitor (Xvfb), a session bus, a
// window manager (openbox), and on demand a panel with a place for status items (xfce4-panel) and a
// notification server (dunst). All of it ends with the object.
class DesktopSession {
 public:
  // Whose desktop it is.
  struct User {
    std::string home = {};  // an existing folder; "" for a temporary one
    uid_t id = 0;           // 0 for whoever runs the test
  };

  static constexpr int width = 1024;
  static constexpr int height = 768;

  // Throws std::runtime_error when one of its programs is missing or does not come up.
  DesktopSession() : DesktopSession(User()) {}
  explicit DesktopSession(const User& user);
  ~DesktopSession();
  DesktopSession(const DesktopSession&) = delete;
  DesktopSession& operator=(const DesktopSession&) = delete;

  Screen& screen() { return *screen_; }
  SessionBus& bus() { return *bus_; }
  const std::string& homeFolder() const { return home_; }
  const std::string& busAddress() const { return busAddress_; }
  // A program that the session bus starts when its name is called; before the first call to it.
  void addService(const std::string& name, const std::string& command);
  // What a program of this desktop is to be started with.
  std::vector<std::string> environment() const { return environment_; }

  // A program of the test's own, in the same namespace as the rest.
  std::unique_ptr<ChildProcess> start(const LaunchRequest& request) {
    return processes_.start(request);
  }

  // Starts another bus, for services of the machine; gives its address.
  std::string startSystemBus();
  void startPanel();
  void stopPanel();
  void startNotificationServer();
  // A program of the user, found in PATH; it ends with this object at the latest.
  std::unique_ptr<ChildProcess> startCommand(std::vector<std::string> command,
                                             int descriptorThree = -1);

  // The user's hand (xdotool(1)), in pixels of the screen.
  void click(int x, int y, int button = 1, const std::string& heldKey = "");
  void pointTo(int x, int y);
  void press(const std::string& keys);
  // Lets programs that start from now on with darkVariables() find the settings of a dark desktop.
  void makeDark();
  static std::vector<std::string> darkVariables() {
    return {"XDG_CURRENT_DESKTOP=KDE", "KDE_SESSION_VERSION=5"};
  }
  // A picture of the screen for people, `screenshots/<name>.png` in the build folder.
  void keepPicture(const std::string& name);

 private:
  void addServicesOfTheMachine();
  std::string startBus(const std::string& name, std::unique_ptr<ChildProcess>& process);
  std::string startWithAnswer(const std::vector<std::string>& command,
                              std::unique_ptr<ChildProcess>& process);
  void run(std::vector<std::string> command);
  std::string log() const;

  User user_;
  std::string home_;
  std::string runtime_;
  std::string busAddress_;
  std::vector<std::string> environment_;
  ProcessNamespace processes_;
  std::unique_ptr<ChildProcess> server_;
  std::unique_ptr<ChildProcess> busDaemon_;
  std::unique_ptr<Screen> screen_;
  std::unique_ptr<SessionBus> bus_;
  std::unique_ptr<ChildProcess> windowManager_;
  std::unique_ptr<ChildProcess> systemBusDaemon_;
  std::unique_ptr<ChildProcess> panel_;
  std::unique_ptr<ChildProcess> notificationServer_;
};

}  // namespace quillo
