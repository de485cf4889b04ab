#pragma once

#include <chrono>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "tests/root/support/agent/GuardedHome.h"
#include "tests/soak/Dice.h"

namespace quillo::tests {

// What can go wrong around an agent, by chance. One thread.
class RandomFaults {
 public:
  // `pause` lets so much time pass, and keeps an eye on the agent meanwhile. `lostLog` is called
  // when the log can be written again.
  struct Services {
    GuardedHome& home;
    Dice& dice;
    std::function<void(std::chrono::milliseconds)> pause;
    std::function<void()> lostLog;
  };
  explicit RandomFaults(Services services);

  // Lets one thing go wrong, and puts right what would not right itself.
  void strike(bool mayRestart);
  const std::map<std::string, int>& counts() const { return counts_; }
  // The preferences as the soak begins with, and as they may be rewritten.
  static std::string preferences(const GuardedHome& home, int variant);

 private:
  using Fault = void (RandomFaults::*)();
  void killDaemon();
  void stopDaemon();
  void removeSocket();
  void killHelper();
  void fillDisk();
  void restartAgent();
  void deleteLog();
  void rewritePreferences();
  std::chrono::milliseconds someTime() {
    return std::chrono::milliseconds(200 + services_.dice.below(3000));
  }

  const Services services_;
  std::map<std::string, int> counts_;
  int variant_ = 0;
};

}  // namespace quillo::tests
