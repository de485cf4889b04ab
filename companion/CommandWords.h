#pragma once

#include <functional>
#include <iosfwd>
#include <optional>
#include <string>
#include <vector>

namespace quillo {

// The words behind a command, by the conventions for utilities (POSIX, "Utility Conventions"): what
// begins with "-" is an option wherever it stands, but "-" alone, and what follows "--", are none.
struct CommandWords {
  bool asJson = false;
  std::vector<std::string> operands;  // none of them is empty
};

// Takes the option at `at`, and moves `at` on to the last word that belongs to it. Returns false
// for one that the command does not have.
using OptionTaker = std::function<bool(const std::vector<std::string>& words, std::size_t& at)>;

// Returns what they ask for; nothing where one is no option of the command, or is empty. Every
// command has --json. Pure; any thread.
std::optional<CommandWords> commandWordsOf(const std::vector<std::string>& words,
                                           const OptionTaker& take = nullptr);

// Writes how the command is used: each line of `forms` is one way, without the program's name.
// Returns the exit status of a command that was used wrongly.
int showUsage(std::ostream& errors, const std::string& forms);

// Returns the folder in which the program was called; "" when that is unknown. Any thread.
std::string currentFolder();
// Returns a path as it is meant in that folder; a relative one where the folder is unknown stays.
std::string absolutePath(const std::string& path, const std::string& folder = currentFolder());

}  // namespace quillo
