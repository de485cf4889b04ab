#include <gtest/gtest.h>

#include <atomic>

#include "platform/linux/planned/SystemdTimers.h"
#include "tests/desktop/support/QtEvents.h"
#include "tests/desktop/support/bus/FakeSystemd.h"
#include "tests/support/Threads.h"

namespace quillo {
namespace {

using Often = PlannedScan::Often;

PlannedScan dailyScan() {
  PlannedScan scan;
  scan.folders = {"/home/anna/Bücher 100%", "/tmp/\xff\"\n"};
  scan.hour = 7;
  scan.minute = 45;
  scan.onlyOnMains = true;
  return scan;
}

class SystemdTimersTest : public testing::Test {
 protected:
  // On a thread of its own, as the page asks, while the bus is served here.
  template <typename Ask>
  auto asked(Ask ask) {
    decltype(ask()) answer;
    std::atomic<bool> isThere{false};
    JoinedThreads thread([&] {
      answer = ask();
      isThere = true;
      postToMain([] {});
    });
    EXPECT_TRUE(waitUntil([&] { return isThere.load(); }));
    return answer;
  }
  std::vector<PlannedScan> planned() {
    const auto listing = asked([&] { return timers.list(); });
    EXPECT_TRUE(listing.problem.empty()) << listing.problem.key;
    return listing.scans;
  }
  Wording put(const PlannedScan& scan) {
    return asked([&] { return timers.put(scan); });
  }

