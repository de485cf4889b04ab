#pragma once

#include <gio/gio.h>

#include <atomic>
#include <string>
#include <thread>
#include <vector>

namespace bench {

// Asks the agent's status item over and over for a property, which Qt has its main thread answer,
// for as long as it lives: what a user's click would wait.
class Probe {
 public:
  Probe(const std::string& address, const std::string& item);
  ~Probe();
  Probe(const Probe&) = delete;
  Probe& operator=(const Probe&) = delete;

  // Ends the asking; gives how long each answer took, in milliseconds. Throws std::runtime_error
  // when one did not come.
  std::vector<double> finish();

 private:
  void ask();

  const std::string item_;
  GDBusConnection* connection_ = nullptr;
  std::atomic<bool> ends_{false};
  std::vector<double> answers_;
  bool failed_ = false;
  std::thread thread_;
};

// The unique name behind a name of the bus; "" when nobody has it.
std::string uniqueNameOf(const std::string& address, const std::string& name);

}  // namespace bench
