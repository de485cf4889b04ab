// Preferences that are written while they are read, and on a disk that takes nothing.

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <filesystem>
#include <fstream>

#include "settings/PreferenceWriter.h"
#include "tests/faults/support/FullDisk.h"
#include "tests/root/support/agent/GuardedHome.h"
#include "tests/root/support/agent/SmallDesktop.h"
#include "tests/root/support/world/FilesAndMounts.h"
#include "tests/support/Threads.h"
#include "tests/support/Waiting.h"

namespace quillo::tests {
namespace {

namespace fs = std::filesystem;
const std::string found = ": Eicar-Test-Signature.UNOFFICIAL FOUND";

class FaultyPreferences : public testing::Test {
 protected:
  std::string file() const { return home.home() + "/.config/vantrel/org.vantrel.Vantrel.toml"; }

  SmallDesktop desktop;
  GuardedHome home;
};

TEST_F(FaultyPreferences, ThatAreRewrittenWhileTheyAreReadLeaveTheAgentGuarding) {
  home.setDesktop(desktop.environment());
  home.startAndAwaitWatching();
  const std::string whole = readFile(file());
  std::atomic<bool> isEnough = false;
  {
    // As an editor, and the settings' page, save.
    JoinedThreads writer([&] {
      while (!isEnough) {
        std::ofstream(file() + "~", std::ios::trunc) << "# " << std::string(60000, 'x') << "\n"
                                                     << whole;
        fs::rename(file() + "~", file());
      }
    });
    for (int restart = 1; restart <= 10; ++restart) {
      EXPECT_TRUE(desktop.choose("Restart Watching"));
    }
    isEnough = true;
  }
  home.awaitWatching("again");
  EXPECT_EQ(home.linesWith("There is no folder to guard"), 0);
  EXPECT_EQ(home.linesWith("couldn't be found"), 0);
  EXPECT_TRUE(home.logHas(home.saveInfected("bad.com") + found));
}

TEST_F(FaultyPreferences, OnADiskThatHoldsNoMoreFilesStayAsTheyAre) {
  const SmallDisk disk("/tmp/guarded/disk", "nr_inodes=16");
  check(chown(disk.path().c_str(), 0, 0), "chown");
  const std::string before = "x = false\n";
  writeFile(disk.path() + "/p.toml", before);
  PreferenceWriter writer(disk.path() + "/p.toml");
  const auto setX = [](TomlEditor& editor) { editor.set("x", {true}); };
  disk.useUpFiles();
  EXPECT_EQ(writer.apply(setX).problem, PreferenceWriter::Problem::noRoom);
  EXPECT_EQ(readFile(writer.path()), before);
  disk.makeRoom();
  EXPECT_EQ(writer.apply(setX).problem, PreferenceWriter::Problem::none);
}

}  // namespace
}  // namespace quillo::tests
