#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/syscall.h>

#include <cerrno>
#include <filesystem>
#include <fstream>

#include "quarantine/OpenQuarantine.h"
#include "quarantine/Tidying.h"
#include "tests/fakes/scanning/QuarantineStoreFixture.h"
#include "tests/support/SystemCalls.h"
#include "tests/support/Threads.h"

namespace quillo {
namespace {

namespace fs = std::filesystem;
using Origin = QuarantinedFile::Origin;
using Reason = QuarantineOutcome::Reason;

// What others do to the quarantine, and what fails in it, costs no file and no record.
class QuarantineCareTest : public testing::Test, protected QuarantineStoreFixture {
 protected:
  // When definitions were built that know better than those that found it.
  QuarantineRecord::Time newer() { return clock.wallTime() + std::chrono::hours(1); }
};

TEST_F(QuarantineCareTest, ChangesNoRecordThatItCannotRead) {
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

TEST_F(QuarantineCareTest, BringsARecordBackThatWasSetAsideWhenItEnded) {
  quarantined("home/a");
  const std::string contents = TemporaryFolder::read(recordOf("a"));
  fs::rename(recordOf("a"), recordOf("a") + ".aside");
  EXPECT_EQ(only().origin, Origin::known);
  EXPECT_EQ(TemporaryFolder::read(recordOf("a")), contents);
}

TEST_F(QuarantineCareTest, ForgetsNothingOfAFileThatADiskDoesNotShow) {
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

TEST_F(QuarantineCareTest, PutsAFileElsewhereOfWhichNoHashWasKept) {
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

TEST_F(QuarantineCareTest, TakesNoOtherFileThatCameToBearItsName) {
  const TemporaryFolder elsewhere("/dev/shm");
  for (const std::string& folder : {scratch.path(), elsewhere.path()}) {
    const std::string path = folder + "/a";
    std::ofstream(path) << "bad";
    moveIn(path);
    // To another disk it leaves twice: when it is to be moved, and as a copy.
    int leavings = folder == scratch.path() ? 1 : 2;
    beforeItLeaves = [this, &leavings] {
      if (--leavings == 0) {
        scratch.write("other", "another");
        fs::rename(scratch.at("other"), quarantine + "/a");
      }
    };
    const auto outcome = store.restore(only(), {});
    EXPECT_EQ(TemporaryFolder::read(quarantine + "/a"), "another");
    // The copy is home by then, and allowed.
    const bool isHome = folder != scratch.path();
    EXPECT_EQ(outcome.reason, isHome ? Reason::done : Reason::changed);
    EXPECT_EQ(outcome.path, path);
    EXPECT_EQ(TemporaryFolder::exists(path), isHome);
    EXPECT_TRUE(!isHome || TemporaryFolder::read(path) == "bad");
    EXPECT_NE(only().origin, Origin::known);
    fs::remove(quarantine + "/a");
    EXPECT_TRUE(store.list().files.empty());
  }
}

TEST_F(QuarantineCareTest, LeavesAFileThatWouldBeTakenAgainAtOnce) {
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

TEST_F(QuarantineCareTest, KnowsACopyForGoodOnceItHasBeenCompared) {
  quarantined("home/a");
  fs::copy(quarantine + "/a", scratch.at("copy"));
  fs::rename(scratch.at("copy"), quarantine + "/a");
  store.noteCheck(only(), QuarantineRecord::Check::infected, "", {});
  EXPECT_EQ(only().origin, Origin::known);
  scratch.write("other", "BAD");
  fs::rename(scratch.at("other"), quarantine + "/a");
  EXPECT_EQ(store.noteCheck(only(), QuarantineRecord::Check::clean, "", newer()).reason,
            Reason::recordDamaged);
  EXPECT_EQ(only().origin, Origin::unverified);
  EXPECT_EQ(only().record.check, QuarantineRecord::Check::infected);
}

TEST_F(QuarantineCareTest, CallsNoFileCleanByTheRecordOfAnother) {
  quarantined("home/a");
  store.noteCheck(only(), QuarantineRecord::Check::clean, "", newer());
  EXPECT_TRUE(only().isCleanByNow());
  scratch.write("other", "BAD");
  fs::rename(scratch.at("other"), quarantine + "/a");
  EXPECT_EQ(only().origin, Origin::unverified);
  EXPECT_FALSE(only().isCleanByNow());
  EXPECT_EQ(only().check(), QuarantineRecord::Check::never);
}

// A loss of power would take the copy away.
TEST_F(QuarantineCareTest, KeepsAFileUntilTheDiskHasItsCopyForCertain) {
  const TemporaryFolder elsewhere("/dev/shm");
  const std::string path = elsewhere.write("a", "bad");
  moveIn(path);
  int leavings = 2;
  beforeItLeaves = [&leavings] {
    if (--leavings == 0) {
      failSystemCallFromNowOn(SYS_fsync, EIO);
      failSystemCallFromNowOn(SYS_syncfs, EIO);
    }
  };
  JoinedThreads([this] {
    const QuarantineOutcome outcome = store.restore(only(), {});
    EXPECT_EQ(outcome.reason, Reason::failed);
    EXPECT_EQ(outcome.error, EIO);
    EXPECT_EQ(only().record.state, QuarantineRecord::State::restoring) << "tidied up too early";
  }).join();
  EXPECT_EQ(TemporaryFolder::read(quarantine + "/a"), "bad");
  EXPECT_EQ(TemporaryFolder::read(path), "bad");
  EXPECT_TRUE(store.list().files.empty());
  EXPECT_EQ(TemporaryFolder::read(path), "bad");
}

TEST_F(QuarantineCareTest, TakesASyncOfTheWholeDiskForThatOfAFolder) {
  const TemporaryFolder elsewhere("/dev/shm");
  moveIn(elsewhere.write("a", "bad"));
  int leavings = 2;
  beforeItLeaves = [&leavings] {
    if (--leavings == 0) {
      failSystemCallFromNowOn(SYS_fsync, EINVAL);
    }
  };
  JoinedThreads([this] { EXPECT_EQ(restored(), Reason::done); }).join();
  EXPECT_TRUE(store.list().files.empty());
}

TEST_F(QuarantineCareTest, DeletesNothingWhileSomebodyTidiesUp) {
  quarantined("home/a");
  const QuarantinedFile listed = only();
  const std::string folder = quarantine + "/.vantrel-records";
  const UniqueFd tidier(open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  ASSERT_EQ(flock(tidier.get(), LOCK_EX | LOCK_NB), 0);
  PassingClock patient;
  const QuarantineOutcome outcome = QuarantineStore(quarantine, patient, {}).remove(listed);
  EXPECT_EQ(outcome.reason, Reason::failed);
  EXPECT_EQ(outcome.error, EBUSY);
  EXPECT_TRUE(TemporaryFolder::exists(quarantine + "/a"));
}

TEST_F(QuarantineCareTest, WaitsSomeSecondsForWhoeverTidiesUp) {
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
TEST_F(QuarantineCareTest, LetsGoNowAndThenWhileItTidiesUp) {
  for (int i = 0; i < 500; ++i) {
    quarantined("home/" + std::to_string(i));
    fs::remove(quarantine + "/" + std::to_string(i));
  }
  OpenQuarantine open(quarantine);
  ASSERT_TRUE(open.records.startTidying());
  withFailingSystemCall(SYS_flock, EWOULDBLOCK, [&open] { tidyUp(open, {}); });
  EXPECT_GT(records(), 200U);
  EXPECT_LT(records(), 500U);
  open.records.letGo();
  store.list();
  EXPECT_EQ(records(), 0U);
}

}  // namespace
}  // namespace quillo
