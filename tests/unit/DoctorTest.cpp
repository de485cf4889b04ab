#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <stdexcept>

#include "companion/doctor/Finding.h"
#include "posix/Version.h"
#include "tests/fakes/desktop/FakeAgentLink.h"
#include "tests/fakes/desktop/FakePlatform.h"
#include "tests/fakes/engine/FakeClamd.h"
#include "tests/support/ManualClock.h"
#include "tests/support/TemporaryFolder.h"

namespace quillo {
namespace {

using Sign = Finding::Sign;

class Doctor : public testing::Test {
 protected:
  Doctor() {
    desktop.folders.home = home.path();
    desktop.folders.resources = home.makeFolder("resources");
    desktop.preferenceStore.set("PathToClamav", engine().c_str());
    services.profiles = {home.at("apparmor"), home.at("profiles")};
    services.helperOwner = getuid();
    facts.agent = FakeAgentLink::watching(projectVersion);
    facts.desktop.showsStatusItems = true;
    facts.desktop.showsNotifications = true;
    facts.desktop.autostart = DesktopFacts::Autostart::on;
  }
  std::string engine() const { return home.path() + "/engine"; }
  // "sign KEY: values, → KEY" of the first finding of a check.
  static std::string shown(const std::vector<Finding>& findings, const std::string& check) {
    const auto found = std::find_if(findings.begin(), findings.end(),
                                    [&](const Finding& one) { return one.check == check; });
    if (found == findings.end()) {
      return "nothing";
    }
    static constexpr const char* signs[] = {"good", "warning", "problem", "unknown"};
    return std::string(signs[static_cast<int>(found->sign)]) + " " + found->sentence.key +
           (found->remedy.empty() ? "" : " → " + found->remedy.key);
  }
  std::string agent() { return shown(examineAgent(services, facts), "agent"); }
  std::string files(const std::string& check) {
    return shown(examineFiles(services, facts), check);
  }

