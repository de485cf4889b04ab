// What the notification of an infected file shows and does on a desktop with buttons.

#include <unistd.h>

#include <filesystem>

#include "tests/fakes/scanning/ReportFixture.h"
#include "tests/support/TemporaryFolder.h"

namespace quillo {
namespace {

using Titles = std::vector<std::string>;
using Recycled = std::vector<std::pair<std::string, std::vector<std::string>>>;

class FindNotification : public ReportFixture {
 protected:
  FindNotification() {
    for (const char* outcome : {"IN_PLACE", "NOT_MOVED", "QUARANTINED", "TRASHED"}) {
      const std::string key = std::string("FIND_") + outcome;
      desktop.localizedStrings.texts[key] = key + " %@";
      desktop.localizedStrings.texts[key + "_SUSPICIOUS"] = key + "? %@";
    }
    desktop.localizedStrings.texts["FIND_PLACE"] = "%@\nThreat: %@";
    desktop.localizedStrings.texts["FIND_PLACE_REASON"] = "%@\nThreat: %@\nStill there: %@";
  }

  NotificationDetails found(const std::string& line, Action setting = Action::leaveInPlace) {
    startRun(setting);
    loggedFor(line + "\n");
    return owner.details().back();
  }
  NotificationDetails foundOnChannel(const Verdict& verdict,
                                     Action setting = Action::leaveInPlace) {
    startRun(setting);
    VerdictSender scanner{UniqueFd(dup(report.verdicts()->scannersEnd()))};
    report.verdicts()->letGo();
    scanner.report(verdict);
    loggedFor(verdict.line + "\n");
    return owner.details().back();
  }
  static Titles titles(const NotificationDetails& details) {
    Titles result;
    for (const NotificationButton& button : details.buttons) {
      result.push_back(button.title);
    }
    return result;
  }
  std::string savedFile(const std::string& contents = "malware") {
    return folder.write("bad.com", contents);
  }
  static std::string lineOf(const std::string& path) { return path + ": Eicar FOUND"; }

