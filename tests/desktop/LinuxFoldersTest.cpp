#include <gtest/gtest.h>

#include "platform/linux/services/Environment.h"
#include "platform/linux/services/LinuxFolders.h"
#include "posix/Accounts.h"
#include "posix/Text.h"
#include "tests/support/TemporaryFolder.h"

namespace quillo {
namespace {

TEST(LinuxFoldersTest, TakesTheHomeFolderFromTheEnvironmentElseFromTheAccount) {
  EXPECT_EQ(LinuxFolders(Environment(Environment::Variables{{"HOME", "/home/a//"}}), "/usr/bin/x")
                .homeFolder(),
            "/home/a");
  EXPECT_EQ(
      LinuxFolders(Environment(Environment::Variables{{"HOME", ""}}), "/usr/bin/x").homeFolder(),
      accountNumbered(getuid()).home);
}

TEST(LinuxFoldersTest, TakesTheRuntimeFolderElseTmpdirElseNone) {
  const TemporaryFolder runtime;
  const TemporaryFolder tmp;
  const auto folderWith = [](Environment::Variables variables) {
    return LinuxFolders(Environment(std::move(variables)), "/usr/bin/x").temporaryFolder();
  };
  EXPECT_EQ(folderWith({{"XDG_RUNTIME_DIR", runtime.path() + "/"}, {"TMPDIR", tmp.path()}}),
            runtime.path());
  EXPECT_EQ(folderWith({{"XDG_RUNTIME_DIR", "/no/such"}, {"TMPDIR", tmp.path()}}), tmp.path());
  EXPECT_EQ(folderWith({{"TMPDIR", "relative"}}), std::nullopt);
}

TEST(LinuxFoldersTest, KeepsItsStateWhereThatOfTheUserLies) {
  const auto folderWith = [](Environment::Variables variables) {
    return LinuxFolders(Environment(std::move(variables)), "/usr/bin/x").stateFolder();
  };
  EXPECT_EQ(folderWith({{"HOME", "/home/a"}}), "/home/a/.local/state/vantrel");
  EXPECT_EQ(folderWith({{"HOME", "/home/a"}, {"XDG_STATE_HOME", "/state/"}}), "/state/vantrel");
  EXPECT_EQ(folderWith({{"HOME", "/home/a"}, {"XDG_STATE_HOME", "relative"}}),
            "/home/a/.local/state/vantrel");
}

TEST(LinuxFoldersTest, FindsTheResourcesBesideABuiltAndBehindAnInstalledProgram) {
  const TemporaryFolder build;
  build.write("CMakeCache.txt", "");
  const Environment none({});
  EXPECT_EQ(LinuxFolders(none, build.path() + "/vantrel-quillo").resourceFolder(),
            build.path() + "/resources");
  EXPECT_EQ(LinuxFolders(none, "/usr/local/bin/vantrel-quillo").resourceFolder(),
            "/usr/local/lib/vantrel-quillo");
  EXPECT_EQ(LinuxFolders(none, "/bin/vantrel-quillo").resourceFolder(), "/lib/vantrel-quillo");
}

TEST(LinuxFoldersTest, KeepsDataAndStateWhereTheEnvironmentSaysElseInTheHomeFolder) {
  const LinuxFolders usual(Environment(Environment::Variables{{"HOME", "/home/a"}}), "/usr/bin/x");
  EXPECT_EQ(usual.dataFolder(), "/home/a/.local/share");
  EXPECT_EQ(usual.stateFolder(), "/home/a/.local/state/vantrel");
  const LinuxFolders other(
      Environment(Environment::Variables{
          {"HOME", "/home/a"}, {"XDG_DATA_HOME", "/data/"}, {"XDG_STATE_HOME", "/state"}}),
      "/usr/bin/x");
  EXPECT_EQ(other.dataFolder(), "/data");
  EXPECT_EQ(other.stateFolder(), "/state/vantrel");
}

TEST(LinuxFoldersTest, FindsTheDownloadsUnderTheirNameInTheUsersLanguage) {
  const TemporaryFolder home;
  const auto downloads = [&] {
    return LinuxFolders(Environment(Environment::Variables{{"HOME", home.path()}}), "/usr/bin/x")
        .downloadsFolder();
  };
  EXPECT_EQ(downloads(), home.path() + "/Downloads");
  home.write(".config/user-dirs.dirs",
             "# XDG_DOWNLOAD_DIR=\"$HOME/No\"\nXDG_DOWNLOAD_DIR=\"$HOME/Téléchargements\"\n");
  EXPECT_EQ(downloads(), home.path() + "/Téléchargements");
  home.write(".config/user-dirs.dirs", "XDG_DOWNLOAD_DIR=\"$HOME/\"\n");
  EXPECT_EQ(downloads(), home.path() + "/Downloads");
}

TEST(LinuxFoldersTest, KnowsTheRunningProgram) {
  EXPECT_EQ(lastPathComponent(LinuxFolders::pathOfThisProgram()), "desktop_tests");
}

}  // namespace
}  // namespace quillo
