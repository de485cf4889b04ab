#include "platform/linux/services/DesktopWorkspace.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/stat.h>

#include <QDBusMessage>
#include <optional>

#include "platform/linux/services/GioPointer.h"
#include "platform/linux/session/BusDaemon.h"
#include "posix/FileFacts.h"
#include "posix/Text.h"
#include "posix/UniqueFd.h"

namespace quillo {
namespace {

constexpr char fileManager[] = "org.freedesktop.FileManager1";

bool exists(const std::string& path) {
  struct stat info = {};
  return lstat(path.c_str(), &info) == 0;
}

GioPointer<GFile> fileAt(const std::string& path) {
  return GioPointer<GFile>(g_file_new_for_path(path.c_str()));
}

std::string uriOf(GFile* file) { return GioPointer<char>(g_file_get_uri(file)).get(); }

// What a program of the user's begins with, for GLib's child set-up (g_spawn_async(3)): no signal
// blocked, none ignored, whatever this process does with its own. Runs between fork(2) and exec(3),
// so it calls only what is async-signal-safe.
void startWithCleanSignals(void*) {
  for (int number = 1; number < NSIG; ++number) {
    signal(number, SIG_DFL);
  }
  sigset_t none;
  sigemptyset(&none);
  sigprocmask(SIG_SETMASK, &none, nullptr);
}

bool openWithXdgOpen(const std::string& uri) {
  std::string program = "xdg-open";
  std::string argument = uri;
  char* words[] = {program.data(), argument.data(), nullptr};
  // GLib starts it twice removed, so that nobody has to wait for it.
  const auto flags = static_cast<GSpawnFlags>(G_SPAWN_SEARCH_PATH | G_SPAWN_STDOUT_TO_DEV_NULL |
                                              G_SPAWN_STDERR_TO_DEV_NULL);
  return g_spawn_async(nullptr, words, nullptr, flags, startWithCleanSignals, nullptr, nullptr,
                       nullptr) != FALSE;
}

std::string moveToTrash(const std::string& path) {
  GError* failure = nullptr;
  const bool isMoved = g_file_trash(fileAt(path).get(), nullptr, &failure) != FALSE;
  const GioPointer<GError> problem(failure);
  if (isMoved) {
    return "";
  }
  return problem && problem->message && *problem->message ? problem->message : path;
}

// GIO connects to the bus when it launches something, and would end the process with the bus.
void outliveTheBus() {
  if (GDBusConnection* bus = g_bus_get_sync(G_BUS_TYPE_SESSION, nullptr, nullptr)) {
    g_dbus_connection_set_exit_on_close(bus, FALSE);
    g_object_unref(bus);
  }
}

void rememberProcess(GDesktopAppInfo*, GPid process, gpointer data) {
  *static_cast<pid_t*>(data) = process;
}

// Starts the application of a desktop file (Desktop Entry 1.5, freedesktop.org), with `uri` to open
// when that is not empty. What it prints is dropped, for the agent's own output is a log. Returns
// its number, 0 when the desktop started it in another way; nothing when it could not be started.
std::optional<pid_t> launchDesktopFile(GDesktopAppInfo* application, const std::string& uri) {
  outliveTheBus();
  std::string copy = uri;
  GList* const uris = uri.empty() ? nullptr : g_list_append(nullptr, copy.data());
  const UniqueFd nowhere(open("/dev/null", O_RDWR | O_CLOEXEC));
  pid_t process = 0;
  const gboolean launched = g_desktop_app_info_launch_uris_as_manager_with_fds(
      application, uris, nullptr, G_SPAWN_SEARCH_PATH, startWithCleanSignals, nullptr,
      rememberProcess, &process, nowhere.get(), nowhere.get(), nowhere.get(), nullptr);
  g_list_free(uris);
  return launched ? std::optional<pid_t>(process) : std::nullopt;
}

// "org.vantrel.Vantrel" has its object at "/org/vantrel/Vantrel".
QString objectPathOf(const std::string& identifier) {
  return QString::fromStdString("/" + replacingAll(replacingAll(identifier, ".", "/"), "-", "_"));
}

GioPointer<GDesktopAppInfo> desktopFileOf(const std::string& identifier) {
  return GioPointer<GDesktopAppInfo>(g_desktop_app_info_new((identifier + ".desktop").c_str()));
}

}  // namespace

bool DesktopWorkspace::openFile(const std::string& path) {
  if (!fileExists(path)) {
    return false;
  }
  const GioPointer<GFile> file = fileAt(path);
  const std::string uri = uriOf(file.get());
  const GioPointer<GAppInfo> handler(g_file_query_default_handler(file.get(), nullptr, nullptr));
  if (handler && G_IS_DESKTOP_APP_INFO(handler.get()) &&
      launchDesktopFile(G_DESKTOP_APP_INFO(handler.get()), uri)) {
    return true;
  }
  return openWithXdgOpen(uri);
}

bool DesktopWorkspace::selectFile(const std::string& path) {
  if (!exists(path)) {
    return false;
  }
  const std::string folder = deletingLastPathComponent(path);
  if (!bus_.isConnected()) {
    return openFile(folder);
  }
  QDBusMessage call = QDBusMessage::createMethodCall(fileManager, "/org/freedesktop/FileManager1",
                                                     fileManager, "ShowItems");
  call << QStringList(QString::fromStdString(uriOf(fileAt(path).get()))) << QString();
  whenAnswered(bus_.asyncCall(call), *this, [this, folder](const QDBusPendingCall& answer) {
    if (answer.isError()) {
      openFile(folder);
    }
  });
  return true;
}

std::string DesktopWorkspace::recycle(const std::string& sourceFolder,
                                      const std::vector<std::string>& names) {
  std::string problem;
  for (const std::string& name : names) {
    const bool isName =
        !name.empty() && name != "." && name != ".." && name.find('/') == std::string::npos;
    const std::string failure =
        isName ? moveToTrash(sourceFolder + "/" + name) : std::string(g_strerror(EINVAL));
    problem = problem.empty() ? failure : problem;
  }
  return problem;
}

bool DesktopApplicationLauncher::isInstalled(const std::string& identifier) {
  return desktopFileOf(identifier) || BusDaemon(bus_).isServed(QString::fromStdString(identifier));
}

bool DesktopApplicationLauncher::launchApplication(const std::string& identifier) {
  return launch(identifier, "");
}

bool DesktopApplicationLauncher::openPage(const std::string& identifier, const std::string& page) {
  return launch(identifier, page);
}

bool DesktopApplicationLauncher::launch(const std::string& identifier, const std::string& action) {
  failed_ = false;
  launched_ = ApplicationWindows();
  launched_.identifier = identifier;
  if (const auto file = desktopFileOf(identifier)) {
    const char* windowClass = g_desktop_app_info_get_startup_wm_class(file.get());
    launched_.windowClass = windowClass != nullptr ? windowClass : "";
  }
  if (BusDaemon(bus_).isServed(QString::fromStdString(identifier))) {
    activate(identifier, action);
    return true;
  }
  return launchDesktopFileOf(identifier);
}

void DesktopApplicationLauncher::activate(const std::string& identifier,
                                          const std::string& action) {
  QDBusMessage call = QDBusMessage::createMethodCall(
      QString::fromStdString(identifier), objectPathOf(identifier), "org.freedesktop.Application",
      action.empty() ? "Activate" : "ActivateAction");
  if (!action.empty()) {
    call << QString::fromStdString(action) << QVariantList();
  }
  call << QVariantMap();
  ++activations_;
  whenAnswered(bus_.asyncCall(call), *this, [this, identifier](const QDBusPendingCall& answer) {
    --activations_;
    if (!answer.isError() || launchDesktopFileOf(identifier)) {
      return;
    }
    failed_ = failed_ || identifier == launched_.identifier;
    if (report_) {
      report_(identifier + " could not be started: " + answer.error().message().toStdString());
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
