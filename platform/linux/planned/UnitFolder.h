#pragma once

#include <optional>
#include <string>

#include "platform/LocalizedStrings.h"

namespace quillo {

// The folder of a user's own units (systemd.unit(5), "$XDG_CONFIG_HOME/systemd/user"). A file is
// there whole or not at all, and nothing goes through a link that somebody else has made. Problems
// are in words, empty when there is none. Any thread.
class UnitFolder {
 public:
  explicit UnitFolder(std::string path) : path_(std::move(path)) {}

  const std::string& path() const { return path_; }
  // Returns the text of a file of this user's; nothing when there is none.
  std::optional<std::string> read(const std::string& name) const;
  // Makes the folder, too. What is no file of this user's is left as it is, which is a problem.
  Wording write(const std::string& name, const std::string& text) const;
  // None there counts as removed.
  Wording remove(const std::string& name) const;
  // Returns to what read() gave.
  Wording restore(const std::string& name, const std::optional<std::string>& text) const;

 private:
  Wording problemWith(const std::string& name, int error) const;

  const std::string path_;
};

}  // namespace quillo
