#include <gtest/gtest.h>

#include <QByteArrayList>
#include <QDBusMetaType>
#include <atomic>
#include <future>

#include "platform/linux/session/BusAgentLink.h"
#include "platform/linux/session/ScriptingObject.h"
#include "platform/linux/session/StatusMap.h"
#include "tests/desktop/support/QtEvents.h"
#include "tests/desktop/support/bus/FakeBusObject.h"
#include "tests/fakes/desktop/FakeServices.h"

namespace quillo {
namespace {

constexpr char name[] = "org.vantrel.VantrelQuillo";
constexpr char path[] = "/org/vantrel/VantrelQuillo";

AgentStatus watchingStatus() {
  AgentStatus status;
  status.program = "1.2.3";
  status.state = "watching";
  status.words = "Überwacht 2 Ordner";
  status.attention = "gaps";
  status.filesBeingScanned = 7;
  status.scanningSince = 1700000001;
  status.watchingSince = 1700000000;
  status.watchedFolders = {"/home/anna/", "/home/anna/\xff\n/"};
  status.missingFolders = {"/media/anna/stick"};
  status.placesWithGaps = 1;
  status.definitionsBuilt = 1690000000;
  status.definitionFolder = "/home/anna/.local/\xfe";
  status.updating = true;
  status.engine = "/home/anna/engine";
  status.verdicts = 3;
  status.historyProblem = "the disk is full";
  status.foundRecently = 3;
  status.notScannedRecently = 5'000'000'000;
  return status;
}

// An agent's end on a connection of its own.
struct Agent {
  Agent()
      : object(
            *bus, [] { return 0; }, postToMain) {
    object.statusPublisher().publishStatus([this] {
      ++asked;
      return status;
    });
  }
  void changeTo(const AgentStatus& other) {
    status = other;
    object.statusPublisher().statusChanged();
  }

  TestBus bus;
  AgentStatus status = watchingStatus();
  int asked = 0;
  ScriptingObject object;
};

// Who has the agent's name and is none.
struct Liar {
  Liar() : object(bus, path) {}
  void say(const QVariantMap& map) {
    object.answer("Status", [map](const QDBusMessage& call) {
      return call.createReply(QVariant::fromValue(map));
    });
  }

  TestBus bus;
  FakeBusObject object;
};

class AgentLinkTest : public testing::Test {
 protected:
  BusAgentLink& follow() {
    link.observe([this] { ++changes; });
    return link;
  }
  bool waitForState(const std::string& state) {
    return waitUntil([&] { return link.status() && link.status()->state == state; });
  }

  // Waits in a thread of its own, as a command does in its process.
  Wording refreshElsewhere() {
    std::atomic<bool> isAnswered = false;
    auto answer = std::async(std::launch::async, [&] {
      Wording problem = link.refresh();
      isAnswered = true;
      postToMain([] {});
      return problem;
    });
    EXPECT_TRUE(waitUntil([&] { return isAnswered.load(); }));
    return answer.get();
  }

