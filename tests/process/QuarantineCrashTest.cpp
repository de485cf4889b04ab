#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>

#include "posix/PathOpening.h"
#include "quarantine/QuarantineStore.h"
#include "tests/support/KilledAtEachCall.h"
#include "tests/support/ManualClock.h"
#include "tests/support/TemporaryFolder.h"
#include "tools/clamdscan/MoveFolder.h"

namespace quillo {
namespace {

namespace fs = std::filesystem;

// A file that is moved into the quarantine and back, from a folder on this or on another disk, by a
// process that is killed at each of its system calls in turn.
class QuarantineCrash : public testing::TestWithParam<const char*> {
 protected:
  void moveIn() {
    wrapper::MoveFolder folder(clock, wrapper::DesktopTrash("", ""));
    folder.open(quarantine);
    folder.move(path, openPath(path, O_RDONLY).get(), "Eicar");
  }
  void beginAnew() {
    fs::remove_all(quarantine);
    fs::remove_all(home.path() + "/home");
    scratch.makeFolder("q");
    home.write("home/a", contents);
    ASSERT_EQ(chmod(path.c_str(), 0750), 0);
  }
  // The file is whole at one place at least, what lies in the quarantine is known by its record,
  // and nothing else is left behind.
  void expectNothingLost() {
    const bool isHome = TemporaryFolder::read(path) == contents;
    const auto files = store.list().files;
    EXPECT_TRUE(isHome || files.size() == 1);
    EXPECT_EQ(TemporaryFolder::exists(path), isHome) << "half a file";
    for (const QuarantinedFile& file : files) {
      EXPECT_EQ(file.origin, QuarantinedFile::Origin::known);
      EXPECT_EQ(file.record.state, QuarantineRecord::State::moved);
      EXPECT_EQ(file.record.origin, path);
      EXPECT_EQ(TemporaryFolder::read(store.pathOf(file)), contents);
      EXPECT_EQ(modeOf(store.pathOf(file)) & 0111U, 0U) << "can be run";
    }
    const std::string records = quarantine + "/.vantrel-records";
    const auto left = fs::exists(records)
                          ? std::distance(fs::directory_iterator(records), fs::directory_iterator())
                          : 0;
    EXPECT_EQ(static_cast<std::size_t>(left), files.size());
  }
  static mode_t modeOf(const std::string& file) {
    struct stat status = {};
    return stat(file.c_str(), &status) == 0 ? status.st_mode & 07777U : 0U;
  }

  const std::string contents = std::string(100000, 'x') + "bad";
  TemporaryFolder scratch;
  TemporaryFolder home{GetParam()};
  const std::string quarantine = scratch.makeFolder("q");
  const std::string path = home.path() + "/home/a";
  ManualClock clock;
  QuarantineStore store{
      quarantine, clock,
      [](const std::string&, const FileIdentity&, const std::string&) { return std::string(); }};
};

TEST_P(QuarantineCrash, OfTheMoverLosesNothing) {
  const int killed = killedAtEachCall([this] { beginAnew(); }, [this] { moveIn(); },
                                      [this] { expectNothingLost(); });
  EXPECT_GT(killed, 20);
  EXPECT_EQ(store.list().files.size(), 1U);
}

TEST_P(QuarantineCrash, OfWhoeverPutsAFileBackLosesNothing) {
  const int killed = killedAtEachCall(
      [this] {
        beginAnew();
        moveIn();
        ASSERT_EQ(store.list().files.size(), 1U);
      },
      [this] { store.restore(store.list().files.front(), {}); },
      [this] {
        expectNothingLost();
        // Home for good, once the quarantine knows nothing of it any more.
        if (store.list().files.empty()) {
          EXPECT_EQ(modeOf(path), 0750U);
        }
      });
  EXPECT_GT(killed, 20);
  EXPECT_TRUE(store.list().files.empty());
}

TEST_P(QuarantineCrash, OfWhoeverDeletesLeavesTheFileOrNothing) {
  killedAtEachCall(
      [this] {
        beginAnew();
        moveIn();
      },
      [this] { store.remove(store.list().files.front()); },
      [this] {
        fs::create_directories(home.path() + "/home");
        if (store.list().files.empty()) {
          home.write("home/a", contents);
        }
        expectNothingLost();
      });
}

TEST_P(QuarantineCrash, OfWhoeverTidiesUpLosesNothing) {
  // What a killed restorer leaves, at the moment when the file has arrived and nothing else is
  // done.
  int after = 0;
  killedAtEachCall(
      [this] {
        beginAnew();
        moveIn();
      },
      [this] { store.restore(store.list().files.front(), {}); },
      [this, &after] {
        if (++after % 5 == 0) {
          killedAtEachCall([] {}, [this] { store.list(); }, [] {});
        }
        expectNothingLost();
      });
}

INSTANTIATE_TEST_SUITE_P(FromThisDiskAndAnother, QuarantineCrash,
                         testing::Values("/tmp", "/dev/shm"));

}  // namespace
}  // namespace quillo
