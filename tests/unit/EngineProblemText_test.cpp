#include "agent/EngineProblemText.h"

#include <gtest/gtest.h>

#include "tests/fakes/FakePlatform.h"

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

}  // namespace
}  // namespace quillo
