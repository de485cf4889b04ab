#include "platform/linux/session/BusAgentLink.h"

#include <unistd.h>

#include <QDBusArgument>
#include <utility>

#include "platform/Workspace.h"
#include "platform/linux/services/Guarded.h"
#include "platform/linux/session/BusDaemon.h"
#include "platform/linux/session/BusError.h"
#include "platform/linux/session/StatusMap.h"

namespace quillo {
namespace {

constexpr char name[] = "org.vantrel.VantrelQuillo";
constexpr char path[] = "/org/vantrel/VantrelQuillo";
constexpr char busName[] = "org.freedesktop.DBus";
constexpr char busPath[] = "/org/freedesktop/DBus";
constexpr char noOwner[] = "org.freedesktop.DBus.Error.NameHasNoOwner";
constexpr char noStatusYet[] = "org.vantrel.VantrelQuillo.Error.NoStatusYet";
// In milliseconds.
constexpr int longestAnswer = 3000;
constexpr int longestStatus = 10000;  // of an agent that may have much to do

QDBusMessage callOf(const QString& service, const QString& object, const QString& interface,
                    const QString& member, const QVariantList& arguments) {
  QDBusMessage call = QDBusMessage::createMethodCall(service, object, interface, member);
  call.setArguments(arguments);
  call.setAutoStartService(false);
  return call;
}

bool saysAUser(const QDBusMessage& answer) {
  return answer.type() == QDBusMessage::ReplyMessage && answer.signature() == QLatin1String("u");
}

bool isThisUser(const QDBusMessage& answer) {
  return saysAUser(answer) && answer.arguments().value(0).toUInt() == getuid();
}

// Without an answer about who has the name: it may be nobody by now.
AgentPresence presenceOf(const QDBusMessage& answer) {
  return saysAUser(answer)                              ? AgentPresence::foreign
         : answer.errorName() == QLatin1String(noOwner) ? AgentPresence::absent
                                                        : AgentPresence::silent;
}

// What the bus says in its own words goes behind those that a person has a use for.
Wording inWords(const QString& error, const QString& message) {
  const std::string reason = std::string(name) + ": " + message.toStdString();
  switch (kindOfBusError(error)) {
    case BusErrorKind::noAnswer:
      return {"DOCTOR_AGENT_SILENT", {reason}};
    case BusErrorKind::notAllowed:
      return {"DOCTOR_AGENT_NOT_ALLOWED", {reason}};
    case BusErrorKind::ended:
      return {"DOCTOR_AGENT_ENDED", {reason}};
    case BusErrorKind::absent:
      return {"DOCTOR_AGENT_ABSENT", {reason}};
    default:
      return {"", {reason}};
  }
}

Wording inWords(const QDBusMessage& answer) {
  return inWords(answer.errorName(), answer.errorMessage());
}

Wording problemOf(const QDBusMessage& answer) {
  return saysAUser(answer) ? Wording{"DOCTOR_AGENT_FOREIGN", {name}} : inWords(answer);
}

// For the log.
std::string reasonOf(const Wording& problem) {
  const std::string object = std::string(name) + ": ";
  if (problem.key == "DOCTOR_AGENT_FOREIGN") {
    return object + "who has this name is no process of this user, and is not believed";
  }
  if (problem.key == "DOCTOR_AGENT_NO_STATUS") {
    return object + "what it says of itself is no status";
  }
  if (problem.key == "DOCTOR_AGENT_NOT_YET") {
    return object + "it is only beginning";
  }
  return problem.values.front();
}

}  // namespace

BusAgentLink::BusAgentLink(const QDBusConnection& bus, ApplicationLauncher& launcher,
                           std::function<void(const std::string& problem)> report,
                           std::chrono::milliseconds longestStart)
    : bus_(bus), launcher_(launcher), report_(std::move(report)) {
  startTimer_.setSingleShot(true);
  startTimer_.setInterval(longestStart);
  connect(&startTimer_, &QTimer::timeout, this, [this] {
    guarded([&] { startFails({"DOCTOR_AGENT_LATE"}, "it has not come in time"); });
  });
}

void BusAgentLink::observe(std::function<void()> changed) {
  observers_.push_back(std::move(changed));
  follow();
}

void BusAgentLink::follow() {
  if (!bus_.isConnected()) {
    presence_ = AgentPresence::silent;
    return;
  }
  if (follows_) {
    return;
  }
  follows_ = true;
  watcher_.setConnection(bus_);
  watcher_.setWatchMode(QDBusServiceWatcher::WatchForOwnerChange);
  connect(&watcher_, &QDBusServiceWatcher::serviceOwnerChanged, this,
          [this](const QString&, const QString&, const QString& owner) {
            guarded([&] { ownerChanged(owner); });
          });
  watcher_.addWatchedService(name);
  bus_.connect(name, path, name, "StatusChanged", this, SLOT(statusChanged(QDBusMessage)));
  const QDBusMessage call = callOf(busName, busPath, busName, "GetNameOwner", {QString(name)});
  whenAnswered(bus_.asyncCall(call, longestAnswer), *this, [this](const QDBusPendingCall& answer) {
    guarded([&] { takeOwner(answer.reply()); });
  });
}

void BusAgentLink::takeOwner(const QDBusMessage& answer) {
  if (!owner_.isEmpty()) {
    return;
  }
  if (answer.type() == QDBusMessage::ReplyMessage) {
    ownerChanged(answer.arguments().value(0).toString());
  } else {
    const bool runsNone = answer.errorName() == QLatin1String(noOwner);
    become(runsNone ? AgentPresence::absent : AgentPresence::silent);
  }
}

void BusAgentLink::ownerChanged(const QString& owner) {
  if (owner == owner_) {
    return;
  }
  owner_ = owner;
  isTrusted_ = false;
  become(owner.isEmpty() ? AgentPresence::absent : AgentPresence::unknown);
  if (!owner.isEmpty()) {
    askWhose(owner);
  }
}

void BusAgentLink::askWhose(const QString& owner) {
  const QDBusMessage call = callOf(busName, busPath, busName, "GetConnectionUnixUser", {owner});
  whenAnswered(bus_.asyncCall(call, longestAnswer), *this,
               [this, owner](const QDBusPendingCall& answer) {
                 guarded([&] {
                   if (owner != owner_) {
                     return;
                   }
                   isTrusted_ = isThisUser(answer.reply());
                   if (isTrusted_) {
                     askStatus(owner);
                   } else {
                     report_(reasonOf(problemOf(answer.reply())));
                     become(presenceOf(answer.reply()));
                   }
                 });
               });
}

void BusAgentLink::askStatus(const QString& owner) {
  const QDBusMessage call = callOf(owner, path, name, "Status", {});
  whenAnswered(bus_.asyncCall(call, longestStatus), *this, [this, owner](const auto& answer) {
    guarded([&] {
      // What it has said by itself meanwhile is worth more than that it did not answer.
      if (owner != owner_ || (answer.isError() && status_)) {
        return;
      }
      // One that is only beginning says so soon by itself.
      const Wording problem = take(answer.reply());
      if (!problem.empty()) {
        report_(reasonOf(problem));
      }
    });
  });
}

void BusAgentLink::statusChanged(const QDBusMessage& signal) {
  guarded([&] {
    if (!isTrusted_ || signal.service() != owner_) {
      return;
    }
    const Wording problem = take(signal);
    if (!problem.empty()) {
      report_(reasonOf(problem));
    }
  });
}

Wording BusAgentLink::take(const QDBusMessage& said) {
  if (said.type() == QDBusMessage::ErrorMessage) {
    const bool begins = said.errorName() == QLatin1String(noStatusYet);
    become(begins ? AgentPresence::beginning : AgentPresence::silent);
    return begins ? Wording{"DOCTOR_AGENT_NOT_YET"} : inWords(said);
  }
  std::optional<AgentStatus> status;
  if (said.signature() == QLatin1String("a{sv}")) {
    status = statusIn(qdbus_cast<QVariantMap>(said.arguments().value(0)));
  }
  become(status ? AgentPresence::answering : AgentPresence::silent, status);
  return status ? Wording() : Wording{"DOCTOR_AGENT_NO_STATUS", {name}};
}

void BusAgentLink::become(AgentPresence presence, std::optional<AgentStatus> status) {
  if (presence == presence_ && status == status_) {
    return;
  }
  presence_ = presence;
  status_ = std::move(status);
  if (presence != AgentPresence::unknown && presence != AgentPresence::absent) {
    startTimer_.stop();
    start_ = {};
  }
  tellObservers();
}

void BusAgentLink::tellObservers() {
  for (const auto& observer : std::vector(observers_)) {
    observer();
  }
}

QDBusMessage BusAgentLink::ask(const QString& service, const QString& object,
                               const QString& interface, const QString& member,
                               const QVariantList& arguments) {
  return bus_.call(callOf(service, object, interface, member, arguments), QDBus::Block,
                   longestAnswer);
}

Wording BusAgentLink::refresh() {
  if (!bus_.isConnected()) {
    become(AgentPresence::silent);
    return {"DOCTOR_AGENT_NO_BUS"};
  }
  const QDBusMessage answer = ask(busName, busPath, busName, "GetNameOwner", {QString(name)});
  if (answer.type() != QDBusMessage::ReplyMessage) {
    const bool runsNone = answer.errorName() == QLatin1String(noOwner);
    become(runsNone ? AgentPresence::absent : AgentPresence::silent);
    return runsNone ? Wording() : inWords(answer);
  }
  const QString owner = answer.arguments().value(0).toString();
  const QDBusMessage user = ask(busName, busPath, busName, "GetConnectionUnixUser", {owner});
  if (!isThisUser(user)) {
    const AgentPresence presence = presenceOf(user);
    become(presence);
    return presence == AgentPresence::absent ? Wording() : problemOf(user);
  }
  return take(ask(owner, path, name, "Status", {}));
}

bool BusAgentLink::start() {
  if (!bus_.isConnected() || !BusDaemon(bus_).isServed(name)) {
    const bool isKnown = launcher_.launchApplication(name);
    if (isKnown && bus_.isConnected()) {
      awaitStart();
    }
    return isKnown;
  }
  const QDBusMessage call =
      callOf(busName, busPath, busName, "StartServiceByName", {QString(name), 0U});
  awaitStart();
  whenAnswered(
      bus_.asyncCall(call, startTimer_.interval()), *this, [this](const QDBusPendingCall& answer) {
        guarded([&] {
          if (answer.isError()) {
            const QDBusError error = answer.error();
            startFails(inWords(error.name(), error.message()), error.message().toStdString());
          }
        });
      });
  return true;
}

void BusAgentLink::awaitStart() {
  startTimer_.start();
  startBecomes({true, {}});
}

void BusAgentLink::startBecomes(const AgentStart& start) {
  if (!(start == start_)) {
    start_ = start;
    tellObservers();
  }
}

void BusAgentLink::startFails(const Wording& problem, const std::string& reason) {
  startTimer_.stop();
  if (!start_.isUnderWay) {
    return;
  }
  report_(std::string(name) + ": it did not start: " + reason);
  startBecomes({false, problem});
}

}  // namespace quillo
