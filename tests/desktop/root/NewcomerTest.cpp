// Somebody who has never seen the main application, at the keyboard of a desktop, with the real
// agent and engine. What is shown is read as a screen reader is told it.

#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <optional>
#include <stdexcept>

#include "tests/desktop/root/AgentOnDesktop.h"
#include "tests/desktop/root/AgentOnSway.h"
#include "tests/desktop/support/session/ShownWords.h"
#include "tests/root/support/world/FilesAndMounts.h"

namespace quillo::tests {
namespace {

namespace fs = std::filesystem;

const std::string program = QUILLO_BINARY_DIR "/vantrel";
const std::string letters = "/home/ada/Letters";
const std::string quarantine = "/home/ada/Quarantine";
constexpr const char* preferencesFile = "/home/ada/.config/vantrel/org.vantrel.Vantrel.toml";
constexpr const char* definitionFile = "/db/ada.ndb";
constexpr const char* threat = "Eicar-Test-Signature";

class OnX11 : public AgentOnDesktop {
 protected:
  static constexpr const char* desktop = "x11";

  void begin(const std::string& preferences) { logIn(preferences); }
  void press(const std::string& keys) { session().press(keys); }
  void type(const std::string& text) { session().run({"xdotool", "type", text}); }
  template <typename Predicate>
  bool eventually(const Predicate& predicate) {
    return session().screen().eventually(predicate);
  }
  bool hasKeyboard(const std::string& title) { return session().screen().hasKeyboard(title); }
};

class OnWayland : public AgentOnSway {
 protected:
  static constexpr const char* desktop = "wayland";

  void begin(const std::string& preferences) { logIn({}, preferences); }
  // As xdotool(1) has them: "ctrl+5".
  void press(const std::string& keys) {
    const std::size_t plus = keys.find('+');
    if (plus == std::string::npos) {
      session().press(keys);
      return;
    }
    const std::string held = keys.substr(0, plus);
    session().run({"wtype", "-M", held, "-k", keys.substr(plus + 1), "-m", held});
  }
  void type(const std::string& text) { session().type(text); }
  template <typename Predicate>
  bool eventually(const Predicate& predicate) {
    return session().eventually(predicate);
  }
  bool hasKeyboard(const std::string& title) {
    const auto window = session().window(title);
    return window && window->isFocused;
  }
};

template <typename Desktop>
class Newcomer : public Desktop {
 protected:
  void SetUp() override {
    this->begin("QuilloQuarantineFiles = true\nSuppressInfoDialogs = true\nQuarantineFolder = \"" +
                quarantine + "/\"\n");
    server_.emplace(this->session());
    words_.emplace(this->session());
    this->startAndAwaitWatching();
    // As if she had written them herself.
    ASSERT_EQ(chown(preferencesFile, GuardedHome::user, GuardedHome::user), 0);
    std::vector<std::string> command = {"env", ShownWords::variable()};
    const std::vector<std::string> more = dress();
    command.insert(command.end(), more.begin(), more.end());
    command.push_back(program);
    window_ = this->session().startCommand(command);
    ASSERT_TRUE(awaitPage("Overview"));
  }

  // Variables that change how the window looks.
  virtual std::vector<std::string> dress() { return {}; }

  // A database of one line.
  static std::string definitions() { return "Worm.Of.Ada:0:0:776f726d206f6620616461\n"; }
  void giveDefinitions() {
    this->home().save(this->home().tree() + definitionFile, definitions());
    this->post("VantrelQuilloShouldRestart");
    ASSERT_TRUE(reads("Built less than a day ago"));
  }

