#pragma once

#include <optional>
#include <string>

namespace quillo {

// Where things lie for this user. Constant while the program runs; any thread.
class Folders {
 public:
  virtual ~Folders() = default;
  // Without a "/" at its end.
  virtual std::string homeFolder() const = 0;
  // The per-user temporary folder; absent when the system gives none.
  virtual std::optional<std::string> temporaryFolder() const = 0;
  // Where programs keep what the user made with them; may have to be made.
  virtual std::string dataFolder() const = 0;
  // Where browsers save files; may not be there.
  virtual std::string downloadsFolder() const = 0;
  // Where programs of this user keep what is theirs and no setting; need not exist.
  virtual std::string stateFolder() const = 0;
  // The folder of the interface files, images, string tables and the helper tool.
  virtual std::string resourceFolder() const = 0;
};

}  // namespace quillo
