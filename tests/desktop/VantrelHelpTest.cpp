// What the program says of itself, beside what is written of it elsewhere.

#include <gtest/gtest.h>

#include <QClipboard>
#include <QGuiApplication>
#include <QLabel>
#include <cctype>
#include <set>
#include <string>

#include "posix/ChildProcess.h"
#include "posix/Text.h"
#include "tests/desktop/support/pages/WindowUnderTest.h"
#include "tests/support/TemporaryFolder.h"

namespace quillo {
namespace {

using Names = std::set<std::string>;

std::string help() {
  ChildProcess program({.launchPath = QUILLO_BINARY_DIR "/vantrel", .arguments = {"--help"}});
  std::string said;
  program.waitUntilExit([&](std::string_view chunk) {
    said += chunk;
    return true;
  });
  return said;
}

// As it is read, without the marks of man(7), as far as it says how the program is used.
std::string manualPage() {
  std::string page = TemporaryFolder::read(QUILLO_SOURCE_DIR "/docs/man/vantrel.1");
  page = page.substr(0, page.find(".SH EXIT STATUS"));
  return replacingAll(page, "\\-", "-");
}

Names wordsThatBegin(const std::string& text, const std::string& beginning) {
  Names words;
  for (std::size_t at = text.find(beginning); at != std::string::npos;
       at = text.find(beginning, at + 1)) {
    std::size_t end = at + beginning.size();
    while (end < text.size() &&
           (std::islower(static_cast<unsigned char>(text[end])) != 0 || text[end] == '-')) {
      ++end;
    }
    if (end > at + beginning.size()) {
      words.insert(text.substr(at, end - at));
    }
  }
  return words;
}

// "vantrel scan" and the like, at the beginning of a line.
Names commandsIn(const std::string& text, const std::string& before) {
  Names commands = wordsThatBegin("\n" + text, "\n" + before + "vantrel ");
  Names names;
  for (const std::string& command : commands) {
    const std::string name = command.substr(before.size() + std::string("\nvantrel ").size());
    if (!name.starts_with("-")) {
      names.insert(name);
    }
  }
  return names;
}

TEST(VantrelHelp, NamesTheCommandsOfTheManualPageAndNoOthers) {
  EXPECT_EQ(commandsIn(help(), ""),
            (Names{"doctor", "explain", "quarantine", "scan", "status", "test"}));
  EXPECT_EQ(commandsIn(help(), ""), commandsIn(manualPage(), ".B "));
}

TEST(VantrelHelp, NamesTheOptionsOfTheManualPageAndNoOthers) {
  EXPECT_EQ(wordsThatBegin(help(), "--"), wordsThatBegin(manualPage(), "--"));
}

TEST(VantrelHelp, NamesWhatTheShellsOfferAndNoMore) {
  const Names options = wordsThatBegin(help(), "--");
  ASSERT_GT(options.size(), 5U);
  const std::string folder = QUILLO_SOURCE_DIR "/resources/completions/";
  for (const std::string name : {"vantrel.bash", "_vantrel"}) {
    EXPECT_EQ(wordsThatBegin(TemporaryFolder::read(folder + name), "--"), options) << name;
  }
  const std::string fish = TemporaryFolder::read(folder + "vantrel.fish");
  for (const std::string& option : options) {
    EXPECT_NE(fish.find(" -l " + option.substr(2) + " "), std::string::npos) << option;
  }
  for (const std::string& command : commandsIn(help(), "")) {
    EXPECT_NE(fish.find(" -a " + command + " "), std::string::npos) << command;
  }
}

TEST(VantrelHelp, FitsATerminal) {
  for (const std::string_view line : split(help(), '\n')) {
    EXPECT_LE(line.size(), 80U) << line;
  }
}

// Also of one that has no command, for which there is a button.
TEST(VantrelHelpPage, LetsARemedyBeCopiedByTheKeyboardAlone) {
  KeptLog log;
  StringTables strings{
      StringTables::foldersOfCompanion(QUILLO_SOURCE_DIR "/resources/strings"), {"en"}, nullptr};
  const InterfaceTranslator translator{strings};
  QtImageLoader images{QUILLO_BINARY_DIR "/resources/images"};
  QtMainWindow window{QUILLO_SOURCE_DIR "/resources/interface/vantrel", "", {images, strings, log}};
  const std::string remedy = "There is no icon.\nInstall the extension “AppIndicator”.";
  window.page("help").setText("chosen", remedy);
  window.page("help").setVisible("chosen", true);
  window.show("help");
  QCoreApplication::processEvents();
  auto* const chosen = window.widget().findChild<QLabel*>("chosen");
  ASSERT_TRUE(chosen);
  EXPECT_TRUE(chosen->focusPolicy() & Qt::TabFocus);
  chosen->setFocus(Qt::TabFocusReason);
  WindowUnderTest::press(chosen, Qt::Key_A, Qt::ControlModifier);
  WindowUnderTest::press(chosen, Qt::Key_C, Qt::ControlModifier);
  EXPECT_EQ(QGuiApplication::clipboard()->text().remove(QChar(0x200b)).toStdString(), remedy);
}

}  // namespace
}  // namespace quillo