  // Waits until that is to be read.
  testing::AssertionResult reads(const std::string& text) {
    if (this->eventually([&] { return words_->say(text); })) {
      return testing::AssertionSuccess();
    }
    keepPicture("without");
    return testing::AssertionFailure() << "nothing says \"" << text << "\":\n" << words_->all();
  }
  // What a desktop has given the keyboard may not have heard of it yet, and misses a key.
  bool knowsOfIt(const std::string& title) {
    const auto active = words_->activeWindow();
    return active && active->name == title;
  }
  // Waits until the window shows that page and takes keys.
  testing::AssertionResult awaitPage(const std::string& title) {
    return awaitKeyboard(title + " – Vantrel");
  }
  testing::AssertionResult awaitKeyboard(const std::string& title) {
    if (this->eventually([&] { return this->hasKeyboard(title) && knowsOfIt(title); })) {
      return testing::AssertionSuccess();
    }
    keepPicture("without");
    return testing::AssertionFailure() << "\"" << title << "\" does not get the keyboard";
  }
  // By its number in the list.
  testing::AssertionResult turnTo(int number, const std::string& title) {
    this->press("ctrl+" + std::to_string(number));
    return awaitPage(title);
  }
  // Presses the key of a button once it answers.
  testing::AssertionResult choose(const std::string& button, const std::string& key) {
    if (!this->eventually([&] { return words_->offer(button); })) {
      keepPicture("without");
      return testing::AssertionFailure() << "no button \"" << button << "\":\n" << words_->all();
    }
    this->press(key);
    return testing::AssertionSuccess();
  }
  // Likewise in a question, whose keyboard is at `usual` and which closes then.
  testing::AssertionResult answer(const std::string& button, const std::string& key,
                                  const std::string& usual) {
    if (!this->eventually([&] { return words_->hasKeyboard(usual); })) {
      keepPicture("without");
      return testing::AssertionFailure() << "the keyboard is not at \"" << usual << "\":\n"
                                         << words_->all();
    }
    const auto chosen = choose(button, key);
    this->eventually([&] { return !words_->say(usual); });
    return chosen;
  }
  // Goes on with the tabulator until that has the keyboard.
  testing::AssertionResult goTo(const std::string& name) {
    constexpr int most = 30;
    for (int i = 0; i < most && !words_->hasKeyboard(name); ++i) {
      const std::string before = words_->keyboardIsAt();
      this->press("Tab");
      this->eventually([&] { return words_->keyboardIsAt() != before; });
    }
    return words_->hasKeyboard(name) ? testing::AssertionSuccess()
                                     : testing::AssertionFailure()
                                           << "no way to \"" << name << "\":\n"
                                           << words_->all();
  }
  // A list of completions that opens takes the keyboard for a moment, and what is typed then is
  // lost.
  testing::AssertionResult typeWhole(const std::string& text) {
    constexpr int attempts = 5;
    constexpr std::chrono::seconds patience(4);
    for (int attempt = 0; attempt < attempts; ++attempt) {
      this->press("ctrl+a");
      this->type(text);
      const auto deadline = std::chrono::steady_clock::now() + patience;
      this->eventually(
          [&] { return words_->say(text) || std::chrono::steady_clock::now() > deadline; });
      if (words_->say(text)) {
        return testing::AssertionSuccess();
      }
    }
    return testing::AssertionFailure() << "\"" << text << "\" is not typed:\n" << words_->all();
  }
  testing::AssertionResult chooseFolder(const std::string& title, const std::string& path) {
    auto shown = awaitKeyboard(title);
    if (shown) {
      shown = typeWhole(path);
      this->press("Return");
    }
    return shown;
  }
  void keepPicture(const std::string& what) {
    this->session().keepPicture(std::string("newcomer-") + Desktop::desktop + "-" + what);
  }
  bool preferencesHold(const std::string& text) {
    return this->eventually(
        [&] { return readFile(preferencesFile).find(text) != std::string::npos; });
  }
  // Saves a file that the agent finds and moves away.
  std::string movedFile(const std::string& name) {
    std::string path = this->home().saveInfected(name);
    if (!this->home().logHas(path + ": moved to '")) {
      throw std::runtime_error(path + " is not moved:\n" + this->home().readLog());
    }
    return path;
  }

