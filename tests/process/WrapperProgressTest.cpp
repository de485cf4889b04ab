// How the tree's scanner says how far it has come, and how it holds for whoever started it.

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/socket.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <future>
#include <optional>

#include "clamav/VerdictChannel.h"
#include "posix/ChildProcess.h"
#include "posix/Text.h"
#include "tests/process/FakeClientTree.h"
#include "tests/support/Record.h"
#include "tests/support/Threads.h"

namespace quillo::wrapper {
namespace {

using Question = SessionClamd::Question;

class WrapperProgress : public testing::Test {
 protected:
  ~WrapperProgress() override {
    if (child) {
      child->endAtOnce();
    }
    waiting.join();
  }

  // Scans as a program does that has or has not asked for progress.
  void start(const std::vector<std::string>& words, bool asks = true) {
    channel = VerdictReceiver::make();
    ASSERT_TRUE(channel);
    channel->setProgressHandler([this](const ScanProgress& progress) { said.add(progress); });
    LaunchRequest request{tree.program(), {"--stdout", "--no-summary"}};
    request.withItsChildren = true;
    request.arguments.insert(request.arguments.end(), words.begin(), words.end());
    request.descriptorFour = channel->scannersEnd();
    request.environment = environmentWith(verdictChannelVariable, "4");
    if (asks) {
      request.environment->push_back(std::string(scanProgressVariable) + "=1");
    }
    child.emplace(request);
    channel->letGo();
    waiting.start([this] {
      status = child->waitUntilExit(
          [this](std::string_view chunk) {
            output += chunk;
            return true;
          },
          {channel->descriptor(), [this] { return channel->drain(); }});
    });
  }
  int end() {
    waiting.join();
    channel->drain();
    return status;
  }
  std::string folderOf(int files) const {
    for (int number = 0; number < files; ++number) {
      tree.file("in/clean" + std::to_string(number));
    }
    return tree.files().at("in");
  }
  static int niceness(pid_t process) {
    return getpriority(PRIO_PROCESS, static_cast<id_t>(process));
  }
  // The state of the scanner's process (proc(5)).
  char state() const {
    const std::string stat =
        TemporaryFolder::read("/proc/" + std::to_string(child->processIdentifier()) + "/stat");
    return stat.at(stat.rfind(')') + 2);
  }

  FakeClientTree tree;
  std::optional<VerdictReceiver> channel;
  Record<ScanProgress> said;
  std::string output;
  std::atomic<int> status = -1;
  std::optional<ChildProcess> child;
  JoinedThreads waiting;
};

TEST_F(WrapperProgress, CountsWhatIsCleanFoundAndNotScannedApartAtTheEnd) {
  tree.files().write("in/clean", "clean");
  tree.files().write("in/deep/infected", "infected");
  tree.files().write("in/large", std::string(1025, 'x'));
  start({tree.files().at("in")});
  EXPECT_EQ(end(), 1);
  const ScanProgress last = said.last();
  EXPECT_EQ(last.clean, 1U);
  EXPECT_EQ(last.found, 1U);
  EXPECT_EQ(last.notScanned, 1U);
  EXPECT_EQ(last.files(), 3U);
  EXPECT_EQ(last.bytes, 5U + 8U + 1025U);
  EXPECT_EQ(last.cleanBytes, 5U);
  EXPECT_FALSE(last.holds);
}

TEST_F(WrapperProgress, IsOfTrueBytes) {
  const std::string path = tree.files().write("\xFF", "clean");
  start({path});
  end();
  EXPECT_EQ(said.last().path, path);
}

TEST_F(WrapperProgress, IsNotSaidToWhoDidNotAsk) {
  start({folderOf(3)}, false);
  EXPECT_EQ(end(), 0);
  EXPECT_EQ(said(), std::vector<ScanProgress>());
}

// sched(7): what nobody waits for has the niceness of the tree's daemon.
TEST_F(WrapperProgress, HasAScanKeepItsWeightBesideOtherWork) {
  tree.daemon([](const Question&) { return ""; });
  start({tree.file("clean")});
  ASSERT_TRUE(tree.daemon().awaitSession());
  EXPECT_EQ(niceness(child->processIdentifier()), niceness(0));
}

TEST_F(WrapperProgress, IsNotAskedForByAScanThatGivesWayToOtherWork) {
  tree.daemon([](const Question&) { return ""; });
  start({tree.file("clean")}, false);
  ASSERT_TRUE(tree.daemon().awaitSession());
  EXPECT_EQ(niceness(child->processIdentifier()), std::max(niceness(0), 15));
}

TEST_F(WrapperProgress, IsSaidAFewTimesASecondAtMost) {
  const std::string folder = folderOf(2000);
  const auto begin = std::chrono::steady_clock::now();
  start({folder});
  EXPECT_EQ(end(), 0);
  const auto quarters = (std::chrono::steady_clock::now() - begin) / std::chrono::milliseconds(250);
  EXPECT_LE(said().size(), static_cast<std::size_t>(quarters) + 2);
  EXPECT_EQ(said.last().clean, 2000U);
}

// A scan of a hundred files that is held up when the daemon has the tenth.
class WrapperPause : public WrapperProgress {
 protected:
  void startAndPause() {
    tree.addToDaemon("CommandReadTimeout 1\n");
    daemon = &tree.daemon([this](const Question& question) -> std::optional<std::string> {
      if (++questions == 10) {
        tenth.set_value();
        answer.get_future().wait();
      }
      return SessionClamd::truth(question);
    });
    start({folderOf(100)});
    tenth.get_future().wait();
    child->signal(SIGTSTP);
    answer.set_value();
    ASSERT_TRUE(said.waitUntil([](const auto& all) { return !all.empty() && all.back().holds; }));
  }
  ~WrapperPause() override {
    child->endAtOnce();
    waiting.join();
    tree.endDaemon();
  }

