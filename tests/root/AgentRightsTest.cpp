// How the helper gets its rights, with a stand-in for pkexec(1) in its place.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <sstream>
#include <string>
#include <vector>

#include "tests/root/support/agent/GuardedHome.h"
#include "tests/root/support/agent/SmallDesktop.h"
#include "tests/root/support/world/FilesAndMounts.h"

namespace quillo::tests {
namespace {

namespace fs = std::filesystem;

constexpr char standIn[] = "/tmp/guarded/stand-in";
constexpr char asked[] = "/tmp/guarded/asked";
constexpr char answered[] = "/tmp/guarded/answered";
constexpr char needsPermission[] = "The helper that reports changed files needs an administrator";

// Not below /tmp, where a helper could not be given rights.
constexpr char prefix[] = "/run/installed";

// The program as it would be installed there, without rights.
std::string installed() {
  const std::string build = QUILLO_BINARY_DIR;
  const std::string resources = std::string(prefix) + "/lib/vantrel-quillo";
  for (const std::string& folder : {std::string(prefix), std::string(prefix) + "/bin",
                                    std::string(prefix) + "/lib", resources}) {
    makeFolder(folder);
  }
  fs::copy_file(build + "/vantrel-quillo", std::string(prefix) + "/bin/vantrel-quillo");
  for (const char* part : {"images", "interface", "strings", "engine-tools"}) {
    fs::create_directory_symlink(build + "/resources/" + part, resources + "/" + part);
  }
  fs::copy_file(build + "/resources/gfslogger", resources + "/gfslogger");
  return prefix;
}

class AgentRights : public testing::Test {
 protected:
  AgentRights() {
    for (const std::string& variable : desktop.environment()) {
      home.setVariable(variable);
    }
    check(chmod(helper.c_str(), 0755), "chmod " + helper);
  }
  ~AgentRights() override {
    umount2("/usr/bin/pkexec", MNT_DETACH);
    fs::remove_all(prefix);
  }

  // What pkexec is asked for it notes, a word a line; then it goes on with `script`.
  void replacePkexec(const std::string& script) {
    writeFile(asked);
    check(chmod(asked, 0666), "chmod");
    writeFile(standIn, std::string("#!/bin/sh\nprintf '%s\\n' \"$@\" >") + asked + "\n" + script);
    check(chmod(standIn, 0755), "chmod");
    check(mount(standIn, "/usr/bin/pkexec", nullptr, MS_BIND, nullptr), "mounting pkexec");
  }
  static std::string askedFor() { return readFile(asked); }
  std::string command() const {
    return "--disable-internal-agent\n/bin/sh\n-c\n\"$@\" || exit; [ ! -g \"$0\" ] || chmod g-s "
           "\"$0\"\n" +
           helper + "\n/bin/sh\n-c\nchown root \"" + helper + "\"; chmod +s \"" + helper + "\"\n";
  }
  bool mayHaveRights() const {
    return (fs::status(helper).permissions() & fs::perms::set_uid) == fs::perms::set_uid;
  }
  bool mayHaveRightsOfItsGroup() const {
    return (fs::status(helper).permissions() & fs::perms::set_gid) == fs::perms::set_gid;
  }
  void expectItEndsWithoutRights(const std::string& reason) {
    EXPECT_TRUE(home.logHas(reason));
    EXPECT_TRUE(home.logHas("Authentication failed. Sorry!"));
    EXPECT_EQ(home.awaitEnd(), 0);
    EXPECT_TRUE(desktop.awaitNotification(needsPermission));
    EXPECT_TRUE(desktop.awaitNotification(reason)) << desktop.allNotifications();
    EXPECT_FALSE(mayHaveRights());
  }
  void expectItAsksForNothing(const std::string& why) {
    replacePkexec("exit 0\n");
    home.start();
    expectItEndsWithoutRights("The helper gets no administrator's rights where it lies");
    EXPECT_TRUE(desktop.awaitNotification(why)) << desktop.allNotifications();
    EXPECT_EQ(askedFor(), "text");
  }

