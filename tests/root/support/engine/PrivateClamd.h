#pragma once

#include <sys/types.h>

#include <string>
#include <string_view>

#include "tests/support/TemporaryFolder.h"

namespace quillo::tests {

// The standard anti-virus test file. Put together at run time, so that no file of this project is
// taken for it.
std::string eicar();

// A clamd of a test's own, with one definition, in a folder below /tmp; there as long as this
// object. To be used in a world of the test's own. Throws when it does not come up.
class PrivateClamd {
 public:
  struct Settings {
    std::string lines = {};     // more lines for its configuration
    std::string database = {};  // an .ndb file's contents; "" for a definition of eicar()
    bool forEveryUser = false;  // else only root reaches its socket
  };

  PrivateClamd() : PrivateClamd(Settings()) {}
  explicit PrivateClamd(const Settings& settings);
  ~PrivateClamd();
  PrivateClamd(const PrivateClamd&) = delete;
  PrivateClamd& operator=(const PrivateClamd&) = delete;

  std::string configuration() const { return folder_.at("clamd.conf"); }
  std::string socket() const { return folder_.at("socket/clamd"); }
  // What it calls eicar(), with the default database.
  static std::string threat() { return "Test-Threat.UNOFFICIAL"; }

  // Returns true when it says PONG.
  bool answers() const;
  // SIGSTOP, SIGCONT, SIGKILL ...
  void send(int signal) const;
  // Kills it and returns when it has ended.
  void end() const;

 private:
  TemporaryFolder folder_;
  pid_t process_ = -1;
};

}  // namespace quillo::tests
