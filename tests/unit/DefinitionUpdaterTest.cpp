#include <gtest/gtest.h>

#include "engine/DefinitionUpdater.h"
#include "settings/WatchSettings.h"

namespace quillo {
namespace {

TEST(DefinitionUpdater, IsRunWithItsLogAndTheFlagThatThePreferencesName) {
  WatchSettings settings;
  settings.freshclamPATH = "/engine/bin/freshclam";
  EXPECT_TRUE(definitionUpdateRequest(settings).arguments.empty());
  settings.updateLog = "/log";
  settings.needsExit1FreshclamFlag = true;
  const LaunchRequest request = definitionUpdateRequest(settings);
  EXPECT_EQ(request.launchPath, "/engine/bin/freshclam");
  EXPECT_EQ(request.arguments,
            (std::vector<std::string>{"--log=/log", "--on-update-execute=EXIT_1"}));
}

constexpr char upToDate[] = "daily.cvd database is up-to-date (version: 27823, sigs: 2)\n";
constexpr char updated[] =
    "main.cvd database is up-to-date (version: 62)\n"
    "daily.cld updated (version: 27823, sigs: 2)\n";

TEST(DefinitionUpdater, TellsAnUpdateFromNoneByTheStatusThatTheFlagAsksFor) {
  EXPECT_EQ(updateResultOf(1, true, updated), UpdateResult::updated);
  EXPECT_EQ(updateResultOf(0, true, upToDate), UpdateResult::upToDate);
  EXPECT_EQ(updateResultOf(1, false, ""), UpdateResult::upToDate);
  EXPECT_EQ(updateResultOf(0, false, ""), UpdateResult::updated);
}

TEST(DefinitionUpdater, TellsThemByItsWordsWhereTheStatusIsTheSameForBoth) {
  EXPECT_EQ(updateResultOf(0, false, upToDate), UpdateResult::upToDate);
  EXPECT_EQ(updateResultOf(0, false, updated), UpdateResult::updated);
}

TEST(DefinitionUpdater, TellsWhyItFailed) {
  EXPECT_EQ(updateResultOf(5, true, "ERROR: Download failed (7)"), UpdateResult::offline);
  EXPECT_EQ(updateResultOf(11, true, ""), UpdateResult::offline);
  EXPECT_EQ(updateResultOf(8, true, "WARNING:  Message: Couldn't resolve host name"),
            UpdateResult::offline);
  EXPECT_EQ(updateResultOf(17, true, "WARNING: You are on cool-down until after: 2026"),
            UpdateResult::coolDown);
  EXPECT_EQ(updateResultOf(17, true, "forbidden"), UpdateResult::refused);
  EXPECT_EQ(updateResultOf(2, true, "ERROR: Failed to lock the log file /log: Resource"),
            UpdateResult::locked);
  EXPECT_EQ(updateResultOf(10, true, "and only an administrator can renew them"),
            UpdateResult::machineOnly);
  EXPECT_EQ(updateResultOf(10, true, ""), UpdateResult::notWritable);
  EXPECT_EQ(updateResultOf(2, true, "no configuration"), UpdateResult::failed);
  EXPECT_EQ(updateResultOf(129, true, ""), UpdateResult::failed);
}

std::optional<UpdateProgress> progress(std::string_view output) { return updateProgressIn(output); }

TEST(DefinitionUpdater, IsAskedForItsProgress) {
  EXPECT_EQ(progress("Time:    0.3s, ETA:    1.2s [====>    ]  1.00KiB/5.50MiB\r"),
            (UpdateProgress{1024, 5767168}));
  EXPECT_EQ(
      progress("[=>  ]    1.00KiB/4.00KiB\r\x1b[?7h\x1b[?7lTime: 1s [==>]  2.00KiB/4.00KiB\r"),
      (UpdateProgress{2048, 4096}));
  EXPECT_EQ(progress("[=] 500B/2GiB\n"), (UpdateProgress{500, 2ULL << 30U}));
}

TEST(DefinitionUpdater, HasNoProgressThatMakesNoSense) {
  EXPECT_EQ(progress(""), std::nullopt);
  EXPECT_EQ(progress("[====>    ]  1.00KiB/5.50Mi"), std::nullopt);
  EXPECT_EQ(progress("[====>    ]  6.00KiB/5.00KiB\r"), std::nullopt);
  EXPECT_EQ(progress("[====>    ]  99999999999999GiB/99999999999999GiB\r"), std::nullopt);
  EXPECT_EQ(progress("[] -1KiB/2KiB\r"), std::nullopt);
  EXPECT_EQ(progress("]\n]\n]"), std::nullopt);
}

TEST(DefinitionUpdater, KeepsToTheLastWholeProgress) {
  EXPECT_EQ(progress("[=]  1.00KiB/4.00KiB\r[==]  2.00K"), (UpdateProgress{1024, 4096}));
}

}  // namespace
}  // namespace quillo
