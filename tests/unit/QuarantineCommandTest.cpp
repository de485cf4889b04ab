#include <gtest/gtest.h>

#include <filesystem>
#include <nlohmann/json.hpp>
#include <sstream>

#include "clamav/Verdict.h"
#include "companion/quarantine/QuarantineCommand.h"
#include "tests/fakes/scanning/QuarantineFixture.h"
#include "tests/support/DocumentedNames.h"

namespace quillo {
namespace {

namespace fs = std::filesystem;
using Json = nlohmann::json;

class QuarantineCommandTest : public testing::Test, protected QuarantineFixture {
 protected:
  int run(const std::vector<std::string>& words) {
    out.str("");
    errors.str("");
    return runQuarantineCommand(words, out, errors, services);
  }
  Json document() const {
    Json document = Json::parse(out.str());
    EXPECT_EQ(undocumentedNames(document), std::vector<std::string>());
    return document;
  }

  std::ostringstream out;
  std::ostringstream errors;
};

TEST_F(QuarantineCommandTest, ListsInAVersionedDocument) {
  const std::string path = quarantined("home/a\xff\n");
  EXPECT_EQ(run({"list", "--json"}), 0);
  const Json json = document();
  EXPECT_EQ(json["version"], 1);
  EXPECT_EQ(json["command"], "quarantine");
  EXPECT_EQ(json["action"], "list");
  EXPECT_EQ(json["problem"], "none");
  const Json file = json["files"].at(0);
  EXPECT_EQ(file["name"], "a\\xFF\\x0A");
  EXPECT_EQ(file["origin"], reportedText(path));
  EXPECT_EQ(file["threat"], "Eicar");
  EXPECT_EQ(file["size"], 3);
  EXPECT_EQ(file["sha256"], sha256Of("bad"));
  EXPECT_EQ(file["record"], "known");
  EXPECT_EQ(file["check"], "never");
  EXPECT_TRUE(file["definitions"].is_null());
}

TEST_F(QuarantineCommandTest, ListsALineForEachFile) {
  quarantined("home/a\n");
  EXPECT_EQ(run({"list"}), 0);
  EXPECT_TRUE(out.str().starts_with("a\\x0A: ")) << out.str();
  EXPECT_EQ(out.str().find('\n'), out.str().size() - 1);
}

TEST_F(QuarantineCommandTest, PutsBackWhatIsNamedInAnyWay) {
  for (int way = 0; way < 4; ++way) {
    const std::string path = quarantined("home/a\xff");
    const std::string names[] = {"a\xff", "a\\xFF", path, folder + "/a\xff"};
    EXPECT_EQ(run({"restore", names[way]}), 0) << way;
    EXPECT_TRUE(TemporaryFolder::exists(path)) << way;
    EXPECT_EQ(allowed.back(), path);
  }
}

TEST_F(QuarantineCommandTest, PutsAllBackInAnotherFolder) {
  quarantined("home/a");
  quarantined("home/b");
  const std::string away = scratch.makeFolder("away");
  EXPECT_EQ(run({"restore", "--to", away, "--all"}), 0);
  EXPECT_TRUE(TemporaryFolder::exists(away + "/a"));
  EXPECT_TRUE(TemporaryFolder::exists(away + "/b"));
}

TEST_F(QuarantineCommandTest, SaysOfEachFileWhatBecameOfIt) {
  quarantined("home/a");
  scratch.write("home/a", "in the way");
  quarantined("home/b");
  EXPECT_EQ(run({"restore", "--json", "a", "b", "c"}), 1);
  const Json files = document()["files"];
  ASSERT_EQ(files.size(), 3U);
  EXPECT_EQ(files[0]["outcome"], "gone");
  EXPECT_EQ(files[1]["outcome"], "targetExists");
  EXPECT_EQ(files[2]["outcome"], "done");
}

TEST_F(QuarantineCommandTest, MakesAFolderAnewOnlyWhenItIsTold) {
  const std::string path = quarantined("home/a");
  fs::remove(scratch.at("home"));
  EXPECT_EQ(run({"restore", "a"}), 1);
  EXPECT_NE(errors.str().find("REASON_FOLDER_MISSING"), std::string::npos);
  EXPECT_EQ(run({"restore", "--make-folder", "a"}), 0);
  EXPECT_TRUE(TemporaryFolder::exists(path));
}

TEST_F(QuarantineCommandTest, DeletesWhatIsNamedAndNothingElse) {
  quarantined("home/a");
  quarantined("home/--all");
  EXPECT_EQ(run({"delete", "--json", "--", "--all"}), 0);
  EXPECT_EQ(document()["files"][0]["target"], "");
  EXPECT_TRUE(TemporaryFolder::exists(folder + "/a"));
  EXPECT_FALSE(TemporaryFolder::exists(folder + "/--all"));
}

// A name may be what another one is reported as.
TEST_F(QuarantineCommandTest, DeletesOfTwoNamesTheOneThatWasSaid) {
  quarantined("home/a\xff");
  quarantined("home/" + reportedText("a\xff"));
  EXPECT_EQ(run({"delete", reportedText("a\xff")}), 0);
  EXPECT_TRUE(TemporaryFolder::exists(folder + "/a\xff"));
  EXPECT_FALSE(TemporaryFolder::exists(folder + "/" + reportedText("a\xff")));
  EXPECT_EQ(run({"delete", reportedText("a\xff")}), 0);
  EXPECT_FALSE(TemporaryFolder::exists(folder + "/a\xff"));
}

TEST_F(QuarantineCommandTest, TakesNoWordThatMeansSeveralForOneOfThem) {
  const std::string path = quarantined("home/a", "first");
  quarantined("home/a", "second");
  for (const char* const action : {"delete", "restore"}) {
    EXPECT_EQ(run({action, "--json", path}), 1);
    EXPECT_EQ(document()["files"][0]["outcome"], "ambiguous");
  }
  EXPECT_FALSE(TemporaryFolder::exists(path));
  EXPECT_EQ(run({"list", "--json", path}), 0);
  EXPECT_EQ(document()["files"].size(), 2U);
  EXPECT_EQ(run({"delete", "a.001"}), 0);
  EXPECT_EQ(run({"restore", path}), 0);
}

TEST_F(QuarantineCommandTest, ChecksAgain) {
  quarantined("home/a");
  quarantined("home/b");
  verdict = [](const QuarantinedFile& file) {
    return file.name == "a" ? QuarantineRecord::Check::clean : QuarantineRecord::Check::infected;
  };
  EXPECT_EQ(run({"check", "--json"}), 0);
  EXPECT_EQ(document()["files"].size(), 2U);
  EXPECT_EQ(run({"check", "--all", "--json"}), 0);
  EXPECT_EQ(document()["files"][0]["check"], "clean");
  EXPECT_EQ(document()["files"][1]["check"], "infected");
  EXPECT_EQ(run({"list", "--json", "a"}), 0);
  EXPECT_EQ(document()["files"][0]["check"], "clean");
  verdict = [](const QuarantinedFile&) { return QuarantineRecord::Check::notScanned; };
  EXPECT_EQ(run({"check", "a"}), 1);
}

// The built-in definition of the test file has no date.
TEST_F(QuarantineCommandTest, NamesNoDefinitionsWhoseTimeIsNotKnown) {
  quarantined("home/a");
  built = QuarantineRecord::Time();
  EXPECT_EQ(run({"check", "--json"}), 0);
  EXPECT_TRUE(document()["files"][0]["definitions"].is_null());
  EXPECT_EQ(run({"list", "--json"}), 0);
  EXPECT_EQ(document()["files"][0]["check"], "infected");
  EXPECT_TRUE(document()["files"][0]["definitions"].is_null());
  EXPECT_EQ(run({"list"}), 0);
  EXPECT_NE(out.str().find("<QUARANTINE_STATE_INFECTED>"), std::string::npos) << out.str();
}

TEST_F(QuarantineCommandTest, ChecksAllWhereNoneIsNamed) {
  quarantined("home/a");
  quarantined("home/b");
  EXPECT_EQ(run({"check", "--json"}), 0);
  EXPECT_EQ(document()["files"].size(), 2U);
}

TEST_F(QuarantineCommandTest, CannotTellWithoutAnEngine) {
  quarantined("home/a");
  engineProblem = "launch path not accessible";
  EXPECT_EQ(run({"check", "a", "--json"}), 2);
  EXPECT_NE(errors.str(), "");
  EXPECT_EQ(document()["problem"], "failed");
}

TEST_F(QuarantineCommandTest, CannotTellWithoutTheFolder) {
  folder = scratch.at("none");
  EXPECT_EQ(run({"list", "--json"}), 2);
  EXPECT_EQ(document()["problem"], "missing");
  EXPECT_NE(errors.str().find("PROBLEM_MISSING"), std::string::npos);
}

TEST_F(QuarantineCommandTest, TakesNoWordsThatItDoesNotKnow) {
  quarantined("home/a");
  for (const std::vector<std::string>& words :
       std::vector<std::vector<std::string>>{{},
                                             {"burn"},
                                             {"restore"},
                                             {"delete"},
                                             {"delete", "--all", "a"},
                                             {"check", "--all", "a"},
                                             {"delete", "--to", "/tmp", "a"},
                                             {"restore", "a", "--to"},
                                             {"restore", "a", ""},
                                             {"list", "--all"},
                                             {"list", "--xml"}}) {
    EXPECT_EQ(run(words), 2) << testing::PrintToString(words);
    EXPECT_TRUE(errors.str().starts_with("usage: vantrel quarantine list"))
        << testing::PrintToString(words);
  }
  EXPECT_TRUE(TemporaryFolder::exists(folder + "/a"));
}

}  // namespace
}  // namespace quillo
