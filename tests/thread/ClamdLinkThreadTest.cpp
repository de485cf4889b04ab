#include <gtest/gtest.h>

#include <memory>

#include "engine/ClamdLink.h"
#include "tests/fakes/agent/FakeClamdLinkOwner.h"
#include "tests/fakes/desktop/FakeInterface.h"
#include "tests/fakes/desktop/FakeServices.h"
#include "tests/fakes/engine/FakeClamd.h"
#include "tests/support/ManualClock.h"
#include "tests/support/StdoutCapture.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/Threads.h"

namespace quillo {
namespace {

using Behaviour = FakeClamd::Behaviour;

class ClamdLinkThreads : public testing::Test {
 protected:
  ClamdLinkThreads() {
    link.setDaemonPaths(folder.writeProgram("clamd", "#!/bin/sh\nexit 0\n"),
                        folder.write("clamd.conf", "LocalSocket " + socketPath() + "\n"));
    link.discernClamdSocketLocation();
  }
  ~ClamdLinkThreads() override {
    // Lets go of whoever still waits for an answer.
    daemon.reset();
    stopped.reset();
    threads.join();
  }
  // What the question gives that a silent daemon is asked, once the patience with it is over.
  bool aliveAfterPatience() {
    bool alive = false;
    JoinedThreads caller([&] { alive = link.clamdStillAlive(); });
    EXPECT_TRUE(clock.waitUntilParked(1));
    clock.advance(ClamdLink::longestAnswer);
    caller.join();
    return alive;
  }
  std::string socketPath() const { return folder.path() + "/clamd.ctl"; }

  TemporaryFolder folder;
  ManualClock clock;
  FakeApplication application;
  FakeLocalizedStrings strings;
  FakeSystemLog log;
  JoinedThreads threads;
  FakeClamdLinkOwner owner;
  std::unique_ptr<FakeClamd> daemon;
  std::unique_ptr<StoppedClamd> stopped;
  ClamdLink link{owner,
                 {application, clock, strings, owner, log, threads, [] { return std::nullopt; },
                  [](pid_t, const std::string&) { return true; }}};
};

TEST_F(ClamdLinkThreads, TakesAStoppedDaemonForGoneAfterThirtySeconds) {
  stopped = std::make_unique<StoppedClamd>(socketPath());
  bool alive = true;
  JoinedThreads caller([&] { alive = link.clamdStillAlive(); });
  ASSERT_TRUE(clock.waitUntilParked(1));
  clock.advance(std::chrono::seconds(29));
  EXPECT_EQ(clock.parked(), 1);
  clock.advance(std::chrono::seconds(1));
  caller.join();
  EXPECT_FALSE(alive);
}

TEST_F(ClamdLinkThreads, TakesASilentDaemonForAliveThatIsAtWork) {
  daemon = std::make_unique<FakeClamd>(socketPath(), Behaviour::staysSilent);
  EXPECT_TRUE(aliveAfterPatience());
}

TEST_F(ClamdLinkThreads, KeepsOneThreadForAStoppedDaemonHoweverOftenItIsAsked) {
  stopped = std::make_unique<StoppedClamd>(socketPath());
  for (int i = 0; i < 5; ++i) {
    EXPECT_FALSE(aliveAfterPatience());
  }
  EXPECT_EQ(threads.names(), std::vector<std::string>{"clamd PING"});
}

TEST_F(ClamdLinkThreads, AsksAnewOnceAnOldQuestionIsAnswered) {
  stopped = std::make_unique<StoppedClamd>(socketPath());
  EXPECT_FALSE(aliveAfterPatience());
  stopped->end();
  threads.join();
  daemon = std::make_unique<FakeClamd>(socketPath());
  EXPECT_TRUE(link.clamdStillAlive());
  EXPECT_EQ(daemon->visits(1).size(), 1U);
}

TEST_F(ClamdLinkThreads, DoesNotWaitForASilentDaemonToQuitForLongerThanThirtySeconds) {
  daemon = std::make_unique<FakeClamd>(socketPath(), Behaviour::staysSilent);
  JoinedThreads caller([&] { link.quitClamd(); });
  ASSERT_TRUE(clock.waitUntilParked(1));
  clock.advance(ClamdLink::longestAnswer);
  caller.join();
  EXPECT_EQ(daemon->visits(1).size(), 1U);
}

TEST_F(ClamdLinkThreads, HearsAnAnswerWithoutLettingTimePass) {
  daemon = std::make_unique<FakeClamd>(socketPath());
  EXPECT_TRUE(link.clamdStillAlive());
  EXPECT_EQ(clock.now(), Clock::Duration::zero());
  EXPECT_EQ(threads.names(), std::vector<std::string>{"clamd PING"});
}

TEST_F(ClamdLinkThreads, PingsOfSeveralThreadsAreAllAnswered) {
  daemon = std::make_unique<FakeClamd>(socketPath());
  JoinedThreads callers;
  std::atomic<int> alive{0};
  for (int i = 0; i < 8; ++i) {
    callers.start([&] { alive += link.clamdStillAlive() ? 1 : 0; });
  }
  callers.join();
  EXPECT_EQ(alive, 8);
  EXPECT_GE(daemon->visits(1).size(), 1U);
}

TEST_F(ClamdLinkThreads, RelaunchesAnUnreachableDaemonOnceForSeveralCallers) {
  StdoutCapture quiet;
  application.duringWaitElsewhere = [this] { daemon = std::make_unique<FakeClamd>(socketPath()); };
  JoinedThreads callers;
  for (int i = 0; i < 4; ++i) {
    callers.start([this] { link.recoverUnreachableClamd(); });
  }
  callers.join();
  EXPECT_EQ(application.waits, 1);
}

TEST_F(ClamdLinkThreads, RelaunchesACrashedDaemonForEveryCaller) {
  JoinedThreads callers;
  for (int i = 0; i < 3; ++i) {
    callers.start([this] { link.recoverFromCrashedClamd(); });
  }
  callers.join();
  EXPECT_EQ(application.waits, 3);
}

TEST_F(ClamdLinkThreads, PathsMayBeDroppedWhileTheyAreAskedFor) {
  JoinedThreads writer([this] {
    for (int i = 0; i < 200; ++i) {
      link.setDaemonPaths("/a", "/a.conf");
      link.setDaemonPaths(std::nullopt, std::nullopt);
    }
  });
  for (int i = 0; i < 200; ++i) {
    const auto program = link.clamdPATH();
    EXPECT_TRUE(!program || *program == "/a" || *program == folder.path() + "/clamd");
  }
  writer.join();
}

}  // namespace
}  // namespace quillo
