#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>

#include "platform/linux/services/PolkitAuthorization.h"
#include "platform/linux/text/StringTables.h"
#include "tests/support/TemporaryFolder.h"

namespace quillo {
namespace {

// A program of the distribution's that only root can exchange.
constexpr char safeProgram[] = "/usr/bin/env";

class Keys final : public LocalizedStrings {
 public:
  std::string stringForKey(const std::string& key, const std::string&) override {
    return key + " %@";
  }
};

class PolkitAuthorizationTest : public testing::Test {
 protected:
  // A program that stands for pkexec: notes its arguments, says `words` and exits with `status`.
  std::string fakePkexec(const std::string& words, int status) {
    std::string path =
        folder.write("pkexec", "#!/bin/sh\nprintf '[%s]' \"$@\" > \"${0%/*}/arguments\"\necho '" +
                                   words + "' >&2\nexit " + std::to_string(status) + "\n");
    chmod(path.c_str(), 0755);
    return path;
  }
  bool execute(PolkitAuthorization::Places places) {
    PolkitAuthorization authorization(std::move(places), strings);
    return authorization.executeWithPrivileges("/bin/sh", {"-c", "exit 0 # \"x y\""}, reason);
  }
  // What stands in front of the command; takes the bit of the group back behind it.
  const std::string withoutGranter = std::string("[--disable-internal-agent][/bin/sh][-c]") +
                                     "[\"$@\" || exit; [ ! -g \"$0\" ] || chmod g-s \"$0\"][" +
                                     safeProgram + "]";
  std::string arguments() const { return TemporaryFolder::read(folder.path() + "/arguments"); }

  TemporaryFolder folder;
  Keys strings;
  std::string reason;
};

TEST_F(PolkitAuthorizationTest, HandsTheCommandOverWordByWord) {
  EXPECT_TRUE(execute({.helper = safeProgram, .granter = "", .pkexec = fakePkexec("", 0)}));
  EXPECT_EQ(arguments(), withoutGranter + "[/bin/sh][-c][exit 0 # \"x y\"]");
  EXPECT_EQ(reason, "");
}

TEST_F(PolkitAuthorizationTest, PutsTheGranterInFrontOnlyWhereItCanBeTrusted) {
  EXPECT_TRUE(
      execute({.helper = safeProgram, .granter = safeProgram, .pkexec = fakePkexec("", 0)}));
  EXPECT_EQ(arguments(), "[--disable-internal-agent][/usr/bin/env][/bin/sh][-c][exit 0 # \"x y\"]");
  const std::string planted = folder.write("granter", "");
  chmod(planted.c_str(), 0777);
  EXPECT_TRUE(execute({.helper = safeProgram, .granter = planted, .pkexec = fakePkexec("", 0)}));
  EXPECT_EQ(arguments(), withoutGranter + "[/bin/sh][-c][exit 0 # \"x y\"]");
}

TEST_F(PolkitAuthorizationTest, SaysWhyItFailed) {
  EXPECT_FALSE(execute({.helper = safeProgram, .granter = "", .pkexec = fakePkexec("x", 126)}));
  EXPECT_EQ(reason, "AUTHORIZATION_DISMISSED");
  EXPECT_FALSE(
      execute({.helper = safeProgram, .granter = "", .pkexec = fakePkexec("No agent", 127)}));
  EXPECT_EQ(reason, "AUTHORIZATION_REFUSED No agent");
  EXPECT_FALSE(
      execute({.helper = safeProgram, .granter = "", .pkexec = fakePkexec("chown: no", 1)}));
  EXPECT_EQ(reason, "AUTHORIZATION_FAILED chown: no");
  EXPECT_FALSE(execute({.helper = safeProgram, .granter = "", .pkexec = "/no/such/pkexec"}));
  EXPECT_EQ(reason, "AUTHORIZATION_UNAVAILABLE /no/such/pkexec");
}

TEST_F(PolkitAuthorizationTest, RunsTheCommandItselfForRoot) {
  EXPECT_TRUE(
      execute({.helper = safeProgram, .granter = "", .pkexec = "/no/such", .isRoot = true}));
  PolkitAuthorization root({.helper = safeProgram, .granter = "", .pkexec = "", .isRoot = true},
                           strings);
  EXPECT_FALSE(root.executeWithPrivileges("/bin/sh", {"-c", "echo no; exit 126"}, reason));
  EXPECT_EQ(reason, "AUTHORIZATION_FAILED no");
  EXPECT_FALSE(root.executeWithPrivileges("/no/such/program", {}, reason));
  EXPECT_NE(reason.find("/no/such/program: not found"), std::string::npos) << reason;
}

TEST_F(PolkitAuthorizationTest, RunsNothingForAHelperThatOthersCanExchange) {
  const std::string helper = folder.write("gfslogger", "");
  chmod(helper.c_str(), 0777);
  EXPECT_FALSE(execute({.helper = helper, .granter = "", .pkexec = fakePkexec("", 0)}));
  EXPECT_EQ(reason.find("HELPER_UNSAFE PATH_"), 0U) << reason;
  EXPECT_FALSE(execute({.helper = helper, .granter = "", .pkexec = "", .isRoot = true}));
  EXPECT_EQ(arguments(), "");
}

// The reason as one who reads English is shown it.
std::string why(const std::string& path) {
  StringTables english({QUILLO_SOURCE_DIR "/resources/strings"}, {}, nullptr);
  return whyUnsafe(path).in(english);
}

TEST(WhyUnsafe, HasNothingAgainstAProgramOfTheSystems) { EXPECT_EQ(why(safeProgram), ""); }

TEST(WhyUnsafe, NamesWhatIsWrong) {
  EXPECT_EQ(why("gfslogger"), "gfslogger is no absolute path");
  EXPECT_EQ(why("/usr/bin/no-such"), "/usr/bin/no-such cannot be read: No such file or directory");
  EXPECT_EQ(why("/usr/bin"), "/usr/bin is no regular file");
  EXPECT_EQ(why("/usr/bin/env/x"), "/usr/bin/env is no folder");
  EXPECT_EQ(why("/proc/self/cwd/x").substr(0, 6), "/proc/");
}

TEST(WhyUnsafe, NamesItInTheLanguageOfTheUser) {
  const std::map<std::string, std::string> expected = {
      {"de", "/usr/bin ist keine gewöhnliche Datei"},
      {"en", "/usr/bin is no regular file"},
      {"es", "/usr/bin no es un archivo normal"},
      {"fr", "/usr/bin n’est pas un fichier ordinaire"},
      {"ja", "/usr/bin は通常のファイルではありません"}};
  for (const auto& [language, words] : expected) {
    StringTables tables({QUILLO_SOURCE_DIR "/resources/strings"}, {language}, nullptr);
    EXPECT_EQ(whyUnsafe("/usr/bin").in(tables), words);
  }
}

TEST(WordingTest, TakesAPlaceholderInAValueForNone) {
  StringTables english({QUILLO_SOURCE_DIR "/resources/strings"}, {}, nullptr);
  EXPECT_EQ((Wording{"PATH_BELONGS_TO", {"/a%@", "b%@"}}.in(english)), "/a%@ belongs to b%@");
}

TEST(WordingTest, WithoutATextIsItsValues) {
  StringTables english({QUILLO_SOURCE_DIR "/resources/strings"}, {}, nullptr);
  EXPECT_EQ((Wording{"NO_SUCH_KEY", {"/a", "b"}}.in(english)), "/a: b");
  EXPECT_EQ((Wording{"", {"/a: b"}}.in(english)), "/a: b");
  EXPECT_TRUE(Wording().empty());
}

// In a place that only root can write, if that is who tests.
class WhyUnsafePlace : public testing::Test {
 protected:
  WhyUnsafePlace() {
    if (geteuid() == 0) chmod(place_.path().c_str(), 0755);
  }
  std::string file(const std::string& name, mode_t folderMode) const {
    const std::filesystem::path path = place_.at(name);
    std::filesystem::create_directories(path.parent_path());
    std::ofstream(path) << "text";
    chmod(path.parent_path().c_str(), folderMode);
    return path.string();
  }

