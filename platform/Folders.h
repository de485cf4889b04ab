#pragma once

#include <optional>
#include <string>

namespace quillo {

// The folders of this user. Constant while the program runs; any thread.
class Folders {
 public:
  virtual ~Folders() = default;
  // Returns the folder without a "/" at its end.
  virtual std::string homeFolder() const = 0;
  // Returns the per-user temporary folder; nothing when the system has none.
  virtual std::optional<std::string> temporaryFolder() const = 0;
  // Returns the folder for what the user made with a program (XDG_DATA_HOME); need not exist.
  virtual std::string dataFolder() const = 0;
  // Returns the folder in which browsers save files; need not exist.
  virtual std::string downloadsFolder() const = 0;
  // Returns the agent's own folder for what it remembers and is no setting (XDG_STATE_HOME); need
  // not exist.
  virtual std::string stateFolder() const = 0;
  // Returns the folder of the interface files, images, string tables and the helper tool.
  virtual std::string resourceFolder() const = 0;
};

// The desktop's trash folders, one a volume. Any thread.
class TrashFolders {
 public:
  virtual ~TrashFolders() = default;
  // Returns true when the path lies inside the trash of the volume that holds it, as far as that is
  // known. Judged by the path alone, which need not exist.
  virtual bool isEnclosedByTrash(const std::string& path) = 0;
};

}  // namespace quillo
