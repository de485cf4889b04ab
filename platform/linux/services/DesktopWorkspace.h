#pragma once

#include <QDBusConnection>
#include <QObject>
#include <functional>
#include <string>

#include "platform/Workspace.h"
#include "platform/linux/services/ActiveWindow.h"

namespace quillo {

// Files through GIO (opener, trash) and the file manager's org.freedesktop.FileManager1.
class DesktopWorkspace final : public QObject, public Workspace {
 public:
  explicit DesktopWorkspace(const QDBusConnection& bus) : bus_(bus) {}

  // Opens it with the application that the user chose for its type, else by xdg-open(1).
  bool openFile(const std::string& path) override;
  // Opens the file's folder where no file manager can select it.
  bool selectFile(const std::string& path) override;
  std::string recycle(const std::string& sourceFolder,
                      const std::vector<std::string>& names) override;

 private:
  QDBusConnection bus_;
};

// Other applications over D-Bus (org.freedesktop.Application, Desktop Entry 1.5, freedesktop.org),
// else by the desktop file that bears their identifier.
class DesktopApplicationLauncher final : public QObject, public ApplicationLauncher {
 public:
  // `report` is called with an application that did not start after all.
  DesktopApplicationLauncher(const QDBusConnection& bus,
                             std::function<void(const std::string& problem)> report)
      : bus_(bus), report_(std::move(report)) {}

  bool isInstalled(const std::string& identifier) override;
  bool launchApplication(const std::string& identifier) override;
  // By the application's action of that name. Where it cannot be asked it is only started.
  bool openPage(const std::string& identifier, const std::string& page) override;
  bool isLaunching() override { return activations_ > 0; }
  bool launchFailed() override { return failed_; }
  // Returns that of the window in use on X11. Where that is unknown, as on Wayland, the application
  // launched last is taken for it as soon as it owns its identifier as a name on the bus; without a
  // bus at once.
  std::string activeApplicationIdentifier() override;

 private:
  bool launch(const std::string& identifier, const std::string& action);
  void activate(const std::string& identifier, const std::string& action);
  bool launchDesktopFileOf(const std::string& identifier);

  QDBusConnection bus_;
  const std::function<void(const std::string& problem)> report_;
  ApplicationWindows launched_;
  bool failed_ = false;
  // Calls that the bus has not answered yet.
  int activations_ = 0;
};

}  // namespace quillo
