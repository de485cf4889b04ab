// The real agent when something around it goes wrong.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "tests/root/support/agent/GuardedHome.h"
#include "tests/root/support/world/FilesAndMounts.h"
#include "tests/support/Waiting.h"

namespace quillo::tests {
namespace {

const std::string found = ": Eicar-Test-Signature.UNOFFICIAL FOUND";

TEST(AgentTrouble, LaunchesTheDaemonAgainAfterACrash) {
  GuardedHome home;
  home.startAndAwaitWatching();
  ASSERT_TRUE(home.logHas(home.save("before.txt", "before") + ": OK"));
  ASSERT_EQ(kill(home.daemon(), SIGKILL), 0);
  home.save("meanwhile.txt", "meanwhile");
  ASSERT_TRUE(home.logHas("ERROR: Could not connect to clamd"));
  ASSERT_TRUE(home.logHas("Scanned (status 2): " + home.guarded("meanwhile.txt")));
  EXPECT_TRUE(home.logHas(home.guarded("meanwhile.txt") + ": OK"));
  EXPECT_TRUE(home.logHas(home.saveInfected("after.com") + found));
  EXPECT_GT(home.daemon(), 0);
}

TEST(AgentTrouble, FindsWhatTheDaemonHadWhenItWasKilled) {
  GuardedHome home;
  home.startAndAwaitWatching();
  ASSERT_TRUE(home.logHas(home.guarded("sentinel") + ": OK"));
  const pid_t daemon = home.daemon();
  ASSERT_EQ(kill(daemon, SIGSTOP), 0);
  const std::string file = home.saveInfected("held.com");
  ASSERT_TRUE(home.logHas("Scanning: " + file));
  ASSERT_EQ(kill(daemon, SIGKILL), 0);
  EXPECT_TRUE(home.logHas(file + ": Not scanned: "));
  EXPECT_TRUE(home.logHas("The daemon left 1 file unscanned, to be scanned again once it is back"));
  EXPECT_TRUE(home.logHas("Scanning 1 file again that the daemon had left unscanned"));
  EXPECT_TRUE(home.logHas(file + found));
}

TEST(AgentTrouble, StartsAHelperThatWasKilledAgainAtOnce) {
  GuardedHome home;
  home.startAndAwaitWatching();
  for (int round = 1; round <= 5; ++round) {
    const pid_t helper = home.helper();
    ASSERT_GT(helper, 0);
    ASSERT_EQ(kill(helper, SIGKILL), 0);
    // What is saved until the new helper watches may go unnoticed; then nothing does.
    const std::string name = "round" + std::to_string(round);
    while (home.linesWith("Noticed: " + home.guarded(name)) == 0) {
      home.save(name, name);
    }
  }
  EXPECT_TRUE(home.logHas(home.saveInfected("after.com") + found));
}

TEST(AgentTrouble, EndsASecondAgentOfTheSameUserWithAWord) {
  GuardedHome home;
  home.startAndAwaitWatching();
  EXPECT_EQ(home.runSecondAgent(), 1);
  EXPECT_TRUE(home.logHas(home.saveInfected("bad.com") + found));
}

TEST(AgentTrouble, KeepsRunningWithoutAnEngineAndSaysSo) {
  GuardedHome home;
  home.writePreferences("PathToClamav = \"/tmp/nowhere\"\nPathToUpdateLog = \"/tmp/update.log\"\n");
  home.start();
  EXPECT_TRUE(home.logHas("ClamAV installation couldn't be found.  Quitting now."));
  EXPECT_TRUE(home.isRunning());
  EXPECT_EQ(home.stop(), 0);
}

TEST(AgentTrouble, KeepsRunningWhenTheEngineCannotBeExecuted) {
  GuardedHome home;
  makeFolder("/tmp/guarded/broken");
  makeFolder("/tmp/guarded/broken/sbin");
  writeFile("/tmp/guarded/broken/sbin/clamd", "no program");
  home.writePreferences(
      "PathToClamav = \"/tmp/guarded/broken\"\nPathToUpdateLog = \"/tmp/update.log\"\n");
  home.start();
  EXPECT_TRUE(home.logHas("clamd couldn't be launched.  Quitting now."));
  EXPECT_TRUE(home.isRunning());
}

TEST(AgentTrouble, SaysWhereAndWhyThePreferencesCannotBeParsed) {
  GuardedHome home;
  home.writePreferences("PathToClamav = \"/tmp\"\nmultiscan = = 3\n");
  home.start();
  EXPECT_TRUE(home.logHas("org.vantrel.Vantrel.toml:2:"));
  EXPECT_TRUE(home.isRunning());
}

TEST(AgentTrouble, NamesAPreferenceOfTheWrongType) {
  GuardedHome home("multiscan = true\n");
  home.startAndAwaitWatching();
  EXPECT_TRUE(home.logHas("Preference multiscan should be a string but is a boolean"));
}

TEST(AgentTrouble, WatchesTheOtherFoldersWhenOneIsMissing) {
  GuardedHome home(
      "[[QuilloFolderArray]]\npathName = \"/tmp/guarded/missing\"\nWatchSubdirs = true\n");
  home.startAndAwaitWatching();
  EXPECT_TRUE(home.logHas(home.saveInfected("bad.com") + found));
}

TEST(AgentTrouble, UsesNoScanListThatSomebodyElseMade) {
  GuardedHome home;
  for (const char* scanner : {"firstPatientScanner", "secondPatientScanner"}) {
    const std::string list = std::string("/tmp/VantrelQuilloScanList_") + scanner + ".txt";
    writeFile(list, "/etc/hostname\n");
    check(chown(list.c_str(), 12346, 12346), "chown " + list);
  }
  home.startAndAwaitWatching();
  EXPECT_TRUE(home.logHas(home.saveInfected("bad.com") + found));
  EXPECT_TRUE(home.logHas("was made by somebody else (user 12346); it is not used"));
  EXPECT_EQ(home.linesWith("/etc/hostname"), 0);
}

TEST(AgentTrouble, WritesThroughNoLinkInPlaceOfTheScanList) {
  GuardedHome home;
  writeFile("/tmp/guarded/precious", "precious");
  check(chmod("/tmp/guarded/precious", 0666), "chmod");
  for (const char* scanner : {"firstPatientScanner", "secondPatientScanner"}) {
    const std::string list = std::string("/tmp/VantrelQuilloScanList_") + scanner + ".txt";
    check(symlink("/tmp/guarded/precious", list.c_str()), "symlink " + list);
    check(lchown(list.c_str(), 12346, 12346), "lchown " + list);
  }
  home.startAndAwaitWatching();
  EXPECT_TRUE(home.logHas(home.saveInfected("bad.com") + found));
  EXPECT_EQ(readFile("/tmp/guarded/precious"), "precious");
}

TEST(AgentTrouble, ScansOnWhenTmpIsFull) {
  makeFolder("/tmp/guarded");
  mountTmpfs("/tmp/guarded", "mode=0755");
  GuardedHome home;
  home.startAndAwaitWatching();
  runProgram({"mount", "-o", "remount,size=64k", "/tmp"});
  const int filler =
      check(open("/tmp/filler", O_WRONLY | O_CREAT | O_CLOEXEC, 0600), "open filler");
  const std::string block(4096, 'x');
  while (write(filler, block.data(), block.size()) > 0) {
  }
  close(filler);
  EXPECT_TRUE(home.logHas(home.saveInfected("bad.com") + found));
  EXPECT_TRUE(home.logHas("PatientScanner.txt cannot be written: No space left on device"));
}

TEST(AgentTrouble, GuardsOnWithALogThatCannotBeOpened) {
  GuardedHome home("QuilloQuarantineFiles = true\nQuarantineFolder = \"~/Quarantine/\"\n");
  std::filesystem::create_directory(home.log());
  home.start();
  const std::string moved = home.home() + "/Quarantine/bad.com";
  // The lines go where they went before.
  const auto output = [] { return readFile("/tmp/guarded/output"); };
  EXPECT_TRUE(awaitThat([&] {
    home.saveInfected("bad.com");
    return output().find("Noticed: ") != std::string::npos;
  }));
  EXPECT_TRUE(awaitThat([&] { return std::filesystem::exists(moved); })) << output();
}

}  // namespace
}  // namespace quillo::tests
