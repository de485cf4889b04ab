// What the user is shown of files that the engine's limits kept from being scanned.

#include <unistd.h>

#include "clamav/ScanLimits.h"
#include "clamav/Verdict.h"
#include "tests/fakes/scanning/ReportFixture.h"

namespace quillo {
namespace {

using Calls = std::vector<std::string>;
using Limit = Verdict::Limit;

constexpr std::uint64_t mebi = 1024ULL * 1024;

class ScanReportLimits : public ReportFixture {
 protected:
  ScanReportLimits() {
    services.reportedFiles = &reported;
    desktop.localizedStrings.texts = {{"TOO_LARGE", "%@ > %@"},
                                      {"TOO_LARGE_AND_ONE", "%@ + 1 > %@"},
                                      {"TOO_LARGE_AND_MORE", "%@ + %@ > %@"},
                                      {"NOT_TO_ITS_END", "part of %@"},
                                      {"NOT_TO_ITS_END_AND_MORE", "part of %@ + %@"},
                                      {"SIZE_MB", "%@ MB"},
                                      {"SIZE_GB", "%@ GB"}};
  }

  struct Left {
    std::string path;
    Limit limit = Limit::fileSize;
    std::uint64_t largestFile = 100 * mebi;
  };

  // A run whose scanner leaves those files out; gives what was logged.
  std::string run(const std::vector<Left>& files) {
    startRun(Action::leaveInPlace);
    VerdictSender scanner(UniqueFd(dup(report.verdicts()->scannersEnd())));
    report.verdicts()->letGo();
    std::string lines;
    for (const Left& file : files) {
      Verdict verdict = Verdict::parse(reportedText(file.path) + ": Not scanned: reason");
      verdict.path = file.path;
      verdict.limit = file.limit;
      verdict.largestFile = file.largestFile;
      scanner.report(verdict);
      lines += verdict.line + "\n";
    }
    std::string logged = loggedFor(lines);
    report.endRun(false);
    return logged;
  }

  ReportedFiles reported;
};

TEST_F(ScanReportLimits, AreReportedOnceARunByTheFirstFileAndTheNumberOfTheOthers) {
  run({{"/home/anna/big.iso"}});
  run({{"/a/1.iso"}, {"/a/2.iso"}});
  run({{"/b/1.iso"}, {"/b/2.iso"}, {"/b/3.iso"}, {"/b/4.iso"}});
  EXPECT_EQ(owner.calls(), (Calls{"notify 7 big.iso > 100 MB", "notify 7 1.iso + 1 > 100 MB",
                                  "notify 7 1.iso + 3 > 100 MB"}));
}

TEST_F(ScanReportLimits, LeadToTheResultsElseToTheLog) {
  run({{"/home/anna/big.iso"}});
  const NotificationDetails details = owner.details().at(0);
  ASSERT_EQ(details.buttons.size(), 1U);
  EXPECT_EQ(details.buttons[0].title, "<NOTIFICATION_RESULTS>");
  details.buttons[0].press();
  owner.hasPages = true;
  details.buttons[0].press();
  EXPECT_EQ(owner.calls(), (Calls{"notify 7 big.iso > 100 MB", "open page results", "open log",
                                  "open page results"}));
}

TEST_F(ScanReportLimits, LetNoNameMakeALineOfItsOwn) {
  run({{"/a/big\nAll is well.iso"}});
  EXPECT_EQ(owner.calls(), Calls{"notify 7 big\\x0AAll is well.iso > 100 MB"});
}

TEST_F(ScanReportLimits, AreReportedWhenTheRunIsOverAndLoggedAtOnce) {
  startRun(Action::leaveInPlace);
  VerdictSender scanner(UniqueFd(dup(report.verdicts()->scannersEnd())));
  Verdict verdict = Verdict::parse("/a/big.iso: Not scanned: larger than the limit of 100 MB");
  verdict.limit = Limit::fileSize;
  verdict.largestFile = 100 * mebi;
  scanner.report(verdict);
  EXPECT_EQ(loggedFor(verdict.line + "\n"), stamp + " " + verdict.line + "\n");
  EXPECT_EQ(owner.calls(), Calls());
  report.endRun(false);
  EXPECT_EQ(owner.calls(), Calls{"notify 7 big.iso > 100 MB"});
}

TEST_F(ScanReportLimits, OfSizeAndOfContentsAreKeptApart) {
  run({{"/a/big.iso"},
       {"/a/x.zip", Limit::contents, 0},
       {"/a/y.zip", Limit::contents, 0},
       {"/a/z.zip", Limit::contents, 0}});
  EXPECT_EQ(owner.calls(), (Calls{"notify 7 big.iso > 100 MB", "notify 7 part of x.zip + 2"}));
}

TEST_F(ScanReportLimits, OfTheEngineItselfIsCalledTwoGigabytes) {
  run({{"/a/big.iso", Limit::fileSize, engineCeiling}});
  EXPECT_EQ(owner.calls(), Calls{"notify 7 big.iso > 2 GB"});
}

TEST_F(ScanReportLimits, AreReportedOnceForAFileThatIsWrittenAgainAndAgain) {
  EXPECT_EQ(run({{"/a/disk.img"}}), run({{"/a/disk.img"}}));
  EXPECT_EQ(owner.calls().size(), 1U);
  run({{"/a/disk.img"}, {"/a/other.img"}});
  EXPECT_EQ(owner.calls().back(), "notify 7 other.img > 100 MB");
}

TEST_F(ScanReportLimits, AreNotReportedOfWhatNobodySaved) {
  run({{"/home/anna/.cache/blob"},
       {"/home/anna/.hidden.iso"},
       {"/home/anna/big.iso.part"},
       {"/home/anna/big.iso.crdownload"}});
  EXPECT_EQ(owner.calls(), Calls());
}

TEST_F(ScanReportLimits, AreNotReportedOfWhatWasLeftOutForAnotherReason) {
  run({{"/home/anna/link", Limit::none, 0}});
  EXPECT_EQ(owner.calls(), Calls());
}

TEST(ReportedFiles, ForgetTheOldestFirst) {
  ReportedFiles reported;
  for (std::size_t i = 0; i <= ReportedFiles::most; ++i) {
    EXPECT_TRUE(reported.add("/" + std::to_string(i)));
  }
  EXPECT_FALSE(reported.add("/1"));
  EXPECT_TRUE(reported.add("/0"));
}

}  // namespace
}  // namespace quillo
