#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/syscall.h>

#include <cerrno>
#include <cstring>
#include <filesystem>

#include "platform/linux/preferences/TomlFile.h"
#include "platform/linux/preferences/TomlPreferenceStore.h"
#include "platform/linux/text/StringTables.h"
#include "tests/support/SystemCalls.h"
#include "tests/support/TemporaryFolder.h"

namespace quillo {
namespace {

constexpr char own[] = "org.vantrel.VantrelQuillo";
constexpr char suite[] = "org.vantrel.Vantrel";

template <typename T>
T valueOf(const std::optional<PreferenceValue>& found) {
  return found && std::holds_alternative<T>(found->value) ? std::get<T>(found->value) : T();
}

class TomlPreferences : public testing::Test {
 protected:
  TomlPreferenceStore makeStore() {
    return {{folder.path() + "/user", folder.path() + "/machine"},
            own,
            [this](const std::string& problem, const Wording& wording) {
              problems.push_back(problem);
              wordings.push_back(wording.in(german));
            }};
  }
  std::string write(const std::string& where, const std::string& domain, const std::string& text) {
    return folder.write(where + "/" + domain + ".toml", text);
  }

  TemporaryFolder folder;
  StringTables german{{QUILLO_SOURCE_DIR "/resources/strings"}, {"de"}, nullptr};
  std::vector<std::string> problems;
  std::vector<std::string> wordings;
};

TEST_F(TomlPreferences, KnowsWhetherThereIsAnythingAndWhereTheUserWritesIt) {
  TomlPreferenceStore store = makeStore();
  store.addSuiteNamed(suite);
  store.synchronize();
  EXPECT_FALSE(store.hasAny());
  EXPECT_EQ(store.fileOf(suite), folder.path() + "/user/org.vantrel.Vantrel.toml");
  const std::string machines = write("machine", suite, "a = 1\n");
  store.synchronize();
  EXPECT_TRUE(store.hasAny());
  std::filesystem::remove(machines);
  store.synchronize();
  EXPECT_FALSE(store.hasAny());
  write("user", suite, "a = \n");
  store.synchronize();
  EXPECT_TRUE(store.hasAny());
}

TEST_F(TomlPreferences, GivesEveryTypeAsItWasWritten) {
  write("user", own,
        "flag = true\nsize = 1024\nratio = 2.5\n\"Running on OS X Server\" = 'x'\n"
        "day = 2026-11-21\nmoment = 2026-11-21T07:10:00Z\n"
        "list = ['a', 2]\n[QuarantineFolder]\npath = '~/Quarantine'\n"
        "[[QuilloFolderArray]]\npathName = '~/Downloads'\nWatchSubdirs = true\n");
  TomlPreferenceStore store = makeStore();
  EXPECT_TRUE(valueOf<bool>(store.objectForKey("flag")));
  EXPECT_EQ(valueOf<std::int64_t>(store.objectForKey("size")), 1024);
  EXPECT_EQ(valueOf<double>(store.objectForKey("ratio")), 2.5);
  EXPECT_EQ(valueOf<std::string>(store.objectForKey("Running on OS X Server")), "x");
  EXPECT_EQ(valueOf<std::string>(store.objectForKey("day")), "2026-11-21");
  EXPECT_EQ(valueOf<std::string>(store.objectForKey("moment")), "2026-11-21T07:10:00Z");
  EXPECT_EQ(valueOf<PreferenceArray>(store.objectForKey("list")).size(), 2U);
  const auto quarantine = valueOf<PreferenceDictionary>(store.objectForKey("QuarantineFolder"));
  EXPECT_EQ(std::get<std::string>(quarantine.at("path").value), "~/Quarantine");
  const auto folders = valueOf<PreferenceArray>(store.objectForKey("QuilloFolderArray"));
  ASSERT_EQ(folders.size(), 1U);
  const auto first = std::get<PreferenceDictionary>(folders[0].value);
  EXPECT_TRUE(std::get<bool>(first.at("WatchSubdirs").value));
  EXPECT_FALSE(store.objectForKey("absent"));
  EXPECT_TRUE(problems.empty());
}

TEST_F(TomlPreferences, SearchesTheOwnDomainFirstAndTheUsersFolderBeforeTheMachines) {
  write("machine", own, "a = 'own machine'\nb = 'own machine'\n");
  write("user", suite, "a = 'suite'\nb = 'suite'\nc = 'suite'\n");
  write("user", own, "a = 'own user'\n");
  TomlPreferenceStore store = makeStore();
  EXPECT_FALSE(store.objectForKey("c"));
  store.addSuiteNamed(suite);
  store.addSuiteNamed(suite);
  EXPECT_EQ(valueOf<std::string>(store.objectForKey("a")), "own user");
  EXPECT_EQ(valueOf<std::string>(store.objectForKey("b")), "own machine");
  EXPECT_EQ(valueOf<std::string>(store.objectForKey("c")), "suite");
}

TEST_F(TomlPreferences, NamesTheFileThatDecides) {
  const std::string above = write("machine", own, "a = 1\n");
  const std::string users = write("user", suite, "a = 2\nb = 2\n");
  const std::string below = write("machine", suite, "b = 3\nc = 3\n");
  TomlPreferenceStore store = makeStore();
  store.addSuiteNamed(suite);
  EXPECT_EQ(store.fileThatHas("a"), above);
  EXPECT_EQ(store.fileThatHas("b"), users);
  EXPECT_EQ(store.fileThatHas("c"), below);
  EXPECT_EQ(store.fileThatHas("d"), "");
}

TEST_F(TomlPreferences, ReadsAnewOnlyWhenSynchronised) {
  write("user", own, "a = 1\n");
  TomlPreferenceStore store = makeStore();
  EXPECT_EQ(valueOf<std::int64_t>(store.objectForKey("a")), 1);
  const std::string path = write("user", own, "a = 2\n");
  EXPECT_EQ(valueOf<std::int64_t>(store.objectForKey("a")), 1);
  store.synchronize();
  EXPECT_EQ(valueOf<std::int64_t>(store.objectForKey("a")), 2);
  std::filesystem::remove(path);
  store.synchronize();
  EXPECT_FALSE(store.objectForKey("a"));
}

TEST_F(TomlPreferences, KeepsTheLastGoodValuesAndReportsOnceWhereAFileIsWrong) {
  write("user", own, "a = 1\n");
  TomlPreferenceStore store = makeStore();
  store.synchronize();
  const std::string path = write("user", own, "a = 2\nb = = 3\n");
  store.synchronize();
  store.synchronize();
  EXPECT_EQ(valueOf<std::int64_t>(store.objectForKey("a")), 1);
  ASSERT_EQ(problems.size(), 1U);
  EXPECT_EQ(problems[0].find(path + ":2:5: "), 0U) << problems[0];
  EXPECT_GT(problems[0].size(), path.size() + 10);
  EXPECT_EQ(wordings[0], problems[0]);

  write("user", own, "a = 2\n\nb = = 3\n");
  store.synchronize();
  EXPECT_EQ(problems.size(), 2U);
  write("user", own, "a = 4\n");
  store.synchronize();
  EXPECT_EQ(valueOf<std::int64_t>(store.objectForKey("a")), 4);
  EXPECT_EQ(problems.size(), 2U);
}

TEST_F(TomlPreferences, ListenerMayAskTheStoreItself) {
  write("user", own, "a =\n");
  TomlPreferenceStore* asked = nullptr;
  bool answered = false;
  TomlPreferenceStore store(
      {folder.path() + "/user"}, own,
      [&](const std::string&, const Wording&) { answered = !asked->objectForKey("a"); });
  asked = &store;
  store.synchronize();
  EXPECT_TRUE(answered);
}

TEST_F(TomlPreferences, DoesNotHangOnAFifoAndSaysSo) {
  std::filesystem::create_directories(folder.path() + "/user");
  const std::string path = folder.path() + "/user/" + own + ".toml";
  ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
  TomlPreferenceStore store = makeStore();
  store.synchronize();
  ASSERT_EQ(problems.size(), 1U);
  EXPECT_EQ(problems[0], path + ": not a regular file");
  EXPECT_EQ(wordings[0], path + " ist keine gewöhnliche Datei");
}

TEST_F(TomlPreferences, AreReadAlsoWhenThatIsInterrupted) {
  const std::string path = folder.write("of-this-test.toml", "multiscan = \"yes\"\n");
  withInterruptedSystemCall(SYS_read, 2, [&] {
    const TomlFile file = TomlFile::read(path);
    EXPECT_EQ(file.problem, "");
    EXPECT_EQ(file.values.count("multiscan"), 1U);
  });
  withFailingSystemCall(SYS_read, EIO, [&] {
    EXPECT_EQ(TomlFile::read(path).problem, path + ": Input/output error");
  });
}

TEST_F(TomlPreferences, ThatAreALoopOfLinksAreReportedInTheUsersLanguage) {
  std::filesystem::create_directories(folder.path() + "/user");
  const std::string path = folder.path() + "/user/" + own + ".toml";
  std::filesystem::create_symlink(path, path);
  TomlPreferenceStore store = makeStore();
  store.synchronize();
  const std::string reason = std::strerror(ELOOP);
  ASSERT_EQ(problems, std::vector<std::string>{path + ": " + reason});
  EXPECT_EQ(wordings[0], path + " ist nicht lesbar: " + reason);
}

TEST(TomlPreferenceFolders, FollowTheXdgRules) {
  EXPECT_EQ(TomlPreferenceStore::folders(Environment(Environment::Variables{}), "/home/a"),
            (std::vector<std::string>{"/home/a/.config/vantrel", "/etc/xdg/vantrel"}));
  EXPECT_EQ(TomlPreferenceStore::folders(
                Environment(Environment::Variables{{"XDG_CONFIG_HOME", "/c/"},
                                                   {"XDG_CONFIG_DIRS", "/x:relative::/y/"}}),
                "/home/a"),
            (std::vector<std::string>{"/c/vantrel", "/x/vantrel", "/y/vantrel"}));
  EXPECT_EQ(TomlPreferenceStore::folders(
                Environment(Environment::Variables{{"XDG_CONFIG_HOME", "relative"}}), "/h")[0],
            "/h/.config/vantrel");
}

}  // namespace
}  // namespace quillo
