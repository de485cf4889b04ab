#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <filesystem>
#include <optional>

#include "posix/ChildProcess.h"
#include "posix/PlatformException.h"
#include "tests/support/SystemCalls.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/Threads.h"
#include "tests/support/Waiting.h"

namespace quillo {
namespace {

LaunchRequest shell(const std::string& script) { return {"/bin/sh", {"-c", script}}; }

struct Ended {
  int status;
  std::string output;
};

Ended run(const LaunchRequest& request) {
  ChildProcess child(request);
  std::string output;
  const int status = child.waitUntilExit([&output](std::string_view chunk) {
    output += chunk;
    return true;
  });
  return {status, output};
}

using Kind = PlatformException::Kind;
using Failure = std::pair<Kind, std::string>;

const Failure notAccessible(Kind::cannotLaunch, "launch path not accessible");

Failure failureOf(const std::string& launchPath) {
  try {
    run({launchPath});
  } catch (const PlatformException& failure) {
    return {failure.kind(), failure.reason()};
  }
  return {Kind::failed, "none"};
}

// A pipe whose reading end a child gets as number 3; it waits there until the other end closes.
class Gate {
 public:
  Gate() {
    int ends[2];
    EXPECT_EQ(pipe2(ends, O_CLOEXEC), 0);
    reader.reset(ends[0]);
    writer_.reset(ends[1]);
  }
  void open() { writer_.reset(); }

  UniqueFd reader;

