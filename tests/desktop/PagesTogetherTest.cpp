// How the pages of the main application hang together, and hear of what others do.

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <filesystem>

#include "history/HistoryStore.h"
#include "posix/Clock.h"
#include "tests/desktop/support/bus/BusConnection.h"
#include "tests/desktop/support/session/ShownWords.h"
#include "tests/desktop/support/session/VantrelOnDesktop.h"
#include "tests/fakes/desktop/FakeServices.h"

namespace quillo {
namespace {

class PagesTogether : public VantrelOnDesktop {
 protected:
  std::unique_ptr<ChildProcess> open(const std::string& page) {
    return session.startCommand({"env", ShownWords::variable(), program, "--page", page});
  }
  bool eventually(const std::function<bool()>& isSo) { return session.screen().eventually(isSo); }
  bool says(const std::string& text) {
    return eventually([&] { return words.say(text); });
  }
  void appendPreference(const std::string& line) {
    std::ofstream(preferences(), std::ios::app) << line << "\n";
  }
  std::string makeQuarantine() {
    std::string folder = session.homeFolder() + "/quarantine";
    std::filesystem::create_directory(folder);
    std::filesystem::permissions(folder, std::filesystem::perms::owner_all);
    makeEngine();
    appendPreference("QuarantineFolder = \"" + folder + "\"");
    return folder;
  }
  void makeScanner(const std::string& lines) {
    makeEngine();
    std::ofstream(session.homeFolder() + "/engine/bin/clamdscan") << "#!/bin/sh\n" << lines << "\n";
  }
  // As the agent says of itself, in GVariant's text format.
  std::unique_ptr<StandInService> startAgent(const std::string& state) {
    return std::make_unique<StandInService>(
        session.busAddress(), "org.vantrel.VantrelQuillo",
        StandInService::Answers{
            {"Status", "({'version': <uint32 1>, 'state': <'" + state + "'>},)"}});
  }

