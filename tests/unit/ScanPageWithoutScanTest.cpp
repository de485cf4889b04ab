#include <gtest/gtest.h>

#include "companion/scan/ScanPage.h"
#include "tests/fakes/companion/ManualScanBench.h"
#include "tests/fakes/desktop/FakeAgentLink.h"
#include "tests/fakes/desktop/FakePage.h"
#include "tests/support/LaterThreads.h"
#include "tests/support/TemporaryFolder.h"

namespace quillo {
namespace {

using Lines = std::vector<std::string>;

class NothingAllowed final : public AllowedFinds {
 public:
  bool isAllowed(const Verdict&) override { return false; }
  std::string allow(const Verdict&, const std::optional<FileIdentity>&) override { return "no"; }
};

// A page whose scans do not run, or not before the test says so.
class ScanPageWithoutScanTest : public testing::Test {
 protected:
  ScanPageServices services() {
    const ManualScanServices real = bench.services();
    return {{real.application, real.clock, real.folders, real.localizedStrings, real.modifierKeys,
             real.preferences, real.systemLog, threads, real.volumes, real.workspace},
            agent,
            [] { return Lines(); },
            volumeChanges,
            allowed,
            nullptr,
            &bench.history};
  }

  TemporaryFolder home;
  ManualScanBench bench;
  LaterThreads threads;
  FakeAgentLink agent;
  FakeVolumeChanges volumeChanges;
  NothingAllowed allowed;
  FakeMainWindow window;
};

TEST_F(ScanPageWithoutScanTest, GoesAlsoWhileItsScanHangs) {
  bench.desktop.application.keepsPosted = true;
  auto page = std::make_unique<ScanPage>(window, services());
  page->scan({home.write("file", "text")});
  page.reset();
  EXPECT_TRUE(bench.history.calls().empty());
  threads.runAll();
  ASSERT_FALSE(bench.history.calls().empty());
  EXPECT_EQ(bench.history.calls().back(), "ended 0");
}

TEST_F(ScanPageWithoutScanTest, SaysThatItShowsNotAllFolders) {
  bench.desktop.localizedStrings.texts["SCAN_FOLDERS_SHOWN"] = "only %@";
  const ScanPageServices given = services();
  FakePage& page = window.pages["scan"];
  FindActions actions(window, page, given, {});
  for (int folder = 0; folder < 11; ++folder) {
    Verdict find = Verdict::parse("/srv/" + std::to_string(folder) + "/a: Eicar FOUND");
    find.whereabouts = Verdict::Whereabouts::inPlace;
    actions.findings().add(find);
  }
  actions.show(true);
  page.select("finds", {0, 1, 2, 3, 4, 5, 6, 7, 8, 9});
  page.press("showInFolder");
  EXPECT_EQ(bench.desktop.workspace.selected.size(), 10U);
  EXPECT_EQ(page.text("report"), "");
  page.check("forAll", true);
  page.press("showInFolder");
  EXPECT_EQ(bench.desktop.workspace.selected.size(), 20U);
  EXPECT_EQ(page.text("report"), "only 10");
}

}  // namespace
}  // namespace quillo
