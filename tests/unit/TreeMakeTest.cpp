#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <future>
#include <map>

#include "posix/PlatformException.h"
#include "posix/Text.h"
#include "posix/UniqueFd.h"
#include "tests/fakes/tools/TreeSandbox.h"

namespace quillo {
namespace {

void installDefinitions(const TreeSandbox& sandbox, const std::string& folder) {
  std::filesystem::create_directories(sandbox.path(folder));
  sandbox.write(folder + "/main.cvd", "ClamAV-VDB:");
  sandbox.write(folder + "/daily.cld", "ClamAV-VDB:");
}

// Every file of the tree with its identity and content.
std::map<std::string, std::string> photographed(const TreeSandbox& sandbox) {
  std::map<std::string, std::string> picture;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(sandbox.path("tree"))) {
    struct stat status = {};
    stat(entry.path().c_str(), &status);
    const std::string name = entry.path().string().substr(sandbox.path("").size());
    picture[name] = std::to_string(status.st_ino) + " " + std::to_string(status.st_mode) + " " +
                    (S_ISREG(status.st_mode) ? sandbox.read(name) : "");
  }
  return picture;
}

TEST(Definitions, HoldTheTestFileAloneUntilRealOnesAreThere) {
  const std::string line = builtInDefinition();
  ASSERT_EQ(eicarTestFile().size(), 68U);
  ASSERT_EQ(line.back(), '\n');
  const std::vector<std::string_view> fields =
      split(std::string_view(line).substr(0, line.size() - 1), ':');
  ASSERT_EQ(fields.size(), 4U);
  EXPECT_EQ(fields[0], "Eicar-Test-Signature");
  std::string decoded;
  for (std::size_t i = 0; i + 1 < fields[3].size(); i += 2) {
    decoded += static_cast<char>(std::stoi(std::string(fields[3].substr(i, 2)), nullptr, 16));
  }
  EXPECT_EQ(decoded, eicarTestFile());
}

TEST(Definitions, AreCompleteWithMainAndDailyInEitherForm) {
  const TreeSandbox sandbox;
  std::filesystem::create_directory(sandbox.path("d"));
  EXPECT_FALSE(definitionsIn(sandbox.path("d")).any());
  sandbox.write("d/daily.cld", "");
  EXPECT_FALSE(definitionsIn(sandbox.path("d")).any());
  sandbox.write("d/daily.cld", "x");
  EXPECT_TRUE(definitionsIn(sandbox.path("d")).any());
  EXPECT_FALSE(definitionsIn(sandbox.path("d")).complete());
  sandbox.write("d/main.cvd", "x");
  EXPECT_TRUE(definitionsIn(sandbox.path("d")).complete());
  EXPECT_TRUE(definitionsIn(sandbox.path("d")).newest.has_value());
}

TEST(EngineTree, HasTheLayoutOfAnEngine) {
  const TreeSandbox sandbox;
  const TreePlan plan = makeTree(sandbox.request());
  for (const char* program : {"tree/bin/clamdscan", "tree/bin/freshclam", "tree/sbin/clamd"}) {
    EXPECT_EQ(access(sandbox.path(program).c_str(), X_OK), 0) << program;
  }
  EXPECT_EQ(sandbox.read("tree/bin/clamdscan"), sandbox.read("tools/clamdscan"));
  EXPECT_EQ(sandbox.read("tree/sbin/clamd"), sandbox.read("tools/engine-launcher"));
  EXPECT_EQ(sandbox.read("tree/etc/clamd.conf"), clamdConfText(plan));
  EXPECT_EQ(plan.definitions, sandbox.path("tree/db"));
  EXPECT_EQ(sandbox.read("tree/db/vantrel-eicar.ndb"), builtInDefinition());
}

TEST(EngineTree, StaysAsItIsWhenItIsMadeAgain) {
  const TreeSandbox sandbox;
  makeTree(sandbox.request());
  const auto before = photographed(sandbox);
  makeTree(sandbox.request());
  EXPECT_EQ(photographed(sandbox), before);
  refreshTree(sandbox.path("tree"), sandbox.places());
  EXPECT_EQ(photographed(sandbox), before);
}

TEST(EngineTree, IsNotBegunWithoutTheEngine) {
  const TreeSandbox sandbox;
  std::filesystem::remove(sandbox.path("machine/freshclam"));
  EXPECT_THROW(makeTree(sandbox.request()), PlatformException);
  EXPECT_FALSE(std::filesystem::exists(sandbox.path("tree")));
}

TEST(EngineTree, IsNotBegunWithoutTheWrapper) {
  const TreeSandbox sandbox;
  std::filesystem::remove(sandbox.path("tools/clamdscan"));
  EXPECT_THROW(makeTree(sandbox.request()), PlatformException);
  EXPECT_FALSE(std::filesystem::exists(sandbox.path("tree")));
}

TEST(EngineTree, GetsNewProgramsWhenItIsMadeAgain) {
  const TreeSandbox sandbox;
  makeTree(sandbox.request());
  sandbox.write("tools/clamdscan", "newer");
  makeTree(sandbox.request());
  EXPECT_EQ(sandbox.read("tree/bin/clamdscan"), "newer");
}

TEST(EngineTree, UsesTheMachinesDefinitionsWhereThereAreSome) {
  const TreeSandbox sandbox;
  makeTree(sandbox.request());
  installDefinitions(sandbox, "machine/definitions");
  const TreePlan plan = makeTree(sandbox.request());
  EXPECT_EQ(plan.definitions, sandbox.path("machine/definitions"));
  std::filesystem::remove_all(sandbox.path("machine/definitions"));
  EXPECT_EQ(makeTree(sandbox.request()).definitions, sandbox.path("tree/db"));
}

TEST(EngineTree, KeepsDownloadedDefinitionsAndDropsTheBuiltInOne) {
  const TreeSandbox sandbox;
  makeTree(sandbox.request());
  installDefinitions(sandbox, "tree/db");
  makeTree(sandbox.request());
  EXPECT_TRUE(definitionsIn(sandbox.path("tree/db")).complete());
  EXPECT_FALSE(std::filesystem::exists(sandbox.path("tree/db/vantrel-eicar.ndb")));
}

TEST(EngineTree, KeepsTheUsersOwnLines) {
  const TreeSandbox sandbox;
  makeTree(sandbox.request());
  sandbox.write("tree/etc/clamd.local", "MaxFileSize 3M\n");
  makeTree(sandbox.request());
  EXPECT_EQ(ClamConf::parse(sandbox.read("tree/etc/clamd.conf")).value("MaxFileSize"), "3M");
  EXPECT_EQ(sandbox.read("tree/etc/clamd.local"), "MaxFileSize 3M\n");
}

TEST(EngineTree, NamesWhatItLacks) {
  const TreeSandbox sandbox;
  EXPECT_FALSE(checkTree(sandbox.path("tree"), sandbox.places()).empty());
  const TreePlan plan = makeTree(sandbox.request());
  const std::vector<std::string> expected = {"no clamd answers at " + plan.socket(),
                                             "no real definitions in " + sandbox.path("tree/db")};
  EXPECT_EQ(checkTree(sandbox.path("tree"), sandbox.places()), expected);
  std::filesystem::remove(sandbox.path("tree/etc/front.conf"));
  EXPECT_EQ(checkTree(sandbox.path("tree"), sandbox.places()).front(),
            "there is no file " + sandbox.path("tree/etc/front.conf"));
}

TEST(EngineTree, ReportsHowOldItsDefinitionsAreFromTwoWeeksOn) {
  const TreeSandbox sandbox;
  const TreePlan plan = makeTree(sandbox.request());
  installDefinitions(sandbox, "tree/db");
  const std::vector<std::string> noDaemon = {"no clamd answers at " + plan.socket()};
  EXPECT_EQ(checkTree(sandbox.path("tree"), sandbox.places()), noDaemon);
  const auto now = std::filesystem::file_time_type::clock::now();
  for (const auto& entry : std::filesystem::directory_iterator(sandbox.path("tree/db"))) {
    std::filesystem::last_write_time(entry.path(), now - std::chrono::hours(15 * 24 + 1));
  }
  EXPECT_EQ(checkTree(sandbox.path("tree"), sandbox.places()).back(),
            "the definitions in " + sandbox.path("tree/db") + " are 15 days old");
}

TEST(EngineTree, IsDescribedInAFewLines) {
  const TreeSandbox sandbox;
  const TreeRequest request = sandbox.request();
  const std::vector<std::string> lines = describe(makeTree(request), request);
  ASSERT_EQ(lines.size(), 3U);
  EXPECT_EQ(lines[0], "Engine tree: " + sandbox.path("tree"));
  EXPECT_NE(lines[1].find("private clamd"), std::string::npos);
  EXPECT_NE(lines[2].find("EICAR"), std::string::npos);
}

// Everybody who can read a folder can lock it, for as long as he likes.
TEST(EngineTree, IsNotHeldUpByWhoeverLocksItsFolders) {
  const TreeSandbox sandbox;
  makeTree(sandbox.request());
  std::vector<UniqueFd> locks;
  for (const char* name : {"tree", "tree/etc", "tree/db"}) {
    locks.emplace_back(open(sandbox.path(name).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    ASSERT_EQ(flock(locks.back().get(), LOCK_EX | LOCK_NB), 0) << name;
  }
  auto made = std::async(std::launch::async, [&sandbox] { makeTree(sandbox.request()); });
  EXPECT_EQ(made.wait_for(std::chrono::seconds(20)), std::future_status::ready);
  locks.clear();
  made.get();
}

TEST(EngineTree, NamesTheAccountOfTheMachinesDaemonWhoseSocketIsTrusted) {
  TreePlan plan;
  plan.machine.state = DaemonState::answers;
  plan.machine.socket = "/run/s";
  plan.machine.account = "vscan";
  EXPECT_EQ(ClamConf::parse(clamdConfText(plan)).value("User"), "vscan");
}

class EngineTreeScratch : public testing::Test {
 protected:
  EngineTreeScratch() {
    std::filesystem::create_directory(places.runtime);
    std::filesystem::permissions(places.runtime, std::filesystem::perms(0700));
    std::filesystem::permissions(places.temporary, std::filesystem::perms(01777));
  }
  // Whatever TMPDIR says, which clamd(8) would heed.
  std::string scratchOf(const TreePlan& plan) const {
    return ClamConf::parse(clamdConfText(plan)).value("TemporaryDirectory");
  }
  TreePlan refresh(SocketFolderUse use) const { return refreshTree(request.root, places, use); }

  const TreeSandbox sandbox;
  const TreeRequest request = sandbox.request();
  const MachinePlaces& places = request.places;
};

TEST_F(EngineTreeScratch, IsNotTheUsersRuntimeFolder) {
  const TreePlan plan = makeTree(request);
  EXPECT_EQ(plan.socket().find(places.runtime + "/vantrel-clamd-"), 0U);
  EXPECT_EQ(scratchOf(plan), places.temporary);
  EXPECT_TRUE(std::filesystem::is_empty(places.temporary));
}

TEST_F(EngineTreeScratch, IsTheSocketsFolderWhereThereIsNoPlaceForTemporaryFiles) {
  makeTree(request);
  std::filesystem::remove(places.temporary);
  const TreePlan plan = refresh(SocketFolderUse::renew);
  EXPECT_EQ(scratchOf(plan), plan.socketFolder);
}

TEST_F(EngineTreeScratch, IsTheSocketsFolderWhereOnlyRootMayMakeTemporaryFiles) {
  std::filesystem::permissions(places.temporary, std::filesystem::perms(0555));
  const TreePlan plan = makeTree(request);
  EXPECT_EQ(scratchOf(plan), plan.socketFolder);
}

TEST_F(EngineTreeScratch, StaysTheSameUntilTheDaemonIsStartedAnew) {
  makeTree(request);
  std::filesystem::remove(places.temporary);
  EXPECT_EQ(scratchOf(refresh(SocketFolderUse::keep)), places.temporary);
}

TEST(EngineTree, LiesInTheUsersDataFolder) {
  const char* const before = std::getenv("XDG_DATA_HOME");
  const std::string kept = before != nullptr ? before : "";
  setenv("XDG_DATA_HOME", "/data", 1);
  EXPECT_EQ(defaultRoot(false), "/data/vantrel/engine");
  setenv("XDG_DATA_HOME", "relative", 1);
  EXPECT_EQ(defaultRoot(false).find("relative"), std::string::npos);
  EXPECT_EQ(defaultRoot(true), "/usr/local/vantrel");
  before != nullptr ? setenv("XDG_DATA_HOME", kept.c_str(), 1) : unsetenv("XDG_DATA_HOME");
}

}  // namespace
}  // namespace quillo
