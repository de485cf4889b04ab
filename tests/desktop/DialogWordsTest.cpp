#include <gtest/gtest.h>

#include <sstream>
#include <string>

#include "tests/desktop/support/InterfaceProgram.h"
#include "tests/desktop/support/session/DesktopSession.h"

namespace quillo {
namespace {

class DialogWords : public testing::Test {
 protected:
  void load(const std::string& name) { interface.ask("load " + name, "loaded"); }
  void show() {
    interface.send("front");
    ASSERT_TRUE(
        session.screen().eventually([&] { return session.screen().windowTitles().size() == 1; }));
  }
  void warn(const std::string& line) {
    load("WarningDialog");
    interface.ask("message " + line, "message ");
    show();
  }
  std::string text(const std::string& name) { return interface.ask("text " + name, "text "); }
  std::string visible(const std::string& name) {
    return interface.ask("visible " + name, "visible ");
  }

  DesktopSession session;
  InterfaceProgram interface { session };
};

TEST_F(DialogWords, CallAHeuristicFindSuspicious) {
  warn("/home/anna/a.zip: Heuristics.Encrypted.Zip FOUND");
  EXPECT_EQ(session.screen().windowTitles().front(), "Suspicious File Found");
  EXPECT_EQ(text("theHeading"), "This file is suspicious");
  EXPECT_NE(text("theExplanation").find("may be harmless"), std::string::npos);
  session.keepPicture("warning-suspicious");
}

TEST_F(DialogWords, CallAKnownThreatMalwareWhateverTheFileIsCalled) {
  warn("/home/anna/Heuristics.a: Heuristics.b: Win.Test FOUND");
  EXPECT_EQ(session.screen().windowTitles().front(), "Malware Found");
  EXPECT_EQ(text("theHeading"), "This file contains malware");
}

TEST_F(DialogWords, OfASuspiciousFileInTheQuarantineSayThatItMayBeHarmless) {
  load("QuarantinedDialog");
  interface.send("suspicious");
  show();
  EXPECT_EQ(text("theHeading"), "A suspicious file was found");
  EXPECT_NE(text("theMessage").find("may be harmless"), std::string::npos);
}

TEST_F(DialogWords, OfAQuarantinedFileNameItAndPromiseNothing) {
  load("QuarantinedDialog");
  interface.send("subject /home/anna/<b>a</b>.zip");
  show();
  EXPECT_EQ(text("theSubject"), "/home/anna/<b>a</b>.zip");
  EXPECT_EQ(text("theMessage"),
            "The engine was told to move the file to the quarantine folder. See there whether it "
            "has arrived before you delete it or put it back.");
  session.keepPicture("quarantined-named");
}

TEST_F(DialogWords, NameNoFileWhereNoneWasGiven) {
  load("QuarantinedDialog");
  show();
  EXPECT_EQ(visible("theSubject"), "0");
  EXPECT_EQ(visible("subjectLabel"), "0");
}

TEST_F(DialogWords, OfALinkNameBothFiles) {
  load("WarningDialog");
  interface.ask("message /home/anna/link: Win.Test FOUND", "message ");
  interface.send("subject /srv/target.exe");
  show();
  EXPECT_EQ(text("theMessage"), "/home/anna/link");
  EXPECT_EQ(text("subjectLabel"), "Leads to:");
  EXPECT_EQ(text("theSubject"), "/srv/target.exe");
  session.keepPicture("warning-link");
}

TEST_F(DialogWords, OfAProblemOfTheEngineAreHeadingReasonAndAdvice) {
  interface.send("noengine-text No update log\\nThe log is <b>not</b> known.\\nChoose one.");
  interface.send("noengine");
  ASSERT_TRUE(
      session.screen().eventually([&] { return session.screen().windowTitles().size() == 1; }));
  EXPECT_EQ(text("theHeading"), "No update log");
  EXPECT_EQ(text("theMessage"), "The log is <b>not</b> known.");
  EXPECT_EQ(text("theAdvice"), "Choose one.");
}

TEST_F(DialogWords, OfALongNameDoNotWidenTheWindow) {
  warn("/home/anna/a.zip: Win.Test FOUND");
  const auto width = [this] {
    std::istringstream area(interface.ask("area ignoreButton", "area "));
    int x = 0;
    int y = 0;
    int length = 0;
    area >> x >> y >> length;
    return length;
  };
  ASSERT_TRUE(session.screen().eventually(
      [&] { return interface.ask("framed ignoreButton", "framed ") == "1"; }));
  const int before = width();
  interface.send("failure Not moved: /home/anna/" + std::string(250, 'x') + ".zip");
  interface.ask("sync", "synced");
  EXPECT_EQ(width(), before);
  session.keepPicture("warning-failure-long");
}

TEST_F(DialogWords, SayInTheOpenWindowWhatDidNotWork) {
  warn("/home/anna/a.zip: Win.Test FOUND");
  EXPECT_EQ(visible("theFailure"), "0");
  interface.send("failure The file could not be moved to the trash: <i>no space</i>.");
  EXPECT_EQ(visible("theFailure"), "1");
  EXPECT_EQ(text("theFailure"), "The file could not be moved to the trash: <i>no space</i>.");
  session.keepPicture("warning-failure");
  interface.clickOn("ignoreButton");
  EXPECT_EQ(interface.expect("pressed "), "0 other 0");
}

// What has the focus is what every screen reader reads.
TEST_F(DialogWords, HaveAFailureReadByScreenReaders) {
  warn("/home/anna/a.zip: Win.Test FOUND");
  interface.send("failure It could not be done.");
  EXPECT_EQ(interface.ask("focused-in-window theFailure", "focused "), "theFailure");
  EXPECT_EQ(interface.ask("spoken theFailure", "spoken "), "It could not be done.||");
}

TEST_F(DialogWords, OfAShortPathShowTheWholeOfIt) {
  warn("/home/anna/a.zip: Win.Test FOUND");
  EXPECT_EQ(interface.ask("bottom theMessage", "bottom "), "1");
  EXPECT_EQ(interface.ask("top theMessage", "top "), "1");
}

TEST_F(DialogWords, OfAPathOfFourThousandBytesShowTheFilesName) {
  std::string path = "/home/anna";
  while (path.size() < 3980) {
    path += "/a folder with a long name";
  }
  warn(path + "/Quittung.exe: Win.Test FOUND");
  EXPECT_TRUE(session.screen().eventually(
      [&] { return interface.ask("bottom theMessage", "bottom ") == "1"; }));
  session.keepPicture("warning-long-path-end");
}

}  // namespace
}  // namespace quillo
