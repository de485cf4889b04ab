#include "platform/linux/services/DesktopFile.h"

#include <fcntl.h>
#include <signal.h>

#include "posix/UniqueFd.h"

namespace quillo {
namespace {

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

}  // namespace

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

void startWithCleanSignals(void*) {
  for (int number = 1; number < NSIG; ++number) {
    signal(number, SIG_DFL);
  }
  sigset_t none;
  sigemptyset(&none);
  sigprocmask(SIG_SETMASK, &none, nullptr);
}

}  // namespace quillo
