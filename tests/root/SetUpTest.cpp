// ./run behind its build, as an ordinary user with sudo: what it sets up, says and takes away
// again, and how that goes with other installations.

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "tests/root/support/agent/SetUpFixture.h"
#include "tests/root/support/world/FilesAndMounts.h"
#include "tests/support/Waiting.h"

namespace quillo::tests {
namespace {

namespace fs = std::filesystem;
using Outcome = SetUpWorld::Outcome;

class SetUp : public SetUpFixture {};

TEST_F(SetUp, GuardsAndDoesItFromTheNextLogInOn) {
  const Outcome outcome = world.setUp();
  expectGuarding(outcome);
  EXPECT_TRUE(finds());
  EXPECT_NE(readFile(autostart())
                .find("\nExec=\"" + inHome(".local/lib/vantrel-quillo/start-session") + "\"\n"),
            std::string::npos);
  EXPECT_TRUE(outcome.says("At log-in: it starts by itself")) << outcome.output;
}

TEST_F(SetUp, EndsWithTheDoctorsWords) {
  const Outcome outcome = world.setUp();
  expectGuarding(outcome);
  const Outcome doctor = world.asUser({inHome(".local/bin/vantrel"), "doctor"});
  const std::size_t end = outcome.output.find("\n\nWhat `vantrel doctor` says:\n[");
  ASSERT_NE(end, std::string::npos) << outcome.output;
  const std::string last = doctor.output.substr(doctor.output.rfind("\n\n"));
  EXPECT_TRUE(outcome.output.ends_with(last)) << outcome.output << "\n---\n" << doctor.output;
}

TEST_F(SetUp, HasTheMainApplicationStartedByTheBusTheMenuAndFileManagers) {
  world.setUp();
  const std::string vantrel = "\"" + inHome(".local/bin/vantrel") + "\"";
  const std::string shared = inHome(".local/share/");
  const auto expectIn = [&](const std::string& file, const std::string& words) {
    EXPECT_NE(contentsOfFile(shared + file).value_or("").find(words), std::string::npos) << file;
  };
  expectIn("dbus-1/services/org.vantrel.Vantrel.service", "\nExec=" + vantrel + " --service\n");
  expectIn("applications/org.vantrel.Vantrel.desktop", "\nExec=" + vantrel + "\n");
  const std::string scan = vantrel + " --open -- ";
  const std::string name = "org.vantrel.Vantrel.scan";
  const std::string script = "nautilus/scripts/Scan with Vantrel";
  const std::string serviceMenu = "kio/servicemenus/" + name + ".desktop";
  expectIn(serviceMenu, "\nExec=" + scan + "%F\n");
  expectIn("Thunar/sendto/" + name + ".desktop", "\nExec=" + scan + "%F\n");
  expectIn("nemo/actions/" + name + ".nemo_action", "\nExec=" + scan + "%F\n");
  expectIn(script, "\nexec " + scan + "\"$@\"\n");
  for (const std::string& file : {script, serviceMenu}) {
    EXPECT_EQ(fs::status(shared + file).permissions(), fs::perms(0755)) << file;
  }
}

TEST_F(SetUp, SaysThatOnlyTheTestFileIsFoundAsLongAsDefinitionsAreMissing) {
  const Outcome outcome = world.setUp();
  EXPECT_TRUE(
      outcome.says("Guarding ~/Downloads against the test file only: real definitions are "
                   "not there yet; `~/.local/share/vantrel/engine/bin/freshclam` fetches "
                   "them."))
      << outcome.output;
}

TEST_F(SetUp, SaysThatItCannotBeSeenWithoutADesktop) {
  const Outcome outcome = world.setUp();
  EXPECT_TRUE(
      outcome.says("It has no desktop to show itself on: what it finds stands in the scan "
                   "log and nowhere else."))
      << outcome.output;
}

TEST_F(SetUp, SaysSinceWhenItGuards) {
  world.setUp();
  // As an update leaves it, which no daemon has loaded yet.
  world.writeAsUser(inHome(".local/share/vantrel/engine/db/daily.cvd"), "definitions");
  const Outcome outcome = world.setUp();
  expectGuarding(outcome);
  EXPECT_TRUE(outcome.says("Guarding ~/Downloads since ")) << outcome.output;
}

TEST_F(SetUp, ThatCannotGuardSaysSoAndNothingElse) {
  world.setUp();
  world.remove();
  world.asUser({"/bin/mkdir", "-p", fs::path(preferences()).parent_path().string()});
  world.writeAsUser(preferences(), "PathToClamav = \"/nowhere\"\n");
  const Outcome outcome = world.setUp();
  EXPECT_EQ(outcome.status, 1) << outcome.output;
  EXPECT_TRUE(outcome.says("NOT guarding: ")) << outcome.output;
  EXPECT_FALSE(outcome.says("\nGuarding ")) << outcome.output;
  EXPECT_TRUE(outcome.says("\n\nWhat `vantrel doctor` says:\n[")) << outcome.output;
}

TEST_F(SetUp, DoneTwiceLeavesTheAgentAlone) {
  world.setUp();
  const std::string before = world.listing();
  const pid_t first = agent();
  const Outcome outcome = world.setUp();
  expectGuarding(outcome);
  EXPECT_EQ(agent(), first);
  EXPECT_EQ(world.listing(), before);
  EXPECT_EQ(outcome.questions, 0);
}

TEST_F(SetUp, AsksForAnAdministratorOnceAndAtTheBeginning) {
  const Outcome outcome = world.setUp();
  EXPECT_EQ(outcome.questions, 1) << outcome.output;
  EXPECT_TRUE(
      outcome.output.starts_with("An administrator's permission is needed, this once:\n"
                                 "  to install the helper"))
      << outcome.output;
}

TEST_F(SetUp, WithoutAnAdministratorChangesNothing) {
  world.takeSudo();
  const std::string before = world.listing();
  const Outcome outcome = world.setUp();
  EXPECT_EQ(outcome.status, 1);
  EXPECT_TRUE(outcome.says("Nothing was changed.")) << outcome.output;
  EXPECT_FALSE(outcome.says("Guarding")) << outcome.output;
  EXPECT_EQ(world.listing(), before);
}

TEST_F(SetUp, IsUndoneWithoutATraceButTheLogs) {
  const std::string before = world.listing();
  world.setUp();
  const Outcome outcome = world.remove();
  EXPECT_EQ(outcome.status, 0) << outcome.output;
  EXPECT_EQ(outcome.questions, 1) << outcome.output;
  EXPECT_TRUE(world.agents().empty());
  EXPECT_TRUE(outcome.says("  ~/Library/Logs/VantrelQuillo-scan.log\n")) << outcome.output;
  fs::remove_all(inHome("Library"));
  EXPECT_EQ(world.listing(), before);
}

TEST_F(SetUp, KeepsWhatAPersonHasChanged) {
  world.setUp();
  const std::string wished = readFile(preferences()) + "QuilloTrashFiles = true\n";
  const std::string hidden = readFile(autostart()) + "Hidden=true\n";
  world.writeAsUser(preferences(), wished);
  world.writeAsUser(autostart(), hidden);
  const pid_t guarding = agent();
  const Outcome again = world.setUp();
  EXPECT_EQ(agent(), guarding) << again.output;
  EXPECT_TRUE(again.says("At log-in: as you have decided in ~/.config/autostart")) << again.output;
  EXPECT_EQ(readFile(autostart()), hidden);
  const Outcome removal = world.remove();
  EXPECT_EQ(readFile(preferences()), wished);
  EXPECT_EQ(readFile(autostart()), hidden);
  for (const std::string file : {"org.vantrel.Vantrel.toml", "org.vantrel.VantrelQuillo.desktop"}) {
    EXPECT_TRUE(removal.says(file + ", which you have changed\n")) << removal.output;
  }
}

TEST_F(SetUp, LeavesTheHelperToAnotherUserWhoGuardsWithIt) {
  world.setUp();
  const std::string others = SetUpWorld::homeOfAnother + std::string("/.local/lib/vantrel-quillo");
  fs::create_directories(others);
  fs::create_symlink(helper, others + "/gfslogger");
  const Outcome removal = world.remove();
  EXPECT_TRUE(removal.says("The helper stays: another guards with it, too.")) << removal.output;
  EXPECT_TRUE(isInForce(helper));
}

TEST_F(SetUp, ThatHasNotBeenIsUndoneWithoutAnError) {
  const std::string before = world.listing();
  const Outcome outcome = world.remove();
  EXPECT_EQ(outcome.status, 0);
  EXPECT_TRUE(outcome.says("There is nothing to remove")) << outcome.output;
  EXPECT_EQ(world.listing(), before);
}

// What else may be installed beside it, and where.
struct Neighbour {
  const char* name;
  const char* prefix;
};
void PrintTo(const Neighbour& neighbour, std::ostream* out) { *out << neighbour.name; }

class SetUpBeside : public SetUp, public testing::WithParamInterface<Neighbour> {
 protected:
  std::string neighboursProgram() const {
    return std::string(GetParam().prefix) + "/bin/vantrel-quillo";
  }
  std::string neighboursHelper() const {
    return std::string(GetParam().prefix) + "/lib/vantrel-quillo/gfslogger";
  }
  void install() const { world.install(GetParam().prefix); }
  // As a desktop starts it, with preferences that its user has made.
  void startNeighbour() const {
    world.asUser({std::string(GetParam().prefix) + "/bin/vantrel-engine-tree"});
    world.asUser({"/bin/mkdir", "-p", fs::path(preferences()).parent_path().string()});
    world.writeAsUser(preferences(), "PathToClamav = \"" + inHome(".local/share/vantrel/engine") +
                                         "\"\nPathToUpdateLog = \"" + inHome("update.log") +
                                         "\"\n[[QuilloFolderArray]]\npathName = \"~/Downloads\"\n"
                                         "WatchSubdirs = true\n");
    world.asUser({"/bin/sh", "-c",
                  "exec nohup setsid -f " + neighboursProgram() + " </dev/null >~/output 2>&1"});
    ASSERT_TRUE(awaitThat([this] { return agentsProgram() == neighboursProgram(); },
                          std::chrono::seconds(30)))
        << contentsOfFile(inHome("output")).value_or("") << contentsOfFile(log()).value_or("");
  }
};

TEST_P(SetUpBeside, GoesOnAfterItsInstallationWhichKeepsTheHelpersRights) {
  expectGuarding(world.setUp());
  install();
  EXPECT_TRUE(isInForce(neighboursHelper()));
  expectGuarding(world.setUp());
  EXPECT_TRUE(isInForce(neighboursHelper()));
  EXPECT_TRUE(finds());
}

TEST_P(SetUpBeside, TakesThePlaceOfItsAgentThatRuns) {
  install();
  startNeighbour();
  const Outcome outcome = world.setUp();
  expectGuarding(outcome);
  EXPECT_TRUE(outcome.says("The agent of " + neighboursProgram() +
                           " runs; this one takes its "
                           "place."))
      << outcome.output;
  EXPECT_TRUE(finds());
}

TEST_P(SetUpBeside, IsUndoneAndLeavesItWhole) {
  install();
  const std::string before = world.listing();
  world.setUp();
  world.remove();
  fs::remove_all(inHome("Library"));
  // Its helper is what ./run uses where the two have one place.
  EXPECT_EQ(fs::exists(helper), neighboursHelper() == helper);
  EXPECT_TRUE(isInForce(neighboursHelper()));
  EXPECT_EQ(world.listing(), before);
}

TEST_P(SetUpBeside, OutlivesItsRemoval) {
  install();
  world.setUp();
  world.uninstall();
  expectGuarding(world.setUp());
  EXPECT_TRUE(finds());
  world.remove();
  EXPECT_TRUE(world.agents().empty());
  EXPECT_FALSE(fs::exists(helper));
}

// The second stands for a package, whose helper has a place of its own.
INSTANTIATE_TEST_SUITE_P(Neighbours, SetUpBeside,
                         testing::Values(Neighbour{"installation", "/usr/local"},
                                         Neighbour{"package", "/run/package"}),
                         [](const auto& test) { return std::string(test.param.name); });

}  // namespace
}  // namespace quillo::tests
