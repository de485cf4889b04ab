#pragma once

#include "platform/Folders.h"
#include "platform/linux/services/Environment.h"

namespace quillo {

// The user's folders after the XDG Base Directory rules and passwd(5), all found out once.
class LinuxFolders final : public Folders {
 public:
  // `executable` is the absolute path of the running program: beside it lie a build tree's
  // resources, or it lies in the bin folder of an installation.
  LinuxFolders(const Environment& environment, const std::string& executable);
  // Returns where the kernel says that the running program lies (proc(5)); "" when it does not.
  static std::string pathOfThisProgram();

  std::string homeFolder() const override { return home_; }
  std::optional<std::string> temporaryFolder() const override { return temporary_; }
  std::string dataFolder() const override { return data_; }
  std::string stateFolder() const override { return state_; }
  std::string downloadsFolder() const override { return downloads_; }
  std::string resourceFolder() const override { return resources_; }

 private:
  const std::string home_;
  const std::optional<std::string> temporary_;
  const std::string data_;
  const std::string state_;
  const std::string downloads_;
  const std::string resources_;
};

}  // namespace quillo
