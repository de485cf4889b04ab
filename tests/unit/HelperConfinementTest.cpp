// What the helper's system call filters do with each call, asked of the kernel.

#ifdef QUILLO_SECCOMP

#include <fcntl.h>
#include <gtest/gtest.h>
#include <linux/openat2.h>
#include <sys/fanotify.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <sys/mount.h>
#include <sys/prctl.h>
#include <sys/ptrace.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <functional>
#include <string>
#include <vector>

#include "helper/Confinement.h"

namespace quillo::helper {
namespace {

struct Call {
  std::string name;
  std::function<long()> make;
};

void PrintTo(const Call& call, std::ostream* out) { *out << call.name; }

std::string nameOf(const testing::TestParamInfo<Call>& info) { return info.param.name; }

// What becomes of a process that makes the call behind a filter.
std::string fate(const std::function<void()>& confine, const std::function<long()>& make) {
  const pid_t child = fork();
  if (child == 0) {
    const rlimit noCore{0, 0};
    setrlimit(RLIMIT_CORE, &noCore);
    confine();
    errno = 0;
    _exit(make() < 0 ? errno : 0);
  }
  int status = 0;
  if (child < 0 || waitpid(child, &status, 0) != child) return "not started";
  if (WIFSIGNALED(status)) return WTERMSIG(status) == SIGSYS ? "killed" : "another signal";
  if (WEXITSTATUS(status) == EPERM) return "refused";
  return WEXITSTATUS(status) == 0 ? "allowed" : "error " + std::to_string(WEXITSTATUS(status));
}

std::string fateInMarker(const Call& call, bool mayOpenFileSystems = false) {
  return fate([&] { confineMarker(mayOpenFileSystems); }, call.make);
}

std::string fateInReader(const Call& call) { return fate(confineReader, call.make); }

Call opening(const std::string& name, int flags) {
  return {name, [flags] { return syscall(SYS_openat, AT_FDCWD, "/dev/null", flags, 0600); }};
}

Call controlling(const std::string& name, int command, long value = 0) {
  return {name, [=] { return syscall(SYS_fcntl, 0, command, value); }};
}

Call calling(const std::string& name, long number) {
  return {name, [number] { return syscall(number, 0, 0, 0, 0, 0, 0); }};
}

std::vector<Call> takeovers() {
  return {
      opening("openToWrite", O_WRONLY),
      opening("openToReadAndWrite", O_RDWR),
      opening("openToCreate", O_RDONLY | O_CREAT),
      opening("openToTruncate", O_RDONLY | O_TRUNC),
      opening("openToAppend", O_RDONLY | O_APPEND),
      opening("openWithoutAName", O_TMPFILE | O_RDWR),
#ifdef SYS_open  // only the older processors have it
      {"oldOpenToWrite", [] { return syscall(SYS_open, "/dev/null", O_WRONLY); }},
#endif
      calling("execve", SYS_execve),
      calling("execveat", SYS_execveat),
      calling("clone", SYS_clone),
      calling("clone3", SYS_clone3),
      {"killOfAnother", [] { return syscall(SYS_kill, getppid(), 0); }},
      {"tgkillOfAnother", [] { return syscall(SYS_tgkill, getppid(), getppid(), 0); }},
      {"tkillOfAnother", [] { return syscall(SYS_tkill, getppid(), 0); }},
      calling("pidfdSendSignal", SYS_pidfd_send_signal),
      calling("rtSigqueueinfo", SYS_rt_sigqueueinfo),
      controlling("ownerOfADescriptor", F_SETOWN, 1),
      controlling("ownerOfADescriptorByKind", F_SETOWN_EX),
      controlling("signalOfADescriptor", F_SETSIG, SIGKILL),
      {"socketOfTheInternet", [] { return syscall(SYS_socket, AF_INET, SOCK_STREAM, 0); }},
      {"socketOfTheKernel", [] { return syscall(SYS_socket, AF_NETLINK, SOCK_RAW, 0); }},
      {"executableMemory",
       [] {
         return syscall(SYS_mmap, nullptr, 4096, PROT_READ | PROT_EXEC, MAP_PRIVATE | MAP_ANONYMOUS,
                        -1, 0);
       }},
      {"memoryMadeExecutable", [] { return syscall(SYS_mprotect, 0, 4096, PROT_EXEC); }},
      calling("ptrace", SYS_ptrace),
      calling("processVmReadv", SYS_process_vm_readv),
      calling("unlinkat", SYS_unlinkat),
      calling("renameat2", SYS_renameat2),
      calling("fchmodat", SYS_fchmodat),
      calling("linkat", SYS_linkat),
      calling("mount", SYS_mount),
      calling("moveMount", SYS_move_mount),
      calling("setuid", SYS_setuid),
      calling("unshare", SYS_unshare),
      calling("bpf", SYS_bpf),
      calling("ioUringSetup", SYS_io_uring_setup),
      calling("initModule", SYS_init_module),
      calling("fanotifyInit", SYS_fanotify_init),
  };
}

class Takeover : public testing::TestWithParam<Call> {};

TEST_P(Takeover, KillsReaderAndMarker) {
  EXPECT_EQ(fateInReader(GetParam()), "killed");
  EXPECT_EQ(fateInMarker(GetParam()), "killed");
  EXPECT_EQ(fateInMarker(GetParam(), true), "killed");
}

INSTANTIATE_TEST_SUITE_P(Confinement, Takeover, testing::ValuesIn(takeovers()), nameOf);

std::vector<Call> unlisted() {
  return {
      // Its flags lie where no filter can look.
      {"openat2",
       [] {
         open_how how{};
         how.flags = O_WRONLY;
         return syscall(SYS_openat2, AT_FDCWD, "/dev/null", &how, sizeof(how));
       }},
#ifdef SYS_open
      {"oldOpenToRead", [] { return syscall(SYS_open, "/dev/null", O_RDONLY); }},
#endif
      calling("ioctl", SYS_ioctl),
      calling("socketpair", SYS_socketpair),
      calling("bind", SYS_bind),
      calling("sendmsg", SYS_sendmsg),
      calling("memfdCreate", SYS_memfd_create),
      calling("getppid", SYS_getppid),
      calling("prctl", SYS_prctl),
      controlling("lease", F_SETLEASE, F_RDLCK),
      controlling("duplicate", F_DUPFD),
      controlling("statusFlags", F_SETFL, O_ASYNC),
  };
}

class UnlistedCall : public testing::TestWithParam<Call> {};

TEST_P(UnlistedCall, FailsInReaderAndMarker) {
  EXPECT_EQ(fateInReader(GetParam()), "refused");
  EXPECT_EQ(fateInMarker(GetParam()), "refused");
}

INSTANTIATE_TEST_SUITE_P(Confinement, UnlistedCall, testing::ValuesIn(unlisted()), nameOf);

std::vector<Call> needed() {
  return {
      opening("openToRead", O_RDONLY | O_CLOEXEC),
      opening("openAPath", O_PATH | O_CLOEXEC),
      controlling("descriptorFlags", F_GETFD),
      {"socketOfThisMachine", [] { return syscall(SYS_socket, AF_UNIX, SOCK_DGRAM, 0); }},
      {"signalToItself", [] { return syscall(SYS_tgkill, getpid(), gettid(), 0); }},
      {"memory",
       [] {
         return syscall(SYS_mmap, nullptr, 4096, PROT_READ | PROT_WRITE,
                        MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
       }},
  };
}

class NeededCall : public testing::TestWithParam<Call> {};

TEST_P(NeededCall, IsAllowedInReaderAndMarker) {
  EXPECT_EQ(fateInReader(GetParam()), "allowed");
  EXPECT_EQ(fateInMarker(GetParam()), "allowed");
}

INSTANTIATE_TEST_SUITE_P(Confinement, NeededCall, testing::ValuesIn(needed()), nameOf);

const Call openingByHandle{"", [] { return syscall(SYS_open_by_handle_at, -1, nullptr, O_PATH); }};
const Call marking{"", [] { return syscall(SYS_fanotify_mark, -1, 0, 0, AT_FDCWD, "/"); }};
// Of a kind that is not there, so that nobody may open it.
const Call openingAFileSystem{"", [] { return syscall(SYS_fsopen, nullptr, 0); }};

TEST(Confinement, OfTheReaderAllowsFoldersByTheirHandleAndNoMarks) {
  const Call writingByHandle{"",
                             [] { return syscall(SYS_open_by_handle_at, -1, nullptr, O_WRONLY); }};
  EXPECT_EQ(fateInReader(openingByHandle), "error " + std::to_string(EFAULT));
  EXPECT_EQ(fateInReader(writingByHandle), "killed");
  EXPECT_EQ(fateInReader(marking), "killed");
  EXPECT_EQ(fateInReader(openingAFileSystem), "killed");
}

TEST(Confinement, OfTheReaderAllowsToAskHowMuchAPipeHolds) {
  const Call asking{"", [] { return syscall(SYS_ioctl, -1, FIONREAD, nullptr); }};
  EXPECT_EQ(fateInReader(asking), "error " + std::to_string(EBADF));
}

TEST(Confinement, OfTheMarkerAllowsMarksAndNoFoldersByTheirHandle) {
  EXPECT_EQ(fateInMarker(openingByHandle), "killed");
  EXPECT_EQ(fateInMarker(marking), "error " + std::to_string(EINVAL));
}

TEST(Confinement, OfTheMarkerAllowsToOpenFileSystemsOnlyWhereItWasAskedTo) {
  EXPECT_EQ(fateInMarker(openingAFileSystem), "killed");
  EXPECT_NE(fateInMarker(openingAFileSystem, true), "killed");
}

}  // namespace
}  // namespace quillo::helper

#endif