 private:
  UniqueFd writer_;
};

LaunchRequest shellAt(const Gate& gate, const std::string& script) {
  LaunchRequest request = shell(script);
  request.descriptorThree = gate.reader.get();
  return request;
}

TEST(ChildProcess, GivesTheExitStatus) {
  EXPECT_EQ(run(shell("exit 0")).status, 0);
  EXPECT_EQ(run(shell("exit 7")).status, 7);
}

TEST(ChildProcess, GivesTheNumberOfTheSignalThatEndedIt) {
  EXPECT_EQ(run(shell("kill -KILL $$")).status, SIGKILL);
  EXPECT_EQ(run(shell("kill -TERM $$")).status, SIGTERM);
}

TEST(ChildProcess, KeepsOneAndTwoForTheExitStatus) {
  EXPECT_EQ(run(shell("kill -HUP $$")).status, 129);
  EXPECT_EQ(run(shell("kill -INT $$")).status, 130);
}

TEST(ChildProcess, JoinsOutputAndErrors) {
  EXPECT_EQ(run(shell("echo out; echo err >&2; echo out again")).output, "out\nerr\nout again\n");
}

TEST(ChildProcess, TakesArgumentsAsTheyAre) {
  EXPECT_EQ(run({"/usr/bin/printf", {"[%s]", "a b", "", "*", "$HOME;'\""}}).output,
            "[a b][][*][$HOME;'\"]");
}

TEST(ChildProcess, CanDiscardItsOutput) {
  LaunchRequest request = shell("echo out; exit 3");
  request.output = LaunchRequest::Output::discardedStdout;
  EXPECT_EQ(run(request).status, 3);
}

TEST(ChildProcess, HasTheEnvironmentItIsGivenAlone) {
  LaunchRequest request{"/usr/bin/env", {}};
  request.environment = {"ONE=1", "TWO=2"};
  EXPECT_EQ(run(request).output, "ONE=1\nTWO=2\n");
}

TEST(ChildProcess, ReadsNothingFromItsInput) { EXPECT_EQ(run(shell("cat; exit 4")).status, 4); }

TEST(ChildProcess, GetsOneDescriptorAsNumberThree) {
  int ends[2];
  ASSERT_EQ(pipe2(ends, O_CLOEXEC), 0);
  const UniqueFd reader(ends[0]);
  UniqueFd writer(ends[1]);
  ASSERT_EQ(write(writer.get(), "handed over", 11), 11);
  writer.reset();
  LaunchRequest request = shell("cat <&3");
  request.descriptorThree = reader.get();
  EXPECT_EQ(run(request).output, "handed over");
}

TEST(ChildProcess, GetsNoOtherDescriptor) {
  EXPECT_EQ(run(shell("for f in 3 4 5 6 7 8 9; do [ -e /proc/$$/fd/$f ] && echo $f; done")).output,
            "");
}

TEST(ChildProcess, StartsWithDefaultSignals) {
  sigset_t blocked;
  sigset_t before;
  sigemptyset(&blocked);
  sigaddset(&blocked, SIGUSR1);
  pthread_sigmask(SIG_BLOCK, &blocked, &before);
  void (*const handler)(int) = signal(SIGPIPE, SIG_IGN);
  const std::string blockedThere = run({"/bin/grep", {"SigBlk", "/proc/self/status"}}).output;
  const std::string ignoredThere = run({"/bin/grep", {"SigIgn", "/proc/self/status"}}).output;
  signal(SIGPIPE, handler);
  pthread_sigmask(SIG_SETMASK, &before, nullptr);
  EXPECT_EQ(blockedThere, "SigBlk:\t0000000000000000\n");
  // The C library ignores two signals of its own, 32 and 33.
  constexpr unsigned long long ofTheLibrary = 3ULL << 31U;
  const auto ignored = std::stoull(ignoredThere.substr(ignoredThere.find('\t') + 1), nullptr, 16);
  EXPECT_EQ(ignored & ~ofTheLibrary, 0U) << ignoredThere;
}

TEST(ChildProcess, AProgramThatCannotBeRunIsNotAccessible) {
  const TemporaryFolder folder;
  for (const std::string& path :
       {folder.path() + "/missing", folder.path(), folder.write("data", "no program"),
        folder.writeProgram("no format", "neither script nor program"), std::string()}) {
    EXPECT_EQ(failureOf(path), notAccessible) << path;
  }
}

TEST(ChildProcess, AScriptWithoutAnInterpreterIsNotAccessible) {
  const TemporaryFolder folder;
  EXPECT_EQ(failureOf(folder.writeProgram("script", "#!/no/such/interpreter\n")), notAccessible);
}

TEST(ChildProcess, ASystemWithoutProcessesIsAnotherFailure) {
  Failure failure;
  withFailingSystemCall(SYS_clone3, EAGAIN, [&failure] { failure = failureOf("/bin/true"); });
  EXPECT_EQ(failure, Failure(Kind::noResources,
                             "cannot launch /bin/true: Resource temporarily unavailable"));
}

TEST(ChildProcess, IsRunningUntilItHasEnded) {
  Gate gate;
  ChildProcess child(shellAt(gate, "cat <&3"));
  EXPECT_TRUE(child.isRunning());
  gate.open();
  child.waitUntilExit();
  EXPECT_FALSE(child.isRunning());
  EXPECT_EQ(child.terminationStatus(), 0);
}

TEST(ChildProcess, MayBeTerminatedByAnotherThreadWhileItIsWaitedFor) {
  Gate gate;
  ChildProcess child(shellAt(gate, "echo up; cat <&3"));
  JoinedThreads other;
  const int status = child.waitUntilExit([&](std::string_view) {
    other.start([&child] { child.terminate(); });
    return false;
  });
  other.join();
  EXPECT_EQ(status, SIGTERM);
  // Nobody is hit once it has been reaped.
  child.terminate();
}

TEST(ChildProcess, ItsOutputIsHandedOnBeforeItsEnd) {
  // More than a pipe holds, then the end at once.
  const Ended ended = run(shell("head -c 200000 /dev/zero"));
  EXPECT_EQ(ended.output.size(), 200000U);
}

TEST(ChildProcess, MayWriteIntoAPipeThatTheCallerMade) {
  std::optional<Pipe> pipe = Pipe::make();
  ASSERT_TRUE(pipe);
  ChildProcess child(shell("echo one; echo two >&2"), *pipe->fileHandleForReading(),
                     pipe->takeWriter());
  std::string output;
  child.waitUntilExit([&output](std::string_view chunk) {
    output += chunk;
    return true;
  });
  EXPECT_EQ(output, "one\ntwo\n");
  EXPECT_EQ(child.availableData(), "");
}

TEST(ChildProcess, AHandlerThatWantsNoMoreGetsNoMore) {
  ChildProcess child(shell("echo one; echo two"));
  int calls = 0;
  child.waitUntilExit([&calls](std::string_view) {
    ++calls;
    return false;
  });
  EXPECT_EQ(calls, 1);
}

TEST(ChildProcess, WhatWasNotHandedOnCanBeReadAfterItsEnd) {
  ChildProcess child(shell("echo left"));
  child.waitUntilExit();
  EXPECT_EQ(child.availableData(), "left\n");
  EXPECT_EQ(child.availableData(), "");
}

TEST(ChildProcess, AGrandchildThatKeepsTheOutputOpenIsNotWaitedFor) {
  Gate gate;
  ChildProcess child(shellAt(gate, "cat <&3 & exit 5"));
  EXPECT_EQ(child.waitUntilExit([](std::string_view) { return true; }), 5);
  EXPECT_EQ(child.availableData(), "");
  gate.open();
}

TEST(ChildProcess, EndsWithItsObject) {
  Gate gate;
  pid_t identifier = 0;
  {
    const ChildProcess child(shellAt(gate, "cat <&3"));
    identifier = child.processIdentifier();
  }
  EXPECT_EQ(waitpid(identifier, nullptr, WNOHANG), -1);
  EXPECT_EQ(errno, ECHILD);
}

TEST(ChildProcess, CanBeEndedAtOnceWithItsChildren) {
  int ends[2];
  ASSERT_EQ(pipe2(ends, O_CLOEXEC), 0);
  const UniqueFd reader(ends[0]);
  UniqueFd writer(ends[1]);
  LaunchRequest request = shell("trap '' TERM; (echo >&3; sleep 1000); exit 3");
  request.withItsChildren = true;
  request.descriptorThree = writer.get();
  ChildProcess child(request);
  writer.reset();
  char byte;
  ASSERT_EQ(read(reader.get(), &byte, 1), 1);
  child.endAtOnce();
  EXPECT_EQ(child.waitUntilExit(), SIGKILL);
  // The pipe ends when the last that holds it has.
  ASSERT_TRUE(awaitReadable(reader.get()));
  EXPECT_EQ(read(reader.get(), &byte, 1), 0);
  child.endAtOnce();
}

TEST(ChildProcess, IsNotHeldUpByWhatItSaysBesidesItsOutput) {
  int ends[2] = {-1, -1};
  ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends), 0);
  const UniqueFd own(ends[0]);
  UniqueFd childs(ends[1]);
  // Much more than a socket holds, before a word of its output.
  LaunchRequest request{"/bin/sh", {"-c", "head -c 2000000 /dev/zero >&4; echo done"}};
  request.descriptorFour = childs.get();
  ChildProcess child(request);
  childs.reset();
  std::size_t bytes = 0;
  std::string output;
  const auto read = [&] {
    std::array<char, 65536> piece;
    const ssize_t count = recv(own.get(), piece.data(), piece.size(), MSG_DONTWAIT);
    bytes += static_cast<std::size_t>(std::max<ssize_t>(count, 0));
    return count > 0;
  };
  const auto handler = [&output](std::string_view chunk) {
    output += chunk;
    return true;
  };
  EXPECT_EQ(child.waitUntilExit(handler, {own.get(), read}), 0);
  while (read()) {
  }
  EXPECT_EQ(output, "done\n");
  EXPECT_EQ(bytes, 2000000U);
}

}  // namespace
}  // namespace quillo
