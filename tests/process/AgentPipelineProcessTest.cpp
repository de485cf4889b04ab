// What an agent makes of the report of an engine that its own scanners run.

#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>

#include "history/HistoryReader.h"
#include "tests/fakes/agent/AgentUnderTest.h"
#include "tests/fakes/engine/FakeClamd.h"

namespace quillo {
namespace {

using Lines = std::vector<std::string>;

class AgentPipeline : public testing::Test, protected AgentUnderTest {
 protected:
  void TearDown() override {
    output.restore();
    if (HasFailure()) {
      std::printf("%s\n", scanLog().c_str());
    }
  }
  void launch(const std::string& engineScript) {
    home.writeProgram("engine/bin/clamdscan", "#!/bin/sh\n" + engineScript + "\n");
    agent().applicationDidFinishLaunching();
    log().clear();
  }
  // What is launched in the daemon's place only says so.
  void useDaemonProgram() {
    daemon->program = home.writeProgram("engine/sbin/clamd", "#!/bin/sh\n: > \"$0.launched\"\n");
  }
  bool wasLaunched() { return fileExists(engine() + "/sbin/clamd.launched"); }
  // One batch through one of the agent's scanners, on this thread.
  void scan(const std::string& scanner = "firstPatientScanner") {
    struct NothingLeft {};
    Dispatcher& dispatcher = agent().theDispatcher();
    Lines batch{home.write("scanned by " + scanner, "content")};
    dispatcher.copyItemsToMyItemListFrom(batch);
    dispatcher.getItemSizesInMyItemList();
    dispatcher.getItemSizesInMyItemList();
    dispatcher.moveReadyItemsToScannableList();
    clock.beforeNextWait([](std::unique_lock<std::mutex>&) { throw NothingLeft(); });
    EXPECT_THROW(threads.run(scanner), NothingLeft);
  }
  bool scanLogHolds(const std::string& text) { return scanLog().find(text) != std::string::npos; }
  std::vector<std::shared_ptr<FakeDialog>> dialogs(const std::string& name) {
    return desktop.interfaceLoader.loaded(name);
  }
  Lines notified() {
    Lines shown;
    for (const GrowlNotification& each : desktop.growl.posted()) {
      shown.push_back(each.name + " " + each.description);
    }
    return shown;
  }
};

TEST_F(AgentPipeline, EachScannerRunsTheEngineOverAListOfItsOwn) {
  launch("echo \"arguments $*\"");
  for (const std::string scanner : {"firstPatientScanner", "secondPatientScanner"}) {
    scan(scanner);
    EXPECT_TRUE(scanLogHolds(" arguments --stdout --file-list=/tmp/VantrelQuilloScanList_" +
                             scanner + ".txt\n"))
        << scanner;
  }
}

TEST_F(AgentPipeline, EachScannerHasTheSettingsOfTheLastStart) {
  launch("echo \"arguments $*\"; echo '/x: Threat FOUND'");
  desktop.preferenceStore.set("QuilloQuarantineFiles", true);
  desktop.preferenceStore.set("QuarantineFolder", "~/Q");
  agent().startWatcher();
  scan("firstPatientScanner");
  scan("secondPatientScanner");
  const Lines once{"<QUARANTINED> /x: Threat FOUND"};
  EXPECT_EQ(notified(), (Lines{once[0], once[0]}));
  for (const std::string scanner : {"firstPatientScanner", "secondPatientScanner"}) {
    EXPECT_TRUE(scanLogHolds(" arguments --move=" + home.path() +
                             "/Q --stdout --file-list=/tmp/VantrelQuilloScanList_" + scanner +
                             ".txt\n"))
        << scanner;
  }
}

TEST_F(AgentPipeline, AScannerGoesOnWithItsSettingsAfterAStop) {
  desktop.preferenceStore.set("QuilloTrashFiles", true);
  launch("echo \"arguments $*\"; echo '/x: Threat FOUND'");
  agent().stopWatcher();
  scan();
  EXPECT_TRUE(scanLogHolds(" arguments --move=" + home.path() + "/.Trash --stdout --file-list="));
  EXPECT_EQ(notified(), Lines{"<REMOVED> /x"});
}

TEST_F(AgentPipeline, AFileLeftInPlaceIsWarnedOfAndOneKeyClosesAllWarnings) {
  launch("echo '/x: Threat FOUND'; echo '/y: Threat FOUND'");
  scan();
  EXPECT_EQ(notified(), (Lines{"<FOUND> /x: Threat FOUND", "<FOUND> /y: Threat FOUND"}));
  ASSERT_EQ(dialogs("WarningDialog").size(), 2U);
  desktop.modifierKeys.held = ModifierKeys::commandKey;
  dialogs("WarningDialog")[0]->press(ButtonDialog::Button::otherButton);
  EXPECT_TRUE(dialogs("WarningDialog")[0]->isClosed());
  EXPECT_TRUE(dialogs("WarningDialog")[1]->isClosed());
  EXPECT_EQ(agent().parts().dialogList.count(), 0U);
}

TEST_F(AgentPipeline, WhatWasFoundIsInTheHistoryWhenTheAgentHasQuit) {
  launch("echo '/x: Threat FOUND'; echo '/y: Not scanned: too large'; echo '/z/a: OK'");
  scan();
  agent().quit();
  threads.run("history");
  HistoryReader reader(desktop.folders.stateFolder());
  const auto rows = reader.rows(reader.select({}), 0, 9);
  ASSERT_EQ(rows.size(), 2U);
  EXPECT_EQ(rows[1].path, "/x");
  EXPECT_EQ(rows[1].says, "Threat");
  EXPECT_EQ(rows[0].path, "/y");
  EXPECT_EQ(reader.busiestFolders(0, 9).at(0).folder, "/z");
}

TEST_F(AgentPipeline, TheQuarantineFolderIsOpenedByItsDialog) {
  desktop.preferenceStore.set("QuilloQuarantineFiles", true);
  desktop.preferenceStore.set("QuarantineFolder", "~");
  launch("echo '/x: Threat FOUND'");
  scan();
  ASSERT_EQ(dialogs("QuarantinedDialog").size(), 1U);
  dialogs("QuarantinedDialog")[0]->press(ButtonDialog::Button::deleteButton);
  EXPECT_EQ(desktop.workspace.opened.size() + (fileExists("/usr/bin/open") ? 1U : 0U), 1U);
}

TEST_F(AgentPipeline, ADaemonSaidToBeDeadIsLaunchedAgainWithoutAQuestion) {
  FakeClamd clamd(socketPath());
  useDaemonProgram();
  launch("echo \"WARNING: Can't connect to clamd.\"");
  scan();
  EXPECT_TRUE(wasLaunched());
  EXPECT_TRUE(scanLogHolds(" clamd appears to have died - attempting restart...\n"));
}

TEST_F(AgentPipeline, ADaemonThatWasNotReachedIsLaunchedAgainUnlessItAnswers) {
  useDaemonProgram();
  launch("echo 'ERROR: Could not connect to clamd on LocalSocket /s: Reason'");
  {
    FakeClamd clamd(socketPath());
    scan();
  }
  EXPECT_FALSE(wasLaunched());
  EXPECT_TRUE(scanLogHolds(" ERROR: Could not connect to clamd on LocalSocket /s: Reason\n"));
  scan();
  EXPECT_TRUE(wasLaunched());
}

TEST_F(AgentPipeline, AnEngineWithoutItsDaemonIsReportedByADialogThatQuits) {
  launch("exit 2");
  scan();
  EXPECT_EQ(notified(), Lines{"Error <CLAMDSCAN_ERROR>"});
  ASSERT_EQ(dialogs("QuarantinedDialog").size(), 1U);
  EXPECT_EQ(dialogs("QuarantinedDialog")[0]->deleteButtonTitle(), "Quit Vantrel Quillo");
  dialogs("QuarantinedDialog")[0]->press(ButtonDialog::Button::deleteButton);
  EXPECT_EQ(desktop.application.exits, std::vector<int>{0});
}

TEST_F(AgentPipeline, AnEngineWhoseDaemonAnswersIsNotReported) {
  launch("exit 2");
  FakeClamd clamd(socketPath());
  scan();
  EXPECT_EQ(notified(), Lines());
  EXPECT_TRUE(dialogs("QuarantinedDialog").empty());
}

TEST_F(AgentPipeline, AnEngineThatIsGoneIsReportedByItsWindow) {
  launch("exit 0");
  std::filesystem::remove(engine() + "/bin/clamdscan");
  scan();
  EXPECT_EQ(notified(), Lines{"Error <CLAMDSCAN_ERROR>"});
  EXPECT_TRUE(desktop.mainInterface.noEngineWindow.cameToFront());
  EXPECT_EQ(agent().scannerCount(), 0);
}

TEST_F(AgentPipeline, EitherItemOfTheMenuAbortsWhatWaits) {
  launch("exit 0");
  Dispatcher& dispatcher = agent().theDispatcher();
  for (FakeMenuItem* item :
       {&desktop.mainInterface.abortMenuItem, &desktop.mainInterface.abortConfirmMenuItem}) {
    Lines waiting{home.write("waiting", "content")};
    dispatcher.copyItemsToMyItemListFrom(waiting);
    ASSERT_EQ(dispatcher.lengthOfBothItemLists(), 1U);
    item->setEnabled(true);
    item->choose();
    EXPECT_EQ(dispatcher.lengthOfBothItemLists(), 0U);
  }
}

// An agent whose engine cannot reach its daemon before a test says so.
class AgentWithoutItsDaemon : public AgentPipeline {
 protected:
  AgentWithoutItsDaemon() {
    desktop.preferenceStore.set("QuilloFolderArray",
                                PreferenceValue{PreferenceArray{watchedFolder("~", true)}});
    useDaemonProgram();
    launch(
        "if [ -e \"$0.reaches\" ]; then sed 's/$/: OK/' \"${2#--file-list=}\"; exit 0; fi\n"
        "echo 'ERROR: Could not connect to clamd on LocalSocket /s: Reason'; exit 2");
  }
  void bringBack() {
    clamd.emplace(socketPath());
    clamd->answerWith(std::string("ClamAV 1.4.3\0", 13));
    home.write("engine/bin/clamdscan.reaches", "");
  }
  bool waits() { return agent().parts().unscannedFiles.areWaiting(); }
  void look() {
    agent().parts().health.lookSoon();
    agent().parts().health.round();
  }
  std::vector<HistoryResult> history() {
    agent().quit();
    threads.run("history");
    HistoryReader reader(desktop.folders.stateFolder());
    return reader.rows(reader.select({}), 0, 9);
  }

