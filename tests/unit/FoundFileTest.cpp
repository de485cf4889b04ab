// What becomes of a find when its file leaves its place, and when it comes back.

#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <functional>

#include "scanning/PutBackFiles.h"
#include "tests/fakes/scanning/ReportFixture.h"
#include "tests/support/ManualClock.h"
#include "tests/support/SystemCalls.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/Threads.h"

namespace quillo {
namespace {

namespace fs = std::filesystem;
using Calls = std::vector<std::string>;

class FoundFileTest : public ReportFixture {
 protected:
  FoundFileTest() { services.putBackFiles = &putBack; }

  std::string found(Action setting = Action::leaveInPlace) {
    startRun(setting);
    return loggedFor(line() + "\n");
  }
  std::string line(const std::string& threat = "Eicar") const {
    return path + ": " + threat + " FOUND";
  }
  std::string sparedLine() const {
    return stamp + " " + path + ": not warned of again: it was put back and has not changed\n";
  }
  std::string lastTopic() { return owner.details().back().topic; }
  void trash() const { fs::rename(path, trashed); }
  void restore() const { fs::rename(trashed, path); }

  void foundOnChannel(const Verdict& verdict, Action setting) {
    startRun(setting);
    VerdictSender scanner{UniqueFd(dup(report.verdicts()->scannersEnd()))};
    report.verdicts()->letGo();
    scanner.report(verdict);
    loggedFor(verdict.line + "\n");
  }

  // The report of a scanner that would move the file, and does so if it may.
  std::string foundByAMover(Action setting) {
    startRun(setting);
    VerdictSender scanner{UniqueFd(dup(report.verdicts()->scannersEnd()))};
    report.verdicts()->letGo();
    Verdict verdict = Verdict::parse(line());
    scanner.announceMove(verdict);
    JoinedThreads moving([&] {
      mayMove = scanner.mayMove();
      if (mayMove) {
        trash();
      } else if (afterRefusal) {
        afterRefusal();
      }
      verdict.whereabouts = mayMove ? Verdict::Whereabouts::moved : Verdict::Whereabouts::inPlace;
      verdict.destination = mayMove ? trashed : "";
      scanner.reportOutcome(verdict);
    });
    std::string logged = loggedFor(line() + "\n");
    moving.join();
    return logged;
  }

