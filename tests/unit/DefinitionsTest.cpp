#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <ctime>

#include "clamav/Definitions.h"
#include "tests/support/TemporaryFolder.h"

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

std::string header(const std::string& buildTime) {
  return "ClamAV-VDB:18 Nov 2026 09-23 +0000:27823:2077000:90:" + std::string(32, 'a') +
         ":signature:builder:" + buildTime + " ";
}

TEST(Definitions, SayInTheirHeaderWhenTheyWereBuilt) {
  EXPECT_EQ(buildTimeIn(header("1795080221")), std::chrono::system_clock::from_time_t(1795080221));
  for (const std::string& other :
       {header(""), header("-5"), header("99999999999999999999"),
        std::string("ClamAV-VDB:18 Nov 2026"), std::string("PK"), std::string()}) {
    EXPECT_EQ(buildTimeIn(other), std::nullopt) << other;
  }
}

TEST(Definitions, AreAsOldAsTheNewestOfMainAndDaily) {
  TemporaryFolder folder;
  folder.write("main.cvd", header("1600000000") + std::string(1000, 'x'));
  folder.write("daily.cld", header("1795080221") + std::string(1000, 'x'));
  folder.write("other.ndb", "x");
  EXPECT_EQ(definitionsBuiltIn(folder.path()), std::chrono::system_clock::from_time_t(1795080221));
}

TEST(Definitions, OfOtherMakersAreAsOldAsTheirFiles) {
  TemporaryFolder folder;
  folder.write("vantrel-eicar.ndb", "x");
  EXPECT_EQ(definitionsBuiltIn(folder.path()), std::nullopt);
  const std::string file = folder.write("other.ndb", "x");
  const std::timespec times[2] = {{1700000000, 0}, {1700000000, 0}};
  ASSERT_EQ(utimensat(AT_FDCWD, file.c_str(), times, 0), 0);
  EXPECT_EQ(definitionsBuiltIn(folder.path()), std::chrono::system_clock::from_time_t(1700000000));
}

TEST(Definitions, AMissingFolderHoldsNoDefinitions) {
  EXPECT_FALSE(holdsRealDefinitions("/nonexistent/folder"));
}

}  // namespace
}  // namespace quillo
