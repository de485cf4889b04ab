#include "benchmarks/support/PeerDaemon.h"

#include <pwd.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <stdexcept>

#include "benchmarks/support/Engine.h"
#include "benchmarks/support/Pause.h"
#include "benchmarks/support/StormFiles.h"

namespace bench {
namespace {

constexpr char account[] = "clamav";
constexpr Seconds patience(180);

bool isTheTreesOwn(const std::string& line) {
  for (const char* key : {"LocalSocket", "PidFile", "TemporaryDirectory", "User "}) {
    if (line.starts_with(key)) {
      return true;
    }
  }
  return false;
}

}  // namespace

PeerDaemon::PeerDaemon(const std::string& tree, const std::string& root)
    : folder_(root + "/peers"),
      socket_(folder_ + "/clamd.sock"),
      configuration_(folder_ + "/clamd.conf") {
  const passwd* owner = getpwnam(account);
  std::filesystem::create_directories(folder_);
  if (owner == nullptr || chown(folder_.c_str(), owner->pw_uid, owner->pw_gid) != 0) {
    throw std::runtime_error("there is no account " + std::string(account) + " for the daemon");
  }
  std::ifstream own(tree + "/etc/clamd.conf");
  std::string text;
  for (std::string line; std::getline(own, line);) {
    if (!isTheTreesOwn(line)) {
      text += line + "\n";
    }
  }
  text += "LocalSocket " + socket_ + "\nLocalSocketMode 666\nPidFile " + folder_ +
          "/clamd.pid\nTemporaryDirectory " + folder_ + "\nUser " + account + "\n";
  writeFile(configuration_, text);
}

// Not left to detach itself: the one that waits for that sometimes misses its signal, and then
// waits for ever.
void PeerDaemon::start() {
  pid_ = bench::start({"/usr/sbin/clamd", "--foreground", "--config-file=" + configuration_},
                      {"PATH=/usr/bin:/bin"}, folder_ + "/clamd.log", rootUser);
  const Seconds deadline = now() + patience;
  while (!answers(socket_)) {
    if (now() > deadline) {
      throw std::runtime_error("the peers' daemon does not start; see " + folder_ + "/clamd.log");
    }
    pauseFor(Seconds(0.01));
  }
}

void PeerDaemon::stop() {
  quitDaemon(socket_);
  pid_ = -1;
}

std::string PeerDaemon::configurationWith(const std::string& name, const std::string& lines) const {
  std::string path = folder_ + "/" + name;
  std::ifstream own(configuration_);
  std::string text;
  for (std::string line; std::getline(own, line);) {
    text += line + "\n";
  }
  writeFile(path, text + lines);
  return path;
}

}  // namespace bench
