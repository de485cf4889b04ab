#include <gtest/gtest.h>

#include <optional>

#include "tests/fakes/scanning/DirectScannerBench.h"

namespace quillo {
namespace {

using Lines = std::vector<std::string>;
using Button = ButtonDialog::Button;

class ScannerReport : public testing::Test {
 protected:
  using Action = InfectedFileAction;

  // Begins a run, so that the settings are taken.
  void begin(Action quarantineOrTrash) {
    world.bench.owner.chosen.quarantineOrTrash = quarantineOrTrash;
    world.bench.owner.chosen.quarantineFolder = "/home/anna/Quarantine";
    world.scan({world.bench.file("a")});
  }
  std::string loggedFor(const std::string& chunk) {
    StdoutCapture capture;
    EXPECT_TRUE(world.scanner.taskDataAvailable(chunk));
    return capture.text();
  }
  std::vector<std::shared_ptr<FakeDialog>> dialogs(const std::string& name) {
    return world.bench.desktop.interfaceLoader.loaded(name);
  }

  DirectScannerBench world;
  FakeScannerOwner& owner = world.bench.owner;
};

TEST_F(ScannerReport, TakesFoundAnywhereInALineForAnInfection) {
  begin(Action::moveToTrash);
  EXPECT_TRUE(loggedFor("/a: X FOUND (twice)\n").ends_with(" /a: X FOUND (twice)\n"));
  EXPECT_TRUE(owner.wasCalled("notify 3 /a"));
  loggedFor("/b: XFOUND\n");
  EXPECT_EQ(owner.timesCalled("notify 3 /b"), 0);
}

TEST_F(ScannerReport, ShowsADialogForEveryQuarantinedFileWhateverTheUserSuppresses) {
  world.bench.desktop.preferenceStore.set("SuppressInfoDialogs", true);
  begin(Action::quarantine);
  loggedFor("/a: X FOUND\n/b: Y FOUND\n");
  ASSERT_EQ(dialogs("QuarantinedDialog").size(), 2U);
  EXPECT_TRUE(dialogs("QuarantinedDialog")[1]->cameToFront());
  EXPECT_EQ(dialogs("QuarantinedDialog")[1]->message(), "");
  EXPECT_TRUE(owner.wasCalled("notify 2 /a: X FOUND"));
  EXPECT_TRUE(owner.wasCalled("notify 2 /b: Y FOUND"));
}

TEST_F(ScannerReport, OpensTheQuarantineFolderAndDoesNotWait) {
  begin(Action::quarantine);
  loggedFor("/a: X FOUND\n");
  dialogs("QuarantinedDialog").at(0)->press(Button::deleteButton);
  EXPECT_EQ(dialogs("QuarantinedDialog")[0]->calls(),
            (Lines{"orderFrontRegardless", "orderOut", "close"}));
  EXPECT_TRUE(owner.wasCalled("open at once /home/anna/Quarantine"));
  FakeDialog dialog;
  world.scanner.openQuarantineFolder(dialog);
  EXPECT_EQ(owner.timesCalled("open at once /home/anna/Quarantine"), 2);
}

TEST_F(ScannerReport, ItsDialogsMayOutliveTheScanner) {
  std::optional<Scanner> scanner(std::in_place, owner, world.services);
  owner.chosen.quarantineOrTrash = Action::quarantine;
  owner.chosen.quarantineFolder = "/home/anna/Quarantine";
  ScanItemList items = world.itemsOf({world.bench.file("a")});
  StdoutCapture capture;
  scanner->scan(items);
  scanner->taskDataAvailable("/a: X FOUND\n");
  scanner.reset();
  dialogs("QuarantinedDialog").at(0)->press(Button::deleteButton);
  EXPECT_TRUE(owner.wasCalled("open at once /home/anna/Quarantine"));
}

TEST_F(ScannerReport, WarnsOfWhatIsLeftInPlace) {
  begin(Action::leaveInPlace);
  loggedFor("/a: X FOUND\n");
  ASSERT_EQ(dialogs("WarningDialog").size(), 1U);
  EXPECT_EQ(dialogs("WarningDialog")[0]->message(), "/a: X FOUND");
  EXPECT_TRUE(owner.wasCalled("notify 1 /a: X FOUND"));
}

TEST_F(ScannerReport, LogsThatTheDaemonIsGoneLikeAnyOtherLine) {
  begin(Action::leaveInPlace);
  EXPECT_TRUE(loggedFor("WARNING: Can't connect to clamd.\n")
                  .ends_with(" WARNING: Can't connect to clamd.\n"));
  loggedFor("ERROR: Could not connect to clamd on LocalSocket /s: Reason\n");
  EXPECT_FALSE(owner.wasCalled("recover"));
  EXPECT_FALSE(owner.wasCalled("recover unreachable"));
}

TEST_F(ScannerReport, LeavesTheSummaryOut) {
  begin(Action::leaveInPlace);
  EXPECT_EQ(loggedFor("\n----------- SCAN SUMMARY -----------\nInfected files: 0\n"), "");
}

TEST_F(ScannerReport, EndsTheReadingAtAnEmptyChunk) {
  EXPECT_FALSE(world.scanner.taskDataAvailable(""));
  EXPECT_EQ(Scanner::getLastColon("/x:y: Z FOUND"), 4);
}

const std::string nullPipe =
    "Hold on to your hats, I think we're about to crash - outputPipe is null";
const std::string nullPipeAgain = "Nope, retry failed - outputPipe is still null";
const std::string pipeWorked =
    "Looks like trying again for another outputPipe worked! Cross your fingers and keep hoping";
const std::string nullEnd = "All bets are off - we're crashing - taskOutput is null";
const std::string nullEndAgain =
    "Yet again, retrying failed - taskOutput is still null - this sucker's gonna blow!";
const std::string endWorked =
    "Looks like trying again for another taskOutput worked! Cross your fingers and keep hoping";
const std::string luck =
    "notify 6 We should have crashed here, please let me know either way. Thanks";

// A scan whose pipes, and their reading ends, fail so many times.
struct FailingPipes {
  FailingPipes(int pipes, int readingEnds)
      : world({[=]() mutable { return pipes-- > 0 ? std::nullopt : Pipe::make(); },
               [=](Pipe& pipe) mutable {
                 return readingEnds-- > 0 ? std::nullopt : pipe.fileHandleForReading();
               }}) {
    world.scan({world.bench.file("a")});
  }
  Lines logged() { return world.bench.desktop.systemLog.lines(); }
  Lines calls() { return world.bench.owner.calls(); }

