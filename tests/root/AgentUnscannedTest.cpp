// What the user hears of files that the real engine did not scan.

#include <gtest/gtest.h>
#include <signal.h>
#include <unistd.h>

#include <filesystem>

#include "tests/root/support/agent/GuardedHome.h"
#include "tests/root/support/agent/SmallDesktop.h"
#include "tests/root/support/world/FilesAndMounts.h"

namespace quillo::tests {
namespace {

class AgentUnscanned : public testing::Test {
 protected:
  // `lines` are the daemon's owner's own.
  void start(const std::string& lines) {
    for (const std::string& variable : desktop.environment()) {
      home.setVariable(variable);
    }
    const std::string additions = home.tree() + "/etc/clamd.local";
    writeFile(additions, lines);
    check(chown(additions.c_str(), GuardedHome::user, GuardedHome::user), "chown " + additions);
    home.makeTree();
    home.startAndAwaitWatching();
  }
  // A file of that size, most of which the disk does not hold.
  std::string saveSparse(const std::string& name, std::uintmax_t size) {
    const std::string path = home.save(home.home() + "/outside/" + name, "x");
    std::filesystem::resize_file(path, size);
    std::filesystem::rename(path, home.guarded(name));
    return home.guarded(name);
  }

  SmallDesktop desktop;
  GuardedHome home;
};

TEST_F(AgentUnscanned, ReportsOnceAFileThatIsLargerThanTheEngineTakes) {
  start("MaxFileSize 1M\n");
  const std::string file = saveSparse("big.iso", (1U << 20U) + 1);
  const std::string line = file + ": Not scanned: larger than the limit of 1 MB";
  EXPECT_TRUE(home.logHas(line));
  EXPECT_TRUE(desktop.awaitNotification(
      "big.iso was not scanned: it is larger than the engine takes (1 MB)."));
  saveSparse("big.iso", (1U << 20U) + 2);
  ASSERT_TRUE(home.logHas(line, 2));
  ASSERT_TRUE(home.logHas(home.saveInfected("after.com") + ": Eicar"));
  EXPECT_EQ(desktop.notificationsWith("big.iso was not scanned"), 1) << home.readLog();
}

TEST_F(AgentUnscanned, ReportsAFileThatTheEngineDidNotLookThrough) {
  start("MaxScanSize 1M\nMaxFileSize 1M\n");
  const std::string folder = home.home() + "/outside";
  home.save(folder + "/inner", std::string(2U << 20U, 'x'));
  ASSERT_EQ(
      home.runAsUser({"/usr/bin/zip", "-q", "-j", home.guarded("archive.zip"), folder + "/inner"})
          .status,
      0);
  EXPECT_TRUE(home.logHas(home.guarded("archive.zip") +
                          ": Not scanned: not to its end: beyond the daemon's MaxScanSize"));
  EXPECT_TRUE(desktop.awaitNotification("archive.zip was not scanned to its end"));
}

TEST_F(AgentUnscanned, ReportsHowManyFilesAnAbortLeftUnscanned) {
  start("");
  ASSERT_TRUE(home.logHas(home.guarded("sentinel") + ": OK"));
  const pid_t daemon = home.daemon();
  ASSERT_GT(daemon, 0);
  ASSERT_EQ(kill(daemon, SIGSTOP), 0);
  const std::string file = home.save("document.txt", "text");
  ASSERT_TRUE(home.logHas("Scanning: " + file));
  ASSERT_TRUE(desktop.choose("Abort Scans"));
  EXPECT_TRUE(home.logHas("Scans aborted: 1 file was not scanned"));
  EXPECT_TRUE(home.logHas("Aborted, not scanned: " + file));
  EXPECT_EQ(kill(daemon, SIGCONT), 0);
  EXPECT_TRUE(home.logHas(home.save("document.txt", "other text") + ": OK"));
}

}  // namespace
}  // namespace quillo::tests
