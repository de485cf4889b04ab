#include <gtest/gtest.h>
#include <signal.h>

#include <cerrno>
#include <stdexcept>
#include <vector>

#include "companion/definitions/DefinitionUpdate.h"
#include "posix/Text.h"
#include "tests/fakes/desktop/FakePlatform.h"
#include "tests/support/TemporaryFolder.h"

namespace quillo {
namespace {

class DefinitionUpdateRun : public testing::Test {
 protected:
  DefinitionUpdateRun() {
    desktop.preferenceStore.set("PathToClamav", (folder.path() + "/engine").c_str());
    update.observe([this] { states.push_back(update.state()); });
  }
  void install(const std::string& script) {
    folder.writeProgram("engine/bin/freshclam", "#!/bin/sh\n" + script + "\n");
  }
  // Runs it to its end.
  std::optional<UpdateResult> result() {
    update.start();
    threads.run("definitions");
    return update.state().result;
  }

  TemporaryFolder folder;
  FakePlatform desktop;
  FakeThreads threads;
  DefinitionUpdate update{{desktop.application, threads, desktop.preferences}};
  std::vector<DefinitionUpdate::State> states;
};

TEST_F(DefinitionUpdateRun, RunsTheEnginesOwnUpdaterAsTheAgentDoes) {
  desktop.preferenceStore.set("PathToUpdateLog", "/the log");
  desktop.preferenceStore.set("NeedsExit1FreshclamFlag", true);
  install("printf '%s\\n' \"$@\" > '" + folder.at("words") + "'; exit 1");
  EXPECT_EQ(result(), UpdateResult::updated);
  EXPECT_EQ(TemporaryFolder::read(folder.at("words")),
            "--log=/the log\n--on-update-execute=EXIT_1\n--show-progress\n");
}

TEST_F(DefinitionUpdateRun, ShowsItsProgressAndItsEnd) {
  install("printf '[=>  ]  1.00KiB/4.00KiB\\r'; echo; echo 'x.cvd updated (version: 2)'");
  EXPECT_EQ(result(), UpdateResult::updated);
  ASSERT_EQ(states.size(), 3U);
  EXPECT_TRUE(states[0].runs);
  EXPECT_EQ(states[1].progress, (UpdateProgress{1024, 4096}));
  EXPECT_FALSE(states[2].runs);
}

TEST_F(DefinitionUpdateRun, SaysWhyItFailed) {
  install("echo 'ERROR: Failed to lock the log file /log: Resource' >&2; exit 2");
  EXPECT_EQ(result(), UpdateResult::locked);
  install("exit 5");
  EXPECT_EQ(result(), UpdateResult::offline);
  install("kill -KILL $$");
  EXPECT_EQ(result(), UpdateResult::failed);
}

TEST_F(DefinitionUpdateRun, SaysThatThereIsNoUpdater) {
  update.start();
  EXPECT_EQ(update.state().result, UpdateResult::noEngine);
  EXPECT_TRUE(threads.names().empty());
}

TEST_F(DefinitionUpdateRun, SaysThatTheUpdaterCannotBeRun) {
  folder.writeProgram("engine/bin/freshclam", "#!/no/such/shell\n");
  EXPECT_EQ(result(), UpdateResult::noEngine);
}

TEST_F(DefinitionUpdateRun, LeavesNoUpdaterBehindWhenItCannotGoOn) {
  install("echo $$ > '" + folder.at("pid") +
          "'; printf '[=>  ]  1.00KiB/4.00KiB\\r'; echo; exec sleep 600");
  {
    DefinitionUpdate other({desktop.application, threads, desktop.preferences});
    other.observe([&other] {
      if (other.state().progress) {
        throw std::runtime_error("no memory");
      }
    });
    other.start();
    EXPECT_THROW(threads.run("definitions"), std::runtime_error);
    EXPECT_EQ(other.state().result, UpdateResult::failed);
    EXPECT_FALSE(other.state().runs);
  }
  const auto updater = numberIn<pid_t>(trimmed(TemporaryFolder::read(folder.at("pid"))));
  ASSERT_TRUE(updater);
  EXPECT_EQ(kill(*updater, 0), -1);
  EXPECT_EQ(errno, ESRCH);
}

TEST_F(DefinitionUpdateRun, RunsOneAtATime) {
  install("exit 0");
  update.start();
  update.start();
  EXPECT_EQ(threads.names(), std::vector<std::string>{"definitions"});
}

TEST_F(DefinitionUpdateRun, ForgetsTheLastResultWhenItRunsAnew) {
  install("exit 5");
  ASSERT_EQ(result(), UpdateResult::offline);
  update.start();
  EXPECT_EQ(update.state(), (DefinitionUpdate::State{true, std::nullopt, std::nullopt}));
}

TEST_F(DefinitionUpdateRun, IsNotHarmedByAnUpdaterThatOutlivesItsWindow) {
  install("exit 0");
  {
    DefinitionUpdate other({desktop.application, threads, desktop.preferences});
    other.start();
  }
  threads.run("definitions");
  EXPECT_TRUE(states.empty());
}

// As much as an updater gone mad may print.
TEST_F(DefinitionUpdateRun, KeepsOnlyTheEndOfWhatIsPrinted) {
  install("head -c 3000000 /dev/zero | tr '\\0' ']'; echo; echo 'a updated (version: 1)'");
  EXPECT_EQ(result(), UpdateResult::updated);
}

}  // namespace
}  // namespace quillo