  // What she does.
  void seesThatAFolderIsGuardedAndHasAnotherGuarded() {
    giveDefinitions();
    EXPECT_TRUE(reads("One folder is guarded"));
    keepPicture("overview");
    this->home().save(letters + "/letter.txt", "Dear Ada");
    ASSERT_TRUE(turnTo(5, "Folders"));
    ASSERT_TRUE(choose("Add Folder…", "alt+a"));
    ASSERT_TRUE(chooseFolder("Folders to Guard", letters));
    EXPECT_TRUE(reads("~/Letters"));
    keepPicture("folders");
    ASSERT_TRUE(turnTo(1, "Overview"));
    EXPECT_TRUE(reads("2 folders are guarded"));
    movedFile(letters + "/invoice.pdf");
  }

  void findsOutWhyAFileWasMovedAndPutsItBack() {
    giveDefinitions();
    const std::string path = movedFile("invoice.pdf");
    EXPECT_TRUE(reads("Malware was found in one file in the last 30 days."));
    ASSERT_TRUE(turnTo(3, "Results"));
    EXPECT_TRUE(reads("invoice.pdf"));
    EXPECT_TRUE(reads("Moved to the quarantine"));
    EXPECT_TRUE(reads(threat));
    keepPicture("results");
    ASSERT_TRUE(turnTo(4, "Quarantine"));
    ASSERT_TRUE(reads("1 file lies in the quarantine."));
    ASSERT_TRUE(goTo("Files in the quarantine:"));
    this->press("Down");
    EXPECT_TRUE(reads(path));
    keepPicture("quarantine");
    ASSERT_TRUE(choose("Put Back", "alt+p"));
    ASSERT_TRUE(answer("Put Back All the Same", "alt+p", "Cancel"));
    EXPECT_TRUE(reads("1 file was put back."));
    keepPicture("put-back");
    EXPECT_EQ(readFile(path), GuardedHome::testFile());
    EXPECT_TRUE(
        this->home().logHas(path + ": not warned of again: it was put back and has not changed"));
  }

  void excludesAFileThatWasFound() {
    movedFile("invoice.pdf");
    ASSERT_TRUE(turnTo(3, "Results"));
    ASSERT_TRUE(reads("invoice.pdf"));
    ASSERT_TRUE(goTo("Files that were found or could not be scanned"));
    this->press("Down");
    ASSERT_TRUE(choose("Exclude…", "alt+x"));
    EXPECT_TRUE(reads("^/home/ada/Downloads/invoice\\.pdf$"));
    keepPicture("exclude");
    ASSERT_TRUE(answer("Exclude", "alt+x", "Keep Scanning It"));
    EXPECT_TRUE(reads("What matches is not scanned any more when it changes"));
    ASSERT_TRUE(answer("Close", "Return", "Close"));
    EXPECT_TRUE(preferencesHold("invoice"));
    ASSERT_TRUE(turnTo(5, "Folders"));
    EXPECT_TRUE(reads("^/home/ada/Downloads/invoice\\.pdf$"));
  }

  void scansAStick() {
    const std::string stick = "/media/ada/My Stick";
    fs::create_directories(stick);
    const LoopMount volume("ext4", "/mnt");
    writeFile("/mnt/game.exe", GuardedHome::testFile());
    writeFile("/mnt/letter.txt", "Dear Ada");
    runProgram({"chown", "-R", std::to_string(GuardedHome::user), "/mnt"});
    runProgram({"mount", "--move", "/mnt", stick});
    ASSERT_TRUE(turnTo(2, "Scan Now"));
    ASSERT_TRUE(reads(stick));
    ASSERT_TRUE(choose("Scan It", "alt+i"));
    EXPECT_TRUE(reads("Found: something in 1 file."));
    EXPECT_TRUE(reads(stick + "/game.exe"));
    EXPECT_TRUE(reads("Clean: 1 file."));
    keepPicture("scanned");
    EXPECT_TRUE(reads("Moved to " + quarantine));
    EXPECT_FALSE(fs::exists(stick + "/game.exe"));
    runProgram({"umount", stick});
  }

  void scansAChosenFolder() {
    this->home().save(letters + "/letter.txt", "Dear Ada");
    ASSERT_TRUE(turnTo(2, "Scan Now"));
    EXPECT_TRUE(reads("Drop files, folders or a stick here"));
    ASSERT_TRUE(choose("Choose Folders…", "alt+d"));
    ASSERT_TRUE(chooseFolder("Scan Now", letters));
    // The engine of this home has none but the definition of the test file.
    EXPECT_TRUE(reads("ClamAV has no virus definitions yet"));
    EXPECT_TRUE(reads("Nothing was found in what was scanned."));
    EXPECT_TRUE(reads("Clean: 1 file."));
  }

