// The writer of the history ends in the middle of its work, at each step in turn, as it does when
// the machine or its user ends it. What it had said to be entered is there, and the rest is whole.

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/mount.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <string>
#include <vector>

#include "history/HistoryReader.h"
#include "history/HistoryStore.h"
#include "history/HistoryWriter.h"
#include "history/Sql.h"
#include "posix/PlatformException.h"
#include "tests/fakes/desktop/FakeServices.h"
#include "tests/process/DyingDisk.h"
#include "tests/support/ManualClock.h"
#include "tests/support/TemporaryFolder.h"

namespace quillo {
namespace {

constexpr int batches = 5;
constexpr int rowsOfBatch = 4;

HistoryBatch batchNumber(int number) {
  HistoryBatch batch;
  for (int row = 0; row < rowsOfBatch; ++row) {
    HistoryResult result;
    result.time = PassingClock().wallTime();
    result.path = "/srv/" + std::to_string(number) + "/" + std::string(1500, 'x');
    batch.changes.emplace_back(result);
  }
  batch.scanned[{20260101, "/srv"}] = {1, 10};
  return batch;
}

// Writes one batch after the other and reports each that is entered; once, in between, it closes
// the database and opens it again.
void writeAll(const std::string& folder, int reports) {
  PassingClock clock;
  FakeSystemLog log;
  HistoryStore store(folder, clock, log, {});
  for (int number = 0; number < batches; ++number) {
    store.write(batchNumber(number));
    const char byte = '.';
    if (write(reports, &byte, 1) != 1) {
      _exit(3);
    }
    if (number == 2) {
      store.close();
    }
  }
  store.close();
}

class HistoryCrashTest : public testing::TestWithParam<bool> {
 protected:
  // Runs a writer that ends at that step. Returns how many batches it reported; `hasEnded` becomes
  // true when it came to its end before.
  static int reportedBefore(int step, const std::string& folder, bool& hasEnded) {
    std::array<int, 2> ends = {-1, -1};
    EXPECT_EQ(pipe(ends.data()), 0);
    const pid_t writer = fork();
    if (writer == 0) {
      dieAtDiskOperation(step, GetParam());
      writeAll(folder, ends[1]);
      _exit(0);
    }
    close(ends[1]);
    int reported = 0;
    for (char byte = 0; read(ends[0], &byte, 1) == 1;) {
      ++reported;
    }
    close(ends[0]);
    int status = 0;
    waitpid(writer, &status, 0);
    hasEnded = WIFEXITED(status) && WEXITSTATUS(status) == 0;
    EXPECT_TRUE(hasEnded || (WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL));
    return reported;
  }

  // How many rows a program sees that only reads, before anybody has mended anything.
  static std::size_t rowsIn(const std::string& folder) {
    HistoryReader reader(folder);
    const auto state = reader.open();
    EXPECT_TRUE(state == HistoryReader::State::good || state == HistoryReader::State::missing)
        << reader.reason();
    return reader.select({}).count();
  }

  static void expectSound(const std::string& folder) {
    const SqlConnection sql(folder + "/history.sqlite", SqlConnection::Access::write);
    SqlStatement check = sql.prepare("PRAGMA integrity_check");
    ASSERT_TRUE(check.step());
    EXPECT_EQ(check.bytes(0), "ok");
  }
};

TEST_P(HistoryCrashTest, LosesNothingThatWasEnteredAtWhateverStepItEnds) {
  bool hasEnded = false;
  int step = 0;
  while (!hasEnded) {
    ++step;
    const TemporaryFolder home;
    const std::string folder = home.at("state");
    const auto reported = static_cast<std::size_t>(reportedBefore(step, folder, hasEnded));
    const std::size_t rows = rowsIn(folder);
    ASSERT_GE(rows, reported * rowsOfBatch) << "at step " << step;
    ASSERT_LE(rows, (reported + 1) * rowsOfBatch) << "at step " << step;
    ASSERT_EQ(rows % rowsOfBatch, 0U) << "half a batch, at step " << step;
    // The next writer goes on with it.
    PassingClock clock;
    FakeSystemLog log;
    HistoryStore(folder, clock, log, {}).write(batchNumber(9));
    ASSERT_EQ(log.lines(), std::vector<std::string>()) << "at step " << step;
    ASSERT_EQ(rowsIn(folder), rows + rowsOfBatch) << "at step " << step;
    HistoryReader reader(folder);
    ASSERT_EQ(reader.busiestFolders(0, 1).at(0).amount.files, rows / rowsOfBatch + 1);
    expectSound(folder);
  }
  EXPECT_GT(step, 60) << "so few steps are not all of them";
}

INSTANTIATE_TEST_SUITE_P(WholeAndTornWrites, HistoryCrashTest, testing::Bool());

// A disk of its own, of so many bytes.
class SmallDisk {
 public:
  SmallDisk(const std::string& folder, const std::string& size) : folder_(folder) {
    EXPECT_EQ(mount("none", folder_.c_str(), "tmpfs", 0, ("mode=700,size=" + size).c_str()), 0);
  }
  ~SmallDisk() { umount2(folder_.c_str(), MNT_DETACH); }
  void remount(unsigned long flags, const std::string& size) const {
    EXPECT_EQ(mount("none", folder_.c_str(), "tmpfs", MS_REMOUNT | flags, ("size=" + size).c_str()),
              0);
  }

 private:
  const std::string folder_;
};

class HistoryDiskTest : public testing::Test {
 protected:
  void add(int count) {
    for (int at = 0; at < count; ++at) {
      HistoryResult result;
      result.time = clock.wallTime();
      result.path = "/srv/" + std::string(1000, 'x');
      writer.add(result);
    }
  }
  std::size_t rows() const { return HistoryReader(folder).select({}).count(); }

  const TemporaryFolder home;
  const std::string folder = home.makeFolder("state");
  PassingClock clock;
  FakeSystemLog log;
  HistoryWriter writer{{clock, log, folder, home.path(), {}, {}}};
};

TEST_F(HistoryDiskTest, KeepsOnAFullDiskWhatWasEnteredAndEntersTheRestLater) {
  const SmallDisk disk(folder, "1m");
  add(100);
  writer.step();
  ASSERT_EQ(rows(), 100U);
  add(1000);
  writer.step();
  writer.step();
  EXPECT_EQ(rows(), 100U);
  EXPECT_NE(writer.problem(), "");
  EXPECT_EQ(log.lines().size(), 1U);
  disk.remount(0, "20m");
  writer.step();
  EXPECT_EQ(rows(), 1100U);
  EXPECT_EQ(writer.problem(), "");
}

TEST_F(HistoryDiskTest, WaitsUntilAReadOnlyDiskCanBeWrittenAgain) {
  const SmallDisk disk(folder, "10m");
  disk.remount(MS_RDONLY, "10m");
  add(1);
  writer.step();
  EXPECT_NE(writer.problem(), "");
  EXPECT_EQ(log.lines().size(), 1U);
  disk.remount(0, "10m");
  writer.step();
  EXPECT_EQ(rows(), 1U);
}

}  // namespace
}  // namespace quillo
