#include "platform/linux/services/DesktopApplicationLauncher.h"

#include <QDBusMessage>
#include <QDBusPendingCallWatcher>

#include "platform/linux/services/DesktopFile.h"
#include "platform/linux/session/BusDaemon.h"
#include "posix/Text.h"

namespace quillo {
namespace {

// "org.vantrel.Vantrel" has its object at "/org/vantrel/Vantrel".
QString objectPathOf(const std::string& identifier) {
  return QString::fromStdString("/" + replacingAll(replacingAll(identifier, ".", "/"), "-", "_"));
}

GioPointer<GDesktopAppInfo> desktopFileOf(const std::string& identifier) {
  return GioPointer<GDesktopAppInfo>(g_desktop_app_info_new((identifier + ".desktop").c_str()));
}

}  // namespace

bool DesktopApplicationLauncher::isInstalled(const std::string& identifier) {
  const QString name = QString::fromStdString(identifier);
  BusDaemon daemon(bus_);
  return desktopFileOf(identifier) || daemon.hasOwner(name) || daemon.isActivatable(name);
}

bool DesktopApplicationLauncher::launchApplication(const std::string& identifier) {
  const QString name = QString::fromStdString(identifier);
  BusDaemon daemon(bus_);
  failed_ = false;
  launched_ = ApplicationWindows();
  launched_.identifier = identifier;
  if (const auto file = desktopFileOf(identifier)) {
    const char* windowClass = g_desktop_app_info_get_startup_wm_class(file.get());
    launched_.windowClass = windowClass != nullptr ? windowClass : "";
  }
  if (daemon.hasOwner(name) || daemon.isActivatable(name)) {
    activate(identifier);
    return true;
  }
  return launchDesktopFileOf(identifier);
}

void DesktopApplicationLauncher::activate(const std::string& identifier) {
  QDBusMessage call =
      QDBusMessage::createMethodCall(QString::fromStdString(identifier), objectPathOf(identifier),
                                     "org.freedesktop.Application", "Activate");
  call << QVariantMap();
  ++activations_;
  auto* watcher = new QDBusPendingCallWatcher(bus_.asyncCall(call), this);
  QObject::connect(watcher, &QDBusPendingCallWatcher::finished, this, [this, watcher, identifier] {
    watcher->deleteLater();
    --activations_;
    if (!watcher->isError() || launchDesktopFileOf(identifier)) {
      return;
    }
    failed_ = failed_ || identifier == launched_.identifier;
    if (report_) {
      report_(identifier + " could not be started: " + watcher->error().message().toStdString());
    }
  });
}

bool DesktopApplicationLauncher::launchDesktopFileOf(const std::string& identifier) {
  const auto file = desktopFileOf(identifier);
  const auto process = file ? launchDesktopFile(file.get(), {}) : std::nullopt;
  if (!process) {
    return false;
  }
  if (*process > 0) {
    launched_.processes.push_back(static_cast<unsigned int>(*process));
  }
  return true;
}

std::string DesktopApplicationLauncher::activeApplicationIdentifier() {
  const QString name = QString::fromStdString(launched_.identifier);
  if (const auto window = ActiveWindow::current()) {
    ApplicationWindows known = launched_;
    known.processes.push_back(BusDaemon(bus_).processOf(name));
    if (!launched_.identifier.empty() && known.own(*window)) {
      return launched_.identifier;
    }
    return window->names.empty() ? std::string() : window->names.front();
  }
  const bool isThere = !bus_.isConnected() || BusDaemon(bus_).hasOwner(name);
  return isThere ? launched_.identifier : std::string();
}

}  // namespace quillo
