#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/syscall.h>

#include <filesystem>
#include <fstream>

#include "posix/PathOpening.h"
#include "quarantine/OpenQuarantine.h"
#include "quarantine/QuarantineStore.h"
#include "quarantine/RecordFolder.h"
#include "quarantine/Tidying.h"
#include "tests/support/ManualClock.h"
#include "tests/support/SystemCalls.h"
#include "tests/support/TemporaryFolder.h"
#include "tools/clamdscan/MoveFolder.h"

namespace quillo {
namespace {

namespace fs = std::filesystem;
using Origin = QuarantinedFile::Origin;
using Problem = QuarantineStore::FolderProblem;
using Reason = QuarantineOutcome::Reason;

class QuarantineStoreTest : public testing::Test {
 protected:
  // As the scanner does it.
  void moveIn(const std::string& path, const std::string& where = "") {
    wrapper::MoveFolder folder(clock, wrapper::DesktopTrash("", ""));
    ASSERT_EQ(folder.open(where.empty() ? quarantine : where), "");
    ASSERT_TRUE(folder.move(path, openPath(path, O_RDONLY).get(), "Eicar").moved);
  }
  std::string quarantined(const std::string& name, const std::string& contents = "bad") {
    const std::string path = scratch.write(name, contents);
    moveIn(path);
    return path;
  }
  QuarantinedFile only() const {
    const auto listing = store.list();
    EXPECT_EQ(listing.files.size(), 1U);
    return listing.files.empty() ? QuarantinedFile() : listing.files.front();
  }
  Reason restored(const QuarantineStore::Target& target = {}) const {
    return store.restore(only(), target).reason;
  }
  void setTime(const std::string& path, time_t seconds) const {
    const timespec times[] = {{seconds, 5}, {seconds, 7}};
    ASSERT_EQ(utimensat(AT_FDCWD, path.c_str(), times, 0), 0);
  }
  struct stat statusOf(const std::string& path) const {
    struct stat status = {};
    EXPECT_EQ(lstat(path.c_str(), &status), 0) << path;
    return status;
  }
  std::string recordOf(const std::string& name) const {
    return quarantine + "/.vantrel-records/" + RecordFolder::entryFor(name);
  }
  std::size_t records() const {
    return static_cast<std::size_t>(std::distance(
        fs::directory_iterator(quarantine + "/.vantrel-records"), fs::directory_iterator()));
  }

