#include "scanning/FileRemover.h"
#include "tests/fakes/scanning/ReportFixture.h"

namespace quillo {
namespace {

class FileRemoverDialog : public ReportFixture {
 protected:
  FileRemoverDialog() { startRun(Action::leaveInPlace); }

  std::shared_ptr<FakeDialog> warn(const std::string& line) {
    loggedFor(line + "\n");
    return warningDialogs().back();
  }
};

using Calls = std::vector<std::string>;
using Recycled = std::vector<std::pair<std::string, std::vector<std::string>>>;
using Button = ButtonDialog::Button;

TEST_F(FileRemoverDialog, IsListedFromItsCreation) {
  warn(infection);
  EXPECT_EQ(owner.dialogs().size(), 1U);
}

TEST_F(FileRemoverDialog, MovesTheFileToTheTrashAndCloses) {
  const auto dialog = warn(infection);
  dialog->press(Button::deleteButton);
  EXPECT_EQ(desktop.workspace.recycled, (Recycled{{"/Users/a", {"b.zip"}}}));
  EXPECT_EQ(desktop.application.beeps, 0);
  EXPECT_TRUE(dialog->isClosed());
  EXPECT_TRUE(owner.dialogs().empty());
  EXPECT_TRUE(desktop.workspace.selected.empty());
}

TEST_F(FileRemoverDialog, KeepsAColonInThePath) {
  warn("/Users/a/x:y.zip: Name FOUND")->press(Button::deleteButton);
  EXPECT_EQ(desktop.workspace.recycled, (Recycled{{"/Users/a", {"x:y.zip"}}}));
}

TEST_F(FileRemoverDialog, BeepsAndClosesWhenTheFileIsGone) {
  desktop.workspace.answer = false;
  const auto dialog = warn(infection);
  dialog->press(Button::deleteButton);
  EXPECT_EQ(desktop.application.beeps, 1);
  EXPECT_TRUE(dialog->isClosed());
  EXPECT_EQ(owner.calls.count("remove dialog"), 1);
  EXPECT_EQ(desktop.systemLog.lines(), Calls());
}

TEST_F(FileRemoverDialog, SaysInAWindowWhyTheFileWasNotMoved) {
  desktop.localizedStrings.texts["NOT_TRASHED"] = "Not moved: %@";
  desktop.workspace.answer = false;
  const auto dialog = warn(infection);
  dialog->press(Button::deleteButton);
  const auto failed = warningDialogs().back();
  ASSERT_NE(failed, dialog);
  EXPECT_EQ(failed->failure(), "Not moved: no such file");
  EXPECT_EQ(failed->message(), infection);
  EXPECT_TRUE(failed->cameToFront());
  EXPECT_EQ(owner.dialogs().size(), 1U);
  desktop.workspace.answer = true;
  failed->press(Button::deleteButton);
  EXPECT_EQ(desktop.workspace.recycled.size(), 2U);
  EXPECT_TRUE(owner.dialogs().empty());
}

TEST_F(FileRemoverDialog, SaysNothingWhereTheFileWasMoved) {
  warn(infection)->press(Button::deleteButton);
  EXPECT_EQ(warningDialogs().size(), 1U);
}

TEST_F(FileRemoverDialog, ActsOnTheFileWhateverItsWindowSays) {
  const auto dialog = warn(infection);
  dialog->setMessage("/somebody/elses: file FOUND");
  dialog->press(Button::deleteButton);
  EXPECT_EQ(desktop.workspace.recycled, (Recycled{{"/Users/a", {"b.zip"}}}));
}

TEST_F(FileRemoverDialog, ReportsToTheScanLogWhatTheUserMoved) {
  const auto moved = warn(infection);
  const auto ignored = warn("/Users/a/c.zip: X FOUND");
  StdoutCapture log;
  moved->press(Button::deleteButton);
  ignored->press(Button::otherButton);
  desktop.workspace.answer = false;
  warn("/Users/a/d.zip: X FOUND")->press(Button::deleteButton);
  EXPECT_EQ(log.text(), stamp + " /Users/a/b.zip: moved to the Trash by the user\n");
}

TEST_F(FileRemoverDialog, GivesTheWindowPathAndThreatBesideTheLine) {
  const auto dialog = warn("/Users/a/x:y.zip: Name FOUND");
  EXPECT_EQ(dialog->find(), std::make_pair(std::string("/Users/a/x:y.zip"), std::string("Name")));
  EXPECT_EQ(dialog->message(), "/Users/a/x:y.zip: Name FOUND");
}

TEST_F(FileRemoverDialog, CallsALikenessSuspicious) {
  EXPECT_TRUE(warn("/a: Heuristics.Phishing.Email FOUND")->isSuspicious());
  EXPECT_FALSE(warn(infection)->isSuspicious());
}

TEST_F(FileRemoverDialog, IgnoringLeavesTheFileAlone) {
  const auto dialog = warn(infection);
  dialog->press(Button::otherButton);
  EXPECT_TRUE(desktop.workspace.recycled.empty());
  EXPECT_TRUE(desktop.workspace.selected.empty());
  EXPECT_EQ(desktop.application.beeps, 0);
  EXPECT_TRUE(dialog->isClosed());
  EXPECT_TRUE(owner.dialogs().empty());
}

TEST_F(FileRemoverDialog, IgnoringWithOptionShowsTheFile) {
  desktop.modifierKeys.held = ModifierKeys::optionKey;
  const auto dialog = warn("/Users/a/x:y.zip: Name FOUND");
  dialog->press(Button::otherButton);
  EXPECT_EQ(desktop.workspace.selected, Calls{"/Users/a/x:y.zip"});
  EXPECT_TRUE(desktop.workspace.recycled.empty());
  EXPECT_TRUE(dialog->isClosed());
}

TEST_F(FileRemoverDialog, OptionMeansNothingToTheTrashButton) {
  desktop.modifierKeys.held = ModifierKeys::optionKey;
  warn(infection)->press(Button::deleteButton);
  EXPECT_EQ(desktop.workspace.recycled.size(), 1U);
  EXPECT_TRUE(desktop.workspace.selected.empty());
}

TEST_F(FileRemoverDialog, CommandOnEitherButtonClosesEveryOtherWarning) {
  for (const Button button : {Button::deleteButton, Button::otherButton}) {
    const auto one = warn("/a: X FOUND");
    const auto pressed = warn("/b: Y FOUND");
    const auto three = warn("/c: Z FOUND");
    desktop.modifierKeys.held = ModifierKeys::commandKey;
    pressed->press(button);
    desktop.modifierKeys.held = 0;
    EXPECT_TRUE(one->isClosed() && pressed->isClosed() && three->isClosed());
    EXPECT_TRUE(owner.dialogs().empty());
  }
  // The files of the others were left alone.
  EXPECT_EQ(desktop.workspace.recycled, (Recycled{{"/", {"b"}}}));
}

TEST_F(FileRemoverDialog, WithoutCommandOtherWarningsStay) {
  const auto other = warn("/a: X FOUND");
  warn("/b: Y FOUND")->press(Button::otherButton);
  EXPECT_FALSE(other->isClosed());
  EXPECT_EQ(owner.dialogs().size(), 1U);
  EXPECT_FALSE(owner.calls.has("remove all dialogs"));
}

TEST_F(FileRemoverDialog, OptionAndCommandTogetherShowTheFileAndCloseAll) {
  desktop.modifierKeys.held = ModifierKeys::optionKey | ModifierKeys::commandKey;
  const auto other = warn("/a: X FOUND");
  warn("/b: Y FOUND")->press(Button::otherButton);
  EXPECT_EQ(desktop.workspace.selected, Calls{"/b"});
  EXPECT_TRUE(other->isClosed());
}

TEST_F(FileRemoverDialog, LeavesTheListBeforeTheOthersAreDismissed) {
  desktop.modifierKeys.held = ModifierKeys::commandKey;
  const auto dialog = warn(infection);
  dialog->press(Button::otherButton);
  EXPECT_EQ(owner.calls(),
            (Calls{"add dialog", "notify 1 " + infection, "remove dialog", "remove all dialogs"}));
  // Dismissed by itself alone: closed once.
  EXPECT_EQ(dialog->calls(), (Calls{"orderFrontRegardless", "close"}));
}

TEST_F(FileRemoverDialog, BeingDismissedLeavesFileAndListAlone) {
  const auto dialog = warn(infection);
  owner.dialogs().at(0)->ignoreWarning();
  EXPECT_TRUE(dialog->isClosed());
  EXPECT_EQ(owner.dialogs().size(), 1U);
  EXPECT_FALSE(owner.calls.has("remove dialog"));
  EXPECT_TRUE(desktop.workspace.recycled.empty());
}

TEST_F(FileRemoverDialog, LivesNoLongerThanItsDialogIsOpen) {
  const auto dialog = warn(infection);
  const std::weak_ptr<FileRemover> remover = owner.dialogs().at(0);
  EXPECT_FALSE(remover.expired());
  dialog->press(Button::otherButton);
  EXPECT_TRUE(remover.expired());
}

TEST_F(FileRemoverDialog, AMessageThatNamesNoFileTouchesNone) {
  for (const char* message : {"no colon here FOUND", ": Name FOUND"}) {
    const auto dialog = warn(message);
    dialog->press(Button::deleteButton);
    EXPECT_TRUE(dialog->isClosed());
  }
  EXPECT_TRUE(desktop.workspace.recycled.empty());
  EXPECT_EQ(desktop.application.beeps, 2);
  desktop.modifierKeys.held = ModifierKeys::optionKey;
  warn("no colon here FOUND")->press(Button::otherButton);
  EXPECT_TRUE(desktop.workspace.selected.empty());
}

TEST_F(FileRemoverDialog, CutsAtTheLastColon) {
  EXPECT_EQ(FileRemover::getLastColon("/x:y: Z FOUND"), 4);
  EXPECT_EQ(FileRemover::getLastColon("none"), -1);
}

}  // namespace
}  // namespace quillo
