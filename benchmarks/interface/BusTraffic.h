#pragma once

#include <gio/gio.h>

#include <atomic>
#include <condition_variable>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "benchmarks/interface/Figures.h"
#include "tests/desktop/support/bus/BusConnection.h"

namespace bench {

// Counts every message of a session bus, without taking part.
class BusTraffic {
 public:
  explicit BusTraffic(const std::string& address);

  // Forgets what it has seen.
  void clear();
  // Returns when the panel's watcher said that it has a status item, and the bus name of the item.
  // Throws std::runtime_error when it does not within twenty seconds of the call.
  Milliseconds awaitStatusItem(std::string& name);
  // Returns how many messages `name` sent, or were sent to it under that name.
  int messagesOf(const std::string& name);

 private:
  void note(GDBusMessage* message);

  std::mutex mutex_;
  std::condition_variable changed_;
  std::optional<Milliseconds> registered_;
  std::string itemName_;
  std::map<std::string, int> messages_;
  const quillo::BusTap tap_;
};

// Asks a program over and over for something that Qt has its main thread answer, for as long as it
// lives: what a user's click would wait.
class Probe {
 public:
  // What takes that thread no time. The arguments are texts.
  struct Question {
    std::string service;
    std::string object;
    std::string interface;
    std::string method;
    std::vector<std::string> arguments;
  };

  Probe(const std::string& address, Question question);
  // Asks the agent's status item for a property.
  Probe(const std::string& address, const std::string& item);
  ~Probe();
  Probe(const Probe&) = delete;
  Probe& operator=(const Probe&) = delete;

  // Ends the asking and returns how long each answer took, in milliseconds. Throws
  // std::runtime_error when one did not come.
  std::vector<double> finish();

 private:
  void ask();

  const Question question_;
  const quillo::BusConnection connection_;
  std::atomic<bool> ends_{false};
  std::vector<double> answers_;
  bool failed_ = false;
  std::thread thread_;
};

// Returns the unique name behind a name of the bus; "" when nobody has it.
std::string uniqueNameOf(const std::string& address, const std::string& name);

}  // namespace bench
