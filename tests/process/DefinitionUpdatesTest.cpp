#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstdio>

#include "agent/DefinitionUpdates.h"
#include "tests/fakes/agent/AgentUnderTest.h"

namespace quillo {
namespace {

using Text = std::optional<std::string>;

class Updates : public testing::Test, protected AgentUnderTest {
 protected:
  void TearDown() override {
    output.restore();
    if (HasFailure()) {
      std::printf("%s\n", scanLog().c_str());
    }
  }
  void installUpdater(const std::string& script) {
    home.writeProgram("engine/bin/freshclam", "#!/bin/sh\n" + script + "\n");
    if (threads.names().empty()) {
      agent().applicationDidFinishLaunching();
    }
  }
  // At launch an update is silent, from the menu it is not.
  void update(bool notify) {
    if (notify) {
      agent().updateVirusDefs();
    } else {
      desktop.preferenceStore.set("UpdateDefsOnLaunch", true);
      agent().startWatcherAndUpdate(true);
    }
    EXPECT_EQ(agent().scannerCount(), 1);
    EXPECT_TRUE(throbber->isUpdating());
    threads.run("definitions");
    EXPECT_EQ(agent().scannerCount(), 0);
    EXPECT_FALSE(throbber->isUpdating());
  }
  // Waits for a line in the pipe.
  static std::string lineOf(const std::string& pipe) {
    std::FILE* reader = std::fopen(pipe.c_str(), "r");
    char line[16] = {};
    const bool read = reader && std::fgets(line, sizeof line, reader);
    if (reader) {
      std::fclose(reader);
    }
    return read ? line : "nothing";
  }
  // The last notification as "name: description", or nothing.
  std::string shown(bool notify) {
    const std::size_t before = desktop.growl.posted().size();
    update(notify);
    const auto posted = desktop.growl.posted();
    return posted.size() == before ? "" : posted.back().name + ": " + posted.back().description;
  }
  static constexpr const char* updated = "<SUCCESSFUL>: <SUCCESSFUL>";
  static constexpr const char* upToDate = "<ALREADY_UP_TO_DATE>: <ALREADY_UP_TO_DATE>";
  static constexpr const char* failed = "Error: <UNKNOWN_ERROR>";
};

TEST_F(Updates, WithoutTheFlagAreDoneWithZeroAndNeedlessWithOne) {
  installUpdater("exit 0");
  EXPECT_EQ(shown(true), updated);
  EXPECT_EQ(shown(false), "");
  installUpdater("exit 1");
  EXPECT_EQ(shown(true), upToDate);
  EXPECT_EQ(shown(false), "");
}

TEST_F(Updates, WithTheFlagAreDoneWithOneAndNeedlessWithZero) {
  agent().setNeedsExit1FreshclamFlag(true);
  EXPECT_TRUE(agent().needsExit1FreshclamFlag());
  installUpdater("exit 0");
  EXPECT_EQ(shown(true), upToDate);
  EXPECT_EQ(shown(false), "");
  installUpdater("exit 1");
  EXPECT_EQ(shown(true), updated);
  EXPECT_EQ(shown(false), "");
}

TEST_F(Updates, FailWithAnyOtherStatusAlsoSilentOnes) {
  for (const bool flag : {false, true}) {
    agent().setNeedsExit1FreshclamFlag(flag);
    for (const char* end : {"exit 2", "exit 17", "exit 255", "kill -HUP $$", "kill -KILL $$"}) {
      installUpdater(end);
      EXPECT_EQ(shown(true), failed) << end;
      EXPECT_EQ(shown(false), failed) << end;
    }
  }
}

TEST_F(Updates, TakeBackWhatAnEarlierOneCameToAlsoWhenTheySucceedInSilence) {
  installUpdater("exit 2");
  update(false);
  const std::string topic = desktop.growl.posted().back().details.topic;
  ASSERT_FALSE(topic.empty());
  const auto timesWithdrawn = [&] {
    const auto withdrawn = desktop.growl.withdrawn();
    return std::count(withdrawn.begin(), withdrawn.end(), topic);
  };
  const auto before = timesWithdrawn();
  installUpdater("exit 0");
  update(false);
  EXPECT_EQ(timesWithdrawn(), before + 1);
}

TEST_F(Updates, ThatFailOfferWhatMendsThemAndTheirLog) {
  home.write("update.log", "why");
  installUpdater("exit 2");
  update(true);
  const auto buttons = desktop.growl.posted().back().details.buttons;
  ASSERT_EQ(buttons.size(), 2U);
  EXPECT_EQ(buttons[0].title, "<NOTIFICATION_VANTREL>");
  EXPECT_EQ(buttons[1].title, "<NOTIFICATION_LOG>");
  buttons[1].press();
  EXPECT_EQ(desktop.workspace.opened.back(), home.path() + "/update.log");
  installUpdater("exit 0");
  update(true);
  EXPECT_TRUE(desktop.growl.posted().back().details.buttons.empty());
}

TEST_F(Updates, FailWhenTheUpdaterCannotBeRun) {
  installUpdater("");
  chmod((engine() + "/bin/freshclam").c_str(), 0444);
  EXPECT_EQ(shown(false), failed);
}

TEST_F(Updates, ShowTheEngineDialogWithoutAnUpdater) {
  agent().applicationDidFinishLaunching();
  EXPECT_EQ(shown(true), "");
  EXPECT_TRUE(desktop.mainInterface.noEngineWindow.cameToFront());
}

TEST_F(Updates, AreShownInAWindowWithoutNotifications) {
  desktop.growl.setRunning(false);
  installUpdater("exit 0");
  update(true);
  EXPECT_EQ(desktop.mainInterface.updateWindow.message(), "<SUCCESSFUL>");
  EXPECT_EQ(desktop.mainInterface.updateWindow.calls(),
            (std::vector<std::string>{"makeFloatingKeyAndOrderFront", "orderFrontRegardless"}));
  installUpdater("exit 9");
  update(false);
  EXPECT_EQ(desktop.mainInterface.updateWindow.message(), "<UNKNOWN_ERROR>");
}

TEST_F(Updates, AreTitledWithTheAgentsName) {
  installUpdater("exit 0");
  update(true);
  EXPECT_EQ(desktop.growl.posted().back().title, "Vantrel Quillo");
}

TEST_F(Updates, GiveTheUpdaterItsLogAndTheFlag) {
  const std::string notes = home.path() + "/arguments";
  installUpdater("for word; do echo \"$word\"; done > '" + notes + "'");
  update(true);
  EXPECT_EQ(contentsOfFile(notes), Text("--log=" + home.path() + "/update.log\n"));
  agent().setNeedsExit1FreshclamFlag(true);
  update(true);
  EXPECT_EQ(contentsOfFile(notes),
            Text("--log=" + home.path() + "/update.log\n--on-update-execute=EXIT_1\n"));
}

TEST_F(Updates, GiveTheUpdaterNoEmptyArgumentWithoutALog) {
  desktop.preferenceStore.remove("PathToUpdateLog");
  const std::string notes = home.path() + "/arguments";
  installUpdater("echo $# > '" + notes + "'");
  update(true);
  EXPECT_EQ(contentsOfFile(notes), Text("0\n"));
}

TEST_F(Updates, LogTheUpdatersErrorsAndNothingElseOfIt) {
  installUpdater("echo words; echo trouble >&2");
  update(true);
  output.restore();
  EXPECT_NE(scanLog().find("trouble\n"), std::string::npos);
  EXPECT_EQ(scanLog().find("words"), std::string::npos);
}

TEST_F(Updates, RunAtOnceWhenTwoAreAskedFor) {
  threads.real = {"definitions"};
  ASSERT_EQ(mkfifo((home.path() + "/go").c_str(), 0600), 0);
  installUpdater("read line < '" + home.path() + "/go'");
  agent().updateVirusDefs();
  agent().updateVirusDefs();
  EXPECT_EQ(agent().scannerCount(), 2);
  EXPECT_EQ(threads.count("definitions"), 2);
  {
    // Each of them reads one of the lines, once it runs.
    std::FILE* go = std::fopen((home.path() + "/go").c_str(), "r+");
    ASSERT_NE(go, nullptr);
    std::fputs("\n\n", go);
    std::fflush(go);
    threads.join();
    std::fclose(go);
  }
  EXPECT_EQ(agent().scannerCount(), 0);
  EXPECT_EQ(desktop.growl.posted().size(), 2U);
}

TEST_F(Updates, AreJudgedByTheFlagThatTheyWereRunWith) {
  installUpdater("exit 1");
  threads.real = {"definitions"};
  const std::string go = home.path() + "/go";
  ASSERT_EQ(mkfifo(go.c_str(), 0600), 0);
  home.writeProgram("engine/bin/freshclam",
                    "#!/bin/sh\necho > '" + go + "'\nread line < '" + go + "2'\nexit 1\n");
  ASSERT_EQ(mkfifo((go + "2").c_str(), 0600), 0);
  agent().updateVirusDefs();
  // The updater runs once somebody reads what it says.
  ASSERT_EQ(lineOf(go), "\n");
  agent().setNeedsExit1FreshclamFlag(true);
  std::FILE* second = std::fopen((go + "2").c_str(), "r+");
  std::fputs("\n", second);
  std::fflush(second);
  threads.join();
  std::fclose(second);
  EXPECT_EQ(desktop.growl.posted().back().name, "<ALREADY_UP_TO_DATE>");
}

}  // namespace
}  // namespace quillo
