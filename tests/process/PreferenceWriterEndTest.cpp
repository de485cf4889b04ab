#include <gtest/gtest.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstddef>
#include <initializer_list>
#include <vector>

#include "settings/PreferenceWriter.h"
#include "tests/support/TemporaryFolder.h"

namespace quillo {
namespace {

// Has the kernel end this process when it comes to one of these system calls.
void dieAt(std::initializer_list<unsigned int> calls) {
  std::vector<sock_filter> program = {
      BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr))};
  for (const unsigned int call : calls) {
    program.push_back(BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, call, 0, 1));
    program.push_back(BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_KILL_PROCESS));
  }
  program.push_back(BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW));
  const sock_fprog filter = {static_cast<unsigned short>(program.size()), program.data()};
  prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0);
  prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &filter);
}

class PreferenceWriterEnd : public testing::Test {
 protected:
  PreferenceWriterEnd() { folder.write("p.toml", before); }

  // A writer in a process of its own, that dies at one of these calls. Returns whether it did.
  bool dies(std::initializer_list<unsigned int> calls) const {
    const pid_t child = fork();
    if (child == 0) {
      dieAt(calls);
      PreferenceWriter writer(folder.at("p.toml"));
      writer.apply([](TomlEditor& editor) { editor.set("x", {true}); });
      _exit(0);
    }
    int status = 0;
    EXPECT_EQ(waitpid(child, &status, 0), child);
    return WIFSIGNALED(status);
  }
  std::string text() const { return TemporaryFolder::read(folder.at("p.toml")); }

  TemporaryFolder folder;
  const std::string before = "# mine\nx = false\n";
};

TEST_F(PreferenceWriterEnd, BeforeTheNewFileIsWholeLeavesTheOldOne) {
  EXPECT_TRUE(dies({SYS_write}));
  EXPECT_EQ(text(), before);
}

TEST_F(PreferenceWriterEnd, BeforeTheNewFileIsOnTheDiskLeavesTheOldOne) {
  EXPECT_TRUE(dies({SYS_fsync}));
  EXPECT_EQ(text(), before);
}

TEST_F(PreferenceWriterEnd, BeforeTheNewFileTakesItsPlaceLeavesTheOldOne) {
#ifdef SYS_rename
  EXPECT_TRUE(dies({SYS_rename, SYS_renameat, SYS_renameat2}));
#else
  EXPECT_TRUE(dies({SYS_renameat, SYS_renameat2}));
#endif
  EXPECT_EQ(text(), before);
}

TEST_F(PreferenceWriterEnd, IsNoHindranceToTheNextWriter) {
  EXPECT_TRUE(dies({SYS_write}));
  EXPECT_FALSE(dies({}));
  EXPECT_EQ(text(), "# mine\nx = true\n");
}

}  // namespace
}  // namespace quillo
