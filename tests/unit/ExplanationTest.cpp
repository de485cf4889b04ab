#include <gtest/gtest.h>

#include <sstream>

#include "companion/folders/ExplainCommand.h"
#include "tests/fakes/desktop/PreferencePagesFixture.h"
#include "tests/support/DocumentedNames.h"

namespace quillo {
namespace {

using Rule = Explanation::Rule;

class ExplanationTest : public PreferencePagesFixture {
 protected:
  ExplanationTest() {
    home.makeFolder("docs/sub");
    home.makeFolder("top");
    home.makeFolder("Quarantine");
    writeOwn(
        "QuarantineFolder = '~/Quarantine/'\n[[QuilloFolderArray]]\npathName = '~/docs'\n"
        "WatchSubdirs = true\n[[QuilloFolderArray]]\npathName = '~/top'\n"
        "[[ExcludePatterns]]\nexcludePattern = 'x'\n[[ExcludePatterns]]\nexcludePattern = "
        "'\\.iso$'\nexcludeEnabled = true\nexcludeRegEx = true\n");
  }
  ExplanationServices services() {
    return {preferences, folders, trash, [this] { return mounts; }};
  }
  Explanation of(const std::string& name) { return explain(home.at(name), services()); }
  int run(const std::vector<std::string>& words) {
    out.str("");
    return runExplainCommand(words, out, errors,
                             {services(), strings, home.path(), [this] { return agent; }});
  }

