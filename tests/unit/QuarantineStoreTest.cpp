#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/syscall.h>

#include <filesystem>
#include <fstream>

#include "tests/fakes/scanning/QuarantineStoreFixture.h"
#include "tests/support/SystemCalls.h"

namespace quillo {
namespace {

namespace fs = std::filesystem;
using Origin = QuarantinedFile::Origin;
using Problem = QuarantineStore::FolderProblem;
using Reason = QuarantineOutcome::Reason;

class QuarantineStoreTest : public testing::Test, protected QuarantineStoreFixture {};

TEST_F(QuarantineStoreTest, ListsWhatWasMovedThere) {
  const std::string path = quarantined("home/a");
  const QuarantinedFile file = only();
  EXPECT_EQ(file.origin, Origin::known);
  EXPECT_EQ(file.record.origin, path);
  EXPECT_EQ(file.record.threat, "Eicar");
  EXPECT_EQ(file.formerName(), "a");
  EXPECT_EQ(store.pathOf(file), quarantine + "/a");
}

TEST_F(QuarantineStoreTest, ListsTheLatestFirst) {
  quarantined("home/a");
  clock.advance(std::chrono::hours(1));
  quarantined("home/b");
  scratch.write("q/c");
  const auto files = store.list().files;
  ASSERT_EQ(files.size(), 3U);
  EXPECT_EQ(files[0].name + files[1].name + files[2].name, "bac");
}

TEST_F(QuarantineStoreTest, ListsAFileWithoutARecordAsSuch) {
  scratch.write("q/own", "text");
  EXPECT_EQ(only().origin, Origin::unknown);
  EXPECT_EQ(restored(), Reason::originUnknown);
  EXPECT_EQ(restored({scratch.makeFolder("away"), false}), Reason::done);
  EXPECT_EQ(TemporaryFolder::read(scratch.at("away/own")), "text");
}

TEST_F(QuarantineStoreTest, ListsNoFoldersLinksOrRecords) {
  quarantined("home/a");
  scratch.makeFolder("q/folder");
  scratch.link("q/link", "a");
  EXPECT_EQ(only().name, "a");
}

TEST_F(QuarantineStoreTest, PutsAFileBackAsItWas) {
  const std::string path = scratch.write("home/a \xff\n'", "bad");
  ASSERT_EQ(chmod(path.c_str(), 0754), 0);
  setTime(path, 1000000);
  moveIn(path);
  EXPECT_EQ(restored(), Reason::done);
  EXPECT_EQ(statusOf(path).st_atim.tv_sec, 1000000);
  EXPECT_EQ(statusOf(path).st_mode & 07777U, 0754U);
  EXPECT_EQ(statusOf(path).st_mtim.tv_sec, 1000000);
  EXPECT_EQ(statusOf(path).st_mtim.tv_nsec, 7);
  EXPECT_EQ(TemporaryFolder::read(path), "bad");
  EXPECT_TRUE(store.list().files.empty());
  EXPECT_EQ(records(), 0U);
}

TEST_F(QuarantineStoreTest, HasARestoredFileAllowedAsItWillLieThere) {
  const std::string path = quarantined("home/a");
  EXPECT_EQ(restored(), Reason::done);
  EXPECT_EQ(allowed, std::vector<std::string>{path + " 3 " + sha256Of("bad").substr(0, 8)});
  EXPECT_EQ(allowedFile, FileIdentity::at(path));
}

TEST_F(QuarantineStoreTest, PutsAFileBackThatHadBeenCopiedFromAnotherDisk) {
  const TemporaryFolder elsewhere("/dev/shm");
  const std::string path = elsewhere.write("home/a", "bad", 0640);
  setTime(path, 1000000);
  moveIn(path);
  EXPECT_EQ(restored(), Reason::done);
  EXPECT_EQ(TemporaryFolder::read(path), "bad");
  EXPECT_EQ(statusOf(path).st_mode & 07777U, 0640U);
  EXPECT_EQ(statusOf(path).st_mtim.tv_sec, 1000000);
  EXPECT_EQ(allowedFile, FileIdentity::at(path));
  EXPECT_TRUE(store.list().files.empty());
  EXPECT_EQ(records(), 0U);
  EXPECT_EQ(std::distance(fs::directory_iterator(elsewhere.at("home")), fs::directory_iterator()),
            1);
}

TEST_F(QuarantineStoreTest, PutsNoFileInAnothersPlace) {
  const std::string path = quarantined("home/a");
  scratch.write("home/a", "another");
  EXPECT_EQ(restored(), Reason::targetExists);
  EXPECT_EQ(TemporaryFolder::read(path), "another");
  EXPECT_EQ(only().origin, Origin::known);
}

TEST_F(QuarantineStoreTest, WritesThroughNoLinkThatLiesWhereTheFileWas) {
  const std::string path = quarantined("home/a");
  scratch.link("home/a", "../victim");
  EXPECT_EQ(restored(), Reason::targetIsLink);
  EXPECT_FALSE(TemporaryFolder::exists(scratch.at("victim")));
}

TEST_F(QuarantineStoreTest, GoesThroughNoLinkOnTheWayBack) {
  quarantined("home/folder/a");
  fs::remove(scratch.at("home/folder"));
  scratch.makeFolder("victim");
  scratch.link("home/folder", "../victim");
  EXPECT_EQ(restored(), Reason::throughLink);
  EXPECT_EQ(restored({"", true}), Reason::throughLink);
  EXPECT_FALSE(TemporaryFolder::exists(scratch.at("victim/a")));
}

TEST_F(QuarantineStoreTest, MakesAMissingFolderOnlyWhenItMay) {
  const std::string path = quarantined("home/deep/folder/a");
  fs::remove_all(scratch.at("home/deep"));
  EXPECT_EQ(restored(), Reason::targetFolderMissing);
  EXPECT_FALSE(TemporaryFolder::exists(scratch.at("home/deep")));
  EXPECT_EQ(restored({"", true}), Reason::done);
  EXPECT_EQ(TemporaryFolder::read(path), "bad");
}

TEST_F(QuarantineStoreTest, SaysThatAFileLiesWhereTheFolderWas) {
  quarantined("home/folder/a");
  fs::remove(scratch.at("home/folder"));
  scratch.write("home/folder");
  EXPECT_EQ(restored(), Reason::targetNoFolder);
}

TEST_F(QuarantineStoreTest, PutsAFileElsewhereUnderItsFormerName) {
  scratch.write("q/a", "in the way");
  quarantined("home/a");
  const std::string away = scratch.makeFolder("away");
  scratch.link("way", "away");
  const auto files = store.list().files;
  EXPECT_EQ(files.front().name, "a.001");
  const auto outcome = store.restore(files.front(), {scratch.at("way"), false});
  EXPECT_EQ(outcome.reason, Reason::done);
  EXPECT_EQ(TemporaryFolder::read(away + "/a"), "bad");
  EXPECT_EQ(allowed.back().substr(0, away.size()), away);
}

TEST_F(QuarantineStoreTest, PutsNothingIntoTheQuarantine) {
  scratch.write("q/a", "in the way");
  quarantined("home/a");
  EXPECT_EQ(store.restore(store.list().files.front(), {quarantine, false}).reason,
            Reason::intoQuarantine);
}

TEST_F(QuarantineStoreTest, PutsNoFileBackThatHasChanged) {
  quarantined("home/a");
  const QuarantinedFile listed = only();
  std::ofstream(store.pathOf(listed), std::ios::app) << "more";
  EXPECT_EQ(store.restore(listed, {}).reason, Reason::changed);
  EXPECT_EQ(only().origin, Origin::damaged);
  EXPECT_EQ(restored(), Reason::recordDamaged);
}

TEST_F(QuarantineStoreTest, SaysThatAFileHasGone) {
  quarantined("home/a");
  const QuarantinedFile listed = only();
  fs::remove(store.pathOf(listed));
  EXPECT_EQ(store.restore(listed, {}).reason, Reason::gone);
  EXPECT_EQ(store.remove(listed).reason, Reason::gone);
}

// Another disk, or a backup: the same contents in another file.
TEST_F(QuarantineStoreTest, BelievesARecordOfACopyOnceItHasComparedTheContents) {
  const std::string path = quarantined("home/a");
  fs::copy(quarantine + "/a", scratch.at("copy"));
  fs::rename(scratch.at("copy"), quarantine + "/a");
  EXPECT_EQ(only().origin, Origin::unverified);
  EXPECT_EQ(restored(), Reason::done);
  EXPECT_EQ(TemporaryFolder::read(path), "bad");
}

TEST_F(QuarantineStoreTest, BelievesNoRecordOfAnotherFileOfTheSameSize) {
  const std::string path = quarantined("home/a");
  scratch.write("other", "BAD");
  fs::rename(scratch.at("other"), quarantine + "/a");
  EXPECT_EQ(only().origin, Origin::unverified);
  EXPECT_EQ(restored(), Reason::originUnknown);
  EXPECT_FALSE(TemporaryFolder::exists(path));
  EXPECT_EQ(restored({scratch.makeFolder("away"), false}), Reason::done);
  EXPECT_EQ(TemporaryFolder::read(scratch.at("away/a")), "BAD");
  EXPECT_EQ(records(), 0U);
}

TEST_F(QuarantineStoreTest, SaysThatARecordIsDamagedAndLosesNothing) {
  quarantined("home/a");
  fs::resize_file(recordOf("a"), 40);
  EXPECT_EQ(only().origin, Origin::damaged);
  EXPECT_EQ(restored(), Reason::recordDamaged);
  EXPECT_EQ(restored({scratch.makeFolder("away"), false}), Reason::done);
  EXPECT_EQ(TemporaryFolder::read(scratch.at("away/a")), "bad");
}

TEST_F(QuarantineStoreTest, BelievesNoRecordThatOthersCanWriteOrThatIsALink) {
  quarantined("home/a");
  ASSERT_EQ(chmod(recordOf("a").c_str(), 0666), 0);
  EXPECT_EQ(only().origin, Origin::damaged);
  ASSERT_EQ(chmod(recordOf("a").c_str(), 0600), 0);
  EXPECT_EQ(only().origin, Origin::known);
  fs::rename(recordOf("a"), scratch.at("record"));
  fs::create_symlink(scratch.at("record"), recordOf("a"));
  EXPECT_EQ(only().origin, Origin::damaged);
}

TEST_F(QuarantineStoreTest, BelievesNoRecordOfAnotherName) {
  quarantined("home/a");
  scratch.write("q/b", "bad");
  fs::copy(recordOf("a"), recordOf("b"));
  for (const auto& file : store.list().files) {
    EXPECT_EQ(file.origin, file.name == "a" ? Origin::known : Origin::damaged);
  }
}

TEST_F(QuarantineStoreTest, SaysWhyTheFolderCannotBeUsed) {
  const auto problem = [this](const std::string& path) {
    return QuarantineStore(path, clock, {}).list().problem;
  };
  EXPECT_EQ(problem(""), Problem::notChosen);
  EXPECT_EQ(problem(scratch.at("none")), Problem::missing);
  EXPECT_EQ(problem(scratch.write("file")), Problem::noFolder);
  const std::string open = scratch.makeFolder("open");
  ASSERT_EQ(chmod(open.c_str(), 0777), 0);
  EXPECT_EQ(problem(open), Problem::othersMayWrite);
  EXPECT_EQ(problem("/proc/self/ns"), Problem::none);
}

TEST_F(QuarantineStoreTest, RestoresNothingOutOfAFolderThatIsGone) {
  quarantined("home/a");
  const QuarantinedFile listed = only();
  fs::rename(quarantine, scratch.at("gone"));
  EXPECT_EQ(store.restore(listed, {}).reason, Reason::folderUnusable);
  EXPECT_EQ(store.remove(listed).reason, Reason::folderUnusable);
}

TEST_F(QuarantineStoreTest, DeletesTheFileThatWasListedAndItsRecord) {
  quarantined("home/a");
  EXPECT_EQ(store.remove(only()).reason, Reason::done);
  EXPECT_TRUE(store.list().files.empty());
  EXPECT_EQ(records(), 0U);
}

TEST_F(QuarantineStoreTest, DeletesNoOtherFileThanTheOneThatWasListed) {
  quarantined("home/a");
  const QuarantinedFile listed = only();
  scratch.write("other", "another");
  fs::rename(scratch.at("other"), quarantine + "/a");
  EXPECT_EQ(store.remove(listed).reason, Reason::changed);
  EXPECT_EQ(TemporaryFolder::read(quarantine + "/a"), "another");
}

TEST_F(QuarantineStoreTest, NotesWhatACheckCameTo) {
  quarantined("home/a");
  const auto when = QuarantineRecord::Time(std::chrono::seconds(1800000000));
  EXPECT_EQ(store.noteCheck(only(), QuarantineRecord::Check::clean, "", when).reason, Reason::done);
  EXPECT_TRUE(only().record.isCleanByNow());
  EXPECT_EQ(only().record.checkedWith, when);
  EXPECT_EQ(only().record.threat, "Eicar");
  store.noteCheck(only(), QuarantineRecord::Check::infected, "Other", when);
  EXPECT_EQ(only().record.threat, "Other");
  EXPECT_EQ(only().record.foundWith, when);
}

// Older definitions that find it say nothing of those that found it first.
TEST_F(QuarantineStoreTest, KnowsTheNewestDefinitionsThatFindAFile) {
  quarantined("home/a");
  const QuarantineRecord::Time moved = only().record.moved;
  store.noteCheck(only(), QuarantineRecord::Check::infected, "", moved - std::chrono::hours(9));
  EXPECT_EQ(only().record.foundBy(), moved);
  store.noteCheck(only(), QuarantineRecord::Check::infected, "", moved + std::chrono::hours(9));
  store.noteCheck(only(), QuarantineRecord::Check::infected, "", moved + std::chrono::hours(8));
  EXPECT_EQ(only().record.foundBy(), moved + std::chrono::hours(9));
}

TEST_F(QuarantineStoreTest, NotesACheckAlsoOfAFileWithoutARecord) {
  scratch.write("q/own", "text");
  store.noteCheck(only(), QuarantineRecord::Check::clean, "",
                  QuarantineRecord::Time(std::chrono::seconds(1)));
  EXPECT_TRUE(only().isCleanByNow());
  EXPECT_FALSE(only().knowsOrigin());
  EXPECT_EQ(restored(), Reason::originUnknown);
}

TEST_F(QuarantineStoreTest, AllowsAFileThatStays) {
  const std::string path = quarantined("home/a");
  EXPECT_EQ(store.allow(only()).reason, Reason::done);
  EXPECT_EQ(allowed, std::vector<std::string>{path + " 3 " + sha256Of("bad").substr(0, 8)});
  EXPECT_EQ(only().name, "a");
}

struct Failure {
  int call;
  int error;
  Reason reason;
};

class QuarantineStoreFailure : public QuarantineStoreTest,
                               public testing::WithParamInterface<Failure> {};

TEST_P(QuarantineStoreFailure, SaysWhyAFileStaysAndKeepsIt) {
  quarantined("home/a");
  const QuarantinedFile listed = only();
  QuarantineOutcome outcome;
  withFailingSystemCall(GetParam().call, GetParam().error,
                        [&] { outcome = store.restore(listed, {}); });
  EXPECT_EQ(outcome.reason, GetParam().reason);
  EXPECT_EQ(outcome.error, GetParam().error);
  EXPECT_EQ(only().origin, Origin::known);
  EXPECT_EQ(TemporaryFolder::read(quarantine + "/a"), "bad");
  EXPECT_EQ(restored(), Reason::done);
}

INSTANTIATE_TEST_SUITE_P(Each, QuarantineStoreFailure,
                         testing::Values(Failure{SYS_renameat2, EROFS, Reason::readOnly},
                                         Failure{SYS_renameat2, EACCES, Reason::forbidden},
                                         Failure{SYS_renameat2, EDQUOT, Reason::full},
                                         Failure{SYS_renameat2, EIO, Reason::failed},
                                         Failure{SYS_fsync, ENOSPC, Reason::full}));

TEST_F(QuarantineStoreTest, SaysThatTheOtherDiskIsFullAndKeepsTheFile) {
  const TemporaryFolder elsewhere("/dev/shm");
  const std::string path = elsewhere.write("a", "bad");
  moveIn(path);
  const QuarantinedFile listed = only();
  QuarantineOutcome outcome;
  withFailingSystemCall(SYS_linkat, ENOSPC, [&] { outcome = store.restore(listed, {}); });
  EXPECT_EQ(outcome.reason, Reason::full);
  EXPECT_FALSE(TemporaryFolder::exists(path));
  EXPECT_EQ(only().origin, Origin::known);
}

TEST_F(QuarantineStoreTest, SaysThatTheModeCouldNotBeGivenBack) {
  const std::string path = scratch.write("home/a", "bad", 0755);
  moveIn(path);
  const QuarantinedFile listed = only();
  QuarantineOutcome outcome;
  withFailingSystemCall(SYS_fchmod, EPERM, [&] { outcome = store.restore(listed, {}); });
  EXPECT_EQ(outcome.reason, Reason::done);
  EXPECT_FALSE(outcome.areAttributesKept);
  EXPECT_TRUE(TemporaryFolder::exists(path));
}

}  // namespace
}  // namespace quillo