  const std::string file = home.path() + "/scanned by firstPatientScanner";
  std::optional<FakeClamd> clamd;
};

TEST_F(AgentWithoutItsDaemon, ScansWhatWasLeftOnceItIsBackAndSaysNothingOfItInTheHistory) {
  scan();
  EXPECT_TRUE(scanLogHolds(" " + file + ": Not scanned: the daemon cannot be reached\n"));
  EXPECT_TRUE(waits());
  look();
  EXPECT_TRUE(waits());
  bringBack();
  look();
  EXPECT_FALSE(waits());
  agent().theDispatcher().cycle();
  struct NothingLeft {};
  clock.beforeNextWait([](std::unique_lock<std::mutex>&) { throw NothingLeft(); });
  EXPECT_THROW(threads.run("secondPatientScanner"), NothingLeft);
  EXPECT_TRUE(scanLogHolds(" " + file + ": OK\n")) << scanLog();
  EXPECT_EQ(history().size(), 0U);
}

TEST_F(AgentWithoutItsDaemon, LeavesNothingOutOfTheHistoryWhenItQuits) {
  scan();
  const auto rows = history();
  ASSERT_EQ(rows.size(), 1U);
  EXPECT_EQ(rows[0].path, file);
  EXPECT_EQ(rows[0].says, "the daemon cannot be reached");
}

TEST_F(AgentWithoutItsDaemon, ForgetsWhatWasLeftWhenTheScansAreAborted) {
  scan();
  agent().abortScans();
  EXPECT_FALSE(waits());
  EXPECT_TRUE(log().has("Scans aborted: 1 file was not scanned"));
  EXPECT_EQ(history().size(), 1U);
}

TEST_F(AgentWithoutItsDaemon, ScansNothingThatIsNotGuardedAnyMore) {
  scan();
  home.makeFolder("other");
  desktop.preferenceStore.set("QuilloFolderArray",
                              PreferenceValue{PreferenceArray{watchedFolder("~/other", true)}});
  agent().startWatcher();
  bringBack();
  look();
  EXPECT_FALSE(waits());
  EXPECT_EQ(agent().theDispatcher().lengthOfBothItemLists(), 0U);
  EXPECT_EQ(history().size(), 1U);
}

TEST_F(AgentWithoutItsDaemon, KeepsWhatWasLeftUntilWatchingBeginsAgain) {
  scan();
  agent().stopWatcher();
  bringBack();
  EXPECT_TRUE(waits());
  agent().startWatcher();
  agent().parts().health.round();
  EXPECT_FALSE(waits());
  EXPECT_EQ(agent().theDispatcher().lengthOfBothItemLists(), 1U);
}

}  // namespace
}  // namespace quillo
