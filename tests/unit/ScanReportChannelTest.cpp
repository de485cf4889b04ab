#include <unistd.h>

#include "tests/fakes/scanning/ReportFixture.h"
#include "tests/support/Threads.h"

namespace quillo {
namespace {

using Calls = std::vector<std::string>;
using Button = ButtonDialog::Button;
using Recycled = std::vector<std::pair<std::string, std::vector<std::string>>>;
using Whereabouts = Verdict::Whereabouts;

// A report whose scanner also speaks on the channel.
class ScanReportChannel : public ReportFixture {
 protected:
  void beginRun(Action quarantineOrTrash) {
    startRun(quarantineOrTrash);
    scanner.emplace(UniqueFd(dup(report.verdicts()->scannersEnd())));
    report.verdicts()->letGo();
  }

  // The report of a file that the scanner is about to move, with what then becomes of it.
  std::string loggedForMove(const Verdict& found, Whereabouts whereabouts,
                            const std::string& reason = "") {
    scanner->announceMove(found);
    JoinedThreads moving([this, found, whereabouts, reason] {
      Verdict outcome = found;
      if (scanner->mayMove()) {
        outcome.whereabouts = whereabouts;
        outcome.reason = reason;
        scanner->reportOutcome(outcome);
      }
    });
    std::string logged = loggedFor(found.line + "\n");
    moving.join();
    return logged;
  }

  std::optional<VerdictSender> scanner;
};

TEST_F(ScanReportChannel, AFileThatCouldNotBeMovedIsSaidToBeStillThere) {
  desktop.localizedStrings.texts["NOT_MOVED"] = "Still there: %@ (%@)";
  for (const Action setting : {Action::quarantine, Action::moveToTrash}) {
    beginRun(setting);
    const std::string logged =
        loggedForMove(Verdict::parse(infection), Whereabouts::notMoved, "disk full");
    EXPECT_EQ(logged, stamp + " " + infection + "\n");
    EXPECT_TRUE(quarantinedDialogs().empty());
    ASSERT_FALSE(warningDialogs().empty());
    EXPECT_EQ(warningDialogs().back()->message(), infection);
  }
  EXPECT_EQ(owner.calls.count("notify 6 Still there: /Users/a/b.zip (disk full)"), 2);
  EXPECT_FALSE(owner.calls.has("notify 2 " + infection));
  EXPECT_FALSE(owner.calls.has("notify 3 /Users/a/b.zip"));
}

TEST_F(ScanReportChannel, AFolderThatCannotBeUsedLeavesTheFileThereWithoutAnAttempt) {
  beginRun(Action::quarantine);
  Verdict left = Verdict::parse(infection);
  left.whereabouts = Whereabouts::notMoved;
  scanner->report(left);
  loggedFor(infection + "\n");
  EXPECT_TRUE(quarantinedDialogs().empty());
  EXPECT_EQ(warningDialogs().size(), 1U);
}

TEST_F(ScanReportChannel, AFileThatWasMovedIsReportedAsEver) {
  beginRun(Action::quarantine);
  loggedForMove(Verdict::parse(infection), Whereabouts::moved);
  EXPECT_EQ(owner.calls(), Calls{"notify 2 " + infection});
  EXPECT_EQ(quarantinedDialogs().size(), 1U);
  beginRun(Action::moveToTrash);
  loggedForMove(Verdict::parse(infection), Whereabouts::moved);
  EXPECT_TRUE(owner.calls.has("notify 3 /Users/a/b.zip"));
}

TEST_F(ScanReportChannel, TheTrashGetsTheFileBehindALinkAndTheWindowNamesBoth) {
  beginRun(Action::leaveInPlace);
  Verdict found = Verdict::parse("/Users/a/link: X FOUND");
  found.target = "/Users/a/real";
  found.whereabouts = Whereabouts::inPlace;
  scanner->report(found);
  loggedFor("/Users/a/link: X FOUND\n");
  const auto dialog = warningDialogs().at(0);
  EXPECT_EQ(dialog->message(), "/Users/a/link: X FOUND");
  EXPECT_EQ(dialog->subject(), "/Users/a/real");
  dialog->press(Button::deleteButton);
  EXPECT_EQ(desktop.workspace.recycled, (Recycled{{"/Users/a", {"real"}}}));
}

TEST_F(ScanReportChannel, TheTrashGetsTheNameInItsBytesNotAsItIsShown) {
  beginRun(Action::leaveInPlace);
  Verdict found = Verdict::parse("/Users/a/\\xFF.zip: X FOUND");
  found.path = "/Users/a/\xFF.zip";
  scanner->report(found);
  loggedFor(found.line + "\n");
  warningDialogs().at(0)->press(Button::deleteButton);
  EXPECT_EQ(desktop.workspace.recycled, (Recycled{{"/Users/a", {"\xFF.zip"}}}));
}

TEST_F(ScanReportChannel, ObserversAreGivenTheValueAfterWhatWasDone) {
  beginRun(Action::leaveInPlace);
  Verdict left = Verdict::parse("/Users/a/x\\x0Ay: Not scanned: permission denied");
  left.path = "/Users/a/x\ny";
  scanner->report(left);
  loggedFor(left.line + "\n/b: OK\n");
  EXPECT_EQ(owner.reports(),
            (Calls{"/Users/a/x\ny = not scanned: permission denied", "/b = clean"}));
}

TEST_F(ScanReportChannel, AScannerThatEndsOverTheMoveLeavesNoFalseWord) {
  beginRun(Action::quarantine);
  Verdict found = Verdict::parse("/proc/self/exe: X FOUND");
  scanner->announceMove(found);
  scanner.reset();
  loggedFor(found.line + "\n");
  EXPECT_TRUE(quarantinedDialogs().empty());
  EXPECT_EQ(warningDialogs().size(), 1U);
}

}  // namespace
}  // namespace quillo
