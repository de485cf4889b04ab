#include <gtest/gtest.h>

#include "tools/clamdscan/CommandLine.h"

namespace quillo::front {
namespace {

using Words = std::vector<std::string>;

TEST(FrontCommandLine, ReadsWhatTheAgentAsks) {
  const auto asked =
      CommandLine::parse({"--move=/q", "--multiscan", "--stdout", "--file-list=/tmp/list.txt"});
  EXPECT_EQ(asked.moveFolder, "/q");
  EXPECT_EQ(asked.fileList, "/tmp/list.txt");
  EXPECT_TRUE(asked.toStdout);
  EXPECT_EQ(asked.handedOn, Words{"--multiscan"});
  EXPECT_TRUE(asked.paths.empty());
  EXPECT_FALSE(asked.takesNoPaths);
}

TEST(FrontCommandLine, TellsAnEmptyMoveFolderFromNone) {
  EXPECT_EQ(CommandLine::parse({"--move="}).moveFolder, "");
  EXPECT_EQ(CommandLine::parse({"/f"}).moveFolder, std::nullopt);
}

TEST(FrontCommandLine, TakesAnEmptyWordForNoPath) {
  EXPECT_EQ(CommandLine::parse({"", "--stdout", "/f", ""}).paths, Words{"/f"});
}

TEST(FrontCommandLine, HandsOnWhatItDoesNotKnow) {
  const auto asked = CommandLine::parse({"--future=3", "--odd", "-Q", "/f"});
  EXPECT_EQ(asked.handedOn, (Words{"--future=3", "--odd", "-Q"}));
  EXPECT_EQ(asked.paths, Words{"/f"});
}

TEST(FrontCommandLine, TakesValuesFromTheNextWord) {
  const auto asked = CommandLine::parse({"-f", "/list", "--move", "/q", "-l", "/log"});
  EXPECT_EQ(asked.fileList, "/list");
  EXPECT_EQ(asked.moveFolder, "/q");
  EXPECT_EQ(asked.handedOn, Words{"--log=/log"});
}

TEST(FrontCommandLine, ReadsClustersAndAbbreviations) {
  const auto asked = CommandLine::parse({"-mvi", "--mov=/q", "-c/conf"});
  EXPECT_TRUE(asked.infectedOnly);
  EXPECT_TRUE(asked.ownConfiguration);
  EXPECT_EQ(asked.moveFolder, "/q");
  EXPECT_EQ(asked.handedOn, (Words{"--multiscan", "--verbose", "--config-file=/conf"}));
}

TEST(FrontCommandLine, HandsOnAnAmbiguousAbbreviation) {
  EXPECT_EQ(CommandLine::parse({"--re"}).handedOn, Words{"--re"});
}

TEST(FrontCommandLine, KeepsActionsApart) {
  const auto asked = CommandLine::parse({"--remove", "--copy=/c", "/f"});
  EXPECT_EQ(asked.actions, (Words{"--remove", "--copy=/c"}));
  EXPECT_TRUE(asked.handedOn.empty());
}

TEST(FrontCommandLine, TakesWordsBehindTwoDashesForPaths) {
  const auto asked = CommandLine::parse({"--", "--stdout", "-x"});
  EXPECT_EQ(asked.paths, (Words{"--stdout", "-x"}));
  EXPECT_FALSE(asked.toStdout);
}

TEST(FrontCommandLine, LeavesToTheClientWhatScansNoPaths) {
  for (const char* word : {"--version", "-V", "--help", "--ping=3", "--reload", "-", "--move"}) {
    EXPECT_TRUE(CommandLine::parse({word}).takesNoPaths) << word;
  }
}

TEST(FrontCommandLine, ReadsASwitchThatIsOff) {
  EXPECT_FALSE(CommandLine::parse({"--infected=no"}).infectedOnly);
  EXPECT_TRUE(CommandLine::parse({"--infected=yes"}).infectedOnly);
}

}  // namespace
}  // namespace quillo::front
