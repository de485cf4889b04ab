// What the tree's scanner says beside its report, and when it moves and ends.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <functional>
#include <map>
#include <optional>
#include <utility>

#include "clamav/VerdictChannel.h"
#include "posix/Text.h"
#include "tests/process/FakeClientTree.h"
#include "tests/support/Waiting.h"

namespace quillo::wrapper {
namespace {

using Kind = Verdict::Kind;
using Whereabouts = Verdict::Whereabouts;

// Runs the program as the agent does, with its channel and its report in this process's hands.
class WrapperChannel : public testing::Test {
 protected:
  ~WrapperChannel() override {
    if (child > 0) {
      kill(child, SIGKILL);
      waitpid(child, nullptr, 0);
    }
  }

  void start(const std::vector<std::string>& words) {
    channel = VerdictReceiver::make();
    ASSERT_TRUE(channel);
    int ends[2];
    ASSERT_EQ(pipe2(ends, O_CLOEXEC), 0);
    report.reset(ends[0]);
    UniqueFd writer(ends[1]);
    std::vector<std::string> all = {tree.program()};
    all.insert(all.end(), words.begin(), words.end());
    std::vector<char*> argv;
    for (std::string& word : all) {
      argv.push_back(word.data());
    }
    argv.push_back(nullptr);
    const std::string number = "20";
    child = fork();
    if (child == 0) {
      dup2(writer.get(), STDOUT_FILENO);
      dup2(channel->scannersEnd(), 20);
      setenv(verdictChannelVariable, number.c_str(), 1);
      execv(argv[0], argv.data());
      _exit(127);
    }
    channel->letGo();
  }

