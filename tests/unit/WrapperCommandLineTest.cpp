#include <gtest/gtest.h>

#include "tools/clamdscan/CommandLine.h"

namespace quillo::wrapper {
namespace {

using Words = std::vector<std::string>;

TEST(WrapperCommandLine, ReadsWhatTheAgentAsks) {
  const auto asked =
      CommandLine::parse({"--move=/q", "--multiscan", "--stdout", "--file-list=/tmp/list.txt"});
  EXPECT_EQ(asked.moveFolder, "/q");
  EXPECT_EQ(asked.fileList, "/tmp/list.txt");
  EXPECT_TRUE(asked.toStdout);
  EXPECT_TRUE(asked.multiscan);
  EXPECT_TRUE(asked.paths.empty());
  EXPECT_FALSE(asked.foreign);
}

TEST(WrapperCommandLine, DiscernsAnEmptyMoveFolderFromNone) {
  EXPECT_EQ(CommandLine::parse({"--move="}).moveFolder, "");
  EXPECT_EQ(CommandLine::parse({"/f"}).moveFolder, std::nullopt);
}

TEST(WrapperCommandLine, TakesAnEmptyWordForNoPath) {
  EXPECT_EQ(CommandLine::parse({"", "--stdout", "/f", ""}).paths, Words{"/f"});
}

TEST(WrapperCommandLine, LeavesToTheClientWhatItDoesNotKnow) {
  const auto asked = CommandLine::parse({"--future=3", "--odd", "-Q", "/f"});
  EXPECT_TRUE(asked.foreign);
  EXPECT_EQ(asked.options, (Words{"--future=3", "--odd", "-Q"}));
  EXPECT_EQ(asked.paths, Words{"/f"});
}

TEST(WrapperCommandLine, TakesValuesFromTheNextWord) {
  const auto asked = CommandLine::parse({"-f", "/list", "--move", "/q", "-l", "/log"});
  EXPECT_EQ(asked.fileList, "/list");
  EXPECT_EQ(asked.moveFolder, "/q");
  EXPECT_EQ(asked.options, (Words{"--file-list=/list", "--log=/log"}));
}

TEST(WrapperCommandLine, ReadsClustersAndAbbreviations) {
  const auto asked = CommandLine::parse({"-mvi", "--mov=/q", "-c/conf"});
  EXPECT_TRUE(asked.infectedOnly);
  EXPECT_EQ(asked.configuration, "/conf");
  EXPECT_EQ(asked.moveFolder, "/q");
  EXPECT_EQ(asked.options,
            (Words{"--multiscan", "--verbose", "--infected", "--config-file=/conf"}));
}

TEST(WrapperCommandLine, HandsOnAnAmbiguousAbbreviation) {
  EXPECT_EQ(CommandLine::parse({"--re"}).options, Words{"--re"});
}

TEST(WrapperCommandLine, TakesWordsBehindTwoDashesForPaths) {
  const auto asked = CommandLine::parse({"--", "--stdout", "-x"});
  EXPECT_EQ(asked.paths, (Words{"--stdout", "-x"}));
  EXPECT_FALSE(asked.toStdout);
}

TEST(WrapperCommandLine, LeavesToTheClientWhatItDoesNotDoItself) {
  for (const char* word : {"--version", "-V", "--help", "--ping=3", "--reload", "-", "--move",
                           "--remove", "--copy=/c", "--allmatch", "--stream", "--wait", "-v"}) {
    EXPECT_TRUE(CommandLine::parse({word}).foreign) << word;
  }
  EXPECT_TRUE(CommandLine::parse({"--move"}).incomplete);
}

TEST(WrapperCommandLine, ReadsASwitchThatIsOff) {
  EXPECT_FALSE(CommandLine::parse({"--infected=no"}).infectedOnly);
  EXPECT_TRUE(CommandLine::parse({"--infected=yes"}).infectedOnly);
}

}  // namespace
}  // namespace quillo::wrapper
