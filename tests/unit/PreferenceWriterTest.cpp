#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>

#include "posix/PlatformException.h"
#include "settings/PreferenceWriter.h"
#include "tests/support/TemporaryFolder.h"

namespace quillo {
namespace {

using Problem = PreferenceWriter::Problem;

mode_t modeOf(const std::string& path) {
  struct stat status = {};
  return stat(path.c_str(), &status) == 0 ? status.st_mode & 0777 : 0;
}

// As a disk without room: nothing that is written gets longer than that.
class ShortFiles {
 public:
  explicit ShortFiles(rlim_t most) {
    getrlimit(RLIMIT_FSIZE, &before_);
    struct rlimit now = before_;
    now.rlim_cur = most;
    handler_ = std::signal(SIGXFSZ, SIG_IGN);
    setrlimit(RLIMIT_FSIZE, &now);
  }
  ~ShortFiles() {
    setrlimit(RLIMIT_FSIZE, &before_);
    std::signal(SIGXFSZ, handler_);
  }

 private:
  struct rlimit before_ = {};
  void (*handler_)(int) = nullptr;
};

class PreferenceWriterTest : public testing::Test {
 protected:
  static PreferenceWriter::Change setting(const std::string& key, bool value = true) {
    return [key, value](TomlEditor& editor) { editor.set(key, {value}); };
  }
  std::string text() const { return TemporaryFolder::read(writer.path()); }
  std::size_t filesInFolder() const {
    const auto all = std::filesystem::directory_iterator(folder.path());
    return static_cast<std::size_t>(std::distance(begin(all), end(all)));
  }
  void writeByHand(const std::string& contents, mode_t mode = 0644) {
    folder.write("p.toml", contents, mode);
  }

