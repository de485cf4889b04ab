// The pipeline on the real agent, the real helper and the real engine.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "tests/root/support/agent/GuardedHome.h"
#include "tests/root/support/world/FilesAndMounts.h"

namespace quillo::tests {
namespace {

const std::string found = ": Eicar-Test-Signature.UNOFFICIAL FOUND";

TEST(AgentPipeline, CallsASavedFileCleanAndAnInfectedOneInfected) {
  GuardedHome home;
  home.startAndAwaitWatching();
  const std::string clean = home.save("clean.txt", "Nothing but good.");
  const std::string infected = home.saveInfected("bad.com");
  EXPECT_TRUE(home.logHas(clean + ": OK"));
  EXPECT_TRUE(home.logHas(infected + found));
  EXPECT_TRUE(std::filesystem::exists(infected));
}

TEST(AgentPipeline, MovesAnInfectedFileToTheQuarantineFolder) {
  GuardedHome home("QuilloQuarantineFiles = true\nQuarantineFolder = \"~/Quarantine/\"\n");
  home.startAndAwaitWatching();
  const std::string infected = home.saveInfected("bad.com");
  ASSERT_TRUE(home.logHas(infected + ": moved to '" + home.home() + "/Quarantine/bad.com'"));
  EXPECT_FALSE(std::filesystem::exists(infected));
  EXPECT_TRUE(std::filesystem::exists(home.home() + "/Quarantine/bad.com"));
}

TEST(AgentPipeline, MovesAnInfectedFileToTheTrash) {
  GuardedHome home("QuilloTrashFiles = true\n");
  home.startAndAwaitWatching();
  const std::string infected = home.saveInfected("bad.com");
  ASSERT_TRUE(home.logHas(infected + ": moved to '" + home.home() + "/.Trash/bad.com'"));
  EXPECT_FALSE(std::filesystem::exists(infected));
}

TEST(AgentPipeline, ScansNothingThatLiesInTheQuarantineFolder) {
  GuardedHome home("QuilloQuarantineFiles = true\nQuarantineFolder = \"~/Downloads/Kept/\"\n");
  home.startAndAwaitWatching();
  home.save("Kept/inside.txt", "inside");
  const std::string after = home.save("after.txt", "after");
  ASSERT_TRUE(home.logHas(after + ": OK"));
  EXPECT_EQ(home.linesWith("/Kept/inside.txt"), 0);
}

TEST(AgentPipeline, ScansAFileWhoseNameOnlyBeginsLikeTheQuarantineFolder) {
  GuardedHome home("QuilloQuarantineFiles = true\nQuarantineFolder = \"~/Downloads/Q/\"\n");
  home.startAndAwaitWatching();
  const std::string infected = home.saveInfected("Quittung.exe");
  EXPECT_TRUE(home.logHas(infected + ": moved to '" + home.guarded("Q/Quittung.exe'")));
  EXPECT_FALSE(std::filesystem::exists(infected));
}

TEST(AgentPipeline, ScansAFileInAFolderThatIsReachedThroughALink) {
  GuardedHome home;
  makeFolder(home.home() + "/Real", 0777);
  std::filesystem::create_directory_symlink("Real", home.home() + "/Link");
  home.watchInstead(home.home() + "/Link");
  home.start();
  home.awaitWatching(home.home() + "/Real/sentinel");
  const std::string saved = home.saveInfected(home.home() + "/Real/direct.com");
  EXPECT_TRUE(home.logHas(saved + found));
  home.saveInfected(home.home() + "/Link/linked.com");
  EXPECT_TRUE(home.logHas(home.home() + "/Real/linked.com" + found));
}

TEST(AgentPipeline, LeavesOutWhatTheUserExcluded) {
  GuardedHome home(
      "[[ExcludePatterns]]\nexcludePattern = \"~/Downloads/*.part\"\nexcludeEnabled = true\n"
      "[[ExcludePatterns]]\nexcludePattern = '^skip'\nexcludeRegEx = true\n"
      "excludeEnabled = true\n");
  home.startAndAwaitWatching();
  const std::string literal = home.saveInfected("*.part");
  const std::string byName = home.saveInfected("skipped.com");
  const std::string kept = home.saveInfected("x.part");
  ASSERT_TRUE(home.logHas(kept + found));
  ASSERT_TRUE(home.logHas("Stable: " + literal));
  EXPECT_EQ(home.linesWith(literal + ":"), 0);
  EXPECT_EQ(home.linesWith(byName + ":"), 0);
}

TEST(AgentPipeline, ScansPathsWithBlanksQuotesColonsAndPercentSigns) {
  GuardedHome home;
  home.startAndAwaitWatching();
  for (const std::string name : {"with blank.com", "quote'\"`.com", "a:b: OK", "100%s%n.com",
                                 "$(touch x);.com", "-r", "trailing ", "x: y FOUND"}) {
    EXPECT_TRUE(home.logHas(home.saveInfected(name) + found)) << name;
  }
}

TEST(AgentPipeline, ShowsBytesThatAreNotUtf8AndFindsTheInfectionAllTheSame) {
  GuardedHome home;
  home.startAndAwaitWatching();
  home.saveInfected("latin-\xE9.com");
  EXPECT_TRUE(home.logHas(home.guarded("latin-\\xE9.com") + found));
}

TEST(AgentPipeline, ScansAPathOfNearlyFourThousandBytes) {
  GuardedHome home;
  home.startAndAwaitWatching();
  // Deeper than one system call reaches: made step by step.
  std::string deep;
  const int before = check(open("/", O_RDONLY | O_DIRECTORY | O_CLOEXEC), "open /");
  check(chdir(home.guarded().c_str()), "chdir");
  const std::string step(200, 'd');
  for (int level = 0; level < 19; ++level) {
    check(mkdir(step.c_str(), 0755), "mkdir");
    check(chown(step.c_str(), GuardedHome::user, GuardedHome::user), "chown");
    check(chdir(step.c_str()), "chdir");
    deep += "/" + step;
  }
  writeFile("bad.com", GuardedHome::testFile());
  check(fchdir(before), "fchdir");
  close(before);
  EXPECT_TRUE(home.logHas(home.guarded() + deep + "/bad.com" + found));
}

TEST(AgentPipeline, SaysNothingOfItsOwnLogWhenTheWholeHomeIsWatched) {
  GuardedHome home;
  home.watchInstead(home.home());
  home.startAndAwaitWatching();
  const std::string first = home.save("first.txt", "first");
  ASSERT_TRUE(home.logHas(first + ": OK"));
  const std::string second = home.save("second.txt", "second");
  ASSERT_TRUE(home.logHas(second + ": OK"));
  EXPECT_EQ(home.linesWith("Noticed: " + home.log()), 0);
}

TEST(AgentPipeline, SaysThatOnlyTheBuiltInDefinitionIsThere) {
  GuardedHome home;
  home.startAndAwaitWatching();
  EXPECT_TRUE(home.logHas("malware is NOT found until the definitions have been updated"));
}

TEST(AgentPipeline, StopsTheDaemonThatItLaunchedWhenItEnds) {
  GuardedHome home;
  home.startAndAwaitWatching();
  ASSERT_GT(home.daemon(), 0);
  EXPECT_EQ(home.stop(), 0);
  EXPECT_TRUE(home.logHas("trying to quit clamd"));
}

TEST(AgentPipeline, LeavesADaemonRunningThatItFoundRunning) {
  GuardedHome home;
  home.startDaemon();
  const pid_t daemon = home.daemon();
  home.startAndAwaitWatching();
  EXPECT_TRUE(home.logHas(home.saveInfected("bad.com") + found));
  EXPECT_EQ(home.stop(), 0);
  EXPECT_EQ(home.daemon(), daemon);
  EXPECT_EQ(home.linesWith("trying to quit clamd"), 0);
}

TEST(AgentPipeline, GivesEachOfTheTwoScannersAListOfItsOwn) {
  GuardedHome home;
  home.startAndAwaitWatching();
  check(mkfifo("/tmp/go", 0666), "mkfifo /tmp/go");
  // From now on in place of the engine: says whose list it was given and stands still.
  const std::string engine = home.tree() + "/bin/clamdscan";
  unlink(engine.c_str());
  writeFile(engine,
            "#!/bin/sh\nfor last; do :; done\necho \"$last: used\"\nread -r line < /tmp/go\n");
  check(chmod(engine.c_str(), 0755), "chmod " + engine);
  for (int number = 0; number < 450; ++number) {
    home.save("file" + std::to_string(number), "text");
  }
  EXPECT_TRUE(home.logHas("--file-list=/tmp/VantrelQuilloScanList_firstPatientScanner.txt: used"));
  EXPECT_TRUE(home.logHas("--file-list=/tmp/VantrelQuilloScanList_secondPatientScanner.txt: used"));
}

}  // namespace
}  // namespace quillo::tests
