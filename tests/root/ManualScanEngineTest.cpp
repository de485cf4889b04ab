// Scans of chosen files with the real engine.

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <set>

#include "companion/scan/ManualScan.h"
#include "tests/fakes/companion/ManualScanBench.h"
#include "tests/root/support/engine/WrapperOnClamd.h"
#include "tests/support/LocalSocket.h"
#include "tests/support/Waiting.h"

namespace quillo::wrapper {
namespace {

using Phase = ManualScanState::Phase;
using tests::eicar;

class ManualScanOnClamd : public WrapperOnClamd {
 protected:
  ManualScanOnClamd() { bench.desktop.preferenceStore.set("PathToClamav", tree.path()); }

  // A folder of files, every hundredth of them infected.
  std::string folderOf(int count) {
    for (int number = 0; number < count; ++number) {
      files.write("in/" + std::to_string(number / 100) + "/" + std::to_string(number),
                  number % 100 == 0 ? eicar() : "text " + std::to_string(number));
    }
    return files.at("in");
  }
  // Blocks until the daemon has dropped somebody who opened a session now and then said nothing:
  // what its patience is, has passed.
  bool outlastTheDaemonsPatience() {
    const UniqueFd silent = connectTo(daemon->socket());
    constexpr std::string_view command("zIDSESSION\0", 11);
    if (send(silent.get(), command.data(), command.size(), MSG_NOSIGNAL) < 0) {
      return false;
    }
    std::array<char, 256> bytes;
    while (awaitReadable(silent.get())) {
      if (read(silent.get(), bytes.data(), bytes.size()) <= 0) {
        return true;
      }
    }
    return false;
  }

  ManualScanBench bench;
  ManualScan scan{bench.services(), bench.seen, &bench.history};
};

TEST_F(ManualScanOnClamd, FindsEachInfectedFileOfAFolderAndCountsTheRest) {
  startDaemon();
  scan.run({folderOf(500)});
  const ManualScanResult result = bench.seen.results.last();
  EXPECT_EQ(result.found, 5U);
  EXPECT_EQ(result.clean, 495U);
  EXPECT_EQ(result.notScanned, 0U);
  EXPECT_EQ(result.problem, ManualScanResult::Problem::none);
  std::set<std::string> found;
  for (const Verdict& verdict : bench.seen.verdicts()) {
    if (verdict.kind == Verdict::Kind::infected) {
      EXPECT_EQ(verdict.threat, tests::PrivateClamd::threat());
      found.insert(verdict.path);
    }
  }
  EXPECT_EQ(found.size(), 5U);
}

TEST_F(ManualScanOnClamd, LosesNothingInAPauseThatOutlastsTheDaemonsPatience) {
  startDaemon("MaxThreads 2\nCommandReadTimeout 1\nReadTimeout 1\nIdleTimeout 1\n");
  const std::string folder = folderOf(5000);
  bench.threads.start([this, folder] { scan.run({folder}); });
  ASSERT_TRUE(awaitThat([this] { return scan.state().canPause; }));
  scan.pause();
  ASSERT_TRUE(awaitThat([this] { return scan.state().phase == Phase::paused; }));
  const std::uint64_t before = scan.state().progress.files();
  EXPECT_LT(before, 5000U);
  EXPECT_TRUE(outlastTheDaemonsPatience());
  EXPECT_TRUE(outlastTheDaemonsPatience());
  EXPECT_EQ(scan.state().progress.files(), before);
  EXPECT_EQ(scan.state().phase, Phase::paused);
  scan.resume();
  EXPECT_TRUE(scan.awaitEnd(std::chrono::hours(5)));
  bench.threads.join();
  const ManualScanResult result = bench.seen.results.last();
  EXPECT_EQ(result.found, 50U);
  EXPECT_EQ(result.clean, 4950U);
  EXPECT_EQ(result.notScanned, 0U);
}

TEST_F(ManualScanOnClamd, MovesItsFindsAwayLater) {
  startDaemon();
  bench.desktop.preferenceStore.set("QuarantineFolder", files.makeFolder("quarantine") + "/");
  const std::string infected = files.write("infected", eicar());
  scan.moveAway({infected}, InfectedFileAction::quarantine);
  EXPECT_FALSE(TemporaryFolder::exists(infected));
  EXPECT_TRUE(TemporaryFolder::exists(files.at("quarantine/infected")));
}

}  // namespace
}  // namespace quillo::wrapper
