#pragma once

#include <map>
#include <optional>
#include <string>

namespace quillo {

// The variables of a process's environment, as environ(7) has them. Taken once at the start and
// passed on, since getenv(3) and a child's setenv(3) do not mix across threads.
class Environment {
 public:
  using Variables = std::map<std::string, std::string>;

  explicit Environment(Variables variables) : variables_(std::move(variables)) {}
  static Environment ofThisProcess();

  // Returns nothing also for a variable that is set to "", as the XDG Base Directory rules want it.
  std::optional<std::string> value(const std::string& name) const;
  // Returns the value as a folder, without a "/" at its end; nothing unless it is absolute.
  std::optional<std::string> folder(const std::string& name) const;

 private:
  Variables variables_;
};

}  // namespace quillo