  void updatesTheDefinitions() {
    EXPECT_TRUE(reads("There are no virus definitions yet"));
    const std::string updater = this->home().tree() + "/bin/freshclam";
    fs::remove(updater);
    this->home().save(updater, "#!/bin/sh\nprintf '" + definitions() + "' >" + this->home().tree() +
                                   definitionFile + "\n");
    fs::permissions(updater, fs::perms(0755));
    ASSERT_TRUE(choose("Update Definitions", "alt+u"));
    EXPECT_TRUE(reads("The definitions have been updated."));
    EXPECT_TRUE(reads("Built less than a day ago"));
    keepPicture("updated");
  }

  void turnsEveryPage() {
    const char* const titles[] = {"Overview",   "Scan Now",    "Results",
                                  "Quarantine", "Folders",     "Planned Scans",
                                  "Settings",   "First Steps", "Help"};
    int number = 0;
    for (const char* const title : titles) {
      EXPECT_TRUE(turnTo(++number, title));
      EXPECT_TRUE(reads(title));
      keepPicture("page-" + std::to_string(number));
    }
  }

  std::optional<typename Desktop::NotificationServer> server_;
  std::optional<ShownWords> words_;
  std::unique_ptr<ChildProcess> window_;
};

using NewcomerOnX11 = Newcomer<OnX11>;
using NewcomerOnWayland = Newcomer<OnWayland>;

TEST_F(NewcomerOnX11, SeesThatAFolderIsGuardedAndHasAnotherGuarded) {
  seesThatAFolderIsGuardedAndHasAnotherGuarded();
}
TEST_F(NewcomerOnX11, FindsOutWhyAFileWasMovedAndPutsItBack) {
  findsOutWhyAFileWasMovedAndPutsItBack();
}
TEST_F(NewcomerOnX11, ExcludesAFileThatWasFound) { excludesAFileThatWasFound(); }
TEST_F(NewcomerOnX11, ScansAStick) { scansAStick(); }
TEST_F(NewcomerOnX11, ScansAChosenFolder) { scansAChosenFolder(); }
TEST_F(NewcomerOnX11, UpdatesTheDefinitions) { updatesTheDefinitions(); }
TEST_F(NewcomerOnX11, TurnsEveryPage) { turnsEveryPage(); }

TEST_F(NewcomerOnWayland, SeesThatAFolderIsGuardedAndHasAnotherGuarded) {
  seesThatAFolderIsGuardedAndHasAnotherGuarded();
}
TEST_F(NewcomerOnWayland, FindsOutWhyAFileWasMovedAndPutsItBack) {
  findsOutWhyAFileWasMovedAndPutsItBack();
}
TEST_F(NewcomerOnWayland, ExcludesAFileThatWasFound) { excludesAFileThatWasFound(); }
TEST_F(NewcomerOnWayland, ScansAStick) { scansAStick(); }
TEST_F(NewcomerOnWayland, ScansAChosenFolder) { scansAChosenFolder(); }
TEST_F(NewcomerOnWayland, UpdatesTheDefinitions) { updatesTheDefinitions(); }
TEST_F(NewcomerOnWayland, TurnsEveryPage) { turnsEveryPage(); }

class NewcomerInTheDark : public Newcomer<OnX11> {
 protected:
  std::vector<std::string> dress() override {
    session().makeDark();
    return DesktopSession::darkVariables();
  }
};

TEST_F(NewcomerInTheDark, ReadsWhatWasFound) {
  giveDefinitions();
  movedFile("invoice.pdf");
  ASSERT_TRUE(turnTo(3, "Results"));
  EXPECT_TRUE(reads("invoice.pdf"));
  const QRgb background = session().screen().picture().pixel(500, 120);
  EXPECT_LT(qGray(background), 64);
  keepPicture("results-dark");
}

}  // namespace
}  // namespace quillo::tests
