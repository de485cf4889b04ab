#include "clamav/Definitions.h"

#include <gtest/gtest.h>

#include "tests/fakes/TemporaryFolder.h"

namespace quillo {
namespace {

TEST(Definitions, BuiltInDefinitionsAreNotRealOnes) {
  TemporaryFolder folder;
  EXPECT_FALSE(holdsRealDefinitions(folder.path()));
  folder.write("vantrel-eicar.ndb", "x");
  folder.write("freshclam.dat", "x");
  EXPECT_FALSE(holdsRealDefinitions(folder.path()));
  folder.write("daily.cld", "x");
  EXPECT_TRUE(holdsRealDefinitions(folder.path()));
}

TEST(Definitions, AMissingFolderHoldsNoDefinitions) {
  EXPECT_FALSE(holdsRealDefinitions("/nonexistent/folder"));
}

}  // namespace
}  // namespace quillo