 private:
  const TemporaryFolder place_{geteuid() == 0 ? "/run" : "/tmp"};
};

TEST_F(WhyUnsafePlace, IsNoStickyFolder) {
  const std::string path = file("sticky/file", 01777);
  EXPECT_NE(why(path), "");
  EXPECT_NE(why(file("group/file", 01775)), "");
  if (geteuid() == 0) {
    EXPECT_EQ(why(path), std::filesystem::path(path).parent_path().string() +
                             " can be written by others than root");
  }
}

TEST_F(WhyUnsafePlace, HoldsAFileOfOneNameOnly) {
  const std::string path = file("closed/file", 0755);
  const std::string other = std::filesystem::path(path).parent_path().string() + "/other";
  if (geteuid() == 0) {
    EXPECT_EQ(why(path), "");
  }
  std::filesystem::create_hard_link(path, other);
  EXPECT_NE(why(path), "");
  if (geteuid() == 0) {
    EXPECT_EQ(why(path), path + " has a second name (a hard link)");
  }
}

TEST_F(WhyUnsafePlace, TrustsNeitherAFileNorAFolderThatOthersCanWrite) {
  const std::string open = file("open/file", 0777);
  const std::string writable = file("closed/file", 0755);
  const std::string place = std::filesystem::path(writable).parent_path().parent_path().string();
  chmod(writable.c_str(), 0775);
  std::filesystem::create_symlink(safeProgram, place + "/closed/link");
  std::filesystem::create_symlink(place + "/closed", place + "/linked");
  EXPECT_NE(why(open), "");
  EXPECT_NE(why(place + "/linked/file"), "");
  EXPECT_NE(why(writable), "");
  EXPECT_NE(why(place + "/closed/link"), "");
  if (geteuid() == 0) {
    EXPECT_EQ(why(open), place + "/open can be written by others than root");
    EXPECT_EQ(why(writable), writable + " can be written by others than root");
    EXPECT_EQ(why(place + "/closed/link"), place + "/closed/link is a symbolic link");
    EXPECT_EQ(why(place + "/linked/file"), place + "/linked is a symbolic link");
    chmod(writable.c_str(), 0755);
    EXPECT_EQ(why(writable), "");
    ASSERT_EQ(chown(writable.c_str(), 65534, 65534), 0);
    EXPECT_EQ(why(writable), writable + " belongs to nobody");
    ASSERT_EQ(chown((place + "/closed").c_str(), 12345, 12345), 0);
    EXPECT_EQ(why(writable), place + "/closed belongs to user number 12345");
  }
}

}  // namespace
}  // namespace quillo
