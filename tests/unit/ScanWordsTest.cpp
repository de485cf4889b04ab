#include <gtest/gtest.h>

#include "companion/scan/ScanWords.h"
#include "tests/fakes/desktop/FakeServices.h"

namespace quillo {
namespace {

using Phase = ManualScanState::Phase;
using Problem = ManualScanResult::Problem;
using Lines = std::vector<std::string>;

class ScanWordsTest : public testing::Test {
 protected:
  ScanWordsTest() {
    strings.texts = {{"DIGITS_SEPARATOR", "."},
                     {"DIGITS_GROUPED_FROM", "1000"},
                     {"SCAN_PROGRESS", "%@ files, %@"},
                     {"SCAN_PROGRESS_OF", "%@/%@ files, %@/%@"},
                     {"SCAN_LEFT_MINUTES", "%@ min"},
                     {"SCAN_LEFT_HOURS", "%@ h"},
                     {"SCAN_REPORT_CLEAN_MANY", "clean %@"},
                     {"SCAN_REPORT_FOUND_MANY", "found %@"},
                     {"SCAN_REPORT_NOT_SCANNED_MANY", "not scanned %@"},
                     {"SCAN_REPORT_NOT_REACHED_MANY", "not reached %@"}};
  }
  static ManualScanState scanning(std::uint64_t files, std::uint64_t bytes) {
    ManualScanState state;
    state.phase = Phase::scanning;
    state.progress.clean = files;
    state.progress.bytes = bytes;
    return state;
  }
  std::string left(std::int64_t seconds) const {
    ManualScanState state = scanning(1, 1);
    state.left = std::chrono::seconds(seconds);
    return words.timeLeft(state);
  }

  FakeLocalizedStrings strings;
  const ScanWords words{strings};
};

TEST_F(ScanWordsTest, SayHowMuchIsDoneOfAllOnceThatIsKnown) {
  ManualScanState state = scanning(1234, 2048);
  EXPECT_EQ(words.progress(state), "1.234 files, 2 KB");
  state.all = {4000, 4096, false};
  EXPECT_EQ(words.progress(state), "1.234 files, 2 KB");
  state.all.isWhole = true;
  EXPECT_EQ(words.progress(state), "1.234/4.000 files, 2 KB/4 KB");
}

TEST_F(ScanWordsTest, ClaimNoWholeThatIsSmallerThanWhatIsDone) {
  ManualScanState state = scanning(10, 2048);
  state.all = {9, 4096, true};
  EXPECT_EQ(words.progress(state), "10 files, 2 KB");
}

TEST_F(ScanWordsTest, SayTheTimeThatIsLeftInMinutesAndThenInHours) {
  EXPECT_EQ(left(60), "<SCAN_LEFT_MINUTE>");
  EXPECT_EQ(left(61), "2 min");
  EXPECT_EQ(left(89L * 60), "89 min");
  EXPECT_EQ(left(90L * 60), "2 h");
  EXPECT_EQ(left(5L * 3600), "5 h");
}

TEST_F(ScanWordsTest, SayNothingOfTheTimeWhileAScanPauses) {
  ManualScanState state = scanning(1, 1);
  state.left = std::chrono::seconds(100);
  state.phase = Phase::paused;
  EXPECT_EQ(words.timeLeft(state), "");
}

TEST_F(ScanWordsTest, ReportCleanFoundAndNotScannedApart) {
  ManualScanResult result;
  result.clean = 2000;
  result.found = 2;
  result.notScanned = 1;
  EXPECT_EQ(words.report(result),
            (Lines{"found 2", "clean 2.000", "<SCAN_REPORT_NOT_SCANNED_ONE>"}));
}

TEST_F(ScanWordsTest, SayThatNothingWasFoundOnlyOfAWholeScan) {
  ManualScanResult result;
  EXPECT_EQ(words.report(result), Lines{"<SCAN_REPORT_NOTHING>"});
  result.isStopped = true;
  result.notReached = 7;
  EXPECT_EQ(words.report(result),
            (Lines{"<SCAN_REPORT_STOPPED>", "<SCAN_REPORT_NOTHING_SO_FAR>", "not reached 7"}));
}

TEST_F(ScanWordsTest, SayThatNothingWasFoundOnlyWhereNothingWasLeftOut) {
  ManualScanResult result;
  result.notScanned = 1;
  EXPECT_EQ(words.report(result),
            (Lines{"<SCAN_REPORT_NOTHING_SO_FAR>", "<SCAN_REPORT_NOT_SCANNED_ONE>"}));
}

TEST_F(ScanWordsTest, SayThatNobodyKnowsHowMuchWasNotReached) {
  ManualScanResult result;
  result.problem = Problem::noDaemon;
  result.notReached = std::nullopt;
  EXPECT_EQ(words.report(result), (Lines{"<SCAN_PROBLEM_NO_DAEMON>", "<SCAN_REPORT_NOTHING_SO_FAR>",
                                         "<SCAN_REPORT_NOT_REACHED_UNKNOWN>"}));
}

TEST_F(ScanWordsTest, ReportWhatIsKnownAlreadyAsNoFind) {
  ManualScanResult result;
  result.allowed = 1;
  result.inQuarantine = 2;
  EXPECT_EQ(words.report(result), (Lines{"<SCAN_REPORT_NOTHING>", "<SCAN_REPORT_ALLOWED_ONE>",
                                         "<SCAN_REPORT_IN_QUARANTINE_MANY>"}));
}

}  // namespace
}  // namespace quillo
