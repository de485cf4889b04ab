#pragma once

#include <gtest/gtest.h>
#include <sys/types.h>

#include <string>
#include <vector>

namespace quillo {

// What a program printed, and its exit status.
struct Outcome {
  int status = -1;
  std::string output;
};

// The installed ClamAV on a machine without configuration, definitions or daemons: /tmp and
// ClamAV's folders are covered by empty file systems in a mount namespace of this test's own. The
// engine tree's programs are copied to a folder of the test's. Every daemon that a test starts is
// ended with it.
class TreeOnMachine : public testing::Test {
 protected:
  static constexpr uid_t ordinaryUser = 61234;
  static constexpr uid_t otherUser = 61235;

  TreeOnMachine();
  ~TreeOnMachine() override;

  std::string path(const std::string& name) const { return folder_ + "/" + name; }
  void write(const std::string& file, const std::string& content, uid_t owner = 0) const;
  std::string read(const std::string& file) const;

  // Runs a program as the given user, with his folder as HOME, and waits for it.
  Outcome run(uid_t user, const std::string& program,
              const std::vector<std::string>& arguments = {}) const;
  Outcome makeTree(uid_t user, const std::vector<std::string>& arguments) const;
  // As the agent starts it.
  Outcome startDaemon(uid_t user, const std::string& root) const;

  std::string option(const std::string& file, const std::string& name) const;
  std::string socketOf(const std::string& root) const;
  // Returns true when a clamd says PONG there.
  bool answers(const std::string& socket) const;
  // What the tree's scanner says of a file.
  Outcome scan(uid_t user, const std::string& root, const std::string& file) const;

  // Process numbers of the clamd processes that run now.
  std::vector<pid_t> daemons() const;
  void endDaemons() const;
  // The machine's own daemon, with a definition that no tree has; it runs as clamav.
  void startMachineDaemon() const;

  // The test file of 68 bytes, a zip with it in it, and a file that only the definition of
  // `otherDefinition()` finds.
  std::string eicarFile() const;
  std::string eicarZip() const;
  std::string otherFile() const;
  std::string otherDefinition() const;

 private:
  void cover(const std::string& folder, const char* mode);
  void install(const std::string& name, const std::string& content) const;

  const std::string folder_ = "/tmp/test";
  std::vector<std::string> mounts_;
};

}  // namespace quillo
