#pragma once

#include <QString>

namespace quillo {

// What an error on a bus means to a person (D-Bus, freedesktop.org; org.freedesktop.systemd1(5)).
enum class BusErrorKind {
  other,
  noAnswer,  // not in time, or who should give it went away
  notAllowed,
  ended,   // what was to answer ended instead
  absent,  // nobody has the name, or it has no program
  noUnit   // systemd knows no such unit
};

// Returns the kind of the error of that name. Pure; any thread.
BusErrorKind kindOfBusError(const QString& name);

}  // namespace quillo
