#include <gtest/gtest.h>

#include <algorithm>

#include "posix/ChildProcess.h"
#include "posix/Text.h"
#include "tests/support/TemporaryFolder.h"

namespace quillo {
namespace {

using Words = std::vector<std::string>;

const std::string completions = QUILLO_SOURCE_DIR "/resources/completions/";
const Words commands = {"doctor", "explain", "quarantine", "scan", "status", "test"};
const Words options = {"--help", "--open", "--page", "--version"};

// What a shell's program offers, sorted; behind a tab fish describes it.
Words offeredBy(const std::string& shell, const Words& arguments) {
  ChildProcess child({.launchPath = shell, .arguments = arguments});
  std::string said;
  child.waitUntilExit([&](std::string_view chunk) {
    said += chunk;
    return true;
  });
  EXPECT_EQ(child.terminationStatus(), 0) << said;
  Words offered;
  for (const std::string_view line : split(said, '\n')) {
    const std::string word(split(line, '\t')[0]);
    if (!word.empty()) {
      offered.push_back(word);
    }
  }
  std::sort(offered.begin(), offered.end());
  return offered;
}

// The last word of `line` is the one to be completed.
Words byBash(const std::string& line) {
  return offeredBy("/bin/bash", {"--norc", "-c",
                                 "set -eu; . \"$0\"; IFS=' ' read -r -a COMP_WORDS <<<\"$1.\"\n"
                                 "COMP_CWORD=$((${#COMP_WORDS[@]} - 1))\n"
                                 "COMP_WORDS[COMP_CWORD]=${COMP_WORDS[COMP_CWORD]%.}\n"
                                 "_vantrel; printf '%s\\n' \"${COMPREPLY[@]-}\"",
                                 completions + "vantrel.bash", line});
}
// With the functions of zsh's completion that print what they are given.
Words byZsh(const std::string& line) {
  return offeredBy("/usr/bin/zsh",
                   {"-f", "-c",
                    "compadd() { [[ $1 == -- ]] && shift\n"
                    "  if [[ $1 == -a ]]; then print -l -- ${(P)2}; else print -l -- $@; fi }\n"
                    "_describe() { print -l -- ${${(P)4}%%:*} }; _files() { print FILES }\n"
                    "words=(${(s: :)1} ''); [[ $1 == *' ' ]] || words[-1]=(); CURRENT=$#words\n"
                    ". $0",
                    completions + "_vantrel", line});
}
Words byFish(const std::string& line) {
  return offeredBy("/usr/bin/fish",
                   {"--no-config", "-c", "source $argv[1]; complete --do-complete $argv[2]",
                    completions + "vantrel.fish", line});
}

Words together(Words words, const Words& more) {
  words.insert(words.end(), more.begin(), more.end());
  std::sort(words.begin(), words.end());
  return words;
}

TEST(Completions, OfferEveryCommandAndOption) {
  EXPECT_EQ(byBash("vantrel "), together(commands, options));
  EXPECT_EQ(byZsh("vantrel "), together(commands, options));
  EXPECT_EQ(byFish("vantrel "), commands);
  EXPECT_EQ(byFish("vantrel --"), options);
}

TEST(Completions, OfferWhatCanBeDoneWithTheQuarantine) {
  const Words actions = {"check", "delete", "list", "restore"};
  EXPECT_EQ(byBash("vantrel quarantine "), actions);
  EXPECT_EQ(byZsh("vantrel quarantine "), actions);
  EXPECT_EQ(byFish("vantrel quarantine "), actions);
}

TEST(Completions, OfferThePages) {
  const Words pages = {"folders", "help", "overview", "planned", "quarantine",
                       "results", "scan", "settings", "start"};
  EXPECT_EQ(byBash("vantrel --page "), pages);
  EXPECT_EQ(byZsh("vantrel --page "), pages);
  EXPECT_EQ(byFish("vantrel --page "), pages);
}

TEST(Completions, OfferFilesWhereFilesBelong) {
  const TemporaryFolder folder;
  const std::string path = folder.write("some-file");
  const std::string beginning = folder.at("some");
  for (const std::string command : {"scan", "explain", "--open"}) {
    EXPECT_EQ(byBash("vantrel " + command + " " + beginning), Words{path}) << command;
    EXPECT_EQ(byZsh("vantrel " + command + " "), Words{"FILES"}) << command;
    EXPECT_EQ(byFish("vantrel " + command + " " + beginning), Words{path}) << command;
  }
  EXPECT_EQ(byFish("vantrel status " + beginning), Words{});
}

TEST(Completions, OfferJsonForEveryCommand) {
  for (const std::string& command : commands) {
    const std::string line = "vantrel " + command + (command == "quarantine" ? " list" : "") + " -";
    EXPECT_EQ(byBash(line), Words{"--json"}) << line;
    EXPECT_EQ(byZsh(line), Words{"--json"}) << line;
    EXPECT_EQ(byFish(line + "-"), Words{"--json"}) << line;
  }
}

TEST(Completions, OfferTheOptionsOfWhatIsDoneWithTheQuarantine) {
  const Words restoring = {"--all", "--json", "--make-folder", "--to"};
  const Words deleting = {"--all", "--json"};
  for (const auto& [action, offered] :
       {std::pair("restore", restoring), std::pair("delete", deleting), {"check", deleting}}) {
    const std::string line = std::string("vantrel quarantine ") + action + " -";
    EXPECT_EQ(byBash(line), offered) << line;
    EXPECT_EQ(byZsh(line), offered) << line;
    EXPECT_EQ(byFish(line + "-"), offered) << line;
  }
}

// The manual page names each in its synopsis.
TEST(Completions, NameWhatTheManualPageNames) {
  const std::string page = TemporaryFolder::read(QUILLO_SOURCE_DIR "/docs/man/vantrel.1");
  const std::string synopsis = page.substr(0, page.find(".SH DESCRIPTION"));
  for (const std::string& command : commands) {
    EXPECT_NE(synopsis.find(".B vantrel " + command + "\n"), std::string::npos) << command;
  }
  for (const std::string& option : options) {
    EXPECT_NE(synopsis.find(replacingAll(option, "--", "\\-\\-")), std::string::npos) << option;
  }
}

}  // namespace
}  // namespace quillo