  SmallDesktop desktop;
  GuardedHome home{"", GuardedHome::Places{"", installed()}};
  const std::string helper = std::string(prefix) + "/lib/vantrel-quillo/gfslogger";
};

TEST_F(AgentRights, EndTheAgentWhenTheUserDismissesTheQuestion) {
  replacePkexec("exit 126\n");
  home.start();
  expectItEndsWithoutRights("No administrator's permission was given.");
  EXPECT_EQ(askedFor(), command());
}

TEST_F(AgentRights, EndTheAgentWhenTheyAreRefused) {
  replacePkexec("echo 'Not authorized' >&2\nexit 127\n");
  home.start();
  expectItEndsWithoutRights("An administrator's permission could not be had. Not authorized");
}

TEST_F(AgentRights, StartTheWatchingOnceTheyAreGiven) {
  check(mkfifo(answered, 0666), "mkfifo");
  check(chmod(answered, 0666), "chmod");
  replacePkexec(std::string("read status <") + answered + "\nexit \"$status\"\n");
  home.start();
  ASSERT_TRUE(desktop.awaitNotification(needsPermission));
  // Opens as soon as the stand-in reads.
  const int answer = check(open(answered, O_WRONLY | O_CLOEXEC), "open");
  ASSERT_EQ(askedFor(), command());
  // The test is the administrator.
  std::istringstream words(askedFor());
  std::vector<std::string> wanted;
  for (std::string word; std::getline(words, word);) wanted.push_back(word);
  runProgram({wanted.begin() + 1, wanted.end()});
  EXPECT_TRUE(mayHaveRights());
  EXPECT_FALSE(mayHaveRightsOfItsGroup());
  EXPECT_EQ(write(answer, "0\n", 2), 2);
  close(answer);
  home.awaitWatching();
  EXPECT_TRUE(home.logHas(home.saveInfected("bad.com") + ": Eicar-Test-Signature"));
  EXPECT_EQ(home.linesWith("Authentication failed"), 0);
}

TEST_F(AgentRights, AreNotAskedForAHelperThatItsUserCouldExchange) {
  check(chown(helper.c_str(), GuardedHome::user, GuardedHome::user), "chown " + helper);
  expectItAsksForNothing(helper + " belongs to guarded");
}

TEST_F(AgentRights, AreNotAskedForAHelperThatOthersCanWrite) {
  check(chmod(helper.c_str(), 0775), "chmod " + helper);
  expectItAsksForNothing(helper + " can be written by others than root");
}

TEST_F(AgentRights, AreNotAskedForAHelperInAFolderThatOthersCanWrite) {
  const std::string folder = std::string(prefix) + "/lib";
  check(chmod(folder.c_str(), 0777), "chmod");
  expectItAsksForNothing(folder + " can be written by others than root");
}

TEST_F(AgentRights, AreNotAskedForAHelperInAStickyFolder) {
  const std::string folder = std::string(prefix) + "/lib";
  check(chmod(folder.c_str(), 01777), "chmod");
  expectItAsksForNothing(folder + " can be written by others than root");
}

TEST_F(AgentRights, AreNotAskedForAHelperThatHasASecondName) {
  fs::create_hard_link(helper, std::string(prefix) + "/bin/other");
  expectItAsksForNothing(helper + " has a second name (a hard link)");
}

TEST_F(AgentRights, AreNotAskedForAHelperThatIsALink) {
  const std::string elsewhere = std::string(prefix) + "/elsewhere";
  fs::rename(helper, elsewhere);
  fs::create_symlink(elsewhere, helper);
  expectItAsksForNothing(helper + " is a symbolic link");
}

// Without a session of polkit's nobody can be asked, and the real one says so.
TEST_F(AgentRights, EndTheAgentWhereTheRealPkexecCannotAsk) {
  home.start();
  EXPECT_TRUE(home.logHas("Authentication failed. Sorry!"));
  EXPECT_EQ(home.awaitEnd(), 0);
  EXPECT_TRUE(desktop.awaitNotification(needsPermission));
  EXPECT_FALSE(mayHaveRights());
}

}  // namespace
}  // namespace quillo::tests
