#include <fcntl.h>
#include <gtest/gtest.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "settings/PreferenceWriter.h"
#include "tests/support/TemporaryFolder.h"

namespace quillo {
namespace {

using Problem = PreferenceWriter::Problem;

constexpr uid_t ordinaryUser = 61234;
constexpr uid_t stranger = 61235;

void setX(TomlEditor& editor) { editor.set("x", {true}); }

// The preferences of an ordinary user, as whom the test runs while it writes.
class PreferenceWriterRights : public testing::Test {
 protected:
  PreferenceWriterRights() {
    EXPECT_EQ(chmod(folder.path().c_str(), 0755), 0);
    own(folder.makeFolder("config"));
  }
  void own(const std::string& path, uid_t user = ordinaryUser) const {
    EXPECT_EQ(lchown(path.c_str(), user, user), 0);
  }
  std::string write(const std::string& name, const std::string& text,
                    uid_t user = ordinaryUser) const {
    std::string path = folder.write(name, text);
    own(path, user);
    return path;
  }
  PreferenceWriter::Outcome apply() {
    EXPECT_EQ(seteuid(ordinaryUser), 0);
    PreferenceWriter::Outcome outcome = writer.apply(setX);
    EXPECT_EQ(seteuid(0), 0);
    return outcome;
  }
  std::size_t filesInFolder() const {
    const auto all = std::filesystem::directory_iterator(folder.at("config"));
    return static_cast<std::size_t>(std::distance(begin(all), end(all)));
  }

  TemporaryFolder folder;
  PreferenceWriter writer{folder.at("config/p.toml")};
};

TEST_F(PreferenceWriterRights, ChangeTheUsersOwnFile) {
  write("config/p.toml", "x = false\n");
  EXPECT_EQ(apply().problem, Problem::none);
  EXPECT_EQ(TemporaryFolder::read(writer.path()), "x = true\n");
}

TEST_F(PreferenceWriterRights, LeaveAFileAloneThatIsNotTheUsers) {
  write("config/p.toml", "x = false\n", stranger);
  const auto outcome = apply();
  EXPECT_EQ(outcome.problem, Problem::notOwn);
  EXPECT_EQ(outcome.reason, writer.path());
  EXPECT_EQ(outcome.owner, 61235U);
  EXPECT_EQ(TemporaryFolder::read(writer.path()), "x = false\n");
}

TEST_F(PreferenceWriterRights, FollowNoLinkThatSomebodyElseLaid) {
  const std::string target = write("config/other.toml", "y = 1\n");
  own(folder.link("config/p.toml", target), stranger);
  EXPECT_EQ(apply().problem, Problem::notOwn);
  EXPECT_EQ(TemporaryFolder::read(target), "y = 1\n");
  EXPECT_EQ(filesInFolder(), 2U);
}

TEST_F(PreferenceWriterRights, FollowALinkOfTheUsersOwn) {
  const std::string target = write("config/other.toml", "y = 1\n");
  own(folder.link("config/p.toml", target));
  EXPECT_EQ(apply().problem, Problem::none);
  EXPECT_EQ(TemporaryFolder::read(target), "y = 1\nx = true\n");
}

TEST_F(PreferenceWriterRights, WriteNothingIntoTheFolderOfSomebodyElse) {
  own(folder.at("config"), stranger);
  EXPECT_EQ(apply().problem, Problem::notOwn);
  EXPECT_EQ(filesInFolder(), 0U);
}

TEST_F(PreferenceWriterRights, SayThatTheyMayNot) {
  write("config/p.toml", "x = false\n");
  ASSERT_EQ(chmod(folder.at("config").c_str(), 0500), 0);
  EXPECT_EQ(apply().problem, Problem::forbidden);
  EXPECT_EQ(TemporaryFolder::read(writer.path()), "x = false\n");
}

class PreferenceWriterDisk : public testing::Test {
 protected:
  void SetUp() override {
    ASSERT_EQ(unshare(CLONE_NEWNS), 0);
    ASSERT_EQ(mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr), 0);
    ASSERT_EQ(mount("none", folder.path().c_str(), "tmpfs", 0, "size=64k"), 0);
    folder.write("p.toml", before);
  }
  void TearDown() override { umount2(folder.path().c_str(), MNT_DETACH); }

  TemporaryFolder folder;
  PreferenceWriter writer{folder.at("p.toml")};
  const std::string before = "x = false\n" + std::string(20000, '#') + "\n";
};

TEST_F(PreferenceWriterDisk, ThatIsFullKeepsTheOldFile) {
  folder.write("filler", std::string(36000, 'f'));
  EXPECT_EQ(writer.apply(setX).problem, Problem::noRoom);
  EXPECT_EQ(TemporaryFolder::read(writer.path()), before);
  std::filesystem::remove(folder.at("filler"));
  EXPECT_EQ(writer.apply(setX).problem, Problem::none);
}

TEST_F(PreferenceWriterDisk, ThatIsReadOnlyKeepsTheOldFile) {
  ASSERT_EQ(mount("none", folder.path().c_str(), "tmpfs", MS_REMOUNT | MS_RDONLY, nullptr), 0);
  EXPECT_EQ(writer.apply(setX).problem, Problem::readOnly);
  EXPECT_EQ(TemporaryFolder::read(writer.path()), before);
}

}  // namespace
}  // namespace quillo
