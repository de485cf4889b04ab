#pragma once

#include <sys/types.h>

#include <string>
#include <string_view>

#include "tests/support/TemporaryFolder.h"

namespace quillo {

// A temporary folder with more kinds of things in it. What fails, fails loudly: std::system_error.
class ScratchFolder : public TemporaryFolder {
 public:
  // The path of something in it. These make it, and its folders, and give its path.
  std::string at(std::string_view name) const;
  std::string file(std::string_view name, std::string_view content = "text",
                   mode_t mode = 0644) const;
  std::string link(std::string_view name, std::string_view target) const;

  // All of a file; "" if there is none.
  static std::string read(const std::string& path);
  static bool exists(const std::string& path);
};

}  // namespace quillo
