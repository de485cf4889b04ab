#pragma once

#include <optional>
#include <string>

namespace quillo {

// The folders of this user. Constant while the program runs; any thread.
class Folders {
 public:
  virtual ~Folders() = default;
  // Without a "/" at its end.
  virtual std::string homeFolder() const = 0;
  // The per-user temporary folder; nothing when the system has none.
  virtual std::optional<std::string> temporaryFolder() const = 0;
  // For what the user made with a program (XDG_DATA_HOME); may have to be made.
  virtual std::string dataFolder() const = 0;
  // Where browsers save files; may not be there.
  virtual std::string downloadsFolder() const = 0;
  // For what a program remembers and is no setting (XDG_STATE_HOME, with the agent's own folder);
  // need not exist.
  virtual std::string stateFolder() const = 0;
  // The folder of the interface files, images, string tables and the helper tool.
  virtual std::string resourceFolder() const = 0;
};

}  // namespace quillo
