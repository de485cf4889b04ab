#include <gtest/gtest.h>
#include <unistd.h>

#include <chrono>
#include <optional>

#include "platform/linux/session/SingleInstance.h"
#include "posix/ChildProcess.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/Waiting.h"

namespace quillo {
namespace {

class SingleInstanceTest : public testing::Test {
 protected:
  SingleInstanceTest() { std::filesystem::create_directory(runtime()); }
  std::string runtime() const { return folder.path() + "/runtime"; }
  std::string fallback() const { return folder.path() + "/fallback"; }
  SingleInstance make() const { return {{runtime()}, fallback()}; }

  TemporaryFolder folder;
};

TEST_F(SingleInstanceTest, OnlyTheFirstIsFirstUntilItIsGone) {
  std::optional<SingleInstance> first(make());
  EXPECT_TRUE(first->isFirst());
  EXPECT_EQ(first->problem(), "");
  EXPECT_FALSE(make().isFirst());
  EXPECT_FALSE(make().isFirst());
  first.reset();
  EXPECT_TRUE(make().isFirst());
  EXPECT_FALSE(std::filesystem::exists(fallback()));
}

TEST_F(SingleInstanceTest, NoChildKeepsTheLock) {
  std::optional<SingleInstance> first(make());
  ChildProcess child({.launchPath = "/bin/sleep", .arguments = {"1000"}});
  first.reset();
  // The child closes it a moment after it has started to run (execve(2)); it runs far longer.
  EXPECT_TRUE(awaitThat([this] { return make().isFirst(); }));
}

TEST_F(SingleInstanceTest, MakesAPrivateFolderWithoutARuntimeFolder) {
  std::filesystem::remove(runtime());
  const SingleInstance first = make();
  EXPECT_TRUE(first.isFirst());
  EXPECT_EQ(first.problem(), "");
  EXPECT_EQ(std::filesystem::status(fallback()).permissions(), std::filesystem::perms(0700));
  EXPECT_FALSE(make().isFirst());
}

TEST_F(SingleInstanceTest, FollowsNoPlantedLink) {
  std::filesystem::remove(runtime());
  std::filesystem::create_directory(folder.path() + "/elsewhere");
  std::filesystem::create_symlink(folder.path() + "/elsewhere", fallback());
  const SingleInstance linkedFolder = make();
  EXPECT_TRUE(linkedFolder.isFirst());
  EXPECT_EQ(linkedFolder.problem().find(fallback() + ": "), 0U) << linkedFolder.problem();

  std::filesystem::create_directory(runtime());
  std::filesystem::create_symlink(folder.path() + "/target", runtime() + "/vantrel-quillo.lock");
  const SingleInstance linkedFile = make();
  EXPECT_TRUE(linkedFile.isFirst());
  EXPECT_FALSE(std::filesystem::exists(folder.path() + "/target"));
  EXPECT_TRUE(std::filesystem::is_empty(folder.path() + "/elsewhere"));
}

TEST_F(SingleInstanceTest, PassesOverAFolderThatOthersCanWrite) {
  std::filesystem::permissions(runtime(), std::filesystem::perms(0777));
  const SingleInstance first = make();
  EXPECT_TRUE(first.isFirst());
  EXPECT_TRUE(std::filesystem::is_empty(runtime()));
  EXPECT_TRUE(std::filesystem::exists(fallback() + "/vantrel-quillo.lock"));
}

TEST_F(SingleInstanceTest, UsesTheRuntimeFolderOfItsEnvironment) {
  const Environment environment(Environment::Variables{{"XDG_RUNTIME_DIR", runtime()}});
  const SingleInstance first(environment);
  EXPECT_TRUE(std::filesystem::exists(runtime() + "/vantrel-quillo.lock"));
  EXPECT_FALSE(SingleInstance(environment).isFirst());
}

}  // namespace
}  // namespace quillo
