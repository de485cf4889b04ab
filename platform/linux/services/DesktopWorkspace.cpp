#include "platform/linux/services/DesktopWorkspace.h"

#include <sys/stat.h>

#include <QDBusMessage>
#include <QDBusPendingCallWatcher>

#include "platform/linux/services/DesktopFile.h"
#include "platform/linux/services/GioPointer.h"
#include "posix/Text.h"

namespace quillo {
namespace {

constexpr char fileManager[] = "org.freedesktop.FileManager1";

bool exists(const std::string& path) {
  struct stat info = {};
  return lstat(path.c_str(), &info) == 0;
}

bool leadsSomewhere(const std::string& path) {
  struct stat info = {};
  return stat(path.c_str(), &info) == 0;
}

GioPointer<GFile> fileAt(const std::string& path) {
  return GioPointer<GFile>(g_file_new_for_path(path.c_str()));
}

std::string uriOf(GFile* file) { return GioPointer<char>(g_file_get_uri(file)).get(); }

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

}  // namespace

bool DesktopWorkspace::openFile(const std::string& path) {
  if (!leadsSomewhere(path)) {
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
  auto* watcher = new QDBusPendingCallWatcher(bus_.asyncCall(call), this);
  QObject::connect(watcher, &QDBusPendingCallWatcher::finished, this, [this, watcher, folder] {
    watcher->deleteLater();
    if (watcher->isError()) {
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

}  // namespace quillo
