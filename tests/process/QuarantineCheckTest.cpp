#include <fcntl.h>
#include <gtest/gtest.h>

#include <algorithm>

#include "agent/QuarantineRecheck.h"
#include "engine/ClamdLink.h"
#include "platform/Notifier.h"
#include "posix/PathOpening.h"
#include "quarantine/QuarantineCheck.h"
#include "scanning/EngineRun.h"
#include "tests/fakes/desktop/FakeInterface.h"
#include "tests/fakes/desktop/FakeServices.h"
#include "tests/fakes/engine/SessionClamd.h"
#include "tests/process/FakeClientTree.h"
#include "tests/support/ManualClock.h"
#include "tests/support/Threads.h"
#include "tools/clamdscan/MoveFolder.h"

namespace quillo {
namespace {

using Check = QuarantineRecord::Check;

struct Notices final : public Notifier {
  bool displayGrowlDialogWithTitleAndDescription(std::int32_t, const std::string& description,
                                                 const NotificationDetails& details) override {
    shown.push_back(description);
    buttons = details.buttons;
    return true;
  }
  void withdraw(const std::string&) override {}
  std::vector<std::string> shown;
  std::vector<NotificationButton> buttons;  // of the last one
};

// The daemon judges by what a file holds: "infected..." is infected, "error..." cannot be scanned.
class QuarantineChecks : public testing::Test {
 protected:
  void quarantined(const std::string& name, const std::string& contents) {
    const std::string path = scratch.write("home/" + name, contents);
    wrapper::MoveFolder mover(clock, wrapper::DesktopTrash("", ""));
    ASSERT_EQ(mover.open(folder), "");
    ASSERT_TRUE(mover.move(path, openPath(path, O_RDONLY).get(), "Old").moved);
  }
  Check checkOf(const std::string& name) const {
    for (const QuarantinedFile& file : store.list().files) {
      if (file.name == name) {
        return file.record.check;
      }
    }
    return Check::never;
  }
  LoadedDefinitions loaded(int hours) const {
    return {true, QuarantineRecord::Time(std::chrono::hours(hours))};
  }