  TemporaryFolder folder;
};

TEST_F(FindNotification, SaysInWordsWhatWasFoundAndWhere) {
  const NotificationDetails details = found(infection);
  EXPECT_TRUE(details.isFind);
  EXPECT_EQ(details.summary, "FIND_IN_PLACE b.zip");
  EXPECT_EQ(details.body, "/Users/a/b.zip\nThreat: Eicar-Test-Signature");
}

TEST_F(FindNotification, CallsALikenessSuspicious) {
  EXPECT_EQ(found("/a/b.zip: Heuristics.Encrypted.Zip FOUND").summary, "FIND_IN_PLACE? b.zip");
}

TEST_F(FindNotification, SaysWhatBecameOfAFileThatTheEngineMoves) {
  EXPECT_EQ(found(infection, Action::quarantine).summary, "FIND_QUARANTINED b.zip");
  EXPECT_EQ(found(infection, Action::moveToTrash).summary, "FIND_TRASHED b.zip");
  Verdict stayed = Verdict::parse(infection);
  stayed.whereabouts = Verdict::Whereabouts::notMoved;
  stayed.reason = "disk full";
  const NotificationDetails details = foundOnChannel(stayed, Action::quarantine);
  EXPECT_TRUE(details.isFind);
  EXPECT_EQ(details.summary, "FIND_NOT_MOVED b.zip");
  EXPECT_EQ(details.body, "/Users/a/b.zip\nThreat: Eicar-Test-Signature\nStill there: disk full");
}

TEST_F(FindNotification, LetsNoNameMakeALineOfItsOwn) {
  Verdict found = Verdict::parse("/a/x\\x0AThreat: none: X FOUND");
  found.path = "/a/x\nThreat: none";
  const NotificationDetails details = foundOnChannel(found);
  EXPECT_EQ(details.summary, "FIND_IN_PLACE x\\x0AThreat: none");
  EXPECT_EQ(details.body, "/a/x\\x0AThreat: none\nThreat: X");
}

TEST_F(FindNotification, NamesTheFileBehindALink) {
  Verdict found = Verdict::parse("/a/link: X FOUND");
  found.target = "/b/real";
  EXPECT_EQ(foundOnChannel(found).body, "/a/link → /b/real\nThreat: X");
}

TEST_F(FindNotification, LeavesALineThatNamesNoFileToTitleAndDescription) {
  const NotificationDetails details = found("no colon here FOUND");
  EXPECT_TRUE(details.isFind);
  EXPECT_EQ(details.summary, "");
  EXPECT_EQ(details.body, "");
  EXPECT_EQ(titles(details), Titles{"<NOTIFICATION_LOG>"});
}

TEST_F(FindNotification, OffersForAFileInItsPlaceToShowItToMoveItAndTheLog) {
  const NotificationDetails details = found(infection);
  EXPECT_EQ(titles(details),
            (Titles{"<NOTIFICATION_SHOW>", "<NOTIFICATION_TRASH>", "<NOTIFICATION_LOG>"}));
  details.buttons[0].press();
  EXPECT_EQ(desktop.workspace.selected, Titles{"/Users/a/b.zip"});
  details.buttons[2].press();
  EXPECT_TRUE(owner.calls.has("open log"));
  EXPECT_TRUE(desktop.workspace.recycled.empty());
}

TEST_F(FindNotification, OffersForAQuarantinedFileToShowItWhereItIsNow) {
  Verdict moved = Verdict::parse(infection);
  moved.whereabouts = Verdict::Whereabouts::moved;
  moved.destination = "/home/anna/Quarantine/b.zip";
  const NotificationDetails details = foundOnChannel(moved, Action::quarantine);
  EXPECT_EQ(titles(details), (Titles{"<NOTIFICATION_SHOW>", "<NOTIFICATION_LOG>"}));
  details.buttons[0].press();
  EXPECT_EQ(desktop.workspace.selected, Titles{"/home/anna/Quarantine/b.zip"});
  EXPECT_EQ(titles(foundOnChannel(moved, Action::moveToTrash)), Titles{"<NOTIFICATION_LOG>"});
}

TEST_F(FindNotification, ShowsAQuarantinedFileOnItsPageWhereThereIsOne) {
  owner.hasPages = true;
  Verdict moved = Verdict::parse(infection);
  moved.whereabouts = Verdict::Whereabouts::moved;
  moved.destination = "/home/anna/Quarantine/b.zip";
  foundOnChannel(moved, Action::quarantine).buttons.at(0).press();
  EXPECT_TRUE(owner.calls.has("open page quarantine"));
  EXPECT_TRUE(desktop.workspace.selected.empty());
}

TEST_F(FindNotification, MovesTheFileToTheTrashClosesItsWarningAndIsWithdrawn) {
  const std::string path = savedFile();
  const NotificationDetails details = found(lineOf(path));
  const auto window = warningDialogs().back();
  const auto other = found(lineOf(folder.write("other", "malware")));
  StdoutCapture log;
  details.buttons[1].press();
  EXPECT_EQ(desktop.workspace.recycled, (Recycled{{folder.path(), {"bad.com"}}}));
  EXPECT_TRUE(window->isClosed());
  EXPECT_EQ(owner.dialogs().size(), 1U);
  EXPECT_TRUE(owner.withdrawn.has(details.topic));
  EXPECT_FALSE(owner.withdrawn.has(other.topic));
  EXPECT_EQ(log.text(), stamp + " " + path + ": moved to the Trash by the user\n");
}

TEST_F(FindNotification, LeavesAnotherFileThatLiesThereNowAloneAndSaysSo) {
  desktop.localizedStrings.texts["NOT_TRASHED"] = "Not moved: %@";
  desktop.localizedStrings.texts["FILE_CHANGED"] = "another file";
  const std::string path = savedFile();
  const NotificationDetails details = found(lineOf(path));
  const std::string newer = folder.write("newer", "a letter");
  std::filesystem::rename(newer, path);
  StdoutCapture log;
  details.buttons[1].press();
  EXPECT_TRUE(desktop.workspace.recycled.empty());
  EXPECT_EQ(warningDialogs().back()->failure(), "Not moved: another file");
  EXPECT_EQ(desktop.application.beeps, 1);
  EXPECT_FALSE(owner.withdrawn.has(details.topic));
  EXPECT_EQ(log.text(), "");
}

TEST_F(FindNotification, LeavesTheFileAloneWhoseContentsHaveChangedAlsoByItsWindow) {
  const std::string path = savedFile();
  found(lineOf(path));
  folder.write("bad.com", "a letter, written over it");
  warningDialogs().back()->press(ButtonDialog::Button::deleteButton);
  EXPECT_TRUE(desktop.workspace.recycled.empty());
  EXPECT_EQ(desktop.application.beeps, 1);
}

TEST_F(FindNotification, LeavesAFolderThatLiesThereNowAlone) {
  const std::string path = savedFile();
  const NotificationDetails details = found(lineOf(path));
  std::filesystem::remove(path);
  folder.write("bad.com/letter", "a letter");
  details.buttons[1].press();
  EXPECT_TRUE(desktop.workspace.recycled.empty());
  EXPECT_EQ(desktop.application.beeps, 1);
  EXPECT_FALSE(warningDialogs().back()->failure().empty());
}

TEST_F(FindNotification, LeavesWhatAnotherFolderHoldsAloneThatItsFolderLeadsToNow) {
  const std::string path = folder.write("loads/bad.com", "malware");
  const NotificationDetails details = found(lineOf(path));
  std::filesystem::rename(folder.path() + "/loads", folder.path() + "/moved");
  folder.write("letters/bad.com/letter", "a letter");
  std::filesystem::create_directory_symlink(folder.path() + "/letters", folder.path() + "/loads");
  details.buttons[1].press();
  EXPECT_TRUE(desktop.workspace.recycled.empty());
  EXPECT_FALSE(warningDialogs().back()->failure().empty());
}

TEST_F(FindNotification, LeavesAloneWhatHasComeToLieWhereNothingWasSeen) {
  const std::string path = folder.path() + "/bad.com";
  const NotificationDetails details = found(lineOf(path));
  for (const char* const name : {"bad.com", "bad.com/letter"}) {
    folder.write(name, "a letter");
    details.buttons[1].press();
    EXPECT_TRUE(desktop.workspace.recycled.empty());
    EXPECT_FALSE(warningDialogs().back()->failure().empty());
    std::filesystem::remove_all(path);
  }
}

TEST_F(FindNotification, SaysWhyAFileThatIsGoneWasNotMoved) {
  const std::string path = savedFile();
  const NotificationDetails details = found(lineOf(path));
  std::filesystem::remove(path);
  desktop.workspace.answer = false;
  details.buttons[1].press();
  EXPECT_EQ(desktop.workspace.recycled.size(), 1U);
  EXPECT_FALSE(warningDialogs().back()->failure().empty());
}

TEST_F(FindNotification, OfAnEngineThatCannotBeReachedIsOverWhenItJudgesAgain) {
  report.consequences().showEngineError("Quit");
  const NotificationDetails details = owner.details().back();
  EXPECT_FALSE(details.isFind);
  EXPECT_EQ(titles(details), (Titles{"<NOTIFICATION_VANTREL>", "<NOTIFICATION_LOG>"}));
  owner.hasPages = true;
  details.buttons[0].press();
  EXPECT_TRUE(owner.calls.has("open page overview"));
  startRun(Action::leaveInPlace);
  loggedFor("ERROR: something\n");
  EXPECT_FALSE(owner.withdrawn.has(details.topic));
  loggedFor("/a: OK\n");
  EXPECT_TRUE(owner.withdrawn.has(details.topic));
}

}  // namespace
}  // namespace quillo
