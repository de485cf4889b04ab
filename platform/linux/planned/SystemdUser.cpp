#include "platform/linux/planned/SystemdUser.h"

#include <QDBusArgument>
#include <QDBusError>
#include <QDBusObjectPath>
#include <QStringList>
#include <QThread>

#include "platform/linux/session/BusError.h"
#include "posix/Text.h"

namespace quillo {
namespace {

const QString service = QStringLiteral("org.freedesktop.systemd1");
const QString managerPath = QStringLiteral("/org/freedesktop/systemd1");
const QString managerInterface = QStringLiteral("org.freedesktop.systemd1.Manager");
constexpr int patience = 10'000;  // milliseconds
constexpr int mostLooks = 100;
constexpr unsigned long pauseOfLooks = 20;  // milliseconds

bool isAnswered(const QDBusMessage& answer) { return answer.type() == QDBusMessage::ReplyMessage; }

bool isError(const QDBusMessage& answer, const char* name) {
  return answer.errorName() == QLatin1String(name);
}

Wording problemIn(const QDBusMessage& answer) {
  if (isAnswered(answer)) {
    return {};
  }
  const std::string reason = answer.errorMessage().toStdString();
  switch (kindOfBusError(answer.errorName())) {
    case BusErrorKind::absent:
      return {"PLANNED_NO_SYSTEMD"};
    case BusErrorKind::noAnswer:
      return {"PLANNED_NO_ANSWER", {reason}};
    case BusErrorKind::notAllowed:
      return {"PLANNED_NOT_ALLOWED", {reason}};
    case BusErrorKind::noUnit:
      return {"PLANNED_NO_UNIT", {reason}};
    default:
      return {"PLANNED_REFUSED", {reason}};
  }
}

// Of a job, (uo): none has 0.
unsigned int numberOf(const QDBusArgument& job) {
  unsigned int number = 0;
  job.beginStructure();
  job >> number;
  job.endStructure();
  return number;
}

QString text(const std::string& name) { return QString::fromStdString(name); }

}  // namespace

QDBusMessage SystemdUser::ask(const QString& path, const QString& interface, const QString& member,
                              const QVariantList& arguments) const {
  QDBusMessage call = QDBusMessage::createMethodCall(service, path, interface, member);
  call.setArguments(arguments);
  // Where a session has no systemd of its user's, the bus could only start one that ends at once.
  call.setAutoStartService(false);
  return bus_.call(call, QDBus::Block, patience);
}

QDBusMessage SystemdUser::askManager(const QString& member, const QVariantList& arguments) const {
  return ask(managerPath, managerInterface, member, arguments);
}

std::vector<std::string> SystemdUser::unitFiles(const QString& pattern, Wording& problem) const {
  const QDBusMessage answer =
      askManager(QStringLiteral("ListUnitFilesByPatterns"), {QStringList(), QStringList(pattern)});
  problem = problemIn(answer);
  std::vector<std::string> names;
  if (!problem.empty() || answer.signature() != "a(ss)") {
    return names;
  }
  const auto list = answer.arguments().at(0).value<QDBusArgument>();
  for (list.beginArray(); !list.atEnd();) {
    QString path;
    QString state;
    list.beginStructure();
    list >> path >> state;
    list.endStructure();
    names.emplace_back(lastPathComponent(path.toStdString()));
  }
  list.endArray();
  return names;
}

std::optional<QVariantMap> SystemdUser::properties(const std::string& unit,
                                                   const QString& kind) const {
  const QDBusMessage loaded = askManager(QStringLiteral("LoadUnit"), {text(unit)});
  if (loaded.signature() != "o") {
    return std::nullopt;
  }
  const QString path = loaded.arguments().at(0).value<QDBusObjectPath>().path();
  QVariantMap result;
  for (const QString& of : {QStringLiteral("Unit"), kind}) {
    const QDBusMessage answer = ask(path, QStringLiteral("org.freedesktop.DBus.Properties"),
                                    QStringLiteral("GetAll"), {service + "." + of});
    if (answer.signature() != "a{sv}") {
      return std::nullopt;
    }
    result.insert(qdbus_cast<QVariantMap>(answer.arguments().at(0)));
  }
  return result;
}

Wording SystemdUser::reload() const { return problemIn(askManager(QStringLiteral("Reload"), {})); }

Wording SystemdUser::enable(const std::string& unit) const {
  const Wording problem = problemIn(
      askManager(QStringLiteral("EnableUnitFiles"), {QStringList(text(unit)), false, false}));
  // Its file has just been written: where it is not found, systemd looks elsewhere.
  return problem.key == "PLANNED_NO_UNIT" ? Wording{"PLANNED_REFUSED", problem.values} : problem;
}

Wording SystemdUser::disable(const std::string& unit) const {
  return problemIn(
      askManager(QStringLiteral("DisableUnitFiles"), {QStringList(text(unit)), false}));
}

Wording SystemdUser::start(const std::string& unit) const {
  return problemIn(
      askManager(QStringLiteral("StartUnit"), {text(unit), QStringLiteral("replace")}));
}

Wording SystemdUser::restart(const std::string& unit) const {
  Wording problem =
      problemIn(askManager(QStringLiteral("RestartUnit"), {text(unit), QStringLiteral("replace")}));
  if (problem.empty()) {
    awaitJob(unit);
  }
  return problem;
}

// The answer says that it is going to be done: who looked at once would find a timer that is off.
void SystemdUser::awaitJob(const std::string& unit) const {
  for (int look = 0; look < mostLooks; ++look) {
    const auto all = properties(unit, QStringLiteral("Unit"));
    const auto job = all ? all->value("Job").value<QDBusArgument>() : QDBusArgument();
    if (job.currentSignature() != "(uo)" || numberOf(job) == 0) {
      return;
    }
    QThread::msleep(pauseOfLooks);
  }
}

Wording SystemdUser::stop(const std::string& unit) const {
  const QDBusMessage answer =
      askManager(QStringLiteral("StopUnit"), {text(unit), QStringLiteral("replace")});
  return isError(answer, "org.freedesktop.systemd1.NoSuchUnit") ? Wording() : problemIn(answer);
}

}  // namespace quillo
