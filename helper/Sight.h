#pragma once

#include <sys/types.h>

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "posix/UniqueFd.h"

namespace quillo::helper {

// Decides of each path whether it may be reported now.
class Witness {
 public:
  virtual ~Witness() = default;
  // Returns true when the caller could find out by itself, now, that `name` is in `folder` (which
  // ends with a slash).
  virtual bool sees(std::string_view folder, std::string_view name) = 0;
  // Lets what was seen count no longer.
  virtual void forget() = 0;
};

// Looks with the caller's own rights, from the root folder down and following no link. A path is
// seen if it exists and if for every name on it the caller may list the folder that holds it, or
// owns what bears it: only to be able to pass a folder (mode 0711, or a drop folder's 1733) is not
// to know what lies in it. Folders are held open from one question to the next, each name looked up
// in the very folder that was asked about, until forget().
class Sight final : public Witness {
 public:
  Sight();
  bool sees(std::string_view folder, std::string_view name) override;
  void forget() override;

 private:
  // A folder on the way: what lies at the first `end` bytes of `path_`.
  struct Step {
    std::size_t end;
    UniqueFd folder;
    std::optional<bool> listable;
  };

  bool enter(std::string_view folder);
  bool descend();
  std::optional<Step> stepTo(const std::string& name, std::size_t end);
  static bool mayList(Step& step);

  const uid_t caller_;
  std::string path_;  // that was entered last, or could not be
  bool isThere_ = false;
  std::vector<Step> steps_;
  std::string name_;
};

}  // namespace quillo::helper
