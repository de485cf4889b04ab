#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <signal.h>
#include <sys/inotify.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <thread>

#include "posix/UniqueFd.h"
#include "tests/fakes/tools/LogSandbox.h"
#include "tests/support/Threads.h"
#include "tests/support/Waiting.h"

namespace quillo {
namespace {

LaunchRequest requestFor(const LogSandbox& sandbox) {
  LaunchRequest request;
  request.launchPath = QUILLO_BINARY_DIR "/resources/engine-tools/newsyslog";
  request.arguments = {"-C", "-r", "-f", sandbox.path("scanlogrotate.conf")};
  return request;
}

// Lines that do not compress to nothing, so that compressing takes its time.
std::string noisyLines(std::size_t size) {
  std::string text;
  std::uint32_t state = 1;
  while (text.size() < size) {
    for (int i = 0; i < 100; ++i) {
      state = state * 1664525U + 1013904223U;
      text += static_cast<char>(' ' + (state >> 24U) % 94U);
    }
    text += '\n';
  }
  return text;
}

TEST(NewsyslogProgram, RotatesAsTheAgentRunsIt) {
  const LogSandbox sandbox;
  sandbox.write("log", LogSandbox::lines(1, 3000));
  sandbox.write("scanlogrotate.conf", sandbox.configuration());
  const LogSandbox::Outcome outcome = sandbox.newsyslog();
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.output, "");
  EXPECT_EQ(sandbox.unpacked("log.0.bz2"), LogSandbox::lines(1, 3000));
}

TEST(NewsyslogProgram, NamesTheLineThatItCannotUnderstand) {
  const LogSandbox sandbox;
  sandbox.write("log", LogSandbox::lines(1, 3000));
  sandbox.write("scanlogrotate.conf", sandbox.configuration() + "X");
  const LogSandbox::Outcome outcome = sandbox.newsyslog();
  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(outcome.output, "newsyslog: " + sandbox.path("scanlogrotate.conf") +
                                ":2: the flag \"X\" is not among C, J and N\n");
  EXPECT_FALSE(sandbox.has("log.0.bz2"));
}

TEST(NewsyslogProgram, SaysThatTheConfigurationIsMissing) {
  const LogSandbox sandbox;
  const LogSandbox::Outcome outcome = sandbox.newsyslog();
  EXPECT_EQ(outcome.status, 1);
  EXPECT_NE(outcome.output.find("scanlogrotate.conf: cannot read it: No such file"),
            std::string::npos);
}

TEST(NewsyslogProgram, LosesNothingWhenItIsKilledWhileItCompresses) {
  const LogSandbox sandbox;
  const std::string content = noisyLines(8000000);
  sandbox.write("log", content);
  sandbox.write("scanlogrotate.conf", sandbox.configuration());
  const UniqueFd watch(inotify_init1(IN_CLOEXEC));
  ASSERT_GE(inotify_add_watch(watch.get(), sandbox.folder().c_str(), IN_MODIFY), 0);
  {
    ChildProcess child(requestFor(sandbox));
    // The only file that is written to is the unfinished archive.
    ASSERT_TRUE(awaitReadable(watch.get()));
    kill(child.processIdentifier(), SIGKILL);
    child.waitUntilExit();
  }
  ASSERT_TRUE(sandbox.has("log.0.bz2.part"));
  ASSERT_EQ(sandbox.read("log.0"), content);
  EXPECT_EQ(sandbox.newsyslog().status, 0);
  EXPECT_FALSE(sandbox.has("log.0.bz2.part"));
  EXPECT_EQ(sandbox.everything(3), content);
  EXPECT_TRUE(sandbox.has("log.0.bz2"));
}

TEST(NewsyslogProgram, LosesNoLineOfAWriterThatGoesOnWriting) {
  const LogSandbox sandbox;
  sandbox.write("scanlogrotate.conf", sandbox.configuration(60));
  ASSERT_EQ(sandbox.newsyslog().status, 0);
  std::atomic<bool> reopen = false;
  std::atomic<bool> stop = false;
  int lines = 0;
  JoinedThreads writer([&] {
    UniqueFd log(open(sandbox.path("log").c_str(), O_WRONLY | O_APPEND | O_CLOEXEC));
    while (!stop) {
      const std::string line = "line " + std::to_string(lines++) + " of this log\n";
      ASSERT_EQ(write(log.get(), line.data(), line.size()), static_cast<ssize_t>(line.size()));
      if (reopen.exchange(false)) {
        log.reset(
            open(sandbox.path("log").c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0640));
      }
    }
  });
  for (int round = 0; round < 20; ++round) {
    EXPECT_EQ(sandbox.newsyslog().status, 0);
    reopen = true;
  }
  stop = true;
  writer.join();
  EXPECT_EQ(sandbox.newsyslog().status, 0);
  std::string expected;
  for (int line = 0; line < lines; ++line) {
    expected += "line " + std::to_string(line) + " of this log\n";
  }
  EXPECT_TRUE(sandbox.has("log.1.bz2"));
  EXPECT_EQ(sandbox.everything(60), expected);
}

TEST(NewsyslogProgram, TakesTurnsWithAnotherOne) {
  const LogSandbox sandbox;
  sandbox.write("log", LogSandbox::lines(1, 400000));
  sandbox.write("scanlogrotate.conf", sandbox.configuration());
  JoinedThreads runs;
  for (int run = 0; run < 4; ++run) {
    runs.start([&] { EXPECT_EQ(sandbox.newsyslog().status, 0); });
  }
  runs.join();
  EXPECT_EQ(sandbox.everything(3), LogSandbox::lines(1, 400000));
}

}  // namespace
}  // namespace quillo