  SessionClamd* daemon = nullptr;
  std::atomic<int> questions = 0;
  std::promise<void> tenth;
  std::promise<void> answer;
};

TEST_F(WrapperPause, BeginsWhenWhatIsUnderWayHasBeenAnswered) {
  startAndPause();
  EXPECT_LE(questions, 11);
  EXPECT_EQ(said.last().clean, static_cast<std::uint64_t>(questions));
}

TEST_F(WrapperPause, KeepsTheSessionAndHandsOutNothing) {
  startAndPause();
  const int before = daemon->pings();
  const int asked = questions;
  EXPECT_TRUE(awaitThat([&] { return daemon->pings() >= before + 3; }));
  EXPECT_EQ(questions, asked);
  EXPECT_EQ(daemon->sessions(), 1);
  EXPECT_NE(state(), 'T');
}

TEST_F(WrapperPause, EndsWithEveryFileScannedOnce) {
  startAndPause();
  child->signal(SIGCONT);
  EXPECT_EQ(end(), 0);
  EXPECT_EQ(said.last().clean, 100U);
  EXPECT_FALSE(said.last().holds);
  EXPECT_EQ(questions, 100);
  EXPECT_EQ(daemon->sessions(), 1);
  EXPECT_EQ(output, tree.files().at("in") + ": OK\n");
}

TEST_F(WrapperPause, CanComeAgain) {
  startAndPause();
  child->signal(SIGCONT);
  child->signal(SIGTSTP);
  child->signal(SIGCONT);
  EXPECT_EQ(end(), 0);
  EXPECT_EQ(said.last().clean, 100U);
}

TEST_F(WrapperPause, EndsWithWhoeverAskedForIt) {
  startAndPause();
  shutdown(channel->descriptor(), SHUT_RDWR);
  EXPECT_EQ(end(), 2);
}

TEST_F(WrapperPause, SurvivesADaemonThatWasLaunchedAgainMeanwhile) {
  startAndPause();
  const int before = questions;
  tree.daemon(SessionClamd::truth);
  child->signal(SIGCONT);
  EXPECT_EQ(end(), 0) << output;
  EXPECT_EQ(said.last().clean, 100U);
  EXPECT_LT(before, 100);
}

TEST_F(WrapperProgress, IsStoppedLikeAnyProcessForWhoDidNotAsk) {
  std::promise<void> asked;
  std::promise<void> answer;
  std::atomic<bool> isFirst = true;
  tree.daemon([&](const Question& question) -> std::optional<std::string> {
    if (isFirst.exchange(false)) {
      asked.set_value();
      answer.get_future().wait();
    }
    return SessionClamd::truth(question);
  });
  start({folderOf(3)}, false);
  asked.get_future().wait();
  child->signal(SIGTSTP);
  EXPECT_TRUE(awaitThat([&] { return state() == 'T'; }));
  child->signal(SIGCONT);
  answer.set_value();
  EXPECT_EQ(end(), 0);
  tree.endDaemon();
}

}  // namespace
}  // namespace quillo::wrapper
