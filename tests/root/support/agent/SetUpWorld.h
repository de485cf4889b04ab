#pragma once

#include <sys/types.h>

#include <map>
#include <string>
#include <vector>

namespace quillo::tests {

// A machine on which this build can be installed, and a user of it: a /usr/local and other places
// of the system that are empty, a home, sudo(8) with a password, no network, no definitions, and a
// build that is the user's. The user's processes end with this object.
class SetUpWorld {
 public:
  // Where a second user would set up the same.
  static constexpr char homeOfAnother[] = "/run/people/another";

  SetUpWorld();
  ~SetUpWorld();
  SetUpWorld(const SetUpWorld&) = delete;
  SetUpWorld& operator=(const SetUpWorld&) = delete;

  const std::string& home() const { return home_; }
  uid_t user() const { return user_; }
  std::string build() const { return QUILLO_BINARY_DIR; }
  static std::string script(const std::string& name);

  // From now on the user may not become root.
  void takeSudo() const;

  struct Outcome {
    int status = -1;
    std::string output;
    int questions = 0;  // for a password, which is given
    bool says(const std::string& words) const { return output.find(words) != std::string::npos; }
  };
  // A program of the user's on a terminal of its own, to its end; killed at the deadline.
  Outcome asUser(const std::vector<std::string>& command) const;
  Outcome setUp() const { return asUser({script("set-up"), "--built", build()}); }
  Outcome remove() const { return asUser({script("remove")}); }
  // `cmake --install` by an administrator.
  void install(const std::string& prefix) const;
  // Takes away what the last of these installed.
  void uninstall() const;

  // The user's agents: process and program.
  std::map<pid_t, std::string> agents() const;
  // All that lies in the home and in /usr/local, with modes and owners.
  std::string listing() const;
  void writeAsUser(const std::string& path, const std::string& text) const;

 private:
  void cover(const std::string& point, const std::string& options);
  void exchange(const std::string& file, const std::string& addition, mode_t mode);
  void makeBuildTheUsers();

  const uid_t user_;
  const std::string home_ = "/run/people/guarded";
  std::vector<std::string> mounts_;
};

}  // namespace quillo::tests