  TemporaryFolder folder;
  ManualClock storeClock;
  PutBackFiles putBack{folder.path() + "/state", desktop.systemLog, storeClock};
  const std::string path = folder.write("bad.com", "malware");
  const std::string trashed = folder.makeFolder("trash") + "/bad.com";
  bool mayMove = false;
  std::function<void()> afterRefusal;
};

TEST_F(FoundFileTest, IsLookedAfterWhileItLiesThere) {
  found();
  EXPECT_EQ(desktop.fileDepartures.watched(), Calls{path});
  desktop.fileDepartures.ask();
  EXPECT_FALSE(owner.withdrawn.has(lastTopic()));
  // As when it is opened, given other rights, or written to: it is the same file.
  std::ofstream(path, std::ios::app) << "more";
  desktop.fileDepartures.ask();
  EXPECT_FALSE(owner.withdrawn.has(lastTopic()));
  EXPECT_EQ(desktop.fileDepartures.watched(), Calls{path});
}

TEST_F(FoundFileTest, TakesItsNotificationWithItWhoeverMovesIt) {
  found();
  trash();
  desktop.fileDepartures.ask();
  EXPECT_TRUE(owner.withdrawn.has(lastTopic()));
  EXPECT_EQ(desktop.fileDepartures.watched(), Calls());
}

TEST_F(FoundFileTest, HasLeftWhenAnotherFileTookItsPlace) {
  found();
  fs::rename(folder.write("newer", "a letter"), path);
  desktop.fileDepartures.ask();
  EXPECT_TRUE(owner.withdrawn.has(lastTopic()));
}

TEST_F(FoundFileTest, HasLeftWhenAFolderTookItsPlace) {
  found();
  trash();
  folder.makeFolder("bad.com");
  desktop.fileDepartures.ask();
  EXPECT_TRUE(owner.withdrawn.has(lastTopic()));
}

// Asked for too early the notification would come after its withdrawal, and stay.
TEST_F(FoundFileTest, IsAskedForOnlyOnceItsNotificationIsThere) {
  for (const Action setting : {Action::leaveInPlace, Action::quarantine}) {
    Calls watchedBefore = {"not asked"};
    owner.duringNotification = [&] { watchedBefore = desktop.fileDepartures.watched(); };
    Verdict stayed = Verdict::parse(line());
    stayed.whereabouts = Verdict::Whereabouts::notMoved;
    foundOnChannel(stayed, setting);
    EXPECT_EQ(watchedBefore, Calls());
    EXPECT_EQ(desktop.fileDepartures.watched(), Calls{path});
    trash();
    desktop.fileDepartures.ask();
    EXPECT_TRUE(owner.withdrawn.has(lastTopic()));
    // Anew for the other setting.
    fs::rename(folder.write("another", letterOf(setting)), path);
  }
}

TEST_F(FoundFileTest, ThatLeavesWhileItIsReportedIsKnownWhenItIsPutBack) {
  owner.duringNotification = [this] { trash(); };
  found();
  desktop.fileDepartures.ask();
  EXPECT_TRUE(owner.withdrawn.has(lastTopic()));
  restore();
  EXPECT_EQ(found(), stamp + " " + line() + "\n" + sparedLine());
}

// The notification comes after what the window withdrew.
TEST_F(FoundFileTest, TakesItsNotificationWithItAlsoWhenItsWindowWasFaster) {
  owner.duringNotification = [this] {
    warningDialogs().at(0)->press(ButtonDialog::Button::deleteButton);
    owner.withdrawn.clear();
  };
  found();
  desktop.fileDepartures.ask();
  EXPECT_TRUE(owner.withdrawn.has(lastTopic()));
  EXPECT_EQ(desktop.fileDepartures.watched(), Calls());
}

TEST_F(FoundFileTest, ThatCannotBeLookedAtHasNotLeft) {
  found();
  trash();
  for (const int error : {EACCES, EIO, ELOOP}) {
    withFailingSystemCall(SYS_statx, error, [this] { desktop.fileDepartures.ask(); });
    EXPECT_FALSE(owner.withdrawn.has(lastTopic()));
    EXPECT_EQ(desktop.fileDepartures.watched(), Calls{path});
  }
  desktop.fileDepartures.ask();
  EXPECT_TRUE(owner.withdrawn.has(lastTopic()));
}

TEST_F(FoundFileTest, ThatIsGoneBeforeItIsReportedLeavesNoNotification) {
  owner.duringNotification = [this] { EXPECT_FALSE(owner.withdrawn.has(lastTopic())); };
  trash();
  found();
  EXPECT_TRUE(owner.withdrawn.has(lastTopic()));
  EXPECT_EQ(desktop.fileDepartures.watched(), Calls());
}

TEST_F(FoundFileTest, ThatCannotBeLookedAtKeepsItsNotification) {
  withFailingSystemCall(SYS_statx, EACCES, [this] { found(); });
  EXPECT_FALSE(owner.withdrawn.has(lastTopic()));
  EXPECT_EQ(desktop.fileDepartures.watched(), Calls());
}

TEST_F(FoundFileTest, WithoutAPlaceThatIsKnownKeepsItsNotification) {
  startRun(Action::leaveInPlace);
  loggedFor("bad.com: Eicar FOUND\n");
  EXPECT_FALSE(owner.withdrawn.has(lastTopic()));
}

TEST_F(FoundFileTest, ThatIsPutBackIsLoggedAndNotWarnedOf) {
  found();
  trash();
  desktop.fileDepartures.ask();
  restore();
  EXPECT_EQ(found(), stamp + " " + line() + "\n" + sparedLine());
  EXPECT_EQ(warningDialogs().size(), 1U);
  EXPECT_EQ(owner.details().size(), 1U);
  EXPECT_EQ(owner.reports(), (Calls{path + " = Eicar", path + " = Eicar, spared"}));
}

TEST_F(FoundFileTest, ThatTheUserMovedByItsButtonIsKnownWithoutAnybodyToNotice) {
  found();
  // The fake desktop moves nothing.
  warningDialogs().at(0)->press(ButtonDialog::Button::deleteButton);
  EXPECT_EQ(found(), stamp + " " + line() + "\n" + sparedLine());
}

TEST_F(FoundFileTest, ThatChangedSinceItWasPutBackIsWarnedOf) {
  found();
  trash();
  desktop.fileDepartures.ask();
  restore();
  std::ofstream(path, std::ios::app) << "more";
  EXPECT_EQ(found(), stamp + " " + line() + "\n");
  EXPECT_EQ(warningDialogs().size(), 2U);
}

TEST_F(FoundFileTest, ThatNeverLeftIsWarnedOfEveryTime) {
  found();
  EXPECT_EQ(found(), stamp + " " + line() + "\n");
  EXPECT_EQ(warningDialogs().size(), 2U);
}

TEST_F(FoundFileTest, ThatIsPutBackStaysWhereInfectedFilesAreMoved) {
  for (const Action setting : {Action::quarantine, Action::moveToTrash}) {
    EXPECT_EQ(foundByAMover(setting), stamp + " " + line() + "\n");
    EXPECT_TRUE(mayMove);
    const std::size_t notified = owner.details().size();
    const std::size_t windows = quarantinedDialogs().size();
    restore();
    EXPECT_EQ(foundByAMover(setting), stamp + " " + line() + "\n" + sparedLine());
    EXPECT_FALSE(mayMove);
    EXPECT_EQ(owner.details().size(), notified);
    EXPECT_EQ(quarantinedDialogs().size(), windows);
    EXPECT_TRUE(warningDialogs().empty());
    // Anew for the other setting.
    fs::rename(folder.write("another", letterOf(setting)), path);
  }
}

// What the scanner was answered is what counts, also when the file changes meanwhile.
TEST_F(FoundFileTest, ThatWasLeftForHavingBeenPutBackIsNeverSaidToBeMoved) {
  for (const Action setting : {Action::quarantine, Action::moveToTrash}) {
    foundByAMover(setting);
    restore();
    const std::size_t notified = owner.details().size();
    const std::size_t windows = quarantinedDialogs().size();
    afterRefusal = [this] { std::ofstream(path, std::ios::app) << "more"; };
    EXPECT_EQ(foundByAMover(setting), stamp + " " + line() + "\n" + sparedLine());
    EXPECT_FALSE(mayMove);
    EXPECT_EQ(owner.details().size(), notified);
    EXPECT_EQ(quarantinedDialogs().size(), windows);
    afterRefusal = nullptr;
  }
}

TEST_F(FoundFileTest, ThatWasLeftInItsPlaceIsSaidToBeThereWhereItWasToBeMoved) {
  for (const Action setting : {Action::quarantine, Action::moveToTrash}) {
    Verdict left = Verdict::parse(line());
    left.whereabouts = Verdict::Whereabouts::inPlace;
    foundOnChannel(left, setting);
    EXPECT_TRUE(quarantinedDialogs().empty());
    EXPECT_EQ(warningDialogs().size(), setting == Action::quarantine ? 1U : 2U);
    EXPECT_EQ(owner.details().back().summary, "<FIND_IN_PLACE>");
  }
  EXPECT_EQ(owner.calls.count("notify 1 " + line()), 2);
}

TEST_F(FoundFileTest, ThatChangedIsMovedAgain) {
  foundByAMover(Action::quarantine);
  restore();
  std::ofstream(path, std::ios::app) << "more";
  foundByAMover(Action::quarantine);
  EXPECT_TRUE(mayMove);
}

}  // namespace
}  // namespace quillo
