// The command that scans at once, with the tree's own scanner behind it.

#include <gtest/gtest.h>
#include <signal.h>
#include <unistd.h>

#include <atomic>
#include <future>
#include <nlohmann/json.hpp>
#include <sstream>

#include "companion/scan/InterruptWatch.h"
#include "companion/scan/ScanCommand.h"
#include "posix/Text.h"
#include "tests/fakes/companion/ManualScanBench.h"
#include "tests/process/FakeClientTree.h"
#include "tests/support/DocumentedNames.h"

namespace quillo {
namespace {

using Json = nlohmann::json;

class ScanCommandTest : public testing::Test {
 protected:
  ScanCommandTest() {
    bench.desktop.preferenceStore.set(
        "PathToClamav", deletingLastPathComponent(deletingLastPathComponent(tree.program())));
    bench.desktop.localizedStrings.texts = {{"SCAN_LINE_FOUND", "found %@: %@ (%@)"},
                                            {"SCAN_LINE_NOT_SCANNED", "not scanned %@ (%@)"},
                                            {"SCAN_REPORT_CLEAN_ONE", "1 clean"}};
  }
  int run(const std::vector<std::string>& words) {
    return runScanCommand(words, out, errors, {bench.services(), &bench.history, nullptr});
  }
  Json document() const {
    Json document = Json::parse(out.str());
    EXPECT_EQ(undocumentedNames(document), std::vector<std::string>());
    return document;
  }
  std::string path(const std::string& name) const { return tree.files().at(name); }

