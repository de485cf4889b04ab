#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>

#include "posix/ChildProcess.h"
#include "posix/Text.h"
#include "tests/process/FakeClientTree.h"

namespace quillo::front {
namespace {

using namespace std::chrono_literals;
using testing::Test;

class FrontClient : public Test {
 protected:
  std::string file(const std::string& name, const std::string& content = "x") const {
    return tree.files().file(name, content);
  }

  static long lines(const std::string& text) { return std::count(text.begin(), text.end(), '\n'); }

  FakeClientTree tree;
};

bool has(const std::string& text, const std::string& part) {
  return text.find(part) != std::string::npos;
}

TEST_F(FrontClient, RunsOnceForAllOrdinaryFiles) {
  std::vector<std::string> paths;
  std::string expected;
  for (int i = 0; i < 200; ++i) {
    paths.push_back(file("clean" + std::to_string(i)));
    expected += paths.back() + ": OK\n";
  }
  const FrontRun run = tree.scan(paths);
  EXPECT_EQ(run.output, expected);
  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(lines(tree.calls()), 1);
}

TEST_F(FrontClient, GetsTheTreesConfigurationAndWhatTheCallerAsks) {
  tree.scan({file("clean")}, {"--multiscan", "--future=1", "--move=" + tree.files().at("q")});
  const std::string call = tree.calls();
  EXPECT_TRUE(has(call, "/etc/clamd.conf --fdpass --multiscan --future=1 ")) << call;
  EXPECT_EQ(call.rfind("--config-file=/", 0), 0U) << call;
  EXPECT_FALSE(has(call, "--move")) << call;
}

TEST_F(FrontClient, KeepsTheCallersOwnConfiguration) {
  tree.scan({file("clean")}, {"--config-file=/other"});
  EXPECT_FALSE(has(tree.calls(), "/etc/clamd.conf")) << tree.calls();
}

TEST_F(FrontClient, TakesOverWhenNoPathsAreScanned) {
  tree.run({"--version"});
  EXPECT_TRUE(has(tree.calls(), " --version\n")) << tree.calls();
}

TEST_F(FrontClient, PassesOnWhatItFound) {
  const std::string clean = file("clean");
  const std::string infected = file("infected");
  const FrontRun run = tree.scan({clean, infected});
  EXPECT_EQ(run.output, clean + ": OK\n" + infected + ": Fake.Name FOUND\n");
  EXPECT_EQ(run.status, 1);
}

TEST_F(FrontClient, NamesALinkAsGivenAndScansItsTarget) {
  const std::string target = file("infected");
  const std::string link = tree.files().link("clean", "infected");
  const FrontRun run = tree.scan({link});
  EXPECT_EQ(run.output, link + ": Fake.Name FOUND\n" + link + ": leads to '" + target + "'\n");
}

TEST_F(FrontClient, AsksOnceForAFileWithSeveralNamesInTheList) {
  const std::string target = file("infected");
  const std::string link = tree.files().link("link", "infected");
  const FrontRun run = tree.scan({target, link}, {"--move=" + tree.files().at("q")});
  const std::string moved = "moved to '" + tree.files().at("q/infected") + "'\n";
  EXPECT_EQ(run.output, target + ": Fake.Name FOUND\n" + target + ": " + moved + link +
                            ": Fake.Name FOUND\n" + link + ": '" + target + "' " + moved);
}

TEST_F(FrontClient, IsNotBelievedAboutWhatItDidNotMention) {
  const std::string silent = file("silent");
  const FrontRun run = tree.scan({silent, file("clean")});
  EXPECT_TRUE(has(run.output, silent + ": Not scanned: the scanner did not report on it\n"));
  EXPECT_EQ(run.status, 2);
  EXPECT_EQ(tree.run({"--stdout", "--no-summary", file("a\nb", "silent\n")}).output,
            tree.files().at("a\\x0Ab: Not scanned: the scanner did not report on it\n"));
}

TEST_F(FrontClient, IsNotBelievedAboutAFileOverTheLimit) {
  const std::string large = file("clean", std::string(1025, 'x'));
  const FrontRun run = tree.scan({large, file("just", std::string(1024, 'x'))});
  EXPECT_TRUE(has(run.output, large + ": Not scanned: larger than the limit of 1 KB\n"));
  EXPECT_TRUE(has(run.output, "/just: OK\n"));
  EXPECT_EQ(run.status, 2);
}

TEST_F(FrontClient, MayFindSomethingInAFileOverTheLimit) {
  const std::string large = file("infected", std::string(1025, 'x'));
  EXPECT_EQ(tree.scan({large}).output, large + ": Fake.Name FOUND\n");
}

TEST_F(FrontClient, MeansNoThreatByALimit) {
  const std::string path = file("limit");
  const FrontRun run = tree.scan({path}, {"--move=" + tree.files().at("q")});
  EXPECT_EQ(run.output, path + ": Not scanned: not to its end: beyond the daemon's MaxScanTime\n");
  EXPECT_EQ(run.status, 2);
}

TEST_F(FrontClient, FailsOnSingleFiles) {
  const std::string error = file("error");
  const std::string refused = file("refused");
  const FrontRun run = tree.scan({error, refused});
  EXPECT_EQ(run.output, error + ": Not scanned: Failed to open file\n" + refused +
                            ": Not scanned: the scanner could not read it\n");
  EXPECT_EQ(run.status, 2);
}

TEST_F(FrontClient, MayWriteALineInPieces) {
  const std::string split = file("split");
  EXPECT_EQ(tree.scan({split}).output, split + ": Fake.Name FOUND\n");
}

TEST_F(FrontClient, MayWriteGarbage) {
  const std::string garbage = file("garbage");
  const FrontRun run = tree.scan({garbage});
  EXPECT_EQ(run.output, "\\xFF\\xFE odd\n" + garbage + ": OK\n");
  EXPECT_TRUE(isValidUtf8(run.output));
}

TEST_F(FrontClient, CannotBeMadeToAccuseAnotherFile) {
  const FrontRun run = tree.scan({file("forged")});
  EXPECT_FALSE(has(run.output, "FOUND\n")) << run.output;
  EXPECT_EQ(run.status, 0);
}

TEST_F(FrontClient, GetsAFileWithALineBreakAsItsInput) {
  const std::string bad = file("two\nlines: OK", "infected\n");
  const std::string good = file("more\nlines: Bad FOUND", "fine\n");
  const FrontRun run = tree.run({"--stdout", "--no-summary", bad, good});
  EXPECT_EQ(run.output, tree.files().at("two\\x0Alines: OK: Fake.Name FOUND\n") +
                            tree.files().at("more\\x0Alines: Bad FOUND: OK\n"));
  EXPECT_EQ(run.status, 1);
}

TEST_F(FrontClient, GetsAFileWithALongPathAsItsInput) {
  std::string name;
  for (int i = 0; i < 6; ++i) {
    name += std::string(200, 'd') + "/";
  }
  const std::string path = file(name + "x", "infected\n");
  EXPECT_EQ(tree.scan({path}).output, path + ": Fake.Name FOUND\n");
}

TEST_F(FrontClient, GetsAFolderWhole) {
  file("infected");
  file("other");
  const FrontRun run = tree.scan({tree.files().path()});
  EXPECT_EQ(run.output, tree.files().at("infected: Fake.Name FOUND\n"));
  EXPECT_TRUE(has(tree.calls(), " " + tree.files().path() + "\n")) << tree.calls();
}

TEST_F(FrontClient, CallsAFolderCleanOnlyWhenAllOfItIs) {
  file("large", std::string(1025, 'x'));
  tree.files().link("out", "/etc");
  const std::string folder = tree.files().path();
  const FrontRun run = tree.scan({folder});
  EXPECT_TRUE(has(run.output, folder + "/large: Not scanned: larger than the limit of 1 KB\n"));
  EXPECT_TRUE(has(run.output, folder + "/out: Not scanned: symbolic link to outside"));
  EXPECT_TRUE(has(run.output, folder + ": Scanned but for what is named above (2)\n"));
  EXPECT_FALSE(has(run.output, ": OK")) << run.output;
  EXPECT_EQ(run.status, 2);
}

TEST_F(FrontClient, GetsTheFilesOfAFolderInListsWhenNamesCouldForge) {
  file("infected");
  file("x\ny", "infected\n");
  const FrontRun run = tree.scan({tree.files().path()});
  EXPECT_TRUE(has(run.output, "/infected: Fake.Name FOUND\n")) << run.output;
  EXPECT_TRUE(has(run.output, "/x\\x0Ay: Fake.Name FOUND\n")) << run.output;
  EXPECT_FALSE(has(tree.calls(), " " + tree.files().path() + "\n")) << tree.calls();
}

TEST_F(FrontClient, NamesThingsInAFolderByTheLinkThatWasGiven) {
  file("real/infected");
  const std::string link = tree.files().link("link", "real");
  const FrontRun run = tree.scan({link});
  EXPECT_EQ(run.output, link + "/infected: Fake.Name FOUND\n" + link + "/infected: leads to '" +
                            tree.files().at("real/infected") + "'\n");
}

TEST_F(FrontClient, IsNotNeededForWhatCannotBeScanned) {
  ASSERT_EQ(mkfifo(tree.files().at("pipe").c_str(), 0600), 0);
  const std::string gone = tree.files().at("gone: Bad FOUND");
  const FrontRun run =
      tree.scan({tree.files().at("pipe"), tree.files().link("none", "nowhere"), gone});
  EXPECT_EQ(run.output, tree.files().at("pipe: Not scanned: named pipe\n") +
                            tree.files().at("none: Not scanned: dangling symbolic link\n") + gone +
                            ": Not scanned: no such file or directory\n");
  EXPECT_EQ(run.status, 2);
  EXPECT_EQ(tree.calls(), "");
}

TEST_F(FrontClient, IsNotNeededWithoutAList) {
  const FrontRun run = tree.run({"--stdout", "--no-summary", "--file-list=/nowhere/list"});
  EXPECT_EQ(run.output,
            "ERROR: --file-list: Can't open file /nowhere/list: no such file or directory\n");
  EXPECT_EQ(run.status, 2);
}

TEST_F(FrontClient, ScansAllTheSameWithABadMoveFolder) {
  const std::string infected = file("infected");
  for (const std::string& folder : {std::string(), file("file")}) {
    const FrontRun run = tree.scan({infected}, {"--move=" + folder});
    EXPECT_EQ(lines(run.output), 2) << run.output;
    EXPECT_EQ(run.output.rfind("ERROR: --move=" + folder + ": ", 0), 0U) << run.output;
    EXPECT_TRUE(has(run.output, infected + ": Fake.Name FOUND\n"));
    EXPECT_EQ(run.status, 1);
  }
}

TEST_F(FrontClient, HasOneSummaryForAllItsRuns) {
  const FrontRun run =
      tree.run({"--stdout", file("infected"), file("a\nb", "infected\n"), tree.files().at("gone")});
  EXPECT_TRUE(has(run.output,
                  "\n\n----------- SCAN SUMMARY -----------\nInfected files: 2\n"
                  "Total errors: 1\nTime: "))
      << run.output;
  EXPECT_EQ(run.output.find("SUMMARY"), run.output.rfind("SUMMARY"));
}

TEST_F(FrontClient, SaysOnceThatTheDaemonIsLost) {
  const std::string one = file("lost1");
  const std::string two = file("lost2");
  const FrontRun run = tree.scan({one, two});
  EXPECT_EQ(run.output,
            "ERROR: Could not connect to clamd on LocalSocket /s: Connection refused\n"
            "WARNING: Can't connect to clamd.\n" +
                one + ": Not scanned: the daemon cannot be reached\n" + two +
                ": Not scanned: the daemon cannot be reached\n");
  EXPECT_EQ(run.status, 2);
}

TEST_F(FrontClient, SaysThatTheDaemonIsLostWhenItDiesOverAFile) {
  const std::string path = file("noreply");
  const std::string line = path + ": Not scanned: no reply from clamd\n";
  EXPECT_EQ(tree.scan({path}).output, line + "WARNING: Can't connect to clamd.\n");

  sockaddr_un address = {};
  address.sun_family = AF_UNIX;
  const std::string place = tree.socket();
  ASSERT_LT(place.size(), sizeof(address.sun_path));
  place.copy(address.sun_path, place.size());
  const UniqueFd socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
  ASSERT_EQ(bind(socket.get(), reinterpret_cast<sockaddr*>(&address), sizeof(address)), 0);
  ASSERT_EQ(listen(socket.get(), 1), 0);
  EXPECT_EQ(tree.scan({path}).output, line);
}

TEST_F(FrontClient, SaysThatAFileOfAFolderVanished) {
  const std::string gone = file("gone");
  EXPECT_EQ(tree.scan({tree.files().path() + "/"}).output,
            gone + ": Not scanned: no such file or directory\n" + tree.files().path() +
                "/: Scanned but for what is named above (1)\n");
}

TEST_F(FrontClient, MayBeMissing) {
  tree.configure("RealClient /nowhere/clamdscan\n");
  const std::string path = file("infected");
  const FrontRun run = tree.scan({path});
  EXPECT_EQ(run.output, "ERROR: /nowhere/clamdscan cannot be run: no such file or directory\n" +
                            path + ": Not scanned: the scanner cannot be run\n");
  EXPECT_EQ(run.status, 2);
}

TEST_F(FrontClient, IsNotTheFrontItself) {
  tree.configure("RealClient " + tree.program() + "\n");
  EXPECT_EQ(tree.scan({file("clean")}).status, 2);
}

TEST_F(FrontClient, TakesTheFrontWithItWhenItCrashes) {
  const std::string clean = file("clean");
  const std::string crash = file("crash");
  const std::string after = file("after");
  const FrontRun run = tree.scan({clean, crash, after});
  EXPECT_EQ(run.status, SIGSEGV);
  EXPECT_TRUE(has(run.output, clean + ": OK\n"));
  EXPECT_TRUE(has(run.output, " was ended by signal 11 (Segmentation fault)\n"));
  EXPECT_TRUE(has(run.output, crash + ": Not scanned: the scanner was ended\n"));
  EXPECT_TRUE(has(run.output, after + ": Not scanned: the scanner was ended\n"));
}

TEST_F(FrontClient, IsEndedWhenItMakesNoProgress) {
  const std::string clean = file("clean");
  const std::string hang = file("hang");
  const UniqueFd lifeline(open(tree.lifeline().c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
  const FrontRun run = tree.scanWithPatience({clean, hang}, 300ms);
  EXPECT_TRUE(has(run.output, clean + ": OK\n"));
  EXPECT_TRUE(has(run.output, " was ended: it made no progress for 0 seconds\n")) << run.output;
  EXPECT_TRUE(has(run.output, hang + ": Not scanned: the scanner made no progress\n"));
  EXPECT_EQ(run.status, 2);
  pollfd end = {lifeline.get(), 0, 0};
  EXPECT_EQ(poll(&end, 1, 20000), 1);
  EXPECT_NE(end.revents & POLLHUP, 0);
}

TEST_F(FrontClient, IsLeftAloneWhileItWorksInSilence) {
  const std::string busy = file("busy");
  // Its 400 turns take longer than the patience, and each of them takes much less.
  const FrontRun run = tree.scanWithPatience({busy}, 200ms);
  EXPECT_EQ(run.output, busy + ": OK\n");
}

class FrontClientLife : public FrontClient, public testing::WithParamInterface<int> {};

TEST_P(FrontClientLife, EndsWithTheFront) {
  const std::string list = tree.files().file("list", file("hang") + "\n");
  const UniqueFd lifeline(open(tree.lifeline().c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
  // The client falls to this process, which then leaves no zombie behind.
  prctl(PR_SET_CHILD_SUBREAPER, 1);
  ChildProcess front({tree.program(), {"--stdout", "--file-list=" + list}});
  pollfd end = {lifeline.get(), POLLIN, 0};
  ASSERT_EQ(poll(&end, 1, 20000), 1);
  ASSERT_NE(end.revents & POLLIN, 0);

  kill(front.processIdentifier(), GetParam());
  EXPECT_EQ(front.waitUntilExit(), GetParam());
  end.events = 0;
  EXPECT_EQ(poll(&end, 1, 20000), 1);
  EXPECT_NE(end.revents & POLLHUP, 0);
  int status = 0;
  EXPECT_GT(waitpid(-1, &status, 0), 0);
  EXPECT_TRUE(WIFSIGNALED(status));
}

INSTANTIATE_TEST_SUITE_P(BySignal, FrontClientLife, testing::Values(SIGTERM, SIGINT, SIGKILL));

}  // namespace
}  // namespace quillo::front
