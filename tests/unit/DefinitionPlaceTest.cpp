#include <gtest/gtest.h>

#include <ctime>

#include "clamav/DaemonVersion.h"
#include "companion/definitions/DefinitionPlace.h"
#include "tests/fakes/engine/FakeClamd.h"
#include "tests/support/TemporaryFolder.h"

namespace quillo {
namespace {

// As a database begins that was built on 18 November 2026, 09:23 UTC (sigtool(1)).
constexpr char database[] =
    "ClamAV-VDB:18 Nov 2026 09-23 +0000:27823:2075000:90:X:X:builder:1794993780\n";
constexpr std::int64_t onDisk = 1794993780;

class DefinitionPlaceTest : public testing::Test {
 protected:
  DefinitionPlaceTest() {
    folder.makeFolder("etc");
    folder.makeFolder("definitions");
  }
  std::string socket() const { return folder.at("clamd.ctl"); }
  void configure() {
    folder.write("etc/clamd.conf",
                 "LocalSocket " + socket() + "\nDatabaseDirectory " + folder.at("definitions"));
  }

  TemporaryFolder folder;
};

TEST_F(DefinitionPlaceTest, AreThoseThatTheDaemonHasLoaded) {
  configure();
  folder.write("definitions/daily.cvd", database);
  const std::string answer("ClamAV 1.4.3/27822/Tue Nov 17 09:23:41 2026\0", 44);
  FakeClamd clamd(socket());
  clamd.answerWith(answer);
  const auto loaded = parseDaemonVersion(answer)->definitions;
  EXPECT_EQ(definitionsLoadedBy(folder.path()), std::chrono::system_clock::to_time_t(*loaded));
}

TEST_F(DefinitionPlaceTest, AreThoseOnTheDiskWhereNoDaemonSaysWhichItHas) {
  configure();
  folder.write("definitions/daily.cvd", database);
  EXPECT_EQ(definitionsLoadedBy(folder.path()), onDisk);
}

TEST_F(DefinitionPlaceTest, AreNoneWithoutAnEngine) {
  EXPECT_EQ(definitionsLoadedBy(""), 0);
  EXPECT_EQ(definitionsLoadedBy(folder.path()), 0);
}

// The next look at the disk will have it load them.
TEST_F(DefinitionPlaceTest, AreNoneWhereTheDaemonHasNotLoadedThemYet) {
  configure();
  folder.write("definitions/daily.cvd", database);
  FakeClamd clamd(socket());
  clamd.answerWith(std::string("ClamAV 1.4.3\0", 13));
  EXPECT_EQ(definitionsLoadedBy(folder.path()), 0);
}

TEST_F(DefinitionPlaceTest, AreLackingWhereTheDaemonAnswersAndNoneAreThere) {
  configure();
  FakeClamd clamd(socket());
  clamd.answerWith(std::string("ClamAV 1.4.3\0", 13));
  EXPECT_TRUE(lacksDefinitions(folder.path()));
}

TEST_F(DefinitionPlaceTest, AreLackingUntilTheDaemonHasLoadedThem) {
  configure();
  folder.write("definitions/daily.cvd", database);
  FakeClamd clamd(socket());
  clamd.answerWith(std::string("ClamAV 1.4.3\0", 13));
  EXPECT_TRUE(lacksDefinitions(folder.path()));
}

// A daemon does not number those.
TEST_F(DefinitionPlaceTest, AreNotLackingWhereThereAreOthersThanMainAndDaily) {
  configure();
  folder.write("definitions/own.ndb", "Own.Threat:0:*:deadbeef\n");
  FakeClamd clamd(socket());
  clamd.answerWith(std::string("ClamAV 1.4.3\0", 13));
  EXPECT_FALSE(lacksDefinitions(folder.path()));
}

// Of what nobody knows nothing is said.
TEST_F(DefinitionPlaceTest, AreNotSaidToLackWhereNoDaemonAnswers) {
  configure();
  EXPECT_FALSE(lacksDefinitions(folder.path()));
  EXPECT_FALSE(lacksDefinitions(""));
}

}  // namespace
}  // namespace quillo
