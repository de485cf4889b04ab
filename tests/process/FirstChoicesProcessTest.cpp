#include <gtest/gtest.h>

#include "companion/start/FirstChoices.h"
#include "tests/support/TemporaryFolder.h"

namespace quillo {
namespace {

TEST(MakeEngineTree, RunsTheToolWithTheFolder) {
  const TemporaryFolder folder;
  folder.writeProgram("engine-tools/vantrel-engine-tree",
                      "#!/bin/sh\nprintf %s \"$1\" >\"$0.said\"\n");
  EXPECT_EQ(makeEngineTree(folder.path(), "/a b/engine"), "");
  EXPECT_EQ(TemporaryFolder::read(folder.at("engine-tools/vantrel-engine-tree.said")),
            "/a b/engine");
}

TEST(MakeEngineTree, SaysWhatTheToolSaidLastWhenItFails) {
  const TemporaryFolder folder;
  folder.writeProgram("engine-tools/vantrel-engine-tree",
                      "#!/bin/sh\necho trying\necho 'clamd is missing' >&2\nexit 1\n");
  EXPECT_EQ(makeEngineTree(folder.path(), "/engine"), "clamd is missing");
}

TEST(MakeEngineTree, FailsInWordsWhateverTheToolDoes) {
  const TemporaryFolder folder;
  EXPECT_EQ(makeEngineTree(folder.path(), "/engine"), "launch path not accessible");
  folder.writeProgram("engine-tools/vantrel-engine-tree", "#!/bin/sh\nexit 3\n");
  EXPECT_EQ(makeEngineTree(folder.path(), "/engine"), "/engine");
  folder.writeProgram("engine-tools/vantrel-engine-tree",
                      "#!/bin/sh\nhead -c 1000000 /dev/zero | tr '\\0' x\nexit 3\n");
  EXPECT_LE(makeEngineTree(folder.path(), "/engine").size(), 100'000U);
}

}  // namespace
}  // namespace quillo
