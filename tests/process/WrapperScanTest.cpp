// What the tree's scanner says of what its daemon answers.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>

#include "posix/ChildProcess.h"
#include "posix/Text.h"
#include "tests/process/FakeClientTree.h"

namespace quillo::wrapper {
namespace {

class WrapperScan : public testing::Test {
 protected:
  std::string at(const std::string& name) const { return tree.files().at(name); }
  static long lines(const std::string& text) { return std::count(text.begin(), text.end(), '\n'); }

  FakeClientTree tree;
};

bool has(const std::string& text, const std::string& part) {
  return text.find(part) != std::string::npos;
}

TEST_F(WrapperScan, AsksInOneSessionForAllFilesAndKeepsTheirOrder) {
  std::vector<std::string> paths;
  std::string expected;
  for (int i = 0; i < 200; ++i) {
    paths.push_back(tree.file("clean" + std::to_string(i)));
    expected += paths.back() + ": OK\n";
  }
  const WrapperRun run = tree.scan(paths);
  EXPECT_EQ(run.output, expected);
  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(tree.daemon().sessions(), 1);
}

TEST_F(WrapperScan, PassesOnWhatWasFound) {
  const std::string clean = tree.file("clean");
  const std::string infected = tree.file("infected");
  const WrapperRun run = tree.scan({clean, infected});
  EXPECT_EQ(run.output, clean + ": OK\n" + infected + ": Fake.Name FOUND\n");
  EXPECT_EQ(run.status, 1);
}

TEST_F(WrapperScan, NamesALinkAsGivenAndScansItsTarget) {
  const std::string target = tree.file("infected");
  const std::string link = tree.files().link("clean", "infected");
  const WrapperRun run = tree.scan({link});
  EXPECT_EQ(run.output, link + ": Fake.Name FOUND\n" + link + ": leads to '" + target + "'\n");
}

TEST_F(WrapperScan, AsksOnceForAFileWithSeveralNamesInTheList) {
  const std::string target = tree.file("infected");
  const std::string link = tree.files().link("link", "infected");
  const WrapperRun run = tree.scan({target, link}, {"--move=" + at("q")});
  const std::string moved = "moved to '" + at("q/infected") + "'\n";
  EXPECT_EQ(run.output, target + ": Fake.Name FOUND\n" + target + ": " + moved + link +
                            ": Fake.Name FOUND\n" + link + ": '" + target + "' " + moved);
}

TEST_F(WrapperScan, DoesNotAskAboutAFileOverTheLimit) {
  const std::string large = tree.files().write("large", "infected" + std::string(1017, 'x'));
  const std::string just = tree.files().write("just", std::string(1024, 'x'));
  EXPECT_EQ(tree.scan({large, just}).output,
            large + ": Not scanned: larger than the limit of 1 KB\n" + just + ": OK\n");
}

TEST_F(WrapperScan, DoesNotCallAFileCleanThatHasGrownOverTheLimit) {
  const std::string path = tree.file("clean");
  tree.daemon([&](const SessionClamd::Question& question) {
    EXPECT_EQ(truncate(path.c_str(), 1025), 0);
    return SessionClamd::truth(question);
  });
  EXPECT_EQ(tree.scan({path}).output, path + ": Not scanned: larger than the limit of 1 KB\n");
}

TEST_F(WrapperScan, MeansNoThreatByALimit) {
  const std::string path = tree.file("limit");
  const WrapperRun run = tree.scan({path}, {"--move=" + at("q")});
  EXPECT_EQ(run.output, path + ": Not scanned: not to its end: beyond the daemon's MaxScanTime\n");
  EXPECT_EQ(run.status, 2);
}

TEST_F(WrapperScan, PassesOnWhyAFileWasNotScanned) {
  const std::string error = tree.file("error");
  const WrapperRun run = tree.scan({error});
  EXPECT_EQ(run.output, error + ": Not scanned: Can't read file\n");
  EXPECT_EQ(run.status, 2);
}

TEST_F(WrapperScan, TakesAnyNameFromTheCommandLineAndFromAList) {
  const std::string bad = tree.files().write("two\nlines: OK", "infected");
  const std::string good = tree.files().write("\\x41\xFF: Bad FOUND\r", "fine");
  const std::string report =
      at("two\\x0Alines: OK: Fake.Name FOUND\n") + at("\\x5Cx41\\xFF: Bad FOUND\\x0D: OK\n");
  EXPECT_EQ(tree.run({"--stdout", "--no-summary", bad, good}).output, report);
  EXPECT_EQ(tree.scan({escapedPathLine(bad), good}).output, report);
}

TEST_F(WrapperScan, TakesAPathOfAnyLength) {
  std::string name;
  for (int i = 0; i < 18; ++i) {
    name += std::string(200, 'd') + "/";
  }
  const std::string path = tree.file(name + "infected");
  EXPECT_EQ(tree.scan({path}).output, path + ": Fake.Name FOUND\n");
}

TEST_F(WrapperScan, ScansAFolderAndReportsNoCleanFile) {
  tree.file("a/infected\nx");
  tree.file("b/other");
  const WrapperRun run = tree.scan({tree.files().path()});
  EXPECT_EQ(run.output, at("a/infected\\x0Ax: Fake.Name FOUND\n"));
}

TEST_F(WrapperScan, CallsAFolderCleanOnlyWhenAllOfItIs) {
  tree.files().write("large", std::string(1025, 'x'));
  tree.files().link("out", "/etc");
  const std::string folder = tree.files().path();
  const WrapperRun run = tree.scan({folder});
  EXPECT_TRUE(has(run.output, folder + "/large: Not scanned: larger than the limit of 1 KB\n"));
  EXPECT_TRUE(has(run.output, folder + "/out: Not scanned: symbolic link to outside"));
  EXPECT_TRUE(has(run.output, folder + ": Scanned but for what is named above (2)\n"));
  EXPECT_FALSE(has(run.output, ": OK")) << run.output;
  EXPECT_EQ(run.status, 2);
}

TEST_F(WrapperScan, NamesThingsInAFolderByTheLinkThatWasGiven) {
  tree.file("real/infected");
  const std::string link = tree.files().link("link", "real");
  const WrapperRun run = tree.scan({link});
  EXPECT_EQ(run.output, link + "/infected: Fake.Name FOUND\n" + link + "/infected: leads to '" +
                            at("real/infected") + "'\n");
}

TEST_F(WrapperScan, AsksNobodyAboutWhatCannotBeScanned) {
  ASSERT_EQ(mkfifo(at("pipe").c_str(), 0600), 0);
  const std::string gone = at("gone: Bad FOUND");
  const WrapperRun run = tree.scan({at("pipe"), tree.files().link("none", "nowhere"), gone});
  EXPECT_EQ(run.output, at("pipe: Not scanned: named pipe\n") +
                            at("none: Not scanned: dangling symbolic link\n") + gone +
                            ": Not scanned: no such file or directory\n");
  EXPECT_EQ(run.status, 2);
  EXPECT_EQ(tree.daemon().sessions(), 0);
}

TEST_F(WrapperScan, FailsWithoutItsList) {
  const WrapperRun run = tree.run({"--stdout", "--no-summary", "--file-list=/nowhere/list"});
  EXPECT_EQ(run.output,
            "ERROR: --file-list: Can't open file /nowhere/list: no such file or directory\n");
  EXPECT_EQ(run.status, 2);
}

TEST_F(WrapperScan, ScansAllTheSameWithABadMoveFolder) {
  const std::string infected = tree.file("infected");
  for (const std::string& folder : {std::string(), tree.file("file")}) {
    const WrapperRun run = tree.scan({infected}, {"--move=" + folder});
    EXPECT_EQ(lines(run.output), 2) << run.output;
    EXPECT_EQ(run.output.rfind("ERROR: --move=" + folder + ": ", 0), 0U) << run.output;
    EXPECT_TRUE(has(run.output, infected + ": Fake.Name FOUND\n"));
    EXPECT_EQ(run.status, 1);
  }
}

TEST_F(WrapperScan, SumsUpAsTheClientDoes) {
  const WrapperRun run =
      tree.run({"--stdout", tree.file("infected"), tree.file("infected\nb"), at("gone")});
  EXPECT_TRUE(has(run.output,
                  "\n\n----------- SCAN SUMMARY -----------\nInfected files: 2\n"
                  "Total errors: 1\nTime: "))
      << run.output;
}

TEST_F(WrapperScan, UsesTheCallersConfiguration) {
  const std::string path = tree.file("clean");
  const std::string other = tree.files().write("other.conf", "LocalSocket /nowhere/socket\n");
  EXPECT_EQ(tree.scan({path}, {"--config-file=" + other}).output,
            "ERROR: Could not connect to clamd on LocalSocket /nowhere/socket: No such file or "
            "directory\n" +
                path + ": Not scanned: the daemon cannot be reached\n");
}

TEST_F(WrapperScan, MakesDoWithFewDescriptors) {
  std::vector<std::string> paths;
  for (int i = 0; i < 50; ++i) {
    paths.push_back(tree.file("clean" + std::to_string(i)));
  }
  paths.push_back(tree.file("a/b/c/d/e/infected"));
  paths.push_back(at("a"));
  tree.addToDaemon("MaxThreads 50\n");
  rlimit before = {};
  ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &before), 0);
  const rlimit few = {20, before.rlim_max};
  const auto scan = [&] { return tree.scan(paths, {"--multiscan"}); };
  // The children inherit it; this process itself has what it needs open.
  const int highest = dup(0);
  close(highest);
  const rlimit low = {static_cast<rlim_t>(highest) + few.rlim_cur, before.rlim_max};
  ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &low), 0);
  const WrapperRun run = scan();
  setrlimit(RLIMIT_NOFILE, &before);
  EXPECT_FALSE(has(run.output, "Not scanned")) << run.output;
  EXPECT_TRUE(has(run.output, at("a/b/c/d/e/infected: Fake.Name FOUND\n")));
}

