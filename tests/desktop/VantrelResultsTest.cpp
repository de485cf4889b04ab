// The page of results as its user meets it, over a history that was kept before.

#include <gtest/gtest.h>

#include <QAbstractButton>
#include <QLabel>
#include <QTableView>

#include "companion/results/ResultsPage.h"
#include "history/HistoryStore.h"
#include "tests/desktop/support/pages/WindowUnderTest.h"
#include "tests/desktop/support/session/DesktopSession.h"
#include "tests/fakes/desktop/FakeInterface.h"
#include "tests/fakes/desktop/FakeServices.h"
#include "tests/support/LaterThreads.h"
#include "tests/support/TemporaryFolder.h"

namespace quillo {
namespace {

using std::chrono::hours;

// A planned scan that was clean, a stick on which something was found, and one that failed.
struct HistoryOfScans {
  explicit HistoryOfScans(const std::string& folder) : store(folder, clock, log, {}) {
    ScanRun clean = run(ScanSource::planned, hours(26), "/home/ada/Downloads");
    clean.clean = 18'204;
    store.write({{clean}, {}});
    ScanRun stick = run(ScanSource::byHand, hours(2), "/media/ada/STICK");
    stick.clean = 412;
    stick.found = 1;
    stick.notScanned = 1;
    HistoryResult find;
    find.time = stick.started;
    find.outcome = HistoryResult::Outcome::leftInPlace;
    find.source = ScanSource::byHand;
    find.run = stick.id;
    find.path = "/media/ada/STICK/invoice.exe";
    find.says = "Win.Test.EICAR_HDB-1";
    HistoryResult leftOut = find;
    leftOut.kind = HistoryResult::Kind::notScanned;
    leftOut.outcome = HistoryResult::Outcome::unsaid;
    leftOut.path = "/media/ada/STICK/letters.7z";
    leftOut.says = "encrypted";
    HistoryResult other = find;
    other.source = ScanSource::agent;
    other.run = 0;
    other.path = "/home/ada/Downloads/other.exe";
    store.write({{stick, find, leftOut, other}, {}});
    ScanRun failed = run(ScanSource::planned, hours(1), "/home/ada");
    failed.end = ScanRun::End::noDaemon;
    store.write({{failed}, {}});
  }
  ScanRun run(ScanSource source, hours ago, const std::string& path) {
    ScanRun made;
    made.id = makeRunId();
    made.source = source;
    made.started = clock.wallTime() - ago;
    made.ended = made.started + std::chrono::seconds(754);
    made.paths = {path};
    return made;
  }

  SystemClock clock;
  FakeSystemLog log;
  HistoryStore store;
};

class ResultsInWindow : public testing::Test {
 protected:
  ResultsInWindow() {
    window.show("results");
    window.widget().resize(960, 640);
    QCoreApplication::processEvents();
  }
  template <typename Kind>
  Kind& find(const char* name) {
    Kind* const found = window.widget().findChild<Kind*>(name);
    EXPECT_TRUE(found) << name;
    return *found;
  }
  void pressSpaceOn(const char* button) {
    WindowUnderTest::press(&find<QAbstractButton>(button), Qt::Key_Space, {}, " ");
    threads.runAll();
    application.performPosted();
    QCoreApplication::processEvents();
  }
  std::string cell(const char* table, int row, int column) {
    return find<QTableView>(table).model()->index(row, column).data().toString().toStdString();
  }

  TemporaryFolder folder;
  HistoryOfScans history{folder.path() + "/state"};
  KeptLog log;
  FakeApplication application;
  LaterThreads threads;
  FakeWorkspace workspace;
  StringTables strings{
      StringTables::foldersOfCompanion(QUILLO_SOURCE_DIR "/resources/strings"), {"en"}, nullptr};
  InterfaceTranslator translator{strings};
  QtImageLoader images{QUILLO_BINARY_DIR "/resources/images"};
  QtMainWindow window{QUILLO_SOURCE_DIR "/resources/interface/vantrel", "", {images, strings, log}};
  ResultsPage page{
      window.page("results"), window,
      ResultsServices{application, threads, history.clock, strings, workspace,
                      folder.path() + "/state", "/home/ada", [](const std::vector<std::string>&) {},
                      [](const std::string&) {}, [](const std::string&) { return std::string(); }}};
};

TEST_F(ResultsInWindow, ShowsScansInWords) {
  pressSpaceOn("showScans");
  auto& table = find<QTableView>("scans");
  ASSERT_TRUE(table.isVisible());
  EXPECT_FALSE(find<QTableView>("results").isVisible());
  ASSERT_EQ(table.model()->rowCount(), 3);
  EXPECT_EQ(table.model()->headerData(2, Qt::Horizontal).toString(), "How it ended");
  EXPECT_EQ(cell("scans", 0, 1), "~");
  EXPECT_EQ(cell("scans", 0, 2), "Failed: ClamAV did not answer");
  EXPECT_EQ(cell("scans", 1, 7), "Scan by hand");
  EXPECT_EQ(cell("scans", 1, 4), "1");
  EXPECT_EQ(cell("scans", 2, 1), "~/Downloads");
  EXPECT_EQ(cell("scans", 2, 6), "12 min 34 s");
  EXPECT_EQ(cell("scans", 2, 3), "18,204");
  EXPECT_EQ(cell("scans", 2, 2), "Went through to its end");
  EXPECT_TRUE(log.lines.empty()) << log.lines.front();
}

TEST_F(ResultsInWindow, ShowsTheFilesOfAScanByTheKeyboard) {
  pressSpaceOn("showScans");
  auto& table = find<QTableView>("scans");
  table.setCurrentIndex(table.model()->index(1, 0));
  WindowUnderTest::press(&table, Qt::Key_Return);
  threads.runAll();
  application.performPosted();
  ASSERT_TRUE(find<QTableView>("results").isVisible());
  ASSERT_EQ(find<QTableView>("results").model()->rowCount(), 2);
  EXPECT_EQ(cell("results", 0, 1), "letters.7z");
  EXPECT_TRUE(find<QLabel>("ofScan").isVisible());
  pressSpaceOn("allResults");
  EXPECT_EQ(find<QTableView>("results").model()->rowCount(), 3);
  EXPECT_FALSE(find<QLabel>("ofScan").isVisible());
}

// It has no engine, and fails, which is a row, too: the others move down.
TEST(VantrelResults, FollowAScanOfAnotherProgram) {
  DesktopSession session;
  const HistoryOfScans history(session.homeFolder() + "/.local/state/vantrel");
  Screen& screen = session.screen();
  // The sign of the one scan that was clean, which is the last in the table.
  const auto placeOfSign = [&screen] {
    constexpr QRgb good = 0xff0f8a7a;
    const auto area = screen.find(good, QRect(200, 200, 800, 400));
    return area ? area->top() : 0;
  };
  const auto process = session.startCommand({QUILLO_BINARY_DIR "/vantrel", "--page", "results"});
  ASSERT_TRUE(screen.eventually([&] { return screen.countWindows("Results – Vantrel") == 1; }));
  ASSERT_EQ(placeOfSign(), 0);
  session.press("alt+n");
  ASSERT_TRUE(screen.eventually([&] { return placeOfSign() > 0; }));
  session.keepPicture("vantrel-results-scans");
  const int before = placeOfSign();
  session.startCommand({QUILLO_BINARY_DIR "/vantrel", "scan", session.homeFolder()})
      ->waitUntilExit();
  EXPECT_TRUE(screen.eventually([&] { return placeOfSign() > before; }));
}

}  // namespace
}  // namespace quillo
