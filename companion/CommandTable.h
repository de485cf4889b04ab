#pragma once

#include <functional>
#include <ostream>
#include <string>
#include <vector>

namespace quillo {

// A command of `vantrel`, which works without a window.
struct Command {
  using Words = std::vector<std::string>;

  std::string name;
  // What may stand behind it, and what it does: for --help, in lines of at most 80 characters.
  std::string arguments;
  std::string summary;
  // Returns the exit status.
  std::function<int(const Words& words, std::ostream& out, std::ostream& errors)> run;
};

// The commands that there are, in the order in which --help tells them. Any thread.
class CommandTable {
 public:
  explicit CommandTable(std::vector<Command> commands) : commands_(std::move(commands)) {}

  // Returns what --help says.
  std::string help() const;
  // Runs the command and returns its exit status: 2 when there is none of that name, or when it
  // fails by an exception, of which `errors` is told.
  int run(const std::string& name, const Command::Words& words, std::ostream& out,
          std::ostream& errors) const;

 private:
  const std::vector<Command> commands_;
};

}  // namespace quillo
