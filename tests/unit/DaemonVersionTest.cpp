#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <ctime>

#include "clamav/DaemonVersion.h"
#include "tests/fakes/engine/FakeClamd.h"
#include "tests/support/TemporaryFolder.h"

namespace quillo {
namespace {

constexpr std::string_view whole("ClamAV 1.4.3/27823/Wed Nov 18 09:23:41 2026\0", 44);

class DaemonVersionTest : public testing::Test {
 protected:
  DaemonVersionTest() {
    setenv("TZ", "UTC0", 1);
    tzset();
  }
  ~DaemonVersionTest() override {
    unsetenv("TZ");
    tzset();
  }
  std::string socket() const { return folder.path() + "/clamd.ctl"; }
  std::optional<DaemonVersion> ask(std::chrono::milliseconds patience) {
    return askDaemonVersion(socket(), {getuid()}, patience);
  }

  TemporaryFolder folder;
};

TEST_F(DaemonVersionTest, ReportsWhenTheLoadedDefinitionsWereBuilt) {
  const auto version = parseDaemonVersion(whole);
  ASSERT_TRUE(version);
  EXPECT_EQ(version->engine, "ClamAV 1.4.3");
  EXPECT_EQ(version->definitions, std::chrono::system_clock::from_time_t(1794993821));
}

TEST_F(DaemonVersionTest, ReportsNoDefinitionsWhereNoneAreLoaded) {
  const auto version = parseDaemonVersion("ClamAV 1.4.3\n");
  ASSERT_TRUE(version);
  EXPECT_EQ(version->engine, "ClamAV 1.4.3");
  EXPECT_EQ(version->definitions, std::nullopt);
}

TEST_F(DaemonVersionTest, BelievesNothingElse) {
  for (const char* answer :
       {"", "PONG", "COMMAND UNAVAILABLE", "ClamAV 1.4.3/27823", "ClamAV 1.4.3/27823/yesterday",
        "ClamAV 1.4.3/27823/Wed Foo 18 09:23:41 2026", "ClamAV 1.4.3/1/Wed Nov 18 09:23:41"}) {
    EXPECT_FALSE(parseDaemonVersion(answer)) << answer;
  }
}

TEST_F(DaemonVersionTest, IsAskedOfTheDaemonItself) {
  FakeClamd clamd(socket());
  clamd.answerWith(std::string(whole));
  const auto version = ask(std::chrono::seconds(10));
  ASSERT_TRUE(version);
  EXPECT_EQ(version->engine, "ClamAV 1.4.3");
  EXPECT_EQ(clamd.visits(1).at(0).bytes, std::string("zVERSION\0", 9));
}

TEST_F(DaemonVersionTest, IsUnknownWhereNobodyAnswers) {
  EXPECT_FALSE(ask(std::chrono::seconds(10)));
  FakeClamd clamd(socket(), FakeClamd::Behaviour::staysSilent);
  EXPECT_FALSE(ask(std::chrono::milliseconds(1)));
}

TEST_F(DaemonVersionTest, IsUnknownOfADaemonOfSomebodyElse) {
  FakeClamd clamd(socket());
  clamd.answerWith(std::string(whole));
  EXPECT_FALSE(askDaemonVersion(socket(), {getuid() + 1}, std::chrono::seconds(10)));
}

}  // namespace
}  // namespace quillo
