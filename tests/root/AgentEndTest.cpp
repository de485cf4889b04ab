// How the real agent ends, and what ends with it.

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>

#include "posix/FileFacts.h"
#include "tests/root/support/agent/GuardedHome.h"

namespace quillo::tests {
namespace {

// A home whose scanner works forever, in a child of its own, and bears no name that others do.
class AgentEnd : public testing::Test {
 protected:
  void SetUp() override {
    home.startAndAwaitWatching();
    const std::string scanner = home.tree() + "/bin/clamdscan";
    std::filesystem::remove(scanner);
    home.save(scanner, "#!/bin/sh\nexec /bin/sh -c '(echo $$ > /tmp/scans; sleep 1000); exit 3'\n");
    ASSERT_EQ(chmod(scanner.c_str(), 0755), 0);
    home.save("document.txt", "text");
    ASSERT_TRUE(home.logHas("Scanning: " + home.guarded("document.txt")));
    while (contentsOfFile("/tmp/scans").value_or("").empty()) {
    }
  }
  // Of whatever name, the dead that nobody has asked after left out.
  static int running(const std::string& word) {
    int count = 0;
    for (const auto& each : std::filesystem::directory_iterator("/proc")) {
      count += contentsOfFile(each.path().string() + "/cmdline").value_or("").find(word) !=
                       std::string::npos
                   ? 1
                   : 0;
    }
    return count;
  }
  static bool becomesNone(const std::string& word) {
    for (int tries = 0; tries < 20000; ++tries) {
      if (running(word) == 0) {
        return true;
      }
    }
    return false;
  }

  GuardedHome home;
};

TEST_F(AgentEnd, ByASignalEndsARunningScanWithAllItStarted) {
  const std::string sleeps("sleep\0001000", 10);
  ASSERT_GE(running(sleeps), 1);
  EXPECT_EQ(home.stop(), 0);
  EXPECT_TRUE(becomesNone(sleeps));
  EXPECT_TRUE(becomesNone("/tmp/scans"));
}

}  // namespace
}  // namespace quillo::tests
