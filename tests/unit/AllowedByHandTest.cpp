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
  AllowedByHandTest() {
    strings.texts["WINDOW_NOT_ALLOWED"] = "%@ cannot be read";
    strings.texts["WINDOW_NOT_ALLOWED_CHANGED"] = "%@ is another";
  }

  TemporaryFolder folder;
  PassingClock clock;
  FakeSystemLog log;
  FakeLocalizedStrings strings;
  PutBackFiles files{folder.path() + "/state", log, clock};
  AllowedByHand allowed{files, strings};
  const std::string path = folder.write("bad.com", "malware");
  const Verdict find = Verdict::parse(path + ": Eicar FOUND");
  const std::optional<FileIdentity> found = FileIdentity::at(path);
};

TEST_F(AllowedByHandTest, StaysAllowedWhateverIsFoundInIt) {
  EXPECT_FALSE(allowed.isAllowed(find));
  EXPECT_EQ(allowed.allow(find, found), "");
  EXPECT_TRUE(allowed.isAllowed(Verdict::parse(path + ": Another FOUND")));
}

TEST_F(AllowedByHandTest, EndsWhenTheFileChanges) {
  EXPECT_EQ(allowed.allow(find, found), "");
  folder.write("bad.com", "malware, and more of it");
  EXPECT_FALSE(allowed.isAllowed(find));
}

TEST_F(AllowedByHandTest, IsKnownToTheAgent) {
  EXPECT_EQ(allowed.allow(find, found), "");
  PutBackFiles agents(folder.path() + "/state", log, clock);
  EXPECT_TRUE(agents.isPutBack(find));
}

TEST_F(AllowedByHandTest, SaysThatAFileIsGone) {
  std::filesystem::remove(path);
  EXPECT_EQ(allowed.allow(find, found), path + " cannot be read");
  EXPECT_FALSE(allowed.isAllowed(find));
}

TEST_F(AllowedByHandTest, IsNotWhatCameToLieThereSinceItWasFound) {
  const std::string other = folder.write("other", "another");
  std::filesystem::rename(other, path);
  EXPECT_EQ(allowed.allow(find, found), path + " is another");
  EXPECT_EQ(allowed.allow(find, std::nullopt), path + " is another");
  EXPECT_FALSE(allowed.isAllowed(find));
}

TEST_F(AllowedByHandTest, IsTheFileItselfWhereALinkLedToIt) {
  Verdict throughLink = find;
  throughLink.path = folder.at("link");
  throughLink.target = path;
  std::filesystem::create_symlink(path, throughLink.path);
  EXPECT_EQ(allowed.allow(throughLink, found), "");
  EXPECT_TRUE(allowed.isAllowed(throughLink));
  EXPECT_TRUE(allowed.isAllowed(find));
}

}  // namespace
}  // namespace quillo