  wrapper::FakeClientTree tree;
  TemporaryFolder scratch;
  const std::string folder = scratch.makeFolder("q");
  ManualClock clock;
  QuarantineStore store{folder, clock, {}};
  FakeLocalizedStrings strings;
  FakeSystemLog log;
  FakeThreads threads;
  Notices notices;
  QuarantineRecheck recheck{{clock, strings, notices, log, threads, [this] { return folder; },
                             [this] { return tree.program(); }}};
};

TEST_F(QuarantineChecks, NoteWhatTheEngineSaysOfEachFileByNow) {
  quarantined("a\xff\n", "clean");
  quarantined("b", "infected");
  quarantined("c", "error");
  const auto result = checkQuarantine(store, tree.program(), store.list().files,
                                      QuarantineRecord::Time(std::chrono::hours(5)));
  EXPECT_EQ(result.problem, "");
  EXPECT_EQ(result.count(Check::clean), 1U);
  EXPECT_EQ(result.count(Check::infected), 1U);
  EXPECT_EQ(result.count(Check::notScanned), 1U);
  EXPECT_EQ(checkOf("a\xff\n"), Check::clean);
  EXPECT_EQ(checkOf("b"), Check::infected);
  EXPECT_EQ(checkOf("c"), Check::never);
  EXPECT_EQ(store.list().files.size(), 3U);
}

TEST_F(QuarantineChecks, ThatCannotBeginAreLoggedAndTriedAgain) {
  quarantined("a", "clean");
  NoThreads none;
  QuarantineRecheck without({clock, strings, notices, log, none, [this] { return folder; },
                             [this] { return tree.program(); }});
  without.definitionsAre(loaded(5));
  without.definitionsAre(loaded(5));
  EXPECT_EQ(log.lines().size(), 2U);
}

TEST_F(QuarantineChecks, CallNothingCleanWithoutTheDaemon) {
  quarantined("a", "clean");
  tree.endDaemon();
  const auto result = checkQuarantine(store, tree.program(), store.list().files, {});
  EXPECT_EQ(result.count(Check::notScanned), 1U);
  EXPECT_EQ(checkOf("a"), Check::never);
}

TEST_F(QuarantineChecks, SayThatThereIsNoScanner) {
  quarantined("a", "clean");
  const auto result = checkQuarantine(store, scratch.at("none"), store.list().files, {});
  EXPECT_EQ(result.problem, "launch path not accessible");
  EXPECT_EQ(checkOf("a"), Check::never);
}

// One that is stuck with a file.
TEST_F(QuarantineChecks, EndAScannerThatSaysNothingAnyMore) {
  quarantined("a", "clean");
  const std::string stuck = scratch.write("stuck", "#!/bin/sh\nexec sleep 1000\n", 0755);
  QuarantineCheckCare care;
  care.longestSilence = std::chrono::milliseconds(50);
  const auto result = checkQuarantine(store, stuck, store.list().files, {}, care);
  EXPECT_EQ(result.problem, "the scanner said nothing any more and was ended");
  EXPECT_EQ(checkOf("a"), Check::never);
}

TEST_F(QuarantineChecks, LeadToTheQuarantineByAButton) {
  quarantined("a", "clean");
  int timesShown = 0;
  QuarantineRecheck leading({clock, strings, notices, log, threads, [this] { return folder; },
                             [this] { return tree.program(); }, nullptr,
                             [&timesShown] { ++timesShown; }});
  EXPECT_TRUE(leading.check(*loaded(5).built));
  ASSERT_EQ(notices.buttons.size(), 1U);
  EXPECT_EQ(notices.buttons[0].title, "<NOTIFICATION_QUARANTINE>");
  notices.buttons[0].press();
  EXPECT_EQ(timesShown, 1);
}

TEST_F(QuarantineChecks, EndWithTheAgent) {
  quarantined("a", "clean");
  std::string stuck = scratch.write("stuck", "#!/bin/sh\nexec sleep 1000\n", 0755);
  RunningScanners running;
  running.endAllForGood();
  QuarantineRecheck ofAnEnd({clock, strings, notices, log, threads, [this] { return folder; },
                             [&stuck] { return stuck; }, &running});
  EXPECT_FALSE(ofAnEnd.check(*loaded(5).built));
  EXPECT_EQ(checkOf("a"), Check::never);
}

TEST_F(QuarantineChecks, AreMadeOfNewerDefinitionsAndNotifyOfWhatIsCleanByNow) {
  quarantined("a", "clean");
  quarantined("b", "infected");
  recheck.definitionsAre(loaded(5));
  threads.run("recheck");
  EXPECT_EQ(checkOf("a"), Check::clean);
  EXPECT_EQ(notices.shown, std::vector<std::string>{"<RECHECKED_CLEAN_ONE>"});
  EXPECT_EQ(store.list().files.size(), 2U);
  recheck.definitionsAre(loaded(6));
  threads.run("recheck");
  EXPECT_EQ(notices.shown.size(), 1U);
}

TEST_F(QuarantineChecks, AreNotMadeAgainOfTheSameDefinitions) {
  quarantined("a", "infected");
  recheck.definitionsAre(loaded(5));
  threads.run("recheck");
  recheck.definitionsAre(loaded(5));
  recheck.definitionsAre({false, QuarantineRecord::Time(std::chrono::hours(9))});
  recheck.definitionsAre({true, std::nullopt});
  EXPECT_EQ(threads.names().size(), 1U);
}

TEST_F(QuarantineChecks, AreMadeOfTheSameDefinitionsWhenTheDaemonWasGone) {
  quarantined("a", "clean");
  tree.endDaemon();
  recheck.definitionsAre(loaded(5));
  threads.run("recheck");
  tree.daemon(SessionClamd::truth);
  recheck.definitionsAre(loaded(5));
  threads.run("recheck");
  EXPECT_EQ(checkOf("a"), Check::clean);
}

TEST_F(QuarantineChecks, AreNotMadeAnewAfterARestartOfTheAgent) {
  quarantined("a", "infected");
  recheck.check(*loaded(5).built);
  const std::size_t lines = log.lines().size();
  EXPECT_EQ(lines, 1U);
  recheck.check(*loaded(5).built);
  EXPECT_EQ(log.lines().size(), lines);
}

}  // namespace
}  // namespace quillo
