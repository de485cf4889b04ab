#include <gtest/gtest.h>

#include "companion/scan/ScanFindings.h"
#include "tests/fakes/desktop/FakeServices.h"

namespace quillo {
namespace {

using Whereabouts = Verdict::Whereabouts;
using Sign = TableRows::Sign;
using Cells = std::vector<std::string>;

class ScanFindingsTest : public testing::Test {
 protected:
  ScanFindingsTest() {
    strings.texts = {{"SCAN_DONE_MOVED_TO", "to %@"}, {"SCAN_DONE_NOT_MOVED", "still: %@"}};
  }
  static Verdict infected(const std::string& path, Whereabouts whereabouts = Whereabouts::inPlace) {
    Verdict verdict = Verdict::parse(path + ": Eicar FOUND");
    verdict.whereabouts = whereabouts;
    return verdict;
  }
  static Verdict notScanned(const std::string& path) {
    return Verdict::parse(path + ": Not scanned: permission denied");
  }
  Cells find(std::size_t row) { return findings.finds()->row(row).cells; }

  FakeLocalizedStrings strings;
  const ScanWords words{strings};
  std::string allowed;
  ScanFindings findings{words, [this](const Verdict& find) { return find.path == allowed; }};
};

TEST_F(ScanFindingsTest, ListFindsApartFromWhatWasNotScanned) {
  findings.add(infected("/a"));
  findings.add(notScanned("/b"));
  findings.add(Verdict::parse("/c: OK"));
  ASSERT_EQ(findings.finds()->count(), 1U);
  EXPECT_EQ(find(0), (Cells{"/a", "Eicar", "<SCAN_DONE_LEFT>"}));
  EXPECT_EQ(findings.finds()->row(0).sign, Sign::threat);
  ASSERT_EQ(findings.leftOut()->count(), 1U);
  EXPECT_EQ(findings.leftOut()->row(0).cells, (Cells{"/b", "permission denied"}));
  EXPECT_EQ(findings.leftOut()->row(0).sign, Sign::warning);
}

TEST_F(ScanFindingsTest, SayWhatTheScannerDid) {
  Verdict moved = infected("/a", Whereabouts::moved);
  moved.destination = "/q/a";
  Verdict left = infected("/b", Whereabouts::notMoved);
  left.reason = "no space";
  findings.add(moved);
  findings.add(left);
  findings.add(infected("/c", Whereabouts::unsaid));
  EXPECT_EQ(find(0)[2], "to /q/a");
  EXPECT_EQ(findings.finds()->row(0).sign, Sign::good);
  EXPECT_EQ(find(1)[2], "still: no space");
  EXPECT_EQ(find(2)[2], "<SCAN_DONE_UNKNOWN>");
  EXPECT_EQ(findings.allInPlace().size(), 2U);
}

TEST_F(ScanFindingsTest, LearnFromTheLineBehindWhatAnOlderScannerDid) {
  findings.add(infected("/a", Whereabouts::unsaid));
  findings.add(Verdict::parse("/a: moved to '/q/a'"));
  EXPECT_EQ(find(0)[2], "to /q/a");
}

TEST_F(ScanFindingsTest, ListAFindOnceWithWhatBecameOfItSince) {
  findings.add(infected("/a"));
  Verdict moved = infected("/a", Whereabouts::moved);
  moved.destination = "/q/a";
  findings.add(moved);
  ASSERT_EQ(findings.finds()->count(), 1U);
  EXPECT_EQ(find(0)[2], "to /q/a");
}

TEST_F(ScanFindingsTest, SayOfAFindThatIsCleanByNow) {
  findings.add(infected("/a"));
  findings.add(Verdict::parse("/a: OK"));
  EXPECT_EQ(find(0)[2], "<SCAN_DONE_CLEAN>");
  EXPECT_TRUE(findings.allInPlace().empty());
}

TEST_F(ScanFindingsTest, SayOfAFindThatCouldNotBeScannedAgainThatItIsStillThere) {
  findings.add(infected("/a"));
  findings.add(notScanned("/a"));
  EXPECT_EQ(find(0)[2], "still: permission denied");
  EXPECT_EQ(findings.leftOut()->count(), 0U);
}

TEST_F(ScanFindingsTest, KnowWhatItsUserAllowed) {
  allowed = "/a";
  findings.add(infected("/a"));
  EXPECT_EQ(find(0)[2], "<SCAN_DONE_ALLOWED>");
  EXPECT_TRUE(findings.inPlace({0}).empty());
}

TEST_F(ScanFindingsTest, NameTheFileBehindALinkAndActOnIt) {
  Verdict verdict = infected("/link");
  verdict.target = "/file";
  findings.add(verdict);
  EXPECT_EQ(find(0)[0], "/link → /file");
  ASSERT_EQ(findings.allInPlace().size(), 1U);
  EXPECT_EQ(findings.allInPlace()[0]->path, "/file");
}

TEST_F(ScanFindingsTest, PassOverRowsThatAreNotThere) {
  findings.add(infected("/a"));
  EXPECT_EQ(findings.inPlace({0, 1, 99}).size(), 1U);
  findings.clear();
  EXPECT_TRUE(findings.inPlace({0}).empty());
  findings.add(infected("/a"));
  EXPECT_EQ(findings.finds()->count(), 1U);
}

TEST_F(ScanFindingsTest, CountWhatTheyDoNotList) {
  for (std::size_t at = 0; at < ScanFindings::mostLeftOut + 3; ++at) {
    findings.add(notScanned("/" + std::to_string(at)));
  }
  EXPECT_EQ(findings.leftOut()->count(), ScanFindings::mostLeftOut);
  EXPECT_EQ(findings.notListed(), 3U);
  findings.clear();
  EXPECT_EQ(findings.notListed(), 0U);
}

TEST_F(ScanFindingsTest, BelieveTheReportThatAFindIsAllowed) {
  Verdict find = infected("/a");
  find.isSpared = true;
  findings.add(find);
  EXPECT_EQ(ScanFindingsTest::find(0)[2], "<SCAN_DONE_ALLOWED>");
}

}  // namespace
}  // namespace quillo
