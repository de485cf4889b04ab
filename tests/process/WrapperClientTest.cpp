// What goes to the distribution's client.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>

#include "posix/ChildProcess.h"
#include "tests/process/FakeClientTree.h"

namespace quillo::wrapper {
namespace {

bool has(const std::string& text, const std::string& part) {
  return text.find(part) != std::string::npos;
}

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