  DirectScannerBench world;
};

TEST(ScannerPipe, IsMadeOnceWhenItCanBeHad) {
  FailingPipes scan(0, 0);
  EXPECT_EQ(scan.logged(), Lines());
  EXPECT_EQ(scan.calls(), (Lines{"run began", "no engine", "run ended"}));
}

TEST(ScannerPipe, IsMadeAgainWhenItIsMissing) {
  FailingPipes scan(1, 0);
  EXPECT_EQ(scan.logged(), (Lines{nullPipe, pipeWorked}));
  EXPECT_EQ(scan.calls(), (Lines{"run began", luck, "no engine", "run ended"}));
}

TEST(ScannerPipe, ThatIsMissingTwiceHasNoReadingEndEither) {
  FailingPipes scan(2, 0);
  EXPECT_EQ(scan.logged(), (Lines{nullPipe, nullPipeAgain, nullEnd, nullEndAgain}));
  EXPECT_EQ(scan.calls(), (Lines{"run began", "no engine", "run ended"}));
}

TEST(ScannerPipe, IsAskedAgainForItsReadingEnd) {
  FailingPipes scan(0, 1);
  EXPECT_EQ(scan.logged(), (Lines{nullEnd, endWorked}));
  EXPECT_EQ(scan.calls(), (Lines{"run began", luck, "no engine", "run ended"}));
}

TEST(ScannerPipe, ThatHasNoReadingEndIsDoneWithout) {
  FailingPipes scan(0, 2);
  EXPECT_EQ(scan.logged(), (Lines{nullEnd, nullEndAgain}));
  EXPECT_EQ(scan.calls(), (Lines{"run began", "no engine", "run ended"}));
}

}  // namespace
}  // namespace quillo
