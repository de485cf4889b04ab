// What the engine moves to the Trash is in the desktop's, as its file manager sees it (gio(1)).

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "tests/root/support/agent/GuardedHome.h"
#include "tests/root/support/world/FilesAndMounts.h"

namespace quillo::tests {
namespace {

constexpr char trashesInfected[] = "QuilloTrashFiles = true\n";

class AgentTrash : public testing::Test {
 protected:
  std::string saveInfectedAndAwaitTrash(const std::string& name, const std::string& nameInTrash) {
    std::string path = home.saveInfected(name);
    EXPECT_TRUE(home.logHas("moved to '" + home.home() + "/.Trash/" + nameInTrash + "'"));
    EXPECT_FALSE(std::filesystem::exists(path));
    return path;
  }
  // The file manager's word for it needs a bus of its own.
  std::string gio(const std::vector<std::string>& words) {
    std::vector<std::string> command = {"/usr/bin/dbus-run-session", "--", "/usr/bin/gio", "trash"};
    command.insert(command.end(), words.begin(), words.end());
    const GuardedHome::Outcome outcome = home.runAsUser(command);
    EXPECT_EQ(outcome.status, 0) << outcome.output;
    return outcome.output;
  }

  NamedUser user;
  GuardedHome home{trashesInfected};
  const std::string trash = home.home() + "/.local/share/Trash";
};

TEST_F(AgentTrash, LetsTheFileManagerPutAFileBack) {
  home.startAndAwaitWatching();
  const std::string path = saveInfectedAndAwaitTrash("bad.com", "bad.com");
  EXPECT_NE(gio({"--list"}).find("trash:///bad.com\t" + path + "\n"), std::string::npos);
  ASSERT_EQ(home.stop(), 0);
  gio({"--restore", "trash:///bad.com"});
  EXPECT_EQ(readFile(path), GuardedHome::testFile());
  EXPECT_TRUE(std::filesystem::is_empty(trash + "/files"));
  EXPECT_TRUE(std::filesystem::is_empty(trash + "/info"));
}

TEST_F(AgentTrash, KnowsWhereEachOfTwoFilesOfOneNameWas) {
  home.startAndAwaitWatching();
  const std::string first = saveInfectedAndAwaitTrash("bad.com", "bad.com");
  const std::string second = saveInfectedAndAwaitTrash("other/bad.com", "bad.com.001");
  const std::string list = gio({"--list"});
  EXPECT_NE(list.find("trash:///bad.com\t" + first + "\n"), std::string::npos) << list;
  EXPECT_NE(list.find("trash:///bad.com.001\t" + second + "\n"), std::string::npos) << list;
}

TEST_F(AgentTrash, PutsBackAFileOfAnyName) {
  home.startAndAwaitWatching();
  const std::string name = "a: 'b' \"c\" %41; FOUND.com";
  const std::string path = saveInfectedAndAwaitTrash(name, name);
  const std::string foreign = home.saveInfected("latin-\xE9.com");
  ASSERT_TRUE(home.logHas("moved to '" + home.home() + "/.Trash/latin-\\xE9.com'"));
  ASSERT_EQ(home.stop(), 0);
  gio({"--restore", "trash:///a%3A%20%27b%27%20%22c%22%20%2541%3B%20FOUND.com"});
  EXPECT_EQ(readFile(path), GuardedHome::testFile());
  // The file manager shows this one in UTF-8; what is to be put back says its note.
  EXPECT_NE(readFile(trash + "/info/latin-\xE9.com.trashinfo")
                .find("Path=" + home.guarded("latin-%E9.com") + "\n"),
            std::string::npos);
  EXPECT_FALSE(std::filesystem::exists(foreign));
}

TEST_F(AgentTrash, TakesAFileOfAnotherFileSystem) {
  makeFolder("/tmp/guarded/other");
  mountTmpfs("/tmp/guarded/other");
  home.watchInstead("/tmp/guarded/other");
  home.start();
  // Nothing is watched in the home, so the usual sentinel would go unnoticed.
  const std::string path = "/tmp/guarded/other/bad.com";
  ASSERT_TRUE(home.logHas("clamdconfEncoding:"));
  while (home.linesWith("Noticed: /tmp/guarded/other/sentinel") == 0) {
    home.save("/tmp/guarded/other/sentinel", "sentinel");
  }
  home.saveInfected(path);
  ASSERT_TRUE(home.logHas("moved to '" + home.home() + "/.Trash/bad.com'"));
  ASSERT_EQ(home.stop(), 0);
  gio({"--restore", "trash:///bad.com"});
  EXPECT_EQ(readFile(path), GuardedHome::testFile());
}

TEST_F(AgentTrash, ScansNothingInItAgain) {
  home.watchInstead(home.home());
  home.startAndAwaitWatching();
  saveInfectedAndAwaitTrash("bad.com", "bad.com");
  const std::string after = home.save("after.txt", "after");
  ASSERT_TRUE(home.logHas(after + ": OK"));
  EXPECT_EQ(home.linesWith("Noticed: " + trash), 0);
  EXPECT_EQ(home.linesWith("Noticed: " + home.home() + "/.Trash/"), 0);
  // Nor the whole of it, by the link that was just made.
  EXPECT_EQ(home.linesWith("Stable: " + home.home() + "/.Trash"), 0);
}

TEST_F(AgentTrash, LeavesAFolderOfThatNameAsItIs) {
  const std::string folder = home.home() + "/.Trash";
  makeFolder(folder, 0700);
  check(chown(folder.c_str(), GuardedHome::user, GuardedHome::user), "chown " + folder);
  home.watchInstead(home.home());
  home.startAndAwaitWatching();
  saveInfectedAndAwaitTrash("bad.com", "bad.com");
  EXPECT_EQ(readFile(folder + "/bad.com"), GuardedHome::testFile());
  EXPECT_FALSE(std::filesystem::is_symlink(folder));
  EXPECT_FALSE(std::filesystem::exists(trash));
  const std::string after = home.save("after.txt", "after");
  ASSERT_TRUE(home.logHas(after + ": OK"));
  EXPECT_EQ(home.linesWith("Noticed: " + folder), 0);
}

}  // namespace
}  // namespace quillo::tests