  ShownWords words{session};
};

TEST_F(PagesTogether, QuarantineIsListedAnewWhenAnotherProgramHasScanned) {
  const std::string quarantine = makeQuarantine();
  const std::string folder = makeFolder();
  const auto process = open("quarantine");
  ASSERT_TRUE(shows("Quarantine"));
  ASSERT_TRUE(says("Files that are moved to the quarantine are listed here."));
  std::ofstream(quarantine + "/unwelcome") << "x";
  EXPECT_FALSE(words.say("unwelcome"));
  run({"scan", folder});
  EXPECT_TRUE(says("unwelcome")) << words.all();
}

TEST_F(PagesTogether, OverviewCountsWhatAnotherProgramHasFound) {
  makeScanner("echo \"$HOME/Documents/bad: Eicar FOUND\"; exit 1");
  const std::string folder = makeFolder();
  const auto process = open("overview");
  ASSERT_TRUE(says("There is no history yet: no file is on record as scanned.")) << words.all();
  run({"scan", folder});
  EXPECT_TRUE(says("Malware was found in one file in the last 30 days.")) << words.all();
}

TEST_F(PagesTogether, ResultIsShownInTheQuarantineWhereItLies) {
  const std::string quarantine = makeQuarantine();
  for (const char* name : {"/first", "/second", "/third"}) {
    std::ofstream(quarantine + name) << "x";
  }
  SystemClock clock;
  FakeSystemLog log;
  HistoryResult find;
  find.time = clock.wallTime();
  find.outcome = HistoryResult::Outcome::quarantined;
  find.path = session.homeFolder() + "/second";
  find.detail = quarantine + "/second";
  find.says = "Win.Test.EICAR_HDB-1";
  HistoryStore(session.homeFolder() + "/.local/state/vantrel", clock, log, {}).write({{find}, {}});
  const auto process = open("results");
  ASSERT_TRUE(shows("Results"));
  ASSERT_TRUE(hasKeyboard("Results – Vantrel"));
  ASSERT_TRUE(says("Win.Test.EICAR_HDB-1")) << words.all();
  session.press("alt+w");
  session.press("Tab");
  session.press("Tab");
  session.press("Tab");
  session.press("Down");
  ASSERT_TRUE(eventually([&] { return words.offer("Show in Quarantine"); })) << words.all();
  session.press("alt+q");
  ASSERT_TRUE(shows("Quarantine"));
  EXPECT_TRUE(says(quarantine + "/second")) << words.all();
}

TEST_F(PagesTogether, QuarantineStandsInTheOrderThatItsUserChooses) {
  const std::string quarantine = makeQuarantine();
  for (const char* name : {"/a", "/b", "/c"}) {
    std::ofstream(quarantine + name) << "x";
  }
  const auto firstIs = [&](const std::string& name) {
    return eventually([&] {
      const std::vector<ShownWords::Part> parts = words.parts();
      const auto cell = std::find_if(parts.begin(), parts.end(), [](const auto& part) {
        return part.role == "cell" && part.name.starts_with("Threat: ");
      });
      return cell != parts.end() && cell->name == "Threat: " + name;
    });
  };
  const auto process = open("quarantine");
  ASSERT_TRUE(shows("Quarantine"));
  ASSERT_TRUE(hasKeyboard("Quarantine – Vantrel"));
  session.press("alt+s");
  session.press("Home");
  ASSERT_TRUE(firstIs("a")) << words.all();
  session.press("alt+v");
  EXPECT_TRUE(firstIs("c")) << words.all();
  session.press("alt+v");
  EXPECT_TRUE(firstIs("a")) << words.all();
}

TEST_F(PagesTogether, WindowThatIsScanningAsksBeforeItCloses) {
  makeScanner("exec sleep 1000");
  const std::string folder = makeFolder();
  const auto process =
      session.startCommand({"env", ShownWords::variable(), program, "--open", "--", folder});
  ASSERT_TRUE(shows("Scan Now"));
  ASSERT_TRUE(eventually([&] { return words.offer("Stop"); })) << words.all();
  ASSERT_TRUE(hasKeyboard("Scan Now – Vantrel"));
  session.press("ctrl+q");
  EXPECT_TRUE(says("Stop the scan?")) << words.all();
  session.press("alt+s");
  EXPECT_EQ(process->waitUntilExit(), 0);
}

// Its own window is the only one that learns of it before it ends.
TEST_F(PagesTogether, ResultsShowWhatAScanInTheSameWindowFinds) {
  const std::string folder = makeFolder();
  const std::string gate = session.homeFolder() + "/gate";
  ASSERT_EQ(mkfifo(gate.c_str(), 0600), 0);
  makeScanner("read word <" + gate + "\necho '" + folder + "/letter: Test.Threat FOUND'\nexit 1");
  const auto process =
      session.startCommand({"env", ShownWords::variable(), program, "--open", "--", folder});
  ASSERT_TRUE(shows("Scan Now"));
  EXPECT_EQ(run({"--page", "results"}).status, 0);
  ASSERT_TRUE(shows("Results"));
  ASSERT_FALSE(words.say("Test.Threat"));
  std::ofstream(gate) << "on\n";
  EXPECT_TRUE(says("Test.Threat")) << words.all();
}

TEST_F(PagesTogether, ScanThatNeedsTheEngineOffersToStartWatching) {
  makeScanner("echo 'ERROR: Could not connect to clamd on LocalSocket'\nexit 2");
  const std::string folder = makeFolder();
  const auto agent = startAgent("stopped");
  BusMonitor bus(session.busAddress());
  const auto process =
      session.startCommand({"env", ShownWords::variable(), program, "--open", "--", folder});
  ASSERT_TRUE(shows("Scan Now"));
  ASSERT_TRUE(eventually([&] { return words.offer("Start Watching"); })) << words.all();
  ASSERT_TRUE(hasKeyboard("Scan Now – Vantrel"));
  session.press("alt+w");
  EXPECT_TRUE(bus.hears("VantrelQuilloShouldRestart"));
}

TEST_F(PagesTogether, FoldersNoLongerSayThatNobodyWatchesOnceTheAgentDoes) {
  makeEngine();
  const std::string nobody = "Vantrel Quillo does not run";
  const auto process = open("folders");
  ASSERT_TRUE(shows("Folders"));
  ASSERT_TRUE(says(nobody)) << words.all();
  const auto agent = startAgent("watching");
  EXPECT_TRUE(eventually([&] { return !words.say(nobody); })) << words.all();
}

}  // namespace
}  // namespace quillo