  TemporaryFolder folder;
  PreferenceWriter writer{folder.at("p.toml")};
};

TEST_F(PreferenceWriterTest, MakesTheFileAndItsFolderForThisUserAlone) {
  PreferenceWriter fresh(folder.at("a/b/p.toml"));
  EXPECT_FALSE(fresh.read().exists);
  EXPECT_EQ(fresh.apply(setting("x")).problem, Problem::none);
  EXPECT_EQ(TemporaryFolder::read(fresh.path()), "x = true\n");
  EXPECT_EQ(modeOf(fresh.path()), 0600U);
  EXPECT_EQ(modeOf(folder.at("a")), 0700U);
}

TEST_F(PreferenceWriterTest, KeepsTheModeOfTheFileAndLeavesNothingElseBehind) {
  writeByHand("# mine\nx = false\n", 0640);
  EXPECT_EQ(writer.apply(setting("x")).problem, Problem::none);
  EXPECT_EQ(text(), "# mine\nx = true\n");
  EXPECT_EQ(modeOf(writer.path()), 0640U);
  EXPECT_EQ(filesInFolder(), 1U);
}

TEST_F(PreferenceWriterTest, WritesNothingWhereNothingChanges) {
  EXPECT_EQ(writer.apply([](TomlEditor&) {}).problem, Problem::none);
  EXPECT_EQ(filesInFolder(), 0U);
  EXPECT_FALSE(writer.canUndo());
}

TEST_F(PreferenceWriterTest, ReadsWhatTheFileSays) {
  writeByHand("x = true\n");
  const auto reading = writer.read();
  EXPECT_EQ(reading.problem, Problem::none);
  EXPECT_TRUE(reading.exists);
  EXPECT_EQ(reading.values.count("x"), 1U);
}

TEST_F(PreferenceWriterTest, NamesTheLineThatCannotBeRead) {
  writeByHand("x = true\n  y = \nz = 1\n");
  const auto reading = writer.read();
  EXPECT_EQ(reading.problem, Problem::notToml);
  EXPECT_EQ(reading.line, 2U);
  EXPECT_EQ(reading.lineText, "y =");
  EXPECT_NE(reading.reason, "");
}

TEST_F(PreferenceWriterTest, LeavesAFileThatCannotBeReadAlone) {
  writeByHand("y = \n");
  EXPECT_EQ(writer.apply(setting("x")).problem, Problem::notToml);
  EXPECT_EQ(text(), "y = \n");
}

TEST_F(PreferenceWriterTest, KeepsWhatWasWrittenByHandBetweenReadingAndWriting) {
  writeByHand("x = false\n");
  writer.read();
  writeByHand("x = false\ny = 1 # by hand\n");
  EXPECT_TRUE(writer.wasChangedByHand());
  EXPECT_TRUE(writer.apply(setting("x")).wasChangedByHand);
  EXPECT_EQ(text(), "x = true\ny = 1 # by hand\n");
  EXPECT_FALSE(writer.wasChangedByHand());
}

TEST_F(PreferenceWriterTest, ALookDoesNotHideAChangeByHand) {
  writer.read();
  writeByHand("x = 1\n");
  EXPECT_TRUE(writer.look().exists);
  EXPECT_TRUE(writer.wasChangedByHand());
}

TEST_F(PreferenceWriterTest, KeepsWhatIsWrittenByHandDuringTheChange) {
  writeByHand("x = false\n");
  writer.read();
  int calls = 0;
  const auto outcome = writer.apply([&](TomlEditor& editor) {
    if (++calls == 1) {
      writeByHand("y = 1\nx = false\n");
    }
    editor.set("x", {true});
  });
  EXPECT_EQ(outcome.problem, Problem::none);
  EXPECT_TRUE(outcome.wasChangedByHand);
  EXPECT_EQ(text(), "y = 1\nx = true\n");
}

TEST_F(PreferenceWriterTest, GivesUpOnAFileThatNeverHoldsStill) {
  int calls = 0;
  const auto outcome = writer.apply([&](TomlEditor& editor) {
    writeByHand("y = " + std::to_string(++calls) + "\n");
    editor.set("x", {true});
  });
  EXPECT_EQ(outcome.problem, Problem::alwaysOther);
  EXPECT_EQ(text(), "y = " + std::to_string(calls) + "\n");
  EXPECT_EQ(filesInFolder(), 1U);
}

TEST_F(PreferenceWriterTest, ItsOwnChangesAreNoChangesByHand) {
  writer.read();
  EXPECT_FALSE(writer.apply(setting("x")).wasChangedByHand);
  EXPECT_FALSE(writer.apply(setting("y")).wasChangedByHand);
  EXPECT_FALSE(writer.wasChangedByHand());
}

TEST_F(PreferenceWriterTest, RefusesAChangeThatItsEditorRefuses) {
  writeByHand("X = 1\n");
  const auto outcome = writer.apply([](TomlEditor& editor) { editor.removeEntry("X", 0); });
  EXPECT_EQ(outcome.problem, Problem::notEditable);
  EXPECT_EQ(outcome.reason, "X is not a list");
  EXPECT_EQ(text(), "X = 1\n");
}

TEST_F(PreferenceWriterTest, UndoesItsLastChangeOnce) {
  writeByHand("x = false # why\n");
  writer.apply(setting("x"));
  EXPECT_TRUE(writer.canUndo());
  EXPECT_EQ(writer.undo().problem, Problem::none);
  EXPECT_EQ(text(), "x = false # why\n");
  EXPECT_FALSE(writer.canUndo());
}

TEST_F(PreferenceWriterTest, UndoesNothingOverWhatWasWrittenByHandSince) {
  writeByHand("x = false\n");
  writer.apply(setting("x"));
  writeByHand("by = 'hand'\n");
  EXPECT_EQ(writer.undo().problem, Problem::changedSince);
  EXPECT_EQ(text(), "by = 'hand'\n");
  EXPECT_FALSE(writer.canUndo());
}

TEST_F(PreferenceWriterTest, AFileThatCannotBeWrittenWholeLeavesTheOldOne) {
  const std::string before = "x = false\n" + std::string(9000, '#') + "\n";
  writeByHand(before);
  {
    const ShortFiles most(4096);
    EXPECT_EQ(writer.apply(setting("x")).problem, Problem::failed);
    EXPECT_FALSE(writer.canUndo());
  }
  EXPECT_EQ(text(), before);
  EXPECT_EQ(filesInFolder(), 1U);
}

TEST_F(PreferenceWriterTest, WritesTheFileBehindAUsersOwnLinkAndKeepsTheLink) {
  folder.write("dotfiles/p.toml", "x = false\n");
  folder.link("p.toml", "dotfiles/p.toml");
  EXPECT_EQ(writer.apply(setting("x")).problem, Problem::none);
  EXPECT_TRUE(std::filesystem::is_symlink(writer.path()));
  EXPECT_EQ(TemporaryFolder::read(folder.at("dotfiles/p.toml")), "x = true\n");
}

TEST_F(PreferenceWriterTest, LeavesWhatIsNoRegularFileAlone) {
  ASSERT_EQ(mkfifo(writer.path().c_str(), 0600), 0);
  EXPECT_EQ(writer.read().problem, Problem::noFile);
  EXPECT_EQ(writer.apply(setting("x")).problem, Problem::noFile);
  PreferenceWriter ofFolder(folder.makeFolder("q.toml"));
  EXPECT_EQ(ofFolder.apply(setting("x")).problem, Problem::noFile);
}

TEST_F(PreferenceWriterTest, CannotMakeAFileBelowAFile) {
  PreferenceWriter below(folder.write("file") + "/p.toml");
  EXPECT_FALSE(below.read().exists);
  EXPECT_EQ(below.apply(setting("x")).problem, Problem::failed);
}

TEST_F(PreferenceWriterTest, RepairsByMakingCommentsOfWhatCannotBeRead) {
  writeByHand("# mine\nx = true\ny = = 1\nz = 3\n", 0640);
  const auto repair = writer.repair();
  EXPECT_EQ(repair.outcome.problem, Problem::none);
  EXPECT_EQ(repair.lines, std::vector<std::size_t>{3});
  EXPECT_EQ(text(), "# mine\nx = true\n#y = = 1\nz = 3\n");
  EXPECT_EQ(repair.setAside, writer.path() + ".broken");
  EXPECT_EQ(TemporaryFolder::read(repair.setAside), "# mine\nx = true\ny = = 1\nz = 3\n");
}

TEST_F(PreferenceWriterTest, SetsNothingAsideOverWhatWasSetAsideBefore) {
  folder.write("p.toml.broken", "first");
  writeByHand("y = \n");
  EXPECT_EQ(writer.repair().setAside, writer.path() + ".broken-2");
  EXPECT_EQ(TemporaryFolder::read(writer.path() + ".broken"), "first");
}

TEST_F(PreferenceWriterTest, RepairsNothingThatCanBeRead) {
  writeByHand("x = 1\n");
  const auto repair = writer.repair();
  EXPECT_EQ(repair.outcome.problem, Problem::none);
  EXPECT_EQ(repair.setAside, "");
  EXPECT_EQ(filesInFolder(), 1U);
}

TEST_F(PreferenceWriterTest, ARepairThatCannotBeWrittenLeavesTheOldFileInItsPlace) {
  const std::string before = "y = \n" + std::string(9000, '#') + "\n";
  writeByHand(before);
  {
    const ShortFiles most(4096);
    EXPECT_EQ(writer.repair().outcome.problem, Problem::failed);
  }
  EXPECT_EQ(text(), before);
  EXPECT_EQ(filesInFolder(), 1U);
}

TEST(RepairedTomlTest, LosesOneLineToAStringOrAListWithoutAnEnd) {
  std::vector<std::size_t> lines;
  EXPECT_EQ(repairedToml("a = 1\nb = \"\"\"x\nc = 2\nd = 3\n", lines),
            "a = 1\n#b = \"\"\"x\nc = 2\nd = 3\n");
  EXPECT_EQ(lines, std::vector<std::size_t>{2});
  lines.clear();
  EXPECT_EQ(repairedToml("a = [\nc = 2\nd = 3\n", lines), "#a = [\nc = 2\nd = 3\n");
}

TEST(RepairedTomlTest, LosesTheLaterOfTwoKeysOfOneName) {
  std::vector<std::size_t> lines;
  EXPECT_EQ(repairedToml("a = 1\r\na = 2\r\n", lines), "a = 1\r\n#a = 2\r\n");
}

TEST(RepairedTomlTest, PutsAnotherSignForBytesThatAreNoText) {
  std::vector<std::size_t> lines;
  EXPECT_EQ(repairedToml("a = 1\n# r\xE9sum\xE9\nb = 2\n", lines), "a = 1\n## r?sum?\nb = 2\n");
}

TEST(RepairedTomlTest, GivesUpOnWhatIsNoPreferencesAtAll) {
  std::string noise;
  for (int line = 0; line < 1000; ++line) {
    noise += "lorem ipsum dolor\n";
  }
  std::vector<std::size_t> lines;
  EXPECT_EQ(repairedToml(noise, lines), std::nullopt);
}

}  // namespace
}  // namespace quillo
