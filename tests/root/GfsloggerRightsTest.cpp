// Which of root's rights the helper has when, and on whose account.

#include <fcntl.h>
#include <linux/capability.h>
#include <linux/seccomp.h>
#include <sys/fanotify.h>
#include <sys/prctl.h>
#include <sys/ptrace.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <string>

#include "tests/root/support/helper/HelperFixture.h"

namespace quillo::tests {
namespace {

using GfsloggerRights = HelperFixture;

TEST_F(GfsloggerRights, AreOneCapabilityToReadAndForItsMarkerOneMoreToMark) {
  start();
  const pid_t helper = agent().helper();
  const pid_t marker = markerOf(helper);
  EXPECT_EQ(statusOf(helper, "CapPrm"), "0000000000000004");
  EXPECT_EQ(statusOf(marker, "CapPrm"), "0000000000200004");
  for (const pid_t process : {helper, marker}) {
    EXPECT_EQ(statusOf(process, "Uid"), "12345\t12345\t12345\t12345");
    EXPECT_EQ(statusOf(process, "Gid"), "12345\t12345\t12345\t12345");
    EXPECT_EQ(statusOf(process, "CapInh"), "0000000000000000");
    EXPECT_EQ(statusOf(process, "CapBnd"), "0000000000000000");
    EXPECT_EQ(statusOf(process, "CapAmb"), "0000000000000000");
    EXPECT_EQ(statusOf(process, "NoNewPrivs"), "1");
    EXPECT_EQ(statusOf(process, "Seccomp"), QUILLO_SANITIZED ? "0" : "2");
  }
}

TEST_F(GfsloggerRights, AreInForceOnlyWhileACallNeedsThem) {
  start();
  const pid_t helper = agent().helper();
  EXPECT_EQ(statusOf(helper, "CapEff"), "0000000000000000");
  EXPECT_EQ(statusOf(markerOf(helper), "CapEff"), "0000000000000000");
}

TEST_F(GfsloggerRights, OfRootItselfAreToReadOnlyWhileNothingIsMarked) {
  StandInAgent::Options how = options();
  how.user = 0;
  start(how);
  const pid_t helper = agent().helper();
  EXPECT_EQ(statusOf(helper, "CapEff"), "0000000000000004");
  EXPECT_EQ(statusOf(markerOf(helper), "CapEff"), "0000000000000004");
}

// A user of no other test's, who has taken every queue that one user may have.
class ExhaustedUser {
 public:
  static constexpr uid_t id = 54321;

  ExhaustedUser() {
    int ends[2];
    check(pipe(ends), "pipe");
    process_ = check(fork(), "fork");
    if (process_ == 0) takeAll(ends[1]);
    close(ends[1]);
    char byte = 0;
    const ssize_t got = read(ends[0], &byte, 1);
    close(ends[0]);
    check(got == 1 ? 0 : -1, "taking all queues");
  }
  ~ExhaustedUser() {
    kill(process_, SIGKILL);
    waitpid(process_, nullptr, 0);
  }
  ExhaustedUser(const ExhaustedUser&) = delete;
  ExhaustedUser& operator=(const ExhaustedUser&) = delete;

 private:
  [[noreturn]] static void takeAll(int done) {
    const rlimit many{4096, 4096};
    setrlimit(RLIMIT_NOFILE, &many);
    prctl(PR_SET_KEEPCAPS, 1, 0, 0, 0);
    if (setresuid(id, id, id) < 0) _exit(1);
    prctl(PR_SET_PDEATHSIG, SIGKILL, 0, 0, 0);
    __user_cap_header_struct header{_LINUX_CAPABILITY_VERSION_3, 0};
    std::array<__user_cap_data_struct, 2> data{};
    data[0].permitted = data[0].effective = 1U << CAP_SYS_ADMIN;
    if (syscall(SYS_capset, &header, data.data()) < 0) _exit(1);
    while (fanotify_init(FAN_CLASS_NOTIF, O_RDONLY) >= 0) {
    }
    if (write(done, "", 1) != 1) _exit(1);
    for (;;) pause();
  }

  pid_t process_ = -1;
};

TEST_F(GfsloggerRights, TakeTheQueuesOutOfTheCallersShareAndNotOutOfRoots) {
  const ExhaustedUser user;
  StandInAgent::Options how = options();
  how.user = ExhaustedUser::id;
  StandInAgent exhausted(how);
  ASSERT_TRUE(exhausted.output().waitForEnd());
  ASSERT_TRUE(exhausted.errors().waitForEnd());
  ASSERT_EQ(exhausted.errors().all().size(), 1U);
  EXPECT_EQ(exhausted.errors().all()[0],
            "gfslogger: asking for file events with names: Too many open files");
  const int ending = exhausted.reap().status;
  EXPECT_TRUE(WIFEXITED(ending) && WEXITSTATUS(ending) == 3);
  // Nobody else notices.
  start();
}

#if !QUILLO_SANITIZED

// What flags the process's system call filter was installed with (seccomp(2)).
std::uint64_t filterFlagsOf(pid_t process) {
  check(static_cast<int>(ptrace(PTRACE_SEIZE, process, nullptr, nullptr)), "PTRACE_SEIZE");
  check(static_cast<int>(ptrace(PTRACE_INTERRUPT, process, nullptr, nullptr)), "PTRACE_INTERRUPT");
  check(waitpid(process, nullptr, __WALL), "waitpid");
  __ptrace_seccomp_metadata data{};

  check(static_cast<int>(ptrace(PTRACE_SECCOMP_GET_METADATA, process, sizeof(data), &data)),
        "the filter's flags");
  ptrace(PTRACE_DETACH, process, nullptr, nullptr);
  return data.flags;
}

TEST_F(GfsloggerRights, ToCallTheKernelAreLoggedWhenTheyAreRefused) {
  start();
  const pid_t marker = markerOf(agent().helper());
  for (const pid_t process : {agent().helper(), marker}) {
    EXPECT_EQ(filterFlagsOf(process) & SECCOMP_FILTER_FLAG_LOG, SECCOMP_FILTER_FLAG_LOG);
  }
  EXPECT_TRUE(catchUp());
}

#endif

}  // namespace
}  // namespace quillo::tests
