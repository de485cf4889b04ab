#include "helper/Confinement.h"

#ifndef QUILLO_SECCOMP

namespace quillo::helper {

void confineReader() {}
void confineMarker(bool) {}

}  // namespace quillo::helper

#else

#include <fcntl.h>
#include <seccomp.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <initializer_list>
#include <memory>

#include "helper/Failure.h"

#ifndef QUILLO_SECCOMP_LOG
#define QUILLO_SECCOMP_LOG 0
#endif

namespace quillo::helper {
namespace {

using Names = std::initializer_list<const char*>;

class Filter {
 public:
  Filter() : context_(seccomp_init(SCMP_ACT_ERRNO(EPERM)), seccomp_release) {
    check(context_ ? 0 : -ENOMEM);
    check(seccomp_attr_set(context_.get(), SCMP_FLTATR_ACT_BADARCH, SCMP_ACT_KILL_PROCESS));
    check(seccomp_attr_set(context_.get(), SCMP_FLTATR_CTL_LOG, QUILLO_SECCOMP_LOG));
  }

  void allow(std::initializer_list<int> calls) {
    for (const int call : calls) check(seccomp_rule_add(context_.get(), SCMP_ACT_ALLOW, call, 0));
  }

  void allowIf(int call, const scmp_arg_cmp& condition) {
    check(seccomp_rule_add_array(context_.get(), SCMP_ACT_ALLOW, call, 1, &condition));
  }

  void killIf(int call, const scmp_arg_cmp& condition) {
    check(seccomp_rule_add_array(context_.get(), SCMP_ACT_KILL_PROCESS, call, 1, &condition));
  }

  // By name, as some are younger than the headers or unknown to the processor.
  void kill(Names calls) {
    for (const char* name : calls) {
      const int call = seccomp_syscall_resolve_name(name);
      if (call == __NR_SCMP_ERROR) continue;
      check(seccomp_rule_add(context_.get(), SCMP_ACT_KILL_PROCESS, call, 0));
    }
  }

  void load() { check(seccomp_load(context_.get())); }

 private:
  static void check(int result) {
    if (result == 0) return;
    errno = -result;
    throw systemFailure("filtering system calls");
  }

