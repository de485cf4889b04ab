#include <gtest/gtest.h>

#include <filesystem>

#include "tests/fakes/desktop/FakePlatform.h"
#include "tests/fakes/watching/FakeWatcherOwner.h"
#include "tests/support/ManualClock.h"
#include "tests/support/TemporaryFolder.h"
#include "watchers/FSEventWatcher.h"

namespace quillo {
namespace {

namespace fs = std::filesystem;
using Paths = std::vector<std::string>;

class WatcherLines : public testing::Test {
 protected:
  // The loop reads the quarantine folder at its start; stopped before, it does nothing else.
  void readPreferences() {
    watcher.claimMainLoop();
    watcher.stopWatching();
    watcher.mainLoop();
  }
  Paths handedOver(const std::string& chunk) {
    const std::size_t before = owner.paths().size();
    EXPECT_TRUE(watcher.taskDataAvailable(chunk));
    const Paths all = owner.paths();
    return Paths(all.begin() + static_cast<std::ptrdiff_t>(before), all.end());
  }

  FakePlatform desktop;
  ManualClock clock;
  FakeWatcherOwner owner;
  const WatcherServices services = watcherServicesOf(desktop, clock, owner);
  FSEventWatcher watcher{owner, services};
};

TEST_F(WatcherLines, OfAFolderWithoutSubfoldersAreAllDropped) {
  owner.watch("/Users/a/Doc/", false);
  EXPECT_EQ(handedOver("/Users/a/Doc/x.txt\n/Users/a/Doc/sub/x.txt\n/Users/a/Documents/x.txt\n"),
            Paths());
}

TEST_F(WatcherLines, OfAFolderWithSubfoldersAreHandedOver) {
  owner.watch("/Users/a/Doc/", true);
  EXPECT_EQ(handedOver("/Users/a/Doc/x.txt\n/Users/a/Doc/sub/deep/x.txt\n"
                       "/Users/a/Documents/x.txt\n/Users/a/Doc\n"),
            (Paths{"/Users/a/Doc/x.txt", "/Users/a/Doc/sub/deep/x.txt"}));
}

TEST_F(WatcherLines, OfTheRootFolderItselfPassAlsoWithoutSubfolders) {
  owner.watch("/", false);
  EXPECT_EQ(handedOver("/x.txt\n/sub/x.txt\n"), Paths{"/x.txt"});
}

TEST_F(WatcherLines, MatchAWatchedFileByPlainPrefix) {
  owner.watch("/Users/a/notes", true);
  EXPECT_EQ(handedOver("/Users/a/notes\n/Users/a/notes.bak/x.txt\n/Users/a/note\n"),
            (Paths{"/Users/a/notes", "/Users/a/notes.bak/x.txt"}));
}

TEST_F(WatcherLines, OfAFileWatchedWithoutSubfoldersAreDropped) {
  owner.watch("/Users/a/notes", false);
  EXPECT_EQ(handedOver("/Users/a/notes\n"), Paths());
}

TEST_F(WatcherLines, OfAWatchedFileWithoutSubfoldersPassWhenItIsTheirParent) {
  owner.watch("/Users/a/notes", false);
  EXPECT_EQ(handedOver("/Users/a/notes/x.txt\n"), Paths{"/Users/a/notes/x.txt"});
}

TEST_F(WatcherLines, OfAFolderWithoutAFlagCountAsWithoutSubfolders) {
  owner.watchWithoutFlag("/a/");
  EXPECT_EQ(handedOver("/a/x\n"), Paths());
}

TEST_F(WatcherLines, InTheTrashAreDropped) {
  owner.watch("/home/anna/", true);
  EXPECT_EQ(handedOver("/home/anna/.Trash/x\n/home/anna/.Trash\n"), Paths{"/home/anna/.Trash"});
}

TEST_F(WatcherLines, OfAResourceForkAreDropped) {
  owner.watch("/Users/a/Doc/", true);
  EXPECT_EQ(handedOver("/Users/a/Doc/x.txt/..namedfork/rsrc\n"), Paths());
  EXPECT_EQ(handedOver("/Users/a/Doc/..namedfork/rsrc/x\n"),
            Paths{"/Users/a/Doc/..namedfork/rsrc/x"});
}

TEST_F(WatcherLines, InTheQuarantineFolderAreDroppedByPlainPrefix) {
  desktop.preferenceStore.set("QuarantineFolder", "/a/Quarantine");
  owner.watch("/a/", true);
  readPreferences();
  EXPECT_EQ(handedOver("/a/Quarantine/x\n/a/Quarantine2/x\n/a/Quarantin/x\n"),
            Paths{"/a/Quarantin/x"});
}

TEST_F(WatcherLines, AreNotDroppedForAQuarantineFolderThatIsNotSet) {
  owner.watch("/a/", true);
  readPreferences();
  EXPECT_EQ(handedOver("/a/x\n"), Paths{"/a/x"});
}

TEST_F(WatcherLines, OfAQuarantineFolderWithATildeAreDropped) {
  desktop.preferenceStore.set("QuarantineFolder", "~/Quarantine");
  owner.watch("/home/anna/", true);
  readPreferences();
  EXPECT_EQ(handedOver("/home/anna/Quarantine/x\n"), Paths());
}

TEST_F(WatcherLines, OfAQuarantineFolderInADictionaryAreDropped) {
  PreferenceDictionary folder;
  folder["path"] = PreferenceValue{std::string("~/Quarantine")};
  desktop.preferenceStore.set("QuarantineFolder", PreferenceValue{folder});
  owner.watch("/home/anna/", true);
  readPreferences();
  EXPECT_EQ(handedOver("/home/anna/Quarantine/x\n/home/anna/x\n"), Paths{"/home/anna/x"});
}

TEST_F(WatcherLines, AreNotDroppedForADictionaryWithoutAPath) {
  desktop.preferenceStore.set("QuarantineFolder", PreferenceValue{PreferenceDictionary()});
  owner.watch("/a/", true);
  readPreferences();
  EXPECT_EQ(handedOver("/a/x\n"), Paths{"/a/x"});
}

TEST_F(WatcherLines, ForgetAQuarantineFolderThatIsSetNoMore) {
  desktop.preferenceStore.set("QuarantineFolder", "/a/Q");
  owner.watch("/a/", true);
  readPreferences();
  desktop.preferenceStore.remove("QuarantineFolder");
  EXPECT_EQ(handedOver("/a/Q/x\n"), Paths());
  readPreferences();
  EXPECT_EQ(handedOver("/a/Q/x\n"), Paths{"/a/Q/x"});
}

TEST_F(WatcherLines, CutByAChunksEndAreTwoCandidates) {
  owner.watch("/a/", true);
  EXPECT_EQ(handedOver("/a/one\n/a/tw"), (Paths{"/a/one", "/a/tw"}));
  EXPECT_EQ(handedOver("o\n/a/three\n"), Paths{"/a/three"});
}

TEST_F(WatcherLines, StayWholeWithWhateverBytesTheyHold) {
  owner.watch("/a/", true);
  EXPECT_EQ(handedOver("/a/ x \t\r\n/a/\xFF\n/a/\xC3\xBC\n"),
            (Paths{"/a/ x \t\r", "/a/\xFF", "/a/\xC3\xBC"}));
}

TEST_F(WatcherLines, WithAnEscapedLineBreakAreHandedOverAsTheyAreOnDisk) {
  owner.watch("/a/", true);
  EXPECT_EQ(handedOver("\\/a/one\\x0Atwo\\x5Cthree\n/a/\\x0A\n"),
            (Paths{"/a/one\ntwo\\three", "/a/\\x0A"}));
}

TEST_F(WatcherLines, WithAnEscapedLineBreakAreDroppedInTheQuarantineFolderToo) {
  desktop.preferenceStore.set("QuarantineFolder", "/a/Q\nR/");
  owner.watch("/a/", true);
  readPreferences();
  EXPECT_EQ(handedOver("\\/a/Q\\x0AR/x\n\\/a/x\\x0A\n"), Paths{"/a/x\n"});
}

TEST_F(WatcherLines, OfAFileBesideAQuarantineFolderWrittenWithASlashAreHandedOver) {
  desktop.preferenceStore.set("QuarantineFolder", "/a/Q/");
  owner.watch("/a/", true);
  readPreferences();
  EXPECT_EQ(handedOver("/a/Q/x\n/a/Quittung.exe\n"), Paths{"/a/Quittung.exe"});
}

TEST_F(WatcherLines, AreHandedOverOnceForTwoFoldersThatMatch) {
  owner.watch("/a/", true);
  owner.watch("/a/b/", true);
  owner.watch("/a/", true);
  EXPECT_EQ(handedOver("/a/b/x\n"), Paths{"/a/b/x"});
}

TEST_F(WatcherLines, RefusedByTheFirstFolderAreTriedWithTheNext) {
  owner.watch("/a/", false);
  owner.watch("/a/b/", true);
  EXPECT_EQ(handedOver("/a/b/x\n"), Paths{"/a/b/x"});
}

TEST_F(WatcherLines, InTheTrashAreTriedWithTheNextFolder) {
  owner.watch("/a/", true);
  owner.watch("/a/.Trash/x", false);
  EXPECT_EQ(handedOver("/a/.Trash/x/y\n"), Paths{"/a/.Trash/x/y"});
}

TEST_F(WatcherLines, AreJudgedByTheListsAsTheyStandNow) {
  EXPECT_EQ(handedOver("/a/x\n"), Paths());
  owner.watch("/a/", true);
  EXPECT_EQ(handedOver("/a/x\n"), Paths{"/a/x"});
  owner.watch("/a/", false);
  EXPECT_EQ(handedOver("/a/x\n"), Paths());
  owner.watchNothing();
  EXPECT_EQ(handedOver("/a/x\n"), Paths());
}

TEST_F(WatcherLines, OfOneChunkAreJudgedByTheListsAsTheyStoodWhenItCame) {
  owner.watch("/a/", true);
  owner.onPath = [this] { owner.watchNothing(); };
  EXPECT_EQ(handedOver("/a/x\n/a/y\n"), (Paths{"/a/x", "/a/y"}));
  EXPECT_EQ(handedOver("/a/x\n"), Paths());
}

TEST_F(WatcherLines, EndWithAnEmptyChunk) {
  owner.watch("/", true);
  EXPECT_FALSE(watcher.taskDataAvailable(""));
  EXPECT_EQ(owner.paths(), Paths());
}

TEST_F(WatcherLines, MayBeEmpty) {
  owner.watch("/", true);
  EXPECT_EQ(handedOver("\n\n"), Paths());
}

// The helper reports real paths.
class WatcherLinks : public WatcherLines {
 protected:
  WatcherLinks() {
    fs::create_directories(disk.at("one/sub"));
    fs::create_directories(disk.at("two/sub"));
  }
  void turn(const std::string& name, const std::string& target) const {
    fs::remove(disk.at(name));
    fs::create_directory_symlink(target, disk.at(name));
  }
  Paths handedOverOf(const std::string& name) { return handedOver(disk.at(name) + "\n"); }