  TemporaryFolder units;
  TestBus bus;
  SystemdTimers timers{*bus, "/usr/bin/vantrel", units.path()};
};

TEST_F(SystemdTimersTest, WhatIsPlannedIsReadBackFromSystemd) {
  FakeSystemd systemd(units.path());
  EXPECT_EQ(put(dailyScan()).key, "");
  systemd.lastStart = 1'700'000'000'000'000;
  systemd.nextElapse = 1'700'086'400'000'000;
  const auto scans = planned();
  ASSERT_EQ(scans.size(), 1U);
  EXPECT_TRUE(scans[0].plansTheSameAs(dailyScan()));
  EXPECT_TRUE(scans[0].isActive);
  EXPECT_TRUE(scans[0].isUnderstood);
  EXPECT_EQ(scans[0].lastRun, 1'700'000'000);
  EXPECT_EQ(scans[0].nextRun, 1'700'086'400);
  EXPECT_EQ(systemd.enabled.size(), 1U);
}

TEST_F(SystemdTimersTest, TimeThatPassedWithoutAScanIsNoLastTime) {
  FakeSystemd systemd(units.path());
  put(dailyScan());
  systemd.lastTrigger = 1'700'000'000'000'000;
  EXPECT_EQ(planned().at(0).lastRun, 0);
}

TEST_F(SystemdTimersTest, ScanThatRunsIsKnownAndEnded) {
  FakeSystemd systemd(units.path());
  put(dailyScan());
  const std::string id = planned().at(0).id;
  EXPECT_FALSE(planned().at(0).isRunning);
  systemd.running.insert("vantrel-scan-" + id + ".service");
  EXPECT_TRUE(planned().at(0).isRunning);
  EXPECT_EQ(asked([&] { return timers.end(id); }).key, "");
  EXPECT_FALSE(planned().at(0).isRunning);
  EXPECT_TRUE(planned().at(0).isActive);
  EXPECT_EQ(asked([&] { return timers.end(id); }).key, "");
  EXPECT_EQ(asked([&] { return timers.end("../a"); }).key, "PLANNED_NOT_POSSIBLE");
}

TEST_F(SystemdTimersTest, BeginningAndEndAreNoticedOfItsOwnUnitsOnly) {
  FakeSystemd systemd(units.path());
  int changes = 0;
  timers.observe([&] { ++changes; });
  EXPECT_TRUE(waitUntil([&] { return systemd.isSubscribedTo; }));
  systemd.sayThatItChanged("other-scan-a1.service", "activating");
  systemd.sayThatItChanged("vantrel-scan-a1.service", "activating");
  systemd.sayThatItChanged("vantrel-scan-a1.service", "activating");
  systemd.sayThatItChanged("vantrel-scan-a1.service", "inactive");
  EXPECT_TRUE(waitUntil([&] { return changes >= 2; }));
  systemd.sayThatItChanged("vantrel-scan-b2.service", "activating");
  EXPECT_TRUE(waitUntil([&] { return changes >= 3; }));
  EXPECT_EQ(changes, 3);
}

TEST_F(SystemdTimersTest, ChangedScanKeepsItsId) {
  FakeSystemd systemd(units.path());
  put(dailyScan());
  PlannedScan scan = planned().at(0);
  scan.often = Often::monthly;
  scan.day = 28;
  EXPECT_EQ(put(scan).key, "");
  const auto scans = planned();
  ASSERT_EQ(scans.size(), 1U);
  EXPECT_TRUE(scans[0].plansTheSameAs(scan));
  EXPECT_EQ(scans[0].id, scan.id);
}

TEST_F(SystemdTimersTest, WhatTheUserEditedIsShownAsItIs) {
  FakeSystemd systemd(units.path());
  put(dailyScan());
  systemd.editedCalendar = "Mon..Fri *-*-* 12:30:00";
  systemd.active.clear();
  systemd.nextElapse = ~0ULL;
  const auto scans = planned();
  ASSERT_EQ(scans.size(), 1U);
  EXPECT_EQ(scans[0].often, Often::other);
  EXPECT_EQ(scans[0].calendar, "Mon..Fri *-*-* 12:30:00");
  EXPECT_FALSE(scans[0].isActive);
  EXPECT_EQ(scans[0].nextRun, 0);
}

TEST_F(SystemdTimersTest, ChangeThatAnEditOutweighsIsAProblem) {
  FakeSystemd systemd(units.path());
  put(dailyScan());
  PlannedScan scan = planned().at(0);
  systemd.editedCalendar = "Mon..Fri *-*-* 12:30:00";
  scan.hour = 9;
  EXPECT_EQ(put(scan).key, "PLANNED_OVERRIDDEN");
  EXPECT_EQ(put(scan).values.at(0), "vantrel-scan-" + scan.id + ".timer");
}

TEST_F(SystemdTimersTest, AnotherProgramInTheServiceIsNotTakenForAScan) {
  units.write("vantrel-scan-aa.timer", "[Timer]\nOnCalendar=*-*-* 12:30:00\n");
  units.write("vantrel-scan-aa.service", "[Service]\nExecStart=/bin/rm -r /home\n");
  FakeSystemd systemd(units.path());
  const auto scans = planned();
  ASSERT_EQ(scans.size(), 1U);
  EXPECT_FALSE(scans[0].isUnderstood);
  EXPECT_TRUE(scans[0].folders.empty());
}

TEST_F(SystemdTimersTest, ScanByAnotherProgramIsShownNotRunAndMendedByAChange) {
  units.write("vantrel-scan-aa.timer", "[Timer]\nOnCalendar=*-*-* 12:30:00\n");
  units.write("vantrel-scan-aa.service",
              "[Service]\nExecStart=:/old/vantrel scan --planned aa -- /home/anna\n");
  FakeSystemd systemd(units.path());
  PlannedScan scan = planned().at(0);
  EXPECT_FALSE(scan.isUnderstood);
  EXPECT_EQ(scan.otherProgram, "/old/vantrel");
  EXPECT_EQ(scan.folders, std::vector<std::string>{"/home/anna"});
  const Wording refusal = asked([&] { return timers.runNow("aa"); });
  EXPECT_EQ(refusal.key, "PLANNED_OTHER_NOT_RUN");
  EXPECT_EQ(refusal.values, std::vector<std::string>{"/old/vantrel"});
  EXPECT_TRUE(systemd.started.empty());

  EXPECT_EQ(put(scan).key, "");
  scan = planned().at(0);
  EXPECT_TRUE(scan.isUnderstood);
  EXPECT_EQ(scan.otherProgram, "");
  EXPECT_NE(TemporaryFolder::read(units.at("vantrel-scan-aa.service"))
                .find("ExecStart=:\"/usr/bin/vantrel\" scan"),
            std::string::npos);
}

TEST_F(SystemdTimersTest, RefusedScanLeavesNothing) {
  FakeSystemd systemd(units.path());
  for (const char* member : {"Reload", "EnableUnitFiles", "RestartUnit"}) {
    systemd.refuses = member;
    const Wording problem = put(dailyScan());
    EXPECT_EQ(problem.key, "PLANNED_NOT_ALLOWED") << member;
    EXPECT_EQ(problem.values, std::vector<std::string>{"not today"});
    systemd.refuses = "";
    asked([&] { return timers.remove("none"); });
    EXPECT_TRUE(planned().empty()) << member;
    EXPECT_TRUE(systemd.enabled.empty()) << member;
  }
}

TEST_F(SystemdTimersTest, RefusalIsSaidInWordsWithItsReasonBehind) {
  FakeSystemd systemd(units.path());
  systemd.refuses = "StartUnit";
  put(dailyScan());
  const std::string id = planned().at(0).id;
  const std::pair<const char*, const char*> keys[] = {
      {"org.freedesktop.DBus.Error.AccessDenied", "PLANNED_NOT_ALLOWED"},
      {"org.freedesktop.DBus.Error.NoReply", "PLANNED_NO_ANSWER"},
      {"org.freedesktop.systemd1.NoSuchUnit", "PLANNED_NO_UNIT"},
      {"org.freedesktop.DBus.Error.ServiceUnknown", "PLANNED_NO_SYSTEMD"},
      {"org.freedesktop.systemd1.Masked", "PLANNED_REFUSED"}};
  for (const auto& [error, key] : keys) {
    systemd.refusal = error;
    const Wording problem = asked([&] { return timers.runNow(id); });
    EXPECT_EQ(problem.key, key) << error;
    const bool hasReason = problem.key != "PLANNED_NO_SYSTEMD";
    EXPECT_EQ(problem.values,
              hasReason ? std::vector<std::string>{"not today"} : std::vector<std::string>())
        << error;
  }
}

TEST_F(SystemdTimersTest, NewPlanWhoseFileSystemdDoesNotSeeIsRefusedAndNotForgotten) {
  FakeSystemd systemd(units.path());
  systemd.refuses = "EnableUnitFiles";
  systemd.refusal = "org.freedesktop.DBus.Error.FileNotFound";
  EXPECT_EQ(put(dailyScan()).key, "PLANNED_REFUSED");
}

TEST_F(SystemdTimersTest, RefusedChangeLeavesWhatWasPlanned) {
  FakeSystemd systemd(units.path());
  put(dailyScan());
  PlannedScan scan = planned().at(0);
  scan.hour = 23;
  systemd.refuses = "EnableUnitFiles";
  EXPECT_EQ(put(scan).key, "PLANNED_NOT_ALLOWED");
  systemd.refuses = "";
  const auto scans = planned();
  ASSERT_EQ(scans.size(), 1U);
  EXPECT_TRUE(scans[0].plansTheSameAs(dailyScan()));
  EXPECT_TRUE(scans[0].isActive);
}

TEST_F(SystemdTimersTest, LinkOfTheUsersIsNeitherFollowedNorTakenAway) {
  const TemporaryFolder elsewhere;
  const std::string own = elsewhere.write("own.timer", "[Timer]\nOnCalendar=*-*-* 12:30:00\n");
  units.link("vantrel-scan-aa.timer", own);
  units.write("vantrel-scan-aa.service", "[Service]\nExecStart=/bin/true\n");
  FakeSystemd systemd(units.path());
  PlannedScan scan = dailyScan();
  scan.id = "aa";
  EXPECT_EQ(put(scan).key, "PLANNED_CANNOT_WRITE");
  EXPECT_TRUE(TemporaryFolder::exists(units.at("vantrel-scan-aa.timer")));
  EXPECT_EQ(TemporaryFolder::read(own), "[Timer]\nOnCalendar=*-*-* 12:30:00\n");
  EXPECT_EQ(TemporaryFolder::read(units.at("vantrel-scan-aa.service")),
            "[Service]\nExecStart=/bin/true\n");
}

TEST_F(SystemdTimersTest, RemovedScanIsGoneWithItsFiles) {
  FakeSystemd systemd(units.path());
  put(dailyScan());
  const std::string id = planned().at(0).id;
  EXPECT_EQ(asked([&] { return timers.remove(id); }).key, "");
  EXPECT_TRUE(planned().empty());
  EXPECT_TRUE(systemd.enabled.empty());
  EXPECT_TRUE(systemd.active.empty());
  EXPECT_FALSE(TemporaryFolder::exists(units.at("vantrel-scan-" + id + ".service")));
}

TEST_F(SystemdTimersTest, ScanThatCannotBeStoppedStaysPlanned) {
  FakeSystemd systemd(units.path());
  put(dailyScan());
  systemd.refuses = "DisableUnitFiles";
  const std::string id = planned().at(0).id;
  EXPECT_EQ(asked([&] { return timers.remove(id); }).key, "PLANNED_NOT_ALLOWED");
  EXPECT_EQ(planned().size(), 1U);
}

TEST_F(SystemdTimersTest, ScanIsStartedByItsService) {
  FakeSystemd systemd(units.path());
  EXPECT_EQ(asked([&] { return timers.runNow("a1"); }).key, "");
  EXPECT_EQ(systemd.started, std::vector<std::string>{"vantrel-scan-a1.service"});
  EXPECT_EQ(asked([&] { return timers.runNow("../a1"); }).key, "PLANNED_NOT_POSSIBLE");
}

TEST_F(SystemdTimersTest, WithoutSystemdThatIsSaidAndNothingIsWritten) {
  EXPECT_EQ(asked([&] { return timers.list(); }).problem.key, "PLANNED_NO_SYSTEMD");
  EXPECT_EQ(put(dailyScan()).key, "PLANNED_NO_SYSTEMD");
  EXPECT_EQ(asked([&] { return timers.runNow("a1"); }).key, "PLANNED_NO_SYSTEMD");
  SystemdTimers without(QDBusConnection("there is no such connection"), "/x", units.path());
  EXPECT_EQ(without.list().problem.key, "PLANNED_NO_SYSTEMD");
  FakeSystemd systemd(units.path());
  EXPECT_TRUE(planned().empty());
}

}  // namespace
}  // namespace quillo
