#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <optional>

#include "posix/PlatformException.h"
#include "tests/fakes/scanning/DirectScannerBench.h"

namespace quillo {
namespace {

using Paths = std::vector<std::string>;

// Whatever the size tool says of the folders: it is asked for real.
class ScannerFiltering : public testing::Test {
 protected:
  ScannerFiltering() {
    for (const char* name : {"in/a.zip", "in/b.txt", "in/deep/er/c.zip", "in/.hidden.zip"}) {
      world.bench.file(name);
    }
  }
  // Sorted: a folder's entries come in any order.
  Paths scan(const Paths& paths) {
    Paths scanned = world.scan(paths);
    std::sort(scanned.begin(), scanned.end());
    return scanned;
  }
  Paths pathsOf(const Paths& names) {
    Paths paths;
    for (const std::string& name : names) {
      paths.push_back(world.path(name));
    }
    return paths;
  }
  void filter(const std::string& include, const std::string& exclude) {
    world.bench.owner.chosen.includePattern = include;
    world.bench.owner.chosen.excludePattern = exclude;
  }

  DirectScannerBench world;
};

TEST_F(ScannerFiltering, WithoutPatternsAFolderGoesToTheEngineWhole) {
  EXPECT_EQ(scan({world.path("in")}), pathsOf({"in"}));
  EXPECT_EQ(world.output, "");
}

TEST_F(ScannerFiltering, WithAnIncludePatternOnlyItsFilesAreScanned) {
  filter("zip$", "");
  EXPECT_EQ(scan({world.path("in")}), pathsOf({"in/.hidden.zip", "in/a.zip", "in/deep/er/c.zip"}));
  EXPECT_EQ(world.output, "currentSubPaths length: 4\n");
}

TEST_F(ScannerFiltering, WithOnlyAnExcludePatternAllButItsFilesAreScanned) {
  filter("", "er/c");
  EXPECT_EQ(scan({world.path("in")}), pathsOf({"in/.hidden.zip", "in/a.zip", "in/b.txt"}));
}

TEST_F(ScannerFiltering, WithBothAFileMustMatchTheOneAndNotTheOther) {
  filter("zip$", "deep|hidden");
  EXPECT_EQ(scan({world.path("in")}), pathsOf({"in/a.zip"}));
}

TEST_F(ScannerFiltering, APlainFileIsDroppedWithAnyPattern) {
  filter("zip", "");
  EXPECT_EQ(scan({world.path("in/a.zip")}), Paths());
  filter("", "txt");
  EXPECT_EQ(scan({world.path("in/a.zip")}), Paths());
  EXPECT_EQ(world.output, "");
  EXPECT_EQ(world.bench.owner.calls(), Paths());
}

TEST_F(ScannerFiltering, APatternIsHeldAgainstTheFullPathAlone) {
  filter("^a", "");
  EXPECT_EQ(scan({world.path("in")}), Paths());
  filter("^/.*/a", "");
  EXPECT_EQ(scan({world.path("in")}), pathsOf({"in/a.zip"}));
  EXPECT_TRUE(Scanner::searchForRegEx("/a/b", "^/a"));
  EXPECT_FALSE(Scanner::searchForRegEx("/a/b", "^b$"));
  EXPECT_FALSE(Scanner::searchForRegEx("/A", "a"));
}

TEST_F(ScannerFiltering, APatternThatDoesNotCompileMatchesNothing) {
  filter("(", "");
  EXPECT_EQ(scan({world.path("in")}), Paths());
  filter("", "(");
  EXPECT_EQ(scan({world.path("in")}).size(), 4U);
  EXPECT_FALSE(Scanner::searchForRegEx("/(", "("));
}

TEST_F(ScannerFiltering, FoldersAreLeftOutButNotTheLinksToThem) {
  std::filesystem::create_directory_symlink(world.path("in/deep"), world.path("in/link"));
  filter("", "zip|txt");
  EXPECT_EQ(scan({world.path("in")}), pathsOf({"in/link"}));
}

TEST_F(ScannerFiltering, FilesOfSeveralFoldersAreScannedInOneRun) {
  world.bench.file("other/d.zip");
  filter("[ad]\\.zip", "");
  EXPECT_EQ(scan({world.path("in"), world.path("other"), world.path("in/b.txt")}),
            pathsOf({"in/a.zip", "other/d.zip"}));
  EXPECT_EQ(world.output, "currentSubPaths length: 4\ncurrentSubPaths length: 1\n");
}

TEST_F(ScannerFiltering, AnEmptyFolderHoldsNothingToScan) {
  filter("", "zip");
  EXPECT_EQ(scan({world.bench.folder.makeFolder("empty")}), Paths());
  EXPECT_EQ(world.output, "");
}

using std::chrono::seconds;

class ScannerWaiting : public testing::Test {
 protected:
  std::string file(const std::string& name) { return world.bench.file(name); }
  void write(const std::string& name, const std::string& contents) {
    world.bench.folder.write(name, contents);
  }
  void remove(const std::string& name) { std::filesystem::remove_all(world.path(name)); }
  Paths scan(const Paths& paths) { return world.scan(paths); }

