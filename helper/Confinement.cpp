#include "helper/Confinement.h"

#ifndef QUILLO_SECCOMP

namespace quillo::helper {

void confineMarker() {}
void confineReader() {}

}  // namespace quillo::helper

#else

#include <fcntl.h>
#include <seccomp.h>
#include <sys/mman.h>
#include <sys/socket.h>

#include <cerrno>
#include <initializer_list>
#include <memory>

#include "helper/Failure.h"

namespace quillo::helper {
namespace {

class Filter {
 public:
  Filter() : context_(seccomp_init(SCMP_ACT_ERRNO(EPERM)), seccomp_release) {
    check(context_ ? 0 : -ENOMEM);
  }

  void allow(std::initializer_list<int> calls) {
    for (const int call : calls) check(seccomp_rule_add(context_.get(), SCMP_ACT_ALLOW, call, 0));
  }

  // `mask` selects the bits of the argument that have to equal `value`.
  void allowIf(int call, unsigned argument, scmp_datum_t mask, scmp_datum_t value) {
    const scmp_arg_cmp condition{argument, SCMP_CMP_MASKED_EQ, mask, value};
    check(seccomp_rule_add_array(context_.get(), SCMP_ACT_ALLOW, call, 1, &condition));
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

constexpr scmp_datum_t changing = O_ACCMODE | O_CREAT | O_TRUNC | O_APPEND;

// Memory, ending, waiting, reading the mount table and writing to the system log.
void allowCommon(Filter& filter) {
  filter.allow({SCMP_SYS(brk), SCMP_SYS(munmap), SCMP_SYS(mremap), SCMP_SYS(madvise),
                SCMP_SYS(futex), SCMP_SYS(getrandom)});
  filter.allowIf(SCMP_SYS(mmap), 2, PROT_EXEC, 0);
  filter.allowIf(SCMP_SYS(mprotect), 2, PROT_EXEC, 0);
  filter.allow({SCMP_SYS(exit), SCMP_SYS(exit_group), SCMP_SYS(rt_sigreturn),
                SCMP_SYS(rt_sigprocmask), SCMP_SYS(rt_sigaction), SCMP_SYS(tgkill),
                SCMP_SYS(getpid), SCMP_SYS(gettid), SCMP_SYS(getuid)});
  filter.allow({SCMP_SYS(poll), SCMP_SYS(ppoll), SCMP_SYS(nanosleep), SCMP_SYS(clock_nanosleep),
                SCMP_SYS(clock_gettime), SCMP_SYS(gettimeofday), SCMP_SYS(time),
                SCMP_SYS(restart_syscall)});
  filter.allow({SCMP_SYS(read), SCMP_SYS(write), SCMP_SYS(close), SCMP_SYS(lseek), SCMP_SYS(fstat),
                SCMP_SYS(newfstatat), SCMP_SYS(statx), SCMP_SYS(fcntl)});
  filter.allowIf(SCMP_SYS(openat), 2, changing, O_RDONLY);
  filter.allowIf(SCMP_SYS(socket), 0, ~scmp_datum_t{0}, AF_UNIX);
  filter.allow({SCMP_SYS(connect), SCMP_SYS(sendto)});
}

}  // namespace

void confineMarker() {
  Filter filter;
  allowCommon(filter);
  filter.allow({SCMP_SYS(fanotify_mark), SCMP_SYS(fsopen), SCMP_SYS(fsconfig), SCMP_SYS(fsmount)});
  filter.load();
}

void confineReader() {
  Filter filter;
  allowCommon(filter);
  filter.allow({SCMP_SYS(capset), SCMP_SYS(openat2), SCMP_SYS(faccessat2), SCMP_SYS(fstatfs),
                SCMP_SYS(readlink), SCMP_SYS(readlinkat), SCMP_SYS(getdents64)});
  filter.allowIf(SCMP_SYS(open_by_handle_at), 2, changing, O_RDONLY);
  filter.load();
}

}  // namespace quillo::helper

#endif
