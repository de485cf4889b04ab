#include "platform/linux/planned/SystemdTimers.h"

#include <sys/random.h>

#include <QDBusArgument>
#include <algorithm>
#include <array>
#include <cstdio>
#include <functional>
#include <utility>

#include "platform/linux/planned/UnitText.h"

namespace quillo {
namespace {

constexpr quint64 never = ~quint64{0};
constexpr quint64 microseconds = 1'000'000;

std::string newId() {
  std::array<unsigned char, 4> bytes = {};
  std::string id;
  if (getrandom(bytes.data(), bytes.size(), 0) == static_cast<ssize_t>(bytes.size())) {
    for (const unsigned char byte : bytes) {
      std::array<char, 4> digits = {};
      std::snprintf(digits.data(), digits.size(), "%02x", static_cast<unsigned int>(byte));
      id += digits.data();
    }
  }
  return id;
}

std::int64_t secondsIn(const QVariant& time) {
  const quint64 value = time.toULongLong();
  return value == never ? 0 : static_cast<std::int64_t>(value / microseconds);
}

// The times of a timer, as "TimersCalendar" has them: a(sst). Two of them are no time of ours.
std::string calendarIn(const QVariant& property) {
  const auto list = property.value<QDBusArgument>();
  if (list.currentSignature() != "a(sst)") {
    return {};
  }
  QStringList calendars;
  for (list.beginArray(); !list.atEnd();) {
    QString base;
    QString calendar;
    list.beginStructure();
    list >> base >> calendar;
    list.endStructure();
    calendars << calendar;
  }
  list.endArray();
  return calendars.join("; ").toStdString();
}

// The commands, as "ExecStart" has them: a(sasbttttuii). The first word of each is the program that
// is run, whatever that is told to be called.
std::vector<std::vector<std::string>> commandsIn(const QVariant& property) {
  std::vector<std::vector<std::string>> commands;
  const auto list = property.value<QDBusArgument>();
  if (list.currentSignature() != "a(sasbttttuii)") {
    return commands;
  }
  for (list.beginArray(); !list.atEnd();) {
    QString program;
    QStringList arguments;
    list.beginStructure();
    list >> program >> arguments;
    std::vector<std::string> words = {program.toStdString()};
    for (const QString& argument : arguments.mid(1)) {
      words.push_back(argument.toStdString());
    }
    commands.push_back(std::move(words));
    list.endStructure();
  }
  list.endArray();
  return commands;
}

// Whether one of "Conditions", a(sbbsi), is that the machine is on mains power.
bool isOnlyOnMains(const QVariant& property) {
  const auto list = property.value<QDBusArgument>();
  if (list.currentSignature() != "a(sbbsi)") {
    return false;
  }
  bool result = false;
  for (list.beginArray(); !list.atEnd();) {
    QString name;
    bool isTrigger = false;
    bool isNegated = false;
    QString parameter;
    list.beginStructure();
    list >> name >> isTrigger >> isNegated >> parameter;
    list.endStructure();
    const bool isTrue = QStringList({"true", "yes", "1", "on"}).contains(parameter);
    result = result || (name == "ConditionACPower" && isTrue != isNegated);
  }
  list.endArray();
  return result;
}

// A service of one command is "activating" for as long as that runs; one that its user edited may
// be of another kind.
bool isAtWork(const QString& state) {
  return QStringList({"activating", "active", "reloading", "deactivating"}).contains(state);
}

}  // namespace

PlannedScan SystemdTimers::scanNumbered(const std::string& id) const {
  PlannedScan scan;
  scan.id = id;
  scan.often = PlannedScan::Often::other;
  scan.isUnderstood = false;
  if (const auto timer = systemd_.properties(unitName(id, "timer"), "Timer")) {
    readCalendar(calendarIn(timer->value("TimersCalendar")), scan);
    scan.isActive = timer->value("ActiveState").toString() == "active";
    scan.nextRun = scan.isActive ? secondsIn(timer->value("NextElapseUSecRealtime")) : 0;
  }
  if (const auto service = systemd_.properties(unitName(id, "service"), "Service")) {
    readCommands(commandsIn(service->value("ExecStart")), program_, scan);
    scan.onlyOnMains = isOnlyOnMains(service->value("Conditions"));
    scan.isRunning = isAtWork(service->value("ActiveState").toString());
    // Not when the timer came last: it comes, too, when a condition keeps the service from running.
    scan.lastRun = secondsIn(service->value("ExecMainStartTimestamp"));
  }
  return scan;
}

PlannedScans::Listing SystemdTimers::list() {
  Listing listing;
  auto names = systemd_.unitFiles("vantrel-scan-*.timer", listing.problem);
  std::sort(names.begin(), names.end());
  names.erase(std::unique(names.begin(), names.end()), names.end());
  for (const std::string& name : names) {
    if (const auto id = idOfTimer(name)) {
      listing.scans.push_back(scanNumbered(*id));
    }
  }
  return listing;
}

Wording SystemdTimers::write(const PlannedScan& scan, std::vector<Written>& written) const {
  const std::pair<const char*, std::string> units[] = {{"service", serviceUnit(scan, program_)},
                                                       {"timer", timerUnit(scan)}};
  for (const auto& [kind, text] : units) {
    const std::string name = unitName(scan.id, kind);
    const auto before = folder_.read(name);
    if (Wording problem = folder_.write(name, text); !problem.empty()) {
      return problem;
    }
    written.push_back({name, before});
  }
  return {};
}

// Only what was written: what could not be is nothing of ours.
void SystemdTimers::takeBack(const std::string& timer, const std::vector<Written>& written) const {
  const bool isWritten = !written.empty() && written.back().name == timer;
  const bool wasThere = !isWritten || written.back().before;
  if (!wasThere) {
    systemd_.disable(timer);
  }
  for (const Written& unit : written) {
    folder_.restore(unit.name, unit.before);
  }
  systemd_.reload();
  if (isWritten && wasThere) {
    systemd_.restart(timer);
  }
}

Wording SystemdTimers::makeActive(const std::string& timer) const {
  for (const auto& step : {std::function<Wording()>([&] { return systemd_.reload(); }),
                           std::function<Wording()>([&] { return systemd_.enable(timer); }),
                           std::function<Wording()>([&] { return systemd_.reload(); }),
                           std::function<Wording()>([&] { return systemd_.restart(timer); })}) {
    if (Wording problem = step(); !problem.empty()) {
      return problem;
    }
  }
  return {};
}

Wording SystemdTimers::problemWithEdits(const PlannedScan& wanted) const {
  const PlannedScan is = scanNumbered(wanted.id);
  if (is.isUnderstood && is.plansTheSameAs(wanted)) {
    return {};
  }
  PlannedScan sameTimes = wanted;
  readCalendar(is.calendar, sameTimes);
  const std::string edited =
      unitName(wanted.id, sameTimes.plansTheSameAs(wanted) ? "service" : "timer");
  return {"PLANNED_OVERRIDDEN", {edited, edited}};
}

Wording SystemdTimers::put(const PlannedScan& wanted) {
  PlannedScan scan = wanted;
  if (scan.id.empty()) {
    scan.id = newId();
  }
  if (scan.id.empty() || !canBePlanned(scan)) {
    return {"PLANNED_NOT_POSSIBLE"};
  }
  MutexLock lock(changes_);
  Wording problem;
  systemd_.unitFiles("vantrel-scan-*.timer", problem);
  if (!problem.empty()) {
    return problem;
  }
  const std::string timer = unitName(scan.id, "timer");
  std::vector<Written> written;
  problem = write(scan, written);
  if (problem.empty()) {
    problem = makeActive(timer);
  }
  if (problem.empty()) {
    return problemWithEdits(scan);
  }
  takeBack(timer, written);
  return problem;
}

Wording SystemdTimers::remove(const std::string& id) {
  const std::string timer = unitName(id, "timer");
  if (!idOfTimer(timer)) {
    return {"PLANNED_NOT_POSSIBLE"};
  }
  MutexLock lock(changes_);
  if (Wording problem = systemd_.stop(timer); !problem.empty()) {
    return problem;
  }
  if (Wording problem = systemd_.disable(timer); !problem.empty()) {
    return problem;
  }
  const Wording timerProblem = folder_.remove(timer);
  const Wording serviceProblem = folder_.remove(unitName(id, "service"));
  const Wording reloadProblem = systemd_.reload();
  return !timerProblem.empty()     ? timerProblem
         : !serviceProblem.empty() ? serviceProblem
                                   : reloadProblem;
}

Wording SystemdTimers::runNow(const std::string& id) {
  if (!idOfTimer(unitName(id, "timer"))) {
    return {"PLANNED_NOT_POSSIBLE"};
  }
  const PlannedScan scan = scanNumbered(id);
  return scan.otherProgram.empty() ? systemd_.start(unitName(id, "service"))
                                   : Wording{"PLANNED_OTHER_NOT_RUN", {scan.otherProgram}};
}

Wording SystemdTimers::end(const std::string& id) {
  return idOfTimer(unitName(id, "timer")) ? systemd_.stop(unitName(id, "service"))
                                          : Wording{"PLANNED_NOT_POSSIBLE"};
}

void SystemdTimers::observe(std::function<void()> changed) {
  unitChanges_ = std::make_unique<UnitChanges>(bus_, "vantrel-scan-", std::move(changed));
}

}  // namespace quillo
