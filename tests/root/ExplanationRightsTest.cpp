#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "companion/folders/Explanation.h"
#include "settings/TypedPreferences.h"
#include "tests/fakes/desktop/FakeServices.h"
#include "tests/support/TemporaryFolder.h"

namespace quillo {
namespace {

constexpr uid_t ordinaryUser = 61234;

// A folder that its user has guarded, and in it one that only its owner may list.
class ExplanationRights : public testing::Test {
 protected:
  ExplanationRights() {
    EXPECT_EQ(chmod(folder.path().c_str(), 0755), 0);
    EXPECT_EQ(chmod(folder.makeFolder("closed").c_str(), 0711), 0);
    PreferenceArray list;
    list.push_back(watchedFolder(folder.path(), true));
    store.set("QuilloFolderArray", PreferenceValue{list});
  }
  Explanation of(const std::string& name) {
    EXPECT_EQ(seteuid(ordinaryUser), 0);
    Explanation explanation =
        explain(folder.at(name), {preferences, folders, trash, [] { return std::nullopt; }});
    EXPECT_EQ(seteuid(0), 0);
    return explanation;
  }

  TemporaryFolder folder;
  FakeFolders folders;
  FakeSystemLog log;
  FakeTrashFolders trash;
  FakePreferenceStore store;
  TypedPreferences preferences{store, folders, log};
};

TEST_F(ExplanationRights, NobodyIsToldOfWhatLiesInAFolderThatIsClosedToHim) {
  folder.write("closed/a");
  EXPECT_EQ(of("closed/a").rule, Explanation::Rule::notListable);
  EXPECT_EQ(of("closed/a").folder, folder.at("closed"));
  EXPECT_EQ(of("a").rule, Explanation::Rule::guarded);
}

TEST_F(ExplanationRights, ButOfWhatIsHisOwn) {
  ASSERT_EQ(chown(folder.write("closed/a").c_str(), ordinaryUser, ordinaryUser), 0);
  EXPECT_EQ(of("closed/a").rule, Explanation::Rule::guarded);
}

}  // namespace
}  // namespace quillo
