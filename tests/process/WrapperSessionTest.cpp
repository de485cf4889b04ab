// A daemon that lies, dies or is silent: no file is called clean whose answer did not come.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <functional>
#include <future>
#include <set>
#include <utility>

#include "posix/Text.h"
#include "tests/process/FakeClientTree.h"
#include "tests/support/ManualClock.h"
#include "tools/clamdscan/DescriptorScan.h"

namespace quillo::wrapper {
namespace {

using namespace std::chrono_literals;
using Question = SessionClamd::Question;
using Said = std::optional<std::string>;

class WrapperSession : public testing::Test {
 protected:
  std::vector<std::string> cleanFiles(int count) const {
    std::vector<std::string> paths;
    for (int i = 0; i < count; ++i) {
      paths.push_back(tree.file("clean" + std::to_string(i)));
    }
    return paths;
  }
  static bool has(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
  }
  static long count(const std::string& text, std::string_view part) {
    long found = 0;
    for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) {
      ++found;
    }
    return found;
  }
  std::string unreachable() const {
    return "ERROR: Could not connect to clamd on LocalSocket " + tree.socket() + ": ";
  }
  static std::string lost(const std::string& path, const std::string& reason) {
    return path + ": Not scanned: " + reason + "\n";
  }

  FakeClientTree tree;
};

// Ends the daemon before what its script writes to is gone.
struct DaemonEnds {
  FakeClientTree& tree;
  ~DaemonEnds() { tree.endDaemon(); }
};

// Answers nothing before it has so many files, and then all at once, the last first.
struct AllAtOnce {
  const int files;
  int waiting = 0;
  int most = 0;
  std::string answers = {};

