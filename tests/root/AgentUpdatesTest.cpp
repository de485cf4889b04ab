// Updates by the real updater, from a server on the loopback interface, as the user sees them.

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "tests/root/support/agent/GuardedHome.h"
#include "tests/root/support/agent/SmallDesktop.h"
#include "tests/root/support/engine/MirrorServer.h"
#include "tests/root/support/world/FilesAndMounts.h"

namespace quillo::tests {
namespace {

constexpr char chosen[] = "Update Virus Definitions";
constexpr char updated[] = "The virus definitions have been updated.";
constexpr char upToDate[] = "The virus definitions are already up to date.";
constexpr char failed[] = "The virus definitions could not be updated.";
constexpr char text[] = "A harmless text that one definition is about.";
constexpr char withFlag[] = "NeedsExit1FreshclamFlag = true\n";
constexpr char atLaunch[] = "UpdateDefsOnLaunch = true\nNeedsExit1FreshclamFlag = true\n";

// Of the text above.
std::string definition() {
  std::string line = "Test.Harmless:0:0:";
  for (const char* at = text; *at != '\0'; ++at) {
    constexpr char digits[] = "0123456789abcdef";
    line += digits[static_cast<unsigned char>(*at) >> 4U];
    line += digits[static_cast<unsigned char>(*at) & 0xFU];
  }
  return line + "\n";
}

class AgentUpdates : public testing::Test {
 protected:
  void start(const std::string& preferences) {
    home = std::make_unique<GuardedHome>(preferences);
    for (const std::string& variable : desktop.environment()) {
      home->setVariable(variable);
    }
    // Nothing is wanted of the mirror of that name, which is a closed port.
    const std::string additions = home->tree() + "/etc/freshclam.local";
    writeFile(additions,
              "PrivateMirror http://127.0.0.1:1\nExcludeDatabase main\nExcludeDatabase daily\n"
              "ExcludeDatabase bytecode\nMaxAttempts 1\nDatabaseCustomURL " +
                  source + "\n");
    check(chown(additions.c_str(), GuardedHome::user, GuardedHome::user), "chown " + additions);
    home->makeTree();
    home->startAndAwaitWatching();
  }
  testing::AssertionResult shows(const std::string& notification, int times = 1) {
    return desktop.awaitNotification(notification, times)
               ? testing::AssertionSuccess()
               : testing::AssertionFailure()
                     << "notified: " << desktop.allNotifications() << "log: " << home->readLog();
  }
  void expectNothingElseIsShownThan(const std::string& notification) const {
    for (const char* result : {updated, upToDate, failed}) {
      EXPECT_EQ(desktop.notificationsWith(result), result == notification ? 1 : 0) << result;
    }
  }

  SmallDesktop desktop;
  MirrorServer mirror;
  std::string source = mirror.url("test-harmless.ndb");
  std::unique_ptr<GuardedHome> home;
};

TEST_F(AgentUpdates, FromTheMenuSayThatTheyUpdatedAndThenThatAllIsUpToDate) {
  mirror.serve(definition());
  start(withFlag);
  ASSERT_TRUE(desktop.choose(chosen));
  EXPECT_TRUE(shows(updated));
  ASSERT_TRUE(desktop.choose(chosen));
  EXPECT_TRUE(shows(upToDate));
  EXPECT_EQ(desktop.notificationsWith(updated), 1);
}

// A freshclam of today gives 0 for both.
TEST_F(AgentUpdates, WithoutTheFlagCannotDistinguishUpdatedFromUpToDate) {
  mirror.serve(definition());
  start("");
  ASSERT_TRUE(desktop.choose(chosen));
  EXPECT_TRUE(shows(updated));
  ASSERT_TRUE(desktop.choose(chosen));
  EXPECT_TRUE(shows(updated, 2));
  EXPECT_EQ(desktop.notificationsWith(upToDate), 0);
}

TEST_F(AgentUpdates, MakeTheRunningDaemonFindWhatItDidNotFind) {
  mirror.serve(definition());
  start(withFlag);
  const std::string before = home->save("before.txt", text);
  ASSERT_TRUE(home->logHas(before + ": OK"));
  const pid_t daemon = home->daemon();
  ASSERT_TRUE(desktop.choose(chosen));
  ASSERT_TRUE(shows(updated));
  // The daemon is notified and reloads on its own.
  const std::string found = ": Test.Harmless.UNOFFICIAL FOUND";
  for (int round = 0; round < 50 && home->linesWith(found) == 0; ++round) {
    const std::string name = "after" + std::to_string(round);
    ASSERT_TRUE(home->logHas("Scanned (status ", round + 1));
    home->save(name, text);
    ASSERT_TRUE(home->logHas(home->guarded(name) + ": "));
  }
  EXPECT_GE(home->linesWith(found), 1);
  EXPECT_EQ(home->daemon(), daemon);
  EXPECT_TRUE(home->logHas(home->saveInfected("bad.com") + ": Eicar-Test-Signature"));
}

TEST_F(AgentUpdates, AtLaunchAreSilentWhenTheyDoTheirWork) {
  mirror.serve(definition());
  start(atLaunch);
  ASSERT_TRUE(mirror.awaitRequests(1));
  // One from the menu comes after it, and reports itself alone.
  ASSERT_TRUE(desktop.choose(chosen));
  EXPECT_TRUE(shows(upToDate));
  expectNothingElseIsShownThan(upToDate);
}

TEST_F(AgentUpdates, AtLaunchSayThatTheyFailed) {
  mirror.refuseWith("403 Forbidden");
  start(atLaunch);
  EXPECT_TRUE(shows(failed));
  expectNothingElseIsShownThan(failed);
}

TEST_F(AgentUpdates, KeepTheDefinitionsOfBeforeWhenTheNewOnesAreBroken) {
  mirror.serve("no definition at all\n");
  start(withFlag);
  ASSERT_TRUE(desktop.choose(chosen));
  EXPECT_TRUE(shows(failed));
  EXPECT_TRUE(home->logHas(home->saveInfected("bad.com") + ": Eicar-Test-Signature"));
}

class AgentUpdatesFail : public AgentUpdates, public testing::WithParamInterface<const char*> {};

TEST_P(AgentUpdatesFail, WhateverTheReasonWithTheFlagOrWithout) {
  const std::string reason = GetParam();
  if (reason == "no server") {
    source = "http://127.0.0.1:1/test-harmless.ndb";
  } else {
    mirror.refuseWith(reason);
  }
  start("");
  ASSERT_TRUE(desktop.choose(chosen));
  EXPECT_TRUE(shows(failed));
  home->writePreferences("PathToClamav = \"" + home->tree() + "\"\nPathToUpdateLog = \"" +
                         home->home() + "/update.log\"\nNeedsExit1FreshclamFlag = true\n");
  ASSERT_TRUE(desktop.choose("Restart Watching"));
  ASSERT_TRUE(desktop.choose(chosen));
  EXPECT_TRUE(shows(failed, 2));
}

INSTANTIATE_TEST_SUITE_P(From, AgentUpdatesFail,
                         testing::Values("no server", "403 Forbidden", "404 Not Found",
                                         "500 Internal Server Error"));

TEST_F(AgentUpdates, FailWhereTheDefinitionsCannotBeWritten) {
  mirror.serve(definition());
  start(withFlag);
  check(chown((home->tree() + "/db").c_str(), 0, 0), "chown");
  ASSERT_TRUE(desktop.choose(chosen));
  EXPECT_TRUE(shows(failed));
}

}  // namespace
}  // namespace quillo::tests