  std::optional<std::vector<Mount>> mounts =
      parseMountTable("1 0 8:1 / / rw - ext4 /dev/sda1 rw\n");
  std::ostringstream out;
  std::ostringstream errors;
  std::string agent;
};

TEST_F(ExplanationTest, NamesTheRuleThatDecides) {
  EXPECT_EQ(of("docs/a").rule, Rule::guarded);
  EXPECT_EQ(of("docs/sub/a").rule, Rule::guarded);
  EXPECT_EQ(of("elsewhere").rule, Rule::outside);
  EXPECT_EQ(of("top/a").rule, Rule::inSubfolder);
  EXPECT_EQ(of("Quarantine/a").rule, Rule::inQuarantine);
  EXPECT_EQ(of("docs/.Trash/a").rule, Rule::inTrash);
  EXPECT_EQ(of("docs/a.iso").rule, Rule::excluded);
}

TEST_F(ExplanationTest, SpeaksOfALinkOnlyWhereThereIsOne) {
  home.write("docs/a");
  home.write("docs/sub/b");
  for (const char* path : {"./docs/a", "docs/./a", "docs/sub/../a", "docs//a"}) {
    EXPECT_EQ(run({path}), 0) << path;
    EXPECT_EQ(out.str().find("<FOLDERS_RULE_LINK>"), std::string::npos) << out.str();
  }
}

TEST_F(ExplanationTest, SpeaksOfTheAgentOnlyWhereTheFileWouldBeGuarded) {
  home.write("docs/a");
  agent = "stopped";
  EXPECT_EQ(run({"docs/a"}), 1);
  EXPECT_NE(out.str().find("<FOLDERS_RULE_NO_AGENT>"), std::string::npos) << out.str();
  EXPECT_EQ(run({"elsewhere"}), 1);
  EXPECT_EQ(out.str().find("<FOLDERS_RULE_NO_AGENT>"), std::string::npos) << out.str();
}

TEST_F(ExplanationTest, CannotTellWhereTheAgentCannotBeAsked) {
  home.write("docs/a");
  agent = "unknown";
  EXPECT_EQ(run({"docs/a"}), 2);
  EXPECT_NE(out.str().find("<FOLDERS_RULE_AGENT_UNKNOWN>"), std::string::npos) << out.str();
  EXPECT_EQ(run({"elsewhere"}), 1);
}

TEST_F(ExplanationTest, NamesThePatternByItsPlaceAmongAllOfThem) {
  const Explanation excluded = of("docs/a.iso");
  EXPECT_EQ(excluded.patternIndex, 1U);
  EXPECT_EQ(excluded.pattern.text, "\\.iso$");
}

TEST_F(ExplanationTest, NamesTheFolderThatDecides) {
  EXPECT_EQ(of("docs/a").folder, home.at("docs/"));
  EXPECT_EQ(of("top/a").folder, home.at("top/"));
  EXPECT_EQ(of("Quarantine/a").folder, home.at("Quarantine/"));
}

TEST_F(ExplanationTest, JudgesWhereALinkLeads) {
  home.link("in", "docs/a");
  home.write("docs/a");
  home.link("docs/out", "../elsewhere");
  EXPECT_EQ(of("in").rule, Rule::guarded);
  EXPECT_EQ(of("in").realPath, home.at("docs/a"));
  EXPECT_EQ(of("docs/out").rule, Rule::outside);
}

TEST_F(ExplanationTest, OfAFolderJudgesWhatLiesInIt) {
  EXPECT_EQ(of("docs").rule, Rule::guarded);
  EXPECT_EQ(of("docs/sub").rule, Rule::guarded);
  EXPECT_TRUE(of("docs").isFolder);
  EXPECT_EQ(explain("/", services()).rule, Rule::outside);
}

TEST_F(ExplanationTest, SaysThatNobodyReportsWhatOtherMachinesChange) {
  mounts = parseMountTable("1 0 8:1 / / rw - ext4 /dev/sda1 rw\n2 1 0:5 / " + home.at("docs") +
                           " rw - nfs4 server:/x rw\n");
  EXPECT_EQ(of("docs/a").rule, Rule::notReported);
  EXPECT_EQ(of("docs/a").folder, home.at("docs"));
}

TEST_F(ExplanationTest, SaysWhetherTheFileIsThere) {
  EXPECT_FALSE(of("docs/a").exists);
  home.write("docs/a");
  EXPECT_TRUE(of("docs/a").exists);
}

TEST_F(ExplanationTest, AsACommandEndsWithTheAnswer) {
  EXPECT_EQ(run({home.at("docs/a")}), 0);
  EXPECT_EQ(run({"docs/a"}), 0);
  EXPECT_EQ(run({"elsewhere"}), 1);
  EXPECT_EQ(errors.str(), "");
}

TEST_F(ExplanationTest, AsACommandSaysThatNobodyIsOnGuard) {
  agent = "stopped";
  EXPECT_EQ(run({"docs/a"}), 1);
  EXPECT_NE(out.str().find("<FOLDERS_RULE_NO_AGENT>"), std::string::npos);
}

TEST_F(ExplanationTest, AsACommandRefusesWhatItDoesNotUnderstand) {
  for (const std::vector<std::string>& words :
       std::vector<std::vector<std::string>>{{}, {""}, {"a", "b"}, {"--xml", "a"}, {"--json"}}) {
    errors.str("");
    EXPECT_EQ(run(words), 2);
    EXPECT_EQ(out.str(), "");
    EXPECT_EQ(errors.str(), "usage: vantrel explain PATH [--json]\n");
  }
  EXPECT_EQ(run({"--", "--xml"}), 1);
}

TEST_F(ExplanationTest, AsACommandWritesOneObjectOfJson) {
  EXPECT_EQ(run({"docs/r\xE9.iso", "--json"}), 1);
  EXPECT_EQ(out.str(), "{\n  \"version\": 1,\n  \"command\": \"explain\",\n  \"path\": \"" +
                           home.at("docs/r\\\\xE9.iso") + "\",\n  \"realPath\": \"" +
                           home.at("docs/r\\\\xE9.iso") +
                           "\",\n  \"exists\": false,\n  \"isFolder\": false,\n"
                           "  \"guarded\": false,\n  \"rule\": \"excluded\",\n  \"folder\": \"" +
                           home.at("docs/") +
                           "\",\n  \"agent\": \"watching\",\n  \"exclusion\": {\n"
                           "    \"number\": 2,\n    \"pattern\": \"\\\\.iso$\",\n"
                           "    \"isExpression\": true\n  }\n}\n");
  EXPECT_EQ(undocumentedNames(nlohmann::json::parse(out.str())), std::vector<std::string>());
}

TEST_F(ExplanationTest, AsACommandWritesNullForWhatThereIsNot) {
  run({"elsewhere", "--json"});
  EXPECT_NE(out.str().find("\"folder\": null"), std::string::npos);
  EXPECT_NE(out.str().find("\"exclusion\": null"), std::string::npos);
}

}  // namespace
}  // namespace quillo
