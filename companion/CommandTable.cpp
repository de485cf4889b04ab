#include "companion/CommandTable.h"

#include <algorithm>
#include <exception>

namespace quillo {
namespace {

constexpr char windowHelp[] =
    "vantrel\n"
    "    shows what Vantrel Quillo guards and found, and changes what it does; one\n"
    "    that runs already comes to the front\n"
    "vantrel --page NAME\n"
    "    shows that page\n"
    "vantrel --open PATH...\n"
    "    shows the page that scans, with these files and folders\n";
constexpr char endOfHelp[] =
    "vantrel --help\n"
    "    says this\n"
    "vantrel --version\n"
    "    says which version this is\n";
constexpr int cannotTell = 2;

}  // namespace

std::string CommandTable::help() const {
  std::string text = windowHelp;
  for (const Command& command : commands_) {
    text += "vantrel " + command.name + (command.arguments.empty() ? "" : " ") + command.arguments +
            "\n    " + command.summary + "\n";
  }
  return text + endOfHelp;
}

int CommandTable::run(const std::string& name, const Command::Words& words, std::ostream& out,
                      std::ostream& errors) const {
  const auto found = std::find_if(commands_.begin(), commands_.end(),
                                  [&](const Command& command) { return command.name == name; });
  if (found == commands_.end()) {
    errors << "vantrel: there is no command \"" << name << "\".\n" << help();
    return cannotTell;
  }
  try {
    const int status = found->run(words, out, errors);
    out.flush();
    return out ? status : cannotTell;
  } catch (const std::exception& failure) {
    errors << "vantrel " << name << ": " << failure.what() << "\n";
    return cannotTell;
  }
}

}  // namespace quillo
