// What the page does while it scans.

#include <gtest/gtest.h>

#include "tests/process/ScanPageFixture.h"

namespace quillo {
namespace {

using Lines = std::vector<std::string>;
using ScanPageWorking = ScanPageFixture;

TEST_F(ScanPageWorking, PausesAndGoesOnByOneButton) {
  // How far it is the scanner says now and then.
  for (int number = 0; number < 100; ++number) {
    tree.file("folder/clean" + std::to_string(number));
  }
  std::atomic<int> questions = 0;
  tree.daemon([&](const SessionClamd::Question& question) -> std::optional<std::string> {
    if (++questions == 10) {
      letGo.get_future().wait();
    }
    return SessionClamd::truth(question);
  });
  page->scan({path("folder")});
  EXPECT_TRUE(performUntil([this] { return shown().isEnabled("pause"); }));
  EXPECT_EQ(shown().text("pause"), "<SCAN_PAUSE>");
  shown().press("pause");
  EXPECT_EQ(shown().text("pause"), "<SCAN_RESUME>");
  letGo.set_value();
  EXPECT_TRUE(performUntil([this] { return shown().text("state") == "<SCAN_STATE_PAUSED>"; }))
      << shown().text("state");
  EXPECT_LE(questions, 11);
  shown().press("pause");
  EXPECT_EQ(shown().text("pause"), "<SCAN_PAUSE>");
  EXPECT_TRUE(awaitReport());
  EXPECT_EQ(shown().text("report"), "<SCAN_REPORT_NOTHING>\nclean 100");
  tree.endDaemon();
}

TEST_F(ScanPageWorking, ReportOfSeveralScansSaysThatOneOfThemHadNoDefinitions) {
  ManualScanServices services = bench.services();
  // Not of the first that is over.
  services.lacksDefinitions = [asked = std::make_shared<std::atomic<int>>(0)] {
    return ++*asked == 2;
  };
  open(services);
  holdTheDaemon();
  page->scan({tree.file("clean")});
  held.get_future().wait();
  page->scan({tree.file("another")});
  letGo.set_value();
  ASSERT_TRUE(performUntil([this] { return shown().text("report").ends_with("clean 2"); }));
  EXPECT_TRUE(shown().text("report").starts_with("<SCAN_REPORT_NO_DEFINITIONS>"))
      << shown().text("report");
  tree.endDaemon();
}

// Whose daemon has a file until it is let go.
class ScanPageAtWork : public ScanPageFixture {
 protected:
  ScanPageAtWork() {
    holdTheDaemon();
    page->scan({tree.file("clean")});
    held.get_future().wait();
  }
  ~ScanPageAtWork() override {
    end();
    page.reset();
    bench.threads.join();
    tree.endDaemon();
  }
  void end() {
    if (!std::exchange(isOver, true)) {
      letGo.set_value();
    }
  }
  bool isOver = false;
};

TEST_F(ScanPageAtWork, AsksBeforeTheWindowCloses) {
  EXPECT_FALSE(page->mayClose());
  EXPECT_FALSE(page->mayClose());
  EXPECT_EQ(window.questions.size(), 1U);
  window.answer("<SCAN_CLOSE_STAY>");
  EXPECT_EQ(window.closings, 0);
  end();
  ASSERT_TRUE(awaitReport());
  EXPECT_EQ(shown().text("report"), "<SCAN_REPORT_NOTHING>\n<SCAN_REPORT_CLEAN_ONE>");
}

TEST_F(ScanPageAtWork, StopsAndClosesWhenItsUserWantsThat) {
  EXPECT_FALSE(page->mayClose());
  window.answer("<SCAN_CLOSE_STOP>");
  EXPECT_TRUE(performUntil([this] { return window.closings == 1; }));
  EXPECT_TRUE(page->mayClose());
}

TEST_F(ScanPageAtWork, IsStoppedByItsButton) {
  shown().press("stop");
  ASSERT_TRUE(awaitReport());
  EXPECT_TRUE(shown().text("report").starts_with("<SCAN_REPORT_STOPPED>"));
}

TEST_F(ScanPageAtWork, EndsItsScanWhenItGoes) {
  page.reset();
  bench.threads.join();
  EXPECT_EQ(bench.history.calls().back(), "ended 0");
}

TEST_F(ScanPageAtWork, DoesNothingAboutFindsMeanwhile) {
  shown().check("forAll", true);
  for (const char* button : {"quarantine", "trash", "allow", "exclude", "scanTheseAgain"}) {
    EXPECT_FALSE(shown().isEnabled(button)) << button;
  }
}

}  // namespace
}  // namespace quillo
