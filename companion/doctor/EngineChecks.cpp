#include <unistd.h>

#include <utility>

#include "clamav/ClamConf.h"
#include "clamav/ControlSocket.h"
#include "clamav/Definitions.h"
#include "clamav/ScratchFolder.h"
#include "companion/Counting.h"
#include "companion/doctor/Finding.h"
#include "companion/overview/OverviewText.h"
#include "platform/Folders.h"
#include "posix/Clock.h"
#include "posix/Text.h"
#include "settings/TypedPreferences.h"

namespace quillo {
namespace {

using Sign = Finding::Sign;

constexpr std::chrono::seconds longestAnswer(5);

std::string engineOf(const DoctorServices& services) {
  std::string engine = services.preferences.value(key::pathToClamav).value_or("");
  while (engine.size() > 1 && engine.ends_with('/')) {
    engine.pop_back();
  }
  return engine;
}

std::string makesTree(const std::string& engine) {
  return "vantrel-engine-tree \"" + engine + "\"";
}

// Of a daemon that answers, which it also does where it cannot unpack anything.
Finding unpackingFinding(const std::string& socket, const ClamConf& daemon, Clock& clock) {
  const std::string reason = ScratchFolder(daemon, clock).reason(clock.now());
  if (reason.empty()) {
    return {"daemon", socket, Sign::good, {"DOCTOR_DAEMON_GOOD"}};
  }
  const std::string folder = ScratchFolder::of(daemon);
  return {"daemon",
          folder,
          Sign::problem,
          {"DOCTOR_DAEMON_NO_SCRATCH", {folder, reason}},
          {"DOCTOR_DAEMON_NO_SCRATCH_REMEDY"}};
}

Finding daemonFinding(const std::string& engine, Clock& clock) {
  const auto found = [](const std::string& subject, Sign sign, Wording sentence,
                        Wording remedy = {}) {
    return Finding{"daemon", subject, sign, std::move(sentence), std::move(remedy)};
  };
  const std::string file = engine + "/etc/clamd.conf";
  const auto bytes = ClamConf::bytesOf(file);
  if (!bytes) {
    return found(file, Sign::problem, {"DOCTOR_DAEMON_NO_CONFIGURATION", {file}},
                 {"DOCTOR_ENGINE_REMEDY", {makesTree(engine)}});
  }
  const std::string socket = discernLocalSocket(*bytes).path.value_or("");
  if (socket.empty()) {
    return found(file, Sign::problem, {"DOCTOR_DAEMON_NO_SOCKET", {file}},
                 {"DOCTOR_ENGINE_REMEDY", {makesTree(engine)}});
  }
  const std::vector<uid_t> trusted = trustedDaemonUsers(ClamConf::parse(*bytes).value("User"));
  const std::string distrust = distrustOfSocket(socket, trusted);
  if (!distrust.empty()) {
    return found(socket, Sign::problem, {"DOCTOR_DAEMON_DISTRUSTED", {distrust}},
                 {"DOCTOR_DAEMON_DISTRUSTED_REMEDY", {makesTree(engine)}});
  }
  switch (pingDaemon(socket, trusted, longestAnswer)) {
    case DaemonState::answers:
      return unpackingFinding(socket, configurationBehind(engine), clock);
    case DaemonState::silent:
      return found(socket, Sign::warning, {"DOCTOR_DAEMON_SILENT", {socket}},
                   {"DOCTOR_DAEMON_SILENT_REMEDY"});
    default:
      return found(socket, Sign::problem, {"DOCTOR_DAEMON_ABSENT", {socket}},
                   {"DOCTOR_DAEMON_ABSENT_REMEDY"});
  }
}

}  // namespace

std::vector<Finding> examineEngine(const DoctorServices& services, const DoctorFacts&) {
  const std::string engine = engineOf(services);
  if (engine.empty()) {
    return {{"engine",
             "",
             Sign::problem,
             {"DOCTOR_ENGINE_NOT_CHOSEN"},
             {"DOCTOR_ENGINE_NOT_CHOSEN_REMEDY", {"vantrel-engine-tree"}}}};
  }
  std::vector<Finding> findings;
  for (const char* program : {"/bin/clamdscan", "/bin/freshclam", "/sbin/clamd"}) {
    const std::string path = engine + program;
    if (access(path.c_str(), X_OK) != 0) {
      findings.push_back({"engine",
                          path,
                          Sign::problem,
                          {"DOCTOR_ENGINE_INCOMPLETE", {path}},
                          {"DOCTOR_ENGINE_REMEDY", {makesTree(engine)}}});
    }
  }
  if (findings.empty()) {
    findings.push_back({"engine", engine, Sign::good, {"DOCTOR_ENGINE_GOOD", {engine}}});
  }
  findings.push_back(daemonFinding(engine, services.clock));
  return findings;
}

std::vector<Finding> examineDefinitions(const DoctorServices& services, const DoctorFacts& facts) {
  const auto now = services.clock.wallTime();
  const DefinitionPlace place = definitionsInUse(facts.agent, engineOf(services));
  const Wording update{place.keeper == DefinitionPlace::Keeper::machine
                           ? "DOCTOR_DEFINITIONS_MACHINE_REMEDY"
                           : "DOCTOR_DEFINITIONS_REMEDY"};
  const Wording sentence{"", {OverviewText(services.strings, now).definitions(place)}};
  const auto found = [&](Sign sign, Wording said, Wording remedy = {}) {
    return std::vector<Finding>{
        {"definitions", place.folder, sign, std::move(said), std::move(remedy)}};
  };
  if (place.built == 0) {
    return place.folder.empty() ? found(Sign::unknown, {"DOCTOR_DEFINITIONS_UNKNOWN"}, update)
                                : found(Sign::problem, {"DOCTOR_DEFINITIONS_NONE"}, update);
  }
  const Wording said{"DOCTOR_DEFINITIONS", sentence.values};
  const std::chrono::hours age(24 * daysSince(place.built, now));
  return age > definitionsOldAfter ? found(Sign::warning, said, update) : found(Sign::good, said);
}

std::vector<Finding> examineProfiles(const DoctorServices& services, const DoctorFacts& facts) {
  const std::string engine = engineOf(services);
  const std::string additions = services.folders.resourceFolder() + "/engine-tools/apparmor";
  const bool updatesHere =
      definitionsInUse(facts.agent, engine).keeper != DefinitionPlace::Keeper::machine;
  // The packaged profile of the daemon lets it read home folders.
  const bool isInAHome = liesBelow(engine, "/home") || liesBelow(engine, "/root");
  std::vector<Finding> findings;
  const auto look = [&](const char* profile, const char* program) {
    if (keepsOutOfTrees(services.profiles, profile)) {
      findings.push_back(
          {"apparmor",
           "",
           Sign::warning,
           {"DOCTOR_APPARMOR", {program}},
           {"DOCTOR_APPARMOR_REMEDY", {commandToOpen(services.profiles, profile, additions)}}});
    }
  };
  if (updatesHere) {
    look(updaterProfile, "freshclam");
  }
  if (updatesHere && !isInAHome) {
    look(daemonProfile, "clamd");
  }
  if (findings.empty()) {
    findings.push_back({"apparmor", "", Sign::good, {"DOCTOR_APPARMOR_GOOD"}});
  }
  return findings;
}

}  // namespace quillo
