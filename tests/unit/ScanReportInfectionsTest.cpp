#include "tests/fakes/scanning/ReportFixture.h"

namespace quillo {
namespace {

class ScanReportInfections : public ReportFixture {};

using Calls = std::vector<std::string>;
using Button = ButtonDialog::Button;

TEST_F(ScanReportInfections, QuarantinedShowADialogANotificationAndTheWholeLineInTheLog) {
  startRun(Action::quarantine);
  EXPECT_EQ(loggedFor(infection + "\n"), stamp + " " + infection + "\n");
  EXPECT_EQ(owner.calls(), Calls{"notify 2 " + infection});
  ASSERT_EQ(quarantinedDialogs().size(), 1U);
  EXPECT_TRUE(quarantinedDialogs()[0]->cameToFront());
  // The message is the interface file's own.
  EXPECT_EQ(quarantinedDialogs()[0]->message(), "");
  EXPECT_TRUE(warningDialogs().empty());
}

TEST_F(ScanReportInfections, QuarantinedShowNoDialogWhenTheUserWantsNone) {
  startRun(Action::quarantine, true);
  EXPECT_EQ(loggedFor(infection + "\n"), stamp + " " + infection + "\n");
  EXPECT_EQ(owner.calls(), Calls{"notify 2 " + infection});
  EXPECT_TRUE(quarantinedDialogs().empty());
}

TEST_F(ScanReportInfections, QuarantinedAreNotifiedAlsoWithoutADialog) {
  startRun(Action::quarantine);
  desktop.interfaceLoader.setBroken(true);
  loggedFor(infection + "\n");
  EXPECT_TRUE(desktop.systemLog.has("Error loading Nib for document!"));
  EXPECT_EQ(owner.calls(), Calls{"notify 2 " + infection});
}

TEST_F(ScanReportInfections, QuarantinedBringTheLastDialogForwardWhenANewOneCannotBeLoaded) {
  startRun(Action::quarantine);
  loggedFor(infection + "\n");
  desktop.interfaceLoader.setBroken(true);
  loggedFor(infection + "\n");
  ASSERT_EQ(quarantinedDialogs().size(), 1U);
  EXPECT_EQ(quarantinedDialogs()[0]->calls(),
            (Calls{"orderFrontRegardless", "orderFrontRegardless"}));
}

TEST_F(ScanReportInfections, QuarantinedOfferToOpenTheQuarantineFolder) {
  startRun(Action::quarantine);
  loggedFor(infection + "\n");
  const auto dialog = quarantinedDialogs().at(0);
  dialog->press(Button::deleteButton);
  EXPECT_EQ(dialog->calls(), (Calls{"orderFrontRegardless", "orderOut", "close"}));
  EXPECT_TRUE(owner.calls.has("open /home/anna/Quarantine"));
}

TEST_F(ScanReportInfections, TheQuarantineDialogsOtherButtonOnlyClosesIt) {
  startRun(Action::quarantine);
  loggedFor(infection + "\n");
  quarantinedDialogs().at(0)->press(Button::otherButton);
  EXPECT_TRUE(quarantinedDialogs()[0]->isClosed());
  EXPECT_FALSE(owner.calls.has("open /home/anna/Quarantine"));
}

TEST_F(ScanReportInfections, EveryQuarantineDialogsButtonWorksNotOnlyTheLastOnes) {
  startRun(Action::quarantine);
  loggedFor("/a: X FOUND\n/b: Y FOUND\n");
  startRun(Action::quarantine);
  loggedFor("/c: Z FOUND\n");
  ASSERT_EQ(quarantinedDialogs().size(), 3U);
  quarantinedDialogs()[0]->press(Button::deleteButton);
  quarantinedDialogs()[1]->press(Button::otherButton);
  EXPECT_EQ(owner.calls.count("open /home/anna/Quarantine"), 1);
  EXPECT_TRUE(quarantinedDialogs()[0]->isClosed());
  EXPECT_TRUE(quarantinedDialogs()[1]->isClosed());
  EXPECT_FALSE(quarantinedDialogs()[2]->isClosed());
}

TEST_F(ScanReportInfections, EveryEngineErrorsButtonWorks) {
  report.consequences().showEngineError("Quit");
  report.consequences().showEngineError("Quit");
  quarantinedDialogs().at(0)->press(Button::otherButton);
  EXPECT_TRUE(quarantinedDialogs()[0]->isClosed());
  quarantinedDialogs().at(1)->press(Button::deleteButton);
  EXPECT_TRUE(owner.calls.has("quit"));
}

TEST_F(ScanReportInfections, TheQuarantineDialogNamesTheFileApartFromItsMessage) {
  startRun(Action::quarantine);
  loggedFor(infection + "\n");
  EXPECT_EQ(quarantinedDialogs().at(0)->subject(), "/Users/a/b.zip");
  EXPECT_EQ(quarantinedDialogs().at(0)->message(), "");
}

TEST_F(ScanReportInfections, TheEngineErrorIsOfAKindOfItsOwn) {
  report.consequences().showEngineError("Quit");
  EXPECT_EQ(quarantinedDialogs().at(0)->kind(), ButtonDialog::Kind::engineError);
}

TEST_F(ScanReportInfections, TheQuarantineDialogIsOffTheScreenBeforeTheFolderOpens) {
  FakeDialog dialog;
  Calls before;
  owner.duringOpening = [&] { before = dialog.calls(); };
  report.consequences().openQuarantineFolder(dialog, "/folder");
  EXPECT_EQ(before, Calls{"orderOut"});
  EXPECT_EQ(owner.calls(), Calls{"open /folder"});
}

TEST_F(ScanReportInfections, LeftInPlaceWarnWithTheWholeLine) {
  startRun(Action::leaveInPlace);
  EXPECT_EQ(loggedFor(infection + "\n"), stamp + " " + infection + "\n");
  ASSERT_EQ(warningDialogs().size(), 1U);
  EXPECT_EQ(warningDialogs()[0]->message(), infection);
  EXPECT_TRUE(warningDialogs()[0]->cameToFront());
  EXPECT_EQ(owner.calls(), (Calls{"add dialog", "notify 1 " + infection}));
}

TEST_F(ScanReportInfections, LeftInPlaceWarnAlsoAUserWhoWantsNoInformation) {
  startRun(Action::leaveInPlace, true);
  loggedFor(infection + "\n");
  ASSERT_EQ(warningDialogs().size(), 1U);
  EXPECT_TRUE(warningDialogs()[0]->cameToFront());
  EXPECT_TRUE(owner.calls.has("notify 1 " + infection));
}

TEST_F(ScanReportInfections, LeftInPlaceAreNotNotifiedWithoutADialog) {
  startRun(Action::leaveInPlace);
  desktop.interfaceLoader.setBroken(true);
  EXPECT_EQ(loggedFor(infection + "\n"), stamp + " " + infection + "\n");
  EXPECT_TRUE(desktop.systemLog.has("Error loading Nib for document!"));
  EXPECT_EQ(owner.calls(), Calls());
}

TEST_F(ScanReportInfections, LeftInPlaceGetADialogEach) {
  startRun(Action::leaveInPlace);
  loggedFor("/a: X FOUND\n/b: Y FOUND\n");
  ASSERT_EQ(warningDialogs().size(), 2U);
  EXPECT_EQ(warningDialogs()[0]->message(), "/a: X FOUND");
  EXPECT_EQ(warningDialogs()[1]->message(), "/b: Y FOUND");
  EXPECT_EQ(owner.dialogs().size(), 2U);
}

TEST_F(ScanReportInfections, MovedToTheTrashAreNotifiedByTheirPathAlone) {
  startRun(Action::moveToTrash);
  EXPECT_EQ(loggedFor(infection + "\n"), stamp + " " + infection + "\n");
  EXPECT_EQ(owner.calls(), Calls{"notify 3 /Users/a/b.zip"});
  EXPECT_TRUE(quarantinedDialogs().empty());
  EXPECT_TRUE(warningDialogs().empty());
}

TEST_F(ScanReportInfections, MovedToTheTrashKeepAColonInTheirPath) {
  startRun(Action::moveToTrash);
  loggedFor("/Users/a/x:y.zip: Eicar-Test-Signature FOUND\n");
  EXPECT_EQ(owner.calls(), Calls{"notify 3 /Users/a/x:y.zip"});
}

TEST_F(ScanReportInfections, MovedToTheTrashWithoutAColonAreNotifiedByTheLine) {
  startRun(Action::moveToTrash);
  loggedFor("no colon here FOUND\n");
  EXPECT_EQ(owner.calls(), Calls{"notify 3 no colon here FOUND"});
}

TEST_F(ScanReportInfections, EndExactlyInTheWordAndItsBlank) {
  startRun(Action::moveToTrash);
  loggedFor("/a: XFOUND\n/b: X FOUND \n/c: X found\n/d: X FOUND.\n");
  EXPECT_EQ(owner.calls(), Calls());
}

TEST_F(ScanReportInfections, AreActedOnAlsoWhenTheirLineBeginsLikeTheSummary) {
  startRun(Action::moveToTrash);
  EXPECT_EQ(loggedFor("Infected: X FOUND\n"), "");
  EXPECT_EQ(owner.calls(), Calls{"notify 3 Infected"});
}

TEST_F(ScanReportInfections, TheEngineErrorOffersToQuit) {
  desktop.localizedStrings.texts["CLAMDSCAN_ERROR"] = "The engine cannot be reached.";
  report.consequences().showEngineError("Quit Vantrel Quillo");
  EXPECT_EQ(desktop.systemLog.lines(), Calls{"can't connect to clamd"});
  ASSERT_EQ(quarantinedDialogs().size(), 1U);
  const auto dialog = quarantinedDialogs()[0];
  EXPECT_EQ(dialog->message(), "The engine cannot be reached.");
  EXPECT_EQ(dialog->deleteButtonTitle(), "Quit Vantrel Quillo");
  EXPECT_TRUE(dialog->cameToFront());
  EXPECT_EQ(owner.calls(), Calls{"notify 6 The engine cannot be reached."});
  dialog->press(Button::deleteButton);
  EXPECT_TRUE(owner.calls.has("quit"));
}

TEST_F(ScanReportInfections, TheEngineErrorMayBeClosedWithoutQuitting) {
  report.consequences().showEngineError("Quit Vantrel Quillo");
  quarantinedDialogs().at(0)->press(Button::otherButton);
  EXPECT_TRUE(quarantinedDialogs()[0]->isClosed());
  EXPECT_FALSE(owner.calls.has("quit"));
}

TEST_F(ScanReportInfections, TheEngineErrorWithoutADialogIsLoggedAndNotNotified) {
  desktop.interfaceLoader.setBroken(true);
  report.consequences().showEngineError("Quit Vantrel Quillo");
  EXPECT_EQ(desktop.systemLog.lines(),
            (Calls{"can't connect to clamd", "Error loading nib for warning dialog!"}));
  EXPECT_EQ(owner.calls(), Calls());
}

class ScanReportWarnings : public ReportFixture {
 protected:
  std::shared_ptr<FakeDialog> warn() {
    startRun(Action::leaveInPlace);
    loggedFor(infection + "\n");
    return warningDialogs().back();
  }
};

TEST_F(ScanReportWarnings, LeaveTheListBeforeTheyClose) {
  const auto dialog = warn();
  bool wasClosed = true;
  owner.duringRemoval = [&] { wasClosed = dialog->isClosed(); };
  dialog->press(ButtonDialog::Button::otherButton);
  EXPECT_FALSE(wasClosed);
  EXPECT_TRUE(dialog->isClosed());
}

TEST_F(ScanReportWarnings, GoByTheKeysThatWereHeldWhenTheButtonWasPressed) {
  const auto dialog = warn();
  desktop.modifierKeys.held = ModifierKeys::commandKey;
  owner.duringRemoval = [this] { desktop.modifierKeys.held = 0; };
  dialog->press(ButtonDialog::Button::otherButton);
  EXPECT_TRUE(owner.calls.has("remove all dialogs"));
}

}  // namespace
}  // namespace quillo