  // The next piece of the report; "" at its end.
  std::string piece() {
    std::array<char, 4096> bytes;
    const ssize_t count = read(report.get(), bytes.data(), bytes.size());
    return std::string(bytes.data(), static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
  }

  std::vector<Verdict> readAll(const std::function<void(const std::string& line)>& seen = nullptr) {
    std::vector<Verdict> verdicts;
    for (std::string text; !(text = piece()).empty();) {
      for (const std::string_view line : split(text, '\n')) {
        if (line.empty()) {
          continue;
        }
        if (seen) {
          seen(std::string(line));
        }
        verdicts.push_back(channel->understand(line));
      }
    }
    return verdicts;
  }

  int end() {
    int status = 0;
    EXPECT_GT(waitpid(std::exchange(child, -1), &status, 0), 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
  }

  std::vector<std::string> words(const std::vector<std::string>& paths) const {
    return tree.listWords(paths);
  }

  FakeClientTree tree;
  std::optional<VerdictReceiver> channel;
  UniqueFd report;
  pid_t child = -1;
};

TEST_F(WrapperChannel, ReportsTheTrueBytesOfAName) {
  const std::string clean = tree.files().write("cl\xFF\\x41", "x");
  const std::string infected = tree.files().write("in\xFF: x", "infected");
  start(words({clean, infected, tree.files().at("gone\x01")}));
  const std::vector<Verdict> verdicts = readAll();
  ASSERT_EQ(verdicts.size(), 3U);
  EXPECT_EQ(verdicts[0].kind, Kind::notScanned);
  EXPECT_EQ(verdicts[0].path, tree.files().at("gone\x01"));
  EXPECT_EQ(verdicts[0].reason, "no such file or directory");
  EXPECT_EQ(verdicts[1].kind, Kind::clean);
  EXPECT_EQ(verdicts[1].path, clean);
  EXPECT_EQ(verdicts[2].kind, Kind::infected);
  EXPECT_EQ(verdicts[2].path, infected);
  EXPECT_EQ(verdicts[2].threat, "Fake.Name");
  EXPECT_EQ(verdicts[2].whereabouts, Whereabouts::inPlace);
  EXPECT_EQ(end(), 1);
}

TEST_F(WrapperChannel, ReportsTheFileBehindALink) {
  const std::string target = tree.file("infected");
  const std::string link = tree.files().link("link", "infected");
  start(words({link}));
  const std::vector<Verdict> verdicts = readAll();
  ASSERT_EQ(verdicts.size(), 2U);
  EXPECT_EQ(verdicts[0].path, link);
  EXPECT_EQ(verdicts[0].target, target);
  EXPECT_EQ(verdicts[1].kind, Kind::message);
  EXPECT_EQ(verdicts[1].line, link + ": leads to '" + target + "'");
}

TEST_F(WrapperChannel, ReportsWhichLimitKeptAFileFromBeingScanned) {
  const std::string large = tree.files().write("large", std::string(1025, 'x'));
  start(words({tree.file("limit"), large, tree.files().at("gone")}));
  std::map<std::string, Verdict> verdicts;
  for (const Verdict& verdict : readAll()) {
    verdicts[verdict.path] = verdict;
  }
  EXPECT_EQ(verdicts[large].limit, Verdict::Limit::fileSize);
  EXPECT_EQ(verdicts[large].largestFile, 1024U);
  EXPECT_EQ(verdicts[tree.files().at("limit")].limit, Verdict::Limit::contents);
  EXPECT_EQ(verdicts[tree.files().at("gone")].kind, Kind::notScanned);
  EXPECT_EQ(verdicts[tree.files().at("gone")].limit, Verdict::Limit::none);
}

TEST_F(WrapperChannel, ReportsWhichFilesTheDaemonHadWhenItWent) {
  tree.addToDaemon("MaxThreads 3\n");
  SessionClamd::Manners manners;
  manners.lastVisit = true;
  int asked = 0;
  tree.daemon(
      [&](const SessionClamd::Question&) {
        return ++asked < 6 ? std::optional<std::string>("") : std::nullopt;
      },
      manners);
  std::vector<std::string> paths;
  for (int file = 0; file < 9; ++file) {
    paths.push_back(tree.file("clean" + std::to_string(file)));
  }
  paths.push_back(tree.files().at("gone"));
  std::vector<std::string> all = words(paths);
  all.insert(all.begin(), "--multiscan");
  start(all);
  std::map<Verdict::DaemonGone, int> files;
  for (const Verdict& verdict : readAll()) {
    files[verdict.daemonGone] += verdict.kind == Kind::notScanned ? 1 : 0;
  }
  EXPECT_EQ(files[Verdict::DaemonGone::meanwhile], 6);
  EXPECT_EQ(files[Verdict::DaemonGone::before], 3);
  EXPECT_EQ(files[Verdict::DaemonGone::no], 1);
  tree.endDaemon();
}

TEST_F(WrapperChannel, ReportsWantThatPassesAsTheDaemons) {
  const std::map<std::string, Verdict::DaemonGone> expected = {
      {"Can't write to file", Verdict::DaemonGone::before},
      {"Can't allocate memory", Verdict::DaemonGone::before},
      {"Can't read file", Verdict::DaemonGone::no}};
  for (const auto& [said, gone] : expected) {
    tree.daemon([&, text = said + " ERROR"](const SessionClamd::Question& question) {
      return SessionClamd::answer(question.number, text);
    });
    start(words({tree.file("archive")}));
    const auto verdicts = readAll();
    ASSERT_EQ(verdicts.size(), 1U) << said;
    EXPECT_EQ(verdicts.front().reason, said);
    EXPECT_EQ(verdicts.front().daemonGone, gone) << said;
  }
  tree.endDaemon();
}

TEST_F(WrapperChannel, ReportsThatTheDaemonHadGoneOfTheFolderAsWell) {
  tree.endDaemon();
  tree.file("clean");
  start({"--stdout", tree.files().path()});
  std::map<std::string, Verdict> verdicts;
  for (const Verdict& verdict : readAll()) {
    verdicts[verdict.path] = verdict;
  }
  EXPECT_EQ(verdicts[tree.files().path()].kind, Kind::notScanned);
  EXPECT_EQ(verdicts[tree.files().path()].daemonGone, Verdict::DaemonGone::before);
}

TEST_F(WrapperChannel, LeavesTheTimesOfItsSummaryToAReaderWhoHasNoClock) {
  const std::string file = tree.file("clean");
  start({"--stdout", file});
  std::string all;
  readAll([&](const std::string& line) { all += line + "\n"; });
  EXPECT_NE(all.find("Infected files: 0\n"), std::string::npos);
  EXPECT_EQ(all.find("Date"), std::string::npos) << all;
  EXPECT_NE(tree.run({"--stdout", file}).output.find("Start Date: "), std::string::npos);
}

TEST_F(WrapperChannel, MovesAFileOnceItsLineWasTaken) {
  const std::string infected = tree.file("infected");
  std::vector<std::string> all = words({infected});
  all.push_back("--move=" + tree.files().at("q"));
  start(all);
  const std::string first = piece();
  EXPECT_EQ(first, infected + ": Fake.Name FOUND\n");
  // It does nothing until the line is taken: the report stays empty.
  EXPECT_FALSE(awaitReadable(report.get(), std::chrono::milliseconds(100)));
  EXPECT_TRUE(TemporaryFolder::exists(infected));
  const Verdict verdict = channel->understand(trimmed(first));
  EXPECT_EQ(verdict.whereabouts, Whereabouts::moved);
  EXPECT_EQ(verdict.destination, tree.files().at("q/infected"));
  EXPECT_FALSE(TemporaryFolder::exists(infected));
  const std::vector<Verdict> verdicts = readAll();
  ASSERT_EQ(verdicts.size(), 1U);
  EXPECT_EQ(verdicts[0].kind, Kind::moved);
  EXPECT_EQ(verdicts[0].path, infected);
  EXPECT_EQ(end(), 1);
}

TEST_F(WrapperChannel, ReportsThatAFileCouldNotBeMoved) {
  const std::string infected = tree.files().write("q/infected", "infected");
  std::vector<std::string> all = words({infected});
  all.push_back("--move=" + tree.files().at("q"));
  start(all);
  const std::vector<Verdict> verdicts = readAll();
  ASSERT_EQ(verdicts.size(), 2U);
  EXPECT_EQ(verdicts[0].whereabouts, Whereabouts::notMoved);
  EXPECT_EQ(verdicts[0].reason, "it is in that folder already");
  EXPECT_EQ(verdicts[1].kind, Kind::notMoved);
}

TEST_F(WrapperChannel, ReportsThatTheMoveFolderIsOfNoUse) {
  const std::string infected = tree.file("infected");
  std::vector<std::string> all = words({infected});
  all.push_back("--move=" + tree.file("file"));
  start(all);
  const std::vector<Verdict> verdicts = readAll();
  ASSERT_EQ(verdicts.size(), 2U);
  EXPECT_EQ(verdicts[0].kind, Kind::message);
  EXPECT_EQ(verdicts[1].kind, Kind::infected);
  EXPECT_EQ(verdicts[1].whereabouts, Whereabouts::notMoved);
  EXPECT_EQ(verdicts[1].reason, "not a directory");
}

TEST_F(WrapperChannel, MovesNothingForAReaderThatHasGone) {
  const std::string infected = tree.file("infected");
  std::vector<std::string> all = words({infected});
  all.push_back("--move=" + tree.files().at("q"));
  start(all);
  EXPECT_EQ(piece(), infected + ": Fake.Name FOUND\n");
  channel.reset();
  end();
  EXPECT_TRUE(TemporaryFolder::exists(infected));
}

TEST_F(WrapperChannel, EndsWithWhoeverHoldsItsOtherEnd) {
  tree.daemon([](const SessionClamd::Question&) { return ""; });
  start(words({tree.file("clean")}));
  EXPECT_TRUE(tree.daemon().awaitSession());
  channel.reset();
  EXPECT_EQ(end(), 2);
}

TEST_F(WrapperChannel, EndsWithTheReaderOfItsReport) {
  tree.daemon([](const SessionClamd::Question&) { return ""; });
  start(words({tree.file("clean")}));
  EXPECT_TRUE(tree.daemon().awaitSession());
  report.reset();
  EXPECT_EQ(end(), 2);
}

// The client that takes over ends with the starter too.
TEST_F(WrapperChannel, EndsTheRealClientWithTheStarter) {
  const UniqueFd lifeline(open(tree.lifeline().c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
  const pid_t starter = fork();
  if (starter == 0) {
    start({"--version", "hang"});
    pause();
  }
  ASSERT_TRUE(awaitReadable(lifeline.get()));
  kill(starter, SIGKILL);
  waitpid(starter, nullptr, 0);
  pollfd client = {lifeline.get(), 0, 0};
  EXPECT_EQ(poll(&client, 1, 20000), 1);
  EXPECT_NE(client.revents & POLLHUP, 0);
}

}  // namespace
}  // namespace quillo::wrapper
