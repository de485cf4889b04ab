#include "tests/soak/RandomFaults.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <unistd.h>

#include "posix/UniqueFd.h"

namespace quillo::tests {

RandomFaults::RandomFaults(Services services) : services_(std::move(services)) {}

void RandomFaults::strike(bool mayRestart) {
  struct Kind {
    const char* name;
    Fault fault;
  };
  static const std::vector<Kind> kinds = {
      {"engine killed", &RandomFaults::killDaemon},
      {"engine stopped", &RandomFaults::stopDaemon},
      {"socket removed", &RandomFaults::removeSocket},
      {"helper killed", &RandomFaults::killHelper},
      {"disk full", &RandomFaults::fillDisk},
      {"log deleted", &RandomFaults::deleteLog},
      {"preferences rewritten", &RandomFaults::rewritePreferences},
      {"agent ended and started", &RandomFaults::restartAgent}};
  const Kind& kind = kinds[services_.dice.below(kinds.size() - (mayRestart ? 0 : 1))];
  ++counts_[kind.name];
  (this->*kind.fault)();
}

void RandomFaults::killDaemon() {
  if (const pid_t daemon = services_.home.daemon(); daemon > 0) {
    kill(daemon, SIGKILL);
  }
}

void RandomFaults::stopDaemon() {
  if (const pid_t daemon = services_.home.daemon(); daemon > 0) {
    kill(daemon, SIGSTOP);
    services_.pause(someTime());
    kill(daemon, SIGCONT);
  }
}

void RandomFaults::removeSocket() { unlink(services_.home.socket().c_str()); }

void RandomFaults::killHelper() {
  if (const pid_t helper = services_.home.helper(); helper > 0) {
    kill(helper, SIGKILL);
  }
}

// What is written by others than the agent is not written meanwhile.
void RandomFaults::fillDisk() {
  const std::string path = services_.home.home() + "/fills the disk";
  {
    const UniqueFd file(creat(path.c_str(), 0600));
    // Others write as well.
    off_t end = 0;
    for (off_t more = off_t{1} << 30; more > 0; more /= 2) {
      end += posix_fallocate(file.get(), end, more) == 0 ? more : 0;
    }
  }
  services_.pause(someTime());
  unlink(path.c_str());
  services_.lostLog();
}

void RandomFaults::restartAgent() {
  // One that has only just been started may not heed signals yet.
  constexpr int endedAtOnce = 128 + SIGTERM;
  const int status = services_.home.stop();
  EXPECT_TRUE(status == 0 || status == endedAtOnce) << status;
  if (services_.dice.once(2)) {
    services_.pause(someTime());
  }
  services_.home.start();
}

void RandomFaults::deleteLog() { unlink(services_.home.log().c_str()); }

void RandomFaults::rewritePreferences() {
  services_.home.writePreferences(preferences(services_.home, ++variant_));
}

std::string RandomFaults::preferences(const GuardedHome& home, int variant) {
  return "# Variant " + std::to_string(variant) + "\nPathToClamav = \"" + home.tree() +
         "\"\nPathToUpdateLog = \"" + home.home() + "/update.log\"\nQuilloCatchUp = true\n" +
         "QuilloQuarantineFiles = true\nQuarantineFolder = \"" + home.home() + "/quarantine/\"\n" +
         "SuppressInfoDialogs = true\nQuilloLogProgress = " +
         (variant % 2 == 0 ? "true" : "false") +
         "\nExcludePatterns = [{ excludePattern = \"never saved " + std::to_string(variant) +
         "\", excludeRegEx = false, excludeEnabled = true }]\n[[QuilloFolderArray]]\npathName = "
         "\"" +
         home.guarded() + "\"\nWatchSubdirs = true\n";
}

}  // namespace quillo::tests