  TestBus bus;
  FakeApplicationLauncher launcher;
  std::vector<std::string> problems;
  BusAgentLink link{*bus, launcher,
                    [this](const std::string& problem) { problems.push_back(problem); }};
  int changes = 0;
};

TEST_F(AgentLinkTest, GetsEveryFactThatAnAgentStates) {
  Agent agent;
  ASSERT_TRUE(agent.object.claimName());
  follow();
  ASSERT_TRUE(waitForState("watching"));
  EXPECT_EQ(link.status(), watchingStatus());
  EXPECT_EQ(changes, 1);
}

TEST_F(AgentLinkTest, HearsOfAnAgentThatComesLaterAndGoes) {
  follow();
  {
    Agent agent;
    ASSERT_TRUE(agent.object.claimName());
    ASSERT_TRUE(waitForState("watching"));
  }
  EXPECT_TRUE(waitUntil([&] { return link.presence() == AgentPresence::absent; }));
  EXPECT_FALSE(link.status());
}

TEST_F(AgentLinkTest, DoesNotSayThatNoneRunsBeforeTheBusHasSaidSo) {
  EXPECT_EQ(link.presence(), AgentPresence::unknown);
  follow();
  EXPECT_EQ(link.presence(), AgentPresence::unknown);
  EXPECT_TRUE(waitUntil([&] { return link.presence() == AgentPresence::absent; }));
  EXPECT_EQ(changes, 1);
}

TEST_F(AgentLinkTest, HearsOfChangesWithoutAskingAgain) {
  Agent agent;
  ASSERT_TRUE(agent.object.claimName());
  follow();
  ASSERT_TRUE(waitForState("watching"));
  AgentStatus other = watchingStatus();
  other.state = "stopped";
  agent.changeTo(other);
  EXPECT_TRUE(waitForState("stopped"));
  EXPECT_EQ(link.status(), other);
}

TEST_F(AgentLinkTest, HearsTheLastOfManyQuickChangesInFewSignals) {
  Agent agent;
  ASSERT_TRUE(agent.object.claimName());
  follow();
  ASSERT_TRUE(waitForState("watching"));
  AgentStatus other = watchingStatus();
  for (int change = 0; change < 1000; ++change) {
    other.filesBeingScanned = change;
    agent.changeTo(other);
    QCoreApplication::processEvents();
  }
  EXPECT_TRUE(waitUntil([&] { return link.status()->filesBeingScanned == 999; }));
  EXPECT_LT(changes, 50);
}

TEST_F(AgentLinkTest, IsSentNothingWhileNothingChanges) {
  Agent agent;
  ASSERT_TRUE(agent.object.claimName());
  follow();
  ASSERT_TRUE(waitForState("watching"));
  agent.changeTo(watchingStatus());
  AgentStatus other = watchingStatus();
  other.state = "stopped";
  agent.changeTo(other);
  ASSERT_TRUE(waitForState("stopped"));
  EXPECT_EQ(changes, 2);
}

TEST_F(AgentLinkTest, CostsTheAgentNothingWhileNobodyListens) {
  Agent agent;
  ASSERT_TRUE(agent.object.claimName());
  agent.changeTo(watchingStatus());
  {
    TestBus other;
    BusAgentLink once(*other, launcher, [](const std::string&) {});
    once.observe([] {});
    ASSERT_TRUE(waitUntil([&] { return once.status().has_value(); }));
  }
  // Once the agent has noticed that the only one who asked has gone.
  ASSERT_TRUE(waitUntil([&] {
    const int before = agent.asked;
    AgentStatus next = agent.status;
    ++next.verdicts;
    agent.changeTo(next);
    QCoreApplication::processEvents();
    postToMain([] {});
    return agent.asked == before;
  }));
}

TEST_F(AgentLinkTest, GetsTheStatusOfAnAgentThatHadNoneYet) {
  TestBus agentBus;
  ScriptingObject object(
      *agentBus, [] { return 0; }, postToMain);
  ASSERT_TRUE(object.claimName());
  follow();
  ASSERT_TRUE(waitUntil([&] { return !problems.empty(); }));
  EXPECT_FALSE(link.status());
  EXPECT_EQ(link.presence(), AgentPresence::beginning);
  object.statusPublisher().publishStatus([] { return watchingStatus(); });
  object.statusPublisher().statusChanged();
  EXPECT_TRUE(waitForState("watching"));
}

TEST_F(AgentLinkTest, SaysThatAnAgentIsOnlyBeginningWhoeverAsks) {
  TestBus agentBus;
  ScriptingObject object(
      *agentBus, [] { return 0; }, postToMain);
  ASSERT_TRUE(object.claimName());
  EXPECT_EQ(refreshElsewhere().key, "DOCTOR_AGENT_NOT_YET");
}

TEST_F(AgentLinkTest, KeepsTheDefaultsForWhatAnOlderAgentDoesNotSay) {
  Liar older;
  older.say({{"version", 1U}, {"state", "watching"}});
  ASSERT_TRUE(older.object.own(name));
  follow();
  ASSERT_TRUE(waitForState("watching"));
  AgentStatus expected;
  expected.state = "watching";
  EXPECT_EQ(link.status(), expected);
}

TEST_F(AgentLinkTest, PassesOverWhatANewerAgentSaysBesidesAndGivesItsVersion) {
  Liar newer;
  newer.say({{"version", 2U}, {"state", "dreaming"}, {"colour", "blue"}});
  ASSERT_TRUE(newer.object.own(name));
  follow();
  ASSERT_TRUE(waitForState("dreaming"));
  EXPECT_EQ(link.status()->version, 2U);
}

TEST_F(AgentLinkTest, TakesNothingElseForAStatus) {
  qDBusRegisterMetaType<QByteArrayList>();
  const QVariantMap good = {{"version", 1U}};
  const auto with = [&](const char* key, const QVariant& value) {
    QVariantMap map = good;
    map.insert(key, value);
    return map;
  };
  const QString tooLong(20000, QChar('a'));
  const auto tooMany = QVariant::fromValue(QByteArrayList(10001, QByteArray("/a")));
  for (const QVariantMap& map :
       {QVariantMap(), QVariantMap{{"state", "watching"}}, with("version", "1"),
        with("version", 0U), with("state", 3), with("filesBeingScanned", -1),
        with("updating", "yes"), with("watchedFolders", QStringList("/a")),
        with("engine", tooLong.toUtf8()), with("engine", "/a"), with("words", tooLong),
        with("missingFolders", tooMany), with("definitionsBuilt", 1.5)}) {
    Liar liar;
    liar.say(map);
    ASSERT_TRUE(liar.object.own(name));
    problems.clear();
    TestBus other;
    BusAgentLink asking(*other, launcher,
                        [this](const std::string& problem) { problems.push_back(problem); });
    asking.observe([] {});
    ASSERT_TRUE(waitUntil([&] { return !problems.empty(); }));
    EXPECT_FALSE(asking.status());
    EXPECT_EQ(problems.front(), "org.vantrel.VantrelQuillo: what it says of itself is no status");
    ASSERT_TRUE(liar.object.disown(name));
  }
}

TEST_F(AgentLinkTest, DoesNotBelieveAnAnswerOfAnotherShape) {
  Liar liar;
  liar.object.answerWith("Status", {QString("watching"), 1U});
  ASSERT_TRUE(liar.object.own(name));
  follow();
  ASSERT_TRUE(waitUntil([&] { return !problems.empty(); }));
  EXPECT_FALSE(link.status());
  EXPECT_EQ(link.presence(), AgentPresence::silent);
}

TEST_F(AgentLinkTest, DoesNotBelieveSignalsOfAnybodyElse) {
  Agent agent;
  ASSERT_TRUE(agent.object.claimName());
  follow();
  ASSERT_TRUE(waitForState("watching"));
  TestBus stranger;
  AgentStatus lie = watchingStatus();
  lie.state = "stopped";
  QDBusMessage signal = QDBusMessage::createSignal(path, name, "StatusChanged");
  signal << statusMap(lie);
  stranger->send(signal);
  AgentStatus truth = watchingStatus();
  truth.verdicts = 99;
  agent.changeTo(truth);
  ASSERT_TRUE(waitUntil([&] { return link.status() == truth; }));
  EXPECT_EQ(changes, 2);
}

TEST_F(AgentLinkTest, KnowsWithoutAnEventLoopThatNoneRunsOrThatItCannotBeAsked) {
  EXPECT_TRUE(link.refresh().empty());
  EXPECT_FALSE(link.status());
  BusAgentLink nowhere(QDBusConnection("there is no such connection"), launcher,
                       [](const std::string&) {});
  EXPECT_EQ(nowhere.refresh().key, "DOCTOR_AGENT_NO_BUS");
}

TEST_F(AgentLinkTest, AnswersWhoeverHasNoEventLoop) {
  Agent agent;
  ASSERT_TRUE(agent.object.claimName());
  EXPECT_TRUE(refreshElsewhere().empty());
  EXPECT_EQ(link.status(), watchingStatus());
}

TEST_F(AgentLinkTest, SaysInWordsWhyAnAgentDoesNotAnswer) {
  Liar liar;
  ASSERT_TRUE(liar.object.own(name));
  const std::pair<const char*, const char*> keys[] = {
      {"org.freedesktop.DBus.Error.AccessDenied", "DOCTOR_AGENT_NOT_ALLOWED"},
      {"org.freedesktop.DBus.Error.TimedOut", "DOCTOR_AGENT_SILENT"},
      {"org.freedesktop.DBus.Error.Spawn.ChildExited", "DOCTOR_AGENT_ENDED"},
      {"org.freedesktop.DBus.Error.Spawn.ExecFailed", "DOCTOR_AGENT_ABSENT"},
      {"org.example.Other", ""}};
  for (const auto& [error, key] : keys) {
    liar.object.answer("Status", [error = error](const QDBusMessage& call) {
      return call.createErrorReply(error, "not today");
    });
    const Wording problem = refreshElsewhere();
    EXPECT_EQ(problem.key, key) << error;
    EXPECT_EQ(problem.values, std::vector<std::string>{std::string(name) + ": not today"}) << error;
  }
}

TEST_F(AgentLinkTest, HasTheLauncherStartAnAgentThatTheBusDoesNotKnow) {
  EXPECT_TRUE(link.start());
  EXPECT_EQ(launcher.launched, std::vector<std::string>{name});
  launcher.accepts = false;
  EXPECT_FALSE(link.start());
}

TEST_F(AgentLinkTest, AwaitsAnAgentThatItStartedUntilItComes) {
  follow();
  ASSERT_TRUE(waitUntil([&] { return link.presence() == AgentPresence::absent; }));
  ASSERT_TRUE(link.start());
  EXPECT_TRUE(link.lastStart().isUnderWay);
  Agent agent;
  ASSERT_TRUE(agent.object.claimName());
  ASSERT_TRUE(waitForState("watching"));
  EXPECT_EQ(link.lastStart(), AgentStart());
}

TEST_F(AgentLinkTest, TellsOfAnAgentThatDoesNotComeInTime) {
  BusAgentLink impatient(
      *bus, launcher, [this](const std::string& problem) { problems.push_back(problem); },
      std::chrono::milliseconds(20));
  int told = 0;
  impatient.observe([&] { ++told; });
  ASSERT_TRUE(waitUntil([&] { return impatient.presence() == AgentPresence::absent; }));
  told = 0;
  ASSERT_TRUE(impatient.start());
  ASSERT_TRUE(waitUntil([&] { return !impatient.lastStart().isUnderWay; }));
  EXPECT_EQ(impatient.lastStart().problem.key, "DOCTOR_AGENT_LATE");
  EXPECT_EQ(told, 2);
  EXPECT_EQ(problems.size(), 1U);
}

TEST_F(AgentLinkTest, StartsNobodyByAsking) {
  follow();
  link.refresh();
  EXPECT_TRUE(launcher.launched.empty());
}

}  // namespace
}  // namespace quillo
