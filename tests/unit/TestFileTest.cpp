#include <gtest/gtest.h>

#include "clamav/Definitions.h"
#include "companion/selftest/TestFile.h"
#include "tests/support/TemporaryFolder.h"

namespace quillo {
namespace {

TEST(TestFileTest, IsRemovedUnderEachNameThatHoldsItsOwn) {
  const TemporaryFolder folder;
  const std::string name = newTestFileName();
  EXPECT_EQ(writeTestFile(folder.path(), name), 0);
  folder.write(name + ".001", eicarTestFile());
  folder.write(name + ".trashinfo", "[Trash Info]");
  EXPECT_EQ(removeTestFile(folder.path(), name), "");
  EXPECT_FALSE(TemporaryFolder::exists(folder.at(name)));
  EXPECT_FALSE(TemporaryFolder::exists(folder.at(name + ".001")));
  EXPECT_FALSE(TemporaryFolder::exists(folder.at(name + ".trashinfo")));
}

TEST(TestFileTest, OfAnotherNameOrWithOtherContentsIsNone) {
  const TemporaryFolder folder;
  const std::string name = newTestFileName();
  const std::string exchanged = folder.write(name, "mine");
  const std::string longer = folder.write(name + ".001", eicarTestFile() + "and mine");
  const std::string other = folder.write("other.com", eicarTestFile());
  EXPECT_EQ(removeTestFile(folder.path(), name), "");
  for (const std::string& path : {exchanged, longer, other}) {
    EXPECT_TRUE(TemporaryFolder::exists(path)) << path;
  }
}

}  // namespace
}  // namespace quillo
