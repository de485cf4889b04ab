#include "platform/linux/session/BusError.h"

#include <array>
#include <utility>

namespace quillo {
namespace {

using Kind = BusErrorKind;

constexpr std::array<std::pair<const char*, Kind>, 20> kindsByName = {{
    {"org.freedesktop.DBus.Error.NoReply", Kind::noAnswer},
    {"org.freedesktop.DBus.Error.Timeout", Kind::noAnswer},
    {"org.freedesktop.DBus.Error.TimedOut", Kind::noAnswer},
    {"org.freedesktop.DBus.Error.AccessDenied", Kind::notAllowed},
    {"org.freedesktop.DBus.Error.AuthFailed", Kind::notAllowed},
    {"org.freedesktop.DBus.Error.InteractiveAuthorizationRequired", Kind::notAllowed},
    {"org.freedesktop.DBus.Error.Spawn.PermissionsInvalid", Kind::notAllowed},
    {"org.freedesktop.DBus.Error.Spawn.ChildExited", Kind::ended},
    {"org.freedesktop.DBus.Error.Spawn.ChildSignaled", Kind::ended},
    {"org.freedesktop.DBus.Error.Spawn.Failed", Kind::ended},
    {"org.freedesktop.DBus.Error.Spawn.ForkFailed", Kind::ended},
    {"org.freedesktop.DBus.Error.ServiceUnknown", Kind::absent},
    {"org.freedesktop.DBus.Error.NameHasNoOwner", Kind::absent},
    {"org.freedesktop.DBus.Error.Disconnected", Kind::absent},
    {"org.freedesktop.DBus.Error.Spawn.ExecFailed", Kind::absent},
    {"org.freedesktop.DBus.Error.Spawn.FileInvalid", Kind::absent},
    {"org.freedesktop.DBus.Error.Spawn.ServiceNotFound", Kind::absent},
    {"org.freedesktop.systemd1.NoSuchUnit", Kind::noUnit},
    {"org.freedesktop.systemd1.LoadFailed", Kind::noUnit},
    {"org.freedesktop.DBus.Error.FileNotFound", Kind::noUnit},
}};

}  // namespace

BusErrorKind kindOfBusError(const QString& name) {
  for (const auto& [known, meant] : kindsByName) {
    if (name == QLatin1String(known)) {
      return meant;
    }
  }
  return Kind::other;
}

}  // namespace quillo
