// What `cmake --install` makes of this build.

#include <gtest/gtest.h>
#include <sys/mount.h>
#include <sys/stat.h>

#include <filesystem>

#include "posix/ChildProcess.h"
#include "tests/root/support/agent/GuardedHome.h"
#include "tests/root/support/world/FilesAndMounts.h"

namespace quillo::tests {
namespace {

namespace fs = std::filesystem;

const std::string id = "org.vantrel.VantrelQuillo";

// The build folder can be written, for the list of what was installed, as long as this object. What
// is written there goes away with it: that list would be root's, in somebody else's build.
class WritableBuild {
 public:
  WritableBuild() {
    for (const char* folder : {"/tmp/build", "/tmp/build/upper", "/tmp/build/work"}) {
      makeFolder(folder);
    }
    check(mount("overlay", QUILLO_BINARY_DIR, "overlay", 0,
                "lowerdir=" QUILLO_BINARY_DIR ",upperdir=/tmp/build/upper,workdir=/tmp/build/work"),
          "covering the build");
  }
  ~WritableBuild() {
    umount2(QUILLO_BINARY_DIR, MNT_DETACH);
    std::error_code ignored;
    fs::remove_all("/tmp/build", ignored);
  }
  WritableBuild(const WritableBuild&) = delete;
  WritableBuild& operator=(const WritableBuild&) = delete;
};

void install(const std::string& prefix, const std::string& destination = "") {
  const WritableBuild build;
  runProgram({"/usr/bin/env", "DESTDIR=" + destination, "cmake", "--install", QUILLO_BINARY_DIR,
              "--prefix", prefix});
}

// What a checker of files complains of; empty when it is content.
std::string complaints(const std::string& program, const std::vector<std::string>& arguments) {
  std::string said;
  LaunchRequest request{program, arguments};
  request.environment =
      std::vector<std::string>{"PATH=/usr/bin:/bin", "HOME=/tmp", "LC_ALL=C.UTF-8"};
  ChildProcess checker(request);
  const int status = checker.waitUntilExit([&](std::string_view chunk) {
    said += chunk;
    return true;
  });
  return status == 0 ? "" : program + " ends with " + std::to_string(status) + ": " + said;
}

class AgentInstalled : public testing::Test {
 protected:
  ~AgentInstalled() override {
    fs::remove_all("/tmp/prefix");
    fs::remove_all("/tmp/destination");
  }
};

TEST_F(AgentInstalled, GuardsAsFromTheBuildTree) {
  install("/tmp/prefix");
  // The packager's part.
  check(chmod("/tmp/prefix/lib/vantrel-quillo/gfslogger", 04755), "chmod gfslogger");
  GuardedHome home("QuilloTrashFiles = true\n", GuardedHome::Places{"", "/tmp/prefix"});
  home.startAndAwaitWatching();
  EXPECT_TRUE(home.logHas(home.save("clean.txt", "clean") + ": OK"));
  const std::string infected = home.saveInfected("bad.com");
  EXPECT_TRUE(home.logHas(infected + ": Eicar-Test-Signature.UNOFFICIAL FOUND"));
  EXPECT_TRUE(home.logHas(infected + ": moved to '" + home.home() + "/.Trash/bad.com'"));
  EXPECT_EQ(home.stop(), 0);
}

TEST_F(AgentInstalled, NamesThePrefixThatItWasInstalledTo) {
  install("/tmp/prefix");
  const std::string program = "/tmp/prefix/lib/vantrel-quillo/start-session";
  EXPECT_EQ(fs::status(program).permissions(), fs::perms(0755));
  for (const std::string& file : std::vector<std::string>{
           "share/applications/" + id + ".desktop", "etc/xdg/autostart/" + id + ".desktop",
           "share/dbus-1/services/" + id + ".service"}) {
    EXPECT_NE(readFile("/tmp/prefix/" + file).find("\nExec=\"" + program + "\"\n"),
              std::string::npos)
        << file;
  }
  const std::string granter = "/tmp/prefix/lib/vantrel-quillo/grant-helper-rights";
  EXPECT_NE(
      readFile("/tmp/prefix/share/polkit-1/actions/" + id + ".policy").find(">" + granter + "<"),
      std::string::npos);
  EXPECT_EQ(fs::status(granter).permissions(), fs::perms(0755));
  EXPECT_NE(readFile(granter).find("/tmp/prefix/lib/vantrel-quillo/gfslogger"), std::string::npos);
}

// Runs the granter with words behind it; gives what it complains of.
std::string granting(const std::string& command) {
  return complaints("/tmp/prefix/lib/vantrel-quillo/grant-helper-rights",
                    {"/bin/sh", "-c", command});
}

TEST_F(AgentInstalled, HasAGranterThatGivesTheUsersBitAlone) {
  install("/tmp/prefix");
  const std::string helper = "/tmp/prefix/lib/vantrel-quillo/gfslogger";
  EXPECT_EQ(granting("chown root \"" + helper + "\"; chmod +s \"" + helper + "\""), "");
  EXPECT_EQ(fs::status(helper).permissions(), fs::perms(04755));
}

TEST_F(AgentInstalled, HasAGranterThatDoesNothingElse) {
  install("/tmp/prefix");
  const std::string helper = "/tmp/prefix/lib/vantrel-quillo/gfslogger";
  EXPECT_NE(granting("chown root \"" + helper + "\"; chmod +s \"" + helper + "\"; id"), "");
  EXPECT_NE(granting("id"), "");
  fs::create_hard_link(helper, "/tmp/prefix/other");
  EXPECT_NE(granting("chown root \"" + helper + "\"; chmod +s \"" + helper + "\""), "");
  EXPECT_EQ(fs::status(helper).permissions(), fs::perms(0755));
}

TEST_F(AgentInstalled, ToUsrLocalIsFoundWhereTheSystemLooks) {
  install("/usr/local", "/tmp/destination");
  for (const char* file : {"etc/xdg/autostart/org.vantrel.VantrelQuillo.desktop",
                           "usr/share/polkit-1/actions/org.vantrel.VantrelQuillo.policy",
                           "usr/local/share/applications/org.vantrel.VantrelQuillo.desktop",
                           "usr/local/share/dbus-1/services/org.vantrel.VantrelQuillo.service"}) {
    EXPECT_TRUE(fs::exists(std::string("/tmp/destination/") + file)) << file;
  }
}

TEST_F(AgentInstalled, HasNothingInItThatTheDesktopsCheckersComplainOf) {
  install("/usr", "/tmp/destination");
  const std::string usr = "/tmp/destination/usr/";
  EXPECT_EQ(complaints("/usr/bin/desktop-file-validate",
                       {usr + "share/applications/" + id + ".desktop",
                        "/tmp/destination/etc/xdg/autostart/" + id + ".desktop"}),
            "");
  EXPECT_EQ(complaints("/usr/bin/appstreamcli",
                       {"validate", "--no-net", usr + "share/metainfo/" + id + ".metainfo.xml"}),
            "");
  for (const char* file :
       {"share/icons/hicolor/scalable/apps/org.vantrel.VantrelQuillo.svg",
        "share/icons/hicolor/48x48/apps/org.vantrel.VantrelQuillo.png",
        "share/dbus-1/services/org.vantrel.VantrelQuillo.service", "bin/vantrel-engine-tree"}) {
    EXPECT_TRUE(fs::exists(usr + file)) << file;
  }
}

TEST_F(AgentInstalled, HasManualPagesWithoutMistakes) {
  install("/usr", "/tmp/destination");
  const std::string man = "/tmp/destination/usr/share/man/";
  for (const char* page : {"man1/vantrel.1", "man1/vantrel-quillo.1", "man1/vantrel-engine-tree.1",
                           "man5/vantrel-quillo-preferences.5", "man8/gfslogger.8"}) {
    EXPECT_EQ(complaints("/usr/bin/mandoc", {"-Tlint", man + page}), "");
  }
}

TEST_F(AgentInstalled, HasTheEngineTreeToolInThePath) {
  install("/tmp/prefix");
  EXPECT_EQ(complaints("/tmp/prefix/bin/vantrel-engine-tree", {"/tmp/prefix/tree"}), "");
  EXPECT_TRUE(fs::exists("/tmp/prefix/tree/bin/clamdscan"));
}

}  // namespace
}  // namespace quillo::tests