  DirectScannerBench world;
};

TEST_F(ScannerWaiting, AFileThatHoldsStillIsScannedAfterASecond) {
  EXPECT_EQ(scan({file("a")}), Paths{world.path("a")});
  EXPECT_EQ(world.clock.slept, seconds(1));
}

TEST_F(ScannerWaiting, EveryItemTakesASecondTheLastOneFirst) {
  world.clock.atSleep = [&](int number) {
    // What was waited for already may change as it likes.
    write(number == 1 ? "a" : "c", "other contents");
  };
  EXPECT_EQ(scan({file("a"), file("b"), file("c")}),
            (Paths{world.path("a"), world.path("b"), world.path("c")}));
  EXPECT_EQ(world.clock.slept, seconds(3));
}

TEST_F(ScannerWaiting, AnEmptyFileIsDroppedBeforeScanning) {
  write("empty", "");
  EXPECT_EQ(scan({world.path("empty"), file("a")}), Paths{world.path("a")});
  EXPECT_EQ(world.scanner.waitUntilFileStopsExpanding(world.path("empty")), -1);
}

TEST_F(ScannerWaiting, AFileThatIsEmptyAtTheSecondReadingIsDropped) {
  world.clock.atSleep = [&](int) { write("a", ""); };
  EXPECT_EQ(scan({file("a")}), Paths());
  EXPECT_EQ(world.clock.slept, seconds(1));
}

TEST_F(ScannerWaiting, AFileThatIsEmptyAtFirstOnlyIsWaitedFor) {
  write("a", "");
  world.clock.atSleep = [&](int number) {
    if (number == 1) {
      write("a", "contents");
    }
  };
  EXPECT_EQ(scan({world.path("a")}), Paths{world.path("a")});
  EXPECT_EQ(world.clock.slept, seconds(2));
}

TEST_F(ScannerWaiting, AGrowingFileIsWaitedForUntilTwoReadingsAgree) {
  std::string contents = "x";
  world.clock.atSleep = [&](int number) {
    if (number <= 3) {
      write("a", contents += "x");
    }
  };
  EXPECT_EQ(scan({file("a")}), Paths{world.path("a")});
  EXPECT_EQ(world.clock.slept, seconds(4));
}

TEST_F(ScannerWaiting, AMissingFileIsDroppedWithoutAWaitOrAMessage) {
  EXPECT_EQ(scan({world.path("missing")}), Paths());
  EXPECT_EQ(world.clock.slept, seconds(0));
  EXPECT_EQ(world.bench.desktop.systemLog.lines(), Paths());
}

TEST_F(ScannerWaiting, AFileThatVanishesWhileItGrowsIsDropped) {
  world.clock.atSleep = [&](int number) {
    if (number == 1) {
      write("a", "more contents");
    } else {
      remove("a");
    }
  };
  EXPECT_EQ(scan({file("a")}), Paths());
  EXPECT_EQ(world.clock.slept, seconds(3));
}

TEST_F(ScannerWaiting, NothingLeftStartsNoEngine) {
  EXPECT_EQ(scan({world.path("missing")}), Paths());
  EXPECT_EQ(scan({}), Paths());
  EXPECT_EQ(world.bench.owner.calls(), Paths());
}

TEST_F(ScannerWaiting, NobodyIsAskedWhoHasAFileOpen) {
  EXPECT_FALSE(Scanner::checkStillOpen(file("a")));
  EXPECT_TRUE(Scanner::checkStillExists(world.path("a")));
  EXPECT_FALSE(Scanner::checkStillExists(world.path("b")));
}

TEST_F(ScannerWaiting, TheListIsUsedUpAndLeftWithWhatWasScanned) {
  ScanItemList items = world.itemsOf({file("a"), world.path("missing"), file("b")});
  StdoutCapture capture;
  world.scanner.scan(items);
  EXPECT_EQ(items, (ScanItemList{world.path("a"), world.path("b")}));
}

TEST_F(ScannerWaiting, AListOfAnotherMakeIsRefused) {
  const Paths params = {"/no/such/engine"};
  for (ScanItemList items :
       {ScanItemList(), ScanItemList{params}, ScanItemList{std::string("/a"), params},
        ScanItemList{params, static_cast<ScannerMenu*>(&world.menu), params}}) {
    const ScanItemList before = items;
    EXPECT_THROW(world.scanner.scan(items), PlatformException);
    EXPECT_EQ(items, before);
  }
}

TEST_F(ScannerWaiting, WithoutAnEngineAPathIsNotRunInItsPlace) {
  world.params.clear();
  const std::string program =
      world.bench.folder.writeProgram("program", "#!/bin/sh\necho > \"$0.ran\"\n");
  scan({program});
  EXPECT_FALSE(std::filesystem::exists(program + ".ran"));
  EXPECT_EQ(world.bench.owner.calls(), (Paths{"run began", "no engine", "run ended"}));
}

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
  EXPECT_TRUE(owner.calls.has("notify 3 /a"));
  loggedFor("/b: XFOUND\n");
  EXPECT_EQ(owner.calls.count("notify 3 /b"), 0);
}

TEST_F(ScannerReport, ShowsADialogForEveryQuarantinedFileWhateverTheUserSuppresses) {
  world.bench.desktop.preferenceStore.set("SuppressInfoDialogs", true);
  begin(Action::quarantine);
  loggedFor("/a: X FOUND\n/b: Y FOUND\n");
  ASSERT_EQ(dialogs("QuarantinedDialog").size(), 2U);
  EXPECT_TRUE(dialogs("QuarantinedDialog")[1]->cameToFront());
  EXPECT_EQ(dialogs("QuarantinedDialog")[1]->message(), "");
  EXPECT_TRUE(owner.calls.has("notify 2 /a: X FOUND"));
  EXPECT_TRUE(owner.calls.has("notify 2 /b: Y FOUND"));
}

TEST_F(ScannerReport, OpensTheQuarantineFolderAndDoesNotWait) {
  begin(Action::quarantine);
  loggedFor("/a: X FOUND\n");
  dialogs("QuarantinedDialog").at(0)->press(Button::deleteButton);
  EXPECT_EQ(dialogs("QuarantinedDialog")[0]->calls(),
            (Lines{"orderFrontRegardless", "orderOut", "close"}));
  EXPECT_TRUE(owner.calls.has("open at once /home/anna/Quarantine"));
  FakeDialog dialog;
  world.scanner.openQuarantineFolder(dialog);
  EXPECT_EQ(owner.calls.count("open at once /home/anna/Quarantine"), 2);
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
  EXPECT_TRUE(owner.calls.has("open at once /home/anna/Quarantine"));
}

TEST_F(ScannerReport, WarnsOfWhatIsLeftInPlace) {
  begin(Action::leaveInPlace);
  loggedFor("/a: X FOUND\n");
  ASSERT_EQ(dialogs("WarningDialog").size(), 1U);
  EXPECT_EQ(dialogs("WarningDialog")[0]->message(), "/a: X FOUND");
  EXPECT_TRUE(owner.calls.has("notify 1 /a: X FOUND"));
}

TEST_F(ScannerReport, LogsThatTheDaemonIsGoneLikeAnyOtherLine) {
  begin(Action::leaveInPlace);
  EXPECT_TRUE(loggedFor("WARNING: Can't connect to clamd.\n")
                  .ends_with(" WARNING: Can't connect to clamd.\n"));
  loggedFor("ERROR: Could not connect to clamd on LocalSocket /s: Reason\n");
  EXPECT_FALSE(owner.calls.has("recover"));
  EXPECT_FALSE(owner.calls.has("recover unreachable"));
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
