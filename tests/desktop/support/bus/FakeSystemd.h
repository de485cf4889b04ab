#pragma once

#include <QDBusArgument>
#include <QDBusMetaType>
#include <QDBusObjectPath>
#include <QVariantMap>
#include <functional>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <type_traits>
#include <vector>

#include "tests/desktop/support/bus/FakeBusObject.h"
#include "tests/support/TemporaryFolder.h"

namespace quillo {

// The properties of units as the user's systemd has them (org.freedesktop.systemd1(5)).
struct UnitCalendar {
  QString base = "OnCalendar";
  QString calendar;
  qulonglong next = 0;
};
struct UnitCommand {
  QString program;
  QStringList words;
  bool ignoresFailure = false;
  qulonglong started = 0, startedSinceBoot = 0, ended = 0, endedSinceBoot = 0;
  uint process = 0;
  int code = 0, status = 0;
};
struct UnitCondition {
  QString name;
  bool isTrigger = false, isNegated = false;
  QString parameter;
  int state = 0;
};

inline QDBusArgument& operator<<(QDBusArgument& to, const UnitCalendar& value) {
  to.beginStructure();
  to << value.base << value.calendar << value.next;
  to.endStructure();
  return to;
}
inline QDBusArgument& operator<<(QDBusArgument& to, const UnitCommand& value) {
  to.beginStructure();
  to << value.program << value.words << value.ignoresFailure << value.started
     << value.startedSinceBoot << value.ended << value.endedSinceBoot << value.process << value.code
     << value.status;
  to.endStructure();
  return to;
}
inline QDBusArgument& operator<<(QDBusArgument& to, const UnitCondition& value) {
  to.beginStructure();
  to << value.name << value.isTrigger << value.isNegated << value.parameter << value.state;
  to.endStructure();
  return to;
}
struct UnitFileEntry {
  QString path, state;
};
inline QDBusArgument& operator<<(QDBusArgument& to, const UnitFileEntry& value) {
  to.beginStructure();
  to << value.path << value.state;
  to.endStructure();
  return to;
}
// 0 for none.
struct UnitJob {
  uint number = 0;
  QDBusObjectPath path;
};
inline QDBusArgument& operator<<(QDBusArgument& to, const UnitJob& value) {
  to.beginStructure();
  to << value.number << value.path;
  to.endStructure();
  return to;
}
// Nothing is read back here.
template <typename Value>
const QDBusArgument& operator>>(const QDBusArgument& from,
                                Value&) requires(std::is_same_v<Value, UnitCalendar> ||
                                                 std::is_same_v<Value, UnitCommand> ||
                                                 std::is_same_v<Value, UnitCondition> ||
                                                 std::is_same_v<Value, UnitFileEntry> ||
                                                 std::is_same_v<Value, UnitJob>) {
  return from;
}

}  // namespace quillo

Q_DECLARE_METATYPE(quillo::UnitCalendar)
Q_DECLARE_METATYPE(quillo::UnitCommand)
Q_DECLARE_METATYPE(quillo::UnitCondition)
Q_DECLARE_METATYPE(quillo::UnitFileEntry)
Q_DECLARE_METATYPE(quillo::UnitJob)

namespace quillo {

// The systemd of a user, with the files of a folder. As the real one it knows of a changed file
// only once it was told to reload, restarts a unit a while after it was told to, and refuses what
// it was told to.
class FakeSystemd {
 public:
  // `units` is the path of that folder.
  explicit FakeSystemd(std::string units,
                       const std::string& busAddress = PrivateSession::busAddress());
  ~FakeSystemd() { manager_.disown("org.freedesktop.systemd1"); }

  // The member that is refused, and by which error.
  QString refuses;
  QString refusal = "org.freedesktop.DBus.Error.AccessDenied";
  // What "systemctl edit" puts over a timer's own times.
  QString editedCalendar;
  std::set<std::string> enabled;
  std::set<std::string> active;
  std::vector<std::string> started;
  // Services that run, and when one last did.
  std::set<std::string> running;
  qulonglong lastStart = 0;
  qulonglong lastTrigger = 0;
  bool isSubscribedTo = false;

  // Sends what systemd sends of a unit whose state has changed, to those who asked for it.
  void sayThatItChanged(const std::string& unit, const QString& state);
  qulonglong nextElapse = 0;

 private:
  using Words = std::map<std::string, std::string>;

  void on(const QString& member,
          const std::function<QDBusMessage(const QDBusMessage& call)>& answer);
  void reload();
  void answerProperties(const std::string& unit);
  void workOnJobs();
  QVariantMap propertiesOf(const std::string& unit) const;
  QDBusMessage list(const QDBusMessage& call) const;
  static QStringList wordsIn(const std::string& line);

  const std::string units_;
  std::map<std::string, Words> loaded_;
  // Units that are yet to be restarted, and how often they will be looked at before that.
  std::map<std::string, int> jobs_;
  TestBus bus_;
  FakeBusObject manager_{bus_, "/org/freedesktop/systemd1"};
  std::map<std::string, std::unique_ptr<FakeBusObject>> objects_;
};

}  // namespace quillo
