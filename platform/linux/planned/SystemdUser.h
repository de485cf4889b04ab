#pragma once

#include <QDBusConnection>
#include <QDBusMessage>
#include <QString>
#include <QVariantMap>
#include <optional>
#include <string>
#include <vector>

#include "platform/LocalizedStrings.h"

namespace quillo {

// The user's own systemd, as it answers on the session's bus (org.freedesktop.systemd1(5)). Each
// question waits for its answer, a few seconds at most. Any thread.
class SystemdUser {
 public:
  explicit SystemdUser(const QDBusConnection& bus) : bus_(bus) {}

  // Returns the names of the unit files that match the pattern. Sets `problem` where they cannot be
  // had.
  std::vector<std::string> unitFiles(const QString& pattern, Wording& problem) const;
  // Returns the properties of a unit and those of its kind ("Timer", "Service"); nothing when it
  // cannot be loaded.
  std::optional<QVariantMap> properties(const std::string& unit, const QString& kind) const;

  // Reads all unit files anew.
  Wording reload() const;
  Wording enable(const std::string& unit) const;
  Wording disable(const std::string& unit) const;
  Wording start(const std::string& unit) const;
  // Starts it as well where it does not run, and waits until that is done, two seconds at most.
  Wording restart(const std::string& unit) const;
  // One that does not run counts as stopped.
  Wording stop(const std::string& unit) const;

 private:
  QDBusMessage ask(const QString& path, const QString& interface, const QString& member,
                   const QVariantList& arguments) const;
  QDBusMessage askManager(const QString& member, const QVariantList& arguments) const;
  void awaitJob(const std::string& unit) const;

  const QDBusConnection bus_;
};

}  // namespace quillo