// What goes to the distribution's client.

TEST(WrapperClient, TakesOverWhatIsNotScanning) {
  const FakeClientTree tree;
  EXPECT_EQ(tree.run({"--version"}).output, "client\n");
  EXPECT_EQ(tree.calls(), "--config-file=" + tree.configuration() + " --fdpass --version\n");
}

TEST(WrapperClient, TakesOverWithAnOptionThatIsNotKnown) {
  const FakeClientTree tree;
  const std::string quarantine = tree.files().at("q");
  tree.run({"--future=1", "--move", quarantine, "--multiscan", tree.file("clean")});
  EXPECT_EQ(tree.calls(), "--config-file=" + tree.configuration() +
                              " --fdpass --future=1 --multiscan --move=" + quarantine + " -- " +
                              tree.files().at("clean") + "\n");
  EXPECT_TRUE(TemporaryFolder::exists(quarantine));  // without which it would scan nothing
}

TEST(WrapperClient, TakesOverWithADaemonThatIsReachedByTcp) {
  const FakeClientTree tree;
  tree.configureDaemon("TCPSocket 3310\nTCPAddr 127.0.0.1\n");
  const WrapperRun run = tree.scan({tree.file("clean")});
  EXPECT_EQ(run.output, "client\n");
  EXPECT_TRUE(has(tree.calls(), " --stdout --no-summary --file-list=")) << tree.calls();
}