  TemporaryFolder home;
  FakePlatform desktop;
  PassingClock clock;
  std::vector<Mount> mounts;
  DoctorServices services{clock,
                          desktop.folders,
                          desktop.localizedStrings,
                          desktop.preferences,
                          [this] { return std::optional(mounts); },
                          [](const std::string&) { return true; }};
  DoctorFacts facts;
};

TEST_F(Doctor, KnowsAnAgentThatWatches) { EXPECT_EQ(agent(), "good DOCTOR_AGENT_GOOD"); }

TEST_F(Doctor, KnowsAnAgentThatIsNotThere) {
  facts.agent.reset();
  EXPECT_EQ(agent(), "problem DOCTOR_AGENT_NONE → DOCTOR_AGENT_NONE_REMEDY");
}

TEST_F(Doctor, KnowsThatItCannotAskTheAgent) {
  facts.agent.reset();
  facts.agentProblem = {"", {"no bus"}};
  EXPECT_EQ(agent(), "unknown DOCTOR_AGENT_UNKNOWN → DOCTOR_AGENT_UNKNOWN_REMEDY");
}

TEST_F(Doctor, KnowsAnAgentThatWatchesNothing) {
  facts.agent->state = "stopped";
  EXPECT_EQ(agent(), "problem DOCTOR_AGENT_IDLE → DOCTOR_AGENT_IDLE_REMEDY");
}

TEST_F(Doctor, KnowsAnAgentOfAnotherVersion) {
  facts.agent->program = "0.0.1";
  EXPECT_EQ(agent(), "warning DOCTOR_AGENT_OTHER → DOCTOR_AGENT_OTHER_REMEDY");
  facts.agent->state = "stopped";
  EXPECT_EQ(agent(), "problem DOCTOR_AGENT_IDLE → DOCTOR_AGENT_IDLE_REMEDY");
}

TEST_F(Doctor, CannotTellOfAnAgentThatItDoesNotUnderstand) {
  facts.agent->version = AgentStatus::currentVersion + 1;
  facts.agent->state = "dreaming";
  EXPECT_EQ(agent(), "unknown DOCTOR_AGENT_OTHER → DOCTOR_AGENT_OTHER_REMEDY");
}

class DoctorOfEngine : public Doctor {
 protected:
  void install() {
    for (const char* program : {"bin/clamdscan", "bin/freshclam", "sbin/clamd"}) {
      home.writeProgram(std::string("engine/") + program, "#!/bin/sh\n");
    }
    configure("LocalSocket " + engine() + "/clamd.sock");
  }
  void configure(const std::string& lines) { home.write("engine/etc/clamd.conf", lines + "\n"); }
  std::string check(const std::string& name) { return shown(examineEngine(services, facts), name); }
  std::string definitions() { return shown(examineDefinitions(services, facts), "definitions"); }
  std::string profiles() { return shown(examineProfiles(services, facts), "apparmor"); }
};

TEST_F(DoctorOfEngine, KnowsThatNoneIsChosen) {
  desktop.preferenceStore.set("PathToClamav", "");
  EXPECT_EQ(check("engine"), "problem DOCTOR_ENGINE_NOT_CHOSEN → DOCTOR_ENGINE_NOT_CHOSEN_REMEDY");
}

TEST_F(DoctorOfEngine, NamesEachProgramThatIsMissing) {
  install();
  ASSERT_EQ(unlink((engine() + "/sbin/clamd").c_str()), 0);
  EXPECT_EQ(check("engine"), "problem DOCTOR_ENGINE_INCOMPLETE → DOCTOR_ENGINE_REMEDY");
  EXPECT_EQ(examineEngine(services, facts).front().subject, engine() + "/sbin/clamd");
}

TEST_F(DoctorOfEngine, KnowsAWholeOne) {
  install();
  EXPECT_EQ(check("engine"), "good DOCTOR_ENGINE_GOOD");
}

TEST_F(DoctorOfEngine, KnowsThatNobodyAnswers) {
  install();
  EXPECT_EQ(check("daemon"), "problem DOCTOR_DAEMON_ABSENT → DOCTOR_DAEMON_ABSENT_REMEDY");
}

TEST_F(DoctorOfEngine, KnowsAConfigurationThatCannotBeReadOrNamesNoSocket) {
  install();
  configure("# nothing");
  EXPECT_EQ(check("daemon"), "problem DOCTOR_DAEMON_NO_SOCKET → DOCTOR_ENGINE_REMEDY");
  ASSERT_EQ(unlink((engine() + "/etc/clamd.conf").c_str()), 0);
  EXPECT_EQ(check("daemon"), "problem DOCTOR_DAEMON_NO_CONFIGURATION → DOCTOR_ENGINE_REMEDY");
}

TEST_F(DoctorOfEngine, KnowsADaemonThatAnswersAndCanUnpack) {
  install();
  const FakeClamd daemon(home.at("clamd.sock"));
  configure("LocalSocket " + home.at("clamd.sock") + "\nTemporaryDirectory " +
            home.makeFolder("scratch"));
  EXPECT_EQ(check("daemon"), "good DOCTOR_DAEMON_GOOD");
}

TEST_F(DoctorOfEngine, KnowsADaemonThatCannotUnpack) {
  install();
  const FakeClamd daemon(home.at("clamd.sock"));
  configure("LocalSocket " + home.at("clamd.sock") + "\nTemporaryDirectory " + home.at("gone"));
  EXPECT_EQ(check("daemon"), "problem DOCTOR_DAEMON_NO_SCRATCH → DOCTOR_DAEMON_NO_SCRATCH_REMEDY");
  const Finding finding = examineEngine(services, facts).back();
  EXPECT_EQ(finding.subject, home.at("gone"));
  EXPECT_EQ(finding.sentence.values,
            (std::vector<std::string>{home.at("gone"), "No such file or directory"}));
}

TEST_F(DoctorOfEngine, LooksWhereTheMachinesDaemonUnpacks) {
  install();
  const FakeClamd daemon(home.at("clamd.sock"));
  configure("LocalSocket " + home.at("clamd.sock") + "\nTemporaryDirectory " + home.path());
  home.write("engine/etc/front.conf", "DaemonConfig " + home.at("machine.conf") + "\n");
  home.write("machine.conf", "TemporaryDirectory " + home.at("gone") + "\n");
  EXPECT_EQ(check("daemon"), "problem DOCTOR_DAEMON_NO_SCRATCH → DOCTOR_DAEMON_NO_SCRATCH_REMEDY");
}

TEST_F(DoctorOfEngine, DoesNotTrustASocketThatSomebodyElseMayHaveMade) {
  install();
  home.makeFolder("open");
  home.write("open/clamd.sock");
  ASSERT_EQ(chmod(home.at("open").c_str(), 0777), 0);
  configure("LocalSocket " + home.at("open") + "/clamd.sock");
  EXPECT_EQ(check("daemon"), "problem DOCTOR_DAEMON_DISTRUSTED → DOCTOR_DAEMON_DISTRUSTED_REMEDY");
}

TEST_F(DoctorOfEngine, KnowsHowOldTheDefinitionsAre) {
  const auto now =
      std::chrono::duration_cast<std::chrono::seconds>(clock.wallTime().time_since_epoch()).count();
  facts.agent->definitionFolder = home.makeFolder("definitions");
  facts.agent->definitionsBuilt = now - 86400;
  EXPECT_EQ(definitions(), "good DOCTOR_DEFINITIONS");
  facts.agent->definitionsBuilt = now - 40L * 86400;
  EXPECT_EQ(definitions(), "warning DOCTOR_DEFINITIONS → DOCTOR_DEFINITIONS_REMEDY");
}

TEST_F(DoctorOfEngine, KnowsThatThereAreNoDefinitionsOrNotWhere) {
  EXPECT_EQ(definitions(), "unknown DOCTOR_DEFINITIONS_UNKNOWN → DOCTOR_DEFINITIONS_REMEDY");
  install();
  configure("DatabaseDirectory " + home.makeFolder("definitions"));
  EXPECT_EQ(definitions(), "problem DOCTOR_DEFINITIONS_NONE → DOCTOR_DEFINITIONS_REMEDY");
}

TEST_F(DoctorOfEngine, KnowsThatAppArmorKeepsTheEngineOut) {
  EXPECT_EQ(profiles(), "good DOCTOR_APPARMOR_GOOD");
  home.write("apparmor", "Y\n");
  home.write("profiles/usr.bin.freshclam");
  EXPECT_EQ(profiles(), "warning DOCTOR_APPARMOR → DOCTOR_APPARMOR_REMEDY");
  home.write("profiles/local/usr.bin.freshclam", "# vantrel\n");
  EXPECT_EQ(profiles(), "good DOCTOR_APPARMOR_GOOD");
}

class DoctorOfHelper : public Doctor {
 protected:
  void install(mode_t mode = 04755, const std::string& version = projectVersion) {
    home.writeProgram("resources/gfslogger", "#!/bin/sh\necho gfslogger " + version + "\n");
    ASSERT_EQ(chmod(home.at("resources/gfslogger").c_str(), mode), 0);
  }
  std::string helper() { return shown(examineHelper(services, facts), "helper"); }
  static constexpr const char* noRights =
      "problem DOCTOR_HELPER_NO_RIGHTS → DOCTOR_HELPER_RIGHTS_REMEDY";
};

TEST_F(DoctorOfHelper, KnowsThatItIsMissingOrALink) {
  EXPECT_EQ(helper(), "problem DOCTOR_HELPER_MISSING → DOCTOR_HELPER_MISSING_REMEDY");
  home.link("resources/gfslogger", "/bin/true");
  EXPECT_EQ(helper(), "problem DOCTOR_HELPER_MISSING → DOCTOR_HELPER_MISSING_REMEDY");
}

TEST_F(DoctorOfHelper, KnowsThatItLacksTheBitOrBelongsToAnother) {
  install(0755);
  EXPECT_EQ(helper(), noRights);
  install();
  services.helperOwner = getuid() + 1;
  EXPECT_EQ(helper(), noRights);
}

TEST_F(DoctorOfHelper, KnowsThatOthersCouldWriteIt) {
  install(04775);
  EXPECT_EQ(helper(), "problem DOCTOR_HELPER_WRITABLE → DOCTOR_HELPER_MISSING_REMEDY");
}

TEST_F(DoctorOfHelper, KnowsThatTheAgentCannotRunIt) {
  install();
  facts.agent->attention = "helperFails";
  const std::string found = helper();
  EXPECT_EQ(found, "problem DOCTOR_HELPER_FAILS → DOCTOR_HELPER_FAILS_REMEDY");
}

TEST_F(Doctor, KnowsThatNoFolderIsChosen) {
  EXPECT_EQ(shown(examineFolders(services, facts), "folder"),
            "problem DOCTOR_FOLDER_NONE → DOCTOR_FOLDER_NONE_REMEDY");
}

TEST_F(Doctor, SaysOfEachFolderWhatIsCaughtInIt) {
  Mount root;
  root.point = "/";
  root.type = "ext4";
  Mount share = root;
  share.point = "/share";
  share.type = "nfs";
  mounts = {root, share};
  desktop.preferenceStore.set(
      "QuilloFolderArray", PreferenceValue{PreferenceArray{watchedFolder(home.path(), true),
                                                           watchedFolder("/share/x", true),
                                                           watchedFolder(home.at("none"), true)}});
  const std::vector<Finding> findings = examineFolders(services, facts);
  ASSERT_EQ(findings.size(), 3U);
  EXPECT_EQ(findings[0].sign, Sign::good);
  EXPECT_EQ(findings[1].sign, Sign::problem);
  EXPECT_EQ(findings[1].remedy.key, "DOCTOR_FOLDER_NETWORK_REMEDY");
  EXPECT_EQ(findings[2].sign, Sign::problem);
  EXPECT_EQ(findings[2].remedy.key, "DOCTOR_FOLDER_MISSING_REMEDY");
}

TEST_F(Doctor, CannotTellOfAFolderWithoutAMountTable) {
  services.mounts = [] { return std::optional<std::vector<Mount>>(); };
  desktop.preferenceStore.set("QuilloFolderArray",
                              PreferenceValue{PreferenceArray{watchedFolder(home.path(), true)}});
  EXPECT_EQ(shown(examineFolders(services, facts), "folder"), "unknown DOCTOR_FOLDER");
}

TEST_F(Doctor, LooksAfterTheScanLog) {
  EXPECT_EQ(files("log"), "warning DOCTOR_LOG_NONE → DOCTOR_LOG_NONE_REMEDY");
  const std::string log = home.write("Library/Logs/VantrelQuillo-scan.log");
  EXPECT_EQ(files("log"), "good DOCTOR_LOG_GOOD");
  desktop.preferenceStore.set("rotateScanlogWhenSizeReaches", PreferenceValue{std::int64_t{1}});
  ASSERT_EQ(truncate(log.c_str(), 20L * 1024), 0);
  EXPECT_EQ(files("log"), "warning DOCTOR_LOG_LARGE → DOCTOR_LOG_LARGE_REMEDY");
}

TEST_F(Doctor, AsksTheStoresThemselves) {
  EXPECT_EQ(files("history"), "nothing");
  services.preferencesProblem = [] { return "line 3"; };
  services.historyProblem = [] { return ""; };
  services.quarantineProblem = [] { return "read-only"; };
  EXPECT_EQ(files("preferences"), "problem DOCTOR_PREFERENCES_PROBLEM");
  EXPECT_EQ(files("history"), "good DOCTOR_HISTORY_GOOD");
  EXPECT_EQ(files("quarantine"), "problem DOCTOR_QUARANTINE_PROBLEM");
}

TEST_F(Doctor, FindsNothingWrongWithAQuarantineThatIsYetToBeMade) {
  services.quarantineProblem = [] { return "it is not there"; };
  desktop.preferenceStore.set("QuarantineFolder", home.at("quarantine"));
  EXPECT_EQ(files("quarantine"), "good DOCTOR_QUARANTINE_NOT_YET");
  desktop.preferenceStore.set("QuarantineFolder", home.at("gone/quarantine"));
  EXPECT_EQ(files("quarantine"), "good DOCTOR_QUARANTINE_NOT_YET");
  home.write("file");
  desktop.preferenceStore.set("QuarantineFolder", home.at("file/quarantine"));
  EXPECT_EQ(files("quarantine"), "problem DOCTOR_QUARANTINE_PROBLEM");
  home.link("quarantine", home.at("nowhere"));
  desktop.preferenceStore.set("QuarantineFolder", home.at("quarantine"));
  EXPECT_EQ(files("quarantine"), "problem DOCTOR_QUARANTINE_PROBLEM");
}

TEST_F(Doctor, BelievesTheAgentThatItKeepsNoHistory) {
  services.historyProblem = [] { return ""; };
  facts.agent->historyProblem = "the disk is full";
  EXPECT_EQ(files("history"), "problem DOCTOR_HISTORY_NOT_KEPT → DOCTOR_HISTORY_NOT_KEPT_REMEDY");
}

TEST_F(Doctor, LooksForRoom) {
  services.temporaryFolder = home.at("nothing");
  const std::vector<Finding> findings = examineSpace(services, facts);
  ASSERT_EQ(findings.size(), 2U);
  EXPECT_EQ(findings[0].sentence.key, "DOCTOR_SPACE");
  EXPECT_EQ(findings[1].sentence.key, "DOCTOR_SPACE_UNKNOWN");
  EXPECT_EQ(findings[1].sign, Sign::unknown);
}

TEST_F(Doctor, KnowsThatADiskIsFull) {
  services.temporaryFolder = "/proc";  // which has no room
  EXPECT_EQ(examineSpace(services, facts)[1].sign, Sign::problem);
  EXPECT_EQ(examineSpace(services, facts)[1].remedy.key, "DOCTOR_SPACE_TMP_REMEDY");
}

TEST_F(Doctor, LooksAtTheDesktop) {
  const auto look = [this](const char* check) {
    return shown(examineDesktop(services, facts), check);
  };
  EXPECT_EQ(look("panel"), "good DOCTOR_PANEL_GOOD");
  EXPECT_EQ(look("notifications"), "good DOCTOR_NOTIFICATIONS_GOOD");
  EXPECT_EQ(look("autostart"), "good DOCTOR_AUTOSTART_GOOD");
  facts.desktop.showsStatusItems = false;
  facts.desktop.showsNotifications.reset();
  facts.desktop.autostart = DesktopFacts::Autostart::off;
  EXPECT_EQ(look("panel"), "warning DOCTOR_PANEL_NONE → DOCTOR_PANEL_REMEDY");
  EXPECT_EQ(look("notifications"), "unknown DOCTOR_NOTIFICATIONS_UNKNOWN → DOCTOR_NO_BUS_REMEDY");
  EXPECT_EQ(look("autostart"), "warning DOCTOR_AUTOSTART_OFF → DOCTOR_AUTOSTART_OFF_REMEDY");
  facts.desktop.autostart = DesktopFacts::Autostart::missing;
  EXPECT_EQ(look("autostart"), "warning DOCTOR_AUTOSTART_NONE → DOCTOR_AUTOSTART_NONE_REMEDY");
  facts.desktop.autostart = DesktopFacts::Autostart::unknown;
  EXPECT_EQ(look("autostart"),
            "unknown DOCTOR_AUTOSTART_UNKNOWN → DOCTOR_AUTOSTART_UNKNOWN_REMEDY");
}

TEST_F(Doctor, GoesOnWhenACheckFails) {
  services.mounts = []() -> std::optional<std::vector<Mount>> {
    throw std::runtime_error("no memory");
  };
  desktop.preferenceStore.set("QuilloFolderArray",
                              PreferenceValue{PreferenceArray{watchedFolder(home.path(), true)}});
  const std::vector<Finding> findings = examine(services, facts);
  EXPECT_EQ(shown(findings, "folder"), "unknown DOCTOR_CHECK_FAILED");
  EXPECT_EQ(shown(findings, "panel"), "good DOCTOR_PANEL_GOOD");
}

}  // namespace
}  // namespace quillo
