#include <gtest/gtest.h>

#include "companion/start/EngineSetup.h"
#include "settings/FirstPreferences.h"
#include "tests/fakes/desktop/PreferencePagesFixture.h"

namespace quillo {
namespace {

class EngineSetupTest : public PreferencePagesFixture {
 protected:
  Wording setUp() {
    store.synchronize();
    return EngineSetup({folders, changes, center,
                        [this](const std::string& engine) {
                          made = engine;
                          return problem;
                        }})
        .setUp();
  }
  FirstPreferences standard() const { return firstPreferencesOf(folders); }

  std::string made;
  std::string problem;
};

TEST_F(EngineSetupTest, HasPreferencesThatNameNoEngineNameTheOneThatWasMade) {
  writeOwn("# mine\nQuilloFolderArray = []\n");
  EXPECT_TRUE(setUp().empty());
  EXPECT_EQ(made, standard().engine);
  EXPECT_EQ(preferences.value(key::pathToClamav), made);
  EXPECT_EQ(preferences.value(key::pathToUpdateLog), standard().updateLog);
  EXPECT_EQ(preferences.value(key::needsExit1FreshclamFlag), true);
  EXPECT_EQ(ownText().find("# mine\nQuilloFolderArray = []\n"), 0U);
  EXPECT_EQ(restarts(), 1);
}

TEST_F(EngineSetupTest, LeavesWhatTheUserHasChosenBesidesTheEngine) {
  writeOwn("PathToUpdateLog = \"/my.log\"\nNeedsExit1FreshclamFlag = false\n");
  EXPECT_TRUE(setUp().empty());
  EXPECT_EQ(preferences.value(key::pathToUpdateLog), "/my.log");
  EXPECT_EQ(preferences.value(key::needsExit1FreshclamFlag), false);
}

TEST_F(EngineSetupTest, MakesTheEngineAnewThatThePreferencesName) {
  const std::string text =
      "PathToClamav = \"" + standard().engine + "\"\nPathToUpdateLog = \"/l\"\n";
  writeOwn(text);
  EXPECT_TRUE(setUp().empty());
  EXPECT_EQ(made, standard().engine);
  EXPECT_EQ(ownText(), text);
  EXPECT_EQ(restarts(), 1);
}

TEST_F(EngineSetupTest, TouchesNoEngineThatTheUserHasSomewhereElse) {
  writeOwn("PathToClamav = \"/opt/clamav\"\n");
  const Wording said = setUp();
  EXPECT_EQ(said.key, "OVERVIEW_ENGINE_ELSEWHERE");
  EXPECT_EQ(said.values, std::vector<std::string>{"/opt/clamav"});
  EXPECT_EQ(made, "");
  EXPECT_EQ(restarts(), 0);
}

TEST_F(EngineSetupTest, ChangesNothingWhereNoneCanBeMade) {
  writeOwn("# mine\n");
  problem = "clamd is missing";
  const Wording said = setUp();
  EXPECT_EQ(said.key, "START_NO_ENGINE");
  EXPECT_EQ(said.values, std::vector<std::string>{"clamd is missing"});
  EXPECT_EQ(ownText(), "# mine\n");
  EXPECT_EQ(restarts(), 0);
}

}  // namespace
}  // namespace quillo