  TemporaryFolder scratch;
  const std::string quarantine = scratch.makeFolder("q");
  ManualClock clock;
  std::vector<std::string> allowed;
  QuarantineStore store{
      quarantine, clock,
      [this](const std::string& path, const FileIdentity& file, const std::string& hash) {
        allowed.push_back(path + " " + std::to_string(file.size) + " " + hash.substr(0, 8));
        allowedFile = file;
        if (beforeItLeaves) {
          beforeItLeaves();
        }
        return notAllowed;
      }};
  FileIdentity allowedFile;
  std::string notAllowed;
  std::function<void()> beforeItLeaves;
};

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

TEST_F(QuarantineStoreTest, PutsAFileElsewhereOfWhichNoHashWasKept) {
  const std::string path = scratch.write("home/a", std::string(200, 'x'));
  wrapper::MoveFolder folder(clock, wrapper::DesktopTrash("", ""));
  folder.open(quarantine);
  ASSERT_TRUE(folder.move(path, openPath(path, O_RDONLY).get(), "Eicar", 100).moved);
  fs::copy(quarantine + "/a", scratch.at("copy"));
  fs::rename(scratch.at("copy"), quarantine + "/a");
  EXPECT_EQ(restored(), Reason::originUnknown);
  EXPECT_EQ(restored({scratch.makeFolder("away"), false}), Reason::done);
  EXPECT_EQ(allowed.back().substr(allowed.back().size() - 8),
            sha256Of(std::string(200, 'x')).substr(0, 8));
}

TEST_F(QuarantineStoreTest, SaysThatARecordIsDamagedAndLosesNothing) {
  quarantined("home/a");
  fs::resize_file(recordOf("a"), 40);
  EXPECT_EQ(only().origin, Origin::damaged);
  EXPECT_EQ(restored(), Reason::recordDamaged);
  EXPECT_EQ(restored({scratch.makeFolder("away"), false}), Reason::done);
  EXPECT_EQ(TemporaryFolder::read(scratch.at("away/a")), "bad");
}

TEST_F(QuarantineStoreTest, ChangesNoRecordThatItCannotRead) {
  quarantined("home/a");
  const std::string ofAnotherVersion =
      "vantrel-quarantine 2\n" + TemporaryFolder::read(recordOf("a"));
  std::ofstream(recordOf("a")) << ofAnotherVersion;
  EXPECT_EQ(store.noteCheck(only(), QuarantineRecord::Check::clean, "", {}).reason,
            Reason::recordDamaged);
  EXPECT_EQ(TemporaryFolder::read(recordOf("a")), ofAnotherVersion);
  const std::string away = scratch.makeFolder("away");
  notAllowed = "no room";
  EXPECT_EQ(restored({away, false}), Reason::notAllowed);
  EXPECT_EQ(TemporaryFolder::read(recordOf("a")), ofAnotherVersion);
  EXPECT_EQ(records(), 1U);
  notAllowed = "";
  EXPECT_EQ(restored({away, false}), Reason::done);
  EXPECT_EQ(records(), 0U);
}

TEST_F(QuarantineStoreTest, BringsARecordBackThatWasSetAsideWhenItEnded) {
  quarantined("home/a");
  const std::string contents = TemporaryFolder::read(recordOf("a"));
  fs::rename(recordOf("a"), recordOf("a") + ".aside");
  EXPECT_EQ(only().origin, Origin::known);
  EXPECT_EQ(TemporaryFolder::read(recordOf("a")), contents);
}

TEST_F(QuarantineStoreTest, ForgetsNothingOfAFileThatADiskDoesNotShow) {
  for (const auto state : {QuarantineRecord::State::moving, QuarantineRecord::State::restoring}) {
    quarantined("home/a");
    QuarantineRecord record = only().record;
    record.state = state;
    record.target = "/none";
    std::ofstream(recordOf("a")) << record.text();
    for (const int call : {SYS_statx, SYS_newfstatat}) {
      withFailingSystemCall(call, EIO, [this] { store.list(); });
    }
    EXPECT_EQ(only().origin, Origin::known);
    EXPECT_EQ(restored(), Reason::done);
  }
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
}

TEST_F(QuarantineStoreTest, NotesACheckAlsoOfAFileWithoutARecord) {
  scratch.write("q/own", "text");
  store.noteCheck(only(), QuarantineRecord::Check::clean, "", {});
  EXPECT_TRUE(only().record.isCleanByNow());
  EXPECT_FALSE(only().knowsOrigin());
  EXPECT_EQ(restored(), Reason::originUnknown);
}

TEST_F(QuarantineStoreTest, AllowsAFileThatStays) {
  const std::string path = quarantined("home/a");
  EXPECT_EQ(store.allow(only()).reason, Reason::done);
  EXPECT_EQ(allowed, std::vector<std::string>{path + " 3 " + sha256Of("bad").substr(0, 8)});
  EXPECT_EQ(only().name, "a");
}

TEST_F(QuarantineStoreTest, LeavesAFileThatWouldBeTakenAgainAtOnce) {
  const TemporaryFolder elsewhere("/dev/shm");
  notAllowed = "no room";
  for (const std::string& folder : {scratch.path(), elsewhere.path()}) {
    const std::string path = folder + "/a";
    std::ofstream(path) << "bad";
    moveIn(path);
    const auto outcome = store.restore(only(), {});
    EXPECT_EQ(outcome.reason, Reason::notAllowed);
    EXPECT_EQ(outcome.detail, "no room");
    EXPECT_FALSE(TemporaryFolder::exists(path));
    EXPECT_EQ(only().origin, Origin::known);
    EXPECT_EQ(store.allow(only()).reason, Reason::notAllowed);
    EXPECT_EQ(store.remove(only()).reason, Reason::done);
    EXPECT_TRUE(fs::is_empty(elsewhere.path()));
  }
}

TEST_F(QuarantineStoreTest, TakesNoOtherFileThatCameToBearItsName) {
  const TemporaryFolder elsewhere("/dev/shm");
  for (const std::string& folder : {scratch.path(), elsewhere.path()}) {
    const std::string path = folder + "/a";
    std::ofstream(path) << "bad";
    moveIn(path);
    beforeItLeaves = [this] {
      scratch.write("other", "another");
      fs::rename(scratch.at("other"), quarantine + "/a");
    };
    EXPECT_EQ(restored(), Reason::changed);
    EXPECT_EQ(TemporaryFolder::read(quarantine + "/a"), "another");
    EXPECT_NE(TemporaryFolder::read(path), "another");
    EXPECT_NE(only().origin, Origin::known);
    fs::remove(quarantine + "/a");
  }
}

TEST_F(QuarantineStoreTest, KnowsACopyForGoodOnceItHasBeenCompared) {
  quarantined("home/a");
  fs::copy(quarantine + "/a", scratch.at("copy"));
  fs::rename(scratch.at("copy"), quarantine + "/a");
  store.noteCheck(only(), QuarantineRecord::Check::infected, "", {});
  EXPECT_EQ(only().origin, Origin::known);
  scratch.write("other", "BAD");
  fs::rename(scratch.at("other"), quarantine + "/a");
  store.noteCheck(only(), QuarantineRecord::Check::infected, "", {});
  EXPECT_EQ(only().origin, Origin::unverified);
}

TEST_F(QuarantineStoreTest, WaitsSomeSecondsForWhoeverTidiesUp) {
  quarantined("home/a");
  const QuarantinedFile listed = only();
  const std::string folder = quarantine + "/.vantrel-records";
  const UniqueFd tidier(open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  ASSERT_EQ(flock(tidier.get(), LOCK_EX | LOCK_NB), 0);
  PassingClock patient;
  patient.atSleep = [&tidier, &patient](int) {
    if (patient.slept >= std::chrono::seconds(3)) {
      flock(tidier.get(), LOCK_UN);
    }
  };
  const QuarantineStore waiting(quarantine, patient, {});
  EXPECT_EQ(waiting.noteCheck(listed, QuarantineRecord::Check::clean, "", {}).reason, Reason::done);
}

// Its lock is taken once more after some hundreds, which fails here: the rest is for another time.
TEST_F(QuarantineStoreTest, LetsGoNowAndThenWhileItTidiesUp) {
  for (int i = 0; i < 500; ++i) {
    quarantined("home/" + std::to_string(i));
    fs::remove(quarantine + "/" + std::to_string(i));
  }
  OpenQuarantine open(quarantine);
  ASSERT_TRUE(open.records.startTidying());
  withFailingSystemCall(SYS_flock, EWOULDBLOCK, [&open] { tidyUp(open, {}); });
  EXPECT_GT(records(), 200U);
  EXPECT_LT(records(), 500U);
  store.list();
  EXPECT_EQ(records(), 0U);
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