  TemporaryFolder disk;
};

TEST_F(WatcherLinks, LeadToWatchedFolders) {
  turn("link", "one");
  owner.watch(disk.at("link/"), true);
  EXPECT_EQ(handedOverOf("one/x"), Paths{disk.at("one/x")});
  EXPECT_EQ(handedOverOf("link/x"), Paths{disk.at("link/x")});
  EXPECT_EQ(handedOverOf("one.bak/x"), Paths());
  EXPECT_EQ(handedOverOf("two/x"), Paths());
}

TEST_F(WatcherLinks, MayLieAboveAWatchedFolder) {
  turn("home", "one");
  owner.watch(disk.at("home/sub/"), true);
  EXPECT_EQ(handedOverOf("one/sub/x"), Paths{disk.at("one/sub/x")});
  EXPECT_EQ(handedOverOf("one/x"), Paths());
}

TEST_F(WatcherLinks, MayBeTurnedElsewhereWhileWatchingGoesOn) {
  turn("link", "one");
  owner.watch(disk.at("link/"), true);
  EXPECT_EQ(handedOverOf("one/x"), Paths{disk.at("one/x")});
  turn("link", "two");
  EXPECT_EQ(handedOverOf("two/x"), Paths{disk.at("two/x")});
  EXPECT_EQ(handedOverOf("one/x"), Paths());
}

TEST_F(WatcherLinks, MayTakeTheFoldersPlaceWhileWatchingGoesOn) {
  owner.watch(disk.at("one/"), true);
  EXPECT_EQ(handedOverOf("one/x"), Paths{disk.at("one/x")});
  fs::rename(disk.at("one"), disk.at("moved"));
  turn("one", "moved");
  EXPECT_EQ(handedOverOf("moved/x"), Paths{disk.at("moved/x")});
}

TEST_F(WatcherLinks, MayBeAwayForAWhile) {
  turn("link", "one");
  owner.watch(disk.at("link/"), true);
  fs::remove(disk.at("link"));
  EXPECT_EQ(handedOverOf("one/x"), Paths());
  turn("link", "two");
  EXPECT_EQ(handedOverOf("two/x"), Paths{disk.at("two/x")});
}

TEST_F(WatcherLinks, LeadToWatchedFiles) {
  turn("link", "one/file");
  owner.watch(disk.at("link"), true);
  EXPECT_EQ(handedOverOf("one/file"), Paths{disk.at("one/file")});
}

TEST_F(WatcherLinks, LeadToNothingThatIsWatchedWithoutSubfolders) {
  turn("link", "one");
  owner.watch(disk.at("link/"), false);
  EXPECT_EQ(handedOverOf("one/x"), Paths());
  turn("root", "/");
  owner.watch(disk.at("root/"), false);
  EXPECT_EQ(handedOver("/x\n/sub/x\n"), Paths{"/x"});
}

TEST_F(WatcherLinks, LeadToTheQuarantineFolderToo) {
  turn("link", "one");
  owner.watch(disk.at(""), true);
  desktop.preferenceStore.set("QuarantineFolder", disk.at("link/Q/"));
  readPreferences();
  EXPECT_EQ(handedOverOf("one/Q/x"), Paths());
  EXPECT_EQ(handedOverOf("link/Q/x"), Paths());
  EXPECT_EQ(handedOverOf("one/Quittung.exe"), Paths{disk.at("one/Quittung.exe")});
  turn("link", "two");
  EXPECT_EQ(handedOverOf("two/Q/x"), Paths());
  EXPECT_EQ(handedOverOf("one/Q/x"), Paths{disk.at("one/Q/x")});
}

class WatcherLoop : public WatcherLines {};

TEST_F(WatcherLoop, IsClaimedOnceUntilItHasEnded) {
  EXPECT_TRUE(watcher.claimMainLoop());
  EXPECT_FALSE(watcher.claimMainLoop());
  watcher.stopWatching();
  EXPECT_FALSE(watcher.claimMainLoop());
  watcher.stopWatching();
  watcher.mainLoop();
  EXPECT_TRUE(watcher.claimMainLoop());
  watcher.abandonMainLoop();
  EXPECT_TRUE(watcher.claimMainLoop());
  EXPECT_FALSE(watcher.isWatching());
}

TEST_F(WatcherLoop, SaysThatItEndsTheHelper) {
  watcher.stopWatching();
  EXPECT_EQ(desktop.systemLog.lines(),
            std::vector<std::string>{"attempting to terminate gfslogger"});
}

}  // namespace
}  // namespace quillo
