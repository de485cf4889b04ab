#pragma once

#include <string>

#include "posix/UniqueFd.h"
#include "tests/support/TemporaryFolder.h"

namespace quillo {

// A resource folder with a helper tool that a test writes as a shell script. Each launch says so,
// and the script can stand still until the test lets it go on.
class HelperProgram {
 public:
  // In the script, "$go" is a pipe to read a line from: `read line < "$go"`.
  explicit HelperProgram(const std::string& script);

  const std::string& resourceFolder() const { return folder_.path(); }
  const TemporaryFolder& folder() const { return folder_; }
  // Blocks until the tool was launched that many times more; false when it is not in time.
  bool waitForLaunches(int count);
  // Gives the tool one line to read.
  void letGo();

  // Prints nothing and runs until it is ended.
  static constexpr const char* idle = "read line < \"$go\"";

 private:
  TemporaryFolder folder_;
  UniqueFd launches_;
  UniqueFd go_;
};

}  // namespace quillo
