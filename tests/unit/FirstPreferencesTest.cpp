#include <gtest/gtest.h>

#include "settings/FirstPreferences.h"
#include "tests/support/TemporaryFolder.h"

namespace quillo {
namespace {

const std::string realTemplate =
    TemporaryFolder::read(QUILLO_SOURCE_DIR "/resources/preferences/first.toml.in");
const FirstPreferences values{"/engine", "/log", "~/Downloads"};

std::string chosen(const FirstChoice& choice) {
  return filledIn(realTemplate, values, choice, "/home/anna");
}
bool has(const std::string& text, const std::string& line) {
  return text.find("\n" + line) != std::string::npos;
}

TEST(FirstPreferences, AreTextOfTomlWhateverThePaths) {
  EXPECT_EQ(filledIn("a = \"@ENGINE@\"\nb = \"@UPDATE_LOG@\"\nc = \"@FOLDER@\"\n",
                     {R"(/a "b" \c)", "/log", "~/Downloads"}),
            "a = \"/a \\\"b\\\" \\\\c\"\nb = \"/log\"\nc = \"~/Downloads\"\n");
}

TEST(FirstPreferences, CanBeComments) {
  EXPECT_EQ(commentedOut("# a\n\nb = 1\n"), "# a\n\n#b = 1\n");
}

TEST(FirstPreferences, NameEveryChosenFolder) {
  const std::string text = chosen({{"/home/anna/Downloads", "/srv/\"a\"\n", "/\xff"}});
  EXPECT_TRUE(
      has(text, "[[QuilloFolderArray]]\npathName = \"~/Downloads\"\nWatchSubdirs = true\n"));
  EXPECT_TRUE(has(text, "pathName = \"/srv/\\\"a\\\"\\u000A\"\n"));
  EXPECT_TRUE(has(text, "pathURI = \"file:///%FF\"\n"));
  EXPECT_EQ(text.find('@'), std::string::npos);
}

TEST(FirstPreferences, HaveWhatNobodyWatchedLookedFor) {
  EXPECT_TRUE(has(realTemplate, "QuilloCatchUp = true\n"));
}

TEST(FirstPreferences, PutTheChosenActionInForceAndNoOther) {
  const FirstChoice choice{{"/a"}};
  EXPECT_FALSE(has(chosen(choice), "QuilloQuarantineFiles"));
  EXPECT_FALSE(has(chosen(choice), "QuilloTrashFiles"));
  const std::string quarantine = chosen({{"/a"}, InfectedFileAction::quarantine});
  EXPECT_TRUE(has(quarantine, "QuilloQuarantineFiles = true"));
  EXPECT_TRUE(has(quarantine, "QuarantineFolder = "));
  EXPECT_FALSE(has(quarantine, "QuilloTrashFiles"));
  const std::string trash = chosen({{"/a"}, InfectedFileAction::moveToTrash});
  EXPECT_TRUE(has(trash, "QuilloTrashFiles = true"));
  EXPECT_FALSE(has(trash, "QuilloQuarantineFiles"));
}

TEST(FirstPreferences, AreNoneOutOfATemplateWithoutAPlaceForTheChoices) {
  EXPECT_EQ(filledIn("PathToClamav = \"@ENGINE@\"\n", values, {{"/a"}}, "/"), "");
  EXPECT_EQ(filledIn("[[QuilloFolderArray]]\npathName = \"@FOLDER@\"\n", values,
                     {{"/a"}, InfectedFileAction::moveToTrash}, "/"),
            "");
}

}  // namespace
}  // namespace quillo
