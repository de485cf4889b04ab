#include <gtest/gtest.h>

#include <filesystem>

#include "clamav/Verdict.h"
#include "companion/scan/AllowedByHand.h"
#include "scanning/PutBackFiles.h"
#include "tests/fakes/desktop/FakeServices.h"
#include "tests/support/ManualClock.h"
#include "tests/support/TemporaryFolder.h"

namespace quillo {
namespace {

class AllowedByHandTest : public testing::Test {
 protected:
  AllowedByHandTest() { strings.texts["WINDOW_NOT_ALLOWED"] = "%@ cannot be read"; }

  TemporaryFolder folder;
  PassingClock clock;
  FakeSystemLog log;
  FakeLocalizedStrings strings;
  PutBackFiles files{folder.path() + "/state", log, clock};
  AllowedByHand allowed{files, strings};
  const std::string path = folder.write("bad.com", "malware");
  const Verdict find = Verdict::parse(path + ": Eicar FOUND");
};

TEST_F(AllowedByHandTest, StaysAllowedWhateverIsFoundInIt) {
  EXPECT_FALSE(allowed.isAllowed(find));
  EXPECT_EQ(allowed.allow(find), "");
  EXPECT_TRUE(allowed.isAllowed(Verdict::parse(path + ": Another FOUND")));
}

TEST_F(AllowedByHandTest, EndsWhenTheFileChanges) {
  EXPECT_EQ(allowed.allow(find), "");
  folder.write("bad.com", "malware, and more of it");
  EXPECT_FALSE(allowed.isAllowed(find));
}

TEST_F(AllowedByHandTest, IsKnownToTheAgent) {
  EXPECT_EQ(allowed.allow(find), "");
  PutBackFiles agents(folder.path() + "/state", log, clock);
  EXPECT_TRUE(agents.isPutBack(find));
}

TEST_F(AllowedByHandTest, SaysThatAFileIsGone) {
  std::filesystem::remove(path);
  EXPECT_EQ(allowed.allow(find), path + " cannot be read");
  EXPECT_FALSE(allowed.isAllowed(find));
}

}  // namespace
}  // namespace quillo