  wrapper::FakeClientTree tree;
  ManualScanBench bench;
  std::ostringstream out;
  std::ostringstream errors;
};

TEST_F(ScanCommandTest, EndsWithZeroWhenAllIsClean) {
  EXPECT_EQ(run({tree.file("clean")}), 0);
  EXPECT_EQ(out.str(), "<SCAN_REPORT_NOTHING>\n1 clean\n");
  EXPECT_EQ(errors.str(), "");
}

TEST_F(ScanCommandTest, WritesFindsBeforeTheReportAndEndsWithOne) {
  const std::string infected = tree.file("infected");
  EXPECT_EQ(run({infected, tree.files().write("empty", "")}), 1);
  EXPECT_TRUE(out.str().starts_with("found " + infected + ": Fake.Name (<SCAN_DONE_LEFT>)\n"))
      << out.str();
  EXPECT_NE(out.str().find("not scanned " + path("empty") + " (<SCAN_REASON_EMPTY>)\n"),
            std::string::npos);
}

TEST_F(ScanCommandTest, EndsWithZeroWhenWhatItFindsLiesInTheQuarantine) {
  bench.desktop.preferenceStore.set("QuarantineFolder", path("quarantine/"));
  tree.file("quarantine/infected");
  EXPECT_EQ(run({tree.files().path(), "--json"}), 0);
  EXPECT_EQ(document()["result"], "clean");
  EXPECT_EQ(document()["counts"]["inQuarantine"], 1);
  EXPECT_EQ(document()["found"], Json::array());
}

TEST_F(ScanCommandTest, EndsWithTwoWhenSomethingWasNotScanned) {
  EXPECT_EQ(run({tree.file("clean"), path("gone")}), 2);
}

TEST_F(ScanCommandTest, EndsWithTwoWhenNobodyAnswers) {
  tree.endDaemon();
  EXPECT_EQ(run({tree.file("clean")}), 2);
  EXPECT_NE(out.str().find("<SCAN_PROBLEM_NO_DAEMON>"), std::string::npos);
}

TEST_F(ScanCommandTest, SaysHowItIsUsed) {
  for (const std::vector<std::string>& words :
       {std::vector<std::string>{}, {"--json"}, {"--unknown", "/a"}, {""}}) {
    errors.str("");
    EXPECT_EQ(run(words), 2);
    EXPECT_EQ(errors.str(), "usage: vantrel scan PATH... [--json]\n");
  }
  EXPECT_EQ(out.str(), "");
}

TEST_F(ScanCommandTest, TakesRelativePathsFromWhereItWasGiven) {
  tree.file("--infected");
  const std::string before = []() {
    char* const folder = getcwd(nullptr, 0);
    std::string text = folder;
    free(folder);
    return text;
  }();
  ASSERT_EQ(chdir(tree.files().path().c_str()), 0);
  tree.files().write("--infected", "infected");
  EXPECT_EQ(run({"--json", "--", "--infected"}), 1);
  EXPECT_EQ(chdir(before.c_str()), 0);
  EXPECT_EQ(document()["found"][0]["path"], path("--infected"));
}

TEST_F(ScanCommandTest, WritesOneDocumentAndNothingElse) {
  const std::string infected = tree.files().write("in\xFF", "infected");
  EXPECT_EQ(run({"--json", infected, path("gone"), tree.file("clean")}), 1);
  const Json json = document();
  EXPECT_EQ(json["version"], 1);
  EXPECT_EQ(json["command"], "scan");
  EXPECT_EQ(json["paths"][0], path("in\\xFF"));
  EXPECT_EQ(json["result"], "found");
  EXPECT_EQ(json["stopped"], false);
  EXPECT_TRUE(json["problem"].is_null());
  EXPECT_EQ(json["counts"], Json({{"clean", 1},
                                  {"found", 1},
                                  {"allowed", 0},
                                  {"inQuarantine", 0},
                                  {"notScanned", 1},
                                  {"notListed", 0},
                                  {"notReached", 0}}));
  EXPECT_EQ(
      json["found"],
      Json::array({{{"path", path("in\\xFF")}, {"threat", "Fake.Name"}, {"done", "leftInPlace"}}}));
  EXPECT_EQ(json["notScanned"],
            Json::array({{{"path", path("gone")}, {"reason", "<SCAN_REASON_GONE>"}}}));
}

TEST_F(ScanCommandTest, SaysInItsDocumentWhatKeptItFromScanning) {
  tree.endDaemon();
  EXPECT_EQ(run({"--json", tree.file("clean")}), 2);
  EXPECT_EQ(document()["problem"], "noDaemon");
  EXPECT_EQ(document()["result"], "incomplete");
}

TEST_F(ScanCommandTest, ReportsInOrderWhenItIsInterrupted) {
  std::promise<void> asked;
  std::promise<void> letGo;
  std::atomic<bool> isFirst = true;
  tree.daemon([&](const SessionClamd::Question& question) -> std::optional<std::string> {
    if (isFirst.exchange(false)) {
      asked.set_value();
      letGo.get_future().wait();
    }
    return SessionClamd::truth(question);
  });
  JoinedThreads hand([&] {
    asked.get_future().wait();
    raise(SIGINT);
  });
  const std::string file = tree.file("clean");
  EXPECT_EQ(run({"--json", file}), 2);
  EXPECT_EQ(document()["stopped"], true);
  letGo.set_value();
  bench.threads.join();
  tree.endDaemon();
}

TEST_F(ScanCommandTest, LeavesSignalsAsTheyWereOnceItIsOver) {
  {
    const InterruptWatch watch(bench.threads, [] {});
  }
  struct sigaction action = {};
  sigaction(SIGINT, nullptr, &action);
  EXPECT_EQ(action.sa_handler, SIG_DFL);
  bench.threads.join();
}

void handledBefore(int) {}

TEST(InterruptWatchTest, LeavesIgnoredSignalsIgnoredAndRestoresTheOthers) {
  JoinedThreads threads;
  struct sigaction action = {};
  action.sa_handler = SIG_IGN;
  struct sigaction ofHangup = {};
  ASSERT_EQ(sigaction(SIGHUP, &action, &ofHangup), 0);
  action.sa_handler = handledBefore;
  struct sigaction ofInterrupt = {};
  ASSERT_EQ(sigaction(SIGINT, &action, &ofInterrupt), 0);
  std::atomic<bool> isStopped = false;
  {
    const InterruptWatch watch(threads, [&isStopped] { isStopped = true; });
    raise(SIGHUP);
  }
  sigaction(SIGHUP, &ofHangup, &action);
  EXPECT_EQ(action.sa_handler, SIG_IGN);
  sigaction(SIGINT, &ofInterrupt, &action);
  EXPECT_EQ(action.sa_handler, handledBefore);
  threads.join();
  EXPECT_FALSE(isStopped);
}

TEST(InterruptWatchTest, LetsASecondSignalEndTheProcess) {
  JoinedThreads threads;
  std::promise<void> stopped;
  const InterruptWatch watch(threads, [&stopped] { stopped.set_value(); });
  raise(SIGTERM);
  stopped.get_future().wait();
  struct sigaction action = {};
  sigaction(SIGTERM, nullptr, &action);
  EXPECT_EQ(action.sa_handler, SIG_DFL);
}

}  // namespace
}  // namespace quillo
