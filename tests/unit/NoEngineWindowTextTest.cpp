#include <gtest/gtest.h>

#include "agent/NoEngineWindow.h"
#include "tests/fakes/desktop/FakePlatform.h"

namespace quillo {
namespace {

TEST(EngineProblemText, NamesTheProgram) {
  FakePlatform desktop;
  desktop.localizedStrings.texts["ENGINE_DAEMON_MISSING"] = "Heading\nThere is no %@.\nInstall it.";
  EXPECT_EQ(
      textOf({EngineProblem::Kind::daemonMissing, "/opt/sbin/clamd"}, desktop.localizedStrings),
      "Heading\nThere is no /opt/sbin/clamd.\nInstall it.");
}

TEST(EngineProblemText, KeepsItsThreeLinesWhateverThePath) {
  FakePlatform desktop;
  desktop.localizedStrings.texts["ENGINE_DAEMON_FAILED"] = "a\n%@\nb";
  EXPECT_EQ(textOf({EngineProblem::Kind::daemonFailed, "/x\ny"}, desktop.localizedStrings),
            "a\n/x\\ny\nb");
}

TEST(EngineProblemText, SaysWithoutTheMainApplicationWhatElseCanBeDone) {
  FakePlatform desktop;
  desktop.localizedStrings.texts["ENGINE_DAEMON_MISSING"] = "Heading\nThere is no %@.\nOpen it.";
  desktop.localizedStrings.texts["ADVICE_INSTALL"] = "Run %@.";
  EXPECT_EQ(textAloneOf({EngineProblem::Kind::daemonMissing, "/opt/sbin/clamd"}, "make\nit",
                        desktop.localizedStrings),
            "Heading\nThere is no /opt/sbin/clamd.\nRun make\\nit.");
}

TEST(EngineProblemText, SaysTheSameOfWhatTheMainApplicationCouldNotMend) {
  FakePlatform desktop;
  desktop.localizedStrings.texts["ENGINE_DAEMON_FAILED"] = "a\nb\nc";
  EXPECT_EQ(textAloneOf({EngineProblem::Kind::daemonFailed}, "make", desktop.localizedStrings),
            "a\nb\nc");
}

}  // namespace
}  // namespace quillo
