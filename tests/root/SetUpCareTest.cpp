// How ./run and ./run --remove treat what is there and does not come from them, and what they say
// where they guard less than was wished.

#include <gtest/gtest.h>
#include <sys/mount.h>

#include <algorithm>
#include <filesystem>
#include <string>

#include "tests/root/support/agent/SetUpFixture.h"
#include "tests/root/support/world/FilesAndMounts.h"
#include "tests/support/Waiting.h"

namespace quillo::tests {
namespace {

namespace fs = std::filesystem;

class SetUpCare : public SetUpFixture {
 protected:
  std::string engine() const { return inHome(".local/share/vantrel/engine"); }
  // As the user, by a shell.
  Outcome shell(const std::string& command) const {
    return world.asUser({"/bin/sh", "-c", command});
  }
  void makeUsers(const std::string& path) const { world.asUser({"/bin/mkdir", "-p", path}); }
};

TEST_F(SetUpCare, TakesTheFolderForDownloadsUnderItsNameInTheUsersLanguage) {
  makeUsers(inHome("bin"));
  world.writeAsUser(inHome("bin/xdg-user-dir"),
                    "#!/bin/sh\necho \"$HOME/T\u00e9l\u00e9chargements\"\n");
  shell("chmod +x ~/bin/xdg-user-dir");
  const Outcome outcome = world.setUp();
  EXPECT_TRUE(outcome.says("Guarding ~/T\u00e9l\u00e9chargements against")) << outcome.output;
  EXPECT_TRUE(fs::is_directory(inHome("T\u00e9l\u00e9chargements")));
  EXPECT_EQ(fs::status(preferences()).permissions(), fs::perms(0600));
}

TEST_F(SetUpCare, LeavesTheChoiceToAnAdministratorsPreferencesForAll) {
  makeFolder("/etc/xdg/vantrel");
  writeFile("/etc/xdg/vantrel/org.vantrel.Vantrel.toml",
            "PathToClamav = \"" + engine() + "\"\nPathToUpdateLog = \"" + inHome("update.log") +
                "\"\n[[QuilloFolderArray]]\npathName = \"~/Wished\"\nWatchSubdirs = true\n");
  makeUsers(inHome("Wished"));
  const Outcome outcome = world.setUp();
  EXPECT_EQ(outcome.status, 0) << outcome.output;
  EXPECT_TRUE(outcome.says("Guarding ~/Wished against")) << outcome.output;
  EXPECT_FALSE(fs::exists(preferences()));
}

TEST_F(SetUpCare, DoesNotCallAFolderGuardedThatIsNotThere) {
  world.setUp();
  fs::remove_all(inHome("Downloads"));
  const Outcome outcome = world.setUp();
  EXPECT_EQ(outcome.status, 1) << outcome.output;
  EXPECT_TRUE(outcome.says("NOT guarding: there is no folder ~/Downloads.")) << outcome.output;
}

TEST_F(SetUpCare, NamesTheFoldersThatAreThereAndThoseThatAreNot) {
  world.setUp();
  world.writeAsUser(preferences(), readFile(preferences()) +
                                       "[[QuilloFolderArray]]\npathURI = "
                                       "\"file:///nowhere/a%20b\"\nWatchSubdirs = true\n");
  const Outcome outcome = world.setUp();
  EXPECT_EQ(outcome.status, 0);
  EXPECT_TRUE(outcome.says("Guarding ~/Downloads against")) << outcome.output;
  EXPECT_TRUE(outcome.says("Not there yet: /nowhere/a b.")) << outcome.output;
}

TEST_F(SetUpCare, SaysThatDefinitionsAreOld) {
  world.setUp();
  world.writeAsUser(engine() + "/db/daily.cvd", "definitions");
  fs::last_write_time(engine() + "/db/daily.cvd",
                      fs::file_time_type::clock::now() - std::chrono::hours(20 * 24 + 1));
  const Outcome outcome = world.setUp();
  EXPECT_EQ(outcome.status, 0);
  EXPECT_TRUE(
      outcome.says("Guarding ~/Downloads with old definitions: "
                   "the definitions in " +
                   engine() +
                   "/db are 20 days old; "
                   "`~/.local/share/vantrel/engine/bin/freshclam` fetches newer ones."))
      << outcome.output;
}

TEST_F(SetUpCare, ShowsWhatAppArmorKeepsOutAndDoesNotPromiseIt) {
  mountTmpfs("/sys/module");
  fs::create_directories("/sys/module/apparmor/parameters");
  writeFile("/sys/module/apparmor/parameters/enabled", "Y\n");
  writeFile("/etc/apparmor.d/usr.bin.freshclam", "profile");
  const Outcome outcome = world.setUp();
  umount2("/sys/module", MNT_DETACH);
  EXPECT_TRUE(outcome.says("AppArmor keeps freshclam out of this tree; let it in with: sudo"))
      << outcome.output;
  EXPECT_TRUE(
      outcome.says("; AppArmor keeps freshclam from fetching them, and what lets it in "
                   "stands above."))
      << outcome.output;
  EXPECT_FALSE(outcome.says("` fetches them.")) << outcome.output;
}

TEST_F(SetUpCare, PutsNothingOverAFileThatIsAnothers) {
  makeUsers(inHome(".local/bin"));
  world.writeAsUser(program(), "mine");
  const Outcome outcome = world.setUp();
  EXPECT_EQ(outcome.status, 1) << outcome.output;
  EXPECT_TRUE(outcome.says("Not installed: these are there, and do not come from ./run."))
      << outcome.output;
  EXPECT_TRUE(outcome.says("\n  ~/.local/bin/vantrel-quillo\n")) << outcome.output;
  world.remove();
  EXPECT_EQ(readFile(program()), "mine");
  EXPECT_FALSE(fs::exists(helper));
  EXPECT_FALSE(fs::exists(inHome(".local/lib")));
}

TEST_F(SetUpCare, LeavesAFileThatWasExchangedSince) {
  world.setUp();
  const std::string tool = inHome(".local/bin/vantrel-engine-tree");
  world.writeAsUser(tool, "mine");
  const Outcome removal = world.remove();
  EXPECT_EQ(readFile(tool), "mine");
  EXPECT_TRUE(removal.says("  ~/.local/bin/vantrel-engine-tree, which you have changed\n"))
      << removal.output;
}

TEST_F(SetUpCare, IsUndoneAfterItWasInterrupted) {
  makeUsers(inHome(".local/share/man/man1"));
  check(chown(inHome(".local/share/man/man1").c_str(), 0, 0), "chown");
  const std::string before = world.listing();
  EXPECT_NE(world.setUp().status, 0);
  EXPECT_TRUE(fs::exists(program()));
  const Outcome removal = world.remove();
  EXPECT_EQ(world.listing(), before) << removal.output;
}

TEST_F(SetUpCare, LeavesTheListOfAnAdministratorsInstallationAsItIs) {
  const std::string list = world.build() + "/install_manifest.txt";
  writeFile(list + ".new", "/usr/local/bin/something");
  fs::rename(list + ".new", list);
  world.setUp();
  EXPECT_EQ(readFile(list), "/usr/local/bin/something");
}

TEST_F(SetUpCare, RemovesWhatWasReportedAndNamesWhatWasPutBack) {
  world.setUp();
  const std::string state = inHome(".local/state/vantrel");
  makeUsers(state);
  world.writeAsUser(state + "/told-no-tray-", "");
  world.writeAsUser(state + "/put-back", "vantrel-quillo put-back 1\n");
  const Outcome removal = world.remove();
  EXPECT_FALSE(fs::exists(state + "/told-no-tray-"));
  EXPECT_TRUE(fs::exists(state + "/put-back"));
  EXPECT_TRUE(
      removal.says("  ~/.local/state/vantrel, where it is noted what was found and which files "
                   "you have put back\n"))
      << removal.output;
}

TEST_F(SetUpCare, NamesTheQuarantineThatItLeavesUnlessItIsEmpty) {
  makeUsers(inHome("Caught/one"));
  makeUsers(inHome("Empty"));
  for (const std::string folder : {"Caught", "Empty"}) {
    world.setUp();
    world.writeAsUser(preferences(),
                      "QuarantineFolder = \"" + inHome(folder) + "/\"\n" + readFile(preferences()));
    const Outcome removal = world.remove();
    EXPECT_EQ(removal.says("  ~/" + folder +
                           ", your quarantine: what lies in it was found to be "
                           "infected\n"),
              folder == "Caught")
        << removal.output;
    EXPECT_TRUE(fs::exists(inHome(folder)));
    fs::remove(preferences());
  }
}

TEST_F(SetUpCare, LeavesNoTraceOfWhatWasReported) {
  const std::string before = world.listing();
  world.setUp();
  makeUsers(inHome(".local/state/vantrel"));
  world.writeAsUser(inHome(".local/state/vantrel/told-no-tray-"), "");
  world.remove();
  fs::remove_all(inHome("Library"));
  EXPECT_EQ(world.listing(), before);
}

TEST_F(SetUpCare, RemovesThePlannedScansOfItsOwnProgramAlone) {
  const std::string units = inHome(".config/systemd/user/");
  makeUsers(units + "timers.target.wants");
  const auto plan = [&](const std::string& id, const std::string& vantrel) {
    world.writeAsUser(units + "vantrel-scan-" + id + ".timer",
                      "[Timer]\nOnCalendar=*-*-* 12:30:00\n");
    world.writeAsUser(
        units + "vantrel-scan-" + id + ".service",
        "[Service]\nExecStart=:\"" + vantrel + "\" scan --planned " + id + " -- \"/home\"\n");
    shell("ln -s ../vantrel-scan-" + id + ".timer " + units + "timers.target.wants/");
  };
  world.setUp();
  plan("ours", inHome(".local/bin/vantrel"));
  plan("others", "/usr/bin/vantrel");
  makeUsers(units + "vantrel-scan-ours.timer.d");
  const Outcome removal = world.remove();
  EXPECT_TRUE(removal.says("The planned scan vantrel-scan-ours (*-*-* 12:30:00) is removed.\n"))
      << removal.output;
  EXPECT_FALSE(removal.says("vantrel-scan-others")) << removal.output;
  for (const std::string file : {".timer", ".service"}) {
    EXPECT_FALSE(fs::exists(units + "vantrel-scan-ours" + file)) << file;
    EXPECT_TRUE(fs::exists(units + "vantrel-scan-others" + file)) << file;
  }
  EXPECT_FALSE(fs::is_symlink(units + "timers.target.wants/vantrel-scan-ours.timer"));
  EXPECT_TRUE(fs::is_symlink(units + "timers.target.wants/vantrel-scan-others.timer"));
  EXPECT_TRUE(removal.says("/vantrel-scan-ours.timer.d, which you have written\n"))
      << removal.output;
}

TEST_F(SetUpCare, EndsTheWindowThatIsOpen) {
  world.setUp();
  shell(
      "QT_QPA_PLATFORM=offscreen exec nohup setsid -f dbus-run-session -- ~/.local/bin/vantrel "
      "</dev/null >~/said 2>&1");
  EXPECT_TRUE(awaitThat([&] { return shell("pgrep -x vantrel").status == 0; }));
  const Outcome removal = world.remove();
  EXPECT_EQ(shell("pgrep -x vantrel").status, 1);
  EXPECT_TRUE(removal.says("Its window, or a scan that was asked for there, is ended.\n"))
      << removal.output << contentsOfFile(inHome("said")).value_or("");
}

TEST_F(SetUpCare, EndsAnUpdateThatGoesOn) {
  world.setUp();
  makeUsers(inHome("update"));
  world.writeAsUser(
      inHome("update/freshclam"),
      "#!/bin/sh\nmkfifo ~/update/wait\necho >~/update/runs\nread nothing <~/update/wait\n");
  shell("chmod +x ~/update/freshclam; exec nohup setsid -f ~/update/freshclam --config-file=" +
        engine() + "/etc/freshclam.conf </dev/null >/dev/null 2>&1");
  EXPECT_TRUE(awaitThat([&] { return fs::exists(inHome("update/runs")); }));
  EXPECT_EQ(shell("pgrep -x freshclam").status, 0);
  world.remove();
  EXPECT_EQ(shell("pgrep -x freshclam").status, 1);
  EXPECT_FALSE(fs::exists(engine()));
}

TEST_F(SetUpCare, GoesOnWhereTheEngineCannotBeRemovedWhole) {
  world.setUp();
  makeFolder(engine() + "/roots");
  writeFile(engine() + "/roots/file");
  const Outcome removal = world.remove();
  EXPECT_TRUE(removal.says("  ~/.local/share/vantrel/engine, which could not be removed whole\n"))
      << removal.output;
  EXPECT_TRUE(removal.says("Removed: what ./run had set up for you.")) << removal.output;
  EXPECT_FALSE(fs::exists(program()));
}

}  // namespace
}  // namespace quillo::tests
