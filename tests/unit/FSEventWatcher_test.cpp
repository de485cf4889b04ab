#include "watchers/FSEventWatcher.h"

#include <gtest/gtest.h>

#include "tests/fakes/FakePlatform.h"
#include "tests/fakes/FakeWatcherOwner.h"
#include "watchers/WatcherServices.h"

namespace quillo {
namespace {

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
  FakeWatcherOwner owner;
  const WatcherServices services{
      desktop.application,     desktop.authorization, desktop.folders,     desktop.localizedStrings,
      desktop.preferenceStore, desktop.systemLog,     desktop.trashFolders};
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

TEST_F(WatcherLines, EndWithAnEmptyChunk) {
  owner.watch("/", true);
  EXPECT_FALSE(watcher.taskDataAvailable(""));
  EXPECT_EQ(owner.paths(), Paths());
}

TEST_F(WatcherLines, MayBeEmpty) {
  owner.watch("/", true);
  EXPECT_EQ(handedOver("\n\n"), Paths());
}

TEST(WatcherLoop, IsClaimedOnceUntilItHasEnded) {
  FakePlatform desktop;
  FakeWatcherOwner owner;
  const WatcherServices services{
      desktop.application,     desktop.authorization, desktop.folders,     desktop.localizedStrings,
      desktop.preferenceStore, desktop.systemLog,     desktop.trashFolders};
  FSEventWatcher watcher(owner, services);
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

TEST(WatcherLoop, SaysThatItEndsTheHelper) {
  FakePlatform desktop;
  FakeWatcherOwner owner;
  const WatcherServices services{
      desktop.application,     desktop.authorization, desktop.folders,     desktop.localizedStrings,
      desktop.preferenceStore, desktop.systemLog,     desktop.trashFolders};
  FSEventWatcher watcher(owner, services);
  watcher.stopWatching();
  EXPECT_EQ(desktop.systemLog.lines(),
            std::vector<std::string>{"attempting to terminate gfslogger"});
}

}  // namespace
}  // namespace quillo