  std::unique_ptr<void, decltype(&seccomp_release)> context_;
};

// Conditions on an argument: the bits of `mask` equal `value`, or all of it does, or does not.
scmp_arg_cmp bits(unsigned argument, scmp_datum_t mask, scmp_datum_t value) {
  return {argument, SCMP_CMP_MASKED_EQ, mask, value};
}
scmp_arg_cmp is(unsigned argument, scmp_datum_t value) { return {argument, SCMP_CMP_EQ, value, 0}; }
scmp_arg_cmp isNot(unsigned argument, scmp_datum_t value) {
  return {argument, SCMP_CMP_NE, value, 0};
}

// `flags` is the number of the argument that holds the flags of open(2).
void killIfWriting(Filter& filter, int call, unsigned flags) {
  for (const int flag : {O_WRONLY, O_RDWR, O_CREAT, O_TRUNC, O_APPEND}) {
    const auto bit = static_cast<scmp_datum_t>(flag);
    filter.killIf(call, bits(flags, bit, bit));
  }
}

void allowToReadOnly(Filter& filter, int call, unsigned flags) {
  constexpr scmp_datum_t changing = O_ACCMODE | O_CREAT | O_TRUNC | O_APPEND;
  filter.allowIf(call, bits(flags, changing, O_RDONLY));
  killIfWriting(filter, call, flags);
}

void allowUnlessExecutable(Filter& filter, int call) {
  filter.allowIf(call, bits(2, PROT_EXEC, 0));
  filter.killIf(call, bits(2, PROT_EXEC, PROT_EXEC));
}

// What only somebody asks for who took the process over.
void killTakeovers(Filter& filter) {
  filter.kill({"execve", "execveat", "fork", "vfork", "clone", "clone3", "ptrace", "kcmp"});
  filter.kill({"kill", "tkill", "rt_sigqueueinfo", "rt_tgsigqueueinfo", "pidfd_send_signal",
               "pidfd_getfd", "process_vm_readv", "process_vm_writev", "process_madvise"});
  filter.kill({"creat",     "truncate", "ftruncate", "fallocate", "unlink",   "unlinkat",
               "rename",    "renameat", "renameat2", "link",      "linkat",   "symlink",
               "symlinkat", "mkdir",    "mkdirat",   "rmdir",     "mknod",    "mknodat",
               "chmod",     "fchmod",   "fchmodat",  "fchmodat2", "chown",    "lchown",
               "fchown",    "fchownat", "setxattr",  "lsetxattr", "fsetxattr"});
  filter.kill({"setuid", "setgid", "setreuid", "setregid", "setresuid", "setresgid", "setfsuid",
               "setfsgid", "setgroups", "setns", "unshare", "chroot", "pivot_root"});
  filter.kill({"mount",           "umount2",        "move_mount",  "open_tree",       "fspick",
               "mount_setattr",   "swapon",         "swapoff",     "reboot",          "init_module",
               "finit_module",    "delete_module",  "kexec_load",  "kexec_file_load", "bpf",
               "perf_event_open", "io_uring_setup", "userfaultfd", "keyctl",          "add_key",
               "request_key",     "iopl",           "ioperm",      "quotactl",        "acct"});
}

// A process can also be made to get a signal by what happens to a descriptor.
void allowToControlDescriptors(Filter& filter) {
  for (const scmp_datum_t command : {F_GETFD, F_SETFD, F_GETFL}) {
    filter.allowIf(SCMP_SYS(fcntl), is(1, command));
  }
  for (const scmp_datum_t command : {F_SETOWN, F_SETOWN_EX, F_SETSIG}) {
    filter.killIf(SCMP_SYS(fcntl), is(1, command));
  }
}

// A signal to itself is how a program aborts.
void allowToAbort(Filter& filter) {
  const auto self = static_cast<scmp_datum_t>(getpid());
  filter.allowIf(SCMP_SYS(tgkill), is(0, self));
  filter.killIf(SCMP_SYS(tgkill), isNot(0, self));
}

// Memory, ending, waiting, reading the mount table and writing to the system log.
void allowCommon(Filter& filter) {
  filter.allow({SCMP_SYS(brk), SCMP_SYS(munmap), SCMP_SYS(mremap), SCMP_SYS(madvise),
                SCMP_SYS(futex), SCMP_SYS(getrandom), SCMP_SYS(capset)});
  allowUnlessExecutable(filter, SCMP_SYS(mmap));
  allowUnlessExecutable(filter, SCMP_SYS(mprotect));
  filter.allow({SCMP_SYS(exit), SCMP_SYS(exit_group), SCMP_SYS(rt_sigreturn),
                SCMP_SYS(rt_sigprocmask), SCMP_SYS(rt_sigaction), SCMP_SYS(getpid),
                SCMP_SYS(gettid), SCMP_SYS(getuid)});
  allowToAbort(filter);
  filter.allow({SCMP_SYS(poll), SCMP_SYS(ppoll), SCMP_SYS(nanosleep), SCMP_SYS(clock_nanosleep),
                SCMP_SYS(clock_gettime), SCMP_SYS(gettimeofday), SCMP_SYS(time),
                SCMP_SYS(restart_syscall)});
  filter.allow({SCMP_SYS(read), SCMP_SYS(write), SCMP_SYS(close), SCMP_SYS(lseek), SCMP_SYS(fstat),
                SCMP_SYS(newfstatat), SCMP_SYS(statx)});
  allowToReadOnly(filter, SCMP_SYS(openat), 2);
  killIfWriting(filter, SCMP_SYS(open), 1);
  allowToControlDescriptors(filter);
  filter.allowIf(SCMP_SYS(socket), is(0, AF_UNIX));
  filter.killIf(SCMP_SYS(socket), isNot(0, AF_UNIX));
  filter.allow({SCMP_SYS(connect), SCMP_SYS(sendto)});
  killTakeovers(filter);
}

}  // namespace

void confineReader() {
  Filter filter;
  allowCommon(filter);
  filter.allow({SCMP_SYS(faccessat2), SCMP_SYS(fstatfs), SCMP_SYS(readlink), SCMP_SYS(readlinkat),
                SCMP_SYS(getdents64)});
  allowToReadOnly(filter, SCMP_SYS(open_by_handle_at), 2);
  filter.allowIf(SCMP_SYS(ioctl), is(1, FIONREAD));
  filter.kill({"fsopen", "fsconfig", "fsmount", "fanotify_init", "fanotify_mark"});
  filter.load();
}

void confineMarker(bool mayOpenFileSystems) {
  Filter filter;
  allowCommon(filter);
  filter.allow({SCMP_SYS(fanotify_mark)});
  if (mayOpenFileSystems) {
    filter.allow({SCMP_SYS(fsopen), SCMP_SYS(fsconfig), SCMP_SYS(fsmount)});
  } else {
    filter.kill({"fsopen", "fsconfig", "fsmount"});
  }
  filter.kill({"fanotify_init", "open_by_handle_at"});
  filter.load();
}

}  // namespace quillo::helper

#endif