  Said operator()(const Question& question) {
    answers = SessionClamd::truth(question) + answers;
    most = std::max(most, ++waiting);
    if (waiting < files) {
      return "";
    }
    waiting = 0;
    return std::exchange(answers, "");
  }
};

TEST_F(WrapperSession, HasAsManyFilesUnderWayAsTheDaemonHasThreads) {
  tree.addToDaemon("MaxThreads 7\n");
  AllAtOnce daemon{7};
  const DaemonEnds ends{tree};
  tree.daemon(std::ref(daemon));
  const std::vector<std::string> paths = cleanFiles(21);
  const WrapperRun run = tree.scan(paths, {"--multiscan"});
  EXPECT_EQ(count(run.output, ": OK\n"), 21);
  EXPECT_EQ(run.status, 0);
}

TEST_F(WrapperSession, HasOneFileScannedAndOneWaitingWithoutMultiscan) {
  AllAtOnce daemon{2};
  const DaemonEnds ends{tree};
  tree.daemon(std::ref(daemon));
  const std::vector<std::string> paths = cleanFiles(10);
  std::string expected;
  for (const std::string& path : paths) {
    expected += path + ": OK\n";
  }
  EXPECT_EQ(tree.scan(paths).output, expected);  // in their order all the same
  tree.endDaemon();
  EXPECT_EQ(daemon.most, 2);
}

TEST_F(WrapperSession, SendsNoMoreThanTheQueueTakes) {
  tree.addToDaemon("MaxThreads 7\nMaxQueue 3\nCommandReadTimeout 1\n");
  // All answers wait for the first PING, which comes when nothing more can be sent.
  SessionClamd::Manners manners;
  manners.pongsBeforeAnswers = 1;
  std::atomic<const SessionClamd*> daemon = nullptr;
  int sent = 0;
  const DaemonEnds ends{tree};
  daemon = &tree.daemon(
      [&](const Question& question) {
        sent += daemon.load()->pings() == 0 ? 1 : 0;
        return SessionClamd::truth(question);
      },
      manners);
  EXPECT_EQ(tree.scan(cleanFiles(9), {"--multiscan"}).status, 0);
  tree.endDaemon();
  EXPECT_EQ(sent, 3);
}

TEST_F(WrapperSession, GivesEachFileItsOwnAnswerInWhateverOrderTheyCome) {
  tree.addToDaemon("MaxThreads 4\n");
  AllAtOnce daemon{4};
  const DaemonEnds ends{tree};
  tree.daemon(std::ref(daemon));
  std::vector<std::string> paths;
  std::set<std::string> expected;
  for (int i = 0; i < 40; ++i) {
    const bool bad = i % 3 == 0;
    paths.push_back(tree.file((bad ? "infected" : "clean") + std::to_string(i)));
    expected.insert(paths.back() + (bad ? ": Fake.Name FOUND" : ": OK"));
  }
  const WrapperRun run = tree.scan(paths, {"--multiscan"});
  std::set<std::string> lines;
  for (const std::string_view line : split(run.output, '\n')) {
    if (!line.empty()) {
      lines.emplace(line);
    }
  }
  EXPECT_EQ(lines, expected);
}

TEST_F(WrapperSession, BelievesNoDaemonThatAnswersTwice) {
  tree.daemon([](const Question& question) -> Said {
    return SessionClamd::truth(question) + SessionClamd::answer(question.number, "OK");
  });
  const std::string infected = tree.file("infected");
  const WrapperRun run = tree.scan({infected, tree.file("clean")});
  EXPECT_EQ(count(run.output, infected), 1) << run.output;
  EXPECT_TRUE(has(run.output, infected + ": Fake.Name FOUND\n")) << run.output;
}

TEST_F(WrapperSession, BelievesNoAnswerToWhatWasNeverAsked) {
  // Every number is that of the next file: a daemon that counts in another way.
  tree.daemon([](const Question& question) -> Said {
    return SessionClamd::answer(question.number + 1, "OK");
  });
  const std::string path = tree.file("infected");
  EXPECT_EQ(tree.scan({path}).output, lost(path, "the daemon's answers do not fit its questions"));
}

TEST_F(WrapperSession, BelievesNoGarbage) {
  for (const std::string& garbage :
       {std::string("rubbish\0", 8), std::string("1: OK\0", 6), std::string("1: fd[9]: what\0", 15),
        std::string("1: PONG\0", 8), std::string("\0", 1), std::string("1: fd[9]:  FOUND\0", 17),
        std::string("99999999999999999999: fd[9]: OK\0", 32), std::string(70000, 'x')}) {
    const DaemonEnds ends{tree};
    tree.daemon([&](const Question&) -> Said { return garbage; });
    const std::string path = tree.file("clean");
    const WrapperRun run = tree.scan({path});
    EXPECT_EQ(run.output, lost(path, "the daemon's answers do not fit its questions"));
    EXPECT_EQ(run.status, 2);
  }
}

TEST_F(WrapperSession, BelievesNoAnswerWithoutItsEnd) {
  tree.addToDaemon("CommandReadTimeout 1\n");
  tree.daemon([](const Question& question) -> Said {
    const std::string whole = SessionClamd::truth(question);
    return question.content == "clean0" ? whole.substr(0, whole.size() - 1) : whole;
  });
  const std::vector<std::string> paths = cleanFiles(2);
  const WrapperRun run = tree.scan(paths);
  EXPECT_EQ(run.output,
            lost(paths[0], "the daemon's answers do not fit its questions") + paths[1] + ": OK\n");
}

TEST_F(WrapperSession, AsksOnceMoreAfterASessionWasLost) {
  tree.daemon([](const Question& question) -> Said {
    return question.session == 1 && question.number == 6 ? Said() : SessionClamd::truth(question);
  });
  const std::vector<std::string> paths = cleanFiles(20);
  const WrapperRun run = tree.scan(paths);
  EXPECT_EQ(count(run.output, ": OK\n"), 20);
  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(tree.daemon().sessions(), 2);
}

TEST_F(WrapperSession, LosesOnlyTheFileThatEndsEverySession) {
  tree.addToDaemon("MaxThreads 5\n");
  tree.daemon([](const Question& question) -> Said {
    return question.content == "poison" ? Said() : SessionClamd::truth(question);
  });
  std::vector<std::string> paths = cleanFiles(10);
  paths.insert(paths.begin() + 4, tree.file("poison"));
  const WrapperRun run = tree.scan(paths, {"--multiscan"});
  EXPECT_EQ(count(run.output, ": OK\n"), 10) << run.output;
  EXPECT_TRUE(has(run.output, lost(paths[4], "no reply from clamd")));
  EXPECT_EQ(run.status, 2);
}

TEST_F(WrapperSession, AsksNoMoreOfADaemonThatLosesEverySession) {
  tree.daemon([](const Question&) -> Said { return std::nullopt; });
  const std::vector<std::string> paths = cleanFiles(100);
  const WrapperRun run = tree.scan(paths, {"--multiscan"});
  EXPECT_EQ(count(run.output, ": Not scanned: no reply from clamd\n"), 100) << run.output;
  EXPECT_LT(tree.daemon().sessions(), 10);
}

TEST_F(WrapperSession, SaysInTheClientsWordsThatTheDaemonDiedWithFiftyUnderWay) {
  tree.addToDaemon("MaxThreads 50\n");
  SessionClamd::Manners manners;
  manners.lastVisit = true;
  int asked = 0;
  const DaemonEnds ends{tree};
  tree.daemon([&](const Question&) -> Said { return ++asked < 50 ? Said("") : Said(); }, manners);
  const std::vector<std::string> paths = cleanFiles(60);
  const WrapperRun run = tree.scan(paths, {"--multiscan"});
  tree.endDaemon();
  EXPECT_EQ(asked, 50);
  EXPECT_EQ(run.output.rfind("ERROR: Clamd closed the connection before scanning all files.\n" +
                                 unreachable() + "Connection refused\n",
                             0),
            0U)
      << run.output;
  EXPECT_EQ(count(run.output, ": Not scanned: the daemon cannot be reached\n"), 60);
  EXPECT_EQ(count(run.output, "ERROR: "), 2);
  EXPECT_EQ(run.status, 2);
}

TEST_F(WrapperSession, SaysOnceThatThereIsNoDaemon) {
  tree.endDaemon();
  const std::vector<std::string> paths = cleanFiles(3);
  const WrapperRun run = tree.scan(paths);
  EXPECT_EQ(run.output, unreachable() + "Connection refused\n" +
                            lost(paths[0], "the daemon cannot be reached") +
                            lost(paths[1], "the daemon cannot be reached") +
                            lost(paths[2], "the daemon cannot be reached"));
}

TEST_F(WrapperSession, EndsSomeTimeWithADaemonThatNeverAnswers) {
  SessionClamd::Manners dead;
  dead.pongs = false;
  dead.alive = false;
  tree.daemon([](const Question&) -> Said { return ""; }, dead);
  const std::vector<std::string> paths = cleanFiles(2);
  const WrapperRun run = tree.scanWithPatience(paths, 200ms);
  EXPECT_EQ(run.output, "ERROR: clamd on LocalSocket " + tree.socket() +
                            " gave no sign of life for 0 seconds\n" +
                            lost(paths[0], "the scanner made no progress") +
                            lost(paths[1], "the scanner made no progress"));
  EXPECT_EQ(run.status, 2);
}

TEST_F(WrapperSession, EndsSomeTimeWithADaemonThatAnswersByteByByte) {
  tree.addToDaemon("CommandReadTimeout 1\n");
  SessionClamd::Manners manners;
  manners.drips = true;
  tree.daemon([](const Question&) -> Said { return ""; }, manners);
  const std::string path = tree.file("clean");
  const WrapperRun run = tree.scanWithPatience({path}, 600ms);
  EXPECT_EQ(run.output, lost(path, "the scanner made no progress"));
}

TEST_F(WrapperSession, GivesUpASessionThatIsDeadInADaemonThatLives) {
  SessionClamd::Manners manners;
  manners.pongs = false;
  const DaemonEnds ends{tree};
  tree.daemon(
      [](const Question& question) -> Said {
        return question.session == 1 ? "" : SessionClamd::truth(question);
      },
      manners);
  const std::vector<std::string> paths = cleanFiles(3);
  const WrapperRun run = tree.scanWithPatience(paths, 200ms);
  EXPECT_EQ(count(run.output, ": OK\n"), 3) << run.output;
}

TEST_F(WrapperSession, WaitsForADaemonThatIsBusyWithOthersWork) {
  const std::string path = tree.file("clean");
  tree.addToDaemon("CommandReadTimeout 1\nMaxScanTime 0\n");
  // Its answer comes with the eighth sign of life, long after the patience.
  SessionClamd::Manners manners;
  manners.pongsBeforeAnswers = 8;
  tree.daemon(SessionClamd::truth, manners);
  const WrapperRun run = tree.scanWithPatience({path}, 400ms);
  EXPECT_EQ(run.output, path + ": OK\n");
}

TEST_F(WrapperSession, BlamesNoFileForASessionThatWasSilentForItsReadersSake) {
  // Each session ends after its first answer, as a daemon ends those that are silent for too long.
  tree.addToDaemon("MaxThreads 3\nCommandReadTimeout 30\n");
  tree.daemon([](const Question& question) -> Said {
    return question.number == 1 ? Said(SessionClamd::truth(question)) : Said();
  });
  const TreeSettings engine =
      TreeSettings::at(deletingLastPathComponent(deletingLastPathComponent(tree.configuration())));
  Report report({-1, -1});
  const Starter nobody(-1, -1);
  DaemonLink link(engine, report, nobody, 10s);
  ManualClock clock;
  int clean = 0;
  DescriptorScan::Limits limits;
  limits.underWay = 3;
  limits.silence = engine.manners.silence;
  limits.patience = 300s;
  const auto handler = [&](Job&, const Answer& answer) {
    clean += answer.kind == Answer::Kind::clean ? 1 : 0;
    clock.advance(31s);  // the reader took its time
  };
  DescriptorScan scan(link, nobody, clock, limits, handler, [] {});
  for (const std::string& path : cleanFiles(9)) {
    Job job;
    job.entries.emplace_back();
    job.file.reset(open(path.c_str(), O_RDONLY | O_CLOEXEC));
    scan.add(std::move(job));
  }
  scan.finish();
  EXPECT_EQ(clean, 9);
}

// With more files than `busy` at the daemon it waits a moment for more answers first.
class WrapperReport : public WrapperSession, public testing::WithParamInterface<std::size_t> {};

TEST_P(WrapperReport, IsHandedOverBeforeTheScannerWaits) {
  std::promise<void> handedOver;
  auto report = handedOver.get_future().share();
  // Answers only once the reader has what there is of the report.
  const DaemonEnds ends{tree};
  tree.daemon([&](const Question& question) -> Said {
    const bool came = report.wait_for(10s) == std::future_status::ready;
    return came ? Said(SessionClamd::truth(question)) : Said();
  });
  const TreeSettings engine =
      TreeSettings::at(deletingLastPathComponent(deletingLastPathComponent(tree.configuration())));
  Report quiet({-1, -1});
  const Starter nobody(-1, -1);
  DaemonLink link(engine, quiet, nobody, 10s);
  SystemClock clock;
  DescriptorScan::Limits limits;
  limits.patience = 300s;
  limits.busy = GetParam();
  int clean = 0;
  bool reported = false;
  const auto handler = [&](Job&, const Answer& answer) {
    clean += answer.kind == Answer::Kind::clean ? 1 : 0;
  };
  DescriptorScan scan(link, nobody, clock, limits, handler, [&] {
    if (!std::exchange(reported, true)) {
      handedOver.set_value();
    }
  });
  Job job;
  job.entries.emplace_back();
  job.file.reset(open(tree.file("clean").c_str(), O_RDONLY | O_CLOEXEC));
  scan.add(std::move(job));
  scan.finish();
  EXPECT_EQ(clean, 1);
}

INSTANTIATE_TEST_SUITE_P(Either, WrapperReport, testing::Values(0, 2));

TEST_F(WrapperSession, ScansNothingAtASocketInAFolderThatOthersMayWrite) {
  const std::string folder = tree.files().makeFolder("open");
  ASSERT_EQ(chmod(folder.c_str(), 0777), 0);
  const SessionClamd other(folder + "/socket", SessionClamd::truth);
  tree.configureDaemon("LocalSocket " + folder + "/socket\n");
  const std::string path = tree.file("clean");
  const WrapperRun run = tree.scan({path});
  EXPECT_EQ(run.output,
            "ERROR: Could not connect to clamd on LocalSocket " + folder +
                "/socket: others may write to its folder\n" +
                lost(path, "the daemon is not trusted: others may write to its folder"));
  EXPECT_EQ(other.sessions(), 0);
}

}  // namespace
}  // namespace quillo::wrapper