TEST(WrapperClient, ScansAllTheSameWhereNothingCanBeMoved) {
  const FakeClientTree tree;
  const WrapperRun run = tree.run({"--stdout", "--allmatch", "--move=" + tree.file("file"), "/x"});
  EXPECT_EQ(run.output, "ERROR: --move=" + tree.files().at("file") +
                            ": not a directory; infected files stay where they are\nclient\n");
  EXPECT_FALSE(has(tree.calls(), "--move")) << tree.calls();
}

TEST(WrapperClient, WordsTheComplaintAboutAMissingValue) {
  const FakeClientTree tree;
  tree.run({"--infected", "--move"});
  EXPECT_TRUE(has(tree.calls(), " --infected --move\n")) << tree.calls();
}

TEST(WrapperClient, KeepsTheCallersOwnConfiguration) {
  const FakeClientTree tree;
  tree.run({"--config-file=/other", "--ping=1"});
  EXPECT_EQ(tree.calls(), "--fdpass --config-file=/other --ping=1\n");
}

TEST(WrapperClient, IsNotNeededForScanning) {
  const FakeClientTree tree;
  tree.configure("RealClient /nowhere/clamdscan\n");
  EXPECT_EQ(tree.scan({tree.file("clean")}, {"--multiscan"}).status, 0);
}

TEST(WrapperClient, MayBeMissing) {
  const FakeClientTree tree;
  tree.configure("RealClient /nowhere/clamdscan\n");
  const WrapperRun run = tree.run({"--stdout", "--version"});
  EXPECT_EQ(run.output, "ERROR: /nowhere/clamdscan cannot be run: no such file or directory\n");
  EXPECT_EQ(run.status, 2);
}

TEST(WrapperClient, IsNotTheWrapperItself) {
  const FakeClientTree tree;
  tree.configure("RealClient " + tree.program() + "\n");
  EXPECT_EQ(tree.run({"--version"}).status, 2);
}

}  // namespace
}  // namespace quillo::wrapper
